// The candle-pattern indicator: every pattern of the bound list is evaluated
// over the prices, and each bar of line 0 holds the list position of the last
// pattern that matched there, or -1.
//
// The indicator's own line-0 expression, variables and converted expression
// serve as scratch for each pattern in turn, so that the patterns' variables
// are substituted exactly as an indicator's are.
#include <algorithm>

#include "chartcalc/SFunction.h"
#include "chartcalc/SIndex.h"

using namespace chartcalc::detail;

namespace {

constexpr double kNoPattern = -1.0;

// Copies pattern k's expression and variables into the indicator's scratch
// fields: the variables up to and including the first one without a name.
void LoadPattern(SIndex& x, const SFunction& pattern) {
  x.Expression[0] = pattern.Expression;
  for (int j = 0; j < kIndexVars && j < kMaxFunctionVars; ++j) {
    x.VarName[j] = pattern.VarName[j];
    x.VarValue[j] = pattern.VarValue[j];
    if (pattern.VarName[j].IsEmpty()) break;
  }
}

// Marks with k the bars [from, to) at which r is not zero (a NaN is not
// zero); bars outside r's valid range have no value.
void MarkBars(SVector& marks, const SVector& r, int from, int to, int k) {
  to = std::min(to, marks.GetSize());
  if (r.IsSeries()) {
    from = std::max(from, r.GetStartIndex());
    to = std::min(to, r.GetSize());
  }
  for (int i = std::max(from, 0); i < to; ++i)
    if (r[i] != 0.0) marks[i] = k;
}

const SVector& CloseOf(const SIndex& x) {
  static const SVector kUnbound;
  return x.PriceSeries[kClose] ? *x.PriceSeries[kClose] : kUnbound;
}

// Every bar of the close series, -1 first, then each pattern's marks. The
// look-back of the patterns that depend on recent bars only is recorded for
// the incremental form.
void MarkAllBars(SIndex& x, SCalc& calc) {
  SVector& marks = x.LineData[0];
  marks.SetSize(CloseOf(x).GetSize());
  marks.SetStartIndex(0);
  marks.InitValue(kNoPattern);
  for (int k = 0; k < x.CandleList->GetCount(); ++k) {
    LoadPattern(x, (*x.CandleList)[k]);
    calc.InitCalc();
    x.ConvertExpression();
    if (x.ConvertedExpression[0].IsEmpty()) continue;
    calc.HistoryFlag = 0;
    calc.SetExpression(x.ConvertedExpression[0].c_str());
    const SVector r = calc.Calculate();
    if (calc.HistoryFlag == 0) {
      x.CalcStart[0] = std::max(x.CalcStart[0], r.GetStartIndex());
      x.CalcState[0] = std::max(x.CalcState[0], 0);
    }
    MarkBars(marks, r, 0, r.GetSize(), k);
  }
}

// The last old bar and the new bars, from partial calculations that start
// the recorded look-back before the last old bar.
void MarkNewestBars(SIndex& x, SCalc& calc) {
  SVector& marks = x.LineData[0];
  const int n = CloseOf(x).GetSize();
  const int first = marks.GetSize() - 1;
  const int count = n - first;
  marks.SetSize(n);
  for (int i = first; i < n; ++i) marks[i] = kNoPattern;
  const long long start = static_cast<long long>(first) - x.CalcStart[0];
  for (int k = 0; k < x.CandleList->GetCount(); ++k) {
    LoadPattern(x, (*x.CandleList)[k]);
    calc.InitCalc();
    x.ConvertExpression();
    if (x.ConvertedExpression[0].IsEmpty()) continue;
    calc.SetExpression(x.ConvertedExpression[0].c_str());
    const SVector r = calc.Calculate(static_cast<int>(std::max(start, 0LL)));
    MarkBars(marks, r, first, first + count, k);
  }
}

}  // namespace

void SIndex::CalcCandlePattern() {
  if (!CandleList) return;
  SCalc calc;
  calc.SetVariables(PriceSeries);
  calc.SetFunction(FunctionList);
  const int size = LineData[0].GetSize();
  const bool incremental = CalcState[0] >= 0 && CalcStart[0] >= 0 && CalcStart[0] < kInvalidStart && size > 0 &&
                           size <= CloseOf(*this).GetSize();
  if (incremental) {
    MarkNewestBars(*this, calc);
    return;
  }
  // Marks that cannot be brought up to date are made afresh.
  if (CalcState[0] >= 0) CalcStart[0] = CalcState[0] = -1;
  MarkAllBars(*this, calc);
}
