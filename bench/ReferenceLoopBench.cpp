// Five recursive and running-sum functions timed through the whole engine
// (parse, bind, evaluate) against a plain loop of the same algorithm written
// here, over the same 1,000,000 daily bars in the same process: a straight
// loop over the arrays into a buffer the caller owns, as a C library would
// write it. Each pair is registered as BM_Loop<Name>/<market> and
// BM_Engine<Name>/<market>; their ratio is the engine's overhead.
//
// The loops take the arithmetic the engine takes (the reciprocal of the
// period, the same smoothing form), so that where the engine adds nothing of
// its own the two agree to the bit; where it does (sums rebuilt once a window,
// shifted about a value of the window, a flat window found exactly) they agree
// to rounding. Every engine benchmark first checks its result against the
// loop and fails with the first bar that differs.
#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "BenchMarket.h"

using namespace chartcalc::detail;

namespace {

constexpr int kAveragePeriod = 20;
constexpr int kRsiPeriod = 14;
constexpr double kSarStep = 0.02;
constexpr double kSarMaximum = 0.2;
constexpr double kSarStartAcceleration = 0.02;

// ---- the loops: each fills out[first, n) and returns first -----------------

// Exponential average with factor 2 / (p + 1), seeded with the first window's
// simple average.
[[gnu::noipa]] int LoopEAvg(const double* x, int n, int p, double* out) {
  const int first = p - 1;
  double e = 0.0;
  for (int i = 0; i < p; ++i) e += x[i];
  e /= p;
  out[first] = e;
  const double alpha = 2.0 / (p + 1.0);
  for (int i = first + 1; i < n; ++i) out[i] = e += alpha * (x[i] - e);
  return first;
}

// Weighted average, the newest bar weighing p: the weighted sum moves by
// p * x[i] minus the plain sum of the window before.
[[gnu::noipa]] int LoopWAvg(const double* x, int n, int p, double* out) {
  const int first = p - 1;
  const double norm = 2.0 / (static_cast<double>(p) * (p + 1.0));
  double w = 0.0, s = 0.0;
  for (int i = 0; i < p; ++i) w += (i + 1.0) * x[i], s += x[i];
  out[first] = w * norm;
  for (int i = first + 1; i < n; ++i) {
    w += p * x[i] - s;
    s += x[i] - x[i - p];
    out[i] = w * norm;
  }
  return first;
}

double RsiOf(double up, double down) { return up + down == 0.0 ? 0.0 : 100.0 * up / (up + down); }

// Wilder's rsi: plain averages of the first p moves, then smoothed with
// weight 1/p.
[[gnu::noipa]] int LoopRsi(const double* c, int n, int p, double* out) {
  double up = 0.0, down = 0.0;
  for (int i = 1; i <= p; ++i) {
    const double change = c[i] - c[i - 1];
    if (change > 0.0)
      up += change;
    else
      down -= change;
  }
  up /= p;
  down /= p;
  out[p] = RsiOf(up, down);
  const double keep = (p - 1.0) / p, take = 1.0 / p;
  for (int i = p + 1; i < n; ++i) {
    const double change = c[i] - c[i - 1];
    const double gain = std::max(change, 0.0), loss = gain - change;  // without a branch on the sign
    up = keep * up + take * gain;
    down = keep * down + take * loss;
    out[i] = RsiOf(up, down);
  }
  return p;
}

// Pearson correlation from running sums of a, b, a², b² and ab; a window
// without variance gives 0.
[[gnu::noipa]] int LoopCorrelation(const double* a, const double* b, int n, int p, double* out) {
  double sa = 0.0, sb = 0.0, saa = 0.0, sbb = 0.0, sab = 0.0;
  for (int i = 0; i < n; ++i) {
    sa += a[i], sb += b[i], saa += a[i] * a[i], sbb += b[i] * b[i], sab += a[i] * b[i];
    if (i >= p) {
      const double u = a[i - p], v = b[i - p];
      sa -= u, sb -= v, saa -= u * u, sbb -= v * v, sab -= u * v;
    }
    if (i < p - 1) continue;
    const double spreadA = p * saa - sa * sa, spreadB = p * sbb - sb * sb;
    out[i] = spreadA > 0.0 && spreadB > 0.0 ? (p * sab - sa * sb) / std::sqrt(spreadA * spreadB) : 0.0;
  }
  return p - 1;
}

// Parabolic stop and reverse on high and low; the direction of the first move
// comes from the first two closes.
[[gnu::noipa]] int LoopSar(const double* hi, const double* lo, const double* c, int n, double step, double maximum,
                           double* out) {
  bool up = c[1] > c[0];
  double ep = up ? hi[0] : lo[0];
  double stop = up ? lo[0] : hi[0];
  double af = kSarStartAcceleration;
  out[1] = stop + step * (ep - stop);
  for (int i = 2; i < n; ++i) {
    stop += af * (ep - stop);
    out[i] = stop;
    if (up) {
      if (stop > lo[i]) {
        out[i] = stop = ep, ep = lo[i], af = kSarStartAcceleration, up = false;
      } else if (hi[i] > ep) {
        af = std::min(af + step, maximum), ep = hi[i];
      }
    } else {
      if (hi[i] > stop) {
        out[i] = stop = ep, ep = hi[i], af = kSarStartAcceleration, up = true;
      } else if (ep > lo[i]) {
        af = std::min(af + step, maximum), ep = lo[i];
      }
    }
  }
  return 5;  // the first bars serve to settle the stop
}

// ---- the cases ------------------------------------------------------------------

using Loop = int (*)(const BenchMarket&, double* out);

struct ReferenceCase {
  const char* name;
  const char* formula;
  Loop loop;
  double tolerance;  // relative to the value's magnitude (at least 1); 0: the same bits
};

const ReferenceCase kCases[] = {
    {"EAvg20", "eavg(c, 20)",
     [](const BenchMarket& m, double* out) { return LoopEAvg(m.s[kClose].Data(), kBenchBars, kAveragePeriod, out); },
     0.0},
    {"WAvg20", "wavg(c, 20)",
     [](const BenchMarket& m, double* out) { return LoopWAvg(m.s[kClose].Data(), kBenchBars, kAveragePeriod, out); },
     1e-6},
    {"Rsi14", "rsi(14)",
     [](const BenchMarket& m, double* out) { return LoopRsi(m.s[kClose].Data(), kBenchBars, kRsiPeriod, out); }, 0.0},
    {"CorrelationCloseVolume20", "Correlation(c, v, 20)",
     [](const BenchMarket& m, double* out) {
       return LoopCorrelation(m.s[kClose].Data(), m.s[kVolume].Data(), kBenchBars, kAveragePeriod, out);
     },
     1e-6},
    {"Sar", "sar(0.02, 0.2)",
     [](const BenchMarket& m, double* out) {
       return LoopSar(m.s[kHigh].Data(), m.s[kLow].Data(), m.s[kClose].Data(), kBenchBars, kSarStep, kSarMaximum, out);
     },
     0.0},
};

// Empty when the engine's result starts where the loop's does and matches it
// on every bar; else the first difference.
std::string Mismatch(const ReferenceCase& c, const SVector& engine, const std::vector<double>& loop, int first) {
  if (engine.GetSize() != kBenchBars || engine.GetStartIndex() != first)
    return "start " + std::to_string(engine.GetStartIndex()) + " size " + std::to_string(engine.GetSize());
  for (int i = first; i < kBenchBars; ++i) {
    const double e = engine[i], want = loop[i];
    const double allowed = c.tolerance * std::max(1.0, std::fabs(want));
    if (c.tolerance == 0.0 ? e != want : !(std::fabs(e - want) <= allowed))
      return "bar " + std::to_string(i) + ": " + std::to_string(e) + " against " + std::to_string(want);
  }
  return {};
}

void RunLoop(benchmark::State& state, const BenchMarket& market, Loop loop) {
  std::vector<double> out(kBenchBars);
  for (auto _ : state) {
    loop(market, out.data());
    benchmark::DoNotOptimize(out.data());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * kBenchBars);
}

void RunEngine(benchmark::State& state, BenchMarket& market, const ReferenceCase& c) {
  std::vector<double> loop(kBenchBars);
  const int first = c.loop(market, loop.data());
  SCalc calc;
  market.Bind(calc);
  calc.SetExpression(c.formula);
  const std::string mismatch = Mismatch(c, calc.Calculate(), loop, first);
  if (!mismatch.empty()) {
    state.SkipWithError((std::string(c.formula) + " differs from its loop at " + mismatch).c_str());
    return;
  }
  RunFormulaBench(state, market, c.formula);
}

bool RegisterReferencePairs() {
  for (const ReferenceCase& c : kCases) {
    RegisterOnBothMarkets(std::string("BM_Loop") + c.name, BarTime::kDaily,
                          [&c](benchmark::State& state, BenchMarket& market) { RunLoop(state, market, c.loop); });
    RegisterOnBothMarkets(std::string("BM_Engine") + c.name, BarTime::kDaily,
                          [&c](benchmark::State& state, BenchMarket& market) { RunEngine(state, market, c); });
  }
  return true;
}

[[maybe_unused]] const bool kRegistered = RegisterReferencePairs();

}  // namespace
