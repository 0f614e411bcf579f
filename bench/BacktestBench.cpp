// A back-test of a moving-average crossover with three stops (loss,
// profit target, trailing) on the random-walk market, split into its
// stages over 1,000,000 daily bars — the indicator's calculation, the stops,
// the trade table and the summary — and one whole run over 10,000 bars, the
// unit an optimisation repeats thousands of times.
#include <memory>

#include "BenchMarket.h"
#include "BenchSystems.h"

using namespace chartcalc::detail;

namespace {

// The first `bars` bars of the daily random-walk market, bound to a
// simulation with the crossover system and three stops switched on.
struct Backtest {
  SVector s[kPriceSlots];
  std::unique_ptr<SSimulation> sim = std::make_unique<SSimulation>();

  explicit Backtest(int bars) {
    const BenchMarket& m = DailyWalkMarket();
    for (int k = 0; k < kPriceSlots; ++k) {
      s[k] = SVector(bars);
      for (int i = 0; i < bars; ++i) s[k][i] = m.s[k][i];
    }
    SSimulationSetting& set = sim->Setting;
    set.BlMoneyManagementStop = set.BlProfitTargetStop = set.BlRiskTrailingStop2 = 1;
    set.MoneyManagementStop = 0.03;
    set.ProfitTargetStop = 0.06;
    sim->SetTickSize(0.01);
    sim->SumInfoFile = "/nonexistent/SumInfo.rpt";  // no summary-info table: nothing written
    sim->SetVariablePointer(&s[kClose], &s[kOpen], &s[kHigh], &s[kLow], &s[kVolume], &s[kDateTime], &s[kOpenInterest],
                            &s[kAmount], &s[kSpread]);
    SIndex system = CrossoverSystem();
    sim->SetIndex(system);
    sim->SetVariableToIndex();
  }
  void Calc() { sim->Index.Calc(); }
  void Stops() {
    sim->ProcessStop();
    sim->Index.PreProcess();
  }
  void History() {
    sim->SetHistoryToZero();
    sim->SetHistory();
  }
  void Summary() {
    sim->SummaryCount = 0;
    sim->SetSummary();
  }
};

// One stage, timed alone; the stages before it run outside the timing
// (the stops rewrite the signals, so those are recalculated every time).
template <class Stage>
void RunStage(benchmark::State& state, int bars, Stage stage, bool stopsFirst = false) {
  Backtest b(bars);
  for (auto _ : state) {
    state.PauseTiming();
    b.Calc();
    if (stopsFirst) b.Stops();
    state.ResumeTiming();
    stage(b);
  }
  state.counters["trades"] = b.sim->Trades.GetCount();
  state.SetItemsProcessed(state.iterations() * bars);
}

void BM_BacktestCalc(benchmark::State& state) {
  Backtest b(kBenchBars);
  for (auto _ : state) b.Calc();
  state.SetItemsProcessed(state.iterations() * kBenchBars);
}

void BM_BacktestStops(benchmark::State& state) {
  RunStage(state, kBenchBars, [](Backtest& b) { b.Stops(); });
}

void BM_BacktestHistory(benchmark::State& state) {
  RunStage(
      state, kBenchBars, [](Backtest& b) { b.History(); }, /*stopsFirst=*/true);
}

void BM_BacktestSummary(benchmark::State& state) {
  Backtest b(kBenchBars);
  b.Calc();
  b.Stops();
  b.History();
  for (auto _ : state) b.Summary();
  state.counters["trades"] = b.sim->Trades.GetCount();
  state.SetItemsProcessed(state.iterations() * kBenchBars);
}

// Everything a run does, as an optimisation repeats it.
void BM_BacktestRun(benchmark::State& state) {
  const int bars = static_cast<int>(state.range(0));
  Backtest b(bars);
  for (auto _ : state) {
    b.Calc();
    b.Stops();
    b.History();
    b.Summary();
  }
  state.counters["trades"] = b.sim->Trades.GetCount();
  state.SetItemsProcessed(state.iterations() * bars);
}

}  // namespace

BENCHMARK(BM_BacktestCalc)->Unit(benchmark::kMillisecond);
// The stages after the calculation rerun it untimed before every
// iteration; a fixed count keeps that bounded.
BENCHMARK(BM_BacktestStops)->Iterations(10)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_BacktestHistory)->Iterations(10)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_BacktestSummary)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_BacktestRun)->Arg(10000)->Unit(benchmark::kMicrosecond);
