#include "chartcalc/SPriceData.h"

#include <algorithm>

#include "property/ArchiveKeys.h"

using namespace chartcalc::detail;

namespace {

// The staging slot of each field code; for the price fields it is also the
// storage slot of the series (high and low, date-time and volume, amount and
// open interest swap places between the codes and the storage).
const int kStageSlotOf[kFieldCodes] = {kBaseClose, kBaseOpen, kBaseHigh,   kBaseLow, kBaseDateTime, kBaseVolume,
                                       kBaseAmount, kBaseOpenInterest, 9, 10, 11, kBaseSpread};

bool IsPriceField(int code) { return (code >= kFieldClose && code <= kFieldOpenInterest) || code == kFieldSpread; }
bool IsCorrectionField(int code) { return code >= kFieldCorrectionDate && code <= kFieldCorrectionValue2; }
bool IsField(int code) { return code >= 0 && code < kFieldCodes; }

// Line colours of the four companion indicators (the first four entries of
// the indicators' default colour table).
const int kCompanionColors[kCompanionIndexes] = {0xFF0000, 0xD800FF, 0x3300FF, 0x2F8E00};

// The record's own keys in archive order; Rec is const when storing.
template <class Io, class Rec>
void ExchangeKeys(Io& io, Rec& r, const SPriceData& d) {
  io.Int("ID", r.ID, d.ID);
  io.Int("MarketType", r.MarketType, d.MarketType);
  io.Str("SymbolName", r.SymbolName, d.SymbolName);
  io.Str("SymbolCode", r.SymbolCode, d.SymbolCode);
  io.Str("RealSymbol", r.RealSymbol, d.RealSymbol);
  io.Dbl("ChartCycle", r.ChartCycle, d.ChartCycle);
  io.Int("ChartPeriod", r.ChartPeriod, d.ChartPeriod);
  io.Dbl("TickSize", r.TickSize, d.TickSize);
}

}  // namespace

void SBaseInfo::Clear() { std::fill(Value, Value + kBaseInfoValues, -1.0); }

SPriceData::SPriceData()
    : PriceProperty(std::make_unique<SPriceProperty>()), SRLines(std::make_unique<SSRLines>()) {
  MarketType = 1;
  SetToDefault();
  ID = -1;
}

SPriceData::SPriceData(const SPriceData& other) : SPriceData() { *this = other; }

SPriceData::~SPriceData() = default;

SPriceData& SPriceData::operator=(const SPriceData& o) {
  if (this == &o) return *this;
  SBaseData::operator=(o);
  ID = o.ID;
  AuxFlag = o.AuxFlag;
  MarketType = o.MarketType;
  SymbolName = o.SymbolName;
  SymbolCode = o.SymbolCode;
  AuxName = o.AuxName;
  RealSymbol = o.RealSymbol;
  ChartCycle = o.ChartCycle;
  ChartPeriod = o.ChartPeriod;
  HasData = o.HasData;
  for (int s = 0; s < kStageSlots; ++s) TempData[s] = o.TempData[s];
  CorrectionDate = o.CorrectionDate;
  CorrectionValue1 = o.CorrectionValue1;
  CorrectionValue2 = o.CorrectionValue2;
  CorrectionPos = o.CorrectionPos;
  HasCorrection = o.HasCorrection;
  TickSize = o.TickSize;
  for (int i = 0; i < kCompanionIndexes; ++i) CompanionIndex[i] = o.CompanionIndex[i];
  CandleShown = o.CandleShown;
  AuxInt1 = o.AuxInt1;
  AuxInt2 = o.AuxInt2;
  AuxValue = o.AuxValue;
  AssignOwned(o);
  return *this;
}

// The owned records: a missing one on the source side resets the target's
// values but keeps the target's record (and, for the lines, its settings and
// alarm states; only the closes and line values become 0).
void SPriceData::AssignOwned(const SPriceData& o) {
  if (o.PriceProperty) {
    if (!PriceProperty) PriceProperty = std::make_unique<SPriceProperty>();
    *PriceProperty = *o.PriceProperty;
  }
  if (o.BaseInfo) {
    if (!BaseInfo) BaseInfo = std::make_unique<SBaseInfo>();
    *BaseInfo = *o.BaseInfo;
  } else if (BaseInfo) {
    BaseInfo->Clear();
  }
  if (o.SRLines) {
    if (!SRLines) SRLines = std::make_unique<SSRLines>();
    *SRLines = *o.SRLines;
  } else if (SRLines) {
    SRLines->Clear();
  }
}

void SPriceData::SetToDefault() {
  HasData = AuxFlag = HasCorrection = AuxInt1 = AuxInt2 = 0;
  AuxValue = 0.0;
  CandleShown = 1;
  for (int i = 0; i < kCompanionIndexes; ++i)
    for (int& c : CompanionIndex[i].LineColor) c = kCompanionColors[i];
}

void SPriceData::ClearData() {
  SetToDefault();
  if (BaseInfo) BaseInfo->Clear();
  for (SVector& s : Series) s.ClearData();
  if (PriceProperty && PriceProperty->MinMaxY == 2) PriceProperty->MinMaxY = 0;
  for (SIndex& index : CompanionIndex)
    for (SVector& line : index.LineData) line.ClearData();
  ClearTempData();
}

void SPriceData::ClearTempData() {
  for (SVector& s : TempData) s.ClearData();
  CorrectionDate.ClearData();
  CorrectionValue1.ClearData();
  CorrectionValue2.ClearData();
  CorrectionPos.ClearData();
}

