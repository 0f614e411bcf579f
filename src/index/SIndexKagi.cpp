// Kagi and swing charts of the bound closes: VarValue[0] is the reversal
// amount in price units; lines 0 to 3 receive the segments.
#include "chartcalc/SIndex.h"
#include "chartcalc/TextHelpers.h"
#include "transform/Kagi.h"

using namespace chartcalc::detail;

namespace {

// A reset proposes 5 % of the first price, rounded to a tidy step.
constexpr double kProposedReversalShare = 0.05;
// The reversal of an empty, unreadable or zero variable.
constexpr double kDefaultReversal = 1.0;

}  // namespace

void SIndex::CalcKagi(int reset) {
  const TransformBars in = BoundBars(PriceSeries[kClose], PriceSeries[kDateTime]);
  const double first = FirstNonZeroClose(in);
  if (reset) {
    ResetStepText(VarValue[0], first * kProposedReversalShare);
  }
  double reversal = AnsiStringToFloat(VarValue[0], kDefaultReversal);
  if (reversal == 0.0) reversal = kDefaultReversal;
  SegmentWriter out(LineData);
  KagiSegments(in, reversal, out);
}

void SIndex::CalcSwing(int reset) { CalcKagi(reset); }
