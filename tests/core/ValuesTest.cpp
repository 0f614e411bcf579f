// The value types: series (storage rules, element-wise operators, rolling
// calculations, searches) and date-time numbers; the string type's number
// formats and constructors, the text helpers, the text pairs with language
// switching, and the code page 949 edge.
#include <climits>
#include <cmath>
#include <cstring>
#include <functional>
#include <tuple>

#include "calc/CalcTestUtil.h"
#include "core/DateTime.h"
#include "core/Recurrences.h"

namespace {

using Doubles = std::vector<double>;
using Calc = void (SVector::*)(const SVector&, int);

// Capacity grows in blocks of 1000 (a fresh Alloc(0) first holds one), edits
// outside the bars are ignored, copies are deep and ReAlloc keeps only the
// valid elements.
TEST(SVectorGrowth, CapacityGrowsInBlocksAndEditsKeepTheValidElements) {
  for (auto [n, capacity] : {std::pair{1, 1000}, {1001, 2000}, {0, 0}}) {
    SVector s;
    s.SetSize(n);
    EXPECT_EQ(std::pair(s.GetCapacity(), s.GetSize()), std::pair(capacity, n));
  }
  SVector s, older = Series({4, 5});
  s.Alloc(0);
  s.Add(7.0);
  const int first = s.GetCapacity();
  s.Add(8.0);
  EXPECT_EQ(std::pair(first, s.GetCapacity()), std::pair(1, 1000));
  s.Update(9, 5), s.Update(9, -1), s.Update(6, 1);
  s.Insert(older);
  SVector copy(s);
  copy[2] = 0;
  s.SetStartIndex(2);
  s.ReAlloc(10);
  EXPECT_EQ(std::tuple(s.GetCapacity(), ValidValues(s), ValidValues(copy)),
            std::tuple(10, Doubles{6, 8}, Doubles{4, 5, 0, 8}));
}

// A series appended bar by bar (by Add, or by SetSize one longer) keeps room
// beyond its capacity: the capacity it reports must still step up a block at
// a time, a ReAlloc must get exactly what it asks for, inside that room or
// past it, and no valid bar may be lost on the way.
TEST(SVectorGrowth, AppendsReportWholeBlocksAndReAllocGivesTheCapacityAsked) {
  constexpr int kBars = 4500, kStart = 4000;
  const std::tuple<int, int, int, int> cases[] = {// ReAlloc at kBars, bars appended after it; capacity, size
                                                  {5500, 0, 5500, 4500},
                                                  {9000, 0, 9000, 4500},
                                                  {4200, 0, 4200, 4200},
                                                  {5500, 1001, 6000, 5501}};
  for (bool bySetSize : {false, true}) {
    for (const auto& [request, appends, capacity, size] : cases) {
      SVector s;
      int notWholeBlocksAt = 0, lostBar = -1;
      for (int n = 1; n <= kBars; ++n) {
        if (bySetSize)
          s.SetSize(n), s[n - 1] = n;
        else
          s.Add(n);
        if (s.GetCapacity() != (n + kSeriesBlock - 1) / kSeriesBlock * kSeriesBlock) notWholeBlocksAt = n;
      }
      s.SetStartIndex(kStart);
      s.ReAlloc(request);
      for (int k = 0; k < appends; ++k) s.Add(s.GetSize() + 1);
      for (int i = s.GetSize() - 1; i >= kStart; --i)
        if (s[i] != i + 1) lostBar = i;
      EXPECT_EQ(std::tuple(notWholeBlocksAt, s.GetCapacity(), s.GetSize(), lostBar), std::tuple(0, capacity, size, -1))
          << "ReAlloc " << request << ", by SetSize " << bySetSize;
    }
  }
}

TEST(SVectorOperators, ElementWiseResultsByOperandKind) {
  SVector a = Series({6, 7, -7, 1}), zeros = Series({0, 2, 2, 0}), two(2.0);
  SVector c = Series({1, 2, 3, 0, NAN}), d = Series({2, 2, 2, 0, 1}), ge;
  VecGE(ge, c, d);
  // clang-format off
  const std::tuple<const char*, SVector, Doubles> rows[] = {
      {"division by zero gives 0", a / zeros, {0, 3.5, -3.5, 0}},
      {"remainder by zero gives 0 and keeps the dividend's sign", a % zeros, {0, 1, -1, 0}},
      {"number on the right", a * two, {12, 14, -14, 2}}, {"number on the left", two - a, {-4, -5, 9, 1}},
      {"bars the shorter operand lacks give 0", a + Series({10, 20}), {16, 27, 0, 0}},
      {"negation", -a, {-6, -7, 7, -1}}, {"-", a - zeros, {6, 5, -9, 1}},
      {"<", c < d, {1, 0, 0, 0, 0}}, {"<=", c <= d, {1, 1, 0, 1, 0}}, {">", c > d, {0, 0, 1, 0, 0}},
      {">= (VecGE)", ge, {0, 1, 1, 1, 0}}, {"==", c == d, {0, 1, 0, 1, 0}}, {"!=", c != d, {1, 0, 1, 0, 1}},
      {"&& (a NaN is non-zero, so true)", c && d, {1, 1, 1, 0, 1}}, {"||", c || Series({0, 0, 0, 0, 0}), {1, 1, 1, 0, 1}},
      {"!", !c, {0, 0, 0, 1, 0}},
  };
  // clang-format on
  for (const auto& [what, got, want] : rows) EXPECT_EQ(ValidValues(got), want) << what;
  SVector later = Series({1, 2, 3, 4}, 1) + Series({10, 20, 30, 40}, 3), number = two + SVector(3.0);
  EXPECT_EQ(std::pair(later.GetStartIndex(), later[3]), std::pair(3, 44.0));  // the later start of the two
  EXPECT_EQ(std::pair(number.IsSeries(), number[57]), std::pair(0, 5.0));     // a number answers every bar
}

TEST(SVectorOperators, DelayShiftsTheStartLookingAheadShortensAndNothingOverflows) {
  SVector a = Series({1, 2, 3, 4, 5}, 1), d = a(2), ahead = a(-2);
  EXPECT_EQ(std::pair(d.GetStartIndex(), ValidValues(d)), std::pair(3, Doubles{2, 3}));
  EXPECT_EQ(std::pair(ahead.GetStartIndex(), ValidValues(ahead)), std::pair(0, Doubles{3, 4, 5}));
  EXPECT_EQ(Series({1, 2}, kInvalidStart)(5).GetStartIndex(), kInvalidStart);
  EXPECT_EQ(ShiftStart(2147483600, 100), kInvalidStart);
  const std::pair<double, int> truncs[] = {{NAN, 0}, {1e300, INT_MAX}, {-1e300, INT_MIN}, {-2.9, -2}};
  for (auto [v, want] : truncs) EXPECT_EQ(TruncToInt(v), want) << v;
}

// The sum of f(k, w[k]) over a window, of its values by default.
double Sum(
    const Doubles& w, const std::function<double(double, double)>& f = [](double, double v) { return v; }) {
  double s = 0;
  for (size_t k = 0; k < w.size(); ++k) s += f(static_cast<double>(k), w[k]);
  return s;
}

TEST(SVectorRolling, WindowStatisticsMatchADirectLoopOverEachWindow) {
  Doubles x(300);
  for (int i = 0; i < 300; ++i) x[i] = 150.0 + 10.0 * std::sin(i * 0.7) + (i % 5) - 0.3 * i;
  using W = const Doubles&;
  // clang-format off
  const std::tuple<const char*, Calc, std::function<double(W)>> cases[] = {
      {"sum", &SVector::CalcSum, [](W w) { return Sum(w); }},
      {"avg", &SVector::CalcAvg, [](W w) { return Sum(w) / w.size(); }},
      {"wavg", &SVector::CalcWAvg,
       [](W w) { return Sum(w, [](double k, double v) { return (k + 1) * v; }) * 2 / w.size() / (w.size() + 1); }},
      {"stdev", &SVector::CalcStdev, [](W w) { double m = Sum(w) / w.size();
         return std::sqrt(Sum(w, [m](double, double v) { return (v - m) * (v - m); }) / w.size()); }},
      {"highest", &SVector::CalcHighest, [](W w) { return *std::max_element(w.begin(), w.end()); }},
      {"lowest", &SVector::CalcLowest, [](W w) { return *std::min_element(w.begin(), w.end()); }},
      {"gavg", &SVector::CalcGAvg,
       [](W w) { return std::exp(Sum(w, [](double, double v) { return std::log(v); }) / w.size()); }},
      {"havg", &SVector::CalcHAvg, [](W w) { return w.size() / Sum(w, [](double, double v) { return 1 / v; }); }}};
  // clang-format on
  for (const auto& [name, calc, ref] : cases) {
    for (int p : {1, 2, 7, 296}) {
      SVector r;
      (r.*calc)(Series(x, 4), p);
      ASSERT_EQ(std::pair(r.GetStartIndex(), r.GetSize()), std::pair(4 + p - 1, 300)) << name;
      for (int i = 4 + p - 1; i < 300; ++i) {
        const double want = ref(Doubles(x.begin() + i - p + 1, x.begin() + i + 1));
        EXPECT_NEAR(r[i], want, 1e-9 * (1 + std::fabs(want))) << name << " p=" << p << " bar " << i;
      }
    }
  }
  for (int p : {0, -5, 4, 2147483647})  // period below 1 or longer than the data
    for (Calc calc : {&SVector::CalcAvg, &SVector::CalcHighest, &SVector::CalcStdev, &SVector::CalcTAvg}) {
      SVector r;
      (r.*calc)(Series({1, 2, 3}), p);
      EXPECT_FALSE(r.HasValid()) << p;
    }
}

// Window sums are rebuilt on a schedule fixed by the bar index, so a
// calculation over the newest bars that starts later than a whole one gives
// the same bits from the first multiple of the period on.
TEST(SVectorRolling, SumsStartedLaterAgreeToTheBitFromTheFirstMultipleOfThePeriod) {
  Doubles x(400);
  for (int i = 0; i < 400; ++i) x[i] = 1e4 + 0.1 * std::sin(i * 0.37) + 1e-7 * i * i;
  for (Calc calc : {&SVector::CalcSum, &SVector::CalcAvg, &SVector::CalcGAvg, &SVector::CalcHAvg})
    for (int p : {3, 7, 20})
      for (int later : {101, 250, 333}) {
        SVector whole, part;
        (whole.*calc)(Series(x), p);
        (part.*calc)(Series(x, later), p);
        for (int i = SameSumsFrom(part.GetStartIndex(), p); i < 400; ++i)
          ASSERT_EQ(part[i], whole[i]) << "p=" << p << " from " << later << " bar " << i;
      }
}

// What a kept calculation relies on: the revision moves whenever a bar the
// series had may have changed, and stays while bars are only appended or the
// last one revised.
TEST(SVectorRevision, MovesWithEveryChangeToBarsItHadAndNotWithAppends) {
  // clang-format off
  const std::tuple<const char*, bool, std::function<void(SVector&)>> changes[] = {
      {"older bar updated", true, [](SVector& v) { v.Update(9, 1); }},
      {"history inserted", true, [](SVector& v) { SVector o = Series({1}); v.Insert(o); }},
      {"cleared", true, [](SVector& v) { v.ClearData(); }},
      {"shortened", true, [](SVector& v) { v.SetSize(1); }},
      {"assigned", true, [](SVector& v) { v = Series({1, 2, 3}); }},
      {"filled", true, [](SVector& v) { v.InitValue(0); }},
      {"bar appended", false, [](SVector& v) { v.Add(4); }},
      {"last bar updated", false, [](SVector& v) { v.Update(9, 0); }},
      {"grown past its capacity", false, [](SVector& v) { v.SetSize(5000); }},
      {"start moved", false, [](SVector& v) { v.SetStartIndex(1); }}};
  // clang-format on
  for (const auto& [name, moves, change] : changes) {
    SVector v = Series({1, 2, 3});
    const unsigned before = SeriesRevision::Of(v);
    change(v);
    EXPECT_EQ(SeriesRevision::Of(v) != before, moves) << name;
  }
  EXPECT_NE(SeriesRevision::Of(SVector(3)), SeriesRevision::Of(SVector(3))) << "two new series";
}

// Expected values worked by hand from the definitions in the comments.
TEST(SVectorRolling, SeededAndCumulativeFormsByHand) {
  const Doubles ramp = {1, 2, 3, 4, 5, 6, 7, 8}, gap = {4, 0, 4, 4, 4}, late = {9, 1, 2, 3, 4};
  // clang-format off
  const std::tuple<const char*, Calc, Doubles, int, int, Doubles> rows[] = {
      {"eavg: seed (1+2+3)/3, then factor 2/(3+1)", &SVector::CalcEAvg, ramp, 0, 3, {2, 3, 4, 5, 6, 7}},
      {"tavg: 3-bar average 2..7, then 2-bar", &SVector::CalcTAvg, ramp, 0, 4, {2.5, 3.5, 4.5, 5.5, 6.5}},
      {"gavg: a window holding 0 gives 0", &SVector::CalcGAvg, gap, 0, 2, {0, 0, 4, 4}},
      {"havg: a window holding 0 gives 0", &SVector::CalcHAvg, gap, 0, 2, {0, 0, 4, 4}},
      {"sumcum from the start index", &SVector::CalcSumCum, late, 1, 5, {1, 3, 6, 10}},
      {"avgcum", &SVector::CalcAvgCum, late, 1, 5, {1, 1.5, 2, 2.5}},
      {"wavgcum: weights 1..k", &SVector::CalcWAvgCum, late, 1, 5, {1, 5 / 3.0, 14 / 6.0, 3}},
      {"eavgcum: factor 2/(k+1)", &SVector::CalcEAvgCum, late, 1, 5, {1, 5 / 3.0, 7 / 3.0, 3}},
      {"esumcum: (i-1)/i r + x, i the bar", &SVector::CalcESumCum, late, 1, 5, {1, 2.5, 14 / 3.0, 7.5}},
  };
  // clang-format on
  for (const auto& [what, calc, src, srcStart, period, want] : rows) {
    SVector r;
    (r.*calc)(Series(src, srcStart), period);
    Doubles got = ValidValues(r);
    ASSERT_EQ(got.size(), want.size()) << what;
    for (size_t i = 0; i < got.size(); ++i) EXPECT_NEAR(got[i], want[i], 1e-12) << what << " " << i;
  }
  SVector r;
  r.CalcSumCum(SVector(2.0), 3);  // a number is summed over the bars to fill
  EXPECT_EQ(ValidValues(r), (Doubles{2, 4, 6}));
  r.CalcSum(Series({1, 2, NAN, 4, 5, 6, 7, 8, 9}), 2);
  EXPECT_TRUE(std::isnan(r[2]));
  EXPECT_EQ(r[8], 17.0);  // the NaN has left the window again
}

TEST(SVectorSearch, NonZeroSearchesPositionsAndRangeExtremes) {
  SVector s = Series({0, 0, 3, 0, 5, 0}), e = Series({5, 0, -2, 8, 0}, 1);
  // clang-format off
  const std::vector<int> found = {s.FindFirstNonZeroIndex(0), s.FindFirstNonZeroIndex(3), s.FindFirstNonZeroIndex(5),
      s.FindPrevNonZeroIndex(3), s.FindPrevNonZeroIndex(1), s.FindPos(5, -3), s.FindPos(5, 5)};
  // clang-format on
  EXPECT_EQ(found, (std::vector<int>{2, 4, -1, 2, -1, 4, -1}));
  // e's bar 0 lies before its start index; mode 1 skips zeros.
  const Doubles extremes = {s.GetFirstNonZeroValue(), e.GetMax(),         e.GetMin(),        e.GetMax(0, 2, 0),
                            e.GetMin(3, 99, 0),       e.GetMin(3, 99, 1), e.GetMaxTemp(1, 2)};
  EXPECT_EQ(extremes, (Doubles{3, 8, -2, 0, 0, 8, 0}));
}

TEST(DateTimeNumbers, PartsOfDailyAndIntradayValues) {
  const double t = 20240105093000.0;
  // clang-format off
  const std::vector<long> parts = {GetCompDate(20240105), GetCompDate(t), GetTimeOfDay(t), GetTimeOfDay(20240105),
      GetYear(t), GetMonth(20240105), GetDate(20240105), GetHour(t), GetMinute(t), GetLongDate(20240105153000.0),
      IsValidDate(20240229), IsValidDate(20230229), IsValidDate(20241301), IsValidDate(20000229),
      IsValidDate(19000229)};
  // clang-format on
  EXPECT_EQ(parts, (std::vector<long>{20240105, 20240105, 93000, 0, 2024, 1, 5, 9, 30, 20240105, 1, 0, 0, 1, 0}));
}

// Month ends, leap days, year ends, steps that end on either side of
// midnight, and dates or times no calendar has, which come back as the real
// moment they count up to even when the step stays inside the day.
TEST(DateTimeNumbers, NextTimeCrossesMidnightAndNormalisesImpossibleDays) {
  // From, minutes, next.
  const std::tuple<double, int, double> cases[] = {
      {20240105093000.0, 30, 20240105100000.0},
      {20240131233000.0, 60, 20240201003000.0},          // a month end
      {20240228000000.0, 24 * 60, 20240229000000.0},     // a leap day
      {20231231, 24 * 60, 20240101000000.0},             // a year end, from a daily value
      {20240105233000.0, 29, 20240105235900.0},          // the last minute stays in the day
      {20240105233000.0, 30, 20240106000000.0},          // midnight is the next day
      {20240105000000.0, -1, 20240104235900.0},          // a step back leaves the day
      {20240105093045.0, 30, 20240105100045.0},          // seconds are carried
      {20240230093000.0, 30, 20240301100000.0},          // the 30th of February
      {20230229120000.0, 0, 20230301120000.0},           // a leap day in a common year
      {20240229120000.0, 0, 20240229120000.0},           // and in a leap year
      {19000229, 60, 19000301010000.0},                  // centuries are common years
      {20000229, 60, 20000229010000.0},                  // unless they divide by 400
      {20240431, 0, 20240501000000.0},                   // the 31st of a 30-day month
      {20240105256100.0, 0, 20240106020100.0},           // 25:61 is past midnight
      {20240105000100.0, 2147483647, 61070128020800.0},  // the largest step does not overflow
  };
  for (auto [from, minutes, next] : cases) EXPECT_EQ(GetNextTime(from, minutes), next) << std::fixed << from;
}

// One stepper and one day reader over bars in a row, as the market profile
// uses them: a day they have seen must not carry over to a bar of another
// day, an impossible day or a value just past the day's range.
TEST(DateTimeNumbers, BarsInARowAreNotTakenForTheDayBefore) {
  // The bar, 30 minutes later, its day.
  const std::tuple<double, double, long> bars[] = {
      {20240229233000.0, 20240301000000.0, 20240229},
      {20240229000000.0, 20240229003000.0, 20240229},
      {20230229000000.0, 20230301003000.0, 20230229},  // the day kept is not a real one
      {20230229010000.0, 20230301013000.0, 20230229},  // nor the second time
      {20240229235959.9, 20240301002959.0, 20240229},  // still inside the day's range
      {20240301000000.0, 20240301003000.0, 20240301},
      {20240301, 20240301003000.0, 20240301},  // a daily bar of the same day
      {20240229235959.0, 20240301002959.0, 20240229},
  };
  NextTimes step(30);
  BarDays days;
  for (auto [dt, next, day] : bars)
    EXPECT_EQ(std::pair(step.After(dt), days.Of(dt)), std::pair(next, day)) << std::fixed << dt;
}

// ---- texts --------------------------------------------------------------------

// Integers are 32 bits wide: an unsigned value above 2147483647 reads
// negative. Doubles are written with "%g" (six significant digits).
TEST(SString, NumberFormatsFollowTheirFixedRules) {
  SString d, f, i, u;
  d = 1234567.0;
  f = 0.25f;
  i = -5;
  u = 4294967295ul;
  std::string got;
  for (const SString& s :
       {SString(-5), SString(7u), ultos(4294967295ul), SString(0.0000001), dtos(3.14159, 2), d, f, i, u})
    got += s.str() + " ";
  EXPECT_EQ(got, "-5 7 -1 1e-07 3.14 1.23457e+06 0.25 -5 -1 ");
}

TEST(SString, ConstructorsNeverReadPastTheTextAndTrimTakesBothEnds) {
  const unsigned char bytes[] = {0xC7, 0xD1, 0};
  SString s(" \t a b \r\n"), blank("   ");
  EXPECT_EQ(SString('x', -2).str() + "|" + SString("abcdef", 2).str() + "|" + SString("ab", 10).str() + "|" +
                SString(static_cast<const char*>(nullptr)).str() + "|" + s.Trim().str() + "|" + blank.Trim().str(),
            "|ab|ab||a b|");
  EXPECT_EQ(SString(bytes).Length(), 2);
  // Wide text is code page 949 whatever the locale; what it lacks is "?".
  EXPECT_EQ(SString(L"\uAC00\uB098").str(), "\xB0\xA1\xB3\xAA");
  EXPECT_EQ(SString(L"a\U0001F600b").str(), "a?b");
}

TEST(TextHelpers, ScannersKeepDelimitersStopAtTheKeyAndCutNamesAtTheLimit) {
  char text[] = "f|a\x1b+\001b|\tx\r\n|y\x7f", spaced[] = " a b\tc ", fields[] = "name|last", field[16];
  EXPECT_STREQ(DeleteEscapeCharacter(text), "f|a+b|\tx\r\n|y");
  EXPECT_STREQ(DeleteAllSpace(spaced), "abc");
  EXPECT_EQ(CutStringUntilKey(fields, field, "|"), field);
  EXPECT_EQ(std::string(field) + "," + DeleteString(fields, "|"), "name,last");
  EXPECT_EQ(CutStringUntilKey(fields, field, "|"), nullptr);  // no key: the whole rest
  EXPECT_EQ(std::string(field) + "," + FindString(fields, "as"), "last,ast");
  EXPECT_EQ(std::tuple(DeleteString(fields, "|"), FindString(fields, "zz")), std::tuple(nullptr, nullptr));
  char out[kMaxNameBytes + 1];
  for (auto [source, name] :
       {std::pair{"close_1+2", "close_1"}, {"1abc", ""}, {"\xC1\xBE\xB0\xA1(1)", "\xC1\xBE\xB0\xA1"}})
    EXPECT_STREQ(GetName(source, out), name);
  EXPECT_EQ(std::strlen(GetName(std::string(400, 'a').c_str(), out)), static_cast<size_t>(kMaxNameBytes));
}

TEST(TextHelpers, NumberParsingFallsBackToTheDefault) {
  const std::pair<const char*, long> ints[] = {{" -7 ", -7},  {"-3.9", -3},       {"1e3", 1000}, {"", 99},
                                               {"12abc", 99}, {"2147483648", 99}, {"--1", 99},   {"+3", 3}};
  for (const auto& [text, expected] : ints) EXPECT_EQ(AnsiStringToInt(text, 99), expected) << text;
  EXPECT_EQ(AnsiStringToInt("-2147483648", 99), -2147483648l);
  const std::pair<const char*, double> floats[] = {{" -0.5", -0.5}, {"1e-3", 0.001}, {"", 7.0},    {"inf", 7.0},
                                                   {"nan", 7.0},    {"1,5", 7.0},    {"0x10", 7.0}};
  for (const auto& [text, expected] : floats) EXPECT_DOUBLE_EQ(AnsiStringToFloat(text, 7.0), expected) << text;
}

TEST(TextHelpers, DisplayFormatsShowTheDecimalsAskedFor) {
  // A value that shows as zero loses its minus sign; one beyond the precision
  // is shown with an exponent.
  const std::tuple<double, int, int, const char*> fixed[] = {
      {1234.5678, 15, 2, "1234.57"}, {-0.001, 15, 2, "0.00"}, {3, 15, 0, "3"}, {1.5e12, 10, 2, "1.500000000E+12"}};
  for (auto [v, precision, digits, text] : fixed) EXPECT_STREQ(FloatToStrF(v, precision, digits).c_str(), text);
  // The tick's decimals; a tick that is no positive number gives two.
  const std::tuple<double, double, const char*> ticks[] = {{1021.5, 0.5, "1021.5"},     {1028, 0.5, "1028.0"},
                                                           {1021.37, 1, "1021"},        {1.23456, 0.05, "1.23"},
                                                           {1.23456, 0.0001, "1.2346"}, {100, 0, "100.00"}};
  for (const auto& [value, tick, text] : ticks) EXPECT_STREQ(GetTickFullFormat(value, tick).c_str(), text) << tick;
  EXPECT_EQ(TickDecimals(std::nan("")), 2);
}

TEST(TextHelpers, ProposedStepsRoundToTwoSignificantDigitsAndStayPositive) {
  const std::pair<double, double> cases[] = {{24.69, 25},     {61.725, 62},  {1234, 1200},
                                             {0.0149, 0.015}, {-24.69, -25}, {HUGE_VAL, 0}};
  for (const auto& [step, expected] : cases) EXPECT_EQ(GetNewTickValue(step), expected) << step;
  EXPECT_EQ(conditionProove(24.69), 25.0);
  for (double bad : {0.0, -3.0, std::nan(""), HUGE_VAL}) EXPECT_EQ(conditionProove(bad), 1.0) << bad;
}

TEST(Texts, PairIsChosenByTheLanguageAtEachCallAndEveryKoreanTextIsCodePage949) {
  SetLangType(kLangKorean);
  std::string korean = GetText(TxOperatorNeeded), utf8;
  SetLangType(7);  // unknown values mean English
  EXPECT_EQ(GetLangType(), kLangEnglish);
  EXPECT_STREQ(GetText(TxOperatorNeeded), "Operator is needed.");
  ASSERT_TRUE(Cp949ToUtf8(korean, utf8));
  EXPECT_EQ(utf8, "연산자가 필요합니다");
  EXPECT_STREQ(GetText(static_cast<TextId>(-1)), "");
  EXPECT_EQ(ListEntry(kLangEnglish, 18, 3), 21);
  for (int id = 0; id < TxCount; ++id) EXPECT_TRUE(Cp949ToUtf8(GetText(TextId(id), kLangKorean), utf8)) << id;
}

TEST(Cp949, ConversionIsLosslessBothWaysAndRefusesWhatItCannotHold) {
  std::string cp, back;
  ASSERT_TRUE(Utf8ToCp949("평균(종가, 5)", cp) && Cp949ToUtf8(cp, back));
  EXPECT_EQ(back, "평균(종가, 5)");
  EXPECT_FALSE(Utf8ToCp949("\xF0\x9F\x98\x80", cp));  // an emoji
  EXPECT_FALSE(Utf8ToCp949("\xC3", cp));              // cut UTF-8
  EXPECT_EQ(Cp949ToUtf8Lossy("ab\xFF|c"), "ab\\xFF|c");
}

}  // namespace
