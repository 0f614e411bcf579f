// Placeholder: `chartcalc optimise` is being written.
#include "Cli.h"

int RunOptimise(const CliOptions&, std::ostream&, std::ostream& err) {
  err << "error: not yet\n";
  return kExitBadInput;
}
