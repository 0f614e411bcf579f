// The summary-info table: one record per run, telling what was tested and
// its key figures. A table database file (see TableDb.h) of 17 text fields,
// in this order (name, width):
//   SumFileName 200, TradeListFileName 200, SymbolName 50, IndicatorName 50,
//   IndicatorVariable 50, Term 50, Status 50, EntryCommission 50,
//   ExitCommission 50, Slippage 50, TotalProfit 50, TransactionCount 50,
//   WinLossRatio 50, WinRatio 50, ProfitFactor 50, AverageProfit 50,
//   InMarketRatio 50
// A value longer than its field is cut to the field's width by the table.
#include "chartcalc/SSimulation.h"
#include "chartcalc/TableDb.h"

namespace {

constexpr char kTextField = 'c';
constexpr int kPathWidth = 200;
constexpr int kTextWidth = 50;

struct InfoField {
  const char* name;
  int width;
  SString SSummaryInfo::*value;
};

constexpr InfoField kInfoFields[] = {
    {"SumFileName", kPathWidth, &SSummaryInfo::SumFileName},
    {"TradeListFileName", kPathWidth, &SSummaryInfo::TradeListFileName},
    {"SymbolName", kTextWidth, &SSummaryInfo::SymbolName},
    {"IndicatorName", kTextWidth, &SSummaryInfo::IndicatorName},
    {"IndicatorVariable", kTextWidth, &SSummaryInfo::IndicatorVariable},
    {"Term", kTextWidth, &SSummaryInfo::Term},
    {"Status", kTextWidth, &SSummaryInfo::Status},
    {"EntryCommission", kTextWidth, &SSummaryInfo::EntryCommission},
    {"ExitCommission", kTextWidth, &SSummaryInfo::ExitCommission},
    {"Slippage", kTextWidth, &SSummaryInfo::Slippage},
    {"TotalProfit", kTextWidth, &SSummaryInfo::TotalProfit},
    {"TransactionCount", kTextWidth, &SSummaryInfo::TransactionCount},
    {"WinLossRatio", kTextWidth, &SSummaryInfo::WinLossRatio},
    {"WinRatio", kTextWidth, &SSummaryInfo::WinRatio},
    {"ProfitFactor", kTextWidth, &SSummaryInfo::ProfitFactor},
    {"AverageProfit", kTextWidth, &SSummaryInfo::AverageProfit},
    {"InMarketRatio", kTextWidth, &SSummaryInfo::InMarketRatio},
};

}  // namespace

// Replaces any file at path with an empty table; the table creates the
// directories above it.
int SSimulation::CreateSummaryDB(SString path) {
  DB db(0);
  db.CreateDB(path.c_str());
  db.ClearField();
  for (const InfoField& f : kInfoFields) db.InsertField(f.name, kTextField, f.width);
  db.WriteHead();
  db.WriteField();
  db.WriteEof();
  return 1;
}

// Appends one record. A missing or unreadable file takes no record and is
// neither created nor changed: the table refuses every write to it.
int SSimulation::InsertSummaryDB(SString path, SSummaryInfo& info) {
  DB db(path.c_str(), 0);
  db.MoveFirst(1);
  db.Append("");
  for (const InfoField& f : kInfoFields) db.InsField(f.name, info.*f.value);
  db.WriteRecord();
  return 1;
}
