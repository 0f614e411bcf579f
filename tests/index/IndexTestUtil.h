// Test helpers for indicators: the bundled sample bars, bound to an indicator
// and fed one at a time, line comparisons and text helpers.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "chartcalc.h"
#include "core/Cp949.h"
#include "core/TextTable.h"

using namespace chartcalc::detail;

using Rows = std::vector<std::array<double, kPriceSlots>>;

// The bars of a bundled sample CSV (date[,time],open,high,low,close,volume).
inline Rows ReadSample(const std::string& name) {
  Rows rows;
  std::ifstream in(std::string(CHARTCALC_DATA_DIR) + "/" + name);
  std::string line;
  std::getline(in, line);
  const bool hasTime = line.find(",time,") != std::string::npos;
  while (std::getline(in, line)) {
    for (char& ch : line) ch = ch == ',' || ch == ':' ? ' ' : ch;
    std::istringstream row(line);
    double date = 0, hour = 0, minute = 0, open, high, low, close, volume;
    row >> date;
    if (hasTime) row >> hour >> minute;
    row >> open >> high >> low >> close >> volume;
    rows.push_back({close, open, high, low, volume, hasTime ? date * 1e6 + hour * 1e4 + minute * 100 : date});
  }
  return rows;
}

inline const Rows& Daily() {
  static const Rows rows = ReadSample("sample_daily.csv");
  return rows;
}

// Nine bound series that grow bar by bar.
struct Feed {
  SVector s[kPriceSlots];

  void Bind(SIndex& x) { x.SetVariable(s[0], s[1], s[2], s[3], s[4], s[5], s[6], s[7], s[8]); }
  void Bind(SCalc& calc) { calc.SetVariable(s[0], s[1], s[2], s[3], s[4], s[5], s[6], s[7], s[8]); }
  void AddBar(const double* values) {
    for (int k = 0; k < kPriceSlots; ++k) s[k].Add(values[k]);
  }
  // Appends bars [from, to) of the daily sample.
  void AddDaily(size_t from, size_t to) {
    for (size_t i = from; i < to; ++i) AddBar(Daily()[i].data());
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
