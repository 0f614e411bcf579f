// The report files of a run: the trade-list and summary records read back
// through DB, the one-step files the optimiser writes, and files that are
// whole or absent whatever goes wrong. Expected texts are worked by hand.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "SimTestUtil.h"
#include "core/Cp949.h"
#include "core/SqliteStore.h"
#include "simulation/ReportFiles.h"

using namespace simtest;
using namespace chartcalc::detail;
namespace fs = std::filesystem;

namespace {

std::string Ko(const std::string& utf8) {
  std::string out;
  EXPECT_TRUE(Utf8ToCp949(utf8, out)) << utf8;
  return out;
}

// Every record of a table file, each as its fields' values joined by "|".
std::vector<std::string> Records(const std::string& path) {
  std::vector<std::string> out;
  for (const auto& row : TableRecords(path)) {
    out.emplace_back();
    for (size_t f = 0; f < row.size(); ++f) out.back() += (f ? "|" : "") + row[f];
  }
  return out;
}

std::string FieldNames(const std::string& path) {
  DB db(path.c_str(), 0);
  std::string out;
  for (int f = 0; f < db.GetFieldCount(); ++f) out += (f ? "," : "") + db.GetField(f)->name;
  return out;
}

struct LangGuard {
  int saved = GetLangType();
  explicit LangGuard(int lang) { SetLangType(lang); }
  ~LangGuard() { SetLangType(saved); }
};

// A long trade closed, a short trade closed, and a long one still open at
// the last bar (exit date-time 0). Tick 0.05: prices show 2 decimals, money
// 1 (the magnitude of the integer part of log10 0.05).
void ThreeTrades(SSimulation& sim) {
  sim.TickSize = 0.05;
  //                        dir  entry dt          entry   exit dt           exit    qty  pl     rf     cpl    crf
  const double rows[3][10] = {{0, 20240102093000.0, 1021.5, 20240105150000.0, 1030.05, 3, 7.26, 1.025, 7.26, 1.025},
                              {1, 20240108100500.0, 1030, 20240109091500.0, 1040, 1, -10.04, 0.99, -2.78, 0.9},
                              {0, 20240110, 1000, 0, 1001.95, 2, 3.9, 1.5, 1.12, 1.2}};
  STradeTable& t = sim.Trades;
  SVector* columns[10] = {&t.Direction, &t.EntryDateTime, &t.EntryPrice,   &t.ExitDateTime,  &t.ExitPrice,
                          &t.Quantity,  &t.ProfitLoss,    &t.ReturnFactor, &t.CumProfitLoss, &t.CumReturnFactor};
  for (const auto& row : rows) {
    for (int c = 0; c < 10; ++c) columns[c]->Add(row[c]);
    t.EntryCostPrice.Add(0), t.ExitCostPrice.Add(0), t.BarsHeld.Add(3);
    t.Runup.Add(12.34), t.Drawdown.Add(-5.66), t.EntryEff.Add(55.5), t.ExitEff.Add(40.126), t.TotalEff.Add(-4.374);
  }
}

constexpr const char* kTradeFieldList =
    "TradeNo,EntryType,ExitType,EntryDate,ExitDate,EntryTime,ExitTime,EntryPrice,ExitPrice,Quantity,Runup,"
    "Drawdown,EntryEff,ExitEff,TotalEff,ProfitLossRatio,CumProfitLossRatio,ProfitLoss,CumProfitLoss";

TEST(TradeListFile, ValuesFollowTheirFormatsAndLanguageForClosedShortAndOpenTrades) {
  LangGuard english(1);
  const std::string dir = TestDir();
  SSimulation sim;
  ThreeTrades(sim);
  sim.CreateTradingHistoryDB(dir + "TradeList0.rpt");
  sim.InsertTradingHistoryDB(dir + "TradeList0.rpt");
  EXPECT_EQ(FieldNames(dir + "TradeList0.rpt"), kTradeFieldList);
  const std::vector<std::string> expected = {
      "1|BuyEnterance|BuyClose|20240102|20240105|09:30|15:00|1021.50|1030.05|3|12.3|-5.7|55.50|40.13|-4.37|2.50|2.50|"
      "7.3|7.3",
      "2|SellEnterance|SellClose|20240108|20240109|10:05|09:15|1030.00|1040.00|1|12.3|-5.7|55.50|40.13|-4.37|-1.00|"
      "-10.00|-10.0|-2.8",
      "3|BuyEnterance|Buyhold|20240110|00000000|00:00|00:00|1000.00|1001.95|2|12.3|-5.7|55.50|40.13|-4.37|50.00|"
      "20.00|3.9|1.1",
  };
  EXPECT_EQ(Records(dir + "TradeList0.rpt"), expected);
  SetLangType(0);  // the types are code page 949 words
  ASSERT_TRUE(WriteTradeListFile(sim, dir + "ko.rpt"));
  std::string types;
  for (const auto& row : TableRecords(dir + "ko.rpt")) types += row[1] + row[2] + ";";
  EXPECT_EQ(types, Ko("매수진입매수청산;매도진입매도청산;매수진입매수유지;"));
}

// A back-test whose signals never fire: no trade records, three groups of
// 14 summary rows, and the status of a run without trades.
TEST(ReportFiles, RunWithoutTradesWritesEmptyTradeListAndEverySummaryRow) {
  LangGuard english(1);
  const std::string dir = TestDir();
  SSimulation sim;
  Bind(sim, Market({10, 11, 12, 11, 10}));
  sim.Setting.Position = 2;
  SetSignals(sim, {{0, 0, 0, 0, 0}, {0, 0, 0, 0, 0}, {0, 0, 0, 0, 0}, {0, 0, 0, 0, 0}});
  sim.SumInfoFile = dir + "SumInfo.rpt";
  sim.CreateSummaryDB(sim.SumInfoFile);
  sim.SetHistory();
  sim.SetSummary();
  EXPECT_TRUE(WriteTradeListFile(sim, dir + "TradeList0.rpt"));
  EXPECT_TRUE(WriteIndividualSummaryFile(sim, dir + "Summary0.rpt"));
  EXPECT_EQ(FieldNames(dir + "TradeList0.rpt"), kTradeFieldList);
  EXPECT_TRUE(Records(dir + "TradeList0.rpt").empty());
  const std::vector<std::string> rows = Records(dir + "Summary0.rpt");
  ASSERT_EQ(rows.size(), 42u);
  EXPECT_EQ(std::string({rows[0][0], rows[14][0], rows[28][0]}), "012");  // all trades, long, short
  DB info(sim.SumInfoFile.c_str(), 0);
  info.MoveFirst(1);
  EXPECT_EQ(std::string(info.GetStr("Status")) + "|" + info.GetStr("TransactionCount"), "Trade Nothing|0");
}

// The optimiser's one-step files hold exactly what create and insert give.
TEST(ReportFiles, OneStepFilesEqualCreateThenInsert) {
  const std::string dir = TestDir();
  SSimulation sim;
  ThreeTrades(sim);
  sim.SummaryCount = 2;
  sim.Summary[0] = {"0", Ko("전체 거래"), "0", "x", "0", "a", "1.0", "b", ""};
  sim.Summary[1] = {"1", "Long", "4", "y", "13", "c", "", "d", std::string(60, 'z')};  // cut to 50
  sim.CreateTradingHistoryDB(dir + "a.rpt");
  sim.InsertTradingHistoryDB(dir + "a.rpt");
  sim.CreateIndividualSummaryDB(dir + "b.rpt");
  sim.InsertIndividualSummaryDB(dir + "b.rpt");
  ASSERT_TRUE(WriteTradeListFile(sim, dir + "c.rpt"));
  ASSERT_TRUE(WriteIndividualSummaryFile(sim, dir + "d.rpt"));
  EXPECT_EQ(Records(dir + "c.rpt"), Records(dir + "a.rpt"));
  EXPECT_EQ(Records(dir + "d.rpt"), Records(dir + "b.rpt"));
  EXPECT_EQ(FieldNames(dir + "d.rpt"), FieldNames(dir + "b.rpt"));
  EXPECT_EQ(Records(dir + "d.rpt")[1].size(), std::string("1|Long|4|y|13|c||d|").size() + 50);
  for (const auto& e : fs::directory_iterator(dir)) EXPECT_EQ(e.path().string().find(".tmp"), std::string::npos);
}

// ---- whole or absent ----------------------------------------------------------------

TEST(ReportFiles, UnwritablePlaceOrDamagedFileIsLeftAsItWas) {
  const std::string dir = TestDir();
  SSimulation sim;
  ThreeTrades(sim);
  std::ofstream(dir + "plain") << "x";
  EXPECT_FALSE(WriteTradeListFile(sim, dir + "plain/TradeList0.rpt"));  // a file where a folder should be
  EXPECT_FALSE(WriteIndividualSummaryFile(sim, ""));
  if (geteuid() != 0) {  // the superuser writes into read-only folders
    fs::create_directories(dir + "ro");
    fs::permissions(dir + "ro", fs::perms::owner_read | fs::perms::owner_exec);
    EXPECT_FALSE(WriteTradeListFile(sim, dir + "ro/TradeList0.rpt"));
    EXPECT_TRUE(fs::is_empty(dir + "ro"));
    fs::permissions(dir + "ro", fs::perms::owner_all);
  }
  sim.CreateTradingHistoryDB(dir + "t.rpt");
  const std::string damaged = ReadBytes(dir + "t.rpt").substr(0, 3000);
  std::ofstream(dir + "t.rpt", std::ios::binary | std::ios::trunc) << damaged;
  sim.InsertTradingHistoryDB(dir + "t.rpt");
  sim.InsertIndividualSummaryDB(dir + "plain");
  SSummaryInfo info;
  sim.InsertSummaryDB(dir + "plain", info);
  sim.InsertTradingHistoryDB(dir + "missing.rpt");
  EXPECT_EQ(ReadBytes(dir + "t.rpt"), damaged);
  EXPECT_EQ(ReadBytes(dir + "plain"), "x");
  EXPECT_FALSE(fs::exists(dir + "missing.rpt"));
}

// A trade list whose TradeNo must be unique and already holds "2": the
// insert fails at the second trade, and the first must not stay behind.
TEST(ReportFiles, InsertFailingHalfwayLeavesNoneOfItsRecords) {
  const std::string dir = TestDir();
  SSimulation sim;
  ThreeTrades(sim);
  sim.CreateTradingHistoryDB(dir + "t.rpt");
  {
    sqlstore::Connection c;
    ASSERT_TRUE(c.OpenExisting(dir + "t.rpt", false));
    ASSERT_TRUE(c.Exec("CREATE UNIQUE INDEX one_each ON records(TradeNo)"));
    ASSERT_TRUE(c.Exec("INSERT INTO records(TradeNo) VALUES('2')"));
  }
  sim.InsertTradingHistoryDB(dir + "t.rpt");
  const std::vector<std::string> rows = Records(dir + "t.rpt");
  ASSERT_EQ(rows.size(), 1u);
  EXPECT_EQ(rows[0].substr(0, 2), "2|");
}

// The summary-info file stays open between records; a file put in its place
// (by this simulation or anyone else) must receive the next record.
TEST(SummaryInfoFile, RecordsFollowTheFileThatNowHasThePath) {
  const std::string path = TestDir() + "SumInfo.rpt";
  SSimulation sim, other;
  SSummaryInfo info;
  auto insert = [&](SSimulation& into, const char* status) { info.Status = status, into.InsertSummaryDB(path, info); };
  sim.CreateSummaryDB(path);
  insert(sim, "first");
  sim.CreateSummaryDB(path);
  insert(sim, "second");
  other.CreateSummaryDB(path);  // replaced behind sim's back
  insert(sim, "third");
  SSimulation copy(sim);
  insert(copy, "fourth");
  DB db(path.c_str(), 0);
  std::string statuses;
  for (db.MoveFirst(1); !db.Eof(); db.MoveNext(1)) statuses += std::string(db.GetStr("Status")) + ";";
  EXPECT_EQ(statuses, "third;fourth;");
}

}  // namespace
