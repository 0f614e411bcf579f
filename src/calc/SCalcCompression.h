// Compression functions of the formula language: the bound price series
// turned into one value per hour, day, month, year or group of bars, and a
// compressed series mapped back onto the bars. One free function per formula
// function, taking its arguments already read.
#pragma once

#include "chartcalc/SCalc.h"

namespace chartcalc::detail {

// How a compression groups bars. A name unit starts a group where the unit's
// part of the date-time (hour, day of month, month, year) differs from the
// bar before; a number unit makes groups of that many consecutive bars.
struct CompressUnit {
  enum Kind { kHour, kDay, kMonth, kYear, kBars };
  Kind kind = kHour;
  int bars = 0;  // group size of a number unit; below 1 is an error
};

// The bound series of `slot` compressed: one element per group, valid from
// the group that holds the series' first valid bar. A group's value is the
// last close or date-time, the first open, the highest high, the lowest low
// or the summed volume of its bars. Marks the history flag.
SVector CalcCompress(SCalc& calc, int slot, CompressUnit unit);

// x, a series compressed with the grouping whose last date-times are d,
// mapped back onto the bars: every bar takes the value of the first group
// whose last date-time is not earlier than the bar.
SVector CalcDeCompress(SCalc& calc, const SVector& x, const SVector& d);

// The compression of the bound series of `slot` by the unit written as the
// current token (the token after "("), stepping past a unit word or number.
SVector ReadAndCompress(SCalc& calc, int slot);

}  // namespace chartcalc::detail
