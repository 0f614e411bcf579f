// Grammar rules, statements and the calculation entry points of SCalc.
//
//   statements -> Expr { ';' Expr }
//   Expr  -> Relop { ('and' | 'or') Relop }          one level: a or b and c = (a or b) and c
//   Relop -> Add { ('<' | '<=' | '>' | '>=' | '==' | '!=') Add }   one level
//   Add   -> Term { ('+' | '-') Term }
//   Term  -> Prim { ('*' | '/' | '%') Prim }
//   Prim  -> NUMBER | ('+' | ',') Prim | '-' Prim | '!' Prim | '(' Expr ')'
//          | NAME '=' Expr | NAME [ '(' args ')' ]
#include <algorithm>
#include <cstring>
#include <string>

#include "calc/LiveRun.h"
#include "calc/SCalcFunctionTable.h"
#include "calc/SStack.h"
#include "chartcalc/SCalc.h"
#include "core/TextTable.h"

using namespace chartcalc::detail;

namespace {

// The bound series that a partial calculation restarts at its start bar.
constexpr int kPartialSlots[] = {kClose, kOpen, kHigh, kLow, kVolume, kSpread};

}  // namespace

// Counts the nesting of Prim, so that pathological nesting (thousands of
// parentheses or unary signs, runaway user functions) ends in an error.
class SCalcStatementGuard {
 public:
  explicit SCalcStatementGuard(SCalc& c) : calc_(c) { ++calc_.depth_; }
  ~SCalcStatementGuard() { --calc_.depth_; }
  bool TooDeep() const { return calc_.depth_ > kMaxNesting; }

 private:
  SCalc& calc_;
};

SCalc::SCalc() = default;

SCalc::SCalc(const SCalc& other) { CopyFrom(other); }

SCalc& SCalc::operator=(const SCalc& other) {
  if (this != &other) CopyFrom(other);
  return *this;
}

SCalc::~SCalc() = default;

// A copy owns its own variables and reads its own copy of the formula from
// the same place as the original.
void SCalc::CopyFrom(const SCalc& other) {
  std::memcpy(expr_, other.expr_, sizeof expr_);
  const char* base = other.expr_;
  bool inOwnText = other.pos_ >= base && other.pos_ < base + kMaxExpression;
  pos_ = inOwnText ? expr_ + (other.pos_ - base) : expr_ + std::strlen(expr_);
  numberValue_ = other.numberValue_;
  std::memcpy(nameText_, other.nameText_, sizeof nameText_);
  token_ = other.token_;
  empty_ = other.empty_;
  methodValue_ = other.methodValue_;
  dateWork_ = other.dateWork_;
  std::copy(std::begin(other.bound_), std::end(other.bound_), std::begin(bound_));
  functions_ = other.functions_;
  funcHistory_ = other.funcHistory_;
  userCalls_ = other.userCalls_;
  start_ = other.start_;
  depth_ = 0;
  ClearNameTable();
  CopyTable(names_, other.names_, static_cast<int>(other.names_.size()));
  overflow_ = other.overflow_;
  ErrorCount = other.ErrorCount;
  ErrorMessage = other.ErrorMessage;
  HistoryFlag = other.HistoryFlag;
  live_ = nullptr;
  CopyPostfix(other);
}

void SCalc::SetVariable(SVector& close, SVector& open, SVector& high, SVector& low, SVector& volume,
                        SVector& dateTime, SVector& openInterest, SVector& amount, SVector& spread) {
  SVector* all[kPriceSlots] = {&close, &open, &high, &low, &volume, &dateTime, &openInterest, &amount, &spread};
  std::copy(std::begin(all), std::end(all), std::begin(bound_));
}

void SCalc::SetVariables(SVector* const series[kPriceSlots]) {
  std::copy(series, series + kPriceSlots, std::begin(bound_));
}

const SVector& SCalc::Bound(int slot) const {
  static const SVector kUnbound;
  if (slot < 0 || slot >= kPriceSlots || !bound_[slot]) return kUnbound;
  return *bound_[slot];
}

void SCalc::SetExpression(const char* text) {
  size_t n = text ? strnlen(text, kMaxExpression - 1) : 0;
  std::memcpy(expr_, text ? text : "", n);
  expr_[n] = '\0';
  pos_ = expr_;
}

