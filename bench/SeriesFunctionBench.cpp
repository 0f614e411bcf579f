// Series functions evaluated through the formula engine over 1,000,000 bars.
// Each benchmark reports bars per second (items processed); ns per bar is its
// inverse. Window functions must cost the same whatever their period, so
// highest over 20 and over 200 bars should run at about the same speed.
#include "BenchMarket.h"

using namespace chartcalc::detail;

namespace {

void RunSeriesFormula(benchmark::State& state, const char* formula) { RunFormulaBench(state, DailyMarket(), formula); }

void BM_SeriesAvg20(benchmark::State& state) { RunSeriesFormula(state, "avg(close, 20)"); }
BENCHMARK(BM_SeriesAvg20)->Unit(benchmark::kMillisecond);

void BM_SeriesHighest20(benchmark::State& state) { RunSeriesFormula(state, "highest(high, 20)"); }
BENCHMARK(BM_SeriesHighest20)->Unit(benchmark::kMillisecond);

void BM_SeriesBollingerZ20(benchmark::State& state) {
  RunSeriesFormula(state, "(close - avg(close, 20)) / stdev(close, 20)");
}
BENCHMARK(BM_SeriesBollingerZ20)->Unit(benchmark::kMillisecond);

void BM_SeriesHighest200(benchmark::State& state) { RunSeriesFormula(state, "highest(high, 200)"); }
BENCHMARK(BM_SeriesHighest200)->Unit(benchmark::kMillisecond);

void BM_SeriesValueWhenCross(benchmark::State& state) {
  RunSeriesFormula(state, "valuewhen(1, crossup(c, avg(c, 20)), c)");
}
BENCHMARK(BM_SeriesValueWhenCross)->Unit(benchmark::kMillisecond);

// Ten series functions in one formula.
void BM_SeriesTenFunctions(benchmark::State& state) {
  RunSeriesFormula(state,
                   "up = crossup(c, eavg(c, 12)); "
                   "band = highest(h, 50) - lowest(l, 50); "
                   "z = (c - wavg(c, 30)) / stdev(c, 30); "
                   "if(BarsSince(up) < 5, valuewhen(2, up, c), HighestSince(1, up, h)) + band * 0 + z");
}
BENCHMARK(BM_SeriesTenFunctions)->Unit(benchmark::kMillisecond);

void BM_SeriesSwingHigh(benchmark::State& state) { RunSeriesFormula(state, "swinghigh(2, high, 5, 100)"); }
BENCHMARK(BM_SeriesSwingHigh)->Unit(benchmark::kMillisecond);

}  // namespace
