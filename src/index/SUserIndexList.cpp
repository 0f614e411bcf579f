// SUserIndexList: lookups of indicator pointers by UserID.
#include "chartcalc/SUserIndexList.h"

#include <climits>

using namespace chartcalc::detail;

int SUserIndexList::Find(int id) {
  for (int i = 0; i < GetSize(); ++i)
    if (GetAt(i) && GetAt(i)->UserID == id) return i;
  return -1;
}

int SUserIndexList::Find(SIndex* p) {
  for (int i = 0; i < GetSize(); ++i)
    if (GetAt(i) == p) return i;
  return -1;
}

int SUserIndexList::GetNextID() {
  if (IsEmpty()) return 0;
  int largest = -1;
  for (int i = 0; i < GetSize(); ++i)
    if (GetAt(i) && GetAt(i)->UserID > largest) largest = GetAt(i)->UserID;
  return largest == INT_MAX ? INT_MAX : largest + 1;
}

void SUserIndexList::RemoveIndex(int id) {
  for (int i = GetSize() - 1; i >= 0; --i)
    if (GetAt(i) && GetAt(i)->UserID == id) RemoveAt(i);
}

SIndex* SUserIndexList::GetIndex(int id) {
  for (int i = GetSize() - 1; i >= 0; --i)
    if (GetAt(i) && GetAt(i)->UserID == id) return GetAt(i);
  return nullptr;
}
