// The chart display records: defaults of plain and embedded charts, the
// style comparison, every archive key both ways, and the base-font metrics
// with the machine's fonts, with a host's source and with no font at all.
#include <atomic>
#include <thread>
#include <variant>
#include <vector>

#include "calc/CalcTestUtil.h"
#include "core/FontMetrics.h"

namespace {

using CP = SChartProperty;
using chartcalc::FontMetricSource;
using chartcalc::TextMetrics;
using Field = std::variant<int CP::*, double CP::*, SString CP::*>;

struct KeyRow {
  const char* key;
  Field field;
  double number;     // default of an int or double field
  const char* text;  // default of a text field
};

// Every archive key with its member and its default, written out from the
// settings table by hand so that a slip in the record's own table shows.
// The four defaults of an embedded chart are those of a plain one here.
// clang-format off
const KeyRow kKeys[] = {
    {"ShowLeftLabel", &CP::ShowLeftLabel, 1, ""}, {"ShowRightLabel", &CP::ShowRightLabel, 1, ""},
    {"ShowXAxis", &CP::ShowXAxis, 1, ""}, {"RightLabelWidth", &CP::RightLabelWidth, 60, ""},
    {"LeftLabelWidth", &CP::LeftLabelWidth, 60, ""}, {"BlMinMaxPrice", &CP::BlMinMaxPrice, 0, ""},
    {"BlBarsInFront", &CP::BlBarsInFront, 1, ""}, {"BarsToRight", &CP::BarsToRight, 2, ""},
    {"BarsToRightPixel", &CP::BarsToRightPixel, 40, ""}, {"UseCorrectedPrice", &CP::UseCorrectedPrice, 1, ""},
    {"ShowCorrectedPrice", &CP::ShowCorrectedPrice, 1, ""},
    {"ShowCrossLineOnClick", &CP::ShowCrossLineOnClick, 0, ""},
    {"ShowCrossLineAlways", &CP::ShowCrossLineAlways, 1, ""}, {"ShowMinMaxPrice", &CP::ShowMinMaxPrice, 1, ""},
    {"ShowIndexTitle", &CP::ShowIndexTitle, 1, ""}, {"ShowIndexValue", &CP::ShowIndexValue, 0, ""},
    {"ShowLastClose", &CP::ShowLastClose, 1, ""}, {"ShowLastCloseFluct", &CP::ShowLastCloseFluct, 1, ""},
    {"LastCloseType", &CP::LastCloseType, 0, ""}, {"LastCloseChangeType", &CP::LastCloseChangeType, 0, ""},
    {"BlLastCloseLine", &CP::BlLastCloseLine, 0, ""},
    {"ChartBackgroundColor", &CP::ChartBackgroundColor, 0xFFFFFF, ""},
    {"CrossLineColor", &CP::CrossLineColor, 0x0000FF, ""}, {"ChartBorderColor", &CP::ChartBorderColor, 0x999999, ""},
    {"AxisBackgroundColor", &CP::AxisBackgroundColor, 0xFFFFFF, ""},
    {"AxisFontColor", &CP::AxisFontColor, 0, ""}, {"AxisFontSize", &CP::AxisFontSize, 9, ""},
    {"AxisColor", &CP::AxisColor, 0x7B7B7B, ""}, {"LastPriceFontColor", &CP::LastPriceFontColor, 0xFFFFFF, ""},
    {"BaseFontName", &CP::BaseFontName, 0, "Arial"}, {"BaseFontColor", &CP::BaseFontColor, 0, ""},
    {"BaseFontSize", &CP::BaseFontSize, 9, ""}, {"GridStyle", &CP::GridStyle, 0, ""},
    {"GridWidth", &CP::GridWidth, 1, ""}, {"GridColor", &CP::GridColor, 0, ""},
    {"GridLineExtend", &CP::GridLineExtend, 0, ""}, {"VGridVisible", &CP::VGridVisible, 1, ""},
    {"VGridColor", &CP::VGridColor, 0xD6D7D6, ""}, {"VGridStyle", &CP::VGridStyle, 7, ""},
    {"VGridWidth", &CP::VGridWidth, 1, ""}, {"HGridVisible", &CP::HGridVisible, 1, ""},
    {"HGridColor", &CP::HGridColor, 0xD6D7D6, ""}, {"HGridStyle", &CP::HGridStyle, 7, ""},
    {"HGridWidth", &CP::HGridWidth, 1, ""}, {"DisplayDataSize", &CP::DisplayDataSize, 120, ""},
    {"DisplayDataType", &CP::DisplayDataType, 0, ""}, {"ShowPercentChart", &CP::ShowPercentChart, 0, ""},
    {"BorderLineColor", &CP::BorderLineColor, 0xD6D7D6, ""}, {"BorderLineStyle", &CP::BorderLineStyle, 0, ""},
    {"BorderLineThick", &CP::BorderLineThick, 1, ""}, {"XAxisTimeFormat", &CP::XAxisTimeFormat, 0, ""},
    {"XAxisPrecision", &CP::XAxisPrecision, 0, ""}, {"XAxisUseComma", &CP::XAxisUseComma, 1, ""},
    {"XAxisUnitText", &CP::XAxisUnitText, 0, ""}, {"XAxisLabelPosType", &CP::XAxisLabelPosType, 0, ""},
    {"XAxisTextDirection", &CP::XAxisTextDirection, 0, ""}, {"XAxisDivideType", &CP::XAxisDivideType, 0, ""},
    {"XAxisDivideValue", &CP::XAxisDivideValue, 1.0, ""}, {"ScrollBarVisible", &CP::ScrollBarVisible, 0, ""},
    {"ZoomSliderVisible", &CP::ZoomSliderVisible, 0, ""}, {"ToolButtonVisible", &CP::ToolButtonVisible, 0, ""},
    {"BlShowDataTrack", &CP::BlShowDataTrack, 0, ""}, {"BlShowDataGrid", &CP::BlShowDataGrid, 0, ""},
    {"ButtonVisible", &CP::ButtonVisible, 0, ""}, {"LScaleDigitCnt", &CP::LScaleDigitCnt, 11, ""},
    {"RScaleDigitCnt", &CP::RScaleDigitCnt, 11, ""}, {"BlShowToolBar", &CP::BlShowToolBar, 0, ""},
    {"DataTrackMode", &CP::DataTrackMode, 0, ""}, {"PopupMenuType", &CP::PopupMenuType, 0, ""},
    {"DaySepColor", &CP::DaySepColor, 0x0000FF, ""}, {"DaySepStyle", &CP::DaySepStyle, 7, ""},
    {"DaySepVisible", &CP::DaySepVisible, 1, ""}, {"LabelColor", &CP::LabelColor, 0xD6D7D6, ""},
    {"CandleAdjust", &CP::CandleAdjust, 1, ""}, {"PropertyStyle", &CP::PropertyStyle, 1, ""},
    {"LegendType", &CP::LegendType, 0, ""}, {"ToolTipMode", &CP::ToolTipMode, 1, ""},
    {"BlVerboseIndex", &CP::BlVerboseIndex, 1, ""}, {"BlFillCroud", &CP::BlFillCroud, 1, ""},
    {"FillCroudMethod", &CP::FillCroudMethod, 0, ""}, {"BlFillHistogram", &CP::BlFillHistogram, 1, ""},
    {"FooterType", &CP::FooterType, 0, ""}, {"Align", &CP::Align, 0, ""},
    {"BarSpacing", &CP::BarSpacing, 6.0, ""}, {"BlUseAutoTrendLine", &CP::BlUseAutoTrendLine, 0, ""},
    {"BlShowSRLineSetting", &CP::BlShowSRLineSetting, 0, ""}, {"BlSaveLastSetting", &CP::BlSaveLastSetting, 0, ""},
    {"BaseValueType", &CP::BaseValueType, 4, ""}, {"BarInterval", &CP::BarInterval, 1, ""},
    {"BlEnableDragZoom", &CP::BlEnableDragZoom, 1, ""},
    {"PriceChartGapRatio", &CP::PriceChartGapRatio, 0.0199999995529651641845703125, ""},
    {"ChartLabelShowCnt", &CP::ChartLabelShowCnt, 16, ""},
};
// clang-format on

// A value of row i that no other row has and no default equals.
double Modified(size_t i) { return 100000 + 7 * static_cast<double>(i) + (i % 2 ? 0.5 : 0); }

// Values as text, doubles to the last bit (0.02 and 0.02f differ).
std::string Text(int v) { return std::to_string(v); }
std::string Text(const SString& v) { return v.str(); }
std::string Text(double v) {
  char buf[40];
  std::snprintf(buf, sizeof buf, "%.17g", v);
  return buf;
}

// The member of a row in the record and in the archive, as text.
std::string MemberText(const CP& r, const KeyRow& row) {
  return std::visit([&](auto m) { return Text(r.*m); }, row.field);
}

std::string ArchiveText(CFBArchive& ar, const KeyRow& row) {
  if (std::holds_alternative<int CP::*>(row.field)) return Text(ar.GetInt(row.key, -1));
  if (std::holds_alternative<double CP::*>(row.field)) return Text(ar.GetDbl(row.key, -1));
  return ar.GetStr(row.key, "<missing>").str();
}

std::string DefaultText(const KeyRow& row) {
  if (std::holds_alternative<SString CP::*>(row.field)) return row.text;
  if (std::holds_alternative<int CP::*>(row.field)) return Text(static_cast<int>(row.number));
  return Text(row.number);
}

// Writes row i's modified value into the archive (as its field's type).
void PutModified(CFBArchive& ar, const KeyRow& row, size_t i) {
  if (std::holds_alternative<int CP::*>(row.field)) ar.SetInt(row.key, static_cast<int>(Modified(i)));
  if (std::holds_alternative<double CP::*>(row.field)) ar.SetDbl(row.key, Modified(i));
  if (std::holds_alternative<SString CP::*>(row.field)) ar.SetStr(row.key, SString(Modified(i)).c_str());
}

std::string ModifiedText(const KeyRow& row, size_t i) {
  if (std::holds_alternative<int CP::*>(row.field)) return Text(static_cast<int>(Modified(i)));
  if (std::holds_alternative<double CP::*>(row.field)) return Text(Modified(i));
  return SString(Modified(i)).str();
}

// A host's source: fixed metrics, and a count of what it was asked.
struct StubSource : FontMetricSource {
  TextMetrics Measure(const SString& face, int tenths, int charset) override {
    ++calls;
    lastFace = face.str();
    lastTenths = tenths;
    lastCharset = charset;
    TextMetrics m;
    m.Height = tenths / 5;
    m.FaceName = "stub";
    return m;
  }
  std::atomic<int> calls{0};
  std::string lastFace;
  int lastTenths = 0;
  int lastCharset = 0;
};

// Installs a source for one scope and puts the one before back.
struct SourceScope {
  explicit SourceScope(FontMetricSource* s) : before(chartcalc::SetFontMetricSource(s)) {}
  ~SourceScope() { chartcalc::SetFontMetricSource(before); }
  FontMetricSource* before;
};

TEST(ChartProperty, EmbeddedChartGetsScrollZoomToolsAndPopupMenu) {
  struct Case {
    int intChart, scroll, zoom, tool, popup;
  };
  for (const Case& c : {Case{0, 0, 0, 0, 0}, Case{1, 1, 1, 1, 2}, Case{7, 1, 1, 1, 2}}) {
    const CP p(c.intChart);
    SCOPED_TRACE(c.intChart);
    EXPECT_EQ(p.GetIntChart(), c.intChart);
    EXPECT_EQ(std::vector<int>({p.ScrollBarVisible, p.ZoomSliderVisible, p.ToolButtonVisible, p.PopupMenuType}),
              std::vector<int>({c.scroll, c.zoom, c.tool, c.popup}));
  }
  EXPECT_EQ(CP().GetIntChart(), 0);
  EXPECT_EQ(CP().ExtInt, 1);
}

TEST(ChartProperty, SetIntChartResetsFieldsOnlyWhenAsked) {
  CP p;
  p.BarSpacing = 9.5;
  p.RightLabelWidth = 10;
  p.SetIntChart(1, 0);
  EXPECT_EQ(p.GetIntChart(), 1);
  EXPECT_EQ(p.ScrollBarVisible, 0);
  EXPECT_EQ(p.BarSpacing, 9.5);
  p.SetLabelWidth();
  EXPECT_EQ(p.RightLabelWidth, 60);
  p.SetIntChart(1, 1);
  EXPECT_EQ(p.ScrollBarVisible, 1);
  EXPECT_EQ(p.PopupMenuType, 2);
  EXPECT_EQ(p.BarSpacing, 6.0);
}

TEST(ChartProperty, CompStyleComparesOnlyFieldsThatChangeTheLook) {
  struct Case {
    const char* what;
    void (*change)(CP&);
    int same;
  };
  const Case cases[] = {
      {"nothing", [](CP&) {}, 1},
      {"ChartBorderColor", [](CP& p) { p.ChartBorderColor = 1; }, 0},
      {"BarSpacing", [](CP& p) { p.BarSpacing = 7; }, 1},
      {"ShowLastCloseFluct", [](CP& p) { p.ShowLastCloseFluct = 0; }, 0},
      {"LastCloseType", [](CP& p) { p.LastCloseType = 1; }, 1},
      {"BaseFontName", [](CP& p) { p.BaseFontName = "arial"; }, 0},
      {"HGridWidth", [](CP& p) { p.HGridWidth = 2; }, 0},
      {"DisplayDataSize", [](CP& p) { p.DisplayDataSize = 10; }, 1},
      {"XAxisTextDirection", [](CP& p) { p.XAxisTextDirection = 1; }, 0},
      {"XAxisDivideValue", [](CP& p) { p.XAxisDivideValue = 2; }, 1},
      {"ToolButtonVisible", [](CP& p) { p.ToolButtonVisible = 1; }, 0},
      {"PopupMenuType", [](CP& p) { p.PopupMenuType = 2; }, 1},
      {"Align", [](CP& p) { p.Align = 1; }, 0},
      {"FooterType", [](CP& p) { p.FooterType = 1; }, 1},
  };
  for (const Case& c : cases) {
    const CP a;
    CP b;
    c.change(b);
    const CP copy = b;
    EXPECT_EQ(a.CompStyle(b), c.same) << c.what;
    EXPECT_EQ(b.CompStyle(a), c.same) << c.what;
    EXPECT_EQ(copy.CompStyle(b), 1) << c.what;
  }
}

TEST(ChartProperty, DefaultRecordHasEveryDefaultAndStoresOnlyThem) {
  const CP p;
  CFBArchive ar;
  CP(p).Store(ar);
  EXPECT_EQ(ar.GetCategory(), "ChartProperty");
  EXPECT_EQ(ar.GetEntryCount(), static_cast<int>(std::size(kKeys)));
  for (const KeyRow& row : kKeys) {
    EXPECT_EQ(MemberText(p, row), DefaultText(row)) << row.key;
    EXPECT_EQ(ArchiveText(ar, row), DefaultText(row)) << row.key;
  }
}

TEST(ChartProperty, EveryKeyLoadsIntoItsOwnFieldAndStoresBack) {
  CFBArchive in;
  in.SetCategory("ChartProperty");
  for (size_t i = 0; i < std::size(kKeys); ++i) PutModified(in, kKeys[i], i);
  CP p;
  p.Load(in);
  CFBArchive out;
  p.Store(out);
  for (size_t i = 0; i < std::size(kKeys); ++i) {
    EXPECT_EQ(MemberText(p, kKeys[i]), ModifiedText(kKeys[i], i)) << kKeys[i].key;
    EXPECT_EQ(ArchiveText(out, kKeys[i]), ModifiedText(kKeys[i], i)) << kKeys[i].key;
  }
}

TEST(ChartProperty, MissingKeysLeaveTheRecordsOwnDefaults) {
  CFBArchive ar;
  ar.SetCategory("ChartProperty");
  ar.SetInt("BarsToRight", 5);
  ar.SetCategory("Chart");
  ar.SetInt("GridWidth", 3);  // another category: not read
  CP embedded(1);
  embedded.GridWidth = 4;
  embedded.Load(ar);
  EXPECT_EQ(embedded.BarsToRight, 5);
  EXPECT_EQ(embedded.GridWidth, 1);
  EXPECT_EQ(embedded.ScrollBarVisible, 1);
  EXPECT_EQ(embedded.PopupMenuType, 2);
}

TEST(ChartProperty, BaseFontFollowsTheLanguageAtConstruction) {
  const CP english;
  EXPECT_EQ(english.BaseFontName.str(), "Arial");
  LangScope korean(kLangKorean);
  const CP p;
  EXPECT_EQ(p.BaseFontName.str(), "\xB1\xBC\xB8\xB2");  // 굴림 in code page 949
  EXPECT_EQ(english.BaseFontName.str(), "Arial");
  CFBArchive ar;
  CP(p).Store(ar);
  EXPECT_EQ(ar.GetStr("BaseFontName", "").str(), "\xB1\xBC\xB8\xB2");
}

TEST(ChartPane, KeysGoToTheIndexedCategoryAndHostFieldsStayOut) {
  SChartProp pane;
  EXPECT_EQ(pane.WidthRatio, 1.0);
  EXPECT_EQ(pane.BlDeleble, 1);
  EXPECT_EQ(pane.BlShow, 1);
  pane.ChartID = 12;
  pane.HeightRatio = 0.25;
  pane.RightLabelIndex = 3;
  pane.ChartName = "\xC1\xBE\xB0\xA1";
  pane.BlShowUnit = 1;
  pane.IndexCount = 2;
  pane.IndexSlots[99] = 8;
  pane.LayoutValues[14] = 1.5;
  pane.PaneRect = {1, 2, 3, 4};
  CFBArchive ar;
  pane.Store(ar, 3);
  EXPECT_EQ(ar.GetCategory(), "Chart3");
  EXPECT_EQ(ar.GetEntryCount(), 9);

  SChartProp plain;
  plain.ChartID = 5;
  plain.Load(ar, -1);  // "Chart" is not "Chart3"
  EXPECT_EQ(plain.ChartID, 0);
  SChartProp back;
  back.Load(ar, 3);
  EXPECT_EQ(std::vector<double>({double(back.ChartID), back.HeightRatio, double(back.RightLabelIndex),
                                 double(back.BlShowUnit), double(back.IndexCount), back.LayoutValues[14]}),
            std::vector<double>({12, 0.25, 3, 1, 0, 0}));
  EXPECT_EQ(back.ChartName.str(), pane.ChartName.str());

  SChartProp copy;
  copy = pane;
  EXPECT_EQ(copy.IndexSlots[99] + copy.PaneRect.bottom + copy.IndexCount, 8 + 4 + 2);
  EXPECT_EQ(copy.LayoutValues[14], 1.5);
}

TEST(FontMetrics, HostSourceIsAskedOncePerFaceAndSize) {
  StubSource stub;
  SourceScope scope(&stub);
  CP a, b;
  EXPECT_EQ(stub.calls, 1);
  EXPECT_EQ(stub.lastFace + "|" + std::to_string(stub.lastTenths) + "|" + std::to_string(stub.lastCharset),
            "Arial|90|129");
  EXPECT_EQ(a.FontMetric.Height, 18);
  b.BaseFontSize = 12;
  b.CalcFontMetric();
  EXPECT_EQ(stub.lastTenths, 120);
  EXPECT_EQ(b.FontMetric.Height, 24);
  CFBArchive ar;
  b.Store(ar);
  CP loaded;
  loaded.Load(ar);
  EXPECT_EQ(loaded.FontMetric.Height, 24);
  EXPECT_EQ(stub.calls, 2);
}

TEST(FontMetrics, ConcurrentConstructionsMeasureEachFontOnce) {
  StubSource stub;
  SourceScope scope(&stub);
  std::vector<std::thread> threads;
  std::atomic<int> wrong{0};
  for (int t = 0; t < 4; ++t)
    threads.emplace_back([&, t] {
      for (int i = 0; i < 50; ++i) {
        CP p;
        p.BaseFontSize = 8 + (i + t) % 3;
        p.CalcFontMetric();
        if (p.FontMetric.Height != p.BaseFontSize * 2) ++wrong;
      }
    });
  for (auto& th : threads) th.join();
  EXPECT_EQ(wrong, 0);
  EXPECT_EQ(stub.calls, 3);  // 8, 9 and 10 points
}

// The em height at 96 dots per inch is points * 96 / 72, rounded; the
// estimate keeps a device context's invariants.
TEST(FontMetrics, SizeEstimateKeepsTheMetricInvariants) {
  struct Case {
    int tenths, em;
  };
  for (const Case& c : {Case{90, 12}, Case{100, 13}, Case{75, 10}, Case{120, 16}, Case{0, 0}, Case{-50, 0}}) {
    const TextMetrics m = SizeDerivedMetrics(c.tenths, 129);
    SCOPED_TRACE(c.tenths);
    EXPECT_EQ(EmPixels(c.tenths), c.em);
    EXPECT_EQ(m.Ascent + m.Descent, m.Height);
    EXPECT_EQ(m.Height - m.InternalLeading, c.em);
    EXPECT_LE(m.AveCharWidth, m.MaxCharWidth);
    EXPECT_TRUE(m.FaceName.IsEmpty());
  }
  EXPECT_GT(EmPixels(1 << 30), 0);  // a huge size from an archive does not overflow
}

// Needs a Hangul-capable font (fonts-nanum) and a build with font support.
TEST(FontMetrics, InstalledFontGivesPlausibleMetricsForNinePoints) {
  SourceScope own(nullptr);
  LangScope korean(kLangKorean);
  const CP p;
  if (p.FontMetric.FaceName.IsEmpty()) GTEST_SKIP() << "no font could be measured";
  const TextMetrics& m = p.FontMetric;
  EXPECT_EQ(m.Ascent + m.Descent, m.Height);
  EXPECT_GE(m.Height, 12);  // at least the 12-pixel em
  EXPECT_LE(m.Height, 20);
  EXPECT_EQ(m.InternalLeading, m.Height - 12);
  EXPECT_GT(m.AveCharWidth, 2);
  EXPECT_LE(m.AveCharWidth, m.MaxCharWidth);
  EXPECT_EQ(m.CharSet, 129);
  CP unknown;
  unknown.BaseFontName = "No Such Face 0";
  unknown.CalcFontMetric();
  EXPECT_FALSE(unknown.FontMetric.FaceName.IsEmpty());  // a Hangul face stands in
  EXPECT_NE(unknown.FontMetric.FaceName.str(), "No Such Face 0");
}

}  // namespace
