// The price-data settings file: names in the language of the writer, values
// with their defaults, the count, and the support/resistance line section.
#include "price/PriceTestUtil.h"

// Two records with settings away from their defaults; the second one has no
// support/resistance lines.
static SPriceDataList TwoSymbols() {
  SPriceDataList l = ListOf(2);
  SPriceData& a = l[0];
  SPriceProperty& p = *a.PriceProperty;
  std::tie(a.ID, a.SymbolCode, p.Value1[9], p.Value2[15]) = std::tuple(11, "A11", "12.5", "20");
  std::tie(p.WhiteLineColor[5], p.BlackLineFill[17], p.VolumeAtPriceColor[4], p.BlVolumeDisp[4]) =
      std::tuple(0x010203, 1, 7, 0);
  std::tie(p.MinMaxY, p.UserMax, p.UserMin, p.LogY, p.InvertY, p.LineStyle, p.LineThick) =
      std::tuple(2, 1500.5, -3.0, 1, 1, 2, 3);
  std::tie(p.ShowBaseLine[2], p.ShowLH, p.ShowHC, p.PriceChartType) = std::tuple(1, 1, 0, 6);
  SSRLines& s = *a.SRLines;
  std::tie(s.ShowTitle, s.ShowValue, s.LineStyle, s.ShowAlarmLine, s.TextPos) = std::tuple(1, 1, 4, 0, 1);
  std::tie(s.LineColor[3], s.ShowLine[16], s.LineThick[27]) = std::tuple(0x0A0B0C, 1, 2);
  s.SetValue(25, 123.25);
  s.SetValue(3, 99);  // not a user line: not in the file
  l[1].ID = 12;
  l[1].SRLines.reset();
  return l;
}

static std::string Saved(const SPriceDataList& l) {
  CMemFile f;
  EXPECT_EQ(l.SaveSetting(&f), 1);
  return std::string(f.Content());
}

// The list a settings text gives, read in the current language.
static SPriceDataList Read(const std::string& text) {
  CMemFile f;
  f.SetContent(text);
  SPriceDataList l;
  EXPECT_EQ(l.ReadSetting(&f), 1);
  return l;
}

// The names each language writes; the Korean ones as UTF-8, since every name
// converts cleanly.
using Names = std::vector<std::string>;
// clang-format off
const Names kEnglishNames = {"[-1]", "COUNT=2", "[0_Configuration]", "PriceID=11", "Code=A11", "[0_Candle Chart]",
    "[0_P&F chart]", "Uptrend color=", "Fill in a Ascension.=", "Fill in the down part=", "Variable value 1=12.5",
    "[0_Market profile]", "MaxMin=2", "Max value=1500.5", "Line's thickness=3", "Default2=1", "[0_RatioShow]",
    "Low/High=1", "LC(Low,Close)=1", "HC=0", "Chart Type=6", "[0_Alram]", "AlramNameShow=1", "PriceShow=1",
    "LineType=4", "Show the screen=0", "Show position=1", "LineColor tone3=", "LineShow16=1", "Line's thickness27=2",
    "Default25=123.25", "[1_Configuration]", "PriceID=12"};
const Names kKoreanNames = {"[0_설정]", "[0_봉차트]", "상승색=", "[0_비율보기]", "저종=1", "차트유형=6", "[0_알람]", "알람명보기=1", "값보기=1",
    "선색상3=", "선보기16=1", "선굵기27=2", "기준값25=123.25", "거꾸로 보기=1", "기준값2=1"};
// clang-format on

