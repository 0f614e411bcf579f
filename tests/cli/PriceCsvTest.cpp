// The tool's CSV reader fills a price record through AddData: date and time
// forms, field routing, sizing the series once, reading in pieces, leaving
// nothing behind on a bad row; and the bundled intraday sample it reads.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <tuple>
#include <vector>

#include "CliTestUtil.h"
#include "PriceCsv.h"

namespace {

// n daily rows; row i closes at i.
std::string DailyRows(int n) {
  std::string text = "date,open,high,low,close,volume\n";
  for (int i = 0; i < n; ++i) {
    int day = 20000101 + (i % 28);  // always a valid date
    text += std::to_string(day) + ",1,3,0.5," + std::to_string(i) + ",10\n";
  }
  return text;
}

TEST(PriceCsvReader, DateAndTimeForms) {
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
      {"2024-01-05 9:30", false, 0, 0, false},
      {"2024-02-30", false, 0, 0, false},
      {"20240105256000", false, 0, 0, false},
      {"2024/01/05", false, 0, 0, false},
      {"", false, 0, 0, false},
  };
  for (const Case& c : cases) {
    int date = 0, time = 0;
    bool hasTime = false;
    ASSERT_EQ(ParseDateCell(c.cell, date, time, hasTime), c.ok) << c.cell;
    if (!c.ok) continue;
    EXPECT_EQ(std::tuple(date, time, hasTime), std::tuple(c.date, c.time, c.hasTime)) << c.cell;
  }
}

TEST(PriceCsvReader, ColumnsReachTheirSeriesWhateverTheirOrderAndATimeColumnMakesIntradayBars) {
  std::string path = WriteFile("order.csv",
                               "\xEF\xBB\xBF"
                               "Volume,Low,High,Close,Open,Date,Time,Amount,Spread,OI\n"
                               "10,1,4,3,2,2024-01-02,09:30,7,8,9\n"
                               "10,1,4,3,2,20240102,1000,,,\n");
  SPriceData d;
  d.AddData(kFieldClose, 5);  // replaced by what the file holds
  std::string error;
  ASSERT_TRUE(ReadPriceCsv(path, d, error)) << error;
  ASSERT_EQ(Bars(d), 2);
  EXPECT_EQ(std::tuple(d.GetData(kFieldOpen, 1), d.GetData(kFieldHigh, 1), d.GetData(kFieldLow, 1),
                       d.GetData(kFieldClose, 1), d.GetData(kFieldVolume, 1), d.GetData(kFieldDateTime, 1)),
            std::tuple(2, 4, 1, 3, 10, 20240102093000));
  EXPECT_EQ(std::tuple(d.GetData(kFieldAmount, 1), d.GetData(kFieldSpread, 1), d.GetData(kFieldOpenInterest, 1)),
            std::tuple(7, 8, 9));
  // Optional columns may be blank.
  EXPECT_EQ(std::tuple(d.GetData(kFieldDateTime, 0), d.GetData(kFieldAmount, 0), d.GetData(kFieldSpread, 0),
                       d.GetData(kFieldOpenInterest, 0)),
            std::tuple(20240102100000, 0, 0, 0));
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
      {"rows", DailyRows(4500), true, 4500, 4501},  // the header is long enough too
      {"blank", header + std::string(1000000, '\n') + row, true, 1, 2},
      {"short", header + row + shortLines, false, 0, 2},
  };
  for (const Case& c : cases) {
    SPriceData d;
    std::string error;
    EXPECT_EQ(ReadPriceCsv(WriteFile(std::string(c.name) + ".csv", c.text), d, error), c.ok) << c.name << error;
    EXPECT_EQ(Bars(d), c.bars) << c.name;
    for (const SVector& s : d.Series) EXPECT_EQ(s.GetCapacity(), c.capacity) << c.name;
  }
  SPriceData d;
  std::string error;
  ASSERT_TRUE(ReadPriceCsv(WriteFile("rows.csv", DailyRows(4500)), d, error)) << error;
  EXPECT_EQ(d.GetData(kFieldClose, 0), 4499);
}

