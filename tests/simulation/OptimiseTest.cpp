// The optimiser over a small hand-built market and moving-average crossover
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
#include <limits>
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

constexpr unsigned kProgress = SSimulationMain::kProgressMessage;

// An empty directory of this test's own (one per suffix).
std::string TestDir(const std::string& suffix = "") {
  const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
  const fs::path dir =
      fs::path(CHARTCALC_TEST_TMP) / (std::string(info->test_suite_name()) + "." + info->name() + suffix);
  fs::remove_all(dir);
  fs::create_directories(dir);
  return dir.string() + "/";
}

// 40 daily bars swinging around 100 with a period of about 19 bars, so
// short and long averages cross several times.
Market Swinging() {
  std::vector<double> close;
  for (int i = 0; i < 40; ++i) close.push_back(std::round(10000.0 + 800.0 * std::sin(i / 3.0)) / 100.0);
  return Market(close);
}

struct Var {
  const char* name;
  const char* start;
  const char* end;
  const char* step;
};

// A crossover system; variables beyond the two averages' lengths are not
// used by the formulas and only widen the grid.
SIndex Crossover(const char* name, std::initializer_list<Var> vars) {
  SIndex x(name, kIndexSystem);
  int i = 0;
  for (const Var& v : vars) {
    x.VarName[i] = v.name;
    x.VarValue[i] = v.start;
    x.VarStart[i] = v.start;
    x.VarEnd[i] = v.end;
    x.VarIncrement[i++] = v.step;
  }
  x.SetExpression(0, "crossup(avg(c, fast), avg(c, slow))");
  x.SetExpression(1, "crossdown(avg(c, fast), avg(c, slow))");
  x.SetExpression(2, "crossdown(avg(c, fast), avg(c, slow))");
  x.SetExpression(3, "crossup(avg(c, fast), avg(c, slow))");
  return x;
}

// The worked grid: 4 x 3 x 1 = 12 runs.
SIndex WorkedGrid() {
  return Crossover("Grid", {{"fast", "5", "20", "5"}, {"slow", "1", "3", "1"}, {"lag", "2", "2", "0"}});
}

std::unique_ptr<SSimulation> Simulation(SIndex system) {
  auto sim = std::make_unique<SSimulation>();
  Bind(*sim, Swinging());
  sim->SetTickSize(0.01);
  sim->SetIndex(system);
  return sim;
}

// The trade count of a back-test of the worked grid's system with the
// given values, run as the back-test tool runs one.
std::string TradesOfOneBackTest(const char* fast, const char* slow) {
  SIndex x = WorkedGrid();
  x.VarValue[0] = fast;
  x.VarValue[1] = slow;
  auto sim = Simulation(x);
  sim->SumInfoFile = TestDir(".single") + "SumInfo.rpt";
  sim->SetVariableToIndex();
  sim->Index.Calc();
  sim->ProcessStop();
  sim->Index.PreProcess();
  sim->SetHistory();
  sim->SetSummary();
  EXPECT_GT(sim->Trades.GetCount(), 0);
  return std::to_string(sim->Trades.GetCount());
}

// A window that notes, at every progress message, what the host would read
// then: the progress number, the variable values in use and the row.
struct Recorder : chartcalc::SWindow {
  tagOPVARTHREADINFO* info = nullptr;
  SSimulation* sim = nullptr;
  std::vector<int> progress;
  std::vector<std::string> values;
  std::vector<std::vector<std::string>> rows;
  std::function<void(size_t)> onMessage;  // with the number of messages so far

  void Post(unsigned message, std::uintptr_t w, std::intptr_t l) override {
    SWindow::Post(message, w, l);
    progress.push_back(info->progress);
    std::string v;
    for (int i = 0; i < kIndexVars && !sim->Index.VarName[i].IsEmpty(); ++i)
      v += (i ? "," : "") + sim->Index.VarValue[i].str();
    values.push_back(v);
    std::vector<std::string> row;
    for (long k = 0; k < info->result.Count(); ++k) row.push_back(info->result[k].str());
    rows.push_back(row);
    if (onMessage) onMessage(PostedMessages.size());
  }
};

