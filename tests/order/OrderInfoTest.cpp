// The order markers: the merge of a re-added key, lookups that ignore what
// they cannot use, and the list's ownership of its records through Set,
// assignment, copying and destruction. Ownership faults (a leak, a second
// delete, a record shared by two lists) show in the sanitizer build.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <stdexcept>

#include "chartcalc.h"

namespace {

using R = COrdInfo;
using List = COrdInfoList;

int R::*const kInts[] = {&R::intField1, &R::intField2, &R::intField3, &R::intField4,  &R::intField5, &R::intField6,
                         &R::intField7, &R::intField8, &R::intField9, &R::lineColour, &R::lineWidth, &R::lineStyle};
double R::*const kNumbers[] = {&R::number1, &R::number2, &R::number3, &R::number4};
CString R::*const kTexts[] = {&R::textField1, &R::textField2, &R::textField3,
                              &R::textField4, &R::textField5, &R::textField6};

// A record whose every field differs from the defaults and from other seeds.
R Marker(const CString& key, int seed) {
  R r;
  r.key = key;
  for (auto f : kInts) r.*f = ++seed;
  for (auto f : kNumbers) r.*f = ++seed + 0.5;
  for (auto f : kTexts) r.*f = SString(++seed);
  return r;
}

// Every field as one text, so one comparison covers whole records.
std::string Dump(const R& r) {
  std::string s = r.key.str();
  for (auto f : kInts) s.append(" ").append(std::to_string(r.*f));
  for (auto f : kNumbers) s.append(" ").append(std::to_string(r.*f));
  for (auto f : kTexts) s.append(" '").append((r.*f).str()).append("'");
  return s + ";";
}

std::string Dump(List& l) {
  std::string s;
  for (int i = 0; i < l.GetCount(); ++i) s += Dump(*l.Get(i));
  return s;
}

TEST(OrderList, RecordDefaultsAreTheHostsOwn) {
  EXPECT_EQ(Dump(R()), " 1 1 0 1 -1 1 1 1 1 255 1 0 0.000000 0.000000 0.000000 0.000000 '' '' '' '' '' '';");
}

TEST(OrderList, ReAddedKeyTakesOnlyTheMergedFieldsOfTheNewRecord) {
  const R first = Marker("K", 0), second = Marker("K", 100);
  R want = first;
  want.intField3 = second.intField3, want.lineColour = second.lineColour, want.lineWidth = second.lineWidth;
  want.lineStyle = second.lineStyle, want.number1 = second.number1, want.number2 = second.number2;
  want.number3 = second.number3;
  List l;
  for (const R& r : {first, Marker("k", 200), Marker("K ", 300), second}) l.Add(r);
  EXPECT_EQ(Dump(l), Dump(want) + Dump(Marker("k", 200)) + Dump(Marker("K ", 300)));
}

TEST(OrderList, UnusableKeyOrIndexChangesNothing) {
  R outside = Marker("X", 50);
  const std::function<void(List&)> ops[] = {[](List& l) { l.Del("missing"); }, [&](List& l) { l.Set(-1, &outside); },
                                            [](List& l) { EXPECT_EQ(l.Get(-1), nullptr); },
                                            [](List& l) { EXPECT_THROW(l.Get(2), std::out_of_range); }};
  for (const auto& op : ops) {
    List l;
    l.Add(Marker("A", 0)), l.Add(Marker("B", 30));
    op(l);
    EXPECT_EQ(Dump(l), Dump(Marker("A", 0)) + Dump(Marker("B", 30)));
  }
}

TEST(OrderList, RecordSetPastTheEndIsOwnedAndDeletedOnce) {
  List l;
  l.Add(Marker("A", 0));
  R* handed = new R(Marker("B", 10));
  l.Set(5, handed);
  l.Set(2, l.Get(0));  // held already: a second pointer to it would be deleted twice
  R caller = Marker("A", 20);
  l.Set(0, &caller);
  caller.key = "changed";
  EXPECT_EQ(l.Get(1), handed);
  EXPECT_EQ(Dump(l), Dump(Marker("A", 20)) + Dump(Marker("B", 10)) + Dump(Marker("A", 0)));
  l.Del(l.Get(0));  // the key is read before its record goes
  EXPECT_EQ(Dump(l), Dump(Marker("B", 10)) + Dump(Marker("A", 0)));
}

TEST(OrderList, CopiedAndAssignedListsOwnIndependentRecords) {
  auto a = std::make_unique<List>();
  a->Add(Marker("A", 0)), a->lineColour = 7, a->SetShowEntry(0), a->averages["A"].AddDate(20240105);
  List assigned, &self = assigned;
  assigned.Add(Marker("old", 5));
  assigned = *a, assigned = self;
  List copied(*a);
  a->Get(0)->number1 = -1, a->RemoveAll();
  EXPECT_EQ(a->averages["A"].GetDate()[0], 20240105);
  a.reset();
  for (List* l : {&assigned, &copied}) {
    EXPECT_EQ(Dump(*l), Dump(Marker("A", 0)));
    EXPECT_EQ(std::vector<size_t>({size_t(l->lineColour), size_t(l->GetShowEntry()), l->averages.size()}),
              std::vector<size_t>({7, 1, 0}));
  }
}

}  // namespace
