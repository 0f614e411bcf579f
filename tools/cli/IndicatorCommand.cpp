// chartcalc indicator: the definitions of the index directory.
//   list [--kind KIND]       one definition per line: NAME, KIND, DESCRIPTION
//   show NAME [--kind KIND]  one definition as KEY<tab>VALUE... lines:
//       name, kind, description, period (single expressions),
//       variable NAME VALUE [START END STEP] (systems add the range),
//       parameter NAME (functions), line N NAME FORMULA, base VALUE
//   calc NAME [--var NAME=VALUE]... [--stream] [--legend] [--follow]
//       the definition calculated over the price data, as CSV: bar,datetime,
//       then one column per calculated line, named by the library's line
//       names with the variable values worked in (in the language of
//       --lang); a cell is empty before its line's first valid bar. --stream
//       feeds the bars one at a time through CalcLast, as a host does on
//       ticks. --legend first prints each line's legend entry at the last
//       bar as a comment line "# ENTRY". --follow reads the price CSV from
//       standard input as its lines arrive instead and prints the header
//       once the price header is read, then the row of each bar as it is
//       added or updated (a row with the last bar's date-time updates it).
//   check NAME [--var NAME=VALUE]...
//       "ok", or where the definition is wrong (variable, or line N) and the
//       message in the chosen language; exit status 2 when wrong
//   lookback NAME [--var NAME=VALUE]...  the bars needed before the first value
// KIND is indicator, expression, pattern, system or function; without it
// every kind is listed, and show takes the first kind that has the name.
// Names are matched without regard to case. Texts are UTF-8 here and code
// page 949 in the database; tabs and line breaks inside a field are written
// as \t, \n and \r, a backslash as \\.
#include <strings.h>

#include <algorithm>
#include <cstdio>
#include <iostream>
#include <string>
#include <vector>

#include "Cli.h"
#include "DefinitionText.h"
#include "NamedDefinition.h"
#include "PriceCsv.h"
#include "chartcalc.h"

using namespace chartcalc::detail;

