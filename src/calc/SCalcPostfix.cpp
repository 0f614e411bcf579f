// The postfix path of the formula engine: a formula (and each user function
// of the bound list) is compiled once into a list of items in postfix order,
// and evaluated by walking that list with an evaluation stack. A search over
// many symbols evaluates one compiled formula many times without tokenising
// and parsing it again.
//
//   compile:  operator precedence over the engine's tokens (InToPost);
//             names and functions wait on the operator stack until the next
//             operator, ")" or the end of the statement moves them out
//   evaluate: names and numbers are pushed; an operator or function replaces
//             its operands on the stack by one evaluated item (CalcOp)
//
// Built-in functions are evaluated by their table rows (SCalcFunctionTable.h),
// the same computations as on the recursive path, with their arguments taken
// from the stack, the last argument on top.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <string>

#include "calc/DataVariables.h"
#include "calc/EngineNames.h"
#include "calc/SCalcFunctionTable.h"
#include "calc/SStack.h"
#include "chartcalc/SCalc.h"
#include "chartcalc/SFunction.h"
#include "core/TextTable.h"

using namespace chartcalc::detail;

// ---- SStack -------------------------------------------------------------------

SStack::SStack(const SStack& other) { *this = other; }

SStack& SStack::operator=(const SStack& other) {
  if (this == &other) return *this;
  count = std::clamp(other.count, 0, kPostfixCapacity);
  capacity = kPostfixCapacity;
  for (int i = 0; i < count; ++i) items[i] = other.items[i];
  top = -1;
  return *this;
}

bool SStack::Push(const PostfixItem& item) {
  if (top >= capacity - 1) return false;
  items[++top] = item;
  count = top + 1;
  return true;
}

void SStack::Pop() {
  if (top < 0) return;
  --top;
  count = top + 1;
}

namespace {

// The variable that carries the trailing delay argument of a user-function
// call whose position has no parameter name.
constexpr char kPreValueName[] = "PreValueProgramInserted";

// ---- code tables --------------------------------------------------------------

// Operator tokens, their codes and item texts, with the element-wise
// operation of the binary ones.
struct OperatorRow {
  TokenValue token;
  int code;
  const char* text;
  void (*apply)(SVector&, const SVector&, const SVector&);
};

constexpr OperatorRow kOperators[] = {
    {PLUS, kPfPlus, "PLUS", VecPlus},
    {MINUS, kPfMinus, "MINUS", VecMinus},
    {MUL, kPfMul, "MUL", VecMultiply},
    {DIV, kPfDiv, "DIV", VecDivide},
    {MOD, kPfMod, "MOD", VecMod},
    {LT, kPfLess, "OPLT", VecLT},
    {LE, kPfLessEqual, "OPLE", VecLE},
    {GT, kPfGreater, "OPGT", VecGT},
    {GE, kPfGreaterEqual, "OPGE", VecGE},
    {EQ, kPfEqual, "OPEQ", VecEQ},
    {NE, kPfNotEqual, "OPNEQ", VecNEQ},
    {AND, kPfAnd, "OPAND", VecAND},
    {OR, kPfOr, "OPOR", VecOR},
    {ASSIGN, kPfAssign, "OPASSIGN", nullptr},
    {POW, kPfPow, "OPPOW", nullptr},  // evaluated as the function pow
};

const OperatorRow* OperatorOfToken(TokenValue t) {
  for (const OperatorRow& row : kOperators)
    if (row.token == t) return &row;
  return nullptr;
}

const OperatorRow* OperatorOfCode(int code) {
  for (const OperatorRow& row : kOperators)
    if (row.code == code) return &row;
  return nullptr;
}

// Precedences of the codes that are neither names, numbers nor functions
// (those have 8); a code not listed has 1.
struct PrecedenceRow {
  int code;
  int precedence;
};

constexpr PrecedenceRow kPrecedences[] = {
    {kPfLeftParen, 9},  {kPfUnaryPlus, 7}, {kPfUnaryMinus, 7},  {kPfNot, 7},          {kPfPlus, 5},
    {kPfMinus, 5},      {kPfMul, 6},       {kPfDiv, 6},         {kPfMod, 6},          {kPfLess, 4},
    {kPfLessEqual, 4},  {kPfGreater, 4},   {kPfGreaterEqual, 4}, {kPfEqual, 4},       {kPfNotEqual, 4},
    {kPfAnd, 3},        {kPfOr, 3},        {kPfAssign, 2},      {kPfComma, 1},
};

// Function items without a table row: "PREV", the user functions, and the
// spare codes 2 and 79, which no compiled list holds but which keep the
// function class they always had.
bool IsRowlessFunctionCode(int code) {
  return code == 2 || code == kPfPrev || code == 79 || (code >= kPfUser && code < kPfUser + kMaxCompiledFunctions);
}

// The postfix code of the family's row named name (English or localised), or
// 0 when no row of the family has that name or the row has no code.
int PostfixCode(FunctionFamily family, const char* name) {
  const SCalcFunction* f = FindCalcFunction(family, name, true);
  return f ? f->code : 0;
}

PostfixItem MakeItem(int code, int argCount, const char* text) {
  PostfixItem item;
  item.Code = code;
  item.ArgCount = argCount;
  item.Text = text;
  return item;
}

// ---- compiling ------------------------------------------------------------------

// The operator-precedence conversion of one text, fed one token at a time.
class PostfixCompiler {
 public:
  explicit PostfixCompiler(SCalc& calc) : calc_(calc) {}

