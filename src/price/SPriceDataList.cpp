// The list operations and archive persistence of SPriceDataList; the INI
// settings file is in SPriceDataListSettings.cpp.
#include "chartcalc/SPriceDataList.h"

#include <algorithm>
#include <climits>
#include <new>

using namespace chartcalc::detail;

SPriceDataList::SPriceDataList() : Items(new SPriceData[1]) {}

int SPriceDataList::Used() const { return std::clamp(Count, 0, allocated_); }

SPriceDataList::SPriceDataList(const SPriceDataList& other) : SPriceDataList() { *this = other; }

SPriceDataList::~SPriceDataList() = default;

SPriceDataList& SPriceDataList::operator=(const SPriceDataList& s) {
  if (this == &s) return *this;
  Clear();
  for (int i = 0, n = s.Used(); i < n; ++i) {
    if (!EnsureRoom()) break;
    Items[Count++] = s.Items[i];
  }
  return *this;
}

// Moves the records in use into a new array of the given length. On a failed
// allocation the list stays as it was.
bool SPriceDataList::Reallocate(int capacity) {
  std::unique_ptr<SPriceData[]> items(new (std::nothrow) SPriceData[static_cast<size_t>(capacity)]);
  if (!items) return false;
  Count = Used();
  for (int i = 0; i < Count; ++i) items[i] = Items[i];
  Items = std::move(items);
  Capacity = allocated_ = capacity;
  return true;
}

// Grows by GrowBy records when every slot is in use.
bool SPriceDataList::EnsureRoom() {
  Count = Used();
  if (Count < Capacity && Count < allocated_) return true;
  long long grown = static_cast<long long>(Count) + std::max(GrowBy, 1);
  return grown <= INT_MAX && Reallocate(static_cast<int>(grown));
}

int SPriceDataList::GetNextID() const {
  long long largest = -1;
  for (int i = 0, n = Used(); i < n; ++i) largest = std::max<long long>(largest, Items[i].ID);
  return static_cast<int>(std::min<long long>(largest + 1, INT_MAX));
}

// The slot at Count gets the next ID and is reset; its identity texts, cycle,
// period and tick size stay from whatever record used the slot before.
int SPriceDataList::AppendReset() {
  if (!EnsureRoom()) return -1;
  SPriceData& r = Items[Count];
  r.ID = GetNextID();
  r.SetToDefault();
  r.ClearData();
  return Count++;
}

int SPriceDataList::Add() {
  int i = AppendReset();
  return i < 0 ? -1 : Items[i].ID;
}

int SPriceDataList::AddSeq() { return AppendReset(); }

int SPriceDataList::Add(const SPriceData& r) {
  // r may be a record of this list, which growing moves.
  if (&r >= Items.get() && &r < Items.get() + allocated_) {
    SPriceData copy(r);
    return Add(copy);
  }
  if (!EnsureRoom()) return -1;
  const int id = GetNextID();
  Items[Count] = r;
  Items[Count].ID = id;
  ++Count;
  return id;
}

void SPriceDataList::Delete(int i) {
  Count = Used();
  if (i < 0 || i >= Count) return;
  for (int j = i + 1; j < Count; ++j) Items[j - 1] = Items[j];
  --Count;
}

void SPriceDataList::Clear() {
  for (int i = 0; i < allocated_; ++i) {
    Items[i].SetToDefault();
    Items[i].ClearData();
  }
  Count = 0;
}

void SPriceDataList::SetMaxSize(long n) {
  if ((n > Capacity || n > allocated_) && n <= INT_MAX) Reallocate(static_cast<int>(n));
}

SPriceData& SPriceDataList::operator[](long i) { return i >= 0 && i < Used() ? Items[i] : Fallback; }

const SPriceData& SPriceDataList::operator[](long i) const { return i >= 0 && i < Used() ? Items[i] : Fallback; }

int SPriceDataList::GetSymbolNoFromID(int id) const {
  for (int i = 0, n = Used(); i < n; ++i)
    if (Items[i].ID == id) return i;
  return -1;
}

int SPriceDataList::GetSymbolIDFromNo(int i) const { return i >= 0 && i < Used() ? Items[i].ID : -1; }

SPriceData& SPriceDataList::GetCurData(int id) {
  return (*this)[GetSymbolNoFromID(id < 0 ? SelectedID : id)];
}

SPriceData& SPriceDataList::GetCurSlectedData() {
  int i = GetSymbolNoFromID(SelectedID);
  if (i >= 0) return Items[i];
  SelectedID = Items[0].ID;
  return Items[0];
}

int SPriceDataList::GetCurSelecedID() { return GetCurSlectedData().ID; }

void SPriceDataList::Load(CFBArchive& archive) {
  Clear();
  archive.SetCategory("PriceDataList");
  // Every stored record holds several keys, so a count above the archive's
  // entries is damage; it must not allocate without bound.
  int n = std::min({archive.GetInt("size", 0), archive.GetEntryCount(), kMaxPriceRecords});
  SetMaxSize(n);
  for (int i = 0; i < n; ++i) {
    int at = AddSeq();
    if (at < 0) break;
    Items[at].Load(archive, i);
  }
}

void SPriceDataList::Store(CFBArchive& archive) const {
  archive.SetCategory("PriceDataList");
  const int n = Used();
  archive.SetInt("size", n, 0);
  for (int i = 0; i < n; ++i) Items[i].Store(archive, i);
}
