// SIndex: construction, copying, binding, setters and line data.
#include "chartcalc/SIndex.h"

#include <cstdint>

#include "chartcalc/SFunction.h"
#include "index/LiveLines.h"

using namespace chartcalc::detail;

namespace {

bool ValidLine(int line) { return line >= 0 && line < kIndexLines; }

// Colours travel as unsigned long through the setters and are kept as the
// 32-bit int the archive and the definition records store.
int ColorValue(unsigned long color) { return static_cast<int>(static_cast<uint32_t>(color)); }

constexpr int kScaleModes = 4;  // scale modes 0-3

}  // namespace

SIndex::SIndex() : SIndex("", kIndexIndicator) {}

SIndex::SIndex(const char* name, int type) : SIndexProp(name, type) { SetDefaultValue(); }

SIndex::SIndex(const SIndex& other) : SIndexProp(other) { CopyFrom(other); }

SIndex& SIndex::operator=(const SIndex& other) {
  if (this == &other) return *this;
  SIndexProp::operator=(other);
  CopyFrom(other);
  return *this;
}

SIndex::~SIndex() = default;

// Everything but the base record: the engine by its own assignment, the
// bindings as pointers (the bound objects are shared, never owned), and a
// copy of each owned function list.
void SIndex::CopyFrom(const SIndex& other) {
  live_.reset();
  Engine = other.Engine;
  Period = other.Period;
  for (int k = 0; k < kIndexLines; ++k) {
    CalcStart[k] = other.CalcStart[k];
    CalcState[k] = other.CalcState[k];
  }
  UsePreProcess = other.UsePreProcess;
  MinMaxChanged = other.MinMaxChanged;
  for (int k = 0; k < kPriceSlots; ++k) PriceSeries[k] = other.PriceSeries[k];
  FunctionList = other.FunctionList;
  FunctionHistory = other.FunctionHistory;
  CandleList = other.CandleList;
  LastError = other.LastError;
  OwnFunctionLists.reset();
  if (other.OwnFunctionLists) {
    OwnFunctionLists = std::make_unique<SFunctionList[]>(kIndexOwnFunctionLists);
    for (int k = 0; k < kIndexOwnFunctionLists; ++k) OwnFunctionLists[k] = other.OwnFunctionLists[k];
  }
}

void SIndex::SetDefaultValue() {
  SetToDefault();
  MinMaxChanged = 1;
  FunctionList = nullptr;
  CandleList = nullptr;
  UsePreProcess = 1;
  for (int k = 0; k < kIndexLines; ++k) CalcStart[k] = CalcState[k] = -1;
  live_.reset();
  ShareIndex = -1;
}

void SIndex::SetVariable(SVector& close, SVector& open, SVector& high, SVector& low, SVector& volume,
                         SVector& dateTime, SVector& openInterest, SVector& amount, SVector& spread) {
  SVector* series[kPriceSlots] = {&close, &open, &high, &low, &volume, &dateTime, &openInterest, &amount, &spread};
  for (int k = 0; k < kPriceSlots; ++k) PriceSeries[k] = series[k];
}

void SIndex::SetExpression(int line, const char* text) {
  if (ValidLine(line)) Expression[line] = text;
}

void SIndex::SetExpName(int line, const char* text) {
  if (ValidLine(line)) ExpName[line] = text;
}

void SIndex::SetLineStyle(int line, int lineType, unsigned long color, int width, int style) {
  if (!ValidLine(line)) return;
  LineType[line] = lineType;
  LineColor[line] = ColorValue(color);
  LineWidth[line] = width;
  LineStyle[line] = style;
}

void SIndex::SetLineCompStyle(int line, unsigned long upColor, unsigned long dnColor, const char* upValue,
                              const char* dnValue, int method) {
  if (!ValidLine(line)) return;
  LineUpColor[line] = ColorValue(upColor);
  LineDnColor[line] = ColorValue(dnColor);
  LineUpValue[line] = upValue;
  LineDnValue[line] = dnValue;
  LineCompMethod[line] = method;
}

void SIndex::SetBaseLineValue(int line, double value) {
  if (ValidLine(line)) YValue[line] = value;  // the string's "%g"
}

void SIndex::SetBaseLineStyle(unsigned long color, int width, int style) {
  YValueColor = ColorValue(color);
  YValueWidth = width;
  YValueStyle = style;
}

void SIndex::SetScale(int mode) { MinMaxY = mode >= 0 && mode < kScaleModes ? mode : 0; }

void SIndex::SetUserMinMax(double min, double max) {
  UserMin = min;
  UserMax = max;
}

void SIndex::SetShape(int line, int shape) {
  if (ValidLine(line)) Shape[line] = shape;
}

void SIndex::AddData(int line, double value) {
  if (ValidLine(line)) LineData[line].Add(value);
}

void SIndex::UpdateData(int line, double value) {
  if (ValidLine(line)) LineData[line].Update(value, 0);
}

void SIndex::ClearData() {
  live_.reset();
  for (SVector& line : LineData) line.ClearData();
  OwnDate.ClearData();
  RealKeys.Clear();
  RealTexts.Clear();
}
