// Series functions of the formula language: one row per function in the
// table, one small evaluator per function.
#include "calc/SCalc.h"
#include "calc/SCalcFunctionTable.h"

std::span<const SCalcFunction> SeriesFunctionTable() { return {}; }

std::span<const SCalcFunction> IndicatorFunctionTable() { return {}; }

bool SCalc::IsVectorFunction(const char* name) {
  return FindCalcFunction(SeriesFunctionTable(), name, true) ||
         FindCalcFunction(IndicatorFunctionTable(), name, true);
}

// An unrecognised name, or one without an evaluation, yields an empty series
// without a message.
SVector SCalc::ProcessVectorFunction(const char* name) {
  const SCalcFunction* f = FindCalcFunction(SeriesFunctionTable(), name, false);
  if (!f) f = FindCalcFunction(IndicatorFunctionTable(), name, false);
  return (f && f->eval) ? f->eval(*this) : SVector();
}
