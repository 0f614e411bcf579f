// Price-data words, date and time, the averaging-method words, and the math
// functions: their values against the standard library called bar by bar,
// the rule that a domain or range error zeroes the rest of the series, and
// pow's size rules.
#include <math.h>

#include <cmath>
#include <string>
#include <tuple>
#include <vector>

#include "calc/CalcTestUtil.h"
#include "calc/DataVariables.h"
#include "calc/MathFunctions.h"

namespace {

// Provenance: the expected dates and times are read off the literal date-time values.
TEST(DataWords, WordsGiveTheirBoundSeriesAndDateAndTimeTheDateTimeFrame) {
  TestBars bars;  // slot k holds 100 * (k + 1) + bar and starts at bar k % 3
  for (int k = 0; k < kPriceSlots; ++k) bars[k] = Series({0, 1, 2, 3, 4, 5}, k % 3) + SVector(100.0 * (k + 1));
  // clang-format off
  const std::pair<const char*, int> words[] = {
      {"c", kClose}, {"CLOSE", kClose}, {"open", kOpen}, {"h", kHigh}, {"low", kLow}, {"v", kVolume},
      {"OPENINTEREST", kOpenInterest}, {"amount", kAmount}, {"spread", kSpread}};
  // clang-format on
  for (const auto& [word, slot] : words) ExpectSame(Evaluate(bars, word), bars[slot], word);
  ExpectCases(bars, {{"close(2)", 6, 2, {100, 101, 102, 103}}});
  // A daily bar first, then intraday bars of two days, valid from bar 1.
  bars[kDateTime] =
      Series({20240102, 20240103, 20240104093000.0, 20240104153000.0, 20240105000100.0, 20240105235959.0}, 1);
  const std::vector<double> dates = {20240103, 20240104, 20240104, 20240105, 20240105};
  const std::vector<double> times = {0, 93000, 153000, 100, 235959};
  ExpectCases(bars, {{"DATE", 6, 1, dates}, {"d", 6, 1, dates}, {"Time", 6, 1, times}});
  const SVector dt = Series({20240104093000.0 - 0.0005});  // stored just below its second: that second
  EXPECT_EQ(std::pair(TimeOfBars(dt)[0], DateOfBars(dt)[0]), std::pair(93000.0, 20240104.0));
}

TEST(DataWords, MethodWordsGiveTheirPositionInTheCurrentLanguageOnly) {
  TestBars bars = CloseBars(Series({1, 2, 3}));
  // clang-format off
  const std::tuple<std::string, int, double> cases[] = {
      {"SIMPLE", kLangEnglish, 0}, {"Harmonic", kLangEnglish, 4}, {Cp949("가중"), kLangKorean, 2}};
  // clang-format on
  for (const auto& [word, lang, value] : cases) {
    {
      LangScope scope(lang);
      ExpectCases(bars, {{word, 3, 0, std::vector<double>(3, value)}});  // broadcast like any constant
    }
    LangScope other(lang == kLangEnglish ? kLangKorean : kLangEnglish);
    EXPECT_GT(Evaluate(bars, word).errors, 0) << word << " in the other language";
  }
  // The misspelling is the word; the correct spelling is not a method word.
  EXPECT_GT(Evaluate(bars, "Exponential").errors, 0);
}

// ---- math functions ---------------------------------------------------------------

// Inside every function's domain; bar 0 is before close's start.
TestBars Fractions() { return CloseBars(Series({0.9, 0.1, 0.75, 0.25, 0.5}, 1)); }

TEST(MathFunctions, EveryFunctionAppliesToEveryValidBar) {
  // clang-format off
  const std::pair<std::string, double (*)(double)> cases[] = {
      {"abs", fabs}, {"log", log}, {"log10", log10}, {"sqrt", sqrt}, {"sin", sin}, {"cos", cos}, {"tan", tan},
      {"asin", asin}, {"acos", acos}, {"atan", atan}, {"sinh", sinh}, {"cosh", cosh}, {"tanh", tanh},
      {"pow", [](double v) { return v * v; }}};
  // clang-format on
  TestBars bars = Fractions();
  for (const auto& [name, reference] : cases) {
    std::vector<double> want;
    for (int i = 1; i < 5; ++i) want.push_back(reference(bars[kClose][i]));
    ExpectCases(bars, {{name + (name == "pow" ? "(c, 2)" : "(c)"), 5, 1, want}});
  }
}

TEST(MathFunctions, FirstDomainErrorZeroesThatBarAndEveryLaterOne) {
  TestBars bars = Fractions();
  // clang-format off
  ExpectCases(bars, {
      {"sqrt(0.3 - c)", 5, 1, {std::sqrt(0.3 - 0.1), 0, 0, 0}},  // bar 3 would be valid again but stays 0
      {"sqrt(c - 0.2)", 5, 1, {0, 0, 0, 0}},
      {"log(c - 0.1)", 5, 1, {0, 0, 0, 0}},  // pole error at the first valid bar
      {"acos(c * 2)", 5, 1, {std::acos(0.1 * 2), 0, 0, 0}},
      {"cosh(c * 4000)", 5, 1, {std::cosh(0.1 * 4000), 0, 0, 0}},  // overflow at bar 2
      {"sqrt(16) + pow(2, 3)", 5, 1, {12, 12, 12, 12}}});  // math of numbers is broadcast like any constant
  // clang-format on
  SVector r = ApplyMathElement(Series({std::nan(""), 4}), [](double v) { return std::sqrt(v); });
  EXPECT_TRUE(std::isnan(r[0]) && r[1] == 2.0);  // a NaN argument is no error
}

TEST(MathFunctions, PowTakesTheFrameOfItsSeriesArguments) {
  const SVector x = Series({1, 2, 3, 4}, 1), y = Series({2, 2, 0.5, 3}, 2), two(2.0);
  const std::pair<SVector, std::vector<double>> frames[] = {
      // valid up to bar 3
      {PowSeries(x, y), {std::sqrt(3.0), 64}},   // same sizes: bar by bar, from the later start
      {PowSeries(two, y), {std::sqrt(2.0), 8}},  // a number base takes the exponent's frame
      {PowSeries(x, two), {4, 9, 16}}};          // a number exponent keeps the base's frame
  for (const auto& [r, valid] : frames)
    EXPECT_EQ(std::tuple(r.IsSeries(), r.GetStartIndex(), ValidValues(r)), std::tuple(1, 4 - int(valid.size()), valid));
  const SVector eight = PowSeries(two, SVector(3.0));
  EXPECT_EQ(std::pair(eight.IsSeries(), Values(eight)), std::pair(0, std::vector<double>{8.0}));
  // Two series of different sizes: an empty series, no message.
  EXPECT_EQ(PowSeries(x, Series({1, 2, 3})).GetSize(), 0);
  TestBars bars = Fractions();
  bars[kOpen] = Series({1, 2, 3});
  ExpectCases(bars, {{"pow(c, o)", 0, 0, {}}});
}

}  // namespace
