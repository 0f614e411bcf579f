// The stops: the free functions of Stops.h, the SSimulation members that
// read the settings and call them, and the chain that rewrites the signal
// series with their exits.
#include <algorithm>
#include <cmath>

#include "chartcalc/DateTime.h"
#include "chartcalc/SSimulation.h"
#include "simulation/Signals.h"
#include "simulation/Stops.h"

namespace chartcalc::detail {

namespace {

constexpr double kTickFactor = 10.0;  // tick distances count tens of ticks
constexpr double kPercent = 100.0;
constexpr long long kMinutesPerDayKey = 100000;  // date x this + minutes
constexpr int kHoursToAfternoon = 12;

double TestValue(const StopMarket& m, long long j, LevelSide side) {
  if (m.stopLossType == 0) return m.close.At(j);
  return side == LevelSide::kAbove ? m.high.At(j) : m.low.At(j);
}

bool Crosses(const StopMarket& m, long long j, double level, LevelSide side) {
  const double v = TestValue(m, j, side);
  return side == LevelSide::kAbove ? v >= level : level >= v;
}

// A gap through the level fills at the open: the worse price for a stop
// below the price, the better one for a target above it.
double Fill(const StopMarket& m, long long j, double level, LevelSide side) {
  if (m.stopLossType == 0) return m.close.At(j);
  const double open = m.open.At(j);
  return side == LevelSide::kAbove ? std::fmax(open, level) : std::fmin(open, level);
}

// The trailing stops' common walk: the level at bar j comes from the
// extreme of bars entry + 1 .. j - 1 (r before any), and NaN means none yet.
template <class LevelOf>
StopHit TrailWalk(const StopMarket& m, const StopScan& s, int side, double r, LevelOf levelOf) {
  const LevelSide where = side == 0 ? LevelSide::kBelow : LevelSide::kAbove;
  double extreme = r;
  // The level is a function of the extreme alone and the extreme moves on
  // few bars, so it is worked out (tick rounding included) only then.
  double levelFor = extreme, level = levelOf(extreme);
  for (long long j = s.first; j <= s.last; ++j) {
    if (!(extreme == levelFor)) level = levelOf(levelFor = extreme);
    if (!std::isnan(level) && Crosses(m, j, level, where)) return {j, Fill(m, j, level, where)};
    extreme = side == 0 ? Higher(extreme, m.high.At(j)) : Lower(extreme, m.low.At(j));
  }
  return {};
}

double GiveBackLevel(const GiveBackRule& g, int side, double extreme, double tick) {
  const double e = g.entryPrice;
  if (side == 0) {
    if (!(extreme >= g.activation)) return NAN;
    if (g.mode == 0) return RoundToTick(e + (1.0 - g.share) * (extreme - e), tick, false);
    return RoundToTick(g.mode == 1 ? extreme - g.share * tick : 0.0, tick, false);
  }
  if (!(extreme <= g.activation)) return NAN;
  if (g.mode == 0) return RoundToTick(e - (1.0 - g.share) * (e - extreme), tick, true);
  return RoundToTick(g.mode == 1 ? extreme + g.share * tick : 0.0, tick, true);
}

// The characters [from, from + count) of text read as a number; missing
// and non-digit characters add nothing.
int DigitsAt(const std::string& text, long long from, int count) {
  int v = 0;
  for (long long k = std::max(from, 0LL); k < from + count && k < static_cast<long long>(text.size()); ++k)
    if (text[k] >= '0' && text[k] <= '9') v = v * 10 + (text[k] - '0');
  return v;
}

long long BarKey(double dateTime) {
  const long long date = GetYear(dateTime) * 10000LL + GetMonth(dateTime) * 100LL + GetDate(dateTime);
  return date * kMinutesPerDayKey + GetHour(dateTime) * 60 + GetMinute(dateTime);
}

}  // namespace

StopScan ScanToExit(const StopMarket& m, long long entryBar, long long exitBar) {
  return {std::max(entryBar + 1, 0LL), std::min<long long>(exitBar, m.close.n - 1LL)};
}

StopScan ScanWindow(const StopMarket& m, long long entryBar, long long exitBar, long long count) {
  StopScan s = ScanToExit(m, entryBar, exitBar);
  s.last = std::min(s.last, entryBar + std::max(count, -1LL));
  return s;
}

double RoundToTick(double level, double tick, bool up) {
  if (tick == 0.0) return level;
  // An exact multiple of the tick divides to a whole number, so a quotient
  // with a fraction needs no remainder to be worked out (the remainder is
  // the costly part, paid here only on the rare whole quotients).
  const double q = level / tick;
  if (q == std::trunc(q) && std::fmod(level, tick) == 0.0) return level;
  return (up ? std::ceil(q) : std::floor(q)) * tick;
}

double ShiftedLevel(double ref, double share, int mode, double tick, int sign) {
  if (mode == 0) return (1.0 + sign * share) * ref;
  if (mode == 1) return ref + sign * share * tick * kTickFactor;
  return 0.0;
}

double PercentOrTicks(double ref, double value, int mode, double tick) {
  if (mode == 0) return value * ref / kPercent;
  if (mode == 1) return value * tick * kTickFactor;
  return 0.0;
}

StopHit FixedLevelHit(const StopMarket& m, const StopScan& s, double level, LevelSide side) {
  for (long long j = s.first; j <= s.last; ++j)
    if (Crosses(m, j, level, side)) return {j, Fill(m, j, level, side)};
  return {};
}

StopHit GiveBackHit(const StopMarket& m, const StopScan& s, int side, double r, const GiveBackRule& rule) {
  return TrailWalk(m, s, side, r, [&](double extreme) { return GiveBackLevel(rule, side, extreme, m.tick); });
}

StopHit TrailingHit(const StopMarket& m, const StopScan& s, int side, double r, double share, int mode) {
  const int sign = side == 0 ? -1 : 1;
  return TrailWalk(m, s, side, r, [&](double extreme) {
    return RoundToTick(ShiftedLevel(extreme, share, mode, m.tick, sign), m.tick, side != 0);
  });
}

StopHit BreakoutHit(const StopMarket& m, const StopScan& s, double upper, double lower) {
  for (long long j = s.first; j <= s.last; ++j) {
    if (m.high.At(j) >= upper) return {j, m.high.At(j)};
    if (m.low.At(j) <= lower) return {j, m.low.At(j)};
  }
  return {};
}

CutOff ParseCutOff(const std::string& time, bool afternoon, bool dated, const std::string& date) {
  const size_t colonAt = time.find(':');
  const long long colon = colonAt == std::string::npos ? 2 : static_cast<long long>(colonAt);
  const int hour = DigitsAt(time, colon - 2, 2) + (afternoon ? kHoursToAfternoon : 0);
  CutOff c;
  c.minutes = hour * 60 + DigitsAt(time, colon + 1, 2);
  c.dated = dated;
  const long long day = DigitsAt(date, 0, 4) * 10000LL + DigitsAt(date, 5, 2) * 100LL + DigitsAt(date, 8, 2);
  c.key = day * kMinutesPerDayKey + c.minutes;
  return c;
}

bool AtOrAfterCutOff(const CutOff& c, double dateTime) {
  if (c.dated) return BarKey(dateTime) >= c.key;
  return GetHour(dateTime) * 60 + GetMinute(dateTime) >= c.minutes;
}

void ClearEntriesFromCutOff(double* entry, int size, int start, const Bars& dateTime, const CutOff& c) {
  for (int i = std::max(start, 0); i < size; ++i)
    if (entry[i] != 0.0 && AtOrAfterCutOff(c, dateTime.At(i))) entry[i] = 0.0;
}

StopHit CutOffHit(const StopMarket& m, const StopScan& s, const CutOff& c) {
  for (long long j = s.first; j <= s.last; ++j)
    if (AtOrAfterCutOff(c, m.dateTime.At(j))) return {j, m.close.At(j)};
  return {};
}

}  // namespace chartcalc::detail

