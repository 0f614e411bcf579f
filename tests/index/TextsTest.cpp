// Line names, value texts and legend entries of indicators and of the price
// chart, in both languages. Korean is compared as UTF-8 for readability.
#include "chartcalc/SPriceDataList.h"
#include "core/Cp949.h"
#include "core/TextTable.h"
#include "index/IndexTestUtil.h"

namespace {

std::string Utf8(const SString& cp949) { return Cp949ToUtf8Lossy(cp949.c_str()); }

// Indicator X of a kind with the variables period = 20 and N = 14 and an
// expression on each line whose flag in `lines` is '1'.
SIndex Indicator(int kind, const std::string& lines = "") {
  SIndex x("X", kind);
  x.VarName[0] = "period", x.VarValue[0] = "20", x.VarName[3] = "N", x.VarValue[3] = "14";
  for (size_t k = 0; k < lines.size(); ++k) x.Expression[k] = lines[k] == '1' ? "c" : "";
  return x;
}

// Price record "ABC" of chart type t (first of `records`): open, high, low,
// close 1021.5, 1030, 1019, 1028 at bar 0, tick 0.5.
struct PriceChart {
  SPriceDataList list;
  SIndex x{"Price", kIndexPriceChart};
  explicit PriceChart(int t, int records = 1) {
    for (int i = 0; i < records; ++i) list.Add();
    SPriceData& r = list[0];
    r.SymbolName = "ABC", r.TickSize = 0.5, r.PriceProperty->PriceChartType = t;
    for (auto [slot, v] : {std::pair{kOpen, 1021.5}, {kHigh, 1030.0}, {kLow, 1019.0}, {kClose, 1028.0}})
      r.GetSeries(slot).Add(v);
    x.SetData(&list, r.ID);
  }
};

}  // namespace

TEST(LineTexts, PlaceholdersTakeTheFirstVariableOfTheNameIgnoringCase) {
  const std::pair<const char*, const char*> cases[] = {
      {"RSI %n%", "RSI 14"}, {"RSI %m%", "RSI %m%"}, {"a%b", "a%b"},
      {"%m%n%", "%m%n%"},    {"%%%PERIOD%", "%20"},  {"MA(%period%,%N%)", "MA(20,14)"},
  };
  SIndex x = Indicator(kIndexIndicator);
  x.VarName[5] = "n", x.VarValue[5] = "99";  // a later variable of the same name loses
  for (const auto& [name, want] : cases) {
    x.ExpName[0] = name;
    EXPECT_EQ(x.GetExpTitleName(0).str(), want) << name;
  }
  EXPECT_EQ(x.GetIndexVariable().str(), "(20,14,99)");
  x.VarValue[0] = "", x.VarName[3] = x.VarName[5] = "";
  EXPECT_EQ(x.GetIndexVariable().str(), "()");  // a named variable with an empty value
  x.VarName[0] = "";
  EXPECT_EQ(x.GetIndexVariable().str(), "");  // no named variable: not "()"
}

