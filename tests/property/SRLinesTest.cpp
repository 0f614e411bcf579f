// Support and resistance lines: pivot and DeMark levels, crossings at
// equality, alarm texts, equality, the archive and "alarmset.ini".
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "calc/CalcTestUtil.h"
#include "chartcalc.h"
#include "core/StorageTestUtil.h"

using namespace chartcalc::detail;

namespace {

using Ints = std::vector<int>;

// Points the index directory at a fresh directory for one test.
struct IndexDirScope {
  IndexDirScope() : dir(TestDir()) { SetIndexDir(dir.c_str()); }
  ~IndexDirScope() { SetIndexDir("./"); }
  std::string dir;
};

TEST(SRLines, DefaultsRepeatTenColoursAndSetToDefaultKeepsClosesValuesAndAlarms) {
  SSRLines l;
  EXPECT_EQ((Ints{l.ShowAlarmLine, l.ShowAlarmDlg, l.TextPos}), (Ints{1, 0, 2}));
  EXPECT_EQ((Ints{l.LineColor[0], l.LineColor[9], l.LineColor[13], l.LineColor[27]}),
            (Ints{0xFF0000, 0x00CC00, 0x2F8E00, 0x66CCFF}));
  l.SetClose(5);
  l.SetClose(6);
  l.SetValue(3, 9);
  l.SetValue(28, 5);  // no such line
  l.SetValue(-1, 5);
  l.ShowAlert[3] = -1;
  l.ShowTitle = l.ShowLine[3] = 1;
  l.LineThick[27] = 4;
  l.SetToDefault();
  EXPECT_EQ((Ints{l.ShowTitle, l.ShowLine[3], l.LineThick[27], l.ShowAlert[3]}), (Ints{0, 0, 1, -1}));
  EXPECT_EQ(std::vector<double>({l.PrevClose, l.Close, l.LineValue[3], l.LineValue[27]}),
            std::vector<double>({5, 6, 9, 0}));
  l.Clear();
  EXPECT_EQ(std::vector<double>({l.PrevClose, l.Close, l.LineValue[3]}), std::vector<double>({0, 0, 0}));
}

// Worked by hand from the previous day's open, high, low and close. The pivot
// is P = (H + L + C) / 3; DeMark's X weighs the high when the day closed above
// its open, the low when below, and the close when flat.
TEST(SRLines, PivotAndDemarkLevelsLeaveTheHostLinesAlone) {
  struct Day {
    double open, high, low, close, demark, demarkHigh, demarkLow;
  };
  const Day days[] = {{10, 12, 8, 11, 43 / 4.0, 43 / 2.0 - 8, 43 / 2.0 - 12},
                      {12, 12, 8, 11, 39 / 4.0, 39 / 2.0 - 8, 39 / 2.0 - 12},
                      {11, 12, 8, 11, 42 / 4.0, 42 / 2.0 - 8, 42 / 2.0 - 12}};
  for (const Day& d : days) {
    SSRLines l;
    const double values[] = {d.open, d.high, d.low, d.close, 11, 14, 10, 15, 3};
    const int lines[] = {kSRPrevOpen,  kSRPrevHigh, kSRPrevLow,   kSRPrevClose, kSRTodayOpen,
                         kSRTodayHigh, kSRTodayLow, kSRLimitHigh, kSRUser2};
    for (size_t i = 0; i < std::size(lines); ++i) l.SetValue(lines[i], values[i]);
    l.CalcAlarmLine();
    const double p = 31.0 / 3;
    const std::pair<int, double> levels[] = {
        {kSRTodayOhl3, 35.0 / 3},   {kSRPivot, p},       {kSRPivotR1, 2 * p - 8}, {kSRPivotR2, p + 4},
        {kSRPivotS1, 2 * p - 12},   {kSRPivotS2, p - 4}, {kSRDemark, d.demark},   {kSRDemarkHigh, d.demarkHigh},
        {kSRDemarkLow, d.demarkLow}};
    for (auto [line, want] : levels) EXPECT_DOUBLE_EQ(l.LineValue[line], want) << "open " << d.open << " line " << line;
    for (size_t i = 0; i < std::size(lines); ++i) EXPECT_EQ(l.LineValue[lines[i]], values[i]) << lines[i];
  }
}

// A line is crossed when the close reaches it from the other side; leaving
// it is no cross, and without two closes nothing is.
TEST(SRLines, CrossingsCountAReachedLineButNotADepartureFromIt) {
  struct Case {
    double prev, close, line;
    int shown, expected;
  };
  const Case cases[] = {{99, 101, 100, 1, 1},   {99, 101, 101, 1, 1}, {100, 101, 100, 1, 0}, {101, 99, 100, 1, -1},
                        {101, 100, 100, 1, -1}, {100, 99, 100, 1, 0}, {99, 99.5, 100, 1, 0}, {99, 101, 100, 0, 0},
                        {0, 101, 100, 1, 0},    {0, 0, 0, 1, 0}};
  for (const Case& c : cases) {
    SSRLines l;
    l.SetValue(kSRUser1, c.line);
    l.ShowLine[kSRUser1] = c.shown;
    l.SetClose(c.prev);
    l.SetClose(c.close);
    for (int& a : l.ShowAlert) a = 7;
    l.Calc();
    EXPECT_EQ(l.ShowAlert[kSRUser1], c.expected) << c.prev << " -> " << c.close << " over " << c.line;
    EXPECT_EQ(l.ShowAlert[0], 0);
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
  {
    LangScope korean(kLangKorean);
    EXPECT_EQ(l.GetAlertMessage(kSRPivot).str(), Cp949("피봇기준선 상향돌파"));
  }
  l.ShowLine[kSRPivot] = 0;
  for (int j : {int(kSRPivot), int(kSRTodayHigh), kSRLineCount, -1}) EXPECT_STREQ(l.GetAlertMessage(j).c_str(), "") << j;
}

TEST(SRLines, EqualityIgnoresLineValuesAndTheArchiveKeepsThemAll) {
  SSRLines a, b, c, loaded, fresh;
  b.SetValue(7, 123);
  EXPECT_TRUE(a == b);
  b.ShowAlert[27] = 1;
  c.SetClose(1);
  EXPECT_TRUE(a != b && a != c);
  b.ShowAlarmDlg = b.ShowLine[16] = 1;
  b.LineThick[3] = 4;
  b.LineColor[27] = 0x123456;
  CFBArchive ar;
  b.Store(ar, 2);
  ar.SetCategory("SSRLines2");
  EXPECT_EQ(ar.GetEntryCount(), 6 + 5 * kSRLineCount);
  EXPECT_EQ(ar.GetDbl("7.LineValue", 0), 123);
  loaded.Load(ar, 2);
  EXPECT_TRUE(loaded == b);
  EXPECT_EQ(loaded.LineValue[7], 123);
  fresh.Load(ar, -1);  // nothing under "SSRLines"
  EXPECT_TRUE(fresh == SSRLines());
}

// The settings file keeps the host's other lines; its main section is named
// in the language of the writer, the line sections are numbers in both.
TEST(SRLines, SettingsReachAlarmsetIniInTheIndexDirectoryBesideTheHostsLines) {
  IndexDirScope scope;
  SSRLines l, m, korean;
  l.ShowTitle = l.ShowLine[4] = 1;
  EXPECT_EQ(l.ReadSetting(), 0);
  EXPECT_EQ(Listing(scope.dir), "");  // reading creates nothing
  EXPECT_EQ(l.ShowTitle, 1);          // and keeps the record as it was
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
  EXPECT_EQ(korean.ShowTitle, 0);
  EXPECT_EQ(korean.LineThick[20], 3);
}

}  // namespace
