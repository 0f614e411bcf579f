// Date-time numbers of bars: YYYYMMDD for daily bars, YYYYMMDDhhmmss for
// intraday bars. All conversions go through 64-bit integers so that any double
// (even a corrupt one) gives a defined answer.
#include "chartcalc/DateTime.h"

#include <cmath>
#include <cstdint>

using namespace chartcalc::detail;

namespace {

// The integer part of a date-time, clamped to a range that holds every
// YYYYMMDDhhmmss value; NaN reads as 0.
int64_t Whole(double dt) {
  if (!(dt > 0.0)) return 0;
  if (dt > 9.9e15) return 0;
  return static_cast<int64_t>(dt + 0.001);
}

bool IsIntraday(double dt) { return dt > kIntradayThreshold; }

// Days since 1970-01-01 of a proleptic Gregorian date, and back.
int64_t DaysFromCivil(int64_t y, int64_t m, int64_t d) {
  y -= m <= 2;
  const int64_t era = (y >= 0 ? y : y - 399) / 400;
  const int64_t yoe = y - era * 400;
  const int64_t doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
  const int64_t doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
  return era * 146097 + doe - 719468;
}

int64_t CivilFromDays(int64_t z) {
  z += 719468;
  const int64_t era = (z >= 0 ? z : z - 146096) / 146097;
  const int64_t doe = z - era * 146097;
  const int64_t yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
  const int64_t doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
  const int64_t mp = (5 * doy + 2) / 153;
  const int64_t d = doy - (153 * mp + 2) / 5 + 1;
  const int64_t m = mp + (mp < 10 ? 3 : -9);
  const int64_t y = yoe + era * 400 + (m <= 2);
  return y * 10000 + m * 100 + d;
}

}  // namespace

int GetCompDate(double dt) {
  int64_t w = Whole(dt);
  return static_cast<int>(IsIntraday(dt) ? w / 1000000 : w);
}

long GetLongDate(double dt) { return GetCompDate(dt); }

int chartcalc::detail::GetTimeOfDay(double dt) { return IsIntraday(dt) ? static_cast<int>(Whole(dt) % 1000000) : 0; }

int GetYear(double dt) { return GetCompDate(dt) / 10000; }
int GetMonth(double dt) { return GetCompDate(dt) / 100 % 100; }
int GetDate(double dt) { return GetCompDate(dt) % 100; }
int GetHour(double dt) { return GetTimeOfDay(dt) / 10000; }
int GetMinute(double dt) { return GetTimeOfDay(dt) / 100 % 100; }

double chartcalc::detail::MakeDateTime(int yyyymmdd, int hhmmss) {
  return static_cast<double>(yyyymmdd) * 1000000.0 + hhmmss;
}

bool chartcalc::detail::IsValidDate(int yyyymmdd) {
  int y = yyyymmdd / 10000, m = yyyymmdd / 100 % 100, d = yyyymmdd % 100;
  if (y < 1 || m < 1 || m > 12 || d < 1) return false;
  return CivilFromDays(DaysFromCivil(y, m, d)) == yyyymmdd;
}

namespace {

constexpr int64_t kMinutesPerDay = 1440;
constexpr int kDaysInMonth[13] = {0, 31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};

bool IsLeapYear(int64_t y) { return y % 4 == 0 && (y % 100 != 0 || y % 400 == 0); }

// True when YYYYMMDD is a real day, so that the round trip through the day
// count gives the same date back; a date such as the 30th of February comes
// back as another day.
bool IsRealDay(int64_t y, int64_t m, int64_t d) {
  if (y < 0 || m < 1 || m > 12 || d < 1) return false;
  return d <= kDaysInMonth[m] || (m == 2 && d == 29 && IsLeapYear(y));
}

}  // namespace

double GetNextTime(double dt, int minutes) {
  // GetCompDate and GetTimeOfDay of one integer part: this runs once per bar
  // in the market profile, where the second conversion is a noticeable part.
  const int64_t w = Whole(dt);
  const bool intraday = IsIntraday(dt);
  const int date = static_cast<int>(intraday ? w / 1000000 : w);
  const int tod = intraday ? static_cast<int>(w % 1000000) : 0;
  const int64_t y = date / 10000, m = date / 100 % 100, d = date % 100;
  const int64_t minuteOfDay = (tod / 10000) * 60 + tod / 100 % 100 + static_cast<int64_t>(minutes);
  // Most steps (the next bar, the next period of a day) stay in the day:
  // then the date is kept as it is, without the calendar conversions, which
  // cost more than the rest of the step.
  if (minuteOfDay >= 0 && minuteOfDay < kMinutesPerDay && IsRealDay(y, m, d)) {
    const int64_t hhmmss = (minuteOfDay / 60) * 10000 + (minuteOfDay % 60) * 100 + tod % 100;
    return static_cast<double>(date) * 1000000.0 + static_cast<double>(hhmmss);
  }
  const int64_t total = DaysFromCivil(y, m, d) * kMinutesPerDay + minuteOfDay;
  const int64_t day = total >= 0 ? total / kMinutesPerDay : (total - kMinutesPerDay + 1) / kMinutesPerDay;
  const int64_t minute = total - day * kMinutesPerDay;
  const int64_t ymd = CivilFromDays(day);
  const int64_t hhmmss = (minute / 60) * 10000 + (minute % 60) * 100 + tod % 100;
  return static_cast<double>(ymd) * 1000000.0 + static_cast<double>(hhmmss);
}
