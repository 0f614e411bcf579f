// Renko bricks. upLevel and downLevel are the levels a close must pass for the
// next rising and falling brick: one brick beyond the last brick in its own
// direction, two against it.
#include "transform/Renko.h"

#include <algorithm>

namespace chartcalc::detail {
namespace {

class Renko {
 public:
  Renko(const TransformBars& bars, double first, double box, SegmentWriter& out)
      : bars_(bars),
        out_(out),
        box_(box),
        up_(first + box),
        down_(first - box),
        steps_(std::min(LevelSteps::BudgetFor(bars.close.size()), kMaxBricks)) {}

  void Run() {
    ChooseDirection(bars_.start);
    for (int i = bars_.start; i < bars_.Size(); ++i) {
      steps_.StartBar();
      Bar(i, bars_.close[i]);
    }
  }

 private:
  void AddBrick(int i, double end) { out_.Add(stack_.Next(bars_.DateTime(i), static_cast<double>(i), end)); }

  // The first close beyond either level sets the direction; the levels stay.
  void ChooseDirection(int s) {
    for (int i = s; i < bars_.Size(); ++i) {
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
  void Bar(int i, double c) {
    if (rising_ ? down_ >= c : c > up_) rising_ = !rising_;
    rising_ ? RisingBricks(i, c) : FallingBricks(i, c);
  }

  void RisingBricks(int i, double c) {
    while (c > up_ && steps_.Take(up_, up_ + box_, true)) {
      AddBrick(i, up_);
      down_ = up_ - 2.0 * box_;
      up_ += box_;
    }
  }

  void FallingBricks(int i, double c) {
    while (down_ >= c && steps_.Take(down_, down_ - box_, false)) {
      AddBrick(i, down_);
      up_ = down_ + 2.0 * box_;
      down_ -= box_;
    }
  }

  const TransformBars& bars_;
  SegmentWriter& out_;
  const double box_;
  double up_, down_;
  bool rising_ = false;
  LevelSteps steps_;
  StackedSegments stack_{bars_.close[bars_.start]};
};

}  // namespace

void RenkoBricks(const TransformBars& bars, double box, SegmentWriter& out) {
  const double first = FirstNonZeroClose(bars);
  if (first == 0.0) return;
  Renko(bars, first, box, out).Run();
}

}  // namespace chartcalc::detail
