// Storage benchmarks: appending records to a report table (each record
// committed on its own, as a trade list is written), reading them back, and
// saving an archive. Files go to a scratch directory beside the working one.
#include <benchmark/benchmark.h>

#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <string>

#include "chartcalc.h"

using namespace chartcalc::detail;

namespace {

constexpr int kRecords = 10000;

// The trade-list fields: 19 texts of width 50.
const char* const kTradeFields[] = {"TradeNo",         "EntryType",          "ExitType",   "EntryDate",    "ExitDate",
                                    "EntryTime",       "ExitTime",           "EntryPrice", "ExitPrice",    "Quantity",
                                    "Runup",           "Drawdown",           "EntryEff",   "ExitEff",      "TotalEff",
                                    "ProfitLossRatio", "CumProfitLossRatio", "ProfitLoss", "CumProfitLoss"};

std::string ScratchPath(const char* name) {
  std::filesystem::path dir = std::filesystem::temp_directory_path() / "chartcalc-bench";
  std::filesystem::create_directories(dir);
  return (dir / name).string();
}

void CreateTradeList(const std::string& path) {
  DB db(0);
  db.CreateDB(path.c_str());
  db.ClearField();
  for (const char* f : kTradeFields) db.InsertField(f, 'c', 50);
  db.WriteHead();
  db.WriteField();
  db.WriteEof();
}

void AppendTrades(const std::string& path, int n) {
  DB db(path.c_str(), 0);
  db.MoveFirst(1);
  for (int k = 0; k < n; ++k) {
    db.Append("");
    for (const char* f : kTradeFields) db.InsField(f, ltos(k + 1));
    db.InsField("EntryType", "\xB8\xC5\xBC\xF6\xC1\xF8\xC0\xD4");  // Korean text
    if (!db.WriteRecord()) throw std::runtime_error("write failed");
  }
}

// 10,000 records of 19 fields, one commit each, on a fresh table.
void BM_TableAppend10000(benchmark::State& state) {
  std::string path = ScratchPath("trades.rpt");
  for (auto _ : state) {
    state.PauseTiming();
    CreateTradeList(path);
    state.ResumeTiming();
    AppendTrades(path, kRecords);
  }
  state.SetItemsProcessed(state.iterations() * kRecords);
}
BENCHMARK(BM_TableAppend10000)->Unit(benchmark::kMillisecond)->Iterations(3);

void BM_TableScan10000(benchmark::State& state) {
  std::string path = ScratchPath("scan.rpt");
  CreateTradeList(path);
  AppendTrades(path, kRecords);
  for (auto _ : state) {
    DB db(path.c_str(), 0);
    size_t bytes = 0;
    for (db.MoveFirst(1); !db.Eof(); db.MoveNext(1))
      for (const char* f : kTradeFields) bytes += std::strlen(db.GetStr(f));
    benchmark::DoNotOptimize(bytes);
  }
  state.SetItemsProcessed(state.iterations() * kRecords);
}
BENCHMARK(BM_TableScan10000)->Unit(benchmark::kMillisecond);

// A chart document of 18 price-chart types x 21 keys x 10 records.
void BM_ArchiveSave(benchmark::State& state) {
  CFBArchive a;
  for (int r = 0; r < 10; ++r) {
    a.SetCategory(("PriceProperty" + std::to_string(r)).c_str());
    for (int k = 0; k < 18 * 21; ++k) a.SetInt(("Key" + std::to_string(k)).c_str(), k, 0);
  }
  std::string path = ScratchPath("chart.doc");
  for (auto _ : state) benchmark::DoNotOptimize(a.SaveFile(path.c_str()));
  state.SetItemsProcessed(state.iterations() * a.GetEntryCount());
}
BENCHMARK(BM_ArchiveSave)->Unit(benchmark::kMillisecond);

}  // namespace
