// SSimulationMain: an optimisation as a loop of back-tests of one
// SSimulation. Each run leaves in the report directory
//   SumInfo.rpt       one more record (appended by SetSummary)
//   Summary<n>.rpt    the run's summary table
//   TradeList<n>.rpt  the run's trades
// with n the run number (the factor number for the time kind), then hands
// its result row to the host under the lock and posts kProgressMessage.
//
// Nothing is kept per run: the simulation's tables are emptied and refilled,
// the result list is cleared and refilled, so memory stays flat over any
// number of runs.
#include "chartcalc/SSimulationMain.h"

#include <array>
#include <atomic>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

#include "chartcalc/TableDb.h"
#include "chartcalc/TextHelpers.h"
#include "simulation/OptimiseGrid.h"

using namespace chartcalc::detail;

namespace {

constexpr char kSumInfoName[] = "SumInfo.rpt";
constexpr char kReportSubdir[] = "Rpt/";
constexpr char kSystemExtension[] = "sys";

// Values of the state field the host writes.
constexpr int kStatePause = 2;
constexpr int kStateStop = 3;
constexpr int kStateRunning = 0;

// The result row: figures of the run's summary-info record in the host's
// order; the null entry stands for the summary-info file's own path.
constexpr SString SSummaryInfo::*kResultFields[] = {&SSummaryInfo::IndicatorName,
                                                    &SSummaryInfo::TotalProfit,
                                                    &SSummaryInfo::TransactionCount,
                                                    &SSummaryInfo::ProfitFactor,
                                                    &SSummaryInfo::WinRatio,
                                                    &SSummaryInfo::WinLossRatio,
                                                    &SSummaryInfo::AverageProfit,
                                                    &SSummaryInfo::InMarketRatio,
                                                    &SSummaryInfo::Status,
                                                    &SSummaryInfo::Term,
                                                    nullptr,
                                                    &SSummaryInfo::SumFileName,
                                                    &SSummaryInfo::TradeListFileName};
static_assert(std::size(kResultFields) == SSimulationMain::kResultStrings);

SString WithTrailingSlash(const SString& dir) {
  if (dir.IsEmpty()) return dir;
  const char last = dir.str().back();
  return last == '/' || last == '\\' ? dir : dir + "/";
}

SString NumberedPath(const SString& dir, const char* stem, long number) {
  return dir + stem + std::to_string(number).c_str() + ".rpt";
}

// Every regular file directly in dir; what cannot be listed is left out.
std::vector<std::filesystem::path> FilesIn(const std::filesystem::path& dir) {
  std::vector<std::filesystem::path> files;
  std::error_code ec;
  for (std::filesystem::directory_iterator it(dir, ec), end; !ec && it != end; it.increment(ec)) {
    std::error_code typeError;
    if (it->is_regular_file(typeError)) files.push_back(it->path());
  }
  return files;
}

// What one run needs from the optimiser and the host.
struct RunContext {
  SSimulation& sim;
  tagOPVARTHREADINFO& info;
  const SString& reportDir;
  double bigPointValue;
  int marginFlag;
  double margin;
};

// The host writes state from its own thread, through std::atomic_ref as
// well, while the worker runs.
int ReadState(tagOPVARTHREADINFO& info) { return std::atomic_ref<int>(info.state).load(); }
void WriteState(tagOPVARTHREADINFO& info, int state) { std::atomic_ref<int>(info.state).store(state); }

// The back-test itself, in the order a host runs one (see the back-test
// tool), with the optimiser's settings and empty tables.
void BackTest(const RunContext& c, long fileNumber) {
  SSimulation& sim = c.sim;
  sim.SummaryFile = NumberedPath(c.reportDir, "Summary", fileNumber);
  sim.TradeListFile = NumberedPath(c.reportDir, "TradeList", fileNumber);
  sim.SetBigPointValue(c.bigPointValue);
  if (c.marginFlag) sim.SetMargin(c.margin);
  sim.SummaryCount = 0;
  sim.SetHistoryToZero();
  sim.Index.Calc();
  sim.ProcessStop(nullptr);
  sim.Index.PreProcess();
  sim.SetHistory();
  sim.SetSummary();
}

void WriteRunFiles(SSimulation& sim) {
  sim.CreateIndividualSummaryDB(sim.SummaryFile);
  sim.InsertIndividualSummaryDB(sim.SummaryFile);
  sim.CreateTradingHistoryDB(sim.TradeListFile);
  sim.InsertTradingHistoryDB(sim.TradeListFile);
}

// The result row and progress under the host's lock; the message only
// after the lock is left, so the host's handler can take it.
void HandOver(const RunContext& c, long long progress) {
  tagOPVARTHREADINFO& info = c.info;
  if (info.lock) info.lock->Lock();
  info.result.Clear();
  for (SString SSummaryInfo::*field : kResultFields) info.result.Add(field ? c.sim.SumInfo.*field : c.sim.SumInfoFile);
  info.progress = static_cast<int>(progress);
  if (info.lock) info.lock->Unlock();
  chartcalc::PostMessageA(info.window ? info.window->GetSafeHwnd() : nullptr, SSimulationMain::kProgressMessage, 0, 0);
}

// Between runs: a pause suspends the worker until the host resumes it, a
// stop ends the optimisation. False to stop.
bool KeepGoing(tagOPVARTHREADINFO& info) {
  switch (ReadState(info)) {
    case kStatePause:
      if (info.thread) info.thread->Suspend();
      return true;
    case kStateStop:
      WriteState(info, kStateRunning);
      return false;
    default:
      return true;
  }
}

// One run of the indicator as it stands. False when the host asked to stop.
bool Run(const RunContext& c, long fileNumber, long long progress) {
  BackTest(c, fileNumber);
  WriteRunFiles(c.sim);
  HandOver(c, progress);
  return KeepGoing(c.info);
}

// ---- variables -------------------------------------------------------------

// The indicator's variables: those up to the first one without a name.
struct VariableGrid {
  std::array<ValueRange, kIndexVars> ranges;
  std::array<long long, kIndexVars> counts{};
  int size = 0;

