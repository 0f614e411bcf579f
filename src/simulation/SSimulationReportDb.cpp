// The report files of a run, each a table database file (see TableDb.h) of
// text fields:
//   summary info     one record per run: what was tested, its key figures
//   individual       the run's summary table, one record per row
//   summary
//   trade list       one record per trade, in table order
// A value longer than its field is cut to the field's width by the table.
//
// The records of a file are built once (SummaryValues, TradeValues) and
// either appended to an existing file in one transaction (Insert*) or
// written with the file's fields as a whole new file (ReportFiles.h).
#include <algorithm>
#include <array>
#include <cstdio>
#include <memory>
#include <span>
#include <vector>

#include "chartcalc/DateTime.h"
#include "chartcalc/SSimulation.h"
#include "chartcalc/TableDb.h"
#include "chartcalc/TextHelpers.h"
#include "core/TableFile.h"
#include "core/TextTable.h"
#include "simulation/ReportFiles.h"
#include "simulation/Summary.h"

using namespace chartcalc::detail;

// The summary-info file kept open between the appends of successive runs.
struct SSimulation::SumInfoTable : TableAppender {};

namespace {

constexpr char kTextField = 'c';
constexpr int kPathWidth = 200;
constexpr int kTextWidth = 50;
constexpr int kNumberPrecision = 15;
constexpr int kEffDecimals = 2;
constexpr int kRatioDecimals = 2;
constexpr int kQuantityDecimals = 0;
constexpr double kPercent = 100.0;

// A run's own files are written again by running it again, so they are
// renamed into place without waiting for the disk: a crash of the program
// still leaves each whole or absent, and an fsync would cost several times
// the writing (only a crash of the whole system may lose the newest ones).
constexpr FileSync kRunFileSync = FileSync::kSkip;

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

// ---- trade-list values ----------------------------------------------------------

// What every trade's texts are made from. Columns are read through Bars, so
// a hand-made table with columns of different lengths reads 0 past an end.
struct TradeSource {
  const STradeTable& table;
  double tick;
  int digits;
  Bars Col(const SVector& column) const { return View(column); }
};

SString Fixed(double value, int decimals) { return FloatToStrF(value, kNumberPrecision, decimals); }

SString DateText(double dateTime) {
  char text[64];
  std::snprintf(text, sizeof text, "%04d%02d%02d", GetYear(dateTime), GetMonth(dateTime), GetDate(dateTime));
  return SString(text);
}

SString TimeText(double dateTime) {
  char text[32];
  std::snprintf(text, sizeof text, "%02d:%02d", GetHour(dateTime), GetMinute(dateTime));
  return SString(text);
}

// "Buy"/"Sell" followed by the word of the entry or the exit.
SString SideText(const TradeSource& s, int k, TextId word) {
  const bool isLong = s.Col(s.table.Direction).At(k) == 0.0;
  return SString(GetText(isLong ? TxSimBuy : TxSimSell)) + GetText(word);
}

// A trade still open at the last bar has no exit date-time.
bool IsOpen(const TradeSource& s, int k) { return s.Col(s.table.ExitDateTime).At(k) == 0.0; }

// A return factor as a gain in percent.
SString ReturnPercent(double factor) { return Fixed(factor * kPercent - kPercent, kRatioDecimals); }

using TradeText = SString (*)(const TradeSource&, int);

struct TradeField {
  const char* name;
  TradeText text;
};

constexpr TradeField kTradeFields[] = {
    {"TradeNo", [](const TradeSource&, int k) { return ltos(k + 1L); }},
    {"EntryType", [](const TradeSource& s, int k) { return SideText(s, k, TxSimEnterance); }},
    {"ExitType", [](const TradeSource& s, int k) { return SideText(s, k, IsOpen(s, k) ? TxSimHold : TxSimClose); }},
    {"EntryDate", [](const TradeSource& s, int k) { return DateText(s.Col(s.table.EntryDateTime).At(k)); }},
    {"ExitDate", [](const TradeSource& s, int k) { return DateText(s.Col(s.table.ExitDateTime).At(k)); }},
    {"EntryTime", [](const TradeSource& s, int k) { return TimeText(s.Col(s.table.EntryDateTime).At(k)); }},
    {"ExitTime", [](const TradeSource& s, int k) { return TimeText(s.Col(s.table.ExitDateTime).At(k)); }},
    {"EntryPrice",
     [](const TradeSource& s, int k) { return GetTickFullFormat(s.Col(s.table.EntryPrice).At(k), s.tick); }},
    {"ExitPrice",
     [](const TradeSource& s, int k) { return GetTickFullFormat(s.Col(s.table.ExitPrice).At(k), s.tick); }},
    {"Quantity", [](const TradeSource& s, int k) { return Fixed(s.Col(s.table.Quantity).At(k), kQuantityDecimals); }},
    {"Runup", [](const TradeSource& s, int k) { return Fixed(s.Col(s.table.Runup).At(k), s.digits); }},
    {"Drawdown", [](const TradeSource& s, int k) { return Fixed(s.Col(s.table.Drawdown).At(k), s.digits); }},
    {"EntryEff", [](const TradeSource& s, int k) { return Fixed(s.Col(s.table.EntryEff).At(k), kEffDecimals); }},
    {"ExitEff", [](const TradeSource& s, int k) { return Fixed(s.Col(s.table.ExitEff).At(k), kEffDecimals); }},
    {"TotalEff", [](const TradeSource& s, int k) { return Fixed(s.Col(s.table.TotalEff).At(k), kEffDecimals); }},
    {"ProfitLossRatio", [](const TradeSource& s, int k) { return ReturnPercent(s.Col(s.table.ReturnFactor).At(k)); }},
    {"CumProfitLossRatio",
     [](const TradeSource& s, int k) { return ReturnPercent(s.Col(s.table.CumReturnFactor).At(k)); }},
    {"ProfitLoss", [](const TradeSource& s, int k) { return Fixed(s.Col(s.table.ProfitLoss).At(k), s.digits); }},
    {"CumProfitLoss", [](const TradeSource& s, int k) { return Fixed(s.Col(s.table.CumProfitLoss).At(k), s.digits); }},
};

// ---- the columns of each file -------------------------------------------------------

template <typename Field, size_t N, typename WidthOf>
constexpr std::array<TableColumn, N> ColumnsOf(const Field (&fields)[N], WidthOf widthOf) {
  std::array<TableColumn, N> columns{};
  for (size_t k = 0; k < N; ++k) columns[k] = {fields[k].name, widthOf(fields[k])};
  return columns;
}

constexpr auto kInfoColumns = ColumnsOf(kInfoFields, [](const InfoField& f) { return f.width; });
constexpr auto kSummaryColumns = ColumnsOf(kSummaryFields, [](const RowField&) { return kTextWidth; });
constexpr auto kTradeColumns = ColumnsOf(kTradeFields, [](const TradeField&) { return kTextWidth; });

// ---- the records of each file -------------------------------------------------------

// The rows of the summary table, nine values each.
std::vector<std::string> SummaryValues(const SSimulation& sim) {
  const int rows = std::clamp(sim.SummaryCount, 0, SSimulation::kSummaryRows);
  std::vector<std::string> values;
  values.reserve(static_cast<size_t>(rows) * std::size(kSummaryFields));
  for (int r = 0; r < rows; ++r)
    for (const RowField& f : kSummaryFields) values.push_back((sim.Summary[r].*f.value).str());
  return values;
}

// Every trade of the table, in table order.
std::vector<std::string> TradeValues(const SSimulation& sim) {
  const TradeSource source{sim.Trades, sim.TickSize, SummaryDigits(sim.TickSize)};
  const int trades = std::max(sim.Trades.GetCount(), 0);
  std::vector<std::string> values;
  values.reserve(static_cast<size_t>(trades) * std::size(kTradeFields));
  for (int k = 0; k < trades; ++k)
    for (const TradeField& f : kTradeFields) values.push_back(std::move(f.text(source, k).str()));
  return values;
}

std::vector<std::string> InfoValues(const SSummaryInfo& info) {
  std::vector<std::string> values;
  values.reserve(std::size(kInfoFields));
  for (const InfoField& f : kInfoFields) values.push_back((info.*f.value).str());
  return values;
}

// Replaces any file at path with an empty table of the columns; the table
// creates the directories above it.
void CreateTable(const SString& path, std::span<const TableColumn> columns) {
  DB db(0);
  db.CreateDB(path.c_str());
  db.ClearField();
  for (const TableColumn& c : columns) db.InsertField(c.name, kTextField, c.width);
  db.WriteHead();
  db.WriteField();
  db.WriteEof();
}

}  // namespace

