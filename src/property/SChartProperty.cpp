// The chart-wide display record and the pane layout record: defaults, the
// style comparison and their keys in the keyed archive.
#include "chartcalc/SChartProperty.h"

#include <variant>

#include "chartcalc/CFBArchive.h"
#include "core/FontMetrics.h"
#include "core/TextTable.h"
#include "property/ArchiveKeys.h"

using namespace chartcalc::detail;

namespace {

constexpr const char* kChartPropertyCategory = "ChartProperty";
constexpr const char* kChartCategory = "Chart";
constexpr int kLabelWidth = 60;
constexpr int kExtIntDefault = 1;
// Tenths of a point per point, and the Korean character set the base font
// is created with.
constexpr int kTenthsPerPoint = 10;
constexpr int kKoreanCharset = 129;

// How a default is found: a fixed value, a value that an embedded chart
// (IntChart non-zero) gets instead of 0, or the base font of the language.
struct Fixed {
  double number;
  const char* text;
};
struct Embedded {
  int value;
};
struct LanguageFont {};
using Default = std::variant<Fixed, Embedded, LanguageFont>;

using Field = std::variant<int SChartProperty::*, double SChartProperty::*, SString SChartProperty::*>;

struct Row {
  const char* key;
  Field field;
  Default dflt;
  bool style;  // compared by CompStyle
};

constexpr Fixed N(double v) { return {v, ""}; }
constexpr Fixed S(const char* t) { return {0.0, t}; }

using P = SChartProperty;

// Every persisted field in stored order with its default. Colours are
// red + 256 * green + 65536 * blue.
// clang-format off
const Row kRows[] = {
    {"ShowLeftLabel", &P::ShowLeftLabel, N(1), true},
    {"ShowRightLabel", &P::ShowRightLabel, N(1), true},
    {"ShowXAxis", &P::ShowXAxis, N(1), true},
    {"RightLabelWidth", &P::RightLabelWidth, N(kLabelWidth), true},
    {"LeftLabelWidth", &P::LeftLabelWidth, N(kLabelWidth), true},
    {"BlMinMaxPrice", &P::BlMinMaxPrice, N(0), true},
    {"BlBarsInFront", &P::BlBarsInFront, N(1), true},
    {"BarsToRight", &P::BarsToRight, N(2), true},
    {"BarsToRightPixel", &P::BarsToRightPixel, N(40), true},
    {"UseCorrectedPrice", &P::UseCorrectedPrice, N(1), true},
    {"ShowCorrectedPrice", &P::ShowCorrectedPrice, N(1), true},
    {"ShowCrossLineOnClick", &P::ShowCrossLineOnClick, N(0), true},
    {"ShowCrossLineAlways", &P::ShowCrossLineAlways, N(1), true},
    {"ShowMinMaxPrice", &P::ShowMinMaxPrice, N(1), true},
    {"ShowIndexTitle", &P::ShowIndexTitle, N(1), true},
    {"ShowIndexValue", &P::ShowIndexValue, N(0), true},
    {"ShowLastClose", &P::ShowLastClose, N(1), true},
    {"ShowLastCloseFluct", &P::ShowLastCloseFluct, N(1), true},
    {"LastCloseType", &P::LastCloseType, N(0), false},
    {"LastCloseChangeType", &P::LastCloseChangeType, N(0), false},
    {"BlLastCloseLine", &P::BlLastCloseLine, N(0), true},
    {"ChartBackgroundColor", &P::ChartBackgroundColor, N(0xFFFFFF), true},
    {"CrossLineColor", &P::CrossLineColor, N(0x0000FF), true},
    {"ChartBorderColor", &P::ChartBorderColor, N(0x999999), true},
    {"AxisBackgroundColor", &P::AxisBackgroundColor, N(0xFFFFFF), true},
    {"AxisFontColor", &P::AxisFontColor, N(0x000000), true},
    {"AxisFontSize", &P::AxisFontSize, N(9), true},
    {"AxisColor", &P::AxisColor, N(0x7B7B7B), true},
    {"LastPriceFontColor", &P::LastPriceFontColor, N(0xFFFFFF), true},
    {"BaseFontName", &P::BaseFontName, LanguageFont{}, true},
    {"BaseFontColor", &P::BaseFontColor, N(0x000000), true},
    {"BaseFontSize", &P::BaseFontSize, N(9), true},
    {"GridStyle", &P::GridStyle, N(0), true},
    {"GridWidth", &P::GridWidth, N(1), true},
    {"GridColor", &P::GridColor, N(0x000000), true},
    {"GridLineExtend", &P::GridLineExtend, N(0), true},
    {"VGridVisible", &P::VGridVisible, N(1), true},
    {"VGridColor", &P::VGridColor, N(0xD6D7D6), true},
    {"VGridStyle", &P::VGridStyle, N(7), true},
    {"VGridWidth", &P::VGridWidth, N(1), true},
    {"HGridVisible", &P::HGridVisible, N(1), true},
    {"HGridColor", &P::HGridColor, N(0xD6D7D6), true},
    {"HGridStyle", &P::HGridStyle, N(7), true},
    {"HGridWidth", &P::HGridWidth, N(1), true},
    {"DisplayDataSize", &P::DisplayDataSize, N(120), false},
    {"DisplayDataType", &P::DisplayDataType, N(0), false},
    {"ShowPercentChart", &P::ShowPercentChart, N(0), true},
    {"BorderLineColor", &P::BorderLineColor, N(0xD6D7D6), true},
    {"BorderLineStyle", &P::BorderLineStyle, N(0), true},
    {"BorderLineThick", &P::BorderLineThick, N(1), true},
    {"XAxisTimeFormat", &P::XAxisTimeFormat, S(""), true},
    {"XAxisPrecision", &P::XAxisPrecision, N(0), true},
    {"XAxisUseComma", &P::XAxisUseComma, N(1), true},
    {"XAxisUnitText", &P::XAxisUnitText, S(""), true},
    {"XAxisLabelPosType", &P::XAxisLabelPosType, N(0), true},
    {"XAxisTextDirection", &P::XAxisTextDirection, N(0), true},
    {"XAxisDivideType", &P::XAxisDivideType, N(0), false},
    {"XAxisDivideValue", &P::XAxisDivideValue, N(1.0), false},
    {"ScrollBarVisible", &P::ScrollBarVisible, Embedded{1}, true},
    {"ZoomSliderVisible", &P::ZoomSliderVisible, Embedded{1}, true},
    {"ToolButtonVisible", &P::ToolButtonVisible, Embedded{1}, true},
    {"BlShowDataTrack", &P::BlShowDataTrack, N(0), true},
    {"BlShowDataGrid", &P::BlShowDataGrid, N(0), true},
    {"ButtonVisible", &P::ButtonVisible, S(""), false},
    {"LScaleDigitCnt", &P::LScaleDigitCnt, N(11), true},
    {"RScaleDigitCnt", &P::RScaleDigitCnt, N(11), true},
    {"BlShowToolBar", &P::BlShowToolBar, N(0), true},
    {"DataTrackMode", &P::DataTrackMode, N(0), false},
    {"PopupMenuType", &P::PopupMenuType, Embedded{2}, false},
    {"DaySepColor", &P::DaySepColor, N(0x0000FF), true},
    {"DaySepStyle", &P::DaySepStyle, N(7), true},
    {"DaySepVisible", &P::DaySepVisible, N(1), true},
    {"LabelColor", &P::LabelColor, N(0xD6D7D6), true},
    {"CandleAdjust", &P::CandleAdjust, N(1), false},
    {"PropertyStyle", &P::PropertyStyle, N(1), false},
    {"LegendType", &P::LegendType, N(0), true},
    {"ToolTipMode", &P::ToolTipMode, N(1), false},
    {"BlVerboseIndex", &P::BlVerboseIndex, N(1), false},
    {"BlFillCroud", &P::BlFillCroud, N(1), true},
    {"FillCroudMethod", &P::FillCroudMethod, N(0), true},
    {"BlFillHistogram", &P::BlFillHistogram, N(1), true},
    {"FooterType", &P::FooterType, N(0), false},
    {"Align", &P::Align, N(0), true},
    {"BarSpacing", &P::BarSpacing, N(6.0), false},
    {"BlUseAutoTrendLine", &P::BlUseAutoTrendLine, N(0), false},
    {"BlShowSRLineSetting", &P::BlShowSRLineSetting, N(0), false},
    {"BlSaveLastSetting", &P::BlSaveLastSetting, N(0), false},
    {"BaseValueType", &P::BaseValueType, N(4), false},
    {"BarInterval", &P::BarInterval, N(1), false},
    {"BlEnableDragZoom", &P::BlEnableDragZoom, N(1), false},
    // The gap ratio was a single-precision setting; its default keeps that
    // value widened, so archives written before compare equal.
    {"PriceChartGapRatio", &P::PriceChartGapRatio, N(static_cast<double>(0.02f)), false},
    {"ChartLabelShowCnt", &P::ChartLabelShowCnt, N(16), false},
};
// clang-format on

// A default as the value of each field type, for a record with the given
// IntChart.
struct DefaultValue {
  const Default& dflt;
  int intChart;

