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

struct Values {
  int sequence;
  const char* value1;
  const char* value2;
};

void ExpectValues(const SSimulation& sim, int group, std::initializer_list<Values> rows) {
  for (const Values& r : rows) {
    EXPECT_EQ(Row(sim, group, r.sequence).Value1.str(), r.value1) << "sequence " << r.sequence;
    EXPECT_EQ(Row(sim, group, r.sequence).Value2.str(), r.value2) << "sequence " << r.sequence;
  }
}

TEST(Summary, NoTradesGiveZeroCountsEmptyRatiosAndZeroEfficiencies) {
  SSimulation sim;
  Isolate(sim, TestDir());
  sim.Setting.Position = 0;
  sim.SetSummary();
  ASSERT_EQ(sim.SummaryCount, 28);
  for (int group : {0, 1})
    ExpectValues(sim, group,
                 {{0, "0.00", ""},
                  {2, "0", ""},
                  {3, "0", "0"},
                  {4, "0.0", "0.0"},
                  {9, "", ""},
                  {10, "", "0.00"},
                  {11, "", ""},
                  {12, "0.00", "0.00"},
                  {13, "0.00", ""}});
  EXPECT_EQ(sim.SumInfo.Status.str(), "Trade Nothing");
  EXPECT_EQ(sim.SumInfo.WinRatio.str(), "");
  EXPECT_EQ(sim.SumInfo.AverageProfit.str(), "");
}

// Each figure of the streak trades, worked by hand. Population deviation:
// mean 0.4, mean of squares 55.44 / 7 = 7.92, sqrt(7.92 - 0.16) = 2.7857.
TEST(Summary, ZeroProfitIsAWinnerThatExtendsTheStreak) {
  SSimulation sim;
  Isolate(sim, TestDir());
  AddStreakTrades(sim);
  sim.CalcSummary(-1);
  ASSERT_EQ(sim.SummaryCount, 14);
  ExpectValues(sim, 0,
               {{0, "2.80", "1.45"},
                {1, "9.00", "-6.20"},
                {2, "7", "0.57"},
                {3, "4", "3"},
                {4, "5.0", "3.3"},
                {5, "5.00", "-3.00"},
                {6, "5.00", "-5.00"},
                {7, "3", "2"},
                {8, "0.00", ""},
                {9, "2.25", "-2.07"},
                {10, "0.40", "2.79"},
                {11, "1.09", ""},
                {12, "40.00", "50.00"},
                {13, "-10.00", ""}});
}

TEST(Summary, WithoutLossesTheProfitFactorAndLossAveragesAreEmpty) {
  SSimulation sim;
  Isolate(sim, TestDir());
  AddTrades(sim, {{0, 3.0}, {0, 1.0}});
  sim.CalcSummary(-1);
  ExpectValues(sim, 0, {{0, "4.00", ""}, {2, "2", "1.00"}, {9, "2.00", ""}, {11, "", ""}});
  EXPECT_EQ(sim.SumInfo.ProfitFactor.str(), "");
  EXPECT_EQ(sim.SumInfo.WinLossRatio.str(), "");
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
  const char* counts[] = {"7", "4", "3"};
  for (int g = 0; g < 3; ++g) {
    EXPECT_EQ(Row(sim, g, 0).GroupID.str(), std::to_string(g));
    EXPECT_EQ(Row(sim, g, 5).GroupName.str(), names[g]);
    EXPECT_EQ(Row(sim, g, 2).Value1.str(), counts[g]);
    EXPECT_EQ(Row(sim, g, 10).Value2.str(), "2.79") << g;
    EXPECT_EQ(Row(sim, g, 13).Sequence.str(), "13");
  }
  ExpectValues(sim, 1, {{3, "3", "1"}, {7, "2", "1"}});
  ExpectValues(sim, 2, {{1, "4.00", "-4.20"}, {6, "4.00", "-3.00"}});
}

TEST(Summary, TableKeepsAtMost199RowsAndDropsTheRestSilently) {
  SSimulation sim;
  for (int k = 0; k < 205; ++k) {
    SSummary row;
    row.GroupID = SString(k);
    sim.InsertSummary(row);
  }
  EXPECT_EQ(sim.SummaryCount, 199);
  EXPECT_EQ(sim.Summary[198].GroupID.str(), "198");
  EXPECT_EQ(sim.Summary[199].GroupID.str(), "");
  sim.SummaryCount = -3;  // a host's garbage count must not write outside the table
  sim.InsertSummary(SSummary());
  EXPECT_EQ(sim.SummaryCount, -3);
}

struct Labels {
  const char *subGroup, *name1, *name2;
};

