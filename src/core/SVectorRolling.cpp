// Rolling-window and cumulative calculations of SVector.
//
// Every rolling function has the same shape: the result gets one element per
// bar of the source, its start index is the source's start + period - 1, and
// one steady O(bars) loop fills the valid range, whatever the period.
// Running sums are rebuilt from scratch once every `period` bars: that keeps
// the rounding drift of add-and-subtract bounded to one window and lets a NaN
// that entered the window leave it again.
#include <algorithm>
#include <cmath>
#include <utility>

#include "chartcalc/SVector.h"
#include "core/Recurrences.h"

using namespace chartcalc::detail;

namespace {

// The result frame: one element per source bar, the warm-up start index.
// The warm-up bars before the start index are not written: they carry no
// meaning, copies and delays never carry them, and on a partial calculation
// over the newest bars they are nearly the whole history.
SVector Frame(const SVector& src, int period) {
  SVector out(src.GetSize());
  out.SetStartIndex(period < 1 ? kInvalidStart : ShiftStart(std::max(src.GetStartIndex(), 0), period - 1));
  return out;
}

// First and one-past-last bar of the frame's valid range (empty when none).
bool ValidRange(const SVector& out, int& first, int& end) {
  first = std::max(out.GetStartIndex(), 0);
  end = out.GetSize();
  return out.GetStartIndex() < kInvalidStart && first < end;
}

// Calls emit(i, sum) with the sum of f(x) over the window of `p` bars ending at
// each bar i of [first, end). The sum is rebuilt on the schedule of
// BarsToRebuild, which a later start joins at its first multiple of p.
template <class F, class Emit>
void WindowSums(const double* x, int first, int end, int p, F f, Emit emit) {
  double sum = 0.0;
  int rebuild = 0;
  for (int i = first; i < end; ++i) {
    if (rebuild == 0) {
      sum = 0.0;
      for (int k = i - p + 1; k <= i; ++k) sum += f(x[k]);
      rebuild = BarsToRebuild(i, p);
    } else {
      sum += f(x[i]) - f(x[i - p]);
    }
    --rebuild;
    emit(i, sum);
  }
}

const auto kIdentity = [](double v) { return v; };

// Window extremes by the van Herk / Gil-Werman method: cut the bars into
// blocks of `p` from the first window's first bar; the extreme of a window is
// the better of the running extreme from its first bar to the end of that
// block and the running extreme from the next block's start to its last bar.
// Three comparisons per bar, whatever the period.
template <class Better>
void WindowExtreme(const double* x, int first, int end, int p, double* out, Better better) {
  const int from = first - p + 1;
  SVector suffixBuffer(end);
  double* suffix = suffixBuffer.Data();
  for (int b = from; b < end; b += p) {
    const int e = std::min(b + p, end);
    out[b] = x[b];
    for (int i = b + 1; i < e; ++i) out[i] = better(x[i], out[i - 1]) ? x[i] : out[i - 1];
    suffix[e - 1] = x[e - 1];
    for (int i = e - 2; i >= b; --i) suffix[i] = better(x[i], suffix[i + 1]) ? x[i] : suffix[i + 1];
  }
  for (int i = first; i < end; ++i) {
    const double head = suffix[i - p + 1];
    if (better(head, out[i])) out[i] = head;
  }
}

}  // namespace

void SVector::CalcSum(const SVector& src, int period) {
  SVector out = Frame(src, period);
  int first, end;
  if (ValidRange(out, first, end)) {
    double* d = out.Data();
    WindowSums(src.Data(), first, end, period, kIdentity, [d](int i, double s) { d[i] = s; });
  }
  *this = std::move(out);
}

void SVector::CalcAvg(const SVector& src, int period) {
  SVector out = Frame(src, period);
  int first, end;
  if (ValidRange(out, first, end)) {
    double* d = out.Data();
    const double inv = 1.0 / period;
    WindowSums(src.Data(), first, end, period, kIdentity, [d, inv](int i, double s) { d[i] = s * inv; });
  }
  *this = std::move(out);
}

// Exponential average with the smoothing factor 2 / (period + 1) that traders
// expect; it is seeded with the simple average of the first window, so its
// first valid bar is the same as the simple average's.
void SVector::CalcEAvg(const SVector& src, int period) {
  SVector out = Frame(src, period);
  int first, end;
  if (ValidRange(out, first, end)) {
    const double* x = src.Data();
    double* d = out.Data();
    double e = 0.0;
    for (int k = first - period + 1; k <= first; ++k) e += x[k];
    e /= period;
    d[first] = e;
    EAvgRun(x, first + 1, end, EAvgFactor(period), e, d);
  }
  *this = std::move(out);
}

