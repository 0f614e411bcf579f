// Series functions: names in both languages, values, start indices and sizes,
// argument errors and their messages, the history flag, and odd argument lists.
//
// Unless a comment says otherwise, expected values are worked by hand from the
// ten closes below.
#include <cmath>
#include <string>
#include <vector>

#include "calc/CalcTestUtil.h"
#include "calc/SeriesFunctions.h"

using namespace chartcalc::detail;

namespace {

// bar:     0   1   2   3   4   5   6   7   8   9
// close:  10  11  12  11  13  14  12  11  15  16
struct SeriesFunctionsTest : ::testing::Test {
  TestBars bars;
  void SetUp() override {
    bars[kClose] = Series({10, 11, 12, 11, 13, 14, 12, 11, 15, 16});
    bars[kOpen] = Series({9, 9, 9, 9, 9, 9, 9, 9, 9, 9});
    bars[kDateTime] = Series({20240102, 20240103, 20240104, 20240105, 20240108, 20240109, 20240110, 20240111,
                              20240112, 20240115});
  }
  EvalResult Eval(const std::string& f) { return Evaluate(bars, f); }
};

// The frame and the valid values of a result.
struct Expected {
  int size;
  int start;
  std::vector<double> valid;  // bars start .. size - 1
};

void ExpectSeries(const EvalResult& r, const Expected& e, const std::string& what) {
  EXPECT_EQ(r.errors, 0) << what << ": " << r.message;
  EXPECT_EQ(r.value.GetSize(), e.size) << what;
  ASSERT_EQ(r.value.GetStartIndex(), e.start) << what;
  std::vector<double> got;
  for (int i = e.start; i < r.value.GetSize(); ++i) got.push_back(r.value[i]);
  ASSERT_EQ(got.size(), e.valid.size()) << what;
  for (size_t k = 0; k < got.size(); ++k) EXPECT_NEAR(got[k], e.valid[k], 1e-9) << what << " bar " << e.start + k;
}

struct SeriesCase {
  const char* formula;
  Expected expected;
};

void RunCases(SeriesFunctionsTest& t, std::initializer_list<SeriesCase> cases) {
  for (const SeriesCase& c : cases) ExpectSeries(t.Eval(c.formula), c.expected, c.formula);
}

// Both results equal over the valid bars, with the same frame.
void ExpectSame(const EvalResult& a, const EvalResult& b, const std::string& what) {
  EXPECT_EQ(a.errors, 0) << what << ": " << a.message;
  EXPECT_EQ(b.errors, 0) << what << ": " << b.message;
  EXPECT_EQ(a.value.GetSize(), b.value.GetSize()) << what;
  ASSERT_EQ(a.value.GetStartIndex(), b.value.GetStartIndex()) << what;
  for (int i = a.value.GetStartIndex(); i < a.value.GetSize(); ++i)
    EXPECT_DOUBLE_EQ(a.value[i], b.value[i]) << what << " bar " << i;
}

// ---- names --------------------------------------------------------------------

TEST_F(SeriesFunctionsTest, LocalisedNamesEvaluateAsTheEnglishName) {
  struct NameCase {
    const char* english;
    const char* korean;
    const char* englishTable;  // nullptr when it holds a space and cannot be written
    const char* args;
  };
  const NameCase cases[] = {
      {"if", "만일", "If", "(c > 11, c, 0)"},
      {"sum", "합계", "Sum", "(c, 3)"},
      {"avg", "평균", "Average", "(c, 3)"},
      {"eavg", "지수평균", nullptr, "(c, 3)"},
      {"wavg", "가중평균", nullptr, "(c, 3)"},
      {"tavg", "삼각평균", nullptr, "(c, 4)"},
      {"gavg", "기하평균", nullptr, "(c, 3)"},
      {"havg", "조화평균", nullptr, "(c, 3)"},
      {"stdev", "표준편차", nullptr, "(c, 3)"},
      {"highest", "최고값", nullptr, "(c, 3)"},
      {"lowest", "최저값", nullptr, "(c, 3)"},
      {"min", "최소값", nullptr, "(c, 12)"},
      {"max", "최대값", nullptr, "(c, 12)"},
      {"crossup", "상향돌파", nullptr, "(c, 11.5)"},
      {"crossdown", "하향돌파", nullptr, "(c, 11.5)"},
  };
  for (const NameCase& c : cases) {
    const std::string english = std::string(c.english) + c.args;
    const EvalResult reference = Eval(english);
    EXPECT_GT(Eval(Cp949(c.korean) + c.args).errors, 0) << c.korean << " in English mode";
    if (c.englishTable) ExpectSame(reference, Eval(std::string(c.englishTable) + c.args), c.englishTable);
    LangScope ko(kLangKorean);
    ExpectSame(reference, Eval(Cp949(c.korean) + c.args), c.korean);
    ExpectSame(reference, Eval(english), english + " in Korean mode");
  }
}

TEST_F(SeriesFunctionsTest, LeftRightMoveIsRecognisedButYieldsAnEmptySeriesSilently) {
  for (const char* f : {"LeftRightMove(c, 3)", "LeftRightMove()", "LeftRightMove(avg(c, (2)), 1)"}) {
    EvalResult r = Eval(f);
    EXPECT_EQ(r.errors, 0) << f << ": " << r.message;
    EXPECT_EQ(r.value.GetSize(), 0) << f;
  }
  LangScope ko(kLangKorean);
  EvalResult r = Eval(Cp949("좌우이동") + "(c, 3)");
  EXPECT_EQ(r.errors, 0) << r.message;
  EXPECT_EQ(r.value.GetSize(), 0);
}

TEST_F(SeriesFunctionsTest, LocalisedMovingAverageNameIsEvaluatedButNotRecognised) {
  LangScope ko(kLangKorean);
  const std::string name = Cp949("이평");
  EvalResult r = Eval(name + "(c, 3)");
  EXPECT_EQ(r.errors, 1);
  EXPECT_EQ(r.message, name + Cp949("이(가) 정의되지 않았습니다.") + "\n");

  SCalc calc;
  bars.Bind(calc);
  EXPECT_FALSE(calc.IsVectorFunction(name.c_str()));
  EXPECT_TRUE(calc.IsVectorFunction("ma"));
  calc.SetExpression(("c, 3, " + Cp949("가중") + ")").c_str());
  calc.GetToken();
  ExpectSame({calc.ProcessVectorFunction(name.c_str()), 0, ""}, Eval("wavg(c, 3)"), "evaluated as ma");
}

// ---- if -----------------------------------------------------------------------

TEST_F(SeriesFunctionsTest, IfTakesItsFrameFromTheFirstSeriesArgument) {
  RunCases(*this, {
                      {"if(c > 11, 1, 0)", {10, 0, {0, 0, 1, 0, 1, 1, 1, 0, 1, 1}}},
                      {"if(1, 2, 3)", {10, 0, {2, 2, 2, 2, 2, 2, 2, 2, 2, 2}}},
                      {"if(0, 2, c)", {10, 0, {10, 11, 12, 11, 13, 14, 12, 11, 15, 16}}},
                      // The latest start index of the three arguments.
                      {"if(c > 11, avg(c, 3), 0)", {10, 2, {11, 0, 12, 38.0 / 3, 13, 0, 38.0 / 3, 14}}},
                      {"if(1, avg(c, 3), c)", {10, 2, {11, 34.0 / 3, 12, 38.0 / 3, 13, 37.0 / 3, 38.0 / 3, 14}}},
                      // A shorter condition frames the result.
                      {"if(shift(c, -7) > 12, 1, 0)", {3, 0, {0, 1, 1}}},
                  });
}

TEST_F(SeriesFunctionsTest, IfTreatsNanAsTrue) {
  SCalc calc;
  bars.Bind(calc);
  SVector c = Series({std::nan(""), 0, 1});
  SVector r = SeriesIf(calc, c, SVector(1.0), SVector(2.0));
  EXPECT_EQ(Values(r), std::vector<double>({1, 2, 1}));
}

// ---- moving sums and averages -------------------------------------------------

TEST_F(SeriesFunctionsTest, PeriodAndCumulativeForms) {
  RunCases(*this, {
                      {"sum(c, 3)", {10, 2, {33, 34, 36, 38, 39, 37, 38, 42}}},
                      {"avg(c, 3)", {10, 2, {11, 34.0 / 3, 12, 38.0 / 3, 13, 37.0 / 3, 38.0 / 3, 14}}},
                      {"sum(c)", {10, 0, {10, 21, 33, 44, 57, 71, 83, 94, 109, 125}}},
                      {"avg(c)", {10, 0, {10, 10.5, 11, 11, 11.4, 71.0 / 6, 83.0 / 7, 94.0 / 8, 109.0 / 9, 12.5}}},
                      // A number's cumulative form runs over close's bars.
                      {"sum(2)", {10, 0, {2, 4, 6, 8, 10, 12, 14, 16, 18, 20}}},
                      // A number is spread over close's bars for a window.
                      {"avg(4, 3)", {10, 2, {4, 4, 4, 4, 4, 4, 4, 4}}},
                      // The window starts after the series' own start.
                      {"sum(avg(c, 3), 2)", {10, 3, {11 + 34.0 / 3, 34.0 / 3 + 12, 24 + 2.0 / 3, 25 + 2.0 / 3, 25 + 1.0 / 3,
                                                     25, 26 + 2.0 / 3}}},
                      // The trailing ", n" delays the result.
                      {"avg(c, 3, 2)", {10, 4, {11, 34.0 / 3, 12, 38.0 / 3, 13, 37.0 / 3}}},
                      // Longer than the series: no valid bar, no message.
                      {"avg(c, 20)", {10, 19, {}}},
                  });
}

// Provenance: the two recurrences written out in the test.
TEST_F(SeriesFunctionsTest, ExponentialSums) {
  const SVector& c = bars[kClose];
  // Cumulative: r[0] = x[0]; r[i] = (i - 1) / i * r[i - 1] + x[i].
  std::vector<double> cumulative = {c[0]};
  for (int i = 1; i < 10; ++i) cumulative.push_back((i - 1.0) / i * cumulative.back() + c[i]);
  // Period 3: the first window's sum, then r[i - 1] * 2 / 3 + x[i].
  std::vector<double> windowed = {c[0] + c[1] + c[2]};
  for (int i = 3; i < 10; ++i) windowed.push_back(windowed.back() * 2 / 3 + c[i]);
  RunCases(*this, {{"esum(c)", {10, 0, cumulative}}, {"esum(c, 3)", {10, 2, windowed}}});
  EXPECT_EQ(windowed[1], 33.0);  // 33 * 2 / 3 + 11, worked by hand
}

TEST_F(SeriesFunctionsTest, EsumWithAnUnexpectedTokenHasNoValidBarAndNoMessage) {
  SCalc calc;
  bars.Bind(calc);
  calc.SetExpression("c ;");
  calc.GetToken();
  SVector r = calc.ProcessVectorFunction("esum");
  EXPECT_EQ(calc.ErrorCount, 0);
  EXPECT_EQ(r.GetStartIndex(), kInvalidStart);
  EXPECT_EQ(calc.HistoryFlag, 1);
}

TEST_F(SeriesFunctionsTest, MaMethodSelectsTheAverage) {
  const std::pair<const char*, const char*> cases[] = {
      {"ma(c, 3)", "avg(c, 3)"},
      {"ma(c, 3, Simple)", "avg(c, 3)"},
      {"ma(c, 3, Exponetial)", "eavg(c, 3)"},
      {"ma(c, 3, weighted)", "wavg(c, 3)"},
      {"ma(c, 3, GEOMETRIC)", "gavg(c, 3)"},
      {"ma(c, 3, Harmonic)", "havg(c, 3)"},
      {"ma(c, 3, 2)", "avg(c, 3)"},            // a number selects the simple average
      {"m = 2; ma(c, 3, m)", "wavg(c, 3)"},    // a variable holds the method's value
      {"m = 9; ma(c, 3, m)", "avg(c, 3)"},     // an unknown value is the simple average
      {"ma(c, 3, Weighted, 1)", "wavg(c, 3, 1)"},
  };
  for (const auto& [ma, expected] : cases) ExpectSame(Eval(ma), Eval(expected), ma);
  LangScope ko(kLangKorean);
  ExpectSame(Eval("ma(c, 3, " + Cp949("가중") + ")"), Eval("wavg(c, 3)"), "ma(c, 3, 가중)");
  EXPECT_GT(Eval("ma(c, 3, Weighted)").errors, 0);  // English method words are not Korean ones
}

TEST_F(SeriesFunctionsTest, MaWithAMethodDoesNotCheckThePeriod) {
  EvalResult r = Eval("ma(c, 0, Simple)");
  EXPECT_EQ(r.errors, 0);
  EXPECT_FALSE(r.value.HasValid());
}

// ---- extremes, deviation ------------------------------------------------------

TEST_F(SeriesFunctionsTest, ExtremesAndDeviation) {
  RunCases(*this, {
                      {"highest(c, 3)", {10, 2, {12, 12, 13, 14, 14, 14, 15, 16}}},
                      {"lowest(c, 3)", {10, 2, {10, 11, 11, 11, 12, 11, 11, 11}}},
                      {"highest(c, 1)", {10, 0, {10, 11, 12, 11, 13, 14, 12, 11, 15, 16}}},
                      // Population deviation: the windows' squared deviations
                      // summed by hand, divided by 3.
                      {"stdev(c, 3)", {10, 2, {std::sqrt(2.0 / 3), std::sqrt(2.0 / 9), std::sqrt(2.0 / 3), std::sqrt(14.0 / 9),
                                               std::sqrt(2.0 / 3), std::sqrt(14.0 / 9), std::sqrt(26.0 / 9),
                                               std::sqrt(14.0 / 3)}}},
                  });
}

TEST_F(SeriesFunctionsTest, MinAndMaxTakeTheLatestStartAndTheShortestSize) {
  // shift(c, -1) has 9 bars; avg(c, 3) starts at bar 2.
  RunCases(*this, {
                      {"min(c, avg(c, 3), shift(c, -1))", {9, 2, {11, 11, 12, 12, 11, 11, 38.0 / 3}}},
                      {"max(c, avg(c, 3), shift(c, -1))", {9, 2, {12, 13, 14, 14, 13, 15, 16}}},
                      {"min(c, 12)", {10, 0, {10, 11, 12, 11, 12, 12, 12, 11, 12, 12}}},
                      {"max(12, c)", {10, 0, {12, 12, 12, 12, 13, 14, 12, 12, 15, 16}}},
                      {"min(c)", {10, 0, {10, 11, 12, 11, 13, 14, 12, 11, 15, 16}}},
                  });
}

// ---- delays and crossings -----------------------------------------------------

TEST_F(SeriesFunctionsTest, ShiftLengthensAndRefDelays) {
  RunCases(*this, {
                      {"shift(c, 2)", {12, 2, {10, 11, 12, 11, 13, 14, 12, 11, 15, 16}}},
                      {"shift(c, -1)", {9, 0, {11, 12, 11, 13, 14, 12, 11, 15, 16}}},
                      {"shift(c, 0)", {10, 0, {10, 11, 12, 11, 13, 14, 12, 11, 15, 16}}},
                      {"shift(c, -20)", {0, 0, {}}},
                      // Beyond the series' length: nothing left to show.
                      {"shift(c, 11)", {10, kInvalidStart, {}}},
                      {"ref(c, 2)", {10, 2, {10, 11, 12, 11, 13, 14, 12, 11}}},
                  });
}

TEST_F(SeriesFunctionsTest, CrossingsNeedTheOtherSideOnThePreviousBar) {
  RunCases(*this, {
                      {"crossup(c, 11.5)", {10, 1, {0, 1, 0, 1, 0, 0, 0, 1, 0}}},
                      {"crossdown(c, 11.5)", {10, 1, {0, 0, 1, 0, 0, 0, 1, 0, 0}}},
                      // Touching the line on the previous bar counts; on the
                      // current bar it does not.
                      {"crossup(c, 11)", {10, 1, {0, 1, 0, 1, 0, 0, 0, 1, 0}}},
                      {"crossdown(c, 12)", {10, 1, {0, 0, 1, 0, 0, 0, 1, 0, 0}}},
                      {"crossup(c, avg(c, 3))", {10, 3, {0, 1, 0, 0, 0, 1, 0}}},
                  });
}

// ---- since counters -----------------------------------------------------------

TEST_F(SeriesFunctionsTest, SinceCounters) {
  // c > 12 on bars 4, 5, 8, 9; c < 12 on bars 0, 1, 3, 7.
  RunCases(*this, {
                      {"valuewhen(1, c > 12, c)", {10, 4, {13, 14, 14, 14, 15, 16}}},
                      {"valuewhen(2, c > 12, c)", {10, 5, {13, 13, 13, 14, 15}}},
                      {"valuewhen(4, c > 12, c)", {10, 9, {13}}},
                      {"valuewhen(5, c > 12, c)", {10, kInvalidStart, {}}},
                      {"BarsSince(c > 12)", {10, 4, {0, 0, 1, 2, 0, 0}}},
                      {"BarsSince(c > 100)", {10, 0, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9}}},
                      {"CountSince(c > 13, c < 13)", {10, 5, {0, 1, 2, 0, 0}}},
                      {"CountSince(c > 100, c)", {10, kInvalidStart, {}}},
                      {"HighestSince(1, c < 12, c)", {10, 0, {10, 11, 12, 11, 13, 14, 14, 11, 15, 16}}},
                      {"LowestSince(1, c > 12, c)", {10, 4, {13, 14, 12, 11, 15, 16}}},
                      // Since the second most recent c < 12.
                      {"HighestSince(2, c < 12, c)", {10, 1, {11, 12, 12, 13, 14, 14, 14, 15, 16}}},
                      {"HighestSince(5, c < 12, c)", {10, 11, {}}},
                  });
}

