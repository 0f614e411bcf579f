// Indicator calculation: variable substitution, full and incremental
// calculation, candle patterns, look-back, signal pairing, the definition
// check and the scale queries.
#include "index/IndexTestUtil.h"

static SIndex Defined(int type, const std::vector<const char*>& lines) {
  SIndex x("t", type);
  for (size_t k = 0; k < lines.size(); ++k) x.SetExpression(static_cast<int>(k), lines[k]);
  return x;
}

TEST(ConvertExpression, ReplacesWholeNamesOnlyAndInsertsValuesOnce) {
  const std::string trail = Cp949("갂");  // code page 949 bytes 0x81 0x41 ('A')
  // clang-format off
  const std::tuple<std::vector<std::pair<std::string, std::string>>, std::string, std::string> cases[] = {
      {{{"n", "n+1"}}, "avg(c,n) - n", "avg(c,n+1) - n+1"},
      {{{"len", "5"}}, "len + len2 + Length + LEN + _len", "5 + len2 + Length + 5 + _5"},
      {{{"a", "1"}, {"A", "2"}}, "A", "1"},  // the first equal name wins
      {{{"", "7"}}, "c", "c"},
      {{{"A", "9"}}, trail + "+A", trail + "+9"},
      {{{Cp949("기간"), "20"}}, Cp949("평균(c, 기간)"), Cp949("평균(c, 20)")},
      {{{"p", std::string(3000, '9')}}, "p+p", std::string(kIndexTextBuffer - 1, '9').replace(3000, 1, "+")}};
  // clang-format on
  for (const auto& [vars, expression, converted] : cases) {
    SIndex x;
    for (size_t k = 0; k < vars.size(); ++k)
      x.VarName[k] = vars[k].first.c_str(), x.VarValue[k] = vars[k].second.c_str();
    x.SetExpression(3, expression.c_str());
    x.ConvertExpression(5), x.ConvertExpression(-1), x.ConvertExpression();
    EXPECT_EQ(x.ConvertedExpression[3].str(), converted) << expression;
  }
}

struct CalcFixture : ::testing::Test {
  Feed feed;
  void SetUp() override { feed.AddDaily(0, 300); }
  SVector Formula(const std::string& text) { return Evaluate(feed, text).value; }
  SIndex Bound(int type, const std::vector<const char*>& lines) {
    SIndex x = Defined(type, lines);
    feed.Bind(x);
    return x;
  }
};

TEST_F(CalcFixture, CalcEvaluatesEveryLineAndKeepsLinesWithoutExpression) {
  SFunctionList functions;
  functions.SetExpressionWithVariable("twice|x * 2|x");
  SIndex x = Bound(kIndexIndicator, {"", "twice(c) - twice(o) - avg(c, n * 2)"});
  x.SetFunction(&functions);
  x.VarName[0] = "n", x.VarValue[0] = "10";
  x.LineData[0].Add(42), x.FunctionHistory.Add("stale");
  x.Calc();
  ExpectSameLine(x.LineData[1], Formula("c * 2 - o * 2 - avg(c, 10 * 2)"), "line 1", 0);
  // One history entry a call.
  EXPECT_EQ(std::tuple(Values(x.LineData[0]), x.FunctionHistory.Count(), x.FunctionHistory[0].str()),
            std::tuple(std::vector<double>{42}, 2, "twice"));
}

TEST_F(CalcFixture, SystemsAndSingleExpressionsCarryTheCloseWhereTheyFire) {
  const SVector cond = Formula("crossup(avg(c, 3), avg(c, 8))");
  for (int type : {kIndexSystem, kIndexSingleExpression}) {
    SIndex x = Bound(type, {"crossup(avg(c, 3), avg(c, 8))"});
    x.Calc();
    ExpectSameLine(x.LineData[0], cond * feed.s[kClose], "signal", 0);
  }
  EXPECT_GT(std::count(cond.Data(), cond.Data() + cond.GetSize(), 1.0), 3);
}

