// Table database files: the usage patterns of definitions and reports, the
// two-file tables, damaged files and the sqlite3 tool reading our files (and
// we reading its rows).
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <thread>
#include <vector>

#include "StorageTestUtil.h"

namespace {

using Names = std::vector<std::string>;
using Results = std::vector<int>;  // return codes, in call order

// A report-style table: a key field and two texts, one narrow.
std::string MakeTable(const std::string& path) {
  DB db(0);
  EXPECT_TRUE(db.CreateDB(path.c_str()) && db.InsertField("IndexName", 'c', 50) &&
              db.InsertField("Expression0", 'c', 200) && db.InsertField("Short", 'c', 5) && db.WriteEof())
      << path;
  return path;
}

// Appends a record to an open table; the result of writing it.
template <class Table>
int Put(Table& db, const std::string& name, const std::string& expr, const std::string& shortText = "") {
  db.Append(name.c_str());
  db.InsField("Expression0", expr.c_str());
  if (!shortText.empty()) db.InsField("Short", shortText.c_str());
  return db.WriteRecord();
}

void AddRecord(const std::string& path, const std::string& name, const std::string& expr) {
  DB db(path.c_str(), 0);
  EXPECT_EQ(Put(db, name, expr), 1) << name;
}

// "name=expression" of every record in scan order, "/short" when that field
// is set, ":deleted" when marked.
template <class Table>
Names Scan(Table& db) {
  Names seen;
  for (db.MoveFirst(1); !db.Eof(); db.MoveNext(1)) {
    const std::string s = db.GetStr("Short");
    seen.push_back(std::string(db.GetStr("IndexName")) + "=" + db.GetStr("Expression0") + (s.empty() ? "" : "/" + s) +
                   (db.Deleted() ? ":deleted" : ""));
  }
  return seen;
}

TEST(TableDb, DeclarationsAreKeptInOrderBadOnesRefusedAndCreateReplacesTheFileWhole) {
  std::string dir = TestDir(), path = MakeTable(dir + "Rpt/t.rpt");  // the directory is made
  AddRecord(path, "old", "1");
  DB db(0);
  db.CreateDB(path.c_str());
  EXPECT_EQ(db.InsertField("A", 'c', 10), 1);
  // "a" is the same column for SQLite; a quoted name is never pasted into SQL.
  for (auto [name, width] : {std::pair{"a", 10}, {"_deleted", 10}, {"", 10}, {"W", 0}, {"W", kMaxDbFieldWidth + 1}})
    EXPECT_EQ(db.InsertField(name, 'c', width), 0) << name << " " << width;
  EXPECT_EQ(db.InsertField("Q\"uote", 'c', 200), 1);
  EXPECT_EQ(db.WriteEof(), 1);
  DB back(path.c_str(), 0);
  EXPECT_EQ(std::tuple(back.GetFieldCount(), back.GetField(1)->name, back.GetField(1)->width, back.GetField(2)),
            std::tuple(2, std::string("Q\"uote"), 200, nullptr));
  EXPECT_EQ((Results{back.MoveFirst(1), back.Eof()}), (Results{0, 1}));
  EXPECT_EQ(Listing(dir + "Rpt"), "t.rpt ");
}

TEST(TableDb, ScanKeepsInsertionOrderFindSkipsDeletedRecordsAndRewritesStayInPlace) {
  std::string path = MakeTable(TestDir() + "t.rpt");
  for (auto [name, expr] : {std::pair{"zeta", "1"}, {"alpha", "2"}, {"zeta", "3"}}) AddRecord(path, name, expr);
  {
    DB db(path.c_str(), 0);
    ASSERT_EQ(db.FindFirst("IndexName", "alpha"), 1);
    EXPECT_STREQ(db.GetStr("expression0"), "2");  // field names ignore case
    db.InsField("Expression0", "changed");
    EXPECT_EQ((Results{db.WriteRecord(), db.WriteRecord()}), (Results{1, 1}));  // still the same record
    ASSERT_EQ(db.FindFirst("IndexName", "zeta"), 1);
    ASSERT_EQ(db.Delete(), 1);
    EXPECT_EQ(db.FindFirst("IndexName", "ALPHA"), 0);  // values do not
    EXPECT_EQ(db.InsField("LogY", "1"), 0);            // an undeclared field is not written
  }
  DB db(path.c_str(), 0);
  EXPECT_EQ(Scan(db), (Names{"zeta=1:deleted", "alpha=changed", "zeta=3"}));
  ASSERT_EQ(db.FindFirst("IndexName", "zeta"), 1);
  EXPECT_EQ(std::string(db.GetStr("Expression0")) + db.GetStr("LogY"), "3");
  EXPECT_EQ((Results{db.FindNext("IndexName", "zeta"), db.FindFirst("LogY", "")}), (Results{0, 0}));
  EXPECT_STREQ(db.GetStr("IndexName"), "");  // no current record after a failed find
  db.MoveFirst(1);
  db.MoveNext(1);
  DB copy = db;  // continues from the same record
  copy.MoveNext(1);
  EXPECT_EQ(std::string(copy.GetStr("IndexName")) + "," + db.GetStr("IndexName"), "zeta,alpha");
}

// "Short" is 5 bytes wide and a Korean syllable takes two.
TEST(TableDb, ValuesAreCutToTheirWidthBetweenCharactersAndComeBackByteExact) {
  std::string path = MakeTable(TestDir() + "t.rpt");
  const std::string bytes[] = {Ko("이동평균"), std::string("\x80\xFF\xA1", 3), std::string("\xC7", 1)};
  const std::string cuts[] = {"abcdefg", Ko("가나다"), "a" + Ko("가나")};
  DB db(path.c_str(), 0);
  for (size_t i = 0; i < 3; ++i) ASSERT_EQ(Put(db, "k", bytes[i], cuts[i]), 1);
  EXPECT_EQ(Scan(db), (Names{"k=" + bytes[0] + "/abcde", "k=" + bytes[1] + "/" + Ko("가나"), "k=\xC7/a" + Ko("가나")}));
  EXPECT_EQ(db.FindFirst("Expression0", bytes[1].c_str()), 1);
}

TEST(TableDb, WrittenRecordSurvivesACrashRightAfterWriteRecord) {
  std::string path = MakeTable(TestDir() + "t.rpt");
  pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    DB* db = new DB(path.c_str(), 0);  // never closed: the process dies
    for (const char* name : {"r0", "r1"})
      if (!db->Append(name) || !db->WriteRecord()) _exit(1);
    _exit(0);
  }
  int status = 0;
  waitpid(child, &status, 0);
  ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  DB db(path.c_str(), 0);
  EXPECT_EQ(Scan(db), (Names{"r0=", "r1="}));
}

