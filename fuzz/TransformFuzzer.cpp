// Feeds arbitrary bytes to every chart-type transform of an indicator: the
// bytes become a close, volume and date-time series (walks with infinite, not
// a number, zero, huge and tiny values mixed in, a start index above 0, a
// date-time series shorter than the closes) and the texts of the first two
// variables (negative, zero, tiny, huge or no number at all). Each transform
// runs on its own variables, with reset and once more on the texts the reset
// wrote; the change value runs on fuzzed bounds. Any crash, hang or
// out-of-bounds access is a bug.
//
// Layout: four header bytes (flags, start index, walk base, walk unit), the
// two variable texts, six bytes of bounds, then three bytes per bar (close,
// volume, time step).
#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>

#include "chartcalc.h"

using namespace chartcalc::detail;

namespace {

// Longer inputs add nothing but time: the transforms are one pass over the
// bars, and the step guards bound their output by the bar count.
constexpr size_t kMaxInput = 400;
constexpr int kBytesPerBar = 3;

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kMax = std::numeric_limits<double>::max();
constexpr double kDenormal = std::numeric_limits<double>::denorm_min();

// Values that break naive level loops and comparisons.
constexpr double kSpecials[] = {
    kNaN, -kNaN, kInf, -kInf, 0.0,   -0.0,          kMax,   -kMax, 1e-308, kDenormal, 1e-300, 1e300, 9007199254740992.0,
    1e15, 1.0,   -1.0, 0.5,   100.0, 100.0 + 1e-12, -100.0, 1e-9,  3.0,    1e9,       2.5e-5};
constexpr int kSpecialCount = sizeof(kSpecials) / sizeof(kSpecials[0]);

// Where a walk starts, and how far one step moves it.
constexpr double kBases[] = {100.0, 0.0, 1e-300, 1e15, 1e300, -50.0, 1.0, 12345.678};
constexpr double kUnits[] = {1.0, 0.01, 1e-9, 1e6, 1e300, 0.25, 1e-300, 7.0};

// Variable texts a user or a damaged file may hold.
const char* const kTexts[] = {"",
                              "0",
                              "-1",
                              "-3",
                              "1",
                              "2",
                              "3",
                              "0.0001",
                              "1e-300",
                              "1e300",
                              "2147483647",
                              "-2147483648",
                              "4294967296",
                              "99999999999999999999",
                              "nan",
                              "inf",
                              "-inf",
                              "abc",
                              "3x",
                              " 5 ",
                              "4.9e-324",
                              "0.5",
                              "15",
                              "30",
                              "120",
                              "1440",
                              "100000",
                              "100001",
                              "-0",
                              "0x10",
                              "1.7976931348623157e308",
                              "20"};
constexpr int kTextCount = sizeof(kTexts) / sizeof(kTexts[0]);

// Intraday time steps in minutes; the last entries step backwards or jump.
constexpr int kMinuteSteps[] = {0, 1, 15, 30, 30, 30, 60, 1440, -30, 7 * 1440, 365 * 1440, 29};
constexpr int kMinuteStepCount = sizeof(kMinuteSteps) / sizeof(kMinuteSteps[0]);
// Date-times no market writes.
constexpr double kBadTimes[] = {kNaN, 0.0, -1.0, kInf, 1e300, 20240230, 99999999999999.0, 20240105};

class Reader {
 public:
  Reader(const uint8_t* data, size_t size) : p_(data), end_(data + std::min(size, kMaxInput)) {}
  uint8_t Byte() { return p_ < end_ ? *p_++ : 0; }
  size_t Left() const { return static_cast<size_t>(end_ - p_); }
  // A table entry, or (a byte past the table) that many raw bytes.
  std::string Text() {
    const uint8_t b = Byte();
    if (b < kTextCount) return kTexts[b];
    std::string s;
    for (int k = b % 16; k > 0 && Left() > 0; --k) s += static_cast<char>(Byte());
    return s;
  }
  // Small numbers around the bar count, and the extremes of int.
  int Bound(int bars) {
    const uint8_t b = Byte();
    switch (b % 8) {
      case 0:
        return INT_MAX;
      case 1:
        return INT_MIN;
      case 2:
        return bars + (b >> 3) % 4 - 1;
      default:
        return static_cast<int>(b >> 3) - 8;
    }
  }

