// The equity-curve page of a run: a standalone UTF-8 HTML page with an
// inline SVG of the cumulative profit/loss after each trade, the drawdown
// from its running peak below it, and one marker per trade.
#pragma once

#include <string>
#include <vector>

// One trade of a run's trade list, on a time axis of days since 1970-01-01
// (the time of day as a fraction).
struct EquityTrade {
  double entry = 0, exit = 0;
  double profitLoss = 0, cumProfitLoss = 0;
  bool open = false;                // still held at the last bar; exit is then that bar's day
  std::string entryText, exitText;  // as the trade list writes them, for the tooltips
};

// What the page shows; texts are UTF-8.
struct EquityRun {
  long run = 0;
  std::string system, symbol, term;
  std::vector<EquityTrade> trades;
};

// Days since 1970-01-01 of "YYYYMMDD" plus "HH:MM" as a fraction (time
// optional). False for a text that is no calendar date.
bool ParseTradeDay(const std::string& date, const std::string& time, double& day);

// The last day of a "YYYY.MM.DD ~ YYYY.MM.DD" term, or false.
bool TermEndDay(const std::string& term, double& day);

// Reads the trades of a trade-list report file in file order. A trade
// without a calendar exit date is still open: it ends at lastDay (or its
// entry when lastDay is earlier). False with a message when the file is not
// a trade list or a trade has no entry date or no profit figures.
bool ReadEquityTrades(const std::string& path, double lastDay, std::vector<EquityTrade>& trades, std::string& error);

// The whole page in the current language (GetLangType).
std::string EquityPageHtml(const EquityRun& run);
