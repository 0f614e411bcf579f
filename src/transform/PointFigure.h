// Point-and-figure columns of a close series.
#pragma once

#include "transform/TransformCommon.h"

namespace chartcalc::detail {

// Writes the columns of the closes for a reversal of `reversal` boxes of size
// `box` (both used as given, negative ones included), starting from the
// first non-zero close. Only columns of at least three boxes are output; a
// rising column starts one box above the previous column's end, a falling
// one one box below it.
void PointFigureColumns(const TransformBars& bars, int reversal, double box, SegmentWriter& out);

}  // namespace chartcalc::detail
