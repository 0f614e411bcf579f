// Regression statistics of the formula language over windows of n bars: the
// least-squares line (its value and slope), Pearson correlation and the
// coefficient of determination.
//
// Every statistic comes from window sums kept as running sums, so the cost
// per bar does not depend on the period. The sums are taken about a shift
// (a value of the window chosen when the sums are rebuilt) and rebuilt from
// scratch once a window: the shift keeps the squares from swamping the spread
// of a series far from zero, the rebuild keeps the rounding of add-and-subtract
// bounded and lets a NaN that entered a window leave it again.
#include <algorithm>
#include <cmath>
#include <vector>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "calc/SCalcIndicators.h"
#include "core/TextTable.h"

namespace chartcalc::detail {

namespace {

// Sums over the window of n bars ending at a bar, of v = x - shift.
struct LineSums {
  double shift = 0.0;
  double sy = 0.0;   // sum of v
  double syy = 0.0;  // sum of v * v
  double sky = 0.0;  // sum of (bars back) * v, 0 for the newest bar
  WindowChanges x;   // whether the window is flat
};

// Calls emit(i, sums) for every bar i of [first, end), first >= n - 1.
template <class Emit>
void RollLineSums(const double* x, int first, int end, int n, Emit emit) {
  LineSums w;
  for (int i = first, rebuild = 0; i < end; ++i, --rebuild) {
    if (rebuild == 0) {
      w = LineSums();
      w.shift = x[i];
      for (int k = 0; k < n; ++k) {
        double v = x[i - k] - w.shift;
        w.sy += v, w.syy += v * v, w.sky += k * v;
      }
      w.x.Recount(x, i, n);
      rebuild = n;
    } else {
      double in = x[i] - w.shift, out = x[i - n] - w.shift;
      w.sky += w.sy - n * out;  // every value moves one bar further back; the oldest leaves
      w.sy += in - out;
      w.syy += in * in - out * out;
      w.x.Slide(x, i, n);
    }
    emit(i, w);
  }
}

// ---- correlation: a and b side by side in the two lanes of one register ----

using Lanes = double __attribute__((vector_size(16)));
using LaneMask = long long __attribute__((vector_size(16)));

Lanes BarOf(const double* a, const double* b, int i) { return Lanes{a[i], b[i]}; }

// One bar's terms about a window's shift: u = a - shift, v = b - shift in
// lanes, their squares, and u * v.
struct PairTerms {
  Lanes u, uu;
  double uv;
};

PairTerms TermsAbout(Lanes bar, Lanes shift) {
  const Lanes u = bar - shift;
  return {u, u * u, u[0] * u[1]};
}

// Sums of a window's terms.
struct PairSums {
  Lanes s = {0.0, 0.0}, ss = {0.0, 0.0};
  double suv = 0.0;

  void Add(const PairTerms& t) { s += t.u, ss += t.uu, suv += t.uv; }
  void Replace(const PairTerms& in, const PairTerms& out) {
    s += in.u - out.u, ss += in.uu - out.uu, suv += in.uv - out.uv;
  }
};

// Bit 1: a changed from the bar before; bit 2: b did. A NaN counts as a
// change, as != has it.
int ChangedBits(Lanes bar, Lanes before) {
#if defined(__SSE2__)
  return _mm_movemask_pd(_mm_cmpneq_pd(bar, before));
#else
  const LaneMask changed = bar != before;
  return (changed[0] != 0) | (changed[1] != 0) << 1;
#endif
}

// The last bar at which a changed from the bar before, and the same for b: a
// window of n bars ending at bar i is flat in a series when that series last
// changed at or before its first bar. One exact test a bar, whatever the
// period, and nothing to count afresh.
struct LastChanges {
  int a, b;

