// Indicator and compression formulas over 1,000,000 intraday bars (30-minute
// bars, 14 a day). Each benchmark evaluates the whole formula through the
// engine; with the time unit in milliseconds per 1,000,000 bars, the reported
// time per iteration reads directly as nanoseconds per bar.
#include "BenchMarket.h"

using namespace chartcalc::detail;

namespace {

void RunIndicatorFormula(benchmark::State& state, const char* formula) {
  RunFormulaBench(state, IntradayMarket(), formula);
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
