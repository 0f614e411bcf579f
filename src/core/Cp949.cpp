// Encoding conversion through the C library's iconv ("UHC" is code page 949).
#include "core/Cp949.h"

#include <iconv.h>

#include <cerrno>
#include <cstdio>

namespace chartcalc::detail {

namespace {

bool Convert(const char* to, const char* from, std::string_view in, std::string& out) {
  out.clear();
  if (in.empty()) return true;
  iconv_t cd = iconv_open(to, from);
  if (cd == reinterpret_cast<iconv_t>(-1)) return false;
  out.resize(in.size() * 4 + 16);
  char* src = const_cast<char*>(in.data());
  size_t srcLeft = in.size();
  char* dst = out.data();
  size_t dstLeft = out.size();
  size_t rc = iconv(cd, &src, &srcLeft, &dst, &dstLeft);
  iconv_close(cd);
  if (rc == static_cast<size_t>(-1) || srcLeft != 0) return false;
  out.resize(out.size() - dstLeft);
  return true;
}

// Length of the code page 949 character starting at p: 2 for a lead byte
// followed by something, else 1.
size_t CharLength(std::string_view s, size_t p) {
  unsigned char c = static_cast<unsigned char>(s[p]);
  return (c >= 0x81 && c <= 0xFE && p + 1 < s.size()) ? 2 : 1;
}

}  // namespace

bool Utf8ToCp949(std::string_view in, std::string& out) { return Convert("UHC", "UTF-8", in, out); }

bool Cp949ToUtf8(std::string_view in, std::string& out) { return Convert("UTF-8", "UHC", in, out); }

std::string Cp949ToUtf8Lossy(std::string_view in) {
  std::string out, piece;
  if (Cp949ToUtf8(in, out)) return out;
  out.clear();
  for (size_t p = 0; p < in.size();) {
    size_t n = CharLength(in, p);
    if (Cp949ToUtf8(in.substr(p, n), piece)) {
      out += piece;
    } else {
      char esc[8];
      std::snprintf(esc, sizeof esc, "\\x%02X", static_cast<unsigned char>(in[p]));
      out += esc;
      n = 1;
    }
    p += n;
  }
  return out;
}

}  // namespace chartcalc::detail
