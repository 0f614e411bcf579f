// The display records: price-chart properties (names by language, values
// derived from a price, style, persistence), the indicator record (defaults by
// kind, key lookup, its keys in the keyed archive) and the support and
// resistance lines (pivot and DeMark levels, crossings at equality, alarm
// texts, the archive and "alarmset.ini").
#include "calc/CalcTestUtil.h"
#include "core/StorageTestUtil.h"

namespace {

using PP = SPriceProperty;
using IP = SIndexProp;
using Ints = std::vector<int>;

// A per-type text array, one entry per chart type followed by a blank.
std::string Join(const SString (&a)[kPriceChartTypes]) {
  std::string s;
  for (const SString& v : a) s += v.str() + " ";
  return s;
}

// A per-type int array, one character per chart type: R the rising colour,
// F the falling one, V the volume-at-price colour, else the digit.
std::string Codes(const int (&a)[kPriceChartTypes]) {
  std::string s;
  for (int v : a) s += v == 0x1414EB ? 'R' : v == 0xC81616 ? 'F' : v == 0x99FFCC ? 'V' : static_cast<char>('0' + v);
  return s;
}

// Every per-type default against the settings table written out by hand, so a
// slip in the record's own table shows.
TEST(PriceProperty, EveryChartTypeHasTheDefaultsOfTheSettingsTable) {
  const PP p;
  // clang-format off
  const std::string got[] = {Codes(p.WhiteLineColor), Codes(p.WhiteLineFill), Codes(p.BlackLineColor),
                             Codes(p.BlackLineFill), Codes(p.VolumeAtPriceColor), Codes(p.BlWhiteLineColor),
                             Codes(p.BlWhiteLineFill), Codes(p.BlBlackLineColor), Codes(p.BlBlackLineFill),
                             Codes(p.BlVolumeAtPrice), Codes(p.BlVolumeDisp), Codes(p.BlName1), Codes(p.BlValue1),
                             Codes(p.BlName2), Codes(p.BlValue2), Join(p.Value1), Join(p.Value2)};
  const std::string want[] = {"RRRRRRRRRR0RRRRRR0", "111111111111011110", "FFFFFFFFFF0FFFFFF0", "111111111111111110",
                              "VVVVVVVVVVVVVVVVR0", "111111111101111110", "100010100101100110", "111011111101101110",
                              "100010100101100110", "000010000000000010", "000010000000000000", "111111111110010111",
                              "111111111110010111", "000001000000000100", "000001000000000100",
                              "10 10 10 10 10 3 3 3 3 3 25 0 0 10 0 10 5 30 ", "0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 10 0 0 "};
  // clang-format on
  for (size_t i = 0; i < std::size(want); ++i) EXPECT_EQ(got[i], want[i]) << "array " << i;
}

TEST(PriceProperty, NamesAreTakenInTheLanguageOfTheMomentAndKeptAsMade) {
  PP english;
  EXPECT_EQ(english.Name1[5].str() + "|" + english.Name2[6].str() + "|" + english.Name1[17].str() + "|" +
                english.Name1[11].str(),
            "Blank Conversion|conversion price|Minute Distince|");
  EXPECT_EQ(std::string(GetPriceChartTypeName(5)) + GetPriceChartTypeName(18) + GetPriceChartTypeName(-1), "P&F chart");
  LangScope korean(kLangKorean);
  EXPECT_EQ(PP().Name2[15].str(), Cp949("간격"));
  EXPECT_STREQ(english.Name1[5].c_str(), "Blank Conversion");
}

// Steps are the price times a factor rounded to two significant digits:
// 1234.5 * 0.02 = 24.69, * 0.05 = 61.725, * 0.04 = 49.38.
TEST(PriceProperty, PriceDerivedValuesAndDefaultsChangeOnlyTheirOwnEntries) {
  PP p, d;
  p.SetValue(1234.5);
  EXPECT_EQ(Join(p.Value1), "10 10 10 10 10 3 3 62 62 49 25 0 0 10 0 10 5 30 ");
  EXPECT_EQ(Join(p.Value2), "0 0 0 0 0 25 0 0 0 0 0 0 0 0 0 10 0 0 ");
  EXPECT_EQ(Join(p.Default2), Join(PP().Default2));
  d.Default1[0] = d.Default2[17] = "keep";
  d.Default1[4] = "x";
  d.SetDefaultOptionValue(1000);
  EXPECT_EQ(Join(d.Default1), "keep 10 10 10 10 3 3 50 50 40 25 0 0 10 0 10 5 30 ");
  EXPECT_EQ(Join(d.Default2), "0 0 0 0 0 20 0 0 0 0 0 0 0 0 0 10 0 keep ");
  EXPECT_EQ(Join(d.Value2), Join(PP().Value2));
}

TEST(PriceProperty, StyleIsTheRisingAndFallingColoursAndFillsOnly) {
  PP a, b;
  b.VolumeAtPriceColor[3] = 1;
  b.PriceChartType = 5;
  EXPECT_EQ(a.CompStyle(b), 1);
  for (auto field : {&PP::WhiteLineColor, &PP::WhiteLineFill, &PP::BlackLineColor, &PP::BlackLineFill}) {
    PP c = b;
    (c.*field)[17] = 7;
    EXPECT_EQ(Ints({a.CompStyle(c), c.CompStyle(a)}), Ints({0, 0}));
    a.AssignStyle(c);
    EXPECT_EQ(a.CompStyle(c), 1);
  }
  EXPECT_EQ(Ints({a.VolumeAtPriceColor[3], a.PriceChartType}), Ints({0x99FFCC, 0}));
}

TEST(PriceProperty, StoreWritesEveryKeyAndLoadGivesItBackUnderANumberedCategory) {
  CFBArchive ar;
  PP p, q;
  p.Store(ar, -1);
  EXPECT_EQ(ar.GetEntryCount(), 5 + 21 * kPriceChartTypes + 12);  // leading, per-type and trailing keys
  ar.SetCategory("PriceProperty");
  EXPECT_EQ((Ints{ar.GetInt("16.VolumeAtPriceColor", -1), ar.GetInt("ShowBaseLine3", -1), ar.GetInt("ShowHC", -1)}),
            (Ints{0x1414EB, 0, 1}));
  p.ShowBaseLine[2] = p.BlName2[14] = p.MinMaxY = 2;
  p.Value1[9] = "7.5";
  p.UserMax = 99.25;
  p.Store(ar, 3);
  q.Load(ar, 3);
  EXPECT_EQ((Ints{q.ShowBaseLine[2], q.BlName2[14], q.MinMaxY}), (Ints{2, 2, 2}));
  EXPECT_EQ(q.Value1[9].str() + " " + std::to_string(q.UserMax), "7.5 99.250000");
  q.Load(ar, -1);  // the unnumbered category keeps what was stored there: the defaults
  EXPECT_EQ(Join(q.Value1) + std::to_string(q.UserMax), Join(PP().Value1) + "0.000000");
}

// ---- the indicator record ----------------------------------------------------

// The persisted fields: every one is filled with a value of its own and
// compared, so a field that is not stored, or two fields sharing a key, shows.
// clang-format off
const std::vector<int IP::*> kInts = {
    &IP::IndexType, &IP::ChartPeriod, &IP::UserID, &IP::SymbolID, &IP::ShareIndex, &IP::BlMovable, &IP::BlDeleble,
    &IP::BlPopupDlg, &IP::ChartNo, &IP::YValueColor, &IP::YValueStyle, &IP::YValueWidth, &IP::InvertY, &IP::LogY,
    &IP::YScaleType, &IP::YAxisCount, &IP::YAxisUnitSize, &IP::YAxisPrecision, &IP::YAxisUseComma, &IP::BlShow,
    &IP::BlShowLegend, &IP::RealUpdateType, &IP::ExtID, &IP::DRAWLV, &IP::MinMaxY};
const std::vector<double IP::*> kDoubles = {&IP::ChartCycle, &IP::UserMax, &IP::UserMin};
const std::vector<SString IP::*> kTexts = {&IP::IndexName, &IP::YAxisUnitText, &IP::ExtData};
const std::vector<int (IP::*)[kIndexLines]> kLineInts = {&IP::ShowLine, &IP::Shape, &IP::LineType, &IP::LineColor,
    &IP::LineStyle, &IP::LineWidth, &IP::LineUpColor, &IP::LineDnColor, &IP::LineCompMethod};
const std::vector<SString (IP::*)[kIndexLines]> kLineTexts = {&IP::LineUpValue, &IP::LineDnValue, &IP::YValue};
// clang-format on

// Calls f on every persisted field of r, in the order of the lists above.
template <class R, class F>
void EachField(R& r, F f) {
  for (auto m : kInts) f(r.*m);
  for (auto m : kDoubles) f(r.*m);
  for (auto m : kTexts) f(r.*m);
  for (int k = 0; k < kIndexLines; ++k) {
    for (auto m : kLineInts) f((r.*m)[k]);
    for (auto m : kLineTexts) f((r.*m)[k]);
  }
  for (auto& v : r.VarValue) f(v);
}

std::string Text(const SString& v) { return v.str(); }
std::string Text(double v) { return std::to_string(v); }
void Set(SString& v, int n) { v = std::to_string(n); }
void Set(int& v, int n) { v = n; }
void Set(double& v, int n) { v = n + 0.5; }

std::vector<std::string> Persisted(const IP& r) {
  std::vector<std::string> out;
  EachField(r, [&](const auto& v) { out.push_back(Text(v)); });
  return out;
}

// Every persisted field away from its default, no two alike; the user scale,
// whose bounds are stored.
IP Filled() {
  IP r;
  int n = 100;
  EachField(r, [&](auto& v) { Set(v, n++); });
  r.MinMaxY = 2;
  return r;
}

// Trading systems (3) and patterns (2) colour their signal lines apart.
TEST(IndexProp, SetToDefaultResetsTheDisplayByKindButKeepsTheIdentityAndTheHostsKeys) {
  const IP filled = Filled();
  IP r = filled, want(filled.IndexName.c_str(), 3), pattern("x", 2);
  r.IndexType = 3;
  r.VarName[2] = r.Expression[1] = "x";
  r.RealKeys.Add("key");
  r.SetToDefault();
  for (auto m : {&IP::UserID, &IP::ShareIndex, &IP::BlMovable, &IP::BlDeleble, &IP::BlPopupDlg})  // the constructor's
    want.*m = filled.*m;
  EXPECT_EQ(Persisted(r), Persisted(want));
  EXPECT_EQ(Ints(r.LineColor, r.LineColor + kIndexLines), (Ints{0x0000FF, 0xFF0000, 0xFF0000, 0x0000FF, 0x64141B}));
  EXPECT_EQ(Ints(pattern.LineColor, pattern.LineColor + 3), (Ints{0xFFCCFF, 0xFFECCC, 0x3300FF}));
  EXPECT_EQ(r.VarName[2].str() + r.Expression[1].str() + std::to_string(r.RealKeys.Count()), "1");
}

TEST(IndexProp, StoreThenLoadGivesBackEveryPersistedFieldAndUserBoundsOnlyForTheUserScale) {
  IP stored = Filled(), loaded, base = Filled(), other = Filled();
  CFBArchive ar;
  stored.Store(ar, 3);
  loaded.Load(ar, 3);
  EXPECT_EQ(Persisted(loaded), Persisted(stored));
  for (const char* key : {"3.VarValue", "9.VarValue", "0.BlShowLine", "2.DisplayType", "4.YValue", "4.LineCompMethod",
                          "IndexName", "IndexType", "ExtData", "DRAWLV", "UserMax", "UserMin"})
    EXPECT_TRUE(ar.HasKey(key)) << key;
  EXPECT_EQ(ar.GetInt("2.DisplayType", -1), stored.LineType[2]);
  base.Load(ar, -1);  // "Index" is not "Index3": every field falls back to the default record
  EXPECT_EQ(Persisted(base), Persisted(IP("", -1)));
  other.MinMaxY = 1;
  other.Store(ar, -1);
  EXPECT_FALSE(ar.HasKey("UserMax") || ar.HasKey("UserMin"));
  loaded.Load(ar, -1);
  EXPECT_EQ(std::pair(loaded.UserMax, loaded.MinMaxY), std::pair(0.0, 1));  // always read, the default as fallback
}

TEST(IndexProp, FindRealKeyIgnoresCaseAndTakesTheFirstMatch) {
  IP r;
  for (const char* key : {"XYZ", "ABC", "abc"}) r.RealKeys.Add(key);
  EXPECT_EQ((std::vector<int>{r.FindRealKey("abc"), r.FindRealKey("xyz"), r.FindRealKey("ab"), r.FindRealKey(nullptr)}),
            (std::vector<int>{1, 0, -1, -1}));
}

// ---- support and resistance lines ---------------------------------------------

// Worked by hand from the previous day's open, high, low and close. The pivot
// is P = (H + L + C) / 3; DeMark's X weighs the high when the day closed above
// its open, the low when below, and the close when flat.
TEST(SRLines, PivotAndDemarkLevelsLeaveTheHostLinesAlone) {
  const std::pair<double, double> days[] = {{10, 43}, {12, 39}, {11, 42}};  // the open, X
  const int lines[] = {kSRPrevOpen,  kSRPrevHigh, kSRPrevLow,   kSRPrevClose, kSRTodayOpen,
                       kSRTodayHigh, kSRTodayLow, kSRLimitHigh, kSRUser2};
  for (auto [open, x] : days) {
    SSRLines l;
    const double values[] = {open, 12, 8, 11, 11, 14, 10, 15, 3};
    for (size_t i = 0; i < std::size(lines); ++i) l.SetValue(lines[i], values[i]);
    for (int j : {-1, int(kSRLineCount)}) l.SetValue(j, 99);  // no such line
    l.CalcAlarmLine();
    const double p = 31.0 / 3;
    const std::pair<int, double> levels[] = {
        {kSRTodayOhl3, 35.0 / 3},  {kSRPivot, p},       {kSRPivotR1, 2 * p - 8}, {kSRPivotR2, p + 4},
        {kSRPivotS1, 2 * p - 12},  {kSRPivotS2, p - 4}, {kSRDemark, x / 4},      {kSRDemarkHigh, x / 2 - 8},
        {kSRDemarkLow, x / 2 - 12}};
    for (auto [line, want] : levels) EXPECT_DOUBLE_EQ(l.LineValue[line], want) << "open " << open << " line " << line;
    for (size_t i = 0; i < std::size(lines); ++i) EXPECT_EQ(l.LineValue[lines[i]], values[i]) << lines[i];
  }
}

// A line is crossed when the close reaches it from the other side; leaving
// it is no cross, and without two closes nothing is.
TEST(SRLines, CrossingsCountAReachedLineButNotADepartureFromIt) {
  // The previous close, the close, the line's value, whether it is shown, the alert.
  const std::tuple<double, double, double, int, int> cases[] = {
      {99, 101, 100, 1, 1}, {99, 101, 101, 1, 1},  {100, 101, 100, 1, 0}, {101, 99, 100, 1, -1}, {101, 100, 100, 1, -1},
      {100, 99, 100, 1, 0}, {99, 99.5, 100, 1, 0}, {99, 101, 100, 0, 0},  {0, 101, 100, 1, 0},   {0, 0, 0, 1, 0}};
  for (auto [prev, close, line, shown, expected] : cases) {
    SSRLines l;
    l.SetValue(kSRUser1, line);
    l.ShowLine[kSRUser1] = shown;
    l.SetClose(prev);
    l.SetClose(close);
    for (int& a : l.ShowAlert) a = 7;
    l.Calc();
    EXPECT_EQ(std::pair(l.ShowAlert[kSRUser1], l.ShowAlert[0]), std::pair(expected, 0))
        << prev << " -> " << close << " over " << line;
  }
}

TEST(SRLines, AlertMessagesNeedDialogsAShownLineAndACrossing) {
  SSRLines l;
  l.ShowLine[kSRPivot] = l.ShowAlert[kSRPivot] = l.ShowLine[kSRPrevLow] = 1;
  l.ShowAlert[kSRPrevLow] = -1;
  EXPECT_STREQ(l.GetAlertMessage(kSRPivot).c_str(), "");  // dialogs off
  l.ShowAlarmDlg = 1;
  EXPECT_STREQ(l.GetAlertMessage(kSRPivot).c_str(), "Pivot base line Upward breakthrough");
  EXPECT_STREQ(l.GetAlertMessage(kSRPrevLow).c_str(), "Previous day Low Price Downward breakthrough");
  LangScope korean(kLangKorean);
  EXPECT_EQ(l.GetAlertMessage(kSRPivot).str(), Cp949("피봇기준선 상향돌파"));
  l.ShowLine[kSRPivot] = 0;
  for (int j : {int(kSRPivot), int(kSRTodayHigh), kSRLineCount, -1})
    EXPECT_STREQ(l.GetAlertMessage(j).c_str(), "") << j;
}

TEST(SRLines, EqualityIgnoresLineValuesAndTheArchiveKeepsThemAll) {
  SSRLines a, b, c, loaded, fresh;
  b.SetValue(7, 123);
  EXPECT_TRUE(a == b);
  b.ShowAlarmDlg = b.ShowLine[16] = b.ShowAlert[27] = 1;
  c.SetClose(1);
  EXPECT_TRUE(a != b && a != c);
  b.LineColor[27] = 0x123456;
  CFBArchive ar;
  b.Store(ar, 2);
  EXPECT_EQ(std::pair(ar.GetEntryCount(), ar.GetDbl("7.LineValue", 0)), std::pair(6 + 5 * kSRLineCount, 123.0));
  loaded.Load(ar, 2);
  EXPECT_TRUE(loaded == b && loaded.LineValue[7] == 123);
  fresh.Load(ar, -1);  // nothing under "SSRLines"
  EXPECT_TRUE(fresh == SSRLines());
}

// The settings file keeps the host's other lines; its main section is named
// in the language of the writer, the line sections are numbers in both.
TEST(SRLines, SettingsReachAlarmsetIniInTheIndexDirectoryBesideTheHostsLines) {
  IndexDirScope scope;
  SSRLines l, m, korean;
  l.ShowTitle = l.ShowLine[4] = 1;
  EXPECT_EQ((Ints{l.ReadSetting(), l.ShowTitle}), (Ints{0, 1}));  // no file: the record stays as it was
  EXPECT_EQ(Listing(scope.dir), "");                              // and reading creates nothing
  WriteBytes(scope.dir + "alarmset.ini", "; the host's notes\n[Host]\nWindow=3\n");
  l.LineStyle = 2;
  l.LineColor[4] = 0x0A0B0C;
  l.LineThick[20] = 3;
  EXPECT_EQ(l.SaveSetting(), 1);
  std::string text = ReadBytes(scope.dir + "alarmset.ini");
  for (const char* part : {"; the host's notes", "Window=3", "[Alram Configuration]", "TextPos=2", "[4]"})
    EXPECT_NE(text.find(part), std::string::npos) << part << " in\n" << text;
  m.ShowAlarmLine = 0;  // not read from the file
  EXPECT_EQ(m.ReadSetting(), 1);
  EXPECT_EQ((Ints{m.ShowTitle, m.LineStyle, m.ShowLine[4], m.LineColor[4], m.ShowAlarmLine}),
            (Ints{1, 2, 1, 0x0A0B0C, 0}));
  LangScope inKorean(kLangKorean);
  korean.ReadSetting();
  EXPECT_EQ(std::pair(korean.ShowTitle, korean.LineThick[20]), std::pair(0, 3));
}

}  // namespace