// An independent quadratic loop over a longer series: valuewhen and
// HighestSince against their definitions, for several n.
TEST_F(SeriesFunctionsTest, SinceFunctionsMatchTheirDefinitionOnLongerData) {
  const int n = 300;
  SVector x(n), cond(n);
  for (int i = 0; i < n; ++i) {
    x[i] = std::sin(i * 0.7) * 10 + (i % 7);
    cond[i] = (i * 37 % 11) < 3 ? 1.0 : 0.0;
  }
  SCalc calc;
  bars.Bind(calc);
  for (int k : {1, 2, 3, 7}) {
    SVector vw = SeriesValueWhen(calc, k, cond, x);
    SVector hs = SeriesHighestSince(calc, k, cond, x);
    int seen = 0;
    for (int i = 0; i < n; ++i) {
      seen += cond[i] != 0.0;
      if (seen < k) {
        EXPECT_GT(vw.GetStartIndex(), i);
        continue;
      }
      int found = 0, bar = i;
      for (; bar >= 0; --bar)
        if (cond[bar] != 0.0 && ++found == k) break;
      double best = x[bar];
      for (int j = bar; j <= i; ++j) best = std::max(best, x[j]);
      EXPECT_EQ(vw[i], x[bar]) << "valuewhen " << k << " bar " << i;
      EXPECT_EQ(hs[i], best) << "HighestSince " << k << " bar " << i;
    }
  }
}

