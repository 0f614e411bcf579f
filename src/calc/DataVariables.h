// Computations behind the price-data and method words of the formula
// language, shared by the evaluator and by the postfix evaluation path.
#pragma once

#include "chartcalc/SVector.h"

namespace chartcalc::detail {

// The value of the averaging method word `name` in the current language
// (0 simple, 1 exponential, 2 weighted, 3 geometric, 4 harmonic), or
// kNoMethodWord when the name is none of them. Case is ignored.
inline constexpr int kNoMethodWord = 5;
int MethodWordIndex(const char* name);

// What a price word stands for: a bound price series (slot set to its
// PriceSlot), the date or time word, a reserved word without a value, or
// nothing (not a price word). Case is ignored; the current language's
// localised words count.
enum class DataWordKind { kNone, kBoundSeries, kDate, kTime, kReserved };
DataWordKind ClassifyDataWord(const char* name, int& slot);

// The calendar date of every bar of a date-time series: an intraday value
// (above 100,000,000) gives its YYYYMMDD part, a plain date itself. Every
// element is filled, not only the valid ones; size and start index are the
// date-time series'.
SVector DateOfBars(const SVector& dateTime);
// The time of day (hhmmss) of every bar, 0 for a plain date; filled and
// framed like DateOfBars.
SVector TimeOfBars(const SVector& dateTime);

}  // namespace chartcalc::detail
