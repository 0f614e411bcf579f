// chartcalc indicator: listing and showing the definitions of an index
// directory (the shipped ones by default), and calc, check and lookback of
// one of them over the price data, whole or bar by bar.
#include "CliTestUtil.h"

// Same rows and cells: the header and empty cells alike, numbers within
// rounding.
static void ExpectSameCsv(const std::string& got, const std::string& want, const std::string& what) {
  auto a = Rows(got), b = Rows(want);
  ASSERT_EQ(a.size(), b.size()) << what;
  for (size_t r = 0; r < b.size(); ++r) {
    ASSERT_EQ(a[r].size(), b[r].size()) << what << " row " << r;
    for (size_t c = 0; c < b[r].size(); ++c) {
      const bool text = r == 0 || a[r][c].empty() || b[r][c].empty();
      const double y = text ? 0 : std::stod(b[r][c]);
      EXPECT_TRUE(text ? a[r][c] == b[r][c] : std::fabs(std::stod(a[r][c]) - y) <= 1e-9 * std::max(1.0, std::fabs(y)))
          << what << " row " << r << " column " << c << ": " << a[r][c] << " vs " << b[r][c];
    }
  }
}

TEST(IndicatorCommand, ShowPrintsVariablesLinesAndBaseLines) {
  // Names ignore case.
  // clang-format off
  ExpectRuns({{{"indicator", "show", "rsi", "--kind", "indicator"}, 0,
               "name\tRSI\nkind\tindicator\ndescription\tRelative strength index with Wilder smoothing, and its "
               "signal line.\nvariable\tperiod\t14\nvariable\tsignal\t9\nline\t0\tRSI(%period%)\trsi(period)\n"
               "line\t1\tSignal(%signal%)\tavg(rsi(period), signal)\nbase\t30\nbase\t70\n", ""}});
  // clang-format on
  auto rows = Rows(RunTool({"indicator", "show", "MACross"}).out, '\t');
  ASSERT_GE(rows.size(), 8u);
  EXPECT_EQ(rows[3], (std::vector<std::string>{"variable", "short", "5", "3", "20", "1"}));
  EXPECT_EQ(rows[5], (std::vector<std::string>{"line", "0", "long entry", "crossup(avg(c, short), avg(c, long))"}));
  ToolRun candle = RunTool({"indicator", "show", "MorningStar"});
  EXPECT_NE(candle.out.find("line\t0\tformula\tlongBody = avg(abs(c - o), 10, 3);\\no(2)"), std::string::npos)
      << candle.out;
}

// The middle line is the formula the engine gives for the same average; a
// system prints its signals, which carry the close.
TEST(IndicatorCommand, CalcPrintsOneColumnPerLineNamedWithItsVariables) {
  ToolRun r = RunTool({"indicator", "calc", "bollinger", "--var", "PERIOD=10", "--var=width=3"});
  ASSERT_EQ(r.status, 0) << r.err;
  auto rows = Rows(r.out), average = Rows(RunTool({"eval", "avg(c, 10)"}).out);
  EXPECT_EQ(rows[0], (std::vector<std::string>{"bar", "datetime", "Upper", "Middle(10)", "Lower"}));
  ASSERT_EQ(average.size(), rows.size());
  EXPECT_EQ(rows[1], (std::vector<std::string>{"0", "20150102", "", "", ""}));
  EXPECT_EQ(std::tuple(rows[9][4], rows[10][4].empty()), std::tuple("", false));  // the 10th bar is the first
  for (size_t i = 10; i < rows.size(); ++i) EXPECT_EQ(rows[i][3], average[i][2]) << i;
  EXPECT_EQ(Rows(RunTool({"indicator", "calc", "MACD"}).out)[0][2], "MACD(12,26)");
  EXPECT_EQ(Rows(RunTool({"indicator", "calc", "MACross"}).out)[0],
            (std::vector<std::string>{"bar", "datetime", "MACross New Buy", "Buy clear", "New Sell", "Sell clear"}));
  EXPECT_EQ(Rows(RunTool({"indicator", "calc", "MACross", "--lang", "ko"}).out)[0],
            (std::vector<std::string>{"bar", "datetime", "MACross 신규매수", "매수청산", "신규매도", "매도청산"}));
}

// The indicator subcommand as it runs once the options are parsed, with
// flags of its own.
static ToolRun RunIndicatorWith(const std::vector<std::string>& args, const std::set<std::string>& flags) {
  CliOptions options;
  options.args = args;
  options.flags = flags;
  options.data = DefaultDataFile();
  SetIndexDir(DefaultIndexDir().c_str());
  std::ostringstream out, err;
  const int status = RunIndicator(options, out, err);
  SetIndexDir("./");
  return {status, out.str(), err.str()};
}

