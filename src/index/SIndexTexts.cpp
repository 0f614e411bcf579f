// Line names and value texts of an indicator for the chart's legend and value
// display. Nothing is stored: every text is made from the fields at the
// moment it is asked for, so a change of language or of a variable shows at
// the next read.
#include <strings.h>

#include <algorithm>
#include <string>

#include "chartcalc/SIndex.h"
#include "chartcalc/SPriceData.h"
#include "chartcalc/TextHelpers.h"
#include "core/TextTable.h"

using namespace chartcalc::detail;

namespace {

// A line with this LineType draws no value (the host's marker lines).
constexpr int kLineTypeNoValue = 13;
// FloatToStrF(v, 10, 2): indicator values as plain numbers.
constexpr int kValuePrecision = 10;
constexpr int kValueDigits = 2;

// No fixed name: GetText answers an id outside the table with "".
constexpr TextId kNoName = TxCount;

// The fixed names of lines 0-4 of the kinds that have no line names of their
// own, one row per use.
using LineNames = TextId[kIndexLines];
constexpr LineNames kPatternNames = {TxLineBullish, TxLineBearish, kNoName, kNoName, kNoName};
constexpr LineNames kSystemLegendNames = {TxLineBuy, TxLineBuyClear, TxLineSell, TxLineSellClear, kNoName};
constexpr LineNames kSystemNames = {TxLineNewBuy, TxLineBuyClear, TxLineNewSell, TxLineSellClear, kNoName};
constexpr LineNames kProfitGraphNames = {TxLineProfitGraph, kNoName, kNoName, kNoName, kNoName};

bool ValidLine(int line) { return line >= 0 && line < kIndexLines; }

// Lines 0 and 2 of a system carry the indicator's name (line 2 only when
// there is no line 0, as in a sell-only system).
SString SystemLineName(const SIndex& x, int line, const LineNames& names) {
  if (x.Expression[line].IsEmpty()) return SString();
  const bool named = line == 0 || (line == 2 && x.Expression[0].IsEmpty());
  const SString fixed = GetText(names[line]);
  return named ? x.IndexName + " " + fixed : fixed;
}

// The value of the first named variable called name (ignoring case), or null.
const SString* VariableValue(const SIndex& x, const std::string& name) {
  for (int k = 0; k < kIndexVars; ++k)
    if (!x.VarName[k].IsEmpty() && strcasecmp(x.VarName[k].c_str(), name.c_str()) == 0) return &x.VarValue[k];
  return nullptr;
}

std::string Trimmed(const std::string& s) {
  const size_t from = s.find_first_not_of(" \t");
  if (from == std::string::npos) return std::string();
  return s.substr(from, s.find_last_not_of(" \t") - from + 1);
}

// "Name(a, b)" with each argument that names a variable replaced by its
// value: "Name(20,b)". Text before the "(" and from the ")" on is kept.
SString FillArgumentList(const SIndex& x, const std::string& name) {
  const size_t open = name.find('(');
  const size_t close = open == std::string::npos ? open : name.find(')', open + 1);
  if (close == std::string::npos) return name;
  std::string out = name.substr(0, open + 1);
  const std::string args = name.substr(open + 1, close - open - 1);
  for (size_t from = 0;;) {
    const size_t comma = args.find(',', from);
    const std::string piece = Trimmed(args.substr(from, comma - from));
    const SString* value = VariableValue(x, piece);
    out += value ? value->str() : piece;
    if (comma == std::string::npos) break;
    out += ',';
    from = comma + 1;
  }
  return out + name.substr(close);
}

// Characters of a code page 949 text: a lead byte and its trail byte count
// as one.
int CharacterCount(const SString& text) {
  int count = 0;
  const std::string& s = text.str();
  for (size_t i = 0; i < s.size(); ++i, ++count)
    if (static_cast<unsigned char>(s[i]) >= 0x81 && i + 1 < s.size()) ++i;
  return count;
}

// The value of a line at bar, or false when the kind shows no value there.
bool LineValue(const SIndex& x, int line, int bar, double& value) {
  if (x.IndexType != kIndexIndicator && x.IndexType != kIndexNamedLines) return false;
  if (!ValidLine(line) || x.LineType[line] == kLineTypeNoValue) return false;
  const SVector& s = x.LineData[line];
  if (bar < std::max(s.GetStartIndex(), 0) || bar >= s.GetSize()) return false;
  value = s[bar];
  return true;
}

// Removes every occurrence of word from text.
void RemoveWord(std::string& text, const std::string& word) {
  if (word.empty()) return;
  for (size_t at; (at = text.find(word)) != std::string::npos;) text.erase(at, word.size());
}

}  // namespace