using namespace chartcalc::detail;

namespace {

// The stops are first tried on this many bars after the entry, then on
// twice as many, and so on up to the running exit.
constexpr long long kFirstWindow = 32;

bool IsSide(int side) { return side == 0 || side == 1; }

StopMarket MarketOf(SVector* const* series, const SSimulationSetting& s, double tick) {
  StopMarket m{View(*series[kClose]), View(*series[kOpen]), View(*series[kHigh]), View(*series[kLow]),
               View(*series[kDateTime])};
  m.stopLossType = s.StopLossType;
  m.tick = tick;
  return m;
}

CutOff CutOffOf(const SSimulationSetting& s) {
  return ParseCutOff(s.DayTradingStop.str(), s.ModeDayTradingStop == 1, s.BlDateTradingStop == 1,
                     s.DateTradingStop.str());
}

// The written exit: the kind is scaled in single precision, exact for 1-8.
double ExitValue(int kind, double price) {
  return static_cast<double>(static_cast<float>(kind) * static_cast<float>(kSignalKindUnit)) + price;
}

// The chain, in its order; the kind of an exit is the last link that fired.
using StopFn = int (SSimulation::*)(SIndex*, int, int, int&, double&);
struct ChainLink {
  int SSimulationSetting::*on;
  StopFn stop;
  int kind;
};
constexpr ChainLink kChain[] = {
    {&SSimulationSetting::BlMoneyManagementStop, &SSimulation::MoneyManagementStop, 1},
    {&SSimulationSetting::BlRiskTrailingStop, &SSimulation::RiskTrailingStop, 2},
    {&SSimulationSetting::BlRiskTrailingStop2, &SSimulation::RiskTrailingStop2, 3},
    {&SSimulationSetting::BlProfitTargetStop, &SSimulation::ProfitTargetStop, 4},
    {&SSimulationSetting::BlMinVariationStop, &SSimulation::MinVariationStop, 5},
    {&SSimulationSetting::BlDayTradingStop, &SSimulation::DayTradingStop, 6},
    {&SSimulationSetting::BlJumpCondStop, &SSimulation::JumpTrailingStop, 7},
    {&SSimulationSetting::BlDropCondStop, &SSimulation::DropTrailingStop, 8},
};
constexpr int kChainLinks = sizeof kChain / sizeof kChain[0];
constexpr int kDayTradingLink = 5;

struct RunningExit {
  int bar = 0;
  double price = 0.0;
  int kind = 0;
};

// Runs links [first, last) on the trade entered at bar i, replacing `exit`
// when one fires; true when one did. A stop's first trigger does not depend
// on where its scan ends, so the first window (ending at i + w, w doubling)
// in which any stop fires gives the chain's exit: a trade costs time in
// proportion to where it really ends, not to where its indicator exit lies.
bool RunLinks(SSimulation& sim, SIndex* index, int side, int i, int first, int last, RunningExit& exit) {
  for (long long w = kFirstWindow;; w *= 2) {
    const long long bound = std::min<long long>(i + w, exit.bar);
    int bar = static_cast<int>(bound);
    double price = bound == exit.bar ? exit.price : 0.0;
    int kind = -1;
    for (int k = first; k < last; ++k)
      if (sim.Setting.*kChain[k].on != 0 && (sim.*kChain[k].stop)(index, side, i, bar, price) == 0)
        kind = kChain[k].kind;
    if (kind >= 0) {
      exit = {bar, price, kind};
      return true;
    }
    if (bound >= exit.bar) return false;
  }
}

// The chain on one trade. The windows skip bars the stops need not look at
// for the exit; in date mode the day-trading stop also raises the cut-off
// flag when it fires before the stops ahead of it, even if a jump or drop
// stop then exits earlier, so until the flag is up the links up to it run
// on their own first.
bool RunChain(SSimulation& sim, SIndex* index, int side, int i, RunningExit& exit) {
  const SSimulationSetting& s = sim.Setting;
  const bool flagOpen = s.BlDayTradingStop != 0 && s.BlDateTradingStop == 1 && sim.DateCutOff == 0;
  if (!flagOpen) return RunLinks(sim, index, side, i, 0, kChainLinks, exit);
  const bool head = RunLinks(sim, index, side, i, 0, kDayTradingLink + 1, exit);
  const bool tail = RunLinks(sim, index, side, i, kDayTradingLink + 1, kChainLinks, exit);
  return head || tail;
}

// The first non-zero exit after an entry bar. Entries are visited in
// increasing order and the chain writes exits only before the next entry it
// visits, so an answer stays valid until the scan passes it: one pass over
// the exit series in all.
class NaturalExits {
 public:
  NaturalExits(const double* exit, int size) : exit_(exit), size_(size) {}
  int After(int i) {
    if (next_ <= i) {
      next_ = i + 1;
      while (next_ < size_ && exit_[next_] == 0.0) ++next_;
    }
    return next_ < size_ ? next_ : -1;
  }

