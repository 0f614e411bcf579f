#include <array>
#include <atomic>
#include <string>

#include "core/Cp949.h"
#include "core/TextTable.h"

using namespace chartcalc::detail;

namespace {

struct TextPair {
  const char* koreanUtf8;
  const char* english;
};

constexpr TextPair kPairs[] = {
#define CC_TEXT(id, ko, en) {ko, en},
#include "core/TextTable.inc"
#undef CC_TEXT
};
static_assert(sizeof(kPairs) / sizeof(kPairs[0]) == TxCount);

// The Korean column in code page 949, converted once on first use and
// constant afterwards.
const std::array<std::string, TxCount>& KoreanTexts() {
  static const std::array<std::string, TxCount> texts = [] {
    std::array<std::string, TxCount> out;
    for (int i = 0; i < TxCount; ++i)
      if (!Utf8ToCp949(kPairs[i].koreanUtf8, out[i])) out[i] = kPairs[i].english;
    return out;
  }();
  return texts;
}

// The host's language setting.
std::atomic<int> gLang{kLangEnglish};

}  // namespace

int GetLangType() { return gLang.load(std::memory_order_relaxed); }

void SetLangType(int lang) {
  gLang.store(lang == kLangKorean ? kLangKorean : kLangEnglish, std::memory_order_relaxed);
}

const char* chartcalc::detail::GetText(TextId id, int lang) {
  if (id < 0 || id >= TxCount) return "";
  return lang == kLangKorean ? KoreanTexts()[id].c_str() : kPairs[id].english;
}

const char* chartcalc::detail::GetText(TextId id) { return GetText(id, GetLangType()); }