  long long Runs() const {
    long long runs = 1;
    for (int i = 0; i < size; ++i) runs = SaturatingProduct(runs, counts[i]);
    return runs;
  }
};

VariableGrid GridOf(const SIndex& x) {
  VariableGrid grid;
  for (; grid.size < kIndexVars && !x.VarName[grid.size].IsEmpty(); ++grid.size) {
    ValueRange& r = grid.ranges[grid.size];
    r = {AnsiStringToFloat(x.VarStart[grid.size], 0.0), AnsiStringToFloat(x.VarEnd[grid.size], 0.0),
         AnsiStringToFloat(x.VarIncrement[grid.size], 0.0)};
    grid.counts[grid.size] = ValueCount(r);
  }
  return grid;
}

// Stores run k's value of every variable into the indicator as text.
void SetValues(SIndex& x, const VariableGrid& grid, long long run) {
  long long rest = run;
  for (int i = 0; i < grid.size; ++i) {
    const double index = static_cast<double>(NextValueIndex(rest, grid.counts[i]));
    x.VarValue[i] = grid.ranges[i].start + index * grid.ranges[i].step;
  }
}

bool CalcVariables(const RunContext& c, const RunSubset& subset) {
  const VariableGrid grid = GridOf(c.sim.Index);
  return subset.ForEach(grid.Runs(), [&](long long k) {
    SetValues(c.sim.Index, grid, k);
    return Run(c, static_cast<long>(k), k);
  });
}

// ---- logic and time ----------------------------------------------------------

DDB OpenSystems() {
  DDB db(getIndexDBFileName(kIndexSystem).c_str(), getUserDBFileName(kIndexSystem).c_str(), 1);
  db.SetExtension(kSystemExtension);
  db.MoveFirst();
  return db;
}

// Loads the named trading system into the simulation's indicator. A system
// the database lists but cannot be read (its user file missing, say) is not
// run: its result would be the previous system's under this one's name.
bool LoadSystem(SSimulation& sim, const SString& name) {
  sim.Index.IndexType = kIndexSystem;
  return sim.Index.ReadExpression(name.c_str(), getIndexDBFileName(kIndexSystem), getUserDBFileName(kIndexSystem)) == 1;
}

bool CalcLogic(const RunContext& c, const RunSubset& subset, const SAnsiStringList& names) {
  DDB db = OpenSystems();
  return subset.ForEach(names.Count(), [&](long long k) {
    const SString& name = names[static_cast<long>(k)];
    if (!db.FindFirst("IndexName", name.c_str()) || !LoadSystem(c.sim, name)) return true;
    return Run(c, static_cast<long>(k), k);
  });
}

// Whether the database holds each name; the same at every factor, so it is
// looked up once.
std::vector<bool> FoundNames(DDB& db, const SAnsiStringList& names) {
  std::vector<bool> found(static_cast<size_t>(names.Count()));
  for (long k = 0; k < names.Count(); ++k) found[static_cast<size_t>(k)] = db.FindFirst("IndexName", names[k].c_str());
  return found;
}

// Progress counts runs across factors as one worker running them all
// would, so a share's numbers match: factor f's runs follow the runs of
// every factor before it.
bool CalcTime(const RunContext& c, const RunSubset& subset, const SAnsiStringList& names) {
  DDB db = OpenSystems();
  const std::vector<bool> found = FoundNames(db, names);
  const long long perFactor = static_cast<long long>(std::count(found.begin(), found.end(), true));
  const FactorRange factors = CompressionFactors(c.sim.CompressStart, c.sim.CompressEnd, c.sim.CompressStep);
  return subset.ForEach(factors.count, [&](long long f) {
    c.sim.CompressData(factors.Factor(f));
    long long progress = SaturatingProduct(f, perFactor);
    for (long k = 0; k < names.Count(); ++k) {
      if (!found[static_cast<size_t>(k)]) continue;
      const long long number = progress++;
      if (LoadSystem(c.sim, names[k]) && !Run(c, static_cast<long>(f), number)) return false;
    }
    return true;
  });
}

}  // namespace

