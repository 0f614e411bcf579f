// Swing points and the zigzag line (SCalc::CalcSwingHighLow, SCalc::CalcZigZag).
//
// The swing search runs in O(bars) from rolling extremes; its reference here
// is the definition itself, a direct walk over the candidate bars, compared on
// data with plateaus, exact ties and a NaN.
#include <climits>
#include <cmath>
#include <vector>

#include "calc/CalcTestUtil.h"
#include "calc/Swing.h"

namespace {

// The candidates c = i - k for k = strength .. length - 1, newest first; the
// instance-th swing point gives its price. Candidates whose neighbourhood
// reaches before the series' start are none (the history to judge them is missing).
double ReferenceSwing(bool high, int instance, const SVector& p, int strength, int length, int i) {
  for (int k = strength, count = 0; k <= length - 1; ++k) {
    const int c = i - k;
    if (c - strength < std::max(p.GetStartIndex(), 0)) break;
    bool swing = true;
    for (int j = 1; j <= strength && swing; ++j)
      swing = high ? (p[c - j] <= p[c] && p[c + j] < p[c]) : (p[c - j] >= p[c] && p[c + j] > p[c]);
    if (swing && ++count == instance) return p[c];
  }
  return kNoSwing;
}

TEST(Swing, MatchesTheDefinitionForEveryShape) {
  SVector p = WalkSeries(99, 100, 400);
  for (int i = 0; i < 400; ++i) p[i] = std::round(p[i] * 2);  // coarse steps: plateaus and exact ties
  p[200] = std::nan("");
  p.SetStartIndex(3);
  SCalc calc;
  for (int high : {1, 0})
    for (int instance : {1, 2, 3})
      for (int strength : {1, 2, 4})
        for (int length : {2, 5, 9, 30}) {
          SVector r = calc.CalcSwingHighLow(high, instance, p, strength, length);
          ASSERT_EQ(r.GetSize(), 400);
          ASSERT_EQ(r.GetStartIndex(), 3 + length + 1);
          for (int i = r.GetStartIndex(); i < 400; ++i)
            ASSERT_EQ(r[i], ReferenceSwing(high, instance, p, strength, length, i))
                << "high " << high << " instance " << instance << " strength " << strength << " length " << length
                << " bar " << i;
        }
}

TEST(Swing, OddArgumentsLeaveNoSwingAndNeverReadOutsideTheSeries) {
  const SVector p = Series({1, 3, 1, 3, 1});
  // instance, strength, length and the start index: one past the data or more leaves no valid bar
  const int cases[][4] = {
      {0, 1, 2, 10005},        {1, 0, 2, 10005}, {1, 1, 0, 10005}, {INT_MAX, 1, 3, 4}, {1, INT_MAX, INT_MAX, INT_MAX},
      {1, 1, INT_MAX, INT_MAX}};
  for (const auto& c : cases) {
    SVector r = SwingPoints(1, c[0], p, c[1], c[2]);
    EXPECT_EQ(std::pair(r.GetSize(), r.GetStartIndex()), std::pair(5, c[3])) << c[0] << " " << c[1] << " " << c[2];
    EXPECT_EQ(ValidValues(r), std::vector<double>(5 - std::min(c[3], 5), kNoSwing)) << c[0] << " " << c[1];
  }
  for (const SVector& none : {Series({1, 3, 1, 3, 1}, kInvalidStart), SVector()})
    EXPECT_FALSE(SwingPoints(1, 1, none, 1, 2).HasValid());
}

// ---- zigzag -------------------------------------------------------------------

// Flat prices of 100, so the starting midpoint is 100; no swing point unless set.
struct ZigZagTest : ::testing::Test {
  SVector flat = Series({100, 100, 100, 100, 100, 100, 100, 100});
  SVector sh = Series({-1, -1, -1, -1, -1, -1, -1, -1}), sl = sh;
  SCalc calc;
  std::vector<double> Line(double percent = 5) { return Values(calc.CalcZigZag(percent, sh, sl, flat, flat)); }
};

TEST_F(ZigZagTest, ALegNeedsTheFullPercentageExtendsAndSwingHighsWinTies) {
  sh[2] = 110;    // 10 % above the midpoint: the first leg up, pivot at bar 1
  sl[4] = 105.6;  // 4 % under 110: ignored
  EXPECT_EQ(Line(), std::vector<double>({100, 110, 0, 0, 0, 0, 0, 0}));
  sl[6] = 104;  // more than 5 % under 110: 110 is confirmed, a leg down starts
  EXPECT_EQ(Line(), std::vector<double>({100, 110, 0, 0, 0, 104, 0, 0}));
  sh[3] = 108;  // lower, same direction: ignored
  sh[4] = 112;  // higher: the leg extends to bar 3
  sl[4] = 50;   // same bar as a swing high: the high wins
  sl[6] = 90;   // a leg down from 112
  sl[7] = 85;   // the down leg extends to bar 6
  EXPECT_EQ(Line(), std::vector<double>({100, 0, 0, 112, 0, 0, 85, 0}));
  sh[0] = 200;  // a swing on the first bar of the data stays inside it
  EXPECT_EQ(Line()[0], 200.0);
}

TEST_F(ZigZagTest, FrameIsTheLatestStartAndTheShortestSize) {
  SVector h = flat, l = flat, empty;
  h[2] = 104, l[2] = 96;  // the starting midpoint is taken at the start bar
  h.SetStartIndex(2), sh.SetStartIndex(1);
  sl = Series({-1, -1, -1, -1, -1, 80});
  const SVector r = calc.CalcZigZag(5, sh, sl, h, l);
  EXPECT_EQ(std::pair(r.GetSize(), ValidValues(r)), std::pair(6, std::vector<double>({100, 0, 80, 0})));
  EXPECT_EQ(calc.CalcZigZag(5, empty, sl, flat, flat).GetSize(), 0);
}

TEST(ZigZag, FormulaTurnsAtTheSwingPointsOfHighAndLow) {
  // Swing highs at bars 4 (20) and 11 (18), a swing low at bar 8 (9). The line
  // starts at bar 3 from the midpoint (13 + 12) / 2.
  TestBars bars;
  bars[kHigh] = Series({10, 11, 12, 13, 20, 15, 14, 13, 11, 12, 16, 18, 17});
  bars[kLow] = Series({9, 10, 11, 12, 18, 13, 12, 11, 9, 10, 14, 16, 15});
  bars[kClose] = bars[kLow];
  ExpectCases(bars, {{"ZigZag(10)", 13, 3, {12.5, 20, 0, 0, 0, 9, 0, 0, 18, 0}}});
}

}  // namespace
