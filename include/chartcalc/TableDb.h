// Table database files: records of named, fixed-width text fields. A `DB` is
// one file; a `DDB` unites the shipped index file and the user's file of one
// kind of definition. The naming functions give every file's place below the
// index directory.
//
// File format: each file is an SQLite database with two tables.
//
//   fields(position INTEGER PRIMARY KEY, name TEXT, type TEXT, width INTEGER)
//       the declared fields in order: name, one-letter type, width in bytes
//   records(<one TEXT column per declared field, named as declared>,
//           _deleted INTEGER NOT NULL DEFAULT 0)
//       one row per record, in insertion order (rowid order)
//
// Values are code page 949 texts, stored as UTF-8 TEXT when they convert
// cleanly and as the exact bytes in a BLOB otherwise; reading gives back the
// same bytes either way, so `sqlite3` shows readable Korean and nothing is
// lost. A value is cut to its field's width in bytes, never inside a
// double-byte character.
//
// A file that is not such a database (garbage, truncated, missing tables, a
// `records` table whose columns differ from the declarations) is not opened:
// every read finds nothing and every write returns 0, leaving it untouched.
// Reading never creates a file. Each `WriteRecord` commits before it
// returns (write-ahead log while the file is being written, so many small
// commits stay fast; the file is left in rollback-journal mode when closed).
#pragma once

#include <memory>
#include <set>
#include <string>
#include <vector>

#include "chartcalc/SString.h"

namespace chartcalc::detail {

namespace sqlstore {
class Connection;
class Statement;
}  // namespace sqlstore

// Limits of a table's declaration; a file that exceeds them is refused.
inline constexpr int kMaxDbFields = 1000;
inline constexpr int kMaxDbFieldWidth = 65535;
inline constexpr int kMaxDbFieldName = 255;

// One declared field.
struct DBField {
  std::string name;     // code page 949, as declared
  std::string sqlName;  // the column name (UTF-8)
  char type = 'c';
  int width = 0;
};

}  // namespace chartcalc::detail

class DB {
 public:
  // A table without a file; CreateDB gives it one. The mode is kept and has
  // no effect.
  explicit DB(int mode = 0);
  // An existing table file, opened at its first use.
  DB(const char* path, int mode);
  DB(const DB& other);
  DB& operator=(const DB& other);
  virtual ~DB();

  // Creating a table: CreateDB(path), ClearField(), InsertField() per field,
  // then WriteHead(), WriteField(), WriteEof(). WriteEof writes the file
  // whole (aside, then renamed over path, replacing any file there; missing
  // directories are created) and opens it. InsertField refuses (returns 0)
  // an empty or duplicate name (compared without regard to ASCII case), the
  // name "_deleted", a name code page 949 cannot convert, or a width outside
  // 1 .. kMaxDbFieldWidth.
  int CreateDB(const char* path);
  void ClearField();
  int InsertField(const char* name, char type, int width);
  int WriteHead();
  int WriteField();
  int WriteEof();

  // Sequential reading in insertion order; deleted records are visited too.
  // The argument is kept for compatibility and has no effect.
  int MoveFirst(int mode = 1);
  int MoveNext(int mode = 1);
  int Eof();
  int Deleted();
  // Positions on the first record not marked deleted whose field equals
  // value byte for byte (value cut to the field's width first); 1 when found.
  int FindFirst(const char* field, const char* value);
  // The next such record after the current one; 1 when found.
  int FindNext(const char* field, const char* value);
  // The current record's value of field (names compared without regard to
  // ASCII case); an empty text for a field the table does not declare or
  // when there is no current record. Valid until the record changes.
  char* GetStr(const char* field);

  // Starts a new record at the end with every field empty, and makes it
  // current; a non-empty key is the value of the first declared field.
  int Append(const SString& key);
  // Sets a field of the current record, cut to the field's width. Returns 0
  // for a field the table does not declare (the value is not stored).
  int InsField(const SString& field, const SString& value);
  // Writes the current record: a new one is appended to the file, a found
  // one is overwritten in place. Committed when it returns 1.
  int WriteRecord();
  // Sets the current record's deleted mark (in the record only).
  void SetDeleted(int flag);
  // Marks the current record deleted and writes it.
  int Delete();

  // What the table is.
  void SetFileName(const char* path);
  const std::string& FileName() const { return path_; }
  int IsOpen();
  int GetFieldCount();
  const chartcalc::detail::DBField* GetField(int i);
  // The declared field of that name, or null.
  const chartcalc::detail::DBField* FindField(const char* name);
  // Adds every value of field (records marked deleted too) to out.
  void CollectValues(const char* field, std::set<std::string>& out);
  void Close();

