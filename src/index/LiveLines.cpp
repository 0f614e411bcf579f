// The inputs an indicator's kept lines were calculated from (see
// LiveLines.h).
#include "index/LiveLines.h"

#include <utility>

#include "chartcalc/SFunction.h"

namespace chartcalc::detail {

namespace {

// Every text of the user functions a formula may call, so that a changed
// definition is noticed.
std::string FunctionText(const SFunctionList* list) {
  std::string text;
  if (!list) return text;
  const auto field = [&text](const SString& s) {
    text.append(s.str());
    text.push_back('\x1f');
  };
  for (int i = 0; i < list->GetCount(); ++i) {
    const SFunction& f = (*list)[i];
    field(f.Name);
    field(f.Expression);
    for (int k = 0; k < kMaxFunctionVars; ++k) {
      field(f.VarName[k]);
      field(f.VarValue[k]);
    }
  }
  return text;
}

}  // namespace

LiveLines::Inputs LiveLines::Read(const SIndex& x) {
  Inputs in;
  for (int k = 0; k < kPriceSlots; ++k) {
    const SVector* s = x.PriceSeries[k];
    in.series[k] = s;
    if (!s) continue;
    in.revision[k] = SeriesRevision::Of(*s);
    in.start[k] = s->GetStartIndex();
    in.bars[k] = s->GetSize();
  }
  in.indexType = x.IndexType;
  in.functions = x.FunctionList;
  in.functionText = FunctionText(x.FunctionList);
  return in;
}

bool LiveLines::Same(const Inputs& now) const {
  if (!remembered_) return false;
  for (int k = 0; k < kPriceSlots; ++k)
    if (now.series[k] != inputs_.series[k] || now.revision[k] != inputs_.revision[k] ||
        now.start[k] != inputs_.start[k] || now.bars[k] < inputs_.bars[k])
      return false;
  return now.indexType == inputs_.indexType && now.functions == inputs_.functions &&
         now.functionText == inputs_.functionText;
}

void LiveLines::TakeInputs(const SIndex& x) {
  Inputs now = Read(x);
  if (!Same(now))
    for (LiveLine& line : lines) line.Drop();
  inputs_ = std::move(now);
  remembered_ = true;
}

}  // namespace chartcalc::detail
