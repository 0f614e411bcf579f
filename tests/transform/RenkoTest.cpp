// Renko bricks through the indicator: bricks worked out by hand from the level
// rules, the rewritten brick-size text, and inputs that would hang or fill
// memory if the brick loops were taken literally.
#include <limits>

#include "index/IndexTestUtil.h"
#include "transform/Renko.h"

namespace {

constexpr double kFirstDate = 20240101;

// One expected brick: the bar that produced it, its start and end prices.
struct Brick {
  double bar, start, end;
  bool operator==(const Brick&) const = default;
  friend std::ostream& operator<<(std::ostream& o, const Brick& b) {
    return o << "{bar " << b.bar << ": " << b.start << " -> " << b.end << "}";
  }
};

// An indicator bound to the closes (bars below `start` are 0), dated
// kFirstDate + bar.
struct RenkoChart {
  Feed feed;
  SIndex x{"renko", kIndexPriceChart};

  RenkoChart(std::vector<double> closes, int start = 0) {
    for (size_t i = 0; i < closes.size(); ++i) {
      feed[kClose].Add(closes[i]);
      feed[kDateTime].Add(kFirstDate + static_cast<double>(i));
    }
    feed[kClose].SetStartIndex(start);
    feed.Bind(x);
  }
  std::vector<Brick> Calc(const char* box, int reset = 0) {
    x.VarValue[0] = SString(box);
    x.CalcRenko(reset);
    std::vector<Brick> bricks;
    for (int k = 0; k < x.LineData[1].GetSize(); ++k) {
      EXPECT_EQ(x.LineData[0][k], kFirstDate + x.LineData[1][k]) << "brick " << k << " dated at its bar";
      bricks.push_back({x.LineData[1][k], x.LineData[2][k], x.LineData[3][k]});
    }
    return bricks;
  }
};

struct BrickCase {
  const char* name;
  std::vector<double> closes;
  int start;
  const char* box;
  std::vector<Brick> expected;
};

// Every expected brick below is worked out by hand from the level rules.
const BrickCase kBrickCases[] = {
    // 103 passes 101 and 102 but only reaches 103: two bricks from one bar.
    {"CloseOnRisingLevelAddsNoBrick", {100, 103}, 0, "1", {{1, 100, 101}, {1, 101, 102}}},
    {"StartIndexAboveZeroShiftsBars", {0, 0, 100, 103}, 2, "1", {{3, 100, 101}, {3, 101, 102}}},
    {"CloseOnFallingLevelAddsBrick", {100, 99}, 0, "1", {{1, 100, 99}}},
    {"CloseOnFirstRisingLevelAddsNothing", {100, 101}, 0, "1", {}},
    // The falling brick after the rising ones starts at the last rising brick's start.
    {"FallingAfterRisingStartsAtPreviousStart",
     {100, 103, 99},
     0,
     "1",
     {{1, 100, 101}, {1, 101, 102}, {2, 101, 100}, {2, 100, 99}}},
    {"RisingAfterFallingStartsAtPreviousStart", {100, 98, 101}, 0, "1", {{1, 100, 99}, {1, 99, 98}, {2, 99, 100}}},
    {"AllZeroClosesGiveNoBrick", {0, 0, 0}, 0, "1", {}},
    {"EmptySeriesGivesNoBrick", {}, 0, "1", {}},
};

class RenkoBricks : public ::testing::TestWithParam<BrickCase> {};

TEST_P(RenkoBricks, MatchHandWorkedBricks) {
  const BrickCase& c = GetParam();
  RenkoChart chart(c.closes, c.start);
  EXPECT_EQ(chart.Calc(c.box), c.expected);
  EXPECT_EQ(chart.x.LineData[4].GetSize(), 0);
}

INSTANTIATE_TEST_SUITE_P(Renko, RenkoBricks, ::testing::ValuesIn(kBrickCases),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(Renko, BrickTextIsRewrittenOnlyForZeroOrReset) {
  const struct {
    const char* box;
    int reset;
    const char* after;
  } cases[] = {
      {"0", 0, "1"},      // zero falls back and is rewritten
      {"abc", 0, "abc"},  // unreadable: default, text kept
      {"-2", 0, "-2"},    // negative used as it is
      {"9", 1, "49"},     // reset: 4 % of 1234.5 on the price grid
  };
  for (const auto& c : cases) {
    RenkoChart chart({0, 1234.5, 1300, 1100});
    chart.Calc(c.box, c.reset);
    EXPECT_STREQ(chart.x.VarValue[0].c_str(), c.after) << c.box;
  }
}

// Read literally these never leave a brick loop, fill memory or index outside
// the closes; each must finish with four lines of equal, bounded length.
TEST(Renko, EndlessBrickLoopsAndBadStartsFinish) {
  const double inf = std::numeric_limits<double>::infinity(), nan = std::nan("");
  const struct {
    std::vector<double> closes;
    int start;
    const char* box;
  } cases[] = {
      {{100, 130, 80, 120}, 0, "-1"},        // negative brick
      {{100, 130, 80, 120}, 0, "1e-20"},     // brick lost against the price
      {{100, 130, 80, 120}, 0, "1e-9"},      // brick tiny but moving the level
      {{100, inf, -inf, nan, 90}, 0, "1"},   // infinite and NaN closes
      {{100, 130, 80}, 7, "1"},              // start index past the end
      {{100, 130, 80}, -5, "1"},             // negative start index
      {{1e308, -1e308, 1e308}, 0, "1e308"},  // levels overflow to infinity
  };
  for (const auto& c : cases) {
    RenkoChart chart(c.closes, c.start);
    chart.Calc(c.box);
    const int n = chart.x.LineData[0].GetSize();
    for (int k = 1; k < 4; ++k) EXPECT_EQ(chart.x.LineData[k].GetSize(), n) << c.box;
    EXPECT_LE(n, static_cast<int>(c.closes.size()) * LevelSteps::kMaxStepsPerBar) << c.box;
  }
}

}  // namespace