void SCalc::InitCalc() {
  ClearNameTable();
  ErrorCount = 0;
  start_ = 0;
}

void SCalc::MarkHistory() {
  HistoryFlag = 1;
  if (live_) live_->Fail();
}

SVector SCalc::Error(const char* text) {
  if (++ErrorCount == 1) ErrorMessage = text;
  return empty_;
}

SVector SCalc::Error(int textId) { return Error(GetText(static_cast<TextId>(textId))); }

int SCalc::ToInt(double v) const { return TruncToInt(v + 0.0001); }

SVector SCalc::CalcCandlePattern() { return SVector(); }

// ---- statements -------------------------------------------------------------

// White space and comments between statements. A formula may end with any
// number of them; nothing is reported for that.
void SCalc::SkipBlanks() {
  for (const char* before = nullptr; before != pos_;) {
    before = pos_;
    SkipWhite();
  }
}

// statements -> Expr { ';' Expr }. Whatever token ends a statement is
// dropped: normally ';', but also a stray ')' or '='.
SVector SCalc::RunStatements() {
  SVector result;
  SkipBlanks();
  while (!AtEnd()) {
    const char* before = pos_;
    GetToken();
    result = Expr();
    SkipBlanks();
    if (pos_ == before && !AtEnd()) ++pos_;  // never read the same spot twice
  }
  return result;
}

SVector SCalc::Calculate() {
  userCalls_ = 0;
  ErrorCount = 0;
  SVector result = RunStatements();
  // A constant formula yields a full series of close's length.
  if (ErrorCount == 0 && !result.IsSeries()) result = Close() * 0.0 + result;
  if (ErrorCount > 0) result.SetStartIndex(kInvalidStart);
  ZeroWarmUp(result);
  return result;
}

// The operations leave the bars below a result's start index unwritten; a
// whole calculation hands its caller defined values there (0), at the cost of
// the warm-up bars only.
void SCalc::ZeroWarmUp(SVector& result) {
  if (!result.IsSeries()) return;
  const int end = std::clamp(result.GetStartIndex(), 0, result.GetSize());
  std::fill(result.Data(), result.Data() + end, 0.0);
}

// Recomputes from the start bar on: the bound price series (all but date-time,
// open interest and amount) are restarted there for the run.
SVector SCalc::Calculate(int start) {
  userCalls_ = 0;
  start_ = std::max(start, 0);
  int saved[std::size(kPartialSlots)];
  for (size_t k = 0; k < std::size(kPartialSlots); ++k) {
    SVector* s = bound_[kPartialSlots[k]];
    saved[k] = s ? s->GetStartIndex() : 0;
    if (s) s->SetStartIndex(start_);
  }
  SVector result = RunStatements();
  for (size_t k = 0; k < std::size(kPartialSlots); ++k)
    if (SVector* s = bound_[kPartialSlots[k]]) s->SetStartIndex(saved[k]);
  return result;
}

// ---- grammar ----------------------------------------------------------------

// Expr -> Relop { ('and' | 'or') Relop }
SVector SCalc::Expr() {
  SVector left = Relop();
  while (token_ == AND || token_ == OR) {
    TokenValue op = token_;
    GetToken();
    SVector right = Relop();
    left = op == AND ? (left && right) : (left || right);
  }
  return left;
}

// Relop -> Add { comparison Add }; two operands in a row are an error.
SVector SCalc::Relop() {
  SVector left = Add();
  if (token_ == NAME || token_ == NUMBER) return Error(TxOperatorNeeded);
  while (token_ >= LT && token_ <= NE) {
    TokenValue op = token_;
    GetToken();
    SVector right = Add();
    if (token_ == NAME || token_ == NUMBER) return Error(TxOperatorNeeded);
    switch (op) {
      case LT: left = left < right; break;
      case LE: left = left <= right; break;
      case GT: left = left > right; break;
      case GE: left = left >= right; break;
      case EQ: left = left == right; break;
      default: left = left != right; break;
    }
  }
  return left;
}

// Add -> Term { ('+' | '-') Term }
SVector SCalc::Add() {
  SVector left = Term();
  while (token_ == PLUS || token_ == MINUS) {
    TokenValue op = token_;
    GetToken();
    SVector right = Term();
    left = op == PLUS ? left + right : left - right;
  }
  return left;
}