namespace {

// The kinds to look at: the one of --kind, or all. False for an unknown word.
bool SelectedKinds(const CliOptions& options, std::vector<int>& kinds, std::ostream& err) {
  auto it = options.own.find("kind");
  if (it == options.own.end()) {
    for (const DefinitionKind& k : kDefinitionKinds) kinds.push_back(k.type);
    return true;
  }
  int kind = DefinitionKindOf(it->second);
  if (kind == -2) {
    err << "error: --kind must be indicator, expression, pattern, system or function\n";
    return false;
  }
  kinds.push_back(kind);
  return true;
}

int ListDefinitions(const std::vector<int>& kinds, std::ostream& out) {
  std::string text;
  for (int kind : kinds)
    EachDefinition(kind, [&](const SString& name, const SString& description) {
      text += Field(name) + "\t" + DefinitionKindWord(kind) + "\t" + Field(description) + "\n";
    });
  out << text;
  return kExitOk;
}

void PrintVariables(const SIndex& x, std::string& text) {
  for (int k = 0; k < kIndexVars; ++k) {
    if (x.VarName[k].IsEmpty()) continue;
    if (x.IndexType == kIndexUserFunction) {
      text += "parameter\t" + Field(x.VarName[k]) + "\n";
      continue;
    }
    text += "variable\t" + Field(x.VarName[k]) + "\t" + Field(x.VarValue[k]);
    if (x.IndexType == kIndexSystem)
      text += "\t" + Field(x.VarStart[k]) + "\t" + Field(x.VarEnd[k]) + "\t" + Field(x.VarIncrement[k]);
    text += "\n";
  }
}

void PrintDefinition(const SIndex& x, std::ostream& out) {
  std::string text = "name\t" + Field(x.IndexName) + "\nkind\t" + DefinitionKindWord(x.IndexType) + "\n";
  text += "description\t" + Field(x.Description) + "\n";
  if (x.IndexType == kIndexSingleExpression) text += "period\t" + Field(x.Period) + "\n";
  PrintVariables(x, text);
  for (int k = 0; k < kIndexLines; ++k) {
    if (x.Expression[k].IsEmpty()) continue;
    SString name = x.IndexType == kIndexIndicator ? x.ExpName[k] : SString(RoleOf(x.IndexType, k));
    text += "line\t" + std::to_string(k) + "\t" + Field(name) + "\t" + Field(x.Expression[k]) + "\n";
  }
  for (int k = 0; k < kIndexBaseLines; ++k)
    if (x.IndexType == kIndexIndicator && !x.YValue[k].IsEmpty()) text += "base\t" + Field(x.YValue[k]) + "\n";
  out << text;
}

int ShowDefinition(const std::vector<std::string>& args, const std::vector<int>& kinds, std::ostream& out,
                   std::ostream& err) {
  SIndex x;
  if (int status = ReadNamed(args, kinds, x, err); status != kExitOk) return status;
  PrintDefinition(x, out);
  return kExitOk;
}

// ---- calculation ------------------------------------------------------------------

// Legend values carry the decimals of this price step, the one the tool
// assumes for prices elsewhere (backtest's default tick).
constexpr double kLegendTick = 0.01;

// "# " and the legend entry (name and value at the last bar) of every
// calculated line, read from the price record the indicator is bound to.
void PrintLegend(SIndex& x, int lastBar, std::ostream& out) {
  std::string text;
  for (int line : CalculatedLines(x)) {
    std::string entry = Cp949ToUtf8Lossy(x.GetExpTitle(1, 1, 0, line, lastBar).c_str());
    while (!entry.empty() && entry.back() == ' ') entry.pop_back();
    text += "#" + entry + "\n";
  }
  out << text;
}

// The CSV header: bar,datetime, then the name of each line.
std::string HeaderRow(SIndex& x, const std::vector<int>& lines) {
  std::string buf = "bar,datetime";
  for (int line : lines) {
    buf += ',';
    buf += ColumnName(x, line);
  }
  return buf + "\n";
}

// Appends the row of bar i: empty cells before a line's start index and
// past its end; the datetime is empty past the price data.
void AppendRow(std::string& buf, const SIndex& x, const std::vector<int>& lines, int i, const SVector& dateTime) {
  buf += std::to_string(i) + ",";
  if (i < dateTime.GetSize()) AppendNumber(buf, "%.0f", dateTime[i]);
  for (int line : lines) {
    const SVector& s = x.LineData[line];
    buf += ',';
    if (i >= std::max(s.GetStartIndex(), 0) && i < s.GetSize()) AppendNumber(buf, "%.15g", s[i]);
  }
  buf += '\n';
}

// The whole CSV, one row per bar or line element, whichever are more.
void PrintLines(SIndex& x, const SVector& dateTime, std::ostream& out) {
  const std::vector<int> lines = CalculatedLines(x);
  std::string buf = HeaderRow(x, lines);
  int rows = dateTime.GetSize();
  for (int line : lines) rows = std::max(rows, x.LineData[line].GetSize());
  for (int i = 0; i < rows; ++i) {
    AppendRow(buf, x, lines, i, dateTime);
    if (buf.size() > (1 << 16)) out << buf, buf.clear();
  }
  out << buf;
}

// Feeds the bars of prices one at a time into live, calculating after each
// as a host does when a bar arrives.
void Stream(SIndex& x, const SPriceData& prices, SPriceData& live) {
  const int bars = Bars(prices);
  for (int slot = 0; slot < kPriceSlots; ++slot) live.GetSeries(slot).ReAlloc(bars);
  BindPrices(x, live);
  for (int i = 0; i < bars; ++i) {
    for (int slot = 0; slot < kPriceSlots; ++slot) live.GetSeries(slot).Add(prices.GetSeries(slot)[i]);
    x.CalcLast();
  }
}

// ---- following a feed --------------------------------------------------------

// The name messages give the feed, with its line numbers.
constexpr const char* kFeedName = "<stdin>";

// Calculates an indicator over a price feed read line by line, as a host
// does on ticks: each row adds a bar, or updates the last bar when it has
// the same date-time, then CalcLast, then the bar's row is printed at once.
// A bad row is reported and skipped, since one bad line must not end a live
// feed; a row older than the last bar is bad too, as bars only move forward.
class Feed {
 public:
  // The lines are converted ahead of the first calculation, so that the
  // header can name the calculated ones before any bar has arrived.
  Feed(SIndex& x, SFunctionList& functions) : x_(x), functions_(functions) {
    x_.ConvertExpression();
    columns_ = CalculatedLines(x_);
    BindPrices(x_, live_);
  }

