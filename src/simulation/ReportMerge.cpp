// Placeholder: merging report directories is being written.
#include "chartcalc/SSimulationMain.h"

namespace chartcalc {
int MergeReportDirs(const SString&, const std::vector<SString>&, SString& error) {
  error = "not yet";
  return 0;
}
}  // namespace chartcalc
