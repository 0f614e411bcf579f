#include "chartcalc/TextHelpers.h"

#include <charconv>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

using namespace chartcalc::detail;

namespace {

bool IsBlank(char c) { return c == ' ' || c == '\t'; }

bool IsKeptControl(unsigned char c) { return c == '\t' || c == '\n' || c == '\v' || c == '\r'; }

bool IsEscapeByte(unsigned char c) { return (c < 0x20 && !IsKeptControl(c)) || c == 0x7F; }

// Removes, in place, every byte for which drop() is true.
template <typename Pred>
char* RemoveBytes(char* text, Pred drop) {
  if (!text) return text;
  char* out = text;
  for (const char* p = text; *p; ++p)
    if (!drop(static_cast<unsigned char>(*p))) *out++ = *p;
  *out = '\0';
  return text;
}

// The text between the surrounding blanks.
std::string_view Unblanked(const std::string& s) {
  size_t b = 0, e = s.size();
  while (b < e && (IsBlank(s[b]) || s[b] == '\r' || s[b] == '\n')) ++b;
  while (e > b && (IsBlank(s[e - 1]) || s[e - 1] == '\r' || s[e - 1] == '\n')) --e;
  return std::string_view(s).substr(b, e - b);
}

// Parses a whole text as a finite double with from_chars (locale
// independent), accepting a leading "+".
bool ParseDouble(std::string_view t, double& out) {
  if (!t.empty() && t[0] == '+') t.remove_prefix(1);
  if (t.empty() || t[0] == '+') return false;
  const char* end = t.data() + t.size();
  auto [ptr, ec] = std::from_chars(t.data(), end, out, std::chars_format::general);
  return ec == std::errc() && ptr == end && std::isfinite(out);
}

// Drops the minus sign of a text that shows a zero ("-0.00", "-0").
std::string WithoutNegativeZero(std::string s) {
  if (s.empty() || s[0] != '-') return s;
  for (size_t i = 1; i < s.size(); ++i)
    if (s[i] != '0' && s[i] != '.') return s;
  return s.substr(1);
}

// std::to_chars gives exactly printf's "%.*f" text in the C locale at a
// fraction of its cost, which reports formatting thousands of figures a
// second notice; printf remains for a value too long for the buffer.
std::string FixedDecimals(double value, int digits) {
  char buf[400];
  const std::to_chars_result r = std::to_chars(buf, buf + sizeof buf - 1, value, std::chars_format::fixed, digits);
  if (r.ec == std::errc()) {
    *r.ptr = '\0';
  } else {
    std::snprintf(buf, sizeof buf, "%.*f", digits, value);
  }
  return WithoutNegativeZero(buf);
}

// 10^n for n = 0 .. 17, exact.
constexpr double kPowersOfTen[] = {1e0, 1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,
                                   1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15, 1e16, 1e17};

}  // namespace

char* DeleteEscapeCharacter(char* text) { return RemoveBytes(text, IsEscapeByte); }

char* DeleteAllSpace(char* text) {
  return RemoveBytes(text, [](unsigned char c) { return IsBlank(static_cast<char>(c)); });
}

char* CutStringUntilKey(const char* source, char* output, const char* key) {
  if (!output) return nullptr;
  if (!source) {
    output[0] = '\0';
    return nullptr;
  }
  const char* at = key && *key ? std::strstr(source, key) : nullptr;
  size_t n = at ? static_cast<size_t>(at - source) : std::strlen(source);
  std::memmove(output, source, n);
  output[n] = '\0';
  return at ? output : nullptr;
}

char* DeleteString(char* text, const char* key) {
  if (!text || !key || !*key) return nullptr;
  char* at = std::strstr(text, key);
  if (!at) return nullptr;
  const char* rest = at + std::strlen(key);
  std::memmove(text, rest, std::strlen(rest) + 1);
  return text;
}

char* FindString(char* text, const char* key) { return text && key ? std::strstr(text, key) : nullptr; }

const char* FindString(const char* text, const char* key) { return text && key ? std::strstr(text, key) : nullptr; }

bool chartcalc::detail::IsNameStart(unsigned char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= 0xA1 && c <= 0xFE);
}

bool chartcalc::detail::IsNamePart(unsigned char c) { return IsNameStart(c) || (c >= '0' && c <= '9') || c == '_'; }

char* GetName(const char* source, char* output) {
  if (!output) return output;
  int n = 0;
  if (source && IsNameStart(static_cast<unsigned char>(source[0])))
    while (n < kMaxNameBytes && source[n] && IsNamePart(static_cast<unsigned char>(source[n]))) {
      output[n] = source[n];
      ++n;
    }
  output[n] = '\0';
  return output;
}

long AnsiStringToInt(const SString& text, long dflt) {
  double v;
  if (!ParseDouble(Unblanked(text.str()), v)) return dflt;
  v = std::trunc(v);
  if (v < INT_MIN || v > INT_MAX) return dflt;
  return static_cast<long>(v);
}

double AnsiStringToFloat(const SString& text, double dflt) {
  double v;
  return ParseDouble(Unblanked(text.str()), v) ? v : dflt;
}

SString FloatToStrF(double value, int precision, int digits) {
  digits = digits < 0 ? 0 : digits > 18 ? 18 : digits;
  precision = precision < 1 ? 1 : precision > 17 ? 17 : precision;
  if (!std::isfinite(value)) return SString(value);
  if (std::fabs(value) >= kPowersOfTen[precision]) {
    char buf[64];
    std::snprintf(buf, sizeof buf, "%.*E", precision - 1, value);
    return SString(buf);
  }
  return SString(FixedDecimals(value, digits));
}

namespace {

int CountTickDecimals(double tick) {
  // The tick as written with 10 decimals, less its trailing zeros.
  char buf[400];
  std::snprintf(buf, sizeof buf, "%.10f", tick);
  const char* point = std::strchr(buf, '.');
  if (!point) return 0;
  int decimals = static_cast<int>(std::strlen(point + 1));
  while (decimals > 0 && point[decimals] == '0') --decimals;
  return decimals;
}

}  // namespace

int chartcalc::detail::TickDecimals(double tick) {
  if (!(tick > 0.0) || !std::isfinite(tick)) return 2;
  // A report asks for the same tick's decimals for every price it prints.
  thread_local double lastTick = 0.0;
  thread_local int lastDecimals = 0;
  if (tick != lastTick) {
    lastDecimals = CountTickDecimals(tick);
    lastTick = tick;
  }
  return lastDecimals;
}

SString GetTickFullFormat(double value, double tick) {
  if (!std::isfinite(value)) return SString(value);
  return SString(FixedDecimals(value, TickDecimals(tick)));
}

double GetNewTickValue(double step) {
  if (!std::isfinite(step) || step == 0.0) return 0.0;
  // "%.1e" keeps two significant digits and rounds the rest away; reading
  // the text back gives the double nearest to that decimal.
  char buf[64];
  std::snprintf(buf, sizeof buf, "%.1e", step);
  return std::strtod(buf, nullptr);
}

double conditionProove(double step) {
  if (!(step > 0.0) || !std::isfinite(step)) return 1.0;
  double rounded = GetNewTickValue(step);
  return rounded > 0.0 ? rounded : 1.0;
}