// GetExpName and GetExpNameWithVariable by kind; the fixed names in Korean.
TEST(LineTexts, LineNamesFollowTheKindInBothLanguages) {
  // language, kind, lines with an expression, ExpName, line, the two names
  using Case = std::tuple<int, int, const char*, const char*, int, const char*, const char*>;
  const int en = kLangEnglish, ko = kLangKorean;
  const Case cases[] = {
      {en, 0, "1", "MA(%period%)", 0, "MA(20)", "MA(20)"},
      {en, 0, "1", "", 2, "X[2]", ""},
      {en, 1, "1", "Avg(period)", 0, "X", "X"},
      {en, 1, "", "Avg( period , len)x", 0, "X", "Avg(20,len)x"},
      {en, 1, "", "Avg(period", 0, "X", "Avg(period"},
      {en, 2, "11", "", 0, "X Bullish pattern", "X Bullish pattern"},
      {en, 2, "11", "", 1, "Bearish pattern", "X Bearish pattern"},
      {en, 3, "1111", "", 0, "X Buy", "X New Buy"},
      {en, 3, "1111", "", 2, "Sell", "New Sell"},
      {en, 3, "0011", "", 2, "X Sell", "X New Sell"},
      {en, 3, "0011", "", 0, "", ""},
      {en, 6, "", "", 0, "Profit Graph", "Profit Graph"},
      {en, 10, "", "Upper %period%", 0, "Upper %period%", "Upper %period%"},
      {en, 30, "1", "", 0, "X", "X"},
      {en, 4, "1", "f", 0, "", ""},
      {ko, 2, "11", "", 0, "X 강세패턴", "X 강세패턴"},
      {ko, 2, "11", "", 1, "약세 패턴", "X 약세 패턴"},
      {ko, 3, "1111", "", 0, "X 매수", "X 신규매수"},
      {ko, 3, "0011", "", 2, "X 매도", "X 신규매도"},
      {ko, 6, "", "", 0, "수익곡선", "수익곡선"},
  };
  for (const auto& [lang, kind, lines, expName, line, name, withVariable] : cases) {
    LangScope language(lang);
    SIndex x = Indicator(kind, lines);
    x.ExpName[line] = expName;
    EXPECT_EQ(std::tuple(Utf8(x.GetExpName(line)), Utf8(x.GetExpNameWithVariable(line))),
              std::tuple(name, withVariable))
        << lang << " " << kind << "/" << lines << " line " << line;
  }
  // The longest name counts characters, not bytes, and skips lines without
  // an expression.
  SIndex x = Indicator(kIndexIndicator, "11");
  x.ExpName[0] = Cp949("가나다라마바").c_str();  // 6 characters, 12 bytes
  x.ExpName[1] = "ABCDEFGH", x.ExpName[3] = "A much longer name without an expression";
  EXPECT_EQ(x.GetMaxExpNameLength(), 8);
  EXPECT_EQ(Indicator(kIndexUserFunction, "1").GetMaxExpNameLength(), 0);
}

// Values need a valid bar of an indicator's line; priced values use the
// record's tick. The legend puts the value in parentheses and names only the
// legs of a spread's symbol.
TEST(LineTexts, ValuesNeedAValidBarAndLegendsDropSpreadSides) {
  PriceChart chart(kChartCandle);
  SIndex& x = chart.x;
  x.IndexType = kIndexIndicator;
  x.ExpName[0] = "Spread", x.ExpName[1] = "MACD";
  x.LineData[0] = Series({7}), x.LineData[1] = Series({0, 1.25, 3}, 1);
  chart.list[0].TickSize = 1, chart.list[0].SymbolName = "ABC Buy/DEF Sell";
  // bar of line 1, GetExpNameWithValue, GetExpValue
  const std::tuple<int, const char*, const char*> values[] = {
      {1, "1.25", "1"}, {2, "3.00", "3"}, {0, "", ""}, {3, "", ""}};
  for (const auto& [bar, plain, priced] : values)
    EXPECT_EQ(std::tuple(x.GetExpNameWithValue(1, bar).str(), x.GetExpValue(1, bar).str()), std::tuple(plain, priced))
        << bar;
  // showName, showValue, withSymbol, line, bar, entry
  const std::tuple<int, int, int, int, int, const char*> legends[] = {
      {1, 1, 0, 1, 2, " MACD(3) "}, {0, 1, 0, 1, 2, "3 "},     {0, 0, 0, 1, 2, ""},
      {1, 0, 1, 1, 2, " MACD "},    {1, 1, 0, 1, 0, " MACD "}, {1, 1, 1, 0, 0, " ABC /DEF  Spread(7) "},
  };
  for (const auto& [name, value, symbol, line, bar, want] : legends)
    EXPECT_EQ(x.GetExpTitle(name, value, symbol, line, bar).str(), want) << name << value << symbol << line << bar;
  EXPECT_EQ(Indicator(kIndexSingleExpression, "1").GetExpTitle(0, 0, 0, 0, 0).str(), "X ");
  {
    LangScope ko(kLangKorean);
    x.ExpName[0] = Cp949("스프레드").c_str(), chart.list[0].SymbolName = Cp949("ABC 매수").c_str();
    EXPECT_EQ(Utf8(x.GetExpTitle(1, 0, 1, 0, 0)), " ABC  스프레드 ");
  }
  x.PriceList = nullptr;  // no record: no priced value
  EXPECT_EQ(std::tuple(x.GetExpNameWithValue(1, 1).str(), x.GetExpValue(1, 1).str()), std::tuple("1.25", ""));
  x.LineType[1] = 13;  // a marker line shows no value
  EXPECT_EQ(x.GetExpNameWithValue(1, 1).str(), "");
  EXPECT_EQ(Indicator(kIndexSystem, "1").GetExpNameWithValue(0, 0).str(), "New Buy");
}