 private:
  const double* exit_;
  int size_;
  int next_ = -1;
};

// Rewrites one side's entry and exit series by the chain.
void RunSide(SSimulation& sim, SIndex& index, int side) {
  SVector& entryLine = index.LineData[2 * side];
  SVector& exitLine = index.LineData[2 * side + 1];
  double* entry = entryLine.Data();
  double* exit = exitLine.Data();
  const int entries = entryLine.GetSize(), exits = exitLine.GetSize();
  NaturalExits natural(exit, exits);
  for (int i = std::max(entryLine.GetStartIndex(), 0); i < entries;) {
    if (entry[i] == 0.0) {
      ++i;
      continue;
    }
    const int naturalBar = natural.After(i);
    RunningExit run = naturalBar >= 0 ? RunningExit{naturalBar, exit[naturalBar], 0}
                                      : RunningExit{entries - 1, sim.GetEntryCompValue(side, entries - 1), 0};
    const int naturalEnd = run.bar;
    // An exit at a bar the exit series does not reach cannot be recorded:
    // the trade then keeps its own exit.
    if (!RunChain(sim, &index, side, i, run) || run.bar >= exits) {
      i = naturalEnd + 1;
      continue;
    }
    std::fill(entry + i + 1, entry + std::max(std::min(run.bar, entries), i + 1), 0.0);
    exit[run.bar] = ExitValue(run.kind, run.price);
    if (run.bar == exits - 1) sim.LastBarSignal[0][side][1] = 1;
    if (run.bar == exits - 2) sim.LastBarSignal[1][side][1] = 1;
    // Entries after the stop exit, inside the old trade, open new trades.
    i = run.bar + 1;
  }
}

}  // namespace

