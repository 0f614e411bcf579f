// Indicator and compression formulas over 1,000,000 intraday bars (30-minute
// bars, 14 a day). Each benchmark evaluates the whole formula through the
// engine; with the time unit in milliseconds per 1,000,000 bars, the reported
// time per iteration reads directly as nanoseconds per bar.
#include <benchmark/benchmark.h>

#include <cmath>

#include "chartcalc.h"

namespace {

constexpr int kBars = 1000000;
constexpr int kBarsPerDay = 14;

struct IntradayMarket {
  SVector s[kPriceSlots];
  IntradayMarket() {
    for (int k = 0; k < kPriceSlots; ++k) s[k] = SVector(kBars);
    double c = 100.0;
    double day = MakeDateTime(19000101, 0);
    for (int i = 0; i < kBars; ++i) {
      int k = i % kBarsPerDay;
      if (i > 0 && k == 0) day = GetNextTime(day, 24 * 60);
      double open = c;
      c *= std::exp(0.004 * std::sin(i * 0.37) * std::cos(i * 0.011));
      s[kClose][i] = c;
      s[kOpen][i] = open;
      s[kHigh][i] = std::fmax(open, c) * 1.002;
      s[kLow][i] = std::fmin(open, c) * 0.998;
      s[kVolume][i] = 1000.0 + (i % 97) * (1 + k % 3);
      s[kDateTime][i] = GetNextTime(day, 9 * 60 + 30 * k);
      s[kOpenInterest][i] = s[kAmount][i] = s[kSpread][i] = 0.0;
    }
  }
};

IntradayMarket& TheMarket() {
  static IntradayMarket m;
  return m;
}

void RunIndicatorFormula(benchmark::State& state, const char* formula) {
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

BENCHMARK_CAPTURE(RunIndicatorFormula, Cci20, "cci(20)")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(RunIndicatorFormula, Rsi14, "rsi(14)")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(RunIndicatorFormula, CorrelationCloseVolume20, "Correlation(c, v, 20)")
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(RunIndicatorFormula, LinearRegressionValue20, "LinearRegressionValue(c, 20, 0)")
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(RunIndicatorFormula, Sar, "sar(0.02, 0.2)")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(RunIndicatorFormula, DeCompressDailyClose, "DeCompress(CompressC(day), CompressD(day))")
    ->Unit(benchmark::kMillisecond);

// The period must not change the cost of the running-sum statistics.
BENCHMARK_CAPTURE(RunIndicatorFormula, LinearRegressionValue500, "LinearRegressionValue(c, 500, 0)")
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(RunIndicatorFormula, CorrelationCloseVolume500, "Correlation(c, v, 500)")
    ->Unit(benchmark::kMillisecond);

}  // namespace
