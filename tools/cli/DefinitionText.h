// Indicator, pattern, trading-system and function definitions written as
// readable text (the shipped library in definitions/*.txt), turned into
// indicators that SIndex::WriteExpression stores. The format is described at
// the top of DefinitionText.cpp.
#pragma once

#include <string>
#include <vector>

#include "chartcalc.h"

// The words that name a kind of definition, for files and for the tool.
struct DefinitionKind {
  const char* word;
  int type;  // IndexType
};
inline constexpr DefinitionKind kDefinitionKinds[] = {
    {"indicator", chartcalc::detail::kIndexIndicator},   {"expression", chartcalc::detail::kIndexSingleExpression},
    {"pattern", chartcalc::detail::kIndexPattern},       {"system", chartcalc::detail::kIndexSystem},
    {"function", chartcalc::detail::kIndexUserFunction},
};
// The kind named by word, or -2 when there is none.
int DefinitionKindOf(const std::string& word);
// The word of a kind ("" for a kind without a record).
const char* DefinitionKindWord(int type);

// Field widths of the definition tables (bytes, code page 949).
inline constexpr int kDefinitionNameWidth = 50;
inline constexpr int kDefinitionTextWidth = 200;

// One definition read from a text and the line its header stands on.
struct DefinitionText {
  SIndex index;
  int line = 0;
};

// Reads every definition of one file's text (UTF-8). On the first error
// returns false with "fileName:line: message" and out unchanged.
bool ParseDefinitions(const std::string& text, const std::string& fileName, std::vector<DefinitionText>& out,
                      std::string& error);
