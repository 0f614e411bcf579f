// The Renko chart of the bound close series. VarValue[0] is the brick size;
// a zero one falls back to its default and is rewritten.
#include "chartcalc/SIndex.h"
#include "chartcalc/TextHelpers.h"
#include "transform/Renko.h"

using namespace chartcalc::detail;

namespace {

constexpr double kDefaultBrick = 1.0;
// A reset proposes a brick of this share of the first price.
constexpr double kResetBrickShare = 0.04;

}  // namespace

void SIndex::CalcRenko(int reset) {
  const TransformBars bars = BoundBars(PriceSeries[kClose], PriceSeries[kDateTime]);
  if (reset) ResetStepText(VarValue[0], FirstNonZeroClose(bars) * kResetBrickShare);
  double box = AnsiStringToFloat(VarValue[0], kDefaultBrick);
  if (box == 0.0) {
    box = kDefaultBrick;
    VarValue[0] = static_cast<int>(kDefaultBrick);
  }
  SegmentWriter out(LineData);
  RenkoBricks(bars, box, out);
}
