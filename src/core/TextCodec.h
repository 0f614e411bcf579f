// Internal: the storage rule for code page 949 texts. A text is kept as
// UTF-8 where it converts cleanly both ways (so other programs read it), and
// as its exact bytes otherwise; reading gives back the same bytes either way.
#pragma once

#include <string>
#include <string_view>

namespace chartcalc::detail {

// True when s is pure ASCII (the same bytes in both encodings).
bool IsAscii(std::string_view s);
// True when s is well-formed UTF-8.
bool IsValidUtf8(std::string_view s);
// The UTF-8 form of a code page 949 text, when it converts both ways without
// change; false when the bytes must be kept as they are.
bool CleanUtf8(std::string_view cp949, std::string& utf8);
// UTF-8 (well-formed or not) to code page 949; a character code page 949
// lacks, or a malformed byte, becomes "?".
std::string Cp949FromUtf8Lossy(std::string_view utf8);
// Wide text (UTF-32 code points, as wchar_t holds them here) to code page
// 949, with the same "?" for what code page 949 lacks.
std::string Cp949FromWideLossy(std::wstring_view wide);

}  // namespace chartcalc::detail
