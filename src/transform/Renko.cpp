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

  std::vector<PriceColumn> Run() {
    const size_t s = static_cast<size_t>(bars_.start);
    ChooseDirection(s);
    lastEnd_ = bars_.close[s];
    for (size_t i = s; i < bars_.close.size(); ++i) {
      steps_.StartBar();
      Bar(i, bars_.close[i]);
    }
    return std::move(bricks_);
  }

 private:
  // Each brick runs from the previous brick's end, except that a brick turning
  // the direction starts where the previous brick started.
  void AddBrick(size_t i, double end) {
    double start = lastEnd_;
    if (!bricks_.empty()) {
      if (end > start && prevStart_ >= prevEnd_) start = prevStart_;
      if (start >= end && prevEnd_ > prevStart_) start = prevStart_;
    }
    prevStart_ = start;
    prevEnd_ = lastEnd_ = end;
    bricks_.push_back({ValueAt(bars_.dateTime, i), static_cast<double>(i), start, end});
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
      AddBrick(i, up_);
      down_ = up_ - 2.0 * box_;
      up_ += box_;
    }
  }

  void FallingBricks(size_t i, double c) {
    while (down_ >= c && steps_.Take(down_, down_ - box_, false)) {
      AddBrick(i, down_);
      up_ = down_ + 2.0 * box_;
      down_ -= box_;
    }
  }

  const TransformBars& bars_;
  const double box_;
  double up_, down_;
  bool rising_ = false;
  LevelSteps steps_;
  double lastEnd_ = 0.0, prevStart_ = 0.0, prevEnd_ = 0.0;
  std::vector<PriceColumn> bricks_;
};

}  // namespace

std::vector<PriceColumn> RenkoBricks(const TransformBars& bars, double first, double box) {
  // A start index outside the series leaves no bar to start from.
  if (first == 0.0 || bars.start < 0 || static_cast<size_t>(bars.start) >= bars.close.size()) return {};
  return Renko(bars, first, box).Run();
}

}  // namespace chartcalc::detail
