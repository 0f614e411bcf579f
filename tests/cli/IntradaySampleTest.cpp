// The bundled intraday sample and chartcalc eval on intraday data: the date
// and separate time columns become intraday date-times, and the day and
// compression functions see the sample's days.
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include "Cli.h"
#include "PriceCsv.h"

using namespace chartcalc::detail;

namespace {

const std::string kIntraday = std::string(CHARTCALC_DATA_DIR) + "/sample_intraday.csv";
constexpr int kDays = 20;
constexpr int kBarsPerDay = 14;

// The value column of chartcalc eval's output, one cell per bar.
std::vector<std::string> EvalValues(const std::string& formula) {
  std::ostringstream out, err;
  EXPECT_EQ(RunChartcalc({"eval", "--data", kIntraday, formula}, out, err), 0) << err.str();
  std::vector<std::string> cells;
  std::istringstream in(out.str());
  std::string line;
  std::getline(in, line);  // header
  while (std::getline(in, line)) cells.push_back(line.substr(line.rfind(',') + 1));
  return cells;
}

TEST(IntradaySample, HasTwentyDaysOfHalfHourBarsFromNineToHalfPastThree) {
  SPriceData prices;
  std::string error;
  ASSERT_TRUE(ReadPriceCsv(kIntraday, prices, error)) << error;
  ASSERT_EQ(Bars(prices), kDays * kBarsPerDay);
  const SVector& dt = prices.GetSeries(kDateTime);
  int days = 0;
  for (int i = 0; i < Bars(prices); ++i) {
    ASSERT_GT(dt[i], kIntradayThreshold) << i;
    int k = i % kBarsPerDay;
    ASSERT_EQ(GetTimeOfDay(dt[i]), 90000 + k / 2 * 10000 + k % 2 * 3000) << i;
    if (i > 0 && GetCompDate(dt[i]) != GetCompDate(dt[i - 1])) ++days;
    const SPriceData& p = prices;
    ASSERT_LE(p.GetSeries(kLow)[i], std::min(p.GetSeries(kOpen)[i], p.GetSeries(kClose)[i])) << i;
    ASSERT_GE(p.GetSeries(kHigh)[i], std::max(p.GetSeries(kOpen)[i], p.GetSeries(kClose)[i])) << i;
  }
  EXPECT_EQ(days + 1, kDays);
}

TEST(IntradaySample, DayIndexCountsTheBarsOfEachDay) {
  std::vector<std::string> index = EvalValues("DayIndex()");
  ASSERT_EQ(index.size(), static_cast<size_t>(kDays * kBarsPerDay));
  for (size_t i = 0; i < index.size(); ++i) ASSERT_EQ(index[i], std::to_string(i % kBarsPerDay)) << i;
}

TEST(IntradaySample, DecompressedDailyCloseIsTheCloseOfEachDaysLastBar) {
  std::vector<std::string> dayClose = EvalValues("DeCompress(CompressC(day), CompressD(day))");
  std::vector<std::string> close = EvalValues("close");
  ASSERT_EQ(dayClose.size(), close.size());
  for (size_t i = 0; i < close.size(); ++i) {
    size_t last = i / kBarsPerDay * kBarsPerDay + kBarsPerDay - 1;
    ASSERT_EQ(dayClose[i], close[last]) << i;
  }
  EXPECT_EQ(EvalValues("CompressC(day)").size(), static_cast<size_t>(kDays));
}

TEST(IntradaySample, PreviousDayCloseStartsOnTheSecondDay) {
  std::vector<std::string> pre = EvalValues("PreDayClose()");
  std::vector<std::string> close = EvalValues("close");
  for (int i = 0; i < kBarsPerDay; ++i) EXPECT_EQ(pre[i], "") << i;
  for (size_t i = kBarsPerDay; i < pre.size(); ++i)
    ASSERT_EQ(pre[i], close[i / kBarsPerDay * kBarsPerDay - 1]) << i;
}

}  // namespace
