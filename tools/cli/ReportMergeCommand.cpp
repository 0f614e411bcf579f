// Placeholder: `chartcalc report merge` is being written.
#include "Cli.h"

int RunReportMerge(const CliOptions&, std::ostream&, std::ostream& err) {
  err << "error: not yet\n";
  return kExitBadInput;
}
