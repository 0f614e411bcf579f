// Point-and-figure columns through the indicator: columns worked out by hand
// from the level rules, the rewritten parameter texts, and inputs that would
// hang or read out of bounds if the level loops were taken literally.
#include <limits>

#include "index/IndexTestUtil.h"

namespace transform_test {

using Cols = std::vector<std::array<double, 3>>;  // bar, start, end of each output element
constexpr double kDate0 = 20240101;

// Runs a column-list chart type over closes (0 below `start`) dated
// kDate0 + bar; vars are its parameter texts before and after the call. Also
// used by the Renko tests.
Cols RunChart(void (SIndex::*calc)(int), const std::vector<double>& closes, int start, std::vector<SString>& vars,
              int reset) {
  Feed feed;
  SIndex x("chart", kIndexPriceChart);
  for (double c : closes) feed[kClose].Add(c), feed[kDateTime].Add(kDate0 + feed[kDateTime].GetSize());
  feed[kClose].SetStartIndex(start);
  feed.Bind(x);
  std::copy(vars.begin(), vars.end(), x.VarValue);
  (x.*calc)(reset);
  std::copy(x.VarValue, x.VarValue + vars.size(), vars.begin());
  Cols cols;
  for (int k = 0; k < x.LineData[0].GetSize(); ++k) {
    EXPECT_EQ(x.LineData[0][k], kDate0 + x.LineData[1][k]);
    cols.push_back({x.LineData[1][k], x.LineData[2][k], x.LineData[3][k]});
  }
  for (int line : {1, 2, 3}) EXPECT_EQ(x.LineData[line].GetSize(), static_cast<int>(cols.size()));
  EXPECT_EQ(x.LineData[4].GetSize(), 0);
  return cols;
}

}  // namespace transform_test

namespace {

using namespace transform_test;

TEST(PointFigure, ColumnsMatchHandWorkedLevels) {
  const struct {
    std::vector<double> closes;
    int start;
    Cols expected;
  } cases[] = {
      {{100, 104, 100}, 0, {{2, 100, 105}, {2, 104, 99}}},        // five boxes from bar 1, then a reversal
      {{0, 0, 100, 104, 100}, 2, {{4, 100, 105}, {4, 104, 99}}},  // start index above 0
      {{100, 104, 101}, 0, {{2, 100, 105}, {2, 104, 100}}},       // close on the reversal level reverses
      {{100, 104, 101.01}, 0, {{2, 100, 105}}},                   // just above it: confirmed again at bar 2
      {{100, 101, 102}, 0, {{1, 100, 99}, {2, 100, 103}}},        // no trigger: falling, 101 already reverses
      {{100, 101}, 0, {{1, 100, 99}}},                            // the running two-box column is not output
      {{100, 96, 95}, 0, {{2, 100, 94}}},                         // falling trigger
      {{0, 0, 0}, 0, {}},
      {{}, 0, {}},
  };
  for (const auto& c : cases) {
    std::vector<SString> vars = {"3", "1"};
    EXPECT_EQ(RunChart(&SIndex::CalcPnF, c.closes, c.start, vars, 0), c.expected) << c.closes.size() << " bars";
  }
}

// Zeros fall back and are rewritten, unreadable and negative texts stay, a
// reset writes 3 and 2 % of 1234.5 on the price grid. Then negative, lost or
// tiny boxes, infinite closes, an overflowing reversal and starts outside the
// series: each finishes with at most one column per bar.
TEST(PointFigure, BadParametersAndClosesFinishWithTextsAsDocumented) {
  const double inf = std::numeric_limits<double>::infinity();
  const std::vector<double> swing = {0, 1234.5, 1250, 1200, 10}, wild = {100, inf, -inf, std::nan(""), 1e308, -1e308};
  const struct {
    const std::vector<double>& closes;
    int start, reset;
    std::vector<SString> before, after;
  } cases[] = {{swing, 0, 0, {"0", "0"}, {"3", "1"}},         {swing, 0, 0, {"", "abc"}, {"", "abc"}},
               {swing, 0, 0, {"2", "-1"}, {"2", "-1"}},       {swing, 0, 1, {"7", "9"}, {"3", "25"}},
               {swing, 0, 0, {"-3", "1"}, {"-3", "1"}},       {swing, 0, 0, {"3", "1e-20"}, {"3", "1e-20"}},
               {swing, 0, 0, {"3", "1e-12"}, {"3", "1e-12"}}, {wild, 0, 0, {"1", "1e308"}, {"1", "1e308"}},
               {wild, 0, 0, {"3", "1"}, {"3", "1"}},          {swing, 0, 0, {"2147483647", "1"}, {"2147483647", "1"}},
               {swing, 9, 0, {"3", "1"}, {"3", "1"}},         {swing, -5, 0, {"3", "1"}, {"3", "1"}}};
  for (const auto& c : cases) {
    std::vector<SString> vars = c.before;
    EXPECT_LE(RunChart(&SIndex::CalcPnF, c.closes, c.start, vars, c.reset).size(), c.closes.size());
    EXPECT_EQ(vars[0].str() + " " + vars[1].str(), c.after[0].str() + " " + c.after[1].str());
  }
}

}  // namespace
