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

TEST(Swing, HandWorkedShapesAndOddArguments) {
  const int kNoValidBar = INT_MIN;  // any start that leaves no valid bar
  struct Case {
    const char* what;
    int high, instance, strength, length;
    SVector price;
    int start;
    std::vector<double> valid;
  };
  const Case cases[] = {
      // Of two equal highs (lows) the later one: an equal bar before is allowed, after it is not.
      {"plateau high", 1, 1, 1, 3, Series({1, 1, 2, 7, 7, 3, 2, 1}), 4, {-1, 7, 7, -1}},
      {"plateau low", 0, 1, 1, 3, Series({5, 5, 3, 1, 1, 4, 6, 7}), 4, {-1, 1, 1, -1}},
      // Swing highs at bars 2 (5) and 5 (6); bar 2 leaves the window at bar 8.
      {"first instance", 1, 1, 1, 6, Series({1, 2, 5, 1, 2, 6, 1, 1, 1, 1}), 7, {6, 6, 6}},
      {"second instance", 1, 2, 1, 6, Series({1, 2, 5, 1, 2, 6, 1, 1, 1, 1}), 7, {5, -1, -1}},
      {"strength not below length", 1, 1, 3, 3, Series({1, 2, 3, 9, 3, 2, 1, 0, 0, 0}), 4, std::vector<double>(6, -1)},
      {"instance 0", 1, 0, 1, 2, Series({1, 2, 3, 2, 1}), 10005, {}},
      {"strength 0", 1, 1, 0, 2, Series({1, 2, 3, 2, 1}), 10005, {}},
      {"length 0", 1, 1, 1, 0, Series({1, 2, 3, 2, 1}), 10005, {}},
      {"huge instance", 1, INT_MAX, 1, 3, Series({1, 3, 1, 3, 1}), 4, {-1}},
      {"huge strength", 1, 1, INT_MAX, INT_MAX, Series({1, 3, 1, 3, 1}), kNoValidBar, {}},
      {"huge length", 0, 1, 1, INT_MAX, Series({1, 3, 1, 3, 1}), kNoValidBar, {}},
      {"no valid price", 1, 1, 1, 2, Series({1, 3, 1, 3, 1}, kInvalidStart), kNoValidBar, {}},
      {"empty", 1, 1, 1, 2, SVector(), kNoValidBar, {}},
  };
  for (const Case& c : cases) {
    SVector r = SwingPoints(c.high, c.instance, c.price, c.strength, c.length);
    EXPECT_EQ(r.GetSize(), c.price.GetSize()) << c.what;
    if (c.start != kNoValidBar) {
      EXPECT_EQ(r.GetStartIndex(), c.start) << c.what;
    }
    EXPECT_EQ(ValidValues(r), c.valid) << c.what;
    EXPECT_EQ(r.HasValid(), !c.valid.empty()) << c.what;
  }
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
  SVector h = flat, l = flat;
  h[2] = 104;
  l[2] = 96;
  h.SetStartIndex(2);
  SVector r = calc.CalcZigZag(5, sh, sl, h, l);  // without swings only the starting midpoint remains
  EXPECT_EQ(r.GetStartIndex(), 2);
  EXPECT_EQ(ValidValues(r), std::vector<double>({100, 0, 0, 0, 0, 0}));
  sl = Series({-1, -1, -1, -1, -1, 80});
  sh.SetStartIndex(1);
  r = calc.CalcZigZag(5, sh, sl, flat, flat);
  EXPECT_EQ(r.GetSize(), 6);
  EXPECT_EQ(r.GetStartIndex(), 1);
  EXPECT_EQ(ValidValues(r), std::vector<double>({100, 0, 0, 80, 0}));
  SVector empty;
  EXPECT_EQ(calc.CalcZigZag(5, empty, sl, flat, flat).GetSize(), 0);
}

}  // namespace
