// Zigzag swings of the close. A swing runs on while the close makes new
// extremes and turns when the close comes back by the reversal fraction from
// the extreme.
#include "index/ZigZag.h"

#include <algorithm>
#include <cmath>

namespace chartcalc::detail {

namespace {

enum class Direction { kNone, kRising, kFalling };

// Index of the first non-zero close at or after from, or -1.
int ZigZagFirstBar(std::span<const double> close, int from) {
  for (size_t i = static_cast<size_t>(std::max(from, 0)); i < close.size(); ++i)
    if (close[i] != 0.0) return static_cast<int>(i);
  return -1;
}

// Where the swings begin: the first bar with data, its close, and the
// direction of the first close that moves by the fraction from it (c0).
struct ZigZagStart {
  int bar = -1;
  double first = 0;
  Direction direction = Direction::kNone;
  double c0 = 0;
};

// The scan begins at the first bar with data: zeros before it are bars
// without prices, not a fall to nothing.
ZigZagStart FindStart(std::span<const double> close, int from, double fraction) {
  ZigZagStart s;
  s.bar = ZigZagFirstBar(close, from);
  if (s.bar < 0) return s;
  s.first = close[s.bar];
  const double up = s.first * (1 + fraction), dn = s.first * (1 - fraction);
  for (size_t i = static_cast<size_t>(s.bar); i < close.size(); ++i) {
    const double c = close[i];
    if (c >= up || c <= dn) {
      s.direction = c >= up ? Direction::kRising : Direction::kFalling;
      s.c0 = c;
      break;
    }
  }
  return s;
}

Direction Reversed(Direction d) { return d == Direction::kRising ? Direction::kFalling : Direction::kRising; }

// The close at which a swing with this extreme turns.
double TurnLevel(Direction d, double extreme, double fraction) {
  return d == Direction::kRising ? extreme * (1 - fraction) : extreme * (1 + fraction);
}

bool NewExtreme(Direction d, double c, double extreme) {
  return d == Direction::kRising ? c > extreme : d == Direction::kFalling && c < extreme;
}

bool Turns(Direction d, double c, double turnLevel) {
  return d == Direction::kRising ? c < turnLevel : d == Direction::kFalling && c > turnLevel;
}

// Appends a record for every level the close c at bar has passed and moves
// the level on by step. The loop also ends when a step no longer moves the
// level (a zero or negative step from a zero or negative first move, or a
// step lost against the level's magnitude: with an infinite close it would
// never end), and at the record bounds.
void AppendSteps(std::vector<ZigZagStep>& out, int bar, double c, Direction d, double step, double& level,
                 bool& afterTurn) {
  const bool rising = d == Direction::kRising;
  for (int n = 0; n < kZigZagMaxStepsPerBar && out.size() < kZigZagMaxSteps && (rising ? c > level : c < level); ++n) {
    out.push_back({bar, level, afterTurn});
    afterTurn = false;
    const double next = rising ? level + step : level - step;
    if (!(rising ? next > level : next < level)) break;
    level = next;
  }
}

}  // namespace

double ZigZagFraction(double percent) {
  const double f = percent / 100;
  if (!(f > kZigZagMinFraction)) return kZigZagMinFraction;
  return std::min(f, kZigZagMaxFraction);
}

ZigZagMarks ZigZagTurningPoints(std::span<const double> close, int from, double fraction) {
  ZigZagMarks out;
  const ZigZagStart s = FindStart(close, from, fraction);
  if (s.bar < 0) return out;
  out.firstBar = s.bar;
  out.marks.push_back(s.first);
  Direction d = s.direction;
  double extreme = s.first;
  size_t extremeAt = 0;  // relative to firstBar
  // The bars passed since the last mark are 0; the extreme's bar holds its close.
  auto mark = [&] {
    out.marks.resize(std::max(out.marks.size(), extremeAt + 1), 0.0);
    out.marks[extremeAt] = extreme;
  };
  for (size_t i = static_cast<size_t>(s.bar) + 1; i < close.size(); ++i) {
    const double c = close[i];
    if (NewExtreme(d, c, extreme)) {
      extreme = c;
      extremeAt = i - static_cast<size_t>(s.bar);
    } else if (Turns(d, c, TurnLevel(d, extreme, fraction))) {
      mark();
      d = Reversed(d);
      extreme = c;
      extremeAt = i - static_cast<size_t>(s.bar);
    }
  }
  mark();  // the last swing ends at its extreme, confirmed or not
  return out;
}

std::vector<ZigZagStep> ZigZagSteps(std::span<const double> close, int from, double fraction) {
  std::vector<ZigZagStep> out;
  const ZigZagStart s = FindStart(close, from, fraction);
  if (s.direction == Direction::kNone) return out;
  const double step = fraction * s.c0 / kZigZagStepsPerReversal;
  Direction d = s.direction;
  double level = s.first, extreme = s.first, turnLevel = TurnLevel(d, extreme, fraction);
  bool afterTurn = false;  // steps before the first turn are not marked
  for (size_t i = static_cast<size_t>(s.bar) + 1; i < close.size(); ++i) {
    const double c = close[i];
    if (NewExtreme(d, c, extreme)) {
      extreme = c;
      turnLevel = TurnLevel(d, c, fraction);
      AppendSteps(out, static_cast<int>(i), c, d, step, level, afterTurn);
    } else if (Turns(d, c, turnLevel)) {
      d = Reversed(d);
      extreme = c;
      turnLevel = TurnLevel(d, c, fraction);
      afterTurn = true;
    }
  }
  return out;
}

}  // namespace chartcalc::detail
