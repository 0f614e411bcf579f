// Placeholder: the optimiser is being written.
#include "chartcalc/SSimulationMain.h"

SSimulationMain::SSimulationMain(SSimulation* simulation, int kind) : kind_(kind), simulation_(simulation) {}
SSimulationMain::SSimulationMain(SSimulation* simulation, int kind, SString reportDir)
    : kind_(kind), reportDir_(reportDir), simulation_(simulation) {}
void SSimulationMain::PrepareDB() {}
unsigned int SSimulationMain::Calc(tagOPVARTHREADINFO*) { return 1; }
void SSimulationMain::SetRunSubset(int first, int stride) {
  subsetFirst_ = first;
  subsetStride_ = stride;
}
long long SSimulationMain::CountRuns(const SAnsiStringList*) const { return 0; }