// ---- swing points from a formula ---------------------------------------------

TEST_F(SeriesFunctionsTest, SwingHighAndLowFromAFormula) {
  RunCases(*this, {
                      // Bar 2 (12) and bar 5 (14) are swing highs of strength 1.
                      {"swinghigh(1, c, 1, 2)", {10, 3, {12, -1, -1, 14, -1, -1, -1}}},
                      // Bar 3 (11) is a swing low; bar 7 (11) too.
                      {"swinglow(1, c, 1, 2)", {10, 3, {-1, 11, -1, -1, -1, 11, -1}}},
                  });
}

// ---- history flag -------------------------------------------------------------

TEST_F(SeriesFunctionsTest, HistoryFlagIsSetExactlyByWholeHistoryFunctions) {
  const std::pair<const char*, int> cases[] = {
      {"esum(c, 3)", 1}, {"esum(c)", 1}, {"shift(c, 1)", 1}, {"valuewhen(1, c > 11, c)", 1},
      {"BarsSince(c > 11)", 1}, {"CountSince(c > 11, c < 11)", 1}, {"HighestSince(1, c > 11, c)", 1},
      {"LowestSince(1, c > 11, c)", 1}, {"swinghigh(1, c, 1, 2)", 1}, {"swinglow(1, c, 1, 2)", 1},
      {"eavg(c, 3)", 1}, {"eavg(c)", 1}, {"sum(c)", 1}, {"avg(c)", 1}, {"wavg(c)", 1},
      {"ma(c, 3, Exponetial)", 1}, {"m = 1; ma(c, 3, m)", 1},
      {"if(c > 11, 1, 0)", 0}, {"stdev(c, 3)", 0}, {"highest(c, 3)", 0}, {"lowest(c, 3)", 0},
      {"min(c, o)", 0}, {"max(c, o)", 0}, {"ref(c, 1)", 0}, {"crossup(c, o)", 0}, {"crossdown(c, o)", 0},
      {"tavg(c, 3)", 0}, {"gavg(c, 3)", 0}, {"havg(c, 3)", 0}, {"sum(c, 3)", 0}, {"avg(c, 3)", 0},
      {"wavg(c, 3)", 0}, {"ma(c, 3)", 0}, {"ma(c, 3, Weighted)", 0}, {"avg(c, 3, 2)", 0},
  };
  for (const auto& [formula, flag] : cases) {
    SCalc calc;
    bars.Bind(calc);
    calc.SetExpression(formula);
    calc.Calculate();
    EXPECT_EQ(calc.ErrorCount, 0) << formula;
    EXPECT_EQ(calc.HistoryFlag, flag) << formula;
  }
}

