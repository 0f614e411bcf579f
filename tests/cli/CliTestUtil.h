// Runs the chartcalc tool in-process and keeps what it printed.
#pragma once

#include <sstream>
#include <string>
#include <vector>

#include "Cli.h"

using namespace chartcalc::detail;

struct ToolRun {
  int status;
  std::string out, err;
};

inline ToolRun RunTool(const std::vector<std::string>& args) {
  std::ostringstream out, err;
  int status = RunChartcalc(args, out, err);
  return {status, out.str(), err.str()};
}
