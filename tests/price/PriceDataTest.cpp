// One symbol's price record: field codes, staging older history, correction
// positions, extremes, resets, assignment of the owned records and the
// archive.
#include <gtest/gtest.h>

#include <vector>

#include "chartcalc.h"

using namespace chartcalc::detail;

namespace {

std::vector<double> Values(const SVector& s) { return std::vector<double>(s.Data(), s.Data() + s.GetSize()); }

// Adds one bar: every price field gets base + the field code, the date-time
// field gets the date.
void AddBar(SPriceData& d, double date, double base) {
  for (int code : {kFieldClose, kFieldOpen, kFieldHigh, kFieldLow, kFieldVolume, kFieldAmount, kFieldOpenInterest,
                   kFieldSpread})
    d.AddData(code, base + code);
  d.AddData(kFieldDateTime, date);
}

void InsertBar(SPriceData& d, double date, double base) {
  for (int code : {kFieldClose, kFieldOpen, kFieldHigh, kFieldLow, kFieldVolume, kFieldAmount, kFieldOpenInterest,
                   kFieldSpread})
    d.InsertData(code, base + code);
  d.InsertData(kFieldDateTime, date);
}

TEST(PriceData, FieldCodesReachTheSeriesTheyNameNotTheStorageSlotOfTheirNumber) {
  struct Route {
    int code;
    int engineSlot;
    int storageSlot;
  };
  const Route routes[] = {
      {kFieldClose, kClose, kBaseClose},         {kFieldOpen, kOpen, kBaseOpen},
      {kFieldHigh, kHigh, kBaseHigh},            {kFieldLow, kLow, kBaseLow},
      {kFieldDateTime, kDateTime, kBaseDateTime}, {kFieldVolume, kVolume, kBaseVolume},
      {kFieldAmount, kAmount, kBaseAmount},      {kFieldOpenInterest, kOpenInterest, kBaseOpenInterest},
      {kFieldSpread, kSpread, kBaseSpread},
  };
  for (const Route& r : routes) {
    SPriceData d;
    d.AddData(r.code, 42);
    EXPECT_EQ(Values(d.Series[r.storageSlot]), std::vector<double>{42}) << r.code;
    EXPECT_EQ(&d.GetSeries(r.engineSlot), &d.Series[r.storageSlot]) << r.code;
    EXPECT_EQ(d.GetData(r.code, 0), 42) << r.code;
    d.UpdateData(r.code, 43, 0);
    EXPECT_EQ(d.Series[r.storageSlot][0], 43) << r.code;
    int filled = 0;
    for (const SVector& s : d.Series) filled += s.GetSize();
    EXPECT_EQ(filled, 1) << r.code;
  }
  // High is stored after low, volume before the date-time.
  EXPECT_EQ(kBaseLow, 2);
  EXPECT_EQ(kBaseHigh, 3);
  EXPECT_EQ(kBaseVolume, 4);
  EXPECT_EQ(kBaseDateTime, 5);
}

TEST(PriceData, OnlyACloseSetsHasDataAndOnlyCorrectionsSetHasCorrection) {
  SPriceData d;
  d.AddData(kFieldHigh, 1);
  EXPECT_EQ(d.HasData, 0);
  d.AddData(kFieldClose, 1);
  EXPECT_EQ(d.HasData, 1);
  EXPECT_EQ(d.HasCorrection, 0);
  d.AddData(kFieldCorrectionValue2, 3);
  EXPECT_EQ(d.HasCorrection, 1);
  SPriceData staged;
  staged.InsertData(kFieldClose, 1);
  EXPECT_EQ(staged.HasData, 1);
}

TEST(PriceData, CorrectionFieldsAreStoredButNeverReadOrUpdated) {
  SPriceData d;
  d.AddData(kFieldCorrectionDate, 20240105);
  d.AddData(kFieldCorrectionValue1, 0.5);
  d.AddData(kFieldCorrectionValue2, 2);
  EXPECT_EQ(Values(d.CorrectionDate), std::vector<double>{20240105});
  EXPECT_EQ(Values(d.CorrectionValue1), std::vector<double>{0.5});
  EXPECT_EQ(Values(d.CorrectionValue2), std::vector<double>{2});
  EXPECT_EQ(d.GetData(kFieldCorrectionDate, 0), 0.0);
  d.UpdateData(kFieldCorrectionDate, 1, 0);
  EXPECT_EQ(d.CorrectionDate[0], 20240105);
}

TEST(PriceData, UnknownFieldCodesAreIgnored) {
  SPriceData d;
  for (int code : {-1, 12, 1000}) {
    d.AddData(code, 1);
    d.InsertData(code, 1);
    d.UpdateData(code, 1, 0);
    EXPECT_EQ(d.GetData(code, 0), 0.0);
  }
  d.InsertDataEnd();
  for (const SVector& s : d.Series) EXPECT_EQ(s.GetSize(), 0);
  EXPECT_EQ(d.HasData, 0);
}

TEST(PriceData, UpdateAndGetAddressBarsFromTheEndAndIgnoreOtherBacks) {
  SPriceData d;
  for (double v : {1, 2, 3}) d.AddData(kFieldClose, v);
  d.UpdateData(kFieldClose, 30, 2);
  d.UpdateData(kFieldClose, 99, 3);
  d.UpdateData(kFieldClose, 99, -1);
  EXPECT_EQ(Values(d.GetSeries(kClose)), (std::vector<double>{30, 2, 3}));
  EXPECT_EQ(d.GetData(kFieldClose, 0), 3);
  EXPECT_EQ(d.GetData(kFieldClose, 2), 30);
  EXPECT_EQ(d.GetData(kFieldClose, 3), 0.0);
  EXPECT_EQ(d.GetData(kFieldClose, -1), 0.0);
  EXPECT_EQ(d.GetData(kFieldClose, -2147483647 - 1), 0.0);
  EXPECT_EQ(d.GetData(kFieldOpen, 0), 0.0);  // empty series
}

TEST(PriceData, StagedOlderHistoryIsJoinedInFrontKeepingBarOrder) {
  SPriceData d;
  AddBar(d, 20240104, 40);
  AddBar(d, 20240105, 50);
  d.AddData(kFieldCorrectionDate, 20240105);
  InsertBar(d, 20240102, 20);
  InsertBar(d, 20240103, 30);
  d.InsertData(kFieldCorrectionDate, 20240103);
  EXPECT_EQ(d.GetSeries(kClose).GetSize(), 2);  // nothing joined before the end
  d.InsertDataEnd();
  EXPECT_EQ(Values(d.GetSeries(kDateTime)), (std::vector<double>{20240102, 20240103, 20240104, 20240105}));
  EXPECT_EQ(Values(d.GetSeries(kClose)), (std::vector<double>{20, 30, 40, 50}));
  EXPECT_EQ(Values(d.GetSeries(kHigh)), (std::vector<double>{22, 32, 42, 52}));
  EXPECT_EQ(Values(d.GetSeries(kLow)), (std::vector<double>{23, 33, 43, 53}));
  EXPECT_EQ(Values(d.GetSeries(kOpenInterest)), (std::vector<double>{27, 37, 47, 57}));
  EXPECT_EQ(Values(d.GetSeries(kSpread)), (std::vector<double>{31, 41, 51, 61}));
  EXPECT_EQ(Values(d.CorrectionDate), (std::vector<double>{20240103, 20240105}));
  for (const SVector& s : d.TempData) EXPECT_EQ(s.GetSize(), 0);
  EXPECT_EQ(d.HasCorrection, 1);
  EXPECT_EQ(d.GetSeries(kClose).GetStartIndex(), 0);
}

TEST(PriceData, StagingIntoAnEmptyRecordGivesTheStagedBars) {
  SPriceData d;
  InsertBar(d, 20240102, 20);
  d.InsertDataEnd();
  EXPECT_EQ(Values(d.GetSeries(kVolume)), std::vector<double>{25});
  d.InsertDataEnd();  // nothing staged: nothing changes
  EXPECT_EQ(d.GetSeries(kVolume).GetSize(), 1);
}

TEST(PriceData, CorrectionPositionsCarryTheLastSearchEvenWhenItFailed) {
  SPriceData d;
  for (double date : {20240102, 20240103, 20240104, 20240105}) d.AddData(kFieldDateTime, date);
  for (double date : {20240103, 20240101, 20240103, 20240105, 20240102})
    d.AddData(kFieldCorrectionDate, date);
  d.CalcCorrectedPrice(7, 9);
  // 20240101 has no bar (-1), so the search for the next date starts at the
  // front again and finds 20240103 at 1; 20240102 lies before the last find.
  EXPECT_EQ(Values(d.CorrectionPos), (std::vector<double>{1, -1, 1, 3, -1}));
  d.CorrectionDate.ClearData();
  d.CalcCorrectedPrice(0, 0);
  EXPECT_EQ(d.CorrectionPos.GetSize(), 0);
}

TEST(PriceData, PriceExtremesOfTheCloseLineChartIgnoreHighAndLow) {
  SPriceData d;
  for (double v : {10, 12, 11}) d.AddData(kFieldClose, v);
  for (double v : {15, 13, 12}) d.AddData(kFieldHigh, v);
  for (double v : {8, 11, 10}) d.AddData(kFieldLow, v);
  EXPECT_EQ(d.GetPriceMax(0, 2), 15);
  EXPECT_EQ(d.GetPriceMin(0, 2), 8);
  EXPECT_EQ(d.GetPriceMax(1, 2), 13);
  EXPECT_EQ(d.GetPriceMax(), 15);
  EXPECT_EQ(d.GetPriceMin(), 8);
  d.PriceProperty->PriceChartType = kChartCloseLine;
  EXPECT_EQ(d.GetPriceMax(0, 2), 12);
  EXPECT_EQ(d.GetPriceMin(0, 2), 10);
  EXPECT_EQ(d.GetPriceMax(), 12);
  EXPECT_EQ(d.GetPriceMin(), 10);
  EXPECT_EQ(d.GetPriceMaxTemp(0, 2), 15);  // every chart type
  EXPECT_EQ(d.GetPriceMinTemp(0, 2), 8);
}

TEST(PriceData, DrawRangeAndMinMaxFlagReachEveryPriceSeries) {
  SPriceData d;
  d.SetDrawRange(3, 9);
  d.SetMinMaxChanged(0);
  for (const SVector& s : d.Series) {
    EXPECT_EQ(s.GetDrawFrom(), 3);
    EXPECT_EQ(s.GetDrawTo(), 9);
    EXPECT_EQ(s.GetMinMaxChanged(), 0);
  }
}

TEST(PriceData, ClearDataEmptiesBarsButKeepsIdentityAndDisplay) {
  SPriceData d;
  d.SymbolName = "Alpha";
  d.ChartPeriod = 5;
  d.TickSize = 0.05;
  d.ShowCandle(0);
  d.AuxInt1 = 3;
  d.SetBaseInfoValue(2, 8);
  d.PriceProperty->MinMaxY = 2;
  d.PriceProperty->LineThick = 4;
  d.CompanionIndex[1].LineData[0].Add(1);
  d.CompanionIndex[2].LineColor[4] = 1;
  AddBar(d, 20240102, 1);
  InsertBar(d, 20240101, 0);
  d.AddData(kFieldCorrectionDate, 20240102);
  d.ClearData();
  EXPECT_STREQ(d.SymbolName.c_str(), "Alpha");
  EXPECT_EQ(d.ChartPeriod, 5);
  EXPECT_EQ(d.TickSize, 0.05);
  EXPECT_EQ(d.CandleShown, 1);
  EXPECT_EQ(d.AuxInt1, 0);
  EXPECT_EQ(d.HasData, 0);
  EXPECT_EQ(d.BaseInfo->Value[2], -1.0);
  EXPECT_EQ(d.PriceProperty->MinMaxY, 0);
  EXPECT_EQ(d.PriceProperty->LineThick, 4);
  EXPECT_EQ(d.CompanionIndex[1].LineData[0].GetSize(), 0);
  EXPECT_EQ(d.CompanionIndex[2].LineColor[4], 0x3300FF);
  for (const SVector& s : d.Series) EXPECT_EQ(s.GetSize(), 0);
  for (const SVector& s : d.TempData) EXPECT_EQ(s.GetSize(), 0);
  EXPECT_EQ(d.CorrectionDate.GetSize(), 0);
}

TEST(PriceData, ClearDataKeepsAnAutomaticOrLogScaleMode) {
  for (int mode : {1, 3}) {
    SPriceData d;
    d.PriceProperty->MinMaxY = mode;
    d.ClearData();
    EXPECT_EQ(d.PriceProperty->MinMaxY, mode);
  }
}

TEST(PriceData, ConstructionGivesDefaultsAndCompanionColours) {
  SPriceData d;
  EXPECT_EQ(d.ID, -1);
  EXPECT_EQ(d.MarketType, 1);
  EXPECT_EQ(d.ChartCycle, 1.0);
  EXPECT_EQ(d.ChartPeriod, 2);
  EXPECT_EQ(d.TickSize, 1.0);
  EXPECT_EQ(d.BaseInfo, nullptr);
  ASSERT_NE(d.SRLines, nullptr);
  ASSERT_NE(d.PriceProperty, nullptr);
  const int colours[] = {0xFF0000, 0xD800FF, 0x3300FF, 0x2F8E00};
  for (int i = 0; i < kCompanionIndexes; ++i)
    for (int j = 0; j < kIndexLines; ++j) EXPECT_EQ(d.CompanionIndex[i].LineColor[j], colours[i]);
}

TEST(PriceData, BaseInfoIsMadeOnFirstUseAndOutOfRangeValuesAreDropped) {
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

TEST(PriceData, AssignmentCopiesBarsAndIdentityIntoIndependentRecords) {
  SPriceData a;
  a.ID = 4;
  a.SymbolCode = "005930";
  a.AuxName = "aux";
  a.AuxValue = 1.5;
  AddBar(a, 20240102, 10);
  a.PriceProperty->PriceChartType = 7;
  a.CompanionIndex[3].LineData[2].Add(9);
  SPriceData b(a);
  EXPECT_EQ(b.ID, 4);
  EXPECT_STREQ(b.SymbolCode.c_str(), "005930");
  EXPECT_STREQ(b.AuxName.c_str(), "aux");
  EXPECT_EQ(b.AuxValue, 1.5);
  EXPECT_EQ(Values(b.GetSeries(kHigh)), std::vector<double>{12});
  EXPECT_EQ(b.PriceProperty->PriceChartType, 7);
  EXPECT_EQ(b.CompanionIndex[3].LineData[2].GetSize(), 1);
  EXPECT_NE(b.PriceProperty.get(), a.PriceProperty.get());
  a.PriceProperty->PriceChartType = 1;
  a.AddData(kFieldClose, 1);
  EXPECT_EQ(b.PriceProperty->PriceChartType, 7);
  EXPECT_EQ(b.GetSeries(kClose).GetSize(), 1);
}

TEST(PriceData, AssigningWithoutBaseInfoResetsTheTargetsValuesButKeepsTheRecord) {
  SPriceData source, target;
  target.SetBaseInfoValue(0, 3);
  target = source;
  ASSERT_NE(target.BaseInfo, nullptr);
  for (double v : target.BaseInfo->Value) EXPECT_EQ(v, -1.0);
  source.SetBaseInfoValue(1, 7);
  SPriceData fresh;
  fresh = source;
  ASSERT_NE(fresh.BaseInfo, nullptr);
  EXPECT_EQ(fresh.BaseInfo->Value[1], 7);
  EXPECT_NE(fresh.BaseInfo.get(), source.BaseInfo.get());
}

TEST(PriceData, AssigningWithoutLinesZeroesTheTargetsValuesButKeepsItsSettings) {
  SPriceData source, target;
  source.SRLines.reset();
  target.SRLines->ShowTitle = 1;
  target.SRLines->ShowAlert[2] = 1;
  target.SRLines->SetClose(5);
  target.SRLines->SetValue(3, 9);
  target = source;
  ASSERT_NE(target.SRLines, nullptr);
  EXPECT_EQ(target.SRLines->ShowTitle, 1);
  EXPECT_EQ(target.SRLines->ShowAlert[2], 1);
  EXPECT_EQ(target.SRLines->Close, 0.0);
  EXPECT_EQ(target.SRLines->LineValue[3], 0.0);

  SPriceData withLines, bare;
  withLines.SRLines->TextPos = 0;
  withLines.SRLines->SetValue(4, 2);
  bare.SRLines.reset();
  bare = withLines;
  ASSERT_NE(bare.SRLines, nullptr);
  EXPECT_EQ(bare.SRLines->TextPos, 0);
  EXPECT_EQ(bare.SRLines->LineValue[4], 2);
}

TEST(PriceData, StoreOfAFreshRecordWritesDefaultsAndLoadOfNothingChangesNothing) {
  CFBArchive ar;
  SPriceData().Store(ar, -1);
  ar.SetCategory("PriceData");
  EXPECT_EQ(ar.GetInt("ID", 0), -1);
  EXPECT_EQ(ar.GetInt("MarketType", 0), 1);
  EXPECT_EQ(ar.GetDbl("ChartCycle", 0), 1.0);
  EXPECT_EQ(ar.GetInt("ChartPeriod", 0), 2);
  EXPECT_EQ(ar.GetDbl("TickSize", 0), 1.0);
  ar.SetCategory("SSRLines");
  EXPECT_EQ(ar.GetInt("TextPos", 0), 2);
  ar.SetCategory("PriceProperty");
  EXPECT_EQ(ar.GetInt("LineThick", 0), 1);

  CFBArchive empty;
  SPriceData d;
  d.Load(empty, 0);
  EXPECT_EQ(d.ID, -1);
  EXPECT_EQ(d.TickSize, 1.0);
  EXPECT_TRUE(*d.SRLines == SSRLines());
}

TEST(PriceData, ArchiveRoundTripWithLinesAndPropertiesUnderTheSameIndex) {
  SPriceData d;
  d.ID = 7;
  d.MarketType = 3;
  d.SymbolName = "Beta";
  d.SymbolCode = "B01";
  d.RealSymbol = "XB01";
  d.AuxName = "not persisted";
  d.ChartCycle = 30;
  d.ChartPeriod = 1;
  d.TickSize = 0.25;
  d.SRLines->ShowLine[16] = 1;
  d.SRLines->SetValue(16, 101.5);
  d.PriceProperty->Value1[5] = "4";
  AddBar(d, 20240102, 1);
  CFBArchive ar;
  d.Store(ar, 3);
  EXPECT_EQ(ar.GetEntryCount(), 8 + (6 + 5 * kSRLineCount) + (5 + 21 * kPriceChartTypes + 12));

  SPriceData e;
  e.SRLines.reset();
  e.Load(ar, 3);
  EXPECT_EQ(e.ID, 7);
  EXPECT_EQ(e.MarketType, 3);
  EXPECT_STREQ(e.SymbolName.c_str(), "Beta");
  EXPECT_STREQ(e.SymbolCode.c_str(), "B01");
  EXPECT_STREQ(e.RealSymbol.c_str(), "XB01");
  EXPECT_STREQ(e.AuxName.c_str(), "");
  EXPECT_EQ(e.ChartCycle, 30);
  EXPECT_EQ(e.ChartPeriod, 1);
  EXPECT_EQ(e.TickSize, 0.25);
  ASSERT_NE(e.SRLines, nullptr);
  EXPECT_EQ(e.SRLines->ShowLine[16], 1);
  EXPECT_EQ(e.SRLines->LineValue[16], 101.5);
  EXPECT_STREQ(e.PriceProperty->Value1[5].c_str(), "4");
  EXPECT_EQ(e.GetSeries(kClose).GetSize(), 0);  // bars are not persisted
}

TEST(PriceData, StoreWithoutLinesWritesNoLineCategory) {
  SPriceData d;
  d.SRLines.reset();
  CFBArchive ar;
  d.Store(ar, 1);
  ar.SetCategory("SSRLines1");
  EXPECT_FALSE(ar.HasKey("TextPos"));
}

}  // namespace
