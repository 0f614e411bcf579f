// Table database files: the usage patterns of definitions and reports, the
// two-file tables, damaged files and the sqlite3 tool reading our files (and
// we reading its rows).
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <thread>
#include <vector>

#include "StorageTestUtil.h"

using namespace chartcalc::detail;

namespace {

// A report-style table: a key field and two texts, one narrow.
std::string MakeTable(const std::string& path) {
  DB db(0);
  EXPECT_EQ(db.CreateDB(path.c_str()), 1);
  db.ClearField();
  EXPECT_EQ(db.InsertField("IndexName", 'c', 50), 1);
  EXPECT_EQ(db.InsertField("Expression0", 'c', 200), 1);
  EXPECT_EQ(db.InsertField("Short", 'c', 5), 1);
  EXPECT_EQ(db.WriteHead(), 1);
  EXPECT_EQ(db.WriteField(), 1);
  EXPECT_EQ(db.WriteEof(), 1);
  return path;
}

void AddRecord(const std::string& path, const std::string& name, const std::string& expr) {
  DB db(path.c_str(), 0);
  ASSERT_EQ(db.Append(name.c_str()), 1);
  db.InsField("Expression0", expr.c_str());
  db.InsField("IndexName", name.c_str());
  ASSERT_EQ(db.WriteRecord(), 1);
}

// name:deleted for every record, in scan order.
std::vector<std::string> Scan(DB& db) {
  std::vector<std::string> seen;
  for (db.MoveFirst(1); !db.Eof(); db.MoveNext(1))
    seen.push_back(std::string(db.GetStr("IndexName")) + (db.Deleted() ? ":deleted" : ""));
  return seen;
}

std::vector<std::string> Scan(DDB& db) {
  std::vector<std::string> seen;
  for (db.MoveFirst(1); !db.Eof(); db.MoveNext(1))
    seen.push_back(std::string(db.GetStr("IndexName")) + "=" + db.GetStr("Expression0") +
                   (db.Deleted() ? ":deleted" : ""));
  return seen;
}

TEST(TableDb, CreatedTableKeepsItsDeclaredFieldsInOrder) {
  std::string path = MakeTable(TestDir() + "t.rpt");
  DB db(path.c_str(), 0);
  ASSERT_EQ(db.GetFieldCount(), 3);
  EXPECT_EQ(db.GetField(0)->name, "IndexName");
  EXPECT_EQ(db.GetField(1)->width, 200);
  EXPECT_EQ(db.GetField(2)->type, 'c');
  EXPECT_EQ(db.GetField(3), nullptr);
  EXPECT_EQ(db.MoveFirst(1), 0);
  EXPECT_EQ(db.Eof(), 1);
}

TEST(TableDb, BadDeclarationsAreRefused) {
  DB db(0);
  db.CreateDB((TestDir() + "t.rpt").c_str());
  EXPECT_EQ(db.InsertField("A", 'c', 10), 1);
  EXPECT_EQ(db.InsertField("a", 'c', 10), 0);  // same column for SQLite
  EXPECT_EQ(db.InsertField("_deleted", 'c', 10), 0);
  EXPECT_EQ(db.InsertField("", 'c', 10), 0);
  EXPECT_EQ(db.InsertField("W", 'c', 0), 0);
  EXPECT_EQ(db.InsertField("W", 'c', kMaxDbFieldWidth + 1), 0);
  EXPECT_EQ(db.InsertField("Q\"uote", 'c', 10), 1);  // quoted, never pasted into SQL
  EXPECT_EQ(db.WriteEof(), 1);
  EXPECT_EQ(db.GetFieldCount(), 2);
}

TEST(TableDb, AppendedRecordsScanInInsertionOrder) {
  std::string path = MakeTable(TestDir() + "t.rpt");
  for (const char* name : {"zeta", "alpha", "mid"}) AddRecord(path, name, std::string("x+") + name);
  DB db(path.c_str(), 0);
  EXPECT_EQ(Scan(db), (std::vector<std::string>{"zeta", "alpha", "mid"}));
  ASSERT_EQ(db.FindFirst("IndexName", "alpha"), 1);
  EXPECT_STREQ(db.GetStr("Expression0"), "x+alpha");
  EXPECT_STREQ(db.GetStr("expression0"), "x+alpha");  // field names ignore case
  EXPECT_EQ(db.FindFirst("IndexName", "ALPHA"), 0);   // values do not
}

TEST(TableDb, FindFirstThenWriteRecordRewritesInPlace) {
  std::string path = MakeTable(TestDir() + "t.rpt");
  AddRecord(path, "a", "1");
  AddRecord(path, "b", "2");
  {
    DB db(path.c_str(), 0);
    ASSERT_EQ(db.FindFirst("IndexName", "a"), 1);
    db.InsField("Expression0", "changed");
    ASSERT_EQ(db.WriteRecord(), 1);
    ASSERT_EQ(db.WriteRecord(), 1);  // still the same record, not a new one
  }
  DB db(path.c_str(), 0);
  EXPECT_EQ(Scan(db), (std::vector<std::string>{"a", "b"}));
  db.FindFirst("IndexName", "a");
  EXPECT_STREQ(db.GetStr("Expression0"), "changed");
}

TEST(TableDb, UndeclaredFieldReadsEmptyAndIsNotWritten) {
  std::string path = MakeTable(TestDir() + "t.rpt");
  AddRecord(path, "a", "1");
  DB db(path.c_str(), 0);
  db.FindFirst("IndexName", "a");
  ASSERT_NE(db.GetStr("LogY"), nullptr);
  EXPECT_STREQ(db.GetStr("LogY"), "");
  EXPECT_EQ(db.InsField("LogY", "1"), 0);
  EXPECT_EQ(db.FindFirst("LogY", ""), 0);
  EXPECT_STREQ(db.GetStr("IndexName"), "");  // no current record after a failed find
}

TEST(TableDb, DeletedRecordIsVisitedByScanButNotFound) {
  std::string path = MakeTable(TestDir() + "t.rpt");
  AddRecord(path, "a", "1");
  AddRecord(path, "b", "2");
  AddRecord(path, "a", "3");
  {
    DB db(path.c_str(), 0);
    ASSERT_EQ(db.FindFirst("IndexName", "a"), 1);
    ASSERT_EQ(db.Delete(), 1);
  }
  DB db(path.c_str(), 0);
  EXPECT_EQ(Scan(db), (std::vector<std::string>{"a:deleted", "b", "a"}));
  ASSERT_EQ(db.FindFirst("IndexName", "a"), 1);
  EXPECT_STREQ(db.GetStr("Expression0"), "3");
  EXPECT_EQ(db.FindNext("IndexName", "a"), 0);
}

TEST(TableDb, ValueLongerThanItsWidthIsCutAtACharacterBoundary) {
  std::string path = MakeTable(TestDir() + "t.rpt");
  DB db(path.c_str(), 0);
  std::string threeSyllables = Ko("가나다");  // 6 bytes
  struct Case {
    std::string value, stored;
  };
  const Case cases[] = {
      {"abcdefg", "abcde"}, {"abc", "abc"}, {threeSyllables, Ko("가나")}, {"a" + Ko("가나"), "a" + Ko("가나")}};
  for (const Case& c : cases) {
    db.Append("k");
    db.InsField("Short", c.value.c_str());
    ASSERT_EQ(db.WriteRecord(), 1);
    EXPECT_EQ(std::string(db.GetStr("Short")), c.stored);
  }
  std::vector<std::string> stored;
  for (db.MoveFirst(1); !db.Eof(); db.MoveNext(1)) stored.push_back(db.GetStr("Short"));
  ASSERT_EQ(stored.size(), 4u);
  for (size_t i = 0; i < 4; ++i) EXPECT_EQ(stored[i], cases[i].stored);
}

TEST(TableDb, Cp949TextsComeBackByteExact) {
  std::string path = MakeTable(TestDir() + "t.rpt");
  const std::string texts[] = {Ko("이동평균"), std::string("\x80\xFF\xA1", 3), std::string("\xC7", 1), "plain"};
  for (const std::string& t : texts) AddRecord(path, "k", t);
  DB db(path.c_str(), 0);
  size_t i = 0;
  for (db.MoveFirst(1); !db.Eof(); db.MoveNext(1)) EXPECT_EQ(std::string(db.GetStr("Expression0")), texts[i++]);
  EXPECT_EQ(i, 4u);
  ASSERT_EQ(db.FindFirst("Expression0", std::string("\x80\xFF\xA1", 3).c_str()), 1);
  EXPECT_EQ(db.FindFirst("Expression0", Ko("이동평균").c_str()), 1);
}

TEST(TableDb, WrittenRecordSurvivesACrashRightAfterWriteRecord) {
  std::string path = MakeTable(TestDir() + "t.rpt");
  pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    DB* db = new DB(path.c_str(), 0);  // never closed: the process dies
    for (int i = 0; i < 3; ++i) {
      db->Append(("r" + std::to_string(i)).c_str());
      if (!db->WriteRecord()) _exit(1);
    }
    _exit(0);
  }
  int status = 0;
  waitpid(child, &status, 0);
  ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  DB db(path.c_str(), 0);
  EXPECT_EQ(Scan(db), (std::vector<std::string>{"r0", "r1", "r2"}));
}

