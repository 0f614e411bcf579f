// Price-chart properties: the per-type defaults, parameter names by language,
// values derived from a price, style comparison and archive persistence.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "calc/CalcTestUtil.h"
#include "chartcalc.h"

using namespace chartcalc::detail;

namespace {

using P = SPriceProperty;
using IntsPerType = int (P::*)[kPriceChartTypes];
using Ints = std::vector<int>;

// A per-type int array as one character per chart type: R the rising colour,
// F the falling colour, V the volume-at-price colour, else the digit.
std::string Codes(const int (&a)[kPriceChartTypes]) {
  std::string s;
  for (int v : a) s += v == 0x1414EB ? 'R' : v == 0xC81616 ? 'F' : v == 0x99FFCC ? 'V' : static_cast<char>('0' + v);
  return s;
}

// A per-type text array, one entry per chart type followed by a blank.
std::string Join(const SString (&a)[kPriceChartTypes]) {
  std::string s;
  for (const SString& v : a) s += v.str() + " ";
  return s;
}

// The defaults as the price-data settings file lists them, chart types 0-17,
// written out independently of the record's own table.
TEST(PriceProperty, EveryChartTypeHasTheDefaultsOfTheSettingsTable) {
  const std::pair<IntsPerType, const char*> ints[] = {
      {&P::WhiteLineColor, "RRRRRRRRRR0RRRRRR0"},     {&P::WhiteLineFill, "111111111111011110"},
      {&P::BlackLineColor, "FFFFFFFFFF0FFFFFF0"},     {&P::BlackLineFill, "111111111111111110"},
      {&P::VolumeAtPriceColor, "VVVVVVVVVVVVVVVVR0"}, {&P::BlWhiteLineColor, "111111111101111110"},
      {&P::BlWhiteLineFill, "100010100101100110"},    {&P::BlBlackLineColor, "111011111101101110"},
      {&P::BlBlackLineFill, "100010100101100110"},    {&P::BlVolumeAtPrice, "000010000000000010"},
      {&P::BlVolumeDisp, "000010000000000000"},       {&P::BlName1, "111111111110010111"},
      {&P::BlValue1, "111111111110010111"},           {&P::BlName2, "000001000000000100"},
      {&P::BlValue2, "000001000000000100"},
  };
  P p;
  for (size_t i = 0; i < std::size(ints); ++i) EXPECT_EQ(Codes(p.*ints[i].first), ints[i].second) << "array " << i;
  EXPECT_EQ(Join(p.Value1), "10 10 10 10 10 3 3 3 3 3 25 0 0 10 0 10 5 30 ");
  EXPECT_EQ(Join(p.Value2), "0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 10 0 0 ");
  EXPECT_EQ(Join(p.Default1), Join(p.Value1));
  EXPECT_EQ(Join(p.Default2), Join(p.Value2));
}

TEST(PriceProperty, NamesAreTakenInTheLanguageOfTheMomentAndKeptAsMade) {
  P english;
  EXPECT_STREQ(english.Name1[5].c_str(), "Blank Conversion");
  EXPECT_STREQ(english.Name2[6].c_str(), "conversion price");
  EXPECT_STREQ(english.Name1[17].c_str(), "Minute Distince");
  EXPECT_STREQ(english.Name1[11].c_str(), "");
  EXPECT_STREQ(GetPriceChartTypeName(5), "P&F chart");
  EXPECT_STREQ(GetPriceChartTypeName(18), "");
  EXPECT_STREQ(GetPriceChartTypeName(-1), "");
  LangScope korean(kLangKorean);
  P p;
  EXPECT_EQ(p.Name1[5].str(), Cp949("칸전환"));
  EXPECT_EQ(p.Name2[15].str(), Cp949("간격"));
  EXPECT_EQ(std::string(GetPriceChartTypeName(1)), Cp949("바차트(시고저종)"));
  EXPECT_STREQ(english.Name1[5].c_str(), "Blank Conversion");
}

// Steps are the price times a factor rounded to two significant digits:
// 1234.5 * 0.02 = 24.69, * 0.05 = 61.725, * 0.04 = 49.38.
TEST(PriceProperty, PriceDerivedValuesAndDefaultsChangeOnlyTheirOwnEntries) {
  P p;
  p.SetValue(1234.5);
  EXPECT_EQ(Join(p.Value1), "10 10 10 10 10 3 3 62 62 49 25 0 0 10 0 10 5 30 ");
  EXPECT_EQ(Join(p.Value2), "0 0 0 0 0 25 0 0 0 0 0 0 0 0 0 10 0 0 ");
  EXPECT_EQ(Join(p.Default2), "0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 10 0 0 ");
  P d;
  d.Default1[0] = d.Default2[17] = "keep";
  d.Default1[4] = "x";
  d.SetDefaultOptionValue(1000);
  EXPECT_EQ(Join(d.Default1), "keep 10 10 10 10 3 3 50 50 40 25 0 0 10 0 10 5 30 ");
  EXPECT_EQ(Join(d.Default2), "0 0 0 0 0 20 0 0 0 0 0 0 0 0 0 10 0 keep ");
  EXPECT_EQ(Join(d.Value2), Join(P().Value2));
}

TEST(PriceProperty, StyleIsTheRisingAndFallingColoursAndFillsOnly) {
  P a, b;
  b.VolumeAtPriceColor[3] = 1;
  b.BlWhiteLineColor[3] = 0;
  b.PriceChartType = 5;
  EXPECT_EQ(a.CompStyle(b), 1);
  for (IntsPerType field : {&P::WhiteLineColor, &P::WhiteLineFill, &P::BlackLineColor, &P::BlackLineFill}) {
    P c = b;
    (c.*field)[17] = 7;
    EXPECT_EQ(a.CompStyle(c), 0);
    EXPECT_EQ(c.CompStyle(a), 0);
    a.AssignStyle(c);
    EXPECT_EQ(a.CompStyle(c), 1);
  }
  EXPECT_EQ(a.VolumeAtPriceColor[3], 0x99FFCC);
  EXPECT_EQ(a.PriceChartType, 0);
}

TEST(PriceProperty, StoreWritesEveryKeyAndLoadGivesItBackUnderANumberedCategory) {
  CFBArchive ar;
  P p, q, empty;
  p.Store(ar, -1);
  EXPECT_EQ(ar.GetEntryCount(), 5 + 21 * kPriceChartTypes + 12);  // leading, per-type and trailing keys
  ar.SetCategory("PriceProperty");
  EXPECT_STREQ(ar.GetStr("5.Name1", "?").c_str(), "Blank Conversion");
  const Ints keys = {ar.GetInt("16.VolumeAtPriceColor", -1), ar.GetInt("ShowBaseLine3", -1),
                     ar.GetInt("LineCompare", -1), ar.GetInt("ShowHC", -1)};
  EXPECT_EQ(keys, (Ints{0x1414EB, 0, 0, 1}));
  p.ShowBaseLine[2] = p.BlName2[14] = 1;
  p.WhiteLineColor[0] = 0x010203;
  p.Value1[9] = "7.5";
  p.MinMaxY = 2;
  p.UserMax = 99.25;
  p.LineCompare = 3;
  ar.Clear();
  p.Store(ar, 3);
  q.Load(ar, 3);
  EXPECT_EQ((Ints{q.ShowBaseLine[2], q.BlName2[14], q.WhiteLineColor[0], q.MinMaxY, q.LineCompare}),
            (Ints{1, 1, 0x010203, 2, 3}));
  EXPECT_STREQ(q.Value1[9].c_str(), "7.5");
  EXPECT_EQ(q.UserMax, 99.25);
  q.Load(ar, -1);  // nothing under the unnumbered category: the defaults
  EXPECT_EQ(Join(q.Value1), Join(empty.Value1));
  EXPECT_EQ(q.UserMax, 0.0);
}

}  // namespace
