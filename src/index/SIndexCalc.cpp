// Indicator calculation: the variables substituted into the expressions, the
// full calculation of every line, the incremental calculation of the newest
// bars, the pairing of a trading system's signals and the definition check.
//
// Incremental calculation. A line whose formula depends on a fixed number of
// recent bars only (the engine's history flag stays clear) records the start
// index of its first full result, which is the formula's look-back. Later,
// the last old bar and the new bars are recomputed by a partial calculation
// that restarts the bound prices that many bars before the last old bar, so
// a new bar costs the formula's window, not the history's length.
//
// A line whose formula depends on the whole history is rewritten whole on
// every call, as a full calculation would give it. When its history
// functions keep their running state (see LiveRun.h), the indicator keeps
// the line's whole result and that state between calls (LiveLines.h): the
// last old bar and the new bars come from a partial calculation in which
// those functions go on from the bar before, and the rewrite is a copy.
// Whatever could make the kept state stale sends the line back to a full
// calculation.
#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

#include "calc/SCalcFunctionTable.h"
#include "chartcalc/SIndex.h"
#include "chartcalc/TextHelpers.h"
#include "core/TextTable.h"
#include "index/LiveLines.h"

using namespace chartcalc::detail;

namespace {

// Byte length of a character that starts no name: 2 for a code page 949 lead
// byte followed by a trail byte, else 1. A trail byte may look like a letter,
// so it must never be taken for the start of a name.
size_t CharLength(const char* p) {
  const unsigned char c = static_cast<unsigned char>(*p);
  return c >= 0x81 && c <= 0xFE && p[1] ? 2 : 1;
}

// Length of the name that starts at p (0 when none does), whole however long.
size_t NameLength(const char* p) {
  if (!IsNameStart(static_cast<unsigned char>(*p))) return 0;
  size_t n = 1;
  while (p[n] && IsNamePart(static_cast<unsigned char>(p[n]))) ++n;
  return n;
}

bool NotFormulaCalculated(int type) {
  return type == kIndexNotCalculated || type == kIndexProfitGraph || type == kIndexNamedLines;
}

// Trading systems and single expressions turn their results into prices.
bool TurnsIntoPrices(int type) { return type == kIndexSystem || type == kIndexSingleExpression; }

const SVector& BoundClose(const SIndex& x) {
  static const SVector kUnbound;
  return x.PriceSeries[kClose] ? *x.PriceSeries[kClose] : kUnbound;
}

double CloseAt(const SVector& close, int i) { return i >= 0 && i < close.GetSize() ? close[i] : 0.0; }

// Every valid element that is not zero (a NaN is not zero) becomes the close
// of its bar: a signal line carries the price at which the signal occurred.
void SignalsToPrices(SVector& line, const SVector& close) {
  double* d = line.Data();
  for (int i = std::max(line.GetStartIndex(), 0), n = line.GetSize(); i < n; ++i)
    if (d[i] != 0.0) d[i] = CloseAt(close, i);
}

// Element i of a partial result; a bar below its start index has no value.
double PartialValue(const SVector& r, int i) {
  if (r.IsSeries() && (i < r.GetStartIndex() || i >= r.GetSize())) return 0.0;
  return r[i];
}

// ---- signal pairing -------------------------------------------------------------

// A signal is a valid element that is not zero; a NaN counts as one.
bool IsSignal(const SVector& s, long long k) {
  return k >= std::max(s.GetStartIndex(), 0) && k < s.GetSize() && s[static_cast<int>(k)] != 0.0;
}

void ClearSignal(SVector& s, long long k) { s[static_cast<int>(k)] = 0.0; }

int FirstSignal(const SVector& s) {
  for (int i = std::max(s.GetStartIndex(), 0); i < s.GetSize(); ++i)
    if (s[i] != 0.0) return i;
  return INT_MAX;
}

// The raw values of a series, for passing over bars without a signal; null
// for a single number (whose every element reads as its one value).
const double* RawSignals(const SVector& s) { return s.IsSeries() ? s.Data() : nullptr; }

// One entry line and its exit line: exits before (and on) the first entry are
// dropped, then entries and exits alternate, the position being open after
// the first entry. An entry while open and an exit while closed are dropped.
void PairSignals(SVector& entry, SVector& exit) {
  const long long first = FirstSignal(entry);
  for (long long k = std::max(exit.GetStartIndex(), 0); k <= first && k < exit.GetSize(); ++k)
    if (IsSignal(exit, k)) ClearSignal(exit, k);
  bool open = true;
  const long long common = std::min(entry.GetSize(), exit.GetSize());
  long long k = first + 1;
  // Signals are rare: most bars are passed over on the raw values alone.
  const double* e = RawSignals(entry);
  const double* x = RawSignals(exit);
  for (; k < common; ++k) {
    if (e && x && e[k] == 0.0 && x[k] == 0.0) continue;
    const bool in = IsSignal(entry, k), out = IsSignal(exit, k);
    if (open) {
      if (in) ClearSignal(entry, k);
      if (out) open = false;
    } else {
      if (in) open = true;
      if (out) ClearSignal(exit, k);
    }
  }
  for (; k < entry.GetSize(); ++k) {
    if ((e && e[k] == 0.0) || !IsSignal(entry, k)) continue;
    if (open) ClearSignal(entry, k);
    open = true;
  }
  for (; k < exit.GetSize(); ++k) {
    if ((x && x[k] == 0.0) || !IsSignal(exit, k)) continue;
    if (!open) ClearSignal(exit, k);
    open = false;
  }
}

// ---- definition check -------------------------------------------------------------

IndexError VariableError(TextId id, const SString& name) {
  IndexError e;
  char text[kIndexTextBuffer];
  std::snprintf(text, sizeof text, GetText(id), name.c_str());
  e.Message = text;
  e.ErrorPart = 1;
  return e;
}

bool HasBlank(const SString& s) { return s.str().find_first_of(" \t") != std::string::npos; }

bool StartsWithDigit(const SString& s) { return !s.IsEmpty() && s.c_str()[0] >= '0' && s.c_str()[0] <= '9'; }

int Count(const SString& s, char c) { return static_cast<int>(std::count(s.str().begin(), s.str().end(), c)); }

}  // namespace

