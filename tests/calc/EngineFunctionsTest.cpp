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
    const char* korean;
    const char* english;
    const char* alias;  // the English text table's name; nullptr when it holds a space
    const char* args;
    const char* koreanArgs = nullptr;  // when the arguments hold words of their own
  };
  const NameCase cases[] = {
      {"만일", "if", "If", "(c > 50, c, 0)"},
      {"합계", "sum", "Sum", "(c, 3)"},
      {"평균", "avg", "Average", "(c, 3)"},
      {"지수평균", "eavg", nullptr, "(c, 3)"},
      {"가중평균", "wavg", nullptr, "(c, 3)"},
      {"삼각평균", "tavg", nullptr, "(c, 4)"},
      {"기하평균", "gavg", nullptr, "(c, 3)"},
      {"조화평균", "havg", nullptr, "(c, 3)"},
      {"표준편차", "stdev", nullptr, "(c, 3)"},
      {"최고값", "highest", nullptr, "(c, 3)"},
      {"최저값", "lowest", nullptr, "(c, 3)"},
      {"최소값", "min", nullptr, "(c, 50)"},
      {"최대값", "max", nullptr, "(c, 50)"},
      {"상향돌파", "crossup", nullptr, "(c, 50)"},
      {"하향돌파", "crossdown", nullptr, "(c, 50)"},
      {"절대값", "abs", nullptr, "(c - 50)"},
      {"로그", "log", "Log", "(c)"},
      {"상용로그", "log10", nullptr, "(c)"},
      {"제곱근", "sqrt", nullptr, "(c)"},
      {"사인", "sin", "Sine", "(c)"},
      {"코사인", "cos", "Cosine", "(c)"},
      {"탄젠트", "tan", "Tangent", "(c)"},
      {"아크사인", "asin", nullptr, "(c / 100)"},
      {"아크코사인", "acos", nullptr, "(c / 100)"},
      {"아크탄젠트", "atan", nullptr, "(c)"},
      {"하이퍼사인", "sinh", nullptr, "(c / 10)"},
      {"하이퍼코사인", "cosh", nullptr, "(c / 10)"},
      {"하이퍼탄젠트", "tanh", nullptr, "(c / 10)"},
      {"누승", "pow", "Power", "(c, 2)"},
      {"종가", "c", "CloseP", ""},
      {"시가", "o", "OpenP", ""},
      {"고가", "h", "HighP", ""},
      {"저가", "l", "LowP", ""},
      {"거래량", "volume", "Volume", ""},
      {"거래대금", "amount", nullptr, ""},
      {"스프레드", "spread", "Spread", ""},
      {"미결제약정", "oi", nullptr, ""},
      {"일자", "date", nullptr, ""},
      {"시간", "time", nullptr, ""},
      {"파라볼릭", "sar", "Parabolic", "(0.02, 0.2)"},
      {"c파라볼릭", "csar", nullptr, "(0.02, 0.2)"},
      {"종가압축", "CompressC", nullptr, "(day)", "(일)"},
      {"시가압축", "CompressO", nullptr, "(hour)", "(시)"},
      {"고가압축", "CompressH", nullptr, "(month)", "(월)"},
      {"저가압축", "CompressL", nullptr, "(year)", "(년)"},
      {"거래량압축", "CompressV", nullptr, "(2)"},
      {"일시압축", "CompressD", nullptr, "(day)", "(일)"},
      {"분해", "DeCompress", nullptr, "(CompressC(day), CompressD(day))", "(종가압축(일), 일시압축(일))"},
  };
  TestBars bars = Market(40);
  for (int i = 0; i < 40; ++i) bars[kDateTime][i] = 20231201000000.0 + (i / 9) * 1000000 + (i % 9) * 20000 + i * 100;
  for (const NameCase& c : cases) {
    const std::string english = std::string(c.english) + c.args;
    const std::string korean = Cp949(c.korean) + Cp949(c.koreanArgs ? c.koreanArgs : c.args);
    const EvalResult reference = Evaluate(bars, english);
    EXPECT_TRUE(reference.value.HasValid()) << english;
    EXPECT_GT(Evaluate(bars, Cp949(c.korean) + c.args).errors, 0) << c.korean << " in English mode";
    if (c.alias) ExpectSame(reference, Evaluate(bars, std::string(c.alias) + c.args), c.alias);
    LangScope ko(kLangKorean);
    ExpectSame(reference, Evaluate(bars, korean), c.korean);
    ExpectSame(reference, Evaluate(bars, english), english + " in Korean mode");
    if (c.alias && strcasecmp(c.alias, c.english) != 0) {
      EXPECT_GT(Evaluate(bars, std::string(c.alias) + c.args).errors, 0) << c.alias << " in Korean mode";
    }
  }
}

