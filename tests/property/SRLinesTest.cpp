// Support and resistance lines: pivot and DeMark levels, crossings at
// equality, alarm texts, equality, the archive and "alarmset.ini".
#include <gtest/gtest.h>

#include <string>

#include "calc/CalcTestUtil.h"
#include "chartcalc.h"
#include "core/StorageTestUtil.h"

using namespace chartcalc::detail;

namespace {

SSRLines PreviousDay(double open, double high, double low, double close) {
  SSRLines l;
  l.SetValue(kSRPrevOpen, open);
  l.SetValue(kSRPrevHigh, high);
  l.SetValue(kSRPrevLow, low);
  l.SetValue(kSRPrevClose, close);
  return l;
}

// Points the index directory at a fresh directory for one test.
struct IndexDirScope {
  IndexDirScope() : dir(TestDir()) { SetIndexDir(dir.c_str()); }
  ~IndexDirScope() { SetIndexDir("./"); }
  std::string dir;
};

TEST(SRLines, ConstructionGivesDisplayDefaultsAndZeroValues) {
  SSRLines l;
  EXPECT_EQ(l.ShowAlarmLine, 1);
  EXPECT_EQ(l.ShowAlarmDlg, 0);
  EXPECT_EQ(l.TextPos, 2);
  EXPECT_EQ(l.Close, 0.0);
  EXPECT_EQ(l.LineColor[0], 0xFF0000);
  EXPECT_EQ(l.LineColor[9], 0x00CC00);
  EXPECT_EQ(l.LineColor[13], 0x2F8E00);  // the ten colours repeat
  EXPECT_EQ(l.LineColor[27], 0x66CCFF);
  for (int j = 0; j < kSRLineCount; ++j) {
    EXPECT_EQ(l.LineValue[j], 0.0);
    EXPECT_EQ(l.ShowLine[j], 0);
    EXPECT_EQ(l.LineThick[j], 1);
    EXPECT_EQ(l.ShowAlert[j], 0);
  }
}

TEST(SRLines, SetToDefaultKeepsClosesValuesAndAlarms) {
  SSRLines l;
  l.SetClose(5);
  l.SetClose(6);
  l.SetValue(3, 9);
  l.ShowAlert[3] = -1;
  l.ShowTitle = 1;
  l.ShowLine[3] = 1;
  l.SetToDefault();
  EXPECT_EQ(l.ShowTitle, 0);
  EXPECT_EQ(l.ShowLine[3], 0);
  EXPECT_EQ(l.PrevClose, 5);
  EXPECT_EQ(l.Close, 6);
  EXPECT_EQ(l.LineValue[3], 9);
  EXPECT_EQ(l.ShowAlert[3], -1);
  l.Clear();
  EXPECT_EQ(l.Close, 0.0);
  EXPECT_EQ(l.PrevClose, 0.0);
  EXPECT_EQ(l.LineValue[3], 0.0);
}

TEST(SRLines, SetValueOutsideTheLinesChangesNothing) {
  SSRLines l, before;
  l.SetValue(28, 5);
  l.SetValue(-1, 5);
  for (int j = 0; j < kSRLineCount; ++j) EXPECT_EQ(l.LineValue[j], 0.0);
  EXPECT_TRUE(l == before);
}

// Expected values worked by hand: P = (12 + 8 + 11) / 3 = 31/3.
TEST(SRLines, PivotAndDemarkLevelsOfAnUpDay) {
  SSRLines l = PreviousDay(10, 12, 8, 11);
  l.SetValue(kSRTodayOpen, 11);
  l.SetValue(kSRTodayHigh, 14);
  l.SetValue(kSRTodayLow, 10);
  l.CalcAlarmLine();
  const double p = 31.0 / 3;
  EXPECT_DOUBLE_EQ(l.LineValue[kSRTodayOhl3], 35.0 / 3);
  EXPECT_DOUBLE_EQ(l.LineValue[kSRPivot], p);
  EXPECT_DOUBLE_EQ(l.LineValue[kSRPivotR1], 62.0 / 3 - 8);
  EXPECT_DOUBLE_EQ(l.LineValue[kSRPivotR2], p + 4);
  EXPECT_DOUBLE_EQ(l.LineValue[kSRPivotS1], 2 * p - 12);
  EXPECT_DOUBLE_EQ(l.LineValue[kSRPivotS2], p - 4);
  // Close above open: X = 2 * 12 + 8 + 11 = 43.
  EXPECT_DOUBLE_EQ(l.LineValue[kSRDemark], 10.75);
  EXPECT_DOUBLE_EQ(l.LineValue[kSRDemarkHigh], 13.5);
  EXPECT_DOUBLE_EQ(l.LineValue[kSRDemarkLow], 9.5);
}

TEST(SRLines, DemarkWeighsTheLowOnADownDayAndTheCloseOnAFlatDay) {
  SSRLines down = PreviousDay(12, 12, 8, 11);  // X = 2 * 8 + 12 + 11 = 39
  down.CalcAlarmLine();
  EXPECT_DOUBLE_EQ(down.LineValue[kSRDemark], 9.75);
  EXPECT_DOUBLE_EQ(down.LineValue[kSRDemarkHigh], 19.5 - 8);
  EXPECT_DOUBLE_EQ(down.LineValue[kSRDemarkLow], 19.5 - 12);
  SSRLines flat = PreviousDay(11, 12, 8, 11);  // X = 2 * 11 + 12 + 8 = 42
  flat.CalcAlarmLine();
  EXPECT_DOUBLE_EQ(flat.LineValue[kSRDemark], 10.5);
  EXPECT_DOUBLE_EQ(flat.LineValue[kSRDemarkHigh], 21 - 8);
}

TEST(SRLines, CalcAlarmLineLeavesTheHostLinesAlone) {
  SSRLines l = PreviousDay(10, 12, 8, 11);
  l.SetValue(kSRLimitHigh, 15);
  l.SetValue(kSRUser2, 3);
  l.CalcAlarmLine();
  EXPECT_EQ(l.LineValue[kSRPrevOpen], 10);
  EXPECT_EQ(l.LineValue[kSRLimitHigh], 15);
  EXPECT_EQ(l.LineValue[kSRUser2], 3);
}

TEST(SRLines, CrossingsCountAReachedLineButNotADepartureFromIt) {
  struct Case {
    double prev, close, line;
    int shown, expected;
  };
  const Case cases[] = {
      {99, 101, 100, 1, 1},    // crossed upward
      {99, 101, 101, 1, 1},    // close reaches the line
      {100, 101, 100, 1, 0},   // started on the line
      {101, 99, 100, 1, -1},   // crossed downward
      {101, 100, 100, 1, -1},  // close reaches the line from above
      {100, 99, 100, 1, 0},    // started on the line
      {99, 99.5, 100, 1, 0},   // still below
      {99, 101, 100, 0, 0},    // hidden lines are not watched
  };
  for (const Case& c : cases) {
    SSRLines l;
    l.SetValue(kSRUser1, c.line);
    l.ShowLine[kSRUser1] = c.shown;
    l.SetClose(c.prev);
    l.SetClose(c.close);
    l.ShowAlert[kSRUser1] = 7;
    l.Calc();
    EXPECT_EQ(l.ShowAlert[kSRUser1], c.expected) << c.prev << " -> " << c.close << " over " << c.line;
  }
}

TEST(SRLines, CalcWithoutTwoClosesClearsEveryAlarm) {
  SSRLines l;
  for (int& a : l.ShowAlert) a = 1;
  l.ShowLine[0] = 1;
  l.Calc();
  for (int j = 0; j < kSRLineCount; ++j) EXPECT_EQ(l.ShowAlert[j], 0);
  l.SetClose(5);  // one close only: the previous one is still 0
  l.ShowAlert[4] = 1;
  l.Calc();
  EXPECT_EQ(l.ShowAlert[4], 0);
}

TEST(SRLines, AlertMessagesInBothLanguages) {
  SSRLines l;
  l.ShowAlarmDlg = 1;
  l.ShowLine[kSRPivot] = 1;
  l.ShowAlert[kSRPivot] = 1;
  l.ShowLine[kSRPrevLow] = 1;
  l.ShowAlert[kSRPrevLow] = -1;
  EXPECT_STREQ(l.GetAlertMessage(kSRPivot).c_str(), "Pivot base line Upward breakthrough");
  EXPECT_STREQ(l.GetAlertMessage(kSRPrevLow).c_str(), "Previous day Low Price Downward breakthrough");
  LangScope korean(kLangKorean);
  EXPECT_EQ(l.GetAlertMessage(kSRPivot).str(), Cp949("피봇기준선 상향돌파"));
  EXPECT_EQ(l.GetAlertMessage(kSRUser1 + 3).str(), "");
}

TEST(SRLines, NoAlertMessageWhenDialogsAreOffTheLineIsHiddenOrNotCrossed) {
  SSRLines l;
  l.ShowLine[5] = 1;
  l.ShowAlert[5] = 1;
  EXPECT_STREQ(l.GetAlertMessage(5).c_str(), "");  // dialogs off
  l.ShowAlarmDlg = 1;
  EXPECT_STREQ(l.GetAlertMessage(5).c_str(), "Today High Price Upward breakthrough");
  l.ShowLine[5] = 0;
  EXPECT_STREQ(l.GetAlertMessage(5).c_str(), "");
  EXPECT_STREQ(l.GetAlertMessage(6).c_str(), "");
  EXPECT_STREQ(l.GetAlertMessage(28).c_str(), "");
  EXPECT_STREQ(l.GetAlertMessage(-1).c_str(), "");
}

TEST(SRLines, EqualityIgnoresLineValuesButNotAlarmsOrCloses) {
  SSRLines a, b;
  b.SetValue(7, 123);
  EXPECT_TRUE(a == b);
  EXPECT_FALSE(a != b);
  b.ShowAlert[27] = 1;
  EXPECT_TRUE(a != b);
  b.ShowAlert[27] = 0;
  b.SetClose(1);
  EXPECT_TRUE(a != b);
  SSRLines c;
  c.LineThick[0] = 2;
  EXPECT_FALSE(a == c);
}

TEST(SRLines, ArchiveRoundTripUnderANumberedCategory) {
  SSRLines l;
  l.ShowAlarmDlg = 1;
  l.TextPos = 0;
  l.SetValue(16, 10.25);
  l.ShowLine[16] = 1;
  l.LineThick[3] = 4;
  l.ShowAlert[2] = -1;
  l.LineColor[27] = 0x123456;
  CFBArchive ar;
  l.Store(ar, 2);
  ar.SetCategory("SSRLines2");
  EXPECT_EQ(ar.GetDbl("16.LineValue", 0), 10.25);
  EXPECT_EQ(ar.GetEntryCount(), 6 + 5 * kSRLineCount);

  SSRLines m;
  m.Load(ar, 2);
  EXPECT_TRUE(m == l);
  EXPECT_EQ(m.LineValue[16], 10.25);
  EXPECT_EQ(m.ShowAlert[2], -1);
  SSRLines fresh;
  fresh.Load(ar, -1);  // nothing under "SSRLines"
  EXPECT_TRUE(fresh == SSRLines());
}

TEST(SRLines, SaveSettingReachesAlarmsetIniInTheIndexDirectory) {
  IndexDirScope scope;
  SSRLines l;
  l.ShowTitle = 1;
  l.LineStyle = 2;
  l.ShowLine[4] = 1;
  l.LineColor[4] = 0x0A0B0C;
  EXPECT_EQ(l.SaveSetting(), 1);
  std::string text = ReadBytes(scope.dir + "alarmset.ini");
  EXPECT_NE(text.find("[Alram Configuration]"), std::string::npos) << text;
  EXPECT_NE(text.find("[4]"), std::string::npos) << text;
  EXPECT_EQ(Listing(scope.dir), "alarmset.ini ");

  SSRLines m;
  m.ShowAlarmLine = 0;  // not read from the file
  EXPECT_EQ(m.ReadSetting(), 1);
  EXPECT_EQ(m.ShowTitle, 1);
  EXPECT_EQ(m.LineStyle, 2);
  EXPECT_EQ(m.ShowLine[4], 1);
  EXPECT_EQ(m.LineColor[4], 0x0A0B0C);
  EXPECT_EQ(m.ShowAlarmLine, 0);
}

TEST(SRLines, SaveSettingKeepsTheRestOfTheFile) {
  IndexDirScope scope;
  WriteBytes(scope.dir + "alarmset.ini", "; the host's notes\n[Host]\nWindow=3\n");
  SSRLines().SaveSetting();
  std::string text = ReadBytes(scope.dir + "alarmset.ini");
  EXPECT_NE(text.find("; the host's notes"), std::string::npos);
  EXPECT_NE(text.find("Window=3"), std::string::npos);
  EXPECT_NE(text.find("TextPos=2"), std::string::npos);
}

TEST(SRLines, SettingsSavedInEnglishKeepTheirLineSectionsInKorean) {
  IndexDirScope scope;
  SSRLines l;
  l.ShowValue = 1;
  l.LineThick[20] = 3;
  l.SaveSetting();
  LangScope korean(kLangKorean);
  SSRLines m;
  m.ReadSetting();
  EXPECT_EQ(m.ShowValue, 0);       // the main section has another name
  EXPECT_EQ(m.LineThick[20], 3);   // line sections are numbers in both
}

TEST(SRLines, ReadSettingWithoutAFileKeepsTheRecordAndCreatesNothing) {
  IndexDirScope scope;
  SSRLines l;
  l.ShowTitle = 1;
  l.LineColor[1] = 5;
  EXPECT_EQ(l.ReadSetting(), 0);
  EXPECT_EQ(l.ShowTitle, 1);
  EXPECT_EQ(l.LineColor[1], 5);
  EXPECT_EQ(Listing(scope.dir), "");
}

}  // namespace
