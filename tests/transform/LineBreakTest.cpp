// Three-line break through the indicator: lines, turn levels, the count
// variable's rewrites, the turn-level window's lower bound at the close
// series' start index, and inputs that must neither hang nor read out of
// bounds.
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
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
  EXPECT_EQ(x.LineData[4].GetSize(), 0);
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
  const char* var;
  int reset;
  std::vector<Row> rows;
  const char* varAfter;
  const char* threshold;
};

const std::vector<Row> kRising = {{1, 10, 11}, {2, 11, 12}, {3, 12, 13}};
const LineBreakCase kCases[] = {
    {"TurnStartsAtFarEndOfPreviousLine",
     {10, 11, 12, 13, 9},
     0,
     "3",
     0,
     {{1, 10, 11}, {2, 11, 12}, {3, 12, 13}, {4, 12, 9}},
     "3",
     "13"},
    {"CloseBetweenTurnLevelAndTopDrawsNothing", {10, 11, 12, 13, 11}, 0, "3", 0, kRising, "3", "10"},
    {"CloseAtTurnLevelDrawsNothing", {10, 11, 12, 13, 10}, 0, "3", 0, kRising, "3", "10"},
    {"CloseAtTopDrawsNothing", {10, 11, 12, 13, 13}, 0, "3", 0, kRising, "3", "10"},
    {"OneLineTurnsOnPreviousBottom", {10, 11, 9.5}, 0, "1", 0, {{1, 10, 11}, {2, 10, 9.5}}, "1", "10"},
    {"AllZeroClosesDrawNothing", {0, 0, 0}, 0, "3", 0, {}, "3", "-1"},
    {"ZeroCountBecomesThree",
     {10, 11, 12, 13, 9},
     0,
     "0",
     0,
     {{1, 10, 11}, {2, 11, 12}, {3, 12, 13}, {4, 12, 9}},
     "3",
     "13"},
    {"NegativeCountBecomesThree", {10, 11, 12, 13, 11}, 0, "-2", 0, kRising, "3", "10"},
    {"ResetWritesThree", {10, 11, 12, 13, 11}, 0, "1", 1, kRising, "3", "10"},
    // From the start index 3 on, the window of the last three lines holds
    // line entries 3 and up only: line 3's bottom 12 turns the chart at 11.5.
    {"TurnLevelIgnoresEntriesBelowStartIndex",
     {0, 0, 0, 10, 11, 12, 13, 11.5},
     3,
     "3",
     0,
     {{4, 10, 11}, {5, 11, 12}, {6, 12, 13}, {7, 12, 11.5}},
     "3",
     "13"},
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

// A count beyond the lines drawn sees every line, like a count of all bars,
// and must not cost a scan of the whole window per line.
TEST(LineBreak, HugeCountEqualsCountCoveringAllLines) {
  SIndex a, b;
  TestBars bars = CloseBars(WalkSeries(7, 100.0, 300));
  EXPECT_EQ(LineBreak(a, bars, "1000", 0), LineBreak(b, bars, "2000000000", 0));
  EXPECT_EQ(a.VarValue[1], b.VarValue[1]);
}

// Non-finite closes and a start index past the end draw at most two lines a bar.
TEST(LineBreak, NonFiniteInputStaysBounded) {
  const std::vector<double> closes[] = {{10, kNaN, 11, 9}, {kNaN, 10, kInf, -kInf}, {kInf, 1, 2}, {0, 5, 0, 5}};
  for (const auto& c : closes)
    for (int start : {0, 2, 99}) {
      SIndex x;
      TestBars bars = CloseBars(Series(c, start));
      EXPECT_LE(LineBreak(x, bars, "2", 0).size(), 2 * c.size());
    }
}

struct ChangeCase {
  int mode, end, count, start;
  double expected;
};

// Each case names its window s = max(end - count, start index) in values.
const ChangeCase kChangeCases[] = {
    {0, 4, 3, 0, 9},        // [1, 3]: highest
    {1, 4, 3, 0, 1},        // [1, 3]: lowest
    {1, 4, 3, 2, 3},        // [2, 3]: the start index cuts the window
    {0, 2, 3, 2, 9},        // s = 2 > end - 1: values[s]
    {0, 100, 200, 0, 9},    // end past the array: the whole array
    {0, 2, -5, 0, 0},       // s = 7, past the array: 0
    {1, 2, INT_MIN, 0, 0},  // no overflow
    {0, 0, 3, -4, 5},       // a negative start index reads from 0
};

TEST(LineBreak, MakeChangeValueStaysInsideValues) {
  for (const ChangeCase& c : kChangeCases) {
    SIndex x;
    TestBars bars = CloseBars(Series({1, 1, 1, 1}, c.start));
    x.SetVariable(bars[0], bars[1], bars[2], bars[3], bars[4], bars[5], bars[6], bars[7], bars[8]);
    SVector values = Series({5, 1, 9, 3});
    EXPECT_EQ(x.MakeChangeValue(c.mode, values, c.end, c.count), c.expected)
        << c.mode << " " << c.end << " " << c.count;
  }
}

}  // namespace
