// The storage formats: the keyed archive (values by category and key, files
// saved whole, damaged files refused) and the index-checked containers beside
// it; INI documents in memory and on disk and the memory file they travel in;
// table database files (the usage patterns of definitions and reports, the
// two-file tables, damaged files, and the sqlite3 tool reading our files and
// we reading its rows).
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <climits>
#include <cmath>
#include <thread>

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

// ---- the keyed archive -------------------------------------------------------

// Values come back as the type asked for, or as the default.
TEST(CFBArchive, SaveReplacesTheWholeFileAndLoadGivesBackEveryTypeAsTheTypeAskedFor) {
  std::string dir = TestDir(), path = dir + "chart.doc";
  CFBArchive a, b;
  a.SetCategory("Chart");
  a.SetInt("Old", 1);
  ASSERT_EQ(a.SaveFile(path.c_str()), 1);
  a.Clear();
  a.SetCategory(Cp949("한글범주").c_str());
  a.SetStr(Cp949("키").c_str(), Cp949("종가 차트").c_str());
  a.SetCategory("Chart");
  a.SetInt("Negative", INT_MIN);
  for (auto [key, v] :
       {std::pair{"Ratio", 0.1}, {"Nan", NAN}, {"Inf", -INFINITY}, {"Almost", 1.9999999}, {"Huge", 1e300}})
    a.SetDbl(key, v);
  for (auto [key, v] : {std::pair{"Raw", "\x80\xFF"}, {"Text", "12.5"}, {"Word", "abc"}}) a.SetStr(key, v);
  ASSERT_EQ(a.SaveFile(path.c_str()), 1);
  EXPECT_EQ(Listing(dir), "chart.doc ");
  ASSERT_EQ(b.LoadFile(path.c_str()), 1);
  EXPECT_EQ(b.GetEntryCount(), 10);
  b.SetCategory("Chart");
  EXPECT_EQ(b.HasKey("Old"), 0);
  EXPECT_EQ(
      (std::vector<int>{b.GetInt("Negative", 0), b.GetInt("Almost", 0), b.GetInt("Huge", 0), b.GetInt("Word", 9)}),
      (std::vector<int>{INT_MIN, 2, INT_MAX, 9}));
  EXPECT_EQ((std::vector<double>{b.GetDbl("Ratio", 0), b.GetDbl("Inf", 0), b.GetDbl("Negative", 0), b.GetDbl("Text", 0),
                                 b.GetDbl("Missing", 2.5)}),
            (std::vector<double>{0.1, -INFINITY, INT_MIN, 12.5, 2.5}));
  EXPECT_TRUE(std::isnan(b.GetDbl("Nan", 0)));
  EXPECT_EQ(b.GetStr("Raw", "").str() + "|" + b.GetStr("Almost", "").str() + "|" + b.GetStr("Negative", "").str() +
                "|" + b.GetStr("Missing", "d").str(),
            "\x80\xFF|2|-2147483648|d");
  b.SetCategory(Cp949("한글범주").c_str());
  EXPECT_EQ(b.GetStr(Cp949("키").c_str(), "").str(), Cp949("종가 차트"));
}

// Every writer builds its file aside and renames it over the target; a pipe
// or a directory there (or /dev/null) must stay what it is.
TEST(WholeFileWriters, NeverReplaceAPipeOrADirectory) {
  const std::string dir = TestDir(), pipe = dir + "pipe", folder = dir + "folder";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  std::filesystem::create_directory(folder);
  CFBArchive a;
  a.SetCategory("C");
  a.SetInt("K", 1);
  CIniMemFile ini;
  ini.WriteInt("S", "K", 1);
  DB table(0);
  for (const std::string& target : {pipe, folder}) {
    EXPECT_EQ(a.SaveFile(target.c_str()), 0) << target;
    EXPECT_EQ(ini.SaveIniFile(target.c_str()), 0) << target;
    table.CreateDB(target.c_str());
    table.InsertField("A", 'c', 5);
    EXPECT_EQ(table.WriteEof(), 0) << target;
  }
  EXPECT_TRUE(std::filesystem::is_fifo(pipe));
  EXPECT_TRUE(std::filesystem::is_directory(folder));
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir), {}), 2);  // no stray file aside
}

