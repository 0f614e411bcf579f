// Trades from signals, the trade table's sort, profit chaining and bar
// compression. Expected numbers are worked by hand from the bars written in
// each test; the sort is checked against the literal exchange sort.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "SimTestUtil.h"

using namespace simtest;

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// A simulation without costs over the market, trading the given sides.
void Prepare(SSimulation& sim, const Market& m, int position = 0) {
  Bind(sim, m);
  sim.Setting.Slippage = 0.0;
  sim.Setting.Position = position;
}

void RunHistory(SSimulation& sim) {
  sim.SetHistoryToZero();
  sim.SetHistory();
}

// n zeros with the given bars set.
std::vector<double> At(int n, std::initializer_list<std::pair<int, double>> bars) {
  std::vector<double> v(n, 0.0);
  for (auto [bar, value] : bars) v[bar] = value;
  return v;
}

TEST(History, CostsAndQuantityEnterTheRowsAndTheProfit) {
  SSimulation sim;
  Market m(std::vector<double>(10, 100.0));
  Prepare(sim, m, 2);
  sim.Setting.EntryCommission = 0.001;  // rate
  sim.Setting.ExitCommission = 0.5;     // fixed amount per unit
  sim.Setting.ModeExitCommission = 1;
  sim.Setting.TradeVolume = 3;
  SetSignals(sim, {At(10, {{2, 100}}), At(10, {{5, 110}}), At(10, {{6, 50}}), At(10, {{8, 40}})});
  RunHistory(sim);
  ASSERT_EQ(sim.Trades.GetCount(), 2);
  const STradeTable& t = sim.Trades;
  EXPECT_DOUBLE_EQ(t.EntryDateTime[0], 20240103.0);
  EXPECT_DOUBLE_EQ(t.ExitDateTime[0], 20240106.0);
  EXPECT_DOUBLE_EQ(t.EntryCostPrice[0], 100.1);  // 100 x 1.001
  EXPECT_DOUBLE_EQ(t.ExitCostPrice[0], 109.5);   // 110 - 0.5
  EXPECT_DOUBLE_EQ(t.Quantity[0], 3.0);
  EXPECT_DOUBLE_EQ(t.ProfitLoss[0], (109.5 - 100.1) * 3);
  EXPECT_DOUBLE_EQ(t.ReturnFactor[0], (109.5 - 100.1) * 3 / (3 * 100.1) + 1);
  // The short side: 50 x 0.999 in, 40 + 0.5 out, profit negated.
  EXPECT_DOUBLE_EQ(t.Direction[1], 1.0);
  EXPECT_DOUBLE_EQ(t.EntryCostPrice[1], 49.95);
  EXPECT_DOUBLE_EQ(t.ExitCostPrice[1], 40.5);
  EXPECT_DOUBLE_EQ(t.ProfitLoss[1], (49.95 - 40.5) * 3);
  EXPECT_DOUBLE_EQ(t.CumProfitLoss[1], (109.5 - 100.1) * 3 + (49.95 - 40.5) * 3);
}

// Bars 7-11 hold a high of 20 (bar 8) and a low of 1 (bar 9); the entry
// bars' own extremes (30 at bar 6, 1 at bar 9 for the second trade) must not
// count.
TEST(History, OpenTradeAtTheEndAndEveryLaterEntryStayOpenWithoutExitCosts) {
  SSimulation sim;
  Market m({10, 10, 10, 10, 10, 10, 10, 10, 10, 10, 10, 12});
  m.high[6] = 30;
  m.high[8] = 20;
  m.low[9] = 1;
  m.low[10] = 7;
  Prepare(sim, m);
  sim.Setting.Slippage = 0.01;
  SetSignals(sim, {At(12, {{2, 10}, {6, 10}, {9, 10}}), At(12, {{4, 10}})});
  RunHistory(sim);
  ASSERT_EQ(sim.Trades.GetCount(), 3);
  const STradeTable& t = sim.Trades;
  EXPECT_DOUBLE_EQ(t.ExitDateTime[0], 20240105.0);
  struct Open {
    int row;
    double barsHeld, runup, drawdown, entryEff, exitEff, totalEff;
  };
  const Open open[] = {
      {1, 5, 20 - 10, 1 - 10, 10.0 / 19 * 100, 11.0 / 19 * 100, 2.0 / 19 * 100},  // walks bars 7-11
      {2, 2, 12 - 10, 7 - 10, 2.0 / 5 * 100, 5.0 / 5 * 100, 2.0 / 5 * 100},       // walks bars 10-11
  };
  for (const Open& o : open) {
    SCOPED_TRACE(o.row);
    EXPECT_EQ(t.ExitDateTime[o.row], 0.0);
    EXPECT_DOUBLE_EQ(t.ExitPrice[o.row], 12.0);
    EXPECT_DOUBLE_EQ(t.ExitCostPrice[o.row], 12.0);
    EXPECT_DOUBLE_EQ(t.BarsHeld[o.row], o.barsHeld);
    EXPECT_DOUBLE_EQ(t.Runup[o.row], o.runup);
    EXPECT_DOUBLE_EQ(t.Drawdown[o.row], o.drawdown);
    EXPECT_DOUBLE_EQ(t.EntryEff[o.row], o.entryEff);
    EXPECT_DOUBLE_EQ(t.ExitEff[o.row], o.exitEff);
    EXPECT_DOUBLE_EQ(t.TotalEff[o.row], o.totalEff);
  }
}

