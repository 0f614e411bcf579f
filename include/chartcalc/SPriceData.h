// SPriceData: everything the library knows about one symbol of a chart — the
// nine price series, staging series for loading older bars, price-correction
// data, identity texts, cycle, period and tick size, and the owned display
// records (price-chart properties, support/resistance lines, reference
// values) plus four companion indicators for the multi-moving-average chart.
//
// Bars are added field by field with a field code; the codes do not follow
// the storage order of the series (see the kField codes).
#pragma once

#include <memory>

#include "chartcalc/CFBArchive.h"
#include "chartcalc/SBaseData.h"
#include "chartcalc/SIndex.h"
#include "chartcalc/SPriceProperty.h"
#include "chartcalc/SSRLines.h"
#include "chartcalc/SString.h"
#include "chartcalc/SVector.h"

// Field codes of AddData, InsertData, UpdateData and GetData.
enum : int {
  kFieldClose = 0,
  kFieldOpen = 1,
  kFieldHigh = 2,
  kFieldLow = 3,
  kFieldDateTime = 4,
  kFieldVolume = 5,
  kFieldAmount = 6,
  kFieldOpenInterest = 7,
  kFieldCorrectionDate = 8,     // added and staged only
  kFieldCorrectionValue1 = 9,   // added and staged only
  kFieldCorrectionValue2 = 10,  // added and staged only
  kFieldSpread = 11,
};

namespace chartcalc::detail {

inline constexpr int kFieldCodes = 12;
inline constexpr int kBaseInfoValues = 10;
// Staging series: slots 0-8 stage the price series by storage slot, 9-11 the
// correction date and the two correction values.
inline constexpr int kStageSlots = 12;
inline constexpr int kCompanionIndexes = 4;

}  // namespace chartcalc::detail

// Ten reference values of the host, every one -1 when created or cleared.
class SBaseInfo {
 public:
  SBaseInfo() { Clear(); }
  virtual ~SBaseInfo() = default;
  void Clear();
  double Value[chartcalc::detail::kBaseInfoValues];
};

class SPriceData : public SBaseData {
 public:
  SPriceData();
  SPriceData(const SPriceData& other);
  SPriceData& operator=(const SPriceData& other);
  ~SPriceData() override;

  // Flags and companion colours back to their defaults; identity, cycle,
  // period and tick size stay.
  void SetToDefault();
  // Empty bars: SetToDefault, reference values cleared, every series emptied,
  // a user-fixed scale (MinMaxY 2) turned back to automatic.
  void ClearData();
  // Empties the staging series and the correction series.
  void ClearTempData();

  // Appends a value to the series of a field code; unknown codes are ignored.
  void AddData(int code, double v);
  // Stages a value of older history for the series of a field code.
  void InsertData(int code, double v);
  // Puts the staged history in front of the series, keeping bar order.
  void InsertDataEnd();
  // Overwrites the element `back` places before the last (price fields only).
  void UpdateData(int code, double v, int back);
  // The element `back` places before the last (price fields only; 0 for the
  // correction fields, unknown codes and a back outside the series).
  double GetData(int code, int back) const;
  // CorrectionPos: the bar index of each correction date (-1 when absent).
  void CalcCorrectedPrice(int, int);

  void SetChartCycle(double cycle) { ChartCycle = cycle; }
  void SetChartPeriod(int period) { ChartPeriod = period; }
  void ShowCandle(int flag) { CandleShown = flag; }
  void SetID(int id) { ID = id; }
  int GetID() const { return ID; }

  void InitTemp();
  void SetDrawRange(int from, int to);
  void SetMinMaxChanged(int flag);
  // Refresh the extremes of every price series over [from, to].
  void GetMax(int from, int to);
  void GetMin(int from, int to);
  // The price range drawn: close and high (close and low); the closing-price
  // line chart looks at the close only.
  double GetPriceMax(int from, int to);
  double GetPriceMin(int from, int to);
  double GetPriceMax();
  double GetPriceMin();
  // Close and high (close and low) for every chart type.
  double GetPriceMaxTemp(int from, int to);
  double GetPriceMinTemp(int from, int to);
  SString GetSymbolInfo() const { return SymbolName; }
  void SetBaseInfoValue(int i, double v);
  void SetSRLineValue(int i, double v);
  void CompressData(int) {}

  // Keyed archive: category "PriceData", or "PriceData%d" for an index other
  // than -1; then the support/resistance lines and the price properties
  // under their own categories with the same index. Bars are not persisted.
  void Load(CFBArchive& archive, int index);
  void Store(CFBArchive& archive, int index) const;

  int ID = -1;
  int AuxFlag = 0;
  int MarketType = 1;
  SString SymbolName;
  SString SymbolCode;
  SString AuxName;
  SString RealSymbol;
  double ChartCycle = 1.0;
  int ChartPeriod = 2;
  int HasData = 0;
  SVector TempData[chartcalc::detail::kStageSlots];
  SVector CorrectionDate;    // field code 8
  SVector CorrectionValue1;  // field code 9
  SVector CorrectionValue2;  // field code 10
  SVector CorrectionPos;     // filled by CalcCorrectedPrice
  int HasCorrection = 0;
  double TickSize = 1.0;
  std::unique_ptr<SPriceProperty> PriceProperty;
  SIndex CompanionIndex[chartcalc::detail::kCompanionIndexes];
  int CandleShown = 1;
  int AuxInt1 = 0;
  int AuxInt2 = 0;
  double AuxValue = 0.0;
  std::unique_ptr<SBaseInfo> BaseInfo;  // null until SetBaseInfoValue
  std::unique_ptr<SSRLines> SRLines;

 private:
  SVector& StageTarget(int slot);
  int ChartType() const { return PriceProperty ? PriceProperty->PriceChartType : 0; }
  void AssignOwned(const SPriceData& o);
};