// An optimiser over its own report directory with a recording host.
struct Host {
  std::string dir = TestDir();
  std::unique_ptr<SSimulation> sim;
  std::unique_ptr<SSimulationMain> main;
  chartcalc::SWorkerThread thread;
  chartcalc::SCriticalSection lock;
  Recorder window;
  tagOPVARTHREADINFO info;
  SAnsiStringList names;

  Host(SIndex system, int kind) : sim(Simulation(std::move(system))) {
    main = std::make_unique<SSimulationMain>(sim.get(), kind, SString((dir + "Rpt").c_str()));
    info.thread = &thread;
    info.window = &window;
    info.lock = &lock;
    info.names = &names;
    window.info = &info;
    window.sim = sim.get();
  }
  std::string Rpt(const std::string& file) const { return dir + "Rpt/" + file; }
  // The run or factor numbers n with a SummaryN.rpt and a TradeListN.rpt.
  std::vector<int> FileNumbers() const {
    std::vector<int> numbers;
    for (int n = 0; n < 20; ++n)
      if (fs::exists(Rpt("Summary" + std::to_string(n) + ".rpt")) &&
          fs::exists(Rpt("TradeList" + std::to_string(n) + ".rpt")))
        numbers.push_back(n);
    return numbers;
  }
  int SumInfoRecords() {
    DB db(Rpt("SumInfo.rpt").c_str(), 0);
    int n = 0;
    for (db.MoveFirst(1); !db.Eof(); db.MoveNext(1)) ++n;
    return n;
  }
};

std::vector<int> Range(int n) {
  std::vector<int> v;
  for (int i = 0; i < n; ++i) v.push_back(i);
  return v;
}

}  // namespace

// ---- the grid -------------------------------------------------------------------

TEST(OptimiseGrid, ValueCountsFollowDirectionStepAndSlack) {
  struct Case {
    ValueRange range;
    long long count;
  } cases[] = {
      {{5, 20, 5}, 4},
      {{1, 3, 1}, 3},
      {{2, 2, 0}, 1},
      {{20, 5, 5}, 1},  // pointing away: the start value only
      {{5, 20, -5}, 1},
      {{5, 5, 1}, 1},
      {{20, 5, -5}, 4},      // a falling range counts too
      {{0.1, 0.5, 0.1}, 5},  // 4.0000000000000001 steps lose nothing, thanks to the slack
      {{0, 1, 0.3}, 4},      // 3.33 steps: the end itself is not reached
      {{0, 1e300, 1e-300}, kMaxRunCount},
      {{0, HUGE_VAL, 1}, 1},
  };
  for (const Case& c : cases)
    EXPECT_EQ(ValueCount(c.range), c.count) << c.range.start << ".." << c.range.end << " by " << c.range.step;
}

TEST(OptimiseGrid, FactorRangeStartsAtOneAndCountsByIntegerDivision) {
  struct Case {
    int start, end, step;
    long long first, count;
  } cases[] = {{1, 1, 1, 1, 1},  {1, 5, 2, 1, 3},  {1, 6, 2, 1, 3}, {-4, 3, 1, 1, 3}, {5, 1, 2, 5, 1},
               {5, 1, -2, 5, 3}, {5, 2, -2, 5, 2}, {3, 9, 0, 3, 1}, {0, 0, -1, 1, 1}};
  for (const Case& c : cases) {
    const FactorRange f = CompressionFactors(c.start, c.end, c.step);
    EXPECT_EQ(f.Factor(0), c.first) << c.start << ".." << c.end << " by " << c.step;
    EXPECT_EQ(f.count, c.count) << c.start << ".." << c.end << " by " << c.step;
  }
}

