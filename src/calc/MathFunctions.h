// Computations behind the element-wise math functions of the formula
// language, shared by the evaluator and by the postfix evaluation path.
#pragma once

#include "chartcalc/SVector.h"

// An element function of the standard math library, called one bar at a time.
using MathElement = double (*)(double);

// The element function of a one-argument math function (abs, log, log10,
// sqrt, sin, cos, tan, asin, acos, atan, sinh, cosh, tanh) by its English
// name, ignoring case; nullptr for any other name.
MathElement FindMathElement(const char* name);

// f applied to every valid bar of x. The first bar at which f raises a domain
// or range error (the math library's error indicator) and every later bar
// become 0, without calling f again. Bars below the start index keep x's
// values; the result has x's size, start index and series flag.
SVector ApplyMathElement(const SVector& x, MathElement f);

// x raised to y bar by bar. Operands of one size pair bar with bar; a single
// number (one element) stands for itself at every bar of the other operand;
// two series of different sizes give an empty series.
SVector PowSeries(const SVector& x, const SVector& y);