TEST(CFBArchive, Sqlite3ReadsOurEntriesAndWeSkipTypesWeDoNotKnow) {
  if (!HaveSqlite3()) GTEST_SKIP() << "sqlite3 is not installed";
  std::string path = TestDir() + "a.doc";
  CFBArchive a, b;
  a.SetCategory("Simulation");
  a.SetDbl("JumpValue", 100.5);
  a.SetStr("SymbolName", Cp949("삼성").c_str());
  ASSERT_EQ(a.SaveFile(path.c_str()), 1);
  EXPECT_EQ(Sqlite3(path, "SELECT category, key, type, value FROM entries ORDER BY key;"),
            "Simulation|JumpValue|double|100.5\nSimulation|SymbolName|string|삼성\n");
  Sqlite3(path, "INSERT INTO entries VALUES('Simulation', 'JumpMode', 'int', 1.0), ('Simulation', 'Odd', 'x', 1);");
  ASSERT_EQ(b.LoadFile(path.c_str()), 1);
  b.SetCategory("Simulation");
  EXPECT_EQ(std::pair(b.GetInt("JumpMode", 0), b.HasKey("Odd")), std::pair(1, 0));
}

TEST(Containers, IndicesOutsideTheListChangeNothing) {
  CFBArchive a, b;
  CFBArchiveArray arr, copy;
  arr.Add(&a);
  arr.InsertAt(0, &b);
  arr[7] = &a;  // dropped
  arr.RemoveAt(-1);
  arr.InsertAt(9, &a);
  copy.Copy(arr);
  arr.RemoveAt(0);
  EXPECT_EQ(std::tuple(copy.GetSize(), arr.GetSize(), arr[0], arr.GetAt(5)), std::tuple(2, 1, &a, nullptr));
  SAnsiStringList list;
  list.Add("one");
  list[5] = "outside";
  EXPECT_EQ(std::to_string(list.Count()) + list[-1].str() + std::as_const(list)[2].str() + std::as_const(list)[0].str(),
            "1one");
}

// ---- INI documents -----------------------------------------------------------

// Values with outer blanks, a leading quote or control characters are
// written quoted, with backslash escapes.
TEST(CIniMemFile, TextIsPlainKeyValueLinesQuotedWhereNeededAndUnwritableNamesAreRefused) {
  const std::string values[] = {" leading", "trailing ", "two\nlines\r\n", "\"quoted\"", "back\\slash", "", "a=b"};
  CIniMemFile doc, back;
  doc.WriteInt("A", "x", 1);
  doc.WriteDouble("A", "y", 0.25, 0);
  doc.WriteInt("a", "X", 2);  // the same section and key
  for (auto [section, key] :
       {std::pair{"S", "a=b"}, {"S", " padded"}, {"S", "[x"}, {"S", ""}, {"S]", "k"}, {"S\n", "k"}})
    EXPECT_EQ(doc.WriteString(section, key, "v"), 0) << section << key;
  EXPECT_EQ(doc.GetText(), "[A]\nx=2\ny=0.25\n");
  for (size_t i = 0; i < std::size(values); ++i) doc.WriteString("Q", std::to_string(i).c_str(), values[i].c_str());
  back.SetText(doc.GetText());
  for (size_t i = 0; i < std::size(values); ++i)
    EXPECT_EQ(back.GetString("Q", std::to_string(i).c_str(), "?").str(), values[i]) << i;
  EXPECT_NE(doc.GetText().find("\n2=\"two\\nlines\\r\\n\"\n"), std::string::npos);
  EXPECT_NE(doc.GetText().find("\n6=a=b\n"), std::string::npos);
}

