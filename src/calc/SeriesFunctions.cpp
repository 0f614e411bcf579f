// Series functions on evaluated arguments: conditional choice, moving sums
// and averages, extremes, delays, crossings and the "since" counters.
//
// Every function has the same shape: check the arguments, frame the result
// (size and start index), then one steady loop over the bars. Bars below a
// result's start index carry no meaning and are never read; valid bars that
// an operand does not reach are set to 0.
#include "calc/SeriesFunctions.h"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <initializer_list>
#include <iterator>
#include <string>
#include <vector>

#include "calc/LiveRun.h"
#include "calc/Swing.h"
#include "chartcalc/SCalc.h"
#include "core/Recurrences.h"
#include "core/TextTable.h"

namespace chartcalc::detail {

namespace {

// ---- frames -------------------------------------------------------------------

// The first bar a loop over v's valid range starts at.
int FirstBar(const SVector& v) { return std::max(v.GetStartIndex(), 0); }

// How many bars an argument can be read at: a true series' size; a single
// number reads as its value at every bar.
int Reach(const SVector& v) { return v.IsSeries() ? v.GetSize() : (v.GetSize() > 0 ? INT_MAX : 0); }

int LatestStart(std::initializer_list<const SVector*> args) {
  int s = INT_MIN;
  for (const SVector* v : args) s = std::max(s, v->GetStartIndex());
  return s;
}

int ShortestReach(std::initializer_list<const SVector*> args) {
  int n = INT_MAX;
  for (const SVector* v : args) n = std::min(n, Reach(*v));
  return n;
}

// A single number spread over the bars of close, so that a window or a
// counter has bars to move over; a true series is used as it is.
const SVector& OverBars(const SCalc& calc, const SVector& x, SVector& scratch) {
  if (x.IsSeries()) return x;
  scratch = calc.Close() * 0.0 + x;
  return scratch;
}

// Sets the valid bars from `end` on, which no operand reaches, to 0. The bars
// below the start index carry no meaning and are left alone: on a partial
// calculation over the newest bars they are nearly the whole history.
void ClearOutside(SVector& r, int end) {
  double* d = r.Data();
  const int n = r.GetSize();
  const int first = std::clamp(r.GetStartIndex(), 0, n);
  end = std::clamp(end, first, n);
  std::fill(d + end, d + n, 0.0);
}

// A series of n bars without a valid one.
SVector NoValidBars(int n) {
  SVector r(std::max(n, 0));
  r.SetStartIndex(kInvalidStart);
  ClearOutside(r, 0);
  return r;
}

// ---- moving sums and averages -------------------------------------------------

using RollingFn = void (SVector::*)(const SVector&, int);

struct MovingRule {
  RollingFn window;
  RollingFn cumulative;  // nullptr: no one-argument form
  TextId periodError;    // TxAvgPeriod is formatted with the least period, 1
  TextId formError;      // neither ")" nor "," after the series
  bool windowHistory;    // the period form depends on every earlier bar
  bool fixedRebuilds;    // the window sums are rebuilt on the schedule of SameSumsFrom
};

// One row per MovingKind, in its order.
constexpr MovingRule kMovingRules[] = {
    {&SVector::CalcSum, &SVector::CalcSumCum, TxSumPeriod, TxSumUnknown, false, true},
    {&SVector::CalcAvg, &SVector::CalcAvgCum, TxAvgPeriod, TxAvgUnknown, false, true},
    {&SVector::CalcEAvg, &SVector::CalcEAvgCum, TxAvgPeriod, TxAvgUnknown, true, true},
    {&SVector::CalcWAvg, &SVector::CalcWAvgCum, TxAvgPeriod, TxAvgUnknown, false, false},
    {&SVector::CalcTAvg, nullptr, TxAvgPeriod, TxAvgUnknown, false, false},
    {&SVector::CalcGAvg, nullptr, TxAvgPeriod, TxAvgUnknown, false, true},
    {&SVector::CalcHAvg, nullptr, TxAvgPeriod, TxAvgUnknown, false, true},
};

const MovingRule& RuleOf(MovingKind kind) {
  const int k = static_cast<int>(kind);
  return kMovingRules[(k >= 0 && k < static_cast<int>(std::size(kMovingRules))) ? k : kMovingAvg];
}

// The moving-average period message names the least period allowed.
SVector ReportAvgPeriod(SCalc& calc) {
  char text[200];
  std::snprintf(text, sizeof text, GetText(TxAvgPeriod), 1);
  return calc.Error(text);
}

// A history function of x (n bars) whose running state is its own value at
// the bar before: the exponential average and sum, the running sum. A whole
// calculation runs full(r) and, in a live run, keeps the result; a resumed
// one takes the bars before the run's first from the kept result and goes
// on from its last value with run(from, end, value before, out).
template <class Full, class Run>
SVector OwnValueRecurrence(SCalc& calc, KeptFunction function, double key, const SVector& x, int n, Full full,
                           Run run) {
  calc.MarkKeptHistory();
  LiveRun* live = calc.Live();
  LiveNode* node = live ? live->Enter(function, key) : nullptr;
  if (!node || live->Recording()) {
    SVector r;
    full(r);
    if (node) KeepResult(*live, *node, r);
    return r;
  }
  if (!CanResume(*live, *node, x.GetStartIndex(), n)) return SVector();
  SVector r = ResumedFrame(*live, *node, n, x.GetStartIndex());
  const int from = live->From();
  run(from, r.GetSize(), node->result[from - 1], r.Data());
  KeepResult(*live, *node, r);
  return r;
}

SVector KeptEAvg(SCalc& calc, const SVector& x, int period) {
  return OwnValueRecurrence(
      calc, KeptFunction::kEAvg, period, x, x.GetSize(), [&](SVector& r) { r.CalcEAvg(x, period); },
      [&](int from, int end, double e, double* out) { EAvgRun(x.Data(), from, end, EAvgFactor(period), e, out); });
}

// The running sum adds each bar to the last sum, as the cumulative form does.
SVector KeptRunningSum(SCalc& calc, const SVector& x, int n) {
  return OwnValueRecurrence(
      calc, KeptFunction::kRunningSum, 0.0, x, x.IsSeries() ? std::min(n, x.GetSize()) : n,
      [&](SVector& r) { r.CalcSumCum(x, n); },
      [&](int from, int end, double sum, double* out) {
        for (int i = from; i < end; ++i) out[i] = sum += x[i];
      });
}

// The window statistic without a period check.
SVector MovingWindow(SCalc& calc, MovingKind kind, const SVector& x, int period) {
  // A period this long leaves no valid bar either way; one below the int
  // limit keeps the triangular average's half periods from overflowing.
  period = std::min(period, INT_MAX - 1);
  const MovingRule& rule = RuleOf(kind);
  SVector scratch;
  if (rule.windowHistory) return KeptEAvg(calc, OverBars(calc, x, scratch), period);
  SVector r;
  (r.*rule.window)(OverBars(calc, x, scratch), period);
  if (LiveRun* live = calc.Live(); live && live->Resuming()) {
    // A live run must give a whole calculation's bits: its window values
    // count from where the sums agree with one, or not at all.
    if (rule.fixedRebuilds)
      r.SetStartIndex(SameSumsFrom(r.GetStartIndex(), period));
    else
      live->Fail();
  }
  return r;
}

// ---- extremes -----------------------------------------------------------------

template <class Pick>
SVector FoldExtreme(const SVector& acc, const SVector& y, Pick pick) {
  if (!acc.IsSeries() && !y.IsSeries()) {
    SVector r = acc;
    if (r.GetSize() > 0 && y.GetSize() > 0) r[0] = pick(r[0], y[0]);
    r.SetStartIndex(std::max(acc.GetStartIndex(), y.GetStartIndex()));
    return r;
  }
  const int n = ShortestReach({&acc, &y});
  SVector r(n);
  r.SetStartIndex(std::max(acc.GetStartIndex(), y.GetStartIndex()));
  double* d = r.Data();
  for (int i = FirstBar(r); i < n; ++i) d[i] = pick(acc[i], y[i]);
  ClearOutside(r, n);
  return r;
}

// The running extreme of x over a window whose both ends only move forward:
// a monotonic deque of bar indices whose front is the window's extreme.
class RunningExtreme {
 public:
  RunningExtreme(const double* x, int capacity, bool highest)
      : x_(x), bars_(static_cast<size_t>(std::max(capacity, 1))), highest_(highest) {}

