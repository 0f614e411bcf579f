#include "chartcalc/SPriceProperty.h"

#include "chartcalc/TextHelpers.h"
#include "core/TextTable.h"
#include "property/ArchiveKeys.h"

using namespace chartcalc::detail;

namespace {

constexpr int kRise = 0x1414EB;      // rising colour
constexpr int kFall = 0xC81616;      // falling colour
constexpr int kVap = 0x99FFCC;       // volume-at-price colour
constexpr TextId kNoName = static_cast<TextId>(-1);  // a parameter without a name

// Defaults of one price-chart type.
struct TypeDefault {
  int whiteColor, whiteFill, blackColor, blackFill, volumeAtPrice;
  int blWhiteColor, blWhiteFill, blBlackColor, blBlackFill, blVolumeAtPrice, blVolumeDisp;
  int blName1, blValue1, blName2, blValue2;
  TextId name1;
  const char* value1;
  TextId name2;
  const char* value2;
};

// One row per chart type, in type order.
const TypeDefault kTypeDefaults[kPriceChartTypes] = {
    {kRise, 1, kFall, 1, kVap, 1, 1, 1, 1, 0, 0, 1, 1, 0, 0, TxParamSellOffCount, "10", kNoName, "0"},      // 0 candle
    {kRise, 1, kFall, 1, kVap, 1, 0, 1, 0, 0, 0, 1, 1, 0, 0, TxParamSellOffCount, "10", kNoName, "0"},      // 1 bar OHLC
    {kRise, 1, kFall, 1, kVap, 1, 0, 1, 0, 0, 0, 1, 1, 0, 0, TxParamSellOffCount, "10", kNoName, "0"},      // 2 bar HLC
    {kRise, 1, kFall, 1, kVap, 1, 0, 0, 0, 0, 0, 1, 1, 0, 0, TxParamSellOffCount, "10", kNoName, "0"},      // 3 close line
    {kRise, 1, kFall, 1, kVap, 1, 1, 1, 1, 1, 1, 1, 1, 0, 0, TxParamSellOffCount, "10", kNoName, "0"},      // 4 sell-off
    {kRise, 1, kFall, 1, kVap, 1, 0, 1, 0, 0, 0, 1, 1, 1, 1, TxParamBlankConversion, "3", TxParamBlankSize, "0"},  // 5 P&F
    {kRise, 1, kFall, 1, kVap, 1, 1, 1, 1, 0, 0, 1, 1, 0, 0, TxParamBlankConversion, "3", TxParamConversionPrice,
     "0"},                                                                                                   // 6 three line
    {kRise, 1, kFall, 1, kVap, 1, 0, 1, 0, 0, 0, 1, 1, 0, 0, TxParamMinReversal, "3", TxParamConversionPrice,
     "0"},                                                                                                   // 7 swing
    {kRise, 1, kFall, 1, kVap, 1, 0, 1, 0, 0, 0, 1, 1, 0, 0, TxParamMinReversal, "3", kNoName, "0"},        // 8 kagi
    {kRise, 1, kFall, 1, kVap, 1, 1, 1, 1, 0, 0, 1, 1, 0, 0, TxParamMinChange, "3", kNoName, "0"},          // 9 renko
    {0, 1, 0, 1, kVap, 0, 0, 0, 0, 0, 0, 1, 1, 0, 0, TxMovingAverage, "25", kNoName, "0"},                  // 10 ccw curve
    {kRise, 1, kFall, 1, kVap, 1, 1, 1, 1, 0, 0, 0, 0, 0, 0, kNoName, "0", kNoName, "0"},                   // 11 candlevolume
    {kRise, 0, kFall, 1, kVap, 1, 1, 1, 1, 0, 0, 0, 0, 0, 0, kNoName, "0", kNoName, "0"},                   // 12 equivolume
    {kRise, 1, kFall, 1, kVap, 1, 0, 0, 0, 0, 0, 1, 1, 0, 0, TxParamSellOffCount, "10", kNoName, "0"},      // 13 flow
    {kRise, 1, kFall, 1, kVap, 1, 0, 1, 0, 0, 0, 0, 0, 0, 0, kNoName, "0", kNoName, "0"},                   // 14 plot
    {kRise, 1, kFall, 1, kVap, 1, 1, 1, 1, 0, 0, 1, 1, 1, 1, TxParamStartValue, "10", TxParamInterval, "10"},  // 15 multi MA
    {kRise, 1, kFall, 1, kRise, 1, 1, 1, 1, 1, 0, 1, 1, 0, 0, TxParamConversionRatio, "5", kNoName, "0"},   // 16 zigzag
    {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 0, 0, TxParamMinuteDistance, "30", kNoName, "0"},               // 17 profile
};

// Parameter defaults derived from a reference price: a positive factor gives
// the price step GetNewTickValue(price * factor), otherwise the text is taken;
// neither leaves the entry as it is.
struct OptionDefault {
  int type;
  double factor1;
  const char* text1;
  double factor2;
  const char* text2;
};

const OptionDefault kOptionDefaults[] = {
    {kChartSellOff, 0, "10", 0, "0"},      {kChartPointFigure, 0, "3", 0.02, nullptr},
    {kChartThreeLineBreak, 0, "3", 0, "0"}, {kChartSwing, 0.05, nullptr, 0, "0"},
    {kChartKagi, 0.05, nullptr, 0, "0"},    {kChartRenko, 0.04, nullptr, 0, "0"},
    {kChartCounterClockwise, 0, "25", 0, "0"}, {kChartMultiAverage, 0, "10", 0, "10"},
    {kChartMarketProfile, 0, "30", 0, nullptr},
};

void SetOption(SString& entry, double price, double factor, const char* text) {
  if (factor > 0) entry = GetNewTickValue(price * factor);
  else if (text) entry = text;
}

// The persisted per-type arrays, in key order: each is either an int array
// or a text array.
struct TypeKey {
  const char* name;
  int (SPriceProperty::*ints)[kPriceChartTypes];
  SString (SPriceProperty::*texts)[kPriceChartTypes];
};

const TypeKey kTypeKeys[] = {
    {"WhiteLineColor", &SPriceProperty::WhiteLineColor, nullptr},
    {"WhiteLineFill", &SPriceProperty::WhiteLineFill, nullptr},
    {"BlackLineColor", &SPriceProperty::BlackLineColor, nullptr},
    {"BlackLineFill", &SPriceProperty::BlackLineFill, nullptr},
    {"VolumeAtPriceColor", &SPriceProperty::VolumeAtPriceColor, nullptr},
    {"Name1", nullptr, &SPriceProperty::Name1},
    {"Value1", nullptr, &SPriceProperty::Value1},
    {"Name2", nullptr, &SPriceProperty::Name2},
    {"Value2", nullptr, &SPriceProperty::Value2},
    {"Default1", nullptr, &SPriceProperty::Default1},
    {"Default2", nullptr, &SPriceProperty::Default2},
    {"BlWhiteLineColor", &SPriceProperty::BlWhiteLineColor, nullptr},
    {"BlWhiteLineFill", &SPriceProperty::BlWhiteLineFill, nullptr},
    {"BlBlackLineColor", &SPriceProperty::BlBlackLineColor, nullptr},
    {"BlBlackLineFill", &SPriceProperty::BlBlackLineFill, nullptr},
    {"BlVolumeAtPrice", &SPriceProperty::BlVolumeAtPrice, nullptr},
    {"BlVolumeDisp", &SPriceProperty::BlVolumeDisp, nullptr},
    {"BlName1", &SPriceProperty::BlName1, nullptr},
    {"BlValue1", &SPriceProperty::BlValue1, nullptr},
    {"BlName2", &SPriceProperty::BlName2, nullptr},
    {"BlValue2", &SPriceProperty::BlValue2, nullptr},
};

// Every key of the record in archive order; Rec is const when storing.
template <class Io, class Rec>
void ExchangeKeys(Io& io, Rec& r, const SPriceProperty& d) {
  io.Int("BlUse128Scale", r.BlUse128Scale, d.BlUse128Scale);
  const char* const baseLineKeys[4] = {"ShowBaseLine0", "ShowBaseLine1", "ShowBaseLine2", "ShowBaseLine3"};
  for (int j = 0; j < 4; ++j) io.Int(baseLineKeys[j], r.ShowBaseLine[j], d.ShowBaseLine[j]);
  for (int k = 0; k < kPriceChartTypes; ++k) {
    for (const TypeKey& key : kTypeKeys) {
      NumberedKey name(k, key.name);
      if (key.ints) io.Int(name, (r.*key.ints)[k], (d.*key.ints)[k]);
      else io.Str(name, (r.*key.texts)[k], (d.*key.texts)[k]);
    }
  }
  io.Int("MinMaxY", r.MinMaxY, d.MinMaxY);
  io.Dbl("UserMin", r.UserMin, d.UserMin);
  io.Dbl("UserMax", r.UserMax, d.UserMax);
  io.Int("LogY", r.LogY, d.LogY);
  io.Int("InvertY", r.InvertY, d.InvertY);
  io.Int("ShowLH", r.ShowLH, d.ShowLH);
  io.Int("ShowLC", r.ShowLC, d.ShowLC);
  io.Int("ShowHC", r.ShowHC, d.ShowHC);
  io.Int("PriceChartType", r.PriceChartType, d.PriceChartType);
  io.Int("LineStyle", r.LineStyle, d.LineStyle);
  io.Int("LineThick", r.LineThick, d.LineThick);
  io.Int("LineCompare", r.LineCompare, d.LineCompare);
}

}  // namespace

