// SSimulationSetting: the settings of one back-test — the sides traded, how
// volumes and costs are counted, and the eight stops with their parameters
// and display colours. Every field is public and named as the host knows it.
#pragma once

#include "chartcalc/SString.h"

struct SSimulationSetting {
  // Every field but SymbolName takes its default from SetDefaultValue, the
  // one place the defaults are written.
  SSimulationSetting() { SetDefaultValue(); }

  // Every field but the symbol name to its default; DateTradingStop
  // becomes today's local date ("%Y-%m-%d").
  void SetDefaultValue();

  SString SymbolName;
  int Position;  // 0 long, 1 short, 2 both; anything else is long
  int OrderStart;
  int OrderType;
  int StopLossType;  // 0: stops on the close; else on high/low with gap fills
  int SignalAction;
  int DispSignalAction;
  int ModeOrderEntryPrice;
  int ModeOrderExitPrice;
  int ModeVolume;  // 0: TradeVolume contracts; else 1 (and percent cumulation when 1)
  int TradeVolume;
  int BlUseAlarm;
  SString AlarmFileName;
  double EntryCommission;
  int ModeEntryCommission;  // 0 rate, else a fixed amount per unit
  double ExitCommission;
  int ModeExitCommission;
  double Slippage;
  int ModeSlippage;
  int BlMoneyManagementStop;
  double MoneyManagementStop;
  int ModeMoneyManagementStop;
  int BlProfitTargetStop;
  double ProfitTargetStop;
  int ModeProfitTargetStop;
  int BlRiskTrailingStop;
  double RiskTrailingStop;
  int ModeRiskTrailingStop;
  double RiskTrailingStopStart;
  int ModeRiskTrailingStopStart;
  int BlRiskTrailingStop2;
  double RiskTrailingStop2;
  int ModeRiskTrailingStop2;
  int BlMinVariationStop;
  double MinVariationStop;
  int ModeMinVariationStop;
  int MinVariationStopCount;
  int BlDayTradingStop;
  SString DayTradingStop;  // "HH:MM"
  int BlDateTradingStop;
  SString DateTradingStop;  // "YYYY-MM-DD"
  int ModeDayTradingStop;
  int BlMaxBarStop;
  int MaxBarStop;
  int MoneyManagementColor;
  int RiskTrailingColor;
  int RiskTrailing2Color;
  int ProfitTargetColor;
  int MinVariationColor;
  int DayTradingColor;
  int EntryCond;
  int EntryRange;
  int ExitCond;
  int ExitRange;
  int BlJumpCondStop;
  double JumpValue;
  int JumpMode;
  int JumpCondColor;
  int BlDropCondStop;
  double DropValue;
  int DropMode;
  int DropCondColor;
};
