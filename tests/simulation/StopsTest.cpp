// The stops one by one and the chain that writes their exits. Markets are
// flat at 100 except for the bars each case writes; every level, bar and
// price expected is worked by hand from those bars. The chain is also
// checked against a plain sequential chain written here, on random markets.
#include <gtest/gtest.h>

#include <chrono>
#include <random>
#include <vector>

#include "SimTestUtil.h"
#include "simulation/Stops.h"

using namespace simtest;
using namespace chartcalc::detail;

namespace {

using StopFn = int (SSimulation::*)(SIndex*, int, int, int&, double&);
constexpr StopFn kLoss = &SSimulation::MoneyManagementStop, kGiveBack = &SSimulation::RiskTrailingStop,
                 kTrail = &SSimulation::RiskTrailingStop2, kTarget = &SSimulation::ProfitTargetStop,
                 kBand = &SSimulation::MinVariationStop, kDay = &SSimulation::DayTradingStop,
                 kJump = &SSimulation::JumpTrailingStop, kDrop = &SSimulation::DropTrailingStop,
                 kMaxBar = &SSimulation::MaxBarStop;
// The chain's order, and the switches of its links.
constexpr StopFn kChain[] = {kLoss, kGiveBack, kTrail, kTarget, kBand, kDay, kJump, kDrop};
using S = SSimulationSetting;
constexpr int S::*kSwitch[] = {&S::BlMoneyManagementStop, &S::BlRiskTrailingStop, &S::BlRiskTrailingStop2,
                               &S::BlProfitTargetStop,    &S::BlMinVariationStop, &S::BlDayTradingStop,
                               &S::BlJumpCondStop,        &S::BlDropCondStop};

struct Bar {
  int at;
  double open, high, low, close;
};

Market Flat(int n, std::initializer_list<Bar> bars) {
  Market m(std::vector<double>(n, 100.0));
  for (const Bar& b : bars) {
    m.open[b.at] = b.open;
    m.high[b.at] = b.high;
    m.low[b.at] = b.low;
    m.close[b.at] = b.close;
  }
  return m;
}

// n zeros with the given bars set.
std::vector<double> At(int n, std::initializer_list<std::pair<int, double>> bars) {
  std::vector<double> v(n, 0.0);
  for (auto [bar, value] : bars) v[bar] = value;
  return v;
}

// A simulation over the market with the signal lines given (see SetSignals).
SSimulation Stopping(const Market& m, std::initializer_list<std::vector<double>> signals, int position = 2) {
  SSimulation sim;
  Bind(sim, m);
  SetSignals(sim, signals);
  sim.Setting.Position = position;
  return sim;
}

// Every stop's distance and mode at once: each stop reads only its own.
void SetAll(SSimulationSetting& s, double v, int mode) {
  s.MoneyManagementStop = s.ProfitTargetStop = s.RiskTrailingStop = s.RiskTrailingStop2 = s.MinVariationStop =
      s.JumpValue = s.DropValue = v;
  s.ModeMoneyManagementStop = s.ModeProfitTargetStop = s.ModeRiskTrailingStop = s.ModeRiskTrailingStop2 =
      s.ModeMinVariationStop = s.JumpMode = s.DropMode = mode;
  s.MaxBarStop = static_cast<int>(v);
}

struct StopCase {
  StopFn stop;
  int side, type;  // type: StopLossType
  double v;
  int mode;
  std::initializer_list<Bar> bars;
  int bar;  // -1: the exit stays at bar 9
  double price;
  double tick = 0.0;
  int count = 10;
};

// Entry close 100 at bar 0 (entry signal price 99), exit at bar 9.
TEST(Stops, EachStopExitsAtItsFirstTriggerAndFillsAsItsLevelSays) {
  // Trailing 5 %: bar 3's own high of 120 would lift the level (114) above
  // its low; from the highs before it the level is 104.5, at bar 4 114.
  const std::initializer_list<Bar> rise = {
      {1, 104, 104, 100, 104}, {2, 108, 110, 105, 108}, {3, 115, 120, 113, 115}, {4, 113, 113, 110, 111}};
  const std::initializer_list<Bar> fall = {
      {1, 96, 100, 96, 96}, {2, 92, 95, 90, 92}, {3, 85, 87, 80, 85}, {4, 87, 90, 87, 89}};  // level 84 at bar 4
  // Give-back, live once the extreme reaches 102 (bar 1's low would hit it
  // early); at bar 3: 99 + 0.5 x (110 - 99), or 110 - 2 ticks (no x 10).
  const std::initializer_list<Bar> giveBack = {
      {1, 100, 101.5, 96, 100}, {2, 108, 110, 104, 108}, {3, 106, 106, 104, 105}};
  const StopCase cases[] = {
      // Loss stop at 95 / 105: touched, gapped (worse open), close only.
      {kLoss, 0, 1, .05, 0, {{3, 99, 99, 94, 98}}, 3, 95},
      {kLoss, 0, 1, .05, 0, {{3, 93, 94, 92, 93}}, 3, 93},
      {kLoss, 0, 0, .05, 0, {{3, 99, 99, 90, 96}, {5, 96, 96, 94, 94.5}}, 5, 94.5},
      {kLoss, 1, 1, .05, 0, {{4, 107, 108, 106, 107}}, 4, 107},
      {kLoss, 1, 0, .05, 0, {{4, 100, 110, 100, 104}, {6, 105, 105, 105, 105}}, 6, 105},
      // Another mode puts the level at 0: a long never exits, a short at once.
      {kLoss, 0, 1, .05, 2, {{3, 1, 1, 1, 1}}, -1, 0},
      {kLoss, 1, 1, .05, 2, {{1, 98, 99, 97, 98}}, 1, 98},
      // Tens of ticks: 2 x 0.25 x 10 = 5. Off the grid 98.7 rounds to 98.5, 101.3 to 101.5.
      {kLoss, 0, 1, 2, 1, {{2, 96, 96, 95, 95}}, 2, 95, .25},
      {kLoss, 1, 1, 2, 1, {{2, 104, 105, 104, 104}}, 2, 105, .25},
      {kLoss, 0, 1, .013, 0, {{2, 99, 99, 98.6, 99}}, -1, 0, .25},
      {kLoss, 1, 1, .013, 0, {{2, 101, 101.4, 101, 101}}, -1, 0, .25},
      // Target at 105 / 95: a gap fills at the better open.
      {kTarget, 0, 1, .05, 0, {{2, 108, 109, 107, 108}}, 2, 108},
      {kTarget, 0, 1, .05, 0, {{2, 101, 106, 100, 102}}, 2, 105},
      {kTarget, 1, 1, .05, 0, {{2, 93, 94, 92, 93}}, 2, 93},
      {kTarget, 0, 0, .05, 0, {{2, 100, 110, 100, 104}, {3, 105.5, 105.5, 105.5, 105.5}}, 3, 105.5},
      {kTarget, 0, 1, .013, 0, {{2, 101, 101.4, 101, 101}}, -1, 0, .25},
      {kTrail, 0, 1, .05, 0, rise, 4, 113},
      {kTrail, 1, 1, .05, 0, fall, 4, 87},
      {kGiveBack, 0, 1, .5, 0, giveBack, 3, 104.5, .25},
      {kGiveBack, 0, 1, 2, 1, giveBack, 3, 106, .25},
      // Band 100 +- 2 (high first), its window, ticks, rounding 0.3 up to 0.5.
      {kBand, 1, 1, 2, 0, {{2, 100, 103, 97, 100}}, 2, 103},
      {kBand, 0, 1, 2, 0, {{4, 100, 103, 100, 100}}, -1, 0, 0, 3},
      {kBand, 0, 1, 2, 0, {{4, 100, 103, 100, 100}}, 4, 103, 0, 4},
      {kBand, 0, 1, 2, 0, {{1, 100, 103, 100, 100}}, -1, 0, 0, -5},
      {kBand, 0, 1, 2, 0, {{8, 100, 100, 97.5, 100}}, 8, 97.5, 0, 2147483647},
      {kBand, 0, 1, 1, 1, {{1, 100, 102.4, 100, 100}, {2, 100, 102.5, 100, 100}}, 2, 102.5, .25},
      {kBand, 0, 1, .3, 0, {{1, 100, 100.4, 100, 100}, {2, 100, 100.5, 100, 100}}, 2, 100.5, .25},
      // Jump to 103 and drop to 97, alike for both sides.
      {kJump, 1, 1, 3, 0, {{1, 100, 102.9, 90, 100}, {2, 100, 103, 100, 100}}, 2, 103},
      {kDrop, 0, 1, 3, 0, {{1, 100, 110, 97.1, 100}, {3, 100, 100, 97, 100}}, 3, 97},
      // Held 9 bars: more than 3 ends at bar 3's close; 9 and -1 do nothing.
      {kMaxBar, 1, 1, 3, 0, {{3, 100, 100, 100, 104}}, 3, 104},
      {kMaxBar, 0, 1, 9, 0, {}, -1, 0},
      {kMaxBar, 0, 1, -1, 0, {}, -1, 0},
  };
  for (const StopCase& c : cases) {
    SSimulation sim = Stopping(Flat(10, c.bars), {At(10, {{0, 99}}), {}, At(10, {{0, 99}})});
    sim.SetTickSize(c.tick);
    SetAll(sim.Setting, c.v, c.mode);
    sim.Setting.StopLossType = c.type;
    sim.Setting.MinVariationStopCount = c.count;
    int bar = 9;
    double price = -1.0;
    const int row = static_cast<int>(&c - cases);
    EXPECT_EQ((sim.*c.stop)(nullptr, c.side, 0, bar, price), c.bar < 0 ? -1 : 0) << "row " << row;
    EXPECT_EQ(bar, c.bar < 0 ? 9 : c.bar) << "row " << row;
    EXPECT_DOUBLE_EQ(price, c.bar < 0 ? -1.0 : c.price) << "row " << row;
  }
}

TEST(Stops, NoStopReplacesAnEarlierExitOrServesAForeignSide) {
  SSimulation sim = Stopping(Flat(10, {{4, 100, 103, 100, 100}}), {At(10, {{0, 100}})});
  SetAll(sim.Setting, 0.0, 2);  // levels and bands 0: most stops would fire at bar 1
  for (StopFn stop : {kLoss, kGiveBack, kTrail, kTarget, kBand, kDay, kJump, kDrop, kMaxBar})
    for (int side : {-1, 2}) {
      int bar = 9;
      double price = 1.0;
      EXPECT_EQ((sim.*stop)(nullptr, side, 0, bar, price), -1);
      EXPECT_EQ(bar, 9);
    }
  sim.Setting.MinVariationStop = 2.0;  // the band fires at bar 4, after the exit at 3
  sim.Setting.ModeMinVariationStop = 0;
  int bar = 3;
  double price = 1.0;
  EXPECT_EQ(sim.MinVariationStop(nullptr, 0, 0, bar, price), -1);
  EXPECT_EQ(bar, 3);
  // The rule alone: an equal bar replaces, a later one does not.
  EXPECT_EQ(sim.ProcessStopValue(1, 3, 7.0, bar, price), 0);
  EXPECT_EQ(sim.ProcessStopValue(0, 4, 8.0, bar, price), -1);
  EXPECT_EQ(sim.ProcessStopValue(2, 1, 8.0, bar, price), -1);
  EXPECT_EQ(price, 7.0);
}

// ---- the cut-off ------------------------------------------------------------------

TEST(StopsCutOff, ShortOrGarbledTextsReadWithoutOverrun) {
  struct Case {
    const char *time, *date;
    bool afternoon;
    int minutes;
    long long day;
  } cases[] = {
      {"02:30", "2024-01-05", true, 14 * 60 + 30, 20240105},
      {"2:30", "2024-1-5", true, 14 * 60 + 30, 20240100},
      {"", "", true, 12 * 60, 0},
      {"0930", "2024", false, 9 * 60, 20240000},
      {"ab:cd", "xxxx-yy-zz", false, 0, 0},
      {":", "2", false, 0, 20000},
  };
  for (const Case& c : cases) {
    const CutOff cut = ParseCutOff(c.time, c.afternoon, true, c.date);
    EXPECT_EQ(cut.minutes, c.minutes) << c.time;
    EXPECT_EQ(cut.key, c.day * 100000 + c.minutes) << c.date;
  }
}

// Two days of half-hourly bars from 13:00 to 16:30, closes 100 + bar.
Market TwoAfternoons() {
  Market m(std::vector<double>(16, 100.0));
  for (int i = 0; i < 16; ++i) {
    m.dateTime[i] = (i < 8 ? 20240104 : 20240105) * 1000000.0 + (13 + i % 8 / 2) * 10000 + i % 2 * 3000;
    m.close[i] = 100.0 + i;
  }
  return m;
}

void DayTrading(SSimulationSetting& s, const char* time, const char* date = nullptr) {
  s.BlDayTradingStop = 1;
  s.DayTradingStop = time;
  s.BlDateTradingStop = date != nullptr;
  if (date) s.DateTradingStop = date;
}

TEST(StopsCutOff, TimeModeClearsLateEntriesOfEveryDayAndClosesAtTheCutOff) {
  // Long in at 13:00, 13:30 (inside), 15:00 (late) and 13:30 on day two; a
  // late short entry goes too, though only longs are traded.
  SSimulation sim = Stopping(
      TwoAfternoons(), {At(16, {{0, 1}, {1, 1}, {4, 1}, {9, 1}}), At(16, {{15, 1}}), At(16, {{6, 1}}), At(16, {})}, 0);
  DayTrading(sim.Setting, "02:30");  // afternoon: 14:30, bars 3 and 11
  sim.DateCutOff = 1;
  sim.ProcessStop();
  const SVector* line = sim.Index.LineData;
  EXPECT_EQ(line[0][1] + line[0][4] + line[2][6], 0.0);
  EXPECT_DOUBLE_EQ(line[1][3], Signal(103, 6));
  EXPECT_DOUBLE_EQ(line[1][11], Signal(111, 6));
  EXPECT_EQ(line[1][15], 0.0);  // pairing drops the exit left without a trade
  EXPECT_EQ(sim.DateCutOff, 0);
}

TEST(StopsCutOff, DateModeClosesBothSidesAtTheDateAndRaisesTheFlag) {
  SSimulation sim =
      Stopping(TwoAfternoons(), {At(16, {{2, 1}, {10, 1}}), At(16, {{15, 1}}), At(16, {{1, 1}}), At(16, {{13, 1}})});
  DayTrading(sim.Setting, "02:00", "2024-01-05");  // bar 10
  sim.ProcessStop();
  EXPECT_EQ(sim.Index.LineData[0][10], 0.0);
  EXPECT_DOUBLE_EQ(sim.Index.LineData[1][10], Signal(110, 6));
  EXPECT_DOUBLE_EQ(sim.Index.LineData[3][10], Signal(110, 6));
  EXPECT_EQ(sim.DateCutOff, 1);
}

// The day-trading stop runs before the jump stop: the date reached raises
// the flag even when the jump exits earlier. Daily bars; the cut-off is bar
// 35, past the first stretch of bars the chain tries.
TEST(StopsCutOff, DateFlagRisesEvenWhenAJumpExitsBeforeTheDate) {
  Market m = Flat(40, {{2, 100, 104, 100, 100}});
  for (int i = 0; i < 40; ++i) m.dateTime[i] = i < 31 ? 20240101 + i : 20240201 + (i - 31);
  SSimulation sim = Stopping(m, {At(40, {{0, 100}}), At(40, {{39, 100}})}, 0);
  DayTrading(sim.Setting, "00:00", "2024-02-05");
  sim.Setting.ModeDayTradingStop = 0;
  sim.Setting.BlJumpCondStop = 1;
  sim.Setting.JumpValue = 3.0;
  sim.ProcessStop();
  EXPECT_DOUBLE_EQ(sim.Index.LineData[1][2], Signal(104, 7));
  EXPECT_EQ(sim.DateCutOff, 1);
}

// ---- the chain --------------------------------------------------------------------

// A long trade from bar 0 to the indicator's exit at bar 5; loss 95, target
// 105, band 98-102, jump 103, trailing 10 %. Links on by chain position.
TEST(StopsChain, LaterStopWinsAnEqualBarAndAnyStopBeatsTheIndicatorExit) {
  struct Case {
    std::initializer_list<int> on;
    std::initializer_list<Bar> bars;
    int bar;
    double value;
  } cases[] = {
      {{0, 3}, {{3, 100, 106, 94, 100}}, 3, Signal(105, 4)},
      {{4, 6}, {{2, 100, 104, 100, 100}}, 2, Signal(104, 7)},
      {{0, 2}, {{1, 100, 100, 94, 99}, {2, 85, 85, 85, 85}}, 1, Signal(95, 1)},  // the trailing stop, later
      {{0}, {{5, 96, 96, 95, 95}}, 5, Signal(95, 1)},
  };
  for (const Case& c : cases) {
    SSimulation sim = Stopping(Flat(10, c.bars), {At(10, {{0, 100}}), At(10, {{5, 100}})}, 0);
    SetAll(sim.Setting, 0.05, 0);
    sim.Setting.RiskTrailingStop2 = 0.10;
    sim.Setting.MinVariationStop = 2.0;
    sim.Setting.JumpValue = 3.0;
    for (int link : c.on) sim.Setting.*kSwitch[link] = 1;
    sim.ProcessStop();
    for (int j = 0; j < 10; ++j) EXPECT_DOUBLE_EQ(sim.Index.LineData[1][j], j == c.bar ? c.value : 0.0) << j;
  }
}

// The loss stop at 95 hits bar 3: the entry at bar 2 lies inside the trade,
// the one at bar 5 opens the next trade, to the indicator's exit at bar 8.
// The indicator given is copied first, then rewritten and paired.
TEST(StopsChain, EntriesInsideTheStoppedTradeGoAndLaterOnesTrade) {
  SSimulation sim = Stopping(Flat(12, {{3, 96, 96, 94, 95}}), {}, 0);
  sim.Setting.BlMoneyManagementStop = 1;
  sim.Setting.MoneyManagementStop = 0.05;
  sim.SetBigPointValue(0.0);
  SIndex given("system", kIndexSystem);
  given.LineData[0] = Series(At(12, {{0, 100}, {2, 100}, {5, 100}}));
  given.LineData[1] = Series(At(12, {{8, 100}, {10, 100}}));  // 10: no entry before it, dropped by pairing
  given.LineData[2] = given.LineData[3] = Series(At(12, {}));
  sim.ProcessStop(&given);
  EXPECT_EQ(given.LineData[0][2], 0.0);
  EXPECT_EQ(given.LineData[0][5], 100.0);
  EXPECT_DOUBLE_EQ(given.LineData[1][3], Signal(95, 1));
  EXPECT_EQ(given.LineData[1][8], 100.0);
  EXPECT_EQ(given.LineData[1][10], 0.0);
  EXPECT_EQ(sim.Index.LineData[0][2], 100.0);  // the copy keeps the signals as given
  EXPECT_EQ(sim.BigPointValue, 1.0);
}

TEST(StopsChain, StopExitsOnTheLastTwoBarsRaiseTheirFlagsOnly) {
  struct Case {
    int side, fireBar, last, beforeLast;
  } cases[] = {{0, 9, 1, 0}, {0, 8, 0, 1}, {1, 9, 1, 0}, {1, 7, 0, 0}};
  for (const Case& c : cases) {
    SSimulation sim = Stopping(Flat(10, {{c.fireBar, 100, 106, 94, 100}}),  // crosses 95 and 105
                               {At(10, {{0, 100}}), At(10, {}), At(10, {{0, 100}}), At(10, {})}, c.side);
    sim.Setting.BlMoneyManagementStop = 1;
    sim.Setting.MoneyManagementStop = 0.05;
    sim.ProcessStop();
    EXPECT_EQ(sim.LastBarSignal[0][c.side][1], c.last) << c.fireBar;
    EXPECT_EQ(sim.LastBarSignal[1][c.side][1], c.beforeLast) << c.fireBar;
    EXPECT_EQ(sim.LastBarSignal[0][1 - c.side][1] + sim.LastBarSignal[0][c.side][0], 0);
  }
}

// Each entry: its exit found by a fresh scan, every stop called in order on
// the whole trade, the series rewritten as the chain says.
void LiteralChain(SSimulation& sim, const Market& m) {
  const SSimulationSetting& s = sim.Setting;
  const CutOff cut =
      ParseCutOff(s.DayTradingStop.str(), s.ModeDayTradingStop == 1, s.BlDateTradingStop == 1, s.DateTradingStop.str());
  for (int k : {0, 2})
    if (s.BlDayTradingStop)
      ClearEntriesFromCutOff(sim.Index.LineData[k].Data(), m.Size(), 0, {m.dateTime.data(), m.Size()}, cut);
  for (int side = sim.GetStartMode(); side <= sim.GetEndMode(); ++side) {
    double* entry = sim.Index.LineData[2 * side].Data();
    double* exit = sim.Index.LineData[2 * side + 1].Data();
    for (int i = 0; i < m.Size(); ++i) {
      if (entry[i] == 0.0) continue;
      int e = i + 1;
      while (e < m.Size() && exit[e] == 0.0) ++e;
      double p = e < m.Size() ? exit[e] : m.close[--e];
      const int natural = e;
      int kind = 0;
      for (int k = 0; k < 8; ++k)
        if (s.*kSwitch[k] && (sim.*kChain[k])(nullptr, side, i, e, p) == 0) kind = k + 1;
      if (kind > 0) {
        for (int j = i + 1; j < e; ++j) entry[j] = 0.0;
        exit[e] = kind * 100000000.0 + p;
      }
      i = kind > 0 ? e : natural;
    }
  }
  sim.Index.PreProcess();
}

TEST(StopsChain, ChainMatchesTheLiteralChainOnRandomMarkets) {
  std::mt19937 rng(7);
  std::uniform_real_distribution<double> step(-1.5, 1.6), unit(0.0, 1.0);
  for (int run = 0; run < 200; ++run) {
    const int n = 40 + run % 3 * 40;  // past the first stretch the chain tries
    Market m(std::vector<double>(n, 100.0));
    for (int i = 0; i < n; ++i) {
      m.open[i] = (i ? m.close[i - 1] : 100.0) + step(rng) * 0.5;
      m.close[i] = (i ? m.close[i - 1] : 100.0) + step(rng);
      m.high[i] = std::max(m.open[i], m.close[i]) + unit(rng);
      m.low[i] = std::min(m.open[i], m.close[i]) - unit(rng);
      m.dateTime[i] = (20240101 + i / 8) * 1000000.0 + (9 + i % 8) * 10000;
    }
    SSimulation fast;
    Bind(fast, m);
    fast.Index.LineData[0] = fast.Index.LineData[1] = fast.Index.LineData[2] = fast.Index.LineData[3] = SVector(n);
    for (int k = 0; k < 4; ++k)
      for (int i = 0; i < n; ++i) fast.Index.LineData[k][i] = unit(rng) < 0.15 ? m.close[i] : 0.0;
    SSimulationSetting& s = fast.Setting;
    DayTrading(s, "04:00", run % 4 ? nullptr : "2024-01-05");  // 16:00
    for (auto flag : kSwitch) s.*flag = unit(rng) < 0.5;
    s.StopLossType = run % 2;
    s.JumpValue = s.DropValue = 2.0;
    s.MinVariationStopCount = 1 + run % 50;
    s.RiskTrailingStopStart = 0.01;
    fast.SetTickSize(0.01);
    SSimulation literal(fast);
    fast.ProcessStop();
    LiteralChain(literal, m);
    for (int k = 0; k < 4; ++k)
      for (int i = 0; i < n; ++i) ASSERT_EQ(fast.Index.LineData[k][i], literal.Index.LineData[k][i]) << run;
    ASSERT_EQ(fast.DateCutOff, literal.DateCutOff) << run;
  }
}

// Entries on every bar of a long rise, the indicator's exit at the end: the
// target cuts each trade after one bar while the loss stop never fires.
// Scanning every trade to the far exit would take minutes.
TEST(StopsChain, DenseEntriesBeforeAFarExitStayLinear) {
  const int n = 1000000;
  Market m(std::vector<double>(n, 0.0));
  std::vector<double> entries(n), exits(n, 0.0);
  for (int i = 0; i < n; ++i) {
    entries[i] = m.close[i] = m.open[i] = m.low[i] = 100.0 + 0.1 * i;
    m.high[i] = m.close[i] + 0.05;
  }
  exits[n - 1] = m.close[n - 1];
  SSimulation sim = Stopping(m, {entries, exits}, 0);
  sim.Setting.BlMoneyManagementStop = sim.Setting.BlProfitTargetStop = 1;
  sim.Setting.ProfitTargetStop = 1;  // 1 x 0.01 x 10: the next bar's high reaches it
  sim.Setting.ModeProfitTargetStop = 1;
  sim.SetTickSize(0.01);
  const auto start = std::chrono::steady_clock::now();
  sim.ProcessStop();
  EXPECT_LT(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count(), 5.0);
  EXPECT_EQ(static_cast<int>(sim.Index.LineData[1][n - 1] / 100000000.0), 4);
}

}  // namespace