// An entry with no exit bar after it keeps the values it was appended with,
// whether it is reached by the plain scan, after an open trade, or lies
// beyond a shorter exit series.
TEST(History, EntryWithoutAFollowingExitBarKeepsItsEntryValues) {
  struct Case {
    const char* name;
    std::vector<double> entry, exit;
    int rows;
  };
  const Case cases[] = {
      {"last bar", At(10, {{9, 50}}), At(10, {}), 1},
      {"after an open trade", At(10, {{3, 50}, {9, 50}}), At(10, {}), 2},
      {"beyond the exit series", At(10, {{6, 50}}), At(6, {}), 1},
      {"no exit series", At(10, {{2, 50}}), {}, 1},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    SSimulation sim;
    Prepare(sim, Market(std::vector<double>(10, 40.0)));
    sim.Setting.Slippage = 0.01;
    SetSignals(sim, {c.entry, c.exit});
    RunHistory(sim);
    ASSERT_EQ(sim.Trades.GetCount(), c.rows);
    const int r = c.rows - 1;
    const STradeTable& t = sim.Trades;
    EXPECT_DOUBLE_EQ(t.ExitPrice[r], 50.0);
    EXPECT_DOUBLE_EQ(t.ExitCostPrice[r], 50.0 * 0.99);
    EXPECT_EQ(t.ExitDateTime[r], 0.0);
    for (int k : {12, 13, 14, 15, 16, 17}) EXPECT_EQ(t.Column(k)[r], 0.0) << "column " << k;
  }
}

TEST(History, EntriesInsideATradeAndOnItsExitBarAreIgnored) {
  SSimulation sim;
  Prepare(sim, Market(std::vector<double>(12, 10.0)));
  SetSignals(sim, {At(12, {{1, 10}, {2, 11}, {3, 12}, {4, 13}, {5, 14}}), At(12, {{4, 10}, {8, 10}})});
  RunHistory(sim);
  ASSERT_EQ(sim.Trades.GetCount(), 2);
  EXPECT_DOUBLE_EQ(sim.Trades.EntryPrice[0], 10.0);
  EXPECT_DOUBLE_EQ(sim.Trades.EntryPrice[1], 14.0);
  EXPECT_DOUBLE_EQ(sim.Trades.BarsHeld[1], 3.0);
}

TEST(History, ScanStartsAtTheEntrySeriesStartIndex) {
  struct Case {
    int start, rows;
  };
  for (const Case c : {Case{-5, 2}, Case{0, 2}, Case{2, 1}, Case{9, 0}, Case{2147483647, 0}}) {
    SSimulation sim;
    Prepare(sim, Market(std::vector<double>(10, 10.0)));
    SetSignals(sim, {At(10, {{1, 10}, {5, 10}}), At(10, {{3, 10}})});
    sim.Index.LineData[0].SetStartIndex(c.start);
    RunHistory(sim);
    EXPECT_EQ(sim.Trades.GetCount(), c.rows) << "start " << c.start;
  }
}

