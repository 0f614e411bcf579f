// The stops one by one and the chain that writes their exits. Markets are
// flat at 100 except for the bars each case writes; every expected level,
// bar and price is worked by hand from those bars. The chain is also
// checked against a plain sequential chain written here, on random markets.
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <random>
#include <vector>

#include "SimTestUtil.h"
#include "simulation/Stops.h"

using namespace simtest;
using namespace chartcalc::detail;

namespace {

using StopFn = int (SSimulation::*)(SIndex*, int, int, int&, double&);
using Configure = std::function<void(SSimulationSetting&)>;

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

// Every stop off, Position both sides; the caller switches on what it tests.
void Prepare(SSimulation& sim, const Market& m, std::initializer_list<std::vector<double>> lines = {}) {
  Bind(sim, m);
  sim.Setting.Position = 2;
  SetSignals(sim, lines);
}

struct Exit {
  int ret;
  int bar;
  double price;
};

// One stop on a trade entered at bar 0 whose exit is at `exitBar` so far.
Exit Call(SSimulation& sim, StopFn stop, int side, int exitBar, int entryBar = 0) {
  Exit e{0, exitBar, -1.0};
  e.ret = (sim.*stop)(nullptr, side, entryBar, e.bar, e.price);
  return e;
}

// bar -1: the stop leaves the exit at `before` alone.
void ExpectExit(const Exit& got, int bar, double price, const char* name, int before = 9) {
  EXPECT_EQ(got.ret, bar < 0 ? -1 : 0) << name;
  EXPECT_EQ(got.bar, bar < 0 ? before : bar) << name;
  if (bar >= 0) {
    EXPECT_DOUBLE_EQ(got.price, price) << name;
  }
}

struct StopCase {
  const char* name;
  StopFn stop;
  int side;
  Configure set;
  std::initializer_list<Bar> bars;
  int bar;  // -1: the stop does not fire before the exit at bar 9
  double price;
  double tick = 0.0;
};

void RunCases(const std::vector<StopCase>& cases) {
  for (const StopCase& c : cases) {
    SSimulation sim;
    Prepare(sim, Flat(10, c.bars), {At(10, {{0, 100}}), {}, At(10, {{0, 100}})});
    sim.SetTickSize(c.tick);
    c.set(sim.Setting);
    ExpectExit(Call(sim, c.stop, c.side, 9), c.bar, c.price, c.name);
  }
}

Configure Loss(double v, int mode, int type) {
  return [=](SSimulationSetting& s) {
    s.MoneyManagementStop = v;
    s.ModeMoneyManagementStop = mode;
    s.StopLossType = type;
  };
}

Configure Target(double v, int mode, int type) {
  return [=](SSimulationSetting& s) {
    s.ProfitTargetStop = v;
    s.ModeProfitTargetStop = mode;
    s.StopLossType = type;
  };
}

// Loss stop at 95 / 105 and profit target at 105 / 95 from the entry close 100.
TEST(Stops, LevelStopsFillAtTheLevelOrTheOpenBeyondIt) {
  const auto loss = &SSimulation::MoneyManagementStop;
  const auto target = &SSimulation::ProfitTargetStop;
  RunCases({
      {"long loss touched", loss, 0, Loss(0.05, 0, 1), {{3, 99, 99, 94, 98}}, 3, 95.0},
      {"long loss gapped: worse open", loss, 0, Loss(0.05, 0, 1), {{3, 93, 94, 92, 93}}, 3, 93.0},
      {"long loss on the close only", loss, 0, Loss(0.05, 0, 0), {{3, 99, 99, 90, 96}, {5, 96, 96, 94, 94.5}}, 5, 94.5},
      {"short loss gapped", loss, 1, Loss(0.05, 0, 1), {{4, 107, 108, 106, 107}}, 4, 107.0},
      {"short loss close equal to the level",
       loss,
       1,
       Loss(0.05, 0, 0),
       {{4, 100, 110, 100, 104}, {6, 105, 105, 105, 105}},
       6,
       105.0},
      {"long loss in another mode never fires", loss, 0, Loss(0.05, 2, 1), {{3, 1, 1, 1, 1}}, -1, 0},
      {"short loss in another mode fires at once, at the open",
       loss,
       1,
       Loss(0.05, 2, 1),
       {{1, 98, 99, 97, 98}},
       1,
       98.0},
      {"long target gapped: better open", target, 0, Target(0.05, 0, 1), {{2, 108, 109, 107, 108}}, 2, 108.0},
      {"long target touched", target, 0, Target(0.05, 0, 1), {{2, 101, 106, 100, 102}}, 2, 105.0},
      {"short target gapped: better open", target, 1, Target(0.05, 0, 1), {{2, 93, 94, 92, 93}}, 2, 93.0},
      {"long target on the close only",
       target,
       0,
       Target(0.05, 0, 0),
       {{2, 100, 110, 100, 104}, {3, 105.5, 105.5, 105.5, 105.5}},
       3,
       105.5},
  });
}

// Tick mode counts tens of ticks. Off the tick grid a long's loss stop
// rounds down and a short's up; a target rounds the other way.
TEST(Stops, TickModeAndTickRoundingMoveTheLevel) {
  struct Case {
    const char* name;
    StopFn stop;
    int side;
    Configure set;
    Bar bar;
    int fires;  // bar, or -1
    double price;
  };
  const auto loss = &SSimulation::MoneyManagementStop;
  const auto target = &SSimulation::ProfitTargetStop;
  const Case cases[] = {
      // 2 x 0.25 x 10 = 5 ticks' worth of 5.0: long 95.0, short 105.0.
      {"long loss 2 in mode 1", loss, 0, Loss(2, 1, 1), {2, 96, 96, 95, 95}, 2, 95.0},
      {"long loss 2 in mode 1 not reached", loss, 0, Loss(2, 1, 1), {2, 96, 96, 95.25, 95.5}, -1, 0},
      {"short loss 2 in mode 1", loss, 1, Loss(2, 1, 1), {2, 104, 105, 104, 104}, 2, 105.0},
      // 98.7 rounds down to 98.5, 101.3 up to 101.5.
      {"long loss rounded down", loss, 0, Loss(0.013, 0, 1), {2, 99, 99, 98.6, 99}, -1, 0},
      {"long loss rounded down, reached", loss, 0, Loss(0.013, 0, 1), {2, 99, 99, 98.5, 99}, 2, 98.5},
      {"short loss rounded up", loss, 1, Loss(0.013, 0, 1), {2, 101, 101.4, 101, 101}, -1, 0},
      {"long target rounded up", target, 0, Target(0.013, 0, 1), {2, 101, 101.4, 101, 101}, -1, 0},
      {"long target rounded up, reached", target, 0, Target(0.013, 0, 1), {2, 101, 101.5, 101, 101}, 2, 101.5},
      {"short target rounded down", target, 1, Target(0.013, 0, 1), {2, 99, 99, 98.6, 99}, -1, 0},
  };
  for (const Case& c : cases) {
    SSimulation sim;
    Prepare(sim, Flat(10, {c.bar}));
    sim.SetTickSize(0.25);
    c.set(sim.Setting);
    ExpectExit(Call(sim, c.stop, c.side, 9), c.fires, c.price, c.name);
  }
}

TEST(Stops, TrailingStopFollowsTheExtremeOfTheBarsBeforeTheTestedOne) {
  const auto trail = &SSimulation::RiskTrailingStop2;
  const Configure fivePercent = [](SSimulationSetting& s) {
    s.RiskTrailingStop2 = 0.05;
    s.ModeRiskTrailingStop2 = 0;
  };
  RunCases({
      // Bar 3's own high of 120 would put the level at 114 above its low of
      // 113; the level comes from the high of 110 before it (104.5).
      // At bar 4 the extreme is 120: level 114, filled at the lower open 113.
      {"long",
       trail,
       0,
       fivePercent,
       {{1, 104, 104, 100, 104}, {2, 108, 110, 105, 108}, {3, 115, 120, 113, 115}, {4, 113, 113, 110, 111}},
       4,
       113.0},
      // Mirror: lows 96, 90, 80 -> level 1.05 x 80 = 84 at bar 4.
      {"short",
       trail,
       1,
       fivePercent,
       {{1, 96, 100, 96, 96}, {2, 92, 95, 90, 92}, {3, 85, 87, 80, 85}, {4, 87, 90, 87, 89}},
       4,
       87.0},
      {"long never falls back", trail, 0, fivePercent, {{1, 100, 101, 99, 100}}, -1, 0},
  });
}

// Give back half the profit once the extreme is 5 % above the entry close;
// E is the entry signal's price 99, not the close of 100.
TEST(Stops, ProfitProtectingStopWaitsForActivationAndKeepsPartOfTheProfit) {
  const auto protect = &SSimulation::RiskTrailingStop;
  const auto rule = [](double share, int mode) -> Configure {
    return [=](SSimulationSetting& s) {
      s.RiskTrailingStop = share;
      s.ModeRiskTrailingStop = mode;
      s.RiskTrailingStopStart = 0.05;
      s.ModeRiskTrailingStopStart = 0;
    };
  };
  const std::initializer_list<Bar> bars = {
      {1, 103, 104, 101, 103}, {2, 97, 104, 95, 96}, {3, 108, 110, 104, 108}, {4, 109.75, 109.75, 104, 105}};
  for (auto [share, mode, bar, price] : {std::tuple{0.5, 0, 4, 104.5},    // 99 + 0.5 x (110 - 99)
                                         std::tuple{2.0, 1, 4, 109.5},    // 110 - 2 ticks, no factor 10
                                         std::tuple{0.5, 7, -1, 0.0}}) {  // level 0
    SSimulation sim;
    Prepare(sim, Flat(10, bars), {At(10, {{0, 99}})});
    sim.SetTickSize(0.25);
    rule(share, mode)(sim.Setting);
    ExpectExit(Call(sim, protect, 0, 9), bar, price, "long give-back");
  }
}

// Band 2 around 100, jump to 103, drop to 97, window 3 bars.
TEST(Stops, BandJumpAndDropStopsLookOnlyInsideTheirWindow) {
  const auto band = &SSimulation::MinVariationStop;
  const auto jump = &SSimulation::JumpTrailingStop;
  const auto drop = &SSimulation::DropTrailingStop;
  const auto window = [](int count, int mode = 0, double v = 2.0) -> Configure {
    return [=](SSimulationSetting& s) {
      s.MinVariationStop = v;
      s.ModeMinVariationStop = mode;
      s.MinVariationStopCount = count;
      s.JumpValue = s.DropValue = 3.0;
    };
  };
  RunCases({
      {"band: high first", band, 1, window(3), {{2, 100, 103, 97, 100}}, 2, 103.0},
      {"band: low", band, 0, window(3), {{2, 100, 101, 97.5, 100}}, 2, 97.5},
      {"band: after the window", band, 0, window(3), {{4, 100, 103, 100, 100}}, -1, 0},
      {"band: window reaches it", band, 0, window(4), {{4, 100, 103, 100, 100}}, 4, 103.0},
      {"band: negative window", band, 0, window(-5), {{1, 100, 103, 100, 100}}, -1, 0},
      {"band: huge window", band, 0, window(2147483647), {{8, 100, 103, 100, 100}}, 8, 103.0},
      {"band: 1 x 0.25 x 10",
       band,
       0,
       window(3, 1, 1.0),
       {{1, 100, 102.4, 100, 100}, {2, 100, 102.5, 100, 100}},
       2,
       102.5,
       0.25},
      // 0.3 % of 100 rounds up to the tick: 0.5.
      {"band: rounded up",
       band,
       0,
       window(3, 0, 0.3),
       {{1, 100, 100.4, 100, 100}, {2, 100, 100.5, 100, 100}},
       2,
       100.5,
       0.25},
      {"jump, short side alike", jump, 1, window(3), {{1, 100, 102.9, 90, 100}, {2, 100, 103, 100, 100}}, 2, 103.0},
      {"drop", drop, 0, window(3), {{1, 100, 110, 97.1, 100}, {3, 100, 100, 97, 100}}, 3, 97.0},
  });
}

TEST(Stops, WindowStopFiringAfterTheRunningExitChangesNothing) {
  SSimulation sim;
  Prepare(sim, Flat(10, {{4, 100, 103, 100, 100}}));
  sim.Setting.MinVariationStopCount = 9;
  ExpectExit(Call(sim, &SSimulation::MinVariationStop, 0, 3), -1, 0, "band after exit", 3);
}

TEST(Stops, ProcessStopValueReplacesOnlyAnExitNotEarlier) {
  SSimulation sim;
  struct Case {
    int side, bar, ret, exitBar;
  } cases[] = {{0, 5, 0, 5}, {1, 4, 0, 4}, {0, 6, -1, 5}, {2, 3, -1, 5}, {-1, 3, -1, 5}};
  for (const Case& c : cases) {
    int exitBar = 5;
    double price = 1.0;
    EXPECT_EQ(sim.ProcessStopValue(c.side, c.bar, 7.0, exitBar, price), c.ret) << c.side << " " << c.bar;
    EXPECT_EQ(exitBar, c.exitBar);
    EXPECT_DOUBLE_EQ(price, c.ret == 0 ? 7.0 : 1.0);
  }
}

TEST(Stops, SidesOtherThanLongAndShortAreRefusedByEveryStop) {
  SSimulation sim;
  Prepare(sim, Flat(10, {{1, 50, 150, 50, 100}}), {At(10, {{0, 100}})});
  sim.Setting.MaxBarStop = 0;
  sim.Setting.ModeMoneyManagementStop = 2;  // a short-side level of 0 fires at once
  const StopFn all[] = {
      &SSimulation::MoneyManagementStop, &SSimulation::RiskTrailingStop, &SSimulation::RiskTrailingStop2,
      &SSimulation::ProfitTargetStop,    &SSimulation::MinVariationStop, &SSimulation::DayTradingStop,
      &SSimulation::JumpTrailingStop,    &SSimulation::DropTrailingStop, &SSimulation::MaxBarStop};
  for (StopFn stop : all)
    for (int side : {-1, 2, 7}) ExpectExit(Call(sim, stop, side, 9), -1, 0, "foreign side");
}

TEST(Stops, MaxBarStopCutsLongHoldsAtTheClose) {
  SSimulation sim;
  Prepare(sim, Flat(10, {{5, 100, 100, 100, 104}}));
  sim.Setting.MaxBarStop = 3;
  ExpectExit(Call(sim, &SSimulation::MaxBarStop, 1, 9, 2), 5, 104.0, "held 7 > 3");
  EXPECT_EQ(Call(sim, &SSimulation::MaxBarStop, 0, 5, 2).ret, -1);  // held exactly 3
  sim.Setting.MaxBarStop = -1;
  EXPECT_EQ(Call(sim, &SSimulation::MaxBarStop, 0, 9, 2).ret, -1);
}

// ---- the cut-off ------------------------------------------------------------------

TEST(StopsCutOff, ShortOrGarbledTextsReadWithoutOverrun) {
  struct Case {
    const char* time;
    bool afternoon;
    const char* date;
    int minutes;
    long long day;
  } cases[] = {
      {"02:30", true, "2024-01-05", 14 * 60 + 30, 20240105},
      {"2:30", true, "2024-01-05", 14 * 60 + 30, 20240105},
      {"14:05", false, "2024-1-5", 14 * 60 + 5, 20240100},  // month "1-", day past the end
      {"", true, "", 12 * 60, 0},
      {"0930", false, "2024", 9 * 60 + 0, 20240000},  // no colon: minutes at 3-4 read "0"
      {"ab:cd", false, "xxxx-yy-zz", 0, 0},
      {":", false, "2", 0, 2 * 10000},
  };
  for (const Case& c : cases) {
    const CutOff cut = ParseCutOff(c.time, c.afternoon, true, c.date);
    EXPECT_EQ(cut.minutes, c.minutes) << c.time;
    EXPECT_EQ(cut.key, c.day * 100000 + c.minutes) << c.date;
  }
}

// Two days of half-hourly bars from 13:00 to 16:30.
Market TwoAfternoons() {
  Market m(std::vector<double>(16, 100.0));
  for (int i = 0; i < 16; ++i) {
    const int minutes = 13 * 60 + 30 * (i % 8);
    m.dateTime[i] = (i < 8 ? 20240104 : 20240105) * 1000000.0 + minutes / 60 * 10000 + minutes % 60 * 100;
    m.close[i] = 100.0 + i;
  }
  return m;
}

TEST(StopsCutOff, TimeModeClearsLateEntriesOfEveryDayAndClosesAtTheCutOff) {
  SSimulation sim;
  // Long: in at 13:00 (bar 0) and 13:30 (bar 1, inside the trade), again at
  // 15:00 (bar 4, after the cut-off) and on day two at 13:30 (bar 9).
  // Short: one entry at 16:00 on day one, cleared though Position is long only.
  Prepare(sim, TwoAfternoons(),
          {At(16, {{0, 100}, {1, 101}, {4, 104}, {9, 109}}), At(16, {{15, 115}}), At(16, {{6, 106}}), At(16, {})});
  sim.Setting.Position = 0;
  sim.Setting.BlDayTradingStop = 1;
  sim.Setting.DayTradingStop = "02:30";
  sim.Setting.ModeDayTradingStop = 1;
  sim.DateCutOff = 1;
  sim.ProcessStop();
  // 14:30 is bar 3 on day one, bar 11 on day two.
  EXPECT_EQ(sim.Index.LineData[0][1], 0.0);
  EXPECT_EQ(sim.Index.LineData[0][4], 0.0);
  EXPECT_EQ(sim.Index.LineData[2][6], 0.0);
  EXPECT_DOUBLE_EQ(sim.Index.LineData[1][3], Signal(103, 6));
  EXPECT_DOUBLE_EQ(sim.Index.LineData[1][11], Signal(111, 6));
  EXPECT_EQ(sim.Index.LineData[1][15], 0.0);  // the indicator's exit no longer closes anything
  EXPECT_EQ(sim.DateCutOff, 0);
}

TEST(StopsCutOff, DateModeClosesAtTheDateAndRaisesTheFlag) {
  SSimulation sim;
  Prepare(sim, TwoAfternoons(),
          {At(16, {{2, 102}, {10, 110}}), At(16, {{15, 115}}), At(16, {{1, 101}}), At(16, {{13, 113}})});
  sim.Setting.BlDayTradingStop = 1;
  sim.Setting.BlDateTradingStop = 1;
  sim.Setting.DayTradingStop = "02:00";
  sim.Setting.ModeDayTradingStop = 1;
  sim.Setting.DateTradingStop = "2024-01-05";
  sim.ProcessStop();
  // From 2024-01-05 14:00 (bar 10) on, no entry; both trades close there.
  EXPECT_EQ(sim.Index.LineData[0][10], 0.0);
  EXPECT_DOUBLE_EQ(sim.Index.LineData[1][10], Signal(110, 6));
  EXPECT_DOUBLE_EQ(sim.Index.LineData[3][10], Signal(110, 6));
  EXPECT_EQ(sim.DateCutOff, 1);
}

// The day-trading stop runs before the jump stop: reaching the date raises
// the flag even when the jump stop then exits earlier. Daily bars from
// 2024-01-01; the cut-off 2024-02-05 00:00 is bar 35, past the first
// stretch of bars the chain tries.
TEST(StopsCutOff, DateFlagRisesEvenWhenAJumpExitsBeforeTheDate) {
  Market m = Flat(40, {{2, 100, 104, 100, 100}});
  for (int i = 0; i < 40; ++i) m.dateTime[i] = i < 31 ? 20240101 + i : 20240201 + (i - 31);
  SSimulation sim;
  Prepare(sim, m, {At(40, {{0, 100}}), At(40, {{39, 100}})});
  sim.Setting.Position = 0;
  sim.Setting.BlDayTradingStop = sim.Setting.BlDateTradingStop = sim.Setting.BlJumpCondStop = 1;
  sim.Setting.DayTradingStop = "00:00";
  sim.Setting.ModeDayTradingStop = 0;
  sim.Setting.DateTradingStop = "2024-02-05";
  sim.Setting.JumpValue = 3.0;
  sim.ProcessStop();
  EXPECT_DOUBLE_EQ(sim.Index.LineData[1][2], Signal(104, 7));
  EXPECT_EQ(sim.Index.LineData[1][35], 0.0);
  EXPECT_EQ(sim.DateCutOff, 1);
}

// ---- the chain --------------------------------------------------------------------

struct ChainCase {
  const char* name;
  Configure set;
  std::initializer_list<Bar> bars;
  int bar;
  double value;
};

// A long trade from bar 0 to the indicator's exit at bar 5.
TEST(StopsChain, LaterStopWinsAnEqualBarAndEveryStopBeatsTheIndicatorExit) {
  const Configure lossAndTarget = [](SSimulationSetting& s) {
    s.BlMoneyManagementStop = s.BlProfitTargetStop = 1;
    s.MoneyManagementStop = s.ProfitTargetStop = 0.05;
  };
  const Configure bandAndJump = [](SSimulationSetting& s) {
    s.BlMinVariationStop = s.BlJumpCondStop = 1;
    s.MinVariationStop = 2.0;
    s.JumpValue = 3.0;
  };
  const Configure lossThenTrailing = [](SSimulationSetting& s) {
    s.BlMoneyManagementStop = s.BlRiskTrailingStop2 = 1;
    s.MoneyManagementStop = 0.02;
    s.RiskTrailingStop2 = 0.10;
  };
  const ChainCase cases[] = {
      {"loss and target on one bar: target", lossAndTarget, {{3, 100, 106, 94, 100}}, 3, Signal(105, 4)},
      {"band and jump on one bar: jump", bandAndJump, {{2, 100, 104, 100, 100}}, 2, Signal(104, 7)},
      // The loss stop exits at bar 1; the trailing stop, at 90 then, would
      // only fire at bar 2, after the exit it has to beat.
      {"earlier bar wins over a later link",
       lossThenTrailing,
       {{1, 100, 100, 97, 99}, {2, 85, 85, 85, 85}},
       1,
       Signal(98, 1)},
      {"loss on the exit bar replaces it", lossAndTarget, {{5, 96, 96, 95, 95}}, 5, Signal(95, 1)},
  };
  for (const ChainCase& c : cases) {
    SSimulation sim;
    Prepare(sim, Flat(10, c.bars), {At(10, {{0, 100}}), At(10, {{5, 100}})});
    sim.Setting.Position = 0;
    c.set(sim.Setting);
    sim.ProcessStop();
    const SVector& exit = sim.Index.LineData[1];
    for (int j = 0; j < 10; ++j) EXPECT_DOUBLE_EQ(exit[j], j == c.bar ? c.value : 0.0) << c.name << " bar " << j;
  }
}

TEST(StopsChain, EntriesInsideTheStoppedTradeGoAndLaterOnesTrade) {
  SSimulation sim;
  // Loss stop at 95 hits bar 3; the entry at bar 2 is inside the trade, the
  // one at bar 5 opens the next trade up to the indicator's exit at bar 8.
  Prepare(sim, Flat(12, {{3, 96, 96, 94, 95}}), {At(12, {{0, 100}, {2, 100}, {5, 100}}), At(12, {{8, 100}})});
  sim.Setting.Position = 0;
  sim.Setting.BlMoneyManagementStop = 1;
  sim.Setting.MoneyManagementStop = 0.05;
  sim.ProcessStop();
  EXPECT_EQ(sim.Index.LineData[0][2], 0.0);
  EXPECT_EQ(sim.Index.LineData[0][5], 100.0);
  EXPECT_DOUBLE_EQ(sim.Index.LineData[1][3], Signal(95, 1));
  EXPECT_EQ(sim.Index.LineData[1][8], 100.0);
  sim.SetHistoryToZero();
  sim.SetHistory();
  EXPECT_EQ(sim.Trades.GetCount(), 2);
}

TEST(StopsChain, StopExitsOnTheLastTwoBarsRaiseTheirFlagsOnly) {
  struct Case {
    int side, fireBar;
    int last, beforeLast;
  } cases[] = {{0, 9, 1, 0}, {0, 8, 0, 1}, {1, 9, 1, 0}, {1, 7, 0, 0}};
  for (const Case& c : cases) {
    SSimulation sim;
    // The loss stop at 95 / 105 fires where the bar dips / spikes.
    Prepare(sim, Flat(10, {{c.fireBar, 100, 106, 94, 100}}),
            {At(10, {{0, 100}}), At(10, {}), At(10, {{0, 100}}), At(10, {})});
    sim.Setting.Position = c.side;
    sim.Setting.BlMoneyManagementStop = 1;
    sim.Setting.MoneyManagementStop = 0.05;
    sim.ProcessStop();
    EXPECT_EQ(sim.LastBarSignal[0][c.side][1], c.last) << c.side << " " << c.fireBar;
    EXPECT_EQ(sim.LastBarSignal[1][c.side][1], c.beforeLast) << c.side << " " << c.fireBar;
    EXPECT_EQ(sim.LastBarSignal[0][1 - c.side][1], 0);
  }
}

TEST(StopsChain, GivenIndicatorIsCopiedFirstThenRewrittenAndPaired) {
  SSimulation sim;
  Prepare(sim, Flat(10, {{3, 96, 96, 94, 95}}));
  sim.Setting.Position = 0;
  sim.Setting.BlMoneyManagementStop = 1;
  sim.Setting.MoneyManagementStop = 0.05;
  sim.SetBigPointValue(0.0);
  SIndex given("system", kIndexSystem);
  given.LineData[0] = Series(At(10, {{0, 100}}));
  given.LineData[1] = Series(At(10, {{6, 100}}));  // left without an entry by the stop: pairing drops it
  given.LineData[2] = given.LineData[3] = Series(At(10, {}));
  sim.ProcessStop(&given);
  EXPECT_DOUBLE_EQ(given.LineData[1][3], Signal(95, 1));
  EXPECT_EQ(given.LineData[1][6], 0.0);
  EXPECT_EQ(sim.Index.LineData[1][3], 0.0);  // the copy holds the signals as given
  EXPECT_EQ(sim.Index.LineData[1][6], 100.0);
  EXPECT_EQ(sim.BigPointValue, 1.0);
}

// ---- the chain against a literal one ----------------------------------------------

const StopFn kLinks[] = {&SSimulation::MoneyManagementStop, &SSimulation::RiskTrailingStop,
                         &SSimulation::RiskTrailingStop2,   &SSimulation::ProfitTargetStop,
                         &SSimulation::MinVariationStop,    &SSimulation::DayTradingStop,
                         &SSimulation::JumpTrailingStop,    &SSimulation::DropTrailingStop};

// Each entry: its natural exit found by a fresh scan, every stop called in
// order on the whole trade, then the series rewritten as the chain says.
void LiteralChain(SSimulation& sim, const Market& m) {
  const SSimulationSetting& s = sim.Setting;
  if (s.BlDayTradingStop) {
    const CutOff cut = ParseCutOff(s.DayTradingStop.str(), s.ModeDayTradingStop == 1, s.BlDateTradingStop == 1,
                                   s.DateTradingStop.str());
    for (int k : {0, 2})
      ClearEntriesFromCutOff(sim.Index.LineData[k].Data(), m.Size(), 0, Bars{m.dateTime.data(), m.Size()}, cut);
  }
  const int on[] = {s.BlMoneyManagementStop, s.BlRiskTrailingStop, s.BlRiskTrailingStop2, s.BlProfitTargetStop,
                    s.BlMinVariationStop,    s.BlDayTradingStop,   s.BlJumpCondStop,      s.BlDropCondStop};
  for (int side = sim.GetStartMode(); side <= sim.GetEndMode(); ++side) {
    SVector& entry = sim.Index.LineData[2 * side];
    SVector& exit = sim.Index.LineData[2 * side + 1];
    for (int i = 0; i < entry.GetSize();) {
      if (entry[i] == 0.0) {
        ++i;
        continue;
      }
      int e = entry.GetSize() - 1;
      double p = sim.GetEntryCompValue(side, e);
      for (int j = i + 1; j < exit.GetSize(); ++j)
        if (exit[j] != 0.0) {
          e = j;
          p = exit[j];
          break;
        }
      const int natural = e;
      int kind = 0;
      for (int k = 0; k < 8; ++k)
        if (on[k] && (sim.*kLinks[k])(&sim.Index, side, i, e, p) == 0) kind = k + 1;
      if (kind == 0) {
        i = natural + 1;
        continue;
      }
      for (int j = i + 1; j < e; ++j) entry[j] = 0.0;
      exit[e] = kind * 100000000.0 + p;
      i = e + 1;
    }
  }
  sim.Index.PreProcess();
}

TEST(StopsChain, WindowedChainMatchesTheLiteralChainOnRandomMarkets) {
  std::mt19937 rng(7);
  std::uniform_real_distribution<double> step(-1.5, 1.6), unit(0.0, 1.0);
  for (int run = 0; run < 200; ++run) {
    const int n = 40 + run % 3 * 40;  // beyond the first window too
    Market m(std::vector<double>(n, 100.0));
    double price = 100.0;
    for (int i = 0; i < n; ++i) {
      m.open[i] = price + step(rng) * 0.5;
      price += step(rng);
      m.close[i] = price;
      m.high[i] = std::max(m.open[i], price) + unit(rng);
      m.low[i] = std::min(m.open[i], price) - unit(rng);
      m.dateTime[i] = (20240101 + i / 8) * 1000000.0 + (9 + i % 8) * 10000;
    }
    std::vector<double> lines[4];
    for (auto& line : lines) {
      line.assign(n, 0.0);
      for (int i = 0; i < n; ++i)
        if (unit(rng) < 0.15) line[i] = m.close[i];
    }
    SSimulation fast, literal;
    Prepare(fast, m, {lines[0], lines[1], lines[2], lines[3]});
    SSimulationSetting& s = fast.Setting;
    s.StopLossType = run % 2;
    s.BlMoneyManagementStop = unit(rng) < 0.5;
    s.BlRiskTrailingStop = unit(rng) < 0.5;
    s.BlRiskTrailingStop2 = unit(rng) < 0.5;
    s.BlProfitTargetStop = unit(rng) < 0.5;
    s.BlMinVariationStop = unit(rng) < 0.5;
    s.BlJumpCondStop = s.BlDropCondStop = unit(rng) < 0.5;
    s.BlDayTradingStop = unit(rng) < 0.3;
    s.BlDateTradingStop = run % 4 == 0;
    s.DayTradingStop = "04:00";
    s.DateTradingStop = "2024-01-05";
    s.JumpValue = s.DropValue = 2.0;
    s.MinVariationStopCount = 1 + run % 50;
    s.RiskTrailingStopStart = 0.01;
    fast.SetTickSize(0.01);
    literal = fast;
    fast.ProcessStop();
    LiteralChain(literal, m);
    for (int k = 0; k < 4; ++k)
      for (int i = 0; i < n; ++i)
        ASSERT_EQ(fast.Index.LineData[k][i], literal.Index.LineData[k][i]) << "run " << run << " line " << k;
    ASSERT_EQ(fast.DateCutOff, literal.DateCutOff) << "run " << run;
  }
}

// Entries on every bar of a long rise, the indicator's exit at the end: the
// target cuts each trade after a few bars while the loss stop never fires.
// Scanning every trade to the far exit would take minutes.
TEST(StopsChain, DenseEntriesBeforeAFarExitStayLinear) {
  const int n = 1000000;
  Market m(std::vector<double>(n, 0.0));
  std::vector<double> entries(n), exits(n, 0.0);
  for (int i = 0; i < n; ++i) {
    m.close[i] = m.open[i] = m.low[i] = 100.0 + 0.1 * i;
    m.high[i] = m.close[i] + 0.05;
    entries[i] = m.close[i];
  }
  exits[n - 1] = m.close[n - 1];
  SSimulation sim;
  Prepare(sim, m, {entries, exits});
  sim.Setting.Position = 0;
  sim.Setting.BlMoneyManagementStop = sim.Setting.BlProfitTargetStop = 1;
  sim.Setting.ProfitTargetStop = 1;  // 1 x 0.01 x 10: the next bar's high
  sim.Setting.ModeProfitTargetStop = 1;
  sim.SetTickSize(0.01);
  const auto start = std::chrono::steady_clock::now();
  sim.ProcessStop();
  const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  EXPECT_LT(seconds, 5.0);
  EXPECT_EQ(static_cast<int>(sim.Index.LineData[1][1] / 100000000.0), 4);  // the target
  EXPECT_EQ(static_cast<int>(sim.Index.LineData[1][n - 1] / 100000000.0), 4);
}

}  // namespace
