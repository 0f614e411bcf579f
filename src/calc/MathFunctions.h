// Computations behind the element-wise math functions of the formula
// language, shared by the evaluator and by the postfix evaluation path.
#pragma once

#include <cmath>

#include "chartcalc/SVector.h"

namespace chartcalc::detail {

// An element function of the standard math library, called one bar at a time.
using MathElement = double (*)(double);

// The element functions of the one-argument math functions, wrapped so that
// each is an ordinary function whose address may be taken and whose errors
// reach errno.
inline double MathAbs(double v) { return std::fabs(v); }
inline double MathLog(double v) { return std::log(v); }
inline double MathLog10(double v) { return std::log10(v); }
inline double MathSqrt(double v) { return std::sqrt(v); }
inline double MathSin(double v) { return std::sin(v); }
inline double MathCos(double v) { return std::cos(v); }
inline double MathTan(double v) { return std::tan(v); }
inline double MathAsin(double v) { return std::asin(v); }
inline double MathAcos(double v) { return std::acos(v); }
inline double MathAtan(double v) { return std::atan(v); }
inline double MathSinh(double v) { return std::sinh(v); }
inline double MathCosh(double v) { return std::cosh(v); }
inline double MathTanh(double v) { return std::tanh(v); }

// f applied to every valid bar of x. The first bar at which f raises a domain
// or range error (the math library's error indicator) and every later bar
// become 0, without calling f again. Bars below the start index keep x's
// values; the result has x's size, start index and series flag.
SVector ApplyMathElement(const SVector& x, MathElement f);

// x raised to y bar by bar. Operands of one size pair bar with bar; a single
// number (one element) stands for itself at every bar of the other operand;
// two series of different sizes give an empty series.
SVector PowSeries(const SVector& x, const SVector& y);

}  // namespace chartcalc::detail
