// The counter-clockwise curve (average close against average volume, bar by
// bar) and the candle-volume chart (candles as wide as their volume): the
// parts of both that do not need the formula engine.
#pragma once

#include <span>

#include "chartcalc/SString.h"
#include "chartcalc/SVector.h"

namespace chartcalc::detail {

// The averaging period a reset writes, and the one an unreadable text gives.
inline constexpr long kCounterClockResetPeriod = 20;
inline constexpr long kCounterClockUnreadablePeriod = 25;

// The averaging period written in text (25 when unreadable); a period of 0
// is rewritten in text as 20 and read as 20.
long CounterClockPeriod(SString& text);

// The formula "avg(<series>,<period>)" with the period written as "%ld".
SString AverageFormula(char series, long period);

// dates becomes a copy of dateTime and bars the bar numbers 0, 1, 2, ...;
// both start at bar period - 1, the first bar with a full average.
void FillBarAxes(std::span<const double> dateTime, long period, SVector& dates, SVector& bars);

// out becomes, for each of `bars` bars, the bar's volume times the average
// volume of the bars. volume holds the bars' volumes from the first bar on;
// a bar past its end counts as volume 0.
void CandleVolumeWeights(std::span<const double> volume, int bars, SVector& out);

}  // namespace chartcalc::detail
