// The counter-clockwise curve, candle volume, market profile and volume at
// price over a million bars (the profile on intraday bars), each timed as the
// indicator runs it: the variable read, the transform and its lines.
#include "BenchMarket.h"

namespace {

struct TransformCase {
  const char* name;
  BarTime time;
  const char* var;
  void (*run)(SIndex&);
};

const TransformCase kCases[] = {
    {"transform/ccw", BarTime::kDaily, "20", [](SIndex& x) { x.CalcCounterClock(0); }},
    {"transform/candlevolume", BarTime::kDaily, "", [](SIndex& x) { x.CalcCandleVolume(0); }},
    {"transform/profile30", BarTime::kIntraday, "30", [](SIndex& x) { x.CalcMarketProfile(0); }},
    {"transform/profile120", BarTime::kIntraday, "120", [](SIndex& x) { x.CalcMarketProfile(0); }},
    {"transform/vap15", BarTime::kDaily, "15", [](SIndex& x) { x.CalcVolumeAtPrice(0, 0, kBenchBars - 1); }},
    {"transform/vap1000", BarTime::kDaily, "1000", [](SIndex& x) { x.CalcVolumeAtPrice(0, 0, kBenchBars - 1); }},
};

bool Register() {
  for (const TransformCase& c : kCases) {
    RegisterOnBothMarkets(c.name, c.time, [c](benchmark::State& state, BenchMarket& m) {
      SIndex x("transform", kIndexNotCalculated);
      SVector* s = m.s;
      x.SetVariable(s[kClose], s[kOpen], s[kHigh], s[kLow], s[kVolume], s[kDateTime], s[kOpenInterest], s[kAmount],
                    s[kSpread]);
      for (auto _ : state) {
        x.VarValue[0] = c.var;
        c.run(x);
        benchmark::DoNotOptimize(x.LineData[0].Data());
      }
      state.SetItemsProcessed(state.iterations() * kBenchBars);
    });
  }
  return true;
}

const bool kRegistered = Register();

}  // namespace
