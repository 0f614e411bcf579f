// Binding, copying and the cost prices.
#include <gtest/gtest.h>

#include <memory>

#include "SimTestUtil.h"

using namespace simtest;

namespace {

TEST(SimulationCosts, RatesAndFixedAmountsOnBothSides) {
  SSimulation sim;
  sim.Setting.EntryCommission = 0.001;
  sim.Setting.Slippage = 0.0;
  EXPECT_DOUBLE_EQ(sim.EntryPrice(100.0, 0), 100.1);
  EXPECT_DOUBLE_EQ(sim.EntryPrice(100.0, 1), 99.9);
  sim.Setting.ModeSlippage = 1;
  sim.Setting.Slippage = 0.5;
  sim.SetBigPointValue(2.0);
  // (2 x 100 x 1.001 + 0.5) / 2 and the exit without commission.
  EXPECT_DOUBLE_EQ(sim.EntryPrice(100.0, 0), (200.2 + 0.5) / 2.0);
  EXPECT_DOUBLE_EQ(sim.ExitPrice(100.0, 0), (200.0 - 0.5) / 2.0);
  EXPECT_DOUBLE_EQ(sim.ExitPrice(100.0, 1), (200.0 + 0.5) / 2.0);
  EXPECT_DOUBLE_EQ(sim.GetCommission(100.0), (0.2 + 0.5) / 2.0);
}

TEST(SimulationCosts, RoundTickSizeOnlyMovesPricesOffTheGrid) {
  SSimulation sim;
  sim.SetTickSize(0.25);
  EXPECT_DOUBLE_EQ(sim.RoundTickSize(0, 10.1), 10.25);
  EXPECT_DOUBLE_EQ(sim.RoundTickSize(1, 10.1), 10.0);
  EXPECT_DOUBLE_EQ(sim.RoundTickSize(2, 10.1), 10.1);
  for (int mode : {0, 1, 2}) EXPECT_DOUBLE_EQ(sim.RoundTickSize(mode, 10.25), 10.25);
}

TEST(SimulationBinding, CopiesKeepTheirOwnSeriesAndNullSeriesReadEmpty) {
  auto sim = std::make_unique<SSimulation>();
  Bind(*sim, Market({10, 11, 12}));
  SSimulation copy(*sim);
  sim.reset();  // the copy must not read the destroyed simulation's series
  copy.Setting.StopLossType = 0;
  EXPECT_DOUBLE_EQ(copy.GetExitCompValue(0, 2), 12.0);
  SSimulation unbound;
  unbound.SetVariablePointer(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
  EXPECT_DOUBLE_EQ(unbound.GetEntryCompValue(0, 0), 0.0);
}

}  // namespace
