// Kagi segments. The line rises (or falls) with the closes and turns when a
// close goes past the level one reversal amount behind its extreme; each turn
// ends a segment at the extreme, and a last segment closes the line at the
// bar of the last turn.
#include "transform/Kagi.h"

#include <algorithm>
#include <climits>

#include "index/LineGrowth.h"

namespace chartcalc::detail {

CloseInput CloseInputOf(const SVector* close, const SVector* dateTime) {
  CloseInput in;
  if (close && close->IsSeries() && close->GetSize() > 0) {
    in.close = {close->Data(), static_cast<size_t>(close->GetSize())};
    in.start = std::clamp(close->GetStartIndex(), 0, close->GetSize());
  }
  if (dateTime && dateTime->IsSeries() && dateTime->GetSize() > 0)
    in.dateTime = {dateTime->Data(), static_cast<size_t>(dateTime->GetSize())};
  return in;
}

double FirstNonZeroClose(const CloseInput& in) {
  for (int i = in.start; i < in.Size(); ++i)
    if (in.close[i] != 0.0) return in.close[i];
  return 0.0;
}

namespace {

// The line starts rising when a close reaches the upper level before any
// close reaches the lower one, falling otherwise (also when neither does).
bool StartsRising(const CloseInput& in, double upLevel, double downLevel) {
  for (int i = in.start; i < in.Size(); ++i) {
    if (in.close[i] >= upLevel) return true;
    if (in.close[i] <= downLevel) return false;
  }
  return false;
}

// The moving state of the line and the segments drawn so far; each turn
// appends the segment from the previous turning price to the new one.
struct KagiLine {
  const CloseInput& in;
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

void KagiSegments(const CloseInput& in, double reversal, SegmentWriter& out) {
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

SegmentWriter::SegmentWriter(SVector (&lines)[kIndexLines]) : lines_(lines) {
  for (SVector& line : lines_) line.ClearData();
}

SegmentWriter::~SegmentWriter() {
  for (int k = 0; k < kSegmentLines; ++k) lines_[k].SetSize(n_);
}

// The lines grow by a quarter at a time, keeping what was written; the
// common capacity is that of the smallest line.
bool SegmentWriter::Grow() {
  if (n_ == INT_MAX) return false;
  capacity_ = INT_MAX;
  for (int k = 0; k < kSegmentLines; ++k) {
    lines_[k].SetSize(n_);
    GrowLineTo(lines_[k], n_ + 1);
    capacity_ = std::min(capacity_, lines_[k].GetCapacity());
    data_[k] = lines_[k].Data();
  }
  return n_ < capacity_;
}

}  // namespace chartcalc::detail
