// Day values of the formula language: the running open, high and low of the
// current day, the previous day's open, high, low and close, and the bar's
// position within its day.
//
// A day is the calendar date of a bar's date-time; a day change is a bar whose
// date differs from the previous bar's. The data may begin in the middle of a
// day, so the first day is never taken as a full day: the current-day values
// start at the first day change, the previous-day values once a whole day has
// been seen. Every one of them depends on the whole history before a bar.
#include <algorithm>

#include "calc/SCalcIndicators.h"
#include "chartcalc/DateTime.h"

namespace chartcalc::detail {

namespace {

// Walks the bars in order and tells where a new calendar day begins.
class DayChanges {
 public:
  explicit DayChanges(const double* dateTime) : dt_(dateTime), day_(GetCompDate(dateTime[0])) {}
  // True when bar i starts a day; call for i = 1, 2, ... in order.
  bool At(int i) {
    int day = GetCompDate(dt_[i]);
    bool change = day != day_;
    day_ = day;
    return change;
  }

 private:
  const double* dt_;
  int day_;
};

// The bars both the date-time series and the price series have.
int DayBars(const SVector& dateTime, const SVector& price) { return CommonSize({&dateTime, &price}); }

// A value of the current day: from the first day change on, atChange(p, i)
// at every day change and within(previous result, p[i]) within a day.
template <class AtChange, class Within>
SVector CurrentDayValue(SCalc& calc, int slot, AtChange atChange, Within within) {
  calc.MarkHistory();
  const SVector& dt = calc.Bound(kDateTime);
  const SVector& src = calc.Bound(slot);
  const int n = DayBars(dt, src);
  SVector r = ZeroSeries(n, kInvalidStart);
  if (n < 2) return r;
  const double* p = src.Data();
  double* out = r.Data();
  DayChanges days(dt.Data());
  for (int i = 1; i < n; ++i) {
    if (days.At(i)) {
      if (r.GetStartIndex() == kInvalidStart) r.SetStartIndex(i);
      out[i] = atChange(p, i);
    } else if (r.GetStartIndex() != kInvalidStart) {
      out[i] = within(out[i - 1], p[i]);
    }
  }
  return r;
}

// A value of the previous day. The day that begins at the first change is the
// first full day; its value is tracked (p at its first bar, then
// track(tracked, p[i]) at each later bar) and shown from its last bar on: at
// the second change the start index is that last bar. From then on each day change shows
// the day that just ended and restarts the tracking.
template <class Track>
SVector PreviousDayValue(SCalc& calc, int slot, Track track) {
  calc.MarkHistory();
  const SVector& dt = calc.Bound(kDateTime);
  const SVector& src = calc.Bound(slot);
  const int n = DayBars(dt, src);
  SVector r = ZeroSeries(n, kInvalidStart);
  if (n < 2) return r;
  const double* p = src.Data();
  double* out = r.Data();
  DayChanges days(dt.Data());
  int changes = 0;
  double tracked = 0.0;
  for (int i = 1; i < n; ++i) {
    if (days.At(i)) {
      if (++changes == 2) {
        r.SetStartIndex(i - 1);
        out[i - 1] = tracked;
      }
      if (changes >= 2) out[i] = tracked;
      tracked = p[i];
    } else {
      if (changes >= 1) tracked = track(tracked, p[i]);
      if (changes >= 2) out[i] = out[i - 1];
    }
  }
  return r;
}

const auto kTodayBar = [](const double* p, int i) { return p[i]; };
const auto kYesterdayBar = [](const double* p, int i) { return p[i - 1]; };
const auto kKeep = [](double kept, double) { return kept; };
// Equality takes the bar; the value is the same either way.
const auto kHigher = [](double kept, double v) { return v >= kept ? v : kept; };
const auto kLower = [](double kept, double v) { return v <= kept ? v : kept; };

}  // namespace

SVector CalcDayOpen(SCalc& calc) { return CurrentDayValue(calc, kOpen, kTodayBar, kKeep); }

SVector CalcDayHigh(SCalc& calc) { return CurrentDayValue(calc, kHigh, kTodayBar, kHigher); }

SVector CalcDayLow(SCalc& calc) { return CurrentDayValue(calc, kLow, kTodayBar, kLower); }

SVector CalcPreDayClose(SCalc& calc) { return CurrentDayValue(calc, kClose, kYesterdayBar, kKeep); }

SVector CalcPreDayOpen(SCalc& calc) { return PreviousDayValue(calc, kOpen, kKeep); }

SVector CalcPreDayHigh(SCalc& calc) { return PreviousDayValue(calc, kHigh, kHigher); }

SVector CalcPreDayLow(SCalc& calc) { return PreviousDayValue(calc, kLow, kLower); }

// The bar's position within its day, counted from 0 at the first bar of each
// day and at the date-time series' first valid bar.
SVector CalcDayIndex(SCalc& calc) {
  calc.MarkHistory();
  const SVector& dt = calc.Bound(kDateTime);
  const int n = dt.GetSize();
  SVector r = ZeroSeries(n, dt.GetStartIndex());
  const int s = std::max(dt.GetStartIndex(), 0);
  if (s >= n) return r;
  const double* d = dt.Data();
  double* out = r.Data();
  int day = GetCompDate(d[s]);
  int counter = 0;
  for (int i = s; i < n; ++i) {
    int today = GetCompDate(d[i]);
    if (today != day) counter = 0;
    day = today;
    out[i] = counter++;
  }
  return r;
}

}  // namespace chartcalc::detail
