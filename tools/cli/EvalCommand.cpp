// chartcalc eval: one formula over the price data, printed as CSV.
#include <cstdio>
#include <string>

#include "Cli.h"
#include "PriceCsv.h"

using namespace chartcalc::detail;

namespace {

// Writes bar,datetime,value rows; datetime is empty past the data, value is
// empty before the result's start index.
void PrintSeries(const SVector& result, const SVector& dateTime, std::ostream& out) {
  std::string buf = "bar,datetime,value\n";
  char cell[64];
  const int first = std::max(result.GetStartIndex(), 0);
  for (int i = 0; i < result.GetSize(); ++i) {
    int n = std::snprintf(cell, sizeof cell, "%d,", i);
    buf.append(cell, static_cast<size_t>(n));
    if (i < dateTime.GetSize()) {
      n = std::snprintf(cell, sizeof cell, "%.0f", dateTime[i]);
      buf.append(cell, static_cast<size_t>(n));
    }
    buf += ',';
    if (i >= first) {
      n = std::snprintf(cell, sizeof cell, "%.15g", result[i]);
      buf.append(cell, static_cast<size_t>(n));
    }
    buf += '\n';
    if (buf.size() > (1 << 16)) out << buf, buf.clear();
  }
  out << buf;
}

}  // namespace

int RunEval(const CliOptions& options, std::ostream& out, std::ostream& err) {
  if (options.args.size() != 1) {
    err << "error: eval takes exactly one FORMULA (see chartcalc eval --help)\n";
    return kExitBadInput;
  }
  std::string formula;
  if (!Utf8ToCp949(options.args[0], formula)) {
    err << "error: the formula is not UTF-8 text that code page 949 can hold\n";
    return kExitBadInput;
  }
  if (formula.size() >= static_cast<size_t>(kMaxExpression)) {
    err << "error: the formula is longer than " << kMaxExpression - 1 << " bytes\n";
    return kExitBadInput;
  }
  SPriceData prices;
  if (!ReadPriceCsv(options.data, prices, err)) return kExitBadInput;
  // The user functions of the index directory; none when it holds no
  // function database (reading creates nothing).
  SFunctionList functions;
  functions.ReadFunction();
  SCalc calc;
  calc.SetFunction(&functions);
  auto s = [&prices](int slot) -> SVector& { return prices.GetSeries(slot); };
  calc.SetVariable(s(kClose), s(kOpen), s(kHigh), s(kLow), s(kVolume), s(kDateTime), s(kOpenInterest), s(kAmount),
                   s(kSpread));
  calc.SetExpression(formula.c_str());
  SVector result = calc.Calculate();
  if (calc.ErrorCount > 0) {
    std::string message = Cp949ToUtf8Lossy(calc.ErrorMessage.c_str());
    while (!message.empty() && message.back() == '\n') message.pop_back();
    err << "error: " << message << "\n";
    return kExitFormula;
  }
  PrintSeries(result, s(kDateTime), out);
  return kExitOk;
}
