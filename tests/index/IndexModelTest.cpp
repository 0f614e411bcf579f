// SIndex: construction, deep copies, binding, the setters' range checks and
// line data.
#include <gtest/gtest.h>

#include "chartcalc.h"

using namespace chartcalc::detail;

TEST(IndexModel, ConstructionAppliesTheIndicatorDefaults) {
  SIndex x("rsi", 3);
  EXPECT_EQ(x.IndexName, SString("rsi"));
  EXPECT_EQ(x.IndexType, 3);
  EXPECT_EQ(x.UserID, -1);
  EXPECT_EQ(x.ShareIndex, -1);
  EXPECT_EQ(x.UsePreProcess, 1);
  EXPECT_EQ(x.MinMaxChanged, 1);
  EXPECT_EQ(x.LineColor[1], 0xFF0000);
  EXPECT_EQ(x.FunctionList, nullptr);
  EXPECT_EQ(x.PriceList, nullptr);
  for (int k = 0; k < kIndexLines; ++k) {
    EXPECT_EQ(x.CalcStart[k], -1);
    EXPECT_EQ(x.CalcState[k], -1);
  }
  SIndex d;
  EXPECT_TRUE(d.IndexName.IsEmpty());
  EXPECT_EQ(d.IndexType, 0);
  EXPECT_EQ(&*d, &d);
}

TEST(IndexModel, SetDefaultValueDropsBindingsAndCalculationState) {
  SFunctionList functions;
  SIndex x("a", 0);
  x.SetFunction(&functions);
  x.SetCandle(&functions);
  x.CalcState[2] = 0;
  x.CalcStart[2] = 14;
  x.UsePreProcess = 0;
  x.MinMaxChanged = 0;
  x.SetShareIndex(4);
  x.SetUserID(8);
  x.SetExpression(0, "c");
  x.SetDefaultValue();
  EXPECT_EQ(x.FunctionList, nullptr);
  EXPECT_EQ(x.CandleList, nullptr);
  EXPECT_EQ(x.CalcState[2], -1);
  EXPECT_EQ(x.CalcStart[2], -1);
  EXPECT_EQ(x.UsePreProcess, 1);
  EXPECT_EQ(x.MinMaxChanged, 1);
  EXPECT_EQ(x.ShareIndex, -1);
  EXPECT_EQ(x.UserID, 8);  // identity survives
  EXPECT_TRUE(x.Expression[0].IsEmpty());
}

// Copies share the bound objects but nothing they own: under the sanitizers
// a shared buffer shows up as a double free or a use after free.
TEST(IndexModel, CopyAndAssignmentShareNoOwnedBuffer) {
  SVector s[kPriceSlots];
  SFunctionList functions;
  SIndex a("a", 0);
  a.SetVariable(s[0], s[1], s[2], s[3], s[4], s[5], s[6], s[7], s[8]);
  a.SetFunction(&functions);
  for (int i = 0; i < 2000; ++i) a.AddData(1, i);
  a.OwnDate.Add(20240105);
  a.Period = "20";
  a.FunctionHistory.Add("f");
  a.LastError.Message = "bad";
  a.LastError.ExpIndex = 2;
  a.OwnFunctionLists = std::make_unique<SFunctionList[]>(kIndexOwnFunctionLists);
  a.OwnFunctionLists[3].SetExpressionWithVariable("f|a+1|a");

  SIndex b(a);
  SIndex c("c", 3);
  c = a;
  for (SIndex* copy : {&b, &c}) {
    EXPECT_NE(copy->LineData[1].Data(), a.LineData[1].Data());
    EXPECT_EQ(copy->LineData[1].GetSize(), 2000);
    EXPECT_EQ(copy->LineData[1][1999], 1999.0);
    EXPECT_EQ(copy->PriceSeries[4], &s[4]);
    EXPECT_EQ(copy->FunctionList, &functions);
    EXPECT_EQ(copy->Period, SString("20"));
    EXPECT_EQ(copy->LastError.ExpIndex, 2);
    EXPECT_EQ(copy->FunctionHistory.Count(), 1);
    ASSERT_TRUE(copy->OwnFunctionLists);
    EXPECT_NE(copy->OwnFunctionLists.get(), a.OwnFunctionLists.get());
    EXPECT_EQ(copy->OwnFunctionLists[3][0].Expression, SString("a+1"));
  }
  a.LineData[1][0] = -5;
  a.OwnFunctionLists[3].Clear();
  EXPECT_EQ(b.LineData[1][0], 0.0);
  EXPECT_EQ(c.OwnFunctionLists[3].GetCount(), 1);
  c = c;  // self-assignment keeps everything
  EXPECT_EQ(c.LineData[1].GetSize(), 2000);
  c = SIndex();
  EXPECT_FALSE(c.OwnFunctionLists);
}

