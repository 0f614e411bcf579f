// The price-data list (ID assignment, reuse of slots, growth, selection, the
// fallback record, copying, the archive) and an indicator bound to one of
// its records.
#include "price/PriceTestUtil.h"

TEST(PriceDataList, NewRecordsTakeTheLargestIdInUsePlusOneEvenWhenCopied) {
  SPriceDataList l = ListOf(1);
  l[0].SymbolName = "self";
  l[0].AddData(kFieldClose, 9);
  ASSERT_EQ(l.Count, l.Capacity);
  EXPECT_EQ(l.Add(l[0]), 1);  // a record of the list itself, which the growth moves
  EXPECT_EQ(std::tuple(l[1].SymbolName.str(), l[1].GetData(kFieldClose, 0)), std::tuple("self", 9.0));
  l[1].ID = 5;
  SPriceData outside;
  outside.ID = 40;
  EXPECT_EQ(l.Add(outside), 6);
  EXPECT_EQ(std::tuple(outside.ID, l.AddSeq()), std::tuple(40, 3));  // AddSeq gives the index
  EXPECT_EQ(Ids(l), (std::vector<int>{0, 5, 6, 7}));
  while (l.GetSize() > 0) l.Delete(0);
  EXPECT_EQ(l.Add(), 0);
}

// A reused slot keeps the identity texts and the tick size of the record
// that used it before.
TEST(PriceDataList, DeleteMovesLaterRecordsDownAndAReusedSlotKeepsOnlyItsIdentity) {
  SPriceDataList l = ListOf(4);
  for (int i : {4, -1, 1}) l.Delete(i);
  EXPECT_EQ(Ids(l), (std::vector<int>{0, 2, 3}));
  std::tie(l[2].SymbolCode, l[2].TickSize, l[2].AuxFlag) = std::tuple("O1", 0.5, 4);
  l[2].AddData(kFieldClose, 1);
  l.Delete(2);
  EXPECT_EQ(l.Add(), 3);
  EXPECT_EQ(std::tuple(l[2].SymbolCode.str(), l[2].TickSize, l[2].AuxFlag, l[2].HasData, Bars(l[2])),
            std::tuple("O1", 0.5, 0, 0, 0));
}

TEST(PriceDataList, CapacityGrowsByFiveAndNeitherSetMaxSizeNorClearShrinksIt) {
  SPriceDataList l = ListOf(2);
  EXPECT_EQ(l.Capacity, 6);
  for (int i = 0; i < 5; ++i) l.Add();
  l.SetMaxSize(3);
  EXPECT_EQ(l.Capacity, 11);
  l[0].SymbolCode = "first";
  l.SetMaxSize(20);
  EXPECT_EQ(std::tuple(l.Capacity, l.GetSize(), l[0].SymbolCode.str()), std::tuple(20, 7, "first"));
  l[1].AddData(kFieldClose, 4);
  l.Clear();
  EXPECT_EQ(std::tuple(l.Capacity, l.GetSize(), Bars(l.Items[1])), std::tuple(20, 0, 0));
}

TEST(PriceDataList, OutOfRangeIndicesUnknownIdsAndALostSelectionGiveTheFallbackOrTheFirstSlot) {
  SPriceDataList l;
  EXPECT_EQ(&l[0], &l.Fallback);
  l.SelectedID = 3;
  EXPECT_EQ(&l.GetCurSlectedData(), &l.Items[0]);  // even in an empty list
  l = ListOf(3);
  const SPriceDataList& c = l;
  for (long i : {-1L, 3L}) EXPECT_EQ(&l[i], &l.Fallback) << i;
  EXPECT_EQ(&c[5], &l.Fallback);
  EXPECT_EQ(std::tuple(l.GetSymbolNoFromID(7), l.GetSymbolNoFromID(1), l.GetSymbolIDFromNo(1), l.GetSymbolIDFromNo(3)),
            std::tuple(-1, 1, 1, -1));
  l.SelectedID = 2;
  EXPECT_EQ(&l.GetCurData(-1), &l[2]);
  l.Delete(2);
  EXPECT_EQ(&l.GetCurData(-1), &l.Fallback);                                   // does not repair the selection
  EXPECT_EQ((std::pair{l.GetCurSelecedID(), l.SelectedID}), std::pair(0, 0));  // this one does
}

