// The counter-clockwise curve and the candle-volume chart of the bound
// prices (the computations are in transform/CounterClock.cpp).
#include <algorithm>
#include <string>

#include "chartcalc/SIndex.h"
#include "transform/CounterClock.h"
#include "transform/TransformCommon.h"

using namespace chartcalc::detail;

namespace {

// The two formula lines: average close and average volume.
constexpr int kAverageCloseLine = 2;
constexpr int kAverageVolumeLine = 3;

// Evaluates the converted formula of a line as the indicator calculation
// does, through a working buffer of the usual size.
void EvaluateLine(SIndex& x, SCalc& calc, int line) {
  if (x.ConvertedExpression[line].IsEmpty()) return;
  const std::string text = x.ConvertedExpression[line].str().substr(0, kIndexTextBuffer - 1);
  calc.SetExpression(text.c_str());
  x.LineData[line] = calc.Calculate();
  x.LineData[line].InitTemp();
}

}  // namespace

void SIndex::CalcCounterClock(int reset) {
  if (reset) VarValue[0] = kCounterClockResetPeriod;
  const long period = CounterClockPeriod(VarValue[0]);
  Expression[kAverageCloseLine] = ConvertedExpression[kAverageCloseLine] = AverageFormula('c', period);
  Expression[kAverageVolumeLine] = ConvertedExpression[kAverageVolumeLine] = AverageFormula('v', period);
  SCalc calc;
  calc.SetVariables(PriceSeries);
  EvaluateLine(*this, calc, kAverageCloseLine);
  EvaluateLine(*this, calc, kAverageVolumeLine);
  FillBarAxes(SeriesSpan(PriceSeries[kDateTime]), period, LineData[0], LineData[1]);
}

void SIndex::CalcCandleVolume(int) {
  for (SVector& line : LineData) line.ClearData();
  const SVector* close = PriceSeries[kClose];
  if (!close) return;
  // A start index outside the series (a failed calculation marks it with the
  // largest int) leaves no bar to weigh.
  const int first = std::clamp(close->GetStartIndex(), 0, close->GetSize());
  const std::span<const double> volume = SeriesSpan(PriceSeries[kVolume]);
  CandleVolumeWeights(volume.subspan(std::min(volume.size(), static_cast<size_t>(first))), close->GetSize() - first,
                      LineData[0]);
}
