// SIndex copies, resets and setters; SIndexList growth, deletion and
// out-of-range rules; SUserIndexList lookups by UserID.
#include "index/IndexTestUtil.h"

static SIndexList ListOf(int n) {
  SIndexList list;
  for (int i = 0; i < n; ++i) list.Add(SIndex(std::string(1, char('a' + i)).c_str(), 0)), list[i].AddData(0, i);
  return list;
}

// The names and the first values of the list's indicators.
static std::string Names(SIndexList& list) {
  std::string out;
  for (int i = 0; i < list.GetCount(); ++i) out += list[i].IndexName.str() + std::to_string(list[i].LineData[0][0]);
  return out;
}

// Copies share the bound objects but nothing they own: under the sanitizers
// a shared buffer shows up as a double free or a use after free.
TEST(IndexModel, CopyAndAssignmentShareNoOwnedBuffer) {
  Feed feed;
  SFunctionList functions;
  SIndex a("a", 0);
  feed.Bind(a);
  a.SetFunction(&functions);
  for (int i = 0; i < 2000; ++i) a.AddData(1, i);
  a.Period = "20";
  a.OwnFunctionLists = std::make_unique<SFunctionList[]>(kIndexOwnFunctionLists);
  a.OwnFunctionLists[3].SetExpressionWithVariable("f|a+1|a");
  SIndex b(a), c("c", 3);
  c = a;
  a.LineData[1][1999] = -5;
  a.OwnFunctionLists[3].Clear();
  for (SIndex* copy : {&b, &c}) {
    EXPECT_EQ(std::tuple(copy->PriceSeries[8], copy->FunctionList, copy->Period.str(), copy->LineData[1][1999]),
              std::tuple(&feed.s[8], &functions, "20", 1999.0));
    ASSERT_TRUE(copy->OwnFunctionLists);
    EXPECT_EQ(copy->OwnFunctionLists[3][0].Expression, SString("a+1"));
  }
  c = c;
  EXPECT_EQ(c.LineData[1].GetSize(), 2000);
  c.ClearData();  // the computed lines go, the definition stays
  EXPECT_EQ(std::tuple(c.LineData[1].GetSize(), c.Period.str()), std::tuple(0, "20"));
  b.SetUserID(8);
  b.SetDefaultValue();  // bindings go, the identity stays
  EXPECT_EQ(std::tuple(b.FunctionList, b.UserID), std::tuple(nullptr, 8));
  c = SIndex();
  EXPECT_FALSE(c.OwnFunctionLists);
}

// Only line 2 of the five may change; colours keep their low 32 bits.
TEST(IndexModel, LineSettersIgnoreLinesOutsideZeroToFour) {
  auto dump = [](const SIndex& x, int k) {
    return x.Expression[k].str() + "|" + x.ExpName[k].str() + "|" + x.YValue[k].str() + "|" + x.LineUpValue[k].str() +
           "|" + std::to_string(x.Shape[k]) + "|" + std::to_string(x.LineColor[k]) + "|" +
           std::to_string(x.LineUpColor[k]) + "|" + std::to_string(x.LineData[k].GetSize());
  };
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
    x.AddData(line, 1), x.AddData(line, 2), x.UpdateData(line, 9);
  }
  for (int k = 0; k < kIndexLines; ++k)
    EXPECT_EQ(dump(x, k), k == 2 ? "c|n|1e-07|70|2|33521728|-1|2" : dump(before, k));
  x.SetBaseLineStyle(0x1'00AB'CDEFUL, 2, 1);
  std::string modes;  // modes are 0 to 3
  for (int mode : {0, 3, 4, -1}) x.SetScale(mode), modes += std::to_string(x.MinMaxY);
  x.SetUserMinMax(-1.5, 2.5);
  EXPECT_EQ(std::tuple(Values(x.LineData[2]), x.YValueColor, modes, x.UserMin, x.UserMax),
            std::tuple(std::vector<double>{1, 9}, 0xABCDEF, "0300", -1.5, 2.5));
}

// Adding an element of the list itself while the array must grow reads the
// argument after the old array would be gone, unless it is copied first. An
// index out of range yields the list itself, standing in as an indicator.
TEST(IndexList, AddingOwnElementWhileFullDoesNotReadFreedMemory) {
  SIndexList list = ListOf(20);
  EXPECT_EQ(list.GetCapacity(), 20);
  list.Add(list[3]);
  EXPECT_EQ(std::tuple(list.GetCapacity(), list.GetCount(), list[20].IndexName.str(), list[20].LineData[0][0]),
            std::tuple(40, 21, "d", 3.0));
  for (long i : {-1L, 21L, 1000L}) EXPECT_EQ(&list[i], static_cast<SIndex*>(&list)) << i;
  list.Add(list[-1]);
  EXPECT_TRUE(list[21].IndexName.IsEmpty());
  list.Clear();
  EXPECT_EQ(std::tuple(list.GetCount(), list.GetCapacity()), std::tuple(0, 200));
}

TEST(IndexList, DeleteAndSetMaxSizeIgnoreBadArgumentsAndCopiesStayIndependent) {
  SIndexList list = ListOf(4);
  for (int i : {1, 2, -1, 2}) list.Delete(i);
  list.SetMaxSize(10);
  EXPECT_EQ(std::tuple(Names(list), list.GetCapacity()), std::tuple("a0.000000c2.000000", 20));
  for (long n : {57L, 1L << 40}) list.SetMaxSize(n);  // the last far beyond what an int can count
  EXPECT_EQ(list.GetCapacity(), 57);
  SIndexList copy(list), assigned;
  assigned = list;
  assigned = assigned;
  list[0].LineData[0][0] = 99;
  list.Delete(1);
  for (SIndexList* other : {&copy, &assigned}) EXPECT_EQ(Names(*other), "a0.000000c2.000000");
}

TEST(UserIndexList, FindTakesTheFirstAndGetIndexTheLastOfDuplicateIds) {
  SIndex a, b, c;
  SUserIndexList list;
  EXPECT_EQ(list.GetNextID(), 0);
  list.Add(&a);
  EXPECT_EQ(list.GetNextID(), 0);  // an unset ID is -1
  a.SetUserID(3), b.SetUserID(7), c.SetUserID(7);
  for (SIndex* x : {static_cast<SIndex*>(nullptr), &b, &c}) list.Add(x);  // null entries are skipped
  EXPECT_EQ(std::tuple(list.Find(7), list.GetIndex(7), list.Find(&c)), std::tuple(2, &c, 3));
  EXPECT_EQ(std::tuple(list.Find(9), list.GetIndex(9), list.GetNextID()), std::tuple(-1, nullptr, 8));
  list.RemoveIndex(7);
  EXPECT_EQ(std::tuple(list.GetSize(), list.Find(&b)), std::tuple(2, -1));
  a.SetUserID(INT_MAX);
  EXPECT_EQ(list.GetNextID(), INT_MAX);  // no signed overflow
}