 private:
  const uint8_t* p_;
  const uint8_t* end_;
};

struct Flags {
  bool setData, noVolume, shortTime, dailyTime, emptyClose;
};

Flags FlagsOf(uint8_t b) { return {(b & 1) != 0, (b & 2) != 0, (b & 4) != 0, (b & 8) != 0, (b & 0xF0) == 0xF0}; }

double CloseOf(uint8_t b, double& walk, double unit) {
  if (b >= 256 - kSpecialCount) return kSpecials[b - (256 - kSpecialCount)];
  walk += (static_cast<int>(b % 64) - 32) * unit;
  return walk;
}

double VolumeOf(uint8_t b) { return b >= 256 - kSpecialCount ? kSpecials[b - (256 - kSpecialCount)] : b * 10.0; }

double TimeOf(uint8_t b, double previous, bool daily) {
  if (b >= 248) return kBadTimes[b - 248];
  const int step = kMinuteSteps[b % kMinuteStepCount];
  if (daily) return static_cast<double>(GetCompDate(GetNextTime(previous, step / 1440 * 1440)));
  return GetNextTime(previous, step);
}

struct Series {
  SVector close, volume, dateTime;
};

Series Decode(Reader& in, Flags flags, uint8_t startByte, double base, double unit) {
  const int bars = flags.emptyClose ? 0 : static_cast<int>(in.Left() / kBytesPerBar);
  Series s{SVector(bars), SVector(flags.noVolume ? 0 : bars), SVector(bars)};
  double walk = base;
  double time = flags.dailyTime ? 20240105 : MakeDateTime(20240105, 90000);
  for (int i = 0; i < bars; ++i) {
    s.close[i] = CloseOf(in.Byte(), walk, unit);
    const uint8_t v = in.Byte();
    if (!flags.noVolume) s.volume[i] = VolumeOf(v);
    const double t = TimeOf(in.Byte(), time, flags.dailyTime);
    s.dateTime[i] = t;
    if (t == t && t > 0.0 && t < 1e15) time = t;  // bad date-times do not derail the walk of times
  }
  // The start index: mostly inside the closes, now and then past them or
  // below zero.
  const int start = startByte >= 250 ? (startByte == 255 ? -1 : bars + startByte - 250) : startByte % (bars + 1);
  s.close.SetStartIndex(start);
  if (flags.shortTime) s.dateTime.SetSize(bars / 2);
  return s;
}

void Bind(SIndex& x, Series& s, bool setData, SPriceDataList& list) {
  static SVector none[kPriceSlots];
  if (!setData) {
    x.SetVariable(s.close, none[kOpen], none[kHigh], none[kLow], s.volume, s.dateTime, none[kOpenInterest],
                  none[kAmount], none[kSpread]);
    return;
  }
  const int id = list.Add();
  SPriceData& record = list[0];
  record.GetSeries(kClose) = s.close;
  record.GetSeries(kVolume) = s.volume;
  record.GetSeries(kDateTime) = s.dateTime;
  x.SetData(&list, id);
}

struct Transform {
  void (*run)(SIndex&, int reset, int from, int to);
};

const Transform kTransforms[] = {
    {[](SIndex& x, int r, int, int) { x.CalcPnF(r); }},
    {[](SIndex& x, int r, int, int) { x.CalcKagi(r); }},
    {[](SIndex& x, int r, int, int) { x.CalcSwing(r); }},
    {[](SIndex& x, int r, int, int) { x.CalcRenko(r); }},
    {[](SIndex& x, int r, int, int) { x.CalcThreeLineBreak(r); }},
    {[](SIndex& x, int r, int, int) { x.CalcCounterClock(r); }},
    {[](SIndex& x, int r, int, int) { x.CalcCandleVolume(r); }},
    {[](SIndex& x, int r, int, int) { x.CalcMarketProfile(r); }},
    {[](SIndex& x, int r, int from, int to) { x.CalcVolumeAtPrice(r, from, to); }},
};

// Reads the first and last element of every line, so that a line whose
// size and buffer disagree shows up here rather than in a later reader. A
// line may hold hundreds of thousands of bricks: the ends suffice.
double Ends(const SIndex& x) {
  double sum = 0.0;
  for (const SVector& line : x.LineData)
    if (line.GetSize() > 0) sum += line.Data()[0] + line.Data()[line.GetSize() - 1];
  return sum;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Reader in(data, size);
  const Flags flags = FlagsOf(in.Byte());
  const uint8_t startByte = in.Byte();
  const double base = kBases[in.Byte() % 8];
  const double unit = kUnits[in.Byte() % 8];
  const std::string p1 = in.Text(), p2 = in.Text();
  uint8_t bounds[6];
  for (uint8_t& b : bounds) b = in.Byte();
  Series s = Decode(in, flags, startByte, base, unit);
  const int bars = s.close.GetSize();
  Reader boundsIn(bounds, sizeof bounds);
  const int from = boundsIn.Bound(bars), to = boundsIn.Bound(bars);
  const int mode = boundsIn.Byte() % 3, end = boundsIn.Bound(bars), count = boundsIn.Bound(bars);

  SPriceDataList list;
  SIndex x("fuzz", kIndexNotCalculated);
  Bind(x, s, flags.setData, list);
  volatile double sink = 0.0;
  // One indicator throughout: each transform also meets the lines the one
  // before it left.
  for (const Transform& t : kTransforms) {
    for (int reset : {0, 1}) {
      x.VarValue[0] = p1.c_str();
      x.VarValue[1] = p2.c_str();
      t.run(x, reset, from, to);
      sink = sink + Ends(x);
    }
    t.run(x, 0, from, to);  // the texts the reset wrote
    sink = sink + Ends(x);
  }
  SVector empty;
  for (SVector* values : {&s.close, &s.volume, &s.dateTime, &empty})
    sink = sink + x.MakeChangeValue(mode, *values, end, count);
  (void)sink;
  return 0;
}