  void Take(TokenValue t) {
    switch (t) {
      case NUMBER: Number(); break;
      case NAME: NameToken(); break;
      case LP: OpenParen(); break;
      case RP: CloseParen(); break;
      case COMMA: Comma(); break;
      case PRINT: EndStatement(); break;
      case END: break;
      default: Operator(t); break;
    }
  }

  // Moves the pending operators out and stores the output reversed, so that
  // the list's top is the first item in postfix order.
  void Finish(SStack& out) {
    EndStatement();
    out.Clear();
    for (int i = output_.top; i >= 0; --i) out.Push(output_.items[i]);
  }

 private:
  void Push(const PostfixItem& item) { ops_.Push(item); }

  // Moves the operator stack's top to the output; a "(" is dropped.
  void MoveTop() {
    const bool paren = ops_.Top().Code == kPfLeftParen;
    if (!paren) output_.Push(ops_.Top());
    ops_.Pop();
  }

  void MoveDownToParen() {
    while (!ops_.Empty() && ops_.Top().Code != kPfLeftParen) MoveTop();
  }

  void OpenParen() {
    Push(MakeItem(kPfLeftParen, 0, "OPLP"));
    expectOperand_ = true;
  }

  // "," moves the argument before it out, up to the call's "(".
  void Comma() {
    MoveDownToParen();
    expectOperand_ = true;
  }

  void EndStatement() {
    while (!ops_.Empty()) MoveTop();
    expectOperand_ = true;
  }

  void Number() {
    PostfixItem item = MakeItem(kPfNumber, 0, "NUMBER");
    item.Value = SVector(calc_.NumberValue());
    output_.Push(item);
    expectOperand_ = false;
  }

  // name -> data variable | math function | series function | time function
  //       | user function | formula variable
  void NameToken() {
    const std::string name = calc_.NameText();
    const char* nm = name.c_str();
    expectOperand_ = false;
    int code = 0;
    const SCalcFunction* timeRow = nullptr;
    if (calc_.IsDataVariable(nm)) {
      Push(MakeItem(kPfName, 0, nm));
    } else if ((code = PostfixCode(FunctionFamily::kMath, nm)) != 0 ||
               (code = PostfixCode(FunctionFamily::kSeries, nm)) != 0) {
      Push(MakeItem(code, calc_.GetParamCount(), nm));
    } else if ((timeRow = FindCalcFunction(FunctionFamily::kTime, nm, true)) != nullptr) {
      // Only the compress functions leave an item, which the evaluator
      // passes over: time functions have no effect on this path.
      if (timeRow->code != 0) output_.Push(MakeItem(timeRow->code, 2, nm));
    } else if (int position = calc_.FindFunction(nm); position >= 0) {
      Push(MakeItem(kPfUser + position, calc_.GetParamCount(), nm));
    } else {
      calc_.Insert(nm);
      Push(MakeItem(kPfName, 0, nm));
    }
  }

  // ")" closes a group; a function waiting before it follows its arguments
  // out, and a name followed by a count in parentheses becomes "PREV".
  void CloseParen() {
    MoveDownToParen();
    if (!ops_.Empty()) ops_.Pop();
    expectOperand_ = false;
    if (ops_.Empty()) return;
    const int code = ops_.Top().Code;
    if (IsFunction(code)) {
      MoveTop();
    } else if (code == kPfName) {
      MoveTop();
      output_.Push(MakeItem(kPfPrev, 1, "PREV"));
    }
  }

