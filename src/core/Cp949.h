// The one place where text changes encoding. Inside the library every Korean
// text is code page 949; UTF-8 exists only at the edges (the command-line tool,
// stored tables) and in the readable Korean of the source's text table.
#pragma once

#include <string>
#include <string_view>

namespace chartcalc::detail {

// Converts UTF-8 to code page 949. Returns false (and leaves out unspecified)
// when the input is not valid UTF-8 or holds a character code page 949 lacks.
bool Utf8ToCp949(std::string_view in, std::string& out);
// Converts code page 949 to UTF-8. Returns false when the input is not valid
// code page 949.
bool Cp949ToUtf8(std::string_view in, std::string& out);
// Code page 949 to UTF-8 for display: a byte that does not convert is shown
// as \xNN, so nothing is hidden and nothing fails.
std::string Cp949ToUtf8Lossy(std::string_view in);

}  // namespace chartcalc::detail
