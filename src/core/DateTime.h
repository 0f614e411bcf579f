// Date-time steps of a fixed number of minutes over many bars in a row, as
// GetNextTime takes them. A pass over intraday bars steps mostly inside
// days it has already seen: such a step needs neither the calendar
// conversions nor the check that the day is a real one, which together cost
// several times the rest of the step.
#pragma once

#include <cstdint>

#include "chartcalc/DateTime.h"

namespace chartcalc::detail {

inline constexpr int64_t kMinutesPerDay = 1440;

// The integer part of a date-time, clamped to a range that holds every
// YYYYMMDDhhmmss value; NaN reads as 0.
inline int64_t WholeDateTime(double dt) {
  if (!(dt > 0.0)) return 0;
  if (dt > 9.9e15) return 0;
  return static_cast<int64_t>(dt + 0.001);
}

// True when YYYYMMDD names a real day (year 0 and later).
bool IsRealDay(int yyyymmdd);

class NextTimes {
 public:
  explicit NextTimes(int minutes) : minutes_(minutes) {}

  // GetNextTime(dt, minutes).
  double After(double dt) {
    const int64_t w = WholeDateTime(dt);
    const bool intraday = dt > kIntradayThreshold;
    const int date = static_cast<int>(intraday ? w / 1000000 : w);
    const int tod = intraday ? static_cast<int>(w % 1000000) : 0;
    const int64_t minuteOfDay = (tod / 10000) * 60 + tod / 100 % 100 + static_cast<int64_t>(minutes_);
    // A day no calendar has (the 30th of February) is not kept as it is:
    // the conversions turn it into the real day it counts up to.
    if (minuteOfDay < 0 || minuteOfDay >= kMinutesPerDay || !IsKnownRealDay(date))
      return AcrossDays(date, tod, minuteOfDay);
    const int64_t hhmmss = (minuteOfDay / 60) * 10000 + (minuteOfDay % 60) * 100 + tod % 100;
    return static_cast<double>(date) * 1000000.0 + static_cast<double>(hhmmss);
  }

 private:
  bool IsKnownRealDay(int date) {
    if (date == realDay_) return true;
    if (!IsRealDay(date)) return false;
    realDay_ = date;
    return true;
  }
  // The step through the day count, for a step that leaves the day or starts
  // on a day no calendar has.
  static double AcrossDays(int date, int tod, int64_t minuteOfDay);

  int minutes_;
  int64_t realDay_ = INT64_MIN;  // no int date equals it
};

// GetLongDate over bars in time order: a date-time inside the intraday
// range of the day last answered is of that day without a conversion.
class BarDays {
 public:
  long Of(double dt) {
    if (dt >= first_ && dt <= last_) return day_;
    day_ = GetLongDate(dt);
    // Every value of [D000000, D235959 and past] reads as day D: its whole
    // part is within the day, since doubles this large are finer than the
    // 0.001 the whole part adds. A day too small to be intraday keeps the
    // range empty.
    const double first = static_cast<double>(day_) * 1000000.0;
    const bool intraday = dt > kIntradayThreshold && first > kIntradayThreshold;
    first_ = intraday ? first : 1.0;
    last_ = intraday ? first + 999999.0 : 0.0;
    return day_;
  }

 private:
  long day_ = 0;
  double first_ = 1.0, last_ = 0.0;  // empty
};

}  // namespace chartcalc::detail
