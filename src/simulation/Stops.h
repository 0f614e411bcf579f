// The stops as free functions over plain series. Each finds the first bar
// after the entry at which its exit condition holds (a StopHit); the
// SSimulation members (SSimulationStops.cpp) read the settings, call these
// and apply the replacement rule to the running exit.
//
// Bars beyond the close series are not scanned: a stop fires only on a bar
// the market has. Other series read 0 where they are shorter, the rule the
// other back-test reads follow.
#pragma once

#include <string>

#include "simulation/TradeHistory.h"

namespace chartcalc::detail {

// Where a stop fires; bar -1 when it does not.
struct StopHit {
  long long bar = -1;
  double price = 0.0;
  bool Fired() const { return bar >= 0; }
};

// The bars the stops read and how the level stops test and fill them:
// stopLossType 0 tests and fills on the close, anything else tests the low
// (level below the price) or the high (level above) and fills at the level
// or at an open beyond it.
struct StopMarket {
  Bars close, open, high, low, dateTime;
  int stopLossType = 1;
  double tick = 0.0;
};

// The bars first..last (inclusive) a stop scans.
struct StopScan {
  long long first = 0, last = -1;
};

// Bars entryBar + 1 .. exitBar that the close series reaches.
StopScan ScanToExit(const StopMarket& m, long long entryBar, long long exitBar);
// The same, cut further to the window of `count` bars after the entry.
StopScan ScanWindow(const StopMarket& m, long long entryBar, long long exitBar, long long count);

// level unchanged when it is a multiple of tick (or tick is 0), else the
// multiple below (up false) or above (up true).
double RoundToTick(double level, double tick, bool up);

// A level at `share` from `ref` in the direction `sign` (+1 above, -1
// below): mode 0 (1 + sign x share) x ref, mode 1 ref + sign x share x
// tick x 10, any other mode 0.
double ShiftedLevel(double ref, double share, int mode, double tick, int sign);
// A distance: mode 0 value x ref / 100, mode 1 value x tick x 10, else 0.
double PercentOrTicks(double ref, double value, int mode, double tick);

// Where a level sits against the price it protects.
enum class LevelSide { kBelow, kAbove };

// The first bar of the scan whose test value crosses the fixed level,
// filled at that bar.
StopHit FixedLevelHit(const StopMarket& m, const StopScan& s, double level, LevelSide side);

// The trailing stops follow the extreme of the bars before the tested one:
// the highest high for a long (level below), the lowest low for a short
// (level above), both starting at the entry close r.
struct GiveBackRule {       // the profit-protecting trailing stop
  double entryPrice = 0.0;  // E, the entry signal's price
  double activation = 0.0;  // extreme needed before the stop is live
  double share = 0.0;       // g
  int mode = 0;
};
StopHit GiveBackHit(const StopMarket& m, const StopScan& s, int side, double r, const GiveBackRule& rule);
StopHit TrailingHit(const StopMarket& m, const StopScan& s, int side, double r, double share, int mode);

// The band, jump and drop stops: the first bar whose high reaches `upper`
// (filled at the high) or, failing that, whose low reaches `lower` (filled
// at the low). A NaN bound is never reached.
StopHit BreakoutHit(const StopMarket& m, const StopScan& s, double upper, double lower);

// The day-trading cut-off: a time of every day, or a date and time.
struct CutOff {
  bool dated = false;
  long long key = 0;  // date x 100,000 + minutes, when dated
  int minutes = 0;    // hour x 60 + minute
};
// Reads "HH:MM" (hour: the two characters before the colon, minute: the
// two after it; without a colon the layout's position 2 stands for it)
// and, when dated, "YYYY-MM-DD" (characters 0-3, 5-6, 8-9). Characters that
// are missing or not digits add nothing, so a short or garbled text reads
// as a smaller number and never past its end. afternoon adds 12 hours.
CutOff ParseCutOff(const std::string& time, bool afternoon, bool dated, const std::string& date);
bool AtOrAfterCutOff(const CutOff& c, double dateTime);
// Clears every entry from the series' start index on whose bar lies at or
// after the cut-off.
void ClearEntriesFromCutOff(double* entry, int size, int start, const Bars& dateTime, const CutOff& c);
// The first bar of the scan at or after the cut-off, filled at its close.
StopHit CutOffHit(const StopMarket& m, const StopScan& s, const CutOff& c);

}  // namespace chartcalc::detail
