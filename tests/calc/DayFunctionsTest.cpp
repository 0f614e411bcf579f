// Day values: the current day's open, high and low, the previous day's values
// and the bar's index within its day, on intraday data that starts in the
// middle of a day and on daily data. Expected values are worked out by hand
// from the fixture below.
#include <cmath>

#include "calc/CalcTestUtil.h"
#include "calc/SCalcIndicators.h"

using namespace chartcalc::detail;

namespace {

// Half-hour bars over four days: day A starts mid-afternoon (bars 0-2),
// day B (3-6) and day C (7-9) are full mornings, day D (10) has one bar.
TestBars MidDayStart() {
  TestBars b;
  b[kDateTime] = Series({20240105140000, 20240105143000, 20240105150000,                   // A
                         20240108090000, 20240108093000, 20240108100000, 20240108103000,   // B
                         20240109090000, 20240109093000, 20240109100000,                   // C
                         20240110090000});                                                 // D
  b[kOpen] = Series({100, 101, 102, 103, 104, 105, 106, 107, 108, 109, 110});
  b[kHigh] = Series({5, 7, 6, 3, 9, 4, 8, 2, 6, 5, 7});
  b[kLow] = Series({1, 0, 2, 1, 3, -1, 2, 0, 1, -2, 4});
  b[kClose] = Series({200, 201, 202, 203, 204, 205, 206, 207, 208, 209, 210});
  return b;
}

// Five daily bars: every bar is a day of its own.
TestBars DailyBars() {
  TestBars b;
  b[kDateTime] = Series({20240102, 20240103, 20240104, 20240105, 20240108});
  b[kOpen] = Series({10, 11, 12, 13, 14});
  b[kHigh] = Series({15, 16, 17, 18, 19});
  b[kLow] = Series({5, 6, 7, 8, 9});
  b[kClose] = Series({20, 21, 22, 23, 24});
  return b;
}

struct DayCase {
  const char* formula;
  int start;
  std::vector<double> valid;  // the values from the start index on
};

void ExpectDayCase(TestBars& bars, const DayCase& c) {
  EvalResult r = Evaluate(bars, c.formula);
  ASSERT_EQ(r.errors, 0) << c.formula << ": " << r.message;
  EXPECT_EQ(r.value.GetSize(), bars[kDateTime].GetSize()) << c.formula;
  ASSERT_EQ(r.value.GetStartIndex(), c.start) << c.formula;
  std::vector<double> got = Values(r.value);
  got.erase(got.begin(), got.begin() + c.start);
  EXPECT_EQ(got, c.valid) << c.formula;
}

TEST(DayFunctions, IntradayDataStartingMidDayIgnoresTheIncompleteFirstDay) {
  const DayCase cases[] = {
      // Current day: valid from the first bar of day B.
      {"DayOpen()", 3, {103, 103, 103, 103, 107, 107, 107, 110}},
      {"DayHigh()", 3, {3, 9, 9, 9, 2, 6, 6, 7}},
      {"DayLow()", 3, {1, 1, -1, -1, 0, 0, -2, 4}},
      {"PreDayClose()", 3, {202, 202, 202, 202, 206, 206, 206, 209}},
      // Previous day: day B is the first full day, shown from its last bar on.
      {"PreDayOpen()", 6, {103, 103, 103, 103, 107}},
      {"PreDayHigh()", 6, {9, 9, 9, 9, 6}},
      {"PreDayLow()", 6, {-1, -1, -1, -1, -2}},
      {"DayIndex()", 0, {0, 1, 2, 0, 1, 2, 3, 0, 1, 2, 0}},
  };
  TestBars bars = MidDayStart();
  for (const DayCase& c : cases) ExpectDayCase(bars, c);
}

TEST(DayFunctions, DailyDataMakesEveryBarADayOfItsOwn) {
  const DayCase cases[] = {
      {"DayOpen()", 1, {11, 12, 13, 14}},
      {"DayHigh()", 1, {16, 17, 18, 19}},
      {"DayLow()", 1, {6, 7, 8, 9}},
      {"PreDayClose()", 1, {20, 21, 22, 23}},
      // The first full day's own value on its last bar, then the day before.
      {"PreDayOpen()", 1, {11, 11, 12, 13}},
      {"PreDayHigh()", 1, {16, 16, 17, 18}},
      {"PreDayLow()", 1, {6, 6, 7, 8}},
      {"DayIndex()", 0, {0, 0, 0, 0, 0}},
  };
  TestBars bars = DailyBars();
  for (const DayCase& c : cases) ExpectDayCase(bars, c);
}

TEST(DayFunctions, TooFewDaysLeaveNoValidBar) {
  TestBars oneDay;
  oneDay[kDateTime] = Series({20240105090000, 20240105093000, 20240105100000});
  for (int slot : {kOpen, kHigh, kLow, kClose}) oneDay[slot] = Series({1, 2, 3});
  TestBars twoDays = oneDay;
  twoDays[kDateTime] = Series({20240105090000, 20240105093000, 20240108090000});
  for (const char* f : {"DayOpen()", "DayHigh()", "DayLow()", "PreDayClose()", "PreDayOpen()", "PreDayHigh()",
                        "PreDayLow()"}) {
    EXPECT_FALSE(Evaluate(oneDay, f).value.HasValid()) << f;
  }
  for (const char* f : {"PreDayOpen()", "PreDayHigh()", "PreDayLow()"}) {
    EXPECT_FALSE(Evaluate(twoDays, f).value.HasValid()) << f;
  }
  EXPECT_TRUE(Evaluate(twoDays, "PreDayClose()").value.HasValid());
}

TEST(DayFunctions, EmptyDataGivesAnEmptyResultWithoutError) {
  TestBars none;
  for (const char* f : {"DayOpen()", "PreDayHigh()", "DayIndex()"}) {
    EvalResult r = Evaluate(none, f);
    EXPECT_EQ(r.errors, 0) << f;
    EXPECT_EQ(r.value.GetSize(), 0) << f;
  }
}

TEST(DayFunctions, DayIndexRestartsAtTheDateTimeStartIndex) {
  TestBars bars = MidDayStart();
  bars[kDateTime].SetStartIndex(4);  // the second bar of day B
  SCalc calc;
  bars.Bind(calc);
  SVector r = CalcDayIndex(calc);
  EXPECT_EQ(r.GetStartIndex(), 4);
  std::vector<double> got = Values(r);
  EXPECT_EQ(std::vector<double>(got.begin() + 4, got.end()), (std::vector<double>{0, 1, 2, 0, 1, 2, 0}));
}

TEST(DayFunctions, PriceSeriesShorterThanTheDatesBoundTheResult) {
  TestBars bars = MidDayStart();
  bars[kOpen] = Series({100, 101, 102, 103, 104});
  SCalc calc;
  bars.Bind(calc);
  SVector r = CalcDayOpen(calc);
  EXPECT_EQ(r.GetSize(), 5);
  EXPECT_EQ(r.GetStartIndex(), 3);
  EXPECT_EQ(r[4], 103);
}

TEST(DayFunctions, EveryDayFunctionMarksTheHistoryFlag) {
  TestBars bars = MidDayStart();
  for (const char* f : {"DayOpen()", "DayHigh()", "DayLow()", "PreDayOpen()", "PreDayHigh()", "PreDayLow()",
                        "PreDayClose()", "DayIndex()"}) {
    SCalc calc;
    bars.Bind(calc);
    calc.SetExpression(f);
    calc.Calculate();
    EXPECT_EQ(calc.HistoryFlag, 1) << f;
  }
}

TEST(DayFunctions, ADelayArgumentShiftsTheDayValue) {
  TestBars bars = MidDayStart();
  EvalResult r = Evaluate(bars, "DayOpen(, 1)");
  ASSERT_EQ(r.errors, 0) << r.message;
  EXPECT_EQ(r.value.GetStartIndex(), 4);
  EXPECT_EQ(r.value[7], 103);  // bar 6's value
}

}  // namespace
