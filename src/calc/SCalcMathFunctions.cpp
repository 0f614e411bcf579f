// Element-wise math functions of the formula language.
#include "calc/SCalc.h"
#include "calc/SCalcFunctionTable.h"

std::span<const SCalcFunction> MathFunctionTable() { return {}; }

bool SCalc::IsMathFunction(const char* name) { return FindCalcFunction(MathFunctionTable(), name, true); }

SVector SCalc::ProcessMathFunction(const char* name) {
  const SCalcFunction* f = FindCalcFunction(MathFunctionTable(), name, false);
  return (f && f->eval) ? f->eval(*this) : SVector();
}