  bool IsFunction(int code) const { return calc_.GetOpType(code) == kPcFunction || code >= kPfUser; }

  void Operator(TokenValue t) {
    if (t == NOT || (expectOperand_ && (t == PLUS || t == MINUS))) {
      // A prefix operator has no operand before it to move out.
      const int code = t == NOT ? kPfNot : t == PLUS ? kPfUnaryPlus : kPfUnaryMinus;
      const char* text = t == NOT ? "OPNOT" : t == PLUS ? "UPLUS" : "UMINUS";
      Push(MakeItem(code, 1, text));
      return;
    }
    const OperatorRow* row = OperatorOfToken(t);
    if (!row) return;
    const int precedence = calc_.GetPrecedence(row->code);
    while (!ops_.Empty() && ops_.Top().Code != kPfLeftParen && calc_.GetPrecedence(ops_.Top().Code) >= precedence)
      MoveTop();
    Push(MakeItem(row->code, 2, row->text));
    expectOperand_ = true;
  }

  SCalc& calc_;
  SStack ops_;
  SStack output_;
  bool expectOperand_ = true;
};

// The whole part of a date-time value as a 64-bit integer (0 when it is not a
// finite number of that range), after the small addition that keeps a stored
// 93000 - epsilon from reading 92999.
long long WholePart(double v) {
  v += 0.0001;
  return std::isfinite(v) && std::fabs(v) < 9e18 ? static_cast<long long>(v) : 0;
}

// "Time" (hhmmss, divisor 1) and "Date" (divisor 10,000) of every bar: the
// last six digits of the whole date-time, divided; framed like dateTime.
SVector TimeDigits(const SVector& dateTime, int divisor) {
  const int n = dateTime.GetSize();
  SVector r(n);
  r.SetStartIndex(dateTime.GetStartIndex());
  const double* t = dateTime.Data();
  double* d = r.Data();
  for (int i = 0; i < n; ++i) d[i] = static_cast<double>(WholePart(t[i]) % 1000000 / divisor);
  return r;
}

// Puts a result into the evaluation stack at base, which becomes the top.
void PutResult(SStack& ev, int base, SVector&& value) {
  if (base < 0 || base >= ev.capacity) return;
  PostfixItem& item = ev.items[base];
  item.Code = kPfNumber;
  std::swap(item.Value, value);
  ev.top = base;
  ev.count = base + 1;
}

}  // namespace

// ---- tables ---------------------------------------------------------------------

int SCalc::GetOpType(int code) {
  if (code == kPfName) return kPcName;
  if (code == kPfNumber) return kPcNumber;
  if (const SCalcFunction* f = FunctionOfCode(code)) return f->apply ? kPcFunction : kPcOther;
  if (IsRowlessFunctionCode(code)) return kPcFunction;
  if (code == 3 || code == 4) return code;
  if (code >= kPfUnaryPlus && code <= kPfAssign) return kPcOperator;
  return kPcOther;
}

int SCalc::GetPrecedence(int code) {
  if (GetOpType(code) <= kPcFunction) return 8;
  for (const PrecedenceRow& row : kPrecedences)
    if (row.code == code) return row.precedence;
  return 1;
}

// ---- compiling ------------------------------------------------------------------

void SCalc::InfixToPostFix() {
  const std::string saved = expr_;
  if (!postfix_) postfix_ = std::make_unique<SStack>();
  if (!evalStack_) evalStack_ = std::make_unique<SStack>();
  const int compiled = functions_ ? std::clamp(functions_->GetCount(), 0, kMaxCompiledFunctions) : 0;
  for (int i = 0; i < kMaxCompiledFunctions; ++i) {
    if (i >= compiled) {
      userPostfix_[i].reset();
      continue;
    }
    if (!userPostfix_[i]) userPostfix_[i] = std::make_unique<SStack>();
    SetExpression((*functions_)[i].Expression.c_str());
    InToPost(userPostfix_[i].get());
  }
  SetExpression(saved.c_str());
  InToPost(postfix_.get());
}

void SCalc::InToPost(SStack* out) {
  if (!out) return;
  PostfixCompiler compiler(*this);
  pos_ = expr_;
  for (;;) {
    const char* before = pos_;
    const TokenValue t = GetToken();
    if (t == PRINT && pos_ == before) {
      // The end of the text, or a character that starts no token: the
      // latter is stepped over and ends the statement.
      if (AtEnd()) break;
      ++pos_;
    }
    compiler.Take(t);
  }
  compiler.Finish(*out);
}

