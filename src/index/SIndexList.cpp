// SIndexList: an owned array of indicators with a count, a capacity and a
// growth step.
#include "chartcalc/SIndexList.h"

#include <algorithm>
#include <climits>
#include <new>

using namespace chartcalc::detail;

namespace {

constexpr int kInitialCapacity = 20;  // after construction
constexpr int kClearedCapacity = 200;  // after Clear

}  // namespace

SIndexList::SIndexList() : SIndex("", kIndexIndicator) { Reset(kInitialCapacity, kInitialCapacity); }

SIndexList::SIndexList(const SIndexList& other) : SIndexList() { *this = other; }

SIndexList& SIndexList::operator=(const SIndexList& other) {
  if (this == &other) return *this;
  Clear();
  for (int i = 0, n = other.Used(); i < n; ++i) Add(other.Items[i]);
  return *this;
}

SIndexList::~SIndexList() = default;

int SIndexList::Used() const { return std::clamp(Count, 0, allocated_); }

void SIndexList::Reset(int capacity, int growBy) {
  Items.reset();
  allocated_ = 0;
  Count = 0;
  Capacity = 0;
  GrowBy = growBy;
  Reallocate(capacity);
}

// A new array of default indicators with the used elements assigned across.
// When memory runs out the list stays as it was and false is returned.
bool SIndexList::Reallocate(long capacity) {
  const int used = Used();
  if (capacity < used || capacity > INT_MAX) return false;
  std::unique_ptr<SIndex[]> items(new (std::nothrow) SIndex[static_cast<size_t>(capacity)]);
  if (!items) return false;
  for (int i = 0; i < used; ++i) items[i] = std::move(Items[i]);
  Items = std::move(items);
  Count = used;
  Capacity = allocated_ = static_cast<int>(capacity);
  return true;
}

void SIndexList::Add(const SIndex& index) {
  Count = Used();
  if (Count >= Capacity || Count >= allocated_) {
    // The argument may be one of our own elements: copy it before the old
    // array goes.
    SIndex copy(index);
    if (!Reallocate(static_cast<long>(Capacity) + std::max(GrowBy, 1))) return;
    Items[Count++] = std::move(copy);
    return;
  }
  Items[Count++] = index;
}

void SIndexList::Delete(int i) {
  Count = Used();
  if (i < 0 || i >= Count) return;
  for (int k = i; k + 1 < Count; ++k) Items[k] = Items[k + 1];
  Items[--Count] = SIndex();
}

void SIndexList::Clear() { Reset(kClearedCapacity, kClearedCapacity); }

void SIndexList::SetMaxSize(long n) {
  if (n > Capacity || n > allocated_) Reallocate(n);
}

SIndex& SIndexList::operator[](long i) {
  if (i >= 0 && i < Used()) return Items[i];
  return *this;
}
