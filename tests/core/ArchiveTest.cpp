// The keyed archive: values by category and key, files saved whole, damaged
// files refused; and the index-checked containers beside it.
#include <sys/stat.h>

#include <climits>
#include <cmath>
#include <limits>

#include "StorageTestUtil.h"

namespace {

// Values come back as the type asked for, or as the default.
TEST(CFBArchive, SaveReplacesTheWholeFileAndLoadGivesBackEveryTypeAsTheTypeAskedFor) {
  const double inf = std::numeric_limits<double>::infinity();
  std::string dir = TestDir(), path = dir + "chart.doc";
  CFBArchive old, a, b;
  old.SetCategory("Chart");
  old.SetInt("Old", 1);
  ASSERT_EQ(old.SaveFile(path.c_str()), 1);
  a.SetCategory(Ko("한글범주").c_str());
  a.SetStr(Ko("키").c_str(), Ko("종가 차트").c_str());
  a.SetCategory("Chart");
  a.SetInt("Negative", INT_MIN);
  a.SetDbl("Ratio", 0.1);
  a.SetDbl("Nan", std::nan(""));
  a.SetDbl("Inf", -inf);
  a.SetStr("Raw", "\x80\xFF");
  a.SetDbl("JumpMode", 1.0);  // an int field written as a double
  a.SetDbl("Almost", 1.9999999);
  a.SetDbl("Huge", 1e300);
  a.SetStr("Text", "12.5");
  a.SetStr("Word", "abc");
  ASSERT_EQ(a.SaveFile(path.c_str()), 1);
  EXPECT_EQ(Listing(dir), "chart.doc ");
  ASSERT_EQ(b.LoadFile(path.c_str()), 1);
  EXPECT_EQ(b.GetEntryCount(), 11);
  b.SetCategory("Chart");
  EXPECT_EQ(b.HasKey("Old"), 0);
  EXPECT_EQ((std::vector<int>{b.GetInt("Negative", 0), b.GetInt("JumpMode", 0), b.GetInt("Almost", 0),
                              b.GetInt("Huge", 0), b.GetInt("Word", 9)}),
            (std::vector<int>{INT_MIN, 1, 2, INT_MAX, 9}));
  EXPECT_EQ((std::vector<double>{b.GetDbl("Ratio", 0), b.GetDbl("Inf", 0), b.GetDbl("Negative", 0), b.GetDbl("Text", 0),
                                 b.GetDbl("Missing", 2.5)}),
            (std::vector<double>{0.1, -inf, INT_MIN, 12.5, 2.5}));
  EXPECT_TRUE(std::isnan(b.GetDbl("Nan", 0)));
  EXPECT_EQ(b.GetStr("Raw", "").str() + "|" + b.GetStr("Almost", "").str() + "|" + b.GetStr("Negative", "").str() +
                "|" + b.GetStr("Missing", "d").str(),
            "\x80\xFF|2|-2147483648|d");
  b.SetCategory(Ko("한글범주").c_str());
  EXPECT_EQ(b.GetStr(Ko("키").c_str(), "").str(), Ko("종가 차트"));
}

TEST(CFBArchive, FailedLoadKeepsWhatTheArchiveHeldAndTheFileAsItWas) {
  std::string dir = TestDir();
  CFBArchive a;
  a.SetCategory("C");
  a.SetInt("Kept", 1);
  a.SaveFile((dir + "good.doc").c_str());
  std::string good = ReadBytes(dir + "good.doc");
  DB table(0);  // a table file is no archive either
  table.CreateDB((dir + "table.rpt").c_str());
  table.InsertField("A", 'c', 5);
  table.WriteEof();
  const std::pair<const char*, std::string> files[] = {{"empty", ""},
                                                       {"garbage", std::string(3000, 'g')},
                                                       {"truncated", good.substr(0, good.size() / 2)},
                                                       {"table.rpt", ReadBytes(dir + "table.rpt")}};
  for (const auto& [name, bytes] : files) {
    WriteBytes(dir + name, bytes);
    EXPECT_EQ(a.LoadFile((dir + name).c_str()), 0) << name;
    EXPECT_EQ(ReadBytes(dir + name), bytes) << name;
  }
  EXPECT_EQ(a.LoadFile((dir + "missing.doc").c_str()), 0);
  EXPECT_EQ(Listing(dir), "empty garbage good.doc table.rpt truncated ");
  EXPECT_EQ(a.GetInt("Kept", 0), 1);
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
  a.SetStr("SymbolName", Ko("삼성").c_str());
  ASSERT_EQ(a.SaveFile(path.c_str()), 1);
  EXPECT_EQ(Sqlite3(path, "SELECT category, key, type, value FROM entries ORDER BY key;"),
            "Simulation|JumpValue|double|100.5\nSimulation|SymbolName|string|삼성\n");
  Sqlite3(path, "INSERT INTO entries VALUES('Simulation', 'JumpMode', 'int', 1.0), ('Simulation', 'Odd', 'x', 1);");
  ASSERT_EQ(b.LoadFile(path.c_str()), 1);
  b.SetCategory("Simulation");
  EXPECT_EQ(b.GetInt("JumpMode", 0), 1);
  EXPECT_EQ(b.HasKey("Odd"), 0);
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

}  // namespace
