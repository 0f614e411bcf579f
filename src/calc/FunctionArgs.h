// Argument reading shared by the evaluators of the function families. An
// evaluator is entered with the token after "(" current; it reads each
// argument with Expr (a "," before an argument is stepped over by Prim) and
// returns with the token after its last argument current.
#pragma once

#include "calc/SCalcFunctionTable.h"
#include "chartcalc/SCalc.h"
#include "core/TextTable.h"

// The next argument. A ")" where an argument is due means the argument is
// missing: that is reported without consuming the ")", so that the call
// still closes where the user closed it.
inline SVector NextArg(SCalc& calc) {
  if (calc.CurrentToken() == SCalc::RP) return calc.Error(chartcalc::detail::TxImperfect);
  return calc.Expr();
}

// The next argument read as a period, count or bar number.
inline int NextCountArg(SCalc& calc) { return CountArg(NextArg(calc)); }