int SSimulation::CreateSummaryDB(SString path) {
  // A kept-open file may be the one about to be replaced: let go of it.
  sumInfoTable_.table.reset();
  CreateTable(path, kInfoColumns);
  return 1;
}

int SSimulation::CreateIndividualSummaryDB(SString path) {
  CreateTable(path, kSummaryColumns);
  return 1;
}

int SSimulation::CreateTradingHistoryDB(SString path) {
  CreateTable(path, kTradeColumns);
  return 1;
}

// Appends one record. A missing or unreadable file takes no record and is
// neither created nor changed. The file stays open for the next record while
// the path names the same file, since an optimisation appends one per run.
int SSimulation::InsertSummaryDB(SString path, SSummaryInfo& info) {
  if (!sumInfoTable_.table) sumInfoTable_.table = std::make_shared<SumInfoTable>();
  SumInfoTable& table = *sumInfoTable_.table;
  if (!table.IsOpenOn(path.str()) && !table.Open(path.str(), kInfoColumns)) return 1;
  // A failed write (a lock held too long elsewhere) drops the connection, so
  // the next record opens the file afresh.
  if (!table.Append(InfoValues(info))) table.Close();
  return 1;
}

// Each appends all its records in one transaction, or none of them.
int SSimulation::InsertIndividualSummaryDB(SString path) {
  AppendTableRecords(path.str(), kSummaryColumns, SummaryValues(*this));
  return 1;
}

int SSimulation::InsertTradingHistoryDB(SString path) {
  AppendTableRecords(path.str(), kTradeColumns, TradeValues(*this));
  return 1;
}

namespace chartcalc::detail {

bool WriteIndividualSummaryFile(SSimulation& sim, const SString& path) {
  return WriteTableFile(path.str(), kSummaryColumns, SummaryValues(sim), kRunFileSync);
}

bool WriteTradeListFile(SSimulation& sim, const SString& path) {
  return WriteTableFile(path.str(), kTradeColumns, TradeValues(sim), kRunFileSync);
}

}  // namespace chartcalc::detail
