// What the tool's pictures share: value scales, value axes on round steps,
// numbers as axis labels, and text made safe for SVG and HTML.
#pragma once

#include <string>

// Maps the values [lo, hi] onto the pixels [pixelLo, pixelHi].
struct Scale {
  double lo, hi, pixelLo, pixelHi;
  double operator()(double v) const { return pixelLo + (v - lo) / (hi - lo) * (pixelHi - pixelLo); }
};

struct ValueAxis {
  double lo, hi, step;
};

// A step of 1, 2, 2.5 or 5 times a power of ten near range / ticks.
double NiceStep(double range, int ticks);
// [lo, hi] widened to whole steps, never empty (nor for bounds that are not finite).
ValueAxis NiceAxis(double lo, double hi, int ticks);
// The decimals a value axis needs to show its step exactly (up to 6).
int StepDecimals(double step);
// v with thousands separators and the given decimals; never "-0".
std::string Amount(double v, int decimals);
// text with &, <, > and " written as entities.
std::string Escaped(const std::string& text);
