// chartcalc indicator: the definitions of the index directory.
//   list [--kind KIND]       one definition per line: NAME, KIND, DESCRIPTION
//   show NAME [--kind KIND]  one definition as KEY<tab>VALUE... lines:
//       name, kind, description, period (single expressions),
//       variable NAME VALUE [START END STEP] (systems add the range),
//       parameter NAME (functions), line N NAME FORMULA, base VALUE
// KIND is indicator, expression, pattern, system or function; without it
// every kind is listed, and show takes the first kind that has the name.
// Names are matched without regard to case. Texts are UTF-8 here and code
// page 949 in the database; tabs and line breaks inside a field are written
// as \t, \n and \r, a backslash as \\.
#include <strings.h>

#include <string>
#include <vector>

#include "Cli.h"
#include "DefinitionText.h"
#include "chartcalc.h"

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

}  // namespace

int RunIndicator(const CliOptions& options, std::ostream& out, std::ostream& err) {
  const std::vector<std::string>& args = options.args;
  std::vector<int> kinds;
  if (!SelectedKinds(options, kinds, err)) return kExitBadInput;
  std::string action = args.empty() ? "" : args[0];
  if (action == "list" && args.size() == 1) return ListDefinitions(kinds, out);
  if (action == "show") return ShowDefinition(args, kinds, out, err);
  err << "error: indicator takes list or show NAME (see chartcalc indicator --help)\n";
  return kExitBadInput;
}
