// Point-and-figure columns through the indicator: columns worked out by hand
// from the level rules, the rewritten parameter texts, and inputs that would
// hang or read out of bounds if the level loops were taken literally.
#include <limits>

#include "index/IndexTestUtil.h"

namespace {

constexpr double kFirstDate = 20240101;

// One expected column: the bar that ended it, its start and end prices.
struct Col {
  double bar, start, end;
  bool operator==(const Col&) const = default;
  friend std::ostream& operator<<(std::ostream& o, const Col& c) {
    return o << "{bar " << c.bar << ": " << c.start << " -> " << c.end << "}";
  }
};

// An indicator bound to the closes (bars below `start` are 0), dated
// kFirstDate + bar.
struct PnFChart {
  Feed feed;
  SIndex x{"pnf", kIndexPriceChart};

  PnFChart(std::vector<double> closes, int start = 0) {
    for (size_t i = 0; i < closes.size(); ++i) {
      feed[kClose].Add(closes[i]);
      feed[kDateTime].Add(kFirstDate + static_cast<double>(i));
    }
    feed[kClose].SetStartIndex(start);
    feed.Bind(x);
  }
  std::vector<Col> Calc(const char* reversal, const char* box, int reset = 0) {
    x.VarValue[0] = SString(reversal);
    x.VarValue[1] = SString(box);
    x.CalcPnF(reset);
    std::vector<Col> cols;
    for (int k = 0; k < x.LineData[1].GetSize(); ++k) {
      EXPECT_EQ(x.LineData[0][k], kFirstDate + x.LineData[1][k]) << "column " << k << " dated at its bar";
      cols.push_back({x.LineData[1][k], x.LineData[2][k], x.LineData[3][k]});
    }
    return cols;
  }
};

struct ColumnCase {
  const char* name;
  std::vector<double> closes;
  int start;
  const char* reversal;
  const char* box;
  std::vector<Col> expected;
};

// Every expected column below is worked out by hand from the level rules.
const ColumnCase kColumnCases[] = {
    // The scan finds 104 >= 103 and starts rising; bar 1 adds five boxes, bar 2 reverses.
    {"SeveralBoxesOneBarThenReversal", {100, 104, 100}, 0, "3", "1", {{2, 100, 105}, {2, 104, 99}}},
    {"StartIndexAboveZeroShiftsBars", {0, 0, 100, 104, 100}, 2, "3", "1", {{4, 100, 105}, {4, 104, 99}}},
    // A close exactly on the reversal level of a rising column reverses it ...
    {"CloseOnDownLevelReverses", {100, 104, 101}, 0, "3", "1", {{2, 100, 105}, {2, 104, 100}}},
    // ... a close just above it does not, and a column of three boxes or more is
    // confirmed again at every bar.
    {"CloseAboveDownLevelDoesNotReverse", {100, 104, 101.01}, 0, "3", "1", {{2, 100, 105}}},
    // No trigger: falling with levels 99 and 101, so 101 already reverses.
    {"NoTriggerStartsFallingOneBoxAway", {100, 101, 102}, 0, "3", "1", {{1, 100, 99}, {2, 100, 103}}},
    {"TwoBoxColumnIsNotOutput", {100, 101}, 0, "1", "1", {}},
    {"FallingScanStartsAtFirst", {100, 96, 95}, 0, "3", "1", {{2, 100, 94}}},
    {"AllZeroClosesGiveNoColumn", {0, 0, 0}, 0, "3", "1", {}},
    {"EmptySeriesGivesNoColumn", {}, 0, "3", "1", {}},
};

class PointFigureColumns : public ::testing::TestWithParam<ColumnCase> {};

TEST_P(PointFigureColumns, MatchHandWorkedColumns) {
  const ColumnCase& c = GetParam();
  PnFChart chart(c.closes, c.start);
  EXPECT_EQ(chart.Calc(c.reversal, c.box), c.expected);
  EXPECT_EQ(chart.x.LineData[4].GetSize(), 0);
}

INSTANTIATE_TEST_SUITE_P(PointFigure, PointFigureColumns, ::testing::ValuesIn(kColumnCases),
                         [](const auto& info) { return std::string(info.param.name); });

struct ParamCase {
  const char* reversal;
  const char* box;
  int reset;
  const char* reversalAfter;
  const char* boxAfter;
};

const ParamCase kParamCases[] = {
    {"0", "0", 0, "3", "1"},    // zeros fall back and are rewritten
    {"", "abc", 0, "", "abc"},  // unreadable: defaults, texts kept
    {"2", "-1", 0, "2", "-1"},  // negative box used as it is
    {"7", "9", 1, "3", "25"},   // reset: 3 and 2 % of 1234.5 on the price grid
};

TEST(PointFigure, ParameterTextsAreRewrittenOnlyForZeroOrReset) {
  for (const ParamCase& p : kParamCases) {
    PnFChart chart({0, 1234.5, 1250, 1200}, 0);
    chart.Calc(p.reversal, p.box, p.reset);
    EXPECT_STREQ(chart.x.VarValue[0].c_str(), p.reversalAfter) << p.reversal << " " << p.box;
    EXPECT_STREQ(chart.x.VarValue[1].c_str(), p.boxAfter) << p.reversal << " " << p.box;
  }
}

TEST(PointFigure, AllZeroClosesLeaveTextsAndEmptyOldLines) {
  PnFChart chart({0, 0});
  for (SVector& line : chart.x.LineData) line.Add(1.0);
  chart.Calc("4", "2.5");
  EXPECT_STREQ(chart.x.VarValue[0].c_str(), "4");
  EXPECT_STREQ(chart.x.VarValue[1].c_str(), "2.5");
  for (const SVector& line : chart.x.LineData) EXPECT_EQ(line.GetSize(), 0);
}

// Read literally these never leave a level loop or index outside the closes;
// each must finish with four lines of equal length.
TEST(PointFigure, EndlessLevelLoopsAndBadStartsFinish) {
  const double inf = std::numeric_limits<double>::infinity(), nan = std::nan("");
  const struct {
    std::vector<double> closes;
    int start;
    const char* reversal;
    const char* box;
  } cases[] = {
      {{100, 130, 80, 120}, 0, "3", "-1"},        // negative box
      {{100, 130, 80, 120}, 0, "-3", "1"},        // negative reversal
      {{100, 130, 80, 120}, 0, "3", "1e-20"},     // box lost against the price
      {{100, 130, 80, 120}, 0, "3", "1e-12"},     // box tiny but moving the level
      {{100, inf, -inf, nan, 90}, 0, "3", "1"},   // infinite and NaN closes
      {{100, 130, 80}, 0, "2147483647", "1"},     // reversal + 1 overflows an int
      {{100, 130, 80}, 7, "3", "1"},              // start index past the end
      {{100, 130, 80}, -5, "3", "1"},             // negative start index
      {{1e308, -1e308, 1e308}, 0, "1", "1e308"},  // levels overflow to infinity
  };
  for (const auto& c : cases) {
    PnFChart chart(c.closes, c.start);
    chart.Calc(c.reversal, c.box);
    const int n = chart.x.LineData[0].GetSize();
    for (int k = 1; k < 4; ++k) EXPECT_EQ(chart.x.LineData[k].GetSize(), n) << c.box;
    EXPECT_LE(n, static_cast<int>(c.closes.size()) + 1) << c.box;
  }
}

TEST(PointFigure, MissingDateTimesGiveZeroDates) {
  PnFChart chart({100, 104, 100});
  chart.feed[kDateTime].ClearData();
  chart.x.VarValue[0] = SString("3");
  chart.x.VarValue[1] = SString("1");
  chart.x.CalcPnF(0);
  ASSERT_EQ(chart.x.LineData[0].GetSize(), 2);
  EXPECT_EQ(chart.x.LineData[0][1], 0.0);
}

}  // namespace