// ---- substitution -------------------------------------------------------------------

void SIndex::ConvertExpression(int line) {
  if (line < 0 || line >= kIndexLines) return;
  const std::string& source = Expression[line].str();
  const size_t length = std::min(source.size(), static_cast<size_t>(kIndexTextBuffer - 1));
  const char* text = source.c_str();
  std::string out;
  for (size_t i = 0; i < length;) {
    const size_t n = std::min(NameLength(text + i), length - i);
    if (n == 0) {
      const size_t step = std::min(CharLength(text + i), length - i);
      out.append(text + i, step);
      i += step;
      continue;
    }
    const std::string name(text + i, n);
    const int k = [&] {
      for (int v = 0; v < kIndexVars; ++v)
        if (NameEquals(name.c_str(), VarName[v].c_str())) return v;
      return -1;
    }();
    out += k >= 0 ? VarValue[k].str() : name;
    i += n;
  }
  if (out.size() > static_cast<size_t>(kIndexTextBuffer - 1)) out.resize(kIndexTextBuffer - 1);
  ConvertedExpression[line] = out;
}

void SIndex::ConvertExpression() {
  for (int line = 0; line < kIndexLines; ++line) ConvertExpression(line);
}

// ---- full and incremental calculation -------------------------------------------

namespace {

// Kinds not calculated by formula: the candle-pattern indicator runs its own
// calculation, the rest have none. True when the kind was handled here.
bool CalcWithoutFormula(SIndex& x) {
  if (x.IndexType == kIndexCandlePattern) {
    x.CalcCandlePattern();
    return true;
  }
  return NotFormulaCalculated(x.IndexType);
}

// A fresh engine sees the indicator's price series and user functions.
void BindEngine(SIndex& x, SCalc& calc) {
  calc.SetVariables(x.PriceSeries);
  calc.SetFunction(x.FunctionList);
}

}  // namespace

void SIndex::Calc() {
  if (CalcWithoutFormula(*this)) return;
  SCalc calc;
  BindEngine(*this, calc);
  FunctionHistory.Clear();
  calc.SetFuncHist(&FunctionHistory);
  ConvertExpression();
  for (int line = 0; line < kIndexLines; ++line) {
    if (ConvertedExpression[line].IsEmpty()) continue;
    calc.SetExpression(ConvertedExpression[line].c_str());
    LineData[line] = calc.Calculate();
    if (TurnsIntoPrices(IndexType)) SignalsToPrices(LineData[line], BoundClose(*this));
  }
}