TEST(EngineFunctions, HistoryFlagIsSetExactlyByWholeHistoryFunctions) {
  const std::pair<const char*, int> cases[] = {
      {"esum(c, 3)", 1},
      {"esum(c)", 1},
      {"shift(c, 1)", 1},
      {"valuewhen(1, c > 11, c)", 1},
      {"BarsSince(c > 11)", 1},
      {"CountSince(c > 11, c < 11)", 1},
      {"HighestSince(1, c > 11, c)", 1},
      {"LowestSince(1, c > 11, c)", 1},
      {"swinghigh(1, c, 1, 2)", 1},
      {"swinglow(1, c, 1, 2)", 1},
      {"eavg(c, 3)", 1},
      {"eavg(c)", 1},
      {"sum(c)", 1},
      {"avg(c)", 1},
      {"wavg(c)", 1},
      {"ma(c, 3, Exponetial)", 1},
      {"m = 1; ma(c, 3, m)", 1},
      {"nvi(5)", 1},
      {"pvi(5)", 1},
      {"ad()", 1},
      {"PVT()", 1},
      {"sar(0.02, 0.2)", 1},
      {"csar(0.02, 0.2)", 1},
      {"rsi(5)", 1},
      {"ZigZag(5)", 1},
      {"CompressC(day)", 1},
      {"CompressD(3)", 1},
      {"DayOpen()", 1},
      {"DayHigh()", 1},
      {"DayLow()", 1},
      {"PreDayOpen()", 1},
      {"PreDayHigh()", 1},
      {"PreDayLow()", 1},
      {"PreDayClose()", 1},
      {"DayIndex()", 1},
      {"DeCompress(5, 20240109120000)", 0},
      {"if(c > 11, 1, 0)", 0},
      {"stdev(c, 3)", 0},
      {"highest(c, 3)", 0},
      {"lowest(c, 3)", 0},
      {"min(c, o)", 0},
      {"max(c, o)", 0},
      {"ref(c, 1)", 0},
      {"crossup(c, o)", 0},
      {"crossdown(c, o)", 0},
      {"tavg(c, 3)", 0},
      {"gavg(c, 3)", 0},
      {"havg(c, 3)", 0},
      {"sum(c, 3)", 0},
      {"avg(c, 3)", 0},
      {"wavg(c, 3)", 0},
      {"ma(c, 3)", 0},
      {"ma(c, 3, Weighted)", 0},
      {"avg(c, 3, 2)", 0},
      {"cci(5)", 0},
      {"LinearRegressionValue(3, 5, 0)", 0},
      {"LinearRegressionSlope(3, 5)", 0},
      {"Correlation(3, 4, 5)", 0},
      {"RSquared(3, 5)", 0},
  };
  TestBars bars = Market(40);
  for (const auto& [formula, flag] : cases) {
    EvalResult r = Evaluate(bars, formula);
    EXPECT_EQ(r.errors, 0) << formula << ": " << r.message;
    EXPECT_EQ(r.history, flag) << formula;
  }
}

