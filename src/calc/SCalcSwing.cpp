// Swing points and the zigzag line built from them.
//
// Finding the swing points costs O(bars) whatever the strength and length:
// whether a bar is a swing point is decided once, from rolling extremes of
// its neighbours, and each bar then picks the instance-th most recent swing
// point inside its window from the sorted list of swing bars.
#include <algorithm>
#include <cmath>
#include <vector>

#include "calc/Swing.h"
#include "chartcalc/SCalc.h"

using namespace chartcalc::detail;

namespace {

// Number of NaNs among the first k elements of x, for k = 0 .. n: a NaN next
// to a candidate makes every comparison with it fail, so the candidate is no
// swing point.
std::vector<int> NanCounts(const double* x, int n) {
  std::vector<int> counts(static_cast<size_t>(n) + 1, 0);
  for (int i = 0; i < n; ++i) counts[i + 1] = counts[i] + (std::isnan(x[i]) ? 1 : 0);
  return counts;
}

// The bars c of price (from its start index on) that are swing points, in
// ascending order. roll[j] is the extreme (highest for swing highs, lowest
// for swing lows) of the `strength` bars ending at j.
std::vector<int> SwingBars(bool high, const SVector& price, int strength) {
  std::vector<int> bars;
  const int n = price.GetSize();
  const int lo = std::max(price.GetStartIndex(), 0);
  const long long firstCandidate = static_cast<long long>(lo) + strength;
  const long long lastCandidate = static_cast<long long>(n) - 1 - strength;
  if (firstCandidate > lastCandidate) return bars;
  SVector roll;
  if (high)
    roll.CalcHighest(price, strength);
  else
    roll.CalcLowest(price, strength);
  const double* p = price.Data();
  const double* w = roll.Data();
  const std::vector<int> nans = NanCounts(p, n);
  for (int c = static_cast<int>(firstCandidate); c <= lastCandidate; ++c) {
    if (nans[c + strength + 1] != nans[c - strength]) continue;
    const bool before = high ? w[c - 1] <= p[c] : w[c - 1] >= p[c];
    const bool after = high ? w[c + strength] < p[c] : w[c + strength] > p[c];
    if (before && after) bars.push_back(c);
  }
  return bars;
}

// The greater (later) of the start indices, never below bar 0.
int LatestStart(std::initializer_list<const SVector*> series) {
  int s = 0;
  for (const SVector* v : series) s = std::max(s, v->GetStartIndex());
  return s;
}

int SmallestSize(std::initializer_list<const SVector*> series) {
  int n = series.size() ? (*series.begin())->GetSize() : 0;
  for (const SVector* v : series) n = std::min(n, v->GetSize());
  return n;
}

enum Direction { kNone, kUp, kDown };

// The zigzag's walk: the last pivot, its bar and the leg's direction.
struct ZigZagWalk {
  double pivot;
  int pivotBar;
  Direction direction;
  double* line;

  // A swing point at `bar` in direction `dir`: it extends the running leg, or
  // confirms the last pivot and starts a new leg when it lies beyond
  // `threshold`; otherwise it is ignored.
  void Visit(Direction dir, double price, int bar, double threshold) {
    const bool beyondPivot = dir == kUp ? price >= pivot : price <= pivot;
    const bool beyondThreshold = dir == kUp ? price >= threshold : price <= threshold;
    if (direction == dir) {
      if (!beyondPivot) return;
    } else {
      if (!beyondThreshold) return;
      line[pivotBar] = pivot;
      direction = dir;
    }
    pivot = price;
    pivotBar = bar;
  }
};

}  // namespace

SVector chartcalc::detail::SwingPoints(int high, int instance, const SVector& price, int strength, int length) {
  const int n = price.GetSize();
  SVector r(n);
  double* d = r.Data();
  std::fill(d, d + n, kNoSwing);
  if (instance < 1 || strength < 1 || length < 1) {
    r.SetStartIndex(ShiftStart(n, 10000));
    return r;
  }
  r.SetStartIndex(ShiftStart(price.GetStartIndex(), static_cast<long long>(length) + 1));
  const std::vector<int> swings = SwingBars(high != 0, price, strength);
  size_t seen = 0;  // swing bars at or before the newest candidate
  for (int i = std::max(r.GetStartIndex(), 0); i < n; ++i) {
    const long long newest = static_cast<long long>(i) - strength;
    const long long oldest = static_cast<long long>(i) - length + 1;
    while (seen < swings.size() && swings[seen] <= newest) ++seen;
    if (seen < static_cast<size_t>(instance)) continue;
    const int c = swings[seen - static_cast<size_t>(instance)];
    if (c >= oldest) d[i] = price.Data()[c];
  }
  return r;
}

// A swing point flagged at bar i belongs to bar i - 1 (the swing series are
// built with strength 1 and length 2), so a pivot is written one bar back.
SVector chartcalc::detail::ZigZagLine(double percent, const SVector& swingHigh, const SVector& swingLow, const SVector& high,
                   const SVector& low) {
  const int first = LatestStart({&swingHigh, &swingLow, &high, &low});
  const int n = std::max(SmallestSize({&swingHigh, &swingLow, &high, &low}), 0);
  SVector r(n);
  double* d = r.Data();
  std::fill(d, d + n, 0.0);
  r.SetStartIndex(first);
  if (first >= n) return r;
  ZigZagWalk walk{(high[first] + low[first]) * 0.5, 0, kNone, d};
  d[first] = walk.pivot;
  const double up = 1.0 + percent * 0.01, down = 1.0 - percent * 0.01;
  for (int i = first; i < n; ++i) {
    const int bar = std::max(i - 1, 0);
    if (swingHigh[i] != kNoSwing)
      walk.Visit(kUp, swingHigh[i], bar, up * walk.pivot);
    else if (swingLow[i] != kNoSwing)
      walk.Visit(kDown, swingLow[i], bar, down * walk.pivot);
  }
  d[walk.pivotBar] = walk.pivot;
  return r;
}

SVector SCalc::CalcSwingHighLow(int high, int instance, SVector& price, int strength, int length) {
  return SwingPoints(high, instance, price, strength, length);
}

SVector SCalc::CalcZigZag(double percent, SVector& swingHigh, SVector& swingLow, SVector& high, SVector& low) {
  return ZigZagLine(percent, swingHigh, swingLow, high, low);
}
