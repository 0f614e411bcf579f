// SIndex: one indicator as the chart and the trading simulation see it — up
// to ten named variables, up to five formula lines with their computed
// series and styles, base lines, scale settings and the binding to a
// symbol's price data.
//
// The class is split by concern:
//   SIndex.cpp              construction, copying, binding, setters, line data
//   SIndexDefinition.cpp    definitions in the index database, comments
//   SIndexPriceBinding.cpp  SetData and the price-record queries
//   SIndexCalc.cpp          substitution, full and incremental calculation,
//                           signal pairing, the definition check
//   SIndexLookback.cpp      look-back analysis and the search evaluation
//   SIndexCandle.cpp        the candle-pattern indicator
//   SIndexScale.cpp         draw range and extremes
//   SIndexTexts.cpp         line names and value texts
//   SIndexPriceTexts.cpp    the price chart's legend and value texts
//   SIndexZigZag.cpp        zigzag lines over the close
#pragma once

#include <memory>

#include "chartcalc/SCalc.h"
#include "chartcalc/SIndexProp.h"
#include "chartcalc/SString.h"
#include "chartcalc/SVector.h"

class SFunctionList;
class SPriceData;
class SPriceDataList;

namespace chartcalc::detail {
class LiveLines;
}

namespace chartcalc::detail {

// Kinds of definition (IndexType).
inline constexpr int kIndexPriceChart = -1;
inline constexpr int kIndexIndicator = 0;
inline constexpr int kIndexSingleExpression = 1;
inline constexpr int kIndexPattern = 2;
inline constexpr int kIndexSystem = 3;
inline constexpr int kIndexUserFunction = 4;
inline constexpr int kIndexNotCalculated = 5;
inline constexpr int kIndexProfitGraph = 6;
inline constexpr int kIndexNamedLines = 10;
inline constexpr int kIndexCandlePattern = 30;

// Expression texts are processed in buffers of this many bytes, terminator
// included.
inline constexpr int kIndexTextBuffer = 4096;
// Size of the optional array of function lists an indicator may own.
inline constexpr int kIndexOwnFunctionLists = 4;

}  // namespace chartcalc::detail

// The result of a definition check. An empty Message means no error.
struct IndexError {
  SString Message;
  int ErrorPart = 0;  // 1: in the variables; 0: in an expression, or none
  int ExpIndex = 0;   // the faulty expression (0 otherwise)
};

class SIndex : public SIndexProp {
 public:
  SIndex();  // SIndex("", 0)
  SIndex(const char* name, int type);
  SIndex(const SIndex& other);
  SIndex& operator=(const SIndex& other);
  ~SIndex() override;
  SIndex& operator*() { return *this; }

  // Resets the base record, then the calculation state and the bindings to
  // function lists.
  void SetDefaultValue();

  // Binding. The pointed-to objects are never owned.
  void SetVariable(SVector& close, SVector& open, SVector& high, SVector& low, SVector& volume, SVector& dateTime,
                   SVector& openInterest, SVector& amount, SVector& spread);
  // Binds the nine series of the list's current record (see GetCurIndex);
  // a null list changes nothing. Defined with the price data.
  void SetData(SPriceDataList* list, int symbolID);
  // The current price record, or null without a list.
  SPriceData* GetCurPriceData();
  // OwnDate when it has elements, else the current record's date-time series
  // (OwnDate, empty, without a record).
  SVector& GetDate();
  // ChartPeriod when OwnDate has elements, else the current record's period
  // (ChartPeriod without a record).
  int GetChartPeriod();
  void SetFunction(SFunctionList* list) { FunctionList = list; }
  void SetCandle(SFunctionList* list) { CandleList = list; }

  // Setters; a line index outside 0-4 changes nothing.
  void SetExpression(int line, const char* text);
  void SetExpName(int line, const char* text);
  void SetLineStyle(int line, int lineType, unsigned long color, int width, int style);
  void SetLineCompStyle(int line, unsigned long upColor, unsigned long dnColor, const char* upValue,
                        const char* dnValue, int method);
  void SetBaseLineValue(int line, double value);
  void SetBaseLineStyle(unsigned long color, int width, int style);
  void SetScale(int mode);  // 0-3; anything else is 0
  void SetUserMinMax(double min, double max);
  void SetUseLog(int flag) { LogY = flag; }
  void SetUseInvert(int flag) { InvertY = flag; }
  void SetShape(int line, int shape);
  void SetShareIndex(int index) { ShareIndex = index; }
  void SetMovable(int flag) { BlMovable = flag; }
  void SetDeletable(int flag) { BlDeleble = flag; }
  void SetUserID(int id) { UserID = id; }

  // Line data. A line outside 0-4 is ignored.
  void AddData(int line, double value);
  void UpdateData(int line, double value);  // overwrites the last element, if any
  void ClearData();                         // lines, OwnDate and the text lists

  // Definitions in the index database (kinds 0-4). An empty file name stands
  // for the kind's default file. Each returns 1 on success, 0 otherwise;
  // a failed read leaves the indicator as it was.
  int ReadExpression(const char* name, const SString& indexDb = SString(), const SString& userDb = SString());
  int ReadExpForConv(const char* name, const SString& indexDb = SString(), const SString& userDb = SString());
  int WriteExpression(const char* name, int isNew, int indexOnly);
  int ReadIndex(const char* name);  // does nothing; 0

