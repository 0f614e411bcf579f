// Series functions: values, start indices and sizes, the averaging methods,
// the since counters against their definition, and partial recalculation.
// Unless a comment says otherwise, expected values are worked by hand from the
// ten closes below.
#include <cmath>
#include <string>
#include <vector>

#include "calc/CalcTestUtil.h"
#include "calc/SeriesFunctions.h"

namespace {

// bar:     0   1   2   3   4   5   6   7   8   9
// close:  10  11  12  11  13  14  12  11  15  16
struct SeriesFunctionsTest : ::testing::Test {
  TestBars bars = CloseBars(Series({10, 11, 12, 11, 13, 14, 12, 11, 15, 16}));
  EvalResult Eval(const std::string& f) { return Evaluate(bars, f); }
};

const std::vector<double> kCloses = {10, 11, 12, 11, 13, 14, 12, 11, 15, 16};

// clang-format off
TEST_F(SeriesFunctionsTest, IfSumsAndAveragesTakeTheirFrames) {
  ExpectCases(bars, {
      {"if(c > 11, 1, 0)", 10, 0, {0, 0, 1, 0, 1, 1, 1, 0, 1, 1}},
      // The latest start index of the three arguments; a shorter condition frames the result.
      {"if(c > 11, avg(c, 3), 0)", 10, 2, {11, 0, 12, 38.0 / 3, 13, 0, 38.0 / 3, 14}},
      {"if(shift(c, -7) > 12, 1, 0)", 3, 0, {0, 1, 1}},
      {"sum(c, 3)", 10, 2, {33, 34, 36, 38, 39, 37, 38, 42}},
      {"avg(c)", 10, 0, {10, 10.5, 11, 11, 11.4, 71.0 / 6, 83.0 / 7, 94.0 / 8, 109.0 / 9, 12.5}},
      {"sum(2)", 10, 0, {2, 4, 6, 8, 10, 12, 14, 16, 18, 20}},  // a number runs over close's bars
      // The window starts after the series' own start.
      {"sum(avg(c, 3), 2)", 10, 3, {11 + 34.0 / 3, 34.0 / 3 + 12, 24 + 2.0 / 3, 25 + 2.0 / 3, 25 + 1.0 / 3, 25,
                                    26 + 2.0 / 3}},
      {"avg(c, 3, 2)", 10, 4, {11, 34.0 / 3, 12, 38.0 / 3, 13, 37.0 / 3}},  // the trailing ", n" delays
      {"avg(c, 20)", 10, 19, {}}});  // longer than the series: no valid bar, no message
}

TEST_F(SeriesFunctionsTest, ExtremesDeviationDelaysAndCrossings) {
  ExpectCases(bars, {
      {"highest(c, 3)", 10, 2, {12, 12, 13, 14, 14, 14, 15, 16}},
      {"lowest(c, 3)", 10, 2, {10, 11, 11, 11, 12, 11, 11, 11}},
      // Population deviation: the windows' squared deviations summed by hand, over 3.
      {"stdev(c, 3)", 10, 2, {std::sqrt(2.0 / 3), std::sqrt(2.0 / 9), std::sqrt(2.0 / 3), std::sqrt(14.0 / 9),
                              std::sqrt(2.0 / 3), std::sqrt(14.0 / 9), std::sqrt(26.0 / 9), std::sqrt(14.0 / 3)}},
      // min and max take the latest start and the shortest size.
      {"min(c, avg(c, 3), shift(c, -1))", 9, 2, {11, 11, 12, 12, 11, 11, 38.0 / 3}},
      {"max(12, c)", 10, 0, {12, 12, 12, 12, 13, 14, 12, 12, 15, 16}},
      {"shift(c, 2)", 12, 2, kCloses}, {"shift(c, -1)", 9, 0, {11, 12, 11, 13, 14, 12, 11, 15, 16}},
      {"shift(c, -20)", 0, 0, {}}, {"shift(c, 11)", 10, kInvalidStart, {}},  // beyond the series' length
      {"ref(c, 2)", 10, 2, {10, 11, 12, 11, 13, 14, 12, 11}},
      // Touching the line on the previous bar counts; on the current bar it does not.
      {"crossup(c, 11)", 10, 1, {0, 1, 0, 1, 0, 0, 0, 1, 0}}, {"crossdown(c, 12)", 10, 1, {0, 0, 1, 0, 0, 0, 1, 0, 0}},
      {"crossup(c, avg(c, 3))", 10, 3, {0, 1, 0, 0, 0, 1, 0}}});
}

TEST_F(SeriesFunctionsTest, SinceCountersFindTheNthMostRecentCondition) {
  // c > 12 on bars 4, 5, 8, 9; c < 12 on bars 0, 1, 3, 7.
  ExpectCases(bars, {
      {"valuewhen(2, c > 12, c)", 10, 5, {13, 13, 13, 14, 15}}, {"valuewhen(5, c > 12, c)", 10, kInvalidStart, {}},
      {"BarsSince(c > 12)", 10, 4, {0, 0, 1, 2, 0, 0}}, {"BarsSince(c > 100)", 10, 0, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9}},
      {"CountSince(c > 13, c < 13)", 10, 5, {0, 1, 2, 0, 0}}, {"CountSince(c > 100, c)", 10, kInvalidStart, {}},
      {"LowestSince(1, c > 12, c)", 10, 4, {13, 14, 12, 11, 15, 16}},
      {"HighestSince(2, c < 12, c)", 10, 1, {11, 12, 12, 13, 14, 14, 14, 15, 16}},
      {"HighestSince(5, c < 12, c)", 10, 11, {}}});
}
// clang-format on

