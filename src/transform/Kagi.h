// Kagi lines of a close series: the line follows the price and turns only
// when the price moves against it by more than a reversal amount. Also the
// pieces every segment chart (Kagi, swing, line break) shares: the closes it
// reads and the segments it writes to the indicator's lines.
#pragma once

#include <span>

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

// Writes segments straight into an indicator's lines: lines 0 to 3 receive
// each segment's fields, line 4 stays empty. The lines keep their buffers
// from the last calculation, so a recalculation allocates nothing (a
// temporary list of segments would cost more than the pass itself).
class SegmentWriter {
 public:
  explicit SegmentWriter(SVector (&lines)[kIndexLines]);
  ~SegmentWriter();  // sets the lines' sizes
  SegmentWriter(const SegmentWriter&) = delete;
  SegmentWriter& operator=(const SegmentWriter&) = delete;

  void Add(const ChartSegment& s) {
    if (n_ == capacity_ && !Grow()) return;
    data_[0][n_] = s.dateTime;
    data_[1][n_] = s.bar;
    data_[2][n_] = s.start;
    data_[3][n_] = s.end;
    ++n_;
  }
  int Count() const { return n_; }

 private:
  static constexpr int kSegmentLines = 4;
  bool Grow();  // false when the lines cannot grow (no memory, INT_MAX)

  SVector (&lines_)[kIndexLines];
  double* data_[kSegmentLines] = {};
  int n_ = 0;
  int capacity_ = 0;
};

// Writes the Kagi segments of the closes for a reversal amount (any finite
// or infinite value; the caller replaces 0). Nothing when every close is 0.
void KagiSegments(const CloseInput& in, double reversal, SegmentWriter& out);

}  // namespace chartcalc::detail
