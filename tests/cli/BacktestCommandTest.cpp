// chartcalc backtest: a shipped trading system over the sample data, its
// summary for people and for scripts, the trade and equity files, the
// errors, and two properties every back-test must have: it never looks
// ahead, and the same inputs give the same bytes.
#include "CliTestUtil.h"

namespace {

std::string ReadText(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream s;
  s << in.rdbuf();
  return s.str();
}

std::string Tmp(const std::string& name) { return std::string(CHARTCALC_TEST_TMP) + "/" + name; }

// The first `bars` bars of the bundled daily sample, as a CSV file.
std::string SampleHead(int bars) {
  std::istringstream in(ReadText(std::string(CHARTCALC_DATA_DIR) + "/sample_daily.csv"));
  std::string text, line;
  for (int i = 0; i <= bars && std::getline(in, line); ++i) text += line + "\n";
  return WriteFile("head" + std::to_string(bars) + ".csv", text);
}

const std::vector<std::string> kStops = {"--set", "BlMoneyManagementStop=1", "--set", "BlProfitTargetStop=1",
                                         "--set", "ProfitTargetStop=0.05"};

std::vector<std::string> Args(std::vector<std::string> head, const std::vector<std::string>& tail = kStops) {
  head.insert(head.end(), tail.begin(), tail.end());
  return head;
}

TEST(BacktestCommand, SummaryForPeopleAndForScripts) {
  ToolRun csv = RunTool(Args({"backtest", "MACross", "--csv"}));
  ASSERT_EQ(csv.status, 0) << csv.err;
  auto rows = Rows(csv.out);
  ASSERT_EQ(rows.size(), 1u + 3 * 14);  // both sides: all trades, long, short
  EXPECT_EQ(rows[0][0], "GroupID");
  EXPECT_EQ(rows[1][5], "Total  profit&loss");
  EXPECT_EQ(rows[15][0], "1");
  EXPECT_EQ(rows[29][0], "2");

  ToolRun table = RunTool(Args({"backtest", "MACross"}));
  ASSERT_EQ(table.status, 0) << table.err;
  EXPECT_EQ(table.out.rfind("Total trade\n  Profit and loss summary\n    Total  profit&loss", 0), 0u) << table.out;
  // Values end aligned: every pair line is as long as the first.
  auto lines = Rows(table.out, '\n');
  const size_t width = lines[2][0].size();
  for (const auto& l : lines) {
    if (l[0].rfind("    ", 0) == 0) {
      EXPECT_EQ(l[0].size(), width) << l[0];
    }
  }
  ToolRun korean = RunTool(Args({"backtest", "MACross", "--lang", "ko"}));
  EXPECT_NE(korean.out.find("전체 거래"), std::string::npos) << korean.out;
}

TEST(BacktestCommand, TradeAndEquityFiles) {
  const std::string trades = Tmp("trades.csv"), equity = Tmp("equity.csv");
  ToolRun r = RunTool(Args({"backtest", "MACross", "--trades", trades, "--equity", equity}));
  ASSERT_EQ(r.status, 0) << r.err;
  auto t = Rows(ReadText(trades));
  ASSERT_GT(t.size(), 10u);
  EXPECT_EQ(t[0].size(), 18u);
  EXPECT_EQ(t[0][1], "EntryDateTime");
  EXPECT_EQ(t[1][1].size(), 10u) << t[1][1];  // YYYY-MM-DD
  EXPECT_EQ(t[1][1][4], '-');
  auto e = Rows(ReadText(equity));
  EXPECT_EQ(e[0], (std::vector<std::string>{"bar", "datetime", "long", "short", "total"}));
  EXPECT_EQ(e.size(), 1u + Bars([] {
                        SPriceData p;
                        std::string error;
                        ReadPriceCsv(std::string(CHARTCALC_DATA_DIR) + "/sample_daily.csv", p, error);
                        return p;
                      }()));
}

TEST(BacktestCommand, BadInputIsAClearError) {
  WriteFile("garbage.ini", "\x01\x02[SimulationConfigure\nPosition=nan\nTradeVolume=-5\n");
  // clang-format off
  const std::vector<ToolCase> cases = {
      {{"backtest", "MACD"}, 1, "", "not a trading system"},
      {{"backtest", "NoSuchSystem"}, 1, "", "no definition"},
      {{"backtest"}, 1, "", "exactly one SYSTEM"},
      {{"backtest", "MACross", "--set", "NoSuchKey=1"}, 1, "", "NoSuchKey"},
      {{"backtest", "MACross", "--set", "TradeVolume=abc"}, 1, "", "TradeVolume"},
      {{"backtest", "MACross", "--set", "Position"}, 1, "", "KEY=VALUE"},
      {{"backtest", "MACross", "--settings", Tmp("missing.ini")}, 1, "", "missing.ini"},
      {{"backtest", "MACross", "--tick", "0"}, 1, "", "--tick"},
      {{"backtest", "MACross", "--var", "short=("}, 2, "", "error:"},
      {{"backtest", "MACross", "--trades", "/proc/no/such/dir/t.csv"}, 1, "", "cannot write"},
  };
  // clang-format on
  ExpectRuns(cases);
  EXPECT_EQ(RunTool({"backtest", "MACross", "--settings", Tmp("garbage.ini"), "--csv"}).status, 0);
}

// The trades closed by bar k are the same whether or not the bars after k
// exist: nothing a run decides at a bar depends on a later bar.
TEST(BacktestCommand, TradesClosedByABarDoNotDependOnLaterBars) {
  const std::vector<int> perTrade = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 12, 13, 14, 15, 16, 17};  // not cumulative
  for (const char* system : {"MACross", "RSIReversal", "ChannelBreakout", "ParabolicReversal", "DualThrust"}) {
    const std::string all = Tmp("all.csv"), head = Tmp("head.csv");
    ASSERT_EQ(RunTool(Args({"backtest", system, "--trades", all})).status, 0);
    for (int bars : {900, 1700}) {
      ASSERT_EQ(RunTool(Args({"backtest", system, "--data", SampleHead(bars), "--trades", head})).status, 0);
      auto full = Rows(ReadText(all)), part = Rows(ReadText(head));
      size_t compared = 0;
      for (size_t r = 1; r < part.size(); ++r) {
        if (part[r][4].empty()) continue;  // still open at the cut
        ASSERT_LT(r, full.size()) << system;
        for (int c : perTrade) EXPECT_EQ(part[r][c], full[r][c]) << system << " trade " << r << " column " << c;
        ++compared;
      }
      EXPECT_GT(compared, 3u) << system << " at " << bars;
    }
  }
}

TEST(BacktestCommand, SameInputsGiveTheSameBytes) {
  auto run = [](const std::string& trades) {
    return RunTool(Args({"backtest", "BollingerReversion", "--set", "BlDayTradingStop=1", "--set",
                         "BlDateTradingStop=1", "--set", "DateTradingStop=2019-06-30", "--trades", trades}));
  };
  ToolRun a = run(Tmp("a.csv")), b = run(Tmp("b.csv"));
  ASSERT_EQ(a.status, 0) << a.err;
  EXPECT_EQ(a.out, b.out);
  EXPECT_EQ(ReadText(Tmp("a.csv")), ReadText(Tmp("b.csv")));
}

}  // namespace
