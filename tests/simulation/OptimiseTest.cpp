// The optimiser over a hand-built market and moving-average crossover
// systems defined here: the run grid, the hand-over to the host, stop and
// pause through the state field, logic over named systems, the time kind,
// and a worker's share of the runs.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "SimTestUtil.h"
#include "chartcalc/SSimulationMain.h"
#include "chartcalc/TableDb.h"
#include "simulation/OptimiseGrid.h"

using namespace simtest;
using namespace chartcalc::detail;
namespace fs = std::filesystem;

namespace {

// A crossover system with the variables' ranges given as start, end, step
// (the first two variables are the averages' lengths).
SIndex Crossover(const char* name, std::vector<std::vector<const char*>> vars) {
  SIndex x(name, kIndexSystem);
  const char* names[] = {"fast", "slow", "lag"};
  for (size_t i = 0; i < vars.size(); ++i) {
    x.VarName[i] = names[i];
    x.VarValue[i] = x.VarStart[i] = vars[i][0];
    x.VarEnd[i] = vars[i][1];
    x.VarIncrement[i] = vars[i][2];
  }
  for (int k = 0; k < 4; ++k)
    x.SetExpression(k, k % 3 ? "crossdown(avg(c, fast), avg(c, slow))" : "crossup(avg(c, fast), avg(c, slow))");
  return x;
}

// 4 x 3 x 1 = 12 runs.
SIndex WorkedGrid() { return Crossover("Grid", {{"5", "20", "5"}, {"1", "3", "1"}, {"2", "2", "0"}}); }

// 40 daily bars swinging around 100 every 19 bars or so.
std::unique_ptr<SSimulation> Simulation(const SIndex& system) {
  std::vector<double> close;
  for (int i = 0; i < 40; ++i) close.push_back(std::round(10000.0 + 800.0 * std::sin(i / 3.0)) / 100.0);
  auto sim = std::make_unique<SSimulation>();
  Bind(*sim, Market(close));
  sim->SetTickSize(0.01);
  SIndex copy = system;
  sim->SetIndex(copy);
  return sim;
}

// Notes at every progress message what the host reads then.
struct Recorder : chartcalc::SWindow {
  tagOPVARTHREADINFO* info = nullptr;
  SSimulation* sim = nullptr;
  std::vector<int> progress;
  std::vector<std::string> values;     // the variable values in use
  std::function<void(size_t)> onPost;  // with the number of messages so far

  void Post(unsigned message, std::uintptr_t w, std::intptr_t l) override {
    SWindow::Post(message, w, l);
    progress.push_back(info->progress);
    std::string v;
    for (int i = 0; i < kIndexVars && !sim->Index.VarName[i].IsEmpty(); ++i)
      v += (i ? "," : "") + sim->Index.VarValue[i].str();
    values.push_back(v);
    if (onPost) onPost(PostedMessages.size());
  }
};

std::vector<int> Range(int n) {
  std::vector<int> v(n);
  for (int i = 0; i < n; ++i) v[i] = i;
  return v;
}

// A host around an optimiser writing into the test's own directory;
// systems for the logic and time kinds are stored in its index directory.
class Optimise : public ::testing::Test {
 protected:
  void SetUp() override {
    SetIndexDir(TestDir(".index").c_str());
    for (auto [name, fast] : {std::pair{"SysA", "3"}, {"SysB", "5"}})
      ASSERT_EQ(Crossover(name, {{fast, fast, "0"}, {"8", "8", "0"}}).WriteExpression(name, 1, 0), 1);
  }
  void TearDown() override { SetIndexDir("./"); }

  void Make(const SIndex& system, int kind) {
    sim = Simulation(system);
    optimiser = std::make_unique<SSimulationMain>(sim.get(), kind, SString((dir + "Rpt").c_str()));
    info.thread = &thread, info.window = &window, info.lock = &lock, info.names = &names;
    window.info = &info, window.sim = sim.get();
  }
  std::string Rpt(const std::string& file) const { return dir + "Rpt/" + file; }
  // The numbers n with both a SummaryN.rpt and a TradeListN.rpt.
  std::vector<int> FileNumbers() const {
    std::vector<int> numbers;
    for (int n = 0; n < 20; ++n)
      if (fs::exists(Rpt("Summary" + std::to_string(n) + ".rpt")) &&
          fs::exists(Rpt("TradeList" + std::to_string(n) + ".rpt")))
        numbers.push_back(n);
    return numbers;
  }
  int Records(const std::string& file) const { return static_cast<int>(TableRecords(Rpt(file)).size()); }
  void SetState(int state) { std::atomic_ref<int>(info.state).store(state); }

