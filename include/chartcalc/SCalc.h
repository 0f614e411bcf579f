// SCalc: the formula engine. It reads a formula one token at a time and
// computes as it parses: every grammar rule returns a whole series.
//
// Errors never stop the parse: they are counted (ErrorCount), the first
// message is kept (ErrorMessage) and the final result is marked invalid.
//
// The engine's code is split by concern:
//   SCalcTokenizer.cpp       tokens, names, numbers, comments, the name table
//   SCalcParser.cpp          grammar rules, statements, Calculate, errors
//   SCalcFunctionTable.cpp   the formula functions' table, read by both evaluators
//   SCalcDataVariables.cpp   price-data words and averaging-method words
//   SCalcMathFunctions.cpp   element-wise math functions
//   SeriesFunctions.cpp      series functions (moving averages, crossings, ...)
//   SCalcTimeFunctions.cpp   compression functions
//   SCalcUserFunctions.cpp   user-defined functions
#pragma once

#include <memory>
#include <vector>

#include "chartcalc/SString.h"
#include "chartcalc/SVector.h"

class SFunctionList;
class SStack;

namespace chartcalc::detail {

class LiveRun;

inline constexpr int kMaxExpression = 4096;       // formula buffer, terminator included
inline constexpr int kMaxNameText = 256;          // token name buffer
inline constexpr int kMaxNumberText = 200;        // number text buffer
inline constexpr int kMaxNames = 256;             // entries of the name table
inline constexpr int kMaxVariableName = 52;       // a variable's name, terminator included
inline constexpr int kMaxUserCalls = 256;         // user-function calls per calculation
inline constexpr int kMaxCompiledFunctions = 10;  // user functions compiled for the postfix path
inline constexpr int kMaxEvaluatedFunctions = 4;  // of those, evaluated on the postfix path
// Parser recursion limit, so that pathological nesting gets an error rather
// than exhausting the stack.
inline constexpr int kMaxNesting = 500;

// Bound price series, in the fixed order in which they travel everywhere.
enum PriceSlot { kClose, kOpen, kHigh, kLow, kVolume, kDateTime, kOpenInterest, kAmount, kSpread, kPriceSlots };

}  // namespace chartcalc::detail

// True for a byte that starts (or continues) a Korean syllable in a name.
bool isHangul(unsigned char c);

class SCalc {
 public:
  // Token kinds; single-character tokens carry their character code.
  enum TokenValue {
    NAME = 0,
    NUMBER = 1,
    END = 2,
    MOD = 37,
    AND = 38,
    LP = 40,
    RP = 41,
    MUL = 42,
    PLUS = 43,
    COMMA = 44,
    MINUS = 45,
    DIV = 47,
    PRINT = 59,
    ASSIGN = 61,
    POW = 94,
    OR = 124,
    LT = 125,
    LE = 126,
    GT = 127,
    GE = 128,
    EQ = 129,
    NE = 130,
    NOT = 131,
  };

  // One variable of a formula.
  struct Name {
    char name[chartcalc::detail::kMaxVariableName] = {};
    SVector value;
  };

  SCalc();
  SCalc(const SCalc& other);
  SCalc& operator=(const SCalc& other);
  virtual ~SCalc();

  // Binding and evaluation.
  void SetVariable(SVector& close, SVector& open, SVector& high, SVector& low, SVector& volume, SVector& dateTime,
                   SVector& openInterest, SVector& amount, SVector& spread);
  void SetExpression(const char* text);
  SVector Calculate();
  SVector Calculate(int start);
  void SetFunction(SFunctionList* list) { functions_ = list; }
  void SetFuncHist(SAnsiStringList* history) { funcHistory_ = history; }
  void InitCalc();
  SVector Error(const char* text);
  SVector Error(int textId);  // the text pair's message in the current language
  int ToInt(double v) const;
  SVector CalcCandlePattern();

  // Grammar rules. Each is entered with the first token of its phrase as the
  // current token and leaves the token after its phrase current.
  SVector Expr();
  SVector Relop();
  SVector Add();
  SVector Term();
  SVector Prim();
  // When the current token is a price word that forms a whole function
  // argument (a "," or ")" follows it), steps past it and returns the bound
  // series, which the function then reads in place instead of a copy of
  // every bar; null, with nothing read, for any other argument.
  const SVector* TakeBoundArgument();

  // Tokenizer.
  TokenValue GetToken();
  void SkipWhite();
  double GetNumber();
  char* GetName(const char* unused);
  char* PeekName(const char* p);
  TokenValue CurrentToken() const { return token_; }
  const char* NameText() const { return nameText_; }
  double NumberValue() const { return numberValue_; }
  // True when the text position is at the end of the text being read.
  bool AtEnd() const { return *pos_ == '\0'; }

  // Name table.
  Name* Look(const char* name, int insert);
  Name* Insert(const char* name);
  void CopyTable(std::vector<std::unique_ptr<Name>>& dest, const std::vector<std::unique_ptr<Name>>& source, int count);
  void ClearNameTable();
  int NameCount() const { return static_cast<int>(names_.size()); }
  const Name* NameAt(int i) const { return names_[static_cast<size_t>(i)].get(); }

