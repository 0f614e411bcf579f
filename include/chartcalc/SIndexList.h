// SIndexList: indicators held by value. The list is itself an indicator, so
// that it can stand in for one: an index outside the list yields the list
// object.
#pragma once

#include <memory>

#include "chartcalc/SIndex.h"

class SIndexList : public SIndex {
 public:
  // Room for 20 indicators, growing by 20.
  SIndexList();
  // An independent copy holding copies of the other list's elements.
  SIndexList(const SIndexList& other);
  // Clear, then Add of every element of the other list, in order.
  SIndexList& operator=(const SIndexList& other);
  ~SIndexList() override;

  // Appends a copy; a full array grows by the growth step.
  void Add(const SIndex& index);
  // Removes the element at i; the later ones move down. An index outside
  // 0 .. count - 1 changes nothing.
  void Delete(int i);
  // Drops every element: count 0, room for 200, growing by 200.
  void Clear();
  // Reallocates to exactly n elements when n exceeds the capacity.
  void SetMaxSize(long n);
  // The element for 0 <= i < count; the list object itself otherwise.
  SIndex& operator[](long i);

  int GetCount() const { return Count; }
  int GetCapacity() const { return Capacity; }
  int GetGrowBy() const { return GrowBy; }

  // The host may read and write these. The list owns Items and frees it; it
  // keeps the length it really allocated to itself, so a Count or Capacity
  // written from outside never sends it past the end of the array.
  std::unique_ptr<SIndex[]> Items;
  int Capacity = 0;
  int GrowBy = 0;
  int Count = 0;

 private:
  bool Reallocate(long capacity);
  void Reset(int capacity, int growBy);
  // Count, clamped to the elements that really exist.
  int Used() const;

  int allocated_ = 0;
};