// Each line's entry at the last bar: its name and its value with two
// decimals, as comment lines before the unchanged CSV.
TEST(IndicatorCommand, LegendPrintsEachLinesNameAndLastValueBeforeTheCsv) {
  ToolRun plain = RunTool({"indicator", "calc", "MACD"}), legend = RunIndicatorWith({"calc", "MACD"}, {"legend"});
  ASSERT_EQ(legend.status, 0) << legend.err;
  auto rows = Rows(plain.out);
  std::string want;
  for (size_t c = 2; c < rows[0].size(); ++c) {
    char value[64];
    std::snprintf(value, sizeof value, "%.2f", std::stod(rows.back()[c]));
    want += "# " + rows[0][c] + "(" + value + ")\n";
  }
  EXPECT_EQ(legend.out, want + plain.out);
  ToolRun streamed = RunIndicatorWith({"calc", "MACD"}, {"legend", "stream"});
  EXPECT_EQ(streamed.out.substr(0, want.size()), want);
  ToolRun wrong = RunIndicatorWith({"lookback", "MACD"}, {"legend"});
  EXPECT_EQ(std::tuple(wrong.status, wrong.err), std::tuple(1, "error: --legend applies to calc only\n"));
}

// The list names every shipped definition first, with its kind and its
// description; every indicator and system calculates bar by bar as whole.
TEST(IndicatorCommand, StreamedAndWholeCalculationsAgreeForEveryShippedIndicator) {
  std::set<std::string> kinds;
  int systems = 0, calculated = 0;
  for (const auto& row : Rows(RunTool({"indicator", "list"}).out, '\t')) {
    ASSERT_EQ(row.size(), 3u);
    EXPECT_FALSE(row[2].empty()) << row[0];
    kinds.insert(row[1]);
    systems += row[1] == "system";
    if (row[1] == "function") continue;
    ToolRun whole = RunTool({"indicator", "calc", row[0]}),
            streamed = RunTool({"indicator", "calc", row[0], "--stream"});
    ASSERT_EQ(std::tuple(whole.status, streamed.status), std::tuple(0, 0))
        << row[0] << ": " << whole.err << streamed.err;
    ExpectSameCsv(streamed.out, whole.out, row[0]);
    ++calculated;
  }
  EXPECT_GT(calculated, 30);
  EXPECT_EQ(std::tuple(kinds, systems), std::tuple(std::set<std::string>{"indicator", "system", "function"}, 10));
  EXPECT_EQ(RunTool({"indicator", "list", "--kind=pattern"}).out, "");
}

TEST(IndicatorCommand, CheckAndLookbackReportInTheChosenLanguage) {
  // clang-format off
  ExpectRuns({
      {{"indicator", "check", "RSI"}, 0, "ok\n", ""},
      {{"indicator", "check", "RSI", "--var", "signal= "}, 2, "variable\tThere is no designated variable equal to signal.\n", ""},
      {{"indicator", "check", "--lang", "ko", "RSI", "--var", "signal="}, 2, "variable\tsignal에 해당하는 변수값이 없읍니다.\n", ""},
      {{"indicator", "lookback", "SMA"}, 0, "20\n", ""},
      {{"indicator", "lookback", "SMA", "--var", "period=5"}, 0, "5\n", ""},
      {{"indicator", "lookback", "MACD"}, 0, "34\n", ""}});
  // clang-format on
}

TEST(IndicatorCommand, BadArgumentsAndBrokenFormulasAreReported) {
  // clang-format off
  ExpectRuns({
      {{"indicator", "calc", "NoSuchThing"}, 1, "", "error: there is no definition 'NoSuchThing'"},
      {{"indicator", "show", "RSI", "--kind", "system"}, 1, "", "error: there is no definition 'RSI'"},
      {{"indicator", "calc"}, 1, "", "error: calc takes exactly one NAME"},
      {{"indicator", "show", "a", "b"}, 1, "", "error: show takes exactly one NAME"},
      {{"indicator", "calc", "SMA", "--var", "length=5"}, 1, "", "error: SMA has no variable 'length' (its variables: period)"},
      {{"indicator", "calc", "SMA", "--var", "period"}, 1, "", "error: --var takes NAME=VALUE"},
      {{"indicator", "show", "SMA", "--var", "period=5"}, 1, "", "error: --var applies to calc, check and lookback only"},
      {{"indicator", "lookback", "SMA", "--stream"}, 1, "", "error: --stream applies to calc only"},
      {{"indicator", "list", "--kind", "candles"}, 1, "", "error: --kind must be"},
      {{"indicator", "list", "--kind"}, 1, "", "error: --kind needs a value"},
      {{"indicator", "remove", "RSI"}, 1, "", "error: indicator takes list or show NAME"},
      {{"indicator"}, 1, "", "error: indicator takes list or show NAME"},
      {{"eval", "--kind", "system", "c"}, 1, "", "error: unknown option --kind"},  // other subcommands do not take it
      {{"indicator", "calc", "SMA", "--data", "/no/such/file.csv"}, 1, "", "error: /no/such/file.csv: cannot open"},
      {{"indicator", "calc", "SMA", "--var", "period=)"}, 2, "", "error: line 0 (SMA())): "},
      {{"indicator", "calc", "SMA", "--var", "period=-3", "--stream"}, 2, "", "error: line 0 (SMA(-3)): Moving average"},
      {{"indicator", "calc", "SMA", "--var", "period= "}, 2, "", "error: There is no designated variable equal to period."}});
  // clang-format on
}

