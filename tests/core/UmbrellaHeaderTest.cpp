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

TEST(UmbrellaHeader, ReadmePriceDataExampleBindsAShippedIndicator) {
  SetIndexDir(CHARTCALC_SHIPPED_INDEX_DIR);
  SPriceDataList list;
  int id = list.Add();
  for (int i = 0; i < 3; ++i) list.GetCurData(id).AddData(kFieldClose, 101.5 + i);
  SIndex macd("MACD", 0);
  EXPECT_EQ(macd.ReadExpression("MACD", "", ""), 1);
  macd.SetData(&list, id);
  EXPECT_EQ(macd.GetCurPriceData(), &list.GetCurData(id));
  EXPECT_FALSE(macd.Expression[0].IsEmpty());
}
