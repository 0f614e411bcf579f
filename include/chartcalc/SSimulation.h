// SSimulation: the back-test engine. It holds one symbol's prices, a copy of
// a trading-system indicator whose lines 0-3 are the long-entry, long-exit,
// short-entry and short-exit signals (a signal value is 0 for none, else
// kind x 100,000,000 + price), the settings, and the trade and summary
// tables it derives from the signals.
//
// One run: bind prices (SetVariablePointer or SetVariable), bind the
// indicator (SetIndex, SetVariableToIndex, SetFunction), let the indicator
// calculate, ProcessStop, SetHistory, SetSummary.
//
// The class is split by concern:
//   SSimulation.cpp          construction, copying, binding, setters, costs
//   SSimulationSetting.cpp   the settings record, its INI and archive forms
//   SSimulationHistory.cpp   compression, trades from signals, sorting
//   SSimulationStops.cpp     the stop chain and the stops
//   SSimulationSummary.cpp   statistics, equity, profit line, "mfe.csv"
//   SSimulationReportDb.cpp  the report files: summary info, summary, trades
//   SSimulationHtml.cpp      the HTML pages of a run
#pragma once

#include <memory>

#include "chartcalc/CFBArchive.h"
#include "chartcalc/SIndex.h"
#include "chartcalc/SSimulationSetting.h"
#include "chartcalc/SString.h"
#include "chartcalc/SVector.h"

class SFunctionList;

// One row of a run's report: a group, a sub-group and two name/value pairs,
// every figure already formatted as text.
struct SSummary {
  SString GroupID, GroupName, SubGroupID, SubGroupName, Sequence, Name1, Value1, Name2, Value2;
};

// One record of the summary-info table: what was tested and its key figures.
struct SSummaryInfo {
  SString SumFileName, TradeListFileName, SymbolName, IndicatorName, IndicatorVariable, Term, Status,
      EntryCommission, ExitCommission, Slippage, TotalProfit, TransactionCount, WinLossRatio, WinRatio,
      ProfitFactor, AverageProfit, InMarketRatio;
};

// The trade table: element k of every column describes trade k, and all
// columns always have the same length.
struct STradeTable {
  static constexpr int kColumns = 18;

  SVector Direction;  // 0 long, 1 short
  SVector EntryDateTime;
  SVector EntryPrice;
  SVector EntryCostPrice;
  SVector ExitDateTime;  // 0 while the position is open at the last bar
  SVector ExitPrice;
  SVector ExitCostPrice;
  SVector Quantity;
  SVector ProfitLoss;
  SVector ReturnFactor;
  SVector CumProfitLoss;  // CumReturnFactor x 100 when ModeVolume is 1
  SVector CumReturnFactor;
  SVector Runup;
  SVector Drawdown;
  SVector EntryEff;
  SVector ExitEff;
  SVector TotalEff;
  SVector BarsHeld;

  // Column k in the order above; k outside 0-17 is column 0.
  SVector& Column(int k);
  const SVector& Column(int k) const;
  int GetCount() const { return Direction.GetSize(); }
};

class SSimulation {
 public:
  static constexpr int kSummaryRows = 200;
  static constexpr int kSpareTexts = 14;

  SSimulation();
  SSimulation(const SSimulation& other);
  SSimulation& operator=(const SSimulation& other);
  ~SSimulation();

  // Binding. SetVariablePointer keeps the pointers (not owned);
  // SetVariable copies each series twice, into the working and the source
  // set, and only then may CompressData be used.
  void SetVariablePointer(SVector* close, SVector* open, SVector* high, SVector* low, SVector* volume,
                          SVector* dateTime, SVector* openInterest, SVector* amount, SVector* spread);
  void SetVariable(SVector& close, SVector& open, SVector& high, SVector& low, SVector& volume, SVector& dateTime,
                   SVector& openInterest, SVector& amount, SVector& spread);
  void SetIndex(SIndex& index);
  // Hands the working series and the function list to the embedded indicator.
  void SetVariableToIndex();
  void SetFunction(SFunctionList* list) { FunctionList = list; }
  void SetSymbolName(SString name) { Setting.SymbolName = name; }
  void SetName(SString name) { Name = name; }
  void SetBigPointValue(double value) { BigPointValue = value; }
  void SetMargin(double value) {
    Margin = value;
    BlMargin = 1;
  }
  void SetTickSize(double tick) { TickSize = tick; }

  // Settings (SSimulationSetting.cpp).
  void SetDefaultValue() { Setting.SetDefaultValue(); }
  void ReadSetting(const char* iniPath);
  void SaveSetting(const char* iniPath);
  void Load(CFBArchive& archive);
  void Store(CFBArchive& archive);

  // Cost prices in price units, with commission and slippage.
  double EntryPrice(double price, int side);
  double ExitPrice(double price, int side);
  double GetCommission(double price);
  // price when it is a multiple of the tick size; else mode 0 rounds up,
  // mode 1 down, and any other mode returns price.
  double RoundTickSize(int mode, double price);
  int GetStartMode();
  int GetEndMode();
  // The price of signal series k (0-3) at bar.
  double GetResult(int k, int bar);
  double GetEntryCompValue(int side, int bar);
  double GetExitCompValue(int side, int bar);
  double GetStopLossValue(int side, int bar, double level);

