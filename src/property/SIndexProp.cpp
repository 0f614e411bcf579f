// The indicator display record: defaults, key lookup and its keys in the
// keyed archive.
#include "chartcalc/SIndexProp.h"

#include <strings.h>

#include <cstdio>
#include <iterator>
#include <string>
#include <variant>

#include "chartcalc/CFBArchive.h"

using namespace chartcalc::detail;

namespace {

// Default line colours (red + 256 * green + 65536 * blue), one per line;
// trading systems and bullish/bearish patterns colour their signal lines
// apart.
constexpr int kLineColors[kIndexLines] = {0xFF0000, 0xD800FF, 0x3300FF, 0x2F8E00, 0x64141B};
constexpr int kSystemLineColors[] = {0x0000FF, 0xFF0000, 0xFF0000, 0x0000FF};
constexpr int kPatternLineColors[] = {0xFFCCFF, 0xFFECCC};
constexpr int kLineUpColor = 0xFF00FF;
constexpr int kLineDnColor = 0xFFCC00;
constexpr int kSystemType = 3;
constexpr int kPatternType = 2;
// The scale mode whose bounds the user set; only then are they stored.
constexpr int kUserScale = 2;

using RecordField = std::variant<int SIndexProp::*, double SIndexProp::*, SString SIndexProp::*>;
using LineField = std::variant<int (SIndexProp::*)[kIndexLines], SString (SIndexProp::*)[kIndexLines]>;

struct RecordKey {
  const char* key;
  RecordField field;
  bool userScaleOnly;  // written only when MinMaxY is the user scale
};

// The record's own keys, in stored order.
const RecordKey kRecordKeys[] = {
    {"ChartPeriod", &SIndexProp::ChartPeriod, false},
    {"ChartCycle", &SIndexProp::ChartCycle, false},
    {"UserID", &SIndexProp::UserID, false},
    {"SymbolID", &SIndexProp::SymbolID, false},
    {"ShareIndex", &SIndexProp::ShareIndex, false},
    {"BlMovable", &SIndexProp::BlMovable, false},
    {"BlDeleble", &SIndexProp::BlDeleble, false},
    {"BlPopupDlg", &SIndexProp::BlPopupDlg, false},
    {"ChartNo", &SIndexProp::ChartNo, false},
    {"IndexName", &SIndexProp::IndexName, false},
    {"YValueColor", &SIndexProp::YValueColor, false},
    {"YValueStyle", &SIndexProp::YValueStyle, false},
    {"YValueWidth", &SIndexProp::YValueWidth, false},
    {"MinMaxY", &SIndexProp::MinMaxY, false},
    {"UserMax", &SIndexProp::UserMax, true},
    {"UserMin", &SIndexProp::UserMin, true},
    {"InvertY", &SIndexProp::InvertY, false},
    {"LogY", &SIndexProp::LogY, false},
    {"IndexType", &SIndexProp::IndexType, false},
    {"YScaleType", &SIndexProp::YScaleType, false},
    {"YAxisCount", &SIndexProp::YAxisCount, false},
    {"YAxisUnitSize", &SIndexProp::YAxisUnitSize, false},
    {"YAxisUnitText", &SIndexProp::YAxisUnitText, false},
    {"YAxisPrecision", &SIndexProp::YAxisPrecision, false},
    {"YAxisUseComma", &SIndexProp::YAxisUseComma, false},
    {"BlShow", &SIndexProp::BlShow, false},
    {"BlShowLegend", &SIndexProp::BlShowLegend, false},
    {"RealUpdateType", &SIndexProp::RealUpdateType, false},
    {"ExtID", &SIndexProp::ExtID, false},
};

struct LineKey {
  const char* key;  // after the "<line>." prefix
  LineField field;
};

// The keys of each line k, stored as "<k>.<key>", in stored order.
const LineKey kLineKeys[] = {
    {"BlShowLine", &SIndexProp::ShowLine},
    {"Shape", &SIndexProp::Shape},
    {"DisplayType", &SIndexProp::LineType},
    {"LineColor", &SIndexProp::LineColor},
    {"LineStyle", &SIndexProp::LineStyle},
    {"LineWidth", &SIndexProp::LineWidth},
    {"LineUpColor", &SIndexProp::LineUpColor},
    {"LineDnColor", &SIndexProp::LineDnColor},
    {"LineUpValue", &SIndexProp::LineUpValue},
    {"LineDnValue", &SIndexProp::LineDnValue},
    {"LineCompMethod", &SIndexProp::LineCompMethod},
    {"YValue", &SIndexProp::YValue},
};

// The keys stored after the lines.
const RecordKey kTrailingKeys[] = {
    {"ExtData", &SIndexProp::ExtData, false},
    {"DRAWLV", &SIndexProp::DRAWLV, false},
};

// The values every missing key falls back to.
const SIndexProp& DefaultRecord() {
  static const SIndexProp record("", -1);
  return record;
}

std::string Category(int index) {
  if (index == -1) return "Index";
  char buf[32];
  std::snprintf(buf, sizeof buf, "Index%d", index);
  return buf;
}

std::string NumberedKey(int k, const char* key) {
  char buf[64];
  std::snprintf(buf, sizeof buf, "%d.%s", k, key);
  return buf;
}

// Archive access by value type, so that one visit serves every field.
void Put(CFBArchive& ar, const char* key, int v, int d) { ar.SetInt(key, v, d); }
void Put(CFBArchive& ar, const char* key, double v, double d) { ar.SetDbl(key, v, d); }
void Put(CFBArchive& ar, const char* key, const SString& v, const SString& d) { ar.SetStr(key, v.c_str(), d.c_str()); }
void Get(CFBArchive& ar, const char* key, int& v, int d) { v = ar.GetInt(key, d); }
void Get(CFBArchive& ar, const char* key, double& v, double d) { v = ar.GetDbl(key, d); }
void Get(CFBArchive& ar, const char* key, SString& v, const SString& d) { v = ar.GetStr(key, d.c_str()); }

void StoreKeys(CFBArchive& ar, const SIndexProp& r, const RecordKey* keys, size_t n) {
  const SIndexProp& d = DefaultRecord();
  for (size_t i = 0; i < n; ++i) {
    if (keys[i].userScaleOnly && r.MinMaxY != kUserScale) continue;
    std::visit([&](auto field) { Put(ar, keys[i].key, r.*field, d.*field); }, keys[i].field);
  }
}

void LoadKeys(CFBArchive& ar, SIndexProp& r, const RecordKey* keys, size_t n) {
  const SIndexProp& d = DefaultRecord();
  for (size_t i = 0; i < n; ++i)
    std::visit([&](auto field) { Get(ar, keys[i].key, r.*field, d.*field); }, keys[i].field);
}

}  // namespace