TEST(TableDb, CopyContinuesFromTheSameRecord) {
  std::string path = MakeTable(TestDir() + "t.rpt");
  for (const char* n : {"a", "b", "c"}) AddRecord(path, n, n);
  DB db(path.c_str(), 0);
  db.MoveFirst(1);
  db.MoveNext(1);
  DB copy = db;
  EXPECT_STREQ(copy.GetStr("IndexName"), "b");
  copy.MoveNext(1);
  EXPECT_STREQ(copy.GetStr("IndexName"), "c");
  EXPECT_STREQ(db.GetStr("IndexName"), "b");
}

TEST(TableDb, CreateReplacesAnExistingFileAndLeavesNoStrayFile) {
  std::string dir = TestDir();
  std::string path = MakeTable(dir + "Rpt/t.rpt");  // the directory is made
  AddRecord(path, "old", "1");
  MakeTable(path);
  DB db(path.c_str(), 0);
  EXPECT_TRUE(Scan(db).empty());
  db.Close();
  EXPECT_EQ(Listing(dir + "Rpt"), "t.rpt ");
}

// Files that are not table files of ours: each is refused whole, and left as
// it was.
TEST(TableDb, DamagedOrForeignFilesAreRefusedAndLeftUntouched) {
  std::string dir = TestDir();
  std::string good = ReadBytes(MakeTable(dir + "good.rpt"));
  ASSERT_GT(good.size(), 1000u);
  struct Case {
    const char* name;
    std::string bytes;
  };
  std::vector<Case> cases = {
      {"empty", ""},
      {"garbage", std::string(5000, '\x5A')},
      {"text", "[Section]\nkey=value\n"},
      {"truncated", good.substr(0, good.size() / 2)},
      {"header-only", good.substr(0, 100)},
  };
  for (const Case& c : cases) WriteBytes(dir + c.name, c.bytes);
  auto sqlOnly = [&](const char* name, const std::string& sql) {
    if (HaveSqlite3()) Sqlite3(dir + name, sql);
    cases.push_back({name, ReadBytes(dir + name)});
  };
  sqlOnly("no-tables", "CREATE TABLE other(x);");
  sqlOnly("wrong-columns",
          "CREATE TABLE fields(position INTEGER PRIMARY KEY, name TEXT, type TEXT, width INTEGER);"
          "INSERT INTO fields VALUES(0,'A','c',10);INSERT INTO fields VALUES(1,'B','c',10);"
          "CREATE TABLE records(A TEXT, _deleted INTEGER);INSERT INTO records VALUES('x',0);");
  sqlOnly("bad-width",
          "CREATE TABLE fields(position INTEGER PRIMARY KEY, name TEXT, type TEXT, width INTEGER);"
          "INSERT INTO fields VALUES(0,'A','c',-1);CREATE TABLE records(A TEXT, _deleted INTEGER);");
  sqlOnly("records-view",
          "CREATE TABLE fields(position INTEGER PRIMARY KEY, name TEXT, type TEXT, width INTEGER);"
          "INSERT INTO fields VALUES(0,'A','c',10);"
          "CREATE VIEW records AS WITH RECURSIVE c(A, _deleted) AS (SELECT 1, 0 UNION ALL SELECT A+1, 0 FROM c) "
          "SELECT * FROM c;");
  for (const Case& c : cases) {
    std::string path = dir + c.name;
    DB db(path.c_str(), 0);
    EXPECT_EQ(db.IsOpen(), 0) << c.name;
    EXPECT_EQ(db.MoveFirst(1), 0) << c.name;
    EXPECT_EQ(db.Eof(), 1) << c.name;
    EXPECT_EQ(db.FindFirst("A", "x"), 0) << c.name;
    EXPECT_EQ(db.Append("k"), 0) << c.name;
    EXPECT_EQ(db.WriteRecord(), 0) << c.name;
    db.Close();
    EXPECT_EQ(ReadBytes(path), c.bytes) << c.name;
  }
  DB missing((dir + "missing.rpt").c_str(), 0);
  EXPECT_EQ(missing.MoveFirst(1), 0);
  EXPECT_EQ(missing.Append("k"), 0);
  EXPECT_EQ(FileExist((dir + "missing.rpt").c_str()), 0);
}

