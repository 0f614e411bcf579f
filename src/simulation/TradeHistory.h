// Trades from signal series, the trade table's sort order, profit chaining
// and bar compression, as free functions over plain series. SSimulation's
// members (SSimulationHistory.cpp) read their settings and call these.
//
// A price or date-time read at a bar its series does not reach reads as 0,
// the rule the other back-test reads follow; which bars are scanned is
// decided by the signal series alone.
#pragma once

#include <array>
#include <functional>
#include <vector>

#include "chartcalc/SCalc.h"

namespace chartcalc::detail {

// The trade table's columns, in STradeTable's order.
enum TradeColumn : int {
  kColDirection,
  kColEntryDateTime,
  kColEntryPrice,
  kColEntryCostPrice,
  kColExitDateTime,
  kColExitPrice,
  kColExitCostPrice,
  kColQuantity,
  kColProfitLoss,
  kColReturnFactor,
  kColCumProfitLoss,
  kColCumReturnFactor,
  kColRunup,
  kColDrawdown,
  kColEntryEff,
  kColExitEff,
  kColTotalEff,
  kColBarsHeld,
  kTradeColumnCount
};

// A read-only series of n doubles.
struct Bars {
  const double* v = nullptr;
  int n = 0;
  double At(long long i) const { return i >= 0 && i < n ? v[i] : 0.0; }
};
inline Bars View(const SVector& v) { return {v.Data(), v.GetSize() > 0 ? v.GetSize() : 0}; }

// Running extremes as std::max(have, x) and std::min(have, x) fold them:
// the value already held wins a tie and a NaN newcomer changes nothing.
inline double Higher(double have, double x) { return have < x ? x : have; }
inline double Lower(double have, double x) { return x < have ? x : have; }

// One trade before it enters the table: its 18 column values and the bar
// of its entry.
struct TradeRow {
  std::array<double, kTradeColumnCount> col{};
  int entryBar = 0;
};

struct TradePrices {
  Bars close, high, low, dateTime;
};

// One side's signals: the entry series with the first bar to scan, and the
// exit series, whose length decides where a trade stays open.
struct SideSignals {
  Bars entry;
  int entryStart = 0;
  Bars exit;
};

// Price in, price with commission and slippage out, for side 0 long or 1 short.
using CostPrice = std::function<double(double price, int side)>;
struct TradeCosts {
  CostPrice entry, exit;
};

// Appends the trades of one side (0 long, 1 short) in entry order. Each
// entry is walked to the first non-zero exit after it; entries inside a
// trade are skipped. When the exit series ends without an exit, that trade
// and every later entry of the side stay open at the exit series' last bar,
// valued at its close without exit costs. An entry with no bar after it in
// the exit series keeps its entry price as exit price and no excursions.
void AppendSideTrades(int side, double quantity, const SideSignals& signals, const TradePrices& prices,
                      const TradeCosts& costs, std::vector<TradeRow>& out);

// Fills runup, drawdown and the three efficiencies of a trade exited at x,
// where high and low are the extremes from the bar after the entry to the
// exit bar, both started at the entry price. A walk without range (high ==
// low) leaves the efficiencies 0.
void SetExcursions(TradeRow& row, int side, double x, double high, double low);

// The row order the exchange sort on ascending keys leaves:
//   for a in 0..n-2, for b in a+1..n-1: if key[a] > key[b] swap rows a, b
// including the order of equal keys, in O(n log n) for sorted runs and at
// most O(n^1.5) otherwise. order[pos] is the input row that ends at pos.
std::vector<int> ExchangeSortOrder(const double* keys, int n);
// True when no exchange can happen: every key is <= the next (no NaN).
bool IsNonDecreasing(const double* keys, int n);

// How profits chain: the margin flag divides by a fixed capital and sums the
// returns; otherwise the capital is quantity x entry cost and the return
// factors multiply. percentColumn puts CumReturnFactor x 100 in column 10.
struct ProfitRule {
  int blMargin = 0;
  double margin = 1.0;
  int percentColumn = 0;
};

// Chains rows 0..n-1 of the columns (each holding at least n values):
// ProfitLoss, ReturnFactor, CumProfitLoss and CumReturnFactor from
// Direction, the cost prices and Quantity.
void ChainProfits(const std::array<double*, kTradeColumnCount>& columns, int n, const ProfitRule& rule);

// Bar compression of the series close, open, high, low, volume and
// date-time (PriceSlot order). The compressed length is the close length
// divided by factor, rounded up; 0 for a factor below 1.
inline constexpr int kCompressedSlots = kDateTime + 1;
int CompressedLength(int length, int factor);
// Writes CompressedLength(source[kClose].n, factor) bars to each output:
// the first bar's open and date-time, the last bar's close, the highest
// high, the lowest low and the summed volume of every group of factor bars.
void CompressBars(const std::array<Bars, kCompressedSlots>& source, int factor,
                  const std::array<double*, kCompressedSlots>& out);

}  // namespace chartcalc::detail
