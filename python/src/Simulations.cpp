// backtest, optimise and the report pages of a run: a trading system of the
// index directory run through SSimulation as the tool runs it, and an
// optimisation on worker threads with the caller's progress callback
// called on the calling thread between the workers' messages.
#include <strings.h>

#include <memory>

#include "Module.h"
#include "NamedDefinition.h"
#include "OptimiseWorkers.h"
#include "SimulationOptions.h"

using namespace chartcalc::detail;

namespace {

using Pairs = std::vector<std::pair<std::string, std::string>>;

std::string Utf8(const SString& cp949) { return Cp949ToUtf8Lossy(cp949.c_str()); }

// The tool's options of a run: --var, --settings, --set and --tick.
CliOptions RunOptions(const std::string& system, const Pairs& variables, const Pairs& settings) {
  Pairs own = settings;
  for (const auto& [name, value] : variables) own.emplace_back("var", name + "=" + value);
  return ToolOptions({system}, own);
}

// Reads the system, the settings and the tick into sim, bound to prices.
int PrepareSimulation(const CliOptions& options, Prices& prices, SSimulation& sim, std::ostream& err) {
  SIndex system;
  int status =
      CachedDefinition("system\n" + options.args.at(0), AllKinds(), system, err,
                       [&](SIndex& read, std::ostream& e) { return ReadSystemDefinition(options.args, read, e); });
  if (status == kExitOk) status = FinishNamed(options, system, err);
  if (status != kExitOk) return status;
  double tick = 0;
  if (!ApplySettings(options, sim, err) || !ReadTick(options, tick, err)) return kExitBadInput;
  sim.SetTickSize(tick);
  auto s = [&prices](int slot) { return &prices.data.GetSeries(slot); };
  sim.SetVariablePointer(s(kClose), s(kOpen), s(kHigh), s(kLow), s(kVolume), s(kDateTime), s(kOpenInterest), s(kAmount),
                         s(kSpread));
  sim.SetIndex(system);
  return kExitOk;
}

py::list SummaryRows(const SSimulation& sim) {
  py::list rows;
  for (int r = 0; r < sim.SummaryCount; ++r) {
    const SSummary& row = sim.Summary[r];
    rows.append(py::make_tuple(Utf8(row.GroupID), Utf8(row.GroupName), Utf8(row.SubGroupID), Utf8(row.SubGroupName),
                               Utf8(row.Sequence), Utf8(row.Name1), Utf8(row.Value1), Utf8(row.Name2),
                               Utf8(row.Value2)));
  }
  return rows;
}

py::dict TradeColumns(const STradeTable& t) {
  py::dict columns;
  for (int c = 0; c < STradeTable::kColumns; ++c) {
    const SVector& column = t.Column(c);
    std::vector<double> values(static_cast<size_t>(t.GetCount()), 0.0);
    for (int k = 0; k < t.GetCount() && k < column.GetSize(); ++k) values[k] = column[k];
    columns[kTradeColumnNames[c]] = TakeValues(std::move(values));
  }
  return columns;
}

// The equity of each simulated side and, when both are, of both together.
std::vector<std::pair<std::string, SVector>> EquityCurves(SSimulation& sim) {
  std::vector<std::pair<std::string, SVector>> curves;
  for (int side = sim.GetStartMode(); side <= sim.GetEndMode(); ++side)
    curves.emplace_back(side == 0 ? "long" : "short", SVector());
  if (curves.size() == 2) curves.emplace_back("total", SVector());
  for (size_t k = 0; k < curves.size(); ++k) sim.CalcEquity(&curves[k].second, k < 2 ? sim.GetStartMode() + int(k) : 2);
  return curves;
}

py::dict Backtest(const std::string& system, Prices& prices, const std::string& lang, const std::string& indexDir,
                  const Pairs& variables, const Pairs& settings, const std::string& symbol) {
  const int language = LangOf(lang);
  const std::string name = ToCp949(symbol, "the symbol");
  Messages messages;
  auto sim = std::make_unique<SSimulation>();
  std::vector<std::pair<std::string, SVector>> curves;
  int status = kExitOk;
  {
    LibraryCall call(language, indexDir);
    SFunctionList& functions = UserFunctions();
    status = PrepareSimulation(RunOptions(system, variables, settings), prices, *sim, messages.err());
    sim->SetSymbolName(name.c_str());
    if (status == kExitOk && !RunSimulation(*sim, prices.data, functions, messages.err())) status = kExitFormula;
    if (status == kExitOk) curves = EquityCurves(*sim);
  }
  messages.Check(status);
  py::dict equity;
  for (auto& [side, values] : curves) equity[side.c_str()] = TakeSeries(std::move(values), prices.bars);
  py::dict result;
  result["summary"] = SummaryRows(*sim);
  result["trades"] = TradeColumns(sim->Trades);
  result["equity"] = equity;
  return result;
}

// ---- optimisation -------------------------------------------------------------

// NAME START END STEP, as texts the optimiser reads.
using Ranges = std::vector<std::tuple<std::string, std::string, std::string, std::string>>;

// Variables not named keep their value as a one-value range. False after a message.
bool SetRanges(SIndex& x, const Ranges& ranges, std::ostream& err) {
  for (int i = 0; i < kIndexVars && !x.VarName[i].IsEmpty(); ++i)
    x.VarStart[i] = x.VarEnd[i] = x.VarValue[i], x.VarIncrement[i] = "1";
  for (const auto& [name, start, end, step] : ranges) {
    const std::string cp949 = ToCp949(name, "a variable name");
    int i = 0;
    while (i < kIndexVars && !x.VarName[i].IsEmpty() && strcasecmp(x.VarName[i].c_str(), cp949.c_str()) != 0) ++i;
    if (i == kIndexVars || x.VarName[i].IsEmpty()) {
      err << "error: " << Field(x.IndexName) << " has no variable '" << name << "'\n";
      return false;
    }
    x.VarStart[i] = start.c_str(), x.VarEnd[i] = end.c_str(), x.VarIncrement[i] = step.c_str();
  }
  return true;
}

// The model every worker copies; a formula error shows at the first run
// already, so it is reported before any worker starts.
int MakeModel(const CliOptions& options, const Ranges& ranges, Prices& prices, SFunctionList& functions,
              SSimulation& model, std::ostream& err) {
  if (int status = PrepareSimulation(options, prices, model, err); status != kExitOk) return status;
  if (!SetRanges(model.Index, ranges, err)) return kExitBadInput;
  SIndex first = model.Index;
  BindPrices(first, prices.data);
  first.SetFunction(&functions);
  first.Calc();
  return ReportFormulaErrors(first, prices.data, functions, err) ? kExitOk : kExitFormula;
}

// Calls progress(done, total) when the count changed, with the
// interpreter's lock taken back, and looks for a pending signal (Ctrl-C).
// A raised error stops the workers and is raised once they are.
class ProgressCallback : public OptimiseFollower {
 public:
  ProgressCallback(const py::object& progress, long long total) : progress_(progress), total_(total) {}

