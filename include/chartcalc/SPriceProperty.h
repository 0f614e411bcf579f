// SPriceProperty: how the price chart of one symbol is drawn. For each of the
// eighteen price-chart types it keeps the rising and falling colours and
// fills, the volume-at-price colour, the names and values of the type's two
// parameters (the parameters of its chart-type transform) and visibility
// flags; besides those, the price chart's scale and line settings.
#pragma once

#include "chartcalc/CFBArchive.h"
#include "chartcalc/SString.h"

namespace chartcalc::detail {

// Number of price-chart types; every per-type array has one entry per type.
inline constexpr int kPriceChartTypes = 18;

// The price-chart types, in the order of their index.
enum PriceChartTypeIndex {
  kChartCandle,
  kChartBarOhlc,
  kChartBarHlc,
  kChartCloseLine,
  kChartSellOff,
  kChartPointFigure,
  kChartThreeLineBreak,
  kChartSwing,
  kChartKagi,
  kChartRenko,
  kChartCounterClockwise,
  kChartCandleVolume,
  kChartEquiVolume,
  kChartFlow,
  kChartPlot,
  kChartMultiAverage,
  kChartZigZag,
  kChartMarketProfile
};

// The name of price-chart type k in the current language ("" outside 0-17).
const char* GetPriceChartTypeName(int k);

}  // namespace chartcalc::detail

class SPriceProperty {
 public:
  SPriceProperty();
  SPriceProperty(const SPriceProperty&) = default;
  SPriceProperty& operator=(const SPriceProperty&) = default;
  ~SPriceProperty() = default;

  // Every default of the record; parameter names in the current language.
  void SetToDefault();
  // Defaults of the parameters derived from a reference price.
  void SetDefaultOptionValue(double price);
  // Parameter values derived from a reference price.
  void SetValue(double price);
  // 1 when the rising and falling colours and fills of every type agree.
  int CompStyle(const SPriceProperty& o) const;
  // Takes the rising and falling colours and fills of every type from o.
  void AssignStyle(const SPriceProperty& o);

  // Keyed archive: category "PriceProperty", or "PriceProperty%d" for an
  // index other than -1.
  void Load(CFBArchive& archive, int index);
  void Store(CFBArchive& archive, int index) const;

  int BlUse128Scale;
  int Initializing;  // 1 while the constructor resets the record; not persisted
  int ShowBaseLine[4];
  int WhiteLineColor[chartcalc::detail::kPriceChartTypes];  // rising colour
  int WhiteLineFill[chartcalc::detail::kPriceChartTypes];
  int BlackLineColor[chartcalc::detail::kPriceChartTypes];  // falling colour
  int BlackLineFill[chartcalc::detail::kPriceChartTypes];
  int VolumeAtPriceColor[chartcalc::detail::kPriceChartTypes];
  SString Name1[chartcalc::detail::kPriceChartTypes];
  SString Value1[chartcalc::detail::kPriceChartTypes];
  SString Name2[chartcalc::detail::kPriceChartTypes];
  SString Value2[chartcalc::detail::kPriceChartTypes];
  SString Default1[chartcalc::detail::kPriceChartTypes];
  SString Default2[chartcalc::detail::kPriceChartTypes];
  int BlWhiteLineColor[chartcalc::detail::kPriceChartTypes];
  int BlWhiteLineFill[chartcalc::detail::kPriceChartTypes];
  int BlBlackLineColor[chartcalc::detail::kPriceChartTypes];
  int BlBlackLineFill[chartcalc::detail::kPriceChartTypes];
  int BlVolumeAtPrice[chartcalc::detail::kPriceChartTypes];
  int BlVolumeDisp[chartcalc::detail::kPriceChartTypes];
  int BlName1[chartcalc::detail::kPriceChartTypes];
  int BlValue1[chartcalc::detail::kPriceChartTypes];
  int BlName2[chartcalc::detail::kPriceChartTypes];
  int BlValue2[chartcalc::detail::kPriceChartTypes];
  int MinMaxY;  // vertical-scale mode; 2 = user-fixed bounds
  double UserMin;
  double UserMax;
  int LogY;
  int InvertY;
  int ShowLH;
  int ShowLC;
  int ShowHC;
  int PriceChartType;
  int LineStyle;
  int LineThick;
  int LineCompare;
};
