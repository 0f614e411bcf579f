// Kagi segments. The line rises (or falls) with the closes and turns when a
// close goes past the level one reversal amount behind its extreme; each turn
// ends a segment at the extreme, and a last segment closes the line at the
// bar of the last turn.
#include "transform/Kagi.h"

#include <algorithm>

namespace chartcalc::detail {

namespace {

// The line starts rising when a close reaches the upper level before any
// close reaches the lower one, falling otherwise (also when neither does).
bool StartsRising(const TransformBars& in, double upLevel, double downLevel) {
  for (int i = in.start; i < in.Size(); ++i) {
    if (in.close[i] >= upLevel) return true;
    if (in.close[i] <= downLevel) return false;
  }
  return false;
}

// The moving state of the line and the segments drawn so far; each turn
// appends the segment from the previous turning price to the new one.
struct KagiLine {
  const TransformBars& in;
  double reversal;
  bool rising;
  double upLevel;
  double downLevel;
  double price;  // where the next segment starts
  int lastBar;   // the bar of the last turn
  SegmentWriter& out;

  void Turn(int bar, double to) {
    out.Add({in.DateTime(bar), static_cast<double>(bar), price, to});
    price = to;
    lastBar = bar;
  }

  // Strict comparisons: a close exactly at the opposite level keeps the line.
  void Step(int i) {
    const double c = in.close[i];
    if (rising && c < downLevel) {
      Turn(i, upLevel);
      rising = false;
      downLevel = c;
      upLevel = c + reversal;
    } else if (rising) {
      upLevel = std::max(c, upLevel);
      downLevel = upLevel - reversal;
    } else if (c > upLevel) {
      Turn(i, downLevel);
      rising = true;
      upLevel = c;
      downLevel = c - reversal;
    } else {
      downLevel = std::min(c, downLevel);
      upLevel = downLevel + reversal;
    }
  }
};

}  // namespace

void KagiSegments(const TransformBars& in, double reversal, SegmentWriter& out) {
  const double first = FirstNonZeroClose(in);
  if (first == 0.0) return;
  const double upLevel = first + reversal;
  const double downLevel = first - reversal;
  KagiLine line{in,       reversal, StartsRising(in, upLevel, downLevel), upLevel, downLevel, in.close[in.start],
                in.start, out};
  for (int i = in.start; i < in.Size(); ++i) line.Step(i);
  // The closing segment is dated at the last turn and ends at the upper
  // level whichever way the line runs: the chart draws it that way.
  if (line.lastBar < in.Size() - 1) line.Turn(line.lastBar, line.upLevel);
}

}  // namespace chartcalc::detail
