// Market profile over hand-made and sample intraday bars; volume at price
// over hand-made closes. Expected lines were worked out by hand.
#include "index/IndexTestUtil.h"
#include "transform/Profile.h"

namespace {

using Line = std::vector<double>;

constexpr double At(int day, int hhmm) { return 20241100000000.0 + day * 1000000.0 + hhmm * 100.0; }
const Line kTenMinutes{At(4, 900), At(4, 910), At(4, 920), At(4, 930)};

// An indicator over the feed with its first variable set.
SIndex Over(Feed& feed, const SString& var) {
  SIndex x("transform", kIndexNotCalculated);
  feed.Bind(x);
  x.VarValue[0] = var;
  return x;
}

// Volumes 1, 2, 3, 4; lines 1-4 expected: letter, day start, volume, count.
TEST(MarketProfile, PeriodsLettersAndMergesAsWorkedOut) {
  const struct {
    const char* minutes;
    Line dateTime, close;
    int start;
    Line lines[4];
  } cases[] = {
      {"5", kTenMinutes, {1, 2, 3, 4}, 0, {{65, 65, 66, 66}, {1, 0, 0, 0}, {1, 2, 3, 4}, {1, 1, 1, 1}}},
      {"30", kTenMinutes, {5, 6, 5, 5}, 0, {{65, 65, 0, 66}, {1, 0, 0, 0}, {4, 2, 0, 4}, {2, 1, 0, 1}}},
      {"30",
       {At(4, 900), At(4, 930), At(5, 900), At(5, 930)},
       {1, 2, 3, 4},
       0,
       {{65, 66, 65, 66}, {1, 0, 1, 0}, {1, 2, 3, 4}, {1, 1, 1, 1}}},
      {"30", kTenMinutes, {0, 5, 5, 6}, 1, {{0, 65, 0, 65}, {0, 1, 0, 0}, {0, 5, 0, 4}, {0, 2, 0, 1}}},
      {"30", kTenMinutes, {}, 0, {}},
  };
  for (const auto& c : cases) {
    Feed feed;
    feed[kClose] = Series(c.close, c.start);
    feed[kVolume] = Series({1, 2, 3, 4});
    feed[kDateTime] = Series(c.dateTime);
    SIndex x = Over(feed, c.minutes);
    x.CalcMarketProfile(0);
    for (int k = 0; k < 4; ++k) EXPECT_EQ(Values(x.LineData[k + 1]), c.lines[k]) << c.minutes << " line " << k + 1;
  }
}

// 30-minute bars: each bar a period, each day A to N; longer periods, up to
// one over all bars, merge bars but keep every bar's volume and count.
TEST(MarketProfile, SampleIntradayKeepsEveryBarsVolumeAndCount) {
  Feed feed;
  for (const auto& row : ReadSample("sample_intraday.csv")) feed.AddBar(row.data());
  for (const char* minutes : {"30", "240", "10000000"}) {
    SIndex x = Over(feed, minutes);
    x.CalcMarketProfile(0);
    double volume = 0, count = 0, letters = 0;
    for (int i = 0; i < feed[kClose].GetSize(); ++i)
      volume += x.LineData[3][i] - feed[kVolume][i], count += x.LineData[4][i] - 1, letters += x.LineData[1][i];
    EXPECT_EQ(volume, 0) << minutes;
    EXPECT_EQ(count, 0) << minutes;
    EXPECT_EQ(letters, *minutes == '3' ? 20 * (65 + 78) * 14 / 2 : letters);  // 30 minutes: 20 days of A..N
  }
}

TEST(VolumeAtPrice, BandVolumesAsWorkedOut) {
  const struct {
    const char* bands;
    int reset;
    Line close;
    int start, from, to;
    Line volume;  // line 2; every line has as many elements
  } cases[] = {
      {"1", 0, {10, 20}, 0, 0, 1, {9}},               // fewer than two bands: nothing changes
      {"2", 0, {10, 15, 20}, 0, 0, 2, {5 + 15, 25}},  // a close on a bound goes to the lower band
      {"3", 0, {7, 7, 7}, 0, 0, 2, {0, 0, 0}},
      {"2", 0, {10, NAN, 20}, 0, 0, 2, {5, 25}},
      {"2", 0, {-99, 10, 20}, 1, -5, 99, {15, 25}},
      {"1", 1, {10, 25, 40}, 0, 0, 2, {5, 0, 0, 0, 0, 0, 0, 15, 0, 0, 0, 0, 0, 0, 25}},
      {"x", 0, {1, 1}, 0, 0, 1, Line(15, 0.0)},
      {"2000000000", 0, {1, 1}, 0, 0, 1, Line(kMaxPriceBands, 0.0)},  // must not exhaust memory
  };
  for (const auto& c : cases) {
    Feed feed;
    feed[kClose] = Series(c.close, c.start);
    feed[kVolume] = Series({5, 15, 25});
    SIndex x = Over(feed, c.bands);
    for (SVector& line : x.LineData) line = Series({9});
    x.CalcVolumeAtPrice(c.reset, c.from, c.to);
    EXPECT_EQ(Values(x.LineData[2]), c.volume) << c.bands;
    for (const SVector& line : x.LineData) EXPECT_EQ(line.GetSize(), c.volume.size()) << c.bands;
  }
}

TEST(VolumeAtPrice, WorkedExampleGivesBoundsAndShares) {
  Feed feed;
  feed[kClose] = Series({10, 20});
  feed[kVolume] = Series({5, 15});
  SIndex x = Over(feed, 2);
  x.CalcVolumeAtPrice(0, 0, 1);
  const Line want[] = {{10, 15}, {15, 20}, {5, 15}, {5.0 / 15, 1}, {0.25, 0.75}};
  for (int k = 0; k < kIndexLines; ++k) EXPECT_EQ(Values(x.LineData[k]), want[k]) << k;
}

}  // namespace