// Term -> Prim { ('*' | '/' | '%') Prim }
SVector SCalc::Term() {
  SVector left = Prim();
  while (token_ == MUL || token_ == DIV || token_ == MOD) {
    TokenValue op = token_;
    GetToken();
    SVector right = Prim();
    left = op == MUL ? left * right : op == DIV ? left / right : left % right;
  }
  return left;
}

// Prim -> NUMBER | ('+' | ',') Prim | '-' Prim | '!' Prim | '(' Expr ')' | name
SVector SCalc::Prim() {
  SCalcStatementGuard guard(*this);
  if (guard.TooDeep()) {
    if (!AtEnd()) ++pos_;
    return Error(TxNestedTooDeep);
  }
  switch (token_) {
    case NUMBER: {
      SVector v(numberValue_);
      GetToken();
      return v;
    }
    case PLUS:
    case COMMA:  // a "," before an argument: function bodies read on with Expr
      GetToken();
      return Prim();
    case MINUS:
      GetToken();
      return -Prim();
    case NOT:
      GetToken();
      return !Prim();
    case LP: {
      GetToken();
      SVector v = Expr();
      if (token_ != RP) return Error(TxRightParenNeeded);
      GetToken();
      return v;
    }
    case END:
      return SVector(1);
    case NAME:
      return PrimName();
    default:
      if (!AtEnd()) ++pos_;
      return Error(TxImperfect);
  }
}

namespace {

enum Family { kSeries, kMath, kUser, kTime };

}  // namespace

// x(n): n bars earlier. Used for variables and price words.
SVector SCalc::DelayedBy(SVector value, const SVector& n) const { return Delayed(value, CountArg(n)); }

// A look ahead (n < 0) changes older bars whenever a new one comes, which a
// live run that rewrites the newest bars only cannot follow.
SVector SCalc::Delayed(const SVector& value, int n) const {
  if (n < 0 && live_) live_->Fail();
  return value(n);
}

// A name: assignment, variable, price word, function call or method word.
SVector SCalc::PrimName() {
  std::string name = nameText_;
  GetToken();
  if (token_ == ASSIGN) {
    Name* var = Insert(name.c_str());
    GetToken();
    SVector v = Expr();
    var->value = v;
    return v;
  }
  if (Name* var = Look(name.c_str(), 0)) {
    SVector v = var->value;
    if (token_ != LP) return v;
    GetToken();
    SVector n = Expr();
    if (token_ != RP) return Error(TxRightParenNeeded);
    GetToken();
    return DelayedBy(std::move(v), n);
  }
  const char* nm = name.c_str();
  if (IsVectorFunction(nm)) return PrimFunctionCall(nm, kSeries);
  if (IsDataVariable(nm)) {
    SVector v = ProcessDataVariable(nm);
    if (token_ != LP) return v;
    GetToken();
    SVector n = Expr();
    if (FirstElement(n) < 0) return Error(TxMinusPrice);
    if (token_ != RP) return Error(TxRightParenNeeded);
    GetToken();
    return v(ToInt(FirstElement(n)));
  }
  if (IsMathFunction(nm)) return PrimFunctionCall(nm, kMath);
  if (IsUserFunction(nm)) return PrimFunctionCall(nm, kUser);
  if (IsTimeFunction(nm)) return PrimFunctionCall(nm, kTime);
  if (IsMethodVariable(nm)) return ProcessMethodVariable(nm);
  return Error((name + GetText(TxNotDefined) + "\n").c_str());
}

// name '(' args [',' delay] ')': the family's evaluator reads the arguments;
// a series function may be delayed by a trailing ", n".
SVector SCalc::PrimFunctionCall(const char* name, int family) {
  if (token_ != LP) return Error(TxFunctionDefinition);
  GetToken();
  SVector v;
  switch (family) {
    case kSeries: v = ProcessVectorFunction(name); break;
    case kMath: v = ProcessMathFunction(name); break;
    case kUser: v = ProcessUserFunction(name); break;  // reads its own trailing ", n"
    default: v = ProcessTimeFunction(name); break;
  }
  if (family == kSeries && token_ == COMMA) {
    GetToken();
    SVector n = Expr();
    v = DelayedBy(std::move(v), n);
  }
  if (token_ != RP) return Error(TxRightParenNeeded);
  GetToken();
  return v;
}