const char* chartcalc::detail::GetPriceChartTypeName(int k) {
  if (k < 0 || k >= kPriceChartTypes) return "";
  return GetText(static_cast<TextId>(TxChartTypeCandle + k));
}
static_assert(TxChartTypeMarketProfile - TxChartTypeCandle == kPriceChartTypes - 1);

SPriceProperty::SPriceProperty() {
  Initializing = 1;
  SetToDefault();
  Initializing = 0;
}

void SPriceProperty::SetToDefault() {
  BlUse128Scale = 0;
  for (int& s : ShowBaseLine) s = 0;
  for (int k = 0; k < kPriceChartTypes; ++k) {
    const TypeDefault& t = kTypeDefaults[k];
    WhiteLineColor[k] = t.whiteColor;
    WhiteLineFill[k] = t.whiteFill;
    BlackLineColor[k] = t.blackColor;
    BlackLineFill[k] = t.blackFill;
    VolumeAtPriceColor[k] = t.volumeAtPrice;
    Name1[k] = GetText(t.name1);
    Value1[k] = t.value1;
    Name2[k] = GetText(t.name2);
    Value2[k] = t.value2;
    Default1[k] = Value1[k];
    Default2[k] = Value2[k];
    BlWhiteLineColor[k] = t.blWhiteColor;
    BlWhiteLineFill[k] = t.blWhiteFill;
    BlBlackLineColor[k] = t.blBlackColor;
    BlBlackLineFill[k] = t.blBlackFill;
    BlVolumeAtPrice[k] = t.blVolumeAtPrice;
    BlVolumeDisp[k] = t.blVolumeDisp;
    BlName1[k] = t.blName1;
    BlValue1[k] = t.blValue1;
    BlName2[k] = t.blName2;
    BlValue2[k] = t.blValue2;
  }
  MinMaxY = 0;
  UserMin = UserMax = 0.0;
  LogY = InvertY = 0;
  ShowLH = 0;
  ShowLC = ShowHC = 1;
  PriceChartType = 0;
  LineStyle = 0;
  LineThick = 1;
  LineCompare = 0;
}

