// chartcalc indicator: listing and showing the definitions of an index
// directory, the shipped ones by default.
#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "CliTestUtil.h"
#include "chartcalc.h"

using namespace chartcalc::detail;

namespace {

std::vector<std::vector<std::string>> Rows(const std::string& text) {
  std::vector<std::vector<std::string>> rows;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) {
    rows.emplace_back();
    std::istringstream cells(line);
    for (std::string cell; std::getline(cells, cell, '\t');) rows.back().push_back(cell);
  }
  return rows;
}

}  // namespace

TEST(IndicatorCommand, ListPrintsEveryShippedDefinitionNameFirst) {
  ToolRun all = RunTool({"indicator", "list"});
  ASSERT_EQ(all.status, 0) << all.err;
  std::set<std::string> kinds, names;
  for (const auto& row : Rows(all.out)) {
    ASSERT_EQ(row.size(), 3u);
    kinds.insert(row[1]);
    names.insert(row[0]);
    EXPECT_FALSE(row[2].empty()) << row[0];
  }
  EXPECT_EQ(kinds, (std::set<std::string>{"indicator", "system", "function"}));
  for (const char* name : {"MACD", "RSI", "Bollinger", "DMI", "MACross", "DualThrust", "Hammer"})
    EXPECT_TRUE(names.count(name)) << name;
  ToolRun systems = RunTool({"indicator", "list", "--kind", "system"});
  EXPECT_EQ(Rows(systems.out).size(), 10u);
  for (const auto& row : Rows(systems.out)) EXPECT_EQ(row[1], "system");
  EXPECT_EQ(RunTool({"indicator", "list", "--kind=pattern"}).out, "");
}

TEST(IndicatorCommand, ShowPrintsVariablesLinesAndBaseLines) {
  ToolRun r = RunTool({"indicator", "show", "rsi"});  // names ignore case
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out,
            "name\tRSI\nkind\tindicator\n"
            "description\tRelative strength index with Wilder smoothing, and its signal line.\n"
            "variable\tperiod\t14\nvariable\tsignal\t9\n"
            "line\t0\tRSI(%period%)\trsi(period)\n"
            "line\t1\tSignal(%signal%)\tavg(rsi(period), signal)\n"
            "base\t30\nbase\t70\n");
  ToolRun system = RunTool({"indicator", "show", "MACross"});
  auto rows = Rows(system.out);
  ASSERT_GE(rows.size(), 8u);
  EXPECT_EQ(rows[3], (std::vector<std::string>{"variable", "short", "5", "3", "20", "1"}));
  EXPECT_EQ(rows[5], (std::vector<std::string>{"line", "0", "long entry", "crossup(avg(c, short), avg(c, long))"}));
  ToolRun candle = RunTool({"indicator", "show", "MorningStar"});
  EXPECT_NE(candle.out.find("line\t0\tformula\tlongBody = avg(abs(c - o), 10, 3);\\no(2)"), std::string::npos)
      << candle.out;
}

TEST(IndicatorCommand, KindLimitsTheSearchAndUnknownNamesFail) {
  EXPECT_EQ(RunTool({"indicator", "show", "RSI", "--kind", "indicator"}).status, 0);
  ToolRun wrongKind = RunTool({"indicator", "show", "RSI", "--kind", "system"});
  EXPECT_EQ(wrongKind.status, 1);
  EXPECT_NE(wrongKind.err.find("there is no definition 'RSI'"), std::string::npos) << wrongKind.err;
  struct Case {
    std::vector<std::string> args;
    const char* error;
  };
  const Case cases[] = {
      {{"indicator", "list", "--kind", "candles"}, "--kind must be"},
      {{"indicator", "list", "--kind"}, "--kind needs a value"},
      {{"indicator", "show"}, "show takes exactly one NAME"},
      {{"indicator", "show", "a", "b"}, "show takes exactly one NAME"},
      {{"indicator", "remove", "RSI"}, "indicator takes list or show NAME"},
      {{"indicator"}, "indicator takes list or show NAME"},
      {{"eval", "--kind", "system", "c"}, "unknown option --kind"},  // other subcommands do not take it
  };
  for (const Case& c : cases) {
    ToolRun r = RunTool(c.args);
    EXPECT_EQ(r.status, 1) << c.args.back();
    EXPECT_NE(r.err.find(c.error), std::string::npos) << r.err;
  }
}

TEST(IndicatorCommand, OwnDefinitionsAreListedInUtf8AndAnEmptyDirectoryStaysEmpty) {
  std::string dir = std::string(CHARTCALC_TEST_TMP) + "/cli.indicator-own";
  std::filesystem::remove_all(dir);
  ToolRun empty = RunTool({"indicator", "list", "--index-dir", dir});
  EXPECT_EQ(empty.status, 0);
  EXPECT_EQ(empty.out, "");
  EXPECT_FALSE(std::filesystem::exists(dir));
  SetIndexDir(dir.c_str());
  std::string name, description;
  ASSERT_TRUE(Utf8ToCp949("나의지표", name));
  ASSERT_TRUE(Utf8ToCp949("설명\t둘째", description));
  SIndex x(name.c_str(), kIndexIndicator);
  x.Description = description.c_str();
  x.SetExpression(0, "c");
  ASSERT_EQ(x.WriteExpression(name.c_str(), 1, 0), 1);
  EXPECT_EQ(RunTool({"indicator", "list", "--index-dir", dir}).out, "나의지표\tindicator\t설명\\t둘째\n");
  ToolRun shown = RunTool({"indicator", "show", "나의지표", "--index-dir", dir});
  EXPECT_EQ(shown.status, 0) << shown.err;
  EXPECT_NE(shown.out.find("line\t0\t\tc\n"), std::string::npos) << shown.out;
  SetIndexDir("./");
}
