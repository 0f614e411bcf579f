// Series storage rules, element-wise operators and rolling calculations.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <vector>

#include "chartcalc.h"

using namespace chartcalc::detail;

namespace {

SVector Make(std::vector<double> v, int start = 0) {
  SVector s(static_cast<int>(v.size()));
  std::copy(v.begin(), v.end(), s.Data());
  s.SetStartIndex(start);
  return s;
}

std::vector<double> Valid(const SVector& s) {
  int from = std::max(s.GetStartIndex(), 0);
  if (from >= s.GetSize()) return {};
  return std::vector<double>(s.Data() + from, s.Data() + s.GetSize());
}

// ---- growth -------------------------------------------------------------

struct GrowthCase {
  int setSize;
  int capacity;
  int size;
};

TEST(SVectorGrowth, SetSizeRoundsCapacityUpToBlocksOfAThousand) {
  const GrowthCase cases[] = {{1, 1000, 1}, {1000, 1000, 1000}, {1001, 2000, 1001}, {0, 0, 0}, {2500, 3000, 2500}};
  for (const GrowthCase& c : cases) {
    SVector s;
    s.SetSize(c.setSize);
    EXPECT_EQ(s.GetCapacity(), c.capacity) << c.setSize;
    EXPECT_EQ(s.GetSize(), c.size) << c.setSize;
  }
}

TEST(SVectorGrowth, AddFillsCapacityOneBeforeGrowingToABlock) {
  SVector s;
  s.Alloc(0);
  EXPECT_EQ(s.GetCapacity(), 1);
  s.Add(7.0);
  EXPECT_EQ(s.GetCapacity(), 1);
  EXPECT_EQ(s.GetSize(), 1);
  s.Add(8.0);
  EXPECT_EQ(s.GetCapacity(), 1000);
  EXPECT_EQ(Valid(s), (std::vector<double>{7.0, 8.0}));
}

TEST(SVectorGrowth, ReAllocKeepsOnlyElementsFromTheStartIndex) {
  SVector s = Make({1, 2, 3, 4}, 2);
  s.ReAlloc(10);
  EXPECT_EQ(s.GetCapacity(), 10);
  EXPECT_EQ(s.GetSize(), 4);
  EXPECT_EQ(s[2], 3.0);
  EXPECT_EQ(s[3], 4.0);
}

TEST(SVectorGrowth, UpdateCountsBackFromTheLastElementAndIgnoresOutOfRange) {
  SVector s = Make({1, 2, 3});
  s.Update(9, 5);
  s.Update(9, -1);
  EXPECT_EQ(Valid(s), (std::vector<double>{1, 2, 3}));
  s.Update(9, 2);
  s.Update(8, 0);
  EXPECT_EQ(Valid(s), (std::vector<double>{9, 2, 8}));
}

TEST(SVectorGrowth, InsertPutsOlderHistoryFirst) {
  SVector recent = Make({4, 5});
  SVector older = Make({1, 2, 3});
  recent.Insert(older);
  EXPECT_EQ(Valid(recent), (std::vector<double>{1, 2, 3, 4, 5}));
}

TEST(SVectorGrowth, InvalidStartMeansNoValidElement) {
  SVector s = Make({1, 2, 3}, kInvalidStart);
  EXPECT_FALSE(s.HasValid());
  EXPECT_TRUE(Valid(s).empty());
  EXPECT_EQ(s.GetMax(), 0.0);
}

// ---- operators ------------------------------------------------------------

TEST(SVectorOperators, ResultStartsAtTheLaterStartIndex) {
  SVector a = Make({1, 2, 3, 4}, 1);
  SVector b = Make({10, 20, 30, 40}, 3);
  SVector r = a + b;
  EXPECT_EQ(r.GetStartIndex(), 3);
  EXPECT_EQ(r.GetSize(), 4);
  EXPECT_EQ(r[3], 44.0);
  EXPECT_TRUE(r.IsSeries());
}

TEST(SVectorOperators, SingleNumberStandsForItsValueAtEveryBar) {
  SVector a = Make({1, 2, 3});
  SVector two(2.0);
  EXPECT_EQ(Valid(a * two), (std::vector<double>{2, 4, 6}));
  EXPECT_EQ(Valid(two - a), (std::vector<double>{1, 0, -1}));
  EXPECT_EQ(two[57], 2.0);
  SVector both = two + SVector(3.0);
  EXPECT_FALSE(both.IsSeries());
  EXPECT_EQ(both.Number(), 5.0);
}

TEST(SVectorOperators, ShorterOperandsMissingBarsGiveZero) {
  SVector r = Make({1, 2, 3, 4}) + Make({10, 20});
  EXPECT_EQ(Valid(r), (std::vector<double>{11, 22, 0, 0}));
}

TEST(SVectorOperators, DivisionAndRemainderByZeroGiveZero) {
  SVector a = Make({6, 7, -7, 1});
  SVector b = Make({0, 2, 2, 0});
  EXPECT_EQ(Valid(a / b), (std::vector<double>{0, 3.5, -3.5, 0}));
  EXPECT_EQ(Valid(a % b), (std::vector<double>{0, 1, -1, 0}));
}

TEST(SVectorOperators, ComparisonsAndLogicGiveOneOrZero) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  SVector a = Make({1, 2, 3, 0, nan});
  SVector b = Make({2, 2, 2, 0, 1});
  EXPECT_EQ(Valid(a < b), (std::vector<double>{1, 0, 0, 0, 0}));
  EXPECT_EQ(Valid(a <= b), (std::vector<double>{1, 1, 0, 1, 0}));
  EXPECT_EQ(Valid(a > b), (std::vector<double>{0, 0, 1, 0, 0}));
  EXPECT_EQ(Valid(a >= b), (std::vector<double>{0, 1, 1, 1, 0}));
  EXPECT_EQ(Valid(a == b), (std::vector<double>{0, 1, 0, 1, 0}));
  EXPECT_EQ(Valid(a != b), (std::vector<double>{1, 0, 1, 0, 1}));
  // A NaN is non-zero, so it counts as true.
  EXPECT_EQ(Valid(a && b), (std::vector<double>{1, 1, 1, 0, 1}));
  EXPECT_EQ(Valid(a || Make({0, 0, 0, 0, 0})), (std::vector<double>{1, 1, 1, 0, 1}));
  EXPECT_EQ(Valid(!a), (std::vector<double>{0, 0, 0, 1, 0}));
}

