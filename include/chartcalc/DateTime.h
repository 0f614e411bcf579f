// Bar date-time numbers. A daily bar's date-time is YYYYMMDD; an intraday
// bar's is YYYYMMDDhhmmss, which is always above 100,000,000.
#pragma once

int GetCompDate(double dt);   // calendar date YYYYMMDD
long GetLongDate(double dt);  // the same as a long
int GetYear(double dt);
int GetMonth(double dt);
int GetDate(double dt);  // day of month
int GetHour(double dt);
int GetMinute(double dt);
// The date-time `minutes` later, in the intraday layout (a daily bar counts
// as midnight of its day), rolling over hours, days, months and years.
double GetNextTime(double dt, int minutes);

namespace chartcalc::detail {

inline constexpr double kIntradayThreshold = 100000000.0;

int GetTimeOfDay(double dt);  // hhmmss, 0 for a daily bar
// Builds an intraday date-time from a calendar date and a time of day.
double MakeDateTime(int yyyymmdd, int hhmmss);
// True when yyyymmdd names a real calendar day.
bool IsValidDate(int yyyymmdd);

}  // namespace chartcalc::detail
