// Test helpers for the formula engine: hand-made and generated price series
// bound to an engine, one-call evaluation and the checks the tables share.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

#include "calc/EngineNames.h"
#include "calc/SStack.h"
#include "core/StorageTestUtil.h"

using namespace chartcalc::detail;

// A series from literal values, valid from `start`.
inline SVector Series(std::initializer_list<double> values, int start = 0) {
  SVector s(static_cast<int>(values.size()));
  std::copy(values.begin(), values.end(), s.Data());
  s.SetStartIndex(start);
  return s;
}

inline SVector Series(const std::vector<double>& values, int start = 0) {
  SVector s(static_cast<int>(values.size()));
  std::copy(values.begin(), values.end(), s.Data());
  s.SetStartIndex(start);
  return s;
}

inline std::vector<double> Values(const SVector& s) { return std::vector<double>(s.Data(), s.Data() + s.GetSize()); }

// The elements from the start index on: the bars below it carry no meaning.
inline std::vector<double> ValidValues(const SVector& s) {
  const int from = std::clamp(s.GetStartIndex(), 0, s.GetSize());
  return std::vector<double>(s.Data() + from, s.Data() + s.GetSize());
}

// Nine bound price series. Fill the ones a test needs; the rest stay empty.
struct TestBars {
  SVector s[kPriceSlots];
  SVector& operator[](int slot) { return s[slot]; }
  void Bind(SCalc& calc) {
    calc.SetVariable(s[kClose], s[kOpen], s[kHigh], s[kLow], s[kVolume], s[kDateTime], s[kOpenInterest], s[kAmount],
                     s[kSpread]);
  }
};

// Bars with a close series alone.
inline TestBars CloseBars(const SVector& close) {
  TestBars b;
  b[kClose] = close;
  return b;
}

// A random walk around `level` from a fixed seed: flat for bars 120-159 (longer
// than any window the tests use) and climbing from bar 220.
inline SVector WalkSeries(uint64_t seed, double level, int n = 300) {
  SVector x(n);
  double v = level;
  for (int i = 0; i < n; ++i) {
    seed = seed * 6364136223846793005ULL + 1442695040888963407ULL;
    const double u = static_cast<double>(seed >> 11) / 9007199254740992.0 - 0.5;
    if (i < 120 || i >= 160) v += (i >= 220 ? 0.3 : 0.0) + u;
    x[i] = v;
  }
  return x;
}

// Every slot filled around a walk: open is the previous close, high and low
// reach beyond both by varying amounts, one bar per day.
inline TestBars WalkBars(int n, uint64_t seed = 7) {
  TestBars b;
  const SVector c = WalkSeries(seed, 50, n);
  for (int k = 0; k < kPriceSlots; ++k) b[k] = SVector(n);
  for (int i = 0; i < n; ++i) {
    b[kClose][i] = c[i];
    b[kOpen][i] = i ? c[i - 1] : c[i];
    b[kHigh][i] = std::max(c[i], b[kOpen][i]) + 0.5 + (i % 3) * 0.25;
    b[kLow][i] = std::min(c[i], b[kOpen][i]) - 0.5 - (i % 4) * 0.2;
    b[kVolume][i] = 1000 + (i * 37) % 500;
    b[kDateTime][i] = 20240101 + i;
    b[kOpenInterest][i] = 7 + i % 5, b[kAmount][i] = 3 * i, b[kSpread][i] = i % 2;
  }
  return b;
}

// Bars bound to one engine that keeps its variables and user functions
// from one formula to the next. Not copyable: the engine points at the bars.
struct BoundCalc {
  TestBars bars;
  SFunctionList functions;
  SCalc calc;
  explicit BoundCalc(TestBars b = {}, std::initializer_list<const char*> definitions = {}) : bars(b) {
    for (const char* d : definitions) functions.SetExpressionWithVariable(d);
    bars.Bind(calc);
    calc.SetFunction(&functions);
  }
  BoundCalc(const BoundCalc&) = delete;
  SVector Run(const std::string& formula) {
    calc.SetExpression(formula.c_str());
    return calc.Calculate();
  }
  std::string Message() const { return calc.ErrorMessage.c_str(); }
};

struct EvalResult {
  SVector value;
  int errors = 0;
  std::string message;
  int history = 0;
};

// Evaluates one formula (code page 949 text) over the bars in a fresh engine.
inline EvalResult Evaluate(TestBars& bars, const std::string& formula, SFunctionList* functions = nullptr) {
  SCalc calc;
  bars.Bind(calc);
  calc.SetFunction(functions);
  calc.SetExpression(formula.c_str());
  SVector value = calc.Calculate();
  return {value, calc.ErrorCount, calc.ErrorMessage.c_str(), calc.HistoryFlag};
}

// A formula's expected frame and the values from its start index on.
struct SeriesCase {
  std::string formula;
  int size, start;
  std::vector<double> valid;
};

inline void ExpectSeries(const EvalResult& r, const SeriesCase& c) {
  SCOPED_TRACE(c.formula);
  EXPECT_EQ(r.errors, 0) << r.message;
  EXPECT_EQ(r.value.GetSize(), c.size);
  ASSERT_EQ(r.value.GetStartIndex(), c.start);
  const std::vector<double> got = ValidValues(r.value);
  ASSERT_EQ(got.size(), c.valid.size());
  for (size_t k = 0; k < got.size(); ++k) EXPECT_NEAR(got[k], c.valid[k], 1e-9) << "bar " << c.start + k;
}

inline void ExpectCases(TestBars& bars, std::initializer_list<SeriesCase> cases) {
  for (const SeriesCase& c : cases) ExpectSeries(Evaluate(bars, c.formula), c);
}

// Both results without error and equal over the same frame.
inline void ExpectSame(const EvalResult& a, const EvalResult& b, const std::string& what) {
  SCOPED_TRACE(what);
  EXPECT_EQ(a.errors + b.errors, 0) << a.message << b.message;
  EXPECT_EQ(a.value.GetSize(), b.value.GetSize());
  EXPECT_EQ(a.value.GetStartIndex(), b.value.GetStartIndex());
  EXPECT_EQ(ValidValues(a.value), ValidValues(b.value));
}

inline void ExpectSame(const EvalResult& a, const SVector& b, const std::string& what) {
  ExpectSame(a, {b, 0, "", 0}, what);
}

// Switches the language for one scope and restores English afterwards.
struct LangScope {
  explicit LangScope(int lang) { SetLangType(lang); }
  ~LangScope() { SetLangType(kLangEnglish); }
};
