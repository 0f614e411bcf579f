// chartcalc indicator calc, check and lookback: a definition of the index
// directory calculated over the price data, whole or bar by bar.
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "CliTestUtil.h"
#include "chartcalc.h"

using namespace chartcalc::detail;

namespace {

// The CSV's rows split into cells; a quoted cell loses its quotes.
std::vector<std::vector<std::string>> Csv(const std::string& text) {
  std::vector<std::vector<std::string>> rows;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) {
    rows.emplace_back();
    std::string cell;
    bool quoted = false;
    for (char c : line) {
      if (c == '"') quoted = !quoted;
      else if (c == ',' && !quoted) rows.back().push_back(cell), cell.clear();
      else cell += c;
    }
    rows.back().push_back(cell);
  }
  return rows;
}

std::vector<std::string> Names(const char* kind) {
  std::vector<std::string> names;
  std::istringstream in(RunTool({"indicator", "list", "--kind", kind}).out);
  for (std::string line; std::getline(in, line);) names.push_back(line.substr(0, line.find('\t')));
  return names;
}

// Same header, same rows, a cell empty in both or numbers within rounding.
void ExpectSameCsv(const std::string& got, const std::string& want, const std::string& what) {
  auto a = Csv(got), b = Csv(want);
  ASSERT_EQ(a.size(), b.size()) << what;
  ASSERT_FALSE(b.empty()) << what;
  EXPECT_EQ(a[0], b[0]) << what;
  for (size_t r = 1; r < b.size(); ++r) {
    ASSERT_EQ(a[r].size(), b[r].size()) << what << " row " << r;
    for (size_t c = 0; c < b[r].size(); ++c) {
      ASSERT_EQ(a[r][c].empty(), b[r][c].empty()) << what << " row " << r << " column " << b[0][c];
      if (b[r][c].empty()) continue;
      double x = std::stod(a[r][c]), y = std::stod(b[r][c]);
      EXPECT_NEAR(x, y, 1e-9 * std::max(1.0, std::fabs(y))) << what << " row " << r << " column " << b[0][c];
    }
  }
}

TEST(IndicatorCalcCommand, PrintsOneColumnPerLineNamedWithItsVariables) {
  ToolRun r = RunTool({"indicator", "calc", "bollinger", "--var", "PERIOD=10", "--var=width=3"});
  ASSERT_EQ(r.status, 0) << r.err;
  auto rows = Csv(r.out);
  EXPECT_EQ(rows[0], (std::vector<std::string>{"bar", "datetime", "Upper", "Middle(10)", "Lower"}));
  ASSERT_GT(rows.size(), 100u);
  EXPECT_EQ(rows[1], (std::vector<std::string>{"0", "20150102", "", "", ""}));
  EXPECT_EQ(rows[9][4], "");  // bar 8: before the 10-bar average's first value
  EXPECT_NE(rows[10][4], "");
  // The middle line is the formula the engine gives for the same average.
  auto average = Csv(RunTool({"eval", "avg(c, 10)"}).out);
  ASSERT_EQ(average.size(), rows.size());
  for (size_t i = 10; i < rows.size(); ++i) EXPECT_EQ(rows[i][3], average[i][2]) << i;
  EXPECT_EQ(Csv(RunTool({"indicator", "calc", "MACD"}).out)[0][2], "MACD(12,26)");
}

TEST(IndicatorCalcCommand, SystemsPrintTheirSignalsAtTheClose) {
  ToolRun r = RunTool({"indicator", "calc", "MACross"});
  ASSERT_EQ(r.status, 0) << r.err;
  auto rows = Csv(r.out);
  EXPECT_EQ(rows[0], (std::vector<std::string>{"bar", "datetime", "long entry", "long exit", "short entry",
                                                 "short exit"}));
  auto close = Csv(RunTool({"eval", "c"}).out);
  int signals = 0;
  for (size_t i = 1; i < rows.size(); ++i) {
    for (size_t k = 2; k < 6; ++k) {
      if (rows[i][k].empty() || rows[i][k] == "0") continue;
      EXPECT_EQ(rows[i][k], close[i][2]) << i;
      ++signals;
    }
  }
  EXPECT_GT(signals, 10);
}

