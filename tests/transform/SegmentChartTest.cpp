// The four segment charts (point and figure, Renko, Kagi, line break) through
// the indicator: elements worked out by hand from the level rules, the
// parameter texts as the charts read and rewrite them, and inputs that would
// hang, fill memory or read out of bounds if the level loops were taken
// literally.
#include <limits>

#include "index/IndexTestUtil.h"
#include "transform/TransformCommon.h"

namespace {

using Rows3 = std::vector<std::array<double, 3>>;  // bar, start, end of each element
using Calc = void (SIndex::*)(int);
constexpr double kDate0 = 20240101;
constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// Runs a chart over closes (0 below `start`) dated kDate0 + bar; vars are its
// two parameter texts before and after the call.
Rows3 RunChart(Calc calc, const std::vector<double>& closes, int start, std::array<SString, 2>& vars, int reset) {
  TestBars bars = CloseBars(Series(closes, start));
  for (size_t i = 0; i < closes.size(); ++i) bars[kDateTime].Add(kDate0 + i);
  SIndex x;
  x.SetVariable(bars[0], bars[1], bars[2], bars[3], bars[4], bars[5], bars[6], bars[7], bars[8]);
  std::copy(vars.begin(), vars.end(), x.VarValue);
  (x.*calc)(reset);
  std::copy(x.VarValue, x.VarValue + vars.size(), vars.begin());
  Rows3 rows;
  for (int k = 0; k < x.LineData[0].GetSize(); ++k) {
    EXPECT_EQ(x.LineData[0][k], kDate0 + x.LineData[1][k]);
    rows.push_back({x.LineData[1][k], x.LineData[2][k], x.LineData[3][k]});
  }
  for (int line : {1, 2, 3}) EXPECT_EQ(x.LineData[line].GetSize(), static_cast<int>(rows.size()));
  EXPECT_EQ(x.LineData[4].GetSize(), 0);
  return rows;
}

struct ChartCase {
  const char* fault;
  Calc calc;
  std::vector<double> closes;
  int start;
  std::array<const char*, 2> before, after;
  int reset;
  Rows3 rows;
};

const Calc kPnF = &SIndex::CalcPnF, kRenko = &SIndex::CalcRenko, kKagi = &SIndex::CalcKagi,
           kBreak = &SIndex::CalcThreeLineBreak;
const Rows3 kRising = {{1, 10, 11}, {2, 11, 12}, {3, 12, 13}};
const Rows3 kTurned = {{1, 10, 11}, {2, 11, 12}, {3, 12, 13}, {4, 12, 9}};
const std::vector<double> kSwing = {0, 1234.5, 1300, 1100, 10};

// Point and figure: reversal 3, box 1 unless stated; the first column starts
// at the close of the start bar, even a zero one. Renko: brick 1. Kagi:
// reversal 1. Line break: the line count, then the turn level it leaves.
const ChartCase kCases[] = {
    {"PnFFiveBoxesThenReversal", kPnF, {100, 104, 100}, 0, {"3", "1"}, {"3", "1"}, 0, {{2, 100, 105}, {2, 104, 99}}},
    {"PnFStartIndexAboveZero",
     kPnF,
     {0, 0, 100, 104, 100},
     2,
     {"3", "1"},
     {"3", "1"},
     0,
     {{4, 100, 105}, {4, 104, 99}}},
    {"PnFCloseOnReversalLevelReverses",
     kPnF,
     {100, 104, 101},
     0,
     {"3", "1"},
     {"3", "1"},
     0,
     {{2, 100, 105}, {2, 104, 100}}},
    {"PnFJustAboveReversalConfirmsAgain", kPnF, {100, 104, 101.01}, 0, {"3", "1"}, {"3", "1"}, 0, {{2, 100, 105}}},
    {"PnFNoTriggerStartsFalling", kPnF, {100, 101, 102}, 0, {"3", "1"}, {"3", "1"}, 0, {{1, 100, 99}, {2, 100, 103}}},
    {"PnFRunningTwoBoxColumnNotOutput", kPnF, {100, 101}, 0, {"3", "1"}, {"3", "1"}, 0, {{1, 100, 99}}},
    {"PnFFallingTrigger", kPnF, {100, 96, 95}, 0, {"3", "1"}, {"3", "1"}, 0, {{2, 100, 94}}},
    {"PnFZerosFallBack",
     kPnF,
     kSwing,
     0,
     {"0", "0"},
     {"3", "1"},
     0,
     {{1, 0, -0.5}, {3, 0.5, 1300.5}, {4, 1299.5, 9.5}}},
    {"PnFResetProposesTwoPercent",
     kPnF,
     kSwing,
     0,
     {"7", "9"},
     {"3", "25"},
     1,
     {{1, 0, -15.5}, {3, 9.5, 1309.5}, {4, 1284.5, 9.5}}},
    {"RenkoCloseOnRisingLevelAddsNone", kRenko, {100, 103}, 0, {"1", ""}, {"1", ""}, 0, {{1, 100, 101}, {1, 101, 102}}},
    {"RenkoStartIndexAboveZero", kRenko, {0, 0, 100, 103}, 2, {"1", ""}, {"1", ""}, 0, {{3, 100, 101}, {3, 101, 102}}},
    {"RenkoCloseOnFallingLevelAddsOne", kRenko, {100, 99}, 0, {"1", ""}, {"1", ""}, 0, {{1, 100, 99}}},
    {"RenkoTurnStartsAtPreviousStart",
     kRenko,
     {100, 103, 99},
     0,
     {"1", ""},
     {"1", ""},
     0,
     {{1, 100, 101}, {1, 101, 102}, {2, 101, 100}, {2, 100, 99}}},
    {"RenkoTurnUp", kRenko, {100, 98, 101}, 0, {"1", ""}, {"1", ""}, 0, {{1, 100, 99}, {1, 99, 98}, {2, 99, 100}}},
    {"RenkoZeroFallsBack", kRenko, {100, 99}, 0, {"0", ""}, {"1", ""}, 0, {{1, 100, 99}}},
    {"RenkoResetProposesFourPercent", kRenko, {1234.5, 1300}, 0, {"9", ""}, {"49", ""}, 1, {{1, 1234.5, 1283.5}}},
    {"KagiTurnsBelowLevel", kKagi, {100, 102, 100.5, 99}, 0, {"1", ""}, {"1", ""}, 0, {{2, 100, 102}, {2, 102, 100}}},
    {"KagiCloseAtLevelDoesNotTurn", kKagi, {100, 102, 101}, 0, {"1", ""}, {"1", ""}, 0, {{0, 100, 102}}},
    {"KagiJustBelowLevelTurns", kKagi, {100, 102, 100.99}, 0, {"1", ""}, {"1", ""}, 0, {{2, 100, 102}}},
    {"KagiStartIndexAboveZero",
     kKagi,
     {0, 0, 100, 102, 100.5, 99},
     2,
     {"1", ""},
     {"1", ""},
     0,
     {{4, 100, 102}, {4, 102, 100}}},
    {"KagiZeroReadsAsOne", kKagi, {100, 102, 100.5, 99}, 0, {"0", ""}, {"0", ""}, 0, {{2, 100, 102}, {2, 102, 100}}},
    {"KagiResetProposesFivePercent", kKagi, {1234, 1300, 1234}, 0, {"1", ""}, {"62", ""}, 1, {{2, 1234, 1300}}},
    {"KagiNegativeTurnsEveryBar",
     kKagi,
     {100, 102, 100.5, 99},
     0,
     {"-1", ""},
     {"-1", ""},
     0,
     {{0, 100, 99}, {1, 99, 100}, {2, 100, 102}, {2, 102, 98}}},
    {"BreakTurnStartsAtFarEnd", kBreak, {10, 11, 12, 13, 9}, 0, {"3", "-1"}, {"3", "13"}, 0, kTurned},
    {"BreakCloseAboveTurnLevel", kBreak, {10, 11, 12, 13, 11}, 0, {"3", "-1"}, {"3", "10"}, 0, kRising},
    {"BreakCloseAtTurnLevel", kBreak, {10, 11, 12, 13, 10}, 0, {"3", "-1"}, {"3", "10"}, 0, kRising},
    {"BreakOneLine", kBreak, {10, 11, 9.5}, 0, {"1", "-1"}, {"1", "10"}, 0, {{1, 10, 11}, {2, 10, 9.5}}},
    {"BreakZeroCountIsThree", kBreak, {10, 11, 12, 13, 9}, 0, {"0", "-1"}, {"3", "13"}, 0, kTurned},
    {"BreakNegativeCountIsThree", kBreak, {10, 11, 12, 13, 11}, 0, {"-2", "-1"}, {"3", "10"}, 0, kRising},
    {"BreakResetWritesThree", kBreak, {10, 11, 12, 13, 11}, 0, {"1", "-1"}, {"3", "10"}, 1, kRising},
    // From start index 3 on, the last three lines are line entries 3 and up
    // only: line 3's bottom 12 turns the chart at 11.5.
    {"BreakTurnLevelIgnoresEntriesBelowStart",
     kBreak,
     {0, 0, 0, 10, 11, 12, 13, 11.5},
     3,
     {"3", "-1"},
     {"3", "13"},
     0,
     {{4, 10, 11}, {5, 11, 12}, {6, 12, 13}, {7, 12, 11.5}}},
};

TEST(SegmentChart, ElementsAndTextsMatchHandWorkedCases) {
  for (const ChartCase& c : kCases) {
    SCOPED_TRACE(c.fault);
    std::array<SString, 2> vars = {c.before[0], c.before[1]};
    EXPECT_EQ(RunChart(c.calc, c.closes, c.start, vars, c.reset), c.rows);
    EXPECT_STREQ(vars[0].c_str(), c.after[0]);
    EXPECT_STREQ(vars[1].c_str(), c.after[1]);
  }
}

TEST(SegmentChart, EmptyAndAllZeroClosesDrawNothing) {
  for (Calc calc : {kPnF, kRenko, kKagi, kBreak})
    for (const std::vector<double>& closes : {std::vector<double>{}, {0, 0, 0}}) {
      std::array<SString, 2> vars = {"1", "1"};
      EXPECT_TRUE(RunChart(calc, closes, 0, vars, 0).empty());
    }
}

// Negative, tiny, lost or huge steps, non-finite closes, an overflowing count
// and starts outside the series: every chart finishes with a bounded number
// of elements per bar and keeps texts it cannot use.
TEST(SegmentChart, HostileParametersAndClosesFinishBounded) {
  const std::vector<std::vector<double>> closes = {
      kSwing, {100, kInf, -kInf, kNaN, 1e308, -1e308}, {kNaN, 100, 101, 99}};
  const struct {
    Calc calc;
    size_t perBar;
    std::vector<std::array<const char*, 2>> vars;
  } charts[] = {
      {kPnF,
       1,
       {{"-3", "1"}, {"2", "-1"}, {"3", "1e-20"}, {"3", "1e-12"}, {"1", "1e308"}, {"2147483647", "1"}, {"", "abc"}}},
      {kRenko, LevelSteps::kMaxStepsPerBar, {{"-2", ""}, {"1e-20", ""}, {"1e-9", ""}, {"1e308", ""}, {"abc", ""}}},
      {kKagi, 2, {{"nan", ""}, {"inf", ""}, {"-inf", ""}, {"1e-300", ""}, {"-1e300", ""}}},
      {kBreak, 2, {{"2", "0"}, {"2147483647", "0"}}},
  };
  for (const auto& chart : charts)
    for (const auto& c : closes)
      for (const auto& v : chart.vars)
        for (int start : {0, 2, 99, -5}) {
          std::array<SString, 2> vars = {v[0], v[1]};
          EXPECT_LE(RunChart(chart.calc, c, start, vars, 0).size(), chart.perBar * c.size()) << v[0] << " " << v[1];
          EXPECT_STREQ(vars[0].c_str(), v[0]);
        }
}

// A count beyond the lines drawn sees every line, and must not cost a scan
// of its whole window per line.
TEST(SegmentChart, HugeLineCountEqualsCountCoveringAllLines) {
  const SVector walk = WalkSeries(7, 100.0, 300);
  const std::vector<double> closes(walk.Data(), walk.Data() + walk.GetSize());
  std::array<SString, 2> a = {"1000", "0"}, b = {"2000000000", "0"};
  EXPECT_EQ(RunChart(kBreak, closes, 0, a, 0), RunChart(kBreak, closes, 0, b, 0));
  EXPECT_EQ(a[1], b[1]);
}

// Over values 5, 1, 9, 3: mode, end, count, close start index, expected.
TEST(SegmentChart, MakeChangeValueStaysInsideValues) {
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
