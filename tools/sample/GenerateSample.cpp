// Generates the bundled sample price data from a fixed seed, so the files in
// data/ can be rebuilt byte for byte:
//   chartcalc-gen-sample daily > data/sample_daily.csv
//
// Daily bars are a geometric random walk whose volatility drifts between calm
// and nervous regimes, with overnight gaps, an intraday range around the open
// and close, and volume that swells on large moves. Prices sit on a 0.01 tick.
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "core/DateTime.h"

namespace {

// splitmix64: small, fast and identical on every platform.
struct Rng {
  uint64_t state;
  uint64_t Next() {
    uint64_t z = (state += 0x9E3779B97F4A7C15ULL);
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
    return z ^ (z >> 31);
  }
  double Uniform() { return (static_cast<double>(Next() >> 11) + 0.5) / 9007199254740992.0; }
  double Normal() {
    const double kTwoPi = 6.283185307179586;
    return std::sqrt(-2.0 * std::log(Uniform())) * std::cos(kTwoPi * Uniform());
  }
};

double Tick(double v) { return std::round(v * 100.0) / 100.0; }

// Weekday of a YYYYMMDD date, 0 = Monday (Zeller-style via day counting).
int Weekday(int ymd) {
  int y = ymd / 10000, m = ymd / 100 % 100, d = ymd % 100;
  if (m < 3) m += 12, --y;
  int h = (d + 13 * (m + 1) / 5 + y + y / 4 - y / 100 + y / 400) % 7;  // 0 = Saturday
  return (h + 5) % 7;
}

void Daily() {
  Rng rng{20150102};
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

}  // namespace

int main(int argc, char** argv) {
  if (argc == 2 && std::strcmp(argv[1], "daily") == 0) {
    Daily();
    return 0;
  }
  std::fprintf(stderr, "usage: chartcalc-gen-sample daily > data/sample_daily.csv\n");
  return 1;
}
