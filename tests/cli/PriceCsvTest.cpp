// The tool's CSV reader fills a price record through AddData: date and time
// forms, field routing, sizing the series once, reading in pieces, leaving
// nothing behind on a bad row; and the bundled intraday sample it reads.
#include "CliTestUtil.h"

// n daily rows; row i closes at i.
static std::string DailyRows(int n) {
  std::string text = "date,open,high,low,close,volume\n";
  for (int i = 0; i < n; ++i) text += std::to_string(20000101 + i % 28) + ",1,3,0.5," + std::to_string(i) + ",10\n";
  return text;
}

// Reads a file of the scratch directory; the error text, empty on success.
static std::string Read(const std::string& name, const std::string& text, SPriceData& d) {
  std::string error;
  const bool ok = ReadPriceCsv(WriteFile(name, text), d, error);
  EXPECT_EQ(ok, error.empty()) << name;
  return error;
}

TEST(PriceCsvReader, DateAndTimeForms) {
  // clang-format off
  const std::tuple<const char*, bool, int, int, bool> cases[] = {
      {"20240105", true, 20240105, 0, false}, {"20240105093000", true, 20240105, 93000, true},
      {"2024-01-05", true, 20240105, 0, false}, {"2024-01-05 09:30", true, 20240105, 93000, true},
      {"2024-01-05 09:30:15", true, 20240105, 93015, true}, {"2024-01-05T15:30:00", true, 20240105, 153000, true},
      {"2024-01-05 9:30", false, 0, 0, false}, {"2024-02-30", false, 0, 0, false},
      {"20240105256000", false, 0, 0, false}, {"2024/01/05", false, 0, 0, false}, {"", false, 0, 0, false}};
  // clang-format on
  for (const auto& [cell, ok, wantDate, wantTime, wantHasTime] : cases) {
    int date = 0, time = 0;
    bool hasTime = false;
    const bool parsed = ParseDateCell(cell, date, time, hasTime);
    EXPECT_EQ(std::tuple(parsed, parsed ? date : 0, parsed ? time : 0, parsed && hasTime),
              std::tuple(ok, wantDate, wantTime, wantHasTime))
        << cell;
  }
}

// Optional columns may be blank; the record's earlier bars are replaced.
TEST(PriceCsvReader, ColumnsReachTheirSeriesWhateverTheirOrderAndATimeColumnMakesIntradayBars) {
  SPriceData d;
  d.AddData(kFieldClose, 5);
  ASSERT_EQ(Read("order.csv",
                 "\xEF\xBB\xBFVolume,Low,High,Close,Open,Date,Time,Amount,Spread,OI\n"
                 "10,1,4,3,2,2024-01-02,09:30,7,8,9\n10,1,4,3,2,20240102,1000,,,\n",
                 d),
            "");
  ASSERT_EQ(Bars(d), 2);
  std::vector<double> got[2];
  for (int back : {0, 1})
    for (int code : {kFieldOpen, kFieldHigh, kFieldLow, kFieldClose, kFieldVolume, kFieldDateTime, kFieldAmount,
                     kFieldSpread, kFieldOpenInterest})
      got[back].push_back(d.GetData(code, back));
  EXPECT_EQ(got[1], (std::vector<double>{2, 4, 1, 3, 10, 20240102093000, 7, 8, 9}));
  EXPECT_EQ(got[0], (std::vector<double>{2, 4, 1, 3, 10, 20240102100000, 0, 0, 0}));
}

