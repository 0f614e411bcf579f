// Free text helpers over single-byte (code page 949) texts, and the number
// texts a trader reads: prices with the decimals of their tick, proposed
// price steps rounded to a grid.
//
// The char* helpers work in place or into a caller's buffer, as the formula
// engine and the definition readers use them; each states what it assumes
// of the buffers it is given.
#pragma once

#include "chartcalc/SString.h"

// Removes, in place, the control bytes that have no place in a formula or a
// definition text: bytes 0x01-0x1F and 0x7F other than tab, line feed,
// vertical tab and carriage return (those separate tokens and end line
// comments, so removing them would change what a formula means).
// Every printable character, "|" included, survives. Returns text.
char* DeleteEscapeCharacter(char* text);

// Removes every blank (space and tab) in place. Returns text.
char* DeleteAllSpace(char* text);

// Copies into output the part of source before the first occurrence of key
// and returns output. When key does not occur, output receives the whole of
// source and the result is null (so a last field without a delimiter is
// still taken). output must hold strlen(source) + 1 bytes.
char* CutStringUntilKey(const char* source, char* output, const char* key);

// Removes from text everything up to and including the first occurrence of
// key, in place, and returns text; leaves text as it is and returns null
// when key does not occur.
char* DeleteString(char* text, const char* key);

// The first occurrence of key in text, or null (also for a null argument).
char* FindString(char* text, const char* key);
const char* FindString(const char* text, const char* key);

// Copies the name at the start of source (an ASCII letter or a code page
// 949 lead byte 0xA1-0xFE, then more of those, digits and "_") into output
// and returns output; output is empty when no name starts there. At most 255
// bytes are copied, so output must hold 256 bytes.
char* GetName(const char* source, char* output);

// The integer written in text (blanks around it allowed). A decimal number
// is truncated toward zero. An empty text, trailing garbage or a value
// outside the 32-bit int range give dflt.
long AnsiStringToInt(const SString& text, long dflt);
// The finite number written in text (blanks around it allowed; sign,
// decimals and exponent accepted, independent of the C locale). An empty or
// unparsable text, "nan" and "inf" give dflt.
double AnsiStringToFloat(const SString& text, double dflt);

// The value with exactly `digits` decimals (0 to 18), rounded half away from
// zero by printf; when its integer part needs more than `precision`
// significant digits the value is written in exponent form with `precision`
// significant digits instead. A value that rounds to zero never shows a minus
// sign. Used as FloatToStrF(v, 15, 2) for money, FloatToStrF(v, 10, 2) for
// indicator values.
SString FloatToStrF(double value, int precision, int digits);

// A price (or an indicator value on a price scale) written with the decimals
// of its tick: GetTickFullFormat(1021.5, 0.5) is 1021.5,
// GetTickFullFormat(1028, 0.5) is 1028.0, GetTickFullFormat(1021.37, 1) is
// 1021. The value itself is not moved to the tick grid; only the decimals
// follow the tick. No thousands separators, so report files stay parseable.
SString GetTickFullFormat(double value, double tick);

// A proposed price step (a box or brick size, a reversal amount) rounded to a
// grid of two significant decimal digits: 24.69 -> 25, 61.725 -> 62,
// 0.1234 -> 0.12, 20 -> 20, 1234 -> 1200. The result is the double nearest to
// the rounded decimal, so it prints cleanly. A value that is not finite gives 0;
// a negative value is rounded like its magnitude.
double GetNewTickValue(double step);

// A proposed price step made usable: GetNewTickValue of it when it is
// positive and finite, else 1.0 (the callers' default step). The result is
// always positive.
double conditionProove(double step);

namespace chartcalc::detail {

// True for a byte that may start a name: an ASCII letter or a code page 949
// lead byte 0xA1-0xFE (the formula language's rule).
bool IsNameStart(unsigned char c);
// True for a byte that may continue a name: a name start, a digit or "_".
bool IsNamePart(unsigned char c);

// The longest name GetName copies.
inline constexpr int kMaxNameBytes = 255;

// Number of decimals a tick size is written with: 0.05 -> 2, 0.5 -> 1,
// 0.25 -> 2, 1 -> 0, 5 -> 0 (at most 10). A tick that is not positive and
// finite gives 2.
int TickDecimals(double tick);

}  // namespace chartcalc::detail
