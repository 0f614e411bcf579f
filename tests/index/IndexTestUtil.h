// Test helpers for indicators: a seeded market whose bars can be bound to an
// indicator and fed one at a time, line comparisons and text helpers.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include "chartcalc.h"
#include "core/Cp949.h"
#include "core/TextTable.h"

using namespace chartcalc::detail;

// Bars of a random walk with a seeded generator, so that every run sees the
// same prices; some bars are flat (open = close) to give crossings and
// patterns something to find.
struct Market {
  std::vector<double> bar[kPriceSlots];

  explicit Market(int n, uint32_t seed = 7) {
    uint32_t state = seed;
    auto next = [&state] {
      state = state * 1664525u + 1013904223u;
      return (state >> 8) / 16777216.0;  // [0, 1)
    };
    double close = 100.0;
    for (int i = 0; i < n; ++i) {
      double open = close * (1.0 + (next() - 0.5) * 0.02);
      close *= 1.0 + (next() - 0.5) * 0.04;
      if (i % 17 == 5) open = close;
      double high = std::max(open, close) * (1.0 + next() * 0.01);
      double low = std::min(open, close) * (1.0 - next() * 0.01);
      double values[kPriceSlots] = {close, open, high, low, 1000.0 + std::floor(next() * 9000.0), 20200101.0 + i};
      for (int k = 0; k < kPriceSlots; ++k) bar[k].push_back(values[k]);
    }
  }
  int Size() const { return static_cast<int>(bar[kClose].size()); }
};

// Nine bound series that grow bar by bar.
struct Feed {
  SVector s[kPriceSlots];

  void Bind(SIndex& x) { x.SetVariable(s[0], s[1], s[2], s[3], s[4], s[5], s[6], s[7], s[8]); }
  void Bind(SCalc& calc) { calc.SetVariable(s[0], s[1], s[2], s[3], s[4], s[5], s[6], s[7], s[8]); }
  void AddBar(const double* values) {
    for (int k = 0; k < kPriceSlots; ++k) s[k].Add(values[k]);
  }
  // Appends bars [from, to) of the market.
  void AddRange(const Market& m, int from, int to) {
    for (int i = from; i < to; ++i)
      for (int k = 0; k < kPriceSlots; ++k) s[k].Add(m.bar[k][static_cast<size_t>(i)]);
  }
  // Rewrites the last bar's close (a new tick within the bar).
  void Tick(double close) { s[kClose].Update(close, 0); }
};

inline std::vector<double> Values(const SVector& s) { return std::vector<double>(s.Data(), s.Data() + s.GetSize()); }

// Same size, same start index and, over the valid range, the same values
// within a relative tolerance (NaN matches NaN).
inline void ExpectSameLine(const SVector& got, const SVector& want, const std::string& what, double tolerance = 1e-9) {
  ASSERT_EQ(got.GetSize(), want.GetSize()) << what;
  ASSERT_EQ(got.GetStartIndex(), want.GetStartIndex()) << what;
  for (int i = std::max(want.GetStartIndex(), 0); i < want.GetSize(); ++i) {
    const double a = got[i], b = want[i];
    if (std::isnan(a) || std::isnan(b))
      EXPECT_EQ(std::isnan(a), std::isnan(b)) << what << " bar " << i;
    else
      EXPECT_NEAR(a, b, tolerance * std::max(1.0, std::fabs(b))) << what << " bar " << i;
  }
}

// UTF-8 source text as the library holds it (code page 949).
inline std::string Cp949(const std::string& utf8) {
  std::string out;
  EXPECT_TRUE(Utf8ToCp949(utf8, out)) << utf8;
  return out;
}

// Switches the language for one scope and restores English afterwards.
struct LangScope {
  explicit LangScope(int lang) { SetLangType(lang); }
  ~LangScope() { SetLangType(kLangEnglish); }
};
