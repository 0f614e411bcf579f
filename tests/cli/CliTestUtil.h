// Runs the chartcalc tool in-process and keeps what it printed; writes the
// files it reads and splits the CSV it prints. Includes what the CLI tests
// use.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <set>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "Cli.h"
#include "DefinitionText.h"
#include "PriceCsv.h"
#include "chartcalc.h"
#include "core/Cp949.h"
#include "simulation/SimTestUtil.h"

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

// A run's status, its whole output and a part of its error text.
struct ToolCase {
  std::vector<std::string> args;
  int status;
  std::string out, err;
};

inline void ExpectRuns(const std::vector<ToolCase>& cases,
                       const std::function<ToolRun(std::vector<std::string>)>& run = RunTool) {
  for (const ToolCase& c : cases) {
    ToolRun r = run(c.args);
    EXPECT_EQ(std::tuple(r.status, r.out), std::tuple(c.status, c.out)) << c.args.back() << ": " << r.err;
    EXPECT_NE(r.err.find(c.err), std::string::npos) << r.err;
  }
}

// A file of the test scratch directory holding text; returns its path.
inline std::string WriteFile(const std::string& name, const std::string& text) {
  std::string path = std::string(CHARTCALC_TEST_TMP) + "/" + name;
  std::ofstream(path, std::ios::binary) << text;
  return path;
}

// The rows of printed text split into cells at sep; a quoted cell loses its
// quotes and keeps its separators (CSV only).
inline std::vector<std::vector<std::string>> Rows(const std::string& text, char sep = ',') {
  std::vector<std::vector<std::string>> rows;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) {
    rows.emplace_back(1);
    bool quoted = false;
    for (char c : line) {
      if (c == '"' && sep == ',')
        quoted = !quoted;
      else if (c == sep && !quoted)
        rows.back().emplace_back();
      else
        rows.back().back() += c;
    }
  }
  return rows;
}
