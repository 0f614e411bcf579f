// Indicator definitions in the index database, and formula-text clean-up.
//
// A definition is one record of the table database of its kind (see
// IndexDbFiles.cpp for the files), found by its "IndexName". Every field is
// text; a numbered field is its stem followed by the index in decimal
// ("VarName9", "Expression0"). Integers are written with "%ld", the scale
// bounds with dtos(v, 0), the LogY and InvertY flags as "1" or "0".
//
// The field set of each kind is the table RecordOf below, in write order.
// Reading converts integers with AnsiStringToInt and numbers with
// AnsiStringToFloat, falling back to the indicator's current value, so a
// missing or unparsable field changes nothing; the shown flag and the two
// scale flags fall back to 1 instead.
#include <cstring>
#include <variant>
#include <vector>

#include "chartcalc/SIndex.h"
#include "chartcalc/TableDb.h"
#include "chartcalc/TextHelpers.h"

using namespace chartcalc::detail;

namespace {

// How a field's text is turned into its member and back.
enum class Codec {
  kText,     // as stored
  kVarText,  // variable texts of kinds 1-4: blanks around them are trimmed
  kInt,      // "%ld"; unparsable keeps the current value
  kShown,    // "%ld"; unparsable shows the line
  kFlag,     // "1" or "0"; on exactly when the stored integer is 1, unparsable is on
  kFloat,    // dtos(v, 0); unparsable keeps the current value
  kScale,    // as kInt, but a rewrite keeps the stored mode when the indicator's is 4
  kZero,     // not stored; reading sets the member to 0
};

enum Use { kReadWrite, kWriteOnly, kReadOnly };

using Member = std::variant<SString SIndex::*, int SIndex::*, double SIndex::*, SString (SIndex::*)[kIndexVars],
                            SString (SIndex::*)[kIndexLines], int (SIndex::*)[kIndexLines]>;

struct FieldDef {
  const char* stem;
  Codec codec;
  Member member;
  Use use = kReadWrite;
};

// Fields repeated for i = 0 .. count - 1 (stem + i), interleaved per i; a
// count of 0 means plain fields without a number.
struct FieldGroup {
  int count;
  std::vector<FieldDef> fields;
};

// "Keep the stored scale mode" when rewriting a definition.
constexpr int kKeepScaleMode = 4;

const std::vector<FieldGroup>& IndicatorRecord() {
  static const std::vector<FieldGroup> record = {
      {kIndexVars, {{"VarName", Codec::kText, &SIndex::VarName}, {"VarValue", Codec::kText, &SIndex::VarValue}}},
      {kIndexLines,
       {{"ShowLine", Codec::kShown, &SIndex::ShowLine},
        {"Expression", Codec::kText, &SIndex::Expression},
        {"ExpName", Codec::kText, &SIndex::ExpName},
        {"LineType", Codec::kInt, &SIndex::LineType},
        {"LineColor", Codec::kInt, &SIndex::LineColor},
        {"LineUpColor", Codec::kInt, &SIndex::LineUpColor},
        {"LineDnColor", Codec::kInt, &SIndex::LineDnColor},
        {"LineUpValue", Codec::kText, &SIndex::LineUpValue},
        {"LineDnValue", Codec::kText, &SIndex::LineDnValue},
        {"LineCompMethod", Codec::kInt, &SIndex::LineCompMethod},
        {"LineStyle", Codec::kInt, &SIndex::LineStyle},
        {"LineWidth", Codec::kInt, &SIndex::LineWidth},
        {"YValue", Codec::kText, &SIndex::YValue}}},
      {0,
       {{"YValueColor", Codec::kInt, &SIndex::YValueColor},
        {"YValueStyle", Codec::kInt, &SIndex::YValueStyle},
        {"YValueWidth", Codec::kInt, &SIndex::YValueWidth},
        {"MinMaxY", Codec::kScale, &SIndex::MinMaxY},
        {"UserMin", Codec::kFloat, &SIndex::UserMin},
        {"UserMax", Codec::kFloat, &SIndex::UserMax},
        {"LogY", Codec::kFlag, &SIndex::LogY},
        {"InvertY", Codec::kFlag, &SIndex::InvertY},
        {"Password", Codec::kText, &SIndex::Password},
        {"Description", Codec::kText, &SIndex::Description}}},
  };
  return record;
}

const std::vector<FieldGroup>& SingleExpressionRecord() {
  static const std::vector<FieldGroup> record = {
      {kIndexVars,
       {{"VarName", Codec::kVarText, &SIndex::VarName}, {"VarValue", Codec::kVarText, &SIndex::VarValue}}},
      {1,
       {{"Expression", Codec::kText, &SIndex::Expression},
        {"LineType", Codec::kInt, &SIndex::LineType},
        {"LineColor", Codec::kInt, &SIndex::LineColor},
        {"LineWidth", Codec::kInt, &SIndex::LineWidth},
        {"LineStyle", Codec::kInt, &SIndex::LineStyle, kReadOnly}}},
      {0,
       {{"Password", Codec::kText, &SIndex::Password},
        {"Description", Codec::kText, &SIndex::Description},
        {"Period", Codec::kText, &SIndex::Period}}},
  };
  return record;
}

// Bullish/bearish patterns (2 lines) and trading systems (4 lines) share a
// layout; a pattern's ranges are stored but not read back, and its line
// style is reset on reading.
std::vector<FieldGroup> SignalRecord(int lines, Use rangeUse, bool resetStyle) {
  std::vector<FieldGroup> record = {
      {kIndexVars,
       {{"VarName", Codec::kVarText, &SIndex::VarName},
        {"VarValue", Codec::kVarText, &SIndex::VarValue},
        {"VarStart", Codec::kVarText, &SIndex::VarStart, rangeUse},
        {"VarEnd", Codec::kVarText, &SIndex::VarEnd, rangeUse},
        {"VarIncrement", Codec::kVarText, &SIndex::VarIncrement, rangeUse}}},
      {lines,
       {{"Expression", Codec::kText, &SIndex::Expression},
        {"LineColor", Codec::kInt, &SIndex::LineColor},
        {"LineType", Codec::kInt, &SIndex::LineType},
        {"LineWidth", Codec::kInt, &SIndex::LineWidth}}},
      {0, {{"Password", Codec::kText, &SIndex::Password}, {"Description", Codec::kText, &SIndex::Description}}},
  };
  if (resetStyle) record[1].fields.push_back({"LineStyle", Codec::kZero, &SIndex::LineStyle, kReadOnly});
  return record;
}

const std::vector<FieldGroup>& UserFunctionRecord() {
  static const std::vector<FieldGroup> record = {
      {kIndexVars, {{"VarName", Codec::kVarText, &SIndex::VarName}}},
      {1, {{"Expression", Codec::kText, &SIndex::Expression}}},
      {0, {{"Password", Codec::kText, &SIndex::Password}, {"Description", Codec::kText, &SIndex::Description}}},
  };
  return record;
}

// The fields of a definition of the kind after "IndexName", in write order;
// null for a kind that has no record.
const std::vector<FieldGroup>* RecordOf(int kind) {
  static const std::vector<FieldGroup> pattern = SignalRecord(2, kWriteOnly, true);
  static const std::vector<FieldGroup> system = SignalRecord(4, kReadWrite, false);
  switch (kind) {
    case kIndexIndicator: return &IndicatorRecord();
    case kIndexSingleExpression: return &SingleExpressionRecord();
    case kIndexPattern: return &pattern;
    case kIndexSystem: return &system;
    case kIndexUserFunction: return &UserFunctionRecord();
    default: return nullptr;
  }
}

// The member a field names, for entry i of a numbered group.
SString& Ref(SIndex& x, SString SIndex::*m, int) { return x.*m; }
int& Ref(SIndex& x, int SIndex::*m, int) { return x.*m; }
double& Ref(SIndex& x, double SIndex::*m, int) { return x.*m; }
SString& Ref(SIndex& x, SString (SIndex::*m)[kIndexVars], int i) { return (x.*m)[i]; }
SString& Ref(SIndex& x, SString (SIndex::*m)[kIndexLines], int i) { return (x.*m)[i]; }
int& Ref(SIndex& x, int (SIndex::*m)[kIndexLines], int i) { return (x.*m)[i]; }

SString Encode(const SString& v, Codec) { return v; }
SString Encode(int v, Codec c) { return c == Codec::kFlag ? SString(v != 0 ? "1" : "0") : ltos(v); }
SString Encode(double v, Codec) { return dtos(v, 0); }

void Decode(const SString& text, Codec c, SString& v) {
  v = text;
  if (c == Codec::kVarText) v.Trim();
}

void Decode(const SString& text, Codec c, int& v) {
  switch (c) {
    case Codec::kShown: v = static_cast<int>(AnsiStringToInt(text, 1)); break;
    case Codec::kFlag: v = AnsiStringToInt(text, 1) == 1 ? 1 : 0; break;
    case Codec::kZero: v = 0; break;
    default: v = static_cast<int>(AnsiStringToInt(text, v));
  }
}

void Decode(const SString& text, Codec, double& v) { v = AnsiStringToFloat(text, v); }

SString FieldName(const char* stem, const FieldGroup& group, int i) {
  return group.count > 0 ? SString(stem) + ltos(i) : SString(stem);
}

// Plain fields are one row.
int RowCount(const FieldGroup& group) { return group.count > 0 ? group.count : 1; }

void WriteFields(SIndex& x, DDB& db, const std::vector<FieldGroup>& record, int isNew) {
  for (const FieldGroup& group : record) {
    for (int i = 0; i < RowCount(group); ++i)
      for (const FieldDef& f : group.fields) {
        if (f.use == kReadOnly) continue;
        if (f.codec == Codec::kScale && isNew == 0 && x.MinMaxY == kKeepScaleMode) continue;
        SString value = std::visit([&](auto m) { return Encode(Ref(x, m, i), f.codec); }, f.member);
        db.InsField(FieldName(f.stem, group, i), value);
      }
  }
}

// A text field the table does not declare keeps the indicator's value; a
// number field gets there by its own fallback.
bool Declared(DDB& db, const FieldDef& f, const SString& name) {
  bool text = std::holds_alternative<SString SIndex::*>(f.member) ||
              std::holds_alternative<SString(SIndex::*)[kIndexVars]>(f.member) ||
              std::holds_alternative<SString(SIndex::*)[kIndexLines]>(f.member);
  return !text || db.FindField(name.c_str()) != nullptr;
}

void ReadFields(SIndex& x, DDB& db, const std::vector<FieldGroup>& record) {
  for (const FieldGroup& group : record) {
    for (int i = 0; i < RowCount(group); ++i)
      for (const FieldDef& f : group.fields) {
        if (f.use == kWriteOnly) continue;
        SString name = FieldName(f.stem, group, i);
        if (!Declared(db, f, name)) continue;
        SString text = f.codec == Codec::kZero ? SString() : SString(db.GetStr(name.c_str()));
        std::visit([&](auto m) { Decode(text, f.codec, Ref(x, m, i)); }, f.member);
      }
  }
}

// Shows every line of a converted indicator that has both a formula and a
// name, whatever its stored flag says.
void ShowNamedLines(SIndex& x) {
  for (int k = 0; k < kIndexLines; ++k)
    if (!x.Expression[k].IsEmpty() && !x.ExpName[k].IsEmpty()) x.ShowLine[k] = 1;
}

}  // namespace

