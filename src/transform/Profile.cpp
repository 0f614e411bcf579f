#include "transform/Profile.h"

#include <algorithm>
#include <cmath>
#include <unordered_map>
#include <utility>
#include <vector>

#include "core/DateTime.h"

namespace chartcalc::detail {

namespace {

double VolumeAt(std::span<const double> volume, size_t bar) { return bar < volume.size() ? volume[bar] : 0.0; }

// Makes the line `size` elements long, all `value`.
void Fill(SVector& line, int size, double value) {
  line.ClearData();
  line.SetSize(size);
  line.InitValue(value);
}

// ---- market profile ---------------------------------------------------------

// For every bar k = 0 ... n, the first bar at k or later that opens a period
// (-1 when none): the period search of the merging and lettering passes in
// constant time, where a forward scan from each bar would cost the length of
// a period per bar, and a period may hold every bar.
std::vector<int> PeriodStarts(std::span<const double> dateTime, int start, int n, int minutes) {
  std::vector<int> next(static_cast<size_t>(n) + 1, -1);
  std::fill(next.begin(), next.begin() + start + 1, start);
  int last = start;
  NextTimes step(minutes);
  double boundary = step.After(dateTime[start]);
  for (int i = start + 1; i < n; ++i) {
    // Written as "not at or past the boundary" so that a NaN date-time stays
    // in its period, as the comparison reads.
    if (!(dateTime[i] >= boundary)) continue;
    std::fill(next.begin() + last + 1, next.begin() + i + 1, i);
    last = i;
    boundary = step.After(dateTime[i]);
  }
  return next;
}

// The letter bars of one period by their close. A period usually holds a few
// bars, which a scan finds fastest; past kScanLimit different closes a hash
// takes over, so a period of many bars costs no more than one pass.
class CloseGroups {
 public:
  int Find(double close) const {
    if (many_.empty()) {
      for (const auto& [c, bar] : few_)
        if (c == close) return bar;
      return -1;
    }
    auto it = many_.find(close);
    return it == many_.end() ? -1 : it->second;
  }
  void Add(double close, int bar) {
    if (many_.empty() && few_.size() < kScanLimit) {
      few_.emplace_back(close, bar);
      return;
    }
    if (many_.empty()) many_.insert(few_.begin(), few_.end());
    many_.emplace(close, bar);
  }
  void Clear() {
    few_.clear();
    // Replaced rather than cleared: clear() keeps the buckets, and every
    // later period would pay for visiting them.
    if (!many_.empty()) many_ = {};
  }