// args -> '(' [ arg { ',' arg } ] ')': the commas at the call's own depth,
// plus one when the ")" is reached and a name or number was seen.
int SCalc::GetParamCount() {
  const char* savedPos = pos_;
  const TokenValue savedToken = token_;
  const double savedNumber = numberValue_;
  char savedName[kMaxNameText];
  std::memcpy(savedName, nameText_, sizeof savedName);
  const int savedErrors = ErrorCount;
  const SString savedMessage = ErrorMessage;

  int count = 0;
  if (GetToken() == LP) {
    bool seen = false;
    for (int depth = 0;;) {
      const char* before = pos_;
      const TokenValue t = GetToken();
      if (t == PRINT && pos_ == before) {
        if (AtEnd()) break;
        ++pos_;
        continue;
      }
      if (t == NAME || t == NUMBER) seen = true;
      if (t == LP) ++depth;
      if (t == COMMA && depth == 0) ++count;
      if (t == RP && depth-- == 0) {
        count += seen ? 1 : 0;
        break;
      }
    }
  }

  pos_ = savedPos;
  token_ = savedToken;
  numberValue_ = savedNumber;
  std::memcpy(nameText_, savedName, sizeof savedName);
  ErrorCount = savedErrors;
  ErrorMessage = savedMessage;
  return count;
}

// ---- evaluating -----------------------------------------------------------------

SVector SCalc::CalcOp(SStack* list) {
  const bool main = list == nullptr;
  if (!evalStack_) evalStack_ = std::make_unique<SStack>();
  SStack& ev = *evalStack_;
  if (main) {
    list = postfix_.get();
    ev.Clear();
    userCalls_ = 0;
    if (!list) return empty_;
  }
  // The walk runs over the whole list from its first item even when the
  // list is being walked already (a user function calling itself).
  const int saved = list->top;
  bool endsInAssignment = false;
  for (int i = list->count - 1; i >= 0; --i) {
    list->top = i;
    const int code = list->items[i].Code;
    switch (GetOpType(code)) {
      case kPcName:
      case kPcNumber:
        ev.Push(list->items[i]);
        endsInAssignment = false;
        break;
      case kPcFunction:
        ProcessFunction(list);
        endsInAssignment = false;
        break;
      case kPcOperator:
        lastAssign_ = code == kPfAssign;
        endsInAssignment = lastAssign_ != 0;
        ProcessOperator(list);
        break;
      default:
        break;
    }
  }
  list->top = saved;
  // An assignment pops its variable too; the variable is the result.
  if (endsInAssignment && ev.top + 1 < ev.capacity) ev.top += 1;
  SVector result = *GetEvalValue(ev.top);
  if (main) ZeroWarmUp(result);
  return result;
}

void SCalc::ProcessOperator(SStack* list) {
  const int code = list->items[list->top].Code;
  SStack& ev = *evalStack_;
  if (code == kPfUnaryPlus) return;
  if (code == kPfUnaryMinus || code == kPfNot) {
    if (ev.top < 0) return;
    const SVector* x = GetEvalValue(ev.top);
    if (code == kPfUnaryMinus) VecUMinus(opScratch_, *x);
    else VecNot(opScratch_, *x);
    PutResult(ev, ev.top, std::move(opScratch_));
    return;
  }
  if (ev.top < 1) return;
  if (code == kPfAssign) {
    const PostfixItem& target = ev.items[ev.top - 1];
    SVector value = *GetEvalValue(ev.top);
    if (target.Code == kPfName) Insert(target.Text.c_str())->value = std::move(value);
    ev.top -= 2;
    ev.count = ev.top + 1;
    return;
  }
  const OperatorRow* row = OperatorOfCode(code);
  if (!row || !row->apply) return;
  row->apply(opScratch_, *GetEvalValue(ev.top - 1), *GetEvalValue(ev.top));
  PutResult(ev, ev.top - 1, std::move(opScratch_));
}

