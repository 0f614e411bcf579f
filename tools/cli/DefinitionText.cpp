// Definitions as text. A file holds definitions of one kind:
//
//   # A line starting with "#" is a comment; blank lines are ignored.
//   kind: indicator            indicator, expression, pattern, system or function;
//                              once, before the first definition
//
//   [MACD]                     starts a definition: a formula name (a letter,
//                              then letters, digits or _), at most 50 bytes
//   description: Moving average convergence/divergence.
//   var: short = 12            a variable and its value (up to ten)
//   var: fast = 5, 3, 20, 1    systems: value, then the optimisation range
//                              start, end and step
//   line: MACD(%short%,%long%) = eavg(c, short) - eavg(c, long)
//   bars: Oscillator = ...     a line drawn as bars from zero (indicators)
//   base: 30, 70               horizontal base lines (indicators, up to five)
//
// Formulas by kind:
//   indicator   line: NAME = FORMULA, bars: NAME = FORMULA (up to five lines;
//               a line name may hold %variable% placeholders)
//   expression  formula: FORMULA, period: TEXT
//   pattern     bullish: FORMULA, bearish: FORMULA
//   system      long entry:, long exit:, short entry:, short exit: FORMULA
//               (conditions; a bar where one is non-zero is a signal)
//   function    param: NAME (up to ten), formula: FORMULA
//
// A line that starts with a blank or a tab continues the value of the line
// before it (joined with a line feed), so a long formula may span lines;
// formula comments (// and /* */) belong to the formula. Texts are UTF-8
// and must be representable in code page 949. The variable names a formula
// uses are replaced by their values before it is calculated, on whole names.
#include "DefinitionText.h"

#include <strings.h>

#include <cmath>
#include <optional>
#include <sstream>

#include "core/Cp949.h"

using namespace chartcalc::detail;

