// Where the definition files live, and the fields their records use.
#include <sys/stat.h>

#include <mutex>
#include <string>
#include <vector>

#include "chartcalc/TableDb.h"

using namespace chartcalc::detail;

namespace {

struct KindFiles {
  int type;
  const char* base;
  const char* ext;
};

// One row per definition kind; any other kind uses the first row's files.
constexpr KindFiles kKindFiles[] = {
    {0, "Indicator", ".idx"}, {1, "Expression", ".exp"}, {2, "Pattern", ".ptn"},
    {3, "System", ".sys"},    {4, "Function", ".fnc"},
};

const KindFiles& FilesOf(int type) {
  for (const KindFiles& k : kKindFiles)
    if (k.type == type) return k;
  return kKindFiles[0];
}

std::mutex gDirMutex;
std::string gIndexDir = "./";

// Field widths of the definition records: names and short texts, formulas
// (as long as the formula engine reads) and descriptions.
constexpr int kShort = 50;
constexpr int kFormula = 4095;
constexpr int kLong = 200;

struct Stem {
  const char* name;
  int width;
};

// Appends stem + i for every stem of the group, then the next i.
void AddNumbered(std::vector<DBField>& out, std::initializer_list<Stem> group, int count) {
  for (int i = 0; i < count; ++i)
    for (const Stem& s : group) out.push_back({std::string(s.name) + std::to_string(i), "", 'c', s.width});
}

void AddPlain(std::vector<DBField>& out, std::initializer_list<Stem> group) {
  for (const Stem& s : group) out.push_back({s.name, "", 'c', s.width});
}

// The fields of a definition record of each kind, in write order.
std::vector<DBField> DefinitionFields(int type) {
  std::vector<DBField> f;
  AddPlain(f, {{"IndexName", kShort}});
  switch (type) {
    case 0:
      AddNumbered(f, {{"VarName", kShort}, {"VarValue", kShort}}, 10);
      AddNumbered(f,
                  {{"ShowLine", kShort},
                   {"Expression", kFormula},
                   {"ExpName", kShort},
                   {"LineType", kShort},
                   {"LineColor", kShort},
                   {"LineUpColor", kShort},
                   {"LineDnColor", kShort},
                   {"LineUpValue", kShort},
                   {"LineDnValue", kShort},
                   {"LineCompMethod", kShort},
                   {"LineStyle", kShort},
                   {"LineWidth", kShort},
                   {"YValue", kShort}},
                  5);
      AddPlain(f, {{"YValueColor", kShort},
                   {"YValueStyle", kShort},
                   {"YValueWidth", kShort},
                   {"MinMaxY", kShort},
                   {"UserMin", kShort},
                   {"UserMax", kShort},
                   {"LogY", kShort},
                   {"InvertY", kShort},
                   {"Password", kShort},
                   {"Description", kLong}});
      break;
    case 1:
      AddNumbered(f, {{"VarName", kShort}, {"VarValue", kShort}}, 10);
      AddNumbered(f,
                  {{"Expression", kFormula},
                   {"LineType", kShort},
                   {"LineColor", kShort},
                   {"LineWidth", kShort},
                   {"LineStyle", kShort}},
                  1);
      AddPlain(f, {{"Password", kShort}, {"Description", kLong}, {"Period", kShort}});
      break;
    case 2:
    case 3:
      AddNumbered(f,
                  {{"VarName", kShort},
                   {"VarValue", kShort},
                   {"VarStart", kShort},
                   {"VarEnd", kShort},
                   {"VarIncrement", kShort}},
                  10);
      AddNumbered(f,
                  {{"Expression", kFormula},
                   {"LineColor", kShort},
                   {"LineType", kShort},
                   {"LineWidth", kShort},
                   {"LineStyle", kShort}},
                  type == 2 ? 2 : 4);
      AddPlain(f, {{"Password", kShort}, {"Description", kLong}});
      break;
    default:  // 4: user functions
      AddNumbered(f, {{"VarName", kShort}, {"VarValue", kShort}}, 10);
      AddPlain(f, {{"Expression0", kFormula}, {"Password", kShort}, {"Description", kLong}});
      break;
  }
  return f;
}

}  // namespace

SString getIndexDir() {
  std::lock_guard<std::mutex> lock(gDirMutex);
  return SString(gIndexDir);
}

void SetIndexDir(const char* dir) {
  std::string d = dir && *dir ? dir : ".";
  if (d.back() != '/') d += '/';
  std::lock_guard<std::mutex> lock(gDirMutex);
  gIndexDir = d;
}

SString getIndexDBFileName(int type) {
  const KindFiles& k = FilesOf(type);
  return getIndexDir() + SString(k.base) + SString(k.ext);
}

SString getUserDBFileName(int type) {
  const KindFiles& k = FilesOf(type);
  return getIndexDir() + SString("User") + SString(k.base) + SString(k.ext);
}

SString getIndexDBExt(int type) { return SString(FilesOf(type).ext); }

int FileExist(const char* path) {
  struct stat st;
  return path && *path && stat(path, &st) == 0 && S_ISREG(st.st_mode) ? 1 : 0;
}

int CreateIndexDB(int type, const char* path) {
  if (type < 0 || type > 4) return 0;
  DB db(0);
  if (!db.CreateDB(path)) return 0;
  db.ClearField();
  for (const DBField& f : DefinitionFields(type))
    if (!db.InsertField(f.name.c_str(), f.type, f.width)) return 0;
  return db.WriteHead() && db.WriteField() && db.WriteEof() ? 1 : 0;
}
