// SIndex copies, resets and setters; SIndexList growth, deletion and
// out-of-range rules; SUserIndexList lookups by UserID.
#include <climits>
#include <string>

#include "index/IndexTestUtil.h"

namespace {

SIndexList ListOf(int n) {
  SIndexList list;
  for (int i = 0; i < n; ++i) {
    list.Add(SIndex(std::string(1, static_cast<char>('a' + i)).c_str(), 0));
    list[i].AddData(0, i);
  }
  return list;
}

std::string Names(SIndexList& list) {
  std::string out;
  for (int i = 0; i < list.GetCount(); ++i) out += list[i].IndexName.str();
  return out;
}

// Copies share the bound objects but nothing they own: under the sanitizers
// a shared buffer shows up as a double free or a use after free.
TEST(IndexModel, CopyAndAssignmentShareNoOwnedBuffer) {
  SVector s[kPriceSlots];
  SFunctionList functions;
  SIndex a("a", 0);
  a.SetVariable(s[0], s[1], s[2], s[3], s[4], s[5], s[6], s[7], s[8]);
  a.SetFunction(&functions);
  for (int i = 0; i < 2000; ++i) a.AddData(1, i);
  a.Period = "20";
  a.OwnFunctionLists = std::make_unique<SFunctionList[]>(kIndexOwnFunctionLists);
  a.OwnFunctionLists[3].SetExpressionWithVariable("f|a+1|a");
  SIndex b(a), c("c", 3);
  c = a;
  for (SIndex* copy : {&b, &c}) {
    EXPECT_NE(copy->LineData[1].Data(), a.LineData[1].Data());
    EXPECT_EQ(copy->PriceSeries[8], &s[8]);
    EXPECT_EQ(copy->FunctionList, &functions);
    EXPECT_EQ(copy->Period, SString("20"));
    ASSERT_TRUE(copy->OwnFunctionLists);
    EXPECT_NE(copy->OwnFunctionLists.get(), a.OwnFunctionLists.get());
  }
  a.LineData[1][1999] = -5;
  a.OwnFunctionLists[3].Clear();
  EXPECT_EQ(b.LineData[1][1999], 1999.0);
  EXPECT_EQ(c.OwnFunctionLists[3][0].Expression, SString("a+1"));
  c = c;
  EXPECT_EQ(c.LineData[1].GetSize(), 2000);
  c.ClearData();  // the computed lines go, the definition stays
  EXPECT_EQ(c.LineData[1].GetSize(), 0);
  EXPECT_EQ(c.Period, SString("20"));
  b.SetUserID(8);
  b.SetDefaultValue();  // bindings go, the identity stays
  EXPECT_EQ(b.FunctionList, nullptr);
  EXPECT_EQ(b.UserID, 8);
  c = SIndex();
  EXPECT_FALSE(c.OwnFunctionLists);
}

// Only line 2 of the five may change; colours keep their low 32 bits.
TEST(IndexModel, LineSettersIgnoreLinesOutsideZeroToFour) {
  SIndex x;
  const SIndex before;
  x.UpdateData(2, 7);  // no element yet: nothing to overwrite
  for (int line : {-1, 5, 1000, 2}) {
    x.SetExpression(line, "c");
    x.SetExpName(line, "n");
    x.SetLineStyle(line, 1, 0x1'01FF'8040UL, 3, 2);
    x.SetLineCompStyle(line, 0xFFFFFFFFUL, 2, "70", "30", 1);
    x.SetBaseLineValue(line, 1e-7);
    x.SetShape(line, 2);
    x.AddData(line, 1);
    x.AddData(line, 2);
    x.UpdateData(line, 9);
  }
  for (int k = 0; k < kIndexLines; ++k) {
    SCOPED_TRACE(k);
    const bool set = k == 2;
    EXPECT_EQ(x.Expression[k], SString(set ? "c" : ""));
    EXPECT_EQ(x.ExpName[k], SString(set ? "n" : ""));
    EXPECT_EQ(x.LineColor[k], set ? 0x1FF8040 : before.LineColor[k]);
    EXPECT_EQ(x.LineUpColor[k], set ? -1 : before.LineUpColor[k]);
    EXPECT_EQ(x.YValue[k], SString(set ? "1e-07" : ""));
    EXPECT_EQ(x.Shape[k], set ? 2 : 0);
    EXPECT_EQ(Values(x.LineData[k]), (set ? std::vector<double>{1, 9} : std::vector<double>{}));
  }
  x.SetBaseLineStyle(0x1'00AB'CDEFUL, 2, 1);
  EXPECT_EQ(x.YValueColor, 0xABCDEF);
  for (int mode : {0, 3, 4, -1}) {
    x.SetScale(mode);
    EXPECT_EQ(x.MinMaxY, mode == 3 ? 3 : 0) << mode;  // modes are 0 to 3
  }
  x.SetUserMinMax(-1.5, 2.5);
  EXPECT_EQ(x.UserMin, -1.5);
}

TEST(IndexList, OutOfRangeIndexYieldsTheListItself) {
  SIndexList list = ListOf(1);
  for (long i : {-1L, 1L, 1000L}) {
    EXPECT_EQ(&list[i], static_cast<SIndex*>(&list)) << i;
    EXPECT_TRUE(list[i].IndexName.IsEmpty());
  }
  EXPECT_EQ(list[0].IndexName, SString("a"));
}

// Adding an element of the list itself while the array must grow reads the
// argument after the old array would be gone, unless it is copied first.
TEST(IndexList, AddingOwnElementWhileFullDoesNotReadFreedMemory) {
  SIndexList list = ListOf(20);
  EXPECT_EQ(list.GetCapacity(), 20);
  list.Add(list[3]);
  EXPECT_EQ(list.GetCapacity(), 40);
  ASSERT_EQ(list.GetCount(), 21);
  EXPECT_EQ(list[20].IndexName, SString("d"));
  EXPECT_EQ(list[20].LineData[0][0], 3.0);
  list.Add(list);  // the list standing in as an indicator
  EXPECT_TRUE(list[21].IndexName.IsEmpty());
  list.Clear();
  EXPECT_EQ(list.GetCount(), 0);
  EXPECT_EQ(list.GetCapacity(), 200);
}

TEST(IndexList, DeleteAndSetMaxSizeIgnoreBadArgumentsAndCopiesStayIndependent) {
  SIndexList list = ListOf(4);
  for (int i : {1, 2, -1, 2}) list.Delete(i);
  EXPECT_EQ(Names(list), "ac");
  list.SetMaxSize(10);
  EXPECT_EQ(list.GetCapacity(), 20);
  list.SetMaxSize(57);
  EXPECT_EQ(list.GetCapacity(), 57);
  list.SetMaxSize(1L << 40);  // far beyond what an int can count
  EXPECT_EQ(list.GetCapacity(), 57);
  SIndexList copy(list), assigned;
  assigned = list;
  assigned = assigned;
  list[0].LineData[0][0] = 99;
  list.Delete(1);
  for (SIndexList* other : {&copy, &assigned}) {
    EXPECT_EQ(Names(*other), "ac");
    EXPECT_EQ((*other)[0].LineData[0][0], 0.0);
  }
}

TEST(UserIndexList, FindTakesTheFirstAndGetIndexTheLastOfDuplicateIds) {
  SIndex a, b, c;
  SUserIndexList list;
  EXPECT_EQ(list.GetNextID(), 0);
  list.Add(&a);
  EXPECT_EQ(list.GetNextID(), 0);  // an unset ID is -1
  a.SetUserID(3);
  b.SetUserID(7);
  c.SetUserID(7);
  for (SIndex* x : {static_cast<SIndex*>(nullptr), &b, &c}) list.Add(x);  // null entries are skipped
  EXPECT_EQ(list.Find(7), 2);
  EXPECT_EQ(list.GetIndex(7), &c);
  EXPECT_EQ(list.Find(&c), 3);
  EXPECT_EQ(list.Find(9), -1);
  EXPECT_EQ(list.GetIndex(9), nullptr);
  EXPECT_EQ(list.GetNextID(), 8);
  list.RemoveIndex(7);
  EXPECT_EQ(list.GetSize(), 2);
  EXPECT_EQ(list.Find(&b), -1);
  a.SetUserID(INT_MAX);
  EXPECT_EQ(list.GetNextID(), INT_MAX);  // no signed overflow
}

}  // namespace
