// Growth of an indicator line that CalcLast extends bar by bar.
#pragma once

#include <algorithm>
#include <climits>

#include "chartcalc/SVector.h"

namespace chartcalc::detail {

// Makes the line n bars long. When it must grow, it grows by a quarter of
// its length (at least a block) at once, keeping its valid bars: growing by
// one block at a time would copy the whole history every thousand bars, a
// cost that rises with the history rather than with the formula's window.
inline void GrowLineTo(SVector& line, int n) {
  if (n > line.GetCapacity()) {
    const long long wanted = static_cast<long long>(n) + std::max(n / 4, kSeriesBlock);
    const long long blocks = (wanted + kSeriesBlock - 1) / kSeriesBlock;
    line.ReAlloc(static_cast<int>(std::min<long long>(blocks * kSeriesBlock, INT_MAX)));
  }
  line.SetSize(n);
}

}  // namespace chartcalc::detail