SVector& SPriceData::StageTarget(int slot) {
  switch (slot) {
    case 9: return CorrectionDate;
    case 10: return CorrectionValue1;
    case 11: return CorrectionValue2;
    default: return Series[slot];
  }
}

void SPriceData::AddData(int code, double v) {
  if (!IsField(code)) return;
  if (code == kFieldClose) HasData = 1;
  if (IsCorrectionField(code)) HasCorrection = 1;
  StageTarget(kStageSlotOf[code]).Add(v);
}

void SPriceData::InsertData(int code, double v) {
  if (!IsField(code)) return;
  if (code == kFieldClose) HasData = 1;
  TempData[kStageSlotOf[code]].Add(v);
}

void SPriceData::InsertDataEnd() {
  HasCorrection = 1;
  for (int s = 0; s < kStageSlots; ++s) {
    StageTarget(s).Insert(TempData[s]);
    TempData[s].ClearData();
  }
}

void SPriceData::UpdateData(int code, double v, int back) {
  if (IsPriceField(code)) Series[kStageSlotOf[code]].Update(v, back);
}

double SPriceData::GetData(int code, int back) const {
  if (!IsPriceField(code)) return 0.0;
  const SVector& s = Series[kStageSlotOf[code]];
  long long i = static_cast<long long>(s.GetSize()) - back - 1;
  return i >= 0 && i < s.GetSize() ? s[static_cast<int>(i)] : 0.0;
}

// Correction dates come in bar order, so each search starts where the last
// one ended (a date without a bar restarts the next search from the front).
// A correction restates the history before its date, so whatever was
// computed from the bars is marked as out of date.
void SPriceData::CalcCorrectedPrice(int, int) {
  for (SVector& s : Series) SeriesRevision::Move(s);
  CorrectionPos.ClearData();
  const SVector& dates = Series[kBaseDateTime];
  int from = 0;
  for (int i = 0; i < CorrectionDate.GetSize(); ++i) {
    int p = dates.FindPos(CorrectionDate[i], from);
    CorrectionPos.Add(p >= 0 ? p : -1.0);
    from = p;
  }
}

void SPriceData::InitTemp() {
  for (SVector& s : Series) s.InitTemp();
}

void SPriceData::SetDrawRange(int from, int to) {
  for (SVector& s : Series) s.SetDrawRange(from, to);
}

void SPriceData::SetMinMaxChanged(int flag) {
  for (SVector& s : Series) s.SetMinMaxChanged(flag);
}

// Engine order: close, open, high, low, volume, date-time, open interest,
// amount, spread.
void SPriceData::GetMax(int from, int to) {
  for (int k = 0; k < kPriceSlots; ++k) (void)GetSeries(k).GetMax(from, to, 0);
}

void SPriceData::GetMin(int from, int to) {
  for (int k = 0; k < kPriceSlots; ++k) (void)GetSeries(k).GetMin(from, to, 0);
}

double SPriceData::GetPriceMax(int from, int to) {
  double close = Series[kBaseClose].GetMax(from, to, 0);
  if (ChartType() == kChartCloseLine) return close;
  return std::max(close, Series[kBaseHigh].GetMax(from, to, 0));
}

double SPriceData::GetPriceMin(int from, int to) {
  double close = Series[kBaseClose].GetMin(from, to, 0);
  if (ChartType() == kChartCloseLine) return close;
  return std::min(close, Series[kBaseLow].GetMin(from, to, 0));
}

double SPriceData::GetPriceMax() {
  double close = Series[kBaseClose].GetMax();
  if (ChartType() == kChartCloseLine) return close;
  return std::max(close, Series[kBaseHigh].GetMax());
}

double SPriceData::GetPriceMin() {
  double close = Series[kBaseClose].GetMin();
  if (ChartType() == kChartCloseLine) return close;
  return std::min(close, Series[kBaseLow].GetMin());
}

double SPriceData::GetPriceMaxTemp(int from, int to) {
  return std::max(Series[kBaseClose].GetMaxTemp(from, to), Series[kBaseHigh].GetMaxTemp(from, to));
}

double SPriceData::GetPriceMinTemp(int from, int to) {
  return std::min(Series[kBaseClose].GetMinTemp(from, to), Series[kBaseLow].GetMinTemp(from, to));
}

void SPriceData::SetBaseInfoValue(int i, double v) {
  if (!BaseInfo) BaseInfo = std::make_unique<SBaseInfo>();
  if (i >= 0 && i < kBaseInfoValues) BaseInfo->Value[i] = v;
}

void SPriceData::SetSRLineValue(int i, double v) {
  if (i < 0 || i >= kSRLineCount) return;
  if (!SRLines) SRLines = std::make_unique<SSRLines>();
  SRLines->SetValue(i, v);
}

void SPriceData::Load(CFBArchive& archive, int index) {
  const SPriceData d;
  SetArchiveCategory(archive, "PriceData", index);
  ArchiveLoad io(archive);
  ExchangeKeys(io, *this, d);
  if (!SRLines) SRLines = std::make_unique<SSRLines>();
  SRLines->Load(archive, index);
  if (!PriceProperty) PriceProperty = std::make_unique<SPriceProperty>();
  PriceProperty->Load(archive, index);
}

void SPriceData::Store(CFBArchive& archive, int index) const {
  const SPriceData d;
  SetArchiveCategory(archive, "PriceData", index);
  ArchiveStore io(archive);
  ExchangeKeys(io, *this, d);
  if (SRLines) SRLines->Store(archive, index);
  if (PriceProperty) PriceProperty->Store(archive, index);
}
