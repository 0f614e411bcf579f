// chartcalc function: the user functions of the index directory.
//   list                        one function per line: NAME, FORMULA, PARAM...
//   add NAME FORMULA [PARAM...] a new function
//   remove NAME                 marks the function deleted
// Texts are UTF-8 here and code page 949 in the database.
#include <strings.h>

#include <algorithm>
#include <string>
#include <vector>

#include "Cli.h"
#include "NamedDefinition.h"
#include "chartcalc.h"

using namespace chartcalc::detail;

namespace {

constexpr int kFunctionKind = 4;

struct FunctionFiles {
  std::string index = getIndexDBFileName(kFunctionKind).str();
  std::string user = getUserDBFileName(kFunctionKind).str();
  DDB Open() const {
    DDB db(index.c_str(), user.c_str(), 1);
    db.SetExtension(getIndexDBExt(kFunctionKind));
    return db;
  }
};

bool SameName(const std::string& a, const std::string& b) { return strcasecmp(a.c_str(), b.c_str()) == 0; }

int ListFunctions(std::ostream& out) {
  SFunctionList list;
  list.ReadFunction();
  for (int i = 0; i < list.GetCount(); ++i) {
    const SFunction& f = list[i];
    out << Field(f.Name) << '\t' << Field(f.Expression);
    for (int p = 0; p < f.GetVarCount(); ++p) out << '\t' << Field(f.VarName[p]);
    out << '\n';
  }
  return kExitOk;
}

// A word the formula language reads as one name.
bool IsFormulaName(const std::string& s) {
  if (s.empty() || !IsNameStart(static_cast<unsigned char>(s[0]))) return false;
  for (char c : s)
    if (!IsNamePart(static_cast<unsigned char>(c))) return false;
  return true;
}

// True when a formula would never reach a user function of that name in
// either language: a keyword, or a built-in word tried before user functions.
bool IsHiddenByLanguage(const std::string& name) {
  int lang = GetLangType();
  bool hidden = false;
  for (int l : {kLangKorean, kLangEnglish}) {
    SetLangType(l);
    SCalc probe;
    probe.SetExpression(name.c_str());
    const char* n = name.c_str();
    hidden = hidden || probe.GetToken() != SCalc::NAME || probe.IsVectorFunction(n) || probe.IsDataVariable(n) ||
             probe.IsMathFunction(n);
  }
  SetLangType(lang);
  return hidden;
}

bool ToCp949(const std::string& utf8, const char* what, std::string& out, std::ostream& err) {
  if (Utf8ToCp949(utf8, out)) return true;
  err << "error: the " << what << " is not UTF-8 text that code page 949 can hold\n";
  return false;
}

// Checks a name for the field it goes into.
bool CheckName(const std::string& name, const char* what, int width, std::ostream& err) {
  if (!IsFormulaName(name)) {
    err << "error: " << what << " '" << Cp949ToUtf8Lossy(name) << "' is not a formula name (a letter, then letters, "
        << "digits or _)\n";
    return false;
  }
  if (static_cast<int>(name.size()) > width) {
    err << "error: " << what << " '" << Cp949ToUtf8Lossy(name) << "' is longer than " << width << " bytes\n";
    return false;
  }
  return true;
}

int FieldWidth(DDB& db, const char* field, int fallback) {
  const DBField* f = db.FindField(field);
  return f ? f->width : fallback;
}

struct NewFunction {
  std::string name, formula;
  std::vector<std::string> params;
};

// Reads and checks the words of "add" against the database's field widths.
bool ParseNewFunction(const std::vector<std::string>& args, DDB& db, NewFunction& f, std::ostream& err) {
  if (args.size() < 3 || args.size() > 3 + static_cast<size_t>(kMaxFunctionVars)) {
    err << "error: add takes NAME FORMULA and at most " << kMaxFunctionVars << " PARAMs\n";
    return false;
  }
  if (!ToCp949(args[1], "name", f.name, err) || !ToCp949(args[2], "formula", f.formula, err)) return false;
  if (!CheckName(f.name, "name", FieldWidth(db, "IndexName", 50), err)) return false;
  int formulaWidth = std::min(FieldWidth(db, "Expression0", kMaxExpression - 1), kMaxExpression - 1);
  if (f.formula.empty() || static_cast<int>(f.formula.size()) > formulaWidth) {
    err << "error: the formula must have 1 to " << formulaWidth << " bytes\n";
    return false;
  }
  for (size_t i = 3; i < args.size(); ++i) {
    std::string p;
    if (!ToCp949(args[i], "parameter", p, err) || !CheckName(p, "parameter", FieldWidth(db, "VarName0", 50), err))
      return false;
    for (const std::string& q : f.params)
      if (SameName(p, q)) {
        err << "error: parameter '" << args[i] << "' is named twice\n";
        return false;
      }
    f.params.push_back(p);
  }
  if (IsHiddenByLanguage(f.name)) {
    err << "error: '" << args[1] << "' is a word of the formula language; a function of that name could not be "
        << "called\n";
    return false;
  }
  return true;
}

int AddFunction(const std::vector<std::string>& args, std::ostream& err) {
  FunctionFiles files;
  DDB db = files.Open();
  NewFunction f;
  if (!ParseNewFunction(args, db, f, err)) return kExitBadInput;
  SFunctionList existing;
  existing.ReadFunction();
  for (int i = 0; i < existing.GetCount(); ++i)
    if (SameName(existing[i].Name.str(), f.name)) {
      err << "error: a user function '" << args[1] << "' exists already; remove it first\n";
      return kExitBadInput;
    }
  // The shipped, empty state of the index directory, made on first write.
  if (!FileExist(files.index.c_str()) && !CreateIndexDB(kFunctionKind, files.index.c_str())) {
    err << "error: cannot create " << files.index << "\n";
    return kExitBadInput;
  }
  db = files.Open();
  bool ok = db.Append(f.name.c_str()) && db.InsField("IndexName", f.name.c_str()) &&
            db.InsField("Expression0", f.formula.c_str());
  for (size_t p = 0; ok && p < f.params.size(); ++p)
    ok = db.InsField(("VarName" + std::to_string(p)).c_str(), f.params[p].c_str());
  if (!ok || !db.WriteRecord()) {
    err << "error: cannot write the user function to " << files.user << "\n";
    return kExitBadInput;
  }
  return kExitOk;
}

int RemoveFunction(const std::vector<std::string>& args, std::ostream& err) {
  std::string name;
  if (args.size() != 2) {
    err << "error: remove takes exactly one NAME\n";
    return kExitBadInput;
  }
  if (!ToCp949(args[1], "name", name, err)) return kExitBadInput;
  FunctionFiles files;
  DDB db = files.Open();
  for (db.MoveFirst(1); !db.Eof(); db.MoveNext(1)) {
    SString stored = db.GetStr("IndexName");
    if (db.Deleted() || !SameName(stored.Trim().str(), name)) continue;
    if (db.Delete()) return kExitOk;
    err << "error: cannot write to " << files.user << "\n";
    return kExitBadInput;
  }
  err << "error: there is no user function '" << args[1] << "'\n";
  return kExitBadInput;
}

}  // namespace

int RunFunction(const CliOptions& options, std::ostream& out, std::ostream& err) {
  const std::vector<std::string>& args = options.args;
  std::string action = args.empty() ? "" : args[0];
  if (action == "list" && args.size() == 1) return ListFunctions(out);
  if (action == "add") return AddFunction(args, err);
  if (action == "remove") return RemoveFunction(args, err);
  err << "error: function takes list, add NAME FORMULA [PARAM...] or remove NAME (see chartcalc function --help)\n";
  return kExitBadInput;
}
