// Indicator functions of the formula language (day values, cci, the volume
// indices, accumulation/distribution, price-volume trend, regression
// statistics, the zigzag line, the parabolic stop and rsi): the computations
// behind their rows in SCalcFunctionTable.cpp. Day values are in
// SCalcDayFunctions.cpp, the regression statistics in
// SCalcRegressionFunctions.cpp.
#include <cmath>

#include "calc/LiveRun.h"
#include "calc/SCalcIndicators.h"
#include "calc/Swing.h"
#include "core/TextTable.h"

namespace chartcalc::detail {

// ---- commodity channel index --------------------------------------------------

namespace {

// Sum of |x[k] - m| over count values. Four partial sums let the additions
// overlap; this inner loop is the one part of cci that costs period work per bar.
double SumAbsDeviation(const double* x, int count, double m) {
  double s0 = 0.0, s1 = 0.0, s2 = 0.0, s3 = 0.0;
  int k = 0;
  for (; k + 4 <= count; k += 4) {
    s0 += std::fabs(x[k] - m);
    s1 += std::fabs(x[k + 1] - m);
    s2 += std::fabs(x[k + 2] - m);
    s3 += std::fabs(x[k + 3] - m);
  }
  for (; k < count; ++k) s0 += std::fabs(x[k] - m);
  return (s0 + s1) + (s2 + s3);
}

// Typical prices (high + low + close) / 3 from bar s on; the bars before s
// are never read and not written.
SVector TypicalPrices(SCalc& calc, int s, int n) {
  const double* h = calc.Bound(kHigh).Data();
  const double* l = calc.Bound(kLow).Data();
  const double* c = calc.Bound(kClose).Data();
  SVector tp(n);
  double* t = tp.Data();
  for (int i = s; i < n; ++i) t[i] = (h[i] + l[i] + c[i]) / 3.0;
  return tp;
}

}  // namespace

// Lambert's commodity channel index with the mean absolute deviation. The
// average is a running sum, rebuilt once a window so its rounding stays
// bounded and a NaN that entered it leaves again. A flat window has no
// deviation and gives 0; it is found exactly, since the running average of
// equal prices may differ from them in the last bit.
SVector CalcCci(SCalc& calc, int period) {
  const SVector& close = calc.Bound(kClose);
  const int n = CommonSize({&close, &calc.Bound(kHigh), &calc.Bound(kLow)});
  if (period < 1) {
    calc.Error(TxCciPeriod);
    return ZeroSeries(n, kInvalidStart);
  }
  const int s = std::max(close.GetStartIndex(), 0);
  SVector r = ZeroSeries(n, ShiftStart(s, period - 1));
  if (!r.HasValid()) return r;
  const SVector typical = TypicalPrices(calc, s, n);
  const double* tp = typical.Data();
  double* out = r.Data();
  double sum = 0.0;
  WindowChanges changes;
  for (int i = r.GetStartIndex(), rebuild = 0; i < n; ++i, --rebuild) {
    const double* window = tp + i - period + 1;
    if (rebuild == 0) {
      sum = 0.0;
      for (int k = 0; k < period; ++k) sum += window[k];
      changes.Recount(tp, i, period);
      rebuild = period;
    } else {
      sum += tp[i] - tp[i - period];
      changes.Slide(tp, i, period);
    }
    if (changes.Flat()) continue;  // stays 0
    const double avg = sum / period;
    const double meanDeviation = SumAbsDeviation(window, period, avg) / period;
    out[i] = (tp[i] - avg) / (0.015 * meanDeviation);
  }
  return r;
}

// ---- volume-weighted running indicators ---------------------------------------

namespace {

// The negative or positive volume index of x: 100 at x's first valid bar,
// then moving by x's percentage change on the bars whose volume falls
// (nvi) or rises (pvi) against the bar before. Bars without volume data,
// or after a zero value of x, keep the previous value.
template <class VolumeMoves>
SVector VolumeIndex(SCalc& calc, const SVector& x, VolumeMoves moves) {
  calc.MarkHistory();
  const SVector& volume = calc.Bound(kVolume);
  const int n = x.GetSize();
  SVector r = ZeroSeries(n, x.GetStartIndex());
  const int s = std::max(x.GetStartIndex(), 0);
  if (s >= n) return r;
  const double* p = x.Data();
  const double* v = volume.Data();
  const int withVolume = std::min(n, volume.GetSize());
  double* out = r.Data();
  out[s] = 100.0;
  for (int i = s + 1; i < n; ++i) {
    bool counts = i < withVolume && moves(v[i - 1], v[i]) && p[i - 1] != 0.0;
    out[i] = counts ? out[i - 1] + (p[i] - p[i - 1]) / p[i - 1] * 100.0 : out[i - 1];
  }
  return r;
}

// A running total from close's first valid bar: first(s) there, then
// out[i - 1] + step(i) on every later bar.
template <class First, class Step>
SVector RunningTotal(SCalc& calc, int n, First first, Step step) {
  calc.MarkHistory();
  SVector r = ZeroSeries(n, calc.Bound(kClose).GetStartIndex());
  if (!r.HasValid()) return r;
  double* out = r.Data();
  const int s = r.GetStartIndex();
  out[s] = first(s);
  for (int i = s + 1; i < n; ++i) out[i] = out[i - 1] + step(i);
  return r;
}

}  // namespace

SVector CalcNvi(SCalc& calc, const SVector& x) {
  return VolumeIndex(calc, x, [](double before, double now) { return before > now; });
}

SVector CalcPvi(SCalc& calc, const SVector& x) {
  return VolumeIndex(calc, x, [](double before, double now) { return now > before; });
}

// Accumulation/distribution from the bar's body: each bar adds its volume
// weighted by (close - open) over its range; a bar without range adds nothing.
SVector CalcAd(SCalc& calc) {
  const double* o = calc.Bound(kOpen).Data();
  const double* h = calc.Bound(kHigh).Data();
  const double* l = calc.Bound(kLow).Data();
  const double* c = calc.Bound(kClose).Data();
  const double* v = calc.Bound(kVolume).Data();
  const int n = CommonSize(
      {&calc.Bound(kClose), &calc.Bound(kOpen), &calc.Bound(kHigh), &calc.Bound(kLow), &calc.Bound(kVolume)});
  return RunningTotal(
      calc, n, [](int) { return 0.0; },
      [=](int i) {
        double range = h[i] - l[i];
        return range == 0.0 ? 0.0 : (c[i] - o[i]) * v[i] / range;
      });
}

// Price-volume trend: starts at the first bar's volume and adds each bar's
// volume weighted by the close's relative change.
SVector CalcPvt(SCalc& calc) {
  const double* c = calc.Bound(kClose).Data();
  const double* v = calc.Bound(kVolume).Data();
  const int n = CommonSize({&calc.Bound(kClose), &calc.Bound(kVolume)});
  return RunningTotal(
      calc, n, [=](int s) { return v[s]; },
      [=](int i) { return c[i - 1] == 0.0 ? 0.0 : (c[i] - c[i - 1]) * v[i] / c[i - 1]; });
}

// ---- relative strength index --------------------------------------------------

namespace {

double RsiOf(double up, double down) { return up + down == 0.0 ? 0.0 : 100.0 * up / (up + down); }

// The smoothed averages of the up and down moves up to a bar: all rsi needs
// to go on from there.
struct RsiAverages {
  double up = 0.0, down = 0.0;
};

// Bars [from, end) of rsi from the averages at bar from - 1:
// ((period - 1) * average + move) / period, with the divisions taken out of
// the bar-to-bar dependency chain. The loss is gain - change, which equals
// max(-change, 0) to the bit: written as a second max the compiler branches
// on the sign of the change, and on real prices that branch goes either way
// at random. The averages live in locals so that they stay in registers.
RsiAverages SmoothRsi(const double* c, int from, int end, int period, RsiAverages avg, double* out) {
  const double keep = (period - 1.0) / period, take = 1.0 / period;
  double up = avg.up, down = avg.down;
  for (int i = from; i < end; ++i) {
    const double change = c[i] - c[i - 1];
    const double gain = std::max(change, 0.0), loss = gain - change;
    up = keep * up + take * gain;
    down = keep * down + take * loss;
    out[i] = RsiOf(up, down);
  }
  return {up, down};
}

}  // namespace

// Wilder's relative strength index: the first averages of the up and down
// moves are plain averages over the first `period` changes, later ones are
// smoothed with weight 1/period.
SVector CalcRsi(SCalc& calc, int period) {
  calc.MarkKeptHistory();
  LiveRun* live = calc.Live();
  LiveNode* node = live ? live->Enter(KeptFunction::kRsi, period) : nullptr;
  const SVector& close = calc.Bound(kClose);
  const int n = close.GetSize();
  if (period < 1) {
    calc.Error(TxRsiPeriod);
    return ZeroSeries(n, kInvalidStart);
  }
  const int s = std::max(close.GetStartIndex(), 0);
  const double* c = close.Data();
  const auto smooth = [c, period](int from, int end, RsiAverages& avg, double* out) {
    avg = SmoothRsi(c, from, end, period, avg, out);
  };
  if (node && live->Resuming()) return ResumeKept<RsiAverages>(*live, *node, n, s, smooth);
  const int first = ShiftStart(s, period);
  if (first >= n) return SVector();
  SVector r = UnfilledSeries(n, first);  // every bar from first on is written below
  double* out = r.Data();
  RsiAverages avg;
  for (int i = s + 1; i <= first; ++i) {
    double change = c[i] - c[i - 1];
    (change > 0.0 ? avg.up : avg.down) += std::fabs(change);
  }
  avg.up /= period;
  avg.down /= period;
  out[first] = RsiOf(avg.up, avg.down);
  AdvanceKeeping(node, first + 1, n, avg, [&](int from, int end, RsiAverages& a) { smooth(from, end, a, out); });
  if (node) KeepResult(*live, *node, r);
  return r;
}

// ---- parabolic stop and reverse -------------------------------------------------

namespace {

// The acceleration factor at the start and after every reversal.
constexpr double kStartAcceleration = 0.02;

struct StopState {
  bool up;      // long side: the stop trails below the prices
  double ep;    // extreme point of the current move
  double stop;  // the stop of the last bar
  double af;    // the acceleration factor
};

// The prices and factors of one stop-and-reverse: the highs hi and the lows
// lo (both the close for csar).
struct StopRule {
  const double* hi;
  const double* lo;
  double step, maximum;
};

// Bars [from, end) of the stop from the state as of the bar before. The
// state lives in locals so that it stays in registers.
void AdvanceStop(const StopRule& rule, int from, int end, StopState& state, double* out) {
  const double *hi = rule.hi, *lo = rule.lo;
  StopState st = state;
  for (int i = from; i < end; ++i) {
    st.stop += st.af * (st.ep - st.stop);
    out[i] = st.stop;
    const bool reverses = st.up ? st.stop > lo[i] : hi[i] > st.stop;
    if (reverses) {
      out[i] = st.stop = st.ep;
      st.ep = st.up ? lo[i] : hi[i];
      st.up = !st.up;
      st.af = kStartAcceleration;
    } else if (st.up ? hi[i] > st.ep : st.ep > lo[i]) {
      st.af = std::min(st.af + rule.step, rule.maximum);
      st.ep = st.up ? hi[i] : lo[i];
    }
  }
  state = st;
}

// The stop-and-reverse over bars s + 1 to n - 1, from the state the caller
// chose for bar s. The result is valid from s + 5, once the stop has had
// time to settle.
SVector ParabolicStop(int n, int s, StopState st, const StopRule& rule, LiveRun* live, LiveNode* node) {
  SVector r = ZeroSeries(n, ShiftStart(s, 5));
  if (s + 1 >= n) return r;
  double* out = r.Data();
  out[s + 1] = st.stop + rule.step * (st.ep - st.stop);
  AdvanceKeeping(node, s + 2, n, st, [&](int from, int end, StopState& a) { AdvanceStop(rule, from, end, a, out); });
  if (node) KeepResult(*live, *node, r);
  return r;
}

// Marks the history and enters the stop-and-reverse call's live node; null
// outside a live run.
LiveNode* EnterStop(SCalc& calc, KeptFunction function, double step, double maximum) {
  calc.MarkKeptHistory();
  LiveRun* live = calc.Live();
  return live ? live->Enter(function, step, maximum) : nullptr;
}

// The stop of a resuming run: the new bars from the node's kept state.
SVector ResumeStop(SCalc& calc, LiveNode& node, int n, int s, const StopRule& rule) {
  return ResumeKept<StopState>(*calc.Live(), node, n, s, [&rule](int from, int end, StopState& a, double* out) {
    AdvanceStop(rule, from, end, a, out);
  });
}

// The first valid bar of a series, or -1 when it has none below n.
int FirstBar(const SVector& x, int n) {
  int s = std::max(x.GetStartIndex(), 0);
  return s < n ? s : -1;
}

}  // namespace

// The parabolic stop on high and low. The first move's direction comes from
// the first two closes; the stop starts at the other side's first price.
SVector CalcSar(SCalc& calc, double step, double maximum) {
  LiveNode* node = EnterStop(calc, KeptFunction::kSar, step, maximum);
  const SVector& close = calc.Bound(kClose);
  const SVector& high = calc.Bound(kHigh);
  const SVector& low = calc.Bound(kLow);
  const int n = CommonSize({&close, &high, &low});
  const int s = FirstBar(close, n), hs = FirstBar(high, n), ls = FirstBar(low, n);
  const StopRule rule{high.Data(), low.Data(), step, maximum};
  if (node && calc.Live()->Resuming()) return ResumeStop(calc, *node, n, std::max(s, 0), rule);
  if (s < 0 || hs < 0 || ls < 0 || s + 1 >= n) return ZeroSeries(n, kInvalidStart);
  const double* c = close.Data();
  const bool up = c[s + 1] > c[s];
  StopState st{up, up ? high[hs] : low[ls], up ? low[ls] : high[hs], kStartAcceleration};
  return ParabolicStop(n, s, st, rule, calc.Live(), node);
}

// The parabolic stop on the close alone.
SVector CalcCSar(SCalc& calc, double step, double maximum) {
  LiveNode* node = EnterStop(calc, KeptFunction::kCSar, step, maximum);
  const SVector& close = calc.Bound(kClose);
  const int n = close.GetSize();
  const int s = FirstBar(close, n);
  const double* c = close.Data();
  const StopRule rule{c, c, step, maximum};
  if (node && calc.Live()->Resuming()) return ResumeStop(calc, *node, n, std::max(s, 0), rule);
  if (s < 0 || s + 1 >= n) return ZeroSeries(n, kInvalidStart);
  StopState st{c[s + 1] > c[s], c[s], c[s], kStartAcceleration};
  return ParabolicStop(n, s, st, rule, calc.Live(), node);
}

// ---- zigzag -----------------------------------------------------------------------

// Turning points of the highs and lows at least `percent` apart: swing points
// of strength 1 (each bar's neighbours) joined into a zigzag.
SVector CalcZigZagLine(SCalc& calc, double percent) {
  calc.MarkHistory();
  const SVector& high = calc.Bound(kHigh);
  const SVector& low = calc.Bound(kLow);
  SVector swingHighs = SwingPoints(1, 1, high, 1, 2);
  SVector swingLows = SwingPoints(0, 1, low, 1, 2);
  return ZigZagLine(percent, swingHighs, swingLows, high, low);
}

}  // namespace chartcalc::detail
