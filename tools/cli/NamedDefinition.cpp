// Reading a named definition of the index directory for a subcommand,
// setting its variables, and reporting what went wrong in it.
#include "NamedDefinition.h"

#include <strings.h>

#include <algorithm>
#include <cstdio>

using namespace chartcalc::detail;

std::string Field(const SString& cp949) {
  std::string out;
  for (char c : Cp949ToUtf8Lossy(cp949.c_str())) {
    const char* escaped = c == '\\' ? "\\\\" : c == '\t' ? "\\t" : c == '\n' ? "\\n" : c == '\r' ? "\\r" : nullptr;
    if (escaped)
      out += escaped;
    else
      out += c;
  }
  return out;
}

// The names of the lines of a kind that has no line names of its own.
const char* RoleOf(int kind, int line) {
  static const char* const kSystemRoles[] = {"long entry", "long exit", "short entry", "short exit"};
  static const char* const kPatternRoles[] = {"bullish", "bearish"};
  if (kind == kIndexSystem && line < 4) return kSystemRoles[line];
  if (kind == kIndexPattern && line < 2) return kPatternRoles[line];
  return "formula";
}

// The stored spelling of name in the kind, or "" when it has none.
std::string StoredName(int kind, const std::string& name) {
  std::string found;
  EachDefinition(kind, [&](const SString& stored, const SString&) {
    if (found.empty() && strcasecmp(stored.c_str(), name.c_str()) == 0) found = stored.str();
  });
  return found;
}

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

namespace {

std::string VariableNames(const SIndex& x) {
  std::string names;
  for (const SString& v : x.VarName)
    if (!v.IsEmpty()) names += (names.empty() ? "" : ", ") + Cp949ToUtf8Lossy(v.c_str());
  return names.empty() ? "none" : names;
}

}  // namespace

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

// A CSV cell holding text: quoted when it holds a comma, a quote or a line break.
std::string CsvText(const std::string& text) {
  if (text.find_first_of(",\"\r\n") == std::string::npos) return text;
  std::string quoted = "\"";
  for (char c : text) quoted += c == '"' ? std::string("\"\"") : std::string(1, c);
  return quoted + "\"";
}

std::string ColumnName(SIndex& x, int line) {
  return CsvText(Cp949ToUtf8Lossy(x.GetExpNameWithVariable(line).c_str()));
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
    calc.SetVariable(s(kClose), s(kOpen), s(kHigh), s(kLow), s(kVolume), s(kDateTime), s(kOpenInterest), s(kAmount),
                     s(kSpread));
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

void BindPrices(SIndex& x, SPriceData& prices) {
  auto s = [&prices](int slot) -> SVector& { return prices.GetSeries(slot); };
  x.SetVariable(s(kClose), s(kOpen), s(kHigh), s(kLow), s(kVolume), s(kDateTime), s(kOpenInterest), s(kAmount),
                s(kSpread));
}

// Reads, overrides and checks a definition for calc and lookback.
int PrepareNamed(const CliOptions& options, const std::vector<int>& kinds, SIndex& x, std::ostream& err) {
  if (int status = ReadNamed(options.args, kinds, x, err); status != kExitOk) return status;
  return FinishNamed(options, x, err);
}

int FinishNamed(const CliOptions& options, SIndex& x, std::ostream& err) {
  if (!ApplyVariables(options, x, err)) return kExitBadInput;
  IndexError e = x.CheckError();
  if (e.Message.IsEmpty()) return kExitOk;
  err << "error: " << Cp949ToUtf8Lossy(e.Message.c_str()) << "\n";
  return kExitFormula;
}