TEST(SVectorOperators, DelayShiftsValuesAndStartIndex) {
  SVector a = Make({1, 2, 3, 4, 5}, 1);
  SVector d = a(2);
  EXPECT_EQ(d.GetStartIndex(), 3);
  EXPECT_EQ(d.GetSize(), 5);
  EXPECT_EQ(Valid(d), (std::vector<double>{2, 3}));
  // Looking ahead shortens the series instead of reading past its end.
  SVector ahead = a(-2);
  EXPECT_EQ(ahead.GetSize(), 3);
  EXPECT_EQ(ahead.GetStartIndex(), 0);
  EXPECT_EQ(Valid(ahead), (std::vector<double>{3, 4, 5}));
  EXPECT_EQ(Make({1, 2}, kInvalidStart)(5).GetStartIndex(), kInvalidStart);
}

TEST(SVectorOperators, VecFunctionsMatchOperators) {
  SVector a = Make({1, 2, 3}), b = Make({3, 2, 1}), r;
  VecMinus(r, a, b);
  EXPECT_EQ(Valid(r), Valid(a - b));
  VecGE(r, a, b);
  EXPECT_EQ(Valid(r), Valid(a >= b));
  VecNot(r, b);
  EXPECT_EQ(Valid(r), Valid(!b));
  VecRef(r, a, 1);
  EXPECT_EQ(Valid(r), Valid(a(1)));
}

TEST(SVectorOperators, TruncToIntNeverOverflows) {
  EXPECT_EQ(TruncToInt(std::numeric_limits<double>::quiet_NaN()), 0);
  EXPECT_EQ(TruncToInt(1e300), std::numeric_limits<int>::max());
  EXPECT_EQ(TruncToInt(-1e300), std::numeric_limits<int>::min());
  EXPECT_EQ(TruncToInt(-2.9), -2);
  EXPECT_EQ(ShiftStart(kInvalidStart, 5), kInvalidStart);
  EXPECT_EQ(ShiftStart(2147483600, 100), kInvalidStart);
}

// ---- rolling calculations against straightforward loops ------------------

std::vector<double> Wave(int n) {
  std::vector<double> v(static_cast<size_t>(n));
  for (int i = 0; i < n; ++i) v[i] = 150.0 + 10.0 * std::sin(i * 0.7) + (i % 5) - 0.3 * i;
  return v;
}

// Reference: apply f to every full window ending at each bar.
template <class F>
std::vector<double> Reference(const std::vector<double>& x, int start, int p, F f) {
  std::vector<double> out;
  for (int i = start + p - 1; i < static_cast<int>(x.size()); ++i)
    out.push_back(f(std::vector<double>(x.begin() + i - p + 1, x.begin() + i + 1)));
  return out;
}

