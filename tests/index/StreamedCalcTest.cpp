// Every shipped indicator, trading system and the candle-pattern indicator,
// fed the sample data through CalcLast as a host does on live ticks, ends
// with the lines a full Calc gives: the same sizes, the same valid bars and
// the same values within rounding. (chartcalc indicator calc --stream feeds
// every bar one at a time; tests/cli checks it the same way.)
#include <algorithm>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "index/IndexTestUtil.h"

using namespace chartcalc::detail;

#ifdef CHARTCALC_SHIPPED_INDEX_DIR

namespace {

// The bars of the bundled daily sample (date,open,high,low,close,volume).
std::vector<std::vector<double>> SampleBars() {
  std::vector<std::vector<double>> bars;
  std::ifstream in(std::string(CHARTCALC_DATA_DIR) + "/sample_daily.csv");
  std::string line;
  std::getline(in, line);
  while (std::getline(in, line)) {
    std::replace(line.begin(), line.end(), ',', ' ');
    std::istringstream row(line);
    double date, open, high, low, close, volume;
    row >> date >> open >> high >> low >> close >> volume;
    bars.push_back({close, open, high, low, volume, date, 0, 0, 0});
  }
  return bars;
}

std::vector<std::string> Names(int kind) {
  DDB db(getIndexDBFileName(kind).c_str(), getUserDBFileName(kind).c_str(), 1);
  db.SetExtension(getIndexDBExt(kind));
  std::vector<std::string> names;
  for (db.MoveFirst(1); !db.Eof(); db.MoveNext(1))
    if (!db.Deleted()) names.push_back(db.GetStr("IndexName"));
  return names;
}

class Streamed : public ::testing::Test {
 protected:
  void SetUp() override {
    SetIndexDir(CHARTCALC_SHIPPED_INDEX_DIR);
    ASSERT_EQ(candles_.ReadFunction(), 1);
  }
  void TearDown() override { SetIndexDir("./"); }

  // Feeds the sample through a copy of x, then compares with a full Calc:
  // the first bars one at a time (the warm-up of every line), then most of
  // the history arriving between two calls, then the last bars one at a time.
  void ExpectStreamedEqualsFull(const SIndex& definition, const std::string& what) {
    Feed live, whole;
    SIndex streamed = definition, full = definition;
    live.Bind(streamed);
    whole.Bind(full);
    for (SIndex* x : {&streamed, &full}) x->SetCandle(&candles_);
    const size_t n = bars_.size();
    for (size_t i = 0; i < n; ++i) {
      for (int k = 0; k < kPriceSlots; ++k) live.s[k].Add(bars_[i][static_cast<size_t>(k)]);
      if (i < kFirstBars || i + kLastBars >= n) streamed.CalcLast();
    }
    for (const std::vector<double>& bar : bars_)
      for (int k = 0; k < kPriceSlots; ++k) whole.s[k].Add(bar[static_cast<size_t>(k)]);
    full.Calc();
    const bool candles = definition.IndexType == kIndexCandlePattern;
    for (int line = 0; line < (candles ? 1 : kIndexLines); ++line) {
      if (!candles && full.ConvertedExpression[line].IsEmpty()) continue;
      ExpectSameLine(streamed.LineData[line], full.LineData[line], what + " line " + std::to_string(line));
      EXPECT_GT(full.LineData[line].GetSize(), 0) << what;
    }
  }

  static constexpr size_t kFirstBars = 300;
  static constexpr size_t kLastBars = 300;
  std::vector<std::vector<double>> bars_ = SampleBars();
  SFunctionList candles_;
};

TEST_F(Streamed, EveryShippedIndicatorAndSystemMatchesItsFullCalculation) {
  ASSERT_GT(bars_.size(), 1000u);
  int windowed = 0;
  for (int kind : {kIndexIndicator, kIndexSystem}) {
    for (const std::string& name : Names(kind)) {
      SIndex x(name.c_str(), kind);
      ASSERT_EQ(x.ReadExpression(name.c_str()), 1) << name;
      ExpectStreamedEqualsFull(x, name);
      SIndex probe = x;
      Feed few;
      few.Bind(probe);
      probe.CalcLast();
      windowed += probe.CalcState[0] == 0;
    }
  }
  EXPECT_GT(windowed, 10);  // most take the incremental path
}

TEST_F(Streamed, CandlePatternIndicatorMatchesItsFullCalculation) {
  SIndex x("candles", kIndexCandlePattern);
  ExpectStreamedEqualsFull(x, "candle patterns");
}

}  // namespace

#endif  // CHARTCALC_SHIPPED_INDEX_DIR
