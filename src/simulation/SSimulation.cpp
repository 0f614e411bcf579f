// Construction, copying, binding, setters and the cost prices of a
// back-test.
#include "chartcalc/SSimulation.h"

#include <cmath>

#include "chartcalc/TableDb.h"
#include "simulation/Signals.h"
#include "simulation/Stops.h"

using namespace chartcalc::detail;

namespace {

using Column = SVector STradeTable::*;
constexpr Column kTradeColumns[STradeTable::kColumns] = {
    &STradeTable::Direction,    &STradeTable::EntryDateTime, &STradeTable::EntryPrice,    &STradeTable::EntryCostPrice,
    &STradeTable::ExitDateTime, &STradeTable::ExitPrice,     &STradeTable::ExitCostPrice, &STradeTable::Quantity,
    &STradeTable::ProfitLoss,   &STradeTable::ReturnFactor,  &STradeTable::CumProfitLoss, &STradeTable::CumReturnFactor,
    &STradeTable::Runup,        &STradeTable::Drawdown,      &STradeTable::EntryEff,      &STradeTable::ExitEff,
    &STradeTable::TotalEff,     &STradeTable::BarsHeld};

// The rate and fixed parts of a cost: a setting in rate mode (0) adds to
// the rate, in any other mode to the fixed amount.
struct CostParts {
  double rate = 0.0;
  double fixed = 0.0;
  void Add(double value, int mode) { (mode == 0 ? rate : fixed) += value; }
};

CostParts EntryCosts(const SSimulationSetting& s) {
  CostParts c;
  c.Add(s.EntryCommission, s.ModeEntryCommission);
  c.Add(s.Slippage, s.ModeSlippage);
  return c;
}

CostParts ExitCosts(const SSimulationSetting& s) {
  CostParts c;
  c.Add(s.ExitCommission, s.ModeExitCommission);
  c.Add(s.Slippage, s.ModeSlippage);
  return c;
}

}  // namespace

SVector& STradeTable::Column(int k) { return this->*kTradeColumns[k >= 0 && k < kColumns ? k : 0]; }
const SVector& STradeTable::Column(int k) const { return this->*kTradeColumns[k >= 0 && k < kColumns ? k : 0]; }

SSimulation::SSimulation() {
  const SString dir = getIndexDir();
  SimDataFile = dir + "Sim.dat";
  SumInfoFile = dir + "Rpt/SumInfo.rpt";
  SummaryFile = dir + "Rpt/Summary0.rpt";
  TradeListFile = dir + "Rpt/TradeList0.rpt";
  PointAtOwnCopies();
}

SSimulation::SSimulation(const SSimulation& other) { *this = other; }

// Everything is copied; a binding to the other simulation's own copies is
// moved to this one's copies, so that the copy never points into an object
// that may go away before it.
SSimulation& SSimulation::operator=(const SSimulation& other) {
  if (this == &other) return *this;
  TickSize = other.TickSize;
  FunctionList = other.FunctionList;
  Index = other.Index;
  PricePerUnit = other.PricePerUnit;
  BigPointValue = other.BigPointValue;
  BlMargin = other.BlMargin;
  Margin = other.Margin;
  CompressStart = other.CompressStart;
  CompressEnd = other.CompressEnd;
  CompressStep = other.CompressStep;
  Setting = other.Setting;
  SimDataFile = other.SimDataFile;
  SumInfo = other.SumInfo;
  for (int k = 0; k < kSpareTexts; ++k) SpareText[k] = other.SpareText[k];
  Name = other.Name;
  SummaryCount = other.SummaryCount;
  for (int k = 0; k < kSummaryRows; ++k) Summary[k] = other.Summary[k];
  SummaryRow = other.SummaryRow;
  Trades = other.Trades;
  for (int b = 0; b < 2; ++b)
    for (int d = 0; d < 2; ++d)
      for (int e = 0; e < 2; ++e) LastBarSignal[b][d][e] = other.LastBarSignal[b][d][e];
  SumInfoFile = other.SumInfoFile;
  SummaryFile = other.SummaryFile;
  TradeListFile = other.TradeListFile;
  DateCutOff = other.DateCutOff;
  for (int k = 0; k < kPriceSlots; ++k) {
    ownWorking_[k] = other.ownWorking_[k];
    ownSource_[k] = other.ownSource_[k];
    auto rebind = [&](SVector* p) -> SVector* {
      if (p == &other.ownWorking_[k]) return &ownWorking_[k];
      if (p == &other.ownSource_[k]) return &ownSource_[k];
      return p;
    };
    working_[k] = rebind(other.working_[k]);
    source_[k] = rebind(other.source_[k]);
  }
  return *this;
}