TEST(History, ExitKindIsStrippedFromTheExitPrice) {
  SSimulation sim;
  Prepare(sim, Market(std::vector<double>(10, 10.0)));
  SetSignals(sim, {At(10, {{1, 10}}), At(10, {{4, Signal(9.5, 3)}})});
  RunHistory(sim);
  ASSERT_EQ(sim.Trades.GetCount(), 1);
  EXPECT_DOUBLE_EQ(sim.Trades.ExitPrice[0], 9.5);
}

// Entry 100 at bar 2 (its own high 150 and low 50 do not count), exit 101 at
// bar 5; bars 3-5 reach 104 and 97, a range of 7.
TEST(History, ExcursionsAndEfficienciesOfALongAndAShortTrade) {
  Market m(std::vector<double>(10, 100.0));
  m.high[2] = 150;
  m.low[2] = 50;
  m.high[3] = 104;
  m.low[4] = 98;
  m.high[5] = 102;
  m.low[5] = 97;
  struct Case {
    int position;
    double runup, drawdown, entryEff, exitEff, totalEff;
  };
  const Case cases[] = {
      {0, 4, -3, 4.0 / 7 * 100, 4.0 / 7 * 100, 1.0 / 7 * 100},
      {1, 3, -4, 3.0 / 7 * 100, 3.0 / 7 * 100, -1.0 / 7 * 100},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.position);
    SSimulation sim;
    Prepare(sim, m, c.position);
    const std::vector<double> entry = At(10, {{2, 100}}), exit = At(10, {{5, 101}});
    SetSignals(sim, {entry, exit, entry, exit});
    RunHistory(sim);
    ASSERT_EQ(sim.Trades.GetCount(), 1);
    const STradeTable& t = sim.Trades;
    EXPECT_DOUBLE_EQ(t.Runup[0], c.runup);
    EXPECT_DOUBLE_EQ(t.Drawdown[0], c.drawdown);
    EXPECT_DOUBLE_EQ(t.EntryEff[0], c.entryEff);
    EXPECT_DOUBLE_EQ(t.ExitEff[0], c.exitEff);
    EXPECT_DOUBLE_EQ(t.TotalEff[0], c.totalEff);
    EXPECT_DOUBLE_EQ(t.BarsHeld[0], 3.0);
  }
}

TEST(History, WalkWithoutRangeLeavesEfficienciesZero) {
  SSimulation sim;
  Prepare(sim, Market(std::vector<double>(10, 100.0)));
  SetSignals(sim, {At(10, {{2, 100}}), At(10, {{5, 100}})});
  RunHistory(sim);
  ASSERT_EQ(sim.Trades.GetCount(), 1);
  for (int k = 12; k <= 16; ++k) EXPECT_EQ(sim.Trades.Column(k)[0], 0.0) << "column " << k;
}

TEST(History, BothSidesInterleaveByEntryTimeLongFirstOnATie) {
  SSimulation sim;
  Prepare(sim, Market(std::vector<double>(10, 10.0)), 2);
  SetSignals(sim, {At(10, {{1, 10}, {6, 10}}), At(10, {{3, 10}, {8, 10}}), At(10, {{1, 10}, {4, 10}}),
                   At(10, {{2, 10}, {5, 10}})});
  RunHistory(sim);
  ASSERT_EQ(sim.Trades.GetCount(), 4);
  const double direction[] = {0, 1, 1, 0}, entryBar[] = {1, 1, 4, 6};
  for (int r = 0; r < 4; ++r) {
    EXPECT_EQ(sim.Trades.Direction[r], direction[r]) << r;
    EXPECT_EQ(sim.Trades.EntryDateTime[r], 20240101 + entryBar[r]) << r;
  }
}

// Two long trades share an entry time (bars 1 and 2 carry the same stamp)
// and an earlier short trade follows them in the table: moving it to the
// front carries the first long trade past the second.
TEST(History, ExchangeSortReversesTiedRowsThatAThirdRowPassed) {
  SSimulation sim;
  Market m(std::vector<double>(6, 10.0));
  m.dateTime = {100, 200, 200, 300, 400, 500};
  Prepare(sim, m, 2);
  SetSignals(sim, {At(6, {{1, 11}, {2, 12}}), At(6, {}), At(6, {{0, 9}}), At(6, {{1, 9}})});
  RunHistory(sim);
  ASSERT_EQ(sim.Trades.GetCount(), 3);
  const double entryPrice[] = {9, 12, 11};
  for (int r = 0; r < 3; ++r) EXPECT_EQ(sim.Trades.EntryPrice[r], entryPrice[r]) << r;
}

