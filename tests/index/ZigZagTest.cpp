// Zigzag lines of an indicator over hand-made closes: turning points, price
// steps, the reversal percentage's bounds and automatic setting, and input
// that must neither hang nor grow without bound.
#include <algorithm>
#include <limits>

#include "index/IndexTestUtil.h"
#include "index/ZigZag.h"

namespace {

// An indicator bound to the closes (valid from start), dated 1001, 1002, ...
struct ZigZagChart {
  TestBars bars;
  SIndex x{"ZigZag", kIndexIndicator};
  ZigZagChart(const std::vector<double>& closes, const char* percent, int start = 0) {
    bars[kClose] = Series(closes, start);
    bars[kDateTime] = SVector(static_cast<int>(closes.size()));
    for (int i = 0; i < bars[kDateTime].GetSize(); ++i) bars[kDateTime][i] = 1001 + i;
    x.PriceSeries[kClose] = &bars[kClose], x.PriceSeries[kDateTime] = &bars[kDateTime];
    x.VarValue[0] = percent;
  }
};

std::vector<double> Marks(const std::vector<double>& closes, const char* percent) {
  ZigZagChart z(closes, percent);
  z.x.CalcZigZagLine(0);
  return Values(z.x.LineData[1]);
}

constexpr double kInf = std::numeric_limits<double>::infinity(), kNaN = std::numeric_limits<double>::quiet_NaN();

}  // namespace

// Marks keep the turning points and the last extreme; the percentage is
// clamped to 1..50 and is 5 when it is not a number.
TEST(ZigZag, TurningPointsFollowTheClampedPercentage) {
  const std::vector<double> wide = {100, 160, 70}, narrow = {100, 100.6}, five = {100, 104, 100};
  // percentage, closes, marks
  const std::tuple<const char*, std::vector<double>, std::vector<double>> cases[] = {
      {"10", {100, 95, 80, 85, 99, 97}, {100, 0, 80, 0, 99}},  // falling first
      {"70", wide, {100, 160, 70}},                            // as 50: at 70 the rise to 160 would not count
      {"0.5", narrow, {100}},                                  // as 1
      {"", five, {100}},                                       // 5
      {"nan", five, {100}},                                    // 5
      {"-20", five, {100, 104, 100}},                          // 1
      {"1e308", wide, {100, 160, 70}},
  };
  for (const auto& [percent, closes, marks] : cases) EXPECT_EQ(Marks(closes, percent), marks) << percent;
  // Rising first after a bar without a price; the dates lead with the first
  // priced bar's and run one place behind.
  ZigZagChart z({0, 100, 110, 120, 105, 90}, "10");
  z.x.CalcZigZagLine(0);
  EXPECT_EQ(Values(z.x.LineData[1]), (std::vector<double>{100, 0, 120, 0, 90}));
  EXPECT_EQ(Values(z.x.LineData[0]), (std::vector<double>{1002, 1002, 1003, 1004, 1005, 1006}));
}

TEST(ZigZag, AutomaticPercentageIsAProposedStepOfTheFirstClose) {
  // first close, VarValue[0] afterwards; all-zero closes give empty lines
  const std::pair<double, const char*> cases[] = {{100, "5"}, {1234, "62"}, {0, "1"}, {-40, "1"}};
  for (const auto& [first, percent] : cases) {
    ZigZagChart z({0, first, first * 2}, "33");
    z.x.LineData[4] = Series({1, 2});
    z.x.CalcZigZagLine(1);
    EXPECT_EQ(z.x.VarValue[0].str(), percent) << first;
    EXPECT_EQ(std::tuple(z.x.LineData[1].GetSize(), z.x.LineData[4].GetSize()), std::tuple(first ? 2 : 0, 0));
  }
}

// p = 10 %, c0 = 110 (the first close above 99 x 1.1): steps of 1.1 from 99
// while rising, down from one step above the last while falling; the first
// step after the turn carries its level in line 3.
TEST(ZigZag, StepsFollowTheSwingAndMarkTheFirstStepAfterATurn) {
  ZigZagChart z({99, 110, 95, 93}, "10");
  z.x.CalcZigZagOrgLine(0);
  const std::vector<double> dates = Values(z.x.LineData[0]), bars = Values(z.x.LineData[1]),
                            levels = Values(z.x.LineData[2]), turns = Values(z.x.LineData[3]);
  const long down = std::find(bars.begin(), bars.end(), 3.0) - bars.begin();
  ASSERT_GT(down, 9);
  ASSERT_LT(down, static_cast<long>(levels.size()));
  EXPECT_EQ(levels[0], 99);
  for (long k = 1; k < static_cast<long>(levels.size()); ++k) {
    const bool rising = k < down;
    EXPECT_NEAR(rising || k == down ? levels[k] - levels[k - 1] : levels[k - 1] - levels[k], 1.1, 1e-9) << k;
    EXPECT_EQ(std::tuple(bars[k], dates[k], turns[k]),
              std::tuple(rising ? 1.0 : 3.0, rising ? 1002.0 : 1004.0, k == down ? levels[k] : 0.0))
        << k;
  }
  EXPECT_TRUE(levels.back() > 93 && levels.back() - 1.1 <= 93 + 1e-9) << levels.back();
  ZigZagChart flat({100, 101, 99}, "10");  // no close moves by the percentage: no steps
  flat.x.CalcZigZagOrgLine(0);
  EXPECT_EQ(flat.x.LineData[2].GetSize(), 0);
}

TEST(ZigZag, HostileInputFinishesWithBoundedLines) {
  std::vector<double> growing;
  for (int i = 0; i < 300; ++i) growing.push_back(std::pow(10.0, i));
  const std::vector<double> closes[] = {
      {kNaN, 100, kNaN, 150, kNaN},
      {100, kInf, 50, -kInf, kInf},
      {kInf, 1, 2},
      {1, 1e300, 1, 1e300, 1e-300},
      growing,
      {-5, 0, 5, -5, 0},
      {},
  };
  for (const auto& c : closes)
    for (const char* percent : {"10", "-5", "1e308"})
      for (int autoPercent : {0, 1}) {
        ZigZagChart z(c, percent);
        z.x.CalcZigZagLine(autoPercent);
        const int marks = z.x.LineData[1].GetSize();
        EXPECT_LE(marks, static_cast<int>(c.size()));
        EXPECT_EQ(z.x.LineData[0].GetSize(), marks == 0 ? 0 : marks + 1);
        z.x.CalcZigZagOrgLine(autoPercent);
        const int steps = z.x.LineData[0].GetSize();
        EXPECT_LE(steps, static_cast<int>(kZigZagMaxSteps));
        for (int line : {1, 2, 3}) EXPECT_EQ(z.x.LineData[line].GetSize(), steps);
      }
  // Negative prices give a step that cannot move the level: one record a bar.
  ZigZagChart negative({-100, -80, -60, -40}, "10");
  negative.x.CalcZigZagOrgLine(0);
  EXPECT_EQ(Values(negative.x.LineData[1]), (std::vector<double>{1, 2, 3}));
  ZigZagChart beyond({100, 120, 90}, "10", 7);  // start index past the closes
  beyond.x.CalcZigZagLine(0);
  EXPECT_EQ(beyond.x.LineData[1].GetSize(), 0);
  SIndex unbound;
  unbound.CalcZigZagOrgLine(1);
  EXPECT_EQ(unbound.LineData[0].GetSize(), 0);
}
