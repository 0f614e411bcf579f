// chartcalc eval end to end: CSV reading, output and exit statuses.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "CliTestUtil.h"
#include "PriceCsv.h"

using namespace chartcalc::detail;

namespace {

std::string WriteFile(const std::string& name, const std::string& text) {
  std::string path = std::string(CHARTCALC_TEST_TMP) + "/" + name;
  std::ofstream(path, std::ios::binary) << text;
  return path;
}

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string l; std::getline(in, l);) lines.push_back(l);
  return lines;
}

TEST(EvalCommand, PrintsOneRowPerBarWithEmptyCellsBeforeTheStart) {
  std::string csv = WriteFile("three.csv",
                              "Date,Open,High,Low,Close,Volume\n"
                              "2024-01-02,1,2,0.5,1.5,100\n"
                              "20240103,1,2,0.5,1.75,100\r\n"
                              "\n"
                              "2024-01-04,1,2,0.5,2,100\n");
  ToolRun r = RunTool({"eval", "--data", csv, "a = 0.5; a(1) * 4"});
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(Lines(r.out), (std::vector<std::string>{"bar,datetime,value", "0,20240102,", "1,20240103,2",
                                                     "2,20240104,2"}));
}

TEST(EvalCommand, FormulaErrorExitsWithTwoAndTheMessageInTheChosenLanguage) {
  ToolRun r = RunTool({"eval", "xyz"});
  EXPECT_EQ(r.status, 2);
  EXPECT_EQ(r.err, "error: xyzis not defined.\n");
  EXPECT_TRUE(r.out.empty());
  r = RunTool({"eval", "--lang", "ko", "1 2"});
  EXPECT_EQ(r.status, 2);
  EXPECT_EQ(r.err, "error: 연산자가 필요합니다\n");
  r = RunTool({"eval", "--lang=ko", "값 +"});
  EXPECT_EQ(r.err, "error: 값이(가) 정의되지 않았습니다.\n");
}

TEST(EvalCommand, UnusableInputExitsWithOneAndNamesTheFileAndLine) {
  struct Case {
    const char* name;
    const char* csv;
    const char* expect;
  };
  const Case cases[] = {
      {"baddate.csv", "date,open,high,low,close,volume\n20240102,1,1,1,1,1\n2024-13-01,1,1,1,1,1\n",
       "baddate.csv:3: bad date"},
      {"badnum.csv", "date,open,high,low,close,volume\n20240102,1,1,1,x,1\n", "badnum.csv:2: bad number 'x'"},
      {"nocol.csv", "date,open,high,low,close\n20240102,1,1,1,1\n", "nocol.csv:1: no 'volume' column"},
      {"inf.csv", "date,open,high,low,close,volume\n20240102,1,1,1,inf,1\n", "inf.csv:2: bad number"},
  };
  for (const Case& c : cases) {
    ToolRun r = RunTool({"eval", "--data", WriteFile(c.name, c.csv), "1"});
    EXPECT_EQ(r.status, 1) << c.name;
    EXPECT_NE(r.err.find(c.expect), std::string::npos) << r.err;
    EXPECT_TRUE(r.out.empty()) << c.name;
  }
  EXPECT_EQ(RunTool({"eval", "--data", "/no/such/file.csv", "1"}).status, 1);
  EXPECT_EQ(RunTool({"eval"}).status, 1);
  EXPECT_EQ(RunTool({"eval", "--lang", "fr", "1"}).status, 1);
  EXPECT_EQ(RunTool({"eval", "--bogus", "1"}).status, 1);
  EXPECT_EQ(RunTool({"frobnicate"}).status, 1);
  EXPECT_EQ(RunTool({"eval", "\xF0\x9F\x98\x80"}).status, 1);
}

TEST(EvalCommand, HelpIsAnsweredEverywhere) {
  ToolRun r = RunTool({"--help"});
  EXPECT_EQ(r.status, 0);
  EXPECT_NE(r.out.find("chartcalc eval"), std::string::npos);
  r = RunTool({"eval", "--help"});
  EXPECT_EQ(r.status, 0);
  EXPECT_NE(r.out.find("usage: chartcalc eval"), std::string::npos);
}

TEST(EvalCommand, BundledSampleHasTenYearsOfDailyBars) {
  ToolRun r = RunTool({"eval", "1"});
  ASSERT_EQ(r.status, 0) << r.err;
  std::vector<std::string> lines = Lines(r.out);
  EXPECT_GT(lines.size(), 2500u);
  EXPECT_EQ(lines[1], "0,20150102,1");
}

TEST(PriceCsv, DateAndTimeForms) {
  struct Case {
    const char* cell;
    bool ok;
    int date, time;
    bool hasTime;
  };
  const Case cases[] = {
      {"20240105", true, 20240105, 0, false},
      {"20240105093000", true, 20240105, 93000, true},
      {"2024-01-05", true, 20240105, 0, false},
      {"2024-01-05 09:30", true, 20240105, 93000, true},
      {"2024-01-05 09:30:15", true, 20240105, 93015, true},
      {"2024-01-05T15:30:00", true, 20240105, 153000, true},
      {"2024-02-30", false, 0, 0, false},
      {"20240105256000", false, 0, 0, false},
      {"2024/01/05", false, 0, 0, false},
      {"", false, 0, 0, false},
  };
  for (const Case& c : cases) {
    int date = 0, time = 0;
    bool hasTime = false;
    EXPECT_EQ(ParseDateCell(c.cell, date, time, hasTime), c.ok) << c.cell;
    if (!c.ok) continue;
    EXPECT_EQ(date, c.date) << c.cell;
    EXPECT_EQ(time, c.time) << c.cell;
    EXPECT_EQ(hasTime, c.hasTime) << c.cell;
  }
}

TEST(PriceCsv, SeparateTimeColumnMakesIntradayBarsAndOptionalColumnsReadAsZero) {
  std::string csv = WriteFile("intraday.csv",
                              "\xEF\xBB\xBF" "date,time,open,high,low,close,volume,oi\n"
                              "20240105,09:30,1,2,0.5,1.5,100,7\n"
                              "20240105,1000,1,2,0.5,1.5,100,\n");
  SPriceData p;
  std::string error;
  ASSERT_TRUE(ReadPriceCsv(csv, p, error)) << error;
  EXPECT_EQ(Bars(p), 2);
  EXPECT_EQ(p.GetSeries(kDateTime)[0], 20240105093000.0);
  EXPECT_EQ(p.GetSeries(kDateTime)[1], 20240105100000.0);
  EXPECT_EQ(p.GetSeries(kOpenInterest)[0], 7.0);
  EXPECT_EQ(p.GetSeries(kOpenInterest)[1], 0.0);
  EXPECT_EQ(p.GetSeries(kSpread)[1], 0.0);
}

}  // namespace
