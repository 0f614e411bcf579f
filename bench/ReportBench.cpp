// The report files one optimisation run leaves: its summary-info record
// (appended to one file all runs share), its individual summary (42 rows)
// and its trade list, for a crossover back-test over 10,000 bars of the
// random-walk market. Each file is timed the way it was written before
// (ByRecord: a table opened per file and a commit per record) and the way
// the optimiser writes it now; RunFiles is the whole cost per run.
#include <filesystem>
#include <memory>
#include <string>

#include "BenchMarket.h"
#include "BenchSystems.h"
#include "core/TableFile.h"
#include "simulation/ReportFiles.h"

using namespace chartcalc::detail;

namespace {

constexpr int kRunBars = 10000;

// A finished run: trade table, 42 summary rows and its summary-info record.
struct FinishedRun {
  SVector s[kPriceSlots];
  std::unique_ptr<SSimulation> sim = std::make_unique<SSimulation>();
  std::string dir;

  FinishedRun() {
    const BenchMarket& m = DailyWalkMarket();
    for (int k = 0; k < kPriceSlots; ++k) {
      s[k] = SVector(kRunBars);
      for (int i = 0; i < kRunBars; ++i) s[k][i] = m.s[k][i];
    }
    dir = (std::filesystem::temp_directory_path() / "chartcalc-report-bench").string() + "/";
    std::filesystem::remove_all(dir);
    std::filesystem::create_directories(dir);
    sim->SetTickSize(0.01);
    sim->Setting.Position = 2;
    sim->SumInfoFile = dir + "none/SumInfo.rpt";  // absent: the run itself writes nothing
    sim->SummaryFile = dir + "Summary0.rpt";
    sim->TradeListFile = dir + "TradeList0.rpt";
    sim->SetVariablePointer(&s[kClose], &s[kOpen], &s[kHigh], &s[kLow], &s[kVolume], &s[kDateTime], &s[kOpenInterest],
                            &s[kAmount], &s[kSpread]);
    SIndex system = CrossoverSystem();
    sim->SetIndex(system);
    sim->SetVariableToIndex();
    sim->Index.Calc();
    sim->ProcessStop();
    sim->Index.PreProcess();
    sim->SetHistory();
    sim->SetSummary();
    sim->SumInfoFile = dir + "SumInfo.rpt";
  }
  ~FinishedRun() {
    sim.reset();
    std::filesystem::remove_all(dir);
  }
};

void Counters(benchmark::State& state, const FinishedRun& run) {
  state.counters["trades"] = run.sim->Trades.GetCount();
  state.counters["rows"] = run.sim->SummaryCount;
}

// The former way of appending a summary-info record: a table opened, its
// declarations checked, switched to the log and back, for every record.
void BM_SumInfoRecord_ByRecord(benchmark::State& state) {
  FinishedRun run;
  SSimulation& sim = *run.sim;
  sim.CreateSummaryDB(sim.SumInfoFile);
  const char* names[] = {
      "SumFileName",  "TradeListFileName", "SymbolName",     "IndicatorName", "IndicatorVariable", "Term",
      "Status",       "EntryCommission",   "ExitCommission", "Slippage",      "TotalProfit",       "TransactionCount",
      "WinLossRatio", "WinRatio",          "ProfitFactor",   "AverageProfit", "InMarketRatio"};
  for (auto _ : state) {
    DB db(sim.SumInfoFile.c_str(), 0);
    db.MoveFirst(1);
    db.Append("");
    for (const char* n : names) db.InsField(n, sim.SumInfo.Status);
    db.WriteRecord();
  }
}
BENCHMARK(BM_SumInfoRecord_ByRecord)->Unit(benchmark::kMicrosecond);

void BM_SumInfoRecord(benchmark::State& state) {
  FinishedRun run;
  SSimulation& sim = *run.sim;
  sim.CreateSummaryDB(sim.SumInfoFile);
  for (auto _ : state) sim.InsertSummaryDB(sim.SumInfoFile, sim.SumInfo);
}
BENCHMARK(BM_SumInfoRecord)->Unit(benchmark::kMicrosecond);

// A file created by DB and filled through DB, one commit per record.
template <typename Create>
void FillByRecord(const SString& path, Create create, int records, int fields) {
  create(path);
  DB db(path.c_str(), 0);
  for (int r = 0; r < records; ++r) {
    db.Append("");
    for (int f = 0; f < fields; ++f) db.InsField(db.GetField(f)->name.c_str(), "12345.67");
    db.WriteRecord();
  }
}

// The optimiser writes every run's files under new names.
SString RunPath(const FinishedRun& run, const char* base, long k) { return SString(run.dir) + base + ltos(k) + ".rpt"; }

// A run's two report files, each written three ways below.
struct RunFile {
  const char* base;
  int (SSimulation::*create)(SString);
  int (SSimulation::*insert)(SString);
  bool (*whole)(SSimulation&, const SString&);
  int fields;
  int (*records)(const SSimulation&);
};
const RunFile kSummaryFile = {"Summary",
                              &SSimulation::CreateIndividualSummaryDB,
                              &SSimulation::InsertIndividualSummaryDB,
                              WriteIndividualSummaryFile,
                              9,
                              [](const SSimulation& s) { return s.SummaryCount; }};
const RunFile kTradeListFile = {"TradeList",
                                &SSimulation::CreateTradingHistoryDB,
                                &SSimulation::InsertTradingHistoryDB,
                                WriteTradeListFile,
                                19,
                                [](const SSimulation& s) { return s.Trades.GetCount(); }};

// Created, then filled through DB one commit per record (the former way).
void BM_File_ByRecord(benchmark::State& state, const RunFile& f) {
  FinishedRun run;
  SSimulation& sim = *run.sim;
  const SString path = RunPath(run, f.base, 0);
  for (auto _ : state)
    FillByRecord(
        path, [&](const SString& p) { (sim.*f.create)(p); }, f.records(sim), f.fields);
  Counters(state, run);
}

// The host's way: the create, then the insert in one transaction.
void BM_File_CreateInsert(benchmark::State& state, const RunFile& f) {
  FinishedRun run;
  SSimulation& sim = *run.sim;
  const SString path = RunPath(run, f.base, 0);
  for (auto _ : state) {
    (sim.*f.create)(path);
    (sim.*f.insert)(path);
  }
  Counters(state, run);
}

// The optimiser's way: built whole in memory, one write, one rename.
void BM_File_Whole(benchmark::State& state, const RunFile& f) {
  FinishedRun run;
  long k = 0;
  for (auto _ : state) f.whole(*run.sim, RunPath(run, f.base, k++));
  Counters(state, run);
}

BENCHMARK_CAPTURE(BM_File_ByRecord, Summary, kSummaryFile)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_File_CreateInsert, Summary, kSummaryFile)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_File_Whole, Summary, kSummaryFile)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_File_ByRecord, TradeList, kTradeListFile)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_File_CreateInsert, TradeList, kTradeListFile)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_File_Whole, TradeList, kTradeListFile)->Unit(benchmark::kMicrosecond);