TEST(EngineFunctions, ArgumentErrorsReportTheirMessageInBothLanguages) {
  struct MessageCase {
    const char* formula;
    const char* english;
    const char* korean;
  };
  const char* kAvgPeriod[] = {"Moving average period is shorter than 1.", "이동평균 기간이 1보다 작음"};
  const char* kUnknown[] = {"Unknown error", "알수 없는 오류"};
  const char* kUsage[] = {"The function use method is not correct", "함수 사용법이 잘못 되었습니다"};
  const char* kVariable[] = {"There is an error at a variable definition.", "변수의 정의에 오류가 있습니다."};
  const MessageCase cases[] = {
      {"sum(c, 0)", "The period should be no less than one.", "기간이 1보다 작으면 안됩니다."},
      {"sum(c", "It is an unknown error.", "알수 없는 오류입니다"},
      {"avg(c, 0)", kAvgPeriod[0], kAvgPeriod[1]},
      {"eavg(c, -3)", kAvgPeriod[0], kAvgPeriod[1]},
      {"wavg(c, 0)", kAvgPeriod[0], kAvgPeriod[1]},
      {"tavg(c, 0)", kAvgPeriod[0], kAvgPeriod[1]},
      {"gavg(c, 0)", kAvgPeriod[0], kAvgPeriod[1]},
      {"havg(c, 0)", kAvgPeriod[0], kAvgPeriod[1]},
      {"ma(c, 0)", kAvgPeriod[0], kAvgPeriod[1]},
      {"avg(c, pow(0 - 1, 0.5))", kAvgPeriod[0], kAvgPeriod[1]},  // a NaN period truncates to 0
      {"avg(c", kUnknown[0], kUnknown[1]},
      {"tavg(c)", kUnknown[0], kUnknown[1]},
      {"gavg(c)", kUnknown[0], kUnknown[1]},
      {"havg(c)", kUnknown[0], kUnknown[1]},
      {"ma(c, 3", kUnknown[0], kUnknown[1]},
      {"ma(c, 3, foo)", kUsage[0], kUsage[1]},
      {"ma(c, 3, )", kUsage[0], kUsage[1]},
      {"esum(c, 0)", "Moving average The period is smaller than one.", "이동평균 기간이 1보다 작음"},
      {"highest(c, 0)", "The period is over one.", "기간은 1이상이어야 합니다."},
      {"lowest(c, -1)", "The period is over one.", "기간은 1이상이어야 합니다."},
      {"valuewhen(0, c > 12, c)", "You should select one and over of a positive number.",
       "1이상의 정수를 사용하여야 합니다"},
      {"HighestSince(0, c > 12, c)", "The first parameter of HighestSince is one and over at the price.",
       "HighestSince의 첫번째 파라미터는 1이상의 값이어야 합니다."},
      {"LowestSince(0, c > 12, c)", "The first parameter of LowestSince is one and over at the price.",
       "LowestSince의 첫번째 파라미터는 1이상의 값이어야 합니다."},
      {"cci(0)", "You should use one and over at the value within CCI function.",
       "CCI 함수의 기간에는 1이상의 정수를 사용하여야 합니다"},
      {"rsi(-1)", "You should use one and over at the value within RSI function.",
       "RSI 함수의 기간에는 1이상의 정수를 사용하여야 합니다"},
      {"LinearRegressionSlope(c, 0)", "You should use one and over at the value within LinearRegressionValue.",
       "LinearRegressionValue의 기간에는 1이상의 값을 사용하여야 합니다."},
      {"LinearRegressionValue(c, -4, 0)", "You should use one and over at the value within LinearRegressionValue.",
       "LinearRegressionValue의 기간에는 1이상의 값을 사용하여야 합니다."},
      {"Correlation(c, o, 0)", "You should use one and over at the price within Correlation.",
       "Correlation 함수는 기간은 1이상의 값을 사용하여야 합니다"},
      {"RSquared(c, -2)", "You should use one and over at the value within RSquared.",
       "RSquared의 기간에는 1이상의 값을 사용하여야 합니다."},
      {"CompressC(0)", "The compression unit should be one or more.", "압축 단위는 1 이상이어야 합니다."},
      {"CompressV(0.5)", "The compression unit should be one or more.", "압축 단위는 1 이상이어야 합니다."},
      {"CompressH(-2)", "The compression unit should be one or more.", "압축 단위는 1 이상이어야 합니다."},
      {"CompressL()", "The compression unit should be one or more.", "압축 단위는 1 이상이어야 합니다."},
      {"CompressD((3))", "The compression unit should be one or more.", "압축 단위는 1 이상이어야 합니다."},
      {"Year", kVariable[0], kVariable[1]},
      {"month", kVariable[0], kVariable[1]},
      {"year + 1", kVariable[0], kVariable[1]},
  };
  TestBars bars = Market(10);
  for (const MessageCase& c : cases) {
    EvalResult r = Evaluate(bars, c.formula);
    EXPECT_GE(r.errors, 1) << c.formula;
    EXPECT_EQ(r.message, c.english) << c.formula;
    EXPECT_FALSE(r.value.HasValid()) << c.formula;
    LangScope ko(kLangKorean);
    EXPECT_EQ(Evaluate(bars, c.formula).message, Cp949(c.korean)) << c.formula;
  }
  LangScope ko(kLangKorean);
  for (const char* word : {"년", "월"}) EXPECT_EQ(Evaluate(bars, Cp949(word)).message, Cp949(kVariable[1])) << word;
}

