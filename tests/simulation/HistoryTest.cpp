// Trades from signals, the trade table's sort, profit chaining and bar
// compression. Expected numbers are worked by hand from the bars written in
// each test; the sort is checked against the literal exchange sort.
#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "SimTestUtil.h"
#include "simulation/TradeHistory.h"

using namespace simtest;
using namespace chartcalc::detail;

namespace {

using Cells = std::initializer_list<std::pair<int, double>>;

// A costless simulation over the market with the given signal lines.
void Prepare(SSimulation& sim, const Market& m, std::initializer_list<std::vector<double>> lines, int position = 0) {
  Bind(sim, m);
  sim.Setting.Slippage = 0.0;
  sim.Setting.Position = position;
  SetSignals(sim, lines);
}

void RunHistory(SSimulation& sim) {
  sim.SetHistoryToZero();
  sim.SetHistory();
}

// n zeros with the given bars set.
std::vector<double> At(int n, Cells bars) {
  std::vector<double> v(n, 0.0);
  for (auto [bar, value] : bars) v[bar] = value;
  return v;
}

std::pair<int, double> Cell(int column, double value) { return {column, value}; }

void ExpectRow(const SSimulation& sim, int row, Cells cells) {
  for (auto [k, v] : cells) EXPECT_DOUBLE_EQ(sim.Trades.Column(k)[row], v) << "row " << row << " column " << k;
}

TEST(History, CostsAndQuantityEnterTheRowsAndTheProfit) {
  SSimulation sim;
  Prepare(sim, Market(std::vector<double>(10, 100.0)),
          {At(10, {{2, 100}}), At(10, {{5, 110}}), At(10, {{6, 50}}), At(10, {{8, 40}})}, 2);
  sim.Setting.EntryCommission = 0.001;  // rate
  sim.Setting.ExitCommission = 0.5;     // fixed amount per unit
  sim.Setting.ModeExitCommission = 1;
  sim.Setting.TradeVolume = 3;
  RunHistory(sim);
  ASSERT_EQ(sim.Trades.GetCount(), 2);
  ExpectRow(sim, 0,
            {Cell(kColEntryDateTime, 20240103), Cell(kColExitDateTime, 20240106), Cell(kColEntryCostPrice, 100.1),
             Cell(kColExitCostPrice, 109.5), Cell(kColQuantity, 3), Cell(kColProfitLoss, 9.4 * 3)});
  // Short: 50 x 0.999 in, 40 + 0.5 out, the profit negated.
  ExpectRow(sim, 1,
            {Cell(kColDirection, 1), Cell(kColEntryCostPrice, 49.95), Cell(kColExitCostPrice, 40.5),
             Cell(kColProfitLoss, 9.45 * 3), Cell(kColCumProfitLoss, 9.4 * 3 + 9.45 * 3)});
}

// Bars 7-11 reach 20 (bar 8) and 1 (bar 9); the entry bars' own extremes
// (30 at bar 6, 1 at bar 9 for the later trade) must not count.
TEST(History, OpenTradeAndEveryLaterEntryStayOpenAtTheLastCloseWithoutCosts) {
  SSimulation sim;
  Market m({10, 10, 10, 10, 10, 10, 10, 10, 10, 10, 10, 12});
  m.high[6] = 30, m.high[8] = 20, m.low[9] = 1, m.low[10] = 7;
  Prepare(sim, m, {At(12, {{2, 10}, {6, 10}, {9, 10}}), At(12, {{4, 10}})});
  sim.Setting.Slippage = 0.01;
  RunHistory(sim);
  ASSERT_EQ(sim.Trades.GetCount(), 3);
  EXPECT_DOUBLE_EQ(sim.Trades.ExitDateTime[0], 20240105.0);
  ExpectRow(sim, 1,
            {Cell(kColExitDateTime, 0), Cell(kColExitPrice, 12), Cell(kColExitCostPrice, 12), Cell(kColBarsHeld, 5),
             Cell(kColRunup, 10), Cell(kColDrawdown, -9), Cell(kColEntryEff, 10.0 / 19 * 100),
             Cell(kColExitEff, 11.0 / 19 * 100), Cell(kColTotalEff, 2.0 / 19 * 100)});
  ExpectRow(sim, 2,
            {Cell(kColExitDateTime, 0), Cell(kColExitPrice, 12), Cell(kColExitCostPrice, 12), Cell(kColBarsHeld, 2),
             Cell(kColRunup, 2), Cell(kColDrawdown, -3), Cell(kColEntryEff, 40), Cell(kColExitEff, 100),
             Cell(kColTotalEff, 40)});
}

// Reached by the plain scan, after an open trade, or beyond a shorter exit
// series, such an entry keeps the values it was appended with.
TEST(History, EntryWithoutAFollowingExitBarKeepsItsEntryValues) {
  struct Case {
    std::vector<double> entry, exit;
  };
  const Case cases[] = {{At(10, {{9, 50}}), At(10, {})},
                        {At(10, {{3, 50}, {9, 50}}), At(10, {})},
                        {At(10, {{6, 50}}), At(6, {})},
                        {At(10, {{2, 50}}), {}}};
  for (const Case& c : cases) {
    SSimulation sim;
    Prepare(sim, Market(std::vector<double>(10, 40.0)), {c.entry, c.exit});
    sim.Setting.Slippage = 0.01;
    RunHistory(sim);
    ASSERT_GE(sim.Trades.GetCount(), 1);
    ExpectRow(sim, sim.Trades.GetCount() - 1,
              {Cell(kColExitPrice, 50), Cell(kColExitCostPrice, 49.5), Cell(kColExitDateTime, 0), Cell(kColRunup, 0),
               Cell(kColDrawdown, 0), Cell(kColEntryEff, 0), Cell(kColExitEff, 0), Cell(kColTotalEff, 0),
               Cell(kColBarsHeld, 0)});
  }
}

// Entries on bars 1-5, exits at 4 and 8 (kinds on the first of each): the
// entries inside the first trade and on its exit bar are skipped, and a flat
// walk has no range to measure efficiencies against.
TEST(History, EntriesInsideATradeAreSkippedAndAFlatWalkHasNoEfficiency) {
  SSimulation sim;
  Prepare(sim, Market(std::vector<double>(12, 10.0)),
          {At(12, {{1, Signal(10, 2)}, {2, 11}, {3, 12}, {4, 13}, {5, 14}}), At(12, {{4, Signal(10, 3)}, {8, 10}})});
  RunHistory(sim);
  ASSERT_EQ(sim.Trades.GetCount(), 2);
  ExpectRow(sim, 0,
            {Cell(kColEntryPrice, 10), Cell(kColExitPrice, 10), Cell(kColEntryEff, 0), Cell(kColExitEff, 0),
             Cell(kColTotalEff, 0)});
  ExpectRow(sim, 1, {Cell(kColEntryPrice, 14), Cell(kColBarsHeld, 3)});
  for (auto [start, rows] : {std::pair{-5, 2}, {5, 1}, {9, 0}, {2147483647, 0}}) {
    sim.Index.LineData[0].SetStartIndex(start);
    RunHistory(sim);
    EXPECT_EQ(sim.Trades.GetCount(), rows) << "start " << start;
  }
}

// Entry 100 at bar 2 (its own 150/50 do not count), exit 101 at bar 5;
// bars 3-5 reach 104 and 97, a range of 7.
TEST(History, ExcursionsAndEfficienciesOfALongAndAShortTrade) {
  Market m(std::vector<double>(10, 100.0));
  m.high[2] = 150, m.low[2] = 50, m.high[3] = 104, m.low[4] = 98, m.high[5] = 102, m.low[5] = 97;
  const std::vector<double> entry = At(10, {{2, 100}}), exit = At(10, {{5, 101}});
  for (int position : {0, 1}) {
    SSimulation sim;
    Prepare(sim, m, {entry, exit, entry, exit}, position);
    RunHistory(sim);
    ASSERT_EQ(sim.Trades.GetCount(), 1);
    if (position == 0)
      ExpectRow(sim, 0,
                {Cell(kColRunup, 4), Cell(kColDrawdown, -3), Cell(kColEntryEff, 4.0 / 7 * 100), Cell(kColBarsHeld, 3),
                 Cell(kColExitEff, 4.0 / 7 * 100), Cell(kColTotalEff, 1.0 / 7 * 100)});
    else
      ExpectRow(sim, 0,
                {Cell(kColRunup, 3), Cell(kColDrawdown, -4), Cell(kColEntryEff, 3.0 / 7 * 100), Cell(kColBarsHeld, 3),
                 Cell(kColExitEff, 3.0 / 7 * 100), Cell(kColTotalEff, -1.0 / 7 * 100)});
  }
}

TEST(History, BothSidesInterleaveByEntryTimeLongFirstOnATie) {
  SSimulation sim;
  Prepare(
      sim, Market(std::vector<double>(10, 10.0)),
      {At(10, {{1, 10}, {6, 10}}), At(10, {{3, 10}, {8, 10}}), At(10, {{1, 10}, {4, 10}}), At(10, {{2, 10}, {5, 10}})},
      2);
  RunHistory(sim);
  ASSERT_EQ(sim.Trades.GetCount(), 4);
  const double direction[] = {0, 1, 1, 0}, entryBar[] = {1, 1, 4, 6};
  for (int r = 0; r < 4; ++r)
    ExpectRow(sim, r, {Cell(kColDirection, direction[r]), Cell(kColEntryDateTime, 20240101 + entryBar[r])});
}

// Two long trades share an entry time (bars 1 and 2 carry the same stamp);
// moving the earlier short trade to the front carries the first long trade
// past the second.
TEST(History, ExchangeSortReversesTiedRowsThatAThirdRowPassed) {
  SSimulation sim;
  Market m(std::vector<double>(6, 10.0));
  m.dateTime = {100, 200, 200, 300, 400, 500};
  Prepare(sim, m, {At(6, {{1, 11}, {2, 12}}), At(6, {}), At(6, {{0, 9}}), At(6, {{1, 9}})}, 2);
  RunHistory(sim);
  ASSERT_EQ(sim.Trades.GetCount(), 3);
  const double entryPrice[] = {9, 12, 11};
  for (int r = 0; r < 3; ++r) ExpectRow(sim, r, {Cell(kColEntryPrice, entryPrice[r])});
}

// Long trades 100 -> 110 and 110 -> 99.
TEST(History, ChainingSumsReturnsOnMarginCompoundsOtherwiseAndShowsPercentInModeVolumeOne) {
  struct Case {
    double margin;
    int modeVolume;
    double quantity, g1, cumReturn1, column10[2];
  };
  const Case cases[] = {
      {0, 0, 5, 0.9, 1.1 * 0.9, {50, -5}},                               // money sums of 5 units
      {50, 0, 5, -55.0 / 50 + 1, -55.0 / 50 + 50.0 / 50 + 1, {50, -5}},  // returns on a margin of 50 add up
      {0, 1, 1, 0.9, 1.1 * 0.9, {110, 99}},                              // one unit, CumReturnFactor x 100
      {0, 2, 1, 0.9, 1.1 * 0.9, {10, -1}},                               // one unit, money sums
  };
  for (const Case& c : cases) {
    SSimulation sim;
    Prepare(sim, Market(std::vector<double>(10, 100.0)), {At(10, {{1, 100}, {4, 110}}), At(10, {{3, 110}, {6, 99}})});
    if (c.margin > 0) sim.SetMargin(c.margin);
    sim.Setting.ModeVolume = c.modeVolume;
    sim.Setting.TradeVolume = 5;
    RunHistory(sim);
    ASSERT_EQ(sim.Trades.GetCount(), 2);
    ExpectRow(sim, 0, {Cell(kColCumProfitLoss, c.column10[0]), Cell(kColCumReturnFactor, c.margin > 0 ? 2.0 : 1.1)});
    ExpectRow(sim, 1,
              {Cell(kColQuantity, c.quantity), Cell(kColReturnFactor, c.g1), Cell(kColCumReturnFactor, c.cumReturn1),
               Cell(kColCumProfitLoss, c.column10[1])});
  }
}

// Prices shorter than the signals read 0 past their end; the signals alone
// decide the trades. Nothing here may crash.
TEST(History, SeriesOfDifferentLengthsReadMissingBarsAsZero) {
  SSimulation sim;
  Prepare(sim, Market(std::vector<double>(5, 10.0)), {At(12, {{1, 10}, {7, 10}}), At(12, {{3, 10}, {9, 10}})});
  RunHistory(sim);
  ASSERT_EQ(sim.Trades.GetCount(), 2);
  // The trade past the prices has entry time 0 and sorts first; its lows read 0.
  ExpectRow(sim, 0, {Cell(kColEntryDateTime, 0), Cell(kColDrawdown, -10), Cell(kColBarsHeld, 2)});
  SSimulation empty;
  empty.SetVariablePointer(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
  empty.Setting.Position = 2;
  SetSignals(empty, {At(6, {{0, std::nan("")}, {2, 5}}), {}, At(3, {{1, 5}}), At(9, {})});
  RunHistory(empty);
  EXPECT_EQ(empty.Trades.GetCount(), 3);
}

// The exchange sort exactly as written, through Interchange.
void LiteralExchangeSort(SSimulation& sim) {
  const int n = sim.Trades.GetCount();
  for (int a = 0; a + 1 < n; ++a)
    for (int b = a + 1; b < n; ++b)
      if (sim.Trades.EntryDateTime[a] > sim.Trades.EntryDateTime[b]) sim.Interchange(a, b);
}

// Keys in EntryDateTime; every other column names its row, so any stray
// move shows.
void ExpectSortMatchesLiteral(const std::vector<double>& keys) {
  SSimulation fast, literal;
  for (SSimulation* sim : {&fast, &literal})
    for (size_t r = 0; r < keys.size(); ++r)
      for (int k = 0; k < STradeTable::kColumns; ++k) sim->Trades.Column(k).Add(k == 1 ? keys[r] : r * 100.0 + k);
  fast.SortHistory();
  LiteralExchangeSort(literal);
  for (int k = 0; k < STradeTable::kColumns; ++k)
    for (size_t r = 0; r < keys.size(); ++r) {
      const double x = fast.Trades.Column(k)[r], y = literal.Trades.Column(k)[r];
      ASSERT_TRUE(x == y || (std::isnan(x) && std::isnan(y))) << "column " << k << " row " << r;
    }
}

// n small integer keys, a share of them NaN; with `runs`, two sorted runs
// (long trades, then short trades, each in entry order).
std::vector<double> RandomKeys(std::mt19937& rng, int n, int distinct, double nanShare, bool runs) {
  std::vector<double> keys(n);
  for (double& k : keys) k = std::bernoulli_distribution(nanShare)(rng) ? std::nan("") : rng() % distinct;
  const int split = n > 0 ? rng() % (n + 1) : 0;
  if (runs) std::sort(keys.begin(), keys.begin() + split), std::sort(keys.begin() + split, keys.end());
  return keys;
}

TEST(HistorySort, MatchesTheLiteralExchangeSortIncludingTieOrder) {
  std::mt19937 rng(20240101);
  for (int trial = 0; trial < 600; ++trial) {
    SCOPED_TRACE(trial);
    const int n = trial % 41, distinct = 1 + trial % 7;
    ExpectSortMatchesLiteral(RandomKeys(rng, n, distinct, 0.0, false));
    ExpectSortMatchesLiteral(RandomKeys(rng, n, distinct + 3, 0.0, true));
    ExpectSortMatchesLiteral(RandomKeys(rng, n, distinct, 0.15, false));
  }
  ExpectSortMatchesLiteral(RandomKeys(rng, 1500, 6, 0.0, false));
  ExpectSortMatchesLiteral(RandomKeys(rng, 1500, 40, 0.0, true));
  std::vector<double> falling(1200);
  for (int r = 0; r < 1200; ++r) falling[r] = (1200 - r) / 3;  // reversed, in runs of three ties
  ExpectSortMatchesLiteral(falling);
}

TEST(HistorySort, InterchangeIgnoresRowsOutOfRangeOrInAShortenedColumn) {
  SSimulation sim;
  for (double key : {5, 6, 7})
    for (int k = 0; k < STradeTable::kColumns; ++k) sim.Trades.Column(k).Add(key);
  for (auto [a, b] : {std::pair{-1, 0}, {0, 3}, {2147483647, 1}}) sim.Interchange(a, b);
  sim.Trades.BarsHeld.SetSize(2);  // a shortened column caps the rows
  sim.Interchange(0, 2);
  for (int r = 0; r < 3; ++r) EXPECT_EQ(sim.Trades.EntryDateTime[r], 5.0 + r);
}

// The working series, read back through the indicator's bindings.
std::vector<double> Working(SSimulation& sim, int slot) {
  sim.SetVariableToIndex();
  const SVector& v = *sim.Index.PriceSeries[slot];
  return std::vector<double>(v.Data(), v.Data() + v.GetSize());
}

TEST(HistoryCompress, MergesGroupsKeepsAShortLastGroupAndLeavesSharedSeriesAlone) {
  Market m({10, 11, 12, 13, 14, 15, 16});
  m.open = {9.5, 10.5, 11.5, 12.5, 13.5, 14.5, 15.5};
  m.high = {10.5, 13, 12.5, 13.5, 17, 15.5, 16.5};
  m.low = {9, 10, 8, 12, 13.8, 14, 15};
  m.volume = {100, 200, 300, 400, 500, 600, 700};
  using Bars6 = std::vector<std::vector<double>>;  // close, open, high, low, volume, date-time
  const std::pair<int, Bars6> cases[] = {
      {3,
       {{12, 15, 16},
        {9.5, 12.5, 15.5},
        {13, 17, 16.5},
        {8, 12, 15},
        {600, 1500, 700},
        {20240101, 20240104, 20240107}}},
      {0, {{12, 15, 16}}},  // a factor below 1 changes nothing
      {100, {{16}, {9.5}, {17}, {8}, {2800}, {20240101}}},
      {1, {m.close, m.open, m.high, m.low, m.volume, m.dateTime}},
  };
  SSimulation sim;
  Bind(sim, m);
  for (const auto& [factor, bars] : cases) {
    sim.CompressData(factor);
    for (size_t k = 0; k < bars.size(); ++k) EXPECT_EQ(Working(sim, k), bars[k]) << factor << " slot " << k;
  }
  SVector c = Series(m.close), h = Series(m.high), zero(7);
  SSimulation shared;  // bound by pointer: the working series are the source
  shared.SetVariablePointer(&c, &c, &h, &h, &zero, &zero, &zero, &zero, &zero);
  shared.CompressData(2);
  EXPECT_EQ(Working(shared, 2), m.high);
}

}  // namespace