  // Adds bar i (the bars are pushed in ascending order).
  void Push(int i) {
    while (tail_ > head_ && !Keeps(x_[bars_[tail_ - 1]], x_[i])) --tail_;
    bars_[tail_++] = i;
  }
  // The extreme over the pushed bars from `left` on.
  double From(int left) {
    while (tail_ - head_ > 1 && bars_[head_] < left) ++head_;
    return x_[bars_[head_]];
  }

 private:
  bool Keeps(double kept, double v) const { return highest_ ? kept > v : kept < v; }

  const double* x_;
  std::vector<int> bars_;
  size_t head_ = 0, tail_ = 0;
  bool highest_;
};

// The bars of the most recent non-zero conditions, in a ring whose
// power-of-two size exceeds the largest k asked for. Every bar is offered:
// it is written to the next free slot and kept only when its condition is
// non-zero, so the loops that feed it need no branch on the condition.
class RecentBars {
 public:
  explicit RecentBars(int maxK) {
    size_t size = 2;
    while (size <= static_cast<size_t>(std::max(maxK, 1))) size <<= 1;
    bars_.resize(size);
    mask_ = size - 1;
  }
  void Offer(int bar, bool event) {
    bars_[count_ & mask_] = bar;
    count_ += event ? 1 : 0;
  }
  // True once at least k (>= 1) bars have been kept.
  bool Has(int k) const { return count_ >= static_cast<size_t>(k); }
  // The k-th most recent kept bar (1 = the latest); needs Has(k) and k no
  // larger than the maxK given at construction.
  int Recent(int k) const { return bars_[(count_ - static_cast<size_t>(k)) & mask_]; }