// The series are sized once, before the first bar, for the lines long enough
// to be bars: neither grown on the way in blocks of a thousand, nor sized for
// blank or short lines (a million of those once reserved 72 MB for a 1 MB
// file, whether the read then succeeded or not).
TEST(PriceCsvReader, SeriesAreSizedOnceForTheLinesThatCanBeBars) {
  const std::string header = "date,open,high,low,close,volume\n", row = "20240102,1,2,0.5,1.5,9\n";
  std::string shortLines;
  for (int i = 0; i < 250000; ++i) shortLines += "x,1\n";
  const std::tuple<const char*, std::string, int, int> cases[] = {
      {"rows", DailyRows(4500), 4500, 4501},  // the header is long enough too
      {"blank", header + std::string(1000000, '\n') + row, 1, 2},
      {"short", header + row + shortLines, 0, 2},
  };
  for (const auto& [name, text, bars, capacity] : cases) {
    SPriceData d;
    EXPECT_EQ(Read(std::string(name) + ".csv", text, d).empty(), bars > 0) << name;
    EXPECT_EQ(Bars(d), bars) << name;
    for (const SVector& s : d.Series) EXPECT_EQ(s.GetCapacity(), capacity) << name;
  }
  SPriceData d;  // the buffers of a series of that size are taken again
  ASSERT_EQ(Read("rows.csv", DailyRows(4500), d), "");
  EXPECT_EQ(d.GetData(kFieldClose, 0), 4499);
}

TEST(PriceCsvReader, LinesAcrossReadPiecesLongerThanAPieceOrWithoutALineFeedAreReadWhole) {
  // About 2.5 MB of rows and one row of 3 MB: the reader's pieces are 1 MiB.
  std::string text = DailyRows(90000);
  text += "20000105,1,3,0.5,77,10," + std::string(3 << 20, 'x') + "\n20000106,1,3,0.5,78,10";  // no line feed
  SPriceData d;
  ASSERT_EQ(Read("pieces.csv", text, d), "");
  ASSERT_EQ(Bars(d), 90002);
  const SVector& close = d.GetSeries(kClose);
  for (int i = 0; i < 90000; ++i) ASSERT_EQ(close[i], i) << i;
  EXPECT_EQ(std::tuple(close[90000], close[90001]), std::tuple(77, 78));
}

TEST(PriceCsvReader, ABadRowFarIntoTheFileNamesItsLineAndLeavesTheRecordEmpty) {
  std::string more = DailyRows(3);
  SPriceData d;
  d.SymbolCode = "kept";
  const std::string error =
      Read("late.csv", DailyRows(50000) + "20000101,1,3,0.5,oops,10\n" + more.substr(more.find('\n') + 1), d);
  EXPECT_NE(error.find("late.csv:50002: bad number 'oops' in column 'close'"), std::string::npos) << error;
  for (const SVector& s : d.Series) EXPECT_EQ(s.GetSize(), 0);
  EXPECT_EQ(std::tuple(d.HasData, d.SymbolCode.str()), std::tuple(0, "kept"));
}

TEST(PriceCsvReader, AnEmptyFileHasNoHeaderAndAHeaderAloneNoBars) {
  SPriceData d;
  EXPECT_NE(Read("empty.csv", "\n \n", d).find("empty.csv: no header row"), std::string::npos);
  ASSERT_EQ(Read("header.csv", "date,open,high,low,close,volume", d), "");
  EXPECT_EQ(Bars(d), 0);
}

// Twenty days of fourteen half-hour bars from nine to half past three, as
// the day functions see them too.
TEST(IntradaySample, HasTwentyDaysOfHalfHourBarsFromNineToHalfPastThree) {
  const std::string path = std::string(CHARTCALC_DATA_DIR) + "/sample_intraday.csv";
  SPriceData p;
  std::string error;
  ASSERT_TRUE(ReadPriceCsv(path, p, error)) << error;
  const auto dayIndex = Rows(RunTool({"eval", "--data", path, "DayIndex()"}).out);  // with its header
  ASSERT_EQ(std::tuple(Bars(p), dayIndex.size()), std::tuple(20 * 14, size_t{20 * 14 + 1}));
  const SVector &dt = p.GetSeries(kDateTime), &o = p.GetSeries(kOpen), &c = p.GetSeries(kClose);
  for (int i = 0, k = 0; i < Bars(p); ++i, k = i % 14) {
    ASSERT_EQ(GetTimeOfDay(dt[i]), 90000 + k / 2 * 10000 + k % 2 * 3000) << i;
    ASSERT_EQ(dayIndex[i + 1][2], std::to_string(k)) << i;
    ASSERT_TRUE(p.GetSeries(kLow)[i] <= std::min(o[i], c[i]) && p.GetSeries(kHigh)[i] >= std::max(o[i], c[i])) << i;
  }
}