// Files that are not table files of ours: each is refused whole and left as
// it was.
TEST(TableDb, DamagedOrForeignFilesAreRefusedAndLeftUntouched) {
  std::string dir = TestDir();
  std::string good = ReadBytes(MakeTable(dir + "good.rpt"));
  std::vector<std::pair<std::string, std::string>> files = {{"empty", ""},
                                                            {"garbage", std::string(5000, 'Z')},
                                                            {"text", "[Section]\nkey=value\n"},
                                                            {"truncated", good.substr(0, good.size() / 2)},
                                                            {"header-only", good.substr(0, 100)}};
  for (const auto& [name, bytes] : files) WriteBytes(dir + name, bytes);
  const std::string fields =
      "CREATE TABLE fields(position INTEGER PRIMARY KEY, name TEXT, type TEXT, width INTEGER);"
      "INSERT INTO fields VALUES(0,'A','c',10);";
  const std::pair<const char*, std::string> sql[] = {
      {"no-tables", "CREATE TABLE other(x);"},
      {"wrong-columns", fields + "INSERT INTO fields VALUES(1,'B','c',10);CREATE TABLE records(A TEXT, _deleted);"},
      {"bad-width", fields + "UPDATE fields SET width=-1;CREATE TABLE records(A TEXT, _deleted INTEGER);"},
      {"records-view", fields + "CREATE VIEW records AS WITH RECURSIVE c(A, _deleted) AS (SELECT 1, 0 UNION ALL "
                                "SELECT A+1, 0 FROM c) SELECT * FROM c;"}};
  for (const auto& [name, text] : sql) {
    if (HaveSqlite3()) Sqlite3(dir + name, text);
    files.push_back({name, ReadBytes(dir + name)});
  }
  for (const auto& [name, bytes] : files) {
    DB db((dir + name).c_str(), 0);
    const Results got = {db.IsOpen(),    db.MoveFirst(1),  db.FindFirst("A", "x"),
                         db.Append("k"), db.WriteRecord(), db.Eof()};
    EXPECT_EQ(got, (Results{0, 0, 0, 0, 0, 1})) << name;
    db.Close();
    EXPECT_EQ(ReadBytes(dir + name), bytes) << name;
  }
  DB missing((dir + "missing.rpt").c_str(), 0);
  EXPECT_EQ((Results{missing.MoveFirst(1), missing.Append("k")}), (Results{0, 0}));
  EXPECT_EQ(FileExist((dir + "missing.rpt").c_str()), 0);
}

TEST(TableDb, LockedFileFailsInsteadOfWaitingForever) {
  if (!HaveSqlite3()) GTEST_SKIP() << "sqlite3 is not installed";
  std::string dir = TestDir(), path = MakeTable(dir + "t.rpt");
  AddRecord(path, "kept", "1");
  // Another program holds the file exclusively for a few seconds.
  WriteBytes(dir + "lock.sql", "BEGIN EXCLUSIVE;\nUPDATE records SET Short='x';\n.shell touch '" + dir +
                                   "locked'\n.shell sleep 3\nROLLBACK;\n.shell touch '" + dir + "done'\n");
  ASSERT_EQ(std::system(("sqlite3 '" + path + "' < '" + dir + "lock.sql' > /dev/null 2>&1 &").c_str()), 0);
  auto waitFor = [&](const char* name) {
    for (int i = 0; i < 200 && !FileExist((dir + name).c_str()); ++i)
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
    return FileExist((dir + name).c_str());
  };
  ASSERT_EQ(waitFor("locked"), 1);
  auto start = std::chrono::steady_clock::now();
  DB db(path.c_str(), 0);
  EXPECT_EQ((Results{db.FindFirst("IndexName", "kept"), db.Append("new")}), (Results{0, 0}));
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(3));
  waitFor("done");
  DB after(path.c_str(), 0);
  EXPECT_EQ(Scan(after), (Names{"kept=1"}));
}

