// DB: one table file (layout at the top of TableDb.h).
#include "chartcalc/TableDb.h"

#include <strings.h>
#include <sys/stat.h>

#include <cstdio>
#include <cstring>

#include "core/FileUtil.h"
#include "core/SqliteStore.h"
#include "core/TableFile.h"
#include "core/TextCodec.h"

using namespace chartcalc::detail;

using sqlstore::Quote;
using sqlstore::Statement;

namespace {

// Records read per statement while scanning.
constexpr int kReadAheadRows = 32;

bool SameName(const std::string& a, const std::string& b) { return strcasecmp(a.c_str(), b.c_str()) == 0; }

// The longest prefix of s of at most width bytes that does not split a
// double-byte character.
std::string CutToWidth(const std::string& s, int width) {
  if (static_cast<int>(s.size()) <= width) return s;
  size_t end = 0;
  while (end < static_cast<size_t>(width)) {
    unsigned char c = static_cast<unsigned char>(s[end]);
    size_t n = (c >= 0x81 && c <= 0xFE && end + 1 < s.size()) ? 2 : 1;
    if (end + n > static_cast<size_t>(width)) break;
    end += n;
  }
  return s.substr(0, end);
}

// A field declaration the format can hold, with its column name.
bool MakeField(const std::string& name, char type, int width, DBField& f) {
  if (name.empty() || name.size() > kMaxDbFieldName || name.find('\0') != std::string::npos) return false;
  if (SameName(name, "_deleted") || width < 1 || width > kMaxDbFieldWidth) return false;
  if (static_cast<unsigned char>(type) < 0x20 || static_cast<unsigned char>(type) >= 0x7F) return false;
  if (!CleanUtf8(name, f.sqlName)) return false;
  f.name = name;
  f.type = type;
  f.width = width;
  return true;
}

bool HasName(const std::vector<DBField>& fields, const std::string& name) {
  for (const DBField& f : fields)
    if (SameName(f.name, name) || SameName(f.sqlName, name)) return true;
  return false;
}

// The two tables of a new file, the declarations filled in; inside the
// caller's transaction.
bool CreateTables(sqlstore::Connection& c, const std::vector<DBField>& fields) {
  std::string columns;
  for (const DBField& f : fields) columns += Quote(f.sqlName) + " TEXT, ";
  bool ok = c.Exec(
                "CREATE TABLE fields(position INTEGER PRIMARY KEY, name TEXT NOT NULL, "
                "type TEXT NOT NULL, width INTEGER NOT NULL)") &&
            c.Exec(("CREATE TABLE records(" + columns + "\"_deleted\" INTEGER NOT NULL DEFAULT 0)").c_str());
  Statement st;
  ok = ok && st.Prepare(c.Handle(), "INSERT INTO fields(position, name, type, width) VALUES(?1, ?2, ?3, ?4)");
  for (size_t i = 0; ok && i < fields.size(); ++i) {
    st.Reset();
    st.BindInt(1, static_cast<long long>(i));
    st.BindText(2, fields[i].name);
    st.BindText(3, std::string(1, fields[i].type));
    st.BindInt(4, fields[i].width);
    ok = st.Step() == SQLITE_DONE;
  }
  return ok;
}

// A journal left by the file being replaced must not touch the new one.
void RemoveSideFiles(const std::string& path) {
  for (const char* side : {"-journal", "-wal", "-shm"}) std::remove((path + side).c_str());
}

// Writes a new, empty table file at path (a sibling first, then renamed).
bool WriteEmptyTable(const std::string& path, const std::vector<DBField>& fields) {
  if (path.empty() || !MakeParentDirs(path)) return false;
  std::string temp = SiblingTempPath(path);
  if (temp.empty()) return false;
  bool ok;
  {
    sqlstore::Connection c;
    ok = c.OpenForCreate(temp) && c.Exec("PRAGMA journal_mode=DELETE") && c.Exec("BEGIN") && CreateTables(c, fields) &&
         c.Exec("COMMIT");
  }
  if (!ok) {
    std::remove(temp.c_str());
    return false;
  }
  RemoveSideFiles(path);
  return ReplaceWith(temp, path);
}

// The declared fields of an open file, checked as a file handed to the
// library must be: a sound declaration of at most kMaxDbFields fields.
bool ReadDeclaredFields(sqlstore::Connection& c, std::vector<DBField>& out) {
  if (!c.HasTable("fields") || !c.HasTable("records")) return false;
  Statement st;
  if (!st.Prepare(c.Handle(), "SELECT name, type, width FROM fields ORDER BY position")) return false;
  std::vector<DBField> fields;
  int rc;
  while ((rc = st.Step()) == SQLITE_ROW) {
    std::string type = st.ColumnText(1);
    long long width = st.ColumnInt(2);
    DBField f;
    if (fields.size() >= kMaxDbFields || type.size() != 1 || st.ColumnType(2) != SQLITE_INTEGER) return false;
    if (width > kMaxDbFieldWidth || !MakeField(st.ColumnText(0), type[0], static_cast<int>(width), f)) return false;
    if (HasName(fields, f.name) || HasName(fields, f.sqlName)) return false;
    fields.push_back(std::move(f));
  }
  if (rc != SQLITE_DONE) return false;
  out = std::move(fields);
  return true;
}

// The records table must have exactly one column per declared field plus
// the deleted mark.
bool RecordColumnsMatch(sqlstore::Connection& c, const std::vector<DBField>& fields) {
  Statement st;
  if (!st.Prepare(c.Handle(), "SELECT name FROM pragma_table_info('records')")) return false;
  size_t columns = 0;
  bool hasDeleted = false;
  int rc;
  while ((rc = st.Step()) == SQLITE_ROW) {
    const unsigned char* p = sqlite3_column_text(st.Handle(), 0);
    std::string name = p ? reinterpret_cast<const char*>(p) : "";
    if (SameName(name, "_deleted")) {
      hasDeleted = true;
    } else {
      bool declared = false;
      for (const DBField& f : fields) declared = declared || SameName(f.sqlName, name);
      if (!declared) return false;
    }
    ++columns;
  }
  return rc == SQLITE_DONE && hasDeleted && columns == fields.size() + 1;
}

}  // namespace

