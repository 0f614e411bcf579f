// Tokenizer and name table of the formula engine.
#include <charconv>
#include <cstring>

#include "calc/DataVariables.h"
#include "calc/EngineNames.h"
#include "calc/SCalcFunctionTable.h"
#include "chartcalc/SCalc.h"
#include "core/TextTable.h"

using namespace chartcalc::detail;

namespace {

bool IsWhite(char c) { return c == '\t' || c == '\n' || c == '\v' || c == '\r' || c == ' '; }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsAsciiLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool StartsName(char c) { return IsAsciiLetter(c) || isHangul(static_cast<unsigned char>(c)); }
bool ContinuesName(char c) { return StartsName(c) || IsDigit(c) || c == '_'; }

// Copies the name at p into buf (at most size - 1 bytes; longer names are
// consumed whole but cut) and returns the position after it.
const char* ReadName(const char* p, char* buf, int size) {
  int n = 0;
  if (StartsName(*p)) {
    while (ContinuesName(*p)) {
      if (n < size - 1) buf[n++] = *p;
      ++p;
    }
  }
  buf[n] = '\0';
  return p;
}

// Skips a comment at p (which is at a '/'); returns p unchanged when none
// starts there. A block comment's closing search starts at the '*' of the
// opening pair, so "/*/" is a complete comment.
const char* SkipComment(const char* p) {
  if (p[0] != '/') return p;
  if (p[1] == '/') {
    p += 2;
    while (*p && *p != '\n') ++p;
    return p;
  }
  if (p[1] == '*') {
    p += 1;
    while (*p && !(p[0] == '*' && p[1] == '/')) ++p;
    return *p ? p + 2 : p;
  }
  return p;
}

}  // namespace

bool isHangul(unsigned char c) { return c >= 0xA1 && c <= 0xFE; }

// Keywords in order: English and, localised and, or, localised or, not,
// localised not.
TokenValue SCalc::KeywordToken(const char* name) const {
  struct Keyword {
    const char* english;
    TextId local;
    TokenValue token;
  };
  static const Keyword kKeywords[] = {{"and", TxAnd, AND}, {"or", TxOr, OR}, {"not", TxNot, NOT}};
  for (const Keyword& k : kKeywords) {
    if (NameEquals(name, k.english) || NameEquals(name, GetText(k.local))) return k.token;
  }
  return NAME;
}

// token -> one of the TokenValue kinds read at the current position
TokenValue SCalc::GetToken() {
  for (;;) {
    const char c = *pos_;
    if (IsWhite(c)) {
      ++pos_;
      continue;
    }
    if (c == '/') {
      const char* after = SkipComment(pos_);
      if (after != pos_) {
        pos_ = after;
        continue;
      }
      ++pos_;
      return token_ = DIV;
    }
    break;
  }
  const char c = *pos_;
  const char next = c ? pos_[1] : '\0';
  switch (c) {
    case '!':
      pos_ += next == '=' ? 2 : 1;
      return token_ = next == '=' ? NE : NOT;
    case '%': case '(': case ')': case '*': case '+': case ',': case '-': case '^':
      ++pos_;
      return token_ = static_cast<TokenValue>(c);
    case '&':
    case '|':
      if (next == c) {
        pos_ += 2;
        return token_ = c == '&' ? AND : OR;
      }
      // A lone '&' or '|': the formula is in error; read it as the operator
      // it was probably meant to be, so that parsing can finish.
      ++pos_;
      Error(TxBadToken);
      return token_ = c == '&' ? AND : OR;
    case ';':
      ++pos_;
      return token_ = PRINT;
    case '=':
      pos_ += next == '=' ? 2 : 1;
      return token_ = next == '=' ? EQ : ASSIGN;
    case '>':
      pos_ += next == '=' ? 2 : 1;
      return token_ = next == '=' ? GE : GT;
    case '<':
      if (next == '=' || next == '>') {
        pos_ += 2;
        return token_ = next == '=' ? LE : NE;
      }
      ++pos_;
      return token_ = LT;
    default:
      break;
  }
  if (IsDigit(c)) {
    numberValue_ = GetNumber();
    return token_ = NUMBER;
  }
  if (StartsName(c)) {
    TokenValue keyword = KeywordToken(PeekName(pos_));
    GetName(pos_);
    return token_ = keyword;
  }
  // The end of the text, or a character that starts no token: not consumed.
  return token_ = PRINT;
}

