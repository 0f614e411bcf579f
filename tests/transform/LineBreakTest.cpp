// Three-line break through the indicator: lines, turn levels, the count
// variable's rewrites, the turn-level window's lower bound at the close
// series' start index, and inputs that must neither hang nor read out of
// bounds.
#include <gtest/gtest.h>

#include <climits>
#include <limits>

#include "calc/CalcTestUtil.h"

namespace {

using Row = std::array<double, 3>;  // bar, start price, end price
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

// Runs CalcThreeLineBreak on closes dated 1000 + bar; VarValue[1] starts -1.
std::vector<Row> LineBreak(SIndex& x, TestBars& bars, const char* var, int reset) {
  for (int i = 0; i < bars[kClose].GetSize(); ++i) bars[kDateTime].Add(1000.0 + i);
  x.SetVariable(bars[0], bars[1], bars[2], bars[3], bars[4], bars[5], bars[6], bars[7], bars[8]);
  x.VarValue[0] = var;
  x.VarValue[1] = -1.0;
  x.CalcThreeLineBreak(reset);
  std::vector<Row> rows;
  for (int j = 0; j < x.LineData[0].GetSize(); ++j) {
    EXPECT_EQ(x.LineData[0][j], 1000.0 + x.LineData[1][j]);
    rows.push_back({x.LineData[1][j], x.LineData[2][j], x.LineData[3][j]});
  }
  return rows;
}

struct LineBreakCase {
  const char* fault;
  std::vector<double> closes;
  int start;
  const char *var, *varAfter, *threshold;
  int reset;
  std::vector<Row> rows;
};

// Worked by hand: three rising lines from 10 leave the turn level at the
// lowest bottom of the last three, 10.
const std::vector<Row> kRising = {{1, 10, 11}, {2, 11, 12}, {3, 12, 13}};
const std::vector<Row> kTurned = {{1, 10, 11}, {2, 11, 12}, {3, 12, 13}, {4, 12, 9}};
const LineBreakCase kCases[] = {
    {"TurnStartsAtFarEndOfPreviousLine", {10, 11, 12, 13, 9}, 0, "3", "3", "13", 0, kTurned},
    {"CloseBetweenTurnLevelAndTopDrawsNothing", {10, 11, 12, 13, 11}, 0, "3", "3", "10", 0, kRising},
    {"CloseAtTurnLevelDrawsNothing", {10, 11, 12, 13, 10}, 0, "3", "3", "10", 0, kRising},
    {"OneLineTurnsOnPreviousBottom", {10, 11, 9.5}, 0, "1", "1", "10", 0, {{1, 10, 11}, {2, 10, 9.5}}},
    {"AllZeroClosesDrawNothing", {0, 0, 0}, 0, "3", "3", "-1", 0, {}},
    {"ZeroCountBecomesThree", {10, 11, 12, 13, 9}, 0, "0", "3", "13", 0, kTurned},
    {"NegativeCountBecomesThree", {10, 11, 12, 13, 11}, 0, "-2", "3", "10", 0, kRising},
    {"ResetWritesThree", {10, 11, 12, 13, 11}, 0, "1", "3", "10", 1, kRising},
    // From start index 3 on, the last three lines are line entries 3 and up
    // only: line 3's bottom 12 turns the chart at 11.5.
    {"TurnLevelIgnoresEntriesBelowStartIndex",
     {0, 0, 0, 10, 11, 12, 13, 11.5},
     3,
     "3",
     "3",
     "13",
     0,
     {{4, 10, 11}, {5, 11, 12}, {6, 12, 13}, {7, 12, 11.5}}},
};

TEST(LineBreak, Cases) {
  for (const LineBreakCase& c : kCases) {
    SCOPED_TRACE(c.fault);
    SIndex x;
    TestBars bars = CloseBars(Series(c.closes, c.start));
    EXPECT_EQ(LineBreak(x, bars, c.var, c.reset), c.rows);
    EXPECT_STREQ(x.VarValue[0].c_str(), c.varAfter);
    EXPECT_STREQ(x.VarValue[1].c_str(), c.threshold);
  }
}

// A count beyond the lines drawn sees every line, and must not cost a scan
// of its whole window per line.
TEST(LineBreak, HugeCountEqualsCountCoveringAllLines) {
  SIndex a, b;
  TestBars bars = CloseBars(WalkSeries(7, 100.0, 300));
  EXPECT_EQ(LineBreak(a, bars, "1000", 0), LineBreak(b, bars, "2000000000", 0));
  EXPECT_EQ(a.VarValue[1], b.VarValue[1]);
}

// Non-finite closes and a start index past the end draw at most two lines a bar.
TEST(LineBreak, NonFiniteInputStaysBounded) {
  for (const std::vector<double>& c : {std::vector<double>{10, kNaN, 11, 9}, {kNaN, 10, kInf, -kInf}, {0, 5, 0, 5}})
    for (int start : {0, 2, 99}) {
      SIndex x;
      TestBars bars = CloseBars(Series(c, start));
      EXPECT_LE(LineBreak(x, bars, "2", 0).size(), 2 * c.size());
    }
}

// Over values 5, 1, 9, 3: mode, end, count, close start index, expected.
TEST(LineBreak, MakeChangeValueStaysInsideValues) {
  const double kChange[][5] = {{0, 4, 3, 0, 9},  {1, 4, 3, 2, 3},  {0, 2, 3, 2, 9},      {0, 100, 200, 0, 9},
                               {0, 2, -5, 0, 0}, {0, 0, 3, -4, 5}, {1, 2, INT_MIN, 0, 0}};
  for (const auto& c : kChange) {
    SIndex x;
    TestBars bars = CloseBars(Series({1, 1, 1, 1}, static_cast<int>(c[3])));
    x.SetVariable(bars[0], bars[1], bars[2], bars[3], bars[4], bars[5], bars[6], bars[7], bars[8]);
    SVector values = Series({5, 1, 9, 3});
    EXPECT_EQ(x.MakeChangeValue(int(c[0]), values, int(c[1]), int(c[2])), c[4]) << c[0] << c[1] << c[2] << c[3];
  }
}

}  // namespace
