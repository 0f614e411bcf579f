// Test helpers for the formula engine: small hand-made price series bound to
// an engine, and one-call evaluation.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <initializer_list>
#include <string>
#include <vector>

#include "calc/EngineNames.h"
#include "calc/SStack.h"
#include "chartcalc.h"
#include "core/Cp949.h"
#include "core/TextTable.h"

using namespace chartcalc::detail;

// A series from literal values, valid from `start`.
inline SVector Series(std::initializer_list<double> values, int start = 0) {
  SVector s(static_cast<int>(values.size()));
  int i = 0;
  for (double v : values) s[i++] = v;
  s.SetStartIndex(start);
  return s;
}

inline std::vector<double> Values(const SVector& s) {
  return std::vector<double>(s.Data(), s.Data() + s.GetSize());
}

// The elements from the start index on: the bars below it carry no meaning.
inline std::vector<double> ValidValues(const SVector& s) {
  const int from = std::max(s.GetStartIndex(), 0);
  if (from >= s.GetSize()) return {};
  return std::vector<double>(s.Data() + from, s.Data() + s.GetSize());
}

// Nine bound price series. Fill the ones a test needs; the rest stay empty.
struct TestBars {
  SVector s[kPriceSlots];
  SVector& operator[](int slot) { return s[slot]; }
  void Bind(SCalc& calc) {
    calc.SetVariable(s[kClose], s[kOpen], s[kHigh], s[kLow], s[kVolume], s[kDateTime], s[kOpenInterest],
                     s[kAmount], s[kSpread]);
  }
};

struct EvalResult {
  SVector value;
  int errors = 0;
  std::string message;
};

// Evaluates one formula (code page 949 text) over the bars in a fresh engine.
inline EvalResult Evaluate(TestBars& bars, const std::string& formula) {
  SCalc calc;
  bars.Bind(calc);
  calc.SetExpression(formula.c_str());
  EvalResult r;
  r.value = calc.Calculate();
  r.errors = calc.ErrorCount;
  r.message = calc.ErrorMessage.c_str();
  return r;
}

// Korean text of the source (UTF-8) as the library holds it.
inline std::string Cp949(const std::string& utf8) {
  std::string out;
  EXPECT_TRUE(Utf8ToCp949(utf8, out)) << utf8;
  return out;
}

// Switches the language for one test and restores English afterwards.
struct LangScope {
  explicit LangScope(int lang) { SetLangType(lang); }
  ~LangScope() { SetLangType(kLangEnglish); }
};