  std::string dir = TestDir();
  std::unique_ptr<SSimulation> sim;
  std::unique_ptr<SSimulationMain> optimiser;
  chartcalc::SWorkerThread thread;
  chartcalc::SCriticalSection lock;
  Recorder window;
  tagOPVARTHREADINFO info;
  SAnsiStringList names;
};

}  // namespace

TEST(OptimiseGrid, ValueCountsFollowDirectionStepAndSlack) {
  struct Case {
    ValueRange range;
    long long count;
  } cases[] = {
      {{5, 20, 5}, 4},       {{20, 5, -5}, 4},
      {{2, 2, 0}, 1},        {{20, 5, 5}, 1},
      {{5, 20, -5}, 1},      {{0.1, 0.5, 0.1}, 5},  // 3.9999999999999996 steps: the slack keeps the end value
      {{0, 1, 0.3}, 4},      {{0, 1e300, 1e-300}, kMaxRunCount},
      {{0, HUGE_VAL, 1}, 1},
  };
  for (const Case& c : cases) EXPECT_EQ(ValueCount(c.range), c.count) << c.range.start << ".." << c.range.end;
  EXPECT_EQ(SaturatingProduct(kMaxRunCount / 2, 3), kMaxRunCount);  // ten huge ranges do not wrap
}

TEST_F(Optimise, WorkedGridRunsTwelveWithVariableZeroFastest) {
  Make(WorkedGrid(), SSimulationMain::kVariables);
  EXPECT_EQ(optimiser->CountRuns(nullptr), 12);
  EXPECT_EQ(optimiser->Calc(&info), 1u);
  EXPECT_EQ(window.PostedMessages, std::vector<unsigned>(12, SSimulationMain::kProgressMessage));
  EXPECT_EQ(window.progress, Range(12));
  ASSERT_EQ(window.values.size(), 12u);
  EXPECT_EQ(window.values[3] + " " + window.values[5] + " " + window.values[11], "20,1,2 10,2,2 20,3,2");
  EXPECT_EQ(FileNumbers(), Range(12));
  EXPECT_EQ(Records("SumInfo.rpt"), 12);
  ASSERT_EQ(info.result.Count(), 13);
  EXPECT_EQ(info.result[0].str(), "Grid");
  EXPECT_EQ(std::to_string(Records("TradeList11.rpt")), info.result[2].str());
  EXPECT_EQ(Records("Summary11.rpt"), 3 * 14);  // all trades, then each side
  EXPECT_EQ(info.result[10].str() + info.result[11].str(), Rpt("SumInfo.rpt") + Rpt("Summary11.rpt"));
}

// A stop is seen after the run it was set in, also before the first run
// (Calc does not reset the state), and no host object is required.
TEST_F(Optimise, StopEndsTheOptimisationAfterTheRunItWasSetIn) {
  Make(WorkedGrid(), SSimulationMain::kVariables);
  info.thread = nullptr, info.window = nullptr, info.lock = nullptr;
  info.state = 3;
  EXPECT_EQ(optimiser->Calc(&info), 0u);
  EXPECT_EQ(info.state, 0);
  EXPECT_EQ(FileNumbers(), Range(1));
  info.window = &window;
  window.onPost = [&](size_t n) { n == 3 ? SetState(3) : void(); };
  EXPECT_EQ(optimiser->Calc(&info), 0u);
  EXPECT_EQ(info.state, 0);
  EXPECT_EQ(window.progress, Range(3));
}