// Long trades 100 -> 110 and 110 -> 99.
TEST(History, MarginSumsReturnsWhileCompoundingMultipliesThem) {
  struct Case {
    bool margin;
    double g0, g1, cum1;
  };
  const Case cases[] = {
      {false, 1.1, 0.9, 1.1 * 0.9},
      {true, 10.0 / 50 + 1, -11.0 / 50 + 1, (-11.0 / 50) + (10.0 / 50 + 1)},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.margin);
    SSimulation sim;
    Prepare(sim, Market(std::vector<double>(10, 100.0)));
    if (c.margin) sim.SetMargin(50.0);
    SetSignals(sim, {At(10, {{1, 100}, {4, 110}}), At(10, {{3, 110}, {6, 99}})});
    RunHistory(sim);
    ASSERT_EQ(sim.Trades.GetCount(), 2);
    const STradeTable& t = sim.Trades;
    EXPECT_DOUBLE_EQ(t.ReturnFactor[0], c.g0);
    EXPECT_DOUBLE_EQ(t.ReturnFactor[1], c.g1);
    EXPECT_DOUBLE_EQ(t.CumReturnFactor[0], c.g0);
    EXPECT_DOUBLE_EQ(t.CumReturnFactor[1], c.cum1);
    EXPECT_DOUBLE_EQ(t.CumProfitLoss[1], -1.0);
  }
}

TEST(History, ModeVolumeOneTradesOneUnitAndShowsThePercentFigure) {
  struct Case {
    int modeVolume;
    double quantity, cum0, cum1;
  };
  const Case cases[] = {
      {0, 5, 50, -5},   // TradeVolume units, money sums
      {1, 1, 110, 99},  // 1.1 x 100, then 1.1 x 0.9 x 100
      {2, 1, 10, -1},   // one unit, but money sums
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.modeVolume);
    SSimulation sim;
    Prepare(sim, Market(std::vector<double>(10, 100.0)));
    sim.Setting.ModeVolume = c.modeVolume;
    sim.Setting.TradeVolume = 5;
    SetSignals(sim, {At(10, {{1, 100}, {4, 110}}), At(10, {{3, 110}, {6, 99}})});
    RunHistory(sim);
    ASSERT_EQ(sim.Trades.GetCount(), 2);
    EXPECT_DOUBLE_EQ(sim.Trades.Quantity[1], c.quantity);
    EXPECT_DOUBLE_EQ(sim.Trades.CumProfitLoss[0], c.cum0);
    EXPECT_DOUBLE_EQ(sim.Trades.CumProfitLoss[1], c.cum1);
  }
}

TEST(History, RunsAppendUntilTheTableIsEmptied) {
  SSimulation sim;
  Prepare(sim, Market(std::vector<double>(10, 100.0)));
  SetSignals(sim, {At(10, {{1, 100}}), At(10, {{3, 110}})});
  sim.SetHistory();
  sim.SetHistory();
  ASSERT_EQ(sim.Trades.GetCount(), 2);
  EXPECT_DOUBLE_EQ(sim.Trades.CumProfitLoss[1], 20.0);
  sim.SetHistoryToZero();
  for (int k = 0; k < STradeTable::kColumns; ++k) EXPECT_EQ(sim.Trades.Column(k).GetSize(), 0) << k;
}

