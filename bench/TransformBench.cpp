// Every chart-type transform over a million bars (the market profile on
// intraday bars), timed as the indicator runs it: the variables read, the
// pass over the bars and the output lines. The random-walk market's reversals
// are as unpredictable as a real market's; the smooth one is for comparison.
// Box, brick and reversal sizes run both as a reset proposes them (a few per
// cent of the first price) and at about one per cent of the price, which
// makes many more elements; the line break with three lines and a thousand
// (its turn levels' window must not cost its length). Milliseconds per run
// over a million bars read as ns per bar.
#include "BenchMarket.h"

namespace {

struct TransformCase {
  const char* name;
  BarTime time;
  int reset;         // 1: the sizes a reset proposes
  const char* var0;  // else the variable texts
  const char* var1;
  void (*run)(SIndex&, int reset);
};

const TransformCase kCases[] = {
    {"transform/pnf/resetbox", BarTime::kDaily, 1, "", "", [](SIndex& x, int r) { x.CalcPnF(r); }},
    {"transform/pnf/box1", BarTime::kDaily, 0, "3", "1", [](SIndex& x, int r) { x.CalcPnF(r); }},
    {"transform/renko/resetbrick", BarTime::kDaily, 1, "", "", [](SIndex& x, int r) { x.CalcRenko(r); }},
    {"transform/renko/brick1", BarTime::kDaily, 0, "1", "", [](SIndex& x, int r) { x.CalcRenko(r); }},
    {"transform/kagi/reset", BarTime::kDaily, 1, "", "", [](SIndex& x, int r) { x.CalcKagi(r); }},
    {"transform/kagi/reversal0.5", BarTime::kDaily, 0, "0.5", "", [](SIndex& x, int r) { x.CalcKagi(r); }},
    {"transform/linebreak/3", BarTime::kDaily, 0, "3", "", [](SIndex& x, int r) { x.CalcThreeLineBreak(r); }},
    {"transform/linebreak/1000", BarTime::kDaily, 0, "1000", "", [](SIndex& x, int r) { x.CalcThreeLineBreak(r); }},
    {"transform/ccw", BarTime::kDaily, 0, "20", "", [](SIndex& x, int r) { x.CalcCounterClock(r); }},
    {"transform/candlevolume", BarTime::kDaily, 0, "", "", [](SIndex& x, int r) { x.CalcCandleVolume(r); }},
    {"transform/profile30", BarTime::kIntraday, 0, "30", "", [](SIndex& x, int r) { x.CalcMarketProfile(r); }},
    {"transform/profile120", BarTime::kIntraday, 0, "120", "", [](SIndex& x, int r) { x.CalcMarketProfile(r); }},
    {"transform/vap15", BarTime::kDaily, 0, "15", "",
     [](SIndex& x, int r) { x.CalcVolumeAtPrice(r, 0, kBenchBars - 1); }},
    {"transform/vap1000", BarTime::kDaily, 0, "1000", "",
     [](SIndex& x, int r) { x.CalcVolumeAtPrice(r, 0, kBenchBars - 1); }},
};

const bool kRegistered = [] {
  for (const TransformCase& c : kCases)
    RegisterOnBothMarkets(c.name, c.time, [&c](benchmark::State& state, BenchMarket& m) {
      SIndex x("bench", kIndexPriceChart);
      SVector* s = m.s;
      x.SetVariable(s[kClose], s[kOpen], s[kHigh], s[kLow], s[kVolume], s[kDateTime], s[kOpenInterest], s[kAmount],
                    s[kSpread]);
      for (auto _ : state) {
        x.VarValue[0] = c.var0;
        x.VarValue[1] = c.var1;
        c.run(x, c.reset);
        benchmark::DoNotOptimize(x.LineData[0].Data());
      }
      state.counters["elements"] = x.LineData[0].GetSize();
      state.SetItemsProcessed(state.iterations() * kBenchBars);
    });
  return true;
}();

}  // namespace