TEST(IndexModel, SetVariableBindsTheNineSeriesInOrder) {
  SVector s[kPriceSlots];
  SIndex x;
  x.SetVariable(s[0], s[1], s[2], s[3], s[4], s[5], s[6], s[7], s[8]);
  for (int k = 0; k < kPriceSlots; ++k) EXPECT_EQ(x.PriceSeries[k], &s[k]) << k;
}

TEST(IndexModel, LineSettersIgnoreLinesOutsideZeroToFour) {
  SIndex x;
  const SIndex before;
  for (int line : {-1, 5, 1000}) {
    x.SetExpression(line, "c");
    x.SetExpName(line, "n");
    x.SetLineStyle(line, 1, 0x123456, 3, 2);
    x.SetLineCompStyle(line, 1, 2, "70", "30", 1);
    x.SetBaseLineValue(line, 50);
    x.SetShape(line, 2);
    x.AddData(line, 1);
    x.UpdateData(line, 1);
  }
  for (int k = 0; k < kIndexLines; ++k) {
    EXPECT_TRUE(x.Expression[k].IsEmpty());
    EXPECT_TRUE(x.ExpName[k].IsEmpty());
    EXPECT_EQ(x.LineColor[k], before.LineColor[k]);
    EXPECT_EQ(x.LineUpColor[k], before.LineUpColor[k]);
    EXPECT_TRUE(x.YValue[k].IsEmpty());
    EXPECT_EQ(x.Shape[k], 0);
    EXPECT_EQ(x.LineData[k].GetSize(), 0);
  }
}

TEST(IndexModel, SettersStoreWhatTheyAreGiven) {
  SIndex x;
  x.SetLineStyle(4, 1, 0x00FF8040UL, 3, 2);
  EXPECT_EQ(x.LineType[4], 1);
  EXPECT_EQ(x.LineColor[4], 0x00FF8040);
  EXPECT_EQ(x.LineWidth[4], 3);
  EXPECT_EQ(x.LineStyle[4], 2);
  x.SetLineCompStyle(0, 0xFF, 0xFF00, "70", "30", 2);
  EXPECT_EQ(x.LineUpColor[0], 0xFF);
  EXPECT_EQ(x.LineDnValue[0], SString("30"));
  EXPECT_EQ(x.LineCompMethod[0], 2);
  x.SetBaseLineValue(0, 70);
  x.SetBaseLineValue(1, 0.5);
  x.SetBaseLineValue(2, 1e-7);
  EXPECT_EQ(x.YValue[0], SString("70"));
  EXPECT_EQ(x.YValue[1], SString("0.5"));
  EXPECT_EQ(x.YValue[2], SString("1e-07"));
  x.SetBaseLineStyle(0xABCDEF, 2, 1);
  EXPECT_EQ(x.YValueColor, 0xABCDEF);
  EXPECT_EQ(x.YValueWidth, 2);
  EXPECT_EQ(x.YValueStyle, 1);
  x.SetUserMinMax(-1.5, 2.5);
  EXPECT_EQ(x.UserMin, -1.5);
  EXPECT_EQ(x.UserMax, 2.5);
}

TEST(IndexModel, ScaleModesOutsideZeroToThreeBecomeZero) {
  SIndex x;
  for (int mode : {0, 1, 2, 3}) {
    x.SetScale(mode);
    EXPECT_EQ(x.MinMaxY, mode);
  }
  for (int mode : {4, -1, 100}) {
    x.SetScale(3);
    x.SetScale(mode);
    EXPECT_EQ(x.MinMaxY, 0) << mode;
  }
}

TEST(IndexModel, UpdateDataOverwritesTheLastElementOnlyWhenThereIsOne) {
  SIndex x;
  x.UpdateData(0, 7);
  EXPECT_EQ(x.LineData[0].GetSize(), 0);
  x.AddData(0, 1);
  x.AddData(0, 2);
  x.UpdateData(0, 9);
  ASSERT_EQ(x.LineData[0].GetSize(), 2);
  EXPECT_EQ(x.LineData[0][0], 1.0);
  EXPECT_EQ(x.LineData[0][1], 9.0);
}

TEST(IndexModel, ClearDataEmptiesTheComputedDataButKeepsTheDefinition) {
  SIndex x("a", 0);
  x.SetExpression(0, "avg(c, n)");
  x.VarName[0] = "n";
  for (int k = 0; k < kIndexLines; ++k) x.AddData(k, k);
  x.OwnDate.Add(20240105);
  x.RealKeys.Add("k");
  x.RealTexts.Add("t");
  x.ClearData();
  for (int k = 0; k < kIndexLines; ++k) EXPECT_EQ(x.LineData[k].GetSize(), 0);
  EXPECT_EQ(x.OwnDate.GetSize(), 0);
  EXPECT_EQ(x.RealKeys.Count(), 0);
  EXPECT_EQ(x.RealTexts.Count(), 0);
  EXPECT_EQ(x.Expression[0], SString("avg(c, n)"));
  EXPECT_EQ(x.VarName[0], SString("n"));
}
