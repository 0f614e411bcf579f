// Shared by the subcommands that work on a named definition of the index
// directory (indicator, backtest): finding and reading it, setting its
// variables from --var, naming its lines, and reporting formula errors.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "Cli.h"
#include "chartcalc.h"

// A database text as UTF-8, with tabs, line breaks and backslashes escaped.
std::string Field(const SString& cp949);

inline DDB OpenKind(int kind) {
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

// The names of the lines of a kind that has no line names of its own.
const char* RoleOf(int kind, int line);
// The stored spelling of name in the kind, or "" when it has none.
std::string StoredName(int kind, const std::string& name);
// Reads the definition named by args[1] (the first of the kinds that has
// it) into x. Returns kExitOk, or the exit status after a message.
int ReadNamed(const std::vector<std::string>& args, const std::vector<int>& kinds, SIndex& x, std::ostream& err);
// Sets the values of --var NAME=VALUE, in order. False after a message.
bool ApplyVariables(const CliOptions& options, SIndex& x, std::ostream& err);
// ApplyVariables, then the definition check, on a definition as read.
int FinishNamed(const CliOptions& options, SIndex& x, std::ostream& err);
// ReadNamed, then FinishNamed.
int PrepareNamed(const CliOptions& options, const std::vector<int>& kinds, SIndex& x, std::ostream& err);
// A CSV cell holding text: quoted when it holds a comma, a quote or a line break.
std::string CsvText(const std::string& text);
// A line's CSV column name: the library's line name with the variable values
// worked in, in the current language.
std::string ColumnName(SIndex& x, int line);
// The lines that were calculated: those with a formula after substitution.
std::vector<int> CalculatedLines(const SIndex& x);
// Reports the first formula error of a line without a valid bar. False after one.
bool ReportFormulaErrors(SIndex& x, SPriceData& prices, SFunctionList& functions, std::ostream& err);
// Appends v formatted with format (one number) to buf.
void AppendNumber(std::string& buf, const char* format, double v);
// Binds the nine series of prices to the indicator.
void BindPrices(SIndex& x, SPriceData& prices);
