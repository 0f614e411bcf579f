// User-defined functions called from formulas. A call binds its arguments to
// the function's parameter names as formula variables, runs the function's
// own statements, and gives the caller its variables back afterwards.
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "calc/SCalcFunctionTable.h"
#include "chartcalc/SCalc.h"
#include "chartcalc/SFunction.h"
#include "chartcalc/TextHelpers.h"
#include "core/TextTable.h"

using namespace chartcalc::detail;

namespace {

// The text that stands for name in a converted expression: the stored value
// of the parameter of that name when it has one, else the name itself.
const char* Substitute(const SFunction& f, const char* name) {
  for (int i = 0; i < f.GetVarCount(); ++i)
    if (NameEquals(f.VarName[i].c_str(), name)) return f.VarValue[i].IsEmpty() ? name : f.VarValue[i].c_str();
  return name;
}

// Byte length of the character at p that starts no name: 2 for a code page
// 949 lead byte with a trail byte, else 1.
size_t CharLength(const char* p) {
  unsigned char c = static_cast<unsigned char>(*p);
  return c >= 0x81 && c <= 0xFE && p[1] ? 2 : 1;
}

}  // namespace

bool SCalc::IsUserFunction(const char* name) { return FindFunction(name) >= 0; }

int SCalc::FindFunction(const char* name) {
  if (!functions_ || !name) return -1;
  for (int i = 0; i < functions_->GetCount(); ++i)
    if (NameEquals((*functions_)[i].Name.c_str(), name)) return i;
  return -1;
}

SVector SCalc::RunStatementsIn(const char* text) {
  const char* savedPos = pos_;
  TokenValue savedToken = token_;
  pos_ = text;
  SVector value = RunStatements();
  pos_ = savedPos;
  token_ = savedToken;
  return value;
}

// name '(' args [',' delay] ')', entered with the token after "(" current;
// Prim reads the closing ")".
SVector SCalc::ProcessUserFunction(const char* name) {
  if (++userCalls_ > kMaxUserCalls) return Error(TxTooComplicated);
  int k = FindFunction(name);
  if (k < 0) return Error(TxFunctionNotFound);
  const SFunction& f = (*functions_)[k];

  // The caller's variables, to be given back whatever the call assigns.
  std::vector<std::unique_ptr<Name>> snapshot;
  CopyTable(snapshot, names_, NameCount());

  for (int p = 0; p < f.GetVarCount(); ++p) {
    SVector arg = Expr();
    Insert(f.VarName[p].c_str())->value = std::move(arg);
  }
  if (funcHistory_) funcHistory_->Add(SString(name));

  // The body runs from its own buffer, as long as a formula may be.
  auto body = std::make_unique<char[]>(kMaxExpression);
  size_t n = strnlen(f.Expression.c_str(), kMaxExpression - 1);
  std::memcpy(body.get(), f.Expression.c_str(), n);
  body[n] = '\0';
  SVector value = RunStatementsIn(body.get());

  if (token_ == COMMA) value = DelayedBy(std::move(value), Expr());

  for (const auto& saved : snapshot)
    if (Name* var = Look(saved->name, 0)) var->value = saved->value;
  return value;
}

// Writes the expression of the bound list's function k (0 to 4) into out,
// with each parameter name replaced by its stored value (names without a
// value stay). out must hold kMaxExpression (4096) bytes; a longer result is
// cut to 4095 bytes. Other k, or no bound list, leave out untouched.
void SCalc::ConvertExpression(int k, char* out) {
  if (k < 0 || k > 4 || !functions_ || !out) return;
  const SFunction& f = (*functions_)[k];
  std::string built;
  char name[kMaxNameBytes + 1];
  for (const char* p = f.Expression.c_str(); *p;) {
    size_t len = std::strlen(::GetName(p, name));
    if (len > 0) {
      built += Substitute(f, name);
      p += len;
    } else {
      size_t step = CharLength(p);
      built.append(p, step);
      p += step;
    }
  }
  size_t len = std::min(built.size(), static_cast<size_t>(kMaxExpression - 1));
  std::memcpy(out, built.data(), len);
  out[len] = '\0';
}