  double Number() const {
    if (const auto* e = std::get_if<Embedded>(&dflt)) return intChart != 0 ? e->value : 0;
    if (const auto* f = std::get_if<Fixed>(&dflt)) return f->number;
    return 0.0;
  }
  SString Text() const {
    if (std::holds_alternative<LanguageFont>(dflt)) return GetText(TxBaseFontName);
    if (const auto* f = std::get_if<Fixed>(&dflt)) return f->text;
    return "";
  }
  void To(int& v) const { v = static_cast<int>(Number()); }
  void To(double& v) const { v = Number(); }
  void To(SString& v) const { v = Text(); }
};

// Calls fn(key, field reference, default of the same type) for every row, in
// stored order.
template <class Record, class Fn>
void ForEachRow(Record& r, Fn&& fn) {
  for (const Row& row : kRows) {
    std::visit(
        [&](auto member) {
          auto& value = r.*member;
          std::remove_cvref_t<decltype(value)> dflt{};
          DefaultValue{row.dflt, r.IntChart}.To(dflt);
          fn(row.key, value, dflt);
        },
        row.field);
  }
}

// Walks every row with an archive direction (ArchiveLoad or ArchiveStore).
template <class Record, class Direction>
void Walk(Record& r, Direction&& dir) {
  ForEachRow(r, [&](const char* key, auto& value, const auto& dflt) {
    using T = std::remove_cvref_t<decltype(value)>;
    if constexpr (std::is_same_v<T, int>) dir.Int(key, value, dflt);
    if constexpr (std::is_same_v<T, double>) dir.Dbl(key, value, dflt);
    if constexpr (std::is_same_v<T, SString>) dir.Str(key, value, dflt);
  });
}

}  // namespace