// ---- messages -----------------------------------------------------------------

TEST_F(SeriesFunctionsTest, ArgumentErrorsReportTheirMessageInBothLanguages) {
  struct MessageCase {
    const char* formula;
    const char* english;
    const char* korean;
  };
  const MessageCase cases[] = {
      {"sum(c, 0)", "The period should be no less than one.", "기간이 1보다 작으면 안됩니다."},
      {"sum(c", "It is an unknown error.", "알수 없는 오류입니다"},
      {"avg(c, 0)", "Moving average period is shorter than 1.", "이동평균 기간이 1보다 작음"},
      {"eavg(c, -3)", "Moving average period is shorter than 1.", "이동평균 기간이 1보다 작음"},
      {"wavg(c, 0)", "Moving average period is shorter than 1.", "이동평균 기간이 1보다 작음"},
      {"tavg(c, 0)", "Moving average period is shorter than 1.", "이동평균 기간이 1보다 작음"},
      {"gavg(c, 0)", "Moving average period is shorter than 1.", "이동평균 기간이 1보다 작음"},
      {"havg(c, 0)", "Moving average period is shorter than 1.", "이동평균 기간이 1보다 작음"},
      {"ma(c, 0)", "Moving average period is shorter than 1.", "이동평균 기간이 1보다 작음"},
      // A NaN period truncates to 0.
      {"avg(c, pow(0 - 1, 0.5))", "Moving average period is shorter than 1.", "이동평균 기간이 1보다 작음"},
      {"avg(c", "Unknown error", "알수 없는 오류"},
      {"tavg(c)", "Unknown error", "알수 없는 오류"},
      {"gavg(c)", "Unknown error", "알수 없는 오류"},
      {"havg(c)", "Unknown error", "알수 없는 오류"},
      {"ma(c, 3", "Unknown error", "알수 없는 오류"},
      {"ma(c, 3, foo)", "The function use method is not correct", "함수 사용법이 잘못 되었습니다"},
      {"ma(c, 3, )", "The function use method is not correct", "함수 사용법이 잘못 되었습니다"},
      {"esum(c, 0)", "Moving average The period is smaller than one.", "이동평균 기간이 1보다 작음"},
      {"highest(c, 0)", "The period is over one.", "기간은 1이상이어야 합니다."},
      {"lowest(c, -1)", "The period is over one.", "기간은 1이상이어야 합니다."},
      {"valuewhen(0, c > 12, c)", "You should select one and over of a positive number.",
       "1이상의 정수를 사용하여야 합니다"},
      {"HighestSince(0, c > 12, c)", "The first parameter of HighestSince is one and over at the price.",
       "HighestSince의 첫번째 파라미터는 1이상의 값이어야 합니다."},
      {"LowestSince(0, c > 12, c)", "The first parameter of LowestSince is one and over at the price.",
       "LowestSince의 첫번째 파라미터는 1이상의 값이어야 합니다."},
  };
  for (const MessageCase& c : cases) {
    EvalResult r = Eval(c.formula);
    EXPECT_GE(r.errors, 1) << c.formula;
    EXPECT_EQ(r.message, c.english) << c.formula;
    EXPECT_EQ(r.value.GetStartIndex(), kInvalidStart) << c.formula;
    LangScope ko(kLangKorean);
    EXPECT_EQ(Eval(c.formula).message, Cp949(c.korean)) << c.formula;
  }
}

