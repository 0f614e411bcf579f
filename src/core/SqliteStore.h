// Internal: the small part of SQLite that the table files and the keyed
// archive share. Connections are opened defensively (no triggers, no views,
// no schema-defined functions, a cap on value sizes, a busy timeout), since a
// file handed to the library may be anything.
//
// Texts: the library's code page 949 bytes are stored as UTF-8 TEXT when they
// convert cleanly both ways, otherwise as the exact bytes in a BLOB; reading
// gives back the same bytes either way.
#pragma once

#include <sqlite3.h>

#include <string>
#include <string_view>

namespace chartcalc::detail::sqlstore {

// Largest text or blob a connection reads or writes (1 MiB): far above any
// field, key or value the library stores, and a bound on what a damaged or
// hostile file can make it allocate.
inline constexpr int kMaxValueBytes = 1 << 20;

// One connection, closed on destruction.
class Connection {
 public:
  Connection() = default;
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;
  ~Connection() { Close(); }

  // Opens an existing file (never creates one); readOnly opens it read-only.
  bool OpenExisting(const std::string& path, bool readOnly);
  // Creates (or opens) the file at path for writing.
  bool OpenForCreate(const std::string& path);
  void Close();
  bool IsOpen() const { return db_ != nullptr; }
  sqlite3* Handle() const { return db_; }
  // Runs statements that return no rows; false on any error.
  bool Exec(const char* sql);
  // True when the database holds a table (not a view) of that name.
  bool HasTable(const char* name);

 private:
  bool Configure();
  sqlite3* db_ = nullptr;
};

// A prepared statement, finalized on destruction.
class Statement {
 public:
  Statement() = default;
  Statement(const Statement&) = delete;
  Statement& operator=(const Statement&) = delete;
  ~Statement() { Finalize(); }

  bool Prepare(sqlite3* db, const std::string& sql);
  void Finalize();
  bool IsPrepared() const { return stmt_ != nullptr; }
  sqlite3_stmt* Handle() const { return stmt_; }
  // Resets the statement and clears its bindings for the next use.
  void Reset();
  // SQLITE_ROW, SQLITE_DONE or an error code.
  int Step();

  void BindText(int i, std::string_view cp949);  // TEXT or BLOB as above
  void BindInt(int i, long long v);
  void BindDouble(int i, double v);
  void BindNull(int i);
  // The column as the bytes the library stores (TEXT back to code page 949).
  std::string ColumnText(int i) const;
  int ColumnType(int i) const;
  long long ColumnInt(int i) const;
  double ColumnDouble(int i) const;

 private:
  sqlite3_stmt* stmt_ = nullptr;
};

// An SQL identifier in double quotes, inner quotes doubled; field names come
// from callers and files, so they are never pasted into SQL bare.
std::string Quote(std::string_view name);

}  // namespace chartcalc::detail::sqlstore