TEST(IndicatorCommand, OwnDefinitionsAreListedInUtf8AndAnEmptyDirectoryStaysEmpty) {
  const std::string dir = std::string(CHARTCALC_TEST_TMP) + "/cli.indicator-own";
  std::filesystem::remove_all(dir);
  ToolRun empty = RunTool({"indicator", "list", "--index-dir", dir});
  EXPECT_EQ(std::tuple(empty.status, empty.out, std::filesystem::exists(dir)), std::tuple(0, "", false));
  SetIndexDir(dir.c_str());
  std::string name, description;
  ASSERT_TRUE(Utf8ToCp949("나의지표", name) && Utf8ToCp949("설명\t둘째", description));
  SIndex x(name.c_str(), kIndexIndicator);
  x.Description = description.c_str();
  x.SetExpression(0, "c");
  ASSERT_EQ(x.WriteExpression(name.c_str(), 1, 0), 1);
  SetIndexDir("./");
  // clang-format off
  ExpectRuns({{{"indicator", "list", "--index-dir", dir}, 0, "나의지표\tindicator\t설명\\t둘째\n", ""},
              {{"indicator", "show", "나의지표", "--index-dir", dir}, 0,
               "name\t나의지표\nkind\tindicator\ndescription\t설명\\t둘째\nline\t0\t\tc\n", ""}});
  // clang-format on
}

// The indicator subcommand following a feed given whole on standard input.
static ToolRun RunFollowing(std::vector<std::string> args, const std::string& feed) {
  std::istringstream in(feed);
  std::streambuf* const saved = std::cin.rdbuf(in.rdbuf());
  args.insert(args.begin(), {"indicator", "calc"});
  args.push_back("--follow");
  ToolRun r = RunTool(args);
  std::cin.rdbuf(saved);
  return r;
}

// A two-bar average (the update of a bar by a tick is fed through a pipe by
// follow_pipe.py): bad and older rows are reported with their line, counting
// blank lines and the byte order mark's line, and the feed goes on; a feed
// without a usable header or with a broken formula ends.
TEST(IndicatorFollow, BadRowsAreSkippedWithTheirLineAndBadHeadersOrFormulasEndTheFeed) {
  const std::string header = "date,open,high,low,close,volume\n", head = "bar,datetime,SMA(2)\n";
  auto bar = [](int day, const char* close) { return "202401" + std::to_string(day) + ",1,1,1," + close + ",1\n"; };
  // clang-format off
  const ToolCase cases[] = {
      {{"period=2", "\xEF\xBB\xBF\n" + header + bar(10, "10") + "\n" + bar(11, "x") + bar(12, "20")}, 0,
       head + "0,20240110,\n1,20240112,15\n", "warning: <stdin>:5: bad number 'x' in column 'close', row skipped"},
      {{"period=2", header + bar(11, "10") + bar(10, "99") + bar(12, "20")}, 0,
       head + "0,20240111,\n1,20240112,15\n", "<stdin>:3: date-time 20240110 is before the last bar's"},
      {{"period=2", header}, 0, head, ""},
      {{"period=2", "\n\n"}, 1, "", "error: <stdin>: no header row"},
      {{"period=2", "date,close\n" + bar(10, "10")}, 1, "", "error: <stdin>:1: no 'open' column in the header"},
      {{"period=-3", header + bar(10, "10")}, 2, "bar,datetime,SMA(-3)\n", "error: line 0 (SMA(-3)): Moving average"},
  };
  // clang-format on
  for (const ToolCase& c : cases) {
    ToolRun r = RunFollowing({"SMA", "--var", c.args[0]}, c.args[1]);
    EXPECT_EQ(std::tuple(r.status, r.out), std::tuple(c.status, c.out)) << c.args[1] << r.err;
    EXPECT_NE(r.err.find(c.err), std::string::npos) << r.err;
  }
  EXPECT_EQ(RunFollowing({"SMA", "--stream"}, header).err, "error: --follow takes neither --stream nor --legend\n");
}