void SCalc::ProcessFunction(SStack* list) {
  const PostfixItem& item = list->items[list->top];
  SStack& ev = *evalStack_;

  // A name with a count in parentheses: the count is below the name.
  if (item.Code == kPfPrev) {
    if (ev.top < 1) return;
    const SVector& n = *GetEvalValue(ev.top - 1);
    const PostfixItem& name = ev.items[ev.top];
    int slot = 0;
    int bars = CountArg(n);
    if (name.Code == kPfName && ClassifyDataWord(name.Text.c_str(), slot) != DataWordKind::kNone) {
      if (FirstElement(n) < 0) {
        PutResult(ev, ev.top - 1, Error(TxMinusPrice));
        return;
      }
      bars = ToInt(FirstElement(n));
    }
    PutResult(ev, ev.top - 1, (*GetEvalValue(ev.top))(bars));
    return;
  }

  const int base = std::max(ev.top - std::max(item.ArgCount, 0) + 1, 0);
  const int count = ev.top - base + 1;
  if (item.Code >= kPfUser) {
    CallUserFunction(item.Code - kPfUser, base, count);
    return;
  }
  const SCalcFunction* row = FunctionOfCode(item.Code, item.Text.c_str());
  if (!row || !row->apply) return;
  const SVector* v[kPostfixCapacity];
  for (int i = 0; i < count; ++i) v[i] = GetEvalValue(base + i);
  SVector r;
  if (count < row->minArgs) {
    r = Error(TxImperfect);
  } else {
    const int own = row->maxArgs == kAnyCount ? count : std::min(count, row->maxArgs);
    r = row->apply(CallArgs{this, own, v});
    const bool delayed = row->family == FunctionFamily::kSeries && own < count;
    if (delayed) r = r(CountArg(*v[own]));
  }
  PutResult(ev, base, std::move(r));
}

// A user function at `position` of the list, its `count` arguments at base
// of the evaluation stack: the arguments are bound to the parameters of the
// same position, the function's own compiled list runs on the same stack,
// and its value takes the arguments' place. Only the first four functions
// of the list are evaluated here; the others give an empty value.
void SCalc::CallUserFunction(int position, int base, int count) {
  SStack& ev = *evalStack_;
  SVector result;
  const bool evaluated = position < kMaxEvaluatedFunctions && functions_ && position < functions_->GetCount() &&
                         userPostfix_[position];
  if (evaluated && ++userCalls_ > kMaxUserCalls) {
    result = Error(TxTooComplicated);
  } else if (evaluated) {
    const SFunction& f = (*functions_)[position];
    bool delayed = false;
    for (int i = 0; i < count; ++i) {
      const bool named = i < kMaxFunctionVars && !f.VarName[i].IsEmpty();
      SVector arg = *GetEvalValue(base + i);
      Insert(named ? f.VarName[i].c_str() : kPreValueName)->value = std::move(arg);
      delayed = delayed || !named;
    }
    ev.top = base - 1;
    ev.count = base;
    result = CalcOp(userPostfix_[position].get());
    if (delayed)
      if (const Name* n = Look(kPreValueName, 0)) result = result(CountArg(n->value));
  }
  PutResult(ev, base, std::move(result));
}

SVector* SCalc::GetEvalValue(int index) {
  if (!evalStack_ || index < 0 || index > evalStack_->top) return &empty_;
  PostfixItem& item = evalStack_->items[index];
  if (item.Code == kPfNumber) return &item.Value;
  const char* name = item.Text.c_str();
  int slot = 0;
  switch (ClassifyDataWord(name, slot)) {
    case DataWordKind::kBoundSeries: return bound_[slot] ? bound_[slot] : &empty_;
    case DataWordKind::kDate:
      item.Value = TimeDigits(Bound(kDateTime), 10000);
      return &item.Value;
    case DataWordKind::kTime:
      item.Value = TimeDigits(Bound(kDateTime), 1);
      return &item.Value;
    case DataWordKind::kReserved: Error(TxPostfixVariable); return &empty_;
    case DataWordKind::kNone: break;
  }
  if (Name* var = Look(name, 0)) return &var->value;
  char text[kMaxNameText + 200];
  std::snprintf(text, sizeof text, "%s : %s", GetText(TxNameNotFound), name);
  Error(text);
  return &empty_;
}

void SCalc::CopyPostfix(const SCalc& other) {
  // A copied list keeps its position, so that a copied engine evaluates what
  // the original compiled.
  auto copy = [](const std::unique_ptr<SStack>& from) -> std::unique_ptr<SStack> {
    if (!from) return nullptr;
    auto s = std::make_unique<SStack>(*from);
    s->top = std::min(from->top, s->count - 1);
    return s;
  };
  postfix_ = copy(other.postfix_);
  for (int i = 0; i < kMaxCompiledFunctions; ++i) userPostfix_[i] = copy(other.userPostfix_[i]);
  evalStack_ = copy(other.evalStack_);
  lastAssign_ = other.lastAssign_;
}
