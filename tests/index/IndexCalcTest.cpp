// Indicator calculation: variable substitution, full and incremental
// calculation, signal pairing, the definition check and the scale queries.
#include <cmath>
#include <string>
#include <vector>

#include "calc/CalcTestUtil.h"
#include "index/IndexTestUtil.h"

using namespace chartcalc::detail;

namespace {

// ---- substitution ---------------------------------------------------------------

struct ConvertCase {
  std::vector<std::pair<std::string, std::string>> vars;
  std::string expression;
  std::string converted;
};

TEST(ConvertExpression, ReplacesWholeNamesOnlyAndInsertsValuesOnce) {
  const std::string hangulWithLetterTrail = Cp949("갂");  // code page 949 bytes 0x81 0x41 ('A')
  const ConvertCase cases[] = {
      {{{"n", "10"}}, "avg(c,n)", "avg(c,10)"},
      {{{"n", "n+1"}}, "avg(c,n) - n", "avg(c,n+1) - n+1"},
      {{{"len", "5"}}, "len + len2 + Length + LEN + _len", "5 + len2 + Length + 5 + _5"},
      {{{"a", "1"}, {"A", "2"}}, "A", "1"},  // the first equal name wins
      {{{"", "7"}}, "c", "c"},               // an empty name matches nothing
      {{{"A", "9"}}, hangulWithLetterTrail + "+A", hangulWithLetterTrail + "+9"},
      {{{Cp949("기간"), "20"}}, Cp949("평균(c, 기간)"), Cp949("평균(c, 20)")},
      {{{"x", ""}}, "x*2", "*2"},
  };
  for (const ConvertCase& c : cases) {
    SIndex x;
    for (size_t k = 0; k < c.vars.size(); ++k) {
      x.VarName[k] = c.vars[k].first.c_str();
      x.VarValue[k] = c.vars[k].second.c_str();
    }
    x.SetExpression(3, c.expression.c_str());
    x.ConvertExpression(3);
    EXPECT_EQ(x.ConvertedExpression[3].str(), c.converted) << c.expression;
  }
}

TEST(ConvertExpression, LineOutsideTheFiveIsIgnoredAndLongTextsAreCut) {
  SIndex x;
  x.VarName[0] = "p";
  x.VarValue[0] = std::string(100, '9').c_str();
  x.ConvertExpression(5);
  x.ConvertExpression(-1);
  std::string many;
  for (int i = 0; i < 100; ++i) many += "p+";
  x.SetExpression(0, many.c_str());
  x.ConvertExpression();
  EXPECT_EQ(x.ConvertedExpression[0].Length(), kIndexTextBuffer - 1);
}

// ---- full calculation -------------------------------------------------------------

struct CalcFixture : ::testing::Test {
  Market market{300};
  Feed feed;
  void SetUp() override { feed.AddRange(market, 0, market.Size()); }
  SVector Formula(const std::string& text) {
    SCalc calc;
    feed.Bind(calc);
    calc.SetExpression(text.c_str());
    return calc.Calculate();
  }
};

TEST_F(CalcFixture, CalcEvaluatesEveryLineAndKeepsLinesWithoutExpression) {
  SIndex x("t", kIndexIndicator);
  feed.Bind(x);
  x.VarName[0] = "n";
  x.VarValue[0] = "10";
  x.SetExpression(0, "avg(c, n)");
  x.SetExpression(1, "c - avg(c, n * 2)");
  x.LineData[2].Add(42);
  x.Calc();
  ExpectSameLine(x.LineData[0], Formula("avg(c, 10)"), "line 0", 0);
  ExpectSameLine(x.LineData[1], Formula("c - avg(c, 10 * 2)"), "line 1", 0);
  ASSERT_EQ(x.LineData[2].GetSize(), 1);
  EXPECT_EQ(x.LineData[2][0], 42.0);
}

TEST_F(CalcFixture, SystemsAndSingleExpressionsCarryTheCloseWhereTheyFire) {
  for (int type : {kIndexSystem, kIndexSingleExpression}) {
    SIndex x("s", type);
    feed.Bind(x);
    x.SetExpression(0, "crossup(avg(c, 3), avg(c, 8))");
    x.SetExpression(1, "if(c > o, 0/0, 0) + 0");  // division by zero gives 0
    x.Calc();
    SVector cond = Formula("crossup(avg(c, 3), avg(c, 8))");
    int fired = 0;
    for (int i = cond.GetStartIndex(); i < cond.GetSize(); ++i) {
      EXPECT_EQ(x.LineData[0][i], cond[i] != 0.0 ? feed.s[kClose][i] : 0.0) << i;
      fired += cond[i] != 0.0;
    }
    EXPECT_GT(fired, 3);
    EXPECT_EQ(x.LineData[0].GetStartIndex(), cond.GetStartIndex());
  }
}

TEST(Calc, NotCalculatedKindsAndUnboundIndicatorsAreSafe) {
  for (int type : {kIndexNotCalculated, kIndexProfitGraph, kIndexNamedLines}) {
    SIndex x("n", type);
    x.SetExpression(0, "c");
    x.Calc();
    x.CalcLast();
    EXPECT_EQ(x.LineData[0].GetSize(), 0) << type;
    EXPECT_TRUE(x.ConvertedExpression[0].IsEmpty()) << type;
  }
  SIndex unbound("u", kIndexSystem);
  unbound.SetExpression(0, "c > avg(c, 5)");
  unbound.SetExpression(1, "5");
  unbound.Calc();
  unbound.CalcLast();
  unbound.CalcLast();
  EXPECT_EQ(unbound.LineData[0].GetSize(), 0);
}

TEST_F(CalcFixture, CalcRecordsTheUserFunctionsItCalls) {
  SFunctionList functions;
  functions.SetExpressionWithVariable("twice|x * 2|x");
  SIndex x("t", kIndexIndicator);
  feed.Bind(x);
  x.SetFunction(&functions);
  x.FunctionHistory.Add("stale");
  x.SetExpression(0, "twice(c) + twice(o)");
  x.Calc();
  ASSERT_EQ(x.FunctionHistory.Count(), 2);
  EXPECT_EQ(x.FunctionHistory[0], SString("twice"));
}

// ---- incremental calculation -------------------------------------------------------

TEST_F(CalcFixture, FirstCalcLastEqualsCalcAndANewBarRewritesOnlyTheLastTwo) {
  SIndex full("f", kIndexIndicator), live("l", kIndexIndicator);
  for (SIndex* x : {&full, &live}) {
    feed.Bind(*x);
    x->SetExpression(0, "avg(c, 12) - wavg(c, 5)");
  }
  full.Calc();
  live.SetCalcInit();
  live.CalcLast();
  ExpectSameLine(live.LineData[0], full.LineData[0], "first CalcLast", 0);
  EXPECT_EQ(live.CalcState[0], 0);
  EXPECT_EQ(live.CalcStart[0], 11);

  std::vector<double> before = Values(live.LineData[0]);
  before.back() = -12345;  // the last old bar is rewritten
  live.LineData[0].Update(-12345, 0);
  Market more(301);
  feed.Add(more, 300);
  live.CalcLast();
  ASSERT_EQ(live.LineData[0].GetSize(), 301);
  for (int i = 11; i < 299; ++i) EXPECT_EQ(live.LineData[0][i], before[static_cast<size_t>(i)]) << i;
  full.Calc();
  EXPECT_NEAR(live.LineData[0][299], full.LineData[0][299], 1e-9);
  EXPECT_NEAR(live.LineData[0][300], full.LineData[0][300], 1e-9);
}

TEST_F(CalcFixture, HistoryFunctionsKeepTheLineInFullCalculation) {
  SIndex x("h", kIndexIndicator);
  feed.Bind(x);
  x.SetExpression(0, "eavg(c, 10)");
  x.SetExpression(1, "avg(c, 10)");
  x.CalcLast();
  EXPECT_EQ(x.CalcState[0], -1);
  EXPECT_EQ(x.CalcState[1], 0);
  feed.Add(Market(301), 300);
  x.CalcLast();
  ExpectSameLine(x.LineData[0], Formula("eavg(c, 10)"), "eavg after a bar", 0);
  x.SetCalcInit();
  EXPECT_EQ(x.CalcState[1], -1);
  EXPECT_EQ(x.CalcStart[1], -1);
}

TEST_F(CalcFixture, ATickOnTheLastBarIsPickedUp) {
  SIndex x("t", kIndexSystem);
  feed.Bind(x);
  x.SetExpression(0, "c > highest(h(1), 5)");
  x.CalcLast();
  feed.Tick(1e6);  // far above every earlier high
  x.CalcLast();
  EXPECT_EQ(x.LineData[0][299], 1e6);  // close times the condition
  feed.Tick(1.0);
  x.CalcLast();
  EXPECT_EQ(x.LineData[0][299], 0.0);
}

TEST_F(CalcFixture, ShrunkHistoryAndLookAheadFallBackToAFullCalculation) {
  SIndex x("t", kIndexIndicator);
  feed.Bind(x);
  x.SetExpression(0, "avg(c, 3)");
  x.SetExpression(1, "ref(c, -1)");  // one bar shorter than the prices
  x.CalcLast();
  feed.Add(Market(301), 300);
  x.CalcLast();
  ExpectSameLine(x.LineData[1], Formula("ref(c, -1)"), "look-ahead", 0);
  for (SVector& s : feed.s) s.SetSize(200);
  x.CalcLast();
  ExpectSameLine(x.LineData[0], Formula("avg(c, 3)"), "after the history shrank", 0);
}

// ---- signal pairing ----------------------------------------------------------------

struct PairCase {
  std::vector<double> entry, exit;
  std::vector<double> wantEntry, wantExit;
};

TEST(PreProcess, PairsEntriesWithExits) {
  const double nan = std::nan("");
  const PairCase cases[] = {
      {{0, 1, 1, 0, 1}, {1, 0, 0, 1, 1}, {0, 1, 0, 0, 1}, {0, 0, 0, 1, 0}},
      {{0, 0, 0}, {5, 5, 5}, {0, 0, 0}, {0, 0, 0}},                    // no entry: no exit survives
      {{0, nan, 0, 0}, {0, 0, 0, 7}, {0, nan, 0, 0}, {0, 0, 0, 7}},    // NaN is a signal
      {{3, 0, 0, 4, 4}, {0, 2}, {3, 0, 0, 4, 0}, {0, 2}},              // entries beyond the exits
      {{3}, {0, 2, 2, 2}, {3}, {0, 2, 0, 0}},                          // exits beyond the entries
      {{3, 0, 4, 0}, {0, 2, 0, 2}, {3, 0, 4, 0}, {0, 2, 0, 2}},
  };
  for (const PairCase& c : cases) {
    SIndex x("s", kIndexSystem);
    for (double v : c.entry) x.AddData(2, v);
    for (double v : c.exit) x.AddData(3, v);
    x.PreProcess();
    std::vector<double> e = Values(x.LineData[2]), q = Values(x.LineData[3]);
    ASSERT_EQ(e.size(), c.wantEntry.size());
    for (size_t i = 0; i < e.size(); ++i)
      EXPECT_TRUE(e[i] == c.wantEntry[i] || (std::isnan(e[i]) && std::isnan(c.wantEntry[i]))) << "entry " << i;
    EXPECT_EQ(q, c.wantExit);
  }
}

TEST(PreProcess, DoesNothingWhenSwitchedOffAndIgnoresBarsBeforeTheStart) {
  SIndex x("s", kIndexSystem);
  for (double v : {0, 1, 1, 0, 1}) x.AddData(0, v);
  for (double v : {1, 0, 0, 1, 1}) x.AddData(1, v);
  x.UsePreProcess = 0;
  x.PreProcess();
  EXPECT_EQ(Values(x.LineData[0]), (std::vector<double>{0, 1, 1, 0, 1}));
  EXPECT_EQ(Values(x.LineData[1]), (std::vector<double>{1, 0, 0, 1, 1}));
  x.UsePreProcess = 1;
  x.LineData[0].SetStartIndex(2);  // bar 1 is no signal: the first entry is bar 2
  x.LineData[1].SetStartIndex(4);
  x.PreProcess();
  EXPECT_EQ(Values(x.LineData[0]), (std::vector<double>{0, 1, 1, 0, 0}));
  EXPECT_EQ(Values(x.LineData[1]), (std::vector<double>{1, 0, 0, 1, 1}));
}

// ---- definition check -------------------------------------------------------------

struct CheckCase {
  const char* name;
  const char* value;
  const char* expression2;
  const char* english;
  const char* korean;  // UTF-8
  int part;
  int expIndex;
};

TEST(CheckError, ReportsTheFirstFaultInTheChosenLanguage) {
  const CheckCase cases[] = {
      {"1st", "5", "", "A variable name can not start with a number.", "변수 이름은 숫자로 시작할 수 없습니다.", 1, 0},
      {"my len", "5", "", "A variable name can not have any blank.", "변수 이름에 공백문자가 있으면 안됩니다.", 1, 0},
      {"len", "  ", "", "There is no designated variable equal to len.", "len에 해당하는 변수값이 없읍니다.", 1, 0},
      {"len", "5", "avg(c,(len)", "The number of parenthese is not correct.", "괄호의 개수가 맞지 않습니다.", 0, 2},
      {"", "", ")avg(c,5)(", "", "", 0, 0},  // only the counts are compared
      {"  len  ", " 5 ", "avg(c, len)", "", "", 0, 0},
  };
  for (int lang : {kLangEnglish, kLangKorean}) {
    LangScope scope(lang);
    for (const CheckCase& c : cases) {
      SIndex x;
      x.VarName[0] = c.name;
      x.VarValue[0] = c.value;
      x.SetExpression(2, c.expression2);
      IndexError e = x.CheckError();
      std::string want = lang == kLangEnglish ? c.english : Cp949(c.korean);
      EXPECT_EQ(e.Message.str(), want) << c.name << " " << c.expression2;
      EXPECT_EQ(e.ErrorPart, c.part) << c.name;
      EXPECT_EQ(e.ExpIndex, c.expIndex) << c.name;
      EXPECT_EQ(x.LastError.Message, e.Message);
    }
  }
}

TEST(CheckError, TrimsInPlaceAndStopsAtTheFirstFaultyVariable) {
  SIndex x;
  x.VarName[0] = " a ";
  x.VarValue[0] = " 1 ";
  x.VarName[1] = "9b";
  x.VarName[2] = " c ";
  x.SetExpression(0, "  avg(c, a)  ");
  EXPECT_EQ(x.CheckError().ErrorPart, 1);
  EXPECT_EQ(x.VarName[0], SString("a"));
  EXPECT_EQ(x.VarValue[0], SString("1"));
  EXPECT_EQ(x.VarName[2], SString(" c "));  // never reached
  x.VarName[1] = "b";
  x.VarValue[1] = "2";
  x.VarName[2] = "";
  EXPECT_TRUE(x.CheckError().Message.IsEmpty());
  EXPECT_EQ(x.Expression[0], SString("avg(c, a)"));
}

// ---- scale ------------------------------------------------------------------------

SIndex Lines(std::vector<std::vector<double>> lines) {
  SIndex x;
  for (size_t k = 0; k < lines.size(); ++k)
    for (double v : lines[k]) x.AddData(static_cast<int>(k), v);
  return x;
}

TEST(Scale, BarLinesIncludeZeroAndHiddenLinesDoNotCount) {
  SIndex x = Lines({{5, 6, 7, 8, 9}});
  x.LineType[0] = 1;
  EXPECT_EQ(x.GetMin(0, 4, 0), 0.0);
  EXPECT_EQ(x.GetMin(), 0.0);
  x = Lines({{-3, 6, 7, 8, 9}});
  x.LineType[0] = 1;
  EXPECT_EQ(x.GetMin(0, 4, 0), -3.0);
  x = Lines({{5, 6}, {1, 20}});
  EXPECT_EQ(x.GetMax(0, 1, 0), 20.0);
  EXPECT_EQ(x.GetMin(), 1.0);
  x.ShowLine[1] = 0;
  EXPECT_EQ(x.GetMax(0, 1, 0), 6.0);
  x.ShowLine[0] = 0;
  EXPECT_EQ(x.GetMax(0, 1, 0), -1e38);
  EXPECT_EQ(x.GetMin(0, 1, 0), 1e38);
  EXPECT_EQ(x.GetMax(), -1e38);
}

TEST(Scale, MinMaxChangedFollowsTheLinesOnRangeQueriesOnly) {
  SIndex x = Lines({{1, 2}, {3, 4}});
  x.SetMinMaxChanged(0);
  EXPECT_EQ(x.LineData[1].GetMinMaxChanged(), 0);
  x.GetMax();
  EXPECT_EQ(x.MinMaxChanged, 0);
  x.LineData[1].SetMinMaxChanged(1);
  x.GetMax();
  x.GetMin();
  EXPECT_EQ(x.MinMaxChanged, 0);
  x.GetMin(0, 1, 0);
  EXPECT_EQ(x.MinMaxChanged, 1);
}

TEST(Scale, DrawRangeStartsNoEarlierThanEachLine) {
  SIndex x = Lines({{1, 2, 3, 4, 5, 6}, {1, 2, 3}});
  x.LineData[0].SetStartIndex(4);
  x.SetDrawRange(2, 3);
  EXPECT_EQ(x.LineData[0].GetDrawFrom(), 4);
  EXPECT_EQ(x.LineData[0].GetDrawTo(), 4);
  EXPECT_EQ(x.LineData[1].GetDrawFrom(), 2);
  EXPECT_EQ(x.LineData[1].GetDrawTo(), 3);
}

TEST(Scale, MultiMovingAverageChartPassesTheRangeToItsCompanions) {
  SPriceDataList list;
  const int id = list.Add();
  SPriceData& bound = list[0];
  bound.PriceProperty->PriceChartType = 15;
  for (SIndex& companion : bound.CompanionIndex) companion.AddData(0, 1.0);
  SIndex chart("price", kIndexPriceChart);
  chart.SetData(&list, id);
  chart.SetDrawRange(5, 9);
  EXPECT_EQ(bound.CompanionIndex[3].LineData[0].GetDrawTo(), 9);
  bound.PriceProperty->PriceChartType = 0;
  chart.SetDrawRange(1, 2);
  EXPECT_EQ(bound.CompanionIndex[3].LineData[0].GetDrawTo(), 9);
}

}  // namespace
