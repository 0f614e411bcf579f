// SIndexList growth, deletion and out-of-range rules; SUserIndexList lookups
// by UserID.
#include <gtest/gtest.h>

#include <string>

#include "chartcalc.h"

using namespace chartcalc::detail;

namespace {

SIndex Named(const std::string& name) {
  SIndex x(name.c_str(), 0);
  x.AddData(0, name.size());
  return x;
}

std::string Names(SIndexList& list) {
  std::string out;
  for (int i = 0; i < list.GetCount(); ++i) out += std::string(list[i].IndexName.c_str()) + " ";
  return out;
}

}  // namespace

TEST(IndexList, OutOfRangeIndexYieldsTheListItself) {
  SIndexList list;
  list.Add(Named("a"));
  for (long i : {-1L, 1L, 1000L}) {
    SIndex& x = list[i];
    EXPECT_EQ(&x, static_cast<SIndex*>(&list)) << i;
    EXPECT_TRUE(x.IndexName.IsEmpty());
    EXPECT_EQ(x.IndexType, 0);
  }
  EXPECT_EQ(list[0].IndexName, SString("a"));
}

TEST(IndexList, GrowsByTheStepWhenFullAndClearSwitchesToTwoHundred) {
  SIndexList list;
  EXPECT_EQ(list.GetCapacity(), 20);
  EXPECT_EQ(list.GetGrowBy(), 20);
  for (int i = 0; i < 20; ++i) list.Add(Named("i" + std::to_string(i)));
  EXPECT_EQ(list.GetCapacity(), 20);
  list.Add(Named("last"));
  EXPECT_EQ(list.GetCapacity(), 40);
  EXPECT_EQ(list.GetCount(), 21);
  EXPECT_EQ(list[0].IndexName, SString("i0"));
  EXPECT_EQ(list[20].IndexName, SString("last"));
  EXPECT_EQ(list[19].LineData[0][0], 3.0);
  list.Clear();
  EXPECT_EQ(list.GetCount(), 0);
  EXPECT_EQ(list.GetCapacity(), 200);
  EXPECT_EQ(list.GetGrowBy(), 200);
}

// Adding an element of the list itself while the array must grow reads the
// argument after the old array would be gone, unless it is copied first.
TEST(IndexList, AddingOwnElementWhileFullDoesNotReadFreedMemory) {
  SIndexList list;
  for (int i = 0; i < 20; ++i) list.Add(Named("i" + std::to_string(i)));
  list.Add(list[3]);
  ASSERT_EQ(list.GetCount(), 21);
  EXPECT_EQ(list[20].IndexName, SString("i3"));
  EXPECT_EQ(list[20].LineData[0][0], 2.0);
  list.Add(list);  // the list standing in as an indicator
  EXPECT_TRUE(list[21].IndexName.IsEmpty());
}

TEST(IndexList, DeleteMovesLaterElementsDownAndIgnoresBadIndices) {
  SIndexList list;
  for (const char* n : {"a", "b", "c", "d"}) list.Add(Named(n));
  list.Delete(1);
  EXPECT_EQ(Names(list), "a c d ");
  list.Delete(2);
  EXPECT_EQ(Names(list), "a c ");
  list.Delete(-1);
  list.Delete(2);
  EXPECT_EQ(Names(list), "a c ");
  list.Delete(0);
  list.Delete(0);
  list.Delete(0);
  EXPECT_EQ(list.GetCount(), 0);
}

TEST(IndexList, SetMaxSizeOnlyGrowsAndKeepsTheElements) {
  SIndexList list;
  list.Add(Named("a"));
  list.SetMaxSize(10);
  EXPECT_EQ(list.GetCapacity(), 20);
  list.SetMaxSize(57);
  EXPECT_EQ(list.GetCapacity(), 57);
  EXPECT_EQ(Names(list), "a ");
  list.SetMaxSize(1L << 40);  // far beyond what an int can count: refused
  EXPECT_EQ(list.GetCapacity(), 57);
}

TEST(IndexList, CopiesAreIndependent) {
  SIndexList a;
  for (const char* n : {"a", "b", "c"}) a.Add(Named(n));
  SIndexList b(a);
  SIndexList c;
  c = a;
  a[0].IndexName = "changed";
  a[0].LineData[0][0] = 99;
  a.Delete(2);
  for (SIndexList* copy : {&b, &c}) {
    EXPECT_EQ(Names(*copy), "a b c ");
    EXPECT_EQ((*copy)[0].LineData[0][0], 1.0);
    EXPECT_NE((*copy)[1].LineData[0].Data(), a[1].LineData[0].Data());
  }
  EXPECT_EQ(c.GetCapacity(), 200);  // assignment clears first
  c = c;
  EXPECT_EQ(Names(c), "a b c ");
}

TEST(UserIndexList, FindTakesTheFirstAndGetIndexTheLastOfDuplicateIds) {
  SIndex a, b, c;
  a.SetUserID(3);
  b.SetUserID(7);
  c.SetUserID(7);
  SUserIndexList list;
  list.Add(&a);
  list.Add(&b);
  list.Add(&c);
  EXPECT_EQ(list.Find(7), 1);
  EXPECT_EQ(list.GetIndex(7), &c);
  EXPECT_EQ(list.Find(&c), 2);
  EXPECT_EQ(list.Find(9), -1);
  EXPECT_EQ(list.GetIndex(9), nullptr);
  EXPECT_EQ(list.Find(static_cast<SIndex*>(nullptr)), -1);
  EXPECT_EQ(list.GetNextID(), 8);
  list.RemoveIndex(7);
  EXPECT_EQ(list.GetSize(), 1);
  EXPECT_EQ(list[0], &a);
  EXPECT_EQ(b.UserID, 7);  // removed, not destroyed
}

TEST(UserIndexList, NextIdStartsAtZero) {
  SUserIndexList list;
  EXPECT_EQ(list.GetNextID(), 0);
  SIndex a, b;
  list.Add(&a);
  list.Add(&b);
  EXPECT_EQ(list.GetNextID(), 0);  // both -1
  list.Add(nullptr);               // a null entry is skipped by every lookup
  EXPECT_EQ(list.Find(-1), 0);
  EXPECT_EQ(list.GetIndex(-1), &b);
}
