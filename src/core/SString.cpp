#include "chartcalc/SString.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "core/TextCodec.h"

namespace {

std::string Format(const char* fmt, long v) {
  char buf[32];
  std::snprintf(buf, sizeof buf, fmt, v);
  return buf;
}

std::string FormatG(double v) {
  char buf[64];
  std::snprintf(buf, sizeof buf, "%g", v);
  return buf;
}

bool IsSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f'; }

}  // namespace

SString::SString(const char* p, int n) {
  if (!p || n <= 0) return;
  text_.assign(p, strnlen(p, static_cast<size_t>(n)));
}

SString::SString(long v) : text_(Format("%ld", v)) {}

SString::SString(double v) : text_(dtos(v, 0).str()) {}

// Wide text becomes code page 949 whatever the process locale is, as every
// other text of the library; a character code page 949 lacks becomes "?".
SString::SString(const wchar_t* w) {
  if (w) text_ = chartcalc::detail::Cp949FromWideLossy(w);
}

SString& SString::operator=(double v) {
  text_ = FormatG(v);
  return *this;
}

SString& SString::operator=(long v) {
  text_ = Format("%ld", v);
  return *this;
}

SString& SString::Trim() {
  size_t b = 0, e = text_.size();
  while (b < e && IsSpace(text_[b])) ++b;
  while (e > b && IsSpace(text_[e - 1])) --e;
  text_ = text_.substr(b, e - b);
  return *this;
}

SString ltos(long v) { return SString(v); }

// The string type's integers are 32 bits wide, so an unsigned value above
// 2147483647 wraps and reads negative.
SString ultos(unsigned long v) { return SString(Format("%ld", static_cast<long>(static_cast<int>(v)))); }

SString::SString(unsigned long v) : text_(ultos(v).str()) {}

SString& SString::operator=(unsigned long v) {
  text_ = ultos(v).str();
  return *this;
}

SString dtos(double v, int digits) {
  if (digits <= 0) return SString(FormatG(v));
  char fmt[32];
  std::snprintf(fmt, sizeof fmt, "%%.%dlf", digits > 60 ? 60 : digits);
  char buf[512];
  std::snprintf(buf, sizeof buf, fmt, v);
  return SString(buf);
}
