// chartcalc backtest: a trading system of the index directory run over the
// price data through SSimulation, in the order a host runs it (Calc,
// ProcessStop, PreProcess, SetHistory, SetSummary).
//   SYSTEM [--var NAME=VALUE]... [--settings FILE.ini] [--set KEY=VALUE]...
//   [--tick SIZE] [--csv] [--trades FILE] [--equity FILE]
// The summary goes to standard output as an aligned table of labels and
// values (--csv: the nine report fields per row); --trades and --equity
// write the trade table and the equity curve as CSV files, whole.
#include <strings.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "Cli.h"
#include "DefinitionText.h"
#include "NamedDefinition.h"
#include "PriceCsv.h"
#include "SimulationOptions.h"
#include "chartcalc.h"
#include "core/FileUtil.h"
#include "simulation/SimulationSettingKeys.h"

using namespace chartcalc::detail;

namespace {

std::string Utf8(const SString& cp949) { return Cp949ToUtf8Lossy(cp949.c_str()); }

// ---- output ---------------------------------------------------------------------

// Code page 949 shows a Hangul syllable two columns wide in two bytes, so
// the byte length of a label is its width on a terminal.
size_t Width(const SString& cp949) { return static_cast<size_t>(std::max(cp949.Length(), 0)); }

std::string Padded(const SString& cp949, size_t width) {
  return Utf8(cp949) + std::string(width > Width(cp949) ? width - Width(cp949) : 0, ' ');
}

void PrintSummaryTable(const SSimulation& sim, std::ostream& out) {
  struct Pair {
    SString name, value;
  };
  std::vector<Pair> pairs;
  size_t nameWidth = 0, valueWidth = 0;
  for (int r = 0; r < sim.SummaryCount; ++r)
    for (const Pair& p :
         {Pair{sim.Summary[r].Name1, sim.Summary[r].Value1}, Pair{sim.Summary[r].Name2, sim.Summary[r].Value2}}) {
      nameWidth = std::max(nameWidth, Width(p.name));
      valueWidth = std::max(valueWidth, Width(p.value));
    }
  std::string text;
  for (int r = 0; r < sim.SummaryCount; ++r) {
    const SSummary& row = sim.Summary[r];
    const bool newGroup = r == 0 || row.GroupID != sim.Summary[r - 1].GroupID;
    if (newGroup) text.append(r == 0 ? "" : "\n").append(Utf8(row.GroupName)).append("\n");
    if (newGroup || row.SubGroupID != sim.Summary[r - 1].SubGroupID)
      text.append("  ").append(Utf8(row.SubGroupName)).append("\n");
    for (const Pair& p : {Pair{row.Name1, row.Value1}, Pair{row.Name2, row.Value2}}) {
      if (p.name.IsEmpty()) continue;
      const size_t pad = valueWidth > Width(p.value) ? valueWidth - Width(p.value) : 0;
      text.append("    ").append(Padded(p.name, nameWidth)).append(2 + pad, ' ').append(Utf8(p.value)).append("\n");
    }
  }
  out << text;
}

void PrintSummaryCsv(const SSimulation& sim, std::ostream& out) {
  std::string text = "GroupID,GroupName,SubGroupID,SubGroupName,Sequence,Name1,Value1,Name2,Value2\n";
  for (int r = 0; r < sim.SummaryCount; ++r) {
    const SSummary& row = sim.Summary[r];
    const SString* cells[] = {&row.GroupID, &row.GroupName, &row.SubGroupID, &row.SubGroupName, &row.Sequence,
                              &row.Name1,   &row.Value1,    &row.Name2,      &row.Value2};
    for (const SString* cell : cells) text += CsvText(Utf8(*cell)) + (cell == cells[8] ? "\n" : ",");
  }
  out << text;
}

// YYYY-MM-DD for a daily bar, YYYY-MM-DD hh:mm:ss for an intraday bar; empty
// for 0 (a trade still open).
std::string DateTimeText(double dt) {
  if (dt == 0.0) return std::string();
  char text[32];
  const int date = GetCompDate(dt);
  if (dt < kIntradayThreshold) {
    std::snprintf(text, sizeof text, "%04d-%02d-%02d", date / 10000, date / 100 % 100, date % 100);
  } else {
    const int time = GetTimeOfDay(dt);
    std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d", date / 10000, date / 100 % 100, date % 100,
                  time / 10000, time / 100 % 100, time % 100);
  }
  return text;
}