void SSimulation::ProcessStop(SIndex* index) {
  if (BigPointValue == 0.0) BigPointValue = 1.0;
  DateCutOff = 0;
  if (index) SetIndex(*index);
  SIndex& target = index ? *index : Index;
  if (Setting.BlDayTradingStop) {
    const CutOff cut = CutOffOf(Setting);
    const Bars dateTime = View(*working_[kDateTime]);
    for (int line : {0, 2}) {  // both entry series, whatever Position says
      SVector& entry = target.LineData[line];
      ClearEntriesFromCutOff(entry.Data(), entry.GetSize(), entry.GetStartIndex(), dateTime, cut);
    }
  }
  for (int side = GetStartMode(); side <= GetEndMode(); ++side) RunSide(*this, target, side);
  target.PreProcess();
}

int SSimulation::ProcessStopValue(int side, int bar, double price, int& exitBar, double& exitPrice) {
  if (!IsSide(side) || bar > exitBar) return -1;
  exitBar = bar;
  exitPrice = price;
  return 0;
}

namespace {

// The replacement rule for a hit found by a stop.
int Apply(SSimulation& sim, int side, const StopHit& hit, int& exitBar, double& exitPrice) {
  if (!hit.Fired()) return -1;
  return sim.ProcessStopValue(side, static_cast<int>(hit.bar), hit.price, exitBar, exitPrice);
}

// The jump (direction +1) and drop (-1) stops, alike for both sides: the
// first bar of the window whose high reaches the entry close plus the
// amount, or whose low reaches it minus the amount.
int WindowMoveStop(SSimulation& sim, const StopMarket& m, int side, int entryBar, double value, int mode, int direction,
                   int& exitBar, double& exitPrice) {
  if (!IsSide(side)) return -1;
  const double r = m.close.At(entryBar);
  const double a = PercentOrTicks(r, value, mode, sim.TickSize);
  const StopScan scan = ScanWindow(m, entryBar, exitBar, sim.Setting.MinVariationStopCount);
  const StopHit hit = direction > 0 ? BreakoutHit(m, scan, r + a, NAN) : BreakoutHit(m, scan, NAN, r - a);
  return Apply(sim, side, hit, exitBar, exitPrice);
}

}  // namespace

int SSimulation::MoneyManagementStop(SIndex*, int side, int entryBar, int& exitBar, double& exitPrice) {
  if (!IsSide(side)) return -1;
  const StopMarket m = MarketOf(working_, Setting, TickSize);
  const double level = RoundToTick(ShiftedLevel(m.close.At(entryBar), Setting.MoneyManagementStop,
                                                Setting.ModeMoneyManagementStop, TickSize, side == 0 ? -1 : 1),
                                   TickSize, side != 0);
  const LevelSide where = side == 0 ? LevelSide::kBelow : LevelSide::kAbove;
  return Apply(*this, side, FixedLevelHit(m, ScanToExit(m, entryBar, exitBar), level, where), exitBar, exitPrice);
}

