// What the chart-type transforms share: the bars they read, the segments
// (columns, bricks, lines) they write into an indicator's lines, the guard
// that bounds the box and brick loops, and the reset of a price step.
#pragma once

#include <cstdint>
#include <span>

#include "chartcalc/SIndexProp.h"
#include "chartcalc/SString.h"
#include "chartcalc/SVector.h"

namespace chartcalc::detail {

// The closes and date-times a transform reads, with the close series' first
// valid bar (bars below it hold 0).
struct TransformBars {
  std::span<const double> close;
  std::span<const double> dateTime;
  int start = 0;

  int Size() const { return static_cast<int>(close.size()); }
  // A date-time series shorter than the closes (or none) dates the rest 0.
  double DateTime(int i) const { return static_cast<size_t>(i) < dateTime.size() ? dateTime[i] : 0.0; }
};

// The whole of a bound series; a null or empty one (or a number) is no bars.
std::span<const double> SeriesSpan(const SVector* v);

// The bound series as bars. The start index is clamped into the series, so a
// negative one reads from bar 0 and an invalid one (beyond the end, as a
// failed calculation marks it) leaves no bar to read.
TransformBars BoundBars(const SVector* close, const SVector* dateTime);

// The first non-zero close at or after the start index; 0 when there is
// none (a NaN counts as non-zero, as it does for the series' own lookup).
double FirstNonZeroClose(const TransformBars& bars);

// A reset writes the proposed price step into a variable, reads the text
// back (so the step is the number the host shows) and stores the step made
// usable (positive, on a two-digit grid).
void ResetStepText(SString& var, double proposed);

// One output element, lines 0 to 3 of the indicator: the date-time and index
// of the bar that ends it, the prices it runs between.
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

// Bricks and line-break lines as the chart stacks them: one that continues
// the direction starts where the previous one ended, one that turns starts at
// the far end of the previous one (where that one started).
class StackedSegments {
 public:
  explicit StackedSegments(double origin) : end_(origin) {}

  ChartSegment Next(double dateTime, double bar, double end) {
    double start = end_;
    if (any_) {
      if (end > start && start_ >= end_) start = start_;
      if (start >= end && end_ > start_) start = start_;
    }
    any_ = true;
    start_ = start;
    end_ = end;
    return {dateTime, bar, start, end};
  }

 private:
  double end_;
  double start_ = 0.0;
  bool any_ = false;
};

// Read literally, a level loop ("while the close is beyond the level, move
// the level one box") ends only when the level passes the close. A box that
// is not positive, a box lost against the level's magnitude, or an infinite
// close never gets there, and a tiny box against a large move takes
// millions of steps. So every step must move the level strictly toward the
// close, one bar takes at most kMaxStepsPerBar steps, and one call at most
// its budget: no input hangs, and a transform that outputs one element per
// step cannot exhaust memory.
class LevelSteps {
 public:
  static constexpr int kMaxStepsPerBar = 1 << 16;
  static constexpr int64_t kBudgetPerBar = 1 << 10;

  explicit LevelSteps(int64_t budget) : callLeft_(budget) {}
  // The usual budget for a pass over `bars` bars.
  static int64_t BudgetFor(size_t bars) { return static_cast<int64_t>(bars) * kBudgetPerBar + kMaxStepsPerBar; }

  void StartBar() { barLeft_ = kMaxStepsPerBar; }
  // True, and counted, when the level may step from `from` to `to` in the
  // loop's direction (a NaN level never steps).
  bool Take(double from, double to, bool rising) {
    const bool moves = rising ? to > from : to < from;
    if (!moves || barLeft_ <= 0 || callLeft_ <= 0) return false;
    --barLeft_;
    --callLeft_;
    return true;
  }

 private:
  int barLeft_ = kMaxStepsPerBar;
  int64_t callLeft_;
};

}  // namespace chartcalc::detail