DB::DB(int mode) : mode_(mode) {}

DB::DB(const char* path, int mode) : path_(path ? path : ""), mode_(mode) {}

DB::DB(const DB& other) { CopyFrom(other); }

DB& DB::operator=(const DB& other) {
  if (this != &other) CopyFrom(other);
  return *this;
}

DB::~DB() { Close(); }

// A copy reads the same file through its own connection, from the same
// record.
void DB::CopyFrom(const DB& other) {
  Close();
  path_ = other.path_;
  mode_ = other.mode_;
  state_ = other.creating_ ? OpenState::kFailed : OpenState::kNotTried;
  fields_ = other.fields_;
  creating_ = other.creating_;
  values_ = other.values_;
  rowid_ = other.rowid_;
  inFile_ = other.inFile_;
  deleted_ = other.deleted_;
  hasRecord_ = other.hasRecord_;
  ahead_ = other.ahead_;
  aheadPos_ = other.aheadPos_;
}

void DB::Close() {
  first_.reset();
  next_.reset();
  insert_.reset();
  update_.reset();
  // Leave the file in rollback-journal mode, so that readers elsewhere (and
  // read-only copies) need no side files.
  if (conn_ && walMode_) conn_->Exec("PRAGMA journal_mode=DELETE");
  conn_.reset();
  walMode_ = false;
  // The next access opens the file again, so a table that was locked or
  // missing a moment ago is tried afresh rather than failing for good.
  if (!creating_) state_ = OpenState::kNotTried;
}

void DB::SetFileName(const char* path) {
  Close();
  path_ = path ? path : "";
  state_ = OpenState::kNotTried;
  creating_ = false;
  fields_.clear();
  ClearRecord();
}

void DB::ClearRecord() {
  ahead_.clear();
  aheadPos_ = 0;
  values_.clear();
  rowid_ = 0;
  inFile_ = false;
  deleted_ = 0;
  hasRecord_ = false;
}

// ---- creating -----------------------------------------------------------------

int DB::CreateDB(const char* path) {
  SetFileName(path);
  creating_ = !path_.empty();
  state_ = OpenState::kFailed;  // no file to read until WriteEof
  return creating_ ? 1 : 0;
}

void DB::ClearField() {
  if (creating_) fields_.clear();
}

int DB::InsertField(const char* name, char type, int width) {
  DBField f;
  if (!creating_ || !name || static_cast<int>(fields_.size()) >= kMaxDbFields) return 0;
  if (!MakeField(name, type, width, f) || HasName(fields_, f.name) || HasName(fields_, f.sqlName)) return 0;
  fields_.push_back(std::move(f));
  return 1;
}