// The name of the price chart and the bar's prices by chart type, its
// legend parameters' flags and the record's period and cycle.
TEST(PriceTexts, NameAndValueFollowTheChartType) {
  const std::string all = "O(Open Price):1021.5 High:1030.0 L(Low Price):1019.0 C(Close Price):1028.0 ";
  // chart type, BlName1, BlName2, ChartPeriod, ChartCycle, name, value
  using Case = std::tuple<int, int, int, int, double, const char*, std::string>;
  const Case cases[] = {
      {kChartPointFigure, 1, 1, 2, 1.0, "ABC Blank Conversion(3) Blank Size(0) ", ""},
      {kChartPointFigure, 0, 1, 2, 1.0, "ABC Blank Size(0) ", ""},
      {kChartKagi, 0, 0, 2, 1.0, "ABC ", ""},
      {kChartThreeLineBreak, 1, 0, 2, 1.0, "ABC Blank Conversion(3) conversion price(0) ", ""},
      {kChartMarketProfile, 1, 1, 0, 1.0, "ABC Minute Distince(30) ", ""},
      {kChartCloseLine, 1, 1, 2, 1.0, "ABC", "1028.0 "},
      {kChartCandle, 1, 1, 2, 1.0, "ABC", all},
      {kChartCandle, 1, 1, 0, 1.0, "ABC", "1028.0 "},  // one tick a bar
      {kChartCandle, 1, 1, 0, 5.0, "ABC", all},
      {kChartZigZag, 0, 0, 2, 1.0, "ABC ", all},
      {kPriceChartTypes, 1, 1, 2, 1.0, "", all},  // and no symbol
  };
  for (const auto& [t, first, second, period, cycle, name, value] : cases) {
    PriceChart chart(t);
    SPriceData& r = chart.list[0];
    if (t < kPriceChartTypes) r.PriceProperty->BlName1[t] = first, r.PriceProperty->BlName2[t] = second;
    if (t == kPriceChartTypes) r.SymbolName = "";
    r.ChartPeriod = period, r.ChartCycle = cycle;
    EXPECT_EQ(std::tuple(chart.x.GetPriceName().str(), chart.x.GetPriceValue(0).str()), std::tuple(name, value))
        << t << " " << period << " " << cycle;
    EXPECT_EQ(chart.x.GetPriceValue(1).str(), "") << t;  // past the last bar
  }
  PriceChart unnamed(kChartCandle);
  unnamed.list[0].SymbolName = "";
  EXPECT_EQ(unnamed.x.GetPriceName().str(), "Candle Chart");
  LangScope ko(kLangKorean);
  EXPECT_EQ(std::tuple(Utf8(unnamed.x.GetPriceName()), Utf8(unnamed.x.GetPriceValue(0))),
            std::tuple("봉차트", "시:1021.5 고:1030.0 저:1019.0 종:1028.0 "));
  EXPECT_EQ(SIndex("Price", kIndexPriceChart).GetPriceName().str(), "");
}

TEST(PriceTexts, TitleNamesTheChartTypeUnlessSeveralRecordsAreShown) {
  const std::string typeName = " ABC Blank Conversion(3) Blank Size(0) ";
  // chart type, records, IndexType, showName, showValue, title
  const std::tuple<int, int, int, int, int, std::string> cases[] = {
      {kChartPointFigure, 1, -1, 0, 0, "Price "},      {kChartPointFigure, 1, -1, 1, 0, typeName + " "},
      {kChartPointFigure, 2, -1, 1, 0, " ABC "},       {kChartPointFigure, 2, 9, 1, 0, typeName + " "},
      {kChartCloseLine, 2, -1, 1, 1, " ABC 1028.0  "}, {kChartCloseLine, 2, 10, 0, 1, "1028.0  "},
  };
  for (const auto& [t, records, kind, name, value, want] : cases) {
    PriceChart chart(t, records);
    chart.x.IndexType = kind;
    EXPECT_EQ(chart.x.GetPriceTitle(name, value, 0).str(), want) << t << " " << records << " " << kind;
  }
}