  bool Follow(long long done, bool running) override {
    if (failure || (done == shown_ && running)) return !failure;
    py::gil_scoped_acquire acquire;
    try {
      if (PyErr_CheckSignals() != 0) throw py::error_already_set();
      if (!progress_.is_none()) progress_(done, total_);
    } catch (...) {
      failure = std::current_exception();
      return false;
    }
    shown_ = done;
    return true;
  }

  std::exception_ptr failure;

 private:
  const py::object& progress_;
  long long total_, shown_ = -1;
};

// The records of the report folder's summary-info table: field names and
// one row of texts per run.
py::tuple SumInfoTable(const std::string& path) {
  DB table(path.c_str(), 0);
  py::list fields, rows;
  std::vector<std::string> names;
  for (int i = 0; i < table.GetFieldCount(); ++i) names.push_back(table.GetField(i)->name);
  for (const std::string& name : names) fields.append(Cp949ToUtf8Lossy(name));
  for (table.MoveFirst(1); !table.Eof(); table.MoveNext(1)) {
    if (table.Deleted()) continue;
    py::list row;
    for (const std::string& name : names) row.append(Cp949ToUtf8Lossy(table.GetStr(name.c_str())));
    rows.append(row);
  }
  return py::make_tuple(fields, rows);
}

constexpr long long kMaxRuns = INT32_MAX;

py::tuple Optimise(const std::string& system, Prices& prices, const std::string& lang, const std::string& indexDir,
                   const Ranges& ranges, const Pairs& settings, const std::string& symbol, int jobs,
                   const std::string& outDir, const py::object& progress) {
  const int language = LangOf(lang);
  const std::string name = ToCp949(symbol, "the symbol");
  if (jobs < 1) throw py::value_error("jobs must be 1 or more");
  Messages messages;
  std::exception_ptr failure;
  int status = kExitOk;
  const std::string dir = outDir.empty() || outDir.back() == '/' ? outDir : outDir + "/";
  {
    LibraryCall call(language, indexDir);
    auto model = std::make_unique<SSimulation>();
    SFunctionList& functions = UserFunctions();
    status = MakeModel(RunOptions(system, {}, settings), ranges, prices, functions, *model, messages.err());
    model->SetSymbolName(name.c_str());
    if (status == kExitOk) {
      OptimiseWorkers workers(*model, functions, SSimulationMain::kVariables, dir, jobs);
      const long long total = workers.GridRuns();
      if (total > kMaxRuns) {
        messages.err() << "error: the grid has " << total << " runs, more than one optimisation can number\n";
        status = kExitBadInput;
      } else {
        ProgressCallback callback(progress, total);
        workers.Run(callback);
        failure = callback.failure;
        if (!workers.Join(messages.err()))
          status = kExitBadInput;
        else
          workers.RemoveJobDirs();  // as the tool leaves it: the merged reports only
      }
    }
  }
  if (failure) std::rethrow_exception(failure);
  messages.Check(status);
  return SumInfoTable(dir + "SumInfo.rpt");
}

void ReportHtml(const std::string& reportDir, int run, const std::string& htmlDir, const std::string& lang,
                const std::string& indexDir) {
  const int language = LangOf(lang);
  Messages messages;
  std::ostringstream out;
  int status = kExitOk;
  {
    LibraryCall call(language, indexDir);
    status = RunReport(ToolOptions({std::to_string(run)}, {{"html", htmlDir}, {"report-dir", reportDir}}), out,
                       messages.err());
  }
  messages.Check(status, true);
}

}  // namespace

void AddSimulations(py::module_& m) {
  m.def("backtest", &Backtest, py::arg("system"), py::arg("prices"), py::arg("lang"), py::arg("index_dir"),
        py::arg("variables"), py::arg("settings"), py::arg("symbol"));
  m.def("optimise", &Optimise, py::arg("system"), py::arg("prices"), py::arg("lang"), py::arg("index_dir"),
        py::arg("ranges"), py::arg("settings"), py::arg("symbol"), py::arg("jobs"), py::arg("out_dir"),
        py::arg("progress"));
  m.def("report_html", &ReportHtml, py::arg("report_dir"), py::arg("run"), py::arg("html_dir"), py::arg("lang"),
        py::arg("index_dir"));
}
