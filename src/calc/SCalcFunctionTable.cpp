// The table of formula functions and its lookups, with the evaluators of the
// functions whose argument forms are their own (optional period, averaging
// method word, any number of arguments, unit word). Every other function is
// its computation behind a row: Apply<F> passes the evaluated arguments to F
// by F's parameter types.
#include "calc/SCalcFunctionTable.h"

#include <array>
#include <span>
#include <type_traits>
#include <utility>

#include "calc/DataVariables.h"
#include "calc/EngineNames.h"
#include "calc/LiveRun.h"
#include "calc/MathFunctions.h"
#include "calc/SCalcCompression.h"
#include "calc/SCalcIndicators.h"
#include "calc/SStack.h"
#include "calc/SeriesFunctions.h"
#include "chartcalc/SCalc.h"
#include "core/TextTable.h"

using namespace chartcalc::detail;

namespace {

char Lower(char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c; }

}  // namespace

bool chartcalc::detail::NameEquals(const char* a, const char* b) {
  if (!a || !b) return false;
  while (*a && Lower(*a) == Lower(*b)) ++a, ++b;
  return Lower(*a) == Lower(*b);
}

namespace {

// ---- computations as rows -------------------------------------------------------

// Argument i as a computation's parameter: a series as it is, a count or a
// number from its first element.
template <class T>
decltype(auto) ArgAs(const CallArgs& a, int i) {
  if constexpr (std::is_same_v<T, int>) {
    return a.Count(i);
  } else if constexpr (std::is_same_v<T, double>) {
    return a.Number(i);
  } else {
    static_assert(std::is_same_v<T, const SVector&>, "a computation takes series, counts and numbers");
    return a[i];
  }
}

// A computation with the engine first, and one without it.
template <class... P>
SVector Invoke(SVector (*f)(SCalc&, P...), const CallArgs& a) {
  return [&]<size_t... I>(std::index_sequence<I...>) {
    return f(*a.calc, ArgAs<P>(a, static_cast<int>(I))...);
  }(std::index_sequence_for<P...>());
}

template <class... P>
SVector Invoke(SVector (*f)(P...), const CallArgs& a) {
  return [&]<size_t... I>(std::index_sequence<I...>) {
    return f(ArgAs<P>(a, static_cast<int>(I))...);
  }(std::index_sequence_for<P...>());
}

template <auto F>
SVector Apply(const CallArgs& a) {
  return Invoke(F, a);
}

// A window statistic whose running sums are rebuilt on a schedule that
// starts where the calculation starts: a live run going on from kept state
// (see LiveRun.h) would round its newest bars otherwise than a whole
// calculation does, so it gives way to one.
template <auto F>
SVector ApplyStartRounded(const CallArgs& a) {
  if (LiveRun* live = a.calc->Live(); live && live->Resuming()) live->Fail();
  return Invoke(F, a);
}

// name(x) is the cumulative form, name(x, n) the period form.
template <MovingKind Kind>
SVector ApplyMoving(const CallArgs& a) {
  if (a.count < 2) return SeriesMovingCum(*a.calc, Kind, a[0]);
  return SeriesMoving(*a.calc, Kind, a[0], a.Count(1));
}

SVector ApplyESum(const CallArgs& a) {
  if (a.count < 2) return SeriesESumCum(*a.calc, a[0]);
  return SeriesESum(*a.calc, a[0], a.Count(1));
}

template <SVector (*Fold)(const SVector&, const SVector&)>
SVector ApplyFold(const CallArgs& a) {
  SVector acc = a[0];
  for (int i = 1; i < a.count; ++i) acc = Fold(acc, a[i]);
  return acc;
}

template <MathElement F>
SVector ApplyElement(const CallArgs& a) {
  return ApplyMathElement(a[0], F);
}

// swinghigh / swinglow (k, x, strength, length)
SVector SwingHigh(SCalc& calc, int k, const SVector& x, int strength, int length) {
  return SeriesSwing(calc, 1, k, x, strength, length);
}
SVector SwingLow(SCalc& calc, int k, const SVector& x, int strength, int length) {
  return SeriesSwing(calc, 0, k, x, strength, length);
}

// ---- reading arguments from the formula text -----------------------------------
//
// An evaluator is entered with the token after "(" current; it reads each
// argument with Expr (a "," before an argument is stepped over by Prim) and
// returns with the token after its last argument current.

// The next argument. A ")" where an argument is due means the argument is
// missing: that is reported without consuming the ")", so that the call
// still closes where the user closed it.
SVector NextArg(SCalc& calc) {
  if (calc.CurrentToken() == RP) return calc.Error(TxImperfect);
  return calc.Expr();
}

// The most arguments read for a row without its own evaluator (swinghigh's).
constexpr int kMaxReadArgs = 4;

// Arguments read from the text and held for apply.
class ReadArgs {
 public:
  void Add(SVector v) {
    if (count_ == kMaxReadArgs) return;
    values_[count_] = std::move(v);
    pointers_[count_] = &values_[count_];
    ++count_;
  }
  // The next argument: a bare price word is read in place (a copy of a long
  // series costs as much as a simple function over it), anything else is
  // evaluated.
  void AddNext(SCalc& calc) {
    const SVector* bound = calc.TakeBoundArgument();
    if (!bound) return Add(NextArg(calc));
    if (count_ == kMaxReadArgs) return;
    pointers_[count_++] = bound;
  }
  CallArgs View(SCalc& calc) const { return {&calc, count_, pointers_}; }

