// Summary rows, equity, the profit line, "mfe.csv" and the summary-info
// table. Trade tables are filled by hand; every expected figure is worked
// by hand from the trades or bars written in the test.
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <string>
#include <vector>

#include "SimTestUtil.h"
#include "core/Cp949.h"
#include "simulation/Summary.h"

using namespace simtest;
using namespace chartcalc::detail;
namespace fs = std::filesystem;

namespace {

std::string Listing(const std::string& dir) {
  std::string out;
  for (const auto& e : fs::recursive_directory_iterator(dir)) out += e.path().filename().string() + " ";
  return out;
}

std::string Ko(const std::string& utf8) {
  std::string out;
  EXPECT_TRUE(Utf8ToCp949(utf8, out)) << utf8;
  return out;
}

// Long trades of the given profits (all held 4 bars, entry efficiency 10 x
// the trade's number, exit efficiency 50), each closed. Returns the
// simulation's own directory for the summary-info file, which does not
// exist, so nothing is written.
std::string Isolate(SSimulation& sim, std::initializer_list<double> profits = {}) {
  for (int k = 0; double p : profits) {
    const double values[] = {0, p, 4, 10.0 * ++k, 50, 99, 20240110};  // the total is never averaged
    SVector* columns[] = {&sim.Trades.Direction, &sim.Trades.ProfitLoss, &sim.Trades.BarsHeld,    &sim.Trades.EntryEff,
                          &sim.Trades.ExitEff,   &sim.Trades.TotalEff,   &sim.Trades.ExitDateTime};
    for (int c = 0; SVector * column : columns) column->Add(values[c++]);
  }
  const std::string dir = TestDir();
  sim.SumInfoFile = dir + "Rpt/SumInfo.rpt";
  sim.TickSize = 0.01;
  sim.Setting.Slippage = 0.0;
  return dir;
}

// Winners 5 | 4, 0, 0 (the longest streak is not the richest) and losers
// -3, -2 | -1.2, in that order: W 4, L 3, GP 9, GL -6.2.
constexpr std::initializer_list<double> kStreak = {5, -3, -2, 4, 0, 0, -1.2};

const SSummary& Row(const SSimulation& sim, int group, int sequence) { return sim.Summary[group * 14 + sequence]; }

// One group's 14 rows as "Value1/Value2" joined by "|" (sequence order).
std::string Values(const SSimulation& sim, int group) {
  std::string out;
  for (int k = 0; k < 14; ++k)
    out += (k ? "|" : "") + Row(sim, group, k).Value1.str() + "/" + Row(sim, group, k).Value2.str();
  return out;
}

TEST(Summary, NoTradesGiveZeroCountsEmptyRatiosAndZeroEfficiencies) {
  SSimulation sim;
  Isolate(sim);
  sim.Setting.Position = 0;
  sim.SetSummary();
  ASSERT_EQ(sim.SummaryCount, 28);
  for (int group : {0, 1})
    EXPECT_EQ(Values(sim, group),
              "0.00/|0.00/0.00|0/|0/0|0.0/0.0|0.00/0.00|0.00/0.00|0/0|0.00/|/|/0.00|/|0.00/0.00|0.00/");
  EXPECT_EQ(sim.SumInfo.Status.str() + sim.SumInfo.WinRatio.str() + sim.SumInfo.AverageProfit.str(), "Trade Nothing");
}

// Population deviation: mean 0.4, mean of squares 55.44 / 7 = 7.92,
// sqrt(7.92 - 0.16) = 2.7857. Win rate 4/7; averages 9/4 and -6.2/3; their
// ratio 2.25/2.0667 = 1.0887. Efficiencies: (10 + ... + 70) / 7 and 50.
TEST(Summary, ZeroProfitIsAWinnerThatExtendsTheStreak) {
  SSimulation sim;
  Isolate(sim, kStreak);
  sim.CalcSummary(-1);
  ASSERT_EQ(sim.SummaryCount, 14);
  EXPECT_EQ(Values(sim, 0),
            "2.80/1.45|9.00/-6.20|7/0.57|4/3|4.0/4.0|5.00/-3.00|5.00/-5.00|3/2|0.00/|2.25/-2.07|0.40/2.79|1.09/|"
            "40.00/50.00|-10.00/");
}

TEST(Summary, WithoutLossesTheProfitFactorAndLossAveragesAreEmpty) {
  SSimulation sim;
  Isolate(sim, {3.0, 1.0});
  sim.CalcSummary(-1);
  EXPECT_EQ(Values(sim, 0).substr(0, 40), "4.00/|4.00/0.00|2/1.00|2/0|4.0/0.0|3.00/");
  EXPECT_EQ(Row(sim, 0, 9).Value2.str() + Row(sim, 0, 11).Value1.str(), "");
  EXPECT_EQ(sim.SumInfo.ProfitFactor.str() + sim.SumInfo.WinLossRatio.str(), "");
  const std::pair<double, int> digits[] = {{0.01, 2}, {0.05, 1}, {100, 2}, {0, 0}, {NAN, 0}, {1e-300, 18}};
  for (auto [tick, want] : digits) EXPECT_EQ(SummaryDigits(tick), want) << tick;
}

TEST(Summary, TableKeepsAtMost199RowsAndDropsTheRestSilently) {
  SSimulation sim;
  for (int k = 0; k < 205; ++k) {
    SSummary row;
    row.GroupID = SString(k);
    sim.InsertSummary(row);
  }
  EXPECT_EQ(sim.SummaryCount, 199);
  EXPECT_EQ(sim.Summary[198].GroupID.str() + sim.Summary[199].GroupID.str(), "198");
  sim.SummaryCount = -3;  // a host's garbage count must not write outside the table
  sim.InsertSummary(SSummary());
  EXPECT_EQ(sim.SummaryCount, -3);
}

// One Korean group, row label and status stand for the fixed texts.
TEST(Summary, LabelsInKoreanAreTheFixedTexts) {
  SetLangType(0);
  SSimulation sim;
  Isolate(sim);
  sim.SetSummary();
  SetLangType(1);
  EXPECT_EQ(Row(sim, 0, 0).GroupName.str() + "|" + Row(sim, 0, 10).Name2.str() + "|" + sim.SumInfo.Status.str(),
            Ko("전체 거래|표준편차|거래 없음"));
}

// closes 10 11 12 11 13 14 12 12; long in at 11 on bar 1, out at 12.5 on
// bar 4; short in at 14 on bar 5, out (a stop's exit) at 12 on bar 7.
// cost(P) = 1% of P on entries and exits alike (exits charge the entry rate).
//   bar 2: 12 - 11 - 0.11 = 0.89     bar 3: 11 - 12 = -1
//   bar 4: 12.5 - 11 - 0.125 = 1.375 bar 6: 14 - 12 - 0.14 = 1.86
//   bar 7: 12 - 12 - 0.12 = -0.12
// The long curve's peak 0.89 falls to -0.11: the max loss range is -1.00.
TEST(EquityCurve, EachSideMarksToMarketWithCostsAndTheDeepestFallIsTheMaxLossRange) {
  SSimulation sim;
  Isolate(sim);
  Bind(sim, Market({10, 11, 12, 11, 13, 14, 12, 12}));
  sim.Setting.EntryCommission = 0.01, sim.Setting.ExitCommission = 0.5, sim.Setting.Position = 0;
  SetSignals(sim, {{0, 11, 0, 0, 0, 0, 0, 0},
                   {0, 0, 0, 0, 12.5, 0, 0, 0},
                   {0, 0, 0, 0, 0, 14, 0, 0},
                   {0, 0, 0, 0, 0, 0, 0, Signal(12, 1)}});
  const std::pair<int, std::vector<double>> cases[] = {{0, {0, 0, 0.89, -0.11, 1.265, 1.265, 1.265, 1.265}},
                                                       {1, {0, 0, 0, 0, 0, 0, 1.86, 1.74}},
                                                       {-1, {0, 0, 0.89, -0.11, 1.265, 1.265, 3.125, 3.005}}};
  for (const auto& [side, want] : cases) {
    SVector out;
    sim.CalcEquity(&out, side);
    ASSERT_EQ(out.GetSize(), static_cast<int>(want.size()));
    for (int k = 0; k < out.GetSize(); ++k) EXPECT_NEAR(out[k], want[k], 1e-12) << side << " bar " << k;
  }
  sim.SetSummary();
  EXPECT_EQ(Row(sim, 0, 8).Value1.str() + Row(sim, 1, 8).Value1.str(), "-1.00-1.00");
}

// Long in on bar 2 (close 12), out on bar 4 (13): +1; short in on bar 5
// (14), out on bar 7 (12): +2. The long exit on bar 1 comes before any
// entry and must not move the line. The short entry series is the longer.
TEST(ProfitLine, StartsAtTheFirstEntryAndRunsTheLongerEntrySeries) {
  SSimulation sim;
  Bind(sim, Market({10, 11, 12, 11, 13, 14, 12, 12}));
  sim.Setting.Slippage = 0.0;
  SetSignals(sim, {{0, 0, 12, 0, 0, 0, 0, 0},
                   {0, 11, 0, 0, 13, 0, 0, 0},
                   {0, 0, 0, 0, 0, 14, 0, 0, 0, 0},
                   {0, 0, 0, 0, 0, 0, 0, 12}});
  sim.CalcProfitLoss();
  const SVector& line = sim.Index.LineData[4];
  ASSERT_EQ(line.GetSize(), 10);
  EXPECT_EQ(line.GetStartIndex(), 2);
  const double want[] = {0, 0, 0, 0, 1, 1, 1, 3, 3, 3};
  for (int k = 0; k < 10; ++k) EXPECT_DOUBLE_EQ(line[k], want[k]) << k;
}

// highs/lows are close +/- 0.5. Long 1 -> 4: profit 13 - 11, best 13.5,
// worst 10.5; long 6 -> last bar: 12 - 12, best 12.5, worst 11.5. Short
// 5 -> last bar: 14 - 12, best 14 - 11.5, worst 14 - 14 (the extremes start
// at the entry close).
TEST(Excursions, MfeFileHoldsEveryPairLongsFirst) {
  const std::string dir = TestDir();
  Market m({10, 11, 12, 11, 13, 14, 12, 12});
  for (int k = 0; k < m.Size(); ++k) m.high[k] = m.close[k] + 0.5, m.low[k] = m.close[k] - 0.5;
  SSimulation sim;
  Bind(sim, m);
  sim.Setting.Slippage = 0.0, sim.Setting.Position = 2;
  SetSignals(sim, {{0, 1, 0, 0, 0, 0, 1, 0}, {0, 0, 0, 0, 1, 0, 0, 0}, {0, 0, 0, 0, 0, 1, 0, 0}, {}});
  const fs::path saved = fs::current_path();
  fs::current_path(dir);
  sim.CalcStatics();
  fs::current_path(saved);
  EXPECT_EQ(ReadBytes(dir + "mfe.csv"),
            "seq, profit, mfe, mae\n"
            "0, 2.000000, 2.500000, -0.500000\n"
            "1, 0.000000, 0.500000, -0.500000\n"
            "2, 2.000000, 2.500000, 0.000000\n");
  EXPECT_EQ(Listing(dir), "mfe.csv ");  // no temporary left beside it
}

// Without the table a run writes nothing. Once created (its directory too),
// a run appends one record per CalcSummary(-1), read back field by field.
TEST(SummaryInfo, RunAppendsItsRecordOnlyToACreatedTable) {
  SSimulation sim;
  const std::string dir = Isolate(sim, kStreak);
  sim.SetSummary();
  SSummaryInfo info;
  EXPECT_EQ(sim.InsertSummaryDB(dir + "SumInfo.rpt", info), 1);
  EXPECT_EQ(Listing(dir), "");
  EXPECT_EQ(sim.CreateSummaryDB(sim.SumInfoFile), 1);
  sim.Setting.SymbolName = Ko("삼성전자").c_str();
  sim.SetSummary();
  DB db(sim.SumInfoFile.c_str(), 0);
  ASSERT_EQ(db.GetFieldCount(), 17);
  db.MoveFirst(1);
  ASSERT_FALSE(db.Eof());
  EXPECT_EQ(std::string(db.GetStr("SymbolName")), Ko("삼성전자"));
  EXPECT_EQ(std::string(db.GetStr("TotalProfit")) + "|" + db.GetStr("Status"), "2.80|Buy clear");
  db.MoveNext(1);
  EXPECT_TRUE(db.Eof());
}

}  // namespace
