// Compression functions of the formula language: CompressC, CompressO,
// CompressH, CompressL, CompressV and CompressD turn a bound price series into
// one value per group of bars (an hour, a day, a month, a year, or a fixed
// number of bars); DeCompress maps such a series back onto the bars.
//
// A compressed series is indexed by group, not by bar. Mixing it with bar
// series in one expression is not checked: that is the formula's business.
#include <algorithm>
#include <vector>

#include "calc/EngineNames.h"
#include "calc/SCalcCompression.h"
#include "calc/SCalcFunctionTable.h"
#include "calc/SCalcIndicators.h"
#include "chartcalc/DateTime.h"
#include "core/TextTable.h"

namespace chartcalc::detail {

namespace {

// ---- grouping ---------------------------------------------------------------

// Unit words, compared without regard to case; the localised word of the
// current language is accepted too. Any other name groups by hour.
struct UnitWord {
  const char* name;
  TextId localName;
  CompressUnit::Kind kind;
};

const UnitWord kUnitWords[] = {
    {"hour", TxUnitHour, CompressUnit::kHour},
    {"day", TxUnitDay, CompressUnit::kDay},
    {"month", TxMonth, CompressUnit::kMonth},
    {"year", TxYear, CompressUnit::kYear},
};

CompressUnit::Kind UnitOfName(const char* name) {
  for (const UnitWord& w : kUnitWords)
    if (NameEquals(name, w.name) || NameEquals(name, GetText(w.localName))) return w.kind;
  return CompressUnit::kHour;
}

// Marks with 1 every bar that starts a new group; the first bar always does.
template <class Key>
void MarkKeyChanges(const double* dt, int n, unsigned char* starts, Key key) {
  int previous = key(dt[0]);
  for (int i = 1; i < n; ++i) {
    int k = key(dt[i]);
    starts[i] = k != previous;
    previous = k;
  }
}

std::vector<unsigned char> GroupStarts(const double* dt, int n, CompressUnit unit) {
  std::vector<unsigned char> starts(static_cast<size_t>(n), 0);
  if (n == 0) return starts;
  starts[0] = 1;
  switch (unit.kind) {
    case CompressUnit::kBars:
      for (long long i = unit.bars; i < n; i += unit.bars) starts[static_cast<size_t>(i)] = 1;
      break;
    case CompressUnit::kDay: MarkKeyChanges(dt, n, starts.data(), GetDate); break;
    case CompressUnit::kMonth: MarkKeyChanges(dt, n, starts.data(), GetMonth); break;
    case CompressUnit::kYear: MarkKeyChanges(dt, n, starts.data(), GetYear); break;
    default: MarkKeyChanges(dt, n, starts.data(), GetHour); break;
  }
  return starts;
}

// ---- group values -------------------------------------------------------------

// Writes one value per group into out: a group's first bar sets it, every
// later bar merges into it. Returns the number of groups; `start` becomes the
// group that holds bar srcStart.
template <class Merge>
int MergeGroups(const double* src, const unsigned char* starts, int n, int srcStart, double* out, int& start,
                Merge merge) {
  int k = 0;
  out[0] = src[0];
  start = srcStart <= 0 ? 0 : kInvalidStart;
  for (int i = 1; i < n; ++i) {
    if (starts[i]) out[++k] = src[i];
    else out[k] = merge(out[k], src[i]);
    if (i == srcStart) start = k;
  }
  return k + 1;
}

const auto kLast = [](double, double v) { return v; };
const auto kFirst = [](double kept, double) { return kept; };
const auto kHighest = [](double kept, double v) { return v > kept ? v : kept; };
const auto kLowest = [](double kept, double v) { return v < kept ? v : kept; };
const auto kSum = [](double kept, double v) { return kept + v; };

int MergeBySlot(int slot, const double* src, const unsigned char* starts, int n, int srcStart, double* out,
                int& start) {
  switch (slot) {
    case kOpen: return MergeGroups(src, starts, n, srcStart, out, start, kFirst);
    case kHigh: return MergeGroups(src, starts, n, srcStart, out, start, kHighest);
    case kLow: return MergeGroups(src, starts, n, srcStart, out, start, kLowest);
    case kVolume: return MergeGroups(src, starts, n, srcStart, out, start, kSum);
    default: return MergeGroups(src, starts, n, srcStart, out, start, kLast);
  }
}

}  // namespace

SVector CalcCompress(SCalc& calc, int slot, CompressUnit unit) {
  calc.MarkHistory();
  if (unit.kind == CompressUnit::kBars && unit.bars < 1) {
    calc.Error(TxCompressUnit);
    return ZeroSeries(0, kInvalidStart);
  }
  const SVector& dt = calc.Bound(kDateTime);
  const SVector& src = calc.Bound(slot);
  const int n = CommonSize({&dt, &src});
  // Room for one group per bar; the size shrinks to the number of groups.
  SVector r = ZeroSeries(dt.GetSize(), kInvalidStart);
  if (n == 0) {
    r.SetSize(0);
    return r;
  }
  const std::vector<unsigned char> starts = GroupStarts(dt.Data(), n, unit);
  int start = kInvalidStart;
  int groups = MergeBySlot(slot, src.Data(), starts.data(), n, src.GetStartIndex(), r.Data(), start);
  r.SetSize(groups);
  r.SetStartIndex(start);
  return r;
}

SVector CalcDeCompress(SCalc& calc, const SVector& x, const SVector& d) {
  const SVector& dt = calc.Bound(kDateTime);
  const int n = CommonSize({&calc.Bound(kClose), &dt});
  SVector r = ZeroSeries(n, kInvalidStart);
  // Groups both arguments have; bars after the last one stay in it.
  const int groups = x.IsSeries() ? std::min(x.GetSize(), d.GetSize()) : d.GetSize();
  if (groups == 0) return r;
  const int xStart = std::max(x.GetStartIndex(), 0);
  const double* t = dt.Data();
  double* out = r.Data();
  int k = 0;
  for (int i = 0; i < n; ++i) {
    if (t[i] > d[k] && k + 1 < groups) ++k;
    if (k == xStart && r.GetStartIndex() == kInvalidStart) r.SetStartIndex(i);
    out[i] = x[k];
  }
  return r;
}

// ---- reading ----------------------------------------------------------------------

namespace {

// The unit of a compression, written as one token: a unit word (or any other
// name, which means hours) or a number of bars. Anything else is no unit, which
// CalcCompress reports like a number below 1, and is left for the caller.
CompressUnit ReadUnit(SCalc& calc) {
  CompressUnit unit;
  if (calc.CurrentToken() == NAME) {
    unit.kind = UnitOfName(calc.NameText());
  } else {
    unit.kind = CompressUnit::kBars;
    unit.bars = calc.CurrentToken() == NUMBER ? TruncToInt(calc.NumberValue()) : 0;
  }
  return unit;
}

}  // namespace

SVector ReadAndCompress(SCalc& calc, int slot) {
  const bool hasUnit = calc.CurrentToken() == NAME || calc.CurrentToken() == NUMBER;
  SVector r = CalcCompress(calc, slot, ReadUnit(calc));
  if (hasUnit) calc.GetToken();
  return r;
}

}  // namespace chartcalc::detail
