// What an indicator keeps between two CalcLast calls for its lines whose
// formulas depend on the whole history: each such line's whole result and
// its history functions' running state, and the inputs they were calculated
// from, so that anything that could make them stale is noticed.
#pragma once

#include <string>

#include "calc/LiveRun.h"
#include "chartcalc/SIndex.h"

namespace chartcalc::detail {

struct LiveLine {
  LiveRun run;
  SVector result;          // the whole line as the last calculation left it
  std::string expression;  // the converted expression it was calculated from
  int lookback = 0;        // bars before the last old bar at which the prices restart
  bool kept = false;

  void Drop() { *this = LiveLine(); }
};

class LiveLines {
 public:
  // Takes note of what the indicator reads before a calculation, and drops
  // every kept line unless it is what they were calculated from: the same
  // series, none revised (bars appended and the last one revised aside), the
  // same kind and the same user functions. A calculation changes none of
  // them.
  void TakeInputs(const SIndex& x);

  LiveLine lines[kIndexLines];

 private:
  struct Inputs {
    const SVector* series[kPriceSlots] = {};
    unsigned revision[kPriceSlots] = {};
    int start[kPriceSlots] = {};
    int bars[kPriceSlots] = {};
    int indexType = 0;
    const SFunctionList* functions = nullptr;
    std::string functionText;
  };
  static Inputs Read(const SIndex& x);
  bool Same(const Inputs& now) const;

  Inputs inputs_;
  bool remembered_ = false;
};

}  // namespace chartcalc::detail
