// Series functions of the formula language: one row per function in the
// table, one small evaluator per function. An evaluator only reads its
// arguments (see FunctionArgs.h) and calls the computation in
// SeriesFunctions.cpp. Prim handles the optional trailing ", n" delay and the
// closing ")".
#include "calc/DataVariables.h"
#include "calc/EngineNames.h"
#include "calc/FunctionArgs.h"
#include "calc/SeriesFunctions.h"

using namespace chartcalc::detail;

namespace {

// if(c, a, b)
SVector EvalIf(SCalc& calc) {
  SVector c = NextArg(calc);
  SVector a = NextArg(calc);
  SVector b = NextArg(calc);
  return SeriesIf(calc, c, a, b);
}

// name(x) is the cumulative form, name(x, n) the period form; the token after
// the series tells them apart.
SVector EvalMoving(SCalc& calc, MovingKind kind) {
  SVector x = NextArg(calc);
  switch (calc.CurrentToken()) {
    case RP: return SeriesMovingCum(calc, kind, x);
    case COMMA: {
      const int period = NextCountArg(calc);
      return SeriesMoving(calc, kind, x, period);
    }
    default: return MovingFormError(calc, kind);
  }
}

SVector EvalSum(SCalc& calc) { return EvalMoving(calc, kMovingSum); }
SVector EvalAvg(SCalc& calc) { return EvalMoving(calc, kMovingAvg); }
SVector EvalEAvg(SCalc& calc) { return EvalMoving(calc, kMovingEAvg); }
SVector EvalWAvg(SCalc& calc) { return EvalMoving(calc, kMovingWAvg); }
SVector EvalTAvg(SCalc& calc) { return EvalMoving(calc, kMovingTAvg); }
SVector EvalGAvg(SCalc& calc) { return EvalMoving(calc, kMovingGAvg); }
SVector EvalHAvg(SCalc& calc) { return EvalMoving(calc, kMovingHAvg); }

// esum(x [, n]); any other token after the series gives a series without a
// valid bar and no message.
SVector EvalESum(SCalc& calc) {
  SVector x = NextArg(calc);
  switch (calc.CurrentToken()) {
    case RP: return SeriesESumCum(calc, x);
    case COMMA: {
      const int period = NextCountArg(calc);
      return SeriesESum(calc, x, period);
    }
    default: {
      calc.MarkHistory();
      x.SetStartIndex(kInvalidStart);
      return x;
    }
  }
}

// The method argument of ma, written as one token: a method word of the
// current language, a formula variable holding a method's value, or a number
// (the simple average). Steps past it; false when it names no method.
bool ReadMethod(SCalc& calc, int& method) {
  const TokenValue t = calc.GetToken();
  if (t != NAME && t != NUMBER) return false;
  method = 0;
  if (t == NAME) {
    method = MethodWordIndex(calc.NameText());
    if (method == kNoMethodWord) {
      const Name* var = calc.Look(calc.NameText(), 0);
      calc.GetToken();
      if (!var) return false;
      method = CountArg(var->value);
      return true;
    }
  }
  calc.GetToken();
  return true;
}

// ma(x, n [, method])
SVector EvalMa(SCalc& calc) {
  SVector x = NextArg(calc);
  const int period = NextCountArg(calc);
  switch (calc.CurrentToken()) {
    case RP: return SeriesMoving(calc, kMovingAvg, x, period);
    case COMMA: {
      int method = 0;
      if (!ReadMethod(calc, method)) return calc.Error(TxMethodWrong);
      return SeriesMaMethod(calc, x, period, method);
    }
    default: return calc.Error(TxAvgUnknown);
  }
}

// stdev(x, n)
SVector EvalStdev(SCalc& calc) {
  SVector x = NextArg(calc);
  const int period = NextCountArg(calc);
  return SeriesStdev(calc, x, period);
}

// highest(x, n)
SVector EvalHighest(SCalc& calc) {
  SVector x = NextArg(calc);
  const int period = NextCountArg(calc);
  return SeriesHighest(calc, x, period);
}

// lowest(x, n)
SVector EvalLowest(SCalc& calc) {
  SVector x = NextArg(calc);
  const int period = NextCountArg(calc);
  return SeriesLowest(calc, x, period);
}

// min(x, y, ...) and max(x, y, ...) take every further argument, so they have
// no trailing delay.
SVector EvalFold(SCalc& calc, SVector (*fold)(const SVector&, const SVector&)) {
  SVector acc = NextArg(calc);
  while (calc.CurrentToken() == COMMA) acc = fold(acc, calc.Expr());
  return acc;
}

SVector EvalMin(SCalc& calc) { return EvalFold(calc, SeriesMinOf); }
SVector EvalMax(SCalc& calc) { return EvalFold(calc, SeriesMaxOf); }

// shift(x, n)
SVector EvalShift(SCalc& calc) {
  SVector x = NextArg(calc);
  const int n = NextCountArg(calc);
  return SeriesShift(calc, x, n);
}

// ref(x, n)
SVector EvalRef(SCalc& calc) {
  SVector x = NextArg(calc);
  return SeriesRef(x, NextCountArg(calc));
}

// crossup(a, b)
SVector EvalCrossUp(SCalc& calc) {
  SVector a = NextArg(calc);
  SVector b = NextArg(calc);
  return SeriesCrossUp(a, b);
}

// crossdown(a, b)
SVector EvalCrossDown(SCalc& calc) {
  SVector a = NextArg(calc);
  SVector b = NextArg(calc);
  return SeriesCrossDown(a, b);
}

// valuewhen(n, c, x)
SVector EvalValueWhen(SCalc& calc) {
  const int n = NextCountArg(calc);
  SVector c = NextArg(calc);
  SVector x = NextArg(calc);
  return SeriesValueWhen(calc, n, c, x);
}

// BarsSince(c)
SVector EvalBarsSince(SCalc& calc) { return SeriesBarsSince(calc, NextArg(calc)); }

// CountSince(a, b)
SVector EvalCountSince(SCalc& calc) {
  SVector a = NextArg(calc);
  SVector b = NextArg(calc);
  return SeriesCountSince(calc, a, b);
}

// HighestSince(n, c, x)
SVector EvalHighestSince(SCalc& calc) {
  const int n = NextCountArg(calc);
  SVector c = NextArg(calc);
  SVector x = NextArg(calc);
  return SeriesHighestSince(calc, n, c, x);
}

// LowestSince(n, c, x)
SVector EvalLowestSince(SCalc& calc) {
  const int n = NextCountArg(calc);
  SVector c = NextArg(calc);
  SVector x = NextArg(calc);
  return SeriesLowestSince(calc, n, c, x);
}

// swinghigh(k, x, strength, length) and swinglow(...)
SVector EvalSwing(SCalc& calc, int high) {
  const int instance = NextCountArg(calc);
  SVector x = NextArg(calc);
  const int strength = NextCountArg(calc);
  const int length = NextCountArg(calc);
  return SeriesSwing(calc, high, instance, x, strength, length);
}

SVector EvalSwingHigh(SCalc& calc) { return EvalSwing(calc, 1); }
SVector EvalSwingLow(SCalc& calc) { return EvalSwing(calc, 0); }

// One row per function, in the documented order. "ma" is evaluated under its
// localised name too, but that name is not recognised in a formula; the
// localised "LeftRightMove" is recognised but has no evaluation, so a call
// yields an empty series without a message.
constexpr SCalcFunction kSeriesFunctions[] = {
    {"if", TxIf, EvalIf},
    {"sum", TxSum, EvalSum},
    {"esum", -1, EvalESum},
    {"avg", TxAverage, EvalAvg},
    {"ma", TxMovingAverageName, EvalMa, false},
    {"eavg", TxEAverage, EvalEAvg},
    {"wavg", TxWAverage, EvalWAvg},
    {"tavg", TxTAverage, EvalTAvg},
    {"gavg", TxGAverage, EvalGAvg},
    {"havg", TxHAverage, EvalHAvg},
    {"stdev", TxStdev, EvalStdev},
    {"highest", TxHighest, EvalHighest},
    {"lowest", TxLowest, EvalLowest},
    {"min", TxMinValue, EvalMin},
    {"max", TxMaxValue, EvalMax},
    {"shift", -1, EvalShift},
    {"ref", -1, EvalRef},
    {"crossup", TxCrossUp, EvalCrossUp},
    {"crossdown", TxCrossDown, EvalCrossDown},
    {"valuewhen", -1, EvalValueWhen},
    {"BarsSince", -1, EvalBarsSince},
    {"CountSince", -1, EvalCountSince},
    {"HighestSince", -1, EvalHighestSince},
    {"LowestSince", -1, EvalLowestSince},
    {"swinghigh", -1, EvalSwingHigh},
    {"swinglow", -1, EvalSwingLow},
    {nullptr, TxLeftRightMove, nullptr},
};

}  // namespace

std::span<const SCalcFunction> SeriesFunctionTable() { return kSeriesFunctions; }

bool SCalc::IsVectorFunction(const char* name) {
  return FindCalcFunction(SeriesFunctionTable(), name, true) ||
         FindCalcFunction(IndicatorFunctionTable(), name, true);
}

namespace {

// Steps over a call's arguments up to (not past) the ")" that closes the
// call, without evaluating them.
void SkipArguments(SCalc& calc) {
  for (int depth = 0;; calc.GetToken()) {
    const TokenValue t = calc.CurrentToken();
    if (t == PRINT) return;
    if (t == LP) ++depth;
    if (t == RP && depth-- == 0) return;
  }
}

}  // namespace

// An unrecognised name, or one without an evaluation, yields an empty series
// without a message, whatever arguments the call was written with.
SVector SCalc::ProcessVectorFunction(const char* name) {
  const SCalcFunction* f = FindCalcFunction(SeriesFunctionTable(), name, false);
  if (!f) f = FindCalcFunction(IndicatorFunctionTable(), name, false);
  if (f && f->eval) return f->eval(*this);
  SkipArguments(*this);
  return SVector();
}
