#include "core/TextCodec.h"

#include <algorithm>

#include "core/Cp949.h"

namespace chartcalc::detail {

namespace {

// Length of the well-formed UTF-8 sequence at the start of s, or 0.
size_t Utf8SequenceLength(std::string_view s) {
  unsigned char c = static_cast<unsigned char>(s[0]);
  size_t n = c < 0x80 ? 1 : c >= 0xC2 && c <= 0xDF ? 2 : c >= 0xE0 && c <= 0xEF ? 3 : c >= 0xF0 && c <= 0xF4 ? 4 : 0;
  if (n == 0 || n > s.size()) return 0;
  for (size_t i = 1; i < n; ++i)
    if ((static_cast<unsigned char>(s[i]) & 0xC0) != 0x80) return 0;
  unsigned char c1 = static_cast<unsigned char>(n > 1 ? s[1] : 0);
  // Overlong forms, surrogates and values above U+10FFFF.
  if ((c == 0xE0 && c1 < 0xA0) || (c == 0xED && c1 > 0x9F) || (c == 0xF0 && c1 < 0x90) || (c == 0xF4 && c1 > 0x8F))
    return 0;
  return n;
}

// Appends the UTF-8 form of a code point; a surrogate or a value beyond
// U+10FFFF has none and becomes "?".
void AppendUtf8(char32_t c, std::string& out) {
  if ((c >= 0xD800 && c <= 0xDFFF) || c > 0x10FFFF) c = U'?';
  if (c < 0x80) {
    out += static_cast<char>(c);
    return;
  }
  const int n = c < 0x800 ? 2 : c < 0x10000 ? 3 : 4;
  static constexpr unsigned char kLead[] = {0, 0, 0xC0, 0xE0, 0xF0};
  char bytes[4];
  for (int i = n - 1; i > 0; --i, c >>= 6) bytes[i] = static_cast<char>(0x80 | (c & 0x3F));
  bytes[0] = static_cast<char>(kLead[n] | c);
  out.append(bytes, static_cast<size_t>(n));
}

}  // namespace

bool IsAscii(std::string_view s) {
  return std::all_of(s.begin(), s.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

bool IsValidUtf8(std::string_view s) {
  for (size_t p = 0; p < s.size();) {
    size_t n = Utf8SequenceLength(s.substr(p));
    if (n == 0) return false;
    p += n;
  }
  return true;
}

bool CleanUtf8(std::string_view cp949, std::string& utf8) {
  if (IsAscii(cp949)) {
    utf8.assign(cp949);
    return true;
  }
  std::string back;
  return Cp949ToUtf8(cp949, utf8) && Utf8ToCp949(utf8, back) && back == cp949;
}

std::string Cp949FromUtf8Lossy(std::string_view utf8) {
  std::string out;
  if (IsAscii(utf8)) return std::string(utf8);
  if (Utf8ToCp949(utf8, out)) return out;
  out.clear();
  std::string piece;
  for (size_t p = 0; p < utf8.size();) {
    size_t n = Utf8SequenceLength(utf8.substr(p));
    if (n > 0 && Utf8ToCp949(utf8.substr(p, n), piece))
      out += piece;
    else
      out += '?';
    p += n > 0 ? n : 1;
  }
  return out;
}

std::string Cp949FromWideLossy(std::wstring_view wide) {
  std::string utf8;
  for (wchar_t c : wide) AppendUtf8(static_cast<char32_t>(c), utf8);
  return Cp949FromUtf8Lossy(utf8);
}

}  // namespace chartcalc::detail
