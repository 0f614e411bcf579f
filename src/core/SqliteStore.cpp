#include "core/SqliteStore.h"

#include <cstdio>
#include <cstdlib>

#include "core/TextCodec.h"

namespace chartcalc::detail::sqlstore {

namespace {

// How long a statement waits for another process's lock before failing.
constexpr int kBusyTimeoutMs = 2000;

}  // namespace

bool Connection::OpenExisting(const std::string& path, bool readOnly) {
  Close();
  int flags = readOnly ? SQLITE_OPEN_READONLY : SQLITE_OPEN_READWRITE;
  if (sqlite3_open_v2(path.c_str(), &db_, flags, nullptr) != SQLITE_OK) {
    Close();
    return false;
  }
  return Configure();
}

bool Connection::OpenForCreate(const std::string& path) {
  Close();
  if (sqlite3_open_v2(path.c_str(), &db_, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr) != SQLITE_OK) {
    Close();
    return false;
  }
  return Configure();
}

// Nothing in a file may run code or loop: triggers and views are off, schema
// functions untrusted, values capped, corrupt cells detected early.
bool Connection::Configure() {
  sqlite3_busy_timeout(db_, kBusyTimeoutMs);
  sqlite3_db_config(db_, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
  sqlite3_db_config(db_, SQLITE_DBCONFIG_ENABLE_TRIGGER, 0, nullptr);
  sqlite3_db_config(db_, SQLITE_DBCONFIG_ENABLE_VIEW, 0, nullptr);
  sqlite3_db_config(db_, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
  sqlite3_limit(db_, SQLITE_LIMIT_LENGTH, kMaxValueBytes);
  if (!Exec("PRAGMA cell_size_check=ON")) {
    Close();
    return false;
  }
  return true;
}

void Connection::Close() {
  if (db_) sqlite3_close_v2(db_);
  db_ = nullptr;
}

bool Connection::Exec(const char* sql) { return db_ && sqlite3_exec(db_, sql, nullptr, nullptr, nullptr) == SQLITE_OK; }

bool Connection::HasTable(const char* name) {
  Statement st;
  if (!st.Prepare(db_, "SELECT 1 FROM sqlite_master WHERE type='table' AND name=?1")) return false;
  st.BindText(1, name);
  return st.Step() == SQLITE_ROW;
}

bool Statement::Prepare(sqlite3* db, const std::string& sql) {
  Finalize();
  if (!db) return false;
  if (sqlite3_prepare_v2(db, sql.c_str(), static_cast<int>(sql.size()), &stmt_, nullptr) != SQLITE_OK) {
    Finalize();
    return false;
  }
  return stmt_ != nullptr;
}

void Statement::Finalize() {
  if (stmt_) sqlite3_finalize(stmt_);
  stmt_ = nullptr;
}

void Statement::Reset() {
  if (!stmt_) return;
  sqlite3_reset(stmt_);
  sqlite3_clear_bindings(stmt_);
}

int Statement::Step() { return stmt_ ? sqlite3_step(stmt_) : SQLITE_MISUSE; }

void Statement::BindText(int i, std::string_view cp949) {
  std::string utf8;
  if (CleanUtf8(cp949, utf8))
    sqlite3_bind_text(stmt_, i, utf8.data(), static_cast<int>(utf8.size()), SQLITE_TRANSIENT);
  else
    sqlite3_bind_blob(stmt_, i, cp949.data(), static_cast<int>(cp949.size()), SQLITE_TRANSIENT);
}

void Statement::BindInt(int i, long long v) { sqlite3_bind_int64(stmt_, i, v); }

void Statement::BindDouble(int i, double v) { sqlite3_bind_double(stmt_, i, v); }

void Statement::BindNull(int i) { sqlite3_bind_null(stmt_, i); }

std::string Statement::ColumnText(int i) const {
  switch (sqlite3_column_type(stmt_, i)) {
    case SQLITE_NULL:
      return std::string();
    case SQLITE_BLOB: {
      const void* p = sqlite3_column_blob(stmt_, i);
      int n = sqlite3_column_bytes(stmt_, i);
      return p && n > 0 ? std::string(static_cast<const char*>(p), static_cast<size_t>(n)) : std::string();
    }
    default: {
      const unsigned char* p = sqlite3_column_text(stmt_, i);
      int n = sqlite3_column_bytes(stmt_, i);
      if (!p || n <= 0) return std::string();
      return Cp949FromUtf8Lossy(std::string_view(reinterpret_cast<const char*>(p), static_cast<size_t>(n)));
    }
  }
}

int Statement::ColumnType(int i) const { return sqlite3_column_type(stmt_, i); }

long long Statement::ColumnInt(int i) const { return sqlite3_column_int64(stmt_, i); }

double Statement::ColumnDouble(int i) const { return sqlite3_column_double(stmt_, i); }

std::string Quote(std::string_view name) {
  std::string q = "\"";
  for (char c : name) {
    if (c == '"') q += '"';
    q += c;
  }
  return q + "\"";
}

}  // namespace chartcalc::detail::sqlstore
