// A host's translation unit: it has its own global names of the kind trading
// code uses, declared both before and after the umbrella header, includes
// nothing but that header, and uses the library as the README shows. It
// compiles only while the header keeps the engine's internals out of the
// global namespace.
enum HostPriceSlot { kClose, kOpen, kHigh, kLow, kVolume, kDateTime };
struct Slot {
  int bar;
};
struct Name {
  const char* text;
};
struct Row {
  double values[4];
};
constexpr int kMaxVariableName = 32;
constexpr int kInvalidStart = -1;

#include "chartcalc.h"

enum HostTokens { NAME, NUMBER, END, PLUS, MINUS, LP, RP, COMMA, AND, OR, NOT, LT, GT, EQ };
enum HostMore { kOpenInterest, kAmount, kSpread, kPriceSlots, kIndexLines, kIndexVars, kSeriesBlock };
struct DBField {};
struct TextId {};
struct PriceSlot {};
struct PostfixItem {};
constexpr int kMaxExpression = 1;
constexpr int kMaxNames = 2;
constexpr int kPriceChartTypes = 3;
constexpr int kSRLineCount = 4;
int TruncToInt(double v) { return static_cast<int>(v) + 1; }
int MakeDateTime(int, int) { return 0; }
int GetText(int) { return 0; }
bool IsValidDate(int) { return false; }
bool NameEquals(const char*, const char*) { return false; }

#include <gtest/gtest.h>

#include <cmath>

TEST(HostTranslationUnit, ReadmeFormulaExampleRuns) {
  SVector close(30), other(30);
  for (int i = 0; i < 30; ++i) close[i] = 100.0 + i;
  SCalc calc;
  calc.SetVariable(close, other, other, other, other, other, other, other, other);
  calc.SetExpression("(close - avg(close, 20)) / stdev(close, 20)");
  SVector z = calc.Calculate();
  EXPECT_EQ(calc.ErrorCount, 0);
  EXPECT_EQ(z.GetStartIndex(), 19);
  EXPECT_NEAR(z[29], 9.5 / std::sqrt((20.0 * 20.0 - 1.0) / 12.0), 1e-12);
  // The host's own names still mean what the host made them mean.
  EXPECT_EQ(kClose, 0);
  EXPECT_EQ(TruncToInt(1.5), 2);
  EXPECT_EQ(SCalc::NAME, 0);
}

TEST(HostTranslationUnit, ReadmePriceDataExampleBindsAShippedIndicator) {
  SetIndexDir(CHARTCALC_SHIPPED_INDEX_DIR);
  SPriceDataList list;
  int id = list.Add();
  for (int i = 0; i < 3; ++i) list.GetCurData(id).AddData(kFieldClose, 101.5 + i);
  SIndex macd("MACD", 0);
  EXPECT_EQ(macd.ReadExpression("MACD", "", ""), 1);
  macd.SetData(&list, id);
  EXPECT_EQ(macd.GetCurPriceData(), &list.GetCurData(id));
  EXPECT_FALSE(macd.Expression[0].IsEmpty());
}

// The list's fields are the host's to read and write; a count written from
// outside never takes the list past the elements it really holds.
TEST(HostTranslationUnit, ListFieldsArePublicAndSafeToWrite) {
  SIndexList list;
  EXPECT_EQ(std::pair(list.Capacity, list.GrowBy), std::pair(20, 20));
  list.Add(SIndex("A", 0));
  ASSERT_EQ(list.Count, 1);
  EXPECT_EQ(list.Items[0].IndexName, SString("A"));
  list.Count = 1000;
  EXPECT_EQ(&list[500], &list);
  list.Add(SIndex("B", 0));
  EXPECT_EQ(std::pair(list.Count, list[20].IndexName.str()), std::pair(21, std::string("B")));

  SPriceDataList prices;
  prices.Count = 50;
  EXPECT_EQ((std::pair{prices.Add(), prices.Count}), std::pair(0, 2));
  prices.Count = -3;
  EXPECT_EQ(prices.GetSymbolNoFromID(0), -1);
}