TEST(OptimiseGrid, InvalidSubsetRunsEverythingAndSaturatedCountDoesNotOverflow) {
  for (auto [first, stride] : {std::pair{0, 0}, {-1, 3}, {3, 3}, {0, -2}}) {
    const RunSubset s = RunSubset::Of(first, stride);
    EXPECT_EQ(s.first, 0);
    EXPECT_EQ(s.stride, 1);
  }
  std::vector<long long> units;
  RunSubset::Of(1, 3).ForEach(11, [&](long long u) { return units.push_back(u), true; });
  EXPECT_EQ(units, (std::vector<long long>{1, 4, 7, 10}));
  long long last = -1;
  const int stride = std::numeric_limits<int>::max();
  RunSubset::Of(stride - 1, stride).ForEach(kMaxRunCount, [&](long long u) { return last = u, u < 4LL * stride; });
  EXPECT_EQ(last, 5LL * stride - 1);  // stopped by the callback, not by wrapping
}

TEST(Optimise, CountRunsCoversEveryKindAndSaturates) {
  auto sim = Simulation(WorkedGrid());
  SAnsiStringList names;
  for (const char* n : {"A", "B", "C"}) names.Add(n);
  sim->CompressStart = 1, sim->CompressEnd = 5, sim->CompressStep = 2;
  const std::string dir = TestDir();
  SSimulationMain optimiser(sim.get(), SSimulationMain::kVariables, dir.c_str());
  EXPECT_EQ(optimiser.CountRuns(nullptr), 12);
  optimiser.SetSimType(SSimulationMain::kLogic);
  EXPECT_EQ(optimiser.CountRuns(&names), 3);
  EXPECT_EQ(optimiser.CountRuns(nullptr), 0);
  optimiser.SetSimType(SSimulationMain::kTime);
  EXPECT_EQ(optimiser.CountRuns(&names), 9);
  optimiser.SetSimType(SSimulationMain::kVariables);
  for (int i = 0; i < kIndexVars; ++i) {
    sim->Index.VarName[i] = ("v" + std::to_string(i)).c_str();
    sim->Index.VarStart[i] = "0", sim->Index.VarEnd[i] = "1e12", sim->Index.VarIncrement[i] = "1";
  }
  EXPECT_EQ(optimiser.CountRuns(nullptr), kMaxRunCount);
}

// ---- one optimisation ---------------------------------------------------------

TEST(Optimise, WorkedGridRunsTwelveWithVariableZeroFastest) {
  Host host(WorkedGrid(), SSimulationMain::kVariables);
  EXPECT_EQ(host.main->Calc(&host.info), 1u);
  EXPECT_EQ(host.window.PostedMessages, std::vector<unsigned>(12, kProgress));
  EXPECT_EQ(host.window.progress, Range(12));
  ASSERT_EQ(host.window.values.size(), 12u);
  EXPECT_EQ(host.window.values[0], "5,1,2");
  EXPECT_EQ(host.window.values[3], "20,1,2");
  EXPECT_EQ(host.window.values[5], "10,2,2");
  EXPECT_EQ(host.window.values[11], "20,3,2");
  EXPECT_EQ(host.FileNumbers(), Range(12));
  EXPECT_EQ(host.SumInfoRecords(), 12);
  const std::vector<std::string>& row = host.window.rows[5];
  ASSERT_EQ(row.size(), 13u);
  EXPECT_EQ(row[0], "Grid");
  EXPECT_EQ(row[2], TradesOfOneBackTest("10", "2"));
  EXPECT_EQ(row[10], host.Rpt("SumInfo.rpt"));
  EXPECT_EQ(row[11], host.Rpt("Summary5.rpt"));
  EXPECT_EQ(row[12], host.Rpt("TradeList5.rpt"));
}