TEST(PriceCsvReader, LinesAcrossReadPiecesLongerThanAPieceOrWithoutALineFeedAreReadWhole) {
  // About 2.5 MB of rows and one row of 3 MB: the reader's pieces are 1 MiB.
  std::string text = DailyRows(90000);
  text += "20000105,1,3,0.5,77,10," + std::string(3 << 20, 'x') + "\n20000106,1,3,0.5,78,10";  // no line feed
  SPriceData d;
  std::string error;
  ASSERT_TRUE(ReadPriceCsv(WriteFile("pieces.csv", text), d, error)) << error;
  ASSERT_EQ(Bars(d), 90002);
  const SVector& close = d.GetSeries(kClose);
  for (int i = 0; i < 90000; ++i) ASSERT_EQ(close[i], i) << i;
  EXPECT_EQ(std::tuple(close[90000], close[90001]), std::tuple(77, 78));
}

TEST(PriceCsvReader, ABadRowFarIntoTheFileNamesItsLineAndLeavesTheRecordEmpty) {
  std::string text = DailyRows(50000) + "20000101,1,3,0.5,oops,10\n";
  std::string more = DailyRows(3);
  text += more.substr(more.find('\n') + 1);  // rows after it, without a header
  SPriceData d;
  d.SymbolCode = "kept";
  std::string error;
  EXPECT_FALSE(ReadPriceCsv(WriteFile("late.csv", text), d, error));
  EXPECT_NE(error.find("late.csv:50002: bad number 'oops' in column 'close'"), std::string::npos) << error;
  for (const SVector& s : d.Series) EXPECT_EQ(s.GetSize(), 0);
  EXPECT_EQ(d.HasData, 0);
  EXPECT_STREQ(d.SymbolCode.c_str(), "kept");
}

TEST(PriceCsvReader, AnEmptyFileHasNoHeaderAndAHeaderAloneNoBars) {
  SPriceData d;
  std::string error;
  EXPECT_FALSE(ReadPriceCsv(WriteFile("empty.csv", ""), d, error));
  EXPECT_NE(error.find("no 'date' column"), std::string::npos) << error;
  ASSERT_TRUE(ReadPriceCsv(WriteFile("header.csv", "date,open,high,low,close,volume"), d, error)) << error;
  EXPECT_EQ(Bars(d), 0);
}

const std::string kIntraday = std::string(CHARTCALC_DATA_DIR) + "/sample_intraday.csv";
constexpr int kDays = 20;
constexpr int kBarsPerDay = 14;

TEST(IntradaySample, HasTwentyDaysOfHalfHourBarsFromNineToHalfPastThree) {
  SPriceData p;
  std::string error;
  ASSERT_TRUE(ReadPriceCsv(kIntraday, p, error)) << error;
  ASSERT_EQ(Bars(p), kDays * kBarsPerDay);
  const SVector& dt = p.GetSeries(kDateTime);
  int days = 1;
  for (int i = 0; i < Bars(p); ++i) {
    int k = i % kBarsPerDay;
    ASSERT_EQ(GetTimeOfDay(dt[i]), 90000 + k / 2 * 10000 + k % 2 * 3000) << i;
    if (i > 0 && GetCompDate(dt[i]) != GetCompDate(dt[i - 1])) ++days;
    ASSERT_LE(p.GetSeries(kLow)[i], std::min(p.GetSeries(kOpen)[i], p.GetSeries(kClose)[i])) << i;
    ASSERT_GE(p.GetSeries(kHigh)[i], std::max(p.GetSeries(kOpen)[i], p.GetSeries(kClose)[i])) << i;
  }
  EXPECT_EQ(days, kDays);
  // The day functions see the same days.
  std::vector<std::string> index = Values(RunTool({"eval", "--data", kIntraday, "DayIndex()"}).out);
  ASSERT_EQ(index.size(), static_cast<size_t>(Bars(p)));
  for (size_t i = 0; i < index.size(); ++i) ASSERT_EQ(index[i], std::to_string(i % kBarsPerDay)) << i;
}

}  // namespace
