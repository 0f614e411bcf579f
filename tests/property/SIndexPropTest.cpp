// The indicator display record: defaults by kind, key lookup, and its keys in
// the keyed archive.
#include <gtest/gtest.h>

#include <string>

#include "chartcalc.h"

using namespace chartcalc::detail;

namespace {

// Every persisted field set away from its default.
SIndexProp FilledRecord() {
  SIndexProp r("macd", 3);
  r.ChartPeriod = 5;
  r.ChartCycle = 2.5;
  r.UserID = 11;
  r.SymbolID = 12;
  r.ShareIndex = 13;
  r.BlMovable = 0;
  r.BlDeleble = 0;
  r.BlPopupDlg = 0;
  r.ChartNo = 4;
  r.YValueColor = 0x123456;
  r.YValueStyle = 2;
  r.YValueWidth = 3;
  r.MinMaxY = 2;
  r.UserMax = 99.5;
  r.UserMin = -7.25;
  r.InvertY = 1;
  r.LogY = 1;
  r.YScaleType = 6;
  r.YAxisCount = 7;
  r.YAxisUnitSize = 8;
  r.YAxisUnitText = "won";
  r.YAxisPrecision = 2;
  r.YAxisUseComma = 0;
  r.BlShow = 0;
  r.BlShowLegend = 0;
  r.RealUpdateType = 9;
  r.ExtID = 10;
  r.ExtData = "host";
  r.DRAWLV = 3;
  for (int k = 0; k < kIndexVars; ++k) r.VarValue[k] = std::to_string(100 + k).c_str();
  for (int k = 0; k < kIndexLines; ++k) {
    r.ShowLine[k] = 0;
    r.Shape[k] = k + 1;
    r.LineType[k] = k + 2;
    r.LineColor[k] = 0x010101 * (k + 1);
    r.LineStyle[k] = k + 3;
    r.LineWidth[k] = k + 4;
    r.LineUpColor[k] = 0x020202 * (k + 1);
    r.LineDnColor[k] = 0x030303 * (k + 1);
    r.LineUpValue[k] = std::to_string(k + 70).c_str();
    r.LineDnValue[k] = std::to_string(k + 30).c_str();
    r.LineCompMethod[k] = k + 5;
    r.YValue[k] = std::to_string(k * 10).c_str();
  }
  return r;
}

void ExpectSamePersisted(const SIndexProp& a, const SIndexProp& b) {
  EXPECT_EQ(a.IndexName, b.IndexName);
  EXPECT_EQ(a.IndexType, b.IndexType);
  EXPECT_EQ(a.ChartPeriod, b.ChartPeriod);
  EXPECT_EQ(a.ChartCycle, b.ChartCycle);
  EXPECT_EQ(a.UserID, b.UserID);
  EXPECT_EQ(a.SymbolID, b.SymbolID);
  EXPECT_EQ(a.ShareIndex, b.ShareIndex);
  EXPECT_EQ(a.BlMovable, b.BlMovable);
  EXPECT_EQ(a.BlDeleble, b.BlDeleble);
  EXPECT_EQ(a.BlPopupDlg, b.BlPopupDlg);
  EXPECT_EQ(a.ChartNo, b.ChartNo);
  EXPECT_EQ(a.YValueColor, b.YValueColor);
  EXPECT_EQ(a.YValueStyle, b.YValueStyle);
  EXPECT_EQ(a.YValueWidth, b.YValueWidth);
  EXPECT_EQ(a.MinMaxY, b.MinMaxY);
  EXPECT_EQ(a.UserMax, b.UserMax);
  EXPECT_EQ(a.UserMin, b.UserMin);
  EXPECT_EQ(a.InvertY, b.InvertY);
  EXPECT_EQ(a.LogY, b.LogY);
  EXPECT_EQ(a.YScaleType, b.YScaleType);
  EXPECT_EQ(a.YAxisCount, b.YAxisCount);
  EXPECT_EQ(a.YAxisUnitSize, b.YAxisUnitSize);
  EXPECT_EQ(a.YAxisUnitText, b.YAxisUnitText);
  EXPECT_EQ(a.YAxisPrecision, b.YAxisPrecision);
  EXPECT_EQ(a.YAxisUseComma, b.YAxisUseComma);
  EXPECT_EQ(a.BlShow, b.BlShow);
  EXPECT_EQ(a.BlShowLegend, b.BlShowLegend);
  EXPECT_EQ(a.RealUpdateType, b.RealUpdateType);
  EXPECT_EQ(a.ExtID, b.ExtID);
  EXPECT_EQ(a.ExtData, b.ExtData);
  EXPECT_EQ(a.DRAWLV, b.DRAWLV);
  for (int k = 0; k < kIndexVars; ++k) EXPECT_EQ(a.VarValue[k], b.VarValue[k]) << k;
  for (int k = 0; k < kIndexLines; ++k) {
    EXPECT_EQ(a.ShowLine[k], b.ShowLine[k]) << k;
    EXPECT_EQ(a.Shape[k], b.Shape[k]) << k;
    EXPECT_EQ(a.LineType[k], b.LineType[k]) << k;
    EXPECT_EQ(a.LineColor[k], b.LineColor[k]) << k;
    EXPECT_EQ(a.LineStyle[k], b.LineStyle[k]) << k;
    EXPECT_EQ(a.LineWidth[k], b.LineWidth[k]) << k;
    EXPECT_EQ(a.LineUpColor[k], b.LineUpColor[k]) << k;
    EXPECT_EQ(a.LineDnColor[k], b.LineDnColor[k]) << k;
    EXPECT_EQ(a.LineUpValue[k], b.LineUpValue[k]) << k;
    EXPECT_EQ(a.LineDnValue[k], b.LineDnValue[k]) << k;
    EXPECT_EQ(a.LineCompMethod[k], b.LineCompMethod[k]) << k;
    EXPECT_EQ(a.YValue[k], b.YValue[k]) << k;
  }
}

}  // namespace

