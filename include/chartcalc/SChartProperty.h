// SChartProperty: the chart-wide display settings (labels, axes, grid,
// colours, fonts, scrolling and tool visibility, bar spacing), persisted in
// the keyed archive under the category "ChartProperty". SChartProp: the
// layout of one pane, under "Chart" (or "Chart<n>"). The library reads
// neither record in its calculations; they are kept for the host.
//
// SChartProperty also measures its base font, so that the host can lay out
// labels. The measuring goes through a FontMetricSource: the library's own
// reads the installed fonts, and a host may install one that asks its real
// device context instead.
#pragma once

#include "chartcalc/SString.h"

class CFBArchive;

namespace chartcalc {

// Text metrics of a font in pixels at 96 dots per inch, as a device context
// reports them: Height = Ascent + Descent; InternalLeading is the part of
// Height above the em square (accents); ExternalLeading the extra space the
// font asks for between lines; Weight 100-900 (400 regular, 700 bold).
struct TextMetrics {
  int Height = 0;
  int Ascent = 0;
  int Descent = 0;
  int InternalLeading = 0;
  int ExternalLeading = 0;
  int AveCharWidth = 0;
  int MaxCharWidth = 0;
  int Weight = 0;
  int CharSet = 0;
  // The face that was measured (code page 949); empty when the metrics were
  // derived from the point size because no font could be measured.
  SString FaceName;
};

// Measures a font: face (code page 949), height in tenths of a point, and
// character set (129 is Korean). Called at most once per face and size, under
// a lock, so an implementation needs no locking of its own.
class FontMetricSource {
 public:
  virtual ~FontMetricSource();
  virtual TextMetrics Measure(const SString& face, int tenthsOfPoint, int charset) = 0;
};

// Installs source for every later measurement and forgets the metrics
// measured so far; nullptr puts the library's own back. The source is not
// owned and must outlive its use. Returns the source installed before
// (nullptr for the library's own).
FontMetricSource* SetFontMetricSource(FontMetricSource* source);

// A screen rectangle in pixels.
struct Rect {
  int left = 0;
  int top = 0;
  int right = 0;
  int bottom = 0;
};

}  // namespace chartcalc

class SChartProperty {
 public:
  // Both run SetToDefault; intChart selects the defaults of an embedded chart.
  SChartProperty();
  explicit SChartProperty(int intChart);

  // Every field to its default (BaseFontName in the current language), then
  // CalcFontMetric. IntChart is kept.
  void SetToDefault();
  // RightLabelWidth and LeftLabelWidth back to 60.
  void SetLabelWidth();
  int GetIntChart() const { return IntChart; }
  // Sets IntChart; a non-zero reset then runs SetToDefault.
  void SetIntChart(int value, int reset);
  // 1 when every field that changes how the chart looks is equal in both
  // records (labels, colours, fonts, grid, axes, tools), else 0.
  int CompStyle(const SChartProperty& other) const;
  // Measures BaseFontName at BaseFontSize points (Korean character set) into
  // FontMetric; the metrics of each face and size are measured once.
  void CalcFontMetric();

  // Category "ChartProperty"; a missing key gives this record's default.
  // Load measures the loaded base font.
  void Load(CFBArchive& ar);
  void Store(CFBArchive& ar);

  // Persisted, in stored order. Colours are red + 256 * green + 65536 * blue.
  int ShowLeftLabel;
  int ShowRightLabel;
  int ShowXAxis;
  int RightLabelWidth;
  int LeftLabelWidth;
  int BlMinMaxPrice;
  int BlBarsInFront;
  int BarsToRight;
  int BarsToRightPixel;
  int UseCorrectedPrice;
  int ShowCorrectedPrice;
  int ShowCrossLineOnClick;
  int ShowCrossLineAlways;
  int ShowMinMaxPrice;
  int ShowIndexTitle;
  int ShowIndexValue;
  int ShowLastClose;
  int ShowLastCloseFluct;
  int LastCloseType;
  int LastCloseChangeType;
  int BlLastCloseLine;
  int ChartBackgroundColor;
  int CrossLineColor;
  int ChartBorderColor;
  int AxisBackgroundColor;
  int AxisFontColor;
  int AxisFontSize;
  int AxisColor;
  int LastPriceFontColor;
  SString BaseFontName;
  int BaseFontColor;
  int BaseFontSize;                   // points
  chartcalc::TextMetrics FontMetric;  // not persisted: filled by CalcFontMetric
  int GridStyle;
  int GridWidth;
  int GridColor;
  int GridLineExtend;
  int VGridVisible;
  int VGridColor;
  int VGridStyle;
  int VGridWidth;
  int HGridVisible;
  int HGridColor;
  int HGridStyle;
  int HGridWidth;
  int DisplayDataSize;
  int DisplayDataType;
  int ShowPercentChart;
  int BorderLineColor;
  int BorderLineStyle;
  int BorderLineThick;
  SString XAxisTimeFormat;
  int XAxisPrecision;
  int XAxisUseComma;
  SString XAxisUnitText;
  int XAxisLabelPosType;
  int XAxisTextDirection;
  int XAxisDivideType;
  double XAxisDivideValue;
  int ScrollBarVisible;   // default 1 for an embedded chart (IntChart), else 0
  int ZoomSliderVisible;  // likewise
  int ToolButtonVisible;  // likewise
  int BlShowDataTrack;
  int BlShowDataGrid;
  SString ButtonVisible;
  int LScaleDigitCnt;
  int RScaleDigitCnt;
  int BlShowToolBar;
  int DataTrackMode;
  int PopupMenuType;  // default 2 for an embedded chart, else 0
  int DaySepColor;
  int DaySepStyle;
  int DaySepVisible;
  int LabelColor;
  int CandleAdjust;
  int PropertyStyle;
  int LegendType;
  int ToolTipMode;
  int BlVerboseIndex;
  int BlFillCroud;
  int FillCroudMethod;
  int BlFillHistogram;
  int FooterType;
  int Align;
  double BarSpacing;
  int BlUseAutoTrendLine;
  int BlShowSRLineSetting;
  int BlSaveLastSetting;
  int BaseValueType;
  int BarInterval;
  int ExtInt;  // host-owned, not persisted; 1 by default
  int BlEnableDragZoom;
  double PriceChartGapRatio;
  int ChartLabelShowCnt;
  int IntChart;  // not persisted: the constructor's argument
};

class SChartProp {
 public:
  static constexpr int kLayoutValues = 15;
  static constexpr int kIndexSlots = 100;
  static constexpr int kExtInts = 4;

  SChartProp() = default;
  SChartProp(const SChartProp&) = default;
  SChartProp& operator=(const SChartProp&) = default;
  virtual ~SChartProp();

  // Category "Chart" for index -1, else "Chart<index>"; a missing key gives
  // the default-constructed record's value.
  void Load(CFBArchive& ar, int index);
  void Store(CFBArchive& ar, int index);

  // Host-owned, copied with the record, never persisted.
  double LayoutValues[kLayoutValues] = {};
  int IndexCount = 0;
  int IndexSlots[kIndexSlots] = {};
  int PaneFlag = 0;

  // Persisted, in stored order (with the host-owned ints between).
  int ChartID = 0;
  int ExtInt[kExtInts] = {};  // host-owned, not persisted
  double WidthRatio = 1.0;
  double HeightRatio = 1.0;
  int LeftLabelIndex = 0;
  int RightLabelIndex = 0;
  SString ChartName;
  int BlDeleble = 1;
  int BlShowUnit = 0;
  int BlShow = 1;

  chartcalc::Rect PaneRect;  // not persisted
};
