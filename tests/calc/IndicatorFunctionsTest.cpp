// Indicator functions: cci, rsi, the volume indices, accumulation/distribution,
// price-volume trend, the parabolic stop, their messages and their effect on
// the history flag.
//
// Where a function is a well-known public formula (Lambert's CCI, Wilder's
// RSI), the expected values come from a plain reference loop written here from
// the textbook definition, independent of the library's running sums, over a
// few hundred bars of varied data. Other expected values are worked by hand.
#include <cmath>
#include <cstdint>
#include <vector>

#include "calc/CalcTestUtil.h"
#include "calc/SCalcIndicators.h"

using namespace chartcalc::detail;

namespace {

// A few hundred bars of a random walk with changing volatility, gaps and
// flat stretches, from a fixed seed.
TestBars VariedMarket(int n = 400) {
  TestBars b;
  for (int k : {kClose, kOpen, kHigh, kLow, kVolume, kDateTime}) b[k] = SVector(n);
  uint64_t seed = 12345;
  auto uniform = [&seed] {
    seed = seed * 6364136223846793005ULL + 1442695040888963407ULL;
    return static_cast<double>(seed >> 11) / 9007199254740992.0;
  };
  double c = 50.0;
  for (int i = 0; i < n; ++i) {
    double vol = (i / 50) % 2 ? 0.03 : 0.005;
    double open = c * (1 + vol * (uniform() - 0.5));
    c = (i >= 200 && i < 215) ? open : open * (1 + vol * (uniform() - 0.5) * 2);  // a flat stretch
    b[kOpen][i] = open;
    b[kClose][i] = c;
    b[kHigh][i] = std::max(open, c) * (1 + vol * uniform());
    b[kLow][i] = std::min(open, c) * (1 - vol * uniform());
    b[kVolume][i] = 1000 + std::floor(5000 * uniform());
    b[kDateTime][i] = 20240101 + i;
  }
  return b;
}

// A market whose prices never move.
TestBars FlatMarket(double price, int n = 60) {
  TestBars b;
  for (int k : {kClose, kOpen, kHigh, kLow, kVolume, kDateTime}) b[k] = SVector(n);
  for (int i = 0; i < n; ++i) {
    b[kClose][i] = b[kOpen][i] = b[kHigh][i] = b[kLow][i] = price;
    b[kVolume][i] = 100;
    b[kDateTime][i] = 20240101 + i;
  }
  return b;
}

// Close, high and low from literal closes; high/low one above/below.
TestBars FromCloses(std::initializer_list<double> closes) {
  TestBars b;
  b[kClose] = Series(closes);
  b[kOpen] = b[kClose];
  b[kHigh] = b[kClose] + SVector(1.0);
  b[kLow] = b[kClose] - SVector(1.0);
  b[kVolume] = b[kClose] * 0.0 + SVector(100.0);
  b[kDateTime] = b[kClose] * 0.0 + SVector(20240101.0);
  return b;
}

// ---- reference computations from the textbook definitions ----------------

// CCI: (typical price - its n-bar mean) / (0.015 * mean absolute deviation).
std::vector<double> ReferenceCci(TestBars& b, int n) {
  int size = b[kClose].GetSize();
  std::vector<double> tp(size), out(size, NAN);
  for (int i = 0; i < size; ++i) tp[i] = (b[kHigh][i] + b[kLow][i] + b[kClose][i]) / 3;
  for (int i = n - 1; i < size; ++i) {
    double mean = 0;
    for (int j = i - n + 1; j <= i; ++j) mean += tp[j];
    mean /= n;
    double dev = 0;
    for (int j = i - n + 1; j <= i; ++j) dev += std::fabs(tp[j] - mean);
    dev /= n;
    out[i] = dev == 0 ? 0 : (tp[i] - mean) / (0.015 * dev);
  }
  return out;
}

// Wilder's RSI: first average gain and loss over n changes, then each new
// average = (previous * (n - 1) + current) / n.
std::vector<double> ReferenceRsi(TestBars& b, int n) {
  int size = b[kClose].GetSize();
  std::vector<double> out(size, NAN);
  double gain = 0, loss = 0;
  for (int i = 1; i < size; ++i) {
    double ch = b[kClose][i] - b[kClose][i - 1];
    double g = ch > 0 ? ch : 0, l = ch < 0 ? -ch : 0;
    if (i <= n) {
      gain += g / n;
      loss += l / n;
    } else {
      gain = (gain * (n - 1) + g) / n;
      loss = (loss * (n - 1) + l) / n;
    }
    if (i >= n) out[i] = gain + loss == 0 ? 0 : 100 - 100 / (1 + gain / loss);
    if (i >= n && loss == 0) out[i] = gain == 0 ? 0 : 100;
  }
  return out;
}

void ExpectMatches(const SVector& got, const std::vector<double>& want, int start, double tolerance,
                   const char* what) {
  ASSERT_EQ(got.GetSize(), static_cast<int>(want.size())) << what;
  ASSERT_EQ(got.GetStartIndex(), start) << what;
  for (int i = start; i < got.GetSize(); ++i)
    ASSERT_NEAR(got[i], want[i], tolerance * std::max(1.0, std::fabs(want[i]))) << what << " at bar " << i;
}

SVector Compute(TestBars& bars, SVector (*f)(SCalc&, int), int n) {
  SCalc calc;
  bars.Bind(calc);
  return f(calc, n);
}

// ---- cci ------------------------------------------------------------------

TEST(Cci, MatchesTheTextbookMeanDeviationFormula) {
  TestBars bars = VariedMarket();
  for (int n : {1, 2, 5, 14, 20, 37}) ExpectMatches(Compute(bars, CalcCci, n), ReferenceCci(bars, n), n - 1, 1e-9, "cci");
}

TEST(Cci, FlatMarketGivesZeroNotRoundingNoise) {
  // 0.1 and 33.37 are not exact in binary: a running average of them can
  // differ from the price in the last bit, which must not read as a deviation.
  for (double price : {0.1, 33.37, 1e6 / 3}) {
    TestBars bars = FlatMarket(price);
    SVector r = Compute(bars, CalcCci, 20);
    for (int i = 19; i < r.GetSize(); ++i) ASSERT_EQ(r[i], 0.0) << price << " at bar " << i;
  }
}

TEST(Cci, PeriodBelowOneIsReportedInBothLanguages) {
  TestBars bars = VariedMarket(30);
  EvalResult r = Evaluate(bars, "cci(0)");
  EXPECT_EQ(r.message, "You should use one and over at the value within CCI function.");
  EXPECT_FALSE(r.value.HasValid());
  LangScope korean(kLangKorean);
  EXPECT_EQ(Evaluate(bars, "cci(-3)").message, Cp949("CCI 함수의 기간에는 1이상의 정수를 사용하여야 합니다"));
}

TEST(Cci, WindowLongerThanTheDataLeavesNoValidBar) {
  TestBars bars = VariedMarket(10);
  EvalResult r = Evaluate(bars, "cci(11)");
  EXPECT_EQ(r.errors, 0);
  EXPECT_EQ(r.value.GetSize(), 10);
  EXPECT_FALSE(r.value.HasValid());
  EXPECT_EQ(Evaluate(bars, "cci(10)").value.GetStartIndex(), 9);
}

// ---- rsi ------------------------------------------------------------------

TEST(Rsi, MatchesWildersSmoothing) {
  TestBars bars = VariedMarket();
  for (int n : {1, 2, 9, 14, 30}) ExpectMatches(Compute(bars, CalcRsi, n), ReferenceRsi(bars, n), n, 1e-9, "rsi");
}

TEST(Rsi, TooFewBarsGiveAnEmptySeries) {
  TestBars bars = FromCloses({1, 2, 3, 4, 5, 6, 7, 8, 9, 10});
  EvalResult r = Evaluate(bars, "rsi(14)");
  EXPECT_EQ(r.errors, 0);
  EXPECT_EQ(r.value.GetSize(), 0);
  EXPECT_EQ(Evaluate(bars, "rsi(10)").value.GetSize(), 0);  // start 10 is past the last bar
  EXPECT_EQ(Evaluate(bars, "rsi(9)").value.GetSize(), 10);
}

TEST(Rsi, MonotoneAndFlatSeriesGiveTheirLimits) {
  TestBars rising = FromCloses({1, 2, 3, 4, 5, 6, 7, 8, 9, 10});
  TestBars falling = FromCloses({10, 9, 8, 7, 6, 5, 4, 3, 2, 1});
  TestBars flat = FlatMarket(5, 10);
  for (int i = 3; i < 10; ++i) {
    EXPECT_EQ(Compute(rising, CalcRsi, 3)[i], 100);
    EXPECT_EQ(Compute(falling, CalcRsi, 3)[i], 0);
    EXPECT_EQ(Compute(flat, CalcRsi, 3)[i], 0);
  }
}

TEST(Rsi, PeriodBelowOneIsReportedInBothLanguages) {
  TestBars bars = FromCloses({1, 2, 3});
  EXPECT_EQ(Evaluate(bars, "rsi(0)").message, "You should use one and over at the value within RSI function.");
  LangScope korean(kLangKorean);
  EXPECT_EQ(Evaluate(bars, "rsi(-1)").message, Cp949("RSI 함수의 기간에는 1이상의 정수를 사용하여야 합니다"));
}

TEST(Rsi, HugePeriodDoesNotOverflowTheStartIndex) {
  TestBars bars = FromCloses({1, 2, 3});
  EvalResult r = Evaluate(bars, "rsi(2147483647)");
  EXPECT_EQ(r.errors, 0);
  EXPECT_EQ(r.value.GetSize(), 0);
}

// ---- volume indices, accumulation/distribution, price-volume trend ---------

TEST(VolumeIndices, MoveOnlyOnFallingOrRisingVolume) {
  TestBars bars = FromCloses({10, 11, 11, 22, 11});
  bars[kVolume] = Series({100, 50, 80, 80, 10});
  SCalc calc;
  bars.Bind(calc);
  // Changes of close: +10 %, 0 %, +100 %, -50 %. Volume falls at bars 1 and 4,
  // rises at bar 2, stays at bar 3.
  EXPECT_EQ(Values(CalcNvi(calc, bars[kClose])), (std::vector<double>{100, 110, 110, 110, 60}));
  EXPECT_EQ(Values(CalcPvi(calc, bars[kClose])), (std::vector<double>{100, 100, 100, 100, 100}));
  bars[kVolume] = Series({100, 150, 80, 90, 90});
  EXPECT_EQ(Values(CalcPvi(calc, bars[kClose])), (std::vector<double>{100, 110, 110, 210, 210}));
  // A zero price has no percentage change after it: the index holds.
  bars[kVolume] = Series({1, 2, 3, 4, 5});
  EXPECT_EQ(Values(CalcPvi(calc, Series({10, 0, 5, 6, 6}))), (std::vector<double>{100, 0, 0, 20, 20}));
}

TEST(VolumeIndices, StartAtTheSeriesFirstValidBar) {
  TestBars bars = FromCloses({0, 0, 10, 20, 10});
  bars[kVolume] = Series({9, 8, 7, 6, 5});
  SVector x = bars[kClose];
  x.SetStartIndex(2);  // bars 0 and 1 are not valid: their zeros must not reach the index
  SCalc calc;
  bars.Bind(calc);
  SVector r = CalcNvi(calc, x);
  EXPECT_EQ(r.GetStartIndex(), 2);
  EXPECT_EQ(r[2], 100);
  EXPECT_EQ(r[3], 200);
  EXPECT_EQ(r[4], 150);
}

TEST(Ad, StartsAtZeroAndSkipsBarsWithoutRange) {
  TestBars bars;
  bars[kOpen] = Series({10, 10, 12, 11});
  bars[kHigh] = Series({12, 14, 12, 13});
  bars[kLow] = Series({9, 10, 12, 9});
  bars[kClose] = Series({11, 13, 12, 10});
  bars[kVolume] = Series({100, 200, 300, 400});
  SCalc calc;
  bars.Bind(calc);
  // Bar 1: (13 - 10) * 200 / 4 = 150; bar 2 has no range; bar 3: (10 - 11) * 400 / 4 = -100.
  EXPECT_EQ(Values(CalcAd(calc)), (std::vector<double>{0, 150, 150, 50}));
}

TEST(Pvt, StartsAtTheFirstVolumeAndSkipsAZeroClose) {
  TestBars bars = FromCloses({10, 12, 0, 5});
  bars[kVolume] = Series({100, 50, 70, 30});
  SCalc calc;
  bars.Bind(calc);
  // Bar 1: (12 - 10) * 50 / 10 = 10; bar 2: (0 - 12) * 70 / 12 = -70; bar 3: close before is 0.
  EXPECT_EQ(Values(CalcPvt(calc)), (std::vector<double>{100, 110, 40, 40}));
}

// ---- parabolic stop and reverse ----------------------------------------------

TEST(Sar, WorkedExampleFollowsTheStopAndReversesToTheExtreme) {
  TestBars bars = FromCloses({10, 11, 12, 13, 14, 8, 7});
  bars[kHigh] = Series({11, 12, 13, 14, 15, 9, 8});
  bars[kLow] = Series({9, 10, 11, 12, 13, 7, 6});
  SCalc calc;
  bars.Bind(calc);
  SVector r = CalcSar(calc, 0.02, 0.2);
  EXPECT_EQ(r.GetStartIndex(), 5);
  // Up from low 9 toward high 11; af 0.02 rising by 0.02 with every new high.
  EXPECT_NEAR(r[1], 9.04, 1e-12);
  EXPECT_NEAR(r[2], 9.04, 1e-12);
  EXPECT_NEAR(r[3], 9.1984, 1e-12);
  EXPECT_NEAR(r[4], 9.486496, 1e-12);
  // Bar 5's low 7 is under the stop: reverse to the extreme high 15.
  EXPECT_EQ(r[5], 15);
  // Down from 15 toward the new extreme low 7 with af back at 0.02.
  EXPECT_NEAR(r[6], 14.84, 1e-12);
}

TEST(Sar, AccelerationNeverExceedsTheMaximum) {
  const int n = 60;
  TestBars bars;
  bars[kClose] = SVector(n), bars[kHigh] = SVector(n), bars[kLow] = SVector(n);
  for (int i = 0; i < n; ++i) bars[kClose][i] = 100 + i, bars[kHigh][i] = 101 + i, bars[kLow][i] = 99 + i;
  SCalc calc;
  bars.Bind(calc);
  SVector r = CalcSar(calc, 0.03, 0.2);
  // Every bar makes a new high, so the stop of bar i moves toward high[i - 1]
  // by the acceleration factor of that bar.
  double last = 0;
  for (int i = 3; i < n; ++i) {
    ASSERT_LT(r[i], bars[kLow][i]) << "no reversal on a steady rise, bar " << i;
    double af = (r[i] - r[i - 1]) / (bars[kHigh][i - 1] - r[i - 1]);
    ASSERT_LE(af, 0.2 + 1e-12) << i;
    last = af;
  }
  EXPECT_NEAR(last, 0.2, 1e-12);
}

TEST(Sar, FirstStopUsesTheStepAndLaterOnesTheAcceleration) {
  TestBars bars = FromCloses({10, 11, 12});
  bars[kHigh] = Series({11, 12, 13});
  bars[kLow] = Series({9, 10, 11});
  SCalc calc;
  bars.Bind(calc);
  SVector r = CalcSar(calc, 0.05, 0.2);
  EXPECT_NEAR(r[1], 9 + 0.05 * 2, 1e-12);
  EXPECT_NEAR(r[2], 9 + 0.02 * 2, 1e-12);  // the stop itself started from 9
}

TEST(CSar, RunsOnTheCloseAlone) {
  TestBars bars = FromCloses({10, 9, 8, 12, 11});
  SCalc calc;
  bars.Bind(calc);
  SVector r = CalcCSar(calc, 0.02, 0.2);
  // Down: ep = stop = 10. Bar 2: stop stays 10, new low 8 -> af 0.04, ep 8.
  // Bar 3: stop 10 - 0.04 * 2 = 9.92 is under the close 12: reverse to 8.
  // Bar 4: up from 8 toward 12: 8 + 0.02 * 4.
  EXPECT_EQ(r.GetStartIndex(), 5);
  EXPECT_EQ(r[1], 10);
  EXPECT_EQ(r[2], 10);
  EXPECT_EQ(r[3], 8);
  EXPECT_NEAR(r[4], 8.08, 1e-12);
}

TEST(Sar, TooShortDataLeavesNoValidBar) {
  TestBars bars = FromCloses({10});
  SCalc calc;
  bars.Bind(calc);
  EXPECT_FALSE(CalcSar(calc, 0.02, 0.2).HasValid());
  EXPECT_FALSE(CalcCSar(calc, 0.02, 0.2).HasValid());
  TestBars none;
  none.Bind(calc);
  EXPECT_EQ(CalcSar(calc, 0.02, 0.2).GetSize(), 0);
}

TEST(Sar, LocalisedNamesFollowTheLanguage) {
  TestBars bars = VariedMarket(40);
  SVector english = Evaluate(bars, "sar(0.02, 0.2)").value;
  EvalResult parabolic = Evaluate(bars, "Parabolic(0.02, 0.2)");
  ASSERT_EQ(parabolic.errors, 0) << parabolic.message;
  EXPECT_EQ(Values(parabolic.value), Values(english));
  LangScope korean(kLangKorean);
  EvalResult local = Evaluate(bars, Cp949("파라볼릭(0.02, 0.2)"));
  ASSERT_EQ(local.errors, 0) << local.message;
  EXPECT_EQ(Values(local.value), Values(english));
  EvalResult closeOnly = Evaluate(bars, Cp949("c파라볼릭(0.02, 0.2)"));
  ASSERT_EQ(closeOnly.errors, 0) << closeOnly.message;
  EXPECT_EQ(Values(closeOnly.value), Values(Evaluate(bars, "csar(0.02, 0.2)").value));
  EXPECT_GT(Evaluate(bars, "Parabolic(0.02, 0.2)").errors, 0);  // English word not in Korean mode
}

// ---- history flag -------------------------------------------------------------

TEST(IndicatorFunctions, HistoryFlagIsSetExceptByTheWindowStatistics) {
  struct Case {
    const char* formula;
    int flag;
  };
  const Case cases[] = {
      {"cci(5)", 0},          {"LinearRegressionValue(3, 5, 0)", 0}, {"LinearRegressionSlope(3, 5)", 0},
      {"Correlation(3, 4, 5)", 0}, {"RSquared(3, 5)", 0},          {"nvi(5)", 1},
      {"pvi(5)", 1},          {"ad()", 1},                           {"PVT()", 1},
      {"sar(0.02, 0.2)", 1},  {"csar(0.02, 0.2)", 1},                {"rsi(5)", 1},
      {"ZigZag(5)", 1},
  };
  TestBars bars = VariedMarket(40);
  for (const Case& c : cases) {
    SCalc calc;
    bars.Bind(calc);
    calc.SetExpression(c.formula);
    calc.Calculate();
    EXPECT_EQ(calc.ErrorCount, 0) << c.formula << ": " << calc.ErrorMessage.c_str();
    EXPECT_EQ(calc.HistoryFlag, c.flag) << c.formula;
  }
}

TEST(IndicatorFunctions, MissingArgumentIsReportedNotRead) {
  TestBars bars = VariedMarket(40);
  for (const char* f : {"cci()", "rsi()", "sar(0.02)", "Correlation(1, 2)", "LinearRegressionValue(1, 5)"}) {
    EvalResult r = Evaluate(bars, f);
    EXPECT_GT(r.errors, 0) << f;
    EXPECT_FALSE(r.value.HasValid()) << f;
  }
}

}  // namespace