TEST(IndicatorCalcCommand, StreamedAndWholeCalculationsAgreeForEveryShippedIndicator) {
  std::vector<std::string> names = Names("indicator");
  for (const std::string& system : Names("system")) names.push_back(system);
  ASSERT_GT(names.size(), 30u);
  for (const std::string& name : names) {
    ToolRun whole = RunTool({"indicator", "calc", name});
    ToolRun streamed = RunTool({"indicator", "calc", name, "--stream"});
    ASSERT_EQ(whole.status, 0) << name << ": " << whole.err;
    ASSERT_EQ(streamed.status, 0) << name << ": " << streamed.err;
    ExpectSameCsv(streamed.out, whole.out, name);
  }
}

TEST(IndicatorCalcCommand, CheckReportsInTheChosenLanguage) {
  ToolRun ok = RunTool({"indicator", "check", "RSI"});
  EXPECT_EQ(ok.status, 0);
  EXPECT_EQ(ok.out, "ok\n");
  ToolRun empty = RunTool({"indicator", "check", "RSI", "--var", "signal= "});
  EXPECT_EQ(empty.status, 2);
  EXPECT_EQ(empty.out, "variable\tThere is no designated variable equal to signal.\n");
  ToolRun korean = RunTool({"indicator", "check", "--lang", "ko", "RSI", "--var", "signal="});
  EXPECT_EQ(korean.out, "variable\tsignal에 해당하는 변수값이 없읍니다.\n");
}

TEST(IndicatorCalcCommand, LookbackPrintsTheBarsBeforeTheFirstValue) {
  EXPECT_EQ(RunTool({"indicator", "lookback", "SMA"}).out, "20\n");
  EXPECT_EQ(RunTool({"indicator", "lookback", "SMA", "--var", "period=5"}).out, "5\n");
  EXPECT_EQ(RunTool({"indicator", "lookback", "MACD"}).out, "34\n");
}

TEST(IndicatorCalcCommand, BadArgumentsAndBrokenFormulasAreReported) {
  struct Case {
    std::vector<std::string> args;
    int status;
    std::string err;
  };
  const Case cases[] = {
      {{"indicator", "calc", "NoSuchThing"}, 1, "error: there is no definition 'NoSuchThing'"},
      {{"indicator", "calc"}, 1, "error: calc takes exactly one NAME"},
      {{"indicator", "calc", "SMA", "--var", "length=5"}, 1, "error: SMA has no variable 'length' (its variables: period)"},
      {{"indicator", "calc", "SMA", "--var", "period"}, 1, "error: --var takes NAME=VALUE"},
      {{"indicator", "show", "SMA", "--var", "period=5"}, 1, "error: --var applies to calc, check and lookback only"},
      {{"indicator", "lookback", "SMA", "--stream"}, 1, "error: --stream applies to calc only"},
      {{"indicator", "calc", "SMA", "--var", "period=)"}, 2, "error: line 0 (SMA())): "},
      {{"indicator", "calc", "SMA", "--var", "period=-3", "--stream"}, 2, "error: line 0 (SMA(-3)): Moving average"},
      {{"indicator", "calc", "SMA", "--var", "period= "}, 2, "error: There is no designated variable equal to period."},
      {{"indicator", "calc", "SMA", "--data", "/no/such/file.csv"}, 1, "error: "},
  };
  for (const Case& c : cases) {
    ToolRun r = RunTool(c.args);
    EXPECT_EQ(r.status, c.status) << c.args.back() << ": " << r.err;
    EXPECT_EQ(r.err.substr(0, c.err.size()), c.err) << c.args.back();
    EXPECT_TRUE(r.out.empty()) << c.args.back();
  }
}

}  // namespace
