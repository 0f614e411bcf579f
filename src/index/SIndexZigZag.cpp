// Zigzag lines of an indicator: reads the bound close and date-time series
// and its reversal percentage, and lays the swings out in its lines.
#include <span>

#include "chartcalc/SIndex.h"
#include "chartcalc/TextHelpers.h"
#include "index/ZigZag.h"

using namespace chartcalc::detail;

namespace {

// The reversal percentage when VarValue[0] is empty or not a number.
constexpr double kDefaultPercent = 5.0;
// The automatic setting proposes this fraction of the first close, made
// usable by conditionProove (1 when that gives nothing usable).
constexpr double kAutoShareOfFirst = 0.05;
constexpr double kAutoFallback = 1.0;

// Step record lines of CalcZigZagOrgLine.
constexpr int kStepDate = 0, kStepBar = 1, kStepLevel = 2, kStepTurn = 3;
// Lines of CalcZigZagLine.
constexpr int kMarkDate = 0, kMarkClose = 1;

std::span<const double> Series(const SVector* s) {
  return s ? std::span<const double>(s->Data(), static_cast<size_t>(s->GetSize())) : std::span<const double>();
}

int From(const SVector* s) { return s ? std::max(s->GetStartIndex(), 0) : 0; }

double DateAt(const SVector* dates, int bar) {
  return dates && bar >= 0 && bar < dates->GetSize() ? (*dates)[bar] : 0.0;
}

// Sets the automatic percentage when asked, empties the lines and gives the
// reversal fraction.
double Prepare(SIndex& x, int autoPercent) {
  const SVector* close = x.PriceSeries[kClose];
  if (autoPercent) {
    const int firstBar = ZigZagFirstBar(Series(close), From(close));
    const double first = firstBar < 0 ? 0.0 : (*close)[firstBar];
    x.VarValue[0] = first * kAutoShareOfFirst;
    x.VarValue[0] = conditionProove(AnsiStringToFloat(x.VarValue[0], kAutoFallback));
  }
  for (SVector& line : x.LineData) line.ClearData();
  return ZigZagFraction(AnsiStringToFloat(x.VarValue[0], kDefaultPercent));
}

}  // namespace

// LineData[0] leads with the first bar's date and then carries, beside each
// mark of bar k, the date of bar k: one element longer than LineData[1].
void SIndex::CalcZigZagLine(int autoPercent) {
  const double fraction = Prepare(*this, autoPercent);
  const SVector* close = PriceSeries[kClose];
  const SVector* dates = PriceSeries[kDateTime];
  const ZigZagMarks z = ZigZagTurningPoints(Series(close), From(close), fraction);
  if (z.firstBar < 0) return;
  LineData[kMarkDate].ReAlloc(static_cast<int>(z.marks.size()) + 1);
  LineData[kMarkClose].ReAlloc(static_cast<int>(z.marks.size()));
  LineData[kMarkDate].Add(DateAt(dates, z.firstBar));
  for (size_t k = 0; k < z.marks.size(); ++k) {
    LineData[kMarkDate].Add(DateAt(dates, z.firstBar + static_cast<int>(k)));
    LineData[kMarkClose].Add(z.marks[k]);
  }
}

void SIndex::CalcZigZagOrgLine(int autoPercent) {
  const double fraction = Prepare(*this, autoPercent);
  const SVector* close = PriceSeries[kClose];
  const SVector* dates = PriceSeries[kDateTime];
  const std::vector<ZigZagStep> steps = ZigZagSteps(Series(close), From(close), fraction);
  for (int line : {kStepDate, kStepBar, kStepLevel, kStepTurn}) LineData[line].ReAlloc(static_cast<int>(steps.size()));
  for (const ZigZagStep& s : steps) {
    LineData[kStepDate].Add(DateAt(dates, s.bar));
    LineData[kStepBar].Add(s.bar);
    LineData[kStepLevel].Add(s.level);
    LineData[kStepTurn].Add(s.afterTurn ? s.level : 0.0);
  }
}
