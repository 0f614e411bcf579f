// An optimisation as a host runs it: a moving-average crossover with a loss
// stop and a profit target over the first 10,000 bars of the random-walk
// market, a grid of 120 runs per iteration through SSimulationMain on the
// calling thread, every run writing its report files into a scratch folder.
// The counter runs_per_second is the figure that matters.
#include <filesystem>
#include <memory>

#include "BenchMarket.h"
#include "BenchSystems.h"

namespace {

constexpr int kOptimiseBars = 10000;

SIndex CrossoverGrid() {
  SIndex x = CrossoverSystem("short", "long");
  const char* names[] = {"short", "long"};
  const char* ranges[][3] = {{"2", "21", "1"}, {"30", "80", "10"}};  // 20 x 6 runs
  for (int v = 0; v < 2; ++v) {
    x.VarName[v] = names[v];
    x.VarValue[v] = ranges[v][0];
    x.VarStart[v] = ranges[v][0];
    x.VarEnd[v] = ranges[v][1];
    x.VarIncrement[v] = ranges[v][2];
  }
  return x;
}

void BM_OptimiseRuns(benchmark::State& state) {
  const BenchMarket& m = DailyWalkMarket();
  SVector s[kPriceSlots];
  for (int k = 0; k < kPriceSlots; ++k) {
    s[k] = SVector(kOptimiseBars);
    for (int i = 0; i < kOptimiseBars; ++i) s[k][i] = m.s[k][i];
  }
  auto sim = std::make_unique<SSimulation>();
  sim->Setting.BlMoneyManagementStop = sim->Setting.BlProfitTargetStop = 1;
  sim->Setting.MoneyManagementStop = 0.03;
  sim->Setting.ProfitTargetStop = 0.06;
  sim->SetTickSize(0.01);
  sim->SetVariablePointer(&s[kClose], &s[kOpen], &s[kHigh], &s[kLow], &s[kVolume], &s[kDateTime], &s[kOpenInterest],
                          &s[kAmount], &s[kSpread]);
  SIndex grid = CrossoverGrid();
  sim->SetIndex(grid);
  const std::string dir = (std::filesystem::temp_directory_path() / "chartcalc-bench-optimise/").string();
  long long runs = 0;
  for (auto _ : state) {
    state.PauseTiming();
    SSimulationMain main(sim.get(), SSimulationMain::kVariables, dir.c_str());
    tagOPVARTHREADINFO info;
    state.ResumeTiming();
    main.Calc(&info);
    runs += main.CountRuns(nullptr);
  }
  state.counters["runs_per_second"] = benchmark::Counter(static_cast<double>(runs), benchmark::Counter::kIsRate);
  std::filesystem::remove_all(dir);
}

}  // namespace

BENCHMARK(BM_OptimiseRuns)->Unit(benchmark::kMillisecond)->MinTime(2.0);