void SCalc::SkipWhite() {
  while (IsWhite(*pos_)) ++pos_;
  if (*pos_ == '/') pos_ = SkipComment(pos_);
}

// Digits and points; no sign, exponent or leading point. "1.2.3" reads 1.2
// and consumes all five characters.
double SCalc::GetNumber() {
  char buf[kMaxNumberText];
  int n = 0;
  while (IsDigit(*pos_) || *pos_ == '.') {
    if (n < kMaxNumberText - 1) buf[n++] = *pos_;
    ++pos_;
  }
  double v = 0.0;
  std::from_chars(buf, buf + n, v);
  return v;
}

char* SCalc::GetName(const char*) {
  pos_ = ReadName(pos_, nameText_, kMaxNameText);
  return nameText_;
}

char* SCalc::PeekName(const char* p) {
  ReadName(p, nameText_, kMaxNameText);
  return nameText_;
}

// ---- name table -------------------------------------------------------------

namespace {

// Variable names are kept to 51 characters; longer names are compared and
// stored by their first 51, so they still name one variable consistently.
void CopyVariableName(char* dest, const char* name) {
  size_t n = strnlen(name, kMaxVariableName - 1);
  std::memcpy(dest, name, n);
  dest[n] = '\0';
}

}  // namespace

Name* SCalc::Look(const char* name, int insert) {
  char key[kMaxVariableName];
  CopyVariableName(key, name);
  for (auto& entry : names_)
    if (NameEquals(entry->name, key)) return entry.get();
  if (!insert) return nullptr;
  if (static_cast<int>(names_.size()) >= kMaxNames) {
    // The table is full: the assignment still gets a usable variable, and
    // the formula is reported in error.
    Error(TxTooManyNames);
    CopyVariableName(overflow_.name, key);
    overflow_.value = 1.0;
    return &overflow_;
  }
  auto entry = std::make_unique<Name>();
  CopyVariableName(entry->name, key);
  entry->value = 1.0;
  names_.push_back(std::move(entry));
  return names_.back().get();
}

Name* SCalc::Insert(const char* name) { return Look(name, 1); }

void SCalc::CopyTable(std::vector<std::unique_ptr<Name>>& dest,
                      const std::vector<std::unique_ptr<Name>>& source, int count) {
  int n = std::min(count, static_cast<int>(source.size()));
  for (int i = 0; i < n; ++i) dest.push_back(std::make_unique<Name>(*source[static_cast<size_t>(i)]));
}

void SCalc::ClearNameTable() { names_.clear(); }

// The slot of the bound series that `name` stands for when it forms a whole
// argument (the text after it, from `after`, goes on with "," or ")"); -1
// otherwise. A formula variable or a function of the same name comes first,
// as it does when the argument is evaluated.
int SCalc::BoundArgumentSlot(const char* name, const char* after) {
  int slot = 0;
  if (KeywordToken(name) != NAME || Look(name, 0) || IsVectorFunction(name) ||
      ClassifyDataWord(name, slot) != DataWordKind::kBoundSeries)
    return -1;
  while (IsWhite(*after)) ++after;
  return *after == ',' || *after == ')' ? slot : -1;
}

const SVector* SCalc::TakeBoundArgument() {
  int slot = -1;
  if (token_ == NAME) {
    slot = BoundArgumentSlot(nameText_, pos_);
  } else if (token_ == COMMA) {
    // A later argument starts with its ",", which Prim would step over.
    const char* p = pos_;
    while (IsWhite(*p)) ++p;
    char name[kMaxNameText] = {};
    const char* after = ReadName(p, name, kMaxNameText);
    if (after != p) slot = BoundArgumentSlot(name, after);
    if (slot >= 0) GetToken();  // the name
  }
  if (slot < 0) return nullptr;
  GetToken();
  return &Bound(slot);
}