void SPriceProperty::SetDefaultOptionValue(double price) {
  for (const OptionDefault& o : kOptionDefaults) {
    SetOption(Default1[o.type], price, o.factor1, o.text1);
    SetOption(Default2[o.type], price, o.factor2, o.text2);
  }
}

void SPriceProperty::SetValue(double price) {
  Value2[kChartPointFigure] = GetNewTickValue(price * 0.02);
  Value1[kChartSwing] = GetNewTickValue(price * 0.05);
  Value1[kChartKagi] = GetNewTickValue(price * 0.05);
  Value1[kChartRenko] = GetNewTickValue(price * 0.04);
}

int SPriceProperty::CompStyle(const SPriceProperty& o) const {
  for (int k = 0; k < kPriceChartTypes; ++k) {
    if (WhiteLineColor[k] != o.WhiteLineColor[k] || WhiteLineFill[k] != o.WhiteLineFill[k] ||
        BlackLineColor[k] != o.BlackLineColor[k] || BlackLineFill[k] != o.BlackLineFill[k])
      return 0;
  }
  return 1;
}

void SPriceProperty::AssignStyle(const SPriceProperty& o) {
  for (int k = 0; k < kPriceChartTypes; ++k) {
    WhiteLineColor[k] = o.WhiteLineColor[k];
    WhiteLineFill[k] = o.WhiteLineFill[k];
    BlackLineColor[k] = o.BlackLineColor[k];
    BlackLineFill[k] = o.BlackLineFill[k];
  }
}

void SPriceProperty::Load(CFBArchive& archive, int index) {
  const SPriceProperty d;
  SetArchiveCategory(archive, "PriceProperty", index);
  ArchiveLoad io(archive);
  ExchangeKeys(io, *this, d);
}

void SPriceProperty::Store(CFBArchive& archive, int index) const {
  const SPriceProperty d;
  SetArchiveCategory(archive, "PriceProperty", index);
  ArchiveStore io(archive);
  ExchangeKeys(io, *this, d);
}
