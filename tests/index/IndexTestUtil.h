// Test helpers for indicators: the bundled sample bars, bound to an indicator
// and fed one at a time, and line comparisons; the calc and storage test
// helpers come along.
#pragma once

#include <array>
#include <climits>
#include <cmath>
#include <fstream>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "calc/CalcTestUtil.h"
#include "core/StorageTestUtil.h"

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
    (hasTime ? row >> date >> hour >> minute : row >> date) >> open >> high >> low >> close >> volume;
    rows.push_back({close, open, high, low, volume, hasTime ? date * 1e6 + hour * 1e4 + minute * 100 : date});
  }
  return rows;
}

inline const Rows& Daily() {
  static const Rows rows = ReadSample("sample_daily.csv");
  return rows;
}

// Nine bound series that grow bar by bar.
struct Feed : TestBars {
  using TestBars::Bind;
  void Bind(SIndex& x) { x.SetVariable(s[0], s[1], s[2], s[3], s[4], s[5], s[6], s[7], s[8]); }
  void AddBar(const double* values) {
    for (int k = 0; k < kPriceSlots; ++k) s[k].Add(values[k]);
  }
  // Appends bars [from, to) of the daily sample.
  void AddDaily(size_t from, size_t to) {
    for (size_t i = from; i < to; ++i) AddBar(Daily()[i].data());
  }
};

// The table of a kind's definitions in the index directory.
inline DDB OpenIndexDb(int kind) {
  DDB db(getIndexDBFileName(kind).c_str(), getUserDBFileName(kind).c_str(), 1);
  db.SetExtension(getIndexDBExt(kind));
  return db;
}

// Every definition of a kind in the index directory, read by name.
inline std::vector<SIndex> ReadDefinitions(int kind) {
  DDB db = OpenIndexDb(kind);
  std::vector<SIndex> out;
  for (db.MoveFirst(1); !db.Eof(); db.MoveNext(1)) {
    if (db.Deleted()) continue;
    out.emplace_back("", kind);
    EXPECT_EQ(out.back().ReadExpression(db.GetStr("IndexName")), 1) << db.GetStr("IndexName");
  }
  return out;
}

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
