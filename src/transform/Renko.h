// Renko bricks of a close series. They share the column list, its output
// lines and the level-loop guard with the point-and-figure columns.
#pragma once

#include "transform/PointFigure.h"

namespace chartcalc::detail {

// At most this many bricks come from one call: a brick tiny against the
// price range would otherwise fill memory one brick per step.
inline constexpr int64_t kMaxBricks = 1 << 22;

// The bricks of the closes from bars.start on, for a brick of size `box` (used
// as given), starting from `first`, the first non-zero close. A brick follows
// each close beyond the next level (strictly when rising, a close on the level
// already when falling); a brick against the direction starts at the far end
// of the previous brick.
std::vector<PriceColumn> RenkoBricks(const TransformBars& bars, double first, double box);

}  // namespace chartcalc::detail