TEST(IndexProp, LineColoursFollowTheKind) {
  struct Case {
    int type;
    int colors[kIndexLines];
  };
  const Case cases[] = {
      {0, {0xFF0000, 0xD800FF, 0x3300FF, 0x2F8E00, 0x64141B}},
      {-1, {0xFF0000, 0xD800FF, 0x3300FF, 0x2F8E00, 0x64141B}},
      {3, {0x0000FF, 0xFF0000, 0xFF0000, 0x0000FF, 0x64141B}},
      {2, {0xFFCCFF, 0xFFECCC, 0x3300FF, 0x2F8E00, 0x64141B}},
  };
  for (const Case& c : cases) {
    SIndexProp r("x", c.type);
    for (int k = 0; k < kIndexLines; ++k) EXPECT_EQ(r.LineColor[k], c.colors[k]) << "type " << c.type << " line " << k;
  }
}

TEST(IndexProp, SetToDefaultResetsDisplayButKeepsIdentity) {
  SIndexProp r = FilledRecord();
  r.VarName[2] = "len";
  r.Expression[1] = "avg(c, len)";
  r.RealKeys.Add("key");
  r.SetToDefault();
  EXPECT_EQ(r.IndexName, SString("macd"));
  EXPECT_EQ(r.IndexType, 3);
  EXPECT_EQ(r.UserID, 11);
  EXPECT_EQ(r.ShareIndex, 13);
  EXPECT_EQ(r.BlMovable, 0);
  EXPECT_EQ(r.BlDeleble, 0);
  EXPECT_EQ(r.SymbolID, 0);
  EXPECT_EQ(r.ChartNo, -1);
  EXPECT_EQ(r.ExtID, -1);
  EXPECT_TRUE(r.VarName[2].IsEmpty());
  EXPECT_TRUE(r.Expression[1].IsEmpty());
  EXPECT_EQ(r.LineColor[0], 0x0000FF);  // still a trading system's colours
  EXPECT_EQ(r.LineWidth[4], 1);
  EXPECT_EQ(r.YAxisUseComma, 1);
  EXPECT_EQ(r.RealKeys.Count(), 1);  // host-owned keys are not part of the defaults
}

