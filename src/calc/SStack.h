// SStack: a fixed stack of postfix items, the compiled form of a formula and
// the evaluation stack that walks it (SCalcPostfix.cpp).
//
// A compiled list is stored reversed: its top holds the first item in postfix
// order, and evaluation walks the top down to index 0. A stack never holds
// more than kPostfixCapacity items; a push onto a full stack is dropped
// without notice, so an expression needing more yields a wrong result rather
// than a failure.
#pragma once

#include "chartcalc/SString.h"
#include "chartcalc/SVector.h"

namespace chartcalc::detail {

inline constexpr int kPostfixCapacity = 100;

// Item codes of a compiled list. The codes, their classes and precedences are
// a fixed table (see SCalc::GetOpType and SCalc::GetPrecedence).
enum PostfixCode {
  kPfName = 0,       // data variable or formula variable, by its written name
  kPfNumber = 1,     // constant, or an evaluated intermediate result
  kPfLeftParen = 6,  // "OPLP", only on the operator stack
  kPfUnaryPlus = 8,
  kPfUnaryMinus = 9,
  kPfNot = 10,
  kPfPlus = 11,
  kPfMinus = 12,
  kPfMul = 13,
  kPfDiv = 14,
  kPfMod = 15,
  kPfLess = 16,
  kPfLessEqual = 17,
  kPfGreater = 18,
  kPfGreaterEqual = 19,
  kPfEqual = 20,
  kPfNotEqual = 21,
  kPfAnd = 22,
  kPfOr = 23,
  kPfAssign = 24,
  kPfComma = 25,
  // The code of each formula function is in its row of the function table
  // (SCalcFunctionTable.cpp); named here are those other code refers to.
  kPfPow = 39,        // the operator "^" and the function pow
  kPfCompressC = 40,  // CompressC, passed over by the evaluator
  kPfPrev = 46,       // a name written with a count in parentheses
  kPfSum = 47,        // sum
  kPfUser = 80,       // 80 + i: user function at position i of the list
};

// Item classes of the evaluator.
enum PostfixClass {
  kPcName = 0,
  kPcNumber = 1,
  kPcFunction = 2,
  kPcOperator = 5,
  kPcOther = 90,
};

// One element of a compiled list or of the evaluation stack.
struct PostfixItem {
  int Code = kPfName;
  int ArgCount = 0;  // arguments of a function item; 1 for "PREV"
  SString Text;      // the name as written, or the operator's name
  SVector Value;     // a number item's constant, or an evaluated result
};

}  // namespace chartcalc::detail

class SStack {
 public:
  SStack() = default;
  // A copy holds the same items but starts empty (top -1).
  SStack(const SStack& other);
  SStack& operator=(const SStack& other);

  // Pushes a copy of the item; false (and nothing changes) when full.
  bool Push(const chartcalc::detail::PostfixItem& item);
  // Removes the top item, if any.
  void Pop();
  bool Empty() const { return top < 0; }
  chartcalc::detail::PostfixItem& Top() { return items[top]; }
  // Forgets every item.
  void Clear() { top = -1, count = 0; }

  int top = -1;
  int count = 0;
  int capacity = chartcalc::detail::kPostfixCapacity;
  chartcalc::detail::PostfixItem items[chartcalc::detail::kPostfixCapacity];
};
