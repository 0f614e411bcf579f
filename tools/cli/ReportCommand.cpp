// Placeholder: `chartcalc report` is being written.
#include "Cli.h"

int RunReport(const CliOptions&, std::ostream&, std::ostream& err) {
  err << "error: not yet\n";
  return kExitBadInput;
}
