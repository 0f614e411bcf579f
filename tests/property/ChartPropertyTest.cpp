// The chart display records: defaults of plain and embedded charts, the
// style comparison, every archive key both ways, the pane record, and the
// base-font metrics with the machine's fonts, with a host's source and with
// no font at all.
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
  const char* dflt;  // doubles to the last bit: 0.02 and 0.02f differ
};

// Every archive key with its member and its default, written out from the
// settings table by hand so that a slip in the record's own table shows.
// The four defaults of an embedded chart are those of a plain one here.
#define K(name, dflt) \
  { #name, &CP::name, dflt }
// clang-format off
const KeyRow kKeys[] = {
    K(ShowLeftLabel, "1"), K(ShowRightLabel, "1"), K(ShowXAxis, "1"), K(RightLabelWidth, "60"),
    K(LeftLabelWidth, "60"), K(BlMinMaxPrice, "0"), K(BlBarsInFront, "1"), K(BarsToRight, "2"),
    K(BarsToRightPixel, "40"), K(UseCorrectedPrice, "1"), K(ShowCorrectedPrice, "1"), K(ShowCrossLineOnClick, "0"),
    K(ShowCrossLineAlways, "1"), K(ShowMinMaxPrice, "1"), K(ShowIndexTitle, "1"), K(ShowIndexValue, "0"),
    K(ShowLastClose, "1"), K(ShowLastCloseFluct, "1"), K(LastCloseType, "0"), K(LastCloseChangeType, "0"),
    K(BlLastCloseLine, "0"), K(ChartBackgroundColor, "16777215"), K(CrossLineColor, "255"),
    K(ChartBorderColor, "10066329"), K(AxisBackgroundColor, "16777215"), K(AxisFontColor, "0"),
    K(AxisFontSize, "9"), K(AxisColor, "8092539"), K(LastPriceFontColor, "16777215"), K(BaseFontName, "Arial"),
    K(BaseFontColor, "0"), K(BaseFontSize, "9"), K(GridStyle, "0"), K(GridWidth, "1"), K(GridColor, "0"),
    K(GridLineExtend, "0"), K(VGridVisible, "1"), K(VGridColor, "14079958"), K(VGridStyle, "7"),
    K(VGridWidth, "1"), K(HGridVisible, "1"), K(HGridColor, "14079958"), K(HGridStyle, "7"), K(HGridWidth, "1"),
    K(DisplayDataSize, "120"), K(DisplayDataType, "0"), K(ShowPercentChart, "0"), K(BorderLineColor, "14079958"),
    K(BorderLineStyle, "0"), K(BorderLineThick, "1"), K(XAxisTimeFormat, ""), K(XAxisPrecision, "0"),
    K(XAxisUseComma, "1"), K(XAxisUnitText, ""), K(XAxisLabelPosType, "0"), K(XAxisTextDirection, "0"),
    K(XAxisDivideType, "0"), K(XAxisDivideValue, "1"), K(ScrollBarVisible, "0"), K(ZoomSliderVisible, "0"),
    K(ToolButtonVisible, "0"), K(BlShowDataTrack, "0"), K(BlShowDataGrid, "0"), K(ButtonVisible, ""),
    K(LScaleDigitCnt, "11"), K(RScaleDigitCnt, "11"), K(BlShowToolBar, "0"), K(DataTrackMode, "0"),
    K(PopupMenuType, "0"), K(DaySepColor, "255"), K(DaySepStyle, "7"), K(DaySepVisible, "1"),
    K(LabelColor, "14079958"), K(CandleAdjust, "1"), K(PropertyStyle, "1"), K(LegendType, "0"), K(ToolTipMode, "1"),
    K(BlVerboseIndex, "1"), K(BlFillCroud, "1"), K(FillCroudMethod, "0"), K(BlFillHistogram, "1"),
    K(FooterType, "0"), K(Align, "0"), K(BarSpacing, "6"), K(BlUseAutoTrendLine, "0"), K(BlShowSRLineSetting, "0"),
    K(BlSaveLastSetting, "0"), K(BaseValueType, "4"), K(BarInterval, "1"), K(BlEnableDragZoom, "1"),
    K(PriceChartGapRatio, "0.019999999552965164"), K(ChartLabelShowCnt, "16"),
};
// clang-format on
#undef K

std::string Text(int v) { return std::to_string(v); }
std::string Text(const SString& v) { return v.str(); }
std::string Text(double v) {
  char buf[40];
  std::snprintf(buf, sizeof buf, "%.17g", v);
  return buf;
}

// A row's member, and its key read from the archive as the member's type.
std::string MemberText(const CP& r, const KeyRow& row) {
  return std::visit([&](auto m) { return Text(r.*m); }, row.field);
}

std::string ArchiveText(CFBArchive& ar, const KeyRow& row) {
  if (std::holds_alternative<int CP::*>(row.field)) return Text(ar.GetInt(row.key, -1));
  if (std::holds_alternative<double CP::*>(row.field)) return Text(ar.GetDbl(row.key, -1));
  return Text(ar.GetStr(row.key, "<missing>"));
}

// A value of row i that no other row has and no default equals; the
// archive reads the digits as a number for a number field.
std::string Modified(size_t i) { return std::to_string(100000 + 7 * i); }

// A host's source: a height that tells the size, and a log of what it was
// asked.
struct StubSource : FontMetricSource {
  TextMetrics Measure(const SString& face, int tenths, int charset) override {
    ++calls;
    asked = face.str() + "|" + std::to_string(tenths) + "|" + std::to_string(charset);
    TextMetrics m;
    m.Height = tenths / 5;
    return m;
  }
  std::atomic<int> calls{0};
  std::string asked;
};

// Installs a source for one scope and puts the one before back.
struct SourceScope {
  explicit SourceScope(FontMetricSource* s) : before(chartcalc::SetFontMetricSource(s)) {}
  ~SourceScope() { chartcalc::SetFontMetricSource(before); }
  FontMetricSource* before;
};

// What a device context guarantees of any font's metrics, with the em in
// pixels.
void ExpectMetricInvariants(const TextMetrics& m, int em, const std::string& what) {
  EXPECT_EQ(m.Height - m.Descent, m.Ascent) << what;
  EXPECT_EQ(m.Height - m.InternalLeading, em) << what;
  EXPECT_LE(m.AveCharWidth, m.MaxCharWidth) << what;
}

// IntChart, scroll bar, zoom slider, tool buttons, popup menu, bar spacing.
std::vector<double> EmbeddedFields(const CP& p) {
  return {double(p.GetIntChart()),     double(p.ScrollBarVisible), double(p.ZoomSliderVisible),
          double(p.ToolButtonVisible), double(p.PopupMenuType),    p.BarSpacing};
}

TEST(ChartProperty, EmbeddedChartGetsScrollZoomToolsAndPopupMenuOnConstructionOrReset) {
  CP kept, reset, loaded(1);
  kept.BarSpacing = reset.BarSpacing = 9.5;
  kept.SetIntChart(1, 0), reset.SetIntChart(1, 1);
  CFBArchive empty;
  loaded.PopupMenuType = 0;
  loaded.Load(empty);  // a missing key gives the embedded chart's default
  const std::pair<CP, std::vector<double>> cases[] = {
      {CP(), {0, 0, 0, 0, 0, 6}},  {CP(1), {1, 1, 1, 1, 2, 6}},  {CP(7), {7, 1, 1, 1, 2, 6}},
      {reset, {1, 1, 1, 1, 2, 6}}, {kept, {1, 0, 0, 0, 0, 9.5}}, {loaded, {1, 1, 1, 1, 2, 6}},
  };
  for (size_t i = 0; i < std::size(cases); ++i) EXPECT_EQ(EmbeddedFields(cases[i].first), cases[i].second) << i;
}

TEST(ChartProperty, CompStyleComparesOnlyFieldsThatChangeTheLook) {
  // key, a value unlike its default, whether the look counts as the same
  // clang-format off
  const std::tuple<const char*, const char*, int> cases[] = {
      {"ChartBorderColor", "1", 0}, {"BarSpacing", "7", 1}, {"ShowLastCloseFluct", "0", 0}, {"LastCloseType", "1", 1},
      {"BaseFontName", "arial", 0}, {"HGridWidth", "2", 0}, {"XAxisDivideValue", "2", 1},
      {"ToolButtonVisible", "1", 0}, {"PopupMenuType", "2", 1}, {"Align", "1", 0}};
  // clang-format on
  const CP plain;
  for (const auto& [key, value, same] : cases) {
    CFBArchive ar;  // only this key: the rest take their defaults
    ar.SetCategory("ChartProperty");
    ar.SetStr(key, value);
    CP changed;
    changed.Load(ar);
    EXPECT_EQ(std::pair(plain.CompStyle(changed), changed.CompStyle(plain)), std::pair(same, same)) << key;
  }
}

// Defaults, loading and storing share the record's key table; every row
// is checked against the hand-written one above, both ways.
TEST(ChartProperty, EveryKeyHasItsDefaultAndLoadsIntoItsOwnFieldAndBack) {
  CP defaults, p;
  CFBArchive stored, in, out;
  defaults.Store(stored);
  in.SetCategory("ChartProperty");
  for (size_t i = 0; i < std::size(kKeys); ++i) in.SetStr(kKeys[i].key, Modified(i).c_str());
  p.Load(in);
  p.Store(out);
  EXPECT_EQ(stored.GetCategory(), "ChartProperty");
  EXPECT_EQ(stored.GetEntryCount(), static_cast<int>(std::size(kKeys)));  // only these keys
  for (size_t i = 0; i < std::size(kKeys); ++i) {
    const KeyRow& row = kKeys[i];
    EXPECT_EQ(
        std::tuple(MemberText(defaults, row), ArchiveText(stored, row), MemberText(p, row), ArchiveText(out, row)),
        std::tuple(row.dflt, row.dflt, Modified(i), Modified(i)))
        << row.key;
  }
  LangScope korean(kLangKorean);  // the base font is the language's at construction
  CFBArchive before, after;
  defaults.Store(before), CP().Store(after);
  EXPECT_EQ(std::pair(before.GetStr("BaseFontName", "").str(), after.GetStr("BaseFontName", "").str()),
            std::pair(std::string("Arial"), std::string("\xB1\xBC\xB8\xB2")));  // 굴림 in code page 949
}

TEST(ChartPane, KeysGoToTheIndexedCategoryAndHostFieldsStayOut) {
  SChartProp pane, plain, back;
  pane.ChartID = 12, pane.HeightRatio = 0.25, pane.ChartName = "\xC1\xBE\xB0\xA1", pane.BlShow = 0;
  pane.IndexSlots[99] = 8, pane.PaneRect = {1, 2, 3, 4};
  CFBArchive ar;
  pane.Store(ar, 3);
  EXPECT_EQ(ar.GetEntryCount(), 9);
  plain.Load(ar, -1);  // "Chart" is not "Chart3": the defaults
  back.Load(ar, 3);
  EXPECT_EQ(
      std::vector<double>({double(plain.ChartID), plain.WidthRatio, plain.HeightRatio, double(plain.BlShow),
                           double(back.ChartID), back.HeightRatio, double(back.BlShow), double(back.IndexSlots[99])}),
      std::vector<double>({0, 1, 1, 1, 12, 0.25, 0, 0}));
  EXPECT_EQ(back.ChartName.str(), "\xC1\xBE\xB0\xA1");
  back = pane;
  EXPECT_EQ(back.IndexSlots[99] + back.PaneRect.bottom, 8 + 4);
}

// Construction and loading measure the base font; the host's source sees
// each face and size once, however many threads ask at the same time.
TEST(FontMetrics, HostSourceIsAskedOncePerFaceAndSizeEvenConcurrently) {
  StubSource stub;
  SourceScope scope(&stub);
  CP a, b;
  EXPECT_EQ(std::pair(stub.asked, a.FontMetric.Height), std::pair(std::string("Arial|90|129"), 18));
  b.BaseFontSize = 12;
  CFBArchive ar;
  b.Store(ar);
  a.Load(ar);
  EXPECT_EQ(a.FontMetric.Height, 24);
  std::atomic<int> wrong{0};
  std::vector<std::thread> threads;
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
  EXPECT_EQ(stub.calls, 4);  // 9 and 12 points, then 8 and 10
}

// The em height at 96 dots per inch is points * 96 / 72, rounded.
TEST(FontMetrics, SizeEstimateKeepsTheMetricInvariants) {
  for (const auto& [tenths, em] : {std::pair{90, 12}, {100, 13}, {75, 10}, {0, 0}, {-50, 0}}) {
    const TextMetrics m = SizeDerivedMetrics(tenths, 129);
    EXPECT_EQ(EmPixels(tenths), em) << tenths;
    ExpectMetricInvariants(m, em, std::to_string(tenths));
    EXPECT_TRUE(m.FaceName.IsEmpty()) << tenths;
  }
  EXPECT_GT(EmPixels(1 << 30), 0);  // a huge size from an archive does not overflow
}

// Needs a Hangul-capable font (fonts-nanum) and a build with font support.
TEST(FontMetrics, InstalledFontGivesPlausibleMetricsForNinePoints) {
  SourceScope own(nullptr);
  LangScope korean(kLangKorean);
  CP p;
  if (p.FontMetric.FaceName.IsEmpty()) GTEST_SKIP() << "no font could be measured";
  const TextMetrics& m = p.FontMetric;
  ExpectMetricInvariants(m, 12, "installed");  // the 12-pixel em
  EXPECT_TRUE(m.Height <= 20 && m.AveCharWidth > 2) << m.Height << " " << m.AveCharWidth;
  p.BaseFontName = "No Such Face 0";
  p.CalcFontMetric();
  EXPECT_FALSE(p.FontMetric.FaceName.IsEmpty());  // a Hangul face stands in
}

}  // namespace