// A file is read back only in the language it was written in: in the other
// one every name misses and the defaults stay. What was read writes the same
// text again.
TEST(PriceSettings, EachLanguageWritesItsOwnNamesAndReadsOnlyThose) {
  const std::tuple<int, int, Names, Names> cases[] = {
      {kLangEnglish, kLangKorean, kEnglishNames, {"Default23=", "[1_Alram]"}},
      {kLangKorean, kLangEnglish, kKoreanNames, {"Configuration"}}};
  LangScope restore(kLangEnglish);
  for (const auto& [lang, other, names, absent] : cases) {
    SetLangType(lang);
    const std::string text = Saved(TwoSymbols());
    for (const std::string& name : names) EXPECT_NE(text.find(name), std::string::npos) << name;
    for (const std::string& name : absent) EXPECT_EQ(text.find(name), std::string::npos) << name;
    SPriceDataList same = Read(text);
    EXPECT_TRUE(*same[1].SRLines == SSRLines());  // a fresh record's
    same[1].SRLines.reset();
    EXPECT_EQ(Saved(same), text);
    SetLangType(other);
    EXPECT_EQ(Saved(Read(text)), Saved(Read("[-1]\nCOUNT=2\n")));  // the count's section is a number in both
  }
}

// Without a count one record of defaults is read; the count is bounded.
TEST(PriceSettings, FileWithoutCountGivesOneDefaultRecordAndAHugeCountIsBounded) {
  const std::pair<std::string, int> cases[] = {{"[Other]\nx=1\n", 1},
                                               {"[-1]\nCOUNT=2000000000\n", kMaxPriceRecords},
                                               {"[-1]\nCOUNT=-3\n", 0},
                                               {Saved(SPriceDataList()), 0}};
  for (const auto& [text, size] : cases) EXPECT_EQ(Read(text).GetSize(), size) << text;
  const SPriceDataList l = Read("[Other]\nx=1\n");
  EXPECT_EQ(std::tuple(l[0].ID, l[0].PriceProperty->CompStyle(SPriceProperty()), l[0].PriceProperty->Value1[10].str()),
            std::tuple(0, 1, "25"));
  EXPECT_EQ(Saved(SPriceDataList()), "[-1]\nCOUNT=0\n");
}

TEST(PriceSettings, OnlyAlarmKeysDifferentFromAFreshRecordsReplaceOrCreateTheLines) {
  SPriceDataList l = ListOf(1);
  l.Items[0].SRLines->ShowTitle = 1;
  l.Items[0].SRLines->SetValue(2, 5);
  CMemFile f;
  f.SetContent("[-1]\nCOUNT=1\n[0_Alram]\nAlramNameShow=0\nDefault25=7\n");
  l.ReadSetting(&f);
  // A value alone is no difference.
  EXPECT_EQ(std::tuple(l[0].SRLines->ShowTitle, l[0].SRLines->LineValue[2], l[0].SRLines->LineValue[25]),
            std::tuple(1, 5.0, 0.0));
  l.Items[0].SRLines.reset();
  f.SetContent("[-1]\nCOUNT=1\n[0_Alram]\nLineShow4=1\nDefault24=9.5\n");
  l.ReadSetting(&f);
  ASSERT_NE(l[0].SRLines, nullptr);
  EXPECT_EQ(std::tuple(l[0].SRLines->ShowLine[4], l[0].SRLines->LineValue[24]), std::tuple(1, 9.5));
}

TEST(PriceSettings, FileRoundTripLeavesNoStrayFilesAndAMissingFileOrNullChangesNone) {
  const std::string dir = TestDir();
  SPriceDataList l;
  EXPECT_EQ(l.ReadSetting((dir + "none.ini").c_str()), 0);
  EXPECT_EQ(std::tuple(l.GetSize(), Listing(dir)), std::tuple(1, ""));  // read as a file without a count
  EXPECT_EQ(TwoSymbols().SaveSetting((dir + "price.ini").c_str()), 1);
  EXPECT_EQ(l.ReadSetting((dir + "price.ini").c_str()), 1);
  l[1].SRLines.reset();
  EXPECT_EQ(std::tuple(Saved(l), Listing(dir)), std::tuple(Saved(TwoSymbols()), "price.ini "));
  CMemFile* noFile = nullptr;
  const char* noPath = nullptr;
  EXPECT_EQ(l.ReadSetting(noFile) + l.SaveSetting(noFile) + l.ReadSetting(noPath) + l.SaveSetting(noPath), 0);
  EXPECT_EQ(l.GetSize(), 2);
}
