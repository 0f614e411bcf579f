// The point-and-figure chart of the bound close series. VarValue[0] is the
// reversal count, VarValue[1] the box size; a zero one falls back to its
// default and is rewritten.
#include "chartcalc/SIndex.h"
#include "chartcalc/TextHelpers.h"
#include "transform/PointFigure.h"

using namespace chartcalc::detail;

namespace {

constexpr int kDefaultReversal = 3;
constexpr double kDefaultBox = 1.0;
// A reset proposes a box of this share of the first price.
constexpr double kResetBoxShare = 0.02;

}  // namespace

void SIndex::CalcPnF(int reset) {
  const TransformBars bars = BoundBars(PriceSeries[kClose], PriceSeries[kDateTime]);
  if (reset) {
    VarValue[0] = kDefaultReversal;
    ResetStepText(VarValue[1], FirstNonZeroClose(bars) * kResetBoxShare);
  }
  int reversal = static_cast<int>(AnsiStringToInt(VarValue[0], kDefaultReversal));
  double box = AnsiStringToFloat(VarValue[1], kDefaultBox);
  if (reversal == 0) {
    reversal = kDefaultReversal;
    VarValue[0] = kDefaultReversal;
  }
  if (box == 0.0) {
    box = kDefaultBox;
    VarValue[1] = static_cast<int>(kDefaultBox);
  }
  SegmentWriter out(LineData);
  PointFigureColumns(bars, reversal, box, out);
}