SSimulation::~SSimulation() = default;

void SSimulation::PointAtOwnCopies() {
  for (int k = 0; k < kPriceSlots; ++k) {
    working_[k] = &ownWorking_[k];
    source_[k] = &ownSource_[k];
  }
}

void SSimulation::SetVariablePointer(SVector* close, SVector* open, SVector* high, SVector* low, SVector* volume,
                                     SVector* dateTime, SVector* openInterest, SVector* amount, SVector* spread) {
  SVector* const given[kPriceSlots] = {close, open, high, low, volume, dateTime, openInterest, amount, spread};
  for (int k = 0; k < kPriceSlots; ++k) {
    // A null series reads as an empty one rather than crashing a run.
    if (!given[k]) ownWorking_[k].SetSize(0);
    working_[k] = source_[k] = given[k] ? given[k] : &ownWorking_[k];
  }
}

void SSimulation::SetVariable(SVector& close, SVector& open, SVector& high, SVector& low, SVector& volume,
                              SVector& dateTime, SVector& openInterest, SVector& amount, SVector& spread) {
  SVector* const given[kPriceSlots] = {&close, &open, &high, &low, &volume, &dateTime, &openInterest, &amount, &spread};
  for (int k = 0; k < kPriceSlots; ++k) {
    ownWorking_[k] = *given[k];
    ownSource_[k] = *given[k];
  }
  PointAtOwnCopies();
}

void SSimulation::SetIndex(SIndex& index) { Index = index; }

void SSimulation::SetVariableToIndex() {
  Index.SetVariable(*working_[kClose], *working_[kOpen], *working_[kHigh], *working_[kLow], *working_[kVolume],
                    *working_[kDateTime], *working_[kOpenInterest], *working_[kAmount], *working_[kSpread]);
  Index.SetFunction(FunctionList);
}

double SSimulation::EntryPrice(double price, int side) {
  const CostParts c = EntryCosts(Setting);
  const double b = BigPointValue;
  return side == 0 ? (b * price * (1.0 + c.rate) + c.fixed) / b : (b * price * (1.0 - c.rate) - c.fixed) / b;
}

double SSimulation::ExitPrice(double price, int side) {
  const CostParts c = ExitCosts(Setting);
  const double b = BigPointValue;
  return side == 0 ? (b * price * (1.0 - c.rate) - c.fixed) / b : (b * price * (1.0 + c.rate) + c.fixed) / b;
}

double SSimulation::GetCommission(double price) {
  const CostParts c = EntryCosts(Setting);
  const double b = BigPointValue;
  return (b * price * c.rate + c.fixed) / b;
}

double SSimulation::RoundTickSize(int mode, double price) {
  return mode == 0 || mode == 1 ? RoundToTick(price, TickSize, mode == 0) : price;
}

int SSimulation::GetStartMode() { return Setting.Position == 1 ? 1 : 0; }
int SSimulation::GetEndMode() { return Setting.Position == 1 || Setting.Position == 2 ? 1 : 0; }

double SSimulation::GetResult(int k, int bar) {
  if (k < 0 || k > 3) return 0.0;
  return SignalPrice(View(Index.LineData[k]).At(bar));
}

double SSimulation::GetEntryCompValue(int, int bar) { return View(*working_[kClose]).At(bar); }

double SSimulation::GetExitCompValue(int side, int bar) {
  if (Setting.StopLossType == 0) return View(*working_[kClose]).At(bar);
  return View(*working_[side == 1 ? kHigh : kLow]).At(bar);
}

double SSimulation::GetStopLossValue(int side, int bar, double level) {
  if (Setting.StopLossType == 0) return View(*working_[kClose]).At(bar);
  const double open = View(*working_[kOpen]).At(bar);
  return side == 1 ? std::fmax(open, level) : std::fmin(open, level);
}