TEST(TableDb, LockedFileFailsInsteadOfWaitingForever) {
  if (!HaveSqlite3()) GTEST_SKIP() << "sqlite3 is not installed";
  std::string dir = TestDir();
  std::string path = MakeTable(dir + "t.rpt");
  AddRecord(path, "kept", "1");
  // Another program holds the file exclusively for a few seconds.
  WriteBytes(dir + "lock.sql", "BEGIN EXCLUSIVE;\nUPDATE records SET Short='x';\n.shell touch '" + dir +
                                   "locked'\n.shell sleep 3\nROLLBACK;\n.shell touch '" + dir + "done'\n");
  std::string cmd = "sqlite3 '" + path + "' < '" + dir + "lock.sql' > /dev/null 2>&1 &";
  ASSERT_EQ(std::system(cmd.c_str()), 0);
  for (int i = 0; i < 100 && !FileExist((dir + "locked").c_str()); ++i)
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  ASSERT_EQ(FileExist((dir + "locked").c_str()), 1);
  auto start = std::chrono::steady_clock::now();
  DB db(path.c_str(), 0);
  EXPECT_EQ(db.FindFirst("IndexName", "kept"), 0);
  EXPECT_EQ(db.Append("new"), 0);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(3));
  db.Close();
  for (int i = 0; i < 200 && !FileExist((dir + "done").c_str()); ++i)  // the other program ends
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  DB after(path.c_str(), 0);
  EXPECT_EQ(Scan(after), (std::vector<std::string>{"kept"}));
}