TEST(Optimise, WrongDirectionRangeRunsOnceAtTheStartValue) {
  Host host(Crossover("Back", {{"fast", "20", "5", "5"}, {"slow", "3", "3", "1"}}), SSimulationMain::kVariables);
  EXPECT_EQ(host.main->Calc(&host.info), 1u);
  EXPECT_EQ(host.window.values, std::vector<std::string>{"20,3"});
}

TEST(Optimise, StopSetDuringARunEndsAfterThatRunsMessage) {
  Host host(WorkedGrid(), SSimulationMain::kVariables);
  host.window.onMessage = [&](size_t n) {
    if (n == 3) std::atomic_ref<int>(host.info.state).store(3);
  };
  EXPECT_EQ(host.main->Calc(&host.info), 0u);
  EXPECT_EQ(host.info.state, 0);
  EXPECT_EQ(host.window.progress, Range(3));
  EXPECT_EQ(host.FileNumbers(), Range(3));
}

// The state is not reset when Calc starts, and no host object is required.
TEST(Optimise, StopSetBeforeCalcEndsAfterRunZeroEvenWithoutHostObjects) {
  Host host(WorkedGrid(), SSimulationMain::kVariables);
  host.info.thread = nullptr, host.info.window = nullptr, host.info.lock = nullptr;
  host.info.state = 3;
  EXPECT_EQ(host.main->Calc(&host.info), 0u);
  EXPECT_EQ(host.info.state, 0);
  EXPECT_EQ(host.info.progress, 0);
  EXPECT_EQ(host.info.result.Count(), SSimulationMain::kResultStrings);
  EXPECT_EQ(host.FileNumbers(), Range(1));
}

TEST(Optimise, PauseSuspendsTheWorkerUntilTheHostResumes) {
  Host host(WorkedGrid(), SSimulationMain::kVariables);
  host.window.onMessage = [&](size_t n) {
    if (n == 2) std::atomic_ref<int>(host.info.state).store(2);
  };
  std::atomic<unsigned> result{99};
  std::thread worker([&] { result = host.main->Calc(&host.info); });
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  while (!host.thread.IsSuspended() && std::chrono::steady_clock::now() < deadline)
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  const bool paused = host.thread.IsSuspended();
  EXPECT_TRUE(paused);
  if (paused) {
    EXPECT_EQ(host.window.PostedMessages.size(), 2u);  // paused right after run 1
  }
  std::atomic_ref<int>(host.info.state).store(0);
  host.thread.Resume();
  worker.join();
  EXPECT_EQ(result, 1u);
  EXPECT_EQ(host.window.progress, Range(12));
}