SSimulationMain::SSimulationMain(SSimulation* simulation, int kind)
    : SSimulationMain(simulation, kind, getIndexDir() + kReportSubdir) {}

// An empty directory would make the report directory the file system's
// root, which PrepareDB empties; it stands for the default one instead.
SSimulationMain::SSimulationMain(SSimulation* simulation, int kind, SString reportDir)
    : kind_(kind),
      reportDir_(reportDir.IsEmpty() ? getIndexDir() + kReportSubdir : WithTrailingSlash(reportDir)),
      simulation_(simulation) {
  PrepareDB();
  bigPointValue_ = 1.0;
  margin_ = 1.0;
  marginFlag_ = 0;
}

void SSimulationMain::PrepareDB() {
  const std::filesystem::path dir(reportDir_.str());
  std::error_code ec;
  std::filesystem::create_directories(dir, ec);
  for (const std::filesystem::path& file : FilesIn(dir)) std::filesystem::remove(file, ec);
  if (!simulation_) return;
  simulation_->SumInfoFile = reportDir_ + kSumInfoName;
  simulation_->CreateSummaryDB(simulation_->SumInfoFile);
}

unsigned int SSimulationMain::Calc(tagOPVARTHREADINFO* info) {
  if (!info || !simulation_) return 1;
  simulation_->SetVariableToIndex();
  const RunContext context{*simulation_, *info, reportDir_, bigPointValue_, marginFlag_, margin_};
  const RunSubset subset = RunSubset::Of(subsetFirst_, subsetStride_);
  const SAnsiStringList noNames;
  const SAnsiStringList& names = info->names ? *info->names : noNames;
  bool finished = true;
  switch (kind_) {
    case kVariables:
      finished = CalcVariables(context, subset);
      break;
    case kLogic:
      finished = CalcLogic(context, subset, names);
      break;
    case kTime:
      finished = CalcTime(context, subset, names);
      break;
    default:
      return 1;
  }
  return finished ? 1 : 0;
}

void SSimulationMain::SetRunSubset(int first, int stride) {
  const RunSubset subset = RunSubset::Of(first, stride);
  subsetFirst_ = subset.first;
  subsetStride_ = subset.stride;
}

long long SSimulationMain::CountRuns(const SAnsiStringList* names) const {
  const long long listed = names ? names->Count() : 0;
  switch (kind_) {
    case kVariables:
      return simulation_ ? GridOf(simulation_->Index).Runs() : 0;
    case kLogic:
      return listed;
    case kTime: {
      if (!simulation_) return 0;
      const FactorRange f =
          CompressionFactors(simulation_->CompressStart, simulation_->CompressEnd, simulation_->CompressStep);
      return SaturatingProduct(f.count, listed);
    }
    default:
      return 0;
  }
}
