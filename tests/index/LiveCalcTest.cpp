// CalcLast as a live host drives it: bars arrive one at a time, the last bar
// is revised by several ticks before the next one starts, and now and then
// something changes under the indicator that makes everything computed so far
// suspect. After every call each line must hold what a fresh calculation
// over the same bars gives, whatever state CalcLast keeps between calls.
#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <functional>

#include "chartcalc/SPriceDataList.h"
#include "index/IndexTestUtil.h"

#ifdef CHARTCALC_SHIPPED_INDEX_DIR

namespace {

// The price record's field code of each engine slot.
constexpr int kSlotField[kPriceSlots] = {kFieldClose,    kFieldOpen,         kFieldHigh,   kFieldLow,   kFieldVolume,
                                         kFieldDateTime, kFieldOpenInterest, kFieldAmount, kFieldSpread};
constexpr size_t kLiveBars = 300;  // of each sample (the intraday one has fewer)
constexpr size_t kFrontBars = 50;  // held back to be inserted in front later
constexpr int kWarmBars = 10;      // fed one at a time before a change
constexpr int kCorrectedBack = 40;

// One tick of a bar: the close a fraction of the way from the open to the
// bar's final close, high and low a fraction of the way out to theirs. The
// last tick leaves the bar as the sample has it (lerp is exact at 1).
struct Tick {
  double close, extremes;
};
constexpr Tick kTicks[] = {{0.0, 0.0}, {0.6, 0.3}, {0.2, 0.7}, {1.0, 1.0}};

void PutRow(SPriceData& d, const Rows::value_type& row, void (SPriceData::*put)(int, double) = &SPriceData::AddData) {
  for (int k = 0; k < kPriceSlots; ++k) (d.*put)(kSlotField[k], row[k]);
}

void ApplyTick(SPriceData& d, const Rows::value_type& row, Tick t) {
  const double open = row[kOpen], close = std::lerp(open, row[kClose], t.close);
  d.UpdateData(kFieldClose, close, 0);
  d.UpdateData(kFieldHigh, std::lerp(std::max(open, close), row[kHigh], t.extremes), 0);
  d.UpdateData(kFieldLow, std::lerp(std::min(open, close), row[kLow], t.extremes), 0);
}

// What every live call is held to, in this one place: the same definition
// and binding, its lines dropped and calculated from nothing.
SIndex Reference(const SIndex& live) {
  SIndex fresh = live;
  fresh.ClearData();
  fresh.SetCalcInit();
  fresh.CalcLast();
  return fresh;
}

// A line whose formula reads a fixed window (the reference left CalcState 0)
// has its newest bars recomputed by a calculation that starts its running
// sums at another bar than a full one does, so its values may differ in the
// last bits. Every other line is rewritten whole and must match exactly.
constexpr double kWindowTolerance = 1e-9;

bool Same(double a, double b, bool window) {
  if (std::isnan(a) || std::isnan(b)) return std::isnan(a) && std::isnan(b);
  if (window) return std::fabs(a - b) <= kWindowTolerance * std::max(1.0, std::fabs(b));
  return std::bit_cast<uint64_t>(a) == std::bit_cast<uint64_t>(b);
}

// Reports the first line and bar that differ from the reference.
bool MatchesReference(const SIndex& live, const std::string& when) {
  const SIndex want = Reference(live);
  for (int line = 0; line < kIndexLines; ++line) {
    const SVector &a = live.LineData[line], &b = want.LineData[line];
    const std::string where = live.IndexName.str() + " line " + std::to_string(line) + ", " + when;
    if (a.GetSize() != b.GetSize() || a.GetStartIndex() != b.GetStartIndex()) {
      ADD_FAILURE() << where << ": size/start " << a.GetSize() << "/" << a.GetStartIndex() << ", reference "
                    << b.GetSize() << "/" << b.GetStartIndex();
      return false;
    }
    for (int i = std::max(b.GetStartIndex(), 0); i < b.GetSize(); ++i)
      if (!Same(a[i], b[i], want.CalcState[line] == 0)) {
        ADD_FAILURE() << where << ", bar " << i << ": " << a[i] << ", reference " << b[i];
        return false;
      }
  }
  return true;
}

Rows Prefix(const Rows& rows, size_t n) { return Rows(rows.begin(), rows.begin() + std::min(n, rows.size())); }

// Feeds the bars to a live copy of x tick by tick; stops at the first
// difference from the reference, one report per definition and sample.
void FollowLive(const SIndex& x, const std::string& sample, const Rows& rows) {
  SPriceDataList list;
  SIndex live = x;
  live.SetData(&list, list.Add());
  for (size_t bar = 0; bar < rows.size(); ++bar) {
    PutRow(list[0], rows[bar]);
    for (size_t t = 0; t < std::size(kTicks); ++t) {
      ApplyTick(list[0], rows[bar], kTicks[t]);
      live.CalcLast();
      if (!MatchesReference(live, sample + " bar " + std::to_string(bar) + " tick " + std::to_string(t))) return;
    }
  }
}

class LiveCalc : public ::testing::Test {
 protected:
  void SetUp() override { SetIndexDir(CHARTCALC_SHIPPED_INDEX_DIR); }
  void TearDown() override { SetIndexDir("./"); }
};

TEST_F(LiveCalc, TicksAndNewBarsLeaveNoShippedLineApartFromAFreshCalculation) {
  std::vector<SIndex> shipped = ReadDefinitions(kIndexIndicator);
  for (SIndex& x : ReadDefinitions(kIndexSystem)) shipped.push_back(x);
  ASSERT_GT(shipped.size(), 30u);
  const std::pair<const char*, Rows> samples[] = {{"daily", Prefix(Daily(), kLiveBars)},
                                                  {"intraday", Prefix(ReadSample("sample_intraday.csv"), kLiveBars)}};
  for (const auto& [sample, rows] : samples)
    for (const SIndex& x : shipped) FollowLive(x, sample, rows);
}

// A live indicator on the daily bars from kFrontBars on, warmed by bars fed
// one at a time; a second record holds the intraday bars.
struct Scene {
  SPriceDataList list;
  int daily = list.Add(), intraday = list.Add();
  SIndex live;
  size_t next = kLiveBars - kWarmBars;
  explicit Scene(const SIndex& x) : live(x) {
    for (size_t i = kFrontBars; i < next; ++i) PutRow(list[0], Daily()[i]);
    for (const auto& row : Prefix(ReadSample("sample_intraday.csv"), kLiveBars)) PutRow(list[1], row);
    live.SetData(&list, daily);
    live.CalcLast();
    while (next < kLiveBars) AddBar();
  }
  void AddBar() {
    PutRow(list[0], Daily()[next++]);
    live.CalcLast();
  }
};

std::string Doubled(const SString& value) {
  char text[32];
  std::snprintf(text, sizeof text, "%g", 2 * AnsiStringToFloat(value, NAN));
  return text;
}

const struct {
  const char* name;
  std::function<void(Scene&)> change;
} kInvalidations[] = {
    {"older bar updated",
     [](Scene& s) {
       SPriceData& d = s.list[0];
       for (int code : {kFieldClose, kFieldHigh, kFieldLow})
         d.UpdateData(code, d.GetData(code, kCorrectedBack) * 1.05, kCorrectedBack);
     }},
    {"history corrected in place",  // unseen by the series: the correction tells
     [](Scene& s) {
       SPriceData& d = s.list[0];
       for (int slot : {kClose, kHigh, kLow}) {
         SVector& series = d.GetSeries(slot);
         series[series.GetSize() - 1 - kCorrectedBack] *= 1.05;
       }
       d.CalcCorrectedPrice(0, 0);
     }},
    {"bars inserted in front",
     [](Scene& s) {
       for (size_t i = 0; i < kFrontBars; ++i) PutRow(s.list[0], Daily()[i], &SPriceData::InsertData);
       s.list[0].InsertDataEnd();
     }},
    {"variable changed", [](Scene& s) { s.live.VarValue[0] = Doubled(s.live.VarValue[0]); }},
    {"expression changed",
     [](Scene& s) { s.live.SetExpression(0, ("(" + s.live.Expression[0].str() + ")*2").c_str()); }},
    {"another record bound", [](Scene& s) { s.live.SetData(&s.list, s.intraday); }},
};

TEST_F(LiveCalc, StaleResultsAreNotKeptAfterBarsVariablesExpressionsOrRecordChange) {
  std::vector<SIndex> cases;
  for (SIndex& x : ReadDefinitions(kIndexIndicator))
    for (const char* name : {"MACD", "RSI", "ParabolicSAR"})
      if (x.IndexName.str() == name && !x.VarName[0].IsEmpty()) cases.push_back(x);
  ASSERT_EQ(cases.size(), 3u);  // each has a variable to change
  for (const SIndex& x : cases)
    for (const auto& [name, change] : kInvalidations) {
      Scene s(x);
      change(s);
      s.live.CalcLast();
      MatchesReference(s.live, name);
      s.AddBar();  // and the next bar builds on the new state
      MatchesReference(s.live, std::string(name) + ", then a new bar");
    }
}

}  // namespace

#endif  // CHARTCALC_SHIPPED_INDEX_DIR
