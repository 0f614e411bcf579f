// One symbol's price record: field codes, staging older history, correction
// positions, extremes, resets and assignment of the owned records (the
// archive is with the list's).
#include "price/PriceTestUtil.h"

TEST(PriceData, FieldCodesReachTheSeriesTheyNameNotTheStorageSlotOfTheirNumber) {
  // {field code, engine slot, storage slot}
  // clang-format off
  const int routes[][3] = {
      {kFieldClose, kClose, kBaseClose}, {kFieldOpen, kOpen, kBaseOpen}, {kFieldHigh, kHigh, kBaseHigh},
      {kFieldLow, kLow, kBaseLow}, {kFieldDateTime, kDateTime, kBaseDateTime}, {kFieldVolume, kVolume, kBaseVolume},
      {kFieldAmount, kAmount, kBaseAmount}, {kFieldOpenInterest, kOpenInterest, kBaseOpenInterest},
      {kFieldSpread, kSpread, kBaseSpread}};
  // clang-format on
  for (const auto& [code, engineSlot, storageSlot] : routes) {
    SPriceData d;
    d.AddData(code, 42);
    EXPECT_EQ(&d.GetSeries(engineSlot), &d.Series[storageSlot]) << code;
    d.UpdateData(code, 43, 0);
    int filled = 0;
    for (const SVector& s : d.Series) filled += s.GetSize();
    EXPECT_EQ(std::tuple(d.Series[storageSlot][0], d.GetData(code, 0), filled, d.HasData),
              std::tuple(43.0, 43.0, 1, code == kFieldClose ? 1 : 0))
        << code;
  }
}

TEST(PriceData, CorrectionAndUnknownCodesAreNeverReadOrUpdated) {
  SPriceData d;
  for (int code : {-1, 12, 1000, +kFieldCorrectionDate, +kFieldCorrectionValue1, +kFieldCorrectionValue2}) {
    d.AddData(code, code), d.InsertData(code, code), d.UpdateData(code, 0, 0);
    EXPECT_EQ(d.GetData(code, 0), 0.0) << code;
  }
  d.InsertDataEnd();
  for (const SVector& s : d.Series) EXPECT_EQ(s.GetSize(), 0);
  // Staged, then added.
  EXPECT_EQ(std::tuple(Values(d.CorrectionDate), Values(d.CorrectionValue1), Values(d.CorrectionValue2)),
            std::tuple(std::vector<double>{8, 8}, std::vector<double>{9, 9}, std::vector<double>{10, 10}));
  EXPECT_EQ(std::tuple(d.HasData, d.HasCorrection), std::tuple(0, 1));
  d.InsertData(kFieldClose, 1);
  EXPECT_EQ(d.HasData, 1);
}

TEST(PriceData, UpdateAndGetAddressBarsFromTheEndAndIgnoreOtherBacks) {
  SPriceData d;
  for (double v : {1, 2, 3}) d.AddData(kFieldClose, v);
  for (int back : {2, 3, -1}) d.UpdateData(kFieldClose, back == 2 ? 30 : 99, back);
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
  auto extremes = [&d] {
    return std::tuple(d.GetPriceMax(0, 2), d.GetPriceMin(0, 2), d.GetPriceMax(), d.GetPriceMin());
  };
  EXPECT_EQ(extremes(), std::tuple(15, 8, 15, 8));
  d.PriceProperty->PriceChartType = kChartCloseLine;
  EXPECT_EQ(extremes(), std::tuple(12, 10, 12, 10));
  EXPECT_EQ(std::tuple(d.GetPriceMaxTemp(0, 2), d.GetPriceMinTemp(0, 2)), std::tuple(15, 8));  // every chart type
  d.SetDrawRange(3, 9);
  d.SetMinMaxChanged(0);
  for (const SVector& s : d.Series)
    EXPECT_EQ(std::tuple(s.GetDrawFrom(), s.GetDrawTo(), s.GetMinMaxChanged()), std::tuple(3, 9, 0));
}

// The bars, the companions' lines and a user-fixed scale go; the identity,
// automatic and log scales and the companions' colours stay or are reset.
TEST(PriceData, ClearDataEmptiesBarsButKeepsIdentityAndDisplay) {
  SPriceData d;
  std::tie(d.SymbolName, d.AuxInt1, d.CompanionIndex[2].LineColor[4]) = std::tuple("Alpha", 3, 1);
  d.SetBaseInfoValue(2, 8);
  d.CompanionIndex[1].LineData[0].Add(1);
  PutBar(d, 20240102, 1);
  PutBar(d, 20240101, 0, true);
  d.AddData(kFieldCorrectionDate, 20240102);
  for (int mode : {2, 1, 3}) {
    d.PriceProperty->MinMaxY = mode;
    d.ClearData();
    EXPECT_EQ(d.PriceProperty->MinMaxY, mode == 2 ? 0 : mode);
  }
  EXPECT_EQ(std::tuple(d.SymbolName.str(), d.AuxInt1, d.HasData, d.BaseInfo->Value[2]),
            std::tuple("Alpha", 0, 0, -1.0));
  EXPECT_EQ(std::tuple(d.CompanionIndex[1].LineData[0].GetSize(), d.CompanionIndex[2].LineColor[4],
                       d.CorrectionDate.GetSize()),
            std::tuple(0, 0x3300FF, 0));
  for (const SVector& s : d.Series) EXPECT_EQ(s.GetSize(), 0);
  for (const SVector& s : d.TempData) EXPECT_EQ(s.GetSize(), 0);
}

// Owned records are made on first use (a value out of range still makes the
// reference values, not the lines) and copied into the target's own.
TEST(PriceData, AssignmentCopiesIntoIndependentRecordsAndAMissingOwnedRecordResetsOnlyTheTargetsValues) {
  SPriceData a, b;
  a.SRLines.reset();
  a.SetSRLineValue(28, 1);
  a.SetBaseInfoValue(10, 5);
  ASSERT_TRUE(a.BaseInfo && !a.SRLines);
  for (double v : a.BaseInfo->Value) EXPECT_EQ(v, -1.0);
  a.SetSRLineValue(4, 2);
  a.SetBaseInfoValue(1, 7);
  a.SymbolCode = "005930";
  PutBar(a, 20240102, 10);
  a.CompanionIndex[3].LineData[2].Add(9);
  a.SRLines->ShowTitle = 1;
  a.SRLines->SetClose(5);
  b.SRLines.reset();
  b = a;
  a.PriceProperty->PriceChartType = 7;
  a.AddData(kFieldClose, 1);
  a.SetBaseInfoValue(1, 8);
  ASSERT_TRUE(b.BaseInfo && b.SRLines);
  EXPECT_EQ(std::tuple(b.SymbolCode.str(), Bars(b), b.CompanionIndex[3].LineData[2].GetSize()),
            std::tuple("005930", 1, 1));
  EXPECT_EQ(std::tuple(b.PriceProperty->PriceChartType, b.BaseInfo->Value[1], b.SRLines->LineValue[4]),
            std::tuple(0, 7.0, 2.0));
  // From a record without them: reference values -1, closes and line values
  // 0, but the target keeps its records and its line settings.
  SPriceData bare;
  bare.SRLines.reset();
  a = bare;
  ASSERT_TRUE(a.BaseInfo && a.SRLines);
  for (double v : a.BaseInfo->Value) EXPECT_EQ(v, -1.0);
  EXPECT_EQ(std::tuple(a.SRLines->ShowTitle, a.SRLines->Close, a.SRLines->LineValue[4]), std::tuple(1, 0.0, 0.0));
}
