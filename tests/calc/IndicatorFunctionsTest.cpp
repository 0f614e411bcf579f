// Indicators and regression statistics: cci, rsi, the volume indices,
// accumulation/distribution, price-volume trend, the parabolic stop, zigzag,
// the least-squares line, correlation and R squared.
//
// Where a function is a public formula (Lambert's CCI, Wilder's RSI, least
// squares, Pearson), the expected values come from plain reference loops
// written here from the textbook definition (two-pass, long double), sharing
// nothing with the library's running sums, over a few hundred bars with flat
// stretches, a trend and levels far from zero. Other values are worked by hand.
#include <algorithm>
#include <cmath>
#include <numeric>
#include <string>
#include <vector>

#include "calc/CalcTestUtil.h"
#include "calc/SCalcIndicators.h"

namespace {

using Real = long double;  // keeps the references' own rounding far below the tolerance at 1e7

std::vector<Real> Window(const SVector& x, int i, int n) { return {x.Data() + i - n + 1, x.Data() + i + 1}; }
Real Mean(const std::vector<Real>& w) { return std::accumulate(w.begin(), w.end(), Real(0)) / w.size(); }
bool AllEqual(const std::vector<Real>& w) { return std::equal(w.begin() + 1, w.end(), w.begin()); }

// Least squares of the window ending at bar i against the bar number: the
// line's value at bar i - *back, or its slope when back is null.
Real FittedLine(const SVector& x, int i, int n, const int* back) {
  std::vector<Real> w = Window(x, i, n);
  Real mx = Mean(w), mj = i - (n - 1) / 2.0L, sxy = 0, sjj = 0;
  for (int k = 0; k < n; ++k) {
    sxy += (w[k] - mx) * (i - n + 1 + k - mj);
    sjj += (i - n + 1 + k - mj) * (i - n + 1 + k - mj);
  }
  const Real slope = sjj == 0 ? 0 : sxy / sjj;
  return back ? mx - slope * mj + slope * (i - *back) : slope;
}

// Pearson correlation of the windows ending at bar i; 0 when one is constant.
Real Correlation(const SVector& a, const SVector& b, int i, int n) {
  std::vector<Real> wa = Window(a, i, n), wb = Window(b, i, n);
  if (AllEqual(wa) || AllEqual(wb)) return 0;
  Real ma = Mean(wa), mb = Mean(wb), sab = 0, saa = 0, sbb = 0;
  for (int k = 0; k < n; ++k) {
    sab += (wa[k] - ma) * (wb[k] - mb);
    saa += (wa[k] - ma) * (wa[k] - ma);
    sbb += (wb[k] - mb) * (wb[k] - mb);
  }
  return sab / std::sqrt(saa * sbb);
}

// f(i) for every bar i from n - 1 on, compared with what the library gave.
template <class F>
void ExpectPerWindow(const SVector& got, int n, F f, const std::string& what) {
  ASSERT_EQ(std::pair(got.GetSize(), got.GetStartIndex()), std::pair(300, n - 1)) << what;
  for (int i = n - 1; i < 300; ++i) {
    const double want = static_cast<double>(f(i));
    ASSERT_NEAR(got[i], want, 1e-9 * std::max(1.0, std::fabs(want))) << what << " at bar " << i;
  }
}

// Close and open from literal closes; high and low one above and below.
TestBars FromCloses(const SVector& closes) {
  TestBars b = CloseBars(closes);
  b[kOpen] = closes, b[kHigh] = closes + SVector(1.0), b[kLow] = closes - SVector(1.0);
  b[kVolume] = closes * 0.0 + SVector(100.0);
  return b;
}

TEST(Indicators, CciAndRsiMatchTheirTextbookDefinitions) {
  BoundCalc e(WalkBars(300));
  const SVector tp = (e.bars[kHigh] + e.bars[kLow] + e.bars[kClose]) / SVector(3.0);
  for (int n : {1, 2, 14, 37}) {
    ExpectPerWindow(
        CalcCci(e.calc, n), n,
        [&](int i) {  // (typical price - its mean) / (0.015 * mean deviation)
          std::vector<Real> w = Window(tp, i, n);
          Real mean = Mean(w), dev = 0;
          for (Real v : w) dev += std::fabs(v - mean);
          return dev == 0 ? 0 : (w.back() - mean) / (0.015L * dev / n);
        },
        "cci " + std::to_string(n));
  }
  for (int n : {1, 2, 14, 30}) {
    // Wilder: first averages over n changes, then (previous * (n - 1) + current) / n.
    std::vector<double> want(300, NAN);
    double gain = 0, loss = 0;
    for (int i = 1; i < 300; ++i) {
      double ch = e.bars[kClose][i] - e.bars[kClose][i - 1], g = std::max(ch, 0.0), l = std::max(-ch, 0.0);
      gain = i <= n ? gain + g / n : (gain * (n - 1) + g) / n;
      loss = i <= n ? loss + l / n : (loss * (n - 1) + l) / n;
      if (i >= n) want[i] = loss == 0 ? (gain == 0 ? 0 : 100) : 100 - 100 / (1 + gain / loss);
    }
    ExpectPerWindow(
        CalcRsi(e.calc, n), n + 1, [&](int i) { return want[i]; }, "rsi " + std::to_string(n));
  }
}

TEST(Indicators, FlatAndMonotoneMarketsGiveExactCciAndRsiNotRoundingNoise) {
  // 0.1 and 33.37 are not exact in binary: a running average of them can
  // differ from the price in the last bit, which must not read as a deviation.
  for (double price : {0.1, 33.37, 1e6 / 3}) {
    BoundCalc e(FromCloses(SVector(60) * 0.0 + SVector(price)));
    e.bars[kHigh] = e.bars[kLow] = e.bars[kClose];
    for (double v : ValidValues(CalcCci(e.calc, 20))) ASSERT_EQ(v, 0.0) << price;
  }
  // Only rises: no loss to divide by; flat: neither gain nor loss.
  TestBars rising = FromCloses(Series({1, 2, 3, 4, 5, 6, 7, 8, 9, 10})),
           flat = FromCloses(SVector(10) * 0.0 + SVector(5.0));
  ExpectCases(rising, {{"rsi(10)", 0, 0, {}}, {"rsi(3)", 10, 3, std::vector<double>(7, 100)}});  // too few bars
  ExpectCases(flat, {{"rsi(3)", 10, 3, std::vector<double>(7, 0)}});
}

TEST(Indicators, VolumeIndicesMoveOnlyOnFallingOrRisingVolume) {
  BoundCalc e(FromCloses(Series({10, 11, 11, 22, 11})));
  e.bars[kVolume] = Series({100, 50, 80, 80, 10});
  // Changes of close: +10 %, 0 %, +100 %, -50 %. Volume falls at bars 1 and 4, rises at 2, stays at 3.
  EXPECT_EQ(Values(CalcNvi(e.calc, e.bars[kClose])), (std::vector<double>{100, 110, 110, 110, 60}));
  e.bars[kVolume] = Series({100, 150, 80, 90, 90});
  EXPECT_EQ(Values(CalcPvi(e.calc, e.bars[kClose])), (std::vector<double>{100, 110, 110, 210, 210}));
  e.bars[kVolume] = Series({1, 2, 3, 4, 5});  // a zero price has no change after it: the index holds
  EXPECT_EQ(Values(CalcPvi(e.calc, Series({10, 0, 5, 6, 6}))), (std::vector<double>{100, 0, 0, 20, 20}));
  e.bars[kVolume] = Series({9, 8, 7, 6, 5});  // bars before the series' start must not reach the index
  SVector r = CalcNvi(e.calc, Series({0, 0, 10, 20, 10}, 2));
  EXPECT_EQ(std::pair(r.GetStartIndex(), ValidValues(r)), std::pair(2, std::vector<double>{100, 200, 150}));
}

TEST(Indicators, AdAndPvtSkipBarsWithoutRangeOrPrice) {
  BoundCalc e(FromCloses(Series({11, 13, 12, 10})));
  e.bars[kOpen] = Series({10, 10, 12, 11});
  e.bars[kHigh] = Series({12, 14, 12, 13});
  e.bars[kLow] = Series({9, 10, 12, 9});
  e.bars[kVolume] = Series({100, 200, 300, 400});
  // Bar 1: (13 - 10) * 200 / 4 = 150; bar 2 has no range; bar 3: (10 - 11) * 400 / 4 = -100.
  EXPECT_EQ(Values(CalcAd(e.calc)), (std::vector<double>{0, 150, 150, 50}));
  e.bars[kClose] = Series({10, 12, 0, 5});
  e.bars[kVolume] = Series({100, 50, 70, 30});
  // Bar 1: (12 - 10) * 50 / 10 = 10; bar 2: (0 - 12) * 70 / 12 = -70; bar 3: the close before is 0.
  EXPECT_EQ(Values(CalcPvt(e.calc)), (std::vector<double>{100, 110, 40, 40}));
}

TEST(Indicators, SarFollowsTheStopReversesToTheExtremeAndCapsItsAcceleration) {
  BoundCalc e(FromCloses(Series({10, 11, 12, 13, 14, 8, 7})));
  SVector r = CalcSar(e.calc, 0.02, 0.2), step = CalcSar(e.calc, 0.05, 0.2);
  EXPECT_EQ(r.GetStartIndex(), 5);
  // Up from low 9 toward high 11; af 0.02 rising by 0.02 with every new high;
  // bar 5's low 7 is under the stop: reverse to the extreme high 15, then down with af 0.02.
  const double want[] = {9.04, 9.04, 9.1984, 9.486496, 15, 14.84};
  for (int i = 1; i < 7; ++i) EXPECT_NEAR(r[i], want[i - 1], 1e-12) << i;
  // The first stop uses the step, later ones the acceleration.
  EXPECT_NEAR(step[1], 9 + 0.05 * 2, 1e-12);
  EXPECT_NEAR(step[2], 9 + 0.02 * 2, 1e-12);
  // Close alone: down from 10; bar 2 a new low 8 (af 0.04); bar 3's close 12 is
  // above the stop 9.92: reverse to 8; bar 4: up toward 12.
  e.bars[kClose] = Series({10, 9, 8, 12, 11});
  r = CalcCSar(e.calc, 0.02, 0.2);
  EXPECT_EQ(std::pair(r.GetStartIndex(), std::vector<double>(r.Data() + 1, r.Data() + 5)),
            std::pair(5, std::vector<double>{10, 10, 8, 8.08}));
  SVector rising(60);  // every bar a new high: the acceleration grows by 0.03 up to its cap
  std::iota(rising.Data(), rising.Data() + 60, 100.0);
  e.bars = FromCloses(rising);  // assigned in place: the engine still sees the bars
  r = CalcSar(e.calc, 0.03, 0.2);
  EXPECT_NEAR((r[59] - r[58]) / (e.bars[kHigh][58] - r[58]), 0.2, 1e-12);
  e.bars[kClose] = e.bars[kHigh] = e.bars[kLow] = Series({10});  // too short: no valid bar
  EXPECT_FALSE(CalcSar(e.calc, 0.02, 0.2).HasValid() || CalcCSar(e.calc, 0.02, 0.2).HasValid());
  TestBars none;
  none.Bind(e.calc);
  EXPECT_EQ(CalcSar(e.calc, 0.02, 0.2).GetSize(), 0);
}

TEST(Indicators, PriceSeriesArgumentsReachTheComputations) {
  BoundCalc e(WalkBars(120));
  const std::pair<const char*, SVector> cases[] = {
      {"Correlation(c, v, 20)", CalcCorrelation(e.calc, e.bars[kClose], e.bars[kVolume], 20)},
      {"LinearRegressionValue(close, 20, 3)", CalcLinearRegressionValue(e.calc, e.bars[kClose], 20, 3)},
      {"pvi(o)", CalcPvi(e.calc, e.bars[kOpen])}};
  for (const auto& [formula, expected] : cases) ExpectSame(Evaluate(e.bars, formula), expected, formula);
}

// ---- regression statistics --------------------------------------------------------

TEST(Regression, LineValueSlopeCorrelationAndRSquaredMatchTheirDefinitions) {
  SCalc calc;
  SVector bar(300);  // R squared of a line against the bar number is its correlation squared
  std::iota(bar.Data(), bar.Data() + 300, 0.0);
  for (double level : {0.0, 100.0, 1e7}) {
    const SVector x = WalkSeries(7, level), y = WalkSeries(29, level / 2);
    for (int n : {1, 2, 3, 10, 60}) {
      const std::string at = " level=" + std::to_string(level) + " n=" + std::to_string(n);
      ExpectPerWindow(
          CalcLinearRegressionSlope(calc, x, n), n, [&](int i) { return FittedLine(x, i, n, nullptr); }, "slope" + at);
      for (int k : {0, 3, -2})
        ExpectPerWindow(
            CalcLinearRegressionValue(calc, x, n, k), n, [&](int i) { return FittedLine(x, i, n, &k); },
            "value " + std::to_string(k) + at);
      if (n == 1) continue;
      ExpectPerWindow(
          CalcCorrelation(calc, x, y, n), n, [&](int i) { return Correlation(x, y, i, n); }, "correlation" + at);
      std::vector<double> rsq(300, 0);  // a flat window repeats the bar before
      for (int i = n - 1; i < 300; ++i)
        rsq[i] = AllEqual(Window(x, i, n)) ? rsq[i - 1] : std::pow(Correlation(x, bar, i, n), 2);
      ExpectPerWindow(
          CalcRSquared(calc, x, n), n, [&](int i) { return rsq[i]; }, "rsquared" + at);
    }
  }
  EXPECT_EQ(calc.ErrorCount + calc.HistoryFlag, 0);
}

TEST(Regression, FlatWindowsGiveNoNoiseAndWindowsFitTheLaterStartAndTheShorterSeries) {
  SCalc calc;  // 0.1 is not exact in binary: running sums of it must not read as variance
  SVector flat = Series({0.1, 0.1, 0.1, 0.1, 0.1, 0.1, 0.1, 0.1}), moving = Series({1, 3, 2, 5, 4, 6, 8, 7});
  EXPECT_EQ(ValidValues(CalcRSquared(calc, flat, 3)), std::vector<double>(6, 0.0));
  EXPECT_EQ(ValidValues(CalcCorrelation(calc, moving, flat, 4)), std::vector<double>(5, 0.0));
  SVector r = CalcCorrelation(calc, SVector(5.0), moving, 3);  // a number is constant at every bar
  EXPECT_EQ(std::pair(r.GetSize(), ValidValues(r)), std::pair(8, std::vector<double>(6, 0.0)));
  SVector a = WalkSeries(1, 10, 30), b = WalkSeries(2, 10, 25);
  a.SetStartIndex(4);
  b.SetStartIndex(6);
  r = CalcCorrelation(calc, a, b, 5);
  EXPECT_EQ(std::tuple(r.GetSize(), r.GetStartIndex(), CalcLinearRegressionSlope(calc, a, 8).GetStartIndex()),
            std::tuple(25, 10, 11));
  for (const SVector& none : {CalcLinearRegressionValue(calc, a, 27, 0), CalcRSquared(calc, a, 0)})
    EXPECT_EQ(std::pair(none.GetSize(), none.HasValid()), std::pair(30, false));
}

}  // namespace
