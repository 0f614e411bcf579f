// Price-chart properties: the per-type defaults, parameter names by language,
// values derived from a price, style comparison and archive persistence.
#include <gtest/gtest.h>

#include <set>
#include <string>

#include "calc/CalcTestUtil.h"
#include "chartcalc.h"

using namespace chartcalc::detail;

namespace {

// The per-type defaults as the price-data settings file lists them, written
// out independently of the record's own table.
struct SettingsDefault {
  int up, fillUp, down, fillDown, volumeAtPrice, showFigure;
  const char* value1;
  const char* value2;
};

const SettingsDefault kSettingsDefaults[kPriceChartTypes] = {
    {0x1414EB, 1, 0xC81616, 1, 0x99FFCC, 0, "10", "0"},  {0x1414EB, 1, 0xC81616, 1, 0x99FFCC, 0, "10", "0"},
    {0x1414EB, 1, 0xC81616, 1, 0x99FFCC, 0, "10", "0"},  {0x1414EB, 1, 0xC81616, 1, 0x99FFCC, 0, "10", "0"},
    {0x1414EB, 1, 0xC81616, 1, 0x99FFCC, 1, "10", "0"},  {0x1414EB, 1, 0xC81616, 1, 0x99FFCC, 0, "3", "0"},
    {0x1414EB, 1, 0xC81616, 1, 0x99FFCC, 0, "3", "0"},   {0x1414EB, 1, 0xC81616, 1, 0x99FFCC, 0, "3", "0"},
    {0x1414EB, 1, 0xC81616, 1, 0x99FFCC, 0, "3", "0"},   {0x1414EB, 1, 0xC81616, 1, 0x99FFCC, 0, "3", "0"},
    {0, 1, 0, 1, 0x99FFCC, 0, "25", "0"},                {0x1414EB, 1, 0xC81616, 1, 0x99FFCC, 0, "0", "0"},
    {0x1414EB, 0, 0xC81616, 1, 0x99FFCC, 0, "0", "0"},   {0x1414EB, 1, 0xC81616, 1, 0x99FFCC, 0, "10", "0"},
    {0x1414EB, 1, 0xC81616, 1, 0x99FFCC, 0, "0", "0"},   {0x1414EB, 1, 0xC81616, 1, 0x99FFCC, 0, "10", "10"},
    {0x1414EB, 1, 0xC81616, 1, 0x1414EB, 0, "5", "0"},   {0, 0, 0, 0, 0, 0, "30", "0"},
};

TEST(PriceProperty, EveryChartTypeHasTheDefaultsOfTheSettingsTable) {
  SPriceProperty p;
  for (int k = 0; k < kPriceChartTypes; ++k) {
    const SettingsDefault& e = kSettingsDefaults[k];
    EXPECT_EQ(p.WhiteLineColor[k], e.up) << k;
    EXPECT_EQ(p.WhiteLineFill[k], e.fillUp) << k;
    EXPECT_EQ(p.BlackLineColor[k], e.down) << k;
    EXPECT_EQ(p.BlackLineFill[k], e.fillDown) << k;
    EXPECT_EQ(p.VolumeAtPriceColor[k], e.volumeAtPrice) << k;
    EXPECT_EQ(p.BlVolumeDisp[k], e.showFigure) << k;
    EXPECT_STREQ(p.Value1[k].c_str(), e.value1) << k;
    EXPECT_STREQ(p.Value2[k].c_str(), e.value2) << k;
    EXPECT_EQ(p.Default1[k], p.Value1[k]) << k;
    EXPECT_EQ(p.Default2[k], p.Value2[k]) << k;
  }
}

// The visibility flags, each given as the set of types where it differs from
// its usual value.
TEST(PriceProperty, VisibilityFlagsFollowTheirTypeSets) {
  struct FlagSet {
    const char* name;
    int (SPriceProperty::*flag)[kPriceChartTypes];
    int usual;
    std::set<int> others;
  };
  const FlagSet sets[] = {
      {"BlWhiteLineColor", &SPriceProperty::BlWhiteLineColor, 1, {10, 17}},
      {"BlWhiteLineFill", &SPriceProperty::BlWhiteLineFill, 0, {0, 4, 6, 9, 11, 12, 15, 16}},
      {"BlBlackLineColor", &SPriceProperty::BlBlackLineColor, 1, {3, 10, 13, 17}},
      {"BlBlackLineFill", &SPriceProperty::BlBlackLineFill, 0, {0, 4, 6, 9, 11, 12, 15, 16}},
      {"BlVolumeAtPrice", &SPriceProperty::BlVolumeAtPrice, 0, {4, 16}},
      {"BlVolumeDisp", &SPriceProperty::BlVolumeDisp, 0, {4}},
      {"BlName1", &SPriceProperty::BlName1, 1, {11, 12, 14}},
      {"BlValue1", &SPriceProperty::BlValue1, 1, {11, 12, 14}},
      {"BlName2", &SPriceProperty::BlName2, 0, {5, 15}},
      {"BlValue2", &SPriceProperty::BlValue2, 0, {5, 15}},
  };
  SPriceProperty p;
  for (const FlagSet& s : sets)
    for (int k = 0; k < kPriceChartTypes; ++k)
      EXPECT_EQ((p.*s.flag)[k], s.others.count(k) ? 1 - s.usual : s.usual) << s.name << " " << k;
  EXPECT_EQ(p.Initializing, 0);
  EXPECT_EQ(p.ShowLC, 1);
  EXPECT_EQ(p.LineThick, 1);
}

TEST(PriceProperty, ParameterNamesAreTakenInTheLanguageOfConstruction) {
  SPriceProperty english;
  EXPECT_STREQ(english.Name1[5].c_str(), "Blank Conversion");
  EXPECT_STREQ(english.Name2[5].c_str(), "Blank Size");
  EXPECT_STREQ(english.Name2[6].c_str(), "conversion price");
  EXPECT_STREQ(english.Name1[10].c_str(), "Moving average");
  EXPECT_STREQ(english.Name1[17].c_str(), "Minute Distince");
  EXPECT_STREQ(english.Name2[0].c_str(), "");
  EXPECT_STREQ(english.Name1[11].c_str(), "");
  LangScope korean(kLangKorean);
  SPriceProperty p;
  EXPECT_EQ(p.Name1[5].str(), Cp949("칸전환"));
  EXPECT_EQ(p.Name1[0].str(), Cp949("매물대 수"));
  EXPECT_EQ(p.Name2[15].str(), Cp949("간격"));
  EXPECT_STREQ(english.Name1[5].c_str(), "Blank Conversion");  // kept as made
}

TEST(PriceProperty, ChartTypeNamesFollowTheCurrentLanguage) {
  EXPECT_STREQ(GetPriceChartTypeName(0), "Candle Chart");
  EXPECT_STREQ(GetPriceChartTypeName(5), "P&F chart");
  EXPECT_STREQ(GetPriceChartTypeName(17), "Market profile");
  EXPECT_STREQ(GetPriceChartTypeName(18), "");
  EXPECT_STREQ(GetPriceChartTypeName(-1), "");
  LangScope korean(kLangKorean);
  EXPECT_EQ(std::string(GetPriceChartTypeName(1)), Cp949("바차트(시고저종)"));
  EXPECT_EQ(std::string(GetPriceChartTypeName(15)), Cp949("그물망차트"));
}

TEST(PriceProperty, SetValueDerivesBoxReversalAndBrickSizesFromThePrice) {
  SPriceProperty p;
  p.SetValue(1000);
  EXPECT_STREQ(p.Value2[5].c_str(), "20");
  EXPECT_STREQ(p.Value1[7].c_str(), "50");
  EXPECT_STREQ(p.Value1[8].c_str(), "50");
  EXPECT_STREQ(p.Value1[9].c_str(), "40");
  EXPECT_STREQ(p.Value1[5].c_str(), "3");  // untouched
  // The step is rounded to two significant digits: 1234.5 * 0.02 = 24.69.
  p.SetValue(1234.5);
  EXPECT_STREQ(p.Value2[5].c_str(), "25");
  EXPECT_STREQ(p.Value1[8].c_str(), "62");
  EXPECT_STREQ(p.Default2[5].c_str(), "0");  // defaults are a separate set
}

TEST(PriceProperty, SetDefaultOptionValueChangesOnlyTheListedDefaults) {
  SPriceProperty p;
  p.Default2[17] = "keep";
  p.Default1[0] = "keep";
  p.Default1[4] = "x";
  p.SetDefaultOptionValue(1000);
  EXPECT_STREQ(p.Default1[4].c_str(), "10");
  EXPECT_STREQ(p.Default1[5].c_str(), "3");
  EXPECT_STREQ(p.Default2[5].c_str(), "20");
  EXPECT_STREQ(p.Default1[7].c_str(), "50");
  EXPECT_STREQ(p.Default1[8].c_str(), "50");
  EXPECT_STREQ(p.Default1[9].c_str(), "40");
  EXPECT_STREQ(p.Default1[10].c_str(), "25");
  EXPECT_STREQ(p.Default2[15].c_str(), "10");
  EXPECT_STREQ(p.Default1[17].c_str(), "30");
  EXPECT_STREQ(p.Default2[17].c_str(), "keep");
  EXPECT_STREQ(p.Default1[0].c_str(), "keep");
  EXPECT_STREQ(p.Value2[5].c_str(), "0");
}

TEST(PriceProperty, CompStyleLooksOnlyAtRisingAndFallingColoursAndFills) {
  SPriceProperty a, b;
  EXPECT_EQ(a.CompStyle(b), 1);
  b.VolumeAtPriceColor[3] = 1;
  b.BlWhiteLineColor[3] = 0;
  EXPECT_EQ(a.CompStyle(b), 1);
  b.BlackLineFill[17] = 1;
  EXPECT_EQ(a.CompStyle(b), 0);
  EXPECT_EQ(b.CompStyle(a), 0);
  b.BlackLineFill[17] = 0;
  b.WhiteLineColor[0] = 7;
  EXPECT_EQ(a.CompStyle(b), 0);
}

TEST(PriceProperty, AssignStyleTakesTheFourStyleArraysAndNothingElse) {
  SPriceProperty a, b;
  b.WhiteLineColor[2] = 1;
  b.WhiteLineFill[3] = 0;
  b.BlackLineColor[4] = 2;
  b.BlackLineFill[17] = 1;
  b.VolumeAtPriceColor[4] = 3;
  b.PriceChartType = 5;
  a.AssignStyle(b);
  EXPECT_EQ(a.CompStyle(b), 1);
  EXPECT_EQ(a.BlackLineFill[17], 1);
  EXPECT_EQ(a.VolumeAtPriceColor[4], 0x99FFCC);
  EXPECT_EQ(a.PriceChartType, 0);
}

TEST(PriceProperty, StoreOfADefaultRecordWritesEveryKeyWithItsDefault) {
  CFBArchive ar;
  SPriceProperty().Store(ar, -1);
  // 5 leading keys, 21 per chart type, 12 trailing keys.
  EXPECT_EQ(ar.GetEntryCount(), 5 + 21 * kPriceChartTypes + 12);
  ar.SetCategory("PriceProperty");
  EXPECT_STREQ(ar.GetStr("5.Value2", "?").c_str(), "0");
  EXPECT_STREQ(ar.GetStr("5.Name1", "?").c_str(), "Blank Conversion");
  EXPECT_EQ(ar.GetInt("16.VolumeAtPriceColor", -1), 0x1414EB);
  EXPECT_EQ(ar.GetInt("17.BlValue2", -1), 0);
  EXPECT_EQ(ar.GetInt("ShowBaseLine3", -1), 0);
  EXPECT_EQ(ar.GetInt("LineCompare", -1), 0);
  EXPECT_EQ(ar.GetInt("ShowHC", -1), 1);
}

TEST(PriceProperty, ArchiveRoundTripUnderANumberedCategory) {
  SPriceProperty p;
  p.BlUse128Scale = 1;
  p.ShowBaseLine[2] = 1;
  p.WhiteLineColor[0] = 0x010203;
  p.Value1[9] = "7.5";
  p.Default2[5] = "12";
  p.BlName2[14] = 1;
  p.MinMaxY = 2;
  p.UserMin = -1.5;
  p.UserMax = 99.25;
  p.PriceChartType = 16;
  p.LineCompare = 3;
  CFBArchive ar;
  p.Store(ar, 3);
  ar.SetCategory("PriceProperty");
  EXPECT_FALSE(ar.HasKey("MinMaxY"));  // the unnumbered category is another record

  SPriceProperty q;
  q.Load(ar, 3);
  EXPECT_EQ(q.BlUse128Scale, 1);
  EXPECT_EQ(q.ShowBaseLine[2], 1);
  EXPECT_EQ(q.WhiteLineColor[0], 0x010203);
  EXPECT_STREQ(q.Value1[9].c_str(), "7.5");
  EXPECT_STREQ(q.Default2[5].c_str(), "12");
  EXPECT_EQ(q.BlName2[14], 1);
  EXPECT_EQ(q.MinMaxY, 2);
  EXPECT_EQ(q.UserMin, -1.5);
  EXPECT_EQ(q.UserMax, 99.25);
  EXPECT_EQ(q.PriceChartType, 16);
  EXPECT_EQ(q.LineCompare, 3);
}

TEST(PriceProperty, LoadFromAnEmptyArchiveGivesTheDefaults) {
  SPriceProperty p;
  p.PriceChartType = 4;
  p.Value1[3] = "x";
  p.UserMax = 5;
  CFBArchive ar;
  p.Load(ar, -1);
  EXPECT_EQ(p.PriceChartType, 0);
  EXPECT_STREQ(p.Value1[3].c_str(), "10");
  EXPECT_EQ(p.UserMax, 0.0);
}

}  // namespace
