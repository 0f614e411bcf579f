// The candle-pattern indicator: marks of overlapping patterns, patterns that
// are skipped, and the incremental form against the full one.
#include <string>
#include <vector>

#include "calc/CalcTestUtil.h"
#include "index/IndexTestUtil.h"

using namespace chartcalc::detail;

namespace {

SFunction Pattern(const char* expression, std::vector<std::pair<const char*, const char*>> vars = {}) {
  SFunction f;
  f.Expression = expression;
  for (size_t k = 0; k < vars.size(); ++k) {
    f.VarName[k] = vars[k].first;
    f.VarValue[k] = vars[k].second;
  }
  return f;
}

struct CandleFixture : ::testing::Test {
  Feed feed;
  SFunctionList patterns;
  SIndex x{"candles", kIndexCandlePattern};
  void SetUp() override {
    // Closes 0, 1, ..., 19: bar i has close i.
    for (int i = 0; i < 20; ++i) {
      double values[kPriceSlots] = {double(i), double(i) - 0.5, double(i) + 1, double(i) - 1, 100, 20240101.0 + i,
                                    0, 0, 0};
      for (int k = 0; k < kPriceSlots; ++k) feed.s[k].Add(values[k]);
    }
    feed.Bind(x);
    x.SetCandle(&patterns);
  }
};

TEST_F(CandleFixture, LaterPatternsOverwriteEarlierMarksAndUnmatchedBarsHoldMinusOne) {
  patterns.Add(Pattern("c == 10 or c == 3"));
  patterns.Add(Pattern("c >= k and c <= 11", {{"k", "10"}}));
  patterns.Add(Pattern(""));  // skipped, leaves the marks alone
  x.Calc();
  const SVector& marks = x.LineData[0];
  ASSERT_EQ(marks.GetSize(), 20);
  EXPECT_EQ(marks.GetStartIndex(), 0);
  EXPECT_EQ(marks[3], 0.0);
  EXPECT_EQ(marks[10], 1.0);  // both match: the later one
  EXPECT_EQ(marks[11], 1.0);
  for (int i : {0, 1, 2, 4, 9, 12, 19}) EXPECT_EQ(marks[i], -1.0) << i;
  EXPECT_TRUE(x.Expression[0].IsEmpty());  // the last pattern's expression
  EXPECT_EQ(x.CalcState[0], 0);
}

TEST_F(CandleFixture, WithoutAListNothingChanges) {
  x.SetCandle(nullptr);
  x.LineData[0].Add(7);
  x.Calc();
  x.CalcLast();
  ASSERT_EQ(x.LineData[0].GetSize(), 1);
  EXPECT_EQ(x.LineData[0][0], 7.0);
}

TEST_F(CandleFixture, NewBarsAreMarkedLikeAFullCalculation) {
  patterns.Add(Pattern("c > avg(c, 3, 1) and c(2) < o"));
  patterns.Add(Pattern("c % 4 == 1"));
  patterns.Add(Pattern("c % k == 0", {{"k", "6"}}));
  x.CalcLast();
  EXPECT_EQ(x.CalcState[0], 0);
  EXPECT_EQ(x.CalcStart[0], 3);
  for (int i = 20; i < 40; ++i) {
    double values[kPriceSlots] = {double(i % 13), 5, 14, 0, 100, 20240101.0 + i, 0, 0, 0};
    for (int k = 0; k < kPriceSlots; ++k) feed.s[k].Add(values[k]);
    x.CalcLast();
    if (i % 3 != 0) continue;
    feed.Tick(double(i % 13) + 1.0);  // a new tick on the last bar
    x.CalcLast();
  }
  SIndex full("full", kIndexCandlePattern);
  feed.Bind(full);
  full.SetCandle(&patterns);
  full.Calc();
  EXPECT_EQ(Values(x.LineData[0]), Values(full.LineData[0]));
  EXPECT_EQ(x.Expression[0], SString("c % k == 0"));
}

TEST_F(CandleFixture, APatternOfWholeHistoryIsMarkedInFullEveryTime) {
  patterns.Add(Pattern("BarsSince(c == 5) == 2"));
  x.CalcLast();
  EXPECT_EQ(x.CalcState[0], -1);
  EXPECT_EQ(x.LineData[0][7], 0.0);
  feed.Add(Market(21), 20);
  x.CalcLast();
  EXPECT_EQ(x.LineData[0].GetSize(), 21);
  EXPECT_EQ(x.LineData[0][7], 0.0);
}

}  // namespace
