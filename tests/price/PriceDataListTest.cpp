// The price-data list: ID assignment, reuse of slots, deletion, growth,
// selection, the fallback record, copying and the archive.
#include <gtest/gtest.h>

#include <vector>

#include "chartcalc.h"

using namespace chartcalc::detail;

namespace {

std::vector<int> Ids(const SPriceDataList& l) {
  std::vector<int> ids;
  for (int i = 0; i < l.GetSize(); ++i) ids.push_back(l[i].ID);
  return ids;
}

TEST(PriceDataList, NewRecordsTakeTheLargestIdInUsePlusOne) {
  SPriceDataList l;
  EXPECT_EQ(l.GetNextID(), 0);
  EXPECT_EQ(l.Add(), 0);
  EXPECT_EQ(l.Add(), 1);
  l[1].ID = 5;
  EXPECT_EQ(l.Add(), 6);
  EXPECT_EQ(l.AddSeq(), 3);  // the index, not the ID
  EXPECT_EQ(Ids(l), (std::vector<int>{0, 5, 6, 7}));
  while (l.GetSize() > 0) l.Delete(0);
  EXPECT_EQ(l.Add(), 0);
}

TEST(PriceDataList, AddingACopyOverwritesItsIdButKeepsEverythingElse) {
  SPriceDataList l;
  l.Add();
  SPriceData r;
  r.ID = 40;
  r.SymbolCode = "X";
  r.AddData(kFieldClose, 3);
  EXPECT_EQ(l.Add(r), 1);
  EXPECT_EQ(l[1].ID, 1);
  EXPECT_STREQ(l[1].SymbolCode.c_str(), "X");
  EXPECT_EQ(l[1].GetSeries(kClose).GetSize(), 1);
  EXPECT_EQ(r.ID, 40);
}

TEST(PriceDataList, AddingARecordOfTheListItselfSurvivesGrowth) {
  SPriceDataList l;
  l.Add();
  l[0].SymbolName = "self";
  l[0].AddData(kFieldClose, 9);
  ASSERT_EQ(l.Count, l.Capacity);
  EXPECT_EQ(l.Add(l[0]), 1);
  EXPECT_STREQ(l[1].SymbolName.c_str(), "self");
  EXPECT_EQ(l[1].GetData(kFieldClose, 0), 9);
}

TEST(PriceDataList, DeleteMovesLaterRecordsDownAndIgnoresOtherIndices) {
  SPriceDataList l;
  for (int i = 0; i < 4; ++i) l.Add();
  l.Delete(4);
  l.Delete(-1);
  EXPECT_EQ(Ids(l), (std::vector<int>{0, 1, 2, 3}));
  l.Delete(1);
  EXPECT_EQ(Ids(l), (std::vector<int>{0, 2, 3}));
  EXPECT_EQ(l.GetNextID(), 4);  // not renumbered
}

TEST(PriceDataList, AReusedSlotKeepsIdentityButGetsFreshBarsFlagsAndId) {
  SPriceDataList l;
  l.Add();
  l[0].SymbolName = "Old";
  l[0].SymbolCode = "O1";
  l[0].RealSymbol = "RO1";
  l[0].ChartCycle = 5;
  l[0].ChartPeriod = 0;
  l[0].TickSize = 0.5;
  l[0].ID = 9;
  l[0].AddData(kFieldClose, 1);
  l[0].AuxFlag = 4;
  l.Delete(0);
  EXPECT_EQ(l.Add(), 0);
  const SPriceData& r = l[0];
  EXPECT_STREQ(r.SymbolName.c_str(), "Old");
  EXPECT_STREQ(r.SymbolCode.c_str(), "O1");
  EXPECT_STREQ(r.RealSymbol.c_str(), "RO1");
  EXPECT_EQ(r.ChartCycle, 5);
  EXPECT_EQ(r.ChartPeriod, 0);
  EXPECT_EQ(r.TickSize, 0.5);
  EXPECT_EQ(r.ID, 0);
  EXPECT_EQ(r.HasData, 0);
  EXPECT_EQ(r.AuxFlag, 0);
  EXPECT_EQ(r.GetSeries(kClose).GetSize(), 0);
}

TEST(PriceDataList, CapacityGrowsByFiveAndSetMaxSizeNeverShrinks) {
  SPriceDataList l;
  EXPECT_EQ(l.Capacity, 1);
  l.Add();
  l[0].SymbolCode = "first";
  l.Add();
  EXPECT_EQ(l.Capacity, 6);
  for (int i = 0; i < 5; ++i) l.Add();
  EXPECT_EQ(l.Capacity, 11);
  l.SetMaxSize(3);
  EXPECT_EQ(l.Capacity, 11);
  l.SetMaxSize(20);
  EXPECT_EQ(l.Capacity, 20);
  EXPECT_EQ(l.GetSize(), 7);
  EXPECT_STREQ(l[0].SymbolCode.c_str(), "first");
}

TEST(PriceDataList, OutOfRangeIndicesAndUnknownIdsGiveTheFallbackRecord) {
  SPriceDataList l;
  EXPECT_EQ(&l[0], &l.Fallback);  // empty list
  l.Add();
  l.Add();
  EXPECT_EQ(&l[-1], &l.Fallback);
  EXPECT_EQ(&l[2], &l.Fallback);
  EXPECT_EQ(l[-1].ID, -1);
  const SPriceDataList& c = l;
  EXPECT_EQ(&c[5], &l.Fallback);
  EXPECT_EQ(&l.GetCurData(7), &l.Fallback);
  EXPECT_EQ(l.GetSymbolNoFromID(7), -1);
  EXPECT_EQ(l.GetSymbolNoFromID(1), 1);
  EXPECT_EQ(l.GetSymbolIDFromNo(1), 1);
  EXPECT_EQ(l.GetSymbolIDFromNo(2), -1);
}

TEST(PriceDataList, SelectionFallsBackToTheFirstSlot) {
  SPriceDataList l;
  l.Add();
  l.Add();
  l.Add();
  l.SelectedID = 2;
  EXPECT_EQ(&l.GetCurData(-1), &l[2]);
  EXPECT_EQ(&l.GetCurSlectedData(), &l[2]);
  EXPECT_EQ(l.GetCurSelecedID(), 2);
  l.Delete(2);
  EXPECT_EQ(&l.GetCurData(-1), &l.Fallback);  // does not repair the selection
  EXPECT_EQ(l.SelectedID, 2);
  EXPECT_EQ(l.GetCurSelecedID(), 0);
  EXPECT_EQ(l.SelectedID, 0);
  l.SelectedID = 8;
  EXPECT_EQ(&l.GetCurSlectedData(), &l[0]);
  EXPECT_EQ(l.SelectedID, 0);
}

TEST(PriceDataList, SelectedDataOfAnEmptyListIsTheFirstSlot) {
  SPriceDataList l;
  l.SelectedID = 3;
  SPriceData& r = l.GetCurSlectedData();
  EXPECT_EQ(&r, &l.Items[0]);
  EXPECT_EQ(l.SelectedID, l.Items[0].ID);
}

TEST(PriceDataList, ClearResetsRecordsAndKeepsTheCapacity) {
  SPriceDataList l;
  for (int i = 0; i < 3; ++i) l.Add();
  l[1].AddData(kFieldClose, 4);
  l.Clear();
  EXPECT_EQ(l.GetSize(), 0);
  EXPECT_EQ(l.Capacity, 6);
  EXPECT_EQ(l.Items[1].GetSeries(kClose).GetSize(), 0);
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
  EXPECT_EQ(b.SelectedID, 4);
  EXPECT_EQ(b.Capacity, 6);
  SPriceDataList c(a);
  EXPECT_EQ(Ids(c), Ids(a));
  c[2].SymbolCode = "changed";
  EXPECT_STREQ(a[2].SymbolCode.c_str(), "C");
  SPriceDataList& same = b;
  b = same;
  EXPECT_EQ(b.GetSize(), 3);
}

TEST(PriceDataList, ArchiveRoundTripKeepsIdsAndRecords) {
  SPriceDataList l;
  for (int i = 0; i < 3; ++i) l.Add();
  l[1].ID = 8;
  l[1].SymbolCode = "S8";
  l[2].PriceProperty->PriceChartType = 9;
  CFBArchive ar;
  l.Store(ar);
  ar.SetCategory("PriceDataList");
  EXPECT_EQ(ar.GetInt("size", 0), 3);
  ar.SetCategory("PriceData1");
  EXPECT_EQ(ar.GetInt("ID", 0), 8);

  SPriceDataList m;
  m.Add();
  m.Add();
  m.Add();
  m.Add();
  m.Load(ar);
  EXPECT_EQ(Ids(m), (std::vector<int>{0, 8, 2}));
  EXPECT_STREQ(m[1].SymbolCode.c_str(), "S8");
  EXPECT_EQ(m[2].PriceProperty->PriceChartType, 9);
}

TEST(PriceDataList, ADamagedArchiveCountCannotAllocateWithoutBound) {
  CFBArchive ar;
  ar.SetCategory("PriceDataList");
  ar.SetInt("size", 2000000000, 0);
  SPriceDataList l;
  l.Load(ar);
  EXPECT_LE(l.GetSize(), 1);
  ar.SetCategory("PriceDataList");  // loading switched the category
  ar.SetInt("size", -4, 0);
  l.Load(ar);
  EXPECT_EQ(l.GetSize(), 0);
}

}  // namespace