 private:
  std::vector<int> bars_;
  size_t mask_ = 1;
  size_t count_ = 0;
};

SVector SinceExtreme(SCalc& calc, int n, const SVector& c0, const SVector& x0, TextId error, bool highest) {
  calc.MarkHistory();
  if (n < 1) return calc.Error(error);
  SVector cs, xs;
  const SVector& c = OverBars(calc, c0, cs);
  const SVector& x = OverBars(calc, x0, xs);
  const int size = std::min(c.GetSize(), x.GetSize());
  int firstEvent = FirstBar(c);
  while (firstEvent < size && c[firstEvent] == 0.0) ++firstEvent;
  const int f = std::max(FirstBar(x), firstEvent);
  SVector r(size);
  r.SetStartIndex(ShiftStart(size, 1));
  if (f >= size) {
    ClearOutside(r, 0);
    return r;
  }
  double* d = r.Data();
  const double* cp = c.Data();
  RunningExtreme extreme(x.Data(), size - f, highest);
  RecentBars events(std::min(n, size - f));
  for (int i = f; i < size; ++i) {
    events.Offer(i, cp[i] != 0.0);
    extreme.Push(i);
    if (!events.Has(n)) continue;
    if (r.GetStartIndex() > i) r.SetStartIndex(i);
    d[i] = extreme.From(events.Recent(n));
  }
  ClearOutside(r, size);
  return r;
}

// ---- crossings ----------------------------------------------------------------

template <class Cross>
SVector Crossing(const SVector& a, const SVector& b, Cross crosses) {
  const int size = std::max(a.GetSize(), b.GetSize());
  const int end = std::min(size, ShortestReach({&a, &b}));
  SVector r(size);
  r.SetStartIndex(ShiftStart(std::max(LatestStart({&a, &b}), 0), 1));
  double* d = r.Data();
  for (int i = FirstBar(r); i < end; ++i) d[i] = crosses(a[i - 1], b[i - 1], a[i], b[i]) ? 1.0 : 0.0;
  ClearOutside(r, end);
  return r;
}

}  // namespace

// ---- conditional choice -------------------------------------------------------

SVector SeriesIf(SCalc& calc, const SVector& c, const SVector& a, const SVector& b) {
  const SVector& lead = c.IsSeries() ? c : a.IsSeries() ? a : b.IsSeries() ? b : calc.Close();
  const int size = lead.GetSize();
  const int end = std::min(size, ShortestReach({&c, &a, &b}));
  SVector r(size);
  r.SetStartIndex(LatestStart({&lead, &c, &a, &b}));
  double* d = r.Data();
  for (int i = FirstBar(r); i < end; ++i) d[i] = c[i] == 0.0 ? b[i] : a[i];
  ClearOutside(r, end);
  return r;
}

// ---- moving sums and averages -------------------------------------------------

SVector SeriesMoving(SCalc& calc, MovingKind kind, const SVector& x, int period) {
  const MovingRule& rule = RuleOf(kind);
  if (period < 1) return rule.periodError == TxAvgPeriod ? ReportAvgPeriod(calc) : calc.Error(rule.periodError);
  return MovingWindow(calc, kind, x, period);
}

// The cumulative form runs over the series' own bars, or over close's bars
// for a single number.
SVector SeriesMovingCum(SCalc& calc, MovingKind kind, const SVector& x) {
  const MovingRule& rule = RuleOf(kind);
  if (!rule.cumulative) return calc.Error(rule.formError);
  const int n = x.IsSeries() ? x.GetSize() : calc.Close().GetSize();
  if (kind == kMovingSum) return KeptRunningSum(calc, x, n);
  calc.MarkHistory();
  SVector r;
  (r.*rule.cumulative)(x, n);
  return r;
}

SVector MovingFormError(SCalc& calc, MovingKind kind) { return calc.Error(RuleOf(kind).formError); }

SVector SeriesMaMethod(SCalc& calc, const SVector& x, int period, int method) {
  constexpr MovingKind kByMethod[] = {kMovingAvg, kMovingEAvg, kMovingWAvg, kMovingGAvg, kMovingHAvg};
  const bool known = method >= 0 && method < static_cast<int>(std::size(kByMethod));
  return MovingWindow(calc, known ? kByMethod[method] : kMovingAvg, x, period);
}

SVector SeriesESum(SCalc& calc, const SVector& x, int period) {
  calc.MarkKeptHistory();
  if (period < 1) {
    std::string text = std::string(GetText(TxMovingAverage)) + " " + GetText(TxPeriodBelowOne);
    return calc.Error(text.c_str());
  }
  SVector scratch;
  const SVector& over = OverBars(calc, x, scratch);
  return OwnValueRecurrence(
      calc, KeptFunction::kESum, period, over, over.GetSize(), [&](SVector& r) { r.CalcESum(over, period); },
      [&](int from, int end, double r, double* out) { ESumRun(over.Data(), from, end, ESumKeep(period), r, out); });
}

SVector SeriesESumCum(SCalc& calc, const SVector& x) {
  calc.MarkHistory();
  SVector r;
  r.CalcESumCum(x, x.IsSeries() ? x.GetSize() : calc.Close().GetSize());
  return r;
}

SVector SeriesStdev(SCalc& calc, const SVector& x, int period) {
  SVector scratch;
  SVector r;
  r.CalcStdev(OverBars(calc, x, scratch), period);
  return r;
}

// ---- extremes -----------------------------------------------------------------

SVector SeriesHighest(SCalc& calc, const SVector& x, int period) {
  if (period < 1) return calc.Error(TxPeriodOverOne);
  if (period == 1) return x;
  SVector scratch;
  SVector r;
  r.CalcHighest(OverBars(calc, x, scratch), period);
  return r;
}

SVector SeriesLowest(SCalc& calc, const SVector& x, int period) {
  if (period < 1) return calc.Error(TxPeriodOverOne);
  if (period == 1) return x;
  SVector scratch;
  SVector r;
  r.CalcLowest(OverBars(calc, x, scratch), period);
  return r;
}

SVector SeriesMinOf(const SVector& acc, const SVector& y) {
  return FoldExtreme(acc, y, [](double r, double v) { return v < r ? v : r; });
}

SVector SeriesMaxOf(const SVector& acc, const SVector& y) {
  return FoldExtreme(acc, y, [](double r, double v) { return v > r ? v : r; });
}

// ---- delays -------------------------------------------------------------------

// A shift further than the series is long would move every value past the
// bars it could be shown on; the result then keeps x's length without a
// valid bar rather than growing by millions of empty bars.
SVector SeriesShift(SCalc& calc, const SVector& x0, int n) {
  // A delay reads only the n bars before, which a partial calculation gets
  // right from its restarted prices, as it does a window; a look ahead
  // changes older bars whenever a new one comes.
  if (n >= 0)
    calc.MarkKeptHistory();
  else
    calc.MarkHistory();
  SVector scratch;
  const SVector& x = OverBars(calc, x0, scratch);
  const int size0 = x.GetSize();
  if (n > size0) return NoValidBars(size0);
  const int size = static_cast<int>(std::max(0LL, static_cast<long long>(size0) + n));
  SVector r(size);
  // Never before bar n, so that i - n never reaches below bar 0.
  r.SetStartIndex(std::max(ShiftStart(x.GetStartIndex(), n), std::max(n, 0)));
  const double* src = x.Data();
  double* d = r.Data();
  for (int i = FirstBar(r); i < size; ++i) d[i] = src[i - n];
  ClearOutside(r, size);
  return r;
}

SVector SeriesRef(SCalc& calc, const SVector& x, int n) { return calc.Delayed(x, n); }

// ---- crossings ----------------------------------------------------------------

SVector SeriesCrossUp(const SVector& a, const SVector& b) {
  return Crossing(a, b, [](double a0, double b0, double a1, double b1) { return a0 <= b0 && a1 > b1; });
}

SVector SeriesCrossDown(const SVector& a, const SVector& b) {
  return Crossing(a, b, [](double a0, double b0, double a1, double b1) { return a0 >= b0 && a1 < b1; });
}

// ---- since counters -----------------------------------------------------------

// The n-th most recent non-zero c is kept in a ring of the last n such bars,
// so the reference bar is found in O(1) at every bar.
SVector SeriesValueWhen(SCalc& calc, int n, const SVector& c0, const SVector& x0) {
  calc.MarkHistory();
  SVector cs, xs;
  const SVector& c = OverBars(calc, c0, cs);
  const SVector& x = OverBars(calc, x0, xs);
  const int size = std::min(c.GetSize(), x.GetSize());
  const int first = std::max(FirstBar(c), FirstBar(x));
  SVector r(size);
  r.SetStartIndex(kInvalidStart);
  if (n < 1) {
    calc.Error(TxPositiveCount);
    ClearOutside(r, 0);
    return r;
  }
  double* d = r.Data();
  const double* cp = c.Data();
  const double* xp = x.Data();
  RecentBars events(std::min(n, std::max(size - first, 1)));
  int reference = first;
  for (int i = first; i < size; ++i) {
    events.Offer(i, cp[i] != 0.0);
    if (events.Has(n)) {
      // The count reaches n first on a non-zero bar: the start.
      if (r.GetStartIndex() > i) r.SetStartIndex(i);
      reference = events.Recent(n);
    }
    d[i] = xp[reference];
  }
  ClearOutside(r, size);
  return r;
}

// Counting starts at the first non-zero c (or at c's first valid bar when c
// is never non-zero).
SVector SeriesBarsSince(SCalc& calc, const SVector& c0) {
  calc.MarkHistory();
  SVector scratch;
  const SVector& c = OverBars(calc, c0, scratch);
  const int size = c.GetSize();
  const int found = c.FindFirstNonZeroIndex(FirstBar(c));
  SVector r(size);
  r.SetStartIndex(found >= 0 ? found : c.GetStartIndex());
  double* d = r.Data();
  double counter = 0.0;
  for (int i = FirstBar(r); i < size; ++i) {
    if (c[i] != 0.0) counter = 0.0;
    d[i] = counter;
    counter += 1.0;
  }
  ClearOutside(r, size);
  return r;
}

SVector SeriesCountSince(SCalc& calc, const SVector& a0, const SVector& b0) {
  calc.MarkHistory();
  SVector as, bs;
  const SVector& a = OverBars(calc, a0, as);
  const SVector& b = OverBars(calc, b0, bs);
  const int size = std::min(a.GetSize(), b.GetSize());
  SVector r(size);
  r.SetStartIndex(kInvalidStart);
  double* d = r.Data();
  double count = 0.0;
  for (int i = std::max(FirstBar(a), FirstBar(b)); i < size; ++i) {
    if (a[i] != 0.0) {
      count = 0.0;
      if (r.GetStartIndex() > i) r.SetStartIndex(i);
    }
    if (r.GetStartIndex() > i) continue;
    if (b[i] != 0.0) count += 1.0;
    d[i] = count;
  }
  ClearOutside(r, size);
  return r;
}

SVector SeriesHighestSince(SCalc& calc, int n, const SVector& c, const SVector& x) {
  return SinceExtreme(calc, n, c, x, TxHighestSinceFirst, true);
}

SVector SeriesLowestSince(SCalc& calc, int n, const SVector& c, const SVector& x) {
  return SinceExtreme(calc, n, c, x, TxLowestSinceFirst, false);
}

// ---- swing points -------------------------------------------------------------

SVector SeriesSwing(SCalc& calc, int high, int instance, const SVector& x, int strength, int length) {
  calc.MarkHistory();
  SVector scratch;
  return SwingPoints(high, instance, OverBars(calc, x, scratch), strength, length);
}

}  // namespace chartcalc::detail
