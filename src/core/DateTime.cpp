// Date-time numbers of bars: YYYYMMDD for daily bars, YYYYMMDDhhmmss for
// intraday bars. All conversions go through 64-bit integers so that any double
// (even a corrupt one) gives a defined answer.
#include "core/DateTime.h"

#include <cmath>
#include <cstdint>

using namespace chartcalc::detail;

namespace {

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
  int64_t w = WholeDateTime(dt);
  return static_cast<int>(IsIntraday(dt) ? w / 1000000 : w);
}

long GetLongDate(double dt) { return GetCompDate(dt); }

int chartcalc::detail::GetTimeOfDay(double dt) {
  return IsIntraday(dt) ? static_cast<int>(WholeDateTime(dt) % 1000000) : 0;
}

int GetYear(double dt) { return GetCompDate(dt) / 10000; }
int GetMonth(double dt) { return GetCompDate(dt) / 100 % 100; }
int GetDate(double dt) { return GetCompDate(dt) % 100; }
int GetHour(double dt) { return GetTimeOfDay(dt) / 10000; }
int GetMinute(double dt) { return GetTimeOfDay(dt) / 100 % 100; }

double chartcalc::detail::MakeDateTime(int yyyymmdd, int hhmmss) {
  return static_cast<double>(yyyymmdd) * 1000000.0 + hhmmss;
}

namespace {

constexpr int kDaysInMonth[13] = {0, 31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};

bool IsLeapYear(int64_t y) { return y % 4 == 0 && (y % 100 != 0 || y % 400 == 0); }

}  // namespace

bool chartcalc::detail::IsRealDay(int yyyymmdd) {
  const int y = yyyymmdd / 10000, m = yyyymmdd / 100 % 100, d = yyyymmdd % 100;
  if (y < 0 || m < 1 || m > 12 || d < 1) return false;
  return d <= kDaysInMonth[m] || (m == 2 && d == 29 && IsLeapYear(y));
}

// A date a price file may carry: a real day from year 1 on.
bool chartcalc::detail::IsValidDate(int yyyymmdd) { return yyyymmdd / 10000 >= 1 && IsRealDay(yyyymmdd); }

double NextTimes::AcrossDays(int date, int tod, int64_t minuteOfDay) {
  const int64_t total = DaysFromCivil(date / 10000, date / 100 % 100, date % 100) * kMinutesPerDay + minuteOfDay;
  const int64_t day = total >= 0 ? total / kMinutesPerDay : (total - kMinutesPerDay + 1) / kMinutesPerDay;
  const int64_t minute = total - day * kMinutesPerDay;
  const int64_t ymd = CivilFromDays(day);
  const int64_t hhmmss = (minute / 60) * 10000 + (minute % 60) * 100 + tod % 100;
  return static_cast<double>(ymd) * 1000000.0 + static_cast<double>(hhmmss);
}

double GetNextTime(double dt, int minutes) { return NextTimes(minutes).After(dt); }