  // Calculation (SIndexCalc.cpp). Each Calc, CalcLast and GetMinDataSize
  // makes its own formula engine.
  // Substitutes the variables into Expression[line] on whole names, giving
  // ConvertedExpression[line]; a line outside 0-4 is ignored.
  void ConvertExpression(int line);
  void ConvertExpression();  // lines 0-4
  // Evaluates every line with an expression over the bound prices.
  void Calc();
  // As Calc the first time; afterwards only the newest bars of each line
  // whose formula does not depend on the whole history.
  void CalcLast();
  // The next CalcLast calculates in full.
  void SetCalcInit();
  // Pairs the entry and exit signals of a trading system's lines.
  void PreProcess();
  // Checks the variables and the parentheses of the expressions; the result
  // is also kept in LastError.
  IndexError CheckError();
  // Evaluates line 0 with the postfix form GetMinDataSize compiled.
  void CalcSrch();

  // Look-back (SIndexLookback.cpp): the number of bars the indicator needs
  // before its first valid value. Overwrites LineData; compiles line 0 into
  // the postfix form for CalcSrch.
  int GetMinDataSize();

  // Candle patterns (SIndexCandle.cpp): LineData[0] becomes, per bar, the
  // position in CandleList of the last pattern that matched, or -1.
  void CalcCandlePattern();

  // Line names and value texts for legends and value displays, in the
  // current language; made on demand from the fields. A line outside 0-4,
  // or a bar outside the line's valid range, gives the empty text.
  // ExpName[line] with %name% replaced by the variable's value, %% by %.
  SString GetExpTitleName(int line);
  // The named variables' values as "(v1,v2)"; empty without named variables.
  SString GetIndexVariable();
  // The legend name of a line, by IndexType.
  SString GetExpName(int line);
  // The line's name with the variable values worked in.
  SString GetExpNameWithVariable(int line);
  // The value at bar as a plain number, or the fixed name of a signal line.
  SString GetExpNameWithValue(int line, int bar);
  // The value at bar with the decimals of the current price record's tick.
  SString GetExpValue(int line, int bar);
  // The most characters GetExpNameWithVariable gives over lines 0-4.
  int GetMaxExpNameLength();
  // The legend entry of a line: name, symbol and value as asked.
  SString GetExpTitle(int showName, int showValue, int withSymbol, int line, int bar);

  // The price chart's texts (SIndexPriceTexts.cpp), read from the current
  // price record and its display record; IndexType 9 and 10 ask for the
  // name form of the legend.
  SString GetPriceName();
  SString GetPriceValue(int bar);
  SString GetPriceTitle(int showName, int showValue, int bar);

  // Zigzag lines over the bound close (SIndexZigZag.cpp); VarValue[0] is
  // the reversal percentage, set from the first close when autoPercent is
  // not zero. CalcZigZagLine: LineData[1] the close at each turning point
  // (0 elsewhere), LineData[0] dates. CalcZigZagOrgLine: one record per
  // price step over LineData[0]-[3] (date, bar, level, level at a turn).
  void CalcZigZagLine(int autoPercent);
  void CalcZigZagOrgLine(int autoPercent);

  // Chart-type transforms of the bound close series (SIndexPnF.cpp,
  // SIndexKagi.cpp, SIndexRenko.cpp, SIndexLineBreak.cpp,
  // SIndexCounterClock.cpp, SIndexProfile.cpp; the computations themselves
  // are in src/transform/). Each reads its parameters from VarValue (reset:
  // the defaults are written there first) and writes LineData.
  void CalcPnF(int reset);
  void CalcKagi(int reset);
  void CalcSwing(int reset);
  void CalcRenko(int reset);
  void CalcThreeLineBreak(int reset);
  // The highest (mode 0) or lowest (any other mode) of values[s .. end - 1],
  // s = max(end - count, the close series' start index).
  double MakeChangeValue(int mode, SVector& values, int end, int count);
  void CalcCounterClock(int reset);
  void CalcCandleVolume(int reset);
  void CalcMarketProfile(int reset);
  void CalcVolumeAtPrice(int reset, int from, int to);

  // Drawing range and extremes of the lines (SIndexScale.cpp).
  void SetDrawRange(int from, int to);
  double GetMax(int from, int to, int mode);
  double GetMin(int from, int to, int mode);
  double GetMax();
  double GetMin();
  void SetMinMaxChanged(int flag);

  // Removes "//" and "/* */" comments from formula text in place.
  static void SkipComments(SString& text);
  // Removes escape characters, then every blank, in place; returns text.
  static char* ProcessString(char* text);

  // The formula engine whose postfix form serves the look-back analysis.
  SCalc Engine;
  SString Period;  // period text of a kind-1 definition
  int CalcStart[chartcalc::detail::kIndexLines] = {};
  int CalcState[chartcalc::detail::kIndexLines] = {};
  int UsePreProcess = 1;
  int MinMaxChanged = 1;
  SVector* PriceSeries[chartcalc::detail::kPriceSlots] =
      {};  // close, open, high, low, volume, date-time, oi, amount, spread
  SFunctionList* FunctionList = nullptr;
  SAnsiStringList FunctionHistory;
  SFunctionList* CandleList = nullptr;
  IndexError LastError;
  // Function lists of the indicator's own; null until a host makes them.
  std::unique_ptr<SFunctionList[]> OwnFunctionLists;

 private:
  void CopyFrom(const SIndex& other);
  // What CalcLast keeps between calls for the lines that depend on the whole
  // history; made by the first CalcLast, dropped with the calculation state.
  std::unique_ptr<chartcalc::detail::LiveLines> live_;
  int ReadDefinition(const char* name, const SString& indexDb, const SString& userDb, bool forConversion);
};