SIndexProp::SIndexProp(const char* name, int indexType) : IndexName(name), IndexType(indexType) { SetToDefault(); }

SIndexProp::~SIndexProp() = default;

void SIndexProp::SetToDefault() {
  ChartPeriod = 2;
  ChartCycle = 1.0;
  ChartNo = -1;
  PriceList = nullptr;
  SymbolID = 0;
  for (int k = 0; k < kIndexVars; ++k) VarName[k] = VarValue[k] = VarStart[k] = VarEnd[k] = VarIncrement[k] = "";
  for (int k = 0; k < kIndexLines; ++k) {
    ShowLine[k] = 1;
    Shape[k] = 0;
    ExpName[k] = Expression[k] = "";
    LineType[k] = 0;
    LineColor[k] = kLineColors[k];
    LineStyle[k] = 0;
    LineWidth[k] = 1;
    LineUpColor[k] = kLineUpColor;
    LineDnColor[k] = kLineDnColor;
    LineUpValue[k] = LineDnValue[k] = YValue[k] = "";
    LineCompMethod[k] = 0;
  }
  if (IndexType == kSystemType)
    for (int k = 0; k < 4; ++k) LineColor[k] = kSystemLineColors[k];
  if (IndexType == kPatternType)
    for (int k = 0; k < 2; ++k) LineColor[k] = kPatternLineColors[k];
  YValueColor = 0;
  YValueStyle = 0;
  YValueWidth = 1;
  MinMaxY = 0;
  UserMax = UserMin = 0.0;
  InvertY = LogY = 0;
  Description = Password = "";
  BlShow = BlShowLegend = 1;
  YAxisUnitText = "";
  YAxisPrecision = 0;
  YAxisUseComma = 1;
  YAxisUnitSize = 1;
  RealUpdateType = 0;
  YScaleType = 0;
  YAxisCount = 0;
  ExtID = -1;
  ExtInt = 0;
  ExtDbl = 0.0;
  ExtData = "";
  DRAWLV = 0;
}

int SIndexProp::FindRealKey(const char* key) {
  if (!key) return -1;
  for (long i = 0; i < RealKeys.Count(); ++i)
    if (strcasecmp(RealKeys[i].c_str(), key) == 0) return static_cast<int>(i);
  return -1;
}

void SIndexProp::Store(CFBArchive& ar, int index) {
  const SIndexProp& d = DefaultRecord();
  ar.SetCategory(Category(index).c_str());
  StoreKeys(ar, *this, kRecordKeys, std::size(kRecordKeys));
  for (int k = 0; k < kIndexVars; ++k)
    ar.SetStr(NumberedKey(k, "VarValue").c_str(), VarValue[k].c_str(), d.VarValue[k].c_str());
  for (int k = 0; k < kIndexLines; ++k)
    for (const LineKey& key : kLineKeys)
      std::visit([&](auto field) { Put(ar, NumberedKey(k, key.key).c_str(), (this->*field)[k], (d.*field)[k]); },
                 key.field);
  StoreKeys(ar, *this, kTrailingKeys, std::size(kTrailingKeys));
}

void SIndexProp::Load(CFBArchive& ar, int index) {
  const SIndexProp& d = DefaultRecord();
  ar.SetCategory(Category(index).c_str());
  LoadKeys(ar, *this, kRecordKeys, std::size(kRecordKeys));
  for (int k = 0; k < kIndexVars; ++k)
    VarValue[k] = ar.GetStr(NumberedKey(k, "VarValue").c_str(), d.VarValue[k].c_str());
  for (int k = 0; k < kIndexLines; ++k)
    for (const LineKey& key : kLineKeys)
      std::visit([&](auto field) { Get(ar, NumberedKey(k, key.key).c_str(), (this->*field)[k], (d.*field)[k]); },
                 key.field);
  LoadKeys(ar, *this, kTrailingKeys, std::size(kTrailingKeys));
}