  // Takes the next line; kExitOk to go on, or the status that ends the run.
  int Take(const std::string& line, std::ostream& out, std::ostream& err) {
    PriceRow row;
    std::string what;
    switch (lines_.Next(line, row, what)) {
      case PriceCsvLines::kBlank:
        return kExitOk;
      case PriceCsvLines::kHeader:
        header_ = true;
        out << HeaderRow(x_, columns_) << std::flush;
        return kExitOk;
      case PriceCsvLines::kBadHeader:
        err << "error: " << Where() << what << "\n";
        return kExitBadInput;
      case PriceCsvLines::kBadRow:
        err << "warning: " << Where() << what << ", row skipped\n";
        return kExitOk;
      case PriceCsvLines::kRow:
        break;
    }
    return Calculate(row, out, err);
  }

  // The status once the feed has ended.
  int End(std::ostream& err) const {
    if (header_) return kExitOk;
    err << "error: " << kFeedName << ": " << kNoHeader << "\n";
    return kExitBadInput;
  }

 private:
  std::string Where() const { return std::string(kFeedName) + ":" + std::to_string(lines_.Number()) + ": "; }

  int Calculate(const PriceRow& row, std::ostream& out, std::ostream& err) {
    if (!Apply(row)) {
      std::string what = "date-time ";
      AppendNumber(what, "%.0f", row.dateTime);
      err << "warning: " << Where() << what << " is before the last bar's, row skipped\n";
      return kExitOk;
    }
    x_.CalcLast();
    // A formula that cannot be calculated fails on the first bar already.
    if (Bars(live_) == 1 && !ReportFormulaErrors(x_, live_, functions_, err)) return kExitFormula;
    std::string buf;
    AppendRow(buf, x_, columns_, Bars(live_) - 1, live_.GetSeries(kDateTime));
    out << buf << std::flush;
    return kExitOk;
  }

  // A new bar, or the last one again; false for a row older than the last.
  bool Apply(const PriceRow& row) {
    const int bars = Bars(live_);
    const double last = bars > 0 ? live_.GetSeries(kDateTime)[bars - 1] : 0;
    if (bars > 0 && row.dateTime < last) return false;
    if (bars > 0 && row.dateTime == last)
      UpdateLastBar(live_, row);
    else
      AddBar(live_, row);
    return true;
  }

