#include <iostream>

#include "Cli.h"

using namespace chartcalc::detail;

int main(int argc, char** argv) {
  std::ios::sync_with_stdio(false);
  std::vector<std::string> args(argv + 1, argv + argc);
  int status = RunChartcalc(args, std::cout, std::cerr);
  std::cout.flush();
  return status;
}
