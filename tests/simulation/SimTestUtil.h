// Hand-built markets and signal series for back-test tests.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <iterator>
#include <string>
#include <vector>

#include "chartcalc.h"

namespace simtest {

inline SVector Series(std::initializer_list<double> values) {
  SVector v(static_cast<int>(values.size()));
  int i = 0;
  for (double x : values) v[i++] = x;
  return v;
}

inline SVector Series(const std::vector<double>& values) {
  SVector v(static_cast<int>(values.size()));
  for (int i = 0; i < v.GetSize(); ++i) v[i] = values[i];
  return v;
}

// A market of n bars. Every bar's open, high, low and close default to the
// close; date-times are consecutive days from 2024-01-01 unless set.
struct Market {
  std::vector<double> close, open, high, low, volume, dateTime;

  explicit Market(std::vector<double> closes) : close(std::move(closes)) {
    const size_t n = close.size();
    open = high = low = close;
    volume.assign(n, 1000.0);
    dateTime.resize(n);
    for (size_t i = 0; i < n; ++i) dateTime[i] = 20240101.0 + static_cast<double>(i);
  }
  // Intraday bars of one day from hhmm = start, every `minutes` minutes.
  Market& Intraday(int yyyymmdd, int startHhmm, int minutes) {
    int h = startHhmm / 100, m = startHhmm % 100;
    for (double& dt : dateTime) {
      dt = yyyymmdd * 1000000.0 + h * 10000 + m * 100;
      m += minutes;
      h += m / 60;
      m %= 60;
    }
    return *this;
  }
  int Size() const { return static_cast<int>(close.size()); }
};

// Binds the market to the simulation with copies (SetVariable), so that the
// caller's Market may go away.
inline void Bind(SSimulation& sim, const Market& m) {
  SVector c = Series(m.close), o = Series(m.open), h = Series(m.high), l = Series(m.low), v = Series(m.volume),
          d = Series(m.dateTime), zero(m.Size());
  sim.SetVariable(c, o, h, l, v, d, zero, zero, zero);
}

// Sets the embedded indicator's four signal lines (long entry, long exit,
// short entry, short exit); a shorter list leaves the other lines empty.
// Every line gets start index 0.
inline void SetSignals(SSimulation& sim, std::initializer_list<std::vector<double>> lines) {
  int k = 0;
  for (const auto& line : lines) sim.Index.LineData[k++] = Series(line);
  for (; k < 4; ++k) sim.Index.LineData[k] = SVector(0);
}

// A signal value of the given exit kind (0 for entries and the indicator's
// own exits).
inline double Signal(double price, int kind = 0) { return kind * 100000000.0 + price; }

// An empty folder of the running test's own (one per suffix), with a
// trailing '/'.
inline std::string TestDir(const std::string& suffix = "") {
  const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
  const std::filesystem::path dir =
      std::filesystem::path(CHARTCALC_TEST_TMP) / (std::string(info->test_suite_name()) + "." + info->name() + suffix);
  std::filesystem::remove_all(dir);
  std::filesystem::create_directories(dir);
  return dir.string() + "/";
}

// A file's bytes; "" when it cannot be read.
inline std::string ReadBytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

// How often `what` occurs in text (overlaps included).
inline size_t Occurrences(const std::string& text, const std::string& what) {
  size_t n = 0;
  for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) ++n;
  return n;
}

// Every record of a table file, each as its fields' values in declared order.
inline std::vector<std::vector<std::string>> TableRecords(const std::string& path) {
  DB db(path.c_str(), 0);
  std::vector<std::vector<std::string>> rows;
  for (db.MoveFirst(1); !db.Eof(); db.MoveNext(1)) {
    rows.emplace_back();
    for (int f = 0; f < db.GetFieldCount(); ++f) rows.back().push_back(db.GetStr(db.GetField(f)->name.c_str()));
  }
  return rows;
}

}  // namespace simtest
