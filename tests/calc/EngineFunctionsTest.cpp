// What every formula function shares, one row per function: its names in
// both languages, whether it marks the history flag, its argument messages
// and the outcome of odd argument lists.
#include <strings.h>

#include <string>
#include <vector>

#include "calc/CalcTestUtil.h"

namespace {

TEST(EngineFunctions, LocalisedNamesEvaluateAsTheEnglishNameOnlyInTheirLanguage) {
  struct NameCase {
    const char *korean, *english;
    const char* alias;  // the English text table's name; nullptr when it holds a space
    const char* args;
    const char* koreanArgs = nullptr;  // when the arguments hold words of their own
  };
  // clang-format off
  // One row per way a name is found: a series, math, data-word and time
  // function, an alias, the two parabolics that share a code, and the Korean
  // unit words of the compress functions.
  const NameCase cases[] = {
      {"만일", "if", "If", "(c > 50, c, 0)"}, {"평균", "avg", "Average", "(c, 3)"}, {"누승", "pow", "Power", "(c, 2)"},
      {"종가", "c", "CloseP", ""}, {"시간", "time", nullptr, ""}, {"파라볼릭", "sar", "Parabolic", "(0.02, 0.2)"},
      {"c파라볼릭", "csar", nullptr, "(0.02, 0.2)"}, {"시가압축", "CompressO", nullptr, "(hour)", "(시)"},
      {"분해", "DeCompress", nullptr, "(CompressC(day), CompressD(day))", "(종가압축(일), 일시압축(일))"}};
  // clang-format on
  TestBars bars = WalkBars(40);  // intraday: nine bars a day two hours apart
  for (int i = 0; i < 40; ++i) bars[kDateTime][i] = 20231201000000.0 + (i / 9) * 1000000 + (i % 9) * 20000 + i * 100;
  for (const NameCase& c : cases) {
    const std::string english = std::string(c.english) + c.args;
    const EvalResult reference = Evaluate(bars, english);
    EXPECT_TRUE(reference.value.HasValid()) << english;
    EXPECT_GT(Evaluate(bars, Cp949(c.korean) + c.args).errors, 0) << c.korean << " in English mode";
    if (c.alias) ExpectSame(reference, Evaluate(bars, std::string(c.alias) + c.args), c.alias);
    LangScope ko(kLangKorean);
    ExpectSame(reference, Evaluate(bars, Cp949(c.korean) + Cp949(c.koreanArgs ? c.koreanArgs : c.args)), c.korean);
    ExpectSame(reference, Evaluate(bars, english), english + " in Korean mode");
    if (c.alias && strcasecmp(c.alias, c.english) != 0) {
      EXPECT_GT(Evaluate(bars, std::string(c.alias) + c.args).errors, 0) << c.alias << " in Korean mode";
    }
  }
}

TEST(EngineFunctions, HistoryFlagIsSetExactlyByWholeHistoryFunctions) {
  // clang-format off
  const std::pair<int, std::vector<const char*>> cases[] = {
    // One row per way a function marks the flag (the day values, the since
    // extremes, the swings and the compressions share theirs).
    {1, {"esum(c, 3)", "esum(c)", "shift(c, 1)", "valuewhen(1, c > 11, c)", "BarsSince(c > 11)",
      "CountSince(c > 11, c < 11)", "HighestSince(1, c > 11, c)", "swinghigh(1, c, 1, 2)", "eavg(c, 3)", "eavg(c)",
      "sum(c)", "wavg(c)", "ma(c, 3, Exponetial)", "m = 1; ma(c, 3, m)", "nvi(5)", "pvi(5)", "ad()", "PVT()", "sar(0.02, 0.2)",
      "csar(0.02, 0.2)", "rsi(5)", "ZigZag(5)", "CompressC(day)", "DayOpen()", "PreDayOpen()", "DayIndex()"}},
    {0, {"DeCompress(5, 20240109120000)", "if(c > 11, 1, 0)", "stdev(c, 3)", "highest(c, 3)", "lowest(c, 3)",
      "min(c, o)", "ref(c, 1)", "crossup(c, o)", "avg(c, 3)", "ma(c, 3)", "ma(c, 3, Weighted)", "avg(c, 3, 2)",
      "cci(5)", "LinearRegressionValue(3, 5, 0)", "Correlation(3, 4, 5)", "RSquared(3, 5)"}}};
  // clang-format on
  TestBars bars = WalkBars(40);
  for (const auto& [flag, formulas] : cases)
    for (const char* formula : formulas) {
      EvalResult r = Evaluate(bars, formula);
      EXPECT_EQ(std::pair(r.errors, r.history), std::pair(0, flag)) << formula << ": " << r.message;
    }
}

TEST(EngineFunctions, ArgumentErrorsReportTheirMessageInBothLanguages) {
  // clang-format off
  const std::pair<const char*, std::vector<const char*>> cases[] = {
      {"The period should be no less than one.", {"sum(c, 0)"}}, {"It is an unknown error.", {"sum(c"}},
      {"Moving average period is shorter than 1.",
       {"avg(c, 0)", "eavg(c, -3)", "ma(c, 0)", "avg(c, pow(0 - 1, 0.5))"}},  // a NaN period truncates to 0
      {"Unknown error", {"avg(c", "tavg(c)", "ma(c, 3"}},
      {"The function use method is not correct", {"ma(c, 3, foo)", "ma(c, 3, )"}},
      {"Moving average The period is smaller than one.", {"esum(c, 0)"}},
      {"The period is over one.", {"highest(c, 0)", "lowest(c, -1)"}},
      {"You should select one and over of a positive number.", {"valuewhen(0, c > 12, c)"}},
      {"The first parameter of HighestSince is one and over at the price.", {"HighestSince(0, c > 12, c)"}},
      {"The first parameter of LowestSince is one and over at the price.", {"LowestSince(0, c > 12, c)"}},
      {"You should use one and over at the value within CCI function.", {"cci(0)"}},
      {"You should use one and over at the value within RSI function.", {"rsi(-1)"}},
      {"You should use one and over at the value within LinearRegressionValue.",
       {"LinearRegressionSlope(c, 0)", "LinearRegressionValue(c, -4, 0)"}},
      {"You should use one and over at the price within Correlation.", {"Correlation(c, o, 0)"}},
      {"You should use one and over at the value within RSquared.", {"RSquared(c, -2)"}},
      {"The compression unit should be one or more.",
       {"CompressC(0)", "CompressV(0.5)", "CompressL()", "CompressD((3))"}},
      {"There is an error at a variable definition.", {"Year", "month", "year + 1"}}};
  // clang-format on
  TestBars bars = WalkBars(10);
  for (const auto& [message, formulas] : cases)
    for (const char* formula : formulas) {
      EvalResult r = Evaluate(bars, formula);
      EXPECT_EQ(std::pair(r.errors > 0, r.message), std::pair(true, std::string(message))) << formula;
    }
  LangScope ko(kLangKorean);  // the Korean words for year and month are reserved too
  // clang-format off
  const std::pair<const char*, const char*> korean[] = {
      {"CompressC(0)", "압축 단위는 1 이상이어야 합니다."}, {"월", "변수의 정의에 오류가 있습니다."}};
  // clang-format on
  for (const auto& [formula, message] : korean) EXPECT_EQ(Evaluate(bars, Cp949(formula)).message, Cp949(message));
}

// Every odd argument list ends in a message, in a series without a valid bar
// or in an empty series; none may crash or read outside a series (the
// sanitizer build checks).
TEST(EngineFunctions, OddArgumentListsGiveAnErrorOrNoValidBar) {
  // clang-format off
  const char* errors[] = {
      "avg()", "avg(c,)", "avg(,)", "stdev(c)", "if()", "if(c)", "if(c, 1)", "min()", "max(c,)", "crossup(c)",
      "ma(c)", "CountSince(c)", "BarsSince()", "valuewhen(1, c)", "sum(c, 1, 2, 3)", "swinghigh(1, c, 1)",
      "HighestSince(1, c)", "highest(c, 0 - 99999999999)", "valuewhen(0 - 1, c, c)", "sqrt()", "pow(c)",
      "pow(c, 2, 3)", "abs(c, 1)", "log", "pow(,)", "cci()", "rsi()", "sar(0.02)", "Correlation(1, 2)",
      "LinearRegressionValue(1, 5)"};
  const char* noValidBar[] = {
      "stdev(c, 0)", "stdev(c, -5)", "highest(c, 99999999999)", "lowest(c, 11)", "valuewhen(99999999999, c, c)",
      "shift(c, 99999999999)", "shift(c, 0 - 99999999999)", "swinghigh(1, c, 99999999999, 99999999999)",
      "swinghigh(1, c, 1, 0)", "swinglow(0 - 3, c, 1, 5)", "HighestSince(99999999999, c > 1, c)",
      "esum(c, 99999999999)", "avg(c, 3, 99999999999)", "avg(c, 3, 0 - 99999999999)", "ref(c, 0 - 99999999999)",
      "tavg(c, 99999999999)", "sum(c, 11)", "gavg(c - 12, 3, 11)", "cci(11)", "rsi(2147483647)",
      // Recognised, but evaluated by nothing: an empty series.
      "LeftRightMove(c, 3)", "LeftRightMove()", "LeftRightMove(avg(c, (2)), 1)"};
  // clang-format on
  TestBars bars = WalkBars(10);
  for (const char* formula : errors) {
    EvalResult r = Evaluate(bars, formula);
    EXPECT_EQ(std::pair(r.errors > 0, r.value.GetStartIndex()), std::pair(true, kInvalidStart)) << formula;
  }
  for (const char* formula : noValidBar) {
    EvalResult r = Evaluate(bars, formula);
    EXPECT_EQ(std::pair(r.errors, r.value.HasValid()), std::pair(0, false)) << formula << ": " << r.message;
  }
}

}  // namespace
