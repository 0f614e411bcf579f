// Kagi lines of a close series: the line follows the price and turns only
// when the price moves against it by more than a reversal amount.
#pragma once

#include "transform/TransformCommon.h"

namespace chartcalc::detail {

// Writes the Kagi segments of the closes for a reversal amount (any finite
// or infinite value; the caller replaces 0). Nothing when every close is 0.
void KagiSegments(const TransformBars& in, double reversal, SegmentWriter& out);

}  // namespace chartcalc::detail