// Provenance: the two recurrences written out here.
TEST_F(SeriesFunctionsTest, ExponentialSumsFollowTheirRecurrences) {
  // Cumulative: r[i] = (i - 1) / i * r[i - 1] + x[i]; period 3: r[i - 1] * 2 / 3 + x[i].
  std::vector<double> cumulative = {10}, windowed = {33};
  for (int i = 1; i < 10; ++i) cumulative.push_back((i - 1.0) / i * cumulative.back() + kCloses[i]);
  for (int i = 3; i < 10; ++i) windowed.push_back(windowed.back() * 2 / 3 + kCloses[i]);
  ExpectCases(bars, {{"esum(c)", 10, 0, cumulative}, {"esum(c, 3)", 10, 2, windowed}});
  BoundCalc e(bars);  // an unexpected token after the series: no valid bar and no message
  e.calc.SetExpression("c ;");
  e.calc.GetToken();
  EXPECT_EQ((std::pair{e.calc.ProcessVectorFunction("esum").GetStartIndex(), e.calc.ErrorCount}),
            std::pair(kInvalidStart, 0));
}

TEST_F(SeriesFunctionsTest, MaMethodSelectsTheAverage) {
  // clang-format off
  const std::pair<std::string, const char*> cases[] = {
      {"ma(c, 3)", "avg(c, 3)"}, {"ma(c, 3, Exponetial)", "eavg(c, 3)"},
      {"ma(c, 3, weighted)", "wavg(c, 3)"}, {"ma(c, 3, GEOMETRIC)", "gavg(c, 3)"}, {"ma(c, 3, Harmonic)", "havg(c, 3)"},
      {"ma(c, 3, 2)", "avg(c, 3)"},          // a number selects the simple average
      {"m = 2; ma(c, 3, m)", "wavg(c, 3)"},  // a variable holds the method's value
      {"m = 9; ma(c, 3, m)", "avg(c, 3)"},   // an unknown value is the simple average
      {"ma(c, 3, Weighted, 1)", "wavg(c, 3, 1)"},
      {"ma(c, 0, Simple)", "avg(c, 20)"}};  // with a method the period goes unchecked: no valid bar
  // clang-format on
  for (const auto& [ma, expected] : cases) {
    EvalResult got = Eval(ma);
    EXPECT_EQ(std::pair(ValidValues(got.value), got.errors), std::pair(ValidValues(Eval(expected).value), 0)) << ma;
  }
  LangScope ko(kLangKorean);
  // The localised "ma" is evaluated under its name but not recognised in a formula.
  const std::string name = Cp949("이평");
  BoundCalc e(bars);
  EXPECT_FALSE(e.calc.IsVectorFunction(name.c_str()));
  e.calc.SetExpression(("c, 3, " + Cp949("가중") + ")").c_str());
  e.calc.GetToken();
  ExpectSame(Eval("wavg(c, 3)"), e.calc.ProcessVectorFunction(name.c_str()), "evaluated as ma");
}

// Direct calls on empty, NaN and uncounted arguments the formula path never passes.
TEST_F(SeriesFunctionsTest, EmptyNanAndUncountedArgumentsAreSafe) {
  SCalc calc;  // nothing bound: close is empty
  const SVector empty;
  // clang-format off
  const SVector results[] = {
      SeriesIf(calc, empty, empty, empty), SeriesMoving(calc, kMovingAvg, empty, 3),
      SeriesMovingCum(calc, kMovingSum, empty), SeriesMoving(calc, kMovingSum, SVector(3.0), 2),
      SeriesHighest(calc, empty, 5), SeriesMinOf(empty, SVector(1.0)), SeriesShift(calc, empty, 3),
      SeriesCrossUp(empty, empty), SeriesValueWhen(calc, 1, empty, empty), SeriesBarsSince(calc, empty),
      SeriesCountSince(calc, empty, empty), SeriesLowestSince(calc, 1, empty, empty),
      SeriesSwing(calc, 1, 1, empty, 1, 2), SeriesESumCum(calc, empty)};
  // clang-format on
  for (const SVector& r : results) EXPECT_FALSE(r.HasValid());
  EXPECT_EQ(calc.ErrorCount, 0);
  EXPECT_EQ(Values(SeriesIf(calc, Series({std::nan(""), 0, 1}), SVector(1.0), SVector(2.0))),
            std::vector<double>({1, 2, 1}));  // NaN is true
  bars.Bind(calc);
  SVector r = SeriesValueWhen(calc, 0, bars[kClose], bars[kClose]);
  EXPECT_EQ(std::tuple(calc.ErrorCount, r.GetSize(), r.GetStartIndex()), std::tuple(1, 10, kInvalidStart));
}

// A recalculation from a later bar (as the newest bars are recomputed) must
// agree with the full calculation on every bar it marks valid.
TEST_F(SeriesFunctionsTest, PartialCalculationAgreesWithTheFullOne) {
  for (const char* f : {"avg(c, 3)", "stdev(c, 3)", "highest(c, 3)", "if(c > 11, c, 0)", "min(c, avg(c, 3))",
                        "crossup(c, avg(c, 2))", "tavg(c, 3)", "ref(c, 2)"}) {
    BoundCalc partial(bars);
    partial.calc.SetExpression(f);
    const SVector whole = Eval(f).value, tail = partial.calc.Calculate(4);
    ASSERT_TRUE(tail.GetStartIndex() >= 4 && tail.GetStartIndex() < tail.GetSize()) << f;
    for (int i = tail.GetStartIndex(); i < tail.GetSize(); ++i)
      EXPECT_NEAR(tail[i], whole[i], 1e-9) << f << " bar " << i;
  }
}

}  // namespace
