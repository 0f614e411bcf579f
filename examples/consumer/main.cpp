// A program that uses the installed library: a 20-bar z-score of a rising
// close, as the README's first example computes it.
#include <cstdio>

#include "chartcalc.h"

int main() {
  SVector close(30), zero(30);
  for (int i = 0; i < 30; ++i) close[i] = 100.0 + i;
  SCalc calc;
  calc.SetVariable(close, zero, zero, zero, zero, zero, zero, zero, zero);
  calc.SetExpression("(close - avg(close, 20)) / stdev(close, 20)");
  SVector z = calc.Calculate();
  std::printf("z[29] = %.6f, %d errors\n", z[29], calc.ErrorCount);
  return calc.ErrorCount == 0 && z.GetStartIndex() == 19 ? 0 : 1;
}
