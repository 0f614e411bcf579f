// The stop chain and the stops. (Being written.)
#include "chartcalc/SSimulation.h"

void SSimulation::ProcessStop(SIndex*) {}
int SSimulation::ProcessStopValue(int, int, double, int&, double&) { return -1; }
int SSimulation::MoneyManagementStop(SIndex*, int, int, int&, double&) { return -1; }
int SSimulation::RiskTrailingStop(SIndex*, int, int, int&, double&) { return -1; }
int SSimulation::RiskTrailingStop2(SIndex*, int, int, int&, double&) { return -1; }
int SSimulation::ProfitTargetStop(SIndex*, int, int, int&, double&) { return -1; }
int SSimulation::MinVariationStop(SIndex*, int, int, int&, double&) { return -1; }
int SSimulation::DayTradingStop(SIndex*, int, int, int&, double&) { return -1; }
int SSimulation::JumpTrailingStop(SIndex*, int, int, int&, double&) { return -1; }
int SSimulation::DropTrailingStop(SIndex*, int, int, int&, double&) { return -1; }
int SSimulation::MaxBarStop(SIndex*, int, int, int&, double&) { return -1; }