TEST(CIniMemFile, ForeignTextIsReadLenientlyItsOtherLinesKeptAndGarbageIsHarmless) {
  CIniMemFile doc, garbage, again;
  doc.SetText(
      "top=1\r\n; a comment\r\n  [ Main ]  \r\n  key  =  spaced value  \r\nkey=second\r\n"
      "no equals sign\r\n=novalue\r\n[broken\r\n# hash\r\n[Other]\r\nn=5\r\n");
  EXPECT_EQ(std::tuple(doc.GetInt("", "top", 0), doc.GetString("main", "KEY", "").str(), doc.GetInt("Other", "n", 0)),
            std::tuple(1u, "spaced value", 5u));  // of two equal keys the first one counts
  EXPECT_EQ(doc.GetText(),
            "top=1\n; a comment\n\n[Main]\nkey=spaced value\nkey=second\nno equals sign\n=novalue\n[broken\n"
            "# hash\n\n[Other]\nn=5\n");
  std::string bytes;
  for (int i = 0; i < 20000; ++i) bytes += static_cast<char>((i * 7919) % 256);
  garbage.SetText(bytes);
  again.SetText(garbage.GetText());
  EXPECT_EQ(again.GetText(), garbage.GetText());
}

// Files are read as UTF-8 (with or without a byte order mark) or code page
// 949, and saved as UTF-8 when the text converts cleanly, else as bytes.
TEST(CIniMemFile, ValuesRoundTripThroughFilesOfBothEncodingsAndTheMemoryFile) {
  std::string dir = TestDir(), section = Cp949("알람설정"), key = Cp949("개수");
  WriteBytes(dir + "utf8.ini", "\xEF\xBB\xBF[알람설정]\n개수=3\n");
  WriteBytes(dir + "cp949.ini", Cp949("[알람설정]\n개수=4\n"));
  CIniMemFile utf8((dir + "utf8.ini").c_str(), 1), doc((dir + "cp949.ini").c_str(), 1), fromMem;
  CMemFile mem;
  ASSERT_EQ(doc.SaveIniFile((dir + "saved.ini").c_str()), 1);
  EXPECT_EQ(std::pair(utf8.GetInt(section.c_str(), key.c_str(), 0), ReadBytes(dir + "saved.ini")),
            std::pair(3u, std::string("[알람설정]\n개수=4\n")));
  doc.WriteDouble("Sim", "Big", 1234567.891, 0);
  doc.WriteString("S", "raw", "\x80\x80");  // no code page 949 text: the file keeps the bytes
  ASSERT_EQ(doc.SaveIniFile((dir + "saved.ini").c_str()), 1);
  EXPECT_EQ(doc.IsModified(), 1);  // saved elsewhere than its own file
  ASSERT_EQ(CIniMemFile((dir + "saved.ini").c_str(), 0).GetMemFile(&mem), 1);
  ASSERT_EQ(fromMem.LoadIniFile(&mem, 1), 1);
  EXPECT_EQ(std::tuple(fromMem.GetDouble("sim", "BIG", 0), fromMem.GetString("S", "raw", "").str(),
                       fromMem.GetString(section.c_str(), key.c_str(), "").str()),
            std::tuple(1234567.891, "\x80\x80", "4"));
}

