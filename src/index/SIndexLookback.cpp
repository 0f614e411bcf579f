// Look-back analysis and the search evaluation of an indicator.
//
// Every series function sets its result's start index to the first bar at
// which it has enough history, so evaluating the formulas over empty price
// series leaves, in the start index, the look-back of the whole formula:
// no price data is needed to learn how many bars an indicator needs.
#include <algorithm>

#include "chartcalc/SIndex.h"

using namespace chartcalc::detail;

int SIndex::GetMinDataSize() {
  SVector empty[kPriceSlots];
  SVector* emptySeries[kPriceSlots];
  for (int k = 0; k < kPriceSlots; ++k) emptySeries[k] = &empty[k];
  SCalc probe;
  probe.SetVariables(emptySeries);
  probe.SetFunction(FunctionList);
  ConvertExpression();

  // The indicator's own engine keeps line 0 compiled for CalcSrch.
  Engine.SetVariables(PriceSeries);
  Engine.SetFunction(FunctionList);
  Engine.SetExpression(ConvertedExpression[0].c_str());
  Engine.InfixToPostFix();

  int bars = 0;
  for (int line = 0; line < kIndexLines; ++line) {
    if (ConvertedExpression[line].IsEmpty()) continue;
    probe.SetExpression(ConvertedExpression[line].c_str());
    LineData[line] = probe.Calculate();
    LineData[line].InitTemp();
    const int start = LineData[line].GetStartIndex();
    if (start < kInvalidStart) bars = std::max(bars, ShiftStart(start, 1));
  }
  return bars;
}

void SIndex::CalcSrch() {
  if (ConvertedExpression[0].IsEmpty()) return;
  LineData[0] = Engine.CalcOp(nullptr);
}
