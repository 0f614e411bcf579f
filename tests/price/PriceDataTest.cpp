// One symbol's price record: field codes, staging older history, correction
// positions, extremes, resets, assignment of the owned records and the
// archive.
#include <gtest/gtest.h>

#include <tuple>
#include <vector>

#include "chartcalc.h"

using namespace chartcalc::detail;

namespace {

std::vector<double> Values(const SVector& s) { return std::vector<double>(s.Data(), s.Data() + s.GetSize()); }

const int kPriceFieldCodes[] = {kFieldClose,  kFieldOpen,   kFieldHigh,         kFieldLow,
                                kFieldVolume, kFieldAmount, kFieldOpenInterest, kFieldSpread};

// One bar, added or staged: every price field gets base + its field code,
// the date-time field gets the date.
void PutBar(SPriceData& d, double date, double base, bool staged = false) {
  auto put = staged ? &SPriceData::InsertData : &SPriceData::AddData;
  for (int code : kPriceFieldCodes) (d.*put)(code, base + code);
  (d.*put)(kFieldDateTime, date);
}

TEST(PriceData, FieldCodesReachTheSeriesTheyNameNotTheStorageSlotOfTheirNumber) {
  struct Route {
    int code, engineSlot, storageSlot;
  };
  const Route routes[] = {{kFieldClose, kClose, kBaseClose},
                          {kFieldOpen, kOpen, kBaseOpen},
                          {kFieldHigh, kHigh, kBaseHigh},
                          {kFieldLow, kLow, kBaseLow},
                          {kFieldDateTime, kDateTime, kBaseDateTime},
                          {kFieldVolume, kVolume, kBaseVolume},
                          {kFieldAmount, kAmount, kBaseAmount},
                          {kFieldOpenInterest, kOpenInterest, kBaseOpenInterest},
                          {kFieldSpread, kSpread, kBaseSpread}};
  for (const Route& r : routes) {
    SPriceData d;
    d.AddData(r.code, 42);
    EXPECT_EQ(&d.GetSeries(r.engineSlot), &d.Series[r.storageSlot]) << r.code;
    d.UpdateData(r.code, 43, 0);
    EXPECT_EQ(std::tuple(d.Series[r.storageSlot][0], d.GetData(r.code, 0)), std::tuple(43.0, 43.0)) << r.code;
    int filled = 0;
    for (const SVector& s : d.Series) filled += s.GetSize();
    EXPECT_EQ(std::tuple(filled, d.HasData), std::tuple(1, r.code == kFieldClose ? 1 : 0)) << r.code;
  }
}

TEST(PriceData, CorrectionAndUnknownCodesAreNeverReadOrUpdated) {
  SPriceData d;
  for (int code :
       std::initializer_list<int>{-1, 12, 1000, kFieldCorrectionDate, kFieldCorrectionValue1, kFieldCorrectionValue2}) {
    d.AddData(code, code);
    d.InsertData(code, code);
    d.UpdateData(code, 0, 0);
    EXPECT_EQ(d.GetData(code, 0), 0.0) << code;
  }
  d.InsertDataEnd();
  for (const SVector& s : d.Series) EXPECT_EQ(s.GetSize(), 0);
  EXPECT_EQ(Values(d.CorrectionDate), (std::vector<double>{8, 8}));  // staged, then added
  EXPECT_EQ(Values(d.CorrectionValue1), (std::vector<double>{9, 9}));
  EXPECT_EQ(Values(d.CorrectionValue2), (std::vector<double>{10, 10}));
  EXPECT_EQ(std::tuple(d.HasData, d.HasCorrection), std::tuple(0, 1));
  d.InsertData(kFieldClose, 1);
  EXPECT_EQ(d.HasData, 1);
}

TEST(PriceData, UpdateAndGetAddressBarsFromTheEndAndIgnoreOtherBacks) {
  SPriceData d;
  for (double v : {1, 2, 3}) d.AddData(kFieldClose, v);
  d.UpdateData(kFieldClose, 30, 2);
  d.UpdateData(kFieldClose, 99, 3);
  d.UpdateData(kFieldClose, 99, -1);
  EXPECT_EQ(Values(d.GetSeries(kClose)), (std::vector<double>{30, 2, 3}));
  EXPECT_EQ(d.GetData(kFieldClose, 2), 30);
  for (int back : {3, -1, -2147483647 - 1}) EXPECT_EQ(d.GetData(kFieldClose, back), 0.0) << back;
  EXPECT_EQ(d.GetData(kFieldOpen, 0), 0.0);  // empty series
}

TEST(PriceData, StagedOlderHistoryIsJoinedInFrontKeepingBarOrder) {
  SPriceData d;
  PutBar(d, 20240104, 40);
  PutBar(d, 20240105, 50);
  d.AddData(kFieldCorrectionDate, 20240105);
  PutBar(d, 20240102, 20, true);
  PutBar(d, 20240103, 30, true);
  d.InsertData(kFieldCorrectionDate, 20240103);
  EXPECT_EQ(d.GetSeries(kClose).GetSize(), 2);  // nothing joined before the end
  d.InsertDataEnd();
  EXPECT_EQ(Values(d.GetSeries(kDateTime)), (std::vector<double>{20240102, 20240103, 20240104, 20240105}));
  for (int code : kPriceFieldCodes)
    for (int back = 0; back < 4; ++back) EXPECT_EQ(d.GetData(code, back), 50 - 10 * back + code) << code;
  EXPECT_EQ(Values(d.CorrectionDate), (std::vector<double>{20240103, 20240105}));
  for (const SVector& s : d.TempData) EXPECT_EQ(s.GetSize(), 0);
  EXPECT_EQ(d.GetSeries(kClose).GetStartIndex(), 0);

  SPriceData empty;
  PutBar(empty, 20240102, 20, true);
  empty.InsertDataEnd();
  empty.InsertDataEnd();  // nothing staged: nothing changes
  EXPECT_EQ(Values(empty.GetSeries(kVolume)), std::vector<double>{20 + kFieldVolume});
}

TEST(PriceData, CorrectionPositionsCarryTheLastSearchEvenWhenItFailed) {
  SPriceData d;
  for (double date : {20240102, 20240103, 20240104, 20240105}) d.AddData(kFieldDateTime, date);
  for (double date : {20240103, 20240101, 20240103, 20240105, 20240102}) d.AddData(kFieldCorrectionDate, date);
  d.CalcCorrectedPrice(7, 9);
  // 20240101 has no bar (-1), so the search for the next date starts at the
  // front again and finds 20240103 at 1; 20240102 lies before the last find.
  EXPECT_EQ(Values(d.CorrectionPos), (std::vector<double>{1, -1, 1, 3, -1}));
}

TEST(PriceData, PriceExtremesOfTheCloseLineChartIgnoreHighAndLow) {
  SPriceData d;
  for (double v : {10, 12, 11}) d.AddData(kFieldClose, v);
  for (double v : {15, 13, 12}) d.AddData(kFieldHigh, v);
  for (double v : {8, 11, 10}) d.AddData(kFieldLow, v);
  EXPECT_EQ(std::tuple(d.GetPriceMax(0, 2), d.GetPriceMin(0, 2), d.GetPriceMax(), d.GetPriceMin()),
            std::tuple(15, 8, 15, 8));
  d.PriceProperty->PriceChartType = kChartCloseLine;
  EXPECT_EQ(std::tuple(d.GetPriceMax(0, 2), d.GetPriceMin(0, 2), d.GetPriceMax(), d.GetPriceMin()),
            std::tuple(12, 10, 12, 10));
  EXPECT_EQ(std::tuple(d.GetPriceMaxTemp(0, 2), d.GetPriceMinTemp(0, 2)), std::tuple(15, 8));  // every chart type
  d.SetDrawRange(3, 9);
  d.SetMinMaxChanged(0);
  for (const SVector& s : d.Series)
    EXPECT_EQ(std::tuple(s.GetDrawFrom(), s.GetDrawTo(), s.GetMinMaxChanged()), std::tuple(3, 9, 0));
}

TEST(PriceData, ClearDataEmptiesBarsButKeepsIdentityAndDisplay) {
  SPriceData d;
  d.SymbolName = "Alpha";
  d.AuxInt1 = 3;
  d.SetBaseInfoValue(2, 8);
  d.PriceProperty->MinMaxY = 2;
  d.CompanionIndex[1].LineData[0].Add(1);
  d.CompanionIndex[2].LineColor[4] = 1;
  PutBar(d, 20240102, 1);
  PutBar(d, 20240101, 0, true);
  d.AddData(kFieldCorrectionDate, 20240102);
  d.ClearData();
  EXPECT_STREQ(d.SymbolName.c_str(), "Alpha");
  // A user-fixed scale turns automatic.
  EXPECT_EQ(std::tuple(d.AuxInt1, d.HasData, d.BaseInfo->Value[2], d.PriceProperty->MinMaxY),
            std::tuple(0, 0, -1.0, 0));
  EXPECT_EQ(std::tuple(d.CompanionIndex[1].LineData[0].GetSize(), d.CompanionIndex[2].LineColor[4]),
            std::tuple(0, 0x3300FF));
  for (const SVector& s : d.Series) EXPECT_EQ(s.GetSize(), 0);
  for (const SVector& s : d.TempData) EXPECT_EQ(s.GetSize(), 0);
  EXPECT_EQ(d.CorrectionDate.GetSize(), 0);
  for (int mode : {1, 3}) {  // automatic and log scales are kept
    d.PriceProperty->MinMaxY = mode;
    d.ClearData();
    EXPECT_EQ(d.PriceProperty->MinMaxY, mode);
  }
}

TEST(PriceData, OwnedRecordsAreMadeOnFirstUseAndOutOfRangeValuesAreDropped) {
  SPriceData d;
  d.SetBaseInfoValue(10, 5);
  ASSERT_NE(d.BaseInfo, nullptr);
  for (double v : d.BaseInfo->Value) EXPECT_EQ(v, -1.0);
  d.SetBaseInfoValue(9, 5);
  EXPECT_EQ(d.BaseInfo->Value[9], 5);
  d.SRLines.reset();
  d.SetSRLineValue(28, 1);
  EXPECT_EQ(d.SRLines, nullptr);
  d.SetSRLineValue(27, 1);
  ASSERT_NE(d.SRLines, nullptr);
  EXPECT_EQ(d.SRLines->LineValue[27], 1);
}

TEST(PriceData, AssignmentCopiesIntoIndependentRecordsAndAMissingOwnedRecordResetsOnlyTheTargetsValues) {
  SPriceData a, b;
  a.SymbolCode = "005930";
  PutBar(a, 20240102, 10);
  a.CompanionIndex[3].LineData[2].Add(9);
  a.SetBaseInfoValue(1, 7);
  a.SRLines->ShowTitle = 1;
  a.SRLines->SetClose(5);
  a.SRLines->SetValue(4, 2);
  b.SRLines.reset();
  b = a;
  a.PriceProperty->PriceChartType = 7;
  a.AddData(kFieldClose, 1);
  a.SetBaseInfoValue(1, 8);
  ASSERT_TRUE(b.BaseInfo && b.SRLines);
  EXPECT_STREQ(b.SymbolCode.c_str(), "005930");
  EXPECT_EQ(std::tuple(b.GetSeries(kClose).GetSize(), b.CompanionIndex[3].LineData[2].GetSize()), std::tuple(1, 1));
  EXPECT_EQ(std::tuple(b.PriceProperty->PriceChartType, b.BaseInfo->Value[1], b.SRLines->LineValue[4]),
            std::tuple(0, 7.0, 2.0));
  // From a record without them: reference values -1, closes and line values
  // 0, but the target keeps its records and its line settings.
  SPriceData bare;
  bare.SRLines.reset();
  a = bare;
  ASSERT_NE(a.BaseInfo, nullptr);
  ASSERT_NE(a.SRLines, nullptr);
  for (double v : a.BaseInfo->Value) EXPECT_EQ(v, -1.0);
  EXPECT_EQ(std::tuple(a.SRLines->ShowTitle, a.SRLines->Close, a.SRLines->LineValue[4]), std::tuple(1, 0.0, 0.0));
}

TEST(PriceData, ArchiveRoundTripWithLinesAndPropertiesUnderTheSameIndex) {
  SPriceData d, e, fresh;
  d.SymbolCode = "B01";
  d.AuxName = "not persisted";
  d.TickSize = 0.25;
  d.SRLines->SetValue(16, 101.5);
  d.PriceProperty->Value1[5] = "4";
  PutBar(d, 20240102, 1);
  CFBArchive ar;
  d.Store(ar, 3);
  EXPECT_EQ(ar.GetEntryCount(), 8 + (6 + 5 * kSRLineCount) + (5 + 21 * kPriceChartTypes + 12));
  e.SRLines.reset();
  e.Load(ar, 3);
  EXPECT_EQ(std::tuple(e.SymbolCode.str(), e.AuxName.str(), e.TickSize), std::tuple("B01", "", 0.25));
  ASSERT_NE(e.SRLines, nullptr);
  EXPECT_EQ(std::tuple(e.SRLines->LineValue[16], e.PriceProperty->Value1[5].str()), std::tuple(101.5, "4"));
  EXPECT_EQ(e.GetSeries(kClose).GetSize(), 0);  // bars are not persisted
  fresh.Load(ar, -1);                           // no keys: the defaults stay
  EXPECT_EQ(std::tuple(fresh.ID, fresh.TickSize), std::tuple(-1, 1.0));
  e.SRLines.reset();
  e.Store(ar, 5);
  ar.SetCategory("SSRLines5");
  EXPECT_FALSE(ar.HasKey("TextPos"));
}

}  // namespace