 private:
  enum class OpenState { kNotTried, kOpen, kFailed };
  bool EnsureOpen();
  bool LoadFields();
  bool CheckRecordColumns();
  bool PrepareStatements();
  struct Row {
    long long rowid = 0;
    int deleted = 0;
    std::vector<std::string> values;
  };
  Row ReadRow(chartcalc::detail::sqlstore::Statement& st) const;
  int FillAhead(chartcalc::detail::sqlstore::Statement& st);
  int ScanFrom(const long long* after);
  bool RowAfter(bool hasRow, long long& row);
  int TakeAhead();
  int FindFrom(const char* field, const char* value, const long long* after);
  bool EnsureWritable();
  int FieldIndex(const char* name) const;
  std::string RowSelectList() const;
  void ClearRecord();
  void CopyFrom(const DB& other);

  std::string path_;
  int mode_ = 0;
  OpenState state_ = OpenState::kNotTried;
  std::unique_ptr<chartcalc::detail::sqlstore::Connection> conn_;
  std::unique_ptr<chartcalc::detail::sqlstore::Statement> first_, next_, insert_, update_;
  bool walMode_ = false;

  std::vector<chartcalc::detail::DBField> fields_;
  bool creating_ = false;  // between CreateDB and WriteEof

  // The current record: its values, its row when it is in the file, its
  // deleted mark and whether there is one at all.
  std::vector<std::string> values_;
  long long rowid_ = 0;
  bool inFile_ = false;
  int deleted_ = 0;
  bool hasRecord_ = false;
  // Records read ahead of the current one during a scan.
  std::vector<Row> ahead_;
  size_t aheadPos_ = 0;
  std::string empty_;
};

class DDB {
 public:
  explicit DDB(int mode = 0);
  // The index file and the user file of one kind; userFile may be "" (the
  // index file alone). Opened at their first use.
  DDB(const char* indexFile, const char* userFile, int mode);
  DDB(const DDB& other) = default;
  DDB& operator=(const DDB& other) = default;
  virtual ~DDB() = default;

  // Gives both files the extension ext (with or without the leading point).
  void SetExtension(const SString& ext);

  // The user file is searched first, then the index file. A record of the
  // index file whose key (its first declared field) also names a record of
  // the user file is hidden: the user's version, or its deletion, stands.
  int FindFirst(const char* field, const char* value);
  // Scans the user file's records, then the visible ones of the index file.
  int MoveFirst(int mode = 1);
  int MoveNext(int mode = 1);
  int Eof();
  int Deleted();
  char* GetStr(const char* field);

  // Appends and writes go to the user file (the index file when the user file
  // name is empty). A user file that does not exist yet is created with the
  // index file's declarations. Rewriting a record found in the index file
  // writes the changed copy to the user file, so shipped definitions are
  // never altered by the user; deleting one writes a deleted copy.
  int Append(const SString& key);
  int InsField(const SString& field, const SString& value);
  int WriteRecord();
  int Delete();

  const std::string& IndexFileName() const { return indexPath_; }
  const std::string& UserFileName() const { return userPath_; }
  // The declared field of that name in the file records are written to (or
  // read from when it does not exist), or null.
  const chartcalc::detail::DBField* FindField(const char* name);

 private:
  enum Side { kNoSide, kUserSide, kIndexSide };
  bool HasUser() const { return !userPath_.empty(); }
  DB& Target() { return HasUser() ? user_ : index_; }
  DB* Current();
  bool EnsureTargetExists();
  const std::string& KeyField();
  bool IsShadowed();
  void SkipShadowed();
  int StartIndexScan();

  DB index_, user_;
  std::string indexPath_, userPath_;
  int mode_ = 0;
  Side side_ = kNoSide;
  std::set<std::string> shadow_;
  std::string keyField_;
};

// Index directory and file names. Kinds are IndexType values: 0 indicator,
// 1 single expression, 2 bullish/bearish pattern, 3 trading system, 4 user
// function; any other kind uses the indicator files.
//
//   kind  index file       user file            extension
//   0     Indicator.idx    UserIndicator.idx    .idx
//   1     Expression.exp   UserExpression.exp   .exp
//   2     Pattern.ptn      UserPattern.ptn      .ptn
//   3     System.sys       UserSystem.sys       .sys
//   4     Function.fnc     UserFunction.fnc     .fnc
//
// The index directory is "./" until SetIndexDir is called.
SString getIndexDir();  // always ends with "/"
void SetIndexDir(const char* dir);
SString getIndexDBFileName(int type);
SString getUserDBFileName(int type);
SString getIndexDBExt(int type);
// Nonzero when path names an existing regular file.
int FileExist(const char* path);
// Writes an empty definition table of the kind (0 to 4) at path, declaring
// the fields its records use; an existing file is replaced. Returns 1 on
// success. This is the shipped empty state of an index file.
int CreateIndexDB(int type, const char* path);