namespace {

// The weighted and the plain sum of a window, side by side in one register
// pair, so that a term goes into both with one multiply and one add. Each
// lane rounds as the scalar operation would.
using WindowPair = double __attribute__((vector_size(16)));

// Folds bar value y into both sums with its weight and steps the weight down
// to the next, older bar's (the plain sum's weight stays 1).
inline void AddWeighted(WindowPair& sums, WindowPair& weight, double y) {
  constexpr WindowPair kOlder = {1.0, 0.0};
  sums += weight * WindowPair{y, y};
  weight -= kOlder;
}

// The sums of the window of p bars whose newest bar is *head, taken afresh
// newest bar first, the newest weighing p.
WindowPair FreshWindowSums(const double* head, int p) {
  WindowPair sums = {0.0, 0.0}, weight = {static_cast<double>(p), 1.0};
  for (int m = 0; m < p; ++m) AddWeighted(sums, weight, head[-m]);
  return sums;
}

// Fills d[first, end) with the weighted averages of x. The bars go in blocks
// of p, the sums taken afresh at each block's first bar and slid through the
// rest with W(i) = W(i-1) + p * x[i] - S(i-1). While a block slides, the next
// block's fresh sums are gathered one term a bar beside it: their chain does
// not depend on the sliding sums, so the two overlap, where a rebuild run on
// its own stalls the sliding chain for p dependent adds once a window.
void WeightedAverages(const double* x, int first, int end, int p, double* d) {
  const double norm = 2.0 / (static_cast<double>(p) * (p + 1.0));
  const double newest = p;
  WindowPair sums = FreshWindowSums(x + first, p);
  int block = first;
  for (;; block += p) {
    double w = sums[0], s = sums[1];
    d[block] = w * norm;
    const bool last = end - block <= p;
    const int blockEnd = last ? end : block + p;
    if (last) {
      for (int i = block + 1; i < blockEnd; ++i) {
        w += newest * x[i] - s;
        s += x[i] - x[i - p];
        d[i] = w * norm;
      }
      return;
    }
    const double* next = x + blockEnd;  // the newest bar of the next block's first window
    WindowPair nextSums = {0.0, 0.0}, weight = {newest, 1.0};
    for (int i = block + 1; i < blockEnd; ++i) {
      w += newest * x[i] - s;
      s += x[i] - x[i - p];
      d[i] = w * norm;
      AddWeighted(nextSums, weight, next[block + 1 - i]);
    }
    AddWeighted(nextSums, weight, next[1 - p]);
    sums = nextSums;
  }
}

}  // namespace

// Linearly weighted average: the newest bar weighs `period`, the oldest 1.
void SVector::CalcWAvg(const SVector& src, int period) {
  SVector out = Frame(src, period);
  int first, end;
  if (ValidRange(out, first, end)) WeightedAverages(src.Data(), first, end, period, out.Data());
  *this = std::move(out);
}

// Exponential sum: the window sum at the first valid bar, then
// r[i] = r[i-1] * (period - 1) / period + x[i].
void SVector::CalcESum(const SVector& src, int period) {
  SVector out = Frame(src, period);
  int first, end;
  if (ValidRange(out, first, end)) {
    const double* x = src.Data();
    double* d = out.Data();
    double r = 0.0;
    for (int k = first - period + 1; k <= first; ++k) r += x[k];
    d[first] = r;
    ESumRun(x, first + 1, end, ESumKeep(period), r, d);
  }
  *this = std::move(out);
}

// Triangular average: a simple average of a simple average, the two periods
// (period / 2 + 1 and (period + 1) / 2) adding up to period + 1 so that the
// first valid bar is the same as the simple average's.
void SVector::CalcTAvg(const SVector& src, int period) {
  if (period < 1) {
    *this = Frame(src, period);
    return;
  }
  SVector inner;
  inner.CalcAvg(src, period / 2 + 1);
  CalcAvg(inner, period - period / 2);
}

// Geometric average exp(mean(log x)). A window holding a value at or below
// zero has no geometric mean; it gives 0.
void SVector::CalcGAvg(const SVector& src, int period) {
  SVector out = Frame(src, period);
  int first, end;
  if (ValidRange(out, first, end)) {
    const double* x = src.Data();
    double* d = out.Data();
    SVector logBuffer(end), badBuffer(end);
    double* logs = logBuffer.Data();
    double* bad = badBuffer.Data();
    for (int k = first - period + 1; k < end; ++k) {
      bool ok = x[k] > 0.0;
      logs[k] = ok ? std::log(x[k]) : 0.0;
      bad[k] = ok ? 0.0 : 1.0;
    }
    const double inv = 1.0 / period;
    WindowSums(logs, first, end, period, kIdentity, [&](int i, double s) { d[i] = s * inv; });
    WindowSums(bad, first, end, period, kIdentity, [&](int i, double s) { d[i] = s > 0.5 ? 0.0 : std::exp(d[i]); });
  }
  *this = std::move(out);
}