  // Seen up to bar i, from bar i - n + 2 on (an earlier change does not
  // matter to the window ending at bar i).
  LastChanges(const double* x, const double* y, int i, int n) : a(i - n + 1), b(i - n + 1) {
    for (int k = i - n + 2; k <= i; ++k) See(k, ChangedBits(BarOf(x, y, k), BarOf(x, y, k - 1)));
  }
  void See(int i, int bits) {
    a = bits & 1 ? i : a;
    b = bits & 2 ? i : b;
  }
  bool EitherFlat(int i, int n) const { return std::min(a, b) <= i - n + 1; }
};

// What a bar's correlation is computed from.
struct CorrelationParts {
  double num;     // n^2 times the covariance
  Lanes spreads;  // n^2 times the variances of a and b
  bool flat;      // a or b is constant over the window
};

CorrelationParts PartsOf(const PairSums& w, double n, bool flat) {
  return {n * w.suv - w.s[0] * w.s[1], Lanes{n, n} * w.ss - w.s * w.s, flat};
}

// A flat series gives 0, and so does one whose variance is lost in rounding.
double CorrelationOf(const CorrelationParts& p) {
  if (p.flat || p.spreads[0] <= 0.0 || p.spreads[1] <= 0.0) return 0.0;
  return std::clamp(p.num / std::sqrt(p.spreads[0] * p.spreads[1]), -1.0, 1.0);
}

// Two bars' correlations at once: the division and the square root, which
// bound this function's speed, take both lanes for the price of one. Each
// lane rounds as CorrelationOf does and gives the same value.
void CorrelationsOf(const CorrelationParts& p0, const CorrelationParts& p1, double* out) {
#if defined(__SSE2__)
  if (!(p0.flat || p1.flat)) {  // flat windows are rare: they take the scalar path
    const __m128d spreadA = _mm_unpacklo_pd(p0.spreads, p1.spreads);
    const __m128d spreadB = _mm_unpackhi_pd(p0.spreads, p1.spreads);
    const __m128d quotient = _mm_div_pd(_mm_set_pd(p1.num, p0.num), _mm_sqrt_pd(_mm_mul_pd(spreadA, spreadB)));
    // min(1, q) and max(-1, q) keep a NaN as std::clamp does: they return
    // their second operand when either is NaN.
    const __m128d rho = _mm_max_pd(_mm_set1_pd(-1.0), _mm_min_pd(_mm_set1_pd(1.0), quotient));
    const __m128d zero = _mm_setzero_pd();
    const __m128d none = _mm_or_pd(_mm_cmple_pd(spreadA, zero), _mm_cmple_pd(spreadB, zero));
    _mm_storeu_pd(out, _mm_andnot_pd(none, rho));
    return;
  }
#endif
  out[0] = CorrelationOf(p0), out[1] = CorrelationOf(p1);
}

// What a block of bars shares while its sums slide.
struct CorrelationRoll {
  const double* a;
  const double* b;
  int n;
  double count;                    // n as a double
  std::vector<PairTerms> leaving;  // [m]: the bar leaving at a block's (m + 1)-th slide
  LastChanges changes;
};

// Writes the correlations of the bars of [block, blockEnd), the sums at the
// block's first bar given. With kGather, it also gathers the fresh sums of
// the window ending at blockEnd about that bar, and returns them, keeping
// their terms in r.leaving for the next block to take out.
template <bool kGather>
PairSums RollBlock(CorrelationRoll& r, PairSums sums, int block, int blockEnd, double* out) {
  const double *a = r.a, *b = r.b;
  const Lanes shift = BarOf(a, b, block), nextShift = BarOf(a, b, kGather ? blockEnd : block);
  PairTerms* leaving = r.leaving.data();
  PairSums next;
  auto slide = [&](int i) {
    const Lanes bar = BarOf(a, b, i);
    PairTerms& gone = leaving[i - block - 1];
    sums.Replace(TermsAbout(bar, shift), gone);
    if (kGather) next.Add(gone = TermsAbout(bar, nextShift));
    r.changes.See(i, ChangedBits(bar, BarOf(a, b, i - 1)));
    return PartsOf(sums, r.count, r.changes.EitherFlat(i, r.n));
  };
  out[block] = CorrelationOf(PartsOf(sums, r.count, r.changes.EitherFlat(block, r.n)));
  int i = block + 1;
  for (; i + 1 < blockEnd; i += 2) {
    const CorrelationParts p0 = slide(i);
    CorrelationsOf(p0, slide(i + 1), out + i);
  }
  if (i < blockEnd) out[i] = CorrelationOf(slide(i));
  if (kGather) {
    next.Add(TermsAbout(BarOf(a, b, blockEnd), nextShift));
    r.changes.See(blockEnd, ChangedBits(BarOf(a, b, blockEnd), BarOf(a, b, blockEnd - 1)));
  }
  return next;
}

// Writes the correlation of a and b over the window of n bars ending at each
// bar of [first, end), first >= n - 1. The bars go in blocks of n, the sums
// taken afresh about the block's first bar at that bar and slid through the
// rest. The fresh sums of the next block are gathered one bar at a time
// beside the sliding ones, so that their chain of adds overlaps the sliding
// chain instead of stalling it once a window; the terms gathered are kept,
// as they are the very terms that leave the window over the next block.
void RollCorrelation(const double* a, const double* b, int first, int end, int n, double* out) {
  CorrelationRoll r{a, b, n, static_cast<double>(n), std::vector<PairTerms>(n), LastChanges(a, b, first, n)};
  PairSums sums;
  for (int k = first - n + 1, m = 0; k <= first; ++k, ++m) {
    r.leaving[m] = TermsAbout(BarOf(a, b, k), BarOf(a, b, first));
    sums.Add(r.leaving[m]);
  }
  int block = first;
  for (; end - block > n; block += n) sums = RollBlock<true>(r, sums, block, block + n, out);
  RollBlock<false>(r, sums, block, end, out);
}

// The result frame of a window statistic of x: x's size, valid from x's start
// + period - 1. A period below 1 reports the message and leaves no valid bar.
SVector WindowFrame(SCalc& calc, const SVector& x, int period, TextId message) {
  if (period < 1) {
    calc.Error(message);
    return ZeroSeries(x.GetSize(), kInvalidStart);
  }
  return ZeroSeries(x.GetSize(), ShiftStart(std::max(x.GetStartIndex(), 0), period - 1));
}

// The least-squares line through the window, with the abscissa counting bars
// back from the newest: value(sums, slope) gives the result from the window
// sums and the slope per bar forward in time.
template <class Value>
SVector RegressionLine(SCalc& calc, const SVector& x, int period, Value value) {
  SVector r = WindowFrame(calc, x, period, TxRegressionPeriod);
  if (!r.HasValid()) return r;
  const double n = period;
  const double sx = n * (n - 1) / 2;
  const double sx2 = n * (n - 1) * (2 * n - 1) / 6;
  // Negative for n > 1: the abscissa runs backwards, so this is the slope's
  // usual denominator with the sign that turns it forward.
  const double d = sx * sx - n * sx2;
  double* out = r.Data();
  RollLineSums(x.Data(), r.GetStartIndex(), r.GetSize(), period, [&](int i, const LineSums& w) {
    double slope = d == 0.0 ? 0.0 : (n * w.sky - sx * w.sy) / d;
    out[i] = value(w, slope, sx);
  });
  return r;
}

}  // namespace

// The value of the window's least-squares line barsBack bars before the
// newest bar (0: the newest bar itself; negative: projected forward).
SVector CalcLinearRegressionValue(SCalc& calc, const SVector& x, int period, int barsBack) {
  const double n = period, k = barsBack;
  return RegressionLine(calc, x, period, [n, k](const LineSums& w, double slope, double sx) {
    return w.shift + (w.sy - slope * sx) / n + (n - k - 1) * slope;
  });
}

// The slope of the window's least-squares line, per bar forward in time.
SVector CalcLinearRegressionSlope(SCalc& calc, const SVector& x, int period) {
  return RegressionLine(calc, x, period, [](const LineSums&, double slope, double) { return slope; });
}

// Pearson correlation of a and b over windows of n bars. A window in which
// either series is constant has no defined correlation; it gives 0 (no linear
// relation can be seen), and so does a single number against a series.
SVector CalcCorrelation(SCalc& calc, const SVector& a, const SVector& b, int period) {
  const bool both = a.IsSeries() && b.IsSeries();
  const int size = both ? std::min(a.GetSize(), b.GetSize()) : (a.IsSeries() ? a : b).GetSize();
  if (period < 1) {
    calc.Error(TxCorrelationPeriod);
    return ZeroSeries(size, kInvalidStart);
  }
  const int s = std::max({a.GetStartIndex(), b.GetStartIndex(), 0});
  const int start = ShiftStart(s, period - 1);
  if (!both || start >= size) return ZeroSeries(size, start);
  SVector r = UnfilledSeries(size, start);  // every valid bar is written below
  RollCorrelation(a.Data(), b.Data(), r.GetStartIndex(), size, period, r.Data());
  return r;
}

// The share of the window's variance that its least-squares line against the
// bar number explains. A flat window repeats the previous bar's value (0 on
// the first valid bar, which has none before it).
SVector CalcRSquared(SCalc& calc, const SVector& x, int period) {
  SVector r = WindowFrame(calc, x, period, TxRSquaredPeriod);
  if (!r.HasValid()) return r;
  const double n = period;
  const double sx = n * (n - 1) / 2;
  const double sxxCentered = n * (n - 1) * (2 * n - 1) / 6 - sx * sx / n;
  double* out = r.Data();
  const int first = r.GetStartIndex();
  RollLineSums(x.Data(), first, r.GetSize(), period, [&](int i, const LineSums& w) {
    double spread = n * w.syy - w.sy * w.sy;  // n * SST
    if (w.x.Flat() || sxxCentered <= 0.0 || spread <= 0.0) {
      out[i] = i > first ? out[i - 1] : 0.0;
      return;
    }
    double sxyCentered = w.sky - sx * w.sy / n;
    double r2 = n * sxyCentered * sxyCentered / (sxxCentered * spread);
    out[i] = std::clamp(r2, 0.0, 1.0);
  });
  return r;
}

}  // namespace chartcalc::detail
