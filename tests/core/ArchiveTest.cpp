// The keyed archive: values by category and key, files saved whole, damaged
// files refused; and the pointer array beside it.
#include <cmath>
#include <limits>

#include "StorageTestUtil.h"

using namespace chartcalc::detail;

namespace {

TEST(CFBArchive, MissingKeysAndCategoriesGiveTheDefaults) {
  CFBArchive a;
  a.SetCategory("PriceData");
  EXPECT_EQ(a.GetInt("Missing", 7), 7);
  EXPECT_EQ(a.GetDbl("Missing", 2.5), 2.5);
  EXPECT_STREQ(a.GetStr("Missing", "dflt").c_str(), "dflt");
  a.SetInt("Count", 3, 0);
  a.SetCategory("PriceData3");  // an indexed category is a category of its own
  EXPECT_EQ(a.GetInt("Count", -1), -1);
  a.SetCategory("PriceData");
  EXPECT_EQ(a.GetInt("Count", -1), 3);
}

TEST(CFBArchive, ValuesComeBackAsTheTypeAskedFor) {
  CFBArchive a;
  a.SetCategory("Simulation");
  a.SetDbl("JumpMode", 1.0, 0.0);  // an int field written as a double
  a.SetDbl("Almost", 1.9999999, 0.0);
  a.SetInt("Int", 42, 0);
  a.SetStr("Text", "12.5", "");
  a.SetStr("Word", "abc", "");
  EXPECT_EQ(a.GetInt("JumpMode", 0), 1);
  EXPECT_EQ(a.GetInt("Almost", 0), 2);
  EXPECT_EQ(a.GetDbl("Int", 0), 42.0);
  EXPECT_STREQ(a.GetStr("Int", "").c_str(), "42");
  EXPECT_EQ(a.GetDbl("Text", 0), 12.5);
  EXPECT_EQ(a.GetInt("Word", 9), 9);
  a.SetDbl("Huge", 1e300, 0);
  EXPECT_EQ(a.GetInt("Huge", 0), 2147483647);
}

TEST(CFBArchive, SaveAndLoadRoundTripEveryType) {
  std::string dir = TestDir();
  CFBArchive a;
  a.SetCategory("Chart");
  a.SetInt("Color", 0x808000, 0);
  a.SetInt("Negative", -2147483647 - 1, 0);
  a.SetDbl("Ratio", 0.1, 0);
  a.SetDbl("Nan", std::numeric_limits<double>::quiet_NaN(), 0);
  a.SetDbl("Inf", -std::numeric_limits<double>::infinity(), 0);
  a.SetStr("Name", Ko("종가 차트").c_str(), "");
  a.SetStr("Raw", "\x80\xFF", "");
  a.SetCategory(Ko("한글범주").c_str());
  a.SetStr(Ko("키").c_str(), "v", "");
  ASSERT_EQ(a.SaveFile((dir + "chart.doc").c_str()), 1);
  EXPECT_EQ(Listing(dir), "chart.doc ");

  CFBArchive b;
  ASSERT_EQ(b.LoadFile((dir + "chart.doc").c_str()), 1);
  EXPECT_EQ(b.GetEntryCount(), 8);
  b.SetCategory("Chart");
  EXPECT_EQ(b.GetInt("Color", 0), 0x808000);
  EXPECT_EQ(b.GetInt("Negative", 0), -2147483647 - 1);
  EXPECT_EQ(b.GetDbl("Ratio", 0), 0.1);
  EXPECT_TRUE(std::isnan(b.GetDbl("Nan", 0)));
  EXPECT_EQ(b.GetDbl("Inf", 0), -std::numeric_limits<double>::infinity());
  EXPECT_EQ(b.GetStr("Name", "").str(), Ko("종가 차트"));
  EXPECT_STREQ(b.GetStr("Raw", "").c_str(), "\x80\xFF");
  b.SetCategory(Ko("한글범주").c_str());
  EXPECT_STREQ(b.GetStr(Ko("키").c_str(), "").c_str(), "v");
}

TEST(CFBArchive, SaveReplacesTheWholeDocument) {
  std::string path = TestDir() + "a.doc";
  CFBArchive a;
  a.SetCategory("C");
  a.SetInt("Old", 1, 0);
  ASSERT_EQ(a.SaveFile(path.c_str()), 1);
  CFBArchive b;
  b.SetCategory("C");
  b.SetInt("New", 2, 0);
  ASSERT_EQ(b.SaveFile(path.c_str()), 1);
  CFBArchive c;
  ASSERT_EQ(c.LoadFile(path.c_str()), 1);
  c.SetCategory("C");
  EXPECT_EQ(c.HasKey("Old"), 0);
  EXPECT_EQ(c.GetInt("New", 0), 2);
}

TEST(CFBArchive, FailedLoadKeepsWhatTheArchiveHeld) {
  std::string dir = TestDir();
  CFBArchive saved;
  saved.SetCategory("C");
  saved.SetInt("K", 5, 0);
  saved.SaveFile((dir + "good.doc").c_str());
  std::string good = ReadBytes(dir + "good.doc");
  const std::pair<const char*, std::string> files[] = {
      {"empty", ""}, {"garbage", std::string(3000, 'g')}, {"truncated", good.substr(0, good.size() / 2)}};
  for (const auto& [name, bytes] : files) WriteBytes(dir + name, bytes);
  CFBArchive a;
  a.SetCategory("Mine");
  a.SetInt("Kept", 1, 0);
  for (const auto& [name, bytes] : files) {
    EXPECT_EQ(a.LoadFile((dir + name).c_str()), 0) << name;
    EXPECT_EQ(ReadBytes(dir + name), bytes) << name;
  }
  EXPECT_EQ(a.LoadFile((dir + "missing.doc").c_str()), 0);
  EXPECT_EQ(FileExist((dir + "missing.doc").c_str()), 0);
  EXPECT_EQ(a.GetInt("Kept", 0), 1);
  // A table file is no archive either.
  DB db(0);
  db.CreateDB((dir + "table.rpt").c_str());
  db.InsertField("A", 'c', 5);
  db.WriteEof();
  EXPECT_EQ(a.LoadFile((dir + "table.rpt").c_str()), 0);
  EXPECT_EQ(a.GetInt("Kept", 0), 1);
}

TEST(CFBArchive, Sqlite3ReadsTheEntries) {
  if (!HaveSqlite3()) GTEST_SKIP() << "sqlite3 is not installed";
  std::string path = TestDir() + "a.doc";
  CFBArchive a;
  a.SetCategory("Simulation");
  a.SetDbl("JumpValue", 100.5, 100);
  a.SetStr("SymbolName", Ko("삼성").c_str(), "");
  ASSERT_EQ(a.SaveFile(path.c_str()), 1);
  EXPECT_EQ(Sqlite3(path, "SELECT category, key, type, value FROM entries ORDER BY key;"),
            "Simulation|JumpValue|double|100.5\nSimulation|SymbolName|string|삼성\n");
  Sqlite3(path,
          "INSERT INTO entries VALUES('Simulation', 'JumpMode', 'double', 1.0);"
          "INSERT INTO entries VALUES('Simulation', 'Odd', 'complex', 1);");
  CFBArchive b;
  ASSERT_EQ(b.LoadFile(path.c_str()), 1);
  b.SetCategory("Simulation");
  EXPECT_EQ(b.GetInt("JumpMode", 0), 1);
  EXPECT_EQ(b.HasKey("Odd"), 0);  // an unknown type is skipped
}

TEST(CFBArchiveArray, OutOfRangeIndicesTouchNothing) {
  CFBArchive a, b;
  CFBArchiveArray arr;
  arr.Add(&a);
  arr.InsertAt(0, &b);
  ASSERT_EQ(arr.GetSize(), 2);
  EXPECT_EQ(arr[0], &b);
  EXPECT_EQ(arr.GetAt(5), nullptr);
  arr[7] = &a;  // dropped
  arr.RemoveAt(-1);
  arr.InsertAt(9, &a);
  EXPECT_EQ(arr.GetSize(), 2);
  CFBArchiveArray copy;
  copy.Copy(arr);
  arr.RemoveAt(0);
  EXPECT_EQ(copy.GetSize(), 2);
  EXPECT_EQ(arr.GetAt(0), &a);
}

}  // namespace