TEST(TableDbInterop, Sqlite3ReadsOurColumnsAndKoreanText) {
  if (!HaveSqlite3()) GTEST_SKIP() << "sqlite3 is not installed";
  std::string path = MakeTable(TestDir() + "t.rpt");
  AddRecord(path, Ko("이동평균"), "avg(close, 5)");
  AddRecord(path, "raw", std::string("\x80\x81", 2));
  EXPECT_EQ(Sqlite3(path, "SELECT name, type, width FROM fields ORDER BY position;"),
            "IndexName|c|50\nExpression0|c|200\nShort|c|5\n");
  EXPECT_EQ(Sqlite3(path, "SELECT name FROM pragma_table_info('records');"),
            "IndexName\nExpression0\nShort\n_deleted\n");
  EXPECT_EQ(Sqlite3(path, "SELECT IndexName, typeof(IndexName), Expression0, _deleted FROM records ORDER BY rowid;"),
            "이동평균|text|avg(close, 5)|0\nraw|text|\x80\x81|0\n");
  EXPECT_EQ(Sqlite3(path, "SELECT typeof(Expression0) FROM records ORDER BY rowid;"), "text\nblob\n");
}

TEST(TableDbInterop, RowsInsertedBySqlite3AreReadBack) {
  if (!HaveSqlite3()) GTEST_SKIP() << "sqlite3 is not installed";
  std::string path = MakeTable(TestDir() + "t.rpt");
  AddRecord(path, "ours", "1");
  ASSERT_EQ(Sqlite3(path,
                    "INSERT INTO records(IndexName, Expression0) VALUES('종가평균', 'avg(close, 20)');"
                    "INSERT INTO records(IndexName, Short) VALUES('long', 'abcdefghij');"
                    "INSERT INTO records(IndexName, Expression0, _deleted) VALUES('gone', '', 1);"),
            "");
  DB db(path.c_str(), 0);
  EXPECT_EQ(Scan(db), (std::vector<std::string>{"ours", Ko("종가평균"), "long", "gone:deleted"}));
  ASSERT_EQ(db.FindFirst("IndexName", Ko("종가평균").c_str()), 1);
  EXPECT_STREQ(db.GetStr("Expression0"), "avg(close, 20)");
  db.FindFirst("IndexName", "long");
  EXPECT_STREQ(db.GetStr("Short"), "abcde");  // read no longer than its width
  EXPECT_EQ(db.FindFirst("IndexName", "gone"), 0);
}

