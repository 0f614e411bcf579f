// Statistics over the trade table, the mark-to-market equity curve, the
// realised profit line, the excursion pairs of "mfe.csv" and the texts of a
// run's summary, as free functions over plain series. SSimulation's members
// (SSimulationSummary.cpp) read their settings and call these.
//
// Every read of a bar outside its series gives 0 (Bars::At), so series of
// different lengths never read past their ends.
#pragma once

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "chartcalc/SString.h"
#include "chartcalc/SVector.h"
#include "simulation/Signals.h"
#include "simulation/TradeHistory.h"

namespace chartcalc::detail {

// Decimals of the money figures: the magnitude of the integer part of
// log10(tick) (0.01 -> 2, 1 -> 0, 0.25 -> 0, 100 -> 2). A tick that is not
// positive and finite has no logarithm and gives 0; the result is capped at
// the 18 decimals FloatToStrF writes.
int SummaryDigits(double tick);

// The columns of the trade table the statistics read.
struct TradeColumns {
  Bars direction, profit, bars, entryEff, exitEff;
  int count = 0;  // the trade count (the Direction column's length)
};

// The figures of one side's trades (side -1: all trades), gathered in table
// order. A trade is a winner when its profit is >= 0 and a loser when < 0;
// a NaN profit is neither and leaves the streaks as they were.
struct TradeStats {
  int wins = 0, losses = 0;
  double grossProfit = 0.0, grossLoss = 0.0;
  double largestWin = 0.0, largestLoss = 0.0;
  double maxWinStreakSum = 0.0, minLossStreakSum = 0.0;
  int maxWinStreakCount = 0, maxLossStreakCount = 0;
  // Sums of BarsHeld, divided by the count when it is not 0.
  double winBars = 0.0, lossBars = 0.0;
  // Averages over the side's trades (0 when there are none).
  double entryEff = 0.0, exitEff = 0.0;
  int members = 0;  // the side's trades, NaN profits included
  int Count() const { return wins + losses; }
};
TradeStats CollectTradeStats(const TradeColumns& trades, int side);

// The largest fall of a curve below its running peak, fed one value at a
// time; peak and fall both start at 0, so a curve that never rises above 0
// falls from 0.
struct DrawdownTracker {
  double peak = 0.0, fall = 0.0;
  void operator()(double v) {
    peak = Higher(peak, v);
    fall = Higher(fall, peak - v);
  }
};

// The last element of the population deviation of column over `period`
// bars (SVector::CalcStdev), 0 when it has no valid last element.
double LastStdev(const SVector& column, int period);

// Signals of one side for the curves: entry and exit series with their
// first valid bars.
struct SignalPair {
  Bars entry, exit;
  int entryStart = 0, exitStart = 0;
};

// Mark-to-market equity in price units, one value per close from bar 0,
// handed to sink(value) in bar order (a curve or a running figure over it).
// Bars before the first entry series' start are 0. `cost(P)` is the cost of
// one unit at price P, charged on entries and exits alike.
template <class Cost, class Sink>
void ComputeEquity(const SignalPair* longSide, const SignalPair* shortSide, const Bars& close, Cost cost, Sink&& sink);

// The realised profit line over n bars; returns the first bar with an entry
// signal (0 when there is none). entryPrice/exitPrice(price, side) give the
// prices with costs.
template <class EntryPrice, class ExitPrice>
int ComputeProfitLine(const SignalPair& longSide, const SignalPair& shortSide, const Bars& close, int n,
                      EntryPrice entryPrice, ExitPrice exitPrice, double* out);

// One entry/exit pair of "mfe.csv": profit, most favourable and most
// adverse excursion, valued with costs.
struct ExcursionPair {
  double profit = 0.0, favourable = 0.0, adverse = 0.0;
};
// The pairs of one side in bar order: each entry walks to the first exit
// after it, or to the last close when none follows (which ends the side).
template <class EntryPrice, class ExitPrice>
void CollectExcursions(int side, const SignalPair& signals, const Bars& close, const Bars& high, const Bars& low,
                       EntryPrice entryPrice, ExitPrice exitPrice, std::vector<ExcursionPair>& out);
// The file's text: "seq, profit, mfe, mae" and one line per pair.
std::string ExcursionCsv(const std::vector<ExcursionPair>& pairs);

// Bars spent in a position by pairing each entry with the next exit after
// it; an entry without an exit holds to the last of `length` bars.
long long BarsInPosition(const SVector& entry, const SVector& exit, int length);

// "(v1,v2,...)" of the values of the leading named variables, "" when the
// first has no name.
SString VariableText(const SString* names, const SString* values, int count);
// "YYYY.MM.DD ~ YYYY.MM.DD" of two date-times.
SString TermText(double first, double last);
// A cost setting as the summary shows it: a rate (mode 0) as a percentage
// with 2 decimals and "%", a fixed amount with `digits` decimals and the
// currency word.
SString CostText(double value, int mode, int digits, const char* currency);

// ---------------------------------------------------------------------------

namespace summary_impl {

// One side's open position while the equity curve is walked.
struct Position {
  bool open = false;
  double entry = 0.0;
  int bar = -1;
};

// The price change of an open position over bar k, for a long (sign 1) or
// short (sign -1) position: from the entry price right after the entry,
// else from the previous close; an exit at X ends the move there.
template <class Cost>
double PositionMove(Position& pos, const SignalPair& s, const Bars& close, int k, double sign, Cost& cost) {
  if (!pos.open) return 0.0;
  const bool justEntered = pos.bar == k - 1;
  const double exitValue = s.exit.At(k);
  if (exitValue != 0.0) {
    const double x = SignalPrice(exitValue);
    pos.open = false;
    return justEntered ? sign * (x - pos.entry) - cost(x) - cost(pos.entry) : sign * (x - close.At(k - 1)) - cost(x);
  }
  return justEntered ? sign * (close.At(k) - pos.entry) - cost(pos.entry) : sign * (close.At(k) - close.At(k - 1));
}

inline void EnterAt(Position& pos, const SignalPair& s, int k) {
  const double value = s.entry.At(k);
  if (value == 0.0) return;
  pos.open = true;
  pos.entry = SignalPrice(value);
  pos.bar = k;
}

// A signal value read only at or after its series' first valid bar.
inline double SignalAt(const Bars& b, int start, int k) { return k >= start ? b.At(k) : 0.0; }

}  // namespace summary_impl

template <class Cost, class Sink>
void ComputeEquity(const SignalPair* longSide, const SignalPair* shortSide, const Bars& close, Cost cost, Sink&& sink) {
  using namespace summary_impl;
  const int n = close.n;
  long long first = n;
  for (const SignalPair* s : {longSide, shortSide})
    if (s) first = std::min<long long>(first, std::max(s->entryStart, 0));
  for (int k = 0; k < first; ++k) sink(0.0);
  Position lp, sp;
  double equity = 0.0;
  for (int k = static_cast<int>(first); k < n; ++k) {
    double inc = 0.0;
    if (longSide) inc += PositionMove(lp, *longSide, close, k, 1.0, cost);
    if (shortSide) inc += PositionMove(sp, *shortSide, close, k, -1.0, cost);
    sink(equity += inc);
    if (longSide) EnterAt(lp, *longSide, k);
    if (shortSide) EnterAt(sp, *shortSide, k);
  }
}

template <class EntryPrice, class ExitPrice>
int ComputeProfitLine(const SignalPair& longSide, const SignalPair& shortSide, const Bars& close, int n,
                      EntryPrice entryPrice, ExitPrice exitPrice, double* out) {
  using summary_impl::SignalAt;
  double lastLong = 0.0, lastShort = 0.0, line = 0.0;
  int firstSignal = -1;
  for (int k = 0; k < n; ++k) {
    double inc = 0.0;
    const double c = close.At(k);
    if (SignalAt(longSide.exit, longSide.exitStart, k) != 0.0) inc += exitPrice(c, 0) - lastLong;
    if (SignalAt(shortSide.exit, shortSide.exitStart, k) != 0.0) inc += lastShort - exitPrice(c, 1);
    const bool longIn = SignalAt(longSide.entry, longSide.entryStart, k) != 0.0;
    const bool shortIn = SignalAt(shortSide.entry, shortSide.entryStart, k) != 0.0;
    if (longIn) lastLong = entryPrice(c, 0);
    if (shortIn) lastShort = entryPrice(c, 1);
    if ((longIn || shortIn) && firstSignal < 0) firstSignal = k;
    if (firstSignal >= 0) line += inc;
    out[k] = line;
  }
  return firstSignal < 0 ? 0 : firstSignal;
}

template <class EntryPrice, class ExitPrice>
void CollectExcursions(int side, const SignalPair& signals, const Bars& close, const Bars& high, const Bars& low,
                       EntryPrice entryPrice, ExitPrice exitPrice, std::vector<ExcursionPair>& out) {
  const int last = close.n - 1;
  const int end = std::min(signals.entry.n, close.n);  // an entry needs its close
  int e = std::max(signals.entryStart, 0);
  while (true) {
    while (e < end && signals.entry.v[e] == 0.0) ++e;
    if (e >= end) return;
    const int exitEnd = std::min(signals.exit.n, close.n);  // an exit needs its close too
    int x = e + 1;
    while (x < exitEnd && signals.exit.v[x] == 0.0) ++x;
    const bool found = x < exitEnd;
    if (!found) x = last;
    double h = close.At(e), l = h;
    for (int j = e + 1; j <= x; ++j) {
      h = std::max(h, high.At(j));
      l = std::min(l, low.At(j));
    }
    const double in = entryPrice(close.At(e), side);
    ExcursionPair p;
    if (side == 0) {
      p = {exitPrice(close.At(x), 0) - in, exitPrice(h, 0) - in, exitPrice(l, 0) - in};
    } else {
      p = {in - exitPrice(close.At(x), 1), in - exitPrice(l, 1), in - exitPrice(h, 1)};
    }
    out.push_back(p);
    if (!found) return;
    e = x + 1;
  }
}

}  // namespace chartcalc::detail
