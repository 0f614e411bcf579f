// Helpers for the storage tests: a fresh directory per test (also as the
// index directory), whole-file reading and writing, Korean text, and the
// sqlite3 command-line tool.
#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>

#include "chartcalc.h"
#include "core/Cp949.h"
#include "core/TextTable.h"

using namespace chartcalc::detail;

// An empty directory of this test's own, below the build's test directory.
inline std::string TestDir() {
  const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
  auto dir = std::filesystem::path(CHARTCALC_TEST_TMP) / (std::string(info->test_suite_name()) + "." + info->name());
  std::filesystem::remove_all(dir);
  std::filesystem::create_directories(dir);
  return dir.string() + "/";
}

inline void WriteBytes(const std::string& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
}

inline std::string ReadBytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

// The directory's entries, sorted, as one text (to see stray files).
inline std::string Listing(const std::string& dir) {
  std::set<std::string> names;
  for (const auto& e : std::filesystem::directory_iterator(dir)) names.insert(e.path().filename().string());
  std::string out;
  for (const auto& n : names) out += n + " ";
  return out;
}

// Korean text of the source (UTF-8) as the library holds it: code page 949.
inline std::string Cp949(const std::string& utf8) {
  std::string out;
  EXPECT_TRUE(Utf8ToCp949(utf8, out)) << utf8;
  return out;
}

// Points the index directory at a fresh directory of this test's own.
struct IndexDirScope {
  IndexDirScope() : dir(TestDir()) { SetIndexDir(dir.c_str()); }
  ~IndexDirScope() { SetIndexDir("./"); }
  std::string dir;
};

inline bool HaveSqlite3() { return std::system("command -v sqlite3 >/dev/null 2>&1") == 0; }

// Runs SQL through the sqlite3 tool on a database and returns its output.
inline std::string Sqlite3(const std::string& db, const std::string& sql) {
  WriteBytes(db + ".sql", sql);
  std::string out, cmd = "sqlite3 -batch '" + db + "' < '" + db + ".sql' 2>&1";
  if (FILE* p = popen(cmd.c_str(), "r")) {
    for (int c; (c = std::fgetc(p)) != EOF;) out += static_cast<char>(c);
    pclose(p);
  }
  std::remove((db + ".sql").c_str());
  return out;
}