int DB::WriteHead() { return creating_ ? 1 : 0; }

int DB::WriteField() { return creating_ ? 1 : 0; }

int DB::WriteEof() {
  if (!creating_) return 0;
  creating_ = false;
  if (!WriteEmptyTable(path_, fields_)) return 0;
  state_ = OpenState::kNotTried;
  return EnsureOpen() ? 1 : 0;
}

// ---- opening ------------------------------------------------------------------

bool DB::EnsureOpen() {
  if (state_ == OpenState::kOpen) return true;
  if (state_ == OpenState::kFailed || path_.empty()) return false;
  state_ = OpenState::kFailed;
  conn_ = std::make_unique<sqlstore::Connection>();
  // Opened for writing where the file allows it; nothing is written until a
  // record is.
  if (!FileExist(path_.c_str()) || !conn_->OpenExisting(path_, false) || !LoadFields() || !CheckRecordColumns() ||
      !PrepareStatements()) {
    Close();
    fields_.clear();
    state_ = OpenState::kFailed;
    return false;
  }
  state_ = OpenState::kOpen;
  return true;
}

bool DB::LoadFields() { return ReadDeclaredFields(*conn_, fields_); }

bool DB::CheckRecordColumns() { return RecordColumnsMatch(*conn_, fields_); }

// Values are read through substr, so that a value stored longer than its
// width (by another program) costs no more than its width.
std::string DB::RowSelectList() const {
  std::string list = "rowid, coalesce(\"_deleted\", 0)";
  for (const DBField& f : fields_) list += ", substr(" + Quote(f.sqlName) + ", 1, " + std::to_string(f.width) + ")";
  return list;
}

bool DB::PrepareStatements() {
  sqlite3* h = conn_->Handle();
  std::string select = "SELECT " + RowSelectList() + " FROM records ";
  std::string columns, params, sets;
  for (size_t i = 0; i < fields_.size(); ++i) {
    std::string n = std::to_string(i + 1);
    columns += Quote(fields_[i].sqlName) + ", ";
    params += "?" + n + ", ";
    sets += Quote(fields_[i].sqlName) + " = ?" + n + ", ";
  }
  std::string del = std::to_string(fields_.size() + 1), row = std::to_string(fields_.size() + 2);
  first_ = std::make_unique<Statement>();
  next_ = std::make_unique<Statement>();
  insert_ = std::make_unique<Statement>();
  update_ = std::make_unique<Statement>();
  std::string batch = " LIMIT " + std::to_string(kReadAheadRows);
  return first_->Prepare(h, select + "ORDER BY rowid" + batch) &&
         next_->Prepare(h, select + "WHERE rowid > ?1 ORDER BY rowid" + batch) &&
         insert_->Prepare(h, "INSERT INTO records(" + columns + "\"_deleted\") VALUES(" + params + "?" + del + ")") &&
         update_->Prepare(h, "UPDATE records SET " + sets + "\"_deleted\" = ?" + del + " WHERE rowid = ?" + row);
}

int DB::IsOpen() { return EnsureOpen() ? 1 : 0; }

int DB::GetFieldCount() {
  EnsureOpen();
  return static_cast<int>(fields_.size());
}

const DBField* DB::GetField(int i) {
  EnsureOpen();
  return i >= 0 && i < static_cast<int>(fields_.size()) ? &fields_[static_cast<size_t>(i)] : nullptr;
}

int DB::FieldIndex(const char* name) const {
  if (!name) return -1;
  for (size_t i = 0; i < fields_.size(); ++i)
    if (strcasecmp(fields_[i].name.c_str(), name) == 0) return static_cast<int>(i);
  return -1;
}

const DBField* DB::FindField(const char* name) {
  EnsureOpen();
  int i = FieldIndex(name);
  return i < 0 ? nullptr : &fields_[static_cast<size_t>(i)];
}

// ---- reading ------------------------------------------------------------------

// Takes the row the statement stands on as the current record.
DB::Row DB::ReadRow(Statement& st) const {
  Row r;
  r.rowid = st.ColumnInt(0);
  r.deleted = st.ColumnInt(1) != 0 ? 1 : 0;
  r.values.resize(fields_.size());
  for (size_t i = 0; i < fields_.size(); ++i)
    r.values[i] = CutToWidth(st.ColumnText(static_cast<int>(i) + 2), fields_[i].width);
  return r;
}

