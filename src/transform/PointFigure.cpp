// Point-and-figure columns. While a column runs, upLevel and downLevel are
// its extension level on its own side and its reversal level on the other:
// a rising column extends at upLevel and reverses at downLevel, which lies
// reversal + 1 boxes below; a falling column the other way round.
#include "transform/PointFigure.h"

#include <algorithm>

#include "chartcalc/SVector.h"
#include "chartcalc/TextHelpers.h"

namespace chartcalc::detail {
namespace {

// A column is output (and its last bar moves) only from this many boxes on.
constexpr int64_t kMinColumnBoxes = 3;

class PointFigure {
 public:
  PointFigure(const TransformBars& bars, double first, int reversal, double box)
      : bars_(bars),
        box_(box),
        // In doubles: reversal + 1 overflows an int for the largest count.
        span_((static_cast<double>(reversal) + 1.0) * box),
        trigger_(static_cast<double>(reversal) * box),
        first_(first),
        up_(first + box),
        down_(first - box),
        steps_(LevelSteps::BudgetFor(bars.close.size())) {}

  std::vector<ColumnPoint> Run() {
    const size_t s = static_cast<size_t>(bars_.start);
    ChooseDirection(s);
    points_.push_back(Point(s, bars_.close[s]));
    lastBar_ = s;
    for (size_t i = s; i < bars_.close.size(); ++i) {
      steps_.StartBar();
      rising_ ? Rising(i, bars_.close[i]) : Falling(i, bars_.close[i]);
    }
    if (boxes_ >= kMinColumnBoxes) points_.push_back(Point(lastBar_, rising_ ? up_ : down_));
    return std::move(points_);
  }

 private:
  ColumnPoint Point(size_t i, double price) const {
    return {ValueAt(bars_.dateTime, i), static_cast<double>(i), price};
  }

  // The first close that reaches a trigger, reversal boxes from `first`,
  // sets the direction; the column starts at `first`. Without one the pass
  // starts falling with the levels one box either side of `first`.
  void ChooseDirection(size_t s) {
    for (size_t i = s; i < bars_.close.size(); ++i) {
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

  void Rising(size_t i, double c) {
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

  void Falling(size_t i, double c) {
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
  void StartColumn(size_t i, double end, bool rising) {
    boxes_ = 0;
    points_.push_back(Point(i, end));
    rising_ = rising;
    lastBar_ = i;
  }

  const TransformBars& bars_;
  const double box_, span_, trigger_, first_;
  double up_, down_;
  bool rising_ = false;
  int64_t boxes_ = 0;
  size_t lastBar_ = 0;
  LevelSteps steps_;
  std::vector<ColumnPoint> points_;
};

// Column k runs from point k - 1 to point k; after the first, a column
// starts one box beyond the previous column's end, in its own direction.
std::vector<PriceColumn> ToColumns(const std::vector<ColumnPoint>& points, double box) {
  std::vector<PriceColumn> columns;
  columns.reserve(points.size());
  for (size_t k = 1; k < points.size(); ++k) {
    double start = points[k - 1].price;
    const double end = points[k].price;
    if (k > 1) {
      if (end > start) start += box;
      if (start >= end) start -= box;
    }
    columns.push_back({points[k].dateTime, points[k].bar, start, end});
  }
  return columns;
}

}  // namespace

std::vector<PriceColumn> PointFigureColumns(const TransformBars& bars, double first, int reversal, double box) {
  // A start index outside the series leaves no bar to start from.
  if (first == 0.0 || bars.start < 0 || static_cast<size_t>(bars.start) >= bars.close.size()) return {};
  return ToColumns(PointFigure(bars, first, reversal, box).Run(), box);
}

TransformBars BoundBars(const SVector* close, const SVector* dateTime) {
  TransformBars bars;
  if (close) {
    bars.close = {close->Data(), static_cast<size_t>(std::max(close->GetSize(), 0))};
    bars.start = close->GetStartIndex();
  }
  if (dateTime) bars.dateTime = {dateTime->Data(), static_cast<size_t>(std::max(dateTime->GetSize(), 0))};
  return bars;
}

void ResetStepText(SString& var, double proposed) {
  var = proposed;
  var = conditionProove(AnsiStringToFloat(var, 1.0));
}

void WriteColumnLines(std::span<const PriceColumn> columns, SVector* lines) {
  // Line k holds field k of every column; the last line stays empty.
  static constexpr double PriceColumn::*kFields[] = {&PriceColumn::dateTime, &PriceColumn::bar, &PriceColumn::start,
                                                     &PriceColumn::end};
  constexpr int kFieldLines = 4;
  lines[kFieldLines].ClearData();
  const int n = static_cast<int>(columns.size());
  for (int k = 0; k < kFieldLines; ++k) {
    SVector& line = lines[k];
    line.ClearData();
    line.SetSize(n);
    // SetSize gives less when memory runs out; the line keeps what fits.
    double* d = line.Data();
    for (int j = 0; j < line.GetSize(); ++j) d[j] = columns[static_cast<size_t>(j)].*kFields[k];
  }
}

}  // namespace chartcalc::detail
