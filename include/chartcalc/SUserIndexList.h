// SUserIndexList: indicators addressed by their UserID. It holds pointers and
// owns none of the indicators.
#pragma once

#include <cstddef>  // CArray.h uses size_t without including it

#include "chartcalc/CArray.h"
#include "chartcalc/SIndex.h"

class SUserIndexList : public CArray<SIndex*, SIndex*> {
 public:
  // Position of the first element (from the front) whose UserID is id, else -1.
  int Find(int id);
  // Position of the first element that is p, else -1.
  int Find(SIndex* p);
  // 0 for an empty list; otherwise one more than the largest UserID (counting
  // from -1).
  int GetNextID();
  // Removes, from the last element to the first, every element whose UserID
  // is id; the indicators themselves are not destroyed.
  void RemoveIndex(int id);
  // The element nearest the end whose UserID is id, or null.
  SIndex* GetIndex(int id);
};
