// Formula-engine and series benchmarks over 1,000,000 bars. Each reports
// ns per bar through the items-processed counter (bars per second).
#include <benchmark/benchmark.h>

#include <cmath>

#include "chartcalc.h"

namespace {

constexpr int kBars = 1000000;

struct Market {
  SVector s[kPriceSlots];
  Market() {
    for (int k = 0; k < kPriceSlots; ++k) s[k] = SVector(kBars);
    double c = 100.0;
    for (int i = 0; i < kBars; ++i) {
      c *= std::exp(0.01 * std::sin(i * 0.37) * std::cos(i * 0.011));
      s[kClose][i] = c;
      s[kOpen][i] = c * 0.999;
      s[kHigh][i] = c * 1.01;
      s[kLow][i] = c * 0.99;
      s[kVolume][i] = 1000.0 + (i % 97);
      s[kDateTime][i] = 20000101 + i;
      s[kOpenInterest][i] = s[kAmount][i] = s[kSpread][i] = 0.0;
    }
  }
};

Market& TheMarket() {
  static Market m;
  return m;
}

void RunFormula(benchmark::State& state, const char* formula) {
  SVector* s = TheMarket().s;
  SCalc calc;
  calc.SetVariable(s[kClose], s[kOpen], s[kHigh], s[kLow], s[kVolume], s[kDateTime], s[kOpenInterest], s[kAmount],
                   s[kSpread]);
  for (auto _ : state) {
    calc.SetExpression(formula);
    SVector r = calc.Calculate();
    benchmark::DoNotOptimize(r.Data());
    if (calc.ErrorCount) state.SkipWithError(calc.ErrorMessage.c_str());
  }
  state.SetItemsProcessed(state.iterations() * kBars);
}

void BM_SeriesCalcAvg20(benchmark::State& state) {
  SVector r;
  for (auto _ : state) {
    r.CalcAvg(TheMarket().s[kClose], 20);
    benchmark::DoNotOptimize(r.Data());
  }
  state.SetItemsProcessed(state.iterations() * kBars);
}
BENCHMARK(BM_SeriesCalcAvg20)->Unit(benchmark::kMillisecond);

void BM_SeriesCalcHighest20(benchmark::State& state) {
  SVector r;
  for (auto _ : state) {
    r.CalcHighest(TheMarket().s[kHigh], 20);
    benchmark::DoNotOptimize(r.Data());
  }
  state.SetItemsProcessed(state.iterations() * kBars);
}
BENCHMARK(BM_SeriesCalcHighest20)->Unit(benchmark::kMillisecond);

void BM_SeriesCalcStdev20(benchmark::State& state) {
  SVector r;
  for (auto _ : state) {
    r.CalcStdev(TheMarket().s[kClose], 20);
    benchmark::DoNotOptimize(r.Data());
  }
  state.SetItemsProcessed(state.iterations() * kBars);
}
BENCHMARK(BM_SeriesCalcStdev20)->Unit(benchmark::kMillisecond);

void BM_FormulaArithmetic(benchmark::State& state) { RunFormula(state, "a = 2; (a * 3 + 1) / 7 - a"); }
BENCHMARK(BM_FormulaArithmetic)->Unit(benchmark::kMillisecond);

}  // namespace