// "%%" gives "%"; "%name%" the variable's value, or stays as written when no
// variable has that name; a "%" without a partner is copied with the rest.
SString SIndex::GetExpTitleName(int line) {
  if (!ValidLine(line)) return SString();
  const std::string& text = ExpName[line].str();
  std::string out;
  size_t i = 0;
  for (size_t open; (open = text.find('%', i)) != std::string::npos;) {
    const size_t close = text.find('%', open + 1);
    if (close == std::string::npos) break;
    out.append(text, i, open - i);
    const std::string name = text.substr(open + 1, close - open - 1);
    const SString* value = name.empty() ? nullptr : VariableValue(*this, name);
    out += name.empty() ? std::string("%") : value ? value->str() : text.substr(open, close - open + 1);
    i = close + 1;
  }
  return out + text.substr(i);
}

SString SIndex::GetIndexVariable() {
  std::string values;
  bool any = false;
  for (int k = 0; k < kIndexVars; ++k) {
    if (VarName[k].IsEmpty()) continue;
    values += (any ? "," : "") + VarValue[k].str();
    any = true;
  }
  return any ? SString("(" + values + ")") : SString();
}

SString SIndex::GetExpName(int line) {
  if (!ValidLine(line)) return SString();
  switch (IndexType) {
    case kIndexIndicator:
      if (!ExpName[line].IsEmpty()) return GetExpTitleName(line);
      return IndexName + "[" + SString(line) + "]";
    case kIndexSingleExpression:
    case kIndexCandlePattern:
      return IndexName;
    case kIndexPattern:
      if (Expression[line].IsEmpty()) return SString();
      return line == 0 ? IndexName + " " + GetText(kPatternNames[0]) : SString(GetText(kPatternNames[line]));
    case kIndexSystem:
      return SystemLineName(*this, line, kSystemLegendNames);
    case kIndexProfitGraph:
      return GetText(kProfitGraphNames[line]);
    case kIndexNamedLines:
      return ExpName[line];
    default:
      return SString();
  }
}

SString SIndex::GetExpNameWithVariable(int line) {
  if (!ValidLine(line)) return SString();
  switch (IndexType) {
    case kIndexIndicator:
      return Expression[line].IsEmpty() ? SString() : GetExpName(line);
    case kIndexSingleExpression:
      return Expression[line].IsEmpty() ? FillArgumentList(*this, ExpName[line].str()) : IndexName;
    case kIndexPattern:
      return Expression[line].IsEmpty() ? SString() : IndexName + " " + GetText(kPatternNames[line]);
    case kIndexSystem:
      return SystemLineName(*this, line, kSystemNames);
    default:
      return GetExpName(line);
  }
}

SString SIndex::GetExpNameWithValue(int line, int bar) {
  if (!ValidLine(line)) return SString();
  double value = 0;
  switch (IndexType) {
    case kIndexPattern:
      return Expression[line].IsEmpty() ? SString() : SString(GetText(kPatternNames[line]));
    case kIndexSystem:
      return Expression[line].IsEmpty() ? SString() : SString(GetText(kSystemNames[line]));
    default:
      return LineValue(*this, line, bar, value) ? FloatToStrF(value, kValuePrecision, kValueDigits) : SString();
  }
}

SString SIndex::GetExpValue(int line, int bar) {
  double value = 0;
  SPriceData* record = GetCurPriceData();
  if (!record || !LineValue(*this, line, bar, value)) return SString();
  return GetTickFullFormat(value, record->TickSize);
}

int SIndex::GetMaxExpNameLength() {
  int longest = 0;
  for (int line = 0; line < kIndexLines; ++line)
    longest = std::max(longest, CharacterCount(GetExpNameWithVariable(line)));
  return longest;
}

// " name(value) ": the name after a blank (line 0 of a formula kind may lead
// with the symbol), the value in parentheses after it or alone, and a
// trailing blank; formula-less kinds fall back to the bare line name.
SString SIndex::GetExpTitle(int showName, int showValue, int withSymbol, int line, int bar) {
  std::string title;
  if (showName) {
    const SString name = GetExpName(line);
    title.push_back(' ');
    if (line == 0 && IndexType < kIndexNotCalculated && withSymbol) {
      SPriceData* record = GetCurPriceData();
      std::string symbol = record ? record->GetSymbolInfo().str() : std::string();
      // A spread's symbol text names both legs with their sides; the
      // legend shows the legs only.
      if (name == SString(GetText(TxSpread))) {
        RemoveWord(symbol, GetText(TxLineBuy));
        RemoveWord(symbol, GetText(TxLineSell));
      }
      title.append(symbol).push_back(' ');
    }
    title.append(name.str());
  }
  const SString value = showValue ? GetExpValue(line, bar) : SString();
  if (!value.IsEmpty()) title += title.empty() ? value.str() : "(" + value.str() + ")";
  if (!title.empty()) return title + " ";
  const bool namedAlways =
      IndexType == kIndexSingleExpression || IndexType == kIndexPattern || IndexType == kIndexSystem;
  return namedAlways ? GetExpName(line) + " " : SString();
}
