// Renko bricks of a close series.
#pragma once

#include "transform/TransformCommon.h"

namespace chartcalc::detail {

// At most this many bricks come from one call: a brick tiny against the
// price range would otherwise fill memory one brick per step.
inline constexpr int64_t kMaxBricks = 1 << 22;

// Writes the bricks of the closes for a brick of size `box` (used as given),
// starting from the first non-zero close. A brick follows each close beyond
// the next level (strictly when rising, a close on the level already when
// falling); a brick against the direction starts at the far end of the
// previous brick.
void RenkoBricks(const TransformBars& bars, double box, SegmentWriter& out);

}  // namespace chartcalc::detail