namespace {

// Every element of `from`, the bars below its start index too, into `to`
// (whose buffer is reused when large enough).
void CopyWhole(SVector& to, const SVector& from) {
  const int n = from.GetSize();
  to.SetSize(n);
  if (to.GetSize() == n && n > 0) std::memcpy(to.Data(), from.Data(), sizeof(double) * static_cast<size_t>(n));
  to.SetStartIndex(from.GetStartIndex());
  to.SetSeries(from.IsSeries());
}

// Keeps a line calculated in full for the next call, when its history
// functions left state to go on from and it has one element per bar.
void KeepLine(const SIndex& x, const SCalc& calc, int line, LiveLine& live) {
  const SVector& data = x.LineData[line];
  if (x.CalcState[line] >= 0 || live.run.Failed() || calc.ErrorCount > 0 || !data.IsSeries() ||
      data.GetSize() != BoundClose(x).GetSize()) {
    live.Drop();
    return;
  }
  CopyWhole(live.result, data);
  // The look-back found for the same formula holds again.
  if (live.expression != x.ConvertedExpression[line].str()) live.lookback = 0;
  live.expression = x.ConvertedExpression[line].str();
  live.kept = true;
}

// The whole line, recording whether later calls may take the newest bars
// only: when no function of the formula depends on the whole history. When
// one does, the line and its history functions' state are kept in `live`.
void CalcLineInFull(SIndex& x, SCalc& calc, int line, LiveLine& live) {
  x.CalcState[line] = -1;
  calc.HistoryFlag = 0;
  calc.SetExpression(x.ConvertedExpression[line].c_str());
  live.run.BeginRecord();
  calc.SetLive(&live.run);
  x.LineData[line] = calc.Calculate();
  calc.SetLive(nullptr);
  live.run.End();
  if (calc.HistoryFlag == 0) {
    x.CalcState[line] = 0;
    x.CalcStart[line] = x.LineData[line].GetStartIndex();
  }
  if (TurnsIntoPrices(x.IndexType)) SignalsToPrices(x.LineData[line], BoundClose(x));
  KeepLine(x, calc, line, live);
}

// Restarting the prices earlier because an argument started too late takes
// a few tries at most: the first tells how much earlier.
constexpr int kResumeTries = 4;

// One partial calculation of a kept line from its last old bar `from`, the
// history functions going on from their kept state: done (r holds the
// result), to be tried again with the prices restarted `late` bars earlier,
// or impossible (the line must be calculated in full).
enum class Resumed { kDone, kEarlier, kInFull };

Resumed ResumeOnce(SIndex& x, SCalc& calc, int line, LiveLine& live, int from, SVector& r, int& late) {
  const int start = std::max(from - live.lookback, 0);
  live.run.BeginResume(from, start);
  calc.SetLive(&live.run);
  calc.ErrorCount = 0;
  calc.SetExpression(x.ConvertedExpression[line].c_str());
  r = calc.Calculate(start);
  calc.SetLive(nullptr);
  live.run.End();
  if (live.run.Failed() || calc.ErrorCount > 0 || !live.run.MetEveryNode()) return Resumed::kInFull;
  // A function whose argument started too late gave nothing to go by.
  late = live.run.Earlier() > 0 ? live.run.Earlier() : r.GetStartIndex() - from;
  if (late > 0) return start > 0 ? Resumed::kEarlier : Resumed::kInFull;
  return r.IsSeries() && r.GetSize() == BoundClose(x).GetSize() ? Resumed::kDone : Resumed::kInFull;
}

// Brings a kept line up to date from the bars its last calculation had,
// then rewrites the line with it. False when it must be calculated in full.
bool ResumeLine(SIndex& x, SCalc& calc, int line, LiveLine& live) {
  if (!live.kept || live.expression != x.ConvertedExpression[line].str()) return false;
  const SVector& close = BoundClose(x);
  const int n = close.GetSize(), from = live.result.GetSize() - 1;
  if (from < 1 || n <= from || live.result.GetStartIndex() > from) return false;
  SVector r;
  int late = 0;
  Resumed outcome = Resumed::kEarlier;
  for (int tries = 0; outcome == Resumed::kEarlier && tries < kResumeTries; ++tries) {
    outcome = ResumeOnce(x, calc, line, live, from, r, late);
    if (outcome == Resumed::kEarlier) live.lookback += late;
  }
  if (outcome != Resumed::kDone) return false;
  live.result.SetSize(n);
  if (live.result.GetSize() != n) return false;
  double* d = live.result.Data();
  const bool prices = TurnsIntoPrices(x.IndexType);
  for (int i = from; i < n; ++i) d[i] = prices && r[i] != 0.0 ? CloseAt(close, i) : r[i];
  CopyWhole(x.LineData[line], live.result);
  return true;
}

// True when the line can be brought up to date from its last bar on: it has
// a bar, no bar was taken away, and its recorded look-back is a bar index.
bool CanTakeNewestBars(const SIndex& x, int line) {
  const int d = x.LineData[line].GetSize();
  return x.CalcState[line] >= 0 && x.CalcStart[line] >= 0 && x.CalcStart[line] < kInvalidStart && d > 0 &&
         d <= BoundClose(x).GetSize();
}

// Rewrites the last old bar and the new bars from a partial calculation that
// starts the formula's look-back before the last old bar.
void CalcNewestBars(SIndex& x, SCalc& calc, int line, LiveLine& live) {
  SVector& out = x.LineData[line];
  const SVector& close = BoundClose(x);
  const int n = close.GetSize();
  const int first = out.GetSize() - 1;  // the last old bar
  const long long start = static_cast<long long>(first) - x.CalcStart[line];
  calc.SetExpression(x.ConvertedExpression[line].c_str());
  const SVector r = calc.Calculate(static_cast<int>(std::max(start, 0LL)));
  if (r.IsSeries() && r.GetSize() < n) {
    // The formula's result does not reach the newest bar (it looks ahead);
    // only a whole calculation gives it its own length.
    CalcLineInFull(x, calc, line, live);
    return;
  }
  out.SetSize(n);
  const bool prices = TurnsIntoPrices(x.IndexType);
  for (int i = first; i < n; ++i) {
    const double v = PartialValue(r, i);
    out[i] = prices ? CloseAt(close, i) * v : v;
  }
}

}  // namespace

