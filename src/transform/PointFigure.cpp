// Point-and-figure columns. While a column runs, upLevel and downLevel are
// its extension level on its own side and its reversal level on the other:
// a rising column extends at upLevel and reverses at downLevel, which lies
// reversal + 1 boxes below; a falling column the other way round.
#include "transform/PointFigure.h"

namespace chartcalc::detail {
namespace {

// A column is output (and its last bar moves) only from this many boxes on.
constexpr int64_t kMinColumnBoxes = 3;

class PointFigure {
 public:
  PointFigure(const TransformBars& bars, double first, int reversal, double box, SegmentWriter& out)
      : bars_(bars),
        out_(out),
        box_(box),
        // In doubles: reversal + 1 overflows an int for the largest count.
        span_((static_cast<double>(reversal) + 1.0) * box),
        trigger_(static_cast<double>(reversal) * box),
        first_(first),
        up_(first + box),
        down_(first - box),
        steps_(LevelSteps::BudgetFor(bars.close.size())) {}

  void Run() {
    const int s = bars_.start;
    ChooseDirection(s);
    lastPrice_ = bars_.close[s];
    lastBar_ = s;
    for (int i = s; i < bars_.Size(); ++i) {
      steps_.StartBar();
      rising_ ? Rising(i, bars_.close[i]) : Falling(i, bars_.close[i]);
    }
    if (boxes_ >= kMinColumnBoxes) EndColumn(lastBar_, rising_ ? up_ : down_);
  }

 private:
  // A column ends at bar i at `end`. It runs from the previous column's end;
  // after the first, it starts one box beyond that end in its own direction.
  void EndColumn(int i, double end) {
    double start = lastPrice_;
    if (columnEnded_) {
      if (end > start) start += box_;
      if (start >= end) start -= box_;
    }
    columnEnded_ = true;
    lastPrice_ = end;
    out_.Add({bars_.DateTime(i), static_cast<double>(i), start, end});
  }

  // The first close that reaches a trigger, reversal boxes from `first`,
  // sets the direction; the column starts at `first`. Without one the pass
  // starts falling with the levels one box either side of `first`.
  void ChooseDirection(int s) {
    for (int i = s; i < bars_.Size(); ++i) {
      const double c = bars_.close[i];
      if (c >= first_ + trigger_) {
        rising_ = true;
        up_ = down_ + box_;
        return;
      }
      if (c <= first_ - trigger_) {
        down_ = up_ - box_;
        return;
      }
    }
  }

  void Rising(int i, double c) {
    if (c <= down_) {
      StartColumn(i, up_, false);
      down_ = up_ - box_;
      while (c <= down_ && steps_.Take(down_, down_ - box_, false)) {
        ++boxes_;
        up_ = down_;
        down_ = up_ - box_;
      }
      up_ = down_ + span_;
      return;
    }
    while (c >= up_ && steps_.Take(up_, up_ + box_, true)) {
      up_ += box_;
      ++boxes_;
      down_ = up_ - span_;
    }
    if (boxes_ >= kMinColumnBoxes) lastBar_ = i;
  }

  void Falling(int i, double c) {
    if (c >= up_) {
      StartColumn(i, down_, true);
      up_ = down_ + box_;
      while (c >= up_ && steps_.Take(up_, up_ + box_, true)) {
        up_ += box_;
        ++boxes_;
      }
      down_ = up_ - span_;
      return;
    }
    while (down_ >= c && steps_.Take(down_, down_ - box_, false)) {
      down_ -= box_;
      ++boxes_;
      up_ = down_ + span_;
    }
    if (boxes_ >= kMinColumnBoxes) lastBar_ = i;
  }

  // A reversal at bar i ends the running column at `end`.
  void StartColumn(int i, double end, bool rising) {
    boxes_ = 0;
    EndColumn(i, end);
    rising_ = rising;
    lastBar_ = i;
  }

  const TransformBars& bars_;
  SegmentWriter& out_;
  const double box_, span_, trigger_, first_;
  double up_, down_;
  bool rising_ = false;
  int64_t boxes_ = 0;
  int lastBar_ = 0;
  double lastPrice_ = 0.0;  // where the running column starts
  bool columnEnded_ = false;
  LevelSteps steps_;
};

}  // namespace

void PointFigureColumns(const TransformBars& bars, int reversal, double box, SegmentWriter& out) {
  const double first = FirstNonZeroClose(bars);
  if (first == 0.0) return;
  PointFigure(bars, first, reversal, box, out).Run();
}

}  // namespace chartcalc::detail