TEST(Optimise, ResumeWithNothingSuspendedIsNotRemembered) {
  chartcalc::SWorkerThread thread;
  thread.Resume();
  EXPECT_FALSE(thread.IsSuspended());
  std::thread worker([&] { thread.Suspend(); });
  while (!thread.IsSuspended()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  thread.Resume();
  worker.join();
  EXPECT_FALSE(thread.IsSuspended());
}

TEST(Optimise, ShareOfOneInThreeKeepsRunNumbers) {
  Host host(WorkedGrid(), SSimulationMain::kVariables);
  host.main->SetRunSubset(1, 3);
  EXPECT_EQ(host.main->Calc(&host.info), 1u);
  EXPECT_EQ(host.window.progress, (std::vector<int>{1, 4, 7, 10}));
  EXPECT_EQ(host.window.values[1], "5,2,2");  // run 4 as in the whole grid
  EXPECT_EQ(host.FileNumbers(), (std::vector<int>{1, 4, 7, 10}));
  EXPECT_EQ(host.window.PostedMessages.size(), 4u);
}

TEST(Optimise, UnknownKindReturnsAtOnce) {
  Host host(WorkedGrid(), 7);
  EXPECT_EQ(host.main->Calc(&host.info), 1u);
  EXPECT_TRUE(host.window.PostedMessages.empty());
  EXPECT_TRUE(host.FileNumbers().empty());
}

TEST(Optimise, ConstructionEmptiesTheReportDirectoryButNotItsSubdirectories) {
  const std::string dir = TestDir() + "Rpt";
  fs::create_directories(dir + "/keep");
  for (const char* f : {"/Summary3.rpt", "/old.txt", "/keep/inner.rpt"}) std::ofstream(dir + f) << "x";
  SSimulation sim;
  SSimulationMain optimiser(&sim, SSimulationMain::kVariables, dir.c_str());
  EXPECT_EQ(optimiser.GetReportDir().str(), dir + "/");
  EXPECT_FALSE(fs::exists(dir + "/Summary3.rpt"));
  EXPECT_FALSE(fs::exists(dir + "/old.txt"));
  EXPECT_TRUE(fs::exists(dir + "/keep/inner.rpt"));
  EXPECT_EQ(sim.SumInfoFile.str(), dir + "/SumInfo.rpt");
  DB db(sim.SumInfoFile.c_str(), 0);
  EXPECT_EQ(db.GetFieldCount(), 17);
  EXPECT_TRUE(!db.MoveFirst() && db.Eof());
}

// ---- logic and time -------------------------------------------------------------

// Systems written to an index directory of the test's own.
class OptimiseSystems : public ::testing::Test {
 protected:
  void SetUp() override {
    SetIndexDir(TestDir(".index").c_str());
    for (auto [name, fast] : {std::pair{"SysA", "3"}, {"SysB", "5"}}) {
      SIndex x = Crossover(name, {{"fast", fast, fast, "0"}, {"slow", "8", "8", "0"}});
      ASSERT_EQ(x.WriteExpression(name, 1, 0), 1);
    }
  }
  void TearDown() override { SetIndexDir("./"); }
};

TEST_F(OptimiseSystems, UnknownNameMakesNoRunAndLaterNamesKeepTheirPositions) {
  Host host(SIndex(), SSimulationMain::kLogic);
  for (const char* n : {"SysA", "Nope", "SysB"}) host.names.Add(n);
  EXPECT_EQ(host.main->Calc(&host.info), 1u);
  EXPECT_EQ(host.window.progress, (std::vector<int>{0, 2}));
  EXPECT_EQ(host.window.values, (std::vector<std::string>{"3,8", "5,8"}));
  EXPECT_EQ(host.window.rows[1][0], "SysB");
  EXPECT_EQ(host.FileNumbers(), (std::vector<int>{0, 2}));
  EXPECT_EQ(host.SumInfoRecords(), 2);
}

// Factors 1, 3, 5 with two found names: six runs numbered across factors,
// files numbered by factor.
TEST_F(OptimiseSystems, TimeRunsEveryNameAtEveryFactor) {
  Host host(SIndex(), SSimulationMain::kTime);
  host.sim->CompressStart = 1, host.sim->CompressEnd = 5, host.sim->CompressStep = 2;
  for (const char* n : {"SysA", "Nope", "SysB"}) host.names.Add(n);
  EXPECT_EQ(host.main->Calc(&host.info), 1u);
  EXPECT_EQ(host.window.progress, Range(6));
  EXPECT_EQ(host.FileNumbers(), Range(3));
  EXPECT_EQ(host.window.rows[3][11], host.Rpt("Summary1.rpt"));
  EXPECT_EQ(host.SumInfoRecords(), 6);
}

TEST_F(OptimiseSystems, TimeShareNumbersRunsAsTheWholeGridWould) {
  Host host(SIndex(), SSimulationMain::kTime);
  host.sim->CompressStart = 1, host.sim->CompressEnd = 5, host.sim->CompressStep = 2;
  for (const char* n : {"SysA", "Nope", "SysB"}) host.names.Add(n);
  host.main->SetRunSubset(1, 2);
  EXPECT_EQ(host.main->Calc(&host.info), 1u);
  EXPECT_EQ(host.window.progress, (std::vector<int>{2, 3}));
  EXPECT_EQ(host.FileNumbers(), std::vector<int>{1});
}
