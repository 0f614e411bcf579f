// Incremental indicator calculation: the cost of CalcLast for one new bar
// after a history of 10,000 or 1,000,000 bars. A window-limited formula
// should cost the same whatever the history. A formula that depends on the
// whole history (the exponential averages of MACD, rsi, the parabolic stop)
// has every bar of its lines rewritten on every call; its history functions
// go on from their kept state, so the rewrite should cost about a copy of
// the lines, which CopyLines measures beside them. Each iteration adds one
// bar and calls CalcLast; the iteration count is fixed so that the history
// grows by no more than a few thousand bars during a run.
#include <algorithm>
#include <cstring>
#include <string>

#include "BenchMarket.h"

using namespace chartcalc::detail;

namespace {

constexpr int kIterations = 2000;
constexpr int kWarmUpBars = 10;

struct Definition {
  const char* lines[3];
};

// MACD as shipped (exponential averages: whole-history functions).
constexpr Definition kMacd = {{"eavg(c, 12) - eavg(c, 26)", "eavg(eavg(c, 12) - eavg(c, 26), 9)",
                               "m = eavg(c, 12) - eavg(c, 26); m - eavg(m, 9)"}};
// The same shape on weighted averages, which look at a fixed window.
constexpr Definition kWeightedMacd = {
    {"wavg(c, 12) - wavg(c, 26)", "avg(wavg(c, 12) - wavg(c, 26), 9)", "m = wavg(c, 12) - wavg(c, 26); m - avg(m, 9)"}};
constexpr Definition kBollinger = {{"avg(c, 20) + 2 * stdev(c, 20)", "avg(c, 20)", "avg(c, 20) - 2 * stdev(c, 20)"}};
constexpr Definition kRsi = {{"rsi(14)", "avg(rsi(14), 9)", ""}};
constexpr Definition kParabolicSar = {{"sar(0.02, 0.2)", "", ""}};
constexpr Definition kStochastic = {{"avg(100 * (c - lowest(l, 14)) / (highest(h, 14) - lowest(l, 14)), 3)",
                                     "avg(avg(100 * (c - lowest(l, 14)) / (highest(h, 14) - lowest(l, 14)), 3), 3)",
                                     ""}};

struct Live {
  SVector s[kPriceSlots];
  SIndex index{"bench", kIndexIndicator};
  int bars = 0;

  explicit Live(const Definition& d, int history) {
    // The host reserves room for its bars, as the CSV reader does.
    for (SVector& v : s) v.SetSize(history + kIterations + kWarmUpBars);
    for (SVector& v : s) v.SetSize(0);
    for (int i = 0; i < history; ++i) AddBar();
    index.SetVariable(s[0], s[1], s[2], s[3], s[4], s[5], s[6], s[7], s[8]);
    for (int k = 0; k < 3; ++k) index.SetExpression(k, d.lines[k]);
    index.CalcLast();  // the first call calculates in full
    // The first new bars grow the lines and fill the buffer pool; the
    // measurement is of the steady state that follows.
    for (int i = 0; i < kWarmUpBars; ++i) {
      AddBar();
      index.CalcLast();
    }
  }
  // The next bar of the daily benchmark market (from its start again after
  // its last bar).
  void AddBar() {
    const BenchMarket& m = DailyMarket();
    const int i = bars % kBenchBars;
    for (int k = 0; k < kPriceSlots; ++k) s[k].Add(m.s[k][i]);
    ++bars;
  }
};

void CalcLastOneBar(benchmark::State& state, const Definition& d) {
  Live live(d, static_cast<int>(state.range(0)));
  for (auto _ : state) {
    live.AddBar();
    live.index.CalcLast();
    benchmark::DoNotOptimize(live.index.LineData[0].Data());
  }
  state.counters["history"] = static_cast<double>(state.range(0));
}

// What the rewrite of a history line is held to: a copy of one line's bars.
void CopyLines(benchmark::State& state) {
  const int n = static_cast<int>(state.range(0));
  SVector from(n), to(n);
  std::fill(from.Data(), from.Data() + n, 1.0);
  for (auto _ : state) {
    std::memcpy(to.Data(), from.Data(), sizeof(double) * static_cast<size_t>(n));
    benchmark::DoNotOptimize(to.Data());
    benchmark::ClobberMemory();
  }
}

// The definitions measured, each after 10,000 and 1,000,000 bars.
const struct {
  const char* name;
  const Definition* definition;
} kMeasured[] = {{"WeightedMacd", &kWeightedMacd}, {"Bollinger", &kBollinger}, {"StochasticSlow", &kStochastic},
                 {"Macd", &kMacd},                 {"Rsi", &kRsi},             {"ParabolicSar", &kParabolicSar}};

bool RegisterCalcLast() {
  for (const auto& m : kMeasured)
    benchmark::RegisterBenchmark((std::string("CalcLastOneBar/") + m.name).c_str(),
                                 [d = m.definition](benchmark::State& state) { CalcLastOneBar(state, *d); })
        ->Arg(10000)
        ->Arg(1000000)
        ->Iterations(kIterations)
        ->Unit(benchmark::kMicrosecond);
  return true;
}

[[maybe_unused]] const bool kRegistered = RegisterCalcLast();

}  // namespace

BENCHMARK(CopyLines)->Arg(10000)->Arg(1000000)->Unit(benchmark::kMicrosecond);
