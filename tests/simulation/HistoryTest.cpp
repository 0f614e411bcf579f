// Trades from signals, the trade table's sort, profit chaining and bar
// compression. Expected numbers are worked by hand from the bars written in
// each test; the sort is checked against the literal exchange sort.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <random>
#include <vector>

#include "SimTestUtil.h"
#include "simulation/TradeHistory.h"

using namespace simtest;
using namespace chartcalc::detail;

namespace {

using Cells = std::initializer_list<std::pair<int, double>>;

// n zeros with the given bars set.
std::vector<double> At(int n, Cells bars) {
  std::vector<double> v(n, 0.0);
  for (auto [bar, value] : bars) v[bar] = value;
  return v;
}

// Binds the market (n bars at `price` unless given) and the signal lines to
// a costless simulation of the given sides, lets `setup` change its
// settings, and builds the trades.
void Trade(SSimulation& sim, const Market& m, std::initializer_list<std::vector<double>> lines, int position = 0,
           const std::function<void(SSimulation&)>& setup = nullptr) {
  Bind(sim, m);
  sim.Setting.Slippage = 0.0;
  sim.Setting.Position = position;
  SetSignals(sim, lines);
  if (setup) setup(sim);
  sim.SetHistoryToZero();
  sim.SetHistory();
}

Market Flat(int n, double price) { return Market(std::vector<double>(n, price)); }

void ExpectRow(const SSimulation& sim, int row, Cells cells) {
  for (auto [k, v] : cells) EXPECT_DOUBLE_EQ(sim.Trades.Column(k)[row], v) << "row " << row << " column " << k;
}

// Entries at 2 (closed at 4), 6 and 9 stay open at the last close 12 without
// costs. Bars 7-11 reach 20 (bar 8) and 1 (bar 9); the entry bars' own
// extremes (30 at bar 6, 1 at bar 9 for the later trade) must not count. An
// entry on the last bar keeps the values it was entered with.
TEST(History, OpenTradesStayOpenAtTheLastCloseWithoutCostsMeasuredFromTheBarAfterEntry) {
  SSimulation sim;
  Market m({10, 10, 10, 10, 10, 10, 10, 10, 10, 10, 10, 12});
  m.high[6] = 30, m.high[8] = 20, m.low[9] = 1, m.low[10] = 7;
  Trade(sim, m, {At(12, {{2, 10}, {6, 10}, {9, 10}, {11, 50}}), At(12, {{4, 10}})}, 0,
        [](SSimulation& s) { s.Setting.Slippage = 0.01; });
  ASSERT_EQ(sim.Trades.GetCount(), 4);
  ExpectRow(sim, 1,
            {{kColExitDateTime, 0},
             {kColExitPrice, 12},
             {kColExitCostPrice, 12},
             {kColBarsHeld, 5},
             {kColRunup, 10},
             {kColDrawdown, -9},
             {kColEntryEff, 10.0 / 19 * 100},
             {kColExitEff, 11.0 / 19 * 100},
             {kColTotalEff, 2.0 / 19 * 100}});
  ExpectRow(sim, 2, {{kColBarsHeld, 2}, {kColRunup, 2}, {kColDrawdown, -3}, {kColEntryEff, 40}, {kColTotalEff, 40}});
  ExpectRow(sim, 3, {{kColExitPrice, 50}, {kColExitCostPrice, 49.5}, {kColRunup, 0}, {kColBarsHeld, 0}});
}

// Entries on bars 1-5, exits at 4 and 8: the entries inside the first trade
// and on its exit bar are skipped, and a flat walk has no range to measure
// efficiencies against. The entry line's start index hides its earlier bars.
TEST(History, EntriesInsideATradeAreSkippedAndAFlatWalkHasNoEfficiency) {
  SSimulation sim;
  Trade(sim, Flat(12, 10),
        {At(12, {{1, Signal(10, 2)}, {2, 11}, {3, 12}, {4, 13}, {5, 14}}), At(12, {{4, Signal(10, 3)}, {8, 10}})});
  ASSERT_EQ(sim.Trades.GetCount(), 2);
  ExpectRow(sim, 0, {{kColEntryPrice, 10}, {kColExitPrice, 10}, {kColEntryEff, 0}, {kColTotalEff, 0}});
  ExpectRow(sim, 1, {{kColEntryPrice, 14}, {kColBarsHeld, 3}});
  for (auto [start, rows] : {std::pair{-5, 2}, {5, 1}, {2147483647, 0}}) {
    sim.Index.LineData[0].SetStartIndex(start);
    sim.SetHistoryToZero(), sim.SetHistory();
    EXPECT_EQ(sim.Trades.GetCount(), rows) << "start " << start;
  }
}

// Entry 100 at bar 2 (its own 150/50 do not count), exit 101 at bar 5;
// bars 3-5 reach 104 and 97, a range of 7.
TEST(History, ExcursionsAndEfficienciesOfALongAndAShortTrade) {
  Market m = Flat(10, 100);
  m.high[2] = 150, m.low[2] = 50, m.high[3] = 104, m.low[4] = 98, m.high[5] = 102, m.low[5] = 97;
  const double want[2][4] = {{4, -3, 4, 1}, {3, -4, 3, -1}};  // runup, drawdown, entry/exit and total efficiency x 7
  for (int side : {0, 1}) {
    SSimulation sim;
    Trade(sim, m, {At(10, {{2, 100}}), At(10, {{5, 101}}), At(10, {{2, 100}}), At(10, {{5, 101}})}, side);
    ASSERT_EQ(sim.Trades.GetCount(), 1);
    const double* w = want[side];
    ExpectRow(sim, 0,
              {{kColRunup, w[0]},
               {kColDrawdown, w[1]},
               {kColEntryEff, w[2] / 7 * 100},
               {kColExitEff, w[2] / 7 * 100},
               {kColTotalEff, w[3] / 7 * 100}});
  }
}

// Long trades 100 -> 110 and 110 -> 99, 5 units asked.
TEST(History, ChainingSumsReturnsOnMarginCompoundsOtherwiseAndShowsPercentInModeVolumeOne) {
  struct Case {
    double margin, modeVolume, quantity, g1, cumReturn1, column10[2];
  } const cases[] = {
      {0, 0, 5, 0.9, 1.1 * 0.9, {50, -5}},                               // money sums of 5 units
      {50, 0, 5, -55.0 / 50 + 1, -55.0 / 50 + 50.0 / 50 + 1, {50, -5}},  // returns on a margin of 50 add up
      {0, 1, 1, 0.9, 1.1 * 0.9, {110, 99}},                              // one unit, CumReturnFactor x 100
  };
  for (const Case& c : cases) {
    SSimulation sim;
    if (c.margin > 0) sim.SetMargin(c.margin);
    Trade(sim, Flat(10, 100), {At(10, {{1, 100}, {4, 110}}), At(10, {{3, 110}, {6, 99}})}, 0,
          [&c](SSimulation& s) { s.Setting.ModeVolume = static_cast<int>(c.modeVolume), s.Setting.TradeVolume = 5; });
    ASSERT_EQ(sim.Trades.GetCount(), 2);
    ExpectRow(sim, 0, {{kColCumProfitLoss, c.column10[0]}, {kColCumReturnFactor, c.margin > 0 ? 2.0 : 1.1}});
    ExpectRow(sim, 1,
              {{kColQuantity, c.quantity},
               {kColReturnFactor, c.g1},
               {kColCumReturnFactor, c.cumReturn1},
               {kColCumProfitLoss, c.column10[1]}});
  }
}

// Keys in EntryDateTime, every other column naming its row so that any stray
// move shows: SortHistory must leave exactly what the exchange sort, written
// out through Interchange, leaves.
void ExpectSortMatchesLiteral(const std::vector<double>& keys) {
  SSimulation fast, literal;
  const int n = static_cast<int>(keys.size());
  for (SSimulation* sim : {&fast, &literal})
    for (int r = 0; r < n; ++r)
      for (int k = 0; k < STradeTable::kColumns; ++k) sim->Trades.Column(k).Add(k == 1 ? keys[r] : r * 100.0 + k);
  fast.SortHistory();
  for (int a = 0; a + 1 < n; ++a)
    for (int b = a + 1; b < n; ++b)
      if (literal.Trades.EntryDateTime[a] > literal.Trades.EntryDateTime[b]) literal.Interchange(a, b);
  for (int k = 0; k < STradeTable::kColumns; ++k)
    for (int r = 0; r < n; ++r) {
      const double x = fast.Trades.Column(k)[r], y = literal.Trades.Column(k)[r];
      ASSERT_TRUE(x == y || (std::isnan(x) && std::isnan(y))) << "column " << k << " row " << r;
    }
}

// Few distinct keys (many ties), some with NaNs, some made of two sorted
// runs (long trades, then short trades), short and long.
TEST(HistorySort, MatchesTheLiteralExchangeSortIncludingTieOrder) {
  std::mt19937 rng(20240101);
  for (int trial = 0; trial < 600; ++trial) {
    SCOPED_TRACE(trial);
    const int n = trial < 594 ? trial % 41 : 1500, distinct = 1 + trial % 7 + trial % 2 * 40 * (n > 41);
    std::vector<double> keys(n);
    for (double& k : keys) k = trial % 3 == 2 && rng() % 7 == 0 ? std::nan("") : rng() % distinct;
    const auto split = keys.begin() + rng() % (n + 1);
    if (trial % 3 == 1) std::sort(keys.begin(), split), std::sort(split, keys.end());
    ExpectSortMatchesLiteral(keys);
  }
}

// The working series, read back through the indicator's bindings.
std::vector<double> Working(SSimulation& sim, int slot) {
  sim.SetVariableToIndex();
  const SVector& v = *sim.Index.PriceSeries[slot];
  return std::vector<double>(v.Data(), v.Data() + v.GetSize());
}

// Groups of 3 take the first date-time, the last close, the extremes and
// the summed volume; a short last group stays; a factor below 1 changes
// nothing.
TEST(HistoryCompress, MergesGroupsAndKeepsAShortLastGroup) {
  Market m({10, 11, 12, 13, 14, 15, 16});
  m.high = {10.5, 13, 12.5, 13.5, 17, 15.5, 16.5};
  m.volume = {100, 200, 300, 400, 500, 600, 700};
  const std::vector<std::vector<double>> want = {{12, 15, 16}, {10, 13, 16},     {13, 17, 16.5},
                                                 {10, 13, 16}, {600, 1500, 700}, {20240101, 20240104, 20240107}};
  SSimulation sim;
  Bind(sim, m);
  for (int factor : {3, 0}) {
    sim.CompressData(factor);
    for (int k = 0; k < 6; ++k) EXPECT_EQ(Working(sim, k), want[k]) << factor << " slot " << k;
  }
}

}  // namespace