std::string TradesCsv(const STradeTable& t) {
  std::string text;
  for (int c = 0; c < STradeTable::kColumns; ++c)
    text += std::string(kTradeColumnNames[c]) + (c + 1 < STradeTable::kColumns ? "," : "\n");
  for (int k = 0; k < t.GetCount(); ++k) {
    for (int c = 0; c < STradeTable::kColumns; ++c) {
      const SVector& column = t.Column(c);
      const double v = k < column.GetSize() ? column[k] : 0.0;
      if (&column == &t.EntryDateTime || &column == &t.ExitDateTime)
        text += DateTimeText(v);
      else
        AppendNumber(text, "%.15g", v);
      text += c + 1 < STradeTable::kColumns ? ',' : '\n';
    }
  }
  return text;
}

// bar,datetime, then the equity of each simulated side and, when both sides
// are simulated, of both together.
std::string EquityCsv(SSimulation& sim, const SVector& dateTime) {
  struct Curve {
    const char* name;
    int side;
    SVector values;
  };
  std::vector<Curve> curves;
  for (int side = sim.GetStartMode(); side <= sim.GetEndMode(); ++side)
    curves.push_back({side == 0 ? "long" : "short", side, SVector()});
  if (curves.size() == 2) curves.push_back({"total", 2, SVector()});
  std::string text = "bar,datetime";
  int rows = 0;
  for (Curve& c : curves) {
    sim.CalcEquity(&c.values, c.side);
    text += std::string(",") + c.name;
    rows = std::max(rows, c.values.GetSize());
  }
  text += "\n";
  for (int i = 0; i < rows; ++i) {
    text += std::to_string(i) + ",";
    if (i < dateTime.GetSize()) AppendNumber(text, "%.0f", dateTime[i]);
    for (const Curve& c : curves) {
      text += ',';
      if (i < c.values.GetSize()) AppendNumber(text, "%.15g", c.values[i]);
    }
    text += '\n';
  }
  return text;
}

// Writes the file of --option, if given, with the text made by make.
template <typename Make>
bool WriteOutput(const CliOptions& options, const char* option, Make make, std::ostream& err) {
  auto it = options.own.find(option);
  if (it == options.own.end() || WriteWholeFile(it->second, make())) return true;
  err << "error: --" << option << ": cannot write " << it->second << "\n";
  return false;
}

}  // namespace

int RunBacktest(const CliOptions& options, std::ostream& out, std::ostream& err) {
  if (options.args.size() != 1) {
    err << "error: backtest takes exactly one SYSTEM (see chartcalc indicator list --kind system)\n";
    return kExitBadInput;
  }
  auto sim = std::make_unique<SSimulation>();
  SIndex system;
  if (int status = ReadSystem(options, system, err); status != kExitOk) return status;
  double tick = 0;
  if (!ApplySettings(options, *sim, err) || !ReadTick(options, tick, err)) return kExitBadInput;
  SPriceData prices;
  if (!ReadPriceCsv(options.data, prices, err)) return kExitBadInput;
  SFunctionList functions;
  functions.ReadFunction();
  sim->SetSymbolName(SymbolName(options).c_str());
  sim->SetTickSize(tick);
  sim->SetIndex(system);
  if (!RunSimulation(*sim, prices, functions, err)) return kExitFormula;
  if (!WriteOutput(
          options, "trades", [&] { return TradesCsv(sim->Trades); }, err) ||
      !WriteOutput(
          options, "equity", [&] { return EquityCsv(*sim, prices.GetSeries(kDateTime)); }, err))
    return kExitBadInput;
  if (options.flags.count("csv"))
    PrintSummaryCsv(*sim, out);
  else
    PrintSummaryTable(*sim, out);
  return kExitOk;
}