// Every odd argument list ends in a message, in a series without a valid bar
// or in an empty series; none may crash or read outside a series (the
// sanitizer build checks).
TEST(EngineFunctions, OddArgumentListsGiveAnErrorOrNoValidBar) {
  enum Outcome { kError, kNoValidBar, kEmptySilently };
  const std::pair<const char*, Outcome> cases[] = {
      {"avg()", kError},
      {"avg(c,)", kError},
      {"avg(,)", kError},
      {"stdev(c)", kError},
      {"if()", kError},
      {"if(c)", kError},
      {"if(c, 1)", kError},
      {"min()", kError},
      {"max(c,)", kError},
      {"crossup(c)", kError},
      {"ma(c)", kError},
      {"CountSince(c)", kError},
      {"BarsSince()", kError},
      {"valuewhen(1, c)", kError},
      {"sum(c, 1, 2, 3)", kError},
      {"swinghigh(1, c, 1)", kError},
      {"HighestSince(1, c)", kError},
      {"highest(c, 0 - 99999999999)", kError},
      {"valuewhen(0 - 1, c, c)", kError},
      {"sqrt()", kError},
      {"pow(c)", kError},
      {"pow(c, 2, 3)", kError},
      {"abs(c, 1)", kError},
      {"log", kError},
      {"pow(,)", kError},
      {"cci()", kError},
      {"rsi()", kError},
      {"sar(0.02)", kError},
      {"Correlation(1, 2)", kError},
      {"LinearRegressionValue(1, 5)", kError},
      {"stdev(c, 0)", kNoValidBar},
      {"stdev(c, -5)", kNoValidBar},
      {"highest(c, 99999999999)", kNoValidBar},
      {"lowest(c, 11)", kNoValidBar},
      {"valuewhen(99999999999, c, c)", kNoValidBar},
      {"shift(c, 99999999999)", kNoValidBar},
      {"shift(c, 0 - 99999999999)", kNoValidBar},
      {"swinghigh(1, c, 99999999999, 99999999999)", kNoValidBar},
      {"swinghigh(1, c, 1, 0)", kNoValidBar},
      {"swinglow(0 - 3, c, 1, 5)", kNoValidBar},
      {"HighestSince(99999999999, c > 1, c)", kNoValidBar},
      {"esum(c, 99999999999)", kNoValidBar},
      {"avg(c, 3, 99999999999)", kNoValidBar},
      {"avg(c, 3, 0 - 99999999999)", kNoValidBar},
      {"ref(c, 0 - 99999999999)", kNoValidBar},
      {"tavg(c, 99999999999)", kNoValidBar},
      {"sum(c, 11)", kNoValidBar},
      {"gavg(c - 12, 3, 11)", kNoValidBar},
      {"cci(11)", kNoValidBar},
      {"rsi(2147483647)", kNoValidBar},
      // Recognised, but evaluated by nothing.
      {"LeftRightMove(c, 3)", kEmptySilently},
      {"LeftRightMove()", kEmptySilently},
      {"LeftRightMove(avg(c, (2)), 1)", kEmptySilently},
  };
  TestBars bars = Market(10);
  for (const auto& [formula, outcome] : cases) {
    EvalResult r = Evaluate(bars, formula);
    EXPECT_EQ(r.errors > 0, outcome == kError) << formula << ": " << r.message;
    EXPECT_FALSE(r.value.HasValid()) << formula;
    if (outcome == kError) {
      EXPECT_EQ(r.value.GetStartIndex(), kInvalidStart) << formula;
    } else if (outcome == kEmptySilently) {
      EXPECT_EQ(r.value.GetSize(), 0) << formula;
    }
  }
  LangScope ko(kLangKorean);
  EvalResult r = Evaluate(bars, Cp949("좌우이동(c, 3)"));
  EXPECT_EQ(r.errors, 0) << r.message;
  EXPECT_EQ(r.value.GetSize(), 0);
}

}  // namespace
