// Point-and-figure columns and Renko bricks of a million daily bars, through
// the indicator (parameters, the pass over the bars, the output lines), on
// the random-walk market, whose reversals are as unpredictable as a real
// market's, and on the smooth one for comparison. Each runs with the box a
// reset proposes (2 % and 4 % of the first price) and with a box of one point (about 1 % of the price),
// which makes many more columns and bricks. Milliseconds per run over a
// million bars read as ns per bar.
#include "BenchMarket.h"

namespace {

struct TransformCase {
  const char* name;
  void (SIndex::*calc)(int);
  int boxVar;       // the variable holding the box size
  const char* box;  // null: the size a reset proposes
};

constexpr TransformCase kCases[] = {
    {"PointFigure/resetbox", &SIndex::CalcPnF, 1, nullptr},
    {"PointFigure/box1", &SIndex::CalcPnF, 1, "1"},
    {"Renko/resetbox", &SIndex::CalcRenko, 0, nullptr},
    {"Renko/box1", &SIndex::CalcRenko, 0, "1"},
};

void RunTransform(benchmark::State& state, BenchMarket& market, const TransformCase& c) {
  SVector* s = market.s;
  SIndex x("bench", kIndexPriceChart);
  x.SetVariable(s[kClose], s[kOpen], s[kHigh], s[kLow], s[kVolume], s[kDateTime], s[kOpenInterest], s[kAmount],
                s[kSpread]);
  (x.*c.calc)(1);
  if (c.box) x.VarValue[c.boxVar] = SString(c.box);
  for (auto _ : state) {
    (x.*c.calc)(0);
    benchmark::DoNotOptimize(x.LineData[3].Data());
  }
  state.counters["elements"] = x.LineData[3].GetSize();
  state.SetItemsProcessed(state.iterations() * kBenchBars);
}

const bool kRegistered = [] {
  for (const TransformCase& c : kCases)
    RegisterOnBothMarkets(c.name, BarTime::kDaily,
                          [&c](benchmark::State& state, BenchMarket& market) { RunTransform(state, market, c); });
  return true;
}();

}  // namespace