TEST(CIniMemFile, BoundDocumentWritesItselfBackOnlyAfterAChangeAndNeverOverAnUnreadableFile) {
  std::string dir = TestDir(), path = dir + "alarmset.ini", huge = dir + "huge.ini";
  CIniMemFile(path.c_str(), 1);
  EXPECT_EQ(Listing(dir), "");                               // reading creates nothing
  CIniMemFile(path.c_str(), 1).WriteInt("0", "Price", 100);  // written back as it goes
  CIniMemFile(path.c_str(), 0).WriteInt("0", "Price", 5);    // unbound: never written
  CIniMemFile same(path.c_str(), 1);                         // writing the value it holds changes nothing
  EXPECT_EQ((Results{same.WriteInt("0", "Price", 100), same.IsModified()}), (Results{1, 0}));
  EXPECT_EQ(ReadBytes(path), "[0]\nPrice=100\n");
  WriteBytes(huge, "[S]\nk=1\n");
  std::filesystem::resize_file(huge, kMaxIniBytes + 1);  // sparse: costs no disk
  CIniMemFile(huge.c_str(), 1).WriteInt("S", "k", 2);
  EXPECT_EQ((std::tuple{CIniMemFile(huge.c_str(), 1).GetInt("S", "k", 7), CIniFile(huge.c_str()).WriteInt("S", "k", 3),
                        std::filesystem::file_size(huge), Listing(dir)}),
            std::tuple(7u, 0, kMaxIniBytes + 1, "alarmset.ini huge.ini "));
}

TEST(CIniFile, SingleValuesAreReadAndWrittenThroughTheFile) {
  std::string dir = TestDir();
  CIniFile ini((dir + "sim.ini").c_str()), unnamed;
  EXPECT_EQ(ini.GetDouble("Sim", "Slippage", 0.5), 0.5);
  EXPECT_EQ(Listing(dir), "");
  EXPECT_EQ((std::vector<int>{ini.WriteInt("Sim", "Position", 2), ini.WriteDouble("Sim", "Slippage", 0.05),
                              ini.WriteString("Sim", "Alarm", "ding.wav"), ini.WriteString("Sim", "a=b", "x"),
                              unnamed.WriteInt("S", "k", 1)}),
            (std::vector<int>{1, 1, 1, 0, 0}));
  CIniFile copy = ini;
  EXPECT_EQ(std::tuple(copy.GetDouble("Sim", "Slippage", 0), copy.GetInt("Sim", "Position", 0),
                       copy.GetString("Sim", "Alarm", "").str(), Listing(dir)),
            std::tuple(0.05, 2u, "ding.wav", "sim.ini "));
}

TEST(CMemFile, ReadsWritesAndSeeksWithinItsBytes) {
  CMemFile f;
  char buf[16] = {};
  f.Write("hello", 5);
  f.Seek(-2, CMemFile::end);
  f.Write("LO!", 3);
  f.SeekToBegin();
  EXPECT_EQ((std::vector<unsigned long long>{f.Read(buf, sizeof buf), f.Read(buf, sizeof buf),
                                             f.Seek(-100, CMemFile::current), f.Seek(100, CMemFile::begin)}),
            (std::vector<unsigned long long>{6, 0, 0, 6}));
  f.SetLength(2);
  EXPECT_EQ(std::tuple(std::string(buf), f.GetPosition(), std::string(f.Content())), std::tuple("helLO!", 2ull, "he"));
}

// ---- table files -------------------------------------------------------------

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
  EXPECT_EQ((std::tuple{back.GetFieldCount(), back.GetField(1)->name, back.GetField(1)->width, back.GetField(2),
                        back.MoveFirst(1), back.Eof(), Listing(dir + "Rpt")}),
            std::tuple(2, std::string("Q\"uote"), 200, nullptr, 0, 1, "t.rpt "));
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
    // Values, unlike field names, keep their case; an undeclared field is not written.
    EXPECT_EQ((Results{db.FindFirst("IndexName", "zeta"), db.Delete(), db.FindFirst("IndexName", "ALPHA"),
                       db.InsField("LogY", "1")}),
              (Results{1, 1, 0, 0}));
  }
  DB db(path.c_str(), 0);
  EXPECT_EQ(Scan(db), (Names{"zeta=1:deleted", "alpha=changed", "zeta=3"}));
  ASSERT_EQ(db.FindFirst("IndexName", "zeta"), 1);
  EXPECT_EQ(std::string(db.GetStr("Expression0")) + db.GetStr("LogY"), "3");
  // No current record after a failed find.
  EXPECT_EQ(
      (std::tuple{db.FindNext("IndexName", "zeta"), db.FindFirst("LogY", ""), std::string(db.GetStr("IndexName"))}),
      std::tuple(0, 0, ""));
  db.MoveFirst(1);
  db.MoveNext(1);
  DB copy = db;  // continues from the same record
  copy.MoveNext(1);
  EXPECT_EQ(std::string(copy.GetStr("IndexName")) + "," + db.GetStr("IndexName"), "zeta,alpha");
}