int SIndex::ReadExpression(const char* name, const SString& indexDb, const SString& userDb) {
  return ReadDefinition(name, indexDb, userDb, false);
}

int SIndex::ReadExpForConv(const char* name, const SString& indexDb, const SString& userDb) {
  return ReadDefinition(name, indexDb, userDb, true);
}

int SIndex::ReadDefinition(const char* name, const SString& indexDb, const SString& userDb, bool forConversion) {
  const std::vector<FieldGroup>* record = RecordOf(IndexType);
  if (!record || !name) return 0;
  SString indexFile = indexDb.IsEmpty() ? getIndexDBFileName(IndexType) : indexDb;
  SString userFile = userDb.IsEmpty() ? getUserDBFileName(IndexType) : userDb;
  if (!FileExist(indexFile.c_str()) || !FileExist(userFile.c_str())) return 0;
  DDB db(indexFile.c_str(), userFile.c_str(), 1);
  db.SetExtension(getIndexDBExt(IndexType));
  if (!db.FindFirst("IndexName", name)) return 0;
  ReadFields(*this, db, *record);
  if (IndexType == kIndexSingleExpression) {
    if (db.FindField("IndexName")) IndexName = db.GetStr("IndexName");
  } else {
    IndexName = name;
  }
  if (forConversion && IndexType == kIndexIndicator) ShowNamedLines(*this);
  return 1;
}

