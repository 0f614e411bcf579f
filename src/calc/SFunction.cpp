#include "chartcalc/SFunction.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "chartcalc/TableDb.h"
#include "chartcalc/TextHelpers.h"

using namespace chartcalc::detail;

namespace {

constexpr int kInitialCapacity = 100;
constexpr int kClearedCapacity = 20;
constexpr int kUserFunctionKind = 4;

SString Numbered(const char* stem, int i) { return SString(stem) + ltos(i); }

}  // namespace

int SFunction::GetVarCount() const {
  int n = 0;
  while (n < kMaxFunctionVars && !VarName[n].IsEmpty()) ++n;
  return n;
}

SFunctionList::SFunctionList() : growth_(kInitialCapacity) { Reallocate(kInitialCapacity); }

SFunctionList::SFunctionList(const SFunctionList& other) : SFunctionList() { *this = other; }

SFunctionList& SFunctionList::operator=(const SFunctionList& other) {
  if (this == &other) return *this;
  Clear();
  for (int i = 0; i < other.count_; ++i) Add(other.items_[i]);
  return *this;
}

void SFunctionList::Reallocate(int capacity) {
  auto items = std::make_unique<SFunction[]>(static_cast<size_t>(capacity));
  for (int i = 0; i < count_; ++i) items[i] = std::move(items_[i]);
  items_ = std::move(items);
  capacity_ = capacity;
}

void SFunctionList::Add(const SFunction& f) {
  if (count_ >= capacity_) Reallocate(capacity_ + std::max(growth_, 1));
  items_[count_++] = f;
}

void SFunctionList::Delete(int i) {
  if (i < 0 || i >= count_) return;
  for (int k = i; k + 1 < count_; ++k) items_[k] = std::move(items_[k + 1]);
  items_[--count_] = SFunction();
}

void SFunctionList::Clear() {
  count_ = 0;
  growth_ = kClearedCapacity;
  Reallocate(kClearedCapacity);
}

void SFunctionList::SetMaxSize(int n) {
  if (n > capacity_) Reallocate(n);
}

SFunction& SFunctionList::operator[](int i) {
  if (i >= 0 && i < count_) return items_[i];
  empty_ = SFunction();  // stays empty whatever a caller did with it
  return empty_;
}

const SFunction& SFunctionList::operator[](int i) const { return i >= 0 && i < count_ ? items_[i] : empty_; }

int SFunctionList::ReadFunction() {
  Clear();
  DDB db(getIndexDBFileName(kUserFunctionKind).c_str(), getUserDBFileName(kUserFunctionKind).c_str(), 1);
  db.SetExtension(getIndexDBExt(kUserFunctionKind));
  for (db.MoveFirst(1); !db.Eof(); db.MoveNext(1)) {
    SString name = db.GetStr("IndexName");
    if (name.Trim().IsEmpty() || db.Deleted()) continue;
    SFunction f;
    f.Name = name;
    f.Expression = db.GetStr("Expression0");
    for (int p = 0; p < kMaxFunctionVars; ++p) {
      f.VarName[p] = db.GetStr(Numbered("VarName", p).c_str());
      f.VarValue[p] = db.GetStr(Numbered("VarValue", p).c_str());
    }
    Add(f);
  }
  return count_ > 0 ? 1 : 0;
}

// Cuts the fields one by one: each CutStringUntilKey takes the text before
// the next "|", DeleteString drops it with its "|"; the last field needs no
// "|" after it. Names are trimmed, so "f | a+b | a" works as "f|a+b|a".
void SFunctionList::SetExpressionWithVariable(const char* text) {
  std::vector<char> rest(text ? text : "", (text ? text : "") + (text ? std::strlen(text) : 0) + 1);
  std::vector<char> field(rest.size());
  DeleteEscapeCharacter(rest.data());
  SFunction f;
  bool more = CutStringUntilKey(rest.data(), field.data(), "|") != nullptr;
  f.Name = SString(field.data()).Trim();
  if (more) {
    DeleteString(rest.data(), "|");
    more = CutStringUntilKey(rest.data(), field.data(), "|") != nullptr;
    f.Expression = field.data();
  }
  for (int p = 0; more && p < kMaxFunctionVars; ++p) {
    DeleteString(rest.data(), "|");
    more = CutStringUntilKey(rest.data(), field.data(), "|") != nullptr;
    f.VarName[p] = SString(field.data()).Trim();
  }
  Add(f);
}
