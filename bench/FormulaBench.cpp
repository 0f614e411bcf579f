// Formula-engine and series benchmarks over 1,000,000 daily bars, each on the
// smooth and on the random-walk market. Each reports ns per bar through the
// items-processed counter (bars per second).
#include "BenchMarket.h"

using namespace chartcalc::detail;

namespace {

// A series kernel called directly, without the formula engine.
struct KernelCase {
  const char* name;
  void (SVector::*kernel)(const SVector&, int);
  int slot;
};

constexpr KernelCase kKernels[] = {
    {"BM_SeriesCalcAvg20", &SVector::CalcAvg, kClose},
    {"BM_SeriesCalcHighest20", &SVector::CalcHighest, kHigh},
    {"BM_SeriesCalcStdev20", &SVector::CalcStdev, kClose},
};
constexpr int kKernelPeriod = 20;

bool RegisterKernels() {
  for (const KernelCase& k : kKernels) {
    RegisterOnBothMarkets(k.name, BarTime::kDaily, [k](benchmark::State& state, BenchMarket& market) {
      const SVector& src = market.s[k.slot];
      SVector r;
      for (auto _ : state) {
        (r.*k.kernel)(src, kKernelPeriod);
        benchmark::DoNotOptimize(r.Data());
      }
      state.SetItemsProcessed(state.iterations() * kBenchBars);
    });
  }
  return true;
}

constexpr FormulaCase kFormulas[] = {
    {"BM_FormulaArithmetic", "a = 2; (a * 3 + 1) / 7 - a"},
};

[[maybe_unused]] const bool kRegistered = RegisterKernels() && RegisterFormulaBenches(kFormulas, BarTime::kDaily);

}  // namespace