// Every row label in both languages, odd spellings included.
TEST(Summary, RowLabelsInBothLanguagesAreTheFixedTexts) {
  const Labels english[14] = {
      {"Profit and loss summary", "Total  profit&loss", "Profit Factor"},
      {"Profit and loss summary", "Total profit", "Total loss"},
      {"Trade Count", "The count of total trade", "a earning rate"},
      {"TradeCount", "Profit Trade Count", "Loss trade count"},
      {"TradeCount", "Figure of profit trade average bar.", "Figure of loss trade average bar."},
      {"Max profit&loss", "Max profit", "Max loss"},
      {"Max profit&loss", "Max continuous profit Amount", "Max continuous loss Amount"},
      {"Max profit&loss", "Max continuous profit trade", "Max continuous loss trade"},
      {"Max profit&loss", "Max loss range", ""},
      {"Average Profit/Loss", "Average Profit", "Average Loss"},
      {"Average Profit/Loss", "Average trading profit and loss", "Standard deviation"},
      {"Average Profit/Loss", "Average Profit/Average Loss", ""},
      {"Effi]ciency", "EnteranceEffi]ciency", "CloseEffi]ciency"},
      {"Effi]ciency", "TotalEffi]ciency", ""}};
  const Labels korean[14] = {{"손익 요약", "총손익", "Profit Factor"},
                             {"손익 요약", "총수익", "총손실"},
                             {"거래 횟수", "총거래횟수", "승률"},
                             {"거래횟수", "수익 거래수", "손실 거래수"},
                             {"거래횟수", "수익 거래 평균 봉 갯수", "손실 거래 평균 봉 갯수"},
                             {"최대 손익", "최대 수익", "최대 손실"},
                             {"최대 손익", "최대 연속 수익 금액", "최대 연속 손실 금액"},
                             {"최대 손익", "최대 연속 수익 거래", "최대 연속 손실 거래"},
                             {"최대 손익", "최대 손실폭", ""},
                             {"평균 손익", "평균 수익", "평균 손실"},
                             {"평균 손익", "평균 거래 손익", "표준편차"},
                             {"평균 손익", "평균 수익/평균 손실", ""},
                             {"효율성", "진입효율성", "청산효율성"},
                             {"효율성", "전체효율성", ""}};
  const int subGroups[14] = {0, 0, 1, 1, 1, 2, 2, 2, 2, 3, 3, 3, 4, 4};
  for (int lang : {0, 1}) {
    LanguageScope scope(lang);
    SSimulation sim;
    Isolate(sim, TestDir());
    sim.Setting.Position = 1;
    sim.SetSummary();
    ASSERT_EQ(sim.SummaryCount, 28);
    const Labels* want = lang == 0 ? korean : english;
    auto text = [&](const char* s) { return lang == 0 ? Ko(s) : std::string(s); };
    for (int k = 0; k < 14; ++k) {
      const SSummary& row = Row(sim, 0, k);
      EXPECT_EQ(row.SubGroupID.str(), std::to_string(subGroups[k]));
      EXPECT_EQ(row.SubGroupName.str(), text(want[k].subGroup)) << lang << " row " << k;
      EXPECT_EQ(row.Name1.str(), text(want[k].name1)) << lang << " row " << k;
      EXPECT_EQ(row.Name2.str(), text(want[k].name2)) << lang << " row " << k;
    }
    EXPECT_EQ(Row(sim, 0, 0).GroupName.str(), text(lang == 0 ? "전체 거래" : "Total trade"));
    EXPECT_EQ(Row(sim, 1, 0).GroupName.str(), text(lang == 0 ? "매도 거래" : "Sell Trade"));
    EXPECT_EQ(sim.SumInfo.Status.str(), text(lang == 0 ? "거래 없음" : "Trade Nothing"));
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
  const SSummaryInfo& info = sim.SumInfo;
  const std::pair<const SString&, const char*> fields[] = {{info.SumFileName, sim.SummaryFile.c_str()},
                                                           {info.TradeListFileName, sim.TradeListFile.c_str()},
                                                           {info.SymbolName, "KOSPI200"},
                                                           {info.IndicatorName, "Cross"},
                                                           {info.IndicatorVariable, "(5,20)"},
                                                           {info.Term, "2024.01.01 ~ 2024.01.07"},
                                                           {info.Status, "Buy clear"},
                                                           {info.EntryCommission, "0.15%"},
                                                           {info.ExitCommission, "5.00Won"},
                                                           {info.Slippage, "0.05%"},
                                                           {info.TotalProfit, "2.80"},
                                                           {info.TransactionCount, "7"},
                                                           {info.WinLossRatio, "1.08871"},
                                                           {info.WinRatio, "0.571429"},
                                                           {info.ProfitFactor, "1.45161"},
                                                           {info.AverageProfit, "0.40"},
                                                           {info.InMarketRatio, "50.00"}};
  for (const auto& [got, want] : fields) EXPECT_EQ(got.str(), want);
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