namespace {

// Both sides: rows are appended long first, then sorted by entry time; the
// long and the short entered on the same bar keep that order, and each row
// carries its side's cost prices (0.1 % commission on entry and exit).
TEST(History, BothSidesSortByEntryTimeWithTheirOwnCostPrices) {
  SSimulation sim;
  Trade(sim, Flat(8, 100), {At(8, {{1, 100}, {5, 100}}), At(8, {{3, 104}, {7, 104}}), At(8, {{1, 100}, {4, 100}}),
                            At(8, {{2, 99}, {6, 99}})},
        2, [](SSimulation& s) { s.Setting.EntryCommission = s.Setting.ExitCommission = 0.001; });
  ASSERT_EQ(sim.Trades.GetCount(), 4);
  const std::vector<double> sides = {0, 1, 1, 0}, entryBars = {1, 1, 4, 5};
  for (int row = 0; row < 4; ++row) {
    EXPECT_EQ(sim.Trades.Direction[row], sides[row]) << row;
    EXPECT_EQ(sim.Trades.EntryDateTime[row], 20240101.0 + entryBars[row]) << row;
  }
  ExpectRow(sim, 0, {{3, 100.1}, {6, 104 * 0.999}, {8, 104 * 0.999 - 100.1}});
  ExpectRow(sim, 1, {{3, 99.9}, {6, 99 * 1.001}, {8, 99.9 - 99 * 1.001}});
}

}  // namespace
