// The summary-info table. (Being written.)
#include "chartcalc/SSimulation.h"

int SSimulation::CreateSummaryDB(SString) { return 1; }
int SSimulation::InsertSummaryDB(SString, SSummaryInfo&) { return 1; }
