// The counter-clockwise curve and the candle-volume weights over bound bars.
#include "index/IndexTestUtil.h"

namespace {

TEST(CounterClock, PeriodTextIsReadResetOrRewrittenAndTheLinesFollowIt) {
  const struct {
    const char* text;
    int reset;
    const char* after;  // VarValue[0] after the call
    long period;
  } cases[] = {{"0", 0, "20", 20}, {"9", 1, "20", 20}, {"7", 0, "7", 7}, {"x7", 0, "x7", 25}, {"-3", 0, "-3", -3}};
  Feed feed;
  feed.AddDaily(0, 60);
  SCalc calc;
  feed.Bind(calc);
  for (const auto& c : cases) {
    SIndex x("ccw", kIndexNotCalculated);
    feed.Bind(x);
    x.VarValue[0] = c.text;
    x.LineData[4] = Series({7});
    x.CalcCounterClock(c.reset);
    x.CalcCounterClock(0);  // a second call must not append to the axes
    EXPECT_STREQ(x.VarValue[0].c_str(), c.after);
    EXPECT_EQ(x.ConvertedExpression[3].str(), std::string("avg(v,").append(std::to_string(c.period)) + ")");
    calc.SetExpression(x.Expression[2].c_str());
    ExpectSameLine(x.LineData[2], calc.Calculate(), c.text);
    // A period below 1 must not leave a negative first bar on the axes.
    EXPECT_EQ(x.LineData[1].GetStartIndex(), std::max(c.period - 1, 0L)) << c.text;
    EXPECT_EQ(Values(x.LineData[1]).size(), 60u);
    EXPECT_EQ(x.LineData[0][59] + x.LineData[1][59], feed[kDateTime][59] + 59);
    EXPECT_EQ(Values(x.LineData[4]), std::vector<double>{7});
  }
}

TEST(CandleVolume, WeightIsVolumeTimesAverageOverTheValidBars) {
  const struct {
    SVector close, volume;
    std::vector<double> weights;
  } cases[] = {
      {Series({5, 6, 7}), Series({1, 2, 3}), {2, 4, 6}},
      {SVector(), Series({1, 2}), {}},
      {Series({0, 6, 7}, 1), Series({9, 1, 3}), {2, 6}},
      {Series({5, 6, 7, 8}), Series({4, 4}), {8, 8, 0, 0}},  // volume ends before the closes
      {Series({5, 6}, kInvalidStart), Series({1, 1}), {}},
  };
  for (const auto& c : cases) {
    Feed feed;
    feed[kClose] = c.close;
    feed[kVolume] = c.volume;
    SIndex x("candle volume", kIndexNotCalculated);
    feed.Bind(x);
    for (SVector& line : x.LineData) line = Series({1});
    x.CalcCandleVolume(0);
    EXPECT_EQ(Values(x.LineData[0]), c.weights);
    for (int k = 1; k < kIndexLines; ++k) EXPECT_EQ(x.LineData[k].GetSize(), 0);
  }
}

}  // namespace