void ExpectNear(const std::vector<double>& got, const std::vector<double>& want, const char* what) {
  ASSERT_EQ(got.size(), want.size()) << what;
  for (size_t i = 0; i < got.size(); ++i) EXPECT_NEAR(got[i], want[i], 1e-9 * (1 + std::fabs(want[i]))) << what << " " << i;
}

TEST(SVectorRolling, WindowStatisticsMatchDirectComputation) {
  const std::vector<double> x = Wave(300);
  const int start = 4;
  SVector src = Make(x, start);
  auto sum = [](const std::vector<double>& w) { double s = 0; for (double v : w) s += v; return s; };
  auto mean = [&](const std::vector<double>& w) { return sum(w) / w.size(); };
  struct Case {
    const char* name;
    void (SVector::*calc)(const SVector&, int);
    std::function<double(const std::vector<double>&)> ref;
  };
  const Case cases[] = {
      {"sum", &SVector::CalcSum, sum},
      {"avg", &SVector::CalcAvg, mean},
      {"wavg", &SVector::CalcWAvg, [](const std::vector<double>& w) {
         double s = 0, n = 0;
         for (size_t k = 0; k < w.size(); ++k) s += (k + 1) * w[k], n += k + 1;
         return s / n;
       }},
      {"stdev", &SVector::CalcStdev, [&](const std::vector<double>& w) {
         double m = mean(w), q = 0;
         for (double v : w) q += (v - m) * (v - m);
         return std::sqrt(q / w.size());
       }},
      {"highest", &SVector::CalcHighest, [](const std::vector<double>& w) { return *std::max_element(w.begin(), w.end()); }},
      {"lowest", &SVector::CalcLowest, [](const std::vector<double>& w) { return *std::min_element(w.begin(), w.end()); }},
      {"gavg", &SVector::CalcGAvg, [](const std::vector<double>& w) {
         double l = 0;
         for (double v : w) l += std::log(v);
         return std::exp(l / w.size());
       }},
      {"havg", &SVector::CalcHAvg, [](const std::vector<double>& w) {
         double r = 0;
         for (double v : w) r += 1.0 / v;
         return w.size() / r;
       }},
  };
  for (const Case& c : cases) {
    for (int p : {1, 2, 7, 20, 296}) {
      SVector r;
      (r.*c.calc)(src, p);
      EXPECT_EQ(r.GetSize(), 300) << c.name;
      EXPECT_EQ(r.GetStartIndex(), start + p - 1) << c.name << " p=" << p;
      ExpectNear(Valid(r), Reference(x, start, p, c.ref), c.name);
    }
  }
}

TEST(SVectorRolling, PeriodLongerThanDataOrBelowOneLeavesNoValidBar) {
  SVector src = Make({1, 2, 3});
  for (int p : {0, -5, 4, 2147483647}) {
    SVector r;
    r.CalcAvg(src, p);
    EXPECT_FALSE(r.HasValid()) << p;
    r.CalcHighest(src, p);
    EXPECT_FALSE(r.HasValid()) << p;
    r.CalcStdev(src, p);
    EXPECT_FALSE(r.HasValid()) << p;
  }
}

TEST(SVectorRolling, ExponentialAverageIsSeededWithTheSimpleAverage) {
  SVector src = Make({2, 4, 6, 8, 10});
  SVector r;
  r.CalcEAvg(src, 3);
  EXPECT_EQ(r.GetStartIndex(), 2);
  // Seed (2+4+6)/3 = 4, then factor 2/(3+1) = 0.5.
  EXPECT_EQ(Valid(r), (std::vector<double>{4, 6, 8}));
}

TEST(SVectorRolling, TriangularAverageStartsWhereTheSimpleAverageDoes) {
  SVector src = Make({1, 2, 3, 4, 5, 6, 7, 8});
  SVector r;
  r.CalcTAvg(src, 4);
  EXPECT_EQ(r.GetStartIndex(), 3);
  // Inner 3-bar average 2,3,4,5,6,7 from bar 2; outer 2-bar average.
  EXPECT_EQ(Valid(r), (std::vector<double>{2.5, 3.5, 4.5, 5.5, 6.5}));
}

TEST(SVectorRolling, NonPositiveValuesGiveZeroGeometricAndHarmonicAverages) {
  SVector src = Make({4, 0, 4, 4, 4});
  SVector g, h;
  g.CalcGAvg(src, 2);
  h.CalcHAvg(src, 2);
  EXPECT_EQ(Valid(g), (std::vector<double>{0, 0, 4, 4}));
  EXPECT_EQ(Valid(h), (std::vector<double>{0, 0, 4, 4}));
}

