// Renko bricks through the indicator: bricks worked out by hand from the level
// rules, the rewritten brick-size text, and inputs that would hang or fill
// memory if the brick loops were taken literally.
#include <limits>

#include "index/IndexTestUtil.h"
#include "transform/Renko.h"

namespace transform_test {
using Cols = std::vector<std::array<double, 3>>;
// Defined with the point-and-figure tests.
Cols RunChart(void (SIndex::*calc)(int), const std::vector<double>& closes, int start, std::vector<SString>& vars,
              int reset);
}  // namespace transform_test

namespace {

using namespace transform_test;

TEST(Renko, BricksMatchHandWorkedLevels) {
  const struct {
    std::vector<double> closes;
    int start;
    Cols expected;
  } cases[] = {
      {{100, 103}, 0, {{1, 100, 101}, {1, 101, 102}}},        // a close on the rising level adds no brick
      {{0, 0, 100, 103}, 2, {{3, 100, 101}, {3, 101, 102}}},  // start index above 0
      {{100, 99}, 0, {{1, 100, 99}}},                         // a close on the falling level adds one
      {{100, 101}, 0, {}},
      // A brick turning the direction starts at the previous brick's start.
      {{100, 103, 99}, 0, {{1, 100, 101}, {1, 101, 102}, {2, 101, 100}, {2, 100, 99}}},
      {{100, 98, 101}, 0, {{1, 100, 99}, {1, 99, 98}, {2, 99, 100}}},
      {{0, 0, 0}, 0, {}},
      {{}, 0, {}},
  };
  for (const auto& c : cases) {
    std::vector<SString> box = {"1"};
    EXPECT_EQ(RunChart(&SIndex::CalcRenko, c.closes, c.start, box, 0), c.expected) << c.closes.size() << " bars";
  }
}

// Zero falls back and is rewritten, unreadable and negative texts stay, a
// reset writes 4 % of 1234.5 on the price grid. Then negative, lost or tiny
// bricks, infinite closes and starts outside the series: each finishes with
// a bounded number of bricks per bar.
TEST(Renko, BadParametersAndClosesFinishWithTextsAsDocumented) {
  const double inf = std::numeric_limits<double>::infinity();
  const std::vector<double> swing = {0, 1234.5, 1300, 1100, 10}, wild = {100, inf, -inf, std::nan(""), 1e308, -1e308};
  const struct {
    const std::vector<double>& closes;
    int start, reset;
    SString before, after;
  } cases[] = {{swing, 0, 0, "0", "1"},  {swing, 0, 0, "abc", "abc"},     {swing, 0, 0, "-2", "-2"},
               {swing, 0, 1, "9", "49"}, {swing, 0, 0, "1e-20", "1e-20"}, {swing, 0, 0, "1e-9", "1e-9"},
               {wild, 0, 0, "1", "1"},   {wild, 0, 0, "1e308", "1e308"},  {swing, 9, 0, "1", "1"},
               {swing, -5, 0, "1", "1"}};
  for (const auto& c : cases) {
    std::vector<SString> box = {c.before};
    const size_t n = RunChart(&SIndex::CalcRenko, c.closes, c.start, box, c.reset).size();
    EXPECT_LE(n, c.closes.size() * LevelSteps::kMaxStepsPerBar);
    EXPECT_EQ(box[0].str(), c.after.str());
  }
}

}  // namespace
