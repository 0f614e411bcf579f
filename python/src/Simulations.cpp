// backtest, optimise and the report pages of a run: a trading system of the
// index directory run through SSimulation as the tool runs it, and an
// optimisation on worker threads with the caller's progress callback
// called on the calling thread between the workers' messages.
#include <strings.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <thread>

#include "Module.h"
#include "NamedDefinition.h"
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

// The window of a worker: counts the progress messages and wakes the caller.
class ProgressWindow : public chartcalc::SWindow {
 public:
  ProgressWindow(std::atomic<long long>& done, std::condition_variable& wake) : done_(done), wake_(wake) {}
  void Post(unsigned message, std::uintptr_t, std::intptr_t) override {
    if (message != SSimulationMain::kProgressMessage) return;
    ++done_;
    wake_.notify_one();
  }

 private:
  std::atomic<long long>& done_;
  std::condition_variable& wake_;
};

struct Worker {
  Worker(const SSimulation& model, const SFunctionList& functionList, std::atomic<long long>& done,
         std::condition_variable& wake)
      : sim(model), functions(functionList), window(done, wake) {
    sim.SetFunction(&functions);
    info.thread = &thread;
    info.window = &window;
    info.lock = &lock;
  }
  SSimulation sim;
  SFunctionList functions;
  chartcalc::SWorkerThread thread;
  ProgressWindow window;
  chartcalc::SCriticalSection lock;
  tagOPVARTHREADINFO info;
  std::unique_ptr<SSimulationMain> optimiser;
  std::thread runner;
  std::string dir;
};

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

class Optimisation {
 public:
  Optimisation(const SSimulation& model, const SFunctionList& functions, int jobs, const std::string& outDir)
      : outDir_(outDir) {
    // Several workers write below the report folder, which starts empty
    // with an empty summary-info table, as a single worker leaves it.
    if (jobs > 1)
      SSimulationMain(std::make_unique<SSimulation>().get(), SSimulationMain::kVariables, SString(outDir.c_str()));
    for (int j = 0; j < jobs; ++j) {
      auto w = std::make_unique<Worker>(model, functions, done_, wake_);
      w->dir = jobs == 1 ? outDir : outDir + ".job-" + std::to_string(j) + "/";
      w->optimiser = std::make_unique<SSimulationMain>(&w->sim, SSimulationMain::kVariables, SString(w->dir.c_str()));
      w->optimiser->SetRunSubset(j, jobs);
      workers_.push_back(std::move(w));
    }
  }
  ~Optimisation() {
    Stop();
    for (auto& w : workers_)
      if (w->runner.joinable()) w->runner.join();
  }
  long long Runs() const { return workers_[0]->optimiser->CountRuns(nullptr); }
  void Start() {
    for (auto& w : workers_)
      w->runner = std::thread([this, worker = w.get()] {
        worker->optimiser->Calc(&worker->info);
        ++finished_;
        wake_.notify_one();
      });
  }
  // Waits for a message, an end or the timeout; true while workers run.
  bool Wait(long long seen, std::chrono::milliseconds timeout) {
    std::unique_lock lock(mutex_);
    wake_.wait_for(lock, timeout, [&] { return done_ != seen || Finished(); });
    return !Finished();
  }
  long long Done() const { return done_; }
  // Every worker stops after its run in progress.
  void Stop() {
    for (auto& w : workers_) std::atomic_ref<int>(w->info.state).store(3);
  }
  // Joins the workers' folders into the report folder. False after a message.
  bool Join(std::ostream& err) {
    for (auto& w : workers_) w->runner.join();
    if (workers_.size() < 2) return true;
    std::vector<SString> dirs;
    for (const auto& w : workers_) dirs.emplace_back(w->dir.c_str());
    SString error;
    if (chartcalc::MergeReportDirs(SString(outDir_.c_str()), dirs, error)) return true;
    err << "error: joining the workers' reports: " << Utf8(error) << "\n";
    return false;
  }

 private:
  bool Finished() const { return finished_ == static_cast<long long>(workers_.size()); }
  std::string outDir_;
  std::vector<std::unique_ptr<Worker>> workers_;
  std::atomic<long long> done_{0}, finished_{0};
  std::mutex mutex_;
  std::condition_variable wake_;
};

// How often the caller's progress callback runs at most.
constexpr std::chrono::milliseconds kProgressEvery{100};

// Runs the workers; between messages, with the interpreter's lock taken
// back, calls progress(done, total) and looks for a pending signal
// (Ctrl-C). A raised error stops the workers and is raised once they are.
void Follow(Optimisation& o, long long total, const py::object& progress, std::exception_ptr& failure) {
  o.Start();
  long long shown = -1;
  for (bool running = true; running;) {
    running = o.Wait(shown, kProgressEvery);
    const long long done = o.Done();
    if (failure || (done == shown && running)) continue;
    py::gil_scoped_acquire acquire;
    try {
      if (PyErr_CheckSignals() != 0) throw py::error_already_set();
      if (!progress.is_none()) progress(done, total);
    } catch (...) {
      failure = std::current_exception();
      o.Stop();
    }
    shown = done;
  }
}

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
      Optimisation o(*model, functions, jobs, dir);
      const long long total = o.Runs();
      if (total > kMaxRuns) {
        messages.err() << "error: the grid has " << total << " runs, more than one optimisation can number\n";
        status = kExitBadInput;
      } else {
        Follow(o, total, progress, failure);
        if (!o.Join(messages.err())) status = kExitBadInput;
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