TEST(Calc, NotCalculatedKindsAndUnboundIndicatorsAreSafe) {
  for (int type : {kIndexNotCalculated, kIndexProfitGraph, kIndexNamedLines, kIndexCandlePattern, kIndexSystem}) {
    SIndex x = Defined(type, {"c > avg(c, 5)", "5"});
    x.Calc(), x.CalcLast(), x.CalcLast();
    EXPECT_EQ(x.LineData[0].GetSize(), 0) << type;
  }
}

TEST_F(CalcFixture, ANewBarRewritesOnlyTheLastTwoBarsOfAWindowedLine) {
  SIndex full = Bound(kIndexIndicator, {"avg(c, 12) - wavg(c, 5)", "eavg(c, 10)"}), live = full;
  full.Calc();
  live.SetCalcInit();
  live.CalcLast();
  ExpectSameLine(live.LineData[0], full.LineData[0], "first CalcLast", 0);
  // Line 1 depends on the whole history.
  EXPECT_EQ(std::tuple(live.CalcState[0], live.CalcStart[0], live.CalcState[1]), std::tuple(0, 11, -1));
  live.LineData[0].Update(-12345, 0);
  live.LineData[0][200] = -1;
  feed.AddDaily(300, 301);
  live.CalcLast();
  full.Calc();
  ASSERT_EQ(std::tuple(live.LineData[0].GetSize(), live.LineData[0][200]), std::tuple(301, -1.0));
  for (int i : {299, 300}) EXPECT_NEAR(live.LineData[0][i], full.LineData[0][i], 1e-9) << i;
  live.SetCalcInit();
  EXPECT_EQ(live.CalcStart[0], -1);
}

TEST_F(CalcFixture, ShrunkHistoryAndLookAheadFallBackToAFullCalculation) {
  SIndex x = Bound(kIndexIndicator, {"avg(c, 3)", "ref(c, -1)"});  // line 1 is one bar short
  x.CalcLast();
  feed.AddDaily(300, 301);
  x.CalcLast();
  ExpectSameLine(x.LineData[1], Formula("ref(c, -1)"), "look-ahead", 0);
  for (SVector& s : feed.s) s.SetSize(200);
  x.CalcLast();
  ExpectSameLine(x.LineData[0], Formula("avg(c, 3)"), "after the history shrank", 0);
}

// Bar i closes at i. A pattern of the whole history alone keeps the
// calculation full; with patterns of recent bars it becomes incremental.
TEST(CandlePattern, LaterPatternsOverwriteEarlierMarksAndUnmatchedBarsHoldMinusOne) {
  Feed feed;
  for (int i = 0; i < 20; ++i) feed.s[kClose].Add(i);
  SFunctionList patterns;
  patterns.SetExpressionWithVariable("p0|BarsSince(c == 5) == 2");
  SIndex x{"candles", kIndexCandlePattern};
  feed.Bind(x);
  x.SetCandle(&patterns);
  x.Calc();
  EXPECT_EQ(std::tuple(x.CalcState[0], x.LineData[0][7]), std::tuple(-1, 0.0));
  SFunction withK;
  withK.Expression = "c >= k and c <= 11", withK.VarName[0] = "k", withK.VarValue[0] = "10";
  patterns.SetExpressionWithVariable("p1|c == 10 or c % 7 == 3"), patterns.Add(withK), patterns.Add(SFunction());
  x.Calc();
  std::vector<double> want(20, -1.0);
  want[7] = 0;
  want[3] = want[17] = 1;
  want[10] = want[11] = 2;  // bar 10 matches two: the later one
  EXPECT_EQ(std::tuple(Values(x.LineData[0]), x.CalcState[0]), std::tuple(want, 0));
  feed.AddDaily(20, 21);
  x.CalcLast();
  EXPECT_EQ(std::tuple(x.LineData[0].GetSize(), x.LineData[0][7]), std::tuple(21, 0.0));
  x.SetCandle(nullptr);  // without a list nothing changes
  feed.AddDaily(21, 22);
  x.CalcLast();
  EXPECT_EQ(x.LineData[0].GetSize(), 21);
}