// ---- zigzag and formula-level use -----------------------------------------------

namespace {

// Swing highs at bars 4 (20) and 11 (18), a swing low at bar 8 (9); each is
// flagged one bar later, when the bar after it is lower (higher).
TestBars ZigZagBars() {
  TestBars b = FromCloses({0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0});
  b[kHigh] = Series({10, 11, 12, 13, 20, 15, 14, 13, 11, 12, 16, 18, 17});
  b[kLow] = Series({9, 10, 11, 12, 18, 13, 12, 11, 9, 10, 14, 16, 15});
  return b;
}

TEST(ZigZag, TurningPointsHoldTheirPrices) {
  TestBars bars = ZigZagBars();
  EvalResult r = Evaluate(bars, "ZigZag(10)");
  ASSERT_EQ(r.errors, 0) << r.message;
  // The swing series are valid from bar 3, where the line starts at the
  // midpoint (13 + 12) / 2; every swing is more than 10 % beyond the last pivot.
  EXPECT_EQ(r.value.GetStartIndex(), 3);
  std::vector<double> got = Values(r.value);
  EXPECT_EQ(std::vector<double>(got.begin() + 3, got.end()),
            (std::vector<double>{12.5, 20, 0, 0, 0, 9, 0, 0, 18, 0}));
}

TEST(ZigZag, SwingsSmallerThanThePercentageStartNoLeg) {
  TestBars bars = ZigZagBars();
  EvalResult r = Evaluate(bars, "ZigZag(70)");
  ASSERT_EQ(r.errors, 0) << r.message;
  std::vector<double> got = Values(r.value);
  EXPECT_EQ(std::vector<double>(got.begin() + 3, got.end()), (std::vector<double>{12.5, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
}

TEST(IndicatorFormulas, PriceSeriesArgumentsReachTheComputations) {
  TestBars bars = VariedMarket(120);
  SCalc calc;
  bars.Bind(calc);
  struct Case {
    const char* formula;
    SVector expected;
  };
  const Case cases[] = {
      {"Correlation(c, v, 20)", CalcCorrelation(calc, bars[kClose], bars[kVolume], 20)},
      {"LinearRegressionValue(close, 20, 0)", CalcLinearRegressionValue(calc, bars[kClose], 20, 0)},
      {"LinearRegressionSlope(c, 7)", CalcLinearRegressionSlope(calc, bars[kClose], 7)},
      {"RSquared(h, 9)", CalcRSquared(calc, bars[kHigh], 9)},
      {"nvi(c)", CalcNvi(calc, bars[kClose])},
      {"pvi(o)", CalcPvi(calc, bars[kOpen])},
  };
  for (const Case& c : cases) {
    EvalResult r = Evaluate(bars, c.formula);
    ASSERT_EQ(r.errors, 0) << c.formula << ": " << r.message;
    EXPECT_EQ(r.value.GetStartIndex(), c.expected.GetStartIndex()) << c.formula;
    EXPECT_EQ(r.value.GetSize(), c.expected.GetSize()) << c.formula;
    EXPECT_EQ(ValidValues(r.value), ValidValues(c.expected)) << c.formula;
  }
}

}  // namespace
