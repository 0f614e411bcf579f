// The bar-to-bar recurrences of the exponential average and sum, shared by
// the whole calculation and by the one that goes on from a kept value, so
// that both give the same bits; and the rebuild schedule of running window
// sums, which makes calculations that start at different bars agree.
#pragma once

#include <algorithm>

#include "chartcalc/SVector.h"

namespace chartcalc::detail {

// A running window sum is rebuilt from scratch at its first bar and at every
// bar that is a multiple of the period: the schedule is fixed by the bar
// index, so two calculations that start at different bars give the same
// bits from the first multiple of the period at or after the later start.
inline int BarsToRebuild(int bar, int period) { return period - bar % period; }
inline int SameSumsFrom(int first, int period) {
  if (first >= kInvalidStart || period < 1) return first;
  first = std::max(first, 0);
  const int past = first % period;
  return past == 0 ? first : ShiftStart(first, period - past);
}

inline double EAvgFactor(int period) { return 2.0 / (period + 1.0); }
inline double ESumKeep(int period) { return (period - 1.0) / period; }

// e[i] = e[i - 1] + alpha * (x[i] - e[i - 1]) over [from, end), e being the
// value at from - 1.
inline void EAvgRun(const double* x, int from, int end, double alpha, double e, double* out) {
  for (int i = from; i < end; ++i) out[i] = e += alpha * (x[i] - e);
}

// r[i] = r[i - 1] * keep + x[i] over [from, end), r being the value at from - 1.
inline void ESumRun(const double* x, int from, int end, double keep, double r, double* out) {
  for (int i = from; i < end; ++i) out[i] = r = r * keep + x[i];
}

}  // namespace chartcalc::detail
