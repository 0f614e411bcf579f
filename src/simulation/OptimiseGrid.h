// Internal: the run grid of an optimisation, as plain arithmetic: how many
// values a variable range gives and which one run k takes, the compression
// factors of the time kind, and which units a worker's share holds.
//
// Counts are 64-bit and saturate at kMaxRunCount, so ten variables with
// huge ranges give a huge count rather than a wrapped (or negative) one.
#pragma once

#include <algorithm>
#include <cmath>
#include <limits>

namespace chartcalc::detail {

inline constexpr long long kMaxRunCount = std::numeric_limits<long long>::max();

// Added to the number of steps before it is truncated, so that a range
// whose steps do not add up exactly in binary (0.1 to 0.5 by 0.1) still
// reaches its end value.
inline constexpr double kStepCountSlack = 1.00001;

// A variable's optimisation range as its texts give it.
struct ValueRange {
  double start = 0.0, end = 0.0, step = 0.0;
};

// True when the step cannot lead from start to end: a zero step, or one
// pointing away from end (start at or beyond end counts as away). Such a
// range has its start value only.
inline bool StandsStill(double start, double end, double step) {
  return step == 0 || (step > 0 && start >= end) || (step < 0 && end >= start);
}

// The number of values of the range, at least 1. A range that is not
// finite (an overflowing text) is a single value rather than a count
// that cannot be represented.
inline long long ValueCount(const ValueRange& r) {
  if (!std::isfinite(r.start) || !std::isfinite(r.end) || !std::isfinite(r.step)) return 1;
  if (StandsStill(r.start, r.end, r.step)) return 1;
  const double count = std::floor((r.end - r.start) / r.step + kStepCountSlack);
  // 2^63 is exact in a double, so every count below it converts.
  if (!(count < static_cast<double>(kMaxRunCount))) return kMaxRunCount;
  return std::max(static_cast<long long>(count), 1LL);
}

inline long long SaturatingProduct(long long a, long long b) {
  if (a <= 0 || b <= 0) return 0;
  return a > kMaxRunCount / b ? kMaxRunCount : a * b;
}

// The value index of one variable in a run: `rest` starts as the run
// number and is divided by each variable's count in turn, so variable 0
// changes fastest and no product of counts is ever formed.
inline long long NextValueIndex(long long& rest, long long count) {
  const long long index = rest % count;
  rest /= count;
  return index;
}

// The compression factors of the time kind: start + f * step for
// f = 0 .. count - 1, all between the (at least 1) start and end.
struct FactorRange {
  long long start = 1, step = 1, count = 1;
  int Factor(long long f) const { return static_cast<int>(start + f * step); }
};

inline FactorRange CompressionFactors(int start, int end, int step) {
  const long long s = std::max(start, 1), e = std::max(end, 1);
  if (step == 0 || (step > 0 && s >= e) || (step < 0 && s <= e)) return {s, step, 1};
  return {s, step, (e - s) / step + 1};
}

// The units a worker runs: every stride-th from first. Anything else than
// 0 <= first < stride is the whole grid.
struct RunSubset {
  int first = 0, stride = 1;

  static RunSubset Of(int first, int stride) {
    if (stride < 1 || first < 0 || first >= stride) return {};
    return {first, stride};
  }
  // Calls run(unit) for the units of 0 .. count - 1 in this share, in
  // order, until it returns false; false then. Never steps past count, so
  // a saturated count cannot overflow the unit.
  template <typename Run>
  bool ForEach(long long count, Run run) const {
    for (long long unit = first; unit < count; unit += stride) {
      if (!run(unit)) return false;
      if (count - unit <= stride) break;
    }
    return true;
  }
};

}  // namespace chartcalc::detail
