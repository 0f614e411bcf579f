// Market profile over hand-made and sample intraday bars; volume at price
// over hand-made closes.
#include "index/IndexTestUtil.h"
#include "transform/Profile.h"

namespace {

using Line = std::vector<double>;

struct ProfileCase {
  const char* name;
  const char* minutes;
  std::vector<double> dateTime;
  Line close;
  int start;
  Line letter, dayStart, volume, count;  // expected lines 1-4
};

constexpr double kDay1 = 20241104000000.0, kDay2 = 20241105000000.0;
constexpr double At(double day, int hhmm) { return day + hhmm * 100.0; }

// Volumes are 1, 2, 3, 4; the expectations were worked out by hand.
TEST(MarketProfile, PeriodsLettersAndMergesAsWorkedOut) {
  const std::vector<double> tenMinutes{At(kDay1, 900), At(kDay1, 910), At(kDay1, 920), At(kDay1, 930)};
  const ProfileCase cases[] = {
      {"5 reads as 15 minutes",
       "5",
       tenMinutes,
       {1, 2, 3, 4},
       0,
       {65, 65, 66, 66},
       {1, 0, 0, 0},
       {1, 2, 3, 4},
       {1, 1, 1, 1}},
      {"30 minutes", "30", tenMinutes, {1, 2, 3, 4}, 0, {65, 65, 65, 66}, {1, 0, 0, 0}, {1, 2, 3, 4}, {1, 1, 1, 1}},
      {"same close in a period merges",
       "30",
       tenMinutes,
       {5, 6, 5, 5},
       0,
       {65, 65, 0, 66},
       {1, 0, 0, 0},
       {4, 2, 0, 4},
       {2, 1, 0, 1}},
      {"new day restarts at A",
       "30",
       {At(kDay1, 900), At(kDay1, 930), At(kDay2, 900), At(kDay2, 930)},
       {1, 2, 3, 4},
       0,
       {65, 66, 65, 66},
       {1, 0, 1, 0},
       {1, 2, 3, 4},
       {1, 1, 1, 1}},
      {"start index above 0",
       "30",
       tenMinutes,
       {0, 5, 5, 6},
       1,
       {0, 65, 0, 65},
       {0, 1, 0, 0},
       {0, 5, 0, 4},
       {0, 2, 0, 1}},
      {"empty close", "30", tenMinutes, {}, 0, {}, {}, {}, {}},
  };
  for (const ProfileCase& c : cases) {
    Feed feed;
    feed[kClose] = Series(c.close, c.start);
    feed[kVolume] = Series({1, 2, 3, 4});
    feed[kDateTime] = Series(c.dateTime);
    SIndex x("profile", kIndexNotCalculated);
    feed.Bind(x);
    x.VarValue[0] = c.minutes;
    x.CalcMarketProfile(0);
    EXPECT_EQ(Values(x.LineData[0]), c.dateTime) << c.name;
    EXPECT_EQ(Values(x.LineData[1]), c.letter) << c.name;
    EXPECT_EQ(Values(x.LineData[2]), c.dayStart) << c.name;
    EXPECT_EQ(Values(x.LineData[3]), c.volume) << c.name;
    EXPECT_EQ(Values(x.LineData[4]), c.count) << c.name;
  }
}

// On the 30-minute sample every bar is a period of its own and each day
// runs A to N; longer periods merge bars but keep every bar's volume and
// count, even one period spanning all the bars.
TEST(MarketProfile, SampleIntradayKeepsEveryBarsVolumeAndCount) {
  Feed feed;
  for (const auto& row : ReadSample("sample_intraday.csv")) feed.AddBar(row.data());
  const int n = feed[kClose].GetSize();
  ASSERT_GT(n, 100);
  for (const char* minutes : {"30", "60", "240", "10000000"}) {
    SIndex x("profile", kIndexNotCalculated);
    feed.Bind(x);
    x.VarValue[0] = minutes;
    x.CalcMarketProfile(0);
    ASSERT_EQ(x.LineData[1].GetSize(), n) << minutes;
    double volume = 0, count = 0, total = 0;
    for (int i = 0; i < n; ++i) {
      volume += x.LineData[3][i], count += x.LineData[4][i], total += feed[kVolume][i];
      EXPECT_EQ(x.LineData[1][i] == 0.0, x.LineData[4][i] == 0.0) << minutes << " bar " << i;
      if (minutes == std::string("30")) {
        EXPECT_EQ(x.LineData[1][i], 65 + i % 14) << "bar " << i;
      }
    }
    EXPECT_EQ(volume, total) << minutes;
    EXPECT_EQ(count, n) << minutes;
  }
}

struct BandCase {
  const char* name;
  const char* bands;
  int reset;
  Line close;
  int start, from, to;
  Line volume;  // expected line 2
};

TEST(VolumeAtPrice, BandVolumesAsWorkedOut) {
  const BandCase cases[] = {
      {"closes 10 and 20 in two bands", "2", 0, {10, 20, 0}, 0, 0, 1, {5, 15}},
      {"a close on a bound goes to the lower band", "2", 0, {10, 15, 20}, 0, 0, 2, {5 + 15, 25}},
      {"constant close gives zeros", "3", 0, {7, 7, 7}, 0, 0, 2, {0, 0, 0}},
      {"NaN close is not counted", "2", 0, {10, NAN, 20}, 0, 0, 2, {5, 25}},
      {"range clipped to the valid bars", "2", 0, {-99, 10, 20}, 1, -5, 99, {15, 25}},
      {"reset writes 15 bands", "1", 1, {10, 25, 40}, 0, 0, 2, {5, 0, 0, 0, 0, 0, 0, 15, 0, 0, 0, 0, 0, 0, 25}},
      {"unreadable count reads 15", "x", 0, {1, 1}, 0, 0, 1, Line(15, 0.0)},
  };
  for (const BandCase& c : cases) {
    Feed feed;
    feed[kClose] = Series(c.close, c.start);
    feed[kVolume] = Series({5, 15, 25});
    SIndex x("vap", kIndexNotCalculated);
    feed.Bind(x);
    x.VarValue[0] = c.bands;
    x.CalcVolumeAtPrice(c.reset, c.from, c.to);
    EXPECT_EQ(Values(x.LineData[2]), c.volume) << c.name;
    for (int k = 0; k < kIndexLines; ++k) EXPECT_EQ(x.LineData[k].GetSize(), c.volume.size()) << c.name;
  }
}

TEST(VolumeAtPrice, WorkedExampleBoundsAndSharesAndGuards) {
  Feed feed;
  feed[kClose] = Series({10, 20});
  feed[kVolume] = Series({5, 15});
  SIndex x("vap", kIndexNotCalculated);
  feed.Bind(x);
  x.VarValue[0] = 1;
  x.LineData[3] = Series({9});
  x.CalcVolumeAtPrice(0, 0, 1);  // fewer than two bands: nothing changes
  EXPECT_EQ(Values(x.LineData[3]), Line{9});
  x.VarValue[0] = 2;
  x.CalcVolumeAtPrice(0, 0, 1);
  EXPECT_EQ(Values(x.LineData[0]), (Line{10, 15}));
  EXPECT_EQ(Values(x.LineData[1]), (Line{15, 20}));
  EXPECT_EQ(Values(x.LineData[3]), (Line{5.0 / 15, 1}));
  EXPECT_EQ(Values(x.LineData[4]), (Line{0.25, 0.75}));
  x.VarValue[0] = 2000000000;  // a count as large as an int must not exhaust memory
  x.CalcVolumeAtPrice(0, 0, 1);
  EXPECT_EQ(x.LineData[2].GetSize(), kMaxPriceBands);
}

}  // namespace
