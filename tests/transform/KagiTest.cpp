// Kagi charts through the indicator: segments, the reversal variable's
// readings and rewrites, and inputs that must neither hang nor read out of
// bounds.
#include <gtest/gtest.h>

#include <limits>

#include "calc/CalcTestUtil.h"

namespace {

using Row = std::array<double, 3>;  // bar, start price, end price
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

// Runs CalcKagi on closes dated 1000 + bar.
std::vector<Row> Kagi(SIndex& x, const std::vector<double>& closes, int start, const char* var, int reset) {
  TestBars bars = CloseBars(Series(closes, start));
  for (size_t i = 0; i < closes.size(); ++i) bars[kDateTime].Add(1000.0 + i);
  x.SetVariable(bars[0], bars[1], bars[2], bars[3], bars[4], bars[5], bars[6], bars[7], bars[8]);
  x.VarValue[0] = var;
  x.CalcKagi(reset);
  std::vector<Row> rows;
  for (int j = 0; j < x.LineData[0].GetSize(); ++j) {
    EXPECT_EQ(x.LineData[0][j], 1000.0 + x.LineData[1][j]);
    rows.push_back({x.LineData[1][j], x.LineData[2][j], x.LineData[3][j]});
  }
  return rows;
}

struct KagiCase {
  const char* fault;
  std::vector<double> closes;
  int start;
  const char *var, *varAfter;
  int reset;
  std::vector<Row> rows;
};

// Worked by hand from the levels: closes 100, 102, 100.5, 99 with reversal 1
// turn rising at 102 and fall back below 101 at bar 2.
const KagiCase kCases[] = {
    {"TurnsBelowLevelAndClosesAtLastTurn", {100, 102, 100.5, 99}, 0, "1", "1", 0, {{2, 100, 102}, {2, 102, 100}}},
    {"CloseAtLevelDoesNotTurn", {100, 102, 101}, 0, "1", "1", 0, {{0, 100, 102}}},
    {"CloseJustBelowLevelTurns", {100, 102, 100.99}, 0, "1", "1", 0, {{2, 100, 102}}},
    {"BarsBeforeStartAreSkipped", {0, 0, 100, 102, 100.5, 99}, 2, "1", "1", 0, {{4, 100, 102}, {4, 102, 100}}},
    {"AllZeroClosesDrawNothing", {0, 0, 0}, 0, "1", "1", 0, {}},
    {"ZeroReversalReadsAsOne", {100, 102, 100.5, 99}, 0, "0", "0", 0, {{2, 100, 102}, {2, 102, 100}}},
    {"ResetProposesRoundedFivePercent", {1234, 1300, 1234}, 0, "1", "62", 1, {{2, 1234, 1300}}},
    {"NegativeReversalTurnsEveryBar",
     {100, 102, 100.5, 99},
     0,
     "-1",
     "-1",
     0,
     {{0, 100, 99}, {1, 99, 100}, {2, 100, 102}, {2, 102, 98}}},
};

TEST(Kagi, Cases) {
  for (const KagiCase& c : kCases) {
    SCOPED_TRACE(c.fault);
    SIndex x;
    EXPECT_EQ(Kagi(x, c.closes, c.start, c.var, c.reset), c.rows);
    EXPECT_STREQ(x.VarValue[0].c_str(), c.varAfter);
  }
}

// Non-finite closes and reversals, and a start index past the end, end the
// pass with at most one segment per bar plus the closing one.
TEST(Kagi, NonFiniteInputStaysBounded) {
  for (const std::vector<double>& c : {std::vector<double>{100, kNaN, 101, 99}, {kNaN, 100, kInf, -kInf}})
    for (const char* var : {"nan", "inf", "-inf", "1e-300", "-1e300"})
      for (int start : {0, 2, 99}) {
        SIndex x;
        EXPECT_LE(Kagi(x, c, start, var, 0).size(), c.size() + 1);
      }
}

}  // namespace
