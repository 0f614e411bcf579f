// Kagi lines of a close series: the line follows the price and turns only
// when the price moves against it by more than a reversal amount. Also the
// pieces every segment chart (Kagi, swing, line break) shares: the closes it
// reads and the segments it writes to the indicator's lines.
#pragma once

#include <span>
#include <vector>

#include "chartcalc/SIndexProp.h"
#include "chartcalc/SVector.h"

namespace chartcalc::detail {

// The closes and date-times a segment chart reads, with the close series'
// first valid bar (bars below it hold 0).
struct CloseInput {
  std::span<const double> close;
  std::span<const double> dateTime;
  int start = 0;

  int Size() const { return static_cast<int>(close.size()); }
  // A date-time series shorter than the closes (or none) dates the rest 0.
  double DateTime(int i) const { return static_cast<size_t>(i) < dateTime.size() ? dateTime[i] : 0.0; }
};

// The bound series as a CloseInput; null or empty series read as no bars.
// The start index is clamped into the series, so a negative one reads from
// bar 0 and an invalid one (beyond the end) leaves no bar to read.
CloseInput CloseInputOf(const SVector* close, const SVector* dateTime);

// The first non-zero close at or after the start index; 0 when there is
// none (a NaN counts as non-zero, as it does for the series' own lookup).
double FirstNonZeroClose(const CloseInput& in);

// One output element of a segment chart, lines 0 to 3 of the indicator: the
// date-time and index of the bar that ends it, the prices it runs between.
struct ChartSegment {
  double dateTime;
  double bar;
  double start;
  double end;
};

// The Kagi segments of the closes for a reversal amount (any finite or
// infinite value; the caller replaces 0). Empty when every close is 0.
std::vector<ChartSegment> KagiSegments(const CloseInput& in, double reversal);

// Lines 0 to 3 receive the segments' fields in order, line 4 is emptied.
void WriteChartSegments(std::span<const ChartSegment> segments, SVector (&lines)[kIndexLines]);

}  // namespace chartcalc::detail
