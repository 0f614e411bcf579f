// Renko bricks. upLevel and downLevel are the levels a close must pass for the
// next rising and falling brick: one brick beyond the last brick in its own
// direction, two against it.
#include "transform/Renko.h"

#include <algorithm>

namespace chartcalc::detail {
namespace {

class Renko {
 public:
  Renko(const TransformBars& bars, double first, double box)
      : bars_(bars),
        box_(box),
        up_(first + box),
        down_(first - box),
        steps_(std::min(LevelSteps::BudgetFor(bars.close.size()), kMaxBricks)) {}

  std::vector<ColumnPoint> Run() {
    const size_t s = static_cast<size_t>(bars_.start);
    ChooseDirection(s);
    points_.push_back(Point(s, bars_.close[s]));
    for (size_t i = s; i < bars_.close.size(); ++i) {
      steps_.StartBar();
      Bar(i, bars_.close[i]);
    }
    return std::move(points_);
  }

 private:
  ColumnPoint Point(size_t i, double price) const {
    return {ValueAt(bars_.dateTime, i), static_cast<double>(i), price};
  }

  // The first close beyond either level sets the direction; the levels stay.
  void ChooseDirection(size_t s) {
    for (size_t i = s; i < bars_.close.size(); ++i) {
      const double c = bars_.close[i];
      if (c >= up_) {
        rising_ = true;
        return;
      }
      if (c <= down_) return;
    }
  }

  // A close beyond the level against the direction turns it; then the bricks
  // of the (possibly new) direction follow while the close is beyond them.
  void Bar(size_t i, double c) {
    if (rising_ ? down_ >= c : c > up_) rising_ = !rising_;
    rising_ ? RisingBricks(i, c) : FallingBricks(i, c);
  }

  void RisingBricks(size_t i, double c) {
    while (c > up_ && steps_.Take(up_, up_ + box_, true)) {
      points_.push_back(Point(i, up_));
      down_ = up_ - 2.0 * box_;
      up_ += box_;
    }
  }

  void FallingBricks(size_t i, double c) {
    while (down_ >= c && steps_.Take(down_, down_ - box_, false)) {
      points_.push_back(Point(i, down_));
      up_ = down_ + 2.0 * box_;
      down_ -= box_;
    }
  }

  const TransformBars& bars_;
  const double box_;
  double up_, down_;
  bool rising_ = false;
  LevelSteps steps_;
  std::vector<ColumnPoint> points_;
};

// Brick k runs from point k - 1 to point k, except that a brick turning the
// direction starts where the previous brick started.
std::vector<PriceColumn> ToBricks(const std::vector<ColumnPoint>& points) {
  std::vector<PriceColumn> bricks;
  bricks.reserve(points.size());
  double prevStart = 0.0, prevEnd = 0.0;
  for (size_t k = 1; k < points.size(); ++k) {
    double start = points[k - 1].price;
    const double end = points[k].price;
    if (k > 1) {
      if (end > start && prevStart >= prevEnd) start = prevStart;
      if (start >= end && prevEnd > prevStart) start = prevStart;
    }
    prevStart = start;
    prevEnd = end;
    bricks.push_back({points[k].dateTime, points[k].bar, start, end});
  }
  return bricks;
}

}  // namespace

std::vector<PriceColumn> RenkoBricks(const TransformBars& bars, double first, double box) {
  // A start index outside the series leaves no bar to start from.
  if (first == 0.0 || bars.start < 0 || static_cast<size_t>(bars.start) >= bars.close.size()) return {};
  return ToBricks(Renko(bars, first, box).Run());
}

}  // namespace chartcalc::detail