TEST(Lookback, ComposedFormulasAddTheirWindows) {
  // clang-format off
  const std::pair<std::vector<const char*>, int> cases[] = {
      {{"avg(c, 5)", "avg(c, 60)"}, 60},  // the longest line
      {{}, 0}, {{"avg(c, 20"}, 0},        // fails to parse: no bar counts
      {{"avg(c, 5) +", "avg(c, 3)"}, 3},  // the failing line does not count
      {{"avg(avg(c, 5), 3)"}, 7},         // windows chain: 4 + 2 bars of warm-up
      {{"avg(c, n)"}, 30}, {{"5"}, 1},    // n is the indicator's variable
      {{"smooth(c) - c(3)"}, 19}};        // a user function's body counts
  // clang-format on
  SFunctionList functions;
  functions.SetExpressionWithVariable("smooth|avg(avg(x, 10), 10)|x");
  for (const auto& [lines, bars] : cases) {
    SIndex x = Defined(kIndexIndicator, lines);
    x.SetFunction(&functions);
    x.VarName[0] = "n", x.VarValue[0] = "30";
    EXPECT_EQ(x.GetMinDataSize(), bars) << (lines.empty() ? "" : lines[0]);
    EXPECT_EQ(x.LineData[0].GetSize(), 0);  // evaluated without price data
  }
}

TEST_F(CalcFixture, SearchEvaluationMatchesCalcForEverySymbol) {
  SIndex x = Bound(kIndexIndicator, {"(c - avg(c, 12)) / stdev(c, 12) + crossup(c, avg(c, 12))"}), full = x;
  x.CalcSrch();  // nothing compiled yet: nothing happens
  EXPECT_EQ((std::pair{x.LineData[0].GetSize(), x.GetMinDataSize()}), std::pair(0, 13));
  x.CalcSrch();
  full.Calc();
  ExpectSameLine(x.LineData[0], full.LineData[0], "search evaluation", 0);
  Feed other;  // the compiled form is walked again for another symbol's prices
  other.AddDaily(1000, 1150);
  other.Bind(full), other.Bind(x.Engine);
  x.CalcSrch();
  full.Calc();
  ExpectSameLine(x.LineData[0], full.LineData[0], "another symbol", 0);
}

// An exit counts only after an open entry, an entry only when none is open;
// NaN is a signal, bars outside a line's valid range are none.
TEST(PreProcess, PairsEntriesWithExits) {
  const double nan = std::nan("");
  struct Case {
    std::vector<double> entry, exit, wantEntry, wantExit;
    int entryStart = 0, exitStart = 0, use = 1;
  };
  // clang-format off
  const Case cases[] = {
      {{0, 1, 1, 0, 1}, {1, 0, 0, 1, 1}, {0, 1, 0, 0, 1}, {0, 0, 0, 1, 0}},
      {{0, 0, 0}, {5, 5, 5}, {0, 0, 0}, {0, 0, 0}},
      {{0, nan, 0, 0}, {0, 0, 0, 7}, {0, nan, 0, 0}, {0, 0, 0, 7}},
      {{3, 0, 0, 4, 4}, {0, 2}, {3, 0, 0, 4, 0}, {0, 2}},  // entries beyond the exits
      {{3}, {0, 2, 2, 2}, {3}, {0, 2, 0, 0}},              // exits beyond the entries
      {{0, 1, 1, 0, 1}, {1, 0, 0, 1, 1}, {0, 1, 1, 0, 1}, {1, 0, 0, 1, 1}, 0, 0, 0},  // switched off
      {{0, 1, 1, 0, 1}, {1, 0, 0, 1, 1}, {0, 1, 1, 0, 0}, {1, 0, 0, 1, 1}, 2, 4}};
  // clang-format on
  for (const Case& c : cases) {
    for (int pair : {0, 2}) {
      SIndex x("s", kIndexSystem);
      x.UsePreProcess = c.use;
      for (double v : c.entry) x.AddData(pair, v);
      for (double v : c.exit) x.AddData(pair + 1, v);
      x.LineData[pair].SetStartIndex(c.entryStart), x.LineData[pair + 1].SetStartIndex(c.exitStart);
      x.PreProcess();
      // As printed, so that NaN compares equal to NaN.
      EXPECT_EQ(::testing::PrintToString(std::pair(Values(x.LineData[pair]), Values(x.LineData[pair + 1]))),
                ::testing::PrintToString(std::pair(c.wantEntry, c.wantExit)))
          << pair;
    }
  }
}

