// Compression and trades from signals. (Being written.)
#include "chartcalc/SSimulation.h"

void SSimulation::CompressData(int) {}
void SSimulation::SetHistory() {}
void SSimulation::SortHistory() {}
void SSimulation::Interchange(int, int) {}
void SSimulation::SetHistoryToZero() {}
