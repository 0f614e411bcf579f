// The bundled intraday sample and chartcalc eval on intraday data: the date
// and separate time columns become intraday date-times, and the day and
// compression functions see the sample's days.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <tuple>
#include <vector>

#include "CliTestUtil.h"
#include "PriceCsv.h"

namespace {

const std::string kIntraday = std::string(CHARTCALC_DATA_DIR) + "/sample_intraday.csv";
constexpr int kDays = 20;
constexpr int kBarsPerDay = 14;

std::vector<std::string> EvalValues(const std::string& formula) {
  ToolRun r = RunTool({"eval", "--data", kIntraday, formula});
  EXPECT_EQ(r.status, 0) << r.err;
  return Values(r.out);
}

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
}

// Bar i belongs to day i / kBarsPerDay: its index in the day, the day's last
// close and the close of the day before follow from that.
TEST(IntradaySample, DayFunctionsSeeTheSamplesDays) {
  std::vector<std::string> close = EvalValues("close"), index = EvalValues("DayIndex()"),
                           dayClose = EvalValues("DeCompress(CompressC(day), CompressD(day))"),
                           preClose = EvalValues("PreDayClose()");
  ASSERT_EQ(close.size(), static_cast<size_t>(kDays * kBarsPerDay));
  ASSERT_EQ(std::tuple(index.size(), dayClose.size(), preClose.size()),
            std::tuple(close.size(), close.size(), close.size()));
  for (size_t i = 0; i < close.size(); ++i) {
    const size_t first = i / kBarsPerDay * kBarsPerDay;
    ASSERT_EQ(index[i], std::to_string(i - first)) << i;
    ASSERT_EQ(dayClose[i], close[first + kBarsPerDay - 1]) << i;
    ASSERT_EQ(preClose[i], first == 0 ? "" : close[first - 1]) << i;
  }
  EXPECT_EQ(EvalValues("CompressC(day)").size(), static_cast<size_t>(kDays));
}

}  // namespace
