// User functions: a name, a formula and up to ten parameter names, kept in
// the user-function database (definition kind 4) and called from formulas
// like built-in functions (SCalc::ProcessUserFunction).
#pragma once

#include <memory>

#include "chartcalc/SString.h"

namespace chartcalc::detail {

inline constexpr int kMaxFunctionVars = 10;

}  // namespace chartcalc::detail

class SFunction {
 public:
  SFunction() = default;
  SFunction(const SFunction&) = default;
  SFunction& operator=(const SFunction&) = default;
  virtual ~SFunction() = default;

  SString Name;                                           // as used in formulas
  SString VarName[chartcalc::detail::kMaxFunctionVars];   // parameters; the first empty one ends the list
  SString VarValue[chartcalc::detail::kMaxFunctionVars];  // stored parameter values (not used by calls)
  SString Expression;                                     // the body; at most 4095 characters are evaluated

  // Number of parameters: the names before the first empty one.
  int GetVarCount() const;
};

// An owned array of functions. An index outside the list yields the list's
// own empty record.
class SFunctionList {
 public:
  SFunctionList();
  SFunctionList(const SFunctionList& other);
  SFunctionList& operator=(const SFunctionList& other);
  virtual ~SFunctionList() = default;

  // Appends a copy, growing the array by the growth step when it is full.
  void Add(const SFunction& f);
  // Removes the record at i (0 .. count - 1; other indices are ignored).
  void Delete(int i);
  // Releases every record: count 0, capacity and growth step 20.
  void Clear();
  // Grows the array to exactly n records when n exceeds the capacity.
  void SetMaxSize(int n);
  SFunction& operator[](int i);
  const SFunction& operator[](int i) const;
  int GetCount() const { return count_; }
  int GetSize() const { return count_; }
  int GetCapacity() const { return capacity_; }

  // Replaces the list with every valid record of the user-function database
  // (getIndexDBFileName(4), getUserDBFileName(4)). Returns 1 when at least
  // one function was loaded, else 0.
  int ReadFunction();
  // Adds the function described by "name|expression|var0|var1|...": escape
  // characters are removed first; up to ten variable names follow the
  // expression; the last field needs no closing "|".
  void SetExpressionWithVariable(const char* text);

 private:
  void Reallocate(int capacity);

  SFunction empty_;  // what an index outside the list yields
  std::unique_ptr<SFunction[]> items_;
  int capacity_ = 0;
  int growth_ = 0;
  int count_ = 0;
};
