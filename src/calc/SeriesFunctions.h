// Computations behind the series functions of the formula language, on
// arguments that are already evaluated. Both evaluators call these through
// the functions' rows (SCalcFunctionTable.cpp), the recursive one with the
// arguments it read, the postfix one with arguments from its stack.
//
// Each function reports its own argument errors through the engine (and then
// returns the engine's empty value unless noted), reads the bound close series
// where a single number must be spread over the bars, and marks the engine's
// history flag when its value at a bar depends on every bar before it.
//
// A single number (series flag zero) stands for its value at every bar.
// Every function costs O(bars), whatever its period or count.
#pragma once

#include "chartcalc/SVector.h"

class SCalc;

namespace chartcalc::detail {

// The moving sums and averages that share the "name(x [, period])" form.
enum MovingKind { kMovingSum, kMovingAvg, kMovingEAvg, kMovingWAvg, kMovingTAvg, kMovingGAvg, kMovingHAvg };

// if(c, a, b): a where c is non-zero (NaN included), b where c is 0. Framed by
// the first true series among c, a, b (else by close); valid from the latest
// start index.
SVector SeriesIf(SCalc& calc, const SVector& c, const SVector& a, const SVector& b);

// The period form: a period below 1 reports the kind's period message.
SVector SeriesMoving(SCalc& calc, MovingKind kind, const SVector& x, int period);
// The one-argument form: cumulative over all valid bars so far. tavg, gavg
// and havg have none and report the kind's unknown-form message.
SVector SeriesMovingCum(SCalc& calc, MovingKind kind, const SVector& x);
// The message for a call whose argument list has neither form.
SVector MovingFormError(SCalc& calc, MovingKind kind);

// ma(x, period, method): method 0 simple, 1 exponential, 2 weighted,
// 3 geometric, 4 harmonic, any other simple. The period is not checked here:
// below 1 it leaves no valid bar.
SVector SeriesMaMethod(SCalc& calc, const SVector& x, int period, int method);

// esum(x, period) and esum(x): r[i] = r[i-1] * (period - 1) / period + x[i]
// from the first window's sum; the cumulative form uses the bar number.
SVector SeriesESum(SCalc& calc, const SVector& x, int period);
SVector SeriesESumCum(SCalc& calc, const SVector& x);

// stdev(x, period), unchecked period.
SVector SeriesStdev(SCalc& calc, const SVector& x, int period);
// highest / lowest over `period` bars; period 1 returns x itself.
SVector SeriesHighest(SCalc& calc, const SVector& x, int period);
SVector SeriesLowest(SCalc& calc, const SVector& x, int period);

// One step of min(x, y, ...) / max(x, y, ...): the bar-wise smaller (larger)
// of acc and y, valid from the later start index, as long as the shorter.
SVector SeriesMinOf(const SVector& acc, const SVector& y);
SVector SeriesMaxOf(const SVector& acc, const SVector& y);

// shift(x, n): x moved n bars later and lengthened by n (a negative n moves
// later values earlier and shortens x).
SVector SeriesShift(SCalc& calc, const SVector& x, int n);
// ref(x, n): x delayed by n bars.
SVector SeriesRef(SCalc& calc, const SVector& x, int n);

// 1 on the bar where a crosses above (below) b, else 0; valid from one bar
// after the later start index.
SVector SeriesCrossUp(const SVector& a, const SVector& b);
SVector SeriesCrossDown(const SVector& a, const SVector& b);

// valuewhen(n, c, x): x at the bar of the n-th most recent non-zero c. n below
// 1 reports its message and returns a series without valid bars.
SVector SeriesValueWhen(SCalc& calc, int n, const SVector& c, const SVector& x);
// BarsSince(c): bars since the most recent non-zero c (0 on such a bar).
SVector SeriesBarsSince(SCalc& calc, const SVector& c);
// CountSince(a, b): non-zero b since the most recent non-zero a, that bar
// included.
SVector SeriesCountSince(SCalc& calc, const SVector& a, const SVector& b);
// HighestSince(n, c, x) / LowestSince: the extreme of x since the n-th most
// recent non-zero c, valid from the bar where c has been non-zero n times.
SVector SeriesHighestSince(SCalc& calc, int n, const SVector& c, const SVector& x);
SVector SeriesLowestSince(SCalc& calc, int n, const SVector& c, const SVector& x);

// swinghigh / swinglow (k, x, strength, length): the k-th most recent swing
// point within the window (see Swing.h).
SVector SeriesSwing(SCalc& calc, int high, int instance, const SVector& x, int strength, int length);

}  // namespace chartcalc::detail
