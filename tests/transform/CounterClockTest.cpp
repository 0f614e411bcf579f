// The counter-clockwise curve and the candle-volume weights over bound bars.
#include "index/IndexTestUtil.h"

namespace {

// An indicator bound to the first `bars` bars of the daily sample.
struct DailyIndex {
  Feed feed;
  SIndex x{"ccw", kIndexNotCalculated};
  explicit DailyIndex(size_t bars) {
    feed.AddDaily(0, bars);
    feed.Bind(x);
  }
};

struct PeriodCase {
  const char* text;
  int reset;
  const char* textAfter;  // VarValue[0] after the call
  long period;
};

TEST(CounterClock, PeriodTextIsReadResetAndRewrittenAsStated) {
  const PeriodCase cases[] = {
      {"0", 0, "20", 20}, {"9", 1, "20", 20}, {"7", 0, "7", 7}, {"x7", 0, "x7", 25}, {"-3", 0, "-3", -3}};
  for (const PeriodCase& c : cases) {
    DailyIndex d(60);
    d.x.VarValue[0] = c.text;
    d.x.CalcCounterClock(c.reset);
    const std::string p = std::to_string(c.period);
    EXPECT_STREQ(d.x.VarValue[0].c_str(), c.textAfter) << c.text;
    EXPECT_STREQ(d.x.Expression[2].c_str(), std::string("avg(c,").append(p).append(")").c_str()) << c.text;
    EXPECT_STREQ(d.x.ConvertedExpression[3].c_str(), std::string("avg(v,").append(p).append(")").c_str()) << c.text;
    // A period below 1 must not leave a negative first bar on the axes.
    EXPECT_EQ(d.x.LineData[0].GetStartIndex(), std::max(c.period - 1, 0L)) << c.text;
    EXPECT_EQ(d.x.LineData[1].GetStartIndex(), std::max(c.period - 1, 0L)) << c.text;
  }
}

TEST(CounterClock, SecondCallGivesTheSameLinesAndLeavesLineFourAlone) {
  DailyIndex d(60);
  d.x.VarValue[0] = 5;
  d.x.LineData[4] = Series({7, 8});
  d.x.CalcCounterClock(0);
  d.x.CalcCounterClock(0);
  SCalc calc;
  d.feed.Bind(calc);
  calc.SetExpression("avg(c,5)");
  ExpectSameLine(d.x.LineData[2], calc.Calculate(), "average close");
  calc.SetExpression("avg(v,5)");
  ExpectSameLine(d.x.LineData[3], calc.Calculate(), "average volume");
  ASSERT_EQ(d.x.LineData[0].GetSize(), 60);
  ASSERT_EQ(d.x.LineData[1].GetSize(), 60);
  EXPECT_EQ(d.x.LineData[0][59], d.feed[kDateTime][59]);
  EXPECT_EQ(d.x.LineData[1][59], 59.0);
  EXPECT_EQ(Values(d.x.LineData[4]), (std::vector<double>{7, 8}));
}

struct WeightCase {
  const char* name;
  SVector close;
  SVector volume;
  std::vector<double> weights;
};

TEST(CandleVolume, WeightIsVolumeTimesAverageOverTheValidBars) {
  const WeightCase cases[] = {
      {"worked example", Series({5, 6, 7}), Series({1, 2, 3}), {2, 4, 6}},
      {"empty close", SVector(), Series({1, 2}), {}},
      {"start index above 0", Series({0, 6, 7}, 1), Series({9, 1, 3}), {2, 6}},
      {"volume shorter than close", Series({5, 6, 7, 8}), Series({4, 4}), {8, 8, 0, 0}},
      {"failed close", Series({5, 6}, kInvalidStart), Series({1, 1}), {}},
  };
  for (const WeightCase& c : cases) {
    Feed feed;
    feed[kClose] = c.close;
    feed[kVolume] = c.volume;
    SIndex x("candle volume", kIndexNotCalculated);
    feed.Bind(x);
    for (SVector& line : x.LineData) line = Series({1});
    x.CalcCandleVolume(0);
    EXPECT_EQ(Values(x.LineData[0]), c.weights) << c.name;
    for (int k = 1; k < kIndexLines; ++k) EXPECT_EQ(x.LineData[k].GetSize(), 0) << c.name;
  }
}

}  // namespace
