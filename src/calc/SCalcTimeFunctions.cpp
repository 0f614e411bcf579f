// Compression functions of the formula language.
#include "calc/SCalc.h"
#include "calc/SCalcFunctionTable.h"

std::span<const SCalcFunction> TimeFunctionTable() { return {}; }

bool SCalc::IsTimeFunction(const char* name) { return FindCalcFunction(TimeFunctionTable(), name, true); }

SVector SCalc::ProcessTimeFunction(const char* name) {
  const SCalcFunction* f = FindCalcFunction(TimeFunctionTable(), name, false);
  return (f && f->eval) ? f->eval(*this) : SVector();
}
