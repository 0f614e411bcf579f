// Functions of the bars' dates: compression to one value per hour, day,
// month, year or group of bars, DeCompress mapping groups back onto the bars,
// and the current and previous day's values. Expected values are worked out
// by hand from the fixtures.
#include <string>
#include <vector>

#include "calc/CalcTestUtil.h"
#include "calc/SCalcCompression.h"

namespace {

// Intraday bars over three days; the first day starts at 14:00, the second
// has two bars in the 09 hour.
TestBars ThreeDays() {
  TestBars b;
  b[kDateTime] = Series({20240105140000, 20240105150000,                                    // day 1
                         20240108090000, 20240108093000, 20240108100000,                    // day 2
                         20240109090000, 20240109100000, 20240109110000, 20240109120000});  // day 3
  b[kClose] = Series({1, 2, 3, 4, 5, 6, 7, 8, 9});
  b[kOpen] = Series({11, 12, 13, 14, 15, 16, 17, 18, 19});
  b[kHigh] = Series({5, 9, 4, 8, 6, 3, 7, 9, 2});
  b[kLow] = Series({0, -1, 2, 1, 3, 5, -4, 0, 1});
  b[kVolume] = Series({10, 20, 30, 40, 50, 60, 70, 80, 90});
  return b;
}

// One value per group, valid from the first.
void ExpectGroups(TestBars& bars, std::initializer_list<std::pair<std::string, std::vector<double>>> cases) {
  for (const auto& [formula, values] : cases)
    ExpectSeries(Evaluate(bars, formula), {formula, static_cast<int>(values.size()), 0, values});
}

TEST(Compression, EachFunctionTakesItsGroupValue) {
  TestBars bars = ThreeDays();
  const std::vector<double> byHour = {1, 2, 4, 5, 6, 7, 8, 9};  // the 09 hours of days 2 and 3 are apart
  // clang-format off
  ExpectGroups(bars, {
      {"CompressC(day)", {2, 5, 9}}, {"CompressO(day)", {11, 13, 16}}, {"CompressH(DAY)", {9, 8, 9}},
      {"CompressL(day)", {-1, 1, -4}}, {"CompressV(day)", {30, 120, 300}},
      {"CompressD(day)", {20240105150000, 20240108100000, 20240109120000}},
      {"CompressC(hour)", byHour}, {"CompressV(hour)", {10, 20, 70, 50, 60, 70, 80, 90}},
      {"CompressC(week)", byHour},             // an unknown unit name groups by hour
      {Cp949("CompressC(일)"), byHour},        // so does a Korean one in English mode
      {"CompressO(4)", {11, 15, 19}}, {"CompressV(99999999999)", {450}}});  // 4 bars a group, then all
  TestBars daily;  // two years and three months
  daily[kDateTime] = Series({20231228, 20231229, 20240102, 20240103, 20240131, 20240201, 20240202});
  daily[kClose] = Series({1, 2, 3, 4, 5, 6, 7});
  daily[kVolume] = Series({100, 200, 300, 400, 500, 600, 700});
  ExpectGroups(daily, {{"CompressC(month)", {2, 5, 7}}, {"CompressV(year)", {300, 2500}},
                       {"CompressD(year)", {20231229, 20240202}}, {"CompressC(hour)", {7}}});  // no hour: one group
  // clang-format on
}

TEST(Compression, StartIndexIsTheGroupOfTheSourcesFirstValidBar) {
  TestBars bars = ThreeDays(), none;
  bars[kClose].SetStartIndex(3);  // inside day 2
  ExpectCases(bars, {{"CompressC(day)", 3, 1, {5, 9}}});
  bars[kClose].SetStartIndex(kInvalidStart);
  EXPECT_FALSE(Evaluate(bars, "CompressC(day)").value.HasValid());
  for (const char* f : {"CompressC(day)", "DeCompress(CompressC(day), CompressD(day))"}) {
    EvalResult r = Evaluate(none, f);
    EXPECT_EQ(r.errors + r.value.GetSize(), 0) << f;
  }
}

TEST(DeCompress, EveryBarGetsItsGroupsValueAndDelayedGroupsThePreviousOne) {
  TestBars bars = ThreeDays();
  // clang-format off
  ExpectCases(bars, {
      {"DeCompress(CompressC(day), CompressD(day))", 9, 0, {2, 2, 5, 5, 5, 9, 9, 9, 9}},
      {"DeCompress(CompressH(hour), CompressD(hour))", 9, 0, {5, 9, 8, 8, 6, 3, 7, 9, 2}},
      {"a = CompressC(day); DeCompress(a(1), CompressD(day))", 9, 2, {2, 2, 2, 5, 5, 5, 5}}});  // from day 2 on
  // clang-format on
  // Groups that end on day 2: day 3's bars stay in the last group; a shorter x bounds the groups too.
  BoundCalc e(bars);
  SVector d = Series({20240105150000, 20240108100000});
  EXPECT_EQ(Values(CalcDeCompress(e.calc, Series({7, 8}), d)), (std::vector<double>{7, 7, 8, 8, 8, 8, 8, 8, 8}));
  EXPECT_EQ(Values(CalcDeCompress(e.calc, Series({4}), d)), (std::vector<double>(9, 4)));
}

// ---- day values ------------------------------------------------------------------

TEST(DayFunctions, IntradayDataStartingMidDayIgnoresTheIncompleteFirstDay) {
  // Half-hour bars over four days: day A starts mid-afternoon (bars 0-2),
  // day B (3-6) and day C (7-9) are full mornings, day D (10) has one bar.
  TestBars bars;
  bars[kDateTime] = Series({20240105140000, 20240105143000, 20240105150000,                  // A
                            20240108090000, 20240108093000, 20240108100000, 20240108103000,  // B
                            20240109090000, 20240109093000, 20240109100000,                  // C
                            20240110090000});                                                // D
  bars[kOpen] = Series({100, 101, 102, 103, 104, 105, 106, 107, 108, 109, 110});
  bars[kHigh] = Series({5, 7, 6, 3, 9, 4, 8, 2, 6, 5, 7});
  bars[kLow] = Series({1, 0, 2, 1, 3, -1, 2, 0, 1, -2, 4});
  bars[kClose] = Series({200, 201, 202, 203, 204, 205, 206, 207, 208, 209, 210});
  // clang-format off
  ExpectCases(bars, {
      // Current day: valid from the first bar of day B.
      {"DayOpen()", 11, 3, {103, 103, 103, 103, 107, 107, 107, 110}},
      {"DayHigh()", 11, 3, {3, 9, 9, 9, 2, 6, 6, 7}},
      {"DayLow()", 11, 3, {1, 1, -1, -1, 0, 0, -2, 4}},
      {"PreDayClose()", 11, 3, {202, 202, 202, 202, 206, 206, 206, 209}},
      // Previous day: day B is the first full day, shown from its last bar on.
      {"PreDayOpen()", 11, 6, {103, 103, 103, 103, 107}},
      {"PreDayHigh()", 11, 6, {9, 9, 9, 9, 6}},
      {"PreDayLow()", 11, 6, {-1, -1, -1, -1, -2}},
      {"DayIndex()", 11, 0, {0, 1, 2, 0, 1, 2, 3, 0, 1, 2, 0}},
      {"DayOpen(, 1)", 11, 4, {103, 103, 103, 103, 107, 107, 107}}});  // a delay argument shifts the value
  // clang-format on
  bars[kDateTime].SetStartIndex(4);  // the second bar of day B: the day index restarts there
  ExpectCases(bars, {{"DayIndex()", 11, 4, {0, 1, 2, 0, 1, 2, 0}}});
  bars[kOpen] = Series({100, 101, 102, 103, 104});  // a shorter price series bounds the result
  ExpectCases(bars, {{"DayOpen()", 5, 3, {103, 103}}});
}

// One day leaves only the day index valid, two days no previous full day,
// no data an empty result.
TEST(DayFunctions, TooFewDaysLeaveNoValidBarAndNoDataAnEmptyResult) {
  TestBars oneDay, none;
  oneDay[kDateTime] = Series({20240105090000, 20240105093000, 20240105100000});
  for (int slot : {kOpen, kHigh, kLow, kClose}) oneDay[slot] = Series({1, 2, 3});
  TestBars twoDays = oneDay;
  twoDays[kDateTime] = Series({20240105090000, 20240105093000, 20240108090000});
  for (const char* f : {"DayOpen()", "DayHigh()", "DayLow()", "PreDayClose()", "PreDayOpen()", "PreDayHigh()",
                        "PreDayLow()", "DayIndex()"}) {
    const bool previousDay = std::string(f).find("PreDay") == 0 && f != std::string("PreDayClose()");
    EXPECT_EQ(Evaluate(oneDay, f).value.HasValid(), f == std::string("DayIndex()")) << f;
    EXPECT_EQ(Evaluate(twoDays, f).value.HasValid(), !previousDay) << f;
    EvalResult r = Evaluate(none, f);
    EXPECT_EQ(r.errors + r.value.GetSize(), 0) << f;
  }
}

}  // namespace