// The next read-ahead row becomes the current record; at the end of the
// read-ahead rows there is none.
int DB::TakeAhead() {
  if (aheadPos_ >= ahead_.size()) {
    ClearRecord();
    return 0;
  }
  Row& r = ahead_[aheadPos_++];
  values_ = std::move(r.values);
  rowid_ = r.rowid;
  deleted_ = r.deleted;
  inFile_ = hasRecord_ = true;
  return 1;
}

// Reads the statement's rows ahead (a batch per statement, so that a scan
// takes the file's lock once per batch rather than once per record).
// Returns the statement's last result.
int DB::FillAhead(Statement& st) {
  ahead_.clear();
  aheadPos_ = 0;
  int rc;
  while ((rc = st.Step()) == SQLITE_ROW) ahead_.push_back(ReadRow(st));
  st.Reset();
  return rc;
}

// The records after the given row (from the first when null) become the
// read-ahead rows, and the first of them the current record. A row holding a
// value beyond the size limit (written by another program) cannot be read
// and is skipped, so it hides none of the records after it.
int DB::ScanFrom(const long long* after) {
  bool hasFrom = after != nullptr;
  long long from = hasFrom ? *after : 0;
  for (;;) {
    Statement& st = hasFrom ? *next_ : *first_;
    if (hasFrom) st.BindInt(1, from);
    int rc = FillAhead(st);
    if (rc != SQLITE_TOOBIG || !ahead_.empty() || !RowAfter(hasFrom, from)) return TakeAhead();
    hasFrom = true;
  }
}

// Moves row to the row after it (the first row when hasRow is false); false
// when there is none.
bool DB::RowAfter(bool hasRow, long long& row) {
  Statement st;
  std::string sql =
      std::string("SELECT rowid FROM records") + (hasRow ? " WHERE rowid > ?1" : "") + " ORDER BY rowid LIMIT 1";
  if (!st.Prepare(conn_->Handle(), sql)) return false;
  if (hasRow) st.BindInt(1, row);
  if (st.Step() != SQLITE_ROW) return false;
  row = st.ColumnInt(0);
  return true;
}

int DB::MoveFirst(int) {
  ClearRecord();
  if (!EnsureOpen()) return 0;
  return ScanFrom(nullptr);
}

int DB::MoveNext(int) {
  if (!EnsureOpen() || !inFile_) {
    ClearRecord();
    return 0;
  }
  if (aheadPos_ < ahead_.size()) return TakeAhead();
  long long after = rowid_;
  return ScanFrom(&after);
}

int DB::Eof() { return hasRecord_ ? 0 : 1; }

int DB::Deleted() { return hasRecord_ ? deleted_ : 0; }

int DB::FindFirst(const char* field, const char* value) { return FindFrom(field, value, nullptr); }

int DB::FindNext(const char* field, const char* value) {
  if (!inFile_) {
    ClearRecord();
    return 0;
  }
  return FindFrom(field, value, &rowid_);
}

// The first record not marked deleted whose field equals value, after the
// given row (null: from the start).
int DB::FindFrom(const char* field, const char* value, const long long* after) {
  long long afterRow = after ? *after : 0;
  ClearRecord();
  int i = EnsureOpen() ? FieldIndex(field) : -1;
  if (i < 0) return 0;
  const DBField& f = fields_[static_cast<size_t>(i)];
  Statement st;
  std::string sql = "SELECT " + RowSelectList() + " FROM records WHERE " + Quote(f.sqlName) +
                    " = ?1 AND coalesce(\"_deleted\", 0) = 0" + (after ? " AND rowid > ?2" : "") +
                    " ORDER BY rowid LIMIT 1";
  if (!st.Prepare(conn_->Handle(), sql)) return 0;
  st.BindText(1, CutToWidth(value ? value : "", f.width));
  if (after) st.BindInt(2, afterRow);
  FillAhead(st);
  return TakeAhead();
}

char* DB::GetStr(const char* field) {
  int i = hasRecord_ ? FieldIndex(field) : -1;
  if (i < 0 || static_cast<size_t>(i) >= values_.size()) {
    empty_.clear();
    return empty_.data();
  }
  return values_[static_cast<size_t>(i)].data();
}

