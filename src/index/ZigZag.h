// Zigzag computations over a close series: the turning points of swings that
// reverse by a percentage, and the same swings cut into equal price steps.
// Free functions over plain series; SIndex reads its settings and fills its
// lines from them (SIndexZigZag.cpp).
#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace chartcalc::detail {

// The reversal fraction is kept within these bounds: a smaller one would
// turn on noise, a larger one would never turn.
inline constexpr double kZigZagMinFraction = 0.01;
inline constexpr double kZigZagMaxFraction = 0.5;
// A price step is this fraction of the reversal at the first move.
inline constexpr double kZigZagStepsPerReversal = 10.0;
// The most step records one bar may add, and all bars together. A gap of
// 10,000 steps is a thousand reversals' worth at the first price, a million
// steps a hundred thousand; real prices never come near either. They stop
// infinite closes, vast gaps and steps lost against huge levels from hanging
// the host or filling its memory; past the per-bar bound the level follows
// on later bars.
inline constexpr int kZigZagMaxStepsPerBar = 10000;
inline constexpr size_t kZigZagMaxSteps = 1000000;

// The reversal fraction of a percentage, clamped to the bounds above (a
// percentage that is not a number gives the smallest fraction).
double ZigZagFraction(double percent);

// Turning points: marks[k] belongs to bar firstBar + k and holds the close
// where that bar is a turning point, 0 elsewhere. marks[0] is the first
// close; the last element is the last (unconfirmed) extreme. Empty, with
// firstBar -1, when every close is zero.
struct ZigZagMarks {
  int firstBar = -1;
  std::vector<double> marks;
};
ZigZagMarks ZigZagTurningPoints(std::span<const double> close, int from, double fraction);

// One price step reached at a bar; afterTurn marks the first step after a
// change of direction.
struct ZigZagStep {
  int bar;
  double level;
  bool afterTurn;
};
std::vector<ZigZagStep> ZigZagSteps(std::span<const double> close, int from, double fraction);

}  // namespace chartcalc::detail