// "Short" is 5 bytes wide and a Korean syllable takes two.
TEST(TableDb, ValuesAreCutToTheirWidthBetweenCharactersAndComeBackByteExact) {
  std::string path = MakeTable(TestDir() + "t.rpt");
  const std::string bytes[] = {Cp949("이동평균"), std::string("\x80\xFF\xA1", 3), std::string("\xC7", 1)};
  const std::string cuts[] = {"abcdefg", Cp949("가나다"), "a" + Cp949("가나")};
  DB db(path.c_str(), 0);
  for (size_t i = 0; i < 3; ++i) ASSERT_EQ(Put(db, "k", bytes[i], cuts[i]), 1);
  EXPECT_EQ(Scan(db),
            (Names{"k=" + bytes[0] + "/abcde", "k=" + bytes[1] + "/" + Cp949("가나"), "k=\xC7/a" + Cp949("가나")}));
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

// Files that are not of the format asked for, or damaged: each is refused
// whole by the table and the archive alike and left as it was; a failed load
// keeps what the archive held.
TEST(DamagedFiles, AreRefusedByTableAndArchiveAndLeftUntouched) {
  std::string dir = TestDir(), table = ReadBytes(MakeTable(dir + "table"));
  CFBArchive a;
  a.SetCategory("C");
  a.SetInt("Kept", 1);
  ASSERT_EQ(a.SaveFile((dir + "archive").c_str()), 1);
  const std::string archive = ReadBytes(dir + "archive");
  // clang-format off
  std::vector<std::pair<std::string, std::string>> files = {
      {"empty", ""}, {"garbage", std::string(5000, 'Z')}, {"text", "[Section]\nkey=value\n"},
      {"truncated", table.substr(0, table.size() / 2)}, {"header-only", table.substr(0, 100)},
      {"cut-archive", archive.substr(0, archive.size() / 2)}};
  // clang-format on
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
  const std::string listing = Listing(dir);
  files.insert(files.end(), {{"missing", ""}, {"archive", archive}, {"table", table}});
  for (const auto& [name, bytes] : files) {
    if (name != "table") {
      DB db((dir + name).c_str(), 0);
      const Results got = {db.IsOpen(),    db.MoveFirst(1),  db.FindFirst("A", "x"),
                           db.Append("k"), db.WriteRecord(), db.Eof()};
      EXPECT_EQ(got, (Results{0, 0, 0, 0, 0, 1})) << name;
    }
    if (name != "archive") {
      EXPECT_EQ(a.LoadFile((dir + name).c_str()), 0) << name;
    }
    EXPECT_EQ(ReadBytes(dir + name), bytes) << name;
  }
  EXPECT_EQ(std::pair(Listing(dir), a.GetInt("Kept", 0)), std::pair(listing, 1));  // "missing" was not made
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
  AddRecord(path, Cp949("이동평균"), "avg(close, 5)");
  AddRecord(path, "raw", std::string("\x80\x81", 2));
  EXPECT_EQ(Sqlite3(path,
                    "SELECT name, type, width FROM fields ORDER BY position;"
                    "SELECT group_concat(name) FROM pragma_table_info('records');"
                    "SELECT IndexName, Expression0, typeof(Expression0), _deleted FROM records;"),
            "IndexName|c|50\nExpression0|c|200\nShort|c|5\nIndexName,Expression0,Short,_deleted\n"
            "이동평균|avg(close, 5)|text|0\nraw|\x80\x81|blob|0\n");
  Sqlite3(path,
          "INSERT INTO records VALUES('종가평균', 'avg(close, 20)', NULL, 0), ('huge', zeroblob(3000000), NULL, 0), "
          "('long', NULL, 'abcdefghij', 0), ('gone', NULL, NULL, 1), ('hex', NULL, hex(zeroblob(300000)), 0);");
  DB db(path.c_str(), 0);
  // A value too long for its field is read no longer than its width.
  EXPECT_EQ(Scan(db), (Names{Cp949("이동평균") + "=avg(close, 5)", "raw=\x80\x81",
                             Cp949("종가평균") + "=avg(close, 20)", "long=/abcde", "gone=:deleted", "hex=/00000"}));
}

// ---- two-file tables ----------------------------------------------------------

TEST(TableDbPair, UserFileIsCreatedOnFirstWriteSearchedFirstAndTheShippedFileNeverChanges) {
  std::string dir = TestDir(), index = MakeTable(dir + "Function.fnc"), user = dir + "UserFunction.fnc";
  for (const char* name : {"shipped", "both", "gone"}) AddRecord(index, name, "i");
  const Names shipped = {"shipped=i", "both=i", "gone=i"};
  {
    DDB db(index.c_str(), user.c_str(), 1);
    EXPECT_EQ(Scan(db), shipped);
    // Reading creates nothing; the fields are the index file's while there is no user file.
    EXPECT_EQ(std::pair(FileExist(user.c_str()), db.FindField("Short")->width), std::pair(0, 5));
    ASSERT_EQ(Put(db, "both", "u"), 1);
    ASSERT_EQ(db.FindFirst("IndexName", "shipped"), 1);
    db.InsField("Expression0", "changed");
    ASSERT_EQ(db.WriteRecord(), 1);
    EXPECT_EQ((Results{db.FindFirst("IndexName", "gone"), db.Delete()}), (Results{1, 1}));
  }
  DDB db(index.c_str(), user.c_str(), 1);
  EXPECT_EQ(Scan(db), (Names{"both=u", "shipped=changed", "gone=i:deleted"}));
  ASSERT_EQ(db.FindFirst("IndexName", "both"), 1);
  EXPECT_STREQ(db.GetStr("Expression0"), "u");
  EXPECT_EQ((std::pair{db.FindFirst("IndexName", "gone"), std::string(db.GetStr("IndexName"))}),
            std::pair(0, std::string()));
  DB indexOnly(index.c_str(), 0);
  EXPECT_EQ(Scan(indexOnly), shipped);
  DDB single(index.c_str(), "", 1);  // without a user file, writes go to the index file
  single.SetExtension("fnc");        // the dot is added
  EXPECT_EQ((Results{Put(single, "new", "x"), static_cast<int>(Scan(indexOnly).size())}), (Results{1, 4}));
}

TEST(IndexFiles, NamesLieBelowTheIndexDirectoryAndOnlyKnownKindsGetTables) {
  std::string dir = TestDir();
  SetIndexDir(dir.substr(0, dir.size() - 1).c_str());  // without the slash
  EXPECT_EQ(getIndexDBFileName(4).str() + " " + getUserDBFileName(4).str() + " " + getIndexDBExt(4).str(),
            dir + "Function.fnc " + dir + "UserFunction.fnc .fnc");
  EXPECT_EQ(getIndexDBFileName(30).str(), dir + "Indicator.idx");  // an unknown kind
  // A directory is no file; kind 5 has no table.
  EXPECT_EQ((Results{FileExist(dir.c_str()), CreateIndexDB(4, (dir + "f.fnc").c_str()),
                     CreateIndexDB(5, (dir + "x.idx").c_str())}),
            (Results{0, 1, 0}));
  EXPECT_EQ(DB((dir + "f.fnc").c_str(), 0).FindField("Expression0")->width, kMaxExpression - 1);
  SetIndexDir("./");
}

}  // namespace
