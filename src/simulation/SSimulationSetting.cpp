// The settings record and its two persisted forms. (Being written.)
#include "chartcalc/SSimulation.h"

void SSimulationSetting::SetDefaultValue() {}
void SSimulation::ReadSetting(const char*) {}
void SSimulation::SaveSetting(const char*) {}
void SSimulation::Load(CFBArchive&) {}
void SSimulation::Store(CFBArchive&) {}
