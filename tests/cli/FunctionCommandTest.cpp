// chartcalc function: managing the user functions of an index directory, and
// eval calling them.
#include "CliTestUtil.h"

// Runs the tool with --index-dir set to this test's own directory.
class FunctionCommand : public ::testing::Test {
 protected:
  void SetUp() override { std::filesystem::remove_all(dir_); }
  ToolRun Run(std::vector<std::string> args) {
    args.insert(args.begin() + 1, {"--index-dir", dir_});
    return RunTool(args);
  }
  void Expect(const std::vector<ToolCase>& cases) {
    ExpectRuns(cases, [this](std::vector<std::string> args) { return Run(args); });
  }
  const std::string dir_ =
      std::string(CHARTCALC_TEST_TMP) + "/cli." + ::testing::UnitTest::GetInstance()->current_test_info()->name();
};

// Tabs, line breaks and backslashes are escaped in the listing; names
// ignore case.
TEST_F(FunctionCommand, AddedFunctionsAreListedCalledAndRemoved) {
  // clang-format off
  Expect({{{"function", "add", "band", "m + k * 2", "m", "k"}, 0, "", ""},
          {{"function", "add", "제곱", "값 * 값", "값"}, 0, "", ""},
          {{"function", "add", "one", "1 // c:\\x\r\n\t"}, 0, "", ""},
          {{"function", "list"}, 0, "band\tm + k * 2\tm\tk\n제곱\t값 * 값\t값\none\t1 // c:\\\\x\\r\\n\\t\n", ""},
          {{"function", "add", "ONE", "2"}, 1, "", "exists already"}});
  // clang-format on
  ToolRun eval = Run({"eval", "--lang", "ko", "제곱(band(close, 1)) - one()"});
  ASSERT_EQ(eval.status, 0) << eval.err;
  EXPECT_EQ(eval.out, Run({"eval", "(close + 2) * (close + 2) - 1"}).out);
  Expect({{{"function", "remove", "BAND"}, 0, "", ""},
          {{"eval", "band(close, 1)"}, 2, "", "error: bandis not defined.\n"},
          {{"function", "add", "band", "m", "m"}, 0, "", ""}});  // the name is free again
}

// Nothing is written, and neither listing nor evaluating creates the directory.
TEST_F(FunctionCommand, BadDefinitionsAreRefusedWithoutWritingAnything) {
  // clang-format off
  Expect({
      {{"function", "add", "1bad", "1"}, 1, "", "is not a formula name"},
      {{"function", "add", "f", "x", "a b"}, 1, "", "is not a formula name"},
      {{"function", "add", "f", "x", "a", "A"}, 1, "", "is named twice"},
      {{"function", "add", "avg", "1"}, 1, "", "is a word of the formula language"},
      {{"function", "add", "and", "1"}, 1, "", "is a word of the formula language"},
      {{"function", "add", "그리고", "1"}, 1, "", "is a word of the formula language"},
      {{"function", "add", "f", ""}, 1, "", "the formula must have"},
      {{"function", "add", "f", std::string(5000, '1')}, 1, "", "the formula must have"},
      {{"function", "add", std::string(51, 'f'), "1"}, 1, "", "is longer than 50 bytes"},
      {{"function", "add", "f", "1", "p0", "p1", "p2", "p3", "p4", "p5", "p6", "p7", "p8", "p9", "p10"}, 1, "", "at most 10"},
      {{"function", "add", "f"}, 1, "", "add takes NAME FORMULA"},
      {{"function", "remove", "nothing"}, 1, "", "there is no user function 'nothing'"},
      {{"function", "rename", "f"}, 1, "", "function takes list"}});
  // clang-format on
  EXPECT_EQ(std::tuple(Run({"function", "list"}).out, Run({"eval", "1"}).status), std::tuple("", 0));
  EXPECT_FALSE(std::filesystem::exists(dir_));
}

TEST_F(FunctionCommand, GarbageDatabaseIsLeftAloneWithAClearError) {
  std::filesystem::create_directories(dir_);
  const std::string path = dir_ + "/Function.fnc";
  std::ofstream(path) << "not a database";
  EXPECT_EQ(Run({"function", "list"}).out, "");
  ToolRun r = Run({"function", "add", "f", "1"});
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find("cannot write"), std::string::npos);
  EXPECT_EQ(std::filesystem::file_size(path), 14u);
  EXPECT_FALSE(std::filesystem::exists(dir_ + "/UserFunction.fnc"));
}