// A value that is no clean code page 949 text is stored as a blob; a value
// too large to read hides its record only.
TEST(TableDbInterop, Sqlite3ReadsOurRowsAndWeReadItsRows) {
  if (!HaveSqlite3()) GTEST_SKIP() << "sqlite3 is not installed";
  std::string path = MakeTable(TestDir() + "t.rpt");
  AddRecord(path, Ko("이동평균"), "avg(close, 5)");
  AddRecord(path, "raw", std::string("\x80\x81", 2));
  EXPECT_EQ(Sqlite3(path,
                    "SELECT name, type, width FROM fields ORDER BY position;"
                    "SELECT group_concat(name) FROM pragma_table_info('records');"
                    "SELECT IndexName, Expression0, typeof(Expression0), _deleted FROM records;"),
            "IndexName|c|50\nExpression0|c|200\nShort|c|5\nIndexName,Expression0,Short,_deleted\n"
            "이동평균|avg(close, 5)|text|0\nraw|\x80\x81|blob|0\n");
  ASSERT_EQ(Sqlite3(path,
                    "INSERT INTO records VALUES('종가평균', 'avg(close, 20)', NULL, 0), ('huge', zeroblob(3000000), "
                    "NULL, 0), ('long', NULL, 'abcdefghij', 0), ('gone', NULL, NULL, 1), "
                    "('hex', NULL, hex(zeroblob(300000)), 0);"),
            "");
  DB db(path.c_str(), 0);
  // A value too long for its field is read no longer than its width.
  EXPECT_EQ(Scan(db), (Names{Ko("이동평균") + "=avg(close, 5)", "raw=\x80\x81", Ko("종가평균") + "=avg(close, 20)",
                             "long=/abcde", "gone=:deleted", "hex=/00000"}));
}

// ---- two-file tables ----------------------------------------------------------

TEST(TableDbPair, UserFileIsCreatedOnFirstWriteSearchedFirstAndTheShippedFileNeverChanges) {
  std::string dir = TestDir(), index = MakeTable(dir + "Function.fnc"), user = dir + "UserFunction.fnc";
  for (const char* name : {"shipped", "both", "gone"}) AddRecord(index, name, "i");
  const Names shipped = {"shipped=i", "both=i", "gone=i"};
  {
    DDB db(index.c_str(), user.c_str(), 1);
    EXPECT_EQ(Scan(db), shipped);
    EXPECT_EQ(FileExist(user.c_str()), 0);       // reading creates nothing
    EXPECT_EQ(db.FindField("Short")->width, 5);  // the index file's, while there is no user file
    ASSERT_EQ(Put(db, "both", "u"), 1);
    ASSERT_EQ(db.FindFirst("IndexName", "shipped"), 1);
    db.InsField("Expression0", "changed");
    ASSERT_EQ(db.WriteRecord(), 1);
    ASSERT_EQ(db.FindFirst("IndexName", "gone"), 1);
    ASSERT_EQ(db.Delete(), 1);
  }
  DDB db(index.c_str(), user.c_str(), 1);
  EXPECT_EQ(Scan(db), (Names{"both=u", "shipped=changed", "gone=i:deleted"}));
  ASSERT_EQ(db.FindFirst("IndexName", "both"), 1);
  EXPECT_STREQ(db.GetStr("Expression0"), "u");
  EXPECT_EQ(db.FindFirst("IndexName", "gone"), 0);
  DB indexOnly(index.c_str(), 0);
  EXPECT_EQ(Scan(indexOnly), shipped);
}

TEST(IndexFiles, NamesLieBelowTheIndexDirectoryAndOnlyKnownKindsGetTables) {
  std::string dir = TestDir();
  SetIndexDir(dir.substr(0, dir.size() - 1).c_str());  // without the slash
  EXPECT_EQ(getIndexDBFileName(4).str() + " " + getUserDBFileName(4).str() + " " + getIndexDBExt(4).str(),
            dir + "Function.fnc " + dir + "UserFunction.fnc .fnc");
  EXPECT_EQ(getIndexDBFileName(30).str(), dir + "Indicator.idx");  // an unknown kind
  EXPECT_EQ(FileExist(dir.c_str()), 0);                            // a directory is no file
  EXPECT_EQ((Results{CreateIndexDB(4, (dir + "f.fnc").c_str()), CreateIndexDB(5, (dir + "x.idx").c_str())}),
            (Results{1, 0}));
  EXPECT_EQ(DB((dir + "f.fnc").c_str(), 0).FindField("Expression0")->width, kMaxExpression - 1);
  SetIndexDir("./");
}

}  // namespace
