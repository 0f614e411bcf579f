// The tool's CSV reader fills a price record through AddData: field routing,
// sizing the series once, reading in pieces, and leaving nothing behind on a
// bad row.
#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "PriceCsv.h"

using namespace chartcalc::detail;

namespace {

std::string WriteCsv(const std::string& name, const std::string& text) {
  std::string path = std::string(CHARTCALC_TEST_TMP) + "/" + name;
  std::ofstream(path, std::ios::binary) << text;
  return path;
}

// n daily rows; row i closes at i.
std::string Rows(int n) {
  std::string text = "date,open,high,low,close,volume\n";
  for (int i = 0; i < n; ++i) {
    int day = 20000101 + (i % 28);  // always a valid date
    text += std::to_string(day) + ",1,3,0.5," + std::to_string(i) + ",10\n";
  }
  return text;
}

TEST(PriceCsvReader, ColumnsReachTheirSeriesWhateverTheirOrder) {
  std::string path = WriteCsv("order.csv",
                              "Volume,Low,High,Close,Open,Date,Amount,Spread,OI\n"
                              "10,1,4,3,2,2024-01-02,7,8,9\n");
  SPriceData d;
  std::string error;
  ASSERT_TRUE(ReadPriceCsv(path, d, error)) << error;
  EXPECT_EQ(d.GetData(kFieldOpen, 0), 2);
  EXPECT_EQ(d.GetData(kFieldHigh, 0), 4);
  EXPECT_EQ(d.GetData(kFieldLow, 0), 1);
  EXPECT_EQ(d.GetData(kFieldClose, 0), 3);
  EXPECT_EQ(d.GetData(kFieldVolume, 0), 10);
  EXPECT_EQ(d.GetData(kFieldDateTime, 0), 20240102);
  EXPECT_EQ(d.GetData(kFieldAmount, 0), 7);
  EXPECT_EQ(d.GetData(kFieldSpread, 0), 8);
  EXPECT_EQ(d.GetData(kFieldOpenInterest, 0), 9);
  EXPECT_EQ(d.HasData, 1);
}

// The series are sized once, before the first bar, for the lines long enough
// to be bars: neither grown on the way in blocks of a thousand, nor sized for
// blank or short lines (a million of those once reserved 72 MB for a 1 MB
// file, whether the read then succeeded or not).
TEST(PriceCsvReader, SeriesAreSizedOnceForTheLinesThatCanBeBars) {
  const std::string header = "date,open,high,low,close,volume\n";
  const std::string row = "20240102,1,2,0.5,1.5,9\n";
  std::string shortLines;
  for (int i = 0; i < 250000; ++i) shortLines += "x,1\n";
  struct Case {
    const char* name;
    std::string text;
    bool ok;
    int bars;
    int capacity;
  } cases[] = {
      {"rows", Rows(4500), true, 4500, 4501},  // the header is long enough too
      {"blank", header + std::string(1000000, '\n') + row, true, 1, 2},
      {"short", header + row + shortLines, false, 0, 2},
  };
  for (const Case& c : cases) {
    SPriceData d;
    std::string error;
    EXPECT_EQ(ReadPriceCsv(WriteCsv(std::string(c.name) + ".csv", c.text), d, error), c.ok) << c.name << error;
    EXPECT_EQ(Bars(d), c.bars) << c.name;
    for (const SVector& s : d.Series) EXPECT_EQ(s.GetCapacity(), c.capacity) << c.name;
  }
  SPriceData d;
  std::string error;
  ASSERT_TRUE(ReadPriceCsv(WriteCsv("rows.csv", Rows(4500)), d, error)) << error;
  EXPECT_EQ(d.GetData(kFieldClose, 0), 4499);
}

TEST(PriceCsvReader, LinesAcrossReadPiecesAndAFinalLineWithoutLineFeed) {
  // About 2.5 MB: the reader's pieces are 1 MiB, so rows straddle them.
  std::string text = Rows(90000);
  text += "20000105,1,3,0.5,77,10";  // no line feed
  std::string path = WriteCsv("pieces.csv", text);
  SPriceData d;
  std::string error;
  ASSERT_TRUE(ReadPriceCsv(path, d, error)) << error;
  ASSERT_EQ(Bars(d), 90001);
  const SVector& close = d.GetSeries(kClose);
  for (int i = 0; i < 90000; ++i) ASSERT_EQ(close[i], i) << i;
  EXPECT_EQ(close[90000], 77);
}

TEST(PriceCsvReader, ALineLongerThanAReadPieceIsReadWhole) {
  std::string wide(3 << 20, 'x');
  std::string path = WriteCsv("wide.csv", "date,open,high,low,close,volume,note\n20240102,1,2,0.5,1.5,9," + wide +
                                              "\n20240103,1,2,0.5,2.5,9,y\n");
  SPriceData d;
  std::string error;
  ASSERT_TRUE(ReadPriceCsv(path, d, error)) << error;
  ASSERT_EQ(Bars(d), 2);
  EXPECT_EQ(d.GetData(kFieldClose, 0), 2.5);
}

TEST(PriceCsvReader, ABadRowFarIntoTheFileNamesItsLineAndLeavesTheRecordEmpty) {
  std::string text = Rows(50000);
  text += "20000101,1,3,0.5,oops,10\n";
  std::string more = Rows(3);
  text += more.substr(more.find('\n') + 1);  // rows after it, without a header
  std::string path = WriteCsv("late.csv", text);
  SPriceData d;
  d.SymbolCode = "kept";
  std::string error;
  EXPECT_FALSE(ReadPriceCsv(path, d, error));
  EXPECT_NE(error.find("late.csv:50002: bad number 'oops' in column 'close'"), std::string::npos) << error;
  for (const SVector& s : d.Series) EXPECT_EQ(s.GetSize(), 0);
  EXPECT_EQ(d.HasData, 0);
  EXPECT_STREQ(d.SymbolCode.c_str(), "kept");
}

TEST(PriceCsvReader, ReadingReplacesWhatTheRecordHeld) {
  SPriceData d;
  d.AddData(kFieldClose, 5);
  std::string error;
  ASSERT_TRUE(ReadPriceCsv(WriteCsv("two.csv", Rows(2)), d, error)) << error;
  EXPECT_EQ(Bars(d), 2);
  EXPECT_EQ(d.GetData(kFieldClose, 1), 0);
}

TEST(PriceCsvReader, EmptyOrHeaderOnlyFiles) {
  SPriceData d;
  std::string error;
  EXPECT_FALSE(ReadPriceCsv(WriteCsv("empty.csv", ""), d, error));
  EXPECT_NE(error.find("no 'date' column"), std::string::npos) << error;
  ASSERT_TRUE(ReadPriceCsv(WriteCsv("header.csv", "date,open,high,low,close,volume"), d, error)) << error;
  EXPECT_EQ(Bars(d), 0);
}

}  // namespace