TEST_F(SeriesFunctionsTest, ValueWhenWithoutAPositiveCountHasNoValidBar) {
  SCalc calc;
  bars.Bind(calc);
  SVector r = SeriesValueWhen(calc, 0, bars[kClose], bars[kClose]);
  EXPECT_EQ(calc.ErrorCount, 1);
  EXPECT_EQ(r.GetSize(), 10);
  EXPECT_EQ(r.GetStartIndex(), kInvalidStart);
}

// ---- odd argument lists -------------------------------------------------------

// Every odd argument list ends in a message or in a series without a valid
// bar; none may crash or read outside a series (the sanitizer build checks).
TEST_F(SeriesFunctionsTest, OddArgumentListsGiveAnErrorOrNoValidBar) {
  struct OddCase {
    const char* formula;
    bool error;
  };
  const OddCase cases[] = {
      {"avg()", true}, {"avg(c,)", true}, {"avg(,)", true}, {"stdev(c)", true}, {"if()", true},
      {"if(c)", true}, {"if(c, 1)", true}, {"min()", true}, {"max(c,)", true}, {"crossup(c)", true},
      {"ma(c)", true}, {"CountSince(c)", true}, {"BarsSince()", true}, {"valuewhen(1, c)", true},
      {"sum(c, 1, 2, 3)", true}, {"swinghigh(1, c, 1)", true}, {"HighestSince(1, c)", true},
      {"highest(c, 0 - 99999999999)", true}, {"valuewhen(0 - 1, c, c)", true},
      {"stdev(c, 0)", false}, {"stdev(c, -5)", false}, {"highest(c, 99999999999)", false},
      {"lowest(c, 11)", false}, {"valuewhen(99999999999, c, c)", false}, {"shift(c, 99999999999)", false},
      {"shift(c, 0 - 99999999999)", false}, {"swinghigh(1, c, 99999999999, 99999999999)", false},
      {"swinghigh(1, c, 1, 0)", false}, {"swinglow(0 - 3, c, 1, 5)", false},
      {"HighestSince(99999999999, c > 1, c)", false}, {"esum(c, 99999999999)", false},
      {"avg(c, 3, 99999999999)", false}, {"avg(c, 3, 0 - 99999999999)", false},
      {"ref(c, 0 - 99999999999)", false}, {"tavg(c, 99999999999)", false}, {"sum(c, 11)", false},
      {"gavg(c - 12, 3, 11)", false},
  };
  for (const OddCase& c : cases) {
    EvalResult r = Eval(c.formula);
    if (c.error) {
      EXPECT_GT(r.errors, 0) << c.formula;
      EXPECT_EQ(r.value.GetStartIndex(), kInvalidStart) << c.formula;
    } else {
      EXPECT_EQ(r.errors, 0) << c.formula << ": " << r.message;
      EXPECT_FALSE(r.value.HasValid()) << c.formula;
    }
  }
}

