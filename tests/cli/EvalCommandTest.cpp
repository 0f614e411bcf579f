// chartcalc eval and the options every subcommand shares: the printed CSV,
// exit statuses and the messages that name the cause.
#include "CliTestUtil.h"

TEST(EvalCommand, PrintsOneRowPerBarWithEmptyCellsBeforeTheStart) {
  std::string csv = WriteFile("three.csv",
                              "Date,Open,High,Low,Close,Volume\n2024-01-02,1,2,0.5,1.5,100\n"
                              "20240103,1,2,0.5,1.75,100\r\n\n2024-01-04,1,2,0.5,2,100\n");
  // clang-format off
  ExpectRuns({{{"eval", "--data", csv, "a = 0.5; a(1) * 4"}, 0,
               "bar,datetime,value\n0,20240102,\n1,20240103,2\n2,20240104,2\n", ""}});
  // clang-format on
  ToolRun sample = RunTool({"eval", "1"});  // the bundled ten years of daily bars
  EXPECT_EQ(sample.out.substr(0, 32), "bar,datetime,value\n0,20150102,1\n");
  EXPECT_GT(Rows(sample.out).size(), 2500u);
}

TEST(EvalCommand, FailuresExitWithTheirStatusAndAMessageNamingTheCause) {
  const std::string head = "date,open,high,low,close,volume\n";
  auto withData = [](const char* name, const std::string& text) {
    return std::vector<std::string>{"eval", "--data", WriteFile(name, text), "1"};
  };
  // clang-format off
  ExpectRuns({
      {{"eval", "xyz"}, 2, "", "error: xyzis not defined.\n"},
      {{"eval", "--lang", "ko", "1 2"}, 2, "", "error: 연산자가 필요합니다\n"},
      {{"eval", "--lang=ko", "값 +"}, 2, "", "error: 값이(가) 정의되지 않았습니다.\n"},
      {withData("baddate.csv", head + "20240102,1,1,1,1,1\n2024-13-01,1,1,1,1,1\n"), 1, "", "baddate.csv:3: bad date"},
      {withData("inf.csv", head + "20240102,1,1,1,inf,1\n"), 1, "", "inf.csv:2: bad number 'inf'"},
      {withData("nocol.csv", "date,open,high,low,close\n20240102,1,1,1,1\n"), 1, "", "nocol.csv:1: no 'volume' column"},
      {withData("badtime.csv", "date,time,open,high,low,close,volume\n20240105,25:00,1,1,1,1,1\n"), 1, "", "badtime.csv:2: bad time '25:00'"},
      {{"eval", "--data", "/no/such/file.csv", "1"}, 1, "", "/no/such/file.csv: cannot open the file"},
      {{"eval"}, 1, "", "eval takes exactly one FORMULA"},
      {{"eval", std::string(kMaxExpression, '1')}, 1, "", "the formula is longer than 4095 bytes"},
      {{"eval", "\xF0\x9F\x98\x80"}, 1, "", "not UTF-8 text that code page 949 can hold"},
      {{"eval", "--lang", "fr", "1"}, 1, "", "--lang must be en or ko"},
      {{"eval", "1", "--lang"}, 1, "", "--lang needs a value"},
      {{"eval", "--bogus", "1"}, 1, "", "unknown option --bogus"},
      {{"frobnicate"}, 1, "", "unknown subcommand 'frobnicate'"}});
  // clang-format on
}

TEST(EvalCommand, HelpIsAnsweredEverywhereAndNoArgumentsIsAnError) {
  ToolRun overview = RunTool({"--help"}), usage = RunTool({"eval", "--help"}), none = RunTool({});
  EXPECT_EQ(std::tuple(overview.status, usage.status, none.status), std::tuple(0, 0, 1));
  EXPECT_NE(overview.out.find("chartcalc eval"), std::string::npos);
  EXPECT_EQ(usage.out.find("usage: chartcalc eval"), 0u);
  EXPECT_NE(none.err.find("Subcommands:"), std::string::npos);
}
