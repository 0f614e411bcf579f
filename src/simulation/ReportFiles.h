// Internal: the per-run report files written in one step, for the optimiser.
// Each builds the whole file aside (the same fields and records as the
// matching Create*DB followed by Insert*DB of SSimulation) and renames it
// over path, so path holds either its old file or the complete new one.
#pragma once

#include "chartcalc/SSimulation.h"

namespace chartcalc::detail {

// The simulation's summary table, one record per row. False when the file
// could not be written (path untouched).
bool WriteIndividualSummaryFile(SSimulation& sim, const SString& path);
// The simulation's trade table, one record per trade. False when the file
// could not be written (path untouched).
bool WriteTradeListFile(SSimulation& sim, const SString& path);

}  // namespace chartcalc::detail
