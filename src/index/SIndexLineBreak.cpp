// The three-line break chart of the bound closes: VarValue[0] is the number
// of lines a turn must break; lines 0 to 3 receive the chart's lines and
// VarValue[1] the level that would turn it next.
#include "chartcalc/SIndex.h"
#include "chartcalc/TextHelpers.h"
#include "transform/LineBreak.h"

using namespace chartcalc::detail;

namespace {

constexpr int kDefaultLineCount = 3;

}  // namespace

void SIndex::CalcThreeLineBreak(int reset) {
  const TransformBars in = BoundBars(PriceSeries[kClose], PriceSeries[kDateTime]);
  if (reset) VarValue[0] = kDefaultLineCount;
  long count = AnsiStringToInt(VarValue[0], kDefaultLineCount);
  // A negative count would look past the lines in use, so it is corrected
  // like a zero one.
  if (count <= 0) {
    VarValue[0] = kDefaultLineCount;
    count = kDefaultLineCount;
  }
  LineBreakChart chart;
  {
    SegmentWriter out(LineData);
    chart = LineBreakLines(in, static_cast<int>(count), out);
  }
  if (chart.drawn) VarValue[1] = chart.lastThreshold;
}

double SIndex::MakeChangeValue(int mode, SVector& values, int end, int count) {
  // A single number stands for its value at every position.
  if (!values.IsSeries()) return values.Number();
  const int size = std::max(values.GetSize(), 0);
  const int lowerBound = PriceSeries[kClose] ? PriceSeries[kClose]->GetStartIndex() : 0;
  return ChangeValue(mode, {values.Data(), static_cast<size_t>(size)}, end, count, lowerBound);
}
