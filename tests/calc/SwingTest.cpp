// Swing points and the zigzag line (SCalc::CalcSwingHighLow, SCalc::CalcZigZag).
//
// The swing search runs in O(bars) from rolling extremes; its reference here
// is the definition itself, a direct walk over the candidate bars written in
// the test, compared on varied data with plateaus, gaps and NaNs.
#include <cmath>
#include <cstdint>
#include <vector>

#include "calc/CalcTestUtil.h"
#include "calc/Swing.h"

using namespace chartcalc::detail;

namespace {

// The definition: walk the candidates c = i - k for k = strength .. length - 1,
// newest first; count the swing points; the instance-th gives its price.
// Candidates whose neighbourhood reaches before the series' start are no swing
// points (the history to judge them is missing).
double ReferenceSwing(bool high, int instance, const SVector& p, int strength, int length, int i) {
  int count = 0;
  for (int k = strength; k <= length - 1; ++k) {
    const int c = i - k;
    if (c - strength < std::max(p.GetStartIndex(), 0)) break;
    bool swing = true;
    for (int j = 1; j <= strength && swing; ++j) {
      const double before = p[c - j], after = p[c + j];
      swing = high ? (before <= p[c] && after < p[c]) : (before >= p[c] && after > p[c]);
    }
    if (swing && ++count == instance) return p[c];
  }
  return kNoSwing;
}

SVector VariedPrices(int n, int start) {
  SVector p(n);
  uint64_t seed = 99;
  for (int i = 0; i < n; ++i) {
    seed = seed * 6364136223846793005ULL + 1442695040888963407ULL;
    // Coarse steps make plateaus and exact ties common.
    p[i] = 100 + std::round(8 * std::sin(i * 0.3) + static_cast<double>(seed >> 61));
  }
  p[n / 2] = std::nan("");
  p.SetStartIndex(start);
  return p;
}

TEST(Swing, MatchesTheDefinitionForEveryShape) {
  const SVector p = VariedPrices(400, 3);
  SCalc calc;
  SVector price = p;
  for (int high : {1, 0})
    for (int instance : {1, 2, 3})
      for (int strength : {1, 2, 4})
        for (int length : {2, 5, 9, 30}) {
          SVector r = calc.CalcSwingHighLow(high, instance, price, strength, length);
          ASSERT_EQ(r.GetSize(), 400);
          ASSERT_EQ(r.GetStartIndex(), 3 + length + 1);
          for (int i = r.GetStartIndex(); i < 400; ++i)
            ASSERT_EQ(r[i], ReferenceSwing(high, instance, p, strength, length, i))
                << "high " << high << " instance " << instance << " strength " << strength << " length " << length
                << " bar " << i;
        }
}

TEST(Swing, StrengthOneLengthTwoLooksAtThePreviousBar) {
  SVector high = Series({1, 3, 2, 2, 5, 4, 4, 6});
  SVector r = SwingPoints(1, 1, high, 1, 2);
  EXPECT_EQ(r.GetStartIndex(), 3);
  // Bar 1 (3) is flagged at bar 2, outside the valid range; bar 4 (5) at bar 5.
  EXPECT_EQ(Values(r), std::vector<double>({-1, -1, -1, -1, -1, 5, -1, -1}));
}

TEST(Swing, PlateauYieldsTheLaterOfTwoEqualHighs) {
  // Bars 3 and 4 are equal: bar 4 has an equal bar before it (allowed) and a
  // lower one after it; bar 3 has an equal bar after it (not allowed).
  SVector high = Series({1, 1, 2, 7, 7, 3, 2, 1});
  SVector r = SwingPoints(1, 1, high, 1, 3);
  EXPECT_EQ(r[6], 7.0);  // candidates 5 and 4: bar 4
  EXPECT_EQ(r[5], 7.0);  // candidates 4 and 3: bar 4
  SVector lows = SwingPoints(0, 1, Series({5, 5, 3, 1, 1, 4, 6, 7}), 1, 3);
  EXPECT_EQ(lows[5], 1.0);  // bar 4, the later of the two equal lows
}

TEST(Swing, SecondInstanceIsTheSecondMostRecentInTheWindow) {
  // Swing highs at bars 2 (5) and 5 (6), strength 1.
  SVector high = Series({1, 2, 5, 1, 2, 6, 1, 1, 1, 1});
  SVector first = SwingPoints(1, 1, high, 1, 6);
  SVector second = SwingPoints(1, 2, high, 1, 6);
  EXPECT_EQ(first[7], 6.0);
  EXPECT_EQ(second[7], 5.0);   // candidates 6 .. 2
  EXPECT_EQ(second[8], -1.0);  // candidates 7 .. 3: bar 2 has left the window
}

TEST(Swing, ArgumentsBelowOneLeaveNoValidBar) {
  SVector price = Series({1, 2, 3, 2, 1});
  const int args[][3] = {{0, 1, 2}, {1, 0, 2}, {1, 1, 0}, {-5, 1, 2}};
  for (const auto& a : args) {
    SVector r = SwingPoints(1, a[0], price, a[1], a[2]);
    EXPECT_EQ(r.GetSize(), 5);
    EXPECT_EQ(r.GetStartIndex(), 5 + 10000);
  }
}

TEST(Swing, StrengthAtLeastLengthFindsNothing) {
  SVector price = Series({1, 2, 3, 9, 3, 2, 1, 0, 0, 0});
  SVector r = SwingPoints(1, 1, price, 3, 3);
  EXPECT_EQ(r.GetStartIndex(), 4);
  for (int i = 0; i < r.GetSize(); ++i) EXPECT_EQ(r[i], kNoSwing);
}

TEST(Swing, HugeArgumentsAndEmptySeriesAreSafe) {
  SVector price = Series({1, 3, 1, 3, 1});
  SVector r = SwingPoints(1, 2147483647, price, 1, 3);
  EXPECT_EQ(r.GetStartIndex(), 4);
  EXPECT_EQ(r[4], kNoSwing);
  EXPECT_FALSE(SwingPoints(1, 1, price, 2147483647, 2147483647).HasValid());
  EXPECT_FALSE(SwingPoints(0, 1, price, 1, 2147483647).HasValid());
  EXPECT_EQ(SwingPoints(1, 1, SVector(), 1, 2).GetSize(), 0);
  SVector late = price;
  late.SetStartIndex(kInvalidStart);
  EXPECT_FALSE(SwingPoints(1, 1, late, 1, 2).HasValid());
}

// ---- zigzag -------------------------------------------------------------------

struct ZigZagTest : ::testing::Test {
  // Flat prices of 100, so the starting midpoint is 100.
  SVector high = Series({100, 100, 100, 100, 100, 100, 100, 100});
  SVector low = high;
  SVector none = Series({-1, -1, -1, -1, -1, -1, -1, -1});
  SCalc calc;
};

TEST_F(ZigZagTest, WithoutSwingsOnlyTheStartingMidpointRemains) {
  SVector h = high, l = low;
  h[2] = 104;
  l[2] = 96;
  h.SetStartIndex(2);
  SVector sh = none, sl = none;
  SVector r = calc.CalcZigZag(5, sh, sl, h, l);
  ASSERT_EQ(r.GetSize(), 8);
  EXPECT_EQ(r.GetStartIndex(), 2);
  const std::vector<double> valid(r.Data() + 2, r.Data() + 8);
  EXPECT_EQ(valid, std::vector<double>({100, 0, 0, 0, 0, 0}));
}

TEST_F(ZigZagTest, ALegNeedsTheFullPercentage) {
  SVector sh = none, sl = none;
  sh[2] = 110;    // 10 % above the midpoint: the first leg up, pivot at bar 1
  sl[4] = 105.6;  // 4 % under 110: ignored
  SVector r = calc.CalcZigZag(5, sh, sl, high, low);
  EXPECT_EQ(Values(r), std::vector<double>({100, 110, 0, 0, 0, 0, 0, 0}));
  sl[6] = 104;    // more than 5 % under 110: 110 is confirmed, a leg down starts
  r = calc.CalcZigZag(5, sh, sl, high, low);
  EXPECT_EQ(Values(r), std::vector<double>({100, 110, 0, 0, 0, 104, 0, 0}));
}

TEST_F(ZigZagTest, LegsExtendAndSwingHighsWinTies) {
  SVector sh = none, sl = none;
  sh[2] = 110;
  sh[3] = 108;  // lower, same direction: ignored
  sh[4] = 112;  // higher: the leg extends to bar 3
  sl[4] = 50;   // same bar as a swing high: the high wins
  sl[6] = 90;   // a leg down from 112
  sl[7] = 85;   // the down leg extends to bar 6
  SVector r = calc.CalcZigZag(5, sh, sl, high, low);
  EXPECT_EQ(Values(r), std::vector<double>({100, 0, 0, 112, 0, 0, 85, 0}));
}

TEST_F(ZigZagTest, FrameIsTheLatestStartAndTheShortestSize) {
  SVector sh = none, sl = Series({-1, -1, -1, -1, -1, 80});
  sh.SetStartIndex(1);
  SVector r = calc.CalcZigZag(5, sh, sl, high, low);
  EXPECT_EQ(r.GetSize(), 6);
  EXPECT_EQ(r.GetStartIndex(), 1);
  EXPECT_EQ(r[4], 80.0);
  EXPECT_EQ(r[1], 100.0);
}

TEST_F(ZigZagTest, SwingOnTheFirstBarOfTheDataStaysInside) {
  SVector sh = none, sl = none;
  sh[0] = 200;
  SVector r = calc.CalcZigZag(5, sh, sl, high, low);
  EXPECT_EQ(r[0], 200.0);
  SVector empty;
  EXPECT_EQ(calc.CalcZigZag(5, empty, sl, high, low).GetSize(), 0);
}

TEST_F(ZigZagTest, FormulaZigZagUsesTheseStages) {
  TestBars bars;
  bars[kHigh] = Series({10, 12, 15, 13, 11, 9, 10, 14, 16, 12});
  bars[kLow] = Series({9, 11, 14, 12, 10, 8, 9, 13, 15, 11});
  bars[kClose] = bars[kHigh];
  SVector sh = calc.CalcSwingHighLow(1, 1, bars[kHigh], 1, 2);
  SVector sl = calc.CalcSwingHighLow(0, 1, bars[kLow], 1, 2);
  SVector expected = calc.CalcZigZag(10, sh, sl, bars[kHigh], bars[kLow]);
  // Highs at bars 2 (15) and 8 (16), the low at bar 5 (8).
  EXPECT_EQ(expected[2], 15.0);
  EXPECT_EQ(expected[5], 8.0);
  EXPECT_EQ(expected[8], 16.0);
  EvalResult r = Evaluate(bars, "ZigZag(10)");
  if (r.errors == 0) {
    EXPECT_EQ(r.value.GetStartIndex(), expected.GetStartIndex());
    EXPECT_EQ(ValidValues(r.value), ValidValues(expected));
  }
}

}  // namespace
