// The drawing range of an indicator's lines and the extremes a chart scales
// them by.
#include <algorithm>

#include "chartcalc/SIndex.h"
#include "chartcalc/SPriceData.h"

using namespace chartcalc::detail;

namespace {

// What GetMax and GetMin return when no line qualifies.
constexpr double kNoMax = -1e38;
constexpr double kNoMin = 1e38;
// The multi-moving-average price chart draws four companion indicators.
constexpr int kMultiMovingAverageChart = 15;
// Bar-type lines always include zero in their scale.
constexpr int kBarLine = 1;

bool Counts(const SIndex& x, int line) { return x.ShowLine[line] && x.LineData[line].GetSize() > 0; }

}  // namespace

void SIndex::SetDrawRange(int from, int to) {
  for (SVector& line : LineData) {
    const int start = line.GetStartIndex();
    line.SetDrawRange(std::max(start, from), std::max(start, to));
  }
  if (IndexType != kIndexPriceChart) return;
  SPriceData* record = GetCurPriceData();
  if (!record || !record->PriceProperty || record->PriceProperty->PriceChartType != kMultiMovingAverageChart) return;
  for (SIndex& companion : record->CompanionIndex) companion.SetDrawRange(from, to);
}

double SIndex::GetMax(int from, int to, int mode) {
  double best = kNoMax;
  for (int line = 0; line < kIndexLines; ++line) {
    if (!Counts(*this, line)) continue;
    best = std::max(best, LineData[line].GetMax(from, to, mode));
    if (LineData[line].GetMinMaxChanged()) MinMaxChanged = 1;
  }
  return best;
}

double SIndex::GetMin(int from, int to, int mode) {
  double best = kNoMin;
  for (int line = 0; line < kIndexLines; ++line) {
    if (!Counts(*this, line)) continue;
    best = std::min(best, LineData[line].GetMin(from, to, mode));
    if (LineData[line].GetMinMaxChanged()) MinMaxChanged = 1;
    if (LineType[line] == kBarLine && best >= 0.0) best = 0.0;
  }
  return best;
}

double SIndex::GetMax() {
  double best = kNoMax;
  for (int line = 0; line < kIndexLines; ++line)
    if (Counts(*this, line)) best = std::max(best, LineData[line].GetMax());
  return best;
}

double SIndex::GetMin() {
  double best = kNoMin;
  for (int line = 0; line < kIndexLines; ++line) {
    if (!Counts(*this, line)) continue;
    best = std::min(best, LineData[line].GetMin());
    if (LineType[line] == kBarLine && best >= 0.0) best = 0.0;
  }
  return best;
}

void SIndex::SetMinMaxChanged(int flag) {
  MinMaxChanged = flag;
  for (SVector& line : LineData) line.SetMinMaxChanged(flag);
}