// Prices shorter than the signals read 0 past their end; the signals alone
// decide the trades. Nothing here may crash.
TEST(History, SeriesOfDifferentLengthsReadMissingBarsAsZero) {
  SSimulation sim;
  Prepare(sim, Market(std::vector<double>(5, 10.0)));
  SetSignals(sim, {At(12, {{1, 10}, {7, 10}}), At(12, {{3, 10}, {9, 10}})});
  RunHistory(sim);
  ASSERT_EQ(sim.Trades.GetCount(), 2);
  // The trade past the prices has entry time 0 and so sorts first.
  EXPECT_EQ(sim.Trades.EntryDateTime[0], 0.0);
  EXPECT_DOUBLE_EQ(sim.Trades.Drawdown[0], -10.0);  // lows of bars 8-9 read 0
  EXPECT_DOUBLE_EQ(sim.Trades.BarsHeld[0], 2.0);
  EXPECT_EQ(sim.Trades.EntryDateTime[1], 20240102.0);

  SSimulation empty;
  empty.SetVariablePointer(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
  empty.Setting.Position = 2;
  SetSignals(empty, {At(6, {{0, kNaN}, {2, 5}}), {}, At(3, {{1, 5}}), At(9, {})});
  RunHistory(empty);
  EXPECT_EQ(empty.Trades.GetCount(), 3);
  SetSignals(empty, {});
  RunHistory(empty);
  EXPECT_EQ(empty.Trades.GetCount(), 0);
}

// The exchange sort exactly as written, through Interchange.
void LiteralExchangeSort(SSimulation& sim) {
  const int n = sim.Trades.GetCount();
  for (int a = 0; a + 1 < n; ++a)
    for (int b = a + 1; b < n; ++b)
      if (sim.Trades.EntryDateTime[a] > sim.Trades.EntryDateTime[b]) sim.Interchange(a, b);
}

// Every column tells the row apart, so any stray move shows.
void FillTable(SSimulation& sim, const std::vector<double>& keys) {
  sim.SetHistoryToZero();
  for (size_t r = 0; r < keys.size(); ++r)
    for (int k = 0; k < STradeTable::kColumns; ++k) sim.Trades.Column(k).Add(k == 1 ? keys[r] : r * 100.0 + k);
}

void ExpectSameTables(const SSimulation& fast, const SSimulation& literal) {
  ASSERT_EQ(fast.Trades.GetCount(), literal.Trades.GetCount());
  for (int k = 0; k < STradeTable::kColumns; ++k)
    for (int r = 0; r < fast.Trades.GetCount(); ++r) {
      const double x = fast.Trades.Column(k)[r], y = literal.Trades.Column(k)[r];
      ASSERT_TRUE(x == y || (std::isnan(x) && std::isnan(y))) << "column " << k << " row " << r;
    }
}

std::vector<double> RandomKeys(std::mt19937& rng, int n, int distinct, double nanShare) {
  std::uniform_int_distribution<int> key(0, distinct - 1);
  std::bernoulli_distribution nan(nanShare);
  std::vector<double> keys(n);
  for (double& k : keys) k = nan(rng) ? kNaN : key(rng);
  return keys;
}

// Long trades in entry order, then short trades in entry order.
std::vector<double> TwoSortedRuns(std::mt19937& rng, int n, int distinct) {
  std::vector<double> keys = RandomKeys(rng, n, distinct, 0.0);
  const int split = std::uniform_int_distribution<int>(0, n)(rng);
  std::sort(keys.begin(), keys.begin() + split);
  std::sort(keys.begin() + split, keys.end());
  return keys;
}

void ExpectSortMatchesLiteral(SSimulation& fast, SSimulation& literal, const std::vector<double>& keys) {
  FillTable(fast, keys);
  FillTable(literal, keys);
  fast.SortHistory();
  LiteralExchangeSort(literal);
  ExpectSameTables(fast, literal);
}

TEST(HistorySort, MatchesTheLiteralExchangeSortOnRandomTies) {
  std::mt19937 rng(20240101);
  SSimulation fast, literal;
  for (int trial = 0; trial < 600; ++trial) {
    const int n = trial % 41;
    const int distinct = 1 + trial % 7;
    SCOPED_TRACE(trial);
    ExpectSortMatchesLiteral(fast, literal, RandomKeys(rng, n, distinct, 0.0));
    ExpectSortMatchesLiteral(fast, literal, TwoSortedRuns(rng, n, distinct + 3));
    ExpectSortMatchesLiteral(fast, literal, RandomKeys(rng, n, distinct, 0.15));
  }
}

TEST(HistorySort, MatchesTheLiteralExchangeSortOnLongInputs) {
  std::mt19937 rng(7);
  SSimulation fast, literal;
  ExpectSortMatchesLiteral(fast, literal, RandomKeys(rng, 1500, 6, 0.0));
  ExpectSortMatchesLiteral(fast, literal, TwoSortedRuns(rng, 1500, 40));
  std::vector<double> falling(1200);
  for (int r = 0; r < 1200; ++r) falling[r] = (1200 - r) / 3;  // reversed, in runs of three ties
  ExpectSortMatchesLiteral(fast, literal, falling);
}

TEST(HistorySort, InterchangeSwapsWholeRowsAndIgnoresRowsOutOfRange) {
  SSimulation sim;
  FillTable(sim, {5, 6, 7});
  sim.Interchange(0, 2);
  for (int k = 0; k < STradeTable::kColumns; ++k) {
    EXPECT_EQ(sim.Trades.Column(k)[0], k == 1 ? 7 : 200.0 + k) << k;
    EXPECT_EQ(sim.Trades.Column(k)[2], k == 1 ? 5 : 0.0 + k) << k;
  }
  for (auto [a, b] : {std::pair{-1, 0}, {0, 3}, {3, 3}, {2147483647, 1}}) sim.Interchange(a, b);
  EXPECT_EQ(sim.Trades.EntryDateTime[0], 7.0);
  EXPECT_EQ(sim.Trades.EntryDateTime[1], 6.0);
  sim.Trades.BarsHeld.SetSize(2);  // a shortened column caps the rows
  sim.Interchange(0, 2);
  EXPECT_EQ(sim.Trades.EntryDateTime[0], 7.0);
}

// The working series, read back through the indicator's bindings.
std::vector<double> Working(SSimulation& sim, int slot) {
  sim.SetVariableToIndex();
  const SVector& v = *sim.Index.PriceSeries[slot];
  return std::vector<double>(v.Data(), v.Data() + v.GetSize());
}

Market SevenBars() {
  Market m({10, 11, 12, 13, 14, 15, 16});
  m.open = {9.5, 10.5, 11.5, 12.5, 13.5, 14.5, 15.5};
  m.high = {10.5, 13, 12.5, 13.5, 17, 15.5, 16.5};
  m.low = {9, 10, 8, 12, 13.8, 14, 15};
  m.volume = {100, 200, 300, 400, 500, 600, 700};
  return m;
}

TEST(HistoryCompress, MergesGroupsAndKeepsAShortLastGroup) {
  struct Case {
    int factor;
    std::vector<double> close, open, high, low, volume, dateTime;
  };
  const Market m = SevenBars();
  const Case cases[] = {
      {3,
       {12, 15, 16},
       {9.5, 12.5, 15.5},
       {13, 17, 16.5},
       {8, 12, 15},
       {600, 1500, 700},
       {20240101, 20240104, 20240107}},
      {100, {16}, {9.5}, {17}, {8}, {2800}, {20240101}},
      {1, m.close, m.open, m.high, m.low, m.volume, m.dateTime},
  };
  SSimulation sim;
  Bind(sim, m);
  for (const Case& c : cases) {
    SCOPED_TRACE(c.factor);
    sim.CompressData(c.factor);
    EXPECT_EQ(Working(sim, 0), c.close);
    EXPECT_EQ(Working(sim, 1), c.open);
    EXPECT_EQ(Working(sim, 2), c.high);
    EXPECT_EQ(Working(sim, 3), c.low);
    EXPECT_EQ(Working(sim, 4), c.volume);
    EXPECT_EQ(Working(sim, 5), c.dateTime);
  }
}

TEST(HistoryCompress, FactorBelowOneOrSharedSeriesChangeNothing) {
  SSimulation sim;
  Bind(sim, SevenBars());
  sim.CompressData(2);
  for (int factor : {0, -3}) {
    sim.CompressData(factor);
    EXPECT_EQ(Working(sim, 0), (std::vector<double>{11, 13, 15, 16})) << factor;
  }
  // Bound by pointer, the working series are the source itself.
  const Market m = SevenBars();
  SVector c = Series(m.close), o = Series(m.open), h = Series(m.high), l = Series(m.low), v = Series(m.volume),
          d = Series(m.dateTime), zero(7);
  SSimulation shared;
  shared.SetVariablePointer(&c, &o, &h, &l, &v, &d, &zero, &zero, &zero);
  shared.CompressData(2);
  EXPECT_EQ(c.GetSize(), 7);
  EXPECT_EQ(Working(shared, 2), m.high);
}

TEST(HistoryCompress, ShorterSourceSeriesReadMissingBarsAsZero) {
  SSimulation sim;
  Market m = SevenBars();
  m.volume = {100, 200, 300};
  Bind(sim, m);
  sim.CompressData(2);
  EXPECT_EQ(Working(sim, 4), (std::vector<double>{300, 300, 0, 0}));
  SSimulation unbound;
  unbound.CompressData(3);  // empty sources: empty working series
  EXPECT_TRUE(Working(unbound, 0).empty());
}

}  // namespace
