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
#include <cmath>

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

// Sums over the window of n bars ending at a bar, of u = a - shiftA and
// v = b - shiftB.
struct PairSums {
  double shiftA = 0.0, shiftB = 0.0;
  double sa = 0.0, sb = 0.0, saa = 0.0, sbb = 0.0, sab = 0.0;
  WindowChanges a, b;  // whether each series is flat over the window
};

// The sums of the window of n bars ending at bar i, taken afresh about a[i]
// and b[i].
PairSums PairSumsAt(const double* a, const double* b, int i, int n) {
  PairSums w;
  w.shiftA = a[i], w.shiftB = b[i];
  for (int k = i - n + 1; k <= i; ++k) {
    double u = a[k] - w.shiftA, v = b[k] - w.shiftB;
    w.sa += u, w.sb += v, w.saa += u * u, w.sbb += v * v, w.sab += u * v;
  }
  w.a.Recount(a, i, n);
  w.b.Recount(b, i, n);
  return w;
}

// Moves the window from ending at bar i - 1 to ending at bar i.
void SlidePairSums(PairSums& w, const double* a, const double* b, int i, int n) {
  double u = a[i] - w.shiftA, v = b[i] - w.shiftB;
  double uOut = a[i - n] - w.shiftA, vOut = b[i - n] - w.shiftB;
  w.sa += u - uOut, w.sb += v - vOut;
  w.saa += u * u - uOut * uOut, w.sbb += v * v - vOut * vOut, w.sab += u * v - uOut * vOut;
  w.a.Slide(a, i, n);
  w.b.Slide(b, i, n);
}

// Calls emit(i, sums) for every bar i of [first, end), first >= n - 1. The
// bars go in blocks of n, the sums taken afresh at each block's first bar and
// slid through the rest, so that the sliding loop has no test for a rebuild.
template <class Emit>
void RollPairSums(const double* a, const double* b, int first, int end, int n, Emit emit) {
  for (int block = first; block < end; block += n) {
    PairSums w = PairSumsAt(a, b, block, n);
    emit(block, w);
    const int blockEnd = std::min(end, block + n);
    for (int i = block + 1; i < blockEnd; ++i) {
      SlidePairSums(w, a, b, i, n);
      emit(i, w);
    }
  }
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
  double* out = r.Data();
  const double n = period;
  RollPairSums(a.Data(), b.Data(), r.GetStartIndex(), size, period, [&](int i, const PairSums& w) {
    double spreadA = n * w.saa - w.sa * w.sa;  // n^2 times the variance of a
    double spreadB = n * w.sbb - w.sb * w.sb;
    // A flat series stays 0, and so does one whose variance is lost in rounding.
    if (w.a.Flat() || w.b.Flat() || spreadA <= 0.0 || spreadB <= 0.0) {
      out[i] = 0.0;
      return;
    }
    double rho = (n * w.sab - w.sa * w.sb) / std::sqrt(spreadA * spreadB);
    out[i] = std::clamp(rho, -1.0, 1.0);
  });
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
