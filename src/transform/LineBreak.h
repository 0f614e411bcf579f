// Line-break charts of a close series: a line is drawn in the current
// direction at every new extreme close, and the chart turns only when a close
// breaks the far extreme of the last N lines.
#pragma once

#include <span>

#include "transform/Kagi.h"

namespace chartcalc::detail {

// The highest (mode 0) or lowest (any other mode) of values[s .. end - 1],
// s = max(end - count, lowerBound); values[s] when that range is empty. A
// position past the array reads as 0, as an unused entry of a fresh line
// array does, so no argument reads out of bounds.
double ChangeValue(int mode, std::span<const double> values, int end, int count, int lowerBound);

struct LineBreakChart {
  // The turn level computed last: the close the next bar must break to turn
  // the chart (0 when no line was drawn).
  double lastThreshold = 0.0;
  // False when every close is 0: nothing was computed.
  bool drawn = false;
};

// Writes the line-break chart of the closes over the last `count` lines
// (count >= 1; the caller replaces other counts).
LineBreakChart LineBreakLines(const TransformBars& in, int count, SegmentWriter& out);

}  // namespace chartcalc::detail
