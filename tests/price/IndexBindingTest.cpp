// An indicator bound to a record of a price-data list: which record it
// finds, and that it sees the record's series in the engine's order.
#include <gtest/gtest.h>

#include "chartcalc.h"

using namespace chartcalc::detail;

namespace {

SPriceDataList ListWithIds(std::initializer_list<int> ids) {
  SPriceDataList l;
  for (int id : ids) {
    int at = l.AddSeq();
    l[at].ID = id;
  }
  return l;
}

void ExpectBoundTo(const SIndex& index, SPriceData& record) {
  for (int k = 0; k < kPriceSlots; ++k) EXPECT_EQ(index.PriceSeries[k], &record.GetSeries(k)) << k;
  EXPECT_EQ(index.PriceSeries[kHigh], &record.Series[kBaseHigh]);
  EXPECT_EQ(index.PriceSeries[kLow], &record.Series[kBaseLow]);
  EXPECT_EQ(index.PriceSeries[kVolume], &record.Series[kBaseVolume]);
  EXPECT_EQ(index.PriceSeries[kDateTime], &record.Series[kBaseDateTime]);
}

TEST(IndexBinding, CurIndexFindsTheSymbolOrFallsBackToZero) {
  SPriceDataList l = ListWithIds({3, 7});
  SIndex index("x", 0);
  EXPECT_EQ(index.GetCurIndex(), 0);  // no list
  index.PriceList = &l;
  index.SymbolID = 7;
  EXPECT_EQ(index.GetCurIndex(), 1);
  index.SymbolID = 9;
  EXPECT_EQ(index.GetCurIndex(), 0);
  SPriceDataList empty;
  index.PriceList = &empty;
  index.SymbolID = 0;
  EXPECT_EQ(index.GetCurIndex(), 0);
}

TEST(IndexBinding, SetDataBindsTheRecordWithTheSymbolsId) {
  SPriceDataList l = ListWithIds({3, 7});
  SIndex index("x", 0);
  index.SetData(&l, 7);
  EXPECT_EQ(index.PriceList, &l);
  EXPECT_EQ(index.SymbolID, 7);
  ExpectBoundTo(index, l[1]);
  EXPECT_EQ(index.GetCurPriceData(), &l[1]);
}

TEST(IndexBinding, SetDataWithAnUnknownIdBindsTheFirstRecord) {
  SPriceDataList l = ListWithIds({1, 2});
  SIndex index("x", 0);
  index.SetData(&l, 5);
  EXPECT_EQ(index.SymbolID, 5);
  ExpectBoundTo(index, l[0]);
}

TEST(IndexBinding, SetDataOnAnEmptyListBindsTheFallbackRecord) {
  SPriceDataList l;
  SIndex index("x", 0);
  index.SetData(&l, 0);
  ExpectBoundTo(index, l.Fallback);
  EXPECT_EQ(index.GetCurPriceData(), &l.Fallback);
}

TEST(IndexBinding, SetDataWithoutAListChangesNothing) {
  SPriceDataList l = ListWithIds({4});
  SIndex index("x", 0);
  index.SetData(&l, 4);
  index.SetData(nullptr, 9);
  EXPECT_EQ(index.PriceList, &l);
  EXPECT_EQ(index.SymbolID, 4);
  ExpectBoundTo(index, l[0]);
  SIndex unbound("y", 0);
  EXPECT_EQ(unbound.GetCurPriceData(), nullptr);
  EXPECT_EQ(&unbound.GetDate(), &unbound.OwnDate);
  EXPECT_EQ(unbound.GetChartPeriod(), unbound.ChartPeriod);
}

TEST(IndexBinding, OwnDatesTakePrecedenceOverTheRecordsDatesAndPeriod) {
  SPriceDataList l = ListWithIds({0});
  l[0].ChartPeriod = 0;
  l[0].AddData(kFieldDateTime, 20240102);
  SIndex index("x", 0);
  index.ChartPeriod = 4;
  index.SetData(&l, 0);
  EXPECT_EQ(&index.GetDate(), &l[0].Series[kBaseDateTime]);
  EXPECT_EQ(index.GetChartPeriod(), 0);
  index.OwnDate.Add(1);
  EXPECT_EQ(&index.GetDate(), &index.OwnDate);
  EXPECT_EQ(index.GetChartPeriod(), 4);
}

TEST(IndexBinding, AFormulaOverTheBoundSeriesReadsHighAndLowCorrectly) {
  SPriceDataList l = ListWithIds({0});
  SPriceData& r = l[0];
  for (int i = 0; i < 3; ++i) {
    r.AddData(kFieldHigh, 10 + i);
    r.AddData(kFieldLow, 1 + i);
    r.AddData(kFieldClose, 5);
  }
  SIndex index("x", 0);
  index.SetData(&l, 0);
  SVector** s = index.PriceSeries;
  SCalc calc;
  calc.SetVariable(*s[kClose], *s[kOpen], *s[kHigh], *s[kLow], *s[kVolume], *s[kDateTime], *s[kOpenInterest],
                   *s[kAmount], *s[kSpread]);
  calc.SetExpression("HighP - LowP");
  SVector v = calc.Calculate();
  ASSERT_EQ(calc.ErrorCount, 0) << calc.ErrorMessage.c_str();
  ASSERT_EQ(v.GetSize(), 3);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(v[i], 9);
}

}  // namespace