namespace {

std::string Trimmed(const std::string& s) {
  size_t b = s.find_first_not_of(" \t\r\n");
  if (b == std::string::npos) return "";
  size_t e = s.find_last_not_of(" \t\r\n");
  return s.substr(b, e - b + 1);
}

bool IsFormulaName(const std::string& s) {
  if (s.empty() || !IsNameStart(static_cast<unsigned char>(s[0]))) return false;
  for (char c : s)
    if (!IsNamePart(static_cast<unsigned char>(c))) return false;
  return true;
}

bool SameName(const std::string& a, const std::string& b) { return strcasecmp(a.c_str(), b.c_str()) == 0; }

// A name in a message, between single quotes.
std::string Quoted(const std::string& s) {
  std::string q = "'";
  q.append(s);
  q.push_back('\'');
  return q;
}

// Splits "left = right" at the first "=".
bool SplitAssignment(const std::string& value, std::string& left, std::string& right) {
  size_t eq = value.find('=');
  if (eq == std::string::npos) return false;
  left = Trimmed(value.substr(0, eq));
  right = Trimmed(value.substr(eq + 1));
  return true;
}

std::vector<std::string> SplitCommas(const std::string& value) {
  std::vector<std::string> parts;
  std::stringstream in(value);
  std::string part;
  while (std::getline(in, part, ',')) parts.push_back(Trimmed(part));
  return parts;
}

// The definition being read, with its counters.
struct Builder {
  SIndex& x;
  int vars = 0;
  int lines = 0;
  int bases = 0;
};

using Handler = bool (*)(Builder& b, const std::string& value, std::string& error);

bool Fits(const std::string& text, int width, const char* what, std::string& error) {
  if (static_cast<int>(text.size()) <= width) return true;
  error = std::string(what) + " is longer than " + std::to_string(width) + " bytes";
  return false;
}

bool CheckFormula(const std::string& formula, std::string& error) {
  if (formula.empty()) return error = "the formula is empty", false;
  return Fits(formula, kMaxExpression - 1, "the formula", error);
}

bool CheckNewVariable(Builder& b, const std::string& name, std::string& error) {
  if (b.vars >= kIndexVars) return error = "more than " + std::to_string(kIndexVars) + " variables", false;
  if (!IsFormulaName(name)) return error = Quoted(name) + " is not a formula name", false;
  for (int k = 0; k < b.vars; ++k)
    if (SameName(b.x.VarName[k].str(), name)) return error = "variable '" + name + "' is named twice", false;
  return Fits(name, kDefinitionNameWidth, "the variable name", error);
}

bool AddVariable(Builder& b, const std::string& value, std::string& error) {
  std::string name, rest;
  if (!SplitAssignment(value, name, rest)) return error = "a variable is written NAME = VALUE", false;
  if (!CheckNewVariable(b, name, error)) return false;
  std::vector<std::string> parts = SplitCommas(rest);
  bool system = b.x.IndexType == kIndexSystem;
  if (parts.empty() || parts[0].empty()) return error = "variable '" + name + "' has no value", false;
  if (parts.size() != 1 && !(system && parts.size() == 4))
    return error = system ? "a system variable is NAME = VALUE or NAME = VALUE, START, END, STEP"
                          : "a variable is written NAME = VALUE",
           false;
  for (const std::string& p : parts) {
    if (p.empty()) return error = "variable '" + name + "' has an empty value", false;
    if (!Fits(p, kDefinitionNameWidth, "a variable value", error)) return false;
  }
  SIndex& x = b.x;
  x.VarName[b.vars] = name.c_str();
  x.VarValue[b.vars] = parts[0].c_str();
  if (parts.size() == 4) {
    x.VarStart[b.vars] = parts[1].c_str();
    x.VarEnd[b.vars] = parts[2].c_str();
    x.VarIncrement[b.vars] = parts[3].c_str();
  }
  ++b.vars;
  return true;
}

bool AddParam(Builder& b, const std::string& value, std::string& error) {
  if (!CheckNewVariable(b, value, error)) return false;
  b.x.VarName[b.vars++] = value.c_str();
  return true;
}

bool AddLineOfType(Builder& b, const std::string& value, int lineType, std::string& error) {
  std::string name, formula;
  if (!SplitAssignment(value, name, formula)) return error = "a line is written NAME = FORMULA", false;
  if (b.lines >= kIndexLines) return error = "more than " + std::to_string(kIndexLines) + " lines", false;
  if (name.empty()) return error = "the line has no name", false;
  if (!Fits(name, kDefinitionNameWidth, "the line name", error) || !CheckFormula(formula, error)) return false;
  b.x.SetExpName(b.lines, name.c_str());
  b.x.SetExpression(b.lines, formula.c_str());
  b.x.LineType[b.lines] = lineType;
  ++b.lines;
  return true;
}

bool AddLine(Builder& b, const std::string& value, std::string& error) { return AddLineOfType(b, value, 0, error); }
// Bars grow from zero: the scale always includes it.
bool AddBars(Builder& b, const std::string& value, std::string& error) { return AddLineOfType(b, value, 1, error); }

bool AddBase(Builder& b, const std::string& value, std::string& error) {
  for (const std::string& p : SplitCommas(value)) {
    if (b.bases >= kIndexBaseLines)
      return error = "more than " + std::to_string(kIndexBaseLines) + " base lines", false;
    double v = AnsiStringToFloat(SString(p.c_str()), std::nan(""));
    if (std::isnan(v)) return error = "base line '" + p + "' is not a number", false;
    b.x.SetBaseLineValue(b.bases++, v);
  }
  return true;
}

bool SetFormula(Builder& b, int line, const std::string& value, std::string& error) {
  if (!b.x.Expression[line].IsEmpty()) return error = "the formula is given twice", false;
  if (!CheckFormula(value, error)) return false;
  b.x.SetExpression(line, value.c_str());
  return true;
}

bool SetLine0(Builder& b, const std::string& v, std::string& e) { return SetFormula(b, 0, v, e); }
bool SetLine1(Builder& b, const std::string& v, std::string& e) { return SetFormula(b, 1, v, e); }
bool SetLine2(Builder& b, const std::string& v, std::string& e) { return SetFormula(b, 2, v, e); }
bool SetLine3(Builder& b, const std::string& v, std::string& e) { return SetFormula(b, 3, v, e); }

bool SetDescription(Builder& b, const std::string& value, std::string& error) {
  if (!Fits(value, kDefinitionTextWidth, "the description", error)) return false;
  b.x.Description = value.c_str();
  return true;
}

bool SetPeriod(Builder& b, const std::string& value, std::string& error) {
  if (!Fits(value, kDefinitionNameWidth, "the period", error)) return false;
  b.x.Period = value.c_str();
  return true;
}

// The keys of a definition and the kinds that take them; one row per key.
struct Key {
  const char* word;
  std::initializer_list<int> kinds;
  Handler handle;
};
const Key kKeys[] = {
    {"description", {0, 1, 2, 3, 4}, SetDescription},
    {"var", {0, 1, 2, 3}, AddVariable},
    {"param", {4}, AddParam},
    {"line", {0}, AddLine},
    {"bars", {0}, AddBars},
    {"base", {0}, AddBase},
    {"formula", {1, 4}, SetLine0},
    {"period", {1}, SetPeriod},
    {"bullish", {2}, SetLine0},
    {"bearish", {2}, SetLine1},
    {"long entry", {3}, SetLine0},
    {"long exit", {3}, SetLine1},
    {"short entry", {3}, SetLine2},
    {"short exit", {3}, SetLine3},
};

bool ApplyKey(Builder& b, const std::string& key, const std::string& value, std::string& error) {
  for (const Key& k : kKeys) {
    if (!SameName(key, k.word)) continue;
    for (int kind : k.kinds)
      if (kind == b.x.IndexType) return k.handle(b, value, error);
    return error = Quoted(key) + " is not a key of " + DefinitionKindWord(b.x.IndexType) + " definitions", false;
  }
  return error = "unknown key " + Quoted(key), false;
}

bool HasFormula(const SIndex& x) {
  for (int k = 0; k < kIndexLines; ++k)
    if (!x.Expression[k].IsEmpty()) return true;
  return false;
}

// The reader's state across lines: the kind, the definitions so far, and
// the key whose value continuation lines extend.
class Reader {
 public:
  Reader(const std::string& fileName, std::vector<DefinitionText>& out) : file_(fileName), out_(out) {}

