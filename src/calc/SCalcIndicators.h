// Day values, indicators, regression statistics, the parabolic stop and the
// zigzag line of the formula language: one free function per formula
// function, taking arguments that are already evaluated.
//
// Both evaluators call these through the functions' rows
// (SCalcFunctionTable.cpp), with the arguments read from the formula or taken
// from the postfix stack. Each function reads the bound price series
// it needs from the engine, reports its own argument errors and marks the
// engine's history flag when its value at a bar depends on all the bars before.
#pragma once

#include <algorithm>
#include <initializer_list>

#include "chartcalc/SCalc.h"

namespace chartcalc::detail {

// Day values (SCalcDayFunctions.cpp). A day is the calendar date of a bar;
// the first day in the data may be incomplete and is never used as a full day.
SVector CalcDayOpen(SCalc& calc);
SVector CalcDayHigh(SCalc& calc);
SVector CalcDayLow(SCalc& calc);
SVector CalcPreDayOpen(SCalc& calc);
SVector CalcPreDayHigh(SCalc& calc);
SVector CalcPreDayLow(SCalc& calc);
SVector CalcPreDayClose(SCalc& calc);
SVector CalcDayIndex(SCalc& calc);

// Indicators over the bound price series (SCalcIndicatorFunctions.cpp).
SVector CalcCci(SCalc& calc, int period);
SVector CalcNvi(SCalc& calc, const SVector& x);
SVector CalcPvi(SCalc& calc, const SVector& x);
SVector CalcAd(SCalc& calc);
SVector CalcPvt(SCalc& calc);
SVector CalcRsi(SCalc& calc, int period);
SVector CalcSar(SCalc& calc, double step, double maximum);
SVector CalcCSar(SCalc& calc, double step, double maximum);
SVector CalcZigZagLine(SCalc& calc, double percent);

// Regression statistics over windows of `period` bars.
SVector CalcLinearRegressionValue(SCalc& calc, const SVector& x, int period, int barsBack);
SVector CalcLinearRegressionSlope(SCalc& calc, const SVector& x, int period);
SVector CalcCorrelation(SCalc& calc, const SVector& a, const SVector& b, int period);
SVector CalcRSquared(SCalc& calc, const SVector& x, int period);

// Helpers shared by these functions.

// A result frame of n bars with the given start index whose valid bars hold
// 0. The bars below the start carry no meaning and are not written (on a
// partial calculation over the newest bars they are nearly the whole
// history); a frame whose start is still to be found (at or beyond n, as
// kInvalidStart) is zeroed whole, since its caller may move the start down.
inline SVector ZeroSeries(int n, int start) {
  SVector r(n);
  const int from = start >= r.GetSize() ? 0 : std::max(start, 0);
  std::fill(r.Data() + from, r.Data() + r.GetSize(), 0.0);
  r.SetStartIndex(start);
  return r;
}

// A result frame of n bars valid from start (below n), for a computation that
// writes every valid bar itself: zeroing them first would cost a pass over
// the whole history.
inline SVector UnfilledSeries(int n, int start) {
  SVector r(n);
  r.SetStartIndex(start);
  return r;
}

// The number of bars every one of the series has.
inline int CommonSize(std::initializer_list<const SVector*> series) {
  int n = -1;
  for (const SVector* s : series) n = n < 0 ? s->GetSize() : std::min(n, s->GetSize());
  return std::max(n, 0);
}

// Counts the bars of a sliding window whose value differs from the bar
// before. A window without any is flat: an exact test, where a variance
// taken from running sums would leave rounding noise of the values that
// passed through the sums before.
struct WindowChanges {
  int changes = 0;
  // The window of n bars ending at bar i, counted afresh.
  void Recount(const double* x, int i, int n) {
    changes = 0;
    for (int k = i - n + 2; k <= i; ++k) changes += x[k] != x[k - 1];
  }
  // The window moved from ending at bar i - 1 to ending at bar i.
  void Slide(const double* x, int i, int n) {
    if (n > 1) changes += (x[i] != x[i - 1]) - (x[i - n + 1] != x[i - n]);
  }
  bool Flat() const { return changes == 0; }
};

}  // namespace chartcalc::detail
