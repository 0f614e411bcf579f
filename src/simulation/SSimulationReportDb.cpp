// The report files of a run, each a table database file (see TableDb.h) of
// text fields:
//   summary info     one record per run: what was tested, its key figures
//   individual       the run's summary table, one record per row
//   summary
//   trade list       one record per trade, in table order
// A value longer than its field is cut to the field's width by the table.
#include "chartcalc/SSimulation.h"
#include "chartcalc/TableDb.h"
#include "simulation/ReportFiles.h"

namespace {

constexpr char kTextField = 'c';
constexpr int kPathWidth = 200;
constexpr int kTextWidth = 50;

struct FieldDecl {
  const char* name;
  int width;
};

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

struct RowField {
  const char* name;
  SString SSummary::*value;
};

constexpr RowField kSummaryFields[] = {
    {"GroupID", &SSummary::GroupID},       {"GroupName", &SSummary::GroupName},
    {"SubGroupID", &SSummary::SubGroupID}, {"SubGroupName", &SSummary::SubGroupName},
    {"Sequence", &SSummary::Sequence},     {"Name1", &SSummary::Name1},
    {"Value1", &SSummary::Value1},         {"Name2", &SSummary::Name2},
    {"Value2", &SSummary::Value2},
};

constexpr const char* kTradeFields[] = {
    "TradeNo",    "EntryType",       "ExitType",           "EntryDate",  "ExitDate",     "EntryTime", "ExitTime",
    "EntryPrice", "ExitPrice",       "Quantity",           "Runup",      "Drawdown",     "EntryEff",  "ExitEff",
    "TotalEff",   "ProfitLossRatio", "CumProfitLossRatio", "ProfitLoss", "CumProfitLoss"};

// Replaces any file at path with an empty table of the given fields; the
// table creates the directories above it.
template <typename Fields, typename NameOf, typename WidthOf>
void CreateTable(const SString& path, const Fields& fields, NameOf nameOf, WidthOf widthOf) {
  DB db(0);
  db.CreateDB(path.c_str());
  db.ClearField();
  for (const auto& f : fields) db.InsertField(nameOf(f), kTextField, widthOf(f));
  db.WriteHead();
  db.WriteField();
  db.WriteEof();
}

}  // namespace

int SSimulation::CreateSummaryDB(SString path) {
  CreateTable(
      path, kInfoFields, [](const InfoField& f) { return f.name; }, [](const InfoField& f) { return f.width; });
  return 1;
}

int SSimulation::CreateIndividualSummaryDB(SString path) {
  CreateTable(
      path, kSummaryFields, [](const RowField& f) { return f.name; }, [](const RowField&) { return kTextWidth; });
  return 1;
}

int SSimulation::CreateTradingHistoryDB(SString path) {
  CreateTable(
      path, kTradeFields, [](const char* f) { return f; }, [](const char*) { return kTextWidth; });
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

// Placeholders: the row values are being written.
int SSimulation::InsertIndividualSummaryDB(SString) { return 1; }
int SSimulation::InsertTradingHistoryDB(SString) { return 1; }

// First cut: written in place; to be built aside and renamed.
namespace chartcalc::detail {

bool WriteIndividualSummaryFile(SSimulation& sim, const SString& path) {
  sim.CreateIndividualSummaryDB(path);
  sim.InsertIndividualSummaryDB(path);
  return true;
}

bool WriteTradeListFile(SSimulation& sim, const SString& path) {
  sim.CreateTradingHistoryDB(path);
  sim.InsertTradingHistoryDB(path);
  return true;
}

}  // namespace chartcalc::detail
