// Kagi and three-line break charts through the indicator over a million daily
// bars: one pass over the closes plus writing the lines. Kagi runs with its
// reset reversal (5 % of the first price: few turns) and with a reversal of
// half a price unit (a turn every few bars, so the turn branch is as
// unpredictable as it gets); the line break with its default three lines and
// with a thousand (the turn levels' window must not cost its length).
#include "BenchMarket.h"

using namespace chartcalc::detail;

namespace {

struct TransformCase {
  const char* name;
  void (SIndex::*calc)(int);
  const char* var;
  int reset;
};

constexpr TransformCase kCases[] = {
    {"Kagi/reset", &SIndex::CalcKagi, "", 1},
    {"Kagi/reversal0.5", &SIndex::CalcKagi, "0.5", 0},
    {"ThreeLineBreak/3", &SIndex::CalcThreeLineBreak, "3", 0},
    {"ThreeLineBreak/1000", &SIndex::CalcThreeLineBreak, "1000", 0},
};

void RunTransform(benchmark::State& state, BenchMarket& market, const TransformCase& c) {
  SIndex x("bench", kIndexPriceChart);
  SVector* s = market.s;
  x.SetVariable(s[0], s[1], s[2], s[3], s[4], s[5], s[6], s[7], s[8]);
  for (auto _ : state) {
    x.VarValue[0] = c.var;
    (x.*c.calc)(c.reset);
    benchmark::DoNotOptimize(x.LineData[3].Data());
  }
  state.counters["elements"] = x.LineData[0].GetSize();
  state.SetItemsProcessed(state.iterations() * kBenchBars);
}

const bool kRegistered = [] {
  for (const TransformCase& c : kCases)
    RegisterOnBothMarkets(c.name, BarTime::kDaily,
                          [&c](benchmark::State& state, BenchMarket& market) { RunTransform(state, market, c); });
  return true;
}();

}  // namespace
