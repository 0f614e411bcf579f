// The synthetic markets the benchmarks run on: 1,000,000 bars, daily or
// intraday (30-minute bars, 14 a day), of one of two price models:
//   smooth  prices that follow a product of sines: varied, but so regular
//           that branchy kernels (highest, rsi, sar) predict nearly every
//           branch and look several times faster than on real prices;
//   walk    a seeded geometric random walk with a realistic bar range, ticks
//           and volume, whose branches are as unpredictable as real data.
// The formula benchmarks run on both, named name/smooth and name/walk. Each
// benchmark reports bars per second (items processed); ns per bar is its
// inverse.
#pragma once

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <span>
#include <string>

#include "SeededRandom.h"
#include "chartcalc.h"

using namespace chartcalc::detail;

inline constexpr int kBenchBars = 1000000;

enum class BarTime { kDaily, kIntraday };
enum class PriceModel { kSmooth, kRandomWalk };

namespace bench_market {

constexpr int kBarsPerDay = 14;  // 09:00, 09:30, ..., 15:30
constexpr int kFirstBarMinutes = 9 * 60;
constexpr int kBarMinutes = 30;
constexpr int kMinutesPerDay = 24 * 60;
constexpr double kStartPrice = 100.0;

// One bar as drawn from the previous close.
struct Bar {
  double open, high, low, close, volume;
};


// The smooth model: the return of bar i is a product of two sines, a fast
// one (period ~17 bars) under a slow envelope (period ~570 bars).
struct SmoothBars {
  Bar Next(double prev, int i, int barOfDay, BarTime time) {
    const double amplitude = time == BarTime::kDaily ? 0.01 : 0.004;
    const double c = prev * std::exp(amplitude * std::sin(i * 0.37) * std::cos(i * 0.011));
    const double volume = 1000.0 + (i % 97) * (1 + barOfDay % 3);
    if (time == BarTime::kDaily) return {c * 0.999, c * 1.01, c * 0.99, c, volume};
    return {prev, std::fmax(prev, c) * 1.002, std::fmin(prev, c) * 0.998, c, volume};
  }
};

// The random-walk model: log-normal steps of 1.5 % a day (scaled to the bar
// length), a gap at each session's open, high and low beyond the open and
// close by half a step, prices on a 0.01 tick, and volume that swells on
// large moves. A weak pull towards the start price keeps a million bars
// within about a factor of ten of it instead of drifting to absurd
// magnitudes; over the windows the formulas look at (up to a few hundred
// bars) it is a plain random walk.
struct WalkBars {
  static constexpr uint64_t kSeed = 20000101;
  static constexpr double kDailyVolatility = 0.015;
  static constexpr double kGapVolatility = 0.3 * kDailyVolatility;
  static constexpr double kDailyPull = 0.0005;
  static constexpr double kBaseVolume = 1.0e6;

  SeededRandom rng{kSeed};

  static double Tick(double v) { return std::round(v * 100.0) / 100.0; }

  Bar Next(double prev, int, int barOfDay, BarTime time) {
    const double share = time == BarTime::kDaily ? 1.0 : 1.0 / kBarsPerDay;  // of a day's variance
    const double sigma = kDailyVolatility * std::sqrt(share);
    const double drift = -kDailyPull * share * std::log(prev / kStartPrice);
    const double gap = barOfDay == 0 ? kGapVolatility * rng.Normal() : 0.0;
    const double open = Tick(prev * std::exp(gap));
    const double close = Tick(open * std::exp(drift + sigma * rng.Normal()));
    const double high = Tick(std::fmax(open, close) * (1.0 + std::fabs(0.5 * sigma * rng.Normal())));
    const double low = Tick(std::fmin(open, close) * (1.0 - std::fabs(0.5 * sigma * rng.Normal())));
    const double move = std::fabs(std::log(close / prev)) / sigma;
    const double volume = std::round(kBaseVolume * share * (0.6 + 0.4 * move) * std::exp(0.25 * rng.Normal()));
    return {open, high, low, close, volume};
  }
};

}  // namespace bench_market

struct BenchMarket {
  SVector s[kPriceSlots];

  BenchMarket(BarTime time, PriceModel model) {
    if (model == PriceModel::kSmooth)
      Fill(time, bench_market::SmoothBars{});
    else
      Fill(time, bench_market::WalkBars{});
  }