SChartProperty::SChartProperty() : SChartProperty(0) {}

SChartProperty::SChartProperty(int intChart) : IntChart(intChart) { SetToDefault(); }

void SChartProperty::SetToDefault() {
  ForEachRow(*this, [](const char*, auto& value, const auto& dflt) { value = dflt; });
  ExtInt = kExtIntDefault;
  CalcFontMetric();
}

void SChartProperty::SetLabelWidth() { RightLabelWidth = LeftLabelWidth = kLabelWidth; }

void SChartProperty::SetIntChart(int value, int reset) {
  IntChart = value;
  if (reset != 0) SetToDefault();
}

int SChartProperty::CompStyle(const SChartProperty& other) const {
  for (const Row& row : kRows) {
    if (!row.style) continue;
    const bool same = std::visit([&](auto member) { return this->*member == other.*member; }, row.field);
    if (!same) return 0;
  }
  return 1;
}

void SChartProperty::CalcFontMetric() {
  FontMetric = MeasureFont(BaseFontName, BaseFontSize * kTenthsPerPoint, kKoreanCharset);
}

void SChartProperty::Load(CFBArchive& ar) {
  ar.SetCategory(kChartPropertyCategory);
  Walk(*this, ArchiveLoad(ar));
  CalcFontMetric();
}

void SChartProperty::Store(CFBArchive& ar) {
  ar.SetCategory(kChartPropertyCategory);
  Walk(*this, ArchiveStore(ar));
}

namespace {

// The pane record's keys in stored order; defaults are a default-constructed
// record's values.
template <class Direction>
void WalkPane(SChartProp& r, Direction&& dir) {
  static const SChartProp d;
  dir.Int("ChartID", r.ChartID, d.ChartID);
  dir.Dbl("WidthRatio", r.WidthRatio, d.WidthRatio);
  dir.Dbl("HeightRatio", r.HeightRatio, d.HeightRatio);
  dir.Int("LeftLabelIndex", r.LeftLabelIndex, d.LeftLabelIndex);
  dir.Int("RightLabelIndex", r.RightLabelIndex, d.RightLabelIndex);
  dir.Str("ChartName", r.ChartName, d.ChartName);
  dir.Int("BlDeleble", r.BlDeleble, d.BlDeleble);
  dir.Int("BlShowUnit", r.BlShowUnit, d.BlShowUnit);
  dir.Int("BlShow", r.BlShow, d.BlShow);
}

}  // namespace

SChartProp::~SChartProp() = default;

void SChartProp::Load(CFBArchive& ar, int index) {
  SetArchiveCategory(ar, kChartCategory, index);
  WalkPane(*this, ArchiveLoad(ar));
}

void SChartProp::Store(CFBArchive& ar, int index) {
  SetArchiveCategory(ar, kChartCategory, index);
  WalkPane(*this, ArchiveStore(ar));
}