void DB::CollectValues(const char* field, std::set<std::string>& out) {
  int i = EnsureOpen() ? FieldIndex(field) : -1;
  if (i < 0) return;
  const DBField& f = fields_[static_cast<size_t>(i)];
  Statement st;
  if (!st.Prepare(conn_->Handle(),
                  "SELECT substr(" + Quote(f.sqlName) + ", 1, " + std::to_string(f.width) + ") FROM records"))
    return;
  while (st.Step() == SQLITE_ROW) out.insert(CutToWidth(st.ColumnText(0), f.width));
}

// ---- writing ------------------------------------------------------------------

int DB::Append(const SString& key) {
  ClearRecord();
  if (!EnsureOpen()) return 0;
  values_.assign(fields_.size(), std::string());
  if (!key.IsEmpty() && !fields_.empty()) values_[0] = CutToWidth(key.str(), fields_[0].width);
  hasRecord_ = true;
  return 1;
}

int DB::InsField(const SString& field, const SString& value) {
  int i = hasRecord_ ? FieldIndex(field.c_str()) : -1;
  if (i < 0) return 0;
  values_[static_cast<size_t>(i)] = CutToWidth(value.str(), fields_[static_cast<size_t>(i)].width);
  return 1;
}

// The first write of a session switches the file to the write-ahead log:
// each record is then one small append to the log instead of a rewrite of
// journal and pages. Committed records survive a crash of the program.
bool DB::EnsureWritable() {
  if (!EnsureOpen() || sqlite3_db_readonly(conn_->Handle(), "main") == 1) return false;
  if (!walMode_) {
    conn_->Exec("PRAGMA journal_mode=WAL");
    conn_->Exec("PRAGMA synchronous=NORMAL");
    walMode_ = true;
  }
  return true;
}

int DB::WriteRecord() {
  if (!hasRecord_ || !EnsureWritable()) return 0;
  Statement& st = inFile_ ? *update_ : *insert_;
  for (size_t i = 0; i < fields_.size(); ++i) st.BindText(static_cast<int>(i) + 1, values_[i]);
  st.BindInt(static_cast<int>(fields_.size()) + 1, deleted_);
  if (inFile_) st.BindInt(static_cast<int>(fields_.size()) + 2, rowid_);
  int rc = st.Step();
  st.Reset();
  if (rc != SQLITE_DONE) return 0;
  if (inFile_ && sqlite3_changes(conn_->Handle()) != 1) return 0;
  if (!inFile_) rowid_ = sqlite3_last_insert_rowid(conn_->Handle());
  inFile_ = true;
  return 1;
}

void DB::SetDeleted(int flag) {
  if (hasRecord_) deleted_ = flag ? 1 : 0;
}

int DB::Delete() {
  if (!hasRecord_) return 0;
  SetDeleted(1);
  return WriteRecord();
}

// ---- many records at a time (core/TableFile.h) ----------------------------------