// What waiting for the disk would add: a trade-list sized table written
// whole, with and without the sync before the rename.
void BM_TableFile_Sync(benchmark::State& state) {
  FinishedRun run;
  static constexpr TableColumn kColumns[] = {{"A", 50}, {"B", 50}, {"C", 50}, {"D", 50}, {"E", 50}, {"F", 50}};
  const std::vector<std::string> values(6 * 200, "12345.67");
  const FileSync sync = state.range(0) ? FileSync::kSync : FileSync::kSkip;
  long k = 0;
  for (auto _ : state) WriteTableFile(RunPath(run, "Table", k++).str(), kColumns, values, sync);
}
BENCHMARK(BM_TableFile_Sync)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);

// The file system's part of a whole file: a new 16 KiB file written aside
// and renamed, without building anything.
void BM_FileOnly(benchmark::State& state) {
  FinishedRun run;
  const std::string bytes(16384, 'x');
  long k = 0;
  for (auto _ : state) WriteWholeFile(RunPath(run, "Plain", k++).str(), bytes, FileSync::kSkip);
}
BENCHMARK(BM_FileOnly)->Unit(benchmark::kMicrosecond);

// Everything one optimisation run writes, as the optimiser writes it.
void BM_RunFiles(benchmark::State& state) {
  FinishedRun run;
  SSimulation& sim = *run.sim;
  sim.CreateSummaryDB(sim.SumInfoFile);
  long k = 0;
  for (auto _ : state) {
    sim.InsertSummaryDB(sim.SumInfoFile, sim.SumInfo);
    WriteIndividualSummaryFile(sim, RunPath(run, "Summary", k));
    WriteTradeListFile(sim, RunPath(run, "TradeList", k++));
  }
  Counters(state, run);
}
BENCHMARK(BM_RunFiles)->Unit(benchmark::kMicrosecond);

}  // namespace