// Functions over empty and unbound series.
TEST_F(SeriesFunctionsTest, EmptyArgumentsGiveEmptyResults) {
  SCalc calc;  // nothing bound: close is empty
  const SVector empty;
  const SVector results[] = {
      SeriesIf(calc, empty, empty, empty),       SeriesMoving(calc, kMovingAvg, empty, 3),
      SeriesMovingCum(calc, kMovingSum, empty), SeriesMoving(calc, kMovingSum, SVector(3.0), 2),
      SeriesHighest(calc, empty, 5),             SeriesMinOf(empty, SVector(1.0)),
      SeriesShift(calc, empty, 3),               SeriesCrossUp(empty, empty),
      SeriesValueWhen(calc, 1, empty, empty),    SeriesBarsSince(calc, empty),
      SeriesCountSince(calc, empty, empty),      SeriesLowestSince(calc, 1, empty, empty),
      SeriesSwing(calc, 1, 1, empty, 1, 2),      SeriesESumCum(calc, empty),
  };
  for (const SVector& r : results) EXPECT_FALSE(r.HasValid());
  EXPECT_EQ(calc.ErrorCount, 0);
}

// ---- partial recalculation ----------------------------------------------------

// A recalculation from a later bar (as the newest bars are recomputed) must
// agree with the full calculation on every bar it marks valid, for every
// window-limited function.
TEST_F(SeriesFunctionsTest, PartialCalculationAgreesWithTheFullOne) {
  const char* formulas[] = {"avg(c, 3)",    "sum(c, 3)",         "wavg(c, 3)",       "stdev(c, 3)",
                            "highest(c, 3)", "lowest(c, 4)",     "if(c > 11, c, 0)", "min(c, avg(c, 3))",
                            "crossup(c, avg(c, 2))", "tavg(c, 3)", "ref(c, 2)"};
  for (const char* f : formulas) {
    SCalc full;
    bars.Bind(full);
    full.SetExpression(f);
    SVector whole = full.Calculate();
    SCalc partial;
    bars.Bind(partial);
    partial.SetExpression(f);
    SVector tail = partial.Calculate(4);
    ASSERT_LT(tail.GetStartIndex(), tail.GetSize()) << f;
    EXPECT_GE(tail.GetStartIndex(), 4) << f;
    for (int i = tail.GetStartIndex(); i < tail.GetSize(); ++i) EXPECT_NEAR(tail[i], whole[i], 1e-9) << f << " bar " << i;
  }
}

}  // namespace
