// Test helpers for price records and lists: bars put field by field, lists
// of fresh records and their IDs.
#pragma once

#include <string>
#include <tuple>
#include <vector>

#include "calc/CalcTestUtil.h"
#include "core/StorageTestUtil.h"

inline const int kPriceFieldCodes[] = {kFieldClose,  kFieldOpen,   kFieldHigh,         kFieldLow,
                                       kFieldVolume, kFieldAmount, kFieldOpenInterest, kFieldSpread};

// One bar, added or staged: every price field gets base + its field code,
// the date-time field gets the date.
inline void PutBar(SPriceData& d, double date, double base, bool staged = false) {
  auto put = staged ? &SPriceData::InsertData : &SPriceData::AddData;
  for (int code : kPriceFieldCodes) (d.*put)(code, base + code);
  (d.*put)(kFieldDateTime, date);
}

inline int Bars(const SPriceData& d) { return d.GetSeries(kClose).GetSize(); }

inline SPriceDataList ListOf(int n) {
  SPriceDataList l;
  for (int i = 0; i < n; ++i) l.Add();
  return l;
}

inline std::vector<int> Ids(const SPriceDataList& l) {
  std::vector<int> ids;
  for (int i = 0; i < l.GetSize(); ++i) ids.push_back(l[i].ID);
  return ids;
}
