// Compression functions: one value per hour, day, month, year or group of
// bars, their localised names and unit words, the unit error, and
// DeCompress mapping groups back onto the bars. Expected values are worked
// out by hand from the fixtures.
#include "calc/CalcTestUtil.h"
#include "calc/SCalcCompression.h"

using namespace chartcalc::detail;

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

// Daily bars over two years and three months.
TestBars DailyAcrossMonths() {
  TestBars b;
  b[kDateTime] = Series({20231228, 20231229, 20240102, 20240103, 20240131, 20240201, 20240202});
  b[kClose] = Series({1, 2, 3, 4, 5, 6, 7});
  b[kOpen] = Series({11, 12, 13, 14, 15, 16, 17});
  b[kHigh] = Series({1, 2, 3, 4, 5, 6, 7});
  b[kLow] = Series({1, 2, 3, 4, 5, 6, 7});
  b[kVolume] = Series({100, 200, 300, 400, 500, 600, 700});
  return b;
}

struct CompressCase {
  const char* formula;
  std::vector<double> values;
};

void ExpectCompressed(TestBars& bars, const CompressCase& c) {
  EvalResult r = Evaluate(bars, c.formula);
  ASSERT_EQ(r.errors, 0) << c.formula << ": " << r.message;
  EXPECT_EQ(r.value.GetStartIndex(), 0) << c.formula;
  EXPECT_EQ(Values(r.value), c.values) << c.formula;
}

TEST(Compression, EachFunctionTakesItsGroupValue) {
  const CompressCase cases[] = {
      {"CompressC(day)", {2, 5, 9}},
      {"CompressO(day)", {11, 13, 16}},
      {"CompressH(day)", {9, 8, 9}},
      {"CompressL(day)", {-1, 1, -4}},
      {"CompressV(day)", {30, 120, 300}},
      {"CompressD(day)", {20240105150000, 20240108100000, 20240109120000}},
      // By hour: the 09 hours of days 2 and 3 are apart, the 10 hours too.
      {"CompressC(hour)", {1, 2, 4, 5, 6, 7, 8, 9}},
      {"CompressV(hour)", {10, 20, 70, 50, 60, 70, 80, 90}},
      // By number of bars: groups start at bars 0, 4 and 8.
      {"CompressC(4)", {4, 8, 9}},
      {"CompressH(4)", {9, 9, 2}},
      {"CompressO(4)", {11, 15, 19}},
  };
  TestBars bars = ThreeDays();
  for (const CompressCase& c : cases) ExpectCompressed(bars, c);
}

TEST(Compression, MonthAndYearUnitsOnDailyBars) {
  const CompressCase cases[] = {
      {"CompressO(month)", {11, 13, 16}},
      {"CompressC(month)", {2, 5, 7}},
      {"CompressV(year)", {300, 2500}},
      {"CompressD(year)", {20231229, 20240202}},
      // Daily bars have no hour: by hour they make one group.
      {"CompressC(hour)", {7}},
      {"CompressC(day)", {1, 2, 3, 4, 5, 6, 7}},
  };
  TestBars bars = DailyAcrossMonths();
  for (const CompressCase& c : cases) ExpectCompressed(bars, c);
}

TEST(Compression, HighsOfPairs) {
  TestBars bars;
  bars[kDateTime] = Series({20240102, 20240103, 20240104, 20240105});
  bars[kHigh] = Series({1, 5, 3, 2});
  ExpectCompressed(bars, {"CompressH(2)", {5, 3}});
}

TEST(Compression, UnknownUnitNameGroupsByHour) {
  TestBars bars = ThreeDays();
  EXPECT_EQ(Values(Evaluate(bars, "CompressC(week)").value), Values(Evaluate(bars, "CompressC(hour)").value));
  EXPECT_EQ(Values(Evaluate(bars, "CompressC(DAY)").value), Values(Evaluate(bars, "CompressC(day)").value));
}

TEST(Compression, UnitBelowOneIsReportedNotDividedBy) {
  TestBars bars = ThreeDays();
  for (const char* f : {"CompressC(0)", "CompressV(0.5)", "CompressH(-2)", "CompressL()", "CompressD((3))"}) {
    EvalResult r = Evaluate(bars, f);
    EXPECT_GT(r.errors, 0) << f;
    EXPECT_EQ(r.message, "The compression unit should be one or more.") << f;
    EXPECT_FALSE(r.value.HasValid()) << f;
  }
  LangScope korean(kLangKorean);
  EXPECT_EQ(Evaluate(bars, "CompressC(0)").message, Cp949("압축 단위는 1 이상이어야 합니다."));
}

TEST(Compression, HugeNumberUnitMakesOneGroup) {
  TestBars bars = ThreeDays();
  ExpectCompressed(bars, {"CompressV(99999999999)", {450}});
}

