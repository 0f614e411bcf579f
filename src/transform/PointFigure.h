// Point-and-figure columns of a close series, and the pieces the brick and
// box charts share: the column list, its output form and the guard that
// bounds the level loops.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

class SString;
class SVector;

namespace chartcalc::detail {

// The close series a transform reads, with the date-time of each bar. Bars
// below `start` are not prices (they hold 0); a date-time series shorter
// than the closes gives 0 for the missing bars.
struct TransformBars {
  std::span<const double> close;
  std::span<const double> dateTime;
  int start = 0;
};

// A point of the column list: where a column (or brick) ended.
struct ColumnPoint {
  double dateTime;
  double bar;
  double price;
};

// One output element: the bar that ended it, and its start and end prices.
struct PriceColumn {
  double dateTime;
  double bar;
  double start;
  double end;
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

// The value of a bar of a series, 0 beyond its end.
inline double ValueAt(std::span<const double> s, size_t i) { return i < s.size() ? s[i] : 0.0; }

// The columns of the closes from bars.start on, for a reversal of `reversal`
// boxes of size `box` (both used as given, negative ones included), starting
// from `first`, the first non-zero close. Only columns of at least three boxes
// are output; a rising column starts one box above the previous column's end,
// a falling one one box below it.
std::vector<PriceColumn> PointFigureColumns(const TransformBars& bars, double first, int reversal, double box);

// The bars of a bound close and date-time series (either may be null).
TransformBars BoundBars(const SVector* close, const SVector* dateTime);

// A reset writes the proposed price step into a variable, reads the text
// back and stores the step made usable (positive, on a two-digit grid).
void ResetStepText(SString& var, double proposed);

// Lines 0-3 become the date-times, bars, starts and ends of the columns (from
// index 0); line 4 is emptied.
void WriteColumnLines(std::span<const PriceColumn> columns, SVector* lines);

}  // namespace chartcalc::detail
