// The formula functions: one table, one row per function, read by both
// evaluators. The recursive evaluator (SCalcParser.cpp) finds a row by name
// within a family and evaluates it while reading the formula text; the
// postfix path (SCalcPostfix.cpp) compiles a row's code into its list and
// evaluates the row of a code with arguments from its stack. Adding a
// function is adding a row (SCalcFunctionTable.cpp) and its computation.
//
// Internal to the engine: no public header includes this one.
#pragma once

#include "chartcalc/SVector.h"

class SCalc;

namespace chartcalc::detail {

// Compares two names without regard to ASCII case.
bool NameEquals(const char* a, const char* b);

// The first element of an argument (0 for an empty one): how periods, counts
// and bar numbers are read from their arguments.
inline double FirstElement(const SVector& v) { return v.GetSize() > 0 ? v.Data()[0] : 0.0; }
// A period, count or bar number: the first element truncated toward zero.
inline int CountArg(const SVector& v) { return TruncToInt(FirstElement(v)); }

// The evaluated arguments of one call: taken from the evaluation stack on the
// postfix path, read from the formula text first on the recursive path.
struct CallArgs {
  SCalc* calc;
  int count;
  const SVector* const* v;  // count arguments, in written order

  // Argument i; a missing one reads as an empty series.
  const SVector& operator[](int i) const {
    static const SVector kMissing;
    return i >= 0 && i < count ? *v[i] : kMissing;
  }
  int Count(int i) const { return CountArg((*this)[i]); }
  double Number(int i) const { return FirstElement((*this)[i]); }
};

// The families of the recursive evaluator, tried by name in the order series
// (indicators included), math, time, with price words before math and user
// functions before time. A series function takes a trailing delay argument.
enum class FunctionFamily { kSeries, kMath, kTime };

// maxArgs of a function that takes any number of arguments.
inline constexpr int kAnyCount = -1;

struct SCalcFunction {
  // English name, compared without regard to case; nullptr when the function
  // has a localised name only.
  const char* name;
  // Text pair of the localised name (a TextId), or -1 for none.
  int localName;
  FunctionFamily family;
  // The item code of the postfix language (a PostfixCode), or 0 for a
  // function that language does not know. sar and csar share theirs.
  int code;
  // The function's own arguments: fewer than minArgs is an incomplete formula
  // on the postfix path; maxArgs is kAnyCount for any number.
  int minArgs;
  int maxArgs;
  // The recursive evaluator of a function with its own argument forms: reads
  // the arguments (the current token is the one after "(") and returns the
  // value. nullptr: maxArgs arguments are read and passed to apply.
  SVector (*eval)(SCalc& calc);
  // The value from evaluated arguments: the postfix evaluator, and the
  // recursive one when eval is nullptr. A row with neither yields an empty
  // series; a code whose row has no apply is passed over by the postfix
  // evaluator.
  SVector (*apply)(const CallArgs& args);
  // False when the localised name is evaluated but not recognised as a
  // function name in a formula.
  bool localRecognised = true;
};

// The first row of the family whose English name or current-language
// localised name equals name, or nullptr. With recognising set, rows whose
// localised name is not recognised match by their English name only.
const SCalcFunction* FindCalcFunction(FunctionFamily family, const char* name, bool recognising);

// The row of a postfix item code, or nullptr. Among rows that share the code,
// the one whose name is the written text (the first without text or match).
const SCalcFunction* FunctionOfCode(int code, const char* text = nullptr);

}  // namespace chartcalc::detail
