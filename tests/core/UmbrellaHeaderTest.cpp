// A host's first include is the umbrella header: it must compile on its own
// and give the whole library, as the README's example uses it.
#include "chartcalc.h"

#include <gtest/gtest.h>

#include <cmath>

TEST(UmbrellaHeader, HostExampleCompilesAndRuns) {
  SVector close(30), other(30);
  for (int i = 0; i < 30; ++i) close[i] = 100.0 + i;
  SCalc calc;
  calc.SetVariable(close, other, other, other, other, other, other, other, other);
  calc.SetExpression("(close - avg(close, 20)) / stdev(close, 20)");
  SVector z = calc.Calculate();
  EXPECT_EQ(calc.ErrorCount, 0);
  EXPECT_EQ(z.GetStartIndex(), 19);
  EXPECT_NEAR(z[29], 9.5 / std::sqrt((20.0 * 20.0 - 1.0) / 12.0), 1e-12);
}