  // Function families, tried by Prim in this order after the name table.
  bool IsVectorFunction(const char* name);
  SVector ProcessVectorFunction(const char* name);
  int IsDataVariable(const char* name);
  SVector ProcessDataVariable(const char* name);
  bool IsMathFunction(const char* name);
  SVector ProcessMathFunction(const char* name);
  bool IsUserFunction(const char* name);
  int FindFunction(const char* name);
  SVector ProcessUserFunction(const char* name);
  bool IsTimeFunction(const char* name);
  SVector ProcessTimeFunction(const char* name);
  int IsMethodVariable(const char* name);
  SVector ProcessMethodVariable(const char* name);

  // The expression of the bound list's function k (0 to 4) with its stored
  // parameter values substituted for its parameter names.
  void ConvertExpression(int k, char* out);

  // Swing points and zigzag.
  SVector CalcSwingHighLow(int high, int instance, SVector& price, int strength, int length);
  SVector CalcZigZag(double percent, SVector& swingHigh, SVector& swingLow, SVector& high, SVector& low);

  // Binds the nine series from an array in the same order; a null entry
  // leaves its slot unbound (it reads as an empty series).
  void SetVariables(SVector* const series[chartcalc::detail::kPriceSlots]);

  // Postfix path (SCalcPostfix.cpp): a formula compiled once into a postfix
  // list and evaluated by walking it, without tokenising again.
  // Compiles the current expression and the first ten user functions.
  void InfixToPostFix();
  // Compiles the current expression text into out.
  void InToPost(SStack* out);
  // The number of arguments of the call that follows the scan position
  // (0 when no "(" follows); the position is left where it was.
  int GetParamCount();
  int GetPrecedence(int code);
  int GetOpType(int code);
  // Evaluates a compiled list; null means the main expression's list, which
  // starts with an empty evaluation stack.
  SVector CalcOp(SStack* list);
  void ProcessOperator(SStack* list);
  void ProcessFunction(SStack* list);
  // The series the evaluation-stack item at index stands for.
  SVector* GetEvalValue(int index);

  // A bound price series; an unbound slot reads as an empty series.
  const SVector& Bound(int slot) const;
  const SVector& Close() const { return Bound(chartcalc::detail::kClose); }
  // x(n): x delayed by n bars (n < 0 looks ahead).
  SVector Delayed(const SVector& value, int n) const;
  // Marks the result as depending on the whole history before each bar.
  // A live run (see SetLive) cannot go on from where such a function stopped.
  void MarkHistory();
  // The same mark from a history function that keeps its running state in
  // the live run's nodes, or that reads a fixed number of earlier bars.
  void MarkKeptHistory() { HistoryFlag = 1; }
  // The history functions' state kept between calculations of the newest
  // bars; null (the default) for none. Never owned; a copy starts with none.
  void SetLive(chartcalc::detail::LiveRun* run) { live_ = run; }
  chartcalc::detail::LiveRun* Live() const { return live_; }

  int ErrorCount = 0;
  SString ErrorMessage;
  // Set when a function whose value at a bar depends on the whole history
  // before it has been evaluated; only the host clears it.
  int HistoryFlag = 0;

 private:
  friend class SCalcStatementGuard;
  SVector RunStatements();
  // The statement loop over another text (a user function's body); the text
  // position and the current token are restored afterwards.
  SVector RunStatementsIn(const char* text);
  void SkipBlanks();
  SVector DelayedBy(SVector value, const SVector& n) const;
  SVector PrimName();
  SVector PrimFunctionCall(const char* name, int family);
  TokenValue KeywordToken(const char* name) const;
  int BoundArgumentSlot(const char* name, const char* after);
  void CopyFrom(const SCalc& other);
  static void ZeroWarmUp(SVector& result);

  // Postfix state (SCalcPostfix.cpp); made by InfixToPostFix.
  void CopyPostfix(const SCalc& other);
  void CallUserFunction(int position, int base, int count);
  std::unique_ptr<SStack> postfix_;  // the main expression
  std::unique_ptr<SStack> userPostfix_[chartcalc::detail::kMaxCompiledFunctions];
  std::unique_ptr<SStack> evalStack_;
  SVector opScratch_;   // operator results
  int lastAssign_ = 0;  // the last item evaluated was an assignment

  // Tokenizer state.
  char expr_[chartcalc::detail::kMaxExpression] = {};
  const char* pos_ = expr_;
  double numberValue_ = 0.0;
  char nameText_[chartcalc::detail::kMaxNameText] = {};
  TokenValue token_ = PLUS;

  // Evaluator state.
  SVector empty_;
  SVector methodValue_;
  SVector dateWork_;
  SVector* bound_[chartcalc::detail::kPriceSlots] = {};
  SFunctionList* functions_ = nullptr;
  SAnsiStringList* funcHistory_ = nullptr;
  int userCalls_ = 0;
  int start_ = 0;
  int depth_ = 0;
  std::vector<std::unique_ptr<Name>> names_;
  Name overflow_;
  chartcalc::detail::LiveRun* live_ = nullptr;  // stands in for a variable the full table cannot hold
};
