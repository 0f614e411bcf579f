// Internal: table files (the format of TableDb.h) written many records at a
// time, for the report files a back-test leaves after every run.
//
// Values are code page 949 texts in a flat, row-major list: record r's value
// of column c is values[r * columns.size() + c]. Every value is cut to its
// field's width as DB::InsField cuts it, and every column is a text field.
#pragma once

#include <memory>
#include <span>
#include <string>
#include <vector>

#include "core/FileUtil.h"

namespace chartcalc::detail {

struct TableColumn {
  const char* name;
  int width;
};

// Writes a new table file of the columns holding the records: built whole in
// memory, written aside in one write and renamed over path (directories
// above it created). The same file as DB's create followed by appends.
// False when the columns are not a valid declaration or the file cannot be
// written; path is then untouched.
bool WriteTableFile(const std::string& path, std::span<const TableColumn> columns,
                    const std::vector<std::string>& values, FileSync sync);

// Appends the records to an existing table file in one transaction: after a
// crash the file holds all of them or none. Columns are matched to the
// file's fields by name (as DB::InsField matches them); a field no column
// names is empty, a column the file does not declare is dropped. False, and
// the file untouched, when path is not a table file or cannot be written.
bool AppendTableRecords(const std::string& path, std::span<const TableColumn> columns,
                        const std::vector<std::string>& values);

// A table file kept open for a series of one-record appends, so that each
// costs one insert and one commit rather than an open, a schema check and a
// journal-mode switch. While open the file is in write-ahead-log mode with
// its "-wal" and "-shm" files beside it (any SQLite reader, the sqlite3
// shell included, sees every committed record); Close returns it to
// rollback-journal mode.
class TableAppender {
 public:
  TableAppender();
  TableAppender(const TableAppender&) = delete;
  TableAppender& operator=(const TableAppender&) = delete;
  ~TableAppender();

  // Opens path for appending records of the columns. False (nothing open)
  // when it is not a writable table file.
  bool Open(const std::string& path, std::span<const TableColumn> columns);
  // True when open on path and path still names the file that was opened
  // (not replaced or deleted since).
  bool IsOpenOn(const std::string& path) const;
  // Appends and commits one record (one value per column). False when not
  // open or the write failed.
  bool Append(std::span<const std::string> record);
  void Close();

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace chartcalc::detail
