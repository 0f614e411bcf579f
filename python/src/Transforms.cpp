// transform: a chart type over the caller's prices, one array per column of
// the tool's CSV (a letter as its character code).
#include "Module.h"
#include "NamedDefinition.h"
#include "TransformTypes.h"

using namespace chartcalc::detail;

namespace {

using Options = std::vector<std::pair<std::string, std::string>>;

// The chart's columns: n, then the type's own.
py::dict Columns(const TransformType& t, const SIndex& x) {
  const RowRange rows = RowsOf(t, x);
  const int count = std::max(rows.end - rows.first, 0);
  std::vector<double> n(static_cast<size_t>(count));
  for (int k = 0; k < count; ++k) n[k] = k + 1;
  py::dict columns;
  columns["n"] = TakeValues(std::move(n));
  for (const Column& c : t.columns) {
    std::vector<double> values(static_cast<size_t>(count));
    for (int k = 0; k < count; ++k) values[k] = CellValue(c, x, rows.first + k, rows.first + k + rows.barOffset);
    columns[c.header] = TakeValues(std::move(values));
  }
  return columns;
}

// The columns holding letters, for the caller to show as characters.
py::list LetterColumns(const TransformType& t) {
  py::list letters;
  for (const Column& c : t.columns)
    if (c.cell == Cell::kLetter) letters.append(c.header);
  return letters;
}

// kind, then options as the tool's --p1/--p2/--from/--to take them (texts)
// and reset; gives the columns, the letter columns and the parameters as
// the calculation left them.
py::tuple Transform(const std::string& kind, Prices& prices, const Options& options, bool reset) {
  const TransformType* t = FindType(kind);
  if (!t) throw py::value_error("unknown chart type '" + kind + "'");
  CliOptions tool = ToolOptions({kind}, options);
  if (reset) tool.flags.insert("reset");
  Messages messages;
  SIndex x;
  if (!SetParams(*t, tool, x, messages.err())) messages.Check(kExitBadInput);
  int from = 0, to = 0;
  if (!BarRange(*t, tool, prices.bars, from, to, messages.err())) messages.Check(kExitBadInput);
  {
    py::gil_scoped_release release;
    BindPrices(x, prices.data);
    t->calc(x, reset, from, to);
  }
  return py::make_tuple(Columns(*t, x), LetterColumns(*t), ParamText(*t, x));
}

// The types with their parameters' words (p1, p2; empty when none).
py::list Types() {
  py::list types;
  auto word = [](const Param& p) { return p.kind == ParamKind::kNone || p.kind == ParamKind::kResult ? "" : p.word; };
  for (const TransformType& t : TransformTypes()) types.append(py::make_tuple(t.name, word(t.p1), word(t.p2)));
  return types;
}

}  // namespace

void AddTransforms(py::module_& m) {
  m.def("transform", &Transform, py::arg("kind"), py::arg("prices"), py::arg("options"), py::arg("reset"));
  m.def("transform_types", &Types);
}
