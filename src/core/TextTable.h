// Internal: the library's text pairs (core/TextTable.inc, Korean in code page
// 949 and English), addressed by id and read in the current language.
#pragma once

#include "chartcalc/Texts.h"

namespace chartcalc::detail {

enum TextId : int {
#define CC_TEXT(id, ko, en) id,
#include "core/TextTable.inc"
#undef CC_TEXT
  TxCount
};

inline constexpr int kLangKorean = 0;
inline constexpr int kLangEnglish = 1;

// The text of the pair in the current language (read at every call).
const char* GetText(TextId id);
// The text of the pair in the given language.
const char* GetText(TextId id, int lang);
// Item i of a per-language list stored Korean list first: the entry
// lang * length + i.
inline int ListEntry(int lang, int length, int i) { return lang * length + i; }

}  // namespace chartcalc::detail