  bool Line(const std::string& raw, int number, std::string& error) {
    if (!raw.empty() && (raw[0] == ' ' || raw[0] == '\t') && !Trimmed(raw).empty()) {
      if (pendingKey_.empty()) return Fail(number, "a continuation line without a key before it", error);
      if (!pendingValue_.empty()) pendingValue_ += '\n';
      pendingValue_ += Trimmed(raw);
      return true;
    }
    if (!Flush(error)) return false;
    std::string line = Trimmed(raw);
    if (line.empty() || line[0] == '#') return true;
    if (line.front() == '[') return StartDefinition(line, number, error);
    size_t colon = line.find(':');
    if (colon == std::string::npos) return Fail(number, "expected KEY: VALUE", error);
    std::string key = Trimmed(line.substr(0, colon));
    std::string value = Trimmed(line.substr(colon + 1));
    if (SameName(key, "kind")) return SetKind(value, number, error);
    if (out_.empty() || !open_) return Fail(number, Quoted(key) + " before the first [NAME]", error);
    pendingKey_ = key;
    pendingValue_ = value;
    pendingLine_ = number;
    return true;
  }

  bool Finish(std::string& error) { return Flush(error) && CloseDefinition(error); }

 private:
  bool Fail(int number, const std::string& message, std::string& error) {
    error = file_ + ":" + std::to_string(number) + ": " + message;
    return false;
  }

  bool SetKind(const std::string& word, int number, std::string& error) {
    if (kind_ != -2) return Fail(number, "the kind is given twice", error);
    kind_ = DefinitionKindOf(word);
    if (kind_ == -2) return Fail(number, "unknown kind " + Quoted(word), error);
    return true;
  }

  bool StartDefinition(const std::string& line, int number, std::string& error) {
    if (kind_ == -2) return Fail(number, "a definition before 'kind:'", error);
    if (line.back() != ']') return Fail(number, "a definition starts with [NAME]", error);
    if (!CloseDefinition(error)) return false;
    std::string name = Trimmed(line.substr(1, line.size() - 2)), cp949;
    if (!Utf8ToCp949(name, cp949)) return Fail(number, "the name is not text code page 949 can hold", error);
    if (!IsFormulaName(cp949)) return Fail(number, Quoted(name) + " is not a formula name", error);
    if (cp949.size() > static_cast<size_t>(kDefinitionNameWidth))
      return Fail(number, "the name is longer than " + std::to_string(kDefinitionNameWidth) + " bytes", error);
    for (const DefinitionText& d : out_)
      if (SameName(d.index.IndexName.str(), cp949)) return Fail(number, Quoted(name) + " is defined twice", error);
    out_.push_back({SIndex(cp949.c_str(), kind_), number});
    builder_.emplace(Builder{out_.back().index});
    open_ = true;
    return true;
  }

  bool CloseDefinition(std::string& error) {
    if (!open_) return true;
    open_ = false;
    const DefinitionText& d = out_.back();
    if (!HasFormula(d.index))
      return Fail(d.line, Quoted(Cp949ToUtf8Lossy(d.index.IndexName.str())) + " has no formula", error);
    return true;
  }

  bool Flush(std::string& error) {
    if (pendingKey_.empty()) return true;
    std::string key = pendingKey_, value, message;
    pendingKey_.clear();
    if (!Utf8ToCp949(pendingValue_, value))
      return Fail(pendingLine_, "the text is not one code page 949 can hold", error);
    if (!ApplyKey(*builder_, key, value, message)) return Fail(pendingLine_, message, error);
    return true;
  }

  std::string file_;
  std::vector<DefinitionText>& out_;
  int kind_ = -2;
  bool open_ = false;
  std::optional<Builder> builder_;
  std::string pendingKey_, pendingValue_;
  int pendingLine_ = 0;
};

}  // namespace

int DefinitionKindOf(const std::string& word) {
  for (const DefinitionKind& k : kDefinitionKinds)
    if (SameName(word, k.word)) return k.type;
  return -2;
}

const char* DefinitionKindWord(int type) {
  for (const DefinitionKind& k : kDefinitionKinds)
    if (k.type == type) return k.word;
  return "";
}

bool ParseDefinitions(const std::string& text, const std::string& fileName, std::vector<DefinitionText>& out,
                      std::string& error) {
  std::vector<DefinitionText> read;
  Reader reader(fileName, read);
  std::stringstream in(text);
  std::string line;
  for (int number = 1; std::getline(in, line); ++number) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    if (!reader.Line(line, number, error)) return false;
  }
  if (!reader.Finish(error)) return false;
  for (DefinitionText& d : read) out.push_back(std::move(d));
  return true;
}