namespace chartcalc::detail {

namespace {

bool DeclareColumns(std::span<const TableColumn> columns, std::vector<DBField>& fields) {
  if (columns.empty() || columns.size() > static_cast<size_t>(kMaxDbFields)) return false;
  for (const TableColumn& c : columns) {
    DBField f;
    if (!c.name || !MakeField(c.name, 'c', c.width, f) || HasName(fields, f.name) || HasName(fields, f.sqlName))
      return false;
    fields.push_back(std::move(f));
  }
  return true;
}

// For each declared field, the column that gives its value (-1: none, the
// field stays empty), matched by name as DB::InsField matches.
std::vector<int> MapColumns(const std::vector<DBField>& fields, std::span<const TableColumn> columns) {
  std::vector<int> from(fields.size(), -1);
  for (size_t i = 0; i < fields.size(); ++i)
    for (size_t c = columns.size(); c-- > 0;)
      if (columns[c].name && SameName(fields[i].name, columns[c].name)) from[i] = static_cast<int>(c);
  return from;
}

bool PrepareRecordInsert(sqlstore::Connection& c, const std::vector<DBField>& fields, Statement& st) {
  std::string names, params;
  for (size_t i = 0; i < fields.size(); ++i) {
    names += Quote(fields[i].sqlName) + ", ";
    params += '?';
    params += std::to_string(i + 1);
    params += ", ";
  }
  return st.Prepare(c.Handle(), "INSERT INTO records(" + names + "\"_deleted\") VALUES(" + params + "0)");
}

bool IsAsciiText(std::string_view s) {
  for (char c : s)
    if (static_cast<unsigned char>(c) >= 0x80) return false;
  return true;
}

// Inserts one record whose values (one per column) start at record. Every
// parameter is bound anew, so the bindings need no clearing; an ASCII value
// within its width (most report values) is bound where it lies, uncopied.
bool InsertRecord(Statement& st, const std::vector<DBField>& fields, const std::vector<int>& from,
                  const std::string* record) {
  for (size_t i = 0; i < fields.size(); ++i) {
    const int param = static_cast<int>(i) + 1;
    const std::string_view value = from[i] < 0 ? std::string_view() : std::string_view(record[from[i]]);
    if (value.size() <= static_cast<size_t>(fields[i].width) && IsAsciiText(value))
      // Never a null pointer: that would store NULL, not an empty text.
      sqlite3_bind_text(st.Handle(), param, value.empty() ? "" : value.data(), static_cast<int>(value.size()),
                        SQLITE_STATIC);
    else
      st.BindText(param, CutToWidth(std::string(value), fields[i].width));
  }
  const int rc = sqlite3_step(st.Handle());
  sqlite3_reset(st.Handle());
  return rc == SQLITE_DONE;
}

bool InsertRecords(Statement& st, const std::vector<DBField>& fields, const std::vector<int>& from, size_t columns,
                   const std::vector<std::string>& values) {
  for (size_t at = 0; at < values.size(); at += columns)
    if (!InsertRecord(st, fields, from, values.data() + at)) return false;
  return true;
}

// Opens an existing table file for writing and reads its declarations.
bool OpenTableForWriting(sqlstore::Connection& c, const std::string& path, std::vector<DBField>& fields) {
  return !path.empty() && FileExist(path.c_str()) && c.OpenExisting(path, false) &&
         sqlite3_db_readonly(c.Handle(), "main") == 0 && ReadDeclaredFields(c, fields) && RecordColumnsMatch(c, fields);
}

bool WholeRecords(std::span<const TableColumn> columns, const std::vector<std::string>& values) {
  return !columns.empty() && values.size() % columns.size() == 0;
}

// The file's bytes: a database built in memory needs no journal and no
// sync, and leaves the disk with a single write.
bool SerializeMain(sqlstore::Connection& c, std::string& image) {
  sqlite3_int64 size = 0;
  unsigned char* bytes = sqlite3_serialize(c.Handle(), "main", &size, 0);
  if (!bytes) return false;
  image.assign(reinterpret_cast<const char*>(bytes), static_cast<size_t>(size));
  sqlite3_free(bytes);
  return true;
}

// The bytes of an empty file with these declarations.
bool BuildEmptyImage(const std::vector<DBField>& fields, std::string& image) {
  sqlstore::Connection c;
  return c.OpenForCreate(":memory:") && c.Exec("BEGIN") && CreateTables(c, fields) && c.Exec("COMMIT") &&
         SerializeMain(c, image);
}

// The empty file of a declaration, made once per thread: an optimisation
// writes the same two kinds of file thousands of times, and creating their
// tables was a fifth of a run.
const std::string* EmptyImage(const std::vector<DBField>& fields) {
  thread_local std::vector<std::pair<std::string, std::string>> images;  // key, bytes
  std::string key;
  for (const DBField& f : fields) key.append(f.sqlName).append(1, '\0').append(std::to_string(f.width)).append(1, '\0');
  for (const auto& [k, bytes] : images)
    if (k == key) return &bytes;
  std::string bytes;
  if (!BuildEmptyImage(fields, bytes)) return nullptr;
  constexpr size_t kKeptImages = 8;
  if (images.size() >= kKeptImages) images.erase(images.begin());
  images.emplace_back(std::move(key), std::move(bytes));
  return &images.back().second;
}

// Opens an in-memory database holding a copy of image.
bool OpenImage(sqlstore::Connection& c, const std::string& image) {
  if (!c.OpenForCreate(":memory:")) return false;
  auto* copy = static_cast<unsigned char*>(sqlite3_malloc64(image.size()));
  if (!copy) return false;
  std::memcpy(copy, image.data(), image.size());
  const auto size = static_cast<sqlite3_int64>(image.size());
  return sqlite3_deserialize(c.Handle(), "main", copy, size, size,
                             SQLITE_DESERIALIZE_FREEONCLOSE | SQLITE_DESERIALIZE_RESIZEABLE) == SQLITE_OK;
}

bool BuildTableImage(const std::vector<DBField>& fields, const std::vector<std::string>& values, std::string& image) {
  const std::string* empty = EmptyImage(fields);
  sqlstore::Connection c;
  Statement st;
  const std::vector<int> from = [&] {
    std::vector<int> v(fields.size());
    for (size_t i = 0; i < v.size(); ++i) v[i] = static_cast<int>(i);
    return v;
  }();
  bool ok = empty && OpenImage(c, *empty) && c.Exec("BEGIN") && PrepareRecordInsert(c, fields, st) &&
            InsertRecords(st, fields, from, fields.size(), values);
  st.Finalize();
  return ok && c.Exec("COMMIT") && SerializeMain(c, image);
}

}  // namespace

bool WriteTableFile(const std::string& path, std::span<const TableColumn> columns,
                    const std::vector<std::string>& values, FileSync sync) {
  std::vector<DBField> fields;
  std::string image;
  if (path.empty() || !WholeRecords(columns, values) || !DeclareColumns(columns, fields)) return false;
  if (!BuildTableImage(fields, values, image)) return false;
  // The new file has no journal; one left by the file it replaces must not
  // be applied to it.
  RemoveSideFiles(path);
  return WriteWholeFile(path, image, sync);
}

bool AppendTableRecords(const std::string& path, std::span<const TableColumn> columns,
                        const std::vector<std::string>& values) {
  if (!WholeRecords(columns, values)) return false;
  sqlstore::Connection c;
  std::vector<DBField> fields;
  Statement st;
  if (!OpenTableForWriting(c, path, fields) || !PrepareRecordInsert(c, fields, st)) return false;
  if (!c.Exec("BEGIN IMMEDIATE")) return false;
  if (InsertRecords(st, fields, MapColumns(fields, columns), columns.size(), values) && c.Exec("COMMIT")) return true;
  c.Exec("ROLLBACK");
  return false;
}

struct TableAppender::State {
  sqlstore::Connection conn;
  Statement insert;
  std::vector<DBField> fields;
  std::vector<int> from;
  size_t columns = 0;
  std::string path;
  dev_t device = 0;
  ino_t inode = 0;
};

TableAppender::TableAppender() = default;

TableAppender::~TableAppender() { Close(); }

namespace {

bool FileIdentity(const std::string& path, dev_t& device, ino_t& inode) {
  struct stat st;
  if (stat(path.c_str(), &st) != 0) return false;
  device = st.st_dev;
  inode = st.st_ino;
  return true;
}

}  // namespace

bool TableAppender::Open(const std::string& path, std::span<const TableColumn> columns) {
  Close();
  auto s = std::make_unique<State>();
  if (columns.empty() || !OpenTableForWriting(s->conn, path, s->fields) || !FileIdentity(path, s->device, s->inode))
    return false;
  // Each record is then a small append to the log, with no sync: a commit
  // survives a crash of the program, and the log is folded into the file as
  // it grows and when the appender closes.
  if (!s->conn.Exec("PRAGMA journal_mode=WAL") || !s->conn.Exec("PRAGMA synchronous=NORMAL") ||
      !PrepareRecordInsert(s->conn, s->fields, s->insert)) {
    s->insert.Finalize();
    s->conn.Exec("PRAGMA journal_mode=DELETE");
    return false;
  }
  s->from = MapColumns(s->fields, columns);
  s->columns = columns.size();
  s->path = path;
  state_ = std::move(s);
  return true;
}

bool TableAppender::IsOpenOn(const std::string& path) const {
  dev_t device;
  ino_t inode;
  return state_ && state_->path == path && FileIdentity(path, device, inode) && device == state_->device &&
         inode == state_->inode;
}

bool TableAppender::Append(std::span<const std::string> record) {
  if (!state_ || record.size() != state_->columns) return false;
  return InsertRecord(state_->insert, state_->fields, state_->from, record.data());
}

void TableAppender::Close() {
  if (!state_) return;
  state_->insert.Finalize();
  // Back to rollback-journal mode, as DB leaves a file: readers elsewhere
  // (read-only ones included) then need no side files.
  state_->conn.Exec("PRAGMA journal_mode=DELETE");
  state_.reset();
}

}  // namespace chartcalc::detail
