// Zigzag lines of an indicator: reads the bound close and date-time series
// and its reversal percentage, and lays the swings out in its lines.
#include "chartcalc/SIndex.h"
#include "chartcalc/TextHelpers.h"
#include "index/ZigZag.h"
#include "transform/TransformCommon.h"

using namespace chartcalc::detail;

namespace {

// The reversal percentage when VarValue[0] is empty or not a number.
constexpr double kDefaultPercent = 5.0;
// The automatic setting proposes this share of the first close, made a
// usable step.
constexpr double kAutoShareOfFirst = 0.05;

// Step record lines of CalcZigZagOrgLine.
constexpr int kStepDate = 0, kStepBar = 1, kStepLevel = 2, kStepTurn = 3;
// Lines of CalcZigZagLine.
constexpr int kMarkDate = 0, kMarkClose = 1;

// Sets the automatic percentage when asked, empties the lines and gives the
// reversal fraction.
double Prepare(SIndex& x, const TransformBars& bars, int autoPercent) {
  if (autoPercent) ResetStepText(x.VarValue[0], FirstNonZeroClose(bars) * kAutoShareOfFirst);
  for (SVector& line : x.LineData) line.ClearData();
  return ZigZagFraction(AnsiStringToFloat(x.VarValue[0], kDefaultPercent));
}

}  // namespace

// LineData[0] leads with the first bar's date and then carries, beside each
// mark of bar k, the date of bar k: one element longer than LineData[1].
void SIndex::CalcZigZagLine(int autoPercent) {
  const TransformBars bars = BoundBars(PriceSeries[kClose], PriceSeries[kDateTime]);
  const double fraction = Prepare(*this, bars, autoPercent);
  const ZigZagMarks z = ZigZagTurningPoints(bars.close, bars.start, fraction);
  if (z.firstBar < 0) return;
  LineData[kMarkDate].ReAlloc(static_cast<int>(z.marks.size()) + 1);
  LineData[kMarkClose].ReAlloc(static_cast<int>(z.marks.size()));
  LineData[kMarkDate].Add(bars.DateTime(z.firstBar));
  for (size_t k = 0; k < z.marks.size(); ++k) {
    LineData[kMarkDate].Add(bars.DateTime(z.firstBar + static_cast<int>(k)));
    LineData[kMarkClose].Add(z.marks[k]);
  }
}

void SIndex::CalcZigZagOrgLine(int autoPercent) {
  const TransformBars bars = BoundBars(PriceSeries[kClose], PriceSeries[kDateTime]);
  const double fraction = Prepare(*this, bars, autoPercent);
  const std::vector<ZigZagStep> steps = ZigZagSteps(bars.close, bars.start, fraction);
  for (int line : {kStepDate, kStepBar, kStepLevel, kStepTurn}) LineData[line].ReAlloc(static_cast<int>(steps.size()));
  for (const ZigZagStep& s : steps) {
    LineData[kStepDate].Add(bars.DateTime(s.bar));
    LineData[kStepBar].Add(s.bar);
    LineData[kStepLevel].Add(s.level);
    LineData[kStepTurn].Add(s.afterTurn ? s.level : 0.0);
  }
}
