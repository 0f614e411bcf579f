// Name lookup shared by the formula engine's function families. Each family
// (series, math, time) is one table of rows; adding a function is adding a
// row to its family's table.
#pragma once

#include <span>

#include "chartcalc/SVector.h"

class SCalc;

// Compares two names without regard to ASCII case.
bool NameEquals(const char* a, const char* b);

// The first element of an argument (0 for an empty one): how periods, counts
// and bar numbers are read from their arguments.
inline double FirstElement(const SVector& v) { return v.GetSize() > 0 ? v.Data()[0] : 0.0; }
// A period, count or bar number: the first element truncated toward zero.
inline int CountArg(const SVector& v) { return chartcalc::detail::TruncToInt(FirstElement(v)); }

struct SCalcFunction {
  // English name, compared without regard to case; nullptr when the function
  // has a localised name only.
  const char* name;
  // Text pair of the localised name (a TextId), or -1 for none.
  int localName;
  // Reads the arguments (the current token is the one after "(") and returns
  // the value; nullptr for a name that is recognised but has no evaluation.
  SVector (*eval)(SCalc& calc);
  // False when the localised name is evaluated but not recognised as a
  // function name in a formula.
  bool localRecognised = true;
};

// The row whose English name or current-language localised name equals name,
// or nullptr. With recognising set, rows whose localised name is not
// recognised match by their English name only.
const SCalcFunction* FindCalcFunction(std::span<const SCalcFunction> table, const char* name,
                                      bool recognising);

// The families' tables.
std::span<const SCalcFunction> SeriesFunctionTable();
std::span<const SCalcFunction> IndicatorFunctionTable();
std::span<const SCalcFunction> MathFunctionTable();
std::span<const SCalcFunction> TimeFunctionTable();
