#include "chartcalc/CFBArchive.h"

#include <climits>
#include <cmath>
#include <cstdio>
#include <limits>

#include "chartcalc/TableDb.h"
#include "chartcalc/TextHelpers.h"
#include "core/FileUtil.h"
#include "core/SqliteStore.h"

using namespace chartcalc::detail;

using sqlstore::Statement;

namespace {

// A document larger than this is not a chart layout; refusing it bounds
// what a damaged file can make the archive allocate.
constexpr long long kMaxEntries = 1000000;

// Stored type names, in the order of CFBArchive's value types.
constexpr const char* kTypeNames[] = {"int", "double", "string"};

int RoundToInt(double v) {
  if (std::isnan(v)) return 0;
  double r = std::nearbyint(v);
  if (r <= INT_MIN) return INT_MIN;
  if (r >= INT_MAX) return INT_MAX;
  return static_cast<int>(r);
}

int ClampToInt(long long v) { return v < INT_MIN ? INT_MIN : v > INT_MAX ? INT_MAX : static_cast<int>(v); }

}  // namespace

void CFBArchive::SetCategory(const char* category) { category_ = category ? category : ""; }

const CFBArchive::Value* CFBArchive::Find(const char* key) const {
  auto c = categories_.find(category_);
  if (c == categories_.end() || !key) return nullptr;
  auto v = c->second.find(key);
  return v == c->second.end() ? nullptr : &v->second;
}

CFBArchive::Value& CFBArchive::Slot(const char* key) { return categories_[category_][key ? key : ""]; }

int CFBArchive::GetInt(const char* key, int dflt) {
  const Value* v = Find(key);
  if (!v) return dflt;
  switch (v->type) {
    case Type::kInt:
      return ClampToInt(v->i);
    case Type::kDouble:
      return std::isnan(v->d) ? dflt : RoundToInt(v->d);
    default:
      return static_cast<int>(AnsiStringToInt(SString(v->s), dflt));
  }
}

double CFBArchive::GetDbl(const char* key, double dflt) {
  const Value* v = Find(key);
  if (!v) return dflt;
  switch (v->type) {
    case Type::kInt:
      return static_cast<double>(v->i);
    case Type::kDouble:
      return v->d;
    default:
      return AnsiStringToFloat(SString(v->s), dflt);
  }
}

SString CFBArchive::GetStr(const char* key, const char* dflt) {
  const Value* v = Find(key);
  if (!v) return SString(dflt);
  switch (v->type) {
    case Type::kInt:
      return ltos(static_cast<long>(v->i));
    case Type::kDouble:
      return dtos(v->d, 0);
    default:
      return SString(v->s);
  }
}

void CFBArchive::SetInt(const char* key, int value, int) {
  Value& v = Slot(key);
  v = Value{Type::kInt, value, 0.0, {}};
}

void CFBArchive::SetDbl(const char* key, double value, double) {
  Value& v = Slot(key);
  v = Value{Type::kDouble, 0, value, {}};
}

void CFBArchive::SetStr(const char* key, const char* value, const char*) {
  Value& v = Slot(key);
  v = Value{Type::kString, 0, 0.0, value ? value : ""};
}

int CFBArchive::HasKey(const char* key) const { return Find(key) ? 1 : 0; }

int CFBArchive::GetEntryCount() const {
  size_t n = 0;
  for (const auto& [name, c] : categories_) n += c.size();
  return static_cast<int>(n);
}

int CFBArchive::SaveFile(const char* path) {
  std::string target = path ? path : "";
  if (target.empty() || !MakeParentDirs(target)) return 0;
  std::string temp = SiblingTempPath(target);
  if (temp.empty()) return 0;
  bool ok;
  {
    sqlstore::Connection c;
    ok = c.OpenForCreate(temp) && c.Exec("PRAGMA journal_mode=OFF") && c.Exec("BEGIN") &&
         c.Exec(
             "CREATE TABLE entries(category TEXT NOT NULL, key TEXT NOT NULL, type TEXT NOT NULL, value, "
             "PRIMARY KEY(category, key))");
    Statement st;
    ok = ok && st.Prepare(c.Handle(), "INSERT INTO entries(category, key, type, value) VALUES(?1, ?2, ?3, ?4)");
    for (auto cat = categories_.begin(); ok && cat != categories_.end(); ++cat)
      for (auto e = cat->second.begin(); ok && e != cat->second.end(); ++e) {
        const Value& v = e->second;
        st.Reset();
        st.BindText(1, cat->first);
        st.BindText(2, e->first);
        st.BindText(3, kTypeNames[static_cast<int>(v.type)]);
        if (v.type == Type::kInt)
          st.BindInt(4, v.i);
        else if (v.type == Type::kString)
          st.BindText(4, v.s);
        else if (std::isnan(v.d))
          st.BindNull(4);
        else
          st.BindDouble(4, v.d);
        ok = st.Step() == SQLITE_DONE;
      }
    st.Finalize();
    ok = ok && c.Exec("COMMIT");
  }
  if (!ok) {
    std::remove(temp.c_str());
    return 0;
  }
  for (const char* side : {"-journal", "-wal", "-shm"}) std::remove((target + side).c_str());
  return ReplaceWith(temp, target) ? 1 : 0;
}

// Reads every entry of the file; false (out untouched in meaning) when the
// file is missing, not an archive, damaged or too large.
bool CFBArchive::ReadEntries(const char* path, std::map<std::string, Category>& out) {
  sqlstore::Connection c;
  if (!path || !FileExist(path) || !c.OpenExisting(path, true) || !c.HasTable("entries")) return false;
  Statement st;
  if (!st.Prepare(c.Handle(), "SELECT category, key, type, value FROM entries")) return false;
  long long count = 0;
  int rc;
  while ((rc = st.Step()) == SQLITE_ROW) {
    if (++count > kMaxEntries) return false;
    std::string type = st.ColumnText(2);
    Value v;
    if (type == kTypeNames[0]) {
      v.type = Type::kInt;
      v.i = st.ColumnType(3) == SQLITE_FLOAT ? RoundToInt(st.ColumnDouble(3)) : st.ColumnInt(3);
    } else if (type == kTypeNames[1]) {
      v.type = Type::kDouble;
      v.d = st.ColumnType(3) == SQLITE_NULL ? std::numeric_limits<double>::quiet_NaN() : st.ColumnDouble(3);
    } else if (type == kTypeNames[2]) {
      v.type = Type::kString;
      v.s = st.ColumnText(3);
    } else {
      continue;  // a type this archive does not know is skipped
    }
    out[st.ColumnText(0)][st.ColumnText(1)] = std::move(v);
  }
  return rc == SQLITE_DONE;
}

int CFBArchive::LoadFile(const char* path) {
  std::map<std::string, Category> loaded;
  if (!ReadEntries(path, loaded)) return 0;
  categories_ = std::move(loaded);
  return 1;
}
