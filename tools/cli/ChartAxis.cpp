#include "ChartAxis.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

double NiceStep(double range, int ticks) {
  static const double kMantissas[] = {1, 2, 2.5, 5, 10};
  const double raw = range / ticks, power = std::pow(10.0, std::floor(std::log10(raw)));
  for (double m : kMantissas)
    if (m * power >= raw) return m * power;
  return 10 * power;
}

ValueAxis NiceAxis(double lo, double hi, int ticks) {
  if (!std::isfinite(lo) || !std::isfinite(hi)) lo = 0, hi = 1;
  if (hi - lo < 1e-9 * std::max(1.0, std::fabs(hi))) hi = lo + std::max(1.0, std::fabs(lo) * 0.1);
  const double step = NiceStep(hi - lo, ticks);
  return {std::floor(lo / step + 1e-9) * step, std::ceil(hi / step - 1e-9) * step, step};
}

int StepDecimals(double step) {
  int d = 0;
  while (d < 6 && std::fabs(step * std::pow(10.0, d) - std::round(step * std::pow(10.0, d))) > 1e-6) ++d;
  return d;
}

std::string Amount(double v, int decimals) {
  if (std::fabs(v) < 0.5 * std::pow(10.0, -decimals)) v = 0;
  char text[64];
  std::snprintf(text, sizeof text, "%.*f", decimals, v);
  const std::string s = text;
  const size_t begin = s[0] == '-' ? 1 : 0, point = std::min(s.find('.'), s.size());
  std::string out = s.substr(0, begin);
  for (size_t i = begin; i < point; ++i) {
    out += s[i];
    if (i + 1 < point && (point - i - 1) % 3 == 0) out += ',';
  }
  return out + s.substr(point);
}

std::string Escaped(const std::string& text) {
  std::string out;
  for (char c : text) {
    switch (c) {
      case '&':
        out += "&amp;";
        break;
      case '<':
        out += "&lt;";
        break;
      case '>':
        out += "&gt;";
        break;
      case '"':
        out += "&quot;";
        break;
      default:
        out += c;
    }
  }
  return out;
}
