// The weighted average and the correlation slide their window sums through
// blocks of one period and take them afresh once a block, gathering the next
// block's sums while sliding. These tests aim at the seams of that scheme:
// every period against every length of the last block, a NaN entering and
// leaving at every offset within a block, flat stretches shorter and longer
// than a window, and the two-bar result path with one bar of a pair flat.
#include <cmath>
#include <string>
#include <vector>

#include "calc/CalcTestUtil.h"
#include "calc/SCalcIndicators.h"

namespace {

using Real = long double;

// The weighted average of the window of p bars ending at bar i, newest
// weighing p, summed directly.
Real WeightedAt(const SVector& x, int i, int p) {
  Real w = 0;
  for (int k = 0; k < p; ++k) w += Real(p - k) * x[i - k];
  return w * 2 / (Real(p) * (p + 1));
}

// Pearson correlation of the windows ending at bar i, two-pass; 0 when either
// window is constant; NaN when either holds a NaN.
Real CorrelationAt(const SVector& a, const SVector& b, int i, int p) {
  Real ma = 0, mb = 0;
  bool flatA = true, flatB = true;
  for (int k = i - p + 1; k <= i; ++k) {
    ma += a[k], mb += b[k];
    if (k > i - p + 1) flatA &= a[k] == a[k - 1], flatB &= b[k] == b[k - 1];
  }
  if (flatA || flatB) return 0;
  ma /= p, mb /= p;
  Real sab = 0, saa = 0, sbb = 0;
  for (int k = i - p + 1; k <= i; ++k) {
    sab += (a[k] - ma) * (b[k] - mb), saa += (a[k] - ma) * (a[k] - ma), sbb += (b[k] - mb) * (b[k] - mb);
  }
  return sab / std::sqrt(saa * sbb);
}

// Every valid bar of got against want(i): both NaN, or within a relative 1e-9.
template <class Want>
void ExpectEveryBar(const SVector& got, int first, Want want, const std::string& what) {
  ASSERT_EQ(got.GetStartIndex(), first) << what;
  for (int i = first; i < got.GetSize(); ++i) {
    const double w = static_cast<double>(want(i));
    if (std::isnan(w)) {
      ASSERT_TRUE(std::isnan(got[i])) << what << " bar " << i << " gave " << got[i];
      continue;
    }
    ASSERT_NEAR(got[i], w, 1e-9 * std::max(1.0, std::fabs(w))) << what << " bar " << i;
  }
}

// Values on a grid of tenths, which binary cannot hold exactly: running sums
// of them leave rounding noise that can read as a small positive variance.
SVector TenthsSeries(uint64_t seed, int n) {
  SVector x(n);
  for (int i = 0; i < n; ++i) {
    seed = seed * 6364136223846793005ULL + 1442695040888963407ULL;
    x[i] = 0.1 * static_cast<double>((seed >> 33) % 1000) + 0.7;
  }
  return x;
}

TEST(SlidingWindows, EveryPeriodAgainstEveryLastBlockLengthMatchesTheDirectSums) {
  SCalc calc;
  for (int p = 1; p <= 24; ++p) {
    for (int tail = 0; tail < p + 2; ++tail) {  // bars after the last full block
      const int n = 2 + 3 * p + tail, start = p % 3;
      SVector a = TenthsSeries(5, n) + SVector(1e4), b = WalkSeries(11, 40, n);
      a.SetStartIndex(start);
      const std::string at = "p=" + std::to_string(p) + " n=" + std::to_string(n);
      SVector w;
      w.CalcWAvg(a, p);
      ExpectEveryBar(
          w, start + p - 1, [&](int i) { return WeightedAt(a, i, p); }, "wavg " + at);
      ExpectEveryBar(
          CalcCorrelation(calc, a, b, p), start + p - 1, [&](int i) { return CorrelationAt(a, b, i, p); },
          "correlation " + at);
    }
  }
  EXPECT_EQ(calc.ErrorCount, 0);
}

// A NaN poisons the windows that hold it, and the sliding sums a little
// longer: NaN minus NaN stays NaN until the sums are taken afresh, which
// happens within a period of the NaN leaving. From then on the values are
// clean again, wherever in a block the NaN entered.
TEST(SlidingWindows, ANaNLeavesTheSumsWithinAPeriodOfLeavingTheWindow) {
  SCalc calc;
  constexpr int kBars = 90;
  for (int p : {2, 5, 8}) {
    for (int at = p; at < 3 * p; ++at) {
      for (bool inA : {true, false}) {
        SVector a = WalkSeries(3, 100, kBars), b = TenthsSeries(9, kBars);
        (inA ? a : b)[at] = NAN;
        const std::string what = "p=" + std::to_string(p) + " NaN at " + std::to_string(at) + (inA ? " in a" : " in b");
        SVector w;
        w.CalcWAvg(inA ? a : b, p);
        const SVector r = CalcCorrelation(calc, a, b, p);
        for (int i = p - 1; i < kBars; ++i) {
          const bool holds = i >= at && i < at + p, clean = i < at || i >= at + 2 * p - 1;
          const double rho = static_cast<double>(CorrelationAt(a, b, i, p));  // 0 still where one is flat
          if (holds) EXPECT_TRUE(std::isnan(w[i]) && (std::isnan(rho) ? std::isnan(r[i]) : r[i] == 0.0)) << what << i;
          if (!clean) continue;
          EXPECT_NEAR(w[i], static_cast<double>(WeightedAt(inA ? a : b, i, p)), 1e-9 * 100) << what << " bar " << i;
          EXPECT_NEAR(r[i], rho, 1e-9) << what << " bar " << i;
        }
      }
    }
  }
}

// Flat stretches end and start at every phase of the blocks and of the bar
// pairs, with sums slid out of varying bars: a flat window gives exactly 0
// whatever noise its sums carry, and a pair with one flat bar and one varying
// bar gives 0 and the correlation, not the same for both.
TEST(SlidingWindows, FlatStretchesAtEveryPhaseGiveExactlyZeroAndNothingMore) {
  SCalc calc;
  constexpr int kBars = 80;
  for (uint64_t seed : {1, 2, 3}) {
    for (int p : {3, 4, 6, 9}) {
      for (int from = 20; from < 20 + 2 * p; ++from) {
        SVector a = TenthsSeries(seed, kBars), b = WalkSeries(seed + 20, 0.001, kBars);
        const int to = from + p + from % 4;  // flat for a window and up to 3 bars more
        for (int i = from; i < to; ++i) a[i] = 0.3;
        const std::string what =
            "seed " + std::to_string(seed) + " p=" + std::to_string(p) + " flat from " + std::to_string(from);
        const SVector r = CalcCorrelation(calc, a, b, p);
        ExpectEveryBar(
            r, p - 1, [&](int i) { return CorrelationAt(a, b, i, p); }, what);
        for (int i = from + p - 1; i < to; ++i) ASSERT_EQ(r[i], 0.0) << what << " bar " << i;
      }
    }
  }
}

}  // namespace
