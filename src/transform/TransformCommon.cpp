#include "transform/TransformCommon.h"

#include <algorithm>
#include <climits>

#include "chartcalc/TextHelpers.h"

namespace chartcalc::detail {

std::span<const double> SeriesSpan(const SVector* v) {
  if (!v || !v->IsSeries() || v->GetSize() <= 0) return {};
  return {v->Data(), static_cast<size_t>(v->GetSize())};
}

TransformBars BoundBars(const SVector* close, const SVector* dateTime) {
  TransformBars bars;
  bars.close = SeriesSpan(close);
  if (!bars.close.empty()) bars.start = std::clamp(close->GetStartIndex(), 0, bars.Size());
  bars.dateTime = SeriesSpan(dateTime);
  return bars;
}

double FirstNonZeroClose(const TransformBars& bars) {
  for (int i = bars.start; i < bars.Size(); ++i)
    if (bars.close[i] != 0.0) return bars.close[i];
  return 0.0;
}

void ResetStepText(SString& var, double proposed) {
  var = proposed;
  var = conditionProove(AnsiStringToFloat(var, 1.0));
}

SegmentWriter::SegmentWriter(SVector (&lines)[kIndexLines]) : lines_(lines) {
  for (SVector& line : lines_) line.ClearData();
}

SegmentWriter::~SegmentWriter() {
  for (int k = 0; k < kSegmentLines; ++k) lines_[k].SetSize(n_);
}

// Each line first takes the size of what was written, so that a move keeps
// it, then one element more; a growing series keeps room ahead, so the lines
// seldom move. The common capacity is that of the smallest line.
bool SegmentWriter::Grow() {
  if (n_ == INT_MAX) return false;
  capacity_ = INT_MAX;
  for (int k = 0; k < kSegmentLines; ++k) {
    lines_[k].SetSize(n_);
    lines_[k].SetSize(n_ + 1);
    capacity_ = std::min(capacity_, lines_[k].GetCapacity());
    data_[k] = lines_[k].Data();
  }
  return n_ < capacity_;
}

}  // namespace chartcalc::detail