TEST(PriceDataList, AssignmentCopiesRecordsWithTheirIdsButNotSelectionOrCapacity) {
  SPriceDataList a = ListOf(3), b;
  a[0].ID = 10;
  a[2].SymbolCode = "C";
  a.SelectedID = 10;
  a.SetMaxSize(30);
  b.SelectedID = 4;
  b = a;
  EXPECT_EQ(Ids(b), (std::vector<int>{10, 1, 2}));
  EXPECT_EQ(std::tuple(b[2].SymbolCode.str(), b.SelectedID, b.Capacity), std::tuple("C", 4, 6));
  SPriceDataList c(a);
  c[2].SymbolCode = "changed";
  SPriceDataList& same = b;
  b = same;
  EXPECT_EQ(std::pair(a[2].SymbolCode.str(), b.GetSize()), std::pair(std::string("C"), 3));
}

// Each record keeps its keys, lines and properties under its index; the
// bars and names made on the fly are not stored, nor missing lines.
TEST(PriceDataList, ArchiveRoundTripKeepsIdsAndADamagedCountCannotAllocateWithoutBound) {
  SPriceDataList l = ListOf(3), m = ListOf(4);
  SPriceData& r = l[1];
  std::tie(r.ID, r.SymbolCode, r.AuxName, r.TickSize, r.PriceProperty->Value1[5]) =
      std::tuple(8, "S8", "not persisted", 0.25, "4");
  r.SRLines->SetValue(16, 101.5);
  PutBar(r, 20240102, 1);
  l[2].SRLines.reset();
  l[2].PriceProperty->PriceChartType = 9;
  CFBArchive ar;
  l.Store(ar);
  const int properties = 5 + 21 * kPriceChartTypes + 12, lines = 6 + 5 * kSRLineCount;
  EXPECT_EQ(ar.GetEntryCount(), 1 + 3 * (8 + properties) + 2 * lines);
  m[1].SRLines.reset();
  m.Load(ar);
  EXPECT_EQ(Ids(m), (std::vector<int>{0, 8, 2}));
  ASSERT_NE(m[1].SRLines, nullptr);
  EXPECT_EQ(std::tuple(m[1].SymbolCode.str(), m[1].AuxName.str(), m[1].TickSize, m[1].PriceProperty->Value1[5].str(),
                       m[1].SRLines->LineValue[16], Bars(m[1]), m[2].PriceProperty->PriceChartType),
            std::tuple("S8", "", 0.25, "4", 101.5, 0, 9));
  SPriceData fresh;
  fresh.Load(ar, -1);  // no keys: the defaults stay
  EXPECT_EQ(std::tuple(fresh.ID, fresh.TickSize), std::tuple(-1, 1.0));
  CFBArchive damaged;
  for (int size : {2000000000, -4}) {
    damaged.SetCategory("PriceDataList");  // loading switches the category
    damaged.SetInt("size", size, 0);
    m.Load(damaged);
    EXPECT_LE(m.GetSize(), size > 0 ? 1 : 0);
  }
}

// The bound record gives the indicator its series, dates and period, unless
// the indicator has dates of its own.
TEST(IndexBinding, SetDataBindsTheRecordWithTheSymbolsIdElseTheFirstElseTheFallback) {
  SPriceDataList l = ListOf(2), empty;
  l[0].ID = 3, l[1].ID = 7;
  const std::tuple<SPriceDataList*, int, int, SPriceData*> cases[] = {
      {&l, 7, 1, &l[1]}, {&l, 9, 0, &l[0]}, {&empty, 0, 0, &empty.Fallback}};
  for (const auto& [list, id, curIndex, record] : cases) {
    SIndex index("x", 0);
    index.ChartPeriod = 77;
    index.SetData(list, id);
    EXPECT_EQ(std::tuple(index.PriceList, index.SymbolID, index.GetCurIndex(), index.GetCurPriceData(),
                         &index.GetDate(), index.GetChartPeriod()),
              std::tuple(list, id, curIndex, record, &record->GetSeries(kDateTime), record->ChartPeriod));
    for (int k = 0; k < kPriceSlots; ++k) EXPECT_EQ(index.PriceSeries[k], &record->GetSeries(k)) << k;
    index.SetData(nullptr, 9);  // without a list nothing changes
    index.OwnDate.Add(1);
    EXPECT_EQ(std::tuple(index.PriceList, index.SymbolID, &index.GetDate(), index.GetChartPeriod()),
              std::tuple(list, id, &index.OwnDate, 77));
  }
  SIndex unbound;
  EXPECT_EQ(std::tuple(unbound.GetCurIndex(), unbound.GetCurPriceData(), &unbound.GetDate(), unbound.GetChartPeriod()),
            std::tuple(0, static_cast<SPriceData*>(nullptr), &unbound.OwnDate, unbound.ChartPeriod));
}