 private:
  static constexpr size_t kScanLimit = 16;
  std::vector<std::pair<double, int>> few_;
  std::unordered_map<double, int> many_;
};

// Bars [first, end) form one period: the first bar of each close becomes its
// letter bar and collects the volume and count of the later bars with that
// close, which are merged (letter 0).
void MergePeriod(const ProfileBars& bars, int first, int end, CloseGroups& groups, ProfileLines& out) {
  groups.Clear();
  for (int j = first; j < end; ++j) {
    const double close = bars.close[j] + 0.0;    // -0.0 and 0.0 are one close
    const bool comparable = !std::isnan(close);  // a NaN close equals no close
    const int letterBar = comparable ? groups.Find(close) : -1;
    if (letterBar < 0) {
      out.volume[j] = VolumeAt(bars.volume, j);
      out.count[j] = 1.0;
      if (comparable) groups.Add(close, j);
      continue;
    }
    out.letter[j] = 0.0;
    out.volume[letterBar] += VolumeAt(bars.volume, j);
    out.count[letterBar] += 1.0;
  }
}

// The letters restart at "A" on the first letter bar of a day (marked in
// dayStart) and step on at each period start; nextStart follows the period
// starts as the lettering rule reads, including its return to the first
// period once the last has passed.
void Letter(const ProfileBars& bars, const std::vector<int>& next, int n, ProfileLines& out) {
  const int s = bars.start;
  out.letter[s] = kProfileFirstLetter;
  out.dayStart[s] = 1.0;
  double letter = kProfileFirstLetter;
  int nextStart = next[next[0] + 1];
  BarDays days;
  long prevLetterDay = days.Of(bars.dateTime[s]);  // the day of the previous letter bar
  for (int i = s + 1; i < n; ++i) {
    if (out.letter[i] == 0.0) continue;
    const long day = days.Of(bars.dateTime[i]);
    if (day > prevLetterDay) {
      letter = kProfileFirstLetter;
      nextStart = next[nextStart + 1];
      out.dayStart[i] = 1.0;
    } else if (i == nextStart) {
      letter += 1.0;
      nextStart = next[nextStart + 1];
    }
    out.letter[i] = letter;
    prevLetterDay = day;
  }
}

// ---- volume at price --------------------------------------------------------

// The lowest and highest close, NaN skipped (both 0 without a number).
std::pair<double, double> CloseRange(std::span<const double> close) {
  bool found = false;
  double lo = 0.0, hi = 0.0;
  for (double c : close) {
    if (std::isnan(c)) continue;
    lo = found ? std::min(lo, c) : c;
    hi = found ? std::max(hi, c) : c;
    found = true;
  }
  return {lo, hi};
}

// The first band whose upper bound is at or above c, so that a close on the
// bound between two bands goes to the lower one; -1 when c lies in no band.
// The quotient guesses the band; bounds that rounding bunched together are
// searched instead.
int BandOf(double c, double lo, double step, const double* lower, const double* upper, int bands) {
  const double q = (c - lo) / step;
  int k = q >= 0.0 ? (q < bands ? static_cast<int>(q) : bands - 1) : 0;
  if (upper[k] < c || (k > 0 && upper[k - 1] >= c))
    k = static_cast<int>(std::lower_bound(upper, upper + bands, c) - upper);
  return k < bands && lower[k] <= c && c <= upper[k] ? k : -1;
}

void BandShares(PriceBandLines& out, int bands) {
  double largest = -1.0, total = 0.0;
  for (int k = 0; k < bands; ++k) {
    if (out.volume[k] >= largest) largest = out.volume[k];
    total += out.volume[k];
  }
  if (largest == 0.0) return;
  for (int k = 0; k < bands; ++k) {
    out.ofLargest[k] = out.volume[k] / largest;
    out.ofTotal[k] = out.volume[k] / total;
  }
}

}  // namespace

int ProfileMinutes(long minutes) {
  return minutes <= kProfileMinMinutes ? kProfileMinMinutes : static_cast<int>(minutes);
}

void MarketProfile(const ProfileBars& bars, int minutes, ProfileLines out) {
  for (SVector* line : {&out.letter, &out.dayStart, &out.volume, &out.count}) line->ClearData();
  // Bars without a date-time cannot be placed in a period.
  const int n = static_cast<int>(std::min(bars.close.size(), bars.dateTime.size()));
  if (bars.start < 0 || bars.start >= n) return;
  // Every line holds one element per bar, so that the bar numbers the
  // passes address stay inside the lines when the first valid bar is not
  // bar 0; the bars below it hold 0.
  Fill(out.letter, n, 0.0);
  std::fill(out.letter.Data() + bars.start, out.letter.Data() + n, 1.0);
  Fill(out.dayStart, n, 0.0);
  Fill(out.volume, n, 0.0);
  Fill(out.count, n, 0.0);
  const std::vector<int> next = PeriodStarts(bars.dateTime, bars.start, n, minutes);
  CloseGroups groups;
  for (int first = bars.start; first < n;) {
    const int end = next[first + 1] < 0 ? n : next[first + 1];
    MergePeriod(bars, first, end, groups, out);
    first = end;
  }
  Letter(bars, next, n, out);
}

void VolumeAtPrice(std::span<const double> close, std::span<const double> volume, int bands, PriceBandLines out) {
  for (SVector* line : {&out.lower, &out.upper, &out.volume, &out.ofLargest, &out.ofTotal}) Fill(*line, bands, 0.0);
  const auto [lo, hi] = CloseRange(close);
  const double step = (hi - lo) / bands;
  if (hi == lo) return;
  double* lower = out.lower.Data();
  double* upper = out.upper.Data();
  for (int k = 0; k < bands; ++k) {
    lower[k] = lo + k * step;
    upper[k] = lo + (k + 1) * step;
  }
  // An infinite close makes the bounds infinite or not numbers: no close can
  // be placed in a band, and the band search needs ordered bounds.
  if (!std::isfinite(lo) || !std::isfinite(step)) return;
  for (size_t b = 0; b < close.size(); ++b) {
    const int k = BandOf(close[b], lo, step, lower, upper, bands);
    if (k >= 0) out.volume[k] += VolumeAt(volume, b);
  }
  BandShares(out, bands);
}

}  // namespace chartcalc::detail
