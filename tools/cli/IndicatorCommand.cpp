// chartcalc indicator: the definitions of the index directory.
//   list [--kind KIND]       one definition per line: NAME, KIND, DESCRIPTION
//   show NAME [--kind KIND]  one definition as KEY<tab>VALUE... lines:
//       name, kind, description, period (single expressions),
//       variable NAME VALUE [START END STEP] (systems add the range),
//       parameter NAME (functions), line N NAME FORMULA, base VALUE
//   calc NAME [--var NAME=VALUE]... [--stream]
//       the definition calculated over the price data, as CSV: bar,datetime,
//       then one column per calculated line, named by the line names (with
//       %variable% filled in; systems and patterns by the lines' roles);
//       a cell is empty before its line's first valid bar. --stream feeds
//       the bars one at a time through CalcLast, as a host does on ticks.
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
#include <string>
#include <vector>

#include "Cli.h"
#include "DefinitionText.h"
#include "PriceCsv.h"
#include "chartcalc.h"

using namespace chartcalc::detail;

namespace {

std::string Field(const SString& cp949) {
  std::string out;
  for (char c : Cp949ToUtf8Lossy(cp949.c_str())) {
    switch (c) {
      case '\\': out += "\\\\"; break;
      case '\t': out += "\\t"; break;
      case '\n': out += "\\n"; break;
      case '\r': out += "\\r"; break;
      default: out += c;
    }
  }
  return out;
}

DDB OpenKind(int kind) {
  DDB db(getIndexDBFileName(kind).c_str(), getUserDBFileName(kind).c_str(), 1);
  db.SetExtension(getIndexDBExt(kind));
  return db;
}

// Calls visit(name, description) for every definition of the kind, in
// stored order. Reading creates nothing: missing files list nothing.
template <typename Visit>
void EachDefinition(int kind, Visit visit) {
  DDB db = OpenKind(kind);
  for (db.MoveFirst(1); !db.Eof(); db.MoveNext(1)) {
    SString name = db.GetStr("IndexName");
    if (db.Deleted() || name.Trim().IsEmpty()) continue;
    visit(name, SString(db.GetStr("Description")));
  }
}

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

// The names of the lines of a kind that has no line names of its own.
const char* RoleOf(int kind, int line) {
  static const char* const kSystemRoles[] = {"long entry", "long exit", "short entry", "short exit"};
  static const char* const kPatternRoles[] = {"bullish", "bearish"};
  if (kind == kIndexSystem && line < 4) return kSystemRoles[line];
  if (kind == kIndexPattern && line < 2) return kPatternRoles[line];
  return "formula";
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

// The stored spelling of name in the kind, or "" when it has none.
std::string StoredName(int kind, const std::string& name) {
  std::string found;
  EachDefinition(kind, [&](const SString& stored, const SString&) {
    if (found.empty() && strcasecmp(stored.c_str(), name.c_str()) == 0) found = stored.str();
  });
  return found;
}

int ShowDefinition(const std::vector<std::string>& args, const std::vector<int>& kinds, std::ostream& out,
                   std::ostream& err) {
  std::string name;
  if (args.size() != 2) {
    err << "error: show takes exactly one NAME\n";
    return kExitBadInput;
  }
  if (!Utf8ToCp949(args[1], name)) {
    err << "error: the name is not UTF-8 text that code page 949 can hold\n";
    return kExitBadInput;
  }
  for (int kind : kinds) {
    std::string stored = StoredName(kind, name);
    if (stored.empty()) continue;
    SIndex x(stored.c_str(), kind);
    if (!x.ReadExpression(stored.c_str())) {
      err << "error: the definition '" << args[1] << "' cannot be read from " << getIndexDir().str() << "\n";
      return kExitBadInput;
    }
    PrintDefinition(x, out);
    return kExitOk;
  }
  err << "error: there is no definition '" << args[1] << "' in " << getIndexDir().str() << "\n";
  return kExitBadInput;
}

// ---- calculation ------------------------------------------------------------------

// Reads the definition named by args[1] (the first of the kinds that has it)
// into x. Returns kExitOk, or the exit status after a message.
int ReadNamed(const std::vector<std::string>& args, const std::vector<int>& kinds, SIndex& x, std::ostream& err) {
  std::string name;
  if (args.size() != 2) {
    err << "error: " << args[0] << " takes exactly one NAME\n";
    return kExitBadInput;
  }
  if (!Utf8ToCp949(args[1], name)) {
    err << "error: the name is not UTF-8 text that code page 949 can hold\n";
    return kExitBadInput;
  }
  for (int kind : kinds) {
    std::string stored = StoredName(kind, name);
    if (stored.empty()) continue;
    x = SIndex(stored.c_str(), kind);
    if (x.ReadExpression(stored.c_str())) return kExitOk;
    err << "error: the definition '" << args[1] << "' cannot be read from " << getIndexDir().str() << "\n";
    return kExitBadInput;
  }
  err << "error: there is no definition '" << args[1] << "' in " << getIndexDir().str() << "\n";
  return kExitBadInput;
}

std::string VariableNames(const SIndex& x) {
  std::string names;
  for (const SString& v : x.VarName)
    if (!v.IsEmpty()) names += (names.empty() ? "" : ", ") + Cp949ToUtf8Lossy(v.c_str());
  return names.empty() ? "none" : names;
}

// Sets the values of --var NAME=VALUE, in order; a name is matched without
// regard to case. False after a message for a malformed or unknown one.
bool ApplyVariables(const CliOptions& options, SIndex& x, std::ostream& err) {
  for (const auto& [option, text] : options.ownAll) {
    if (option != "var") continue;
    const size_t eq = text.find('=');
    std::string name, value;
    if (eq == std::string::npos || eq == 0) {
      err << "error: --var takes NAME=VALUE, not '" << text << "'\n";
      return false;
    }
    if (!Utf8ToCp949(text.substr(0, eq), name) || !Utf8ToCp949(text.substr(eq + 1), value)) {
      err << "error: --var " << text << " is not UTF-8 text that code page 949 can hold\n";
      return false;
    }
    auto named = [&](const SString& v) { return !v.IsEmpty() && strcasecmp(v.c_str(), name.c_str()) == 0; };
    SString* slot = std::find_if(std::begin(x.VarName), std::end(x.VarName), named);
    if (slot == std::end(x.VarName)) {
      err << "error: " << Field(x.IndexName) << " has no variable '" << text.substr(0, eq)
          << "' (its variables: " << VariableNames(x) << ")\n";
      return false;
    }
    x.VarValue[slot - std::begin(x.VarName)] = value.c_str();
  }
  return true;
}

// The line name with each %variable% replaced by the variable's value and
// "%%" by "%"; an unknown name or a lone "%" stays as written.
std::string FillPlaceholders(const SIndex& x, const std::string& name) {
  std::string out;
  for (size_t i = 0; i < name.size();) {
    const size_t close = name[i] == '%' ? name.find('%', i + 1) : std::string::npos;
    if (close == std::string::npos) {
      out += name[i++];
      continue;
    }
    const std::string key = name.substr(i + 1, close - i - 1);
    const SString* value = nullptr;
    for (int k = 0; k < kIndexVars && !value && !key.empty(); ++k)
      if (!x.VarName[k].IsEmpty() && strcasecmp(x.VarName[k].c_str(), key.c_str()) == 0) value = &x.VarValue[k];
    out += key.empty() ? "%" : value ? value->str() : name.substr(i, close - i + 1);
    i = close + 1;
  }
  return out;
}

// A CSV cell holding text: quoted when it holds a comma, a quote or a line break.
std::string CsvText(const std::string& text) {
  if (text.find_first_of(",\"\r\n") == std::string::npos) return text;
  std::string quoted = "\"";
  for (char c : text) quoted += c == '"' ? std::string("\"\"") : std::string(1, c);
  return quoted + "\"";
}

std::string ColumnName(const SIndex& x, int line) {
  std::string name;
  if (x.IndexType == kIndexIndicator && !x.ExpName[line].IsEmpty())
    name = FillPlaceholders(x, x.ExpName[line].str());
  else if (x.IndexType == kIndexIndicator)
    name = x.IndexName.str() + "[" + std::to_string(line) + "]";
  else if (x.IndexType == kIndexSystem || x.IndexType == kIndexPattern)
    name = RoleOf(x.IndexType, line);
  else
    name = x.IndexName.str();
  return CsvText(Cp949ToUtf8Lossy(name));
}

// The lines that were calculated: those with a formula after substitution.
std::vector<int> CalculatedLines(const SIndex& x) {
  std::vector<int> lines;
  for (int k = 0; k < kIndexLines; ++k)
    if (!x.ConvertedExpression[k].IsEmpty()) lines.push_back(k);
  return lines;
}

// A line without any valid bar may have failed: its formula is evaluated once
// more to learn the engine's message. Returns false after reporting one.
bool ReportFormulaErrors(SIndex& x, SPriceData& prices, SFunctionList& functions, std::ostream& err) {
  for (int line : CalculatedLines(x)) {
    if (x.LineData[line].GetStartIndex() != kInvalidStart) continue;
    SCalc calc;
    auto s = [&prices](int slot) -> SVector& { return prices.GetSeries(slot); };
    calc.SetVariable(s(kClose), s(kOpen), s(kHigh), s(kLow), s(kVolume), s(kDateTime), s(kOpenInterest),
                     s(kAmount), s(kSpread));
    calc.SetFunction(&functions);
    calc.SetExpression(x.ConvertedExpression[line].c_str());
    calc.Calculate();
    if (calc.ErrorCount == 0) continue;
    std::string message = Cp949ToUtf8Lossy(calc.ErrorMessage.c_str());
    while (!message.empty() && message.back() == '\n') message.pop_back();
    err << "error: line " << line << " (" << ColumnName(x, line) << "): " << message << "\n";
    return false;
  }
  return true;
}

void AppendNumber(std::string& buf, const char* format, double v) {
  char cell[64];
  const int n = std::snprintf(cell, sizeof cell, format, v);
  buf.append(cell, static_cast<size_t>(std::max(n, 0)));
}

// bar,datetime, then one cell per line: empty before the line's start index
// and past its end; the datetime is empty past the price data.
void PrintLines(const SIndex& x, const SVector& dateTime, std::ostream& out) {
  const std::vector<int> lines = CalculatedLines(x);
  std::string buf = "bar,datetime";
  int rows = dateTime.GetSize();
  for (int line : lines) {
    buf += ',';
    buf += ColumnName(x, line);
    rows = std::max(rows, x.LineData[line].GetSize());
  }
  buf += "\n";
  for (int i = 0; i < rows; ++i) {
    buf += std::to_string(i) + ",";
    if (i < dateTime.GetSize()) AppendNumber(buf, "%.0f", dateTime[i]);
    for (int line : lines) {
      const SVector& s = x.LineData[line];
      buf += ',';
      if (i >= std::max(s.GetStartIndex(), 0) && i < s.GetSize()) AppendNumber(buf, "%.15g", s[i]);
    }
    buf += '\n';
    if (buf.size() > (1 << 16)) out << buf, buf.clear();
  }
  out << buf;
}

void Bind(SIndex& x, SPriceData& prices) {
  auto s = [&prices](int slot) -> SVector& { return prices.GetSeries(slot); };
  x.SetVariable(s(kClose), s(kOpen), s(kHigh), s(kLow), s(kVolume), s(kDateTime), s(kOpenInterest), s(kAmount),
                s(kSpread));
}

// Feeds the bars of prices one at a time into live, calculating after each
// as a host does when a bar arrives.
void Stream(SIndex& x, const SPriceData& prices, SPriceData& live) {
  const int bars = Bars(prices);
  for (int slot = 0; slot < kPriceSlots; ++slot) live.GetSeries(slot).ReAlloc(bars);
  Bind(x, live);
  for (int i = 0; i < bars; ++i) {
    for (int slot = 0; slot < kPriceSlots; ++slot) live.GetSeries(slot).Add(prices.GetSeries(slot)[i]);
    x.CalcLast();
  }
}

// Reads, overrides and checks a definition for calc and lookback.
int PrepareNamed(const CliOptions& options, const std::vector<int>& kinds, SIndex& x, std::ostream& err) {
  if (int status = ReadNamed(options.args, kinds, x, err); status != kExitOk) return status;
  if (!ApplyVariables(options, x, err)) return kExitBadInput;
  IndexError e = x.CheckError();
  if (e.Message.IsEmpty()) return kExitOk;
  err << "error: " << Cp949ToUtf8Lossy(e.Message.c_str()) << "\n";
  return kExitFormula;
}

int CalcNamed(const CliOptions& options, const std::vector<int>& kinds, std::ostream& out, std::ostream& err) {
  SIndex x;
  if (int status = PrepareNamed(options, kinds, x, err); status != kExitOk) return status;
  SPriceData prices, live;
  std::string error;
  if (!ReadPriceCsv(options.data, prices, error)) {
    err << "error: " << error << "\n";
    return kExitBadInput;
  }
  // The user functions of the index directory (none when it has none).
  SFunctionList functions;
  functions.ReadFunction();
  x.SetFunction(&functions);
  const bool streamed = options.flags.count("stream") > 0;
  if (streamed) {
    Stream(x, prices, live);
  } else {
    Bind(x, prices);
    x.Calc();
  }
  if (!ReportFormulaErrors(x, prices, functions, err)) return kExitFormula;
  PrintLines(x, (streamed ? live : prices).GetSeries(kDateTime), out);
  return kExitOk;
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
  if (options.flags.count("stream") && action != "calc") {
    err << "error: --stream applies to calc only\n";
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
