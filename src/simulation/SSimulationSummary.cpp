// Statistics, equity and the profit line. (Being written.)
#include "chartcalc/SSimulation.h"

void SSimulation::SetSummary() {}
void SSimulation::CalcSummary(int) {}
void SSimulation::InsertSummary(SSummary) {}
void SSimulation::CalcEquity(SVector*, int) {}
void SSimulation::CalcProfitLoss() {}
void SSimulation::CalcStatics() {}