int SIndex::WriteExpression(const char* name, int isNew, int indexOnly) {
  const std::vector<FieldGroup>* record = RecordOf(IndexType);
  if (!record || !name) return 0;
  SString indexFile = getIndexDBFileName(IndexType);
  SString userFile = indexOnly ? SString() : getUserDBFileName(IndexType);
  // A fresh index directory gets the kind's empty table on its first write.
  if (!FileExist(indexFile.c_str()) && !CreateIndexDB(IndexType, indexFile.c_str())) return 0;
  DDB db(indexFile.c_str(), userFile.c_str(), 1);
  db.SetExtension(getIndexDBExt(IndexType));
  if (isNew == 1) {
    if (!db.Append(IndexType == kIndexIndicator ? IndexName : SString(name))) return 0;
  } else if (!db.FindFirst("IndexName", name)) {
    return 0;
  }
  db.InsField("IndexName", IndexName);
  WriteFields(*this, db, *record, isNew);
  return db.WriteRecord() ? 1 : 0;
}

int SIndex::ReadIndex(const char*) { return 0; }

// Comments are removed where they start: a line comment up to (not
// including) the line break that ends it, a block comment through its
// closing mark; either runs to the end of the text when nothing ends it.
void SIndex::SkipComments(SString& text) {
  std::string& s = text.str();
  size_t i = 0;
  while (i + 1 < s.size()) {
    if (s[i] != '/' || (s[i + 1] != '/' && s[i + 1] != '*')) {
      ++i;
      continue;
    }
    size_t end = s[i + 1] == '/' ? s.find_first_of("\n\r", i + 2) : s.find("*/", i + 2);
    if (end == std::string::npos) end = s.size();
    else if (s[i + 1] == '*') end += 2;
    s.erase(i, end - i);
  }
}

char* SIndex::ProcessString(char* text) {
  if (!text) return text;
  return DeleteAllSpace(DeleteEscapeCharacter(text));
}