int SSimulation::ProfitTargetStop(SIndex*, int side, int entryBar, int& exitBar, double& exitPrice) {
  if (!IsSide(side)) return -1;
  const StopMarket m = MarketOf(working_, Setting, TickSize);
  const double level = RoundToTick(ShiftedLevel(m.close.At(entryBar), Setting.ProfitTargetStop,
                                                Setting.ModeProfitTargetStop, TickSize, side == 0 ? 1 : -1),
                                   TickSize, side == 0);
  const LevelSide where = side == 0 ? LevelSide::kAbove : LevelSide::kBelow;
  return Apply(*this, side, FixedLevelHit(m, ScanToExit(m, entryBar, exitBar), level, where), exitBar, exitPrice);
}

int SSimulation::RiskTrailingStop(SIndex* index, int side, int entryBar, int& exitBar, double& exitPrice) {
  if (!IsSide(side)) return -1;
  const StopMarket m = MarketOf(working_, Setting, TickSize);
  const double r = m.close.At(entryBar);
  const SVector& entry = (index ? index : &Index)->LineData[2 * side];
  GiveBackRule rule;
  rule.entryPrice = entryBar >= 0 && entryBar < entry.GetSize() ? SignalPrice(entry[entryBar]) : 0.0;
  // The start distance is a fraction in mode 0 and tens of ticks otherwise.
  const int startMode = Setting.ModeRiskTrailingStopStart == 0 ? 0 : 1;
  rule.activation = ShiftedLevel(r, Setting.RiskTrailingStopStart, startMode, TickSize, side == 0 ? 1 : -1);
  rule.share = Setting.RiskTrailingStop;
  rule.mode = Setting.ModeRiskTrailingStop;
  return Apply(*this, side, GiveBackHit(m, ScanToExit(m, entryBar, exitBar), side, r, rule), exitBar, exitPrice);
}

int SSimulation::RiskTrailingStop2(SIndex*, int side, int entryBar, int& exitBar, double& exitPrice) {
  if (!IsSide(side)) return -1;
  const StopMarket m = MarketOf(working_, Setting, TickSize);
  const StopHit hit = TrailingHit(m, ScanToExit(m, entryBar, exitBar), side, m.close.At(entryBar),
                                  Setting.RiskTrailingStop2, Setting.ModeRiskTrailingStop2);
  return Apply(*this, side, hit, exitBar, exitPrice);
}

int SSimulation::MinVariationStop(SIndex*, int side, int entryBar, int& exitBar, double& exitPrice) {
  if (!IsSide(side)) return -1;
  const StopMarket m = MarketOf(working_, Setting, TickSize);
  const double r = m.close.At(entryBar);
  const double band =
      RoundToTick(PercentOrTicks(r, Setting.MinVariationStop, Setting.ModeMinVariationStop, TickSize), TickSize, true);
  const StopScan scan = ScanWindow(m, entryBar, exitBar, Setting.MinVariationStopCount);
  return Apply(*this, side, BreakoutHit(m, scan, r + band, r - band), exitBar, exitPrice);
}

int SSimulation::DayTradingStop(SIndex*, int side, int entryBar, int& exitBar, double& exitPrice) {
  if (!IsSide(side)) return -1;
  const StopMarket m = MarketOf(working_, Setting, TickSize);
  const CutOff cut = CutOffOf(Setting);
  const int result = Apply(*this, side, CutOffHit(m, ScanToExit(m, entryBar, exitBar), cut), exitBar, exitPrice);
  if (result == 0 && cut.dated) DateCutOff = 1;
  return result;
}

int SSimulation::JumpTrailingStop(SIndex*, int side, int entryBar, int& exitBar, double& exitPrice) {
  return WindowMoveStop(*this, MarketOf(working_, Setting, TickSize), side, entryBar, Setting.JumpValue,
                        Setting.JumpMode, +1, exitBar, exitPrice);
}

int SSimulation::DropTrailingStop(SIndex*, int side, int entryBar, int& exitBar, double& exitPrice) {
  return WindowMoveStop(*this, MarketOf(working_, Setting, TickSize), side, entryBar, Setting.DropValue,
                        Setting.DropMode, -1, exitBar, exitPrice);
}

// A negative bar count has no meaning as a holding limit and leaves the
// exit alone.
int SSimulation::MaxBarStop(SIndex*, int side, int entryBar, int& exitBar, double& exitPrice) {
  const long long held = static_cast<long long>(exitBar) - entryBar;
  if (!IsSide(side) || Setting.MaxBarStop < 0 || held <= Setting.MaxBarStop) return -1;
  const int bar = entryBar + Setting.MaxBarStop;
  return ProcessStopValue(side, bar, GetEntryCompValue(side, bar), exitBar, exitPrice);
}