  // Trades (SSimulationHistory.cpp).
  void CompressData(int n);
  void SetHistory();
  void SortHistory();
  void Interchange(int a, int b);
  void SetHistoryToZero();
  void WriteSummary() {}

  // Stops (SSimulationStops.cpp). Each stop takes the side (0 long, 1
  // short), the entry bar and the current exit; it returns 0 when it
  // replaces the exit, else -1.
  void ProcessStop(SIndex* index = nullptr);
  int ProcessStopValue(int side, int bar, double price, int& exitBar, double& exitPrice);
  int MoneyManagementStop(SIndex* index, int side, int entryBar, int& exitBar, double& exitPrice);
  int RiskTrailingStop(SIndex* index, int side, int entryBar, int& exitBar, double& exitPrice);
  int RiskTrailingStop2(SIndex* index, int side, int entryBar, int& exitBar, double& exitPrice);
  int ProfitTargetStop(SIndex* index, int side, int entryBar, int& exitBar, double& exitPrice);
  int MinVariationStop(SIndex* index, int side, int entryBar, int& exitBar, double& exitPrice);
  int DayTradingStop(SIndex* index, int side, int entryBar, int& exitBar, double& exitPrice);
  int JumpTrailingStop(SIndex* index, int side, int entryBar, int& exitBar, double& exitPrice);
  int DropTrailingStop(SIndex* index, int side, int entryBar, int& exitBar, double& exitPrice);
  int MaxBarStop(SIndex* index, int side, int entryBar, int& exitBar, double& exitPrice);

  // Statistics (SSimulationSummary.cpp).
  void SetSummary();
  void CalcSummary(int side);
  void InsertSummary(SSummary row);
  void CalcEquity(SVector* out, int side);
  void CalcProfitLoss();
  void CalcStatics();

  // Report files (SSimulationReportDb.cpp); each returns 1. A create
  // replaces any file at path by an empty table with the file's fields; an
  // insert appends records to an existing one: the run's summary-info
  // record, every row of the summary table, every trade. File errors are
  // the table's (see TableDb.h): nothing is written to a file it cannot use.
  int CreateSummaryDB(SString path);
  int CreateIndividualSummaryDB(SString path);
  int CreateTradingHistoryDB(SString path);
  int InsertSummaryDB(SString path, SSummaryInfo& info);
  int InsertIndividualSummaryDB(SString path);
  int InsertTradingHistoryDB(SString path);

  // HTML pages of a finished run (SSimulationHtml.cpp), read from its report
  // files: the summary-info file, the run's individual-summary (or trade-
  // list) file, and the page to write. Nothing is written when the summary-
  // info file has no record naming the run's file. Variant 2 differs only
  // in the frame around the heading and the name/value separators.
  void SaveSummaryToHTML(SString sumInfoPath, SString summaryPath, SString htmlPath);
  void SaveSummaryToHTML2(SString sumInfoPath, SString summaryPath, SString htmlPath);
  void SaveTradeHistoryToHTML(SString sumInfoPath, SString tradeListPath, SString htmlPath);
  void SaveTradeHistoryToHTML2(SString sumInfoPath, SString tradeListPath, SString htmlPath);

  double TickSize = 0.0;
  SFunctionList* FunctionList = nullptr;
  SIndex Index;
  int PricePerUnit = 1;
  double BigPointValue = 1.0;
  int BlMargin = 0;
  double Margin = 1.0;
  int CompressStart = 1, CompressEnd = 1, CompressStep = 1;
  SSimulationSetting Setting;
  SString SimDataFile;
  SSummaryInfo SumInfo;
  SString SpareText[kSpareTexts];
  SString Name;
  int SummaryCount = 0;
  SSummary Summary[kSummaryRows];
  SSummary SummaryRow;
  STradeTable Trades;
  int LastBarSignal[2][2][2] = {};  // [last, before last][long, short][entry, exit]
  SString SumInfoFile, SummaryFile, TradeListFile;
  int DateCutOff = 0;

 private:
  // Points the working and source sets at the simulation's own copies.
  void PointAtOwnCopies();

  // The nine series in the order close, open, high, low, volume, date-time,
  // open interest, amount, spread (chartcalc::detail::PriceSlot). Never
  // null: unbound series are the simulation's own empty copies.
  SVector* working_[chartcalc::detail::kPriceSlots] = {};
  SVector* source_[chartcalc::detail::kPriceSlots] = {};
  SVector ownWorking_[chartcalc::detail::kPriceSlots];
  SVector ownSource_[chartcalc::detail::kPriceSlots];

  // The summary-info file kept open between the records of successive runs
  // (SSimulationReportDb.cpp). Never shared: a copy starts without it, and
  // an assigned-to simulation lets go of its own.
  struct SumInfoTable;
  struct SumInfoCache {
    SumInfoCache() = default;
    SumInfoCache(const SumInfoCache&) {}
    SumInfoCache& operator=(const SumInfoCache&) {
      table.reset();
      return *this;
    }
    std::shared_ptr<SumInfoTable> table;
  };
  SumInfoCache sumInfoTable_;
};
