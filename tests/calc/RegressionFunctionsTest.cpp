// Regression statistics: the least-squares line's value and slope, Pearson
// correlation and R squared over windows of n bars.
//
// Expected values come from reference loops written here from the textbook
// definitions (two-pass means, least squares against the bar number), which
// share nothing with the library's running sums, over a few hundred bars of
// varied data with flat stretches, trends and a level far from zero.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "calc/CalcTestUtil.h"
#include "calc/SCalcIndicators.h"

using namespace chartcalc::detail;

namespace {

// A random walk around `level` with a flat stretch of 40 bars (longer than
// every window used here) and a steady climb after it.
SVector Walk(uint64_t seed, double level, int n = 300) {
  SVector x(n);
  double v = level;
  for (int i = 0; i < n; ++i) {
    seed = seed * 6364136223846793005ULL + 1442695040888963407ULL;
    double u = static_cast<double>(seed >> 11) / 9007199254740992.0 - 0.5;
    if (i < 120 || i >= 160) v += (i >= 220 ? 0.3 : 0.0) + u;
    x[i] = v;
  }
  return x;
}

// The references work in long double, so that at a level of 1e7 their own
// rounding stays well below the tolerance even for windows of tiny variance.
using Real = long double;

std::vector<Real> Window(const SVector& x, int i, int n) { return std::vector<Real>(x.Data() + i - n + 1, x.Data() + i + 1); }

Real Mean(const std::vector<Real>& w) {
  Real s = 0;
  for (Real v : w) s += v;
  return s / w.size();
}

bool AllEqual(const std::vector<Real>& w) {
  return std::adjacent_find(w.begin(), w.end(), std::not_equal_to<>()) == w.end();
}

// Least squares of the window against the bar number j: slope and intercept.
void LeastSquares(const SVector& x, int i, int n, Real& slope, Real& intercept) {
  std::vector<Real> w = Window(x, i, n);
  Real mx = Mean(w), mj = i - (n - 1) / 2.0L, sxy = 0, sjj = 0;
  for (int k = 0; k < n; ++k) {
    Real j = i - n + 1 + k;
    sxy += (w[k] - mx) * (j - mj);
    sjj += (j - mj) * (j - mj);
  }
  slope = sjj == 0 ? 0 : sxy / sjj;
  intercept = mx - slope * mj;
}

std::vector<double> ReferenceLineValue(const SVector& x, int n, int barsBack) {
  std::vector<double> out(x.GetSize(), NAN);
  for (int i = n - 1; i < x.GetSize(); ++i) {
    Real slope, intercept;
    LeastSquares(x, i, n, slope, intercept);
    out[i] = static_cast<double>(intercept + slope * (i - barsBack));
  }
  return out;
}

std::vector<double> ReferenceSlope(const SVector& x, int n) {
  std::vector<double> out(x.GetSize(), NAN);
  for (int i = n - 1; i < x.GetSize(); ++i) {
    Real slope, intercept;
    LeastSquares(x, i, n, slope, intercept);
    out[i] = static_cast<double>(slope);
  }
  return out;
}

// Pearson correlation, two-pass; a window with a constant series gives 0.
std::vector<double> ReferenceCorrelation(const SVector& a, const SVector& b, int n) {
  std::vector<double> out(a.GetSize(), NAN);
  for (int i = n - 1; i < a.GetSize(); ++i) {
    std::vector<Real> wa = Window(a, i, n), wb = Window(b, i, n);
    if (AllEqual(wa) || AllEqual(wb)) {
      out[i] = 0;
      continue;
    }
    Real ma = Mean(wa), mb = Mean(wb), sab = 0, saa = 0, sbb = 0;
    for (int k = 0; k < n; ++k) {
      sab += (wa[k] - ma) * (wb[k] - mb);
      saa += (wa[k] - ma) * (wa[k] - ma);
      sbb += (wb[k] - mb) * (wb[k] - mb);
    }
    out[i] = static_cast<double>(sab / std::sqrt(saa * sbb));
  }
  return out;
}

// SSR / SST of the least-squares line; a flat window repeats the bar before.
std::vector<double> ReferenceRSquared(const SVector& x, int n) {
  std::vector<double> out(x.GetSize(), NAN);
  for (int i = n - 1; i < x.GetSize(); ++i) {
    std::vector<Real> w = Window(x, i, n);
    if (AllEqual(w)) {
      out[i] = i > n - 1 ? out[i - 1] : 0;
      continue;
    }
    Real slope, intercept, mx = Mean(w), sst = 0, ssr = 0;
    LeastSquares(x, i, n, slope, intercept);
    for (int k = 0; k < n; ++k) {
      Real fitted = intercept + slope * (i - n + 1 + k);
      sst += (w[k] - mx) * (w[k] - mx);
      ssr += (fitted - mx) * (fitted - mx);
    }
    out[i] = static_cast<double>(ssr / sst);
  }
  return out;
}

void ExpectMatches(const SVector& got, const std::vector<double>& want, int start, double tolerance,
                   const std::string& what) {
  ASSERT_EQ(got.GetSize(), static_cast<int>(want.size())) << what;
  ASSERT_EQ(got.GetStartIndex(), start) << what;
  for (int i = start; i < got.GetSize(); ++i)
    ASSERT_NEAR(got[i], want[i], tolerance * std::max(1.0, std::fabs(want[i]))) << what << " at bar " << i;
}

struct Engine {
  TestBars bars;
  SCalc calc;
  Engine() { bars.Bind(calc); }
};

// ---- least-squares line ----------------------------------------------------------

TEST(LinearRegression, ValueAndSlopeMatchLeastSquares) {
  Engine e;
  for (double level : {0.0, 100.0, 1e6}) {
    SVector x = Walk(7, level);
    for (int n : {1, 2, 3, 10, 25, 60}) {
      std::string what = "n=" + std::to_string(n) + " level=" + std::to_string(level);
      ExpectMatches(CalcLinearRegressionSlope(e.calc, x, n), ReferenceSlope(x, n), n - 1, 1e-9, "slope " + what);
      for (int k : {0, 3, -2})
        ExpectMatches(CalcLinearRegressionValue(e.calc, x, n, k), ReferenceLineValue(x, n, k), n - 1, 1e-9,
                      "value k=" + std::to_string(k) + " " + what);
    }
  }
  EXPECT_EQ(e.calc.ErrorCount, 0);
  EXPECT_EQ(e.calc.HistoryFlag, 0);
}

TEST(LinearRegression, StraightLineIsReproducedAndProjected) {
  Engine e;
  SVector x(50);
  for (int i = 0; i < 50; ++i) x[i] = 2.0 * i + 1;
  SVector value = CalcLinearRegressionValue(e.calc, x, 10, 0);
  SVector slope = CalcLinearRegressionSlope(e.calc, x, 10);
  SVector ahead = CalcLinearRegressionValue(e.calc, x, 10, -3);
  SVector back = CalcLinearRegressionValue(e.calc, x, 10, 9);
  for (int i = 9; i < 50; ++i) {
    ASSERT_NEAR(value[i], x[i], 1e-9) << i;
    ASSERT_NEAR(slope[i], 2.0, 1e-12) << i;
    ASSERT_NEAR(ahead[i], x[i] + 6, 1e-9) << i;
    ASSERT_NEAR(back[i], x[i - 9], 1e-9) << i;
  }
}

TEST(LinearRegression, StartsAfterTheSeriesStartAndAWholeWindow) {
  Engine e;
  SVector x = Walk(3, 10, 40);
  x.SetStartIndex(5);
  EXPECT_EQ(CalcLinearRegressionSlope(e.calc, x, 8).GetStartIndex(), 12);
  SVector tooLong = CalcLinearRegressionValue(e.calc, x, 36, 0);
  EXPECT_EQ(tooLong.GetSize(), 40);
  EXPECT_FALSE(tooLong.HasValid());
}

TEST(LinearRegression, PeriodBelowOneIsReportedForBothFunctions) {
  Engine e;
  SVector x = Walk(3, 10, 20);
  SVector r = CalcLinearRegressionSlope(e.calc, x, 0);
  EXPECT_FALSE(r.HasValid());
  EXPECT_EQ(std::string(e.calc.ErrorMessage.c_str()),
            "You should use one and over at the value within LinearRegressionValue.");
  LangScope korean(kLangKorean);
  SCalc calc;
  EXPECT_FALSE(CalcLinearRegressionValue(calc, x, -4, 0).HasValid());
  EXPECT_EQ(std::string(calc.ErrorMessage.c_str()),
            Cp949("LinearRegressionValue의 기간에는 1이상의 값을 사용하여야 합니다."));
}

// ---- correlation -----------------------------------------------------------------

TEST(Correlation, MatchesPearsonIncludingFlatWindows) {
  Engine e;
  for (double level : {0.0, 100.0, 1e7}) {
    SVector a = Walk(11, level), b = Walk(29, level / 2);
    for (int n : {2, 5, 20, 50}) {
      std::string what = "n=" + std::to_string(n) + " level=" + std::to_string(level);
      ExpectMatches(CalcCorrelation(e.calc, a, b, n), ReferenceCorrelation(a, b, n), n - 1, 1e-9, what);
    }
  }
}

TEST(Correlation, ConstantWindowGivesZero) {
  Engine e;
  SVector flat = Series({0.1, 0.1, 0.1, 0.1, 0.1, 0.1, 0.1, 0.1});
  SVector moving = Series({1, 3, 2, 5, 4, 6, 8, 7});
  for (double v : ValidValues(CalcCorrelation(e.calc, flat, moving, 4))) EXPECT_EQ(v, 0.0);
  for (double v : ValidValues(CalcCorrelation(e.calc, moving, flat, 4))) EXPECT_EQ(v, 0.0);
  SVector number(5.0);  // a single number is constant at every bar
  SVector r = CalcCorrelation(e.calc, number, moving, 3);
  EXPECT_EQ(r.GetSize(), 8);
  EXPECT_EQ(r.GetStartIndex(), 2);
  for (double v : ValidValues(r)) EXPECT_EQ(v, 0.0);
}

TEST(Correlation, TakesTheShorterSeriesAndTheLaterStart) {
  Engine e;
  SVector a = Walk(1, 10, 30), b = Walk(2, 10, 25);
  a.SetStartIndex(4);
  b.SetStartIndex(6);
  SVector r = CalcCorrelation(e.calc, a, b, 5);
  EXPECT_EQ(r.GetSize(), 25);
  EXPECT_EQ(r.GetStartIndex(), 10);
  EXPECT_EQ(e.calc.HistoryFlag, 0);
}

TEST(Correlation, PeriodBelowOneIsReportedInBothLanguages) {
  Engine e;
  SVector a = Walk(1, 10, 30);
  EXPECT_FALSE(CalcCorrelation(e.calc, a, a, 0).HasValid());
  EXPECT_EQ(std::string(e.calc.ErrorMessage.c_str()), "You should use one and over at the price within Correlation.");
  LangScope korean(kLangKorean);
  SCalc calc;
  CalcCorrelation(calc, a, a, -1);
  EXPECT_EQ(std::string(calc.ErrorMessage.c_str()), Cp949("Correlation 함수는 기간은 1이상의 값을 사용하여야 합니다"));
}

// ---- R squared ------------------------------------------------------------------------

TEST(RSquared, MatchesSsrOverSstIncludingFlatWindows) {
  Engine e;
  for (double level : {0.0, 100.0, 1e7}) {
    SVector x = Walk(17, level);
    for (int n : {2, 3, 14, 45}) {
      std::string what = "n=" + std::to_string(n) + " level=" + std::to_string(level);
      ExpectMatches(CalcRSquared(e.calc, x, n), ReferenceRSquared(x, n), n - 1, 1e-9, what);
    }
  }
}

TEST(RSquared, StraightLineGivesOneAndFlatRepeatsThePreviousValue) {
  Engine e;
  SVector x = Series({1, 2, 3, 4, 5, 5, 5, 5, 5, 5});
  SVector r = CalcRSquared(e.calc, x, 4);
  EXPECT_NEAR(r[3], 1.0, 1e-12);
  EXPECT_NEAR(r[4], 1.0, 1e-12);
  double before = r[6];
  EXPECT_LT(before, 1.0);
  for (int i = 7; i < 10; ++i) EXPECT_EQ(r[i], before) << i;  // the window 5, 5, 5, 5 is flat
  SVector flat = CalcRSquared(e.calc, Series({0.1, 0.1, 0.1, 0.1, 0.1}), 3);
  EXPECT_EQ(flat.GetStartIndex(), 2);
  EXPECT_EQ(ValidValues(flat), (std::vector<double>{0, 0, 0}));
}

TEST(RSquared, PeriodBelowOneLeavesNoValidBar) {
  Engine e;
  SVector r = CalcRSquared(e.calc, Walk(1, 10, 30), 0);
  EXPECT_EQ(r.GetSize(), 30);
  EXPECT_FALSE(r.HasValid());
  EXPECT_EQ(std::string(e.calc.ErrorMessage.c_str()), "You should use one and over at the value within RSquared.");
  LangScope korean(kLangKorean);
  SCalc calc;
  CalcRSquared(calc, Walk(1, 10, 30), -2);
  EXPECT_EQ(std::string(calc.ErrorMessage.c_str()), Cp949("RSquared의 기간에는 1이상의 값을 사용하여야 합니다."));
}

TEST(RSquared, NameIsMatchedWithoutRegardToCase) {
  TestBars bars;
  bars[kClose] = Walk(1, 10, 30);
  for (const char* f : {"RSquared(5, 3)", "Rsquared(5, 3)", "RSQUARED(5, 3)"}) EXPECT_EQ(Evaluate(bars, f).errors, 0) << f;
}

}  // namespace
