// Filling a price record bar by bar with AddData, as a host (and the tool's
// CSV reader) does. Each reports ns per bar through the items-processed
// counter. A host that appends bars as they arrive cannot size the series
// first: the cost per bar must then stay flat as the history grows, so the
// appends are timed at several lengths.
#include <benchmark/benchmark.h>

#include "BenchMarket.h"
#include "chartcalc.h"

using namespace chartcalc::detail;

namespace {

void AddBars(SPriceData& d, int bars) {
  for (int i = 0; i < bars; ++i) {
    double c = 100.0 + (i % 211) * 0.25;
    d.AddData(kFieldDateTime, 20000101.0 + i);
    d.AddData(kFieldOpen, c - 0.5);
    d.AddData(kFieldHigh, c + 1.0);
    d.AddData(kFieldLow, c - 1.0);
    d.AddData(kFieldClose, c);
    d.AddData(kFieldVolume, 1000.0 + (i % 97));
    d.AddData(kFieldOpenInterest, 0.0);
    d.AddData(kFieldAmount, 0.0);
    d.AddData(kFieldSpread, 0.0);
  }
}

void BM_AddDataSizedFirst(benchmark::State& state) {
  const int bars = static_cast<int>(state.range(0));
  for (auto _ : state) {
    SPriceData d;
    for (SVector& s : d.Series) s.ReAlloc(bars);
    AddBars(d, bars);
    benchmark::DoNotOptimize(d.Series[kBaseClose].Data());
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_AddDataSizedFirst)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond);

// Every field of the random-walk market's bars appended one bar at a time,
// in arrival order, into a record that was never sized.
void AddWalkBars(SPriceData& d, const BenchMarket& m, int bars) {
  for (int i = 0; i < bars; ++i) {
    d.AddData(kFieldDateTime, m.s[kDateTime][i]);
    d.AddData(kFieldOpen, m.s[kOpen][i]);
    d.AddData(kFieldHigh, m.s[kHigh][i]);
    d.AddData(kFieldLow, m.s[kLow][i]);
    d.AddData(kFieldClose, m.s[kClose][i]);
    d.AddData(kFieldVolume, m.s[kVolume][i]);
    d.AddData(kFieldOpenInterest, m.s[kOpenInterest][i]);
    d.AddData(kFieldAmount, m.s[kAmount][i]);
    d.AddData(kFieldSpread, m.s[kSpread][i]);
  }
}

void BM_AddDataOneBarAtATime(benchmark::State& state) {
  const int bars = static_cast<int>(state.range(0));
  const BenchMarket& market = DailyWalkMarket();
  for (auto _ : state) {
    SPriceData d;
    AddWalkBars(d, market, bars);
    benchmark::DoNotOptimize(d.Series[kBaseClose].Data());
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_AddDataOneBarAtATime)->Arg(100000)->Arg(200000)->Arg(kBenchBars)->Unit(benchmark::kMillisecond);

// Joining staged older history in front of the bars already held.
void BM_InsertDataEnd(benchmark::State& state) {
  const int bars = static_cast<int>(state.range(0));
  SPriceData recent;
  for (SVector& s : recent.Series) s.ReAlloc(bars);
  AddBars(recent, bars);
  for (auto _ : state) {
    state.PauseTiming();
    SPriceData d(recent);
    for (int code = 0; code < kFieldCodes; ++code)
      if (code < kFieldCorrectionDate || code == kFieldSpread) d.TempData[code].ReAlloc(bars);
    for (int i = 0; i < bars; ++i)
      for (int code : {kFieldClose, kFieldOpen, kFieldHigh, kFieldLow, kFieldDateTime, kFieldVolume})
        d.InsertData(code, 1.0);
    state.ResumeTiming();
    d.InsertDataEnd();
    benchmark::DoNotOptimize(d.Series[kBaseClose].Data());
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_InsertDataEnd)->Arg(1000000)->Unit(benchmark::kMillisecond);

}  // namespace
