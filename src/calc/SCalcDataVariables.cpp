// Price-data words and averaging-method words of the formula language.
//
// A price word names a bound price series by one or two fixed English words
// or by the localised word of the current language. The date and time words
// are computed from the bound date-time series; "Year" and "Month" are
// reserved words without a value.
#include <cmath>
#include <iterator>

#include "calc/DataVariables.h"
#include "calc/SCalcFunctionTable.h"
#include "chartcalc/DateTime.h"
#include "chartcalc/SCalc.h"
#include "core/TextTable.h"

using namespace chartcalc::detail;

namespace {

// What a price word evaluates to besides a bound series.
enum WordKind { kBoundSeries, kDateWord, kTimeWord, kReservedWord };

struct DataWord {
  const char* english[2];  // up to two English spellings; nullptr when fewer
  TextId local;
  WordKind kind;
  int slot;  // the bound series of a kBoundSeries word
};

// One row per word, in the order the words are documented.
constexpr DataWord kDataWords[] = {
    {{"c", "close"}, TxClose, kBoundSeries, kClose},
    {{"o", "open"}, TxOpen, kBoundSeries, kOpen},
    {{"h", "high"}, TxHigh, kBoundSeries, kHigh},
    {{"l", "low"}, TxLow, kBoundSeries, kLow},
    {{"v", "volume"}, TxVolume, kBoundSeries, kVolume},
    {{"oi", "openInterest"}, TxOpenInterest, kBoundSeries, kOpenInterest},
    {{"amount", nullptr}, TxAmount, kBoundSeries, kAmount},
    {{"spread", nullptr}, TxSpread, kBoundSeries, kSpread},
    {{"d", "date"}, TxDate, kDateWord, kDateTime},
    {{"Time", nullptr}, TxTime, kTimeWord, kDateTime},
    {{"Year", nullptr}, TxYear, kReservedWord, kDateTime},
    {{"Month", nullptr}, TxMonth, kReservedWord, kDateTime},
};

// Method words in method order: the value of a word is its position.
constexpr TextId kMethodWords[] = {TxMethodSimple, TxMethodExponential, TxMethodWeighted, TxMethodGeometric,
                                   TxMethodHarmonic};

// The row of a price word (an English spelling or the current language's
// localised word), or nullptr.
const DataWord* FindDataWord(const char* name) {
  for (const DataWord& w : kDataWords) {
    for (const char* spelling : w.english)
      if (spelling && NameEquals(name, spelling)) return &w;
    if (NameEquals(name, GetText(w.local))) return &w;
  }
  return nullptr;
}

// A work series framed like the date-time series, every element filled by
// f(value), so that bars below the start index carry their own date too.
template <class F>
SVector MapEveryBar(const SVector& dateTime, F f) {
  const int n = dateTime.GetSize();
  SVector out(n);
  out.SetStartIndex(dateTime.GetStartIndex());
  const double* src = dateTime.Data();
  double* dst = out.Data();
  for (int i = 0; i < n; ++i) dst[i] = f(src[i]);
  return out;
}

}  // namespace

DataWordKind chartcalc::detail::ClassifyDataWord(const char* name, int& slot) {
  const DataWord* w = FindDataWord(name);
  if (!w) return DataWordKind::kNone;
  slot = w->slot;
  switch (w->kind) {
    case kBoundSeries: return DataWordKind::kBoundSeries;
    case kDateWord: return DataWordKind::kDate;
    case kTimeWord: return DataWordKind::kTime;
    default: return DataWordKind::kReserved;
  }
}

int chartcalc::detail::MethodWordIndex(const char* name) {
  for (int k = 0; k < static_cast<int>(std::size(kMethodWords)); ++k)
    if (NameEquals(name, GetText(kMethodWords[k]))) return k;
  return kNoMethodWord;
}

SVector chartcalc::detail::DateOfBars(const SVector& dateTime) {
  return MapEveryBar(dateTime, [](double v) { return v > kIntradayThreshold ? GetCompDate(v) : v; });
}

// The six time-of-day digits: (v modulo 1,000,000) + 0.001, truncated; the
// small addition keeps a value stored as 93000 - epsilon from reading 92999.
SVector chartcalc::detail::TimeOfBars(const SVector& dateTime) {
  return MapEveryBar(dateTime, [](double v) {
    return v > kIntradayThreshold ? static_cast<double>(TruncToInt(std::fmod(v, 1000000.0) + 0.001)) : 0.0;
  });
}

int SCalc::IsDataVariable(const char* name) {
  const DataWord* w = FindDataWord(name);
  return w ? static_cast<int>(w - kDataWords) + 1 : 0;
}

SVector SCalc::ProcessDataVariable(const char* name) {
  const DataWord* w = FindDataWord(name);
  if (!w) return SVector();
  switch (w->kind) {
    case kBoundSeries: return Bound(w->slot);
    case kDateWord: return DateOfBars(Bound(kDateTime));
    case kTimeWord: return TimeOfBars(Bound(kDateTime));
    default: return Error(TxVariableDefinition);
  }
}

int SCalc::IsMethodVariable(const char* name) { return MethodWordIndex(name) != kNoMethodWord; }

// A method word is a single number, its method's value, so that it broadcasts
// like any constant when it stands in an expression.
SVector SCalc::ProcessMethodVariable(const char* name) {
  methodValue_ = SVector(static_cast<double>(MethodWordIndex(name)));
  return methodValue_;
}
