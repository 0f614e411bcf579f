// Swing points and the zigzag line built from them: the computations behind
// SCalc::CalcSwingHighLow and SCalc::CalcZigZag, on read-only series.
#pragma once

#include "chartcalc/SVector.h"

namespace chartcalc::detail {

// The value of a swing-point series at a bar where no swing point is found.
inline constexpr double kNoSwing = -1.0;

// For every bar i, the price of the instance-th most recent swing point among
// the candidate bars i - strength down to i - length + 1, or kNoSwing. A swing
// high has `strength` bars before it at or below it and `strength` bars after
// it strictly below it (a swing low: at or above, strictly above). Valid from
// price's start index + length + 1; an instance, strength or length below 1
// leaves no valid bar.
SVector SwingPoints(int high, int instance, const SVector& price, int strength, int length);

// The zigzag through the swing points: 0 at every bar except the turning
// points, which hold their prices. A new leg starts when a swing point lies
// `percent` percent beyond the last pivot, against the current direction.
SVector ZigZagLine(double percent, const SVector& swingHigh, const SVector& swingLow, const SVector& high,
                   const SVector& low);

}  // namespace chartcalc::detail