// Harmonic average period / sum(1 / x). A window holding a zero gives 0.
void SVector::CalcHAvg(const SVector& src, int period) {
  SVector out = Frame(src, period);
  int first, end;
  if (ValidRange(out, first, end)) {
    double* d = out.Data();
    auto inverse = [](double v) { return v == 0.0 ? 0.0 : 1.0 / v; };
    auto zero = [](double v) { return v == 0.0 ? 1.0 : 0.0; };
    WindowSums(src.Data(), first, end, period, inverse, [&](int i, double s) { d[i] = s; });
    WindowSums(src.Data(), first, end, period, zero,
               [&](int i, double z) { d[i] = (z > 0.5 || d[i] == 0.0) ? 0.0 : period / d[i]; });
  }
  *this = std::move(out);
}

// Standard deviation with the population divisor (period), as Bollinger bands
// use it. The sums are taken of x minus the first valid value, which keeps the
// difference of squares accurate for prices far from zero.
void SVector::CalcStdev(const SVector& src, int period) {
  SVector out = Frame(src, period);
  int first, end;
  if (ValidRange(out, first, end)) {
    const double* x = src.Data();
    double* d = out.Data();
    const double k = x[first - period + 1];
    const double inv = 1.0 / period;
    double s1 = 0.0, s2 = 0.0;
    int rebuild = 0;
    for (int i = first; i < end; ++i) {
      if (rebuild == 0) {
        s1 = s2 = 0.0;
        for (int j = i - period + 1; j <= i; ++j) s1 += x[j] - k, s2 += (x[j] - k) * (x[j] - k);
        rebuild = period;
      } else {
        const double a = x[i] - k, b = x[i - period] - k;
        s1 += a - b;
        s2 += a * a - b * b;
      }
      --rebuild;
      const double mean = s1 * inv, var = s2 * inv - mean * mean;
      d[i] = var > 0.0 ? std::sqrt(var) : 0.0;
    }
  }
  *this = std::move(out);
}

void SVector::CalcHighest(const SVector& src, int period) {
  SVector out = Frame(src, period);
  int first, end;
  if (ValidRange(out, first, end))
    WindowExtreme(src.Data(), first, end, period, out.Data(), [](double a, double b) { return a > b; });
  *this = std::move(out);
}

void SVector::CalcLowest(const SVector& src, int period) {
  SVector out = Frame(src, period);
  int first, end;
  if (ValidRange(out, first, end))
    WindowExtreme(src.Data(), first, end, period, out.Data(), [](double a, double b) { return a < b; });
  *this = std::move(out);
}

// ---- cumulative forms -------------------------------------------------------

namespace {

// The cumulative frame: n elements (no more than a true series holds), valid
// from the source's start index. step(k, x, acc) folds bar x, the k-th valid
// bar (1-based), into acc and returns the value to store.
template <class Step>
SVector Cumulative(const SVector& src, int n, Step step) {
  if (src.IsSeries()) n = std::min(n, src.GetSize());
  n = std::max(n, 0);
  SVector out(n);
  int s = std::max(src.GetStartIndex(), 0);
  out.SetStartIndex(src.GetStartIndex());
  double* d = out.Data();
  double acc = 0.0;
  for (int i = s; i < n; ++i) d[i] = step(i - s + 1, i, src[i], acc);
  return out;
}

}  // namespace

void SVector::CalcSumCum(const SVector& src, int n) {
  *this = Cumulative(src, n, [](int, int, double x, double& acc) { return acc += x; });
}

void SVector::CalcAvgCum(const SVector& src, int n) {
  *this = Cumulative(src, n, [](int k, int, double x, double& acc) { return (acc += x) / k; });
}

// The cumulative exponential average uses the factor 2 / (k + 1) at the k-th
// bar, so every bar so far counts as the period: the first bar is taken as it
// is and the average settles as history grows.
void SVector::CalcEAvgCum(const SVector& src, int n) {
  *this = Cumulative(
      src, n, [](int k, int, double x, double& acc) { return acc = (k == 1) ? x : acc + 2.0 / (k + 1.0) * (x - acc); });
}

// Weights 1 .. k over the k bars so far, the newest weighing k.
void SVector::CalcWAvgCum(const SVector& src, int n) {
  *this = Cumulative(src, n, [](int k, int, double x, double& acc) {
    acc += k * x;
    return acc * 2.0 / (static_cast<double>(k) * (k + 1.0));
  });
}

// r[s] = x[s]; later r[i] = ((i - 1) / i) * r[i - 1] + x[i] with i the bar
// number itself.
void SVector::CalcESumCum(const SVector& src, int n) {
  *this = Cumulative(src, n,
                     [](int k, int i, double x, double& acc) { return acc = (k == 1) ? x : (i - 1.0) / i * acc + x; });
}