 private:
  SVector values_[kMaxReadArgs];
  const SVector* pointers_[kMaxReadArgs] = {};
  int count_ = 0;
};

// A row without its own evaluator: its maxArgs arguments, then apply.
SVector ReadFixedArgs(SCalc& calc, const SCalcFunction& f) {
  ReadArgs args;
  for (int i = 0; i < f.maxArgs; ++i) args.AddNext(calc);
  return f.apply(args.View(calc));
}

// x [, n]: the series, then a period after ","; false when the token after
// the series is neither "," nor ")".
bool ReadPeriodForm(SCalc& calc, ReadArgs& args) {
  args.AddNext(calc);
  if (calc.CurrentToken() == COMMA) {
    args.AddNext(calc);
    return true;
  }
  return calc.CurrentToken() == RP;
}

template <MovingKind Kind>
SVector EvalMoving(SCalc& calc) {
  ReadArgs args;
  if (!ReadPeriodForm(calc, args)) return MovingFormError(calc, Kind);
  return ApplyMoving<Kind>(args.View(calc));
}

// Any other token after the series gives a series without a valid bar and no
// message.
SVector EvalESum(SCalc& calc) {
  ReadArgs args;
  if (ReadPeriodForm(calc, args)) return ApplyESum(args.View(calc));
  calc.MarkHistory();
  SVector x = args.View(calc)[0];
  x.SetStartIndex(kInvalidStart);
  return x;
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
  const int period = CountArg(NextArg(calc));
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

// min(x, y, ...) and max(x, y, ...) take every further argument, so they have
// no trailing delay.
template <SVector (*Fold)(const SVector&, const SVector&)>
SVector EvalFold(SCalc& calc) {
  SVector acc = NextArg(calc);
  while (calc.CurrentToken() == COMMA) acc = Fold(acc, calc.Expr());
  return acc;
}

template <int Slot>
SVector EvalCompress(SCalc& calc) {
  return ReadAndCompress(calc, Slot);
}

// ---- the table --------------------------------------------------------------------

using enum FunctionFamily;

// One row per function, a family's rows together in its documented order. The
// codes are those of compiled lists, which callers keep and analyse: they never
// change. "ma" is evaluated under its localised name too, but that name is not
// recognised in a formula; the localised "LeftRightMove" is recognised but has
// no evaluation, so a call yields an empty series without a message. "^" is
// accepted as a name although the tokenizer never produces it as one; the
// operator compiles to pow's code. The compress functions leave an item on the
// postfix path that its evaluator passes over.
constexpr SCalcFunction kFunctions[] = {
    // name, localised name, family, code, min, max, own evaluator, apply
    {"if", TxIf, kSeries, 51, 3, 3, nullptr, Apply<SeriesIf>},
    {"sum", TxSum, kSeries, kPfSum, 1, 2, EvalMoving<kMovingSum>, ApplyMoving<kMovingSum>},
    {"esum", -1, kSeries, 52, 1, 2, EvalESum, ApplyESum},
    {"avg", TxAverage, kSeries, 48, 1, 2, EvalMoving<kMovingAvg>, ApplyMoving<kMovingAvg>},
    {"ma", TxMovingAverageName, kSeries, 0, 2, 3, EvalMa, nullptr, false},
    {"eavg", TxEAverage, kSeries, 53, 1, 2, EvalMoving<kMovingEAvg>, ApplyMoving<kMovingEAvg>},
    {"wavg", TxWAverage, kSeries, 54, 1, 2, EvalMoving<kMovingWAvg>, ApplyMoving<kMovingWAvg>},
    {"tavg", TxTAverage, kSeries, 0, 1, 2, EvalMoving<kMovingTAvg>, ApplyMoving<kMovingTAvg>},
    {"gavg", TxGAverage, kSeries, 0, 1, 2, EvalMoving<kMovingGAvg>, ApplyMoving<kMovingGAvg>},
    {"havg", TxHAverage, kSeries, 0, 1, 2, EvalMoving<kMovingHAvg>, ApplyMoving<kMovingHAvg>},
    {"stdev", TxStdev, kSeries, 55, 2, 2, nullptr, ApplyStartRounded<SeriesStdev>},
    {"highest", TxHighest, kSeries, 50, 2, 2, nullptr, Apply<SeriesHighest>},
    {"lowest", TxLowest, kSeries, 49, 2, 2, nullptr, Apply<SeriesLowest>},
    {"min", TxMinValue, kSeries, 58, 1, kAnyCount, EvalFold<SeriesMinOf>, ApplyFold<SeriesMinOf>},
    {"max", TxMaxValue, kSeries, 59, 1, kAnyCount, EvalFold<SeriesMaxOf>, ApplyFold<SeriesMaxOf>},
    {"shift", -1, kSeries, 60, 2, 2, nullptr, Apply<SeriesShift>},
    {"ref", -1, kSeries, 61, 2, 2, nullptr, Apply<SeriesRef>},
    {"crossup", TxCrossUp, kSeries, 63, 2, 2, nullptr, Apply<SeriesCrossUp>},
    {"crossdown", TxCrossDown, kSeries, 62, 2, 2, nullptr, Apply<SeriesCrossDown>},
    {"valuewhen", -1, kSeries, 66, 3, 3, nullptr, Apply<SeriesValueWhen>},
    {"BarsSince", -1, kSeries, 67, 1, 1, nullptr, Apply<SeriesBarsSince>},
    {"CountSince", -1, kSeries, 0, 2, 2, nullptr, Apply<SeriesCountSince>},
    {"HighestSince", -1, kSeries, 56, 3, 3, nullptr, Apply<SeriesHighestSince>},
    {"LowestSince", -1, kSeries, 57, 3, 3, nullptr, Apply<SeriesLowestSince>},
    {"swinghigh", -1, kSeries, 64, 4, 4, nullptr, Apply<SwingHigh>},
    {"swinglow", -1, kSeries, 65, 4, 4, nullptr, Apply<SwingLow>},
    {nullptr, TxLeftRightMove, kSeries, 0, 0, 0, nullptr, nullptr},
    // Indicators, searched after the series functions above.
    {"DayOpen", -1, kSeries, 0, 0, 0, nullptr, Apply<CalcDayOpen>},
    {"DayHigh", -1, kSeries, 0, 0, 0, nullptr, Apply<CalcDayHigh>},
    {"DayLow", -1, kSeries, 0, 0, 0, nullptr, Apply<CalcDayLow>},
    {"PreDayOpen", -1, kSeries, 0, 0, 0, nullptr, Apply<CalcPreDayOpen>},
    {"PreDayHigh", -1, kSeries, 0, 0, 0, nullptr, Apply<CalcPreDayHigh>},
    {"PreDayLow", -1, kSeries, 0, 0, 0, nullptr, Apply<CalcPreDayLow>},
    {"PreDayClose", -1, kSeries, 0, 0, 0, nullptr, Apply<CalcPreDayClose>},
    {"DayIndex", -1, kSeries, 0, 0, 0, nullptr, Apply<CalcDayIndex>},
    {"cci", -1, kSeries, 68, 1, 1, nullptr, ApplyStartRounded<CalcCci>},
    {"nvi", -1, kSeries, 69, 1, 1, nullptr, Apply<CalcNvi>},
    {"pvi", -1, kSeries, 70, 1, 1, nullptr, Apply<CalcPvi>},
    {"ad", -1, kSeries, 71, 0, 0, nullptr, Apply<CalcAd>},
    {"PVT", -1, kSeries, 72, 0, 0, nullptr, Apply<CalcPvt>},
    {"LinearRegressionValue", -1, kSeries, 73, 3, 3, nullptr, ApplyStartRounded<CalcLinearRegressionValue>},
    {"LinearRegressionSlope", -1, kSeries, 74, 2, 2, nullptr, ApplyStartRounded<CalcLinearRegressionSlope>},
    {"Correlation", -1, kSeries, 75, 3, 3, nullptr, ApplyStartRounded<CalcCorrelation>},
    {"Rsquared", -1, kSeries, 76, 2, 2, nullptr, ApplyStartRounded<CalcRSquared>},
    {"ZigZag", -1, kSeries, 77, 1, 1, nullptr, Apply<CalcZigZagLine>},
    {"sar", TxParabolic, kSeries, 78, 2, 2, nullptr, Apply<CalcSar>},
    {"csar", TxCParabolic, kSeries, 78, 2, 2, nullptr, Apply<CalcCSar>},
    {"rsi", -1, kSeries, 0, 1, 1, nullptr, Apply<CalcRsi>},
    // Math functions.
    {"pow", TxPow, kMath, kPfPow, 2, 2, nullptr, Apply<PowSeries>},
    {"abs", TxAbs, kMath, 26, 1, 1, nullptr, ApplyElement<MathAbs>},
    {"log", TxLog, kMath, 27, 1, 1, nullptr, ApplyElement<MathLog>},
    {"log10", TxLog10, kMath, 28, 1, 1, nullptr, ApplyElement<MathLog10>},
    {"sqrt", TxSqrt, kMath, 29, 1, 1, nullptr, ApplyElement<MathSqrt>},
    {"sin", TxSin, kMath, 30, 1, 1, nullptr, ApplyElement<MathSin>},
    {"cos", TxCos, kMath, 31, 1, 1, nullptr, ApplyElement<MathCos>},
    {"tan", TxTan, kMath, 32, 1, 1, nullptr, ApplyElement<MathTan>},
    {"asin", TxAsin, kMath, 33, 1, 1, nullptr, ApplyElement<MathAsin>},
    {"acos", TxAcos, kMath, 34, 1, 1, nullptr, ApplyElement<MathAcos>},
    {"atan", TxAtan, kMath, 35, 1, 1, nullptr, ApplyElement<MathAtan>},
    {"sinh", TxSinh, kMath, 36, 1, 1, nullptr, ApplyElement<MathSinh>},
    {"cosh", TxCosh, kMath, 37, 1, 1, nullptr, ApplyElement<MathCosh>},
    {"tanh", TxTanh, kMath, 38, 1, 1, nullptr, ApplyElement<MathTanh>},
    {"^", -1, kMath, 0, 2, 2, nullptr, Apply<PowSeries>},
    // Compression functions.
    {"CompressC", TxCompressC, kTime, kPfCompressC, 1, 1, EvalCompress<kClose>, nullptr},
    {"CompressO", TxCompressO, kTime, 41, 1, 1, EvalCompress<kOpen>, nullptr},
    {"CompressH", TxCompressH, kTime, 42, 1, 1, EvalCompress<kHigh>, nullptr},
    {"CompressL", TxCompressL, kTime, 43, 1, 1, EvalCompress<kLow>, nullptr},
    {"CompressV", TxCompressV, kTime, 44, 1, 1, EvalCompress<kVolume>, nullptr},
    {"CompressD", TxCompressD, kTime, 45, 1, 1, EvalCompress<kDateTime>, nullptr},
    {"DeCompress", TxDeCompress, kTime, 0, 2, 2, nullptr, Apply<CalcDeCompress>},
};

// Every code is a function code below the user functions', and every row read
// by ReadFixedArgs fits its holder.
constexpr bool RowsAreWellFormed() {
  for (const SCalcFunction& f : kFunctions) {
    if (f.code < 0 || f.code >= kPfUser) return false;
#if !(defined(CHARTCALC_SANITIZED_BUILD) && defined(__GNUC__) && !defined(__clang__))
    // (GCC cannot compare a function address here under its sanitizer; the
    // other builds check the rows.)
    if (!f.eval && (f.maxArgs < 0 || f.maxArgs > kMaxReadArgs)) return false;
#endif
  }
  return true;
}
static_assert(RowsAreWellFormed());

// The rows of one family, which the table keeps together.
struct FamilyRows {
  size_t first = 0;
  size_t end = 0;
};

constexpr FamilyRows RowsOf(FunctionFamily family) {
  FamilyRows rows;
  while (rows.first < std::size(kFunctions) && kFunctions[rows.first].family != family) ++rows.first;
  rows.end = rows.first;
  while (rows.end < std::size(kFunctions) && kFunctions[rows.end].family == family) ++rows.end;
  return rows;
}

// Indexed by FunctionFamily.
constexpr FamilyRows kFamilyRows[] = {RowsOf(kSeries), RowsOf(kMath), RowsOf(kTime)};

constexpr bool FamiliesAreTogether() {
  size_t rows = 0;
  for (const FamilyRows& f : kFamilyRows) rows += f.end - f.first;
  return rows == std::size(kFunctions);
}
static_assert(FamiliesAreTogether());

// The rows of each code: the first row with it and how many share it.
struct CodeRows {
  short first = -1;
  short count = 0;
};

constexpr std::array<CodeRows, kPfUser> IndexByCode() {
  std::array<CodeRows, kPfUser> index{};
  for (size_t i = 0; i < std::size(kFunctions); ++i) {
    if (kFunctions[i].code == 0) continue;
    CodeRows& rows = index[static_cast<size_t>(kFunctions[i].code)];
    if (rows.count++ == 0) rows.first = static_cast<short>(i);
  }
  return index;
}

constexpr std::array<CodeRows, kPfUser> kRowsByCode = IndexByCode();

bool NameMatches(const SCalcFunction& row, const char* name, bool recognising) {
  if (row.name && NameEquals(name, row.name)) return true;
  if (row.localName < 0 || (recognising && !row.localRecognised)) return false;
  return NameEquals(name, GetText(static_cast<TextId>(row.localName)));
}

}  // namespace

const SCalcFunction* chartcalc::detail::FindCalcFunction(FunctionFamily family, const char* name, bool recognising) {
  const FamilyRows& rows = kFamilyRows[static_cast<int>(family)];
  for (size_t i = rows.first; i < rows.end; ++i)
    if (NameMatches(kFunctions[i], name, recognising)) return &kFunctions[i];
  return nullptr;
}

const SCalcFunction* chartcalc::detail::FunctionOfCode(int code, const char* text) {
  if (code <= 0 || code >= kPfUser || kRowsByCode[code].count == 0) return nullptr;
  const CodeRows& rows = kRowsByCode[code];
  const SCalcFunction* first = &kFunctions[rows.first];
  if (rows.count == 1 || !text) return first;
  for (const SCalcFunction& row : std::span(first, std::end(kFunctions)))
    if (row.code == code && NameMatches(row, text, false)) return &row;
  return first;
}

// ---- the recursive evaluator's entry points ---------------------------------------

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

// A row without evaluation, or no row, yields an empty series without a
// message, whatever arguments the call was written with.
SVector EvalRow(SCalc& calc, const SCalcFunction* f) {
  if (f && f->eval) return f->eval(calc);
  if (f && f->apply) return ReadFixedArgs(calc, *f);
  SkipArguments(calc);
  return SVector();
}

}  // namespace

bool SCalc::IsVectorFunction(const char* name) { return FindCalcFunction(kSeries, name, true); }

SVector SCalc::ProcessVectorFunction(const char* name) {
  return EvalRow(*this, FindCalcFunction(kSeries, name, false));
}

bool SCalc::IsMathFunction(const char* name) { return FindCalcFunction(kMath, name, true); }

SVector SCalc::ProcessMathFunction(const char* name) {
  const SCalcFunction* f = FindCalcFunction(kMath, name, false);
  return f ? EvalRow(*this, f) : SVector();
}

bool SCalc::IsTimeFunction(const char* name) { return FindCalcFunction(kTime, name, true); }

SVector SCalc::ProcessTimeFunction(const char* name) {
  const SCalcFunction* f = FindCalcFunction(kTime, name, false);
  return f ? EvalRow(*this, f) : SVector();
}
