// Formula-engine and series benchmarks over 1,000,000 bars. Each reports
// ns per bar through the items-processed counter (bars per second).
#include "BenchMarket.h"

using namespace chartcalc::detail;

namespace {

void BM_SeriesCalcAvg20(benchmark::State& state) {
  SVector r;
  for (auto _ : state) {
    r.CalcAvg(DailyMarket().s[kClose], 20);
    benchmark::DoNotOptimize(r.Data());
  }
  state.SetItemsProcessed(state.iterations() * kBenchBars);
}
BENCHMARK(BM_SeriesCalcAvg20)->Unit(benchmark::kMillisecond);

void BM_SeriesCalcHighest20(benchmark::State& state) {
  SVector r;
  for (auto _ : state) {
    r.CalcHighest(DailyMarket().s[kHigh], 20);
    benchmark::DoNotOptimize(r.Data());
  }
  state.SetItemsProcessed(state.iterations() * kBenchBars);
}
BENCHMARK(BM_SeriesCalcHighest20)->Unit(benchmark::kMillisecond);

void BM_SeriesCalcStdev20(benchmark::State& state) {
  SVector r;
  for (auto _ : state) {
    r.CalcStdev(DailyMarket().s[kClose], 20);
    benchmark::DoNotOptimize(r.Data());
  }
  state.SetItemsProcessed(state.iterations() * kBenchBars);
}
BENCHMARK(BM_SeriesCalcStdev20)->Unit(benchmark::kMillisecond);

void BM_FormulaArithmetic(benchmark::State& state) {
  RunFormulaBench(state, DailyMarket(), "a = 2; (a * 3 + 1) / 7 - a");
}
BENCHMARK(BM_FormulaArithmetic)->Unit(benchmark::kMillisecond);

}  // namespace