TEST(SVectorRolling, NanLeavesTheWindowAgain) {
  SVector src = Make({1, 2, std::numeric_limits<double>::quiet_NaN(), 4, 5, 6, 7, 8, 9});
  SVector r;
  r.CalcSum(src, 2);
  std::vector<double> v = Valid(r);
  EXPECT_TRUE(std::isnan(v[1]));
  EXPECT_EQ(v.back(), 17.0);
}

TEST(SVectorRolling, CumulativeFormsRunFromTheStartIndex) {
  SVector src = Make({9, 1, 2, 3, 4}, 1);
  SVector r;
  r.CalcSumCum(src, 5);
  EXPECT_EQ(r.GetStartIndex(), 1);
  EXPECT_EQ(Valid(r), (std::vector<double>{1, 3, 6, 10}));
  r.CalcAvgCum(src, 5);
  EXPECT_EQ(Valid(r), (std::vector<double>{1, 1.5, 2, 2.5}));
  r.CalcWAvgCum(src, 5);
  EXPECT_NEAR(Valid(r)[1], (1 * 1 + 2 * 2) / 3.0, 1e-12);
  r.CalcEAvgCum(src, 5);
  EXPECT_EQ(Valid(r)[0], 1.0);
  EXPECT_NEAR(Valid(r)[1], 1.0 + 2.0 / 3.0 * (2 - 1), 1e-12);
  // r[i] = ((i - 1) / i) r[i - 1] + x[i] with i the bar number.
  r.CalcESumCum(src, 5);
  EXPECT_NEAR(Valid(r)[1], 1.0 / 2.0 * 1 + 2, 1e-12);
  // A single number is summed over the bars to fill.
  r.CalcSumCum(SVector(2.0), 3);
  EXPECT_EQ(Valid(r), (std::vector<double>{2, 4, 6}));
}

// ---- searches -------------------------------------------------------------

TEST(SVectorSearch, NonZeroSearchesAndPositions) {
  SVector s = Make({0, 0, 3, 0, 5, 0});
  EXPECT_EQ(s.FindFirstNonZeroIndex(0), 2);
  EXPECT_EQ(s.FindFirstNonZeroIndex(3), 4);
  EXPECT_LT(s.FindFirstNonZeroIndex(5), 0);
  EXPECT_EQ(s.FindPrevNonZeroIndex(3), 2);
  EXPECT_LT(s.FindPrevNonZeroIndex(1), 0);
  EXPECT_EQ(s.GetFirstNonZeroValue(), 3.0);
  EXPECT_EQ(s.FindPos(5, -3), 4);
  EXPECT_EQ(s.FindPos(5, 5), -1);
}

TEST(SVectorSearch, ExtremesOverRangesSkipZerosOnlyWhenAsked) {
  SVector s = Make({5, 0, -2, 8, 0}, 1);
  EXPECT_EQ(s.GetMax(), 8.0);
  EXPECT_EQ(s.GetMin(), -2.0);
  EXPECT_EQ(s.GetMax(0, 2, 0), 0.0);  // bar 0 lies before the start index
  EXPECT_EQ(s.GetMin(3, 99, 0), 0.0);
  EXPECT_EQ(s.GetMin(3, 99, 1), 8.0);
  EXPECT_EQ(s.GetMaxTemp(1, 2), 0.0);
}

// ---- date-time numbers ----------------------------------------------------

TEST(DateTimeNumbers, PartsOfDailyAndIntradayValues) {
  EXPECT_EQ(GetCompDate(20240105), 20240105);
  EXPECT_EQ(GetCompDate(20240105093000.0), 20240105);
  EXPECT_EQ(GetTimeOfDay(20240105093000.0), 93000);
  EXPECT_EQ(GetTimeOfDay(20240105), 0);
  EXPECT_EQ(GetYear(20240105093000.0), 2024);
  EXPECT_EQ(GetMonth(20240105), 1);
  EXPECT_EQ(GetDate(20240105), 5);
  EXPECT_EQ(GetHour(20240105093000.0), 9);
  EXPECT_EQ(GetMinute(20240105093000.0), 30);
  EXPECT_EQ(GetLongDate(20240105153000.0), 20240105L);
}

TEST(DateTimeNumbers, NextTimeRollsOverDaysMonthsAndLeapYears) {
  EXPECT_EQ(GetNextTime(20240105093000.0, 30), 20240105100000.0);
  EXPECT_EQ(GetNextTime(20240131233000.0, 60), 20240201003000.0);
  EXPECT_EQ(GetNextTime(20240228000000.0, 24 * 60), 20240229000000.0);
  EXPECT_EQ(GetNextTime(20231231, 24 * 60), 20240101000000.0);
  EXPECT_TRUE(IsValidDate(20240229));
  EXPECT_FALSE(IsValidDate(20230229));
  EXPECT_FALSE(IsValidDate(20241301));
}

}  // namespace