TEST(TableDbInterop, HugeValueWrittenBySqlite3HidesNoOtherRecord) {
  if (!HaveSqlite3()) GTEST_SKIP() << "sqlite3 is not installed";
  std::string path = MakeTable(TestDir() + "t.rpt");
  for (const char* n : {"a", "b", "c", "d"}) AddRecord(path, n, n);
  Sqlite3(path,
          "UPDATE records SET Expression0 = zeroblob(3000000) WHERE IndexName = 'a';"
          "UPDATE records SET Short = hex(zeroblob(300000)) WHERE IndexName = 'c';");
  DB db(path.c_str(), 0);
  EXPECT_EQ(Scan(db), (std::vector<std::string>{"b", "c", "d"}));  // a cannot be read within the size limit
  ASSERT_EQ(db.FindFirst("IndexName", "c"), 1);
  EXPECT_STREQ(db.GetStr("Short"), "00000");
}

// ---- two-file tables ----------------------------------------------------------

struct Pair {
  std::string index, user;
};

Pair MakePair(const std::string& dir) {
  Pair p{MakeTable(dir + "Function.fnc"), dir + "UserFunction.fnc"};
  AddRecord(p.index, "shipped", "s1");
  AddRecord(p.index, "both", "from index");
  return p;
}

TEST(TableDbPair, UserFileIsCreatedOnFirstWriteAndSearchedFirst) {
  Pair p = MakePair(TestDir());
  {
    DDB db(p.index.c_str(), p.user.c_str(), 1);
    EXPECT_EQ(FileExist(p.user.c_str()), 0);
    EXPECT_EQ(Scan(db), (std::vector<std::string>{"shipped=s1", "both=from index"}));
    EXPECT_EQ(FileExist(p.user.c_str()), 0);  // reading creates nothing
    ASSERT_EQ(db.Append("both"), 1);
    db.InsField("Expression0", "from user");
    ASSERT_EQ(db.WriteRecord(), 1);
  }
  DDB db(p.index.c_str(), p.user.c_str(), 1);
  EXPECT_EQ(Scan(db), (std::vector<std::string>{"both=from user", "shipped=s1"}));
  ASSERT_EQ(db.FindFirst("IndexName", "both"), 1);
  EXPECT_STREQ(db.GetStr("Expression0"), "from user");
  DB index(p.index.c_str(), 0);
  EXPECT_EQ(Scan(index), (std::vector<std::string>{"shipped", "both"}));  // shipped file unchanged
}

