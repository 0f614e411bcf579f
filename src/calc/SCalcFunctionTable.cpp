#include "calc/SCalcFunctionTable.h"

#include "calc/EngineNames.h"
#include "core/TextTable.h"

using namespace chartcalc::detail;

namespace {

char Lower(char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c; }

}  // namespace

bool NameEquals(const char* a, const char* b) {
  if (!a || !b) return false;
  while (*a && Lower(*a) == Lower(*b)) ++a, ++b;
  return Lower(*a) == Lower(*b);
}

const SCalcFunction* FindCalcFunction(std::span<const SCalcFunction> table, const char* name,
                                      bool recognising) {
  for (const SCalcFunction& row : table) {
    if (row.name && NameEquals(name, row.name)) return &row;
    if (row.localName < 0 || (recognising && !row.localRecognised)) continue;
    if (NameEquals(name, GetText(static_cast<TextId>(row.localName)))) return &row;
  }
  return nullptr;
}
