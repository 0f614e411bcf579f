// The synthetic markets the benchmarks run on: 1,000,000 bars of smooth but
// varied prices, daily or intraday (30-minute bars, 14 a day), and the loop
// that times one formula through the engine. Each benchmark reports bars per
// second (items processed); ns per bar is its inverse.
#pragma once

#include <benchmark/benchmark.h>

#include <cmath>

#include "chartcalc.h"

using namespace chartcalc::detail;

inline constexpr int kBenchBars = 1000000;

struct BenchMarket {
  SVector s[kPriceSlots];

  explicit BenchMarket(bool intraday) {
    const int barsPerDay = 14;
    for (int k = 0; k < kPriceSlots; ++k) s[k] = SVector(kBenchBars);
    double c = 100.0;
    double day = MakeDateTime(19000101, 0);
    for (int i = 0; i < kBenchBars; ++i) {
      const double open = c;
      if (intraday) {
        const int k = i % barsPerDay;
        if (i > 0 && k == 0) day = GetNextTime(day, 24 * 60);
        c *= std::exp(0.004 * std::sin(i * 0.37) * std::cos(i * 0.011));
        s[kOpen][i] = open;
        s[kHigh][i] = std::fmax(open, c) * 1.002;
        s[kLow][i] = std::fmin(open, c) * 0.998;
        s[kVolume][i] = 1000.0 + (i % 97) * (1 + k % 3);
        s[kDateTime][i] = GetNextTime(day, 9 * 60 + 30 * k);
      } else {
        c *= std::exp(0.01 * std::sin(i * 0.37) * std::cos(i * 0.011));
        s[kOpen][i] = c * 0.999;
        s[kHigh][i] = c * 1.01;
        s[kLow][i] = c * 0.99;
        s[kVolume][i] = 1000.0 + (i % 97);
        s[kDateTime][i] = 20000101 + i;
      }
      s[kClose][i] = c;
      s[kOpenInterest][i] = s[kAmount][i] = s[kSpread][i] = 0.0;
    }
  }

  void Bind(SCalc& calc) {
    calc.SetVariable(s[kClose], s[kOpen], s[kHigh], s[kLow], s[kVolume], s[kDateTime], s[kOpenInterest],
                     s[kAmount], s[kSpread]);
  }
};

inline BenchMarket& DailyMarket() {
  static BenchMarket m(false);
  return m;
}

inline BenchMarket& IntradayMarket() {
  static BenchMarket m(true);
  return m;
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
