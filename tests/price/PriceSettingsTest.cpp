// The price-data settings file: names in the language of the writer, values
// with their defaults, the count, and the support/resistance line section.
#include <gtest/gtest.h>

#include <string>

#include "calc/CalcTestUtil.h"
#include "chartcalc.h"
#include "core/StorageTestUtil.h"

using namespace chartcalc::detail;

namespace {

// Two records with settings away from their defaults; the second one has no
// support/resistance lines.
SPriceDataList TwoSymbols() {
  SPriceDataList l;
  l.Add();
  l.Add();
  SPriceData& a = l[0];
  a.ID = 11;
  a.SymbolCode = "A11";
  SPriceProperty& p = *a.PriceProperty;
  p.WhiteLineColor[5] = 0x010203;
  p.BlackLineFill[17] = 1;
  p.VolumeAtPriceColor[4] = 7;
  p.BlVolumeDisp[4] = 0;
  p.Value1[9] = "12.5";
  p.Value2[15] = "20";
  p.MinMaxY = 2;
  p.UserMax = 1500.5;
  p.UserMin = -3;
  p.LogY = 1;
  p.InvertY = 1;
  p.LineStyle = 2;
  p.LineThick = 3;
  p.ShowBaseLine[2] = 1;
  p.ShowLH = 1;
  p.ShowHC = 0;
  p.PriceChartType = 6;
  SSRLines& s = *a.SRLines;
  s.ShowTitle = 1;
  s.ShowValue = 1;
  s.LineStyle = 4;
  s.ShowAlarmLine = 0;
  s.TextPos = 1;
  s.LineColor[3] = 0x0A0B0C;
  s.ShowLine[16] = 1;
  s.LineThick[27] = 2;
  s.SetValue(25, 123.25);
  s.SetValue(3, 99);  // not a user line: not in the file
  l[1].ID = 12;
  l[1].SRLines.reset();
  return l;
}

std::string SaveToText(const SPriceDataList& l) {
  CMemFile f;
  l.SaveSetting(&f);
  return std::string(f.Content());
}

void ExpectFirstRecordRestored(const SPriceData& a) {
  EXPECT_EQ(a.ID, 11);
  EXPECT_STREQ(a.SymbolCode.c_str(), "A11");
  const SPriceProperty& p = *a.PriceProperty;
  EXPECT_EQ(p.WhiteLineColor[5], 0x010203);
  EXPECT_EQ(p.BlackLineFill[17], 1);
  EXPECT_EQ(p.VolumeAtPriceColor[4], 7);
  EXPECT_EQ(p.BlVolumeDisp[4], 0);
  EXPECT_STREQ(p.Value1[9].c_str(), "12.5");
  EXPECT_STREQ(p.Value2[15].c_str(), "20");
  EXPECT_EQ(p.MinMaxY, 2);
  EXPECT_EQ(p.UserMax, 1500.5);
  EXPECT_EQ(p.UserMin, -3);
  EXPECT_EQ(p.LogY, 1);
  EXPECT_EQ(p.InvertY, 1);
  EXPECT_EQ(p.LineStyle, 2);
  EXPECT_EQ(p.LineThick, 3);
  EXPECT_EQ(p.ShowBaseLine[2], 1);
  EXPECT_EQ(p.ShowLH, 1);
  EXPECT_EQ(p.ShowHC, 0);
  EXPECT_EQ(p.PriceChartType, 6);
  ASSERT_NE(a.SRLines, nullptr);
  const SSRLines& s = *a.SRLines;
  EXPECT_EQ(s.ShowTitle, 1);
  EXPECT_EQ(s.ShowValue, 1);
  EXPECT_EQ(s.LineStyle, 4);
  EXPECT_EQ(s.ShowAlarmLine, 0);
  EXPECT_EQ(s.TextPos, 1);
  EXPECT_EQ(s.LineColor[3], 0x0A0B0C);
  EXPECT_EQ(s.ShowLine[16], 1);
  EXPECT_EQ(s.LineThick[27], 2);
  EXPECT_EQ(s.LineValue[25], 123.25);
  EXPECT_EQ(s.LineValue[3], 0.0);
}

TEST(PriceSettings, EnglishFileUsesEnglishSectionAndKeyNames) {
  std::string text = SaveToText(TwoSymbols());
  for (const char* piece : {"[-1]", "COUNT=2", "[0_Configuration]", "PriceID=11", "Code=A11", "[0_Candle Chart]",
                            "[0_P&F chart]", "Uptrend color=", "Fill in a Ascension.=", "Fill in the down part=",
                            "Variable value 1=12.5", "[0_Market profile]", "MaxMin=2", "Max value=1500.5",
                            "Line's thickness=3", "Default2=1", "[0_RatioShow]", "Low/High=1", "LC(Low,Close)=1",
                            "HC=0", "Chart Type=6", "[0_Alram]", "AlramNameShow=1", "PriceShow=1", "LineType=4",
                            "Show the screen=0", "Show position=1", "LineColor tone3=", "LineShow16=1",
                            "Line's thickness27=2", "Default25=123.25", "[1_Configuration]", "PriceID=12"})
    EXPECT_NE(text.find(piece), std::string::npos) << piece << "\n" << text;
  EXPECT_EQ(text.find("Default23="), std::string::npos);  // only user lines carry values
  EXPECT_EQ(text.find("[1_Alram]"), std::string::npos);  // the second record has no lines
}

TEST(PriceSettings, KoreanFileUsesKoreanNames) {
  LangScope korean(kLangKorean);
  std::string text = SaveToText(TwoSymbols());
  // Written as UTF-8, since every name converts cleanly.
  for (const char* piece : {"[0_설정]", "[0_봉차트]", "상승색=", "[0_비율보기]", "저종=1", "차트유형=6", "[0_알람]",
                            "알람명보기=1", "값보기=1", "선색상3=", "선보기16=1", "선굵기27=2", "기준값25=123.25",
                            "거꾸로 보기=1", "기준값2=1"})
    EXPECT_NE(text.find(piece), std::string::npos) << piece << "\n" << text;
  EXPECT_EQ(text.find("Configuration"), std::string::npos);
}

TEST(PriceSettings, FileReadInTheLanguageItWasWrittenInRestoresTheSettings) {
  for (int lang : {kLangEnglish, kLangKorean}) {
    LangScope scope(lang);
    CMemFile f;
    TwoSymbols().SaveSetting(&f);
    SPriceDataList l;
    EXPECT_EQ(l.ReadSetting(&f), 1);
    ASSERT_EQ(l.GetSize(), 2) << lang;
    ExpectFirstRecordRestored(l[0]);
    EXPECT_EQ(l[1].ID, 12);
  }
}

TEST(PriceSettings, EnglishFileReadInKoreanGivesDefaults) {
  CMemFile f;
  TwoSymbols().SaveSetting(&f);
  LangScope korean(kLangKorean);
  SPriceDataList l;
  l.ReadSetting(&f);
  ASSERT_EQ(l.GetSize(), 2);  // the count's section is a number in both
  EXPECT_EQ(l[0].ID, 0);      // PriceID falls back to the index
  EXPECT_EQ(l[1].ID, 1);
  EXPECT_STREQ(l[0].SymbolCode.c_str(), "");
  EXPECT_EQ(l[0].PriceProperty->PriceChartType, 0);
  EXPECT_EQ(l[0].PriceProperty->WhiteLineColor[5], 0x1414EB);
  EXPECT_EQ(l[0].PriceProperty->UserMax, 0.0);
  EXPECT_TRUE(*l[0].SRLines == SSRLines());
}

TEST(PriceSettings, FileWithoutCountGivesOneDefaultRecord) {
  CMemFile f;
  f.SetContent("[Other]\nx=1\n");
  SPriceDataList l;
  l.Add();
  l.Add();
  l.ReadSetting(&f);
  ASSERT_EQ(l.GetSize(), 1);
  EXPECT_EQ(l[0].ID, 0);
  EXPECT_EQ(l[0].PriceProperty->CompStyle(SPriceProperty()), 1);
  EXPECT_STREQ(l[0].PriceProperty->Value1[10].c_str(), "25");
}

TEST(PriceSettings, AnEmptyListWritesOnlyTheCount) {
  std::string text = SaveToText(SPriceDataList());
  EXPECT_NE(text.find("COUNT=0"), std::string::npos);
  EXPECT_EQ(text.find("Configuration"), std::string::npos);
  SPriceDataList l;
  CMemFile f;
  f.SetContent(text);
  l.ReadSetting(&f);
  EXPECT_EQ(l.GetSize(), 0);
}

TEST(PriceSettings, DefaultAlarmKeysLeaveTheRecordsOwnLinesUntouched) {
  // The slot's lines keep what they held: reading replaces them only when
  // the file's line settings differ from a fresh record's.
  SPriceDataList l;
  l.Add();
  l.Items[0].SRLines->ShowTitle = 1;
  l.Items[0].SRLines->SetValue(2, 5);
  CMemFile f;
  f.SetContent("[-1]\nCOUNT=1\n[0_Alram]\nAlramNameShow=0\nDefault25=7\n");
  l.ReadSetting(&f);
  EXPECT_EQ(l[0].SRLines->ShowTitle, 1);
  EXPECT_EQ(l[0].SRLines->LineValue[2], 5);
  EXPECT_EQ(l[0].SRLines->LineValue[25], 0.0);  // a value alone is no difference
}

TEST(PriceSettings, ChangedAlarmKeysCreateMissingLines) {
  SPriceDataList l;
  l.Add();
  l.Items[0].SRLines.reset();
  CMemFile f;
  f.SetContent("[-1]\nCOUNT=1\n[0_Alram]\nLineShow4=1\nDefault24=9.5\n");
  l.ReadSetting(&f);
  ASSERT_NE(l[0].SRLines, nullptr);
  EXPECT_EQ(l[0].SRLines->ShowLine[4], 1);
  EXPECT_EQ(l[0].SRLines->LineValue[24], 9.5);
}

TEST(PriceSettings, FileRoundTripAndNoStrayFiles) {
  std::string dir = TestDir();
  std::string path = dir + "price.ini";
  EXPECT_EQ(TwoSymbols().SaveSetting(path.c_str()), 1);
  EXPECT_EQ(Listing(dir), "price.ini ");
  SPriceDataList l;
  EXPECT_EQ(l.ReadSetting(path.c_str()), 1);
  ASSERT_EQ(l.GetSize(), 2);
  ExpectFirstRecordRestored(l[0]);
  EXPECT_EQ(Listing(dir), "price.ini ");
}

TEST(PriceSettings, MissingFileOrNullSourceChangesNoFile) {
  std::string dir = TestDir();
  SPriceDataList l;
  l.Add();
  l.Add();
  EXPECT_EQ(l.ReadSetting((dir + "none.ini").c_str()), 0);
  EXPECT_EQ(l.GetSize(), 1);  // read as a file without a count
  EXPECT_EQ(Listing(dir), "");
  EXPECT_EQ(l.ReadSetting(static_cast<CMemFile*>(nullptr)), 0);
  EXPECT_EQ(l.SaveSetting(static_cast<CMemFile*>(nullptr)), 0);
  EXPECT_EQ(l.ReadSetting(static_cast<const char*>(nullptr)), 0);
  EXPECT_EQ(l.GetSize(), 1);
}

TEST(PriceSettings, AHugeCountIsBounded) {
  CMemFile f;
  f.SetContent("[-1]\nCOUNT=2000000000\n");
  SPriceDataList l;
  l.ReadSetting(&f);
  EXPECT_EQ(l.GetSize(), kMaxPriceRecords);
  f.SetContent("[-1]\nCOUNT=-3\n");
  l.ReadSetting(&f);
  EXPECT_EQ(l.GetSize(), 0);
}

}  // namespace