  SIndex& x_;
  SFunctionList& functions_;
  std::vector<int> columns_;
  SPriceData live_;
  PriceCsvLines lines_;
  bool header_ = false;
};

int Follow(SIndex& x, SFunctionList& functions, std::istream& in, std::ostream& out, std::ostream& err) {
  Feed feed(x, functions);
  for (std::string line; std::getline(in, line);)
    if (int status = feed.Take(line, out, err); status != kExitOk) return status;
  return feed.End(err);
}

// ---- calc ------------------------------------------------------------------------

// The prices of --data, whole or streamed bar by bar, then the CSV.
int CalcOverData(const CliOptions& options, SIndex& x, SFunctionList& functions, std::ostream& out, std::ostream& err) {
  // The prices are the one record of a list, so the legend reads them as a
  // host's chart does.
  SPriceDataList list;
  const int id = list.Add();
  SPriceData& prices = list[0];
  SPriceData live;
  if (!ReadPriceCsv(options.data, prices, err)) return kExitBadInput;
  prices.TickSize = kLegendTick;
  const bool streamed = options.flags.count("stream") > 0;
  if (streamed) {
    Stream(x, prices, live);
  } else {
    BindPrices(x, prices);
    x.Calc();
  }
  if (!ReportFormulaErrors(x, prices, functions, err)) return kExitFormula;
  if (options.flags.count("legend")) {
    x.SetData(&list, id);  // after the calculation: the lines stay as calculated
    PrintLegend(x, Bars(prices) - 1, out);
  }
  PrintLines(x, (streamed ? live : prices).GetSeries(kDateTime), out);
  return kExitOk;
}

int CalcNamed(const CliOptions& options, const std::vector<int>& kinds, std::ostream& out, std::ostream& err) {
  SIndex x;
  if (int status = PrepareNamed(options, kinds, x, err); status != kExitOk) return status;
  // The user functions of the index directory (none when it has none).
  SFunctionList functions;
  functions.ReadFunction();
  x.SetFunction(&functions);
  if (options.flags.count("follow")) return Follow(x, functions, std::cin, out, err);
  return CalcOverData(options, x, functions, out, err);
}

int CheckNamed(const CliOptions& options, const std::vector<int>& kinds, std::ostream& out, std::ostream& err) {
  SIndex x;
  if (int status = ReadNamed(options.args, kinds, x, err); status != kExitOk) return status;
  if (!ApplyVariables(options, x, err)) return kExitBadInput;
  IndexError e = x.CheckError();
  if (e.Message.IsEmpty()) {
    out << "ok\n";
    return kExitOk;
  }
  const std::string where = e.ErrorPart == 1 ? "variable" : "line " + std::to_string(e.ExpIndex);
  out << where << "\t" << Cp949ToUtf8Lossy(e.Message.c_str()) << "\n";
  return kExitFormula;
}

int LookbackNamed(const CliOptions& options, const std::vector<int>& kinds, std::ostream& out, std::ostream& err) {
  SIndex x;
  if (int status = PrepareNamed(options, kinds, x, err); status != kExitOk) return status;
  SFunctionList functions;
  functions.ReadFunction();
  x.SetFunction(&functions);
  out << x.GetMinDataSize() << "\n";
  return kExitOk;
}

bool HasVariables(const CliOptions& options) {
  return std::any_of(options.ownAll.begin(), options.ownAll.end(), [](const auto& o) { return o.first == "var"; });
}

}  // namespace

int RunIndicator(const CliOptions& options, std::ostream& out, std::ostream& err) {
  const std::vector<std::string>& args = options.args;
  std::vector<int> kinds;
  if (!SelectedKinds(options, kinds, err)) return kExitBadInput;
  std::string action = args.empty() ? "" : args[0];
  const bool calculates = action == "calc" || action == "check" || action == "lookback";
  for (const char* flag : {"stream", "legend", "follow"})
    if (options.flags.count(flag) && action != "calc") {
      err << "error: --" << flag << " applies to calc only\n";
      return kExitBadInput;
    }
  // A feed has no last bar to give a legend for, and is bar by bar already.
  if (options.flags.count("follow") && (options.flags.count("stream") || options.flags.count("legend"))) {
    err << "error: --follow takes neither --stream nor --legend\n";
    return kExitBadInput;
  }
  if (HasVariables(options) && !calculates) {
    err << "error: --var applies to calc, check and lookback only\n";
    return kExitBadInput;
  }
  if (action == "list" && args.size() == 1) return ListDefinitions(kinds, out);
  if (action == "show") return ShowDefinition(args, kinds, out, err);
  if (action == "calc") return CalcNamed(options, kinds, out, err);
  if (action == "check") return CheckNamed(options, kinds, out, err);
  if (action == "lookback") return LookbackNamed(options, kinds, out, err);
  err << "error: indicator takes list or show NAME, or calc, check or lookback NAME"
         " (see chartcalc indicator --help)\n";
  return kExitBadInput;
}