TEST_F(Optimise, PauseSuspendsTheWorkerUntilTheHostResumes) {
  Make(WorkedGrid(), SSimulationMain::kVariables);
  window.onPost = [&](size_t n) { n == 2 ? SetState(2) : void(); };
  std::atomic<unsigned> result{99};
  std::thread worker([&] { result = optimiser->Calc(&info); });
  for (int wait = 0; !thread.IsSuspended() && wait < 20000; ++wait)
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  EXPECT_TRUE(thread.IsSuspended());
  SetState(0);
  thread.Resume();
  worker.join();
  EXPECT_EQ(result, 1u);
  EXPECT_EQ(window.progress, Range(12));
}

TEST_F(Optimise, ShareOfOneInThreeKeepsRunNumbers) {
  Make(WorkedGrid(), SSimulationMain::kVariables);
  optimiser->SetRunSubset(1, 3);
  EXPECT_EQ(optimiser->Calc(&info), 1u);
  EXPECT_EQ(window.progress, (std::vector<int>{1, 4, 7, 10}));
  EXPECT_EQ(window.values[1], "5,2,2");  // run 4 of the whole grid
  EXPECT_EQ(FileNumbers(), (std::vector<int>{1, 4, 7, 10}));
}

// The simulation keeps its summary-info file open between runs; a second
// optimiser over the same directory must not append to the deleted one.
TEST_F(Optimise, ConstructionEmptiesTheReportDirectoryButNotItsSubdirectoriesNorKeepsTheOldSummaryInfo) {
  fs::create_directories(Rpt("keep"));
  for (const char* f : {"Summary3.rpt", "old.txt", "keep/inner.rpt"}) std::ofstream(Rpt(f)) << "x";
  Make(WorkedGrid(), SSimulationMain::kVariables);
  EXPECT_EQ(optimiser->GetReportDir().str(), Rpt(""));
  EXPECT_FALSE(fs::exists(Rpt("Summary3.rpt")) || fs::exists(Rpt("old.txt")));
  EXPECT_TRUE(fs::exists(Rpt("keep/inner.rpt")));
  EXPECT_EQ(optimiser->Calc(&info), 1u);
  SSimulationMain again(sim.get(), SSimulationMain::kVariables, Rpt("").c_str());
  EXPECT_EQ(Records("SumInfo.rpt"), 0);
  again.SetRunSubset(0, 4);
  EXPECT_EQ(again.Calc(&info), 1u);
  EXPECT_EQ(Records("SumInfo.rpt"), 3);
  EXPECT_EQ(FileNumbers(), (std::vector<int>{0, 4, 8}));
}

TEST_F(Optimise, UnknownNameMakesNoRunAndLaterNamesKeepTheirPositions) {
  Make(SIndex(), SSimulationMain::kLogic);
  for (const char* n : {"SysA", "Nope", "SysB"}) names.Add(n);
  EXPECT_EQ(optimiser->Calc(&info), 1u);
  EXPECT_EQ(window.progress, (std::vector<int>{0, 2}));
  EXPECT_EQ(window.values, (std::vector<std::string>{"3,8", "5,8"}));
  EXPECT_EQ(FileNumbers(), (std::vector<int>{0, 2}));
}

// Factors 1, 3, 5 with two stored names: runs numbered across factors,
// files by factor; a share of factors keeps both numberings.
TEST_F(Optimise, TimeRunsEveryNameAtEveryFactor) {
  Make(SIndex(), SSimulationMain::kTime);
  sim->CompressStart = 1, sim->CompressEnd = 5, sim->CompressStep = 2;
  for (const char* n : {"SysA", "Nope", "SysB"}) names.Add(n);
  EXPECT_EQ(optimiser->CountRuns(&names), 9);
  optimiser->SetRunSubset(1, 2);
  EXPECT_EQ(optimiser->Calc(&info), 1u);
  EXPECT_EQ(window.progress, (std::vector<int>{2, 3}));
  EXPECT_EQ(FileNumbers(), std::vector<int>{1});
  optimiser->SetRunSubset(0, 0);  // invalid: the whole grid
  EXPECT_EQ(optimiser->Calc(&info), 1u);
  EXPECT_EQ(window.progress, (std::vector<int>{2, 3, 0, 1, 2, 3, 4, 5}));
}