  void Bind(SCalc& calc) {
    calc.SetVariable(s[kClose], s[kOpen], s[kHigh], s[kLow], s[kVolume], s[kDateTime], s[kOpenInterest], s[kAmount],
                     s[kSpread]);
  }

 private:
  // Both models share the calendar: daily bars are numbered 20000101 + i,
  // intraday bars run from 09:00 in 30-minute steps on consecutive days.
  template <class Bars>
  void Fill(BarTime time, Bars bars) {
    using namespace bench_market;
    for (SVector& v : s) v = SVector(kBenchBars);
    double c = kStartPrice;
    double day = MakeDateTime(19000101, 0);
    for (int i = 0; i < kBenchBars; ++i) {
      const bool intraday = time == BarTime::kIntraday;
      const int barOfDay = intraday ? i % kBarsPerDay : 0;
      if (intraday && i > 0 && barOfDay == 0) day = GetNextTime(day, kMinutesPerDay);
      const Bar bar = bars.Next(c, i, barOfDay, time);
      c = bar.close;
      s[kOpen][i] = bar.open;
      s[kHigh][i] = bar.high;
      s[kLow][i] = bar.low;
      s[kClose][i] = bar.close;
      s[kVolume][i] = bar.volume;
      s[kDateTime][i] = intraday ? GetNextTime(day, kFirstBarMinutes + kBarMinutes * barOfDay) : 20000101 + i;
      s[kOpenInterest][i] = s[kAmount][i] = s[kSpread][i] = 0.0;
    }
  }
};

inline BenchMarket& DailyMarket() {
  static BenchMarket m(BarTime::kDaily, PriceModel::kSmooth);
  return m;
}

inline BenchMarket& IntradayMarket() {
  static BenchMarket m(BarTime::kIntraday, PriceModel::kSmooth);
  return m;
}

inline BenchMarket& DailyWalkMarket() {
  static BenchMarket m(BarTime::kDaily, PriceModel::kRandomWalk);
  return m;
}

inline BenchMarket& IntradayWalkMarket() {
  static BenchMarket m(BarTime::kIntraday, PriceModel::kRandomWalk);
  return m;
}

// The market of one bar time and price model, built on first use.
inline BenchMarket& Market(BarTime time, PriceModel model) {
  if (time == BarTime::kDaily) return model == PriceModel::kSmooth ? DailyMarket() : DailyWalkMarket();
  return model == PriceModel::kSmooth ? IntradayMarket() : IntradayWalkMarket();
}

// Times one formula evaluated over the whole market.
inline void RunFormulaBench(benchmark::State& state, BenchMarket& market, const char* formula) {
  SCalc calc;
  market.Bind(calc);
  for (auto _ : state) {
    calc.SetExpression(formula);
    SVector r = calc.Calculate();
    benchmark::DoNotOptimize(r.Data());
    if (calc.ErrorCount) state.SkipWithError(calc.ErrorMessage.c_str());
  }
  state.SetItemsProcessed(state.iterations() * kBenchBars);
}

struct PriceModelName {
  PriceModel model;
  const char* suffix;
};
inline constexpr PriceModelName kPriceModels[] = {{PriceModel::kSmooth, "smooth"}, {PriceModel::kRandomWalk, "walk"}};

// Registers a benchmark once per price model, as name/smooth and name/walk,
// timed in milliseconds (which, over a million bars, read as ns per bar).
template <class Body>
void RegisterOnBothMarkets(const std::string& name, BarTime time, Body body) {
  for (const PriceModelName& m : kPriceModels) {
    const PriceModel model = m.model;
    benchmark::RegisterBenchmark((name + "/" + m.suffix).c_str(), [time, model, body](benchmark::State& state) {
      body(state, Market(time, model));
    })->Unit(benchmark::kMillisecond);
  }
}

struct FormulaCase {
  const char* name;
  const char* formula;
};

// Registers every formula of a table on both markets of one bar time.
inline bool RegisterFormulaBenches(std::span<const FormulaCase> cases, BarTime time) {
  for (const FormulaCase& c : cases) {
    const char* formula = c.formula;
    RegisterOnBothMarkets(c.name, time, [formula](benchmark::State& state, BenchMarket& market) {
      RunFormulaBench(state, market, formula);
    });
  }
  return true;
}
