// Feeds arbitrary bytes to a back-test: the bytes before the first zero byte
// are a settings INI file read by ReadSetting; the rest become the four
// signal series (long entry, long exit, short entry, short exit) of
// different lengths over a small market of intraday bars. The run goes
// through the stops, the trade table, the summary, the equity curves and the
// profit line. Any crash, hang or out-of-bounds read is a bug.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include "FuzzFiles.h"
#include "chartcalc.h"

using namespace chartcalc::detail;

namespace {

constexpr int kBars = 48;

struct Market {
  SVector s[kPriceSlots];
  Market() {
    for (SVector& v : s) v = SVector(kBars);
    for (int i = 0; i < kBars; ++i) {
      const double c = 100.0 + 8.0 * (((i * 7919) % 13) - 6) / 6.0;
      s[kClose][i] = c;
      s[kOpen][i] = c - 0.75 + (i % 3) * 0.5;
      s[kHigh][i] = c + 1.25;
      s[kLow][i] = c - 1.5;
      s[kVolume][i] = 1000.0 + i;
      // Two days of half-hour bars, so that the day-trading cut-off bites.
      s[kDateTime][i] = MakeDateTime(20240105 + i / 24, 90000 + (i % 24) / 2 * 10000 + (i % 2) * 3000);
    }
  }
};

// A signal from one byte: 0 none; else a price near the market's, with the
// top bits as an exit kind now and then.
double SignalOf(uint8_t b) {
  if (b < 160) return 0.0;
  return (b >= 250 ? (b - 249) * 100000000.0 : 0.0) + 92.0 + (b % 17);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static Market market;
  const uint8_t* split = static_cast<const uint8_t*>(std::memchr(data, 0, size));
  const size_t iniSize = split ? static_cast<size_t>(split - data) : size;
  const std::string ini = fuzzfiles::ScratchDir() + "settings.ini";
  fuzzfiles::WriteFile(ini, std::string(reinterpret_cast<const char*>(data), iniSize));

  SSimulation sim;
  sim.SumInfoFile = fuzzfiles::ScratchDir() + "absent/SumInfo.rpt";
  sim.ReadSetting(ini.c_str());
  sim.SetTickSize(0.05);
  SVector* s = market.s;
  sim.SetVariablePointer(&s[kClose], &s[kOpen], &s[kHigh], &s[kLow], &s[kVolume], &s[kDateTime], &s[kOpenInterest],
                         &s[kAmount], &s[kSpread]);
  // Each signal line takes its length from one byte, then its bar bytes.
  const uint8_t* p = split ? split + 1 : data + size;
  const uint8_t* end = data + size;
  for (int line = 0; line < 4; ++line) {
    const int length = p < end ? *p++ % (kBars + 8) : kBars;
    SVector v(length);
    for (int i = 0; i < length; ++i) v[i] = p < end ? SignalOf(*p++) : 0.0;
    v.SetStartIndex(length > 0 ? (line * 3) % length : 0);
    sim.Index.LineData[line] = v;
  }
  sim.ProcessStop();
  sim.SetHistoryToZero();
  sim.SetHistory();
  sim.SummaryCount = 0;
  sim.SetSummary();
  SVector equity;
  for (int side = 0; side < 3; ++side) sim.CalcEquity(&equity, side);
  sim.CalcProfitLoss();
  return 0;
}
