// Internal: the engine's own short names for its nested types, so that the
// tokenizer, the parser and the function families read as they did when the
// token kinds were global (hosts only see them as SCalc::NAME, SCalc::Name).
#pragma once

#include "chartcalc/SCalc.h"

namespace chartcalc::detail {

using TokenValue = SCalc::TokenValue;
using enum SCalc::TokenValue;
using Name = SCalc::Name;

}  // namespace chartcalc::detail