TEST(CheckError, ReportsTheFirstFaultAndTrimsWhatItChecked) {
  // {variable name, value, formula of line 2, message, part, line}
  // clang-format off
  const std::tuple<const char*, const char*, const char*, const char*, int, int> cases[] = {
      {"1st", "5", "", "A variable name can not start with a number.", 1, 0},
      {"my len", "5", "", "A variable name can not have any blank.", 1, 0},
      {"len", "5", "avg(c,(len)", "The number of parenthese is not correct.", 0, 2},
      {"", "", ")avg(c,5)(", "", 0, 0}};  // only the counts are compared
  // clang-format on
  for (const auto& [name, value, formula, message, part, line] : cases) {
    SIndex x;
    x.VarName[0] = name, x.VarValue[0] = value;
    x.SetExpression(2, formula);
    const IndexError e = x.CheckError();
    EXPECT_EQ(std::tuple(e.Message.str(), e.ErrorPart, e.ExpIndex, x.LastError.Message.str()),
              std::tuple(message, part, line, message));
  }
  // Blanks are trimmed in place up to the first fault.
  SIndex x;
  x.VarName[0] = " len ", x.VarValue[0] = " 1 ", x.VarName[1] = "n", x.VarName[2] = " c ";
  x.SetExpression(0, "  avg(c, len)  ");
  EXPECT_EQ((std::tuple{x.CheckError().Message.str(), x.VarName[0].str(), x.VarValue[0].str(), x.VarName[2].str()}),
            std::tuple("There is no designated variable equal to n.", "len", "1", " c "));
  x.VarName[1] = x.VarName[2] = "";
  EXPECT_EQ((std::tuple{x.CheckError().Message.str(), x.Expression[0].str()}), std::tuple("", "avg(c, len)"));
}

TEST(Scale, BarLinesIncludeZeroAndHiddenLinesDoNotCount) {
  SIndex x;
  for (double v : {5, 6}) x.AddData(0, v);
  for (double v : {1, 20}) x.AddData(1, v);
  EXPECT_EQ(std::tuple(x.GetMax(0, 1, 0), x.GetMin()), std::tuple(20, 1));
  x.LineType[1] = 1;  // a bar line
  EXPECT_EQ(std::tuple(x.GetMin(0, 1, 0), x.GetMin()), std::tuple(0, 0));
  x.SetMinMaxChanged(0);
  x.LineData[1][0] = -3;
  x.LineData[1].SetMinMaxChanged(1);
  x.GetMax();  // only range queries pass a line's change on
  EXPECT_EQ(x.MinMaxChanged, 0);
  EXPECT_EQ(std::tuple(x.GetMin(0, 1, 0), x.MinMaxChanged), std::tuple(-3, 1));
  x.ShowLine[1] = 0;
  EXPECT_EQ(x.GetMax(0, 1, 0), 6.0);
  x.ShowLine[0] = 0;
  EXPECT_EQ(std::tuple(x.GetMax(0, 1, 0), x.GetMin(0, 1, 0), x.GetMax()), std::tuple(-1e38, 1e38, -1e38));
}

TEST(Scale, DrawRangeStartsNoEarlierThanEachLineAndReachesCompanions) {
  SPriceDataList list;
  const int id = list.Add();
  SPriceData& bound = list[0];
  for (SIndex& companion : bound.CompanionIndex) companion.AddData(0, 1.0);
  SIndex chart("price", kIndexPriceChart);
  chart.SetData(&list, id);
  for (int i = 0; i < 6; ++i) chart.AddData(0, i), chart.AddData(1, i);
  chart.LineData[0].SetStartIndex(4);
  bound.PriceProperty->PriceChartType = 15;  // the multi-moving-average chart
  chart.SetDrawRange(5, 9);
  bound.PriceProperty->PriceChartType = 0;
  chart.SetDrawRange(2, 3);
  const SVector &companion = bound.CompanionIndex[3].LineData[0], &a = chart.LineData[0], &b = chart.LineData[1];
  EXPECT_EQ(std::tuple(companion.GetDrawTo(), a.GetDrawFrom(), a.GetDrawTo(), b.GetDrawFrom(), b.GetDrawTo()),
            std::tuple(9, 4, 4, 2, 3));
}
