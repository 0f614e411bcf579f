// The seeded generator behind the bundled samples and the benchmarks'
// random-walk market: splitmix64, small, fast and the same numbers on every
// platform and standard library, so every machine makes the same prices.
#pragma once

#include <cmath>
#include <cstdint>

struct SeededRandom {
  uint64_t state;
  uint64_t Next() {
    uint64_t z = (state += 0x9E3779B97F4A7C15ULL);
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
    return z ^ (z >> 31);
  }
  // Uniform in (0, 1).
  double Uniform() { return (static_cast<double>(Next() >> 11) + 0.5) / 9007199254740992.0; }
  // Standard normal (Box-Muller).
  double Normal() {
    const double kTwoPi = 6.283185307179586;
    return std::sqrt(-2.0 * std::log(Uniform())) * std::cos(kTwoPi * Uniform());
  }
};
