// Summary rows, equity, the profit line, "mfe.csv" and the summary-info
// table. Trade tables are filled by hand; every expected figure is worked
// by hand from the trades or bars written in the test.
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "SimTestUtil.h"
#include "core/Cp949.h"
#include "simulation/Summary.h"

using namespace simtest;
using namespace chartcalc::detail;
namespace fs = std::filesystem;

namespace {

// An empty directory of this test's own.
std::string TestDir() {
  const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
  const fs::path dir = fs::path(CHARTCALC_TEST_TMP) / (std::string(info->test_suite_name()) + "." + info->name());
  fs::remove_all(dir);
  fs::create_directories(dir);
  return dir.string() + "/";
}

std::string Listing(const std::string& dir) {
  std::string out;
  for (const auto& e : fs::recursive_directory_iterator(dir)) out += e.path().filename().string() + " ";
  return out;
}

std::string ReadText(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

std::string Ko(const std::string& utf8) {
  std::string out;
  EXPECT_TRUE(Utf8ToCp949(utf8, out)) << utf8;
  return out;
}

// Runs the test body in another working directory and comes back.
struct InDirectory {
  explicit InDirectory(const std::string& dir) : saved(fs::current_path()) { fs::current_path(dir); }
  ~InDirectory() { fs::current_path(saved); }
  fs::path saved;
};

struct LanguageScope {
  explicit LanguageScope(int lang) { SetLangType(lang); }
  ~LanguageScope() { SetLangType(1); }
};

struct Trade {
  int direction;
  double profit;
  double bars = 0, entryEff = 0, exitEff = 0, exitDateTime = 20240110;
};

void AddTrades(SSimulation& sim, std::initializer_list<Trade> trades) {
  for (const Trade& t : trades) {
    sim.Trades.Direction.Add(t.direction);
    sim.Trades.ProfitLoss.Add(t.profit);
    sim.Trades.BarsHeld.Add(t.bars);
    sim.Trades.EntryEff.Add(t.entryEff);
    sim.Trades.ExitEff.Add(t.exitEff);
    sim.Trades.TotalEff.Add(99.0);  // never averaged: the total is entry + exit - 100
    sim.Trades.ExitDateTime.Add(t.exitDateTime);
  }
}

// Winners 5 | 4, 0, 0 (the longest streak is not the richest) and losers
// -3, -2 | -1.2, in that order: W 4, L 3, GP 9, GL -6.2.
void AddStreakTrades(SSimulation& sim, int shortMask = 0) {
  const double profits[] = {5, -3, -2, 4, 0, 0, -1.2};
  const double bars[] = {2, 3, 3, 4, 6, 8, 4};
  for (int k = 0; k < 7; ++k) AddTrades(sim, {{(shortMask >> k) & 1, profits[k], bars[k], 10.0 * (k + 1), 50.0}});
}

// A simulation whose summary-info file lies in the test's directory and
// does not exist, so nothing is written.
void Isolate(SSimulation& sim, const std::string& dir) {
  sim.SumInfoFile = dir + "Rpt/SumInfo.rpt";
  sim.TickSize = 0.01;
  sim.Setting.Slippage = 0.0;
}

const SSummary& Row(const SSimulation& sim, int group, int sequence) { return sim.Summary[group * 14 + sequence]; }

// One group's 14 rows as "Value1/Value2" joined by "|" (sequence order).
std::string Values(const SSimulation& sim, int group) {
  std::string out;
  for (int k = 0; k < 14; ++k)
    out += (k ? "|" : "") + Row(sim, group, k).Value1.str() + "/" + Row(sim, group, k).Value2.str();
  return out;
}

void ExpectStartsWith(const std::string& text, const std::string& head) {
  EXPECT_EQ(text.substr(0, head.size()), head);
}

// One group's labels as "SubGroupID SubGroupName: Name1 / Name2" joined by "|".
std::string Labels(const SSimulation& sim, int group) {
  std::string out;
  for (int k = 0; k < 14; ++k) {
    const SSummary& r = Row(sim, group, k);
    out +=
        (k ? "|" : "") + r.SubGroupID.str() + " " + r.SubGroupName.str() + ": " + r.Name1.str() + " / " + r.Name2.str();
  }
  return out;
}

TEST(Summary, NoTradesGiveZeroCountsEmptyRatiosAndZeroEfficiencies) {
  SSimulation sim;
  Isolate(sim, TestDir());
  sim.Setting.Position = 0;
  sim.SetSummary();
  ASSERT_EQ(sim.SummaryCount, 28);
  for (int group : {0, 1})
    EXPECT_EQ(Values(sim, group),
              "0.00/|0.00/0.00|0/|0/0|0.0/0.0|0.00/0.00|0.00/0.00|0/0|0.00/|/|/0.00|/|0.00/0.00|0.00/");
  EXPECT_EQ(sim.SumInfo.Status.str() + sim.SumInfo.WinRatio.str() + sim.SumInfo.AverageProfit.str(), "Trade Nothing");
}

// Each figure of the streak trades, worked by hand. Population deviation:
// mean 0.4, mean of squares 55.44 / 7 = 7.92, sqrt(7.92 - 0.16) = 2.7857.
// Win rate 4/7; averages 9/4 and -6.2/3; their ratio 2.25/2.0667 = 1.0887.
TEST(Summary, ZeroProfitIsAWinnerThatExtendsTheStreak) {
  SSimulation sim;
  Isolate(sim, TestDir());
  AddStreakTrades(sim);
  sim.CalcSummary(-1);
  ASSERT_EQ(sim.SummaryCount, 14);
  EXPECT_EQ(Values(sim, 0),
            "2.80/1.45|9.00/-6.20|7/0.57|4/3|5.0/3.3|5.00/-3.00|5.00/-5.00|3/2|0.00/|2.25/-2.07|0.40/2.79|1.09/|"
            "40.00/50.00|-10.00/");
}

TEST(Summary, WithoutLossesTheProfitFactorAndLossAveragesAreEmpty) {
  SSimulation sim;
  Isolate(sim, TestDir());
  AddTrades(sim, {{0, 3.0}, {0, 1.0}});
  sim.CalcSummary(-1);
  ExpectStartsWith(Values(sim, 0), "4.00/|4.00/0.00|2/1.00|2/0|0.0/0.0|3.00/");
  EXPECT_EQ(Row(sim, 0, 9).Value2.str() + Row(sim, 0, 11).Value1.str(), "");
  EXPECT_EQ(sim.SumInfo.ProfitFactor.str() + sim.SumInfo.WinLossRatio.str(), "");
}

// Longs 5, -2, 0, 0 and shorts -3, 4, -1.2: each side counts its own trades
// but the deviation is the whole column's in every group.
TEST(Summary, SideGroupsCountTheirTradesButShareTheWholeColumnsDeviation) {
  SSimulation sim;
  Isolate(sim, TestDir());
  sim.Setting.Position = 2;
  AddStreakTrades(sim, 0b1001010);
  sim.SetSummary();
  ASSERT_EQ(sim.SummaryCount, 42);
  const char* names[] = {"Total trade", "Buy Trade", "Sell Trade"};
  for (int g = 0; g < 3; ++g) {
    EXPECT_EQ(Row(sim, g, 0).GroupID.str(), std::to_string(g));
    EXPECT_EQ(Row(sim, g, 5).GroupName.str(), names[g]);
    EXPECT_EQ(Row(sim, g, 10).Value2.str(), "2.79") << g;
  }
  ExpectStartsWith(Values(sim, 1), "3.00/2.50|5.00/-2.00|4/0.75|3/1|5.3/3.0|5.00/-2.00|5.00/-2.00|2/1|");
  ExpectStartsWith(Values(sim, 2), "-0.20/0.95|4.00/-4.20|3/0.33|1/2|");
}

TEST(Summary, TableKeepsAtMost199RowsAndDropsTheRestSilently) {
  SSimulation sim;
  for (int k = 0; k < 205; ++k) sim.InsertSummary({SString(k)});
  EXPECT_EQ(sim.SummaryCount, 199);
  EXPECT_EQ(sim.Summary[198].GroupID.str() + sim.Summary[199].GroupID.str(), "198");
  sim.SummaryCount = -3;  // a host's garbage count must not write outside the table
  sim.InsertSummary(SSummary());
  EXPECT_EQ(sim.SummaryCount, -3);
}

// Every row label in both languages, odd spellings included.
TEST(Summary, RowLabelsInBothLanguagesAreTheFixedTexts) {
  const std::string english =
      "0 Profit and loss summary: Total  profit&loss / Profit Factor|0 Profit and loss summary: Total profit / Total "
      "loss|1 Trade Count: The count of total trade / a earning rate|1 TradeCount: Profit Trade Count / Loss trade "
      "count|1 TradeCount: Figure of profit trade average bar. / Figure of loss trade average bar.|2 Max "
      "profit&loss: Max profit / Max loss|2 Max profit&loss: Max continuous profit Amount / Max continuous loss "
      "Amount|2 Max profit&loss: Max continuous profit trade / Max continuous loss trade|2 Max profit&loss: Max loss "
      "range / |3 Average Profit/Loss: Average Profit / Average Loss|3 Average Profit/Loss: Average trading profit "
      "and loss / Standard deviation|3 Average Profit/Loss: Average Profit/Average Loss / |4 Effi]ciency: "
      "EnteranceEffi]ciency / CloseEffi]ciency|4 Effi]ciency: TotalEffi]ciency / ";
  const std::string korean =
      "0 손익 요약: 총손익 / Profit Factor|0 손익 요약: 총수익 / 총손실|1 거래 횟수: 총거래횟수 / 승률|1 거래횟수: "
      "수익 "
      "거래수 / 손실 거래수|1 거래횟수: 수익 거래 평균 봉 갯수 / 손실 거래 평균 봉 갯수|2 최대 손익: 최대 수익 / 최대 "
      "손실|2 최대 손익: 최대 연속 수익 금액 / 최대 연속 손실 금액|2 최대 손익: 최대 연속 수익 거래 / 최대 연속 손실 "
      "거래|2 최대 손익: 최대 손실폭 / |3 평균 손익: 평균 수익 / 평균 손실|3 평균 손익: 평균 거래 손익 / 표준편차|3 "
      "평균 손익: 평균 수익/평균 손실 / |4 효율성: 진입효율성 / 청산효율성|4 효율성: 전체효율성 / ";
  for (int lang : {0, 1}) {
    LanguageScope scope(lang);
    SSimulation sim;
    Isolate(sim, TestDir());
    sim.Setting.Position = 1;
    sim.SetSummary();
    ASSERT_EQ(sim.SummaryCount, 28);
    EXPECT_EQ(Labels(sim, 0), lang == 0 ? Ko(korean) : english);
    const std::string groups =
        Row(sim, 0, 0).GroupName.str() + "|" + Row(sim, 1, 0).GroupName.str() + "|" + sim.SumInfo.Status.str();
    EXPECT_EQ(groups, lang == 0 ? Ko("전체 거래|매도 거래|거래 없음") : "Total trade|Sell Trade|Trade Nothing");
  }
}

TEST(Summary, DisplayDigitsFollowTheTicksLogarithm) {
  const std::pair<double, int> cases[] = {{0.01, 2}, {1, 0},  {0.05, 1}, {0.25, 0},     {100, 2},
                                          {0, 0},    {-1, 0}, {NAN, 0},  {INFINITY, 0}, {1e-300, 18}};
  for (auto [tick, digits] : cases) EXPECT_EQ(SummaryDigits(tick), digits) << tick;
  SSimulation sim;
  Isolate(sim, TestDir());
  sim.TickSize = 0.0;  // no logarithm: whole numbers
  AddTrades(sim, {{0, 9.4}});
  sim.CalcSummary(-1);
  EXPECT_EQ(Row(sim, 0, 1).Value1.str(), "9");
}

// closes 10 11 12 11 13 14 12 12; long in at 11 on bar 1, out at 12.5 on
// bar 4; short in at 14 on bar 5, out (a stop's exit) at 12 on bar 7.
// cost(P) = 1% of P on entries and exits alike.
//   bar 2: 12 - 11 - 0.11 = 0.89     bar 3: 11 - 12 = -1
//   bar 4: 12.5 - 11 - 0.125 = 1.375 bar 6: 14 - 12 - 0.14 = 1.86
//   bar 7: 12 - 12 - 0.12 = -0.12
class EquityCurve : public ::testing::Test {
 protected:
  void SetUp() override {
    Bind(sim, Market({10, 11, 12, 11, 13, 14, 12, 12}));
    sim.Setting.Slippage = 0.0;
    sim.Setting.EntryCommission = 0.01;
    sim.Setting.ExitCommission = 0.5;  // exits are charged the entry cost
    SetSignals(sim, {{0, 11, 0, 0, 0, 0, 0, 0},
                     {0, 0, 0, 0, 12.5, 0, 0, 0},
                     {0, 0, 0, 0, 0, 14, 0, 0},
                     {0, 0, 0, 0, 0, 0, 0, Signal(12, 1)}});
  }
  std::vector<double> Curve(int side) {
    SVector out;
    sim.CalcEquity(&out, side);
    EXPECT_EQ(out.GetStartIndex(), 0);
    return std::vector<double>(out.Data(), out.Data() + out.GetSize());
  }
  SSimulation sim;
};

TEST_F(EquityCurve, EachSideMarksToMarketWithCostsOnEntryAndExit) {
  const struct {
    int side;
    std::vector<double> want;
  } cases[] = {{0, {0, 0, 0.89, -0.11, 1.265, 1.265, 1.265, 1.265}},
               {1, {0, 0, 0, 0, 0, 0, 1.86, 1.74}},
               {-1, {0, 0, 0.89, -0.11, 1.265, 1.265, 3.125, 3.005}}};
  for (const auto& c : cases) {
    const std::vector<double> got = Curve(c.side);
    ASSERT_EQ(got.size(), c.want.size());
    for (size_t k = 0; k < got.size(); ++k) EXPECT_NEAR(got[k], c.want[k], 1e-12) << c.side << " bar " << k;
  }
}

// A new entry while long re-opens at the new price: bar 4 is then "right
// after the entry" and charges both costs from 11.5.
TEST_F(EquityCurve, EntryWhileOpenReopensAtTheNewPrice) {
  sim.Index.LineData[0][3] = 11.5;
  const std::vector<double> got = Curve(0);
  EXPECT_NEAR(got[4], -0.11 + (12.5 - 11.5 - 0.125 - 0.115), 1e-12);
}

// The long curve's peak 0.89 falls to -0.11: the row shows -1.00.
TEST_F(EquityCurve, MaxLossRangeIsTheDeepestFallBelowThePeak) {
  Isolate(sim, TestDir());
  sim.Setting.EntryCommission = 0.01;
  sim.Setting.Position = 0;
  sim.SetSummary();
  EXPECT_EQ(Row(sim, 0, 8).Value1.str(), "-1.00");
  EXPECT_EQ(Row(sim, 1, 8).Value1.str(), "-1.00");
  const double fallsFromZero[] = {0, -2, 1, -0.5};
  EXPECT_DOUBLE_EQ(MaxDrawdown(fallsFromZero, 4), 2.0);
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

  SetSignals(sim, {});
  sim.CalcProfitLoss();
  EXPECT_EQ(sim.Index.LineData[4].GetSize(), 0);
  EXPECT_EQ(sim.Index.LineData[4].GetStartIndex(), 0);
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
  sim.Setting.Slippage = 0.0;
  sim.Setting.Position = 2;
  SetSignals(sim, {{0, 1, 0, 0, 0, 0, 1, 0}, {0, 0, 0, 0, 1, 0, 0, 0}, {0, 0, 0, 0, 0, 1, 0, 0}, {}});
  {
    InDirectory here(dir);
    sim.CalcStatics();
  }
  EXPECT_EQ(ReadText(dir + "mfe.csv"),
            "seq, profit, mfe, mae\n"
            "0, 2.000000, 2.500000, -0.500000\n"
            "1, 0.000000, 0.500000, -0.500000\n"
            "2, 2.000000, 2.500000, 0.000000\n");
  EXPECT_EQ(Listing(dir), "mfe.csv ");  // no temporary left beside it
}

// Summary-info rules on a run compressed by 2: the term reads the working
// (compressed) dates, the in-market ratio the 8 source bars. Long held
// 1 -> 4 (3 bars) and 6 -> the last source bar (1): 4 / 8.
TEST(SummaryInfo, FieldsFollowTheRunsSettingsTradesAndSourceBars) {
  SSimulation sim;
  Isolate(sim, TestDir());
  Bind(sim, Market({10, 11, 12, 11, 13, 14, 12, 12}));
  sim.CompressData(2);
  sim.Setting.Position = 0;
  sim.Setting.SymbolName = "KOSPI200";
  sim.Setting.EntryCommission = 0.0015;
  sim.Setting.ExitCommission = 5;
  sim.Setting.ModeExitCommission = 1;
  sim.Setting.Slippage = 0.0005;
  sim.Index.IndexName = "Cross";
  const char* names[] = {"short", "long", "", "after"};
  const char* values[] = {"5", "20", "7", "9"};
  for (int k = 0; k < 4; ++k) sim.Index.VarName[k] = names[k], sim.Index.VarValue[k] = values[k];
  SetSignals(sim, {{0, 1, 0, 0, 0, 0, 1, 0}, {0, 0, 0, 0, 1, 0, 0, 0}});
  AddStreakTrades(sim);
  sim.CalcSummary(-1);
  const SSummaryInfo& i = sim.SumInfo;
  EXPECT_EQ(i.SumFileName.str() + "|" + i.TradeListFileName.str(),
            sim.SummaryFile.str() + "|" + sim.TradeListFile.str());
  const SString rest[] = {i.SymbolName,      i.IndicatorName,  i.IndicatorVariable, i.Term,          i.Status,
                          i.EntryCommission, i.ExitCommission, i.Slippage,          i.TotalProfit,   i.TransactionCount,
                          i.WinLossRatio,    i.WinRatio,       i.ProfitFactor,      i.AverageProfit, i.InMarketRatio};
  std::string got;
  for (const SString& f : rest) got += f.str() + "|";
  EXPECT_EQ(got,
            "KOSPI200|Cross|(5,20)|2024.01.01 ~ 2024.01.07|Buy clear|0.15%|5.00Won|0.05%|2.80|7|1.08871|0.571429|"
            "1.45161|0.40|50.00|");
}

TEST(SummaryInfo, StatusNamesTheLastTradesSideAndWhetherItIsOpen) {
  const struct {
    int direction;
    double exitDateTime;
    const char *english, *korean;
  } cases[] = {{0, 0, "Buy", "매수"},
               {1, 0, "Sell", "매도"},
               {0, 20240105, "Buy clear", "매수청산"},
               {1, 20240105, "Sell clear", "매도청산"}};
  for (const auto& c : cases)
    for (int lang : {0, 1}) {
      LanguageScope scope(lang);
      SSimulation sim;
      Isolate(sim, TestDir());
      sim.Setting.ModeSlippage = 1;
      AddTrades(sim, {{1 - c.direction, 1.0}, {c.direction, 1.0, 0, 0, 0, c.exitDateTime}});
      sim.CalcSummary(-1);
      EXPECT_EQ(sim.SumInfo.Status.str(), lang == 0 ? Ko(c.korean) : std::string(c.english));
      EXPECT_EQ(sim.SumInfo.Slippage.str(), lang == 0 ? "0.00" + Ko("원") : std::string("0.00Won"));
    }
}

// The table's directory is created; a run appends one record per
// CalcSummary(-1), read back field by field.
TEST(SummaryInfo, CreatedTableTakesTheRunsRecord) {
  const std::string dir = TestDir();
  SSimulation sim;
  Isolate(sim, dir);
  EXPECT_EQ(sim.CreateSummaryDB(sim.SumInfoFile), 1);
  sim.Setting.SymbolName = Ko("삼성전자").c_str();
  AddStreakTrades(sim);
  sim.SetSummary();
  DB db(sim.SumInfoFile.c_str(), 0);
  ASSERT_EQ(db.GetFieldCount(), 17);
  EXPECT_EQ(db.GetField(0)->width, 200);
  EXPECT_EQ(db.GetField(16)->name, "InMarketRatio");
  db.MoveFirst(1);
  ASSERT_FALSE(db.Eof());
  EXPECT_EQ(std::string(db.GetStr("SymbolName")), Ko("삼성전자"));
  EXPECT_EQ(std::string(db.GetStr("TotalProfit")), "2.80");
  EXPECT_EQ(std::string(db.GetStr("Status")), "Buy clear");
  db.MoveNext(1);
  EXPECT_TRUE(db.Eof());
}

TEST(SummaryInfo, RunWithoutTheTableLeavesTheDirectoryAsItWas) {
  const std::string dir = TestDir();
  SSimulation sim;
  Isolate(sim, dir);
  AddStreakTrades(sim);
  sim.SetSummary();
  SSummaryInfo info;
  EXPECT_EQ(sim.InsertSummaryDB(dir + "SumInfo.rpt", info), 1);
  EXPECT_EQ(Listing(dir), "");
  EXPECT_EQ(sim.SumInfo.TransactionCount.str(), "7");
}

// Columns and series of every length, invalid and negative start indexes,
// NaN prices and signals: every operation stays inside its series.
TEST(SummaryRobustness, MismatchedLengthsAndBadValuesNeverReadPastTheSeries) {
  const std::string dir = TestDir();
  SSimulation sim;
  Isolate(sim, dir);
  sim.Setting.Position = 2;
  Market m({10, NAN, 12, 11, 13});
  m.high.resize(2);
  Bind(sim, m);
  SetSignals(sim, {std::vector<double>(20, 11.0), {0, NAN, 0}, {0, 0, 0, 0, 0, 0, 0, 14}, {}});
  sim.Index.LineData[0].SetStartIndex(kInvalidStart);
  sim.Index.LineData[2].SetStartIndex(-5);
  sim.Trades.Direction.Add(0), sim.Trades.Direction.Add(1), sim.Trades.Direction.Add(0);
  sim.Trades.ProfitLoss.Add(NAN);
  sim.SetSummary();
  EXPECT_EQ(sim.SummaryCount, 42);
  for (int side : {-1, 0, 1, 7}) {
    SVector out;
    sim.CalcEquity(&out, side);
    EXPECT_EQ(out.GetSize(), 5);
  }
  sim.CalcEquity(nullptr, 0);
  sim.CalcProfitLoss();
  EXPECT_EQ(sim.Index.LineData[4].GetSize(), 20);
  InDirectory here(dir);
  sim.CalcStatics();
  EXPECT_EQ(ReadText(dir + "mfe.csv").rfind("seq, profit, mfe, mae\n", 0), 0u);
}

}  // namespace
