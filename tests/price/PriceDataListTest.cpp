// The price-data list (ID assignment, reuse of slots, growth, selection, the
// fallback record, copying, the archive) and an indicator bound to one of
// its records.
#include <gtest/gtest.h>

#include <tuple>
#include <vector>

#include "chartcalc.h"

using namespace chartcalc::detail;

namespace {

std::vector<int> Ids(const SPriceDataList& l) {
  std::vector<int> ids;
  for (int i = 0; i < l.GetSize(); ++i) ids.push_back(l[i].ID);
  return ids;
}

TEST(PriceDataList, NewRecordsTakeTheLargestIdInUsePlusOneEvenWhenCopied) {
  SPriceDataList l;
  EXPECT_EQ(l.Add(), 0);
  l[0].SymbolName = "self";
  l[0].AddData(kFieldClose, 9);
  ASSERT_EQ(l.Count, l.Capacity);
  EXPECT_EQ(l.Add(l[0]), 1);  // a record of the list itself, which the growth moves
  EXPECT_STREQ(l[1].SymbolName.c_str(), "self");
  EXPECT_EQ(l[1].GetData(kFieldClose, 0), 9);
  l[1].ID = 5;
  SPriceData outside;
  outside.ID = 40;
  EXPECT_EQ(l.Add(outside), 6);
  EXPECT_EQ(outside.ID, 40);
  EXPECT_EQ(l.AddSeq(), 3);  // the index, not the ID
  EXPECT_EQ(Ids(l), (std::vector<int>{0, 5, 6, 7}));
  while (l.GetSize() > 0) l.Delete(0);
  EXPECT_EQ(l.Add(), 0);
}

TEST(PriceDataList, DeleteMovesLaterRecordsDownAndAReusedSlotKeepsOnlyItsIdentity) {
  SPriceDataList l;
  for (int i = 0; i < 4; ++i) l.Add();
  l.Delete(4);
  l.Delete(-1);
  l.Delete(1);
  EXPECT_EQ(Ids(l), (std::vector<int>{0, 2, 3}));
  l[2].SymbolCode = "O1";
  l[2].TickSize = 0.5;
  l[2].AuxFlag = 4;
  l[2].AddData(kFieldClose, 1);
  l.Delete(2);
  EXPECT_EQ(l.Add(), 3);
  EXPECT_STREQ(l[2].SymbolCode.c_str(), "O1");
  EXPECT_EQ(std::tuple(l[2].TickSize, l[2].AuxFlag, l[2].HasData, l[2].GetSeries(kClose).GetSize()),
            std::tuple(0.5, 0, 0, 0));
}

TEST(PriceDataList, CapacityGrowsByFiveAndNeitherSetMaxSizeNorClearShrinksIt) {
  SPriceDataList l;
  l.Add();
  l[0].SymbolCode = "first";
  l.Add();
  EXPECT_EQ(l.Capacity, 6);
  for (int i = 0; i < 5; ++i) l.Add();
  EXPECT_EQ(l.Capacity, 11);
  l.SetMaxSize(3);
  EXPECT_EQ(l.Capacity, 11);
  l.SetMaxSize(20);
  EXPECT_EQ(std::tuple(l.Capacity, l.GetSize()), std::tuple(20, 7));
  EXPECT_STREQ(l[0].SymbolCode.c_str(), "first");
  l[1].AddData(kFieldClose, 4);
  l.Clear();
  EXPECT_EQ(std::tuple(l.Capacity, l.GetSize(), l.Items[1].GetSeries(kClose).GetSize()), std::tuple(20, 0, 0));
}

TEST(PriceDataList, OutOfRangeIndicesUnknownIdsAndALostSelectionGiveTheFallbackOrTheFirstSlot) {
  SPriceDataList l;
  EXPECT_EQ(&l[0], &l.Fallback);
  l.SelectedID = 3;
  EXPECT_EQ(&l.GetCurSlectedData(), &l.Items[0]);  // even in an empty list
  for (int i = 0; i < 3; ++i) l.Add();
  const SPriceDataList& c = l;
  for (long i : {-1L, 3L}) EXPECT_EQ(&l[i], &l.Fallback) << i;
  EXPECT_EQ(&c[5], &l.Fallback);
  EXPECT_EQ(std::tuple(l.GetSymbolNoFromID(7), l.GetSymbolNoFromID(1)), std::tuple(-1, 1));
  EXPECT_EQ(std::tuple(l.GetSymbolIDFromNo(1), l.GetSymbolIDFromNo(3)), std::tuple(1, -1));
  l.SelectedID = 2;
  EXPECT_EQ(&l.GetCurData(-1), &l[2]);
  l.Delete(2);
  EXPECT_EQ(&l.GetCurData(-1), &l.Fallback);  // does not repair the selection
  EXPECT_EQ(l.GetCurSelecedID(), 0);          // this one does
  EXPECT_EQ(l.SelectedID, 0);
}

TEST(PriceDataList, AssignmentCopiesRecordsWithTheirIdsButNotSelectionOrCapacity) {
  SPriceDataList a;
  for (int i = 0; i < 3; ++i) a.Add();
  a[0].ID = 10;
  a[2].SymbolCode = "C";
  a.SelectedID = 10;
  a.SetMaxSize(30);
  SPriceDataList b;
  b.SelectedID = 4;
  b = a;
  EXPECT_EQ(Ids(b), (std::vector<int>{10, 1, 2}));
  EXPECT_STREQ(b[2].SymbolCode.c_str(), "C");
  EXPECT_EQ(std::tuple(b.SelectedID, b.Capacity), std::tuple(4, 6));
  SPriceDataList c(a);
  c[2].SymbolCode = "changed";
  EXPECT_STREQ(a[2].SymbolCode.c_str(), "C");
  SPriceDataList& same = b;
  b = same;
  EXPECT_EQ(b.GetSize(), 3);
}

TEST(PriceDataList, ArchiveRoundTripKeepsIdsAndADamagedCountCannotAllocateWithoutBound) {
  SPriceDataList l, m;
  for (int i = 0; i < 3; ++i) l.Add();
  for (int i = 0; i < 4; ++i) m.Add();
  l[1].ID = 8;
  l[1].SymbolCode = "S8";
  l[2].PriceProperty->PriceChartType = 9;
  CFBArchive ar;
  l.Store(ar);
  m.Load(ar);
  EXPECT_EQ(Ids(m), (std::vector<int>{0, 8, 2}));
  EXPECT_STREQ(m[1].SymbolCode.c_str(), "S8");
  EXPECT_EQ(m[2].PriceProperty->PriceChartType, 9);

  CFBArchive damaged;
  damaged.SetCategory("PriceDataList");
  damaged.SetInt("size", 2000000000, 0);
  m.Load(damaged);
  EXPECT_LE(m.GetSize(), 1);
  damaged.SetCategory("PriceDataList");  // loading switched the category
  damaged.SetInt("size", -4, 0);
  m.Load(damaged);
  EXPECT_EQ(m.GetSize(), 0);
}

TEST(IndexBinding, SetDataBindsTheRecordWithTheSymbolsIdElseTheFirstElseTheFallback) {
  SPriceDataList l, empty;
  for (int id : {3, 7}) l[l.AddSeq()].ID = id;
  struct Case {
    SPriceDataList* list;
    int id, curIndex;
    SPriceData* record;
    const char* what;
  };
  const Case cases[] = {
      {&l, 7, 1, &l[1], "known id"}, {&l, 9, 0, &l[0], "unknown id"}, {&empty, 0, 0, &empty.Fallback, "empty list"}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    SIndex index("x", 0);
    index.SetData(c.list, c.id);
    EXPECT_EQ(std::tuple(index.PriceList, index.SymbolID, index.GetCurIndex()), std::tuple(c.list, c.id, c.curIndex));
    EXPECT_EQ(index.GetCurPriceData(), c.record);
    for (int k = 0; k < kPriceSlots; ++k) EXPECT_EQ(index.PriceSeries[k], &c.record->GetSeries(k)) << k;
    index.SetData(nullptr, 9);  // without a list nothing changes
    EXPECT_EQ(std::tuple(index.PriceList, index.SymbolID), std::tuple(c.list, c.id));
  }
}

TEST(IndexBinding, OwnDatesTakePrecedenceOverTheRecordsDatesAndPeriod) {
  SPriceDataList l;
  l.Add();
  l[0].ChartPeriod = 0;
  SIndex unbound("y", 0), index("x", 0);
  EXPECT_EQ(std::tuple(unbound.GetCurIndex(), unbound.GetCurPriceData(), &unbound.GetDate()),
            std::tuple(0, static_cast<SPriceData*>(nullptr), &unbound.OwnDate));
  EXPECT_EQ(unbound.GetChartPeriod(), unbound.ChartPeriod);
  index.ChartPeriod = 4;
  index.SetData(&l, 0);
  EXPECT_EQ(&index.GetDate(), &l[0].GetSeries(kDateTime));
  EXPECT_EQ(index.GetChartPeriod(), 0);
  index.OwnDate.Add(1);
  EXPECT_EQ(&index.GetDate(), &index.OwnDate);
  EXPECT_EQ(index.GetChartPeriod(), 4);
}

}  // namespace
