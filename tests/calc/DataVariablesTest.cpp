// Price-data words, the date and time words, the reserved words and the
// averaging-method words, in both languages.
#include <string>
#include <vector>

#include "calc/CalcTestUtil.h"
#include "calc/DataVariables.h"

using namespace chartcalc::detail;

namespace {

// Every bound slot holds 100 * (slot + 1) + bar, so a word's series tells
// which slot it came from. Each slot starts at a different bar.
struct DataWordsTest : ::testing::Test {
  TestBars bars;
  void SetUp() override {
    for (int k = 0; k < kPriceSlots; ++k) {
      bars[k] = SVector(6);
      for (int i = 0; i < 6; ++i) bars[k][i] = 100.0 * (k + 1) + i;
      bars[k].SetStartIndex(k % 3);
    }
    // Daily bars first, then intraday bars of two days.
    bars[kDateTime] = Series({20240102, 20240103, 20240104093000.0, 20240104153000.0, 20240105000100.0,
                              20240105235959.0},
                             2);
  }
};

struct WordCase {
  const char* word;
  int slot;
};

TEST_F(DataWordsTest, EnglishWordsGiveTheirBoundSeriesWithItsFrame) {
  const WordCase cases[] = {
      {"c", kClose},      {"close", kClose},          {"CLOSE", kClose},   {"Close", kClose},
      {"o", kOpen},       {"open", kOpen},            {"h", kHigh},        {"high", kHigh},
      {"l", kLow},        {"low", kLow},              {"v", kVolume},      {"volume", kVolume},
      {"oi", kOpenInterest}, {"openInterest", kOpenInterest}, {"OPENINTEREST", kOpenInterest},
      {"amount", kAmount}, {"spread", kSpread},
  };
  for (const WordCase& c : cases) {
    EvalResult r = Evaluate(bars, c.word);
    EXPECT_EQ(r.errors, 0) << c.word;
    EXPECT_EQ(ValidValues(r.value), ValidValues(bars[c.slot])) << c.word;
    EXPECT_EQ(r.value.GetSize(), bars[c.slot].GetSize()) << c.word;
    EXPECT_EQ(r.value.GetStartIndex(), bars[c.slot].GetStartIndex()) << c.word;
  }
}

TEST_F(DataWordsTest, LocalisedWordsAreAcceptedOnlyInTheirLanguage) {
  struct LocalCase {
    const char* korean;
    const char* englishTable;
    int slot;
  };
  const LocalCase cases[] = {
      {"종가", "CloseP", kClose}, {"시가", "OpenP", kOpen},     {"고가", "HighP", kHigh},
      {"저가", "LowP", kLow},     {"거래량", "Volume", kVolume}, {"거래대금", nullptr, kAmount},
      {"스프레드", "Spread", kSpread}, {"미결제약정", nullptr, kOpenInterest},
  };
  for (const LocalCase& c : cases) {
    {
      LangScope ko(kLangKorean);
      EvalResult r = Evaluate(bars, Cp949(c.korean));
      EXPECT_EQ(r.errors, 0) << c.korean;
      EXPECT_EQ(ValidValues(r.value), ValidValues(bars[c.slot])) << c.korean;
    }
    // A Korean word means nothing in English mode.
    EXPECT_GT(Evaluate(bars, Cp949(c.korean)).errors, 0) << c.korean;
    if (!c.englishTable) continue;
    EvalResult r = Evaluate(bars, c.englishTable);
    EXPECT_EQ(r.errors, 0) << c.englishTable;
    EXPECT_EQ(ValidValues(r.value), ValidValues(bars[c.slot])) << c.englishTable;
  }
  LangScope ko(kLangKorean);
  EXPECT_GT(Evaluate(bars, "CloseP").errors, 0);  // the English-table word is not Korean
}

// Provenance: the expected dates and times are read off the literal
// date-time values above.
TEST_F(DataWordsTest, DateAndTimeFillEveryBarWithTheDateTimeFrame) {
  const std::vector<double> dates = {20240102, 20240103, 20240104, 20240104, 20240105, 20240105};
  const std::vector<double> times = {0, 0, 93000, 153000, 100, 235959};
  EXPECT_EQ(Values(DateOfBars(bars[kDateTime])), dates);
  EXPECT_EQ(Values(TimeOfBars(bars[kDateTime])), times);
  // A formula's value is meaningful from the date-time series' start (bar 2).
  const std::vector<double> validDates(dates.begin() + 2, dates.end());
  const std::vector<double> validTimes(times.begin() + 2, times.end());
  for (const char* word : {"date", "d", "DATE"}) {
    EvalResult r = Evaluate(bars, word);
    EXPECT_EQ(r.errors, 0) << word;
    EXPECT_EQ(r.value.GetSize(), 6) << word;
    EXPECT_EQ(ValidValues(r.value), validDates) << word;
    EXPECT_EQ(r.value.GetStartIndex(), 2) << word;
  }
  for (const char* word : {"Time", "time"}) {
    EvalResult r = Evaluate(bars, word);
    EXPECT_EQ(ValidValues(r.value), validTimes) << word;
    EXPECT_EQ(r.value.GetStartIndex(), 2) << word;
  }
  LangScope ko(kLangKorean);
  EXPECT_EQ(ValidValues(Evaluate(bars, Cp949("일자")).value), validDates);
  EXPECT_EQ(ValidValues(Evaluate(bars, Cp949("시간")).value), validTimes);
}

TEST_F(DataWordsTest, TimeOfAValueStoredJustBelowItsSecondIsThatSecond) {
  SVector dt = Series({20240104093000.0 - 0.0005});
  EXPECT_EQ(TimeOfBars(dt)[0], 93000.0);
  EXPECT_EQ(DateOfBars(dt)[0], 20240104.0);
}

TEST_F(DataWordsTest, YearAndMonthAreReservedAndInError) {
  for (const char* word : {"Year", "month", "year + 1"}) {
    EvalResult r = Evaluate(bars, word);
    EXPECT_EQ(r.errors, 1) << word;
    EXPECT_EQ(r.message, "There is an error at a variable definition.") << word;
    EXPECT_EQ(r.value.GetStartIndex(), kInvalidStart) << word;
  }
  LangScope ko(kLangKorean);
  for (const char* word : {"년", "월", "Year"}) {
    EvalResult r = Evaluate(bars, Cp949(word));
    EXPECT_EQ(r.message, Cp949("변수의 정의에 오류가 있습니다.")) << word;
  }
}

TEST_F(DataWordsTest, DelayedPriceWordReadsEarlierBars) {
  EvalResult r = Evaluate(bars, "close(2)");
  EXPECT_EQ(r.errors, 0);
  EXPECT_EQ(r.value.GetStartIndex(), 2);
  EXPECT_EQ(r.value[5], bars[kClose][3]);
}

TEST_F(DataWordsTest, IsDataVariableKnowsEveryWordIncludingTheReservedOnes) {
  SCalc calc;
  for (const char* word : {"c", "Close", "o", "h", "l", "v", "oi", "amount", "spread", "d", "date", "Time", "Year",
                           "Month"})
    EXPECT_NE(calc.IsDataVariable(word), 0) << word;
  for (const char* word : {"closes", "cl", "Simple", "avg", ""})
    EXPECT_EQ(calc.IsDataVariable(word), 0) << word;
}

// ---- method words -------------------------------------------------------------

TEST_F(DataWordsTest, MethodWordsGiveTheirPositionAsANumber) {
  const std::pair<const char*, double> english[] = {
      {"Simple", 0}, {"SIMPLE", 0}, {"simple", 0}, {"Exponetial", 1}, {"Weighted", 2}, {"Geometric", 3},
      {"Harmonic", 4}};
  for (const auto& [word, value] : english) {
    EvalResult r = Evaluate(bars, word);
    EXPECT_EQ(r.errors, 0) << word;
    ASSERT_EQ(r.value.GetSize(), bars[kClose].GetSize()) << word;  // broadcast like any constant
    EXPECT_EQ(r.value[0], value) << word;
  }
  // The misspelling is the word; the correct spelling is not a method word.
  EvalResult r = Evaluate(bars, "Exponential");
  EXPECT_EQ(r.message, "Exponentialis not defined.\n");
}

TEST_F(DataWordsTest, MethodWordsAreCheckedInTheCurrentLanguageOnly) {
  const std::pair<const char*, int> korean[] = {{"단순", 0}, {"지수", 1}, {"가중", 2}, {"기하", 3}, {"조화", 4}};
  SCalc calc;
  for (const auto& [word, value] : korean) {
    EXPECT_EQ(calc.IsMethodVariable(Cp949(word).c_str()), 0) << word;
    LangScope ko(kLangKorean);
    EXPECT_NE(calc.IsMethodVariable(Cp949(word).c_str()), 0) << word;
    EXPECT_EQ(MethodWordIndex(Cp949(word).c_str()), value) << word;
    EXPECT_EQ(calc.ProcessMethodVariable(Cp949(word).c_str()).Number(), value) << word;
  }
  LangScope ko(kLangKorean);
  EXPECT_EQ(calc.IsMethodVariable("Simple"), 0);
  EXPECT_EQ(MethodWordIndex("Simple"), kNoMethodWord);
}

}  // namespace
