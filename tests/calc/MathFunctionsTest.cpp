// Math functions: every name in both languages, the rule that a domain or
// range error zeroes the rest of the series, and pow's size rules. Expected
// values come from the standard library called bar by bar in the test.
#include <cmath>
#include <string>
#include <vector>

#include "calc/CalcTestUtil.h"
#include "calc/MathFunctions.h"

using namespace chartcalc::detail;

namespace {

struct MathFunctionsTest : ::testing::Test {
  TestBars bars;
  void SetUp() override {
    // Inside every function's domain; bar 0 is before close's start.
    bars[kClose] = Series({0.9, 0.1, 0.75, 0.25, 0.5}, 1);
  }
};

struct UnaryCase {
  const char* english;
  const char* korean;
  const char* englishTable;  // nullptr when it holds a space and cannot be written
  double (*reference)(double);
};

const UnaryCase kUnary[] = {
    {"abs", "절대값", nullptr, [](double v) { return std::fabs(v); }},
    {"log", "로그", "Log", [](double v) { return std::log(v); }},
    {"log10", "상용로그", nullptr, [](double v) { return std::log10(v); }},
    {"sqrt", "제곱근", nullptr, [](double v) { return std::sqrt(v); }},
    {"sin", "사인", "Sine", [](double v) { return std::sin(v); }},
    {"cos", "코사인", "Cosine", [](double v) { return std::cos(v); }},
    {"tan", "탄젠트", "Tangent", [](double v) { return std::tan(v); }},
    {"asin", "아크사인", nullptr, [](double v) { return std::asin(v); }},
    {"acos", "아크코사인", nullptr, [](double v) { return std::acos(v); }},
    {"atan", "아크탄젠트", nullptr, [](double v) { return std::atan(v); }},
    {"sinh", "하이퍼사인", nullptr, [](double v) { return std::sinh(v); }},
    {"cosh", "하이퍼코사인", nullptr, [](double v) { return std::cosh(v); }},
    {"tanh", "하이퍼탄젠트", nullptr, [](double v) { return std::tanh(v); }},
};

void ExpectAppliedToValidBars(const EvalResult& r, const SVector& x, double (*f)(double), const std::string& what) {
  EXPECT_EQ(r.errors, 0) << what << ": " << r.message;
  ASSERT_EQ(r.value.GetSize(), x.GetSize()) << what;
  EXPECT_EQ(r.value.GetStartIndex(), x.GetStartIndex()) << what;
  for (int i = x.GetStartIndex(); i < x.GetSize(); ++i) EXPECT_DOUBLE_EQ(r.value[i], f(x[i])) << what << " bar " << i;
}

TEST_F(MathFunctionsTest, EveryOneArgumentFunctionUnderEveryName) {
  for (const UnaryCase& c : kUnary) {
    ExpectAppliedToValidBars(Evaluate(bars, std::string(c.english) + "(c)"), bars[kClose], c.reference, c.english);
    std::string upper = c.english;
    for (char& ch : upper) ch = static_cast<char>(std::toupper(static_cast<unsigned char>(ch)));
    ExpectAppliedToValidBars(Evaluate(bars, upper + "(c)"), bars[kClose], c.reference, upper);
    if (c.englishTable)
      ExpectAppliedToValidBars(Evaluate(bars, std::string(c.englishTable) + "(c)"), bars[kClose], c.reference,
                               c.englishTable);
    EXPECT_GT(Evaluate(bars, Cp949(c.korean) + "(c)").errors, 0) << c.korean << " in English mode";
    LangScope ko(kLangKorean);
    ExpectAppliedToValidBars(Evaluate(bars, Cp949(c.korean) + "(c)"), bars[kClose], c.reference, c.korean);
    ExpectAppliedToValidBars(Evaluate(bars, std::string(c.english) + "(c)"), bars[kClose], c.reference, c.english);
  }
}

TEST_F(MathFunctionsTest, PowUnderEveryName) {
  auto square = [](double v) { return v * v; };
  ExpectAppliedToValidBars(Evaluate(bars, "pow(c, 2)"), bars[kClose], square, "pow");
  ExpectAppliedToValidBars(Evaluate(bars, "Power(c, 2)"), bars[kClose], square, "Power");
  LangScope ko(kLangKorean);
  ExpectAppliedToValidBars(Evaluate(bars, Cp949("누승") + "(c, 2)"), bars[kClose], square, "누승");
}

TEST_F(MathFunctionsTest, FirstDomainErrorZeroesThatBarAndEveryLaterOne) {
  struct Case {
    const char* formula;
    std::vector<double> values;  // from bar 1 (close's start) on
  };
  const Case cases[] = {
      // 0.3 - c fails at bar 2; bar 3 would be valid again but stays 0.
      {"sqrt(0.3 - c)", {std::sqrt(0.3 - 0.1), 0, 0, 0}},
      {"sqrt(c - 0.2)", {0, 0, 0, 0}},
      {"log(c - 0.1)", {0, 0, 0, 0}},  // pole error at the first valid bar
      {"acos(c * 2)", {std::acos(0.1 * 2), 0, 0, 0}},
      {"cosh(c * 4000)", {std::cosh(0.1 * 4000), 0, 0, 0}},  // overflow at bar 2
  };
  for (const Case& c : cases) {
    EvalResult r = Evaluate(bars, c.formula);
    EXPECT_EQ(r.errors, 0) << c.formula;
    ASSERT_EQ(r.value.GetSize(), 5) << c.formula;
    EXPECT_EQ(r.value.GetStartIndex(), 1) << c.formula;
    std::vector<double> got = Values(r.value);
    got.erase(got.begin());
    EXPECT_EQ(got, c.values) << c.formula;
  }
}

TEST_F(MathFunctionsTest, NanInputIsNotAnError) {
  SVector x = Series({std::nan(""), 4});
  SVector r = ApplyMathElement(x, [](double v) { return std::sqrt(v); });
  EXPECT_TRUE(std::isnan(r[0]));
  EXPECT_EQ(r[1], 2.0);
}

TEST_F(MathFunctionsTest, MathOfANumberStaysANumberAndIsBroadcast) {
  EvalResult r = Evaluate(bars, "sqrt(16) + pow(2, 3)");
  EXPECT_EQ(r.errors, 0);
  ASSERT_EQ(r.value.GetSize(), 5);
  EXPECT_EQ(r.value[4], 12.0);
  SVector eight = PowSeries(SVector(2.0), SVector(3.0));
  EXPECT_EQ(eight.IsSeries(), 0);
  EXPECT_EQ(eight.GetSize(), 1);
  EXPECT_EQ(eight[0], 8.0);
}

TEST_F(MathFunctionsTest, PowSizeRules) {
  SVector x = Series({1, 2, 3, 4}, 1);
  SVector y = Series({2, 2, 0.5, 3}, 2);
  // Same sizes: bar by bar, valid from the later start.
  SVector r = PowSeries(x, y);
  EXPECT_EQ(r.GetSize(), 4);
  EXPECT_EQ(r.GetStartIndex(), 2);
  EXPECT_DOUBLE_EQ(r[2], std::sqrt(3.0));
  EXPECT_EQ(r[3], 64.0);
  // A number base takes the exponent's frame.
  r = PowSeries(SVector(2.0), y);
  EXPECT_EQ(r.GetSize(), 4);
  EXPECT_EQ(r.GetStartIndex(), 2);
  EXPECT_EQ(r.IsSeries(), 1);
  EXPECT_EQ(r[3], 8.0);
  // A number exponent keeps the base's frame.
  r = PowSeries(x, SVector(2.0));
  EXPECT_EQ(r.GetStartIndex(), 1);
  EXPECT_EQ(r.GetSize(), 4);
  EXPECT_EQ(ValidValues(r), std::vector<double>({4, 9, 16}));
  // Two series of different sizes: an empty series, no message.
  EXPECT_EQ(PowSeries(x, Series({1, 2, 3})).GetSize(), 0);
  bars[kOpen] = Series({1, 2, 3});
  EvalResult e = Evaluate(bars, "pow(c, o)");
  EXPECT_EQ(e.errors, 0);
  EXPECT_EQ(e.value.GetSize(), 0);
}

TEST_F(MathFunctionsTest, MissingAndExtraArgumentsAreReported) {
  const char* formulas[] = {"sqrt()", "pow(c)", "pow(c, 2, 3)", "abs(c, 1)", "log", "pow(,)"};
  for (const char* f : formulas) {
    EvalResult r = Evaluate(bars, f);
    EXPECT_GT(r.errors, 0) << f;
    EXPECT_EQ(r.value.GetStartIndex(), kInvalidStart) << f;
  }
}

}  // namespace