void SIndex::CalcLast() {
  if (CalcWithoutFormula(*this)) return;
  SCalc calc;
  BindEngine(*this, calc);
  ConvertExpression();
  if (!live_) live_ = std::make_unique<LiveLines>();
  live_->TakeInputs(*this);
  for (int line = 0; line < kIndexLines; ++line) {
    if (ConvertedExpression[line].IsEmpty()) continue;
    LiveLine& live = live_->lines[line];
    if (CanTakeNewestBars(*this, line)) {
      live.Drop();
      CalcNewestBars(*this, calc, line, live);
    } else if (!ResumeLine(*this, calc, line, live)) {
      CalcLineInFull(*this, calc, line, live);
    }
  }
}

void SIndex::SetCalcInit() {
  live_.reset();
  for (int line = 0; line < kIndexLines; ++line) {
    CalcStart[line] = CalcState[line] = -1;
    LineData[line].InitTemp();
  }
}

// ---- signal pairing and definition check ------------------------------------

void SIndex::PreProcess() {
  if (!UsePreProcess) return;
  PairSignals(LineData[0], LineData[1]);
  PairSignals(LineData[2], LineData[3]);
}

IndexError SIndex::CheckError() {
  LastError = IndexError();
  for (int k = 0; k < kIndexVars; ++k) {
    VarName[k].Trim();
    VarValue[k].Trim();
    if (VarName[k].IsEmpty()) continue;
    if (HasBlank(VarName[k])) return LastError = VariableError(TxVarNameBlank, VarName[k]);
    if (StartsWithDigit(VarName[k])) return LastError = VariableError(TxVarNameDigit, VarName[k]);
    if (VarValue[k].IsEmpty()) return LastError = VariableError(TxVarValueMissing, VarName[k]);
  }
  for (int line = 0; line < kIndexLines; ++line) {
    Expression[line].Trim();
    if (Count(Expression[line], '(') == Count(Expression[line], ')')) continue;
    LastError.Message = GetText(TxParenCount);
    LastError.ExpIndex = line;
    return LastError;
  }
  return LastError;
}
