// The binding of an indicator to a record of a price-data list: which record
// is current, and the series the indicator reads from it.
#include "chartcalc/SIndex.h"
#include "chartcalc/SPriceDataList.h"

using namespace chartcalc::detail;

int SIndexProp::GetCurIndex() {
  if (!PriceList) return 0;
  int i = PriceList->GetSymbolNoFromID(SymbolID);
  return i < 0 ? 0 : i;
}

// The record at GetCurIndex: the first with ID SymbolID, else the first
// record, else (an empty list) the list's fallback record.
void SIndex::SetData(SPriceDataList* list, int symbolID) {
  if (!list) return;
  PriceList = list;
  SymbolID = symbolID;
  SPriceData& record = (*list)[GetCurIndex()];
  for (int k = 0; k < kPriceSlots; ++k) PriceSeries[k] = &record.GetSeries(k);
}

SPriceData* SIndex::GetCurPriceData() { return PriceList ? &(*PriceList)[GetCurIndex()] : nullptr; }

SVector& SIndex::GetDate() {
  if (OwnDate.GetSize() > 0) return OwnDate;
  SPriceData* record = GetCurPriceData();
  return record ? record->GetSeries(kDateTime) : OwnDate;
}

int SIndex::GetChartPeriod() {
  if (OwnDate.GetSize() > 0) return ChartPeriod;
  SPriceData* record = GetCurPriceData();
  return record ? record->ChartPeriod : ChartPeriod;
}
