// Element-wise math functions of the formula language: pow and thirteen
// one-argument functions of the standard math library (their rows are in
// SCalcFunctionTable.cpp).
//
// No math function reports a message. A domain or range error of a
// one-argument function zeroes the rest of the series from the failing bar
// on, so a formula such as sqrt(close - 10) shows no misleading values after
// its first impossible bar.
#include <algorithm>
#include <cerrno>
#include <cmath>

#include "calc/MathFunctions.h"

namespace chartcalc::detail {

namespace {

// x[i] raised to y[j(i)] for every bar i of [from, end) of the result r.
template <class Exponent>
void RaiseBars(SVector& r, const SVector& x, int from, int end, Exponent y) {
  double* d = r.Data();
  for (int i = std::max(from, 0); i < end; ++i) d[i] = std::pow(x[i], y(i));
}

}  // namespace

SVector ApplyMathElement(const SVector& x, MathElement f) {
  SVector r = x;
  double* d = r.Data();
  const int end = r.GetSize();
  int i = std::max(r.GetStartIndex(), 0);
  for (; i < end; ++i) {
    errno = 0;
    d[i] = f(d[i]);
    if (errno != 0) break;
  }
  if (i < end) std::fill(d + i, d + end, 0.0);
  return r;
}

// Bars are computed from the later of the two start indices: a bar where
// either operand is not yet valid has no meaningful power.
SVector PowSeries(const SVector& x, const SVector& y) {
  const int nx = x.GetSize(), ny = y.GetSize();
  if (nx == ny) {
    SVector r = x;
    r.SetStartIndex(std::max(x.GetStartIndex(), y.GetStartIndex()));
    RaiseBars(r, x, r.GetStartIndex(), nx, [&y](int i) { return y[i]; });
    return r;
  }
  if (nx == 1) {
    // The result takes the exponent's frame; the base reads as itself at
    // every bar.
    SVector r = y;
    const double base = x.Data()[0];
    double* d = r.Data();
    for (int i = std::max(y.GetStartIndex(), 0); i < ny; ++i) d[i] = std::pow(base, d[i]);
    return r;
  }
  if (ny == 1) {
    SVector r = x;
    const double exponent = y.Data()[0];
    RaiseBars(r, x, x.GetStartIndex(), nx, [exponent](int) { return exponent; });
    return r;
  }
  return SVector();
}

}  // namespace chartcalc::detail
