// Generates the bundled sample price data from a fixed seed, so the files in
// data/ can be rebuilt byte for byte:
//   chartcalc-gen-sample daily > data/sample_daily.csv
//   chartcalc-gen-sample intraday > data/sample_intraday.csv
//
// Daily bars are a geometric random walk whose volatility drifts between calm
// and nervous regimes, with overnight gaps, an intraday range around the open
// and close, and volume that swells on large moves. Prices sit on a 0.01 tick.
//
// Intraday bars are 30-minute bars from 09:00 to 15:30 over 20 trading days,
// written as a date column and a separate hh:mm time column. Each day opens
// with a gap from the previous close; activity (volatility and volume) is
// highest after the open and before the close and quietest at midday.
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "SeededRandom.h"
#include "chartcalc/DateTime.h"

using namespace chartcalc::detail;

namespace {


double Tick(double v) { return std::round(v * 100.0) / 100.0; }

// Weekday of a YYYYMMDD date, 0 = Monday (Zeller-style via day counting).
int Weekday(int ymd) {
  int y = ymd / 10000, m = ymd / 100 % 100, d = ymd % 100;
  if (m < 3) m += 12, --y;
  int h = (d + 13 * (m + 1) / 5 + y + y / 4 - y / 100 + y / 400) % 7;  // 0 = Saturday
  return (h + 5) % 7;
}

void Daily() {
  SeededRandom rng{20150102};
  std::printf("date,open,high,low,close,volume\n");
  double close = 100.0, vol = 0.015;
  double t = MakeDateTime(20150102, 0);
  while (GetCompDate(t) <= 20241231) {
    int day = GetCompDate(t);
    t = GetNextTime(t, 24 * 60);
    if (Weekday(day) >= 5) continue;
    vol = std::fmin(0.05, std::fmax(0.006, vol * std::exp(0.08 * rng.Normal()) + 0.0004 * (0.015 - vol)));
    double open = Tick(close * std::exp(0.3 * vol * rng.Normal()));
    double next = Tick(open * std::exp(0.0002 + vol * rng.Normal()));
    double high = Tick(std::fmax(open, next) * (1.0 + std::fabs(0.5 * vol * rng.Normal())));
    double low = Tick(std::fmin(open, next) * (1.0 - std::fabs(0.5 * vol * rng.Normal())));
    double move = std::fabs(std::log(next / close)) / vol;
    long volume = std::lround(1.0e6 * (0.6 + 0.4 * move) * std::exp(0.25 * rng.Normal()));
    close = next;
    std::printf("%d,%.2f,%.2f,%.2f,%.2f,%ld\n", day, open, high, low, close, volume);
  }
}

constexpr int kIntradayDays = 20;
constexpr int kBarsPerDay = 14;  // 09:00, 09:30, ..., 15:30
constexpr int kBarMinutes = 30;

// Relative activity of bar k of the day: a U shape, 1.6 at the open and the
// close and 0.6 at midday.
double Activity(int k) {
  double x = (k - (kBarsPerDay - 1) / 2.0) / ((kBarsPerDay - 1) / 2.0);
  return 0.6 + x * x;
}

void Intraday() {
  SeededRandom rng{20241104};
  std::printf("date,time,open,high,low,close,volume\n");
  double close = 250.0;
  double day = MakeDateTime(20241104, 0);
  for (int days = 0; days < kIntradayDays; day = GetNextTime(day, 24 * 60)) {
    if (Weekday(GetCompDate(day)) >= 5) continue;
    ++days;
    double vol = 0.002 * std::exp(0.3 * rng.Normal());  // this day's 30-minute volatility
    double t = GetNextTime(day, 9 * 60);
    for (int k = 0; k < kBarsPerDay; ++k, t = GetNextTime(t, kBarMinutes)) {
      double gap = k == 0 ? 0.004 * rng.Normal() : 0.0;
      double open = Tick(close * std::exp(gap));
      double sigma = vol * Activity(k);
      double next = Tick(open * std::exp(sigma * rng.Normal()));
      double high = Tick(std::fmax(open, next) * (1.0 + std::fabs(0.5 * sigma * rng.Normal())));
      double low = Tick(std::fmin(open, next) * (1.0 - std::fabs(0.5 * sigma * rng.Normal())));
      long volume = std::lround(2.0e4 * Activity(k) * std::exp(0.3 * rng.Normal()));
      close = next;
      int hhmm = GetTimeOfDay(t) / 100;
      std::printf("%d,%02d:%02d,%.2f,%.2f,%.2f,%.2f,%ld\n", GetCompDate(t), hhmm / 100, hhmm % 100, open, high, low,
                  close, volume);
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 2 && std::strcmp(argv[1], "daily") == 0) {
    Daily();
    return 0;
  }
  if (argc == 2 && std::strcmp(argv[1], "intraday") == 0) {
    Intraday();
    return 0;
  }
  std::fprintf(stderr,
               "usage: chartcalc-gen-sample daily > data/sample_daily.csv\n"
               "       chartcalc-gen-sample intraday > data/sample_intraday.csv\n");
  return 1;
}