TEST(Compression, LocalisedNamesAndUnitsFollowTheLanguage) {
  TestBars bars = ThreeDays();
  std::vector<double> byDay = Values(Evaluate(bars, "CompressC(day)").value);
  EXPECT_EQ(Values(Evaluate(bars, "CompressC(Day)").value), byDay);  // English-table unit word
  {
    LangScope korean(kLangKorean);
    struct Pair {
      const char* local;
      const char* english;
    };
    const Pair pairs[] = {
        {"종가압축(일)", "CompressC(day)"},   {"시가압축(시)", "CompressO(hour)"},
        {"고가압축(월)", "CompressH(month)"}, {"저가압축(년)", "CompressL(year)"},
        {"거래량압축(2)", "CompressV(2)"},    {"일시압축(일)", "CompressD(day)"},
        {"분해(종가압축(일), 일시압축(일))", "DeCompress(CompressC(day), CompressD(day))"},
    };
    for (const Pair& p : pairs) {
      EvalResult local = Evaluate(bars, Cp949(p.local));
      ASSERT_EQ(local.errors, 0) << p.english << ": " << local.message;
      EXPECT_EQ(Values(local.value), Values(Evaluate(bars, p.english).value)) << p.english;
    }
  }
  // The Korean words mean nothing in English mode.
  EXPECT_GT(Evaluate(bars, Cp949("종가압축(day)")).errors, 0);
  EXPECT_EQ(Values(Evaluate(bars, Cp949("CompressC(일)")).value), Values(Evaluate(bars, "CompressC(hour)").value));
}

TEST(Compression, StartIndexIsTheGroupOfTheSourcesFirstValidBar) {
  TestBars bars = ThreeDays();
  bars[kClose].SetStartIndex(3);  // inside day 2
  SCalc calc;
  bars.Bind(calc);
  CompressUnit day;
  day.kind = CompressUnit::kDay;
  SVector r = CalcCompress(calc, kClose, day);
  EXPECT_EQ(r.GetSize(), 3);
  EXPECT_EQ(r.GetStartIndex(), 1);
  bars[kClose].SetStartIndex(kInvalidStart);
  EXPECT_FALSE(CalcCompress(calc, kClose, day).HasValid());
}

TEST(Compression, EmptyDataGivesAnEmptySeries) {
  TestBars none;
  EvalResult r = Evaluate(none, "CompressC(day)");
  EXPECT_EQ(r.errors, 0);
  EXPECT_EQ(r.value.GetSize(), 0);
  EXPECT_EQ(Evaluate(none, "DeCompress(CompressC(day), CompressD(day))").value.GetSize(), 0);
}

TEST(Compression, CompressMarksHistoryAndDeCompressAloneDoesNot) {
  TestBars bars = ThreeDays();
  struct Case {
    const char* formula;
    int flag;
  };
  for (Case c : {Case{"CompressC(day)", 1}, Case{"CompressD(3)", 1}, Case{"DeCompress(5, 20240109120000)", 0}}) {
    SCalc calc;
    bars.Bind(calc);
    calc.SetExpression(c.formula);
    calc.Calculate();
    EXPECT_EQ(calc.ErrorCount, 0) << c.formula;
    EXPECT_EQ(calc.HistoryFlag, c.flag) << c.formula;
  }
}

// ---- DeCompress ------------------------------------------------------------------

TEST(DeCompress, EveryBarGetsItsDaysLastClose) {
  TestBars bars = ThreeDays();
  EvalResult r = Evaluate(bars, "DeCompress(CompressC(day), CompressD(day))");
  ASSERT_EQ(r.errors, 0) << r.message;
  EXPECT_EQ(r.value.GetStartIndex(), 0);
  EXPECT_EQ(Values(r.value), (std::vector<double>{2, 2, 5, 5, 5, 9, 9, 9, 9}));
  EXPECT_EQ(Values(Evaluate(bars, "DeCompress(CompressH(hour), CompressD(hour))").value),
            (std::vector<double>{5, 9, 8, 8, 6, 3, 7, 9, 2}));
}

TEST(DeCompress, DelayedGroupsGiveThePreviousDayFromTheSecondDayOn) {
  TestBars bars = ThreeDays();
  EvalResult r = Evaluate(bars, "a = CompressC(day); DeCompress(a(1), CompressD(day))");
  ASSERT_EQ(r.errors, 0) << r.message;
  EXPECT_EQ(r.value.GetStartIndex(), 2);  // the first bar of day 2
  std::vector<double> got = Values(r.value);
  EXPECT_EQ(std::vector<double>(got.begin() + 2, got.end()), (std::vector<double>{2, 2, 2, 5, 5, 5, 5}));
}

TEST(DeCompress, BarsAfterTheLastGroupStayInIt) {
  TestBars bars = ThreeDays();
  SCalc calc;
  bars.Bind(calc);
  // Groups that end on day 2: day 3's bars stay in the last group.
  SVector x = Series({7, 8});
  SVector d = Series({20240105150000, 20240108100000});
  EXPECT_EQ(Values(CalcDeCompress(calc, x, d)), (std::vector<double>{7, 7, 8, 8, 8, 8, 8, 8, 8}));
  // A shorter x than d bounds the groups too.
  EXPECT_EQ(Values(CalcDeCompress(calc, Series({4}), d)), (std::vector<double>(9, 4)));
}

}  // namespace