TEST(TableDbPair, RewritingOrDeletingAShippedRecordWritesACopyToTheUserFile) {
  Pair p = MakePair(TestDir());
  DDB db(p.index.c_str(), p.user.c_str(), 1);
  ASSERT_EQ(db.FindFirst("IndexName", "shipped"), 1);
  db.InsField("Expression0", "s2");
  ASSERT_EQ(db.WriteRecord(), 1);
  ASSERT_EQ(db.FindFirst("IndexName", "both"), 1);
  ASSERT_EQ(db.Delete(), 1);
  EXPECT_EQ(Scan(db), (std::vector<std::string>{"shipped=s2", "both=from index:deleted"}));
  EXPECT_EQ(db.FindFirst("IndexName", "both"), 0);
  DB index(p.index.c_str(), 0);
  EXPECT_EQ(Scan(index), (std::vector<std::string>{"shipped", "both"}));
}

TEST(TableDbPair, EmptyUserNameWritesTheIndexFile) {
  Pair p = MakePair(TestDir());
  DDB db(p.index.c_str(), "", 1);
  ASSERT_EQ(db.Append("new"), 1);
  ASSERT_EQ(db.WriteRecord(), 1);
  DB index(p.index.c_str(), 0);
  EXPECT_EQ(Scan(index), (std::vector<std::string>{"shipped", "both", "new"}));
}

TEST(TableDbPair, SetExtensionAppliesToBothFiles) {
  std::string dir = TestDir();
  MakeTable(dir + "a.idx");
  DDB db((dir + "a.xyz").c_str(), (dir + "b").c_str(), 1);
  db.SetExtension("idx");
  EXPECT_EQ(db.IndexFileName(), dir + "a.idx");
  EXPECT_EQ(db.UserFileName(), dir + "b.idx");
  ASSERT_EQ(db.Append("k"), 1);
  ASSERT_EQ(db.WriteRecord(), 1);
  EXPECT_EQ(FileExist((dir + "b.idx").c_str()), 1);
}

TEST(TableDbPair, NoFilesMeansNothingFoundAndNothingWritten) {
  std::string dir = TestDir();
  DDB db((dir + "i.fnc").c_str(), (dir + "u.fnc").c_str(), 1);
  EXPECT_EQ(db.MoveFirst(1), 0);
  EXPECT_EQ(db.Eof(), 1);
  EXPECT_STREQ(db.GetStr("IndexName"), "");
  EXPECT_EQ(db.Append("k"), 0);
  EXPECT_EQ(db.WriteRecord(), 0);
  EXPECT_EQ(Listing(dir), "");
}

TEST(IndexFiles, NamesLieBelowTheIndexDirectory) {
  std::string dir = TestDir();
  SetIndexDir(dir.substr(0, dir.size() - 1).c_str());  // without the slash
  EXPECT_EQ(getIndexDir().str(), dir);
  EXPECT_EQ(getIndexDBFileName(4).str(), dir + "Function.fnc");
  EXPECT_EQ(getUserDBFileName(4).str(), dir + "UserFunction.fnc");
  EXPECT_STREQ(getIndexDBExt(4).c_str(), ".fnc");
  EXPECT_EQ(getIndexDBFileName(30).str(), dir + "Indicator.idx");
  EXPECT_EQ(FileExist(dir.c_str()), 0);  // a directory is no file
  ASSERT_EQ(CreateIndexDB(4, getIndexDBFileName(4).c_str()), 1);
  DB db(getIndexDBFileName(4).c_str(), 0);
  EXPECT_EQ(db.GetField(0)->name, "IndexName");
  EXPECT_NE(db.FindField("VarName9"), nullptr);
  EXPECT_EQ(db.FindField("Expression0")->width, kMaxExpression - 1);
  ASSERT_EQ(CreateIndexDB(0, (dir + "i.idx").c_str()), 1);
  DB indicators((dir + "i.idx").c_str(), 0);
  EXPECT_NE(indicators.FindField("LineCompMethod4"), nullptr);
  EXPECT_EQ(CreateIndexDB(5, (dir + "x.idx").c_str()), 0);
  SetIndexDir("./");
}

}  // namespace
