// SSimulationSetting: the settings of one back-test — the sides traded, how
// volumes and costs are counted, and the eight stops with their parameters
// and display colours. Every field is public and named as the host knows it.
#pragma once

#include "chartcalc/SString.h"

struct SSimulationSetting {
  SSimulationSetting() { SetDefaultValue(); }

  // Fields 2-62 to their defaults; DateTradingStop becomes today's local
  // date ("%Y-%m-%d"). The symbol name is left as it is.
  void SetDefaultValue();

  SString SymbolName;
  int Position = 2;  // 0 long, 1 short, 2 both; anything else is long
  int OrderStart = 0;
  int OrderType = 0;
  int StopLossType = 1;  // 0: stops on the close; else on high/low with gap fills
  int SignalAction = 0;
  int DispSignalAction = 1;
  int ModeOrderEntryPrice = 2;
  int ModeOrderExitPrice = 2;
  int ModeVolume = 0;  // 0: TradeVolume contracts; else 1 (and percent cumulation when 1)
  int TradeVolume = 1;
  int BlUseAlarm = 0;
  SString AlarmFileName;
  double EntryCommission = 0.0;
  int ModeEntryCommission = 0;  // 0 rate, else a fixed amount per unit
  double ExitCommission = 0.0;
  int ModeExitCommission = 0;
  double Slippage = 0.0005;
  int ModeSlippage = 0;
  int BlMoneyManagementStop = 0;
  double MoneyManagementStop = 0.02;
  int ModeMoneyManagementStop = 0;
  int BlProfitTargetStop = 0;
  double ProfitTargetStop = 0.02;
  int ModeProfitTargetStop = 0;
  int BlRiskTrailingStop = 0;
  double RiskTrailingStop = 0.6;
  int ModeRiskTrailingStop = 0;
  double RiskTrailingStopStart = 0.02;
  int ModeRiskTrailingStopStart = 0;
  int BlRiskTrailingStop2 = 0;
  double RiskTrailingStop2 = 0.025;
  int ModeRiskTrailingStop2 = 0;
  int BlMinVariationStop = 0;
  double MinVariationStop = 0.02;
  int ModeMinVariationStop = 0;
  int MinVariationStopCount = 10;
  int BlDayTradingStop = 0;
  SString DayTradingStop;  // "HH:MM"
  int BlDateTradingStop = 0;
  SString DateTradingStop;  // "YYYY-MM-DD"
  int ModeDayTradingStop = 1;
  int BlMaxBarStop = 0;
  int MaxBarStop = 30;
  int MoneyManagementColor = 0xFFFF00;
  int RiskTrailingColor = 0x80;
  int RiskTrailing2Color = 0xFF00FF;
  int ProfitTargetColor = 0xFF;
  int MinVariationColor = 0xFF0000;
  int DayTradingColor = 0xFF00;
  int EntryCond = 0;
  int EntryRange = 5;
  int ExitCond = 0;
  int ExitRange = 5;
  int BlJumpCondStop = 0;
  double JumpValue = 100.0;
  int JumpMode = 0;
  int JumpCondColor = 0x808000;
  int BlDropCondStop = 0;
  double DropValue = 100.0;
  int DropMode = 0;
  int DropCondColor = 0x8080;
};
