// eval and indicator: a formula, or a named definition of the index
// directory, over the caller's prices.
#include "DefinitionText.h"
#include "Module.h"
#include "NamedDefinition.h"

using namespace chartcalc::detail;

namespace {

std::string FirstMessage(const SCalc& calc) {
  std::string message = Cp949ToUtf8Lossy(calc.ErrorMessage.c_str());
  while (!message.empty() && message.back() == '\n') message.pop_back();
  return message;
}

py::array_t<double> Eval(const std::string& formula, Prices& prices, const std::string& lang,
                         const std::string& indexDir) {
  const std::string text = ToCp949(formula, "the formula");
  if (text.size() >= static_cast<size_t>(kMaxExpression))
    throw py::value_error("the formula is longer than " + std::to_string(kMaxExpression - 1) + " bytes");
  const int language = LangOf(lang);
  SVector result;
  std::string error;
  {
    LibraryCall call(language, indexDir);
    SFunctionList& functions = UserFunctions();
    SCalc calc;
    calc.SetFunction(&functions);
    auto s = [&prices](int slot) -> SVector& { return prices.data.GetSeries(slot); };
    calc.SetVariable(s(kClose), s(kOpen), s(kHigh), s(kLow), s(kVolume), s(kDateTime), s(kOpenInterest), s(kAmount),
                     s(kSpread));
    calc.SetExpression(text.c_str());
    result = calc.Calculate();
    if (calc.ErrorCount > 0) error = FirstMessage(calc);
  }
  if (!error.empty()) throw py::value_error(error);
  return TakeSeries(std::move(result), prices.bars);
}

using Variables = std::vector<std::pair<std::string, std::string>>;

// name=value options of the tool's --var.
std::vector<std::pair<std::string, std::string>> VarOptions(const Variables& variables) {
  std::vector<std::pair<std::string, std::string>> own;
  for (const auto& [name, value] : variables) own.emplace_back("var", name + "=" + value);
  return own;
}

py::tuple Indicator(const std::string& name, Prices& prices, const std::string& lang, const std::string& indexDir,
                    const Variables& variables) {
  const int language = LangOf(lang);
  Messages messages;
  std::vector<std::string> names;
  std::vector<SVector> lines;
  int status = kExitOk;
  {
    LibraryCall call(language, indexDir);
    SIndex x;
    const CliOptions options = ToolOptions({"calc", name}, VarOptions(variables));
    status = CachedDefinition(
        "indicator\n" + name, AllKinds(), x, messages.err(),
        [&](SIndex& read, std::ostream& err) { return ReadNamed(options.args, AllKinds(), read, err); });
    if (status == kExitOk) status = FinishNamed(options, x, messages.err());
    if (status == kExitOk) {
      SFunctionList& functions = UserFunctions();
      x.SetFunction(&functions);
      BindPrices(x, prices.data);
      x.Calc();
      if (!ReportFormulaErrors(x, prices.data, functions, messages.err())) status = kExitFormula;
      for (int line : CalculatedLines(x)) {
        names.push_back(Cp949ToUtf8Lossy(x.GetExpNameWithVariable(line).c_str()));
        lines.push_back(std::move(x.LineData[line]));
      }
    }
  }
  messages.Check(status);
  py::list arrays;
  for (SVector& line : lines) arrays.append(TakeSeries(std::move(line), prices.bars));
  return py::make_tuple(names, arrays);
}

}  // namespace

void AddFormulas(py::module_& m) {
  m.def("eval", &Eval, py::arg("formula"), py::arg("prices"), py::arg("lang"), py::arg("index_dir"));
  m.def("indicator", &Indicator, py::arg("name"), py::arg("prices"), py::arg("lang"), py::arg("index_dir"),
        py::arg("variables"));
}