TEST(IndexProp, StoreThenLoadGivesBackEveryPersistedField) {
  SIndexProp stored = FilledRecord();
  CFBArchive ar;
  stored.Store(ar, 3);
  SIndexProp loaded;
  loaded.Load(ar, 3);
  ExpectSamePersisted(stored, loaded);
}

TEST(IndexProp, KeysCarryTheLineNumberPrefixAndTheIndexedCategory) {
  SIndexProp r = FilledRecord();
  CFBArchive ar;
  r.Store(ar, 3);
  ar.SetCategory("Index3");
  for (const char* key : {"3.VarValue", "9.VarValue", "0.BlShowLine", "2.DisplayType", "4.YValue", "4.LineCompMethod",
                          "IndexName", "IndexType", "ExtData", "DRAWLV", "UserMax", "UserMin"})
    EXPECT_TRUE(ar.HasKey(key)) << key;
  EXPECT_EQ(ar.GetInt("2.DisplayType", -1), 4);
  ar.SetCategory("Index");
  EXPECT_FALSE(ar.HasKey("IndexName"));  // "Index" and "Index3" are distinct
  SIndexProp base;
  base.Load(ar, -1);
  ExpectSamePersisted(base, SIndexProp());
}

TEST(IndexProp, UserBoundsAreStoredOnlyForTheUserScale) {
  SIndexProp r = FilledRecord();
  r.MinMaxY = 1;
  CFBArchive ar;
  r.Store(ar, -1);
  ar.SetCategory("Index");
  EXPECT_FALSE(ar.HasKey("UserMax"));
  EXPECT_FALSE(ar.HasKey("UserMin"));
  SIndexProp loaded;
  loaded.UserMax = 5.0;
  loaded.Load(ar, -1);
  EXPECT_EQ(loaded.UserMax, 0.0);  // always read, with the default as fallback
  EXPECT_EQ(loaded.MinMaxY, 1);
}

TEST(IndexProp, LoadFromAnEmptyArchiveGivesTheDefaultRecord) {
  SIndexProp r = FilledRecord();
  CFBArchive empty;
  r.Load(empty, 7);
  ExpectSamePersisted(r, SIndexProp("", -1));
}

TEST(IndexProp, FindRealKeyIgnoresCase) {
  SIndexProp r;
  r.RealKeys.Add("XYZ");
  r.RealKeys.Add("ABC");
  r.RealKeys.Add("abc");
  EXPECT_EQ(r.FindRealKey("abc"), 1);
  EXPECT_EQ(r.FindRealKey("xyz"), 0);
  EXPECT_EQ(r.FindRealKey("ab"), -1);
  EXPECT_EQ(r.FindRealKey(nullptr), -1);
}

TEST(IndexProp, CopiesOwnTheirSeriesAndTexts) {
  SIndexProp a("a", 0);
  a.LineData[0].Add(1.0);
  a.RealKeys.Add("k");
  SIndexProp b(a);
  b.LineData[0][0] = 2.0;
  b.LineData[0].Add(3.0);
  b.RealKeys[0] = "changed";
  EXPECT_EQ(a.LineData[0].GetSize(), 1);
  EXPECT_EQ(a.LineData[0][0], 1.0);
  EXPECT_EQ(a.RealKeys[0], SString("k"));
  SIndexProp c;
  c = a;
  a.LineData[0][0] = 9.0;
  EXPECT_EQ(c.LineData[0][0], 1.0);
}
