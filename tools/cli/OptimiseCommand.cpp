// chartcalc optimise: many back-tests through SSimulationMain, run on worker
// threads the way a host runs them, then the best runs printed from the
// report folder's SumInfo.rpt.
//   SYSTEM --var NAME=START:END:STEP...    every combination of the ranges
//   --systems A,B,C                        each system of the list
//   --systems A,B,C --compress S:E:STEP    each system at each compression
// Settings as backtest takes them; --out DIR the report folder (emptied
// first, as the optimiser does); --jobs N workers, each with its own
// simulation, writing into DIR/.job-i and joined into DIR at the end;
// --shard I/N (or a batch engine's array-task variables) this process's
// share of the grid; --top N and --sort FIELD choose the printed runs.
//
// The table: one run per line, tab-separated, no header (a listing): run
// number, IndicatorName, IndicatorVariable, TotalProfit, TransactionCount,
// WinRatio, ProfitFactor, AverageProfit, InMarketRatio, then the sort field
// when it is none of these.
#include <strings.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <memory>
#include <queue>
#include <string>
#include <vector>

#include "Cli.h"
#include "NamedDefinition.h"
#include "OptimiseWorkers.h"
#include "PriceCsv.h"
#include "SimulationOptions.h"
#include "chartcalc.h"
#include "core/FileUtil.h"
#include "simulation/OptimiseGrid.h"

using namespace chartcalc::detail;
namespace fs = std::filesystem;

namespace {

constexpr long long kDefaultMaxRuns = 1000000;
constexpr long long kDefaultTop = 10;
constexpr char kDefaultSort[] = "TotalProfit";
constexpr long long kMaxJobs = 256;
// Run numbers and worker strides are ints in the optimiser.
constexpr long long kMaxRuns = INT32_MAX;
constexpr long long kMaxShards = INT32_MAX / kMaxJobs;
constexpr int kExitInterrupted = 130;
constexpr char kReportSubdir[] = "Rpt/";
constexpr char kSumInfoName[] = "SumInfo.rpt";
constexpr char kSumFileField[] = "SumFileName";
// Report files carry this in their names (SumInfo.rpt, Summary3.rpt and the
// database's side files); anything else in a report folder is the user's.
constexpr char kReportMark[] = ".rpt";
constexpr char kShardCountVariable[] = "CHARTCALC_SHARD_COUNT";

// ---- the grid ---------------------------------------------------------------------

// One variable's range as written (the optimiser reads the texts) and read.
struct Range {
  std::string text[3];  // start, end, step
  ValueRange values;
};

// START:END:STEP, or a single VALUE (start = end).
bool ParseRange(const std::string& text, Range& r) {
  std::vector<std::string> parts = Split(text, ':');
  if (parts.size() == 1) parts = {parts[0], parts[0], "1"};
  if (parts.size() != 3) return false;
  double* values[] = {&r.values.start, &r.values.end, &r.values.step};
  for (int i = 0; i < 3; ++i)
    if (r.text[i] = parts[static_cast<size_t>(i)], !ParseNumber(r.text[i], *values[i])) return false;
  return true;
}

// The runs of u = 0 .. units - 1 with u % stride == first.
long long UnitsInSubset(long long units, long long first, long long stride) {
  return units > first ? (units - 1 - first) / stride + 1 : 0;
}

struct Shard {
  long long index = 0, count = 1;
  std::string from;  // what gave it, for the note on standard error
};

// What one optimise command runs.
struct Plan {
  int kind = SSimulationMain::kVariables;
  SIndex system;            // the variables kind's system, ranges set
  SAnsiStringList names;    // the logic and time kinds' systems
  std::vector<bool> found;  // per name: the index directory holds it
  long long compress[3] = {1, 1, 1};
  long long gridRuns = 1;  // every run of the whole grid (saturating)
  long long units = 1;     // runs (variables, logic) or factors (time)
  Shard shard;
  long long jobs = 1;
  std::string outDir;  // ends with '/'
  long long maxRuns = kDefaultMaxRuns, top = kDefaultTop;
  std::string sort = kDefaultSort;
};

// The runs a worker with units first, first + stride, ... will make.
long long RunsOf(const Plan& plan, long long first, long long stride) {
  if (plan.kind == SSimulationMain::kVariables) return UnitsInSubset(plan.units, first, stride);
  long long found = 0, foundInSubset = 0;
  for (size_t k = 0; k < plan.found.size(); ++k) {
    found += plan.found[k];
    foundInSubset += plan.found[k] && static_cast<long long>(k) % stride == first;
  }
  if (plan.kind == SSimulationMain::kLogic) return foundInSubset;
  return UnitsInSubset(plan.units, first, stride) * found;
}

void WarnSingleRun(const std::string& option, const std::string& text, const std::string& start, std::ostream& err) {
  err << "warning: " << option << " " << text << ": the step does not lead from the start to the end; "
      << "a single run at " << start << "\n";
}

// Sets the ranges of --var on the system; variables not named keep their
// value as a one-value range. False after a message.
bool SetRanges(const CliOptions& options, Plan& plan, std::ostream& err) {
  SIndex& x = plan.system;
  std::vector<bool> given(kIndexVars, false);
  for (int i = 0; i < kIndexVars && !x.VarName[i].IsEmpty(); ++i)
    x.VarStart[i] = x.VarEnd[i] = x.VarValue[i], x.VarIncrement[i] = "1";
  for (const auto& [option, text] : options.ownAll) {
    if (option != "var") continue;
    const size_t eq = text.find('=');
    std::string name;
    Range r;
    if (eq == std::string::npos || eq == 0 || !ParseRange(text.substr(eq + 1), r) ||
        !Utf8ToCp949(text.substr(0, eq), name)) {
      err << "error: --var takes NAME=START:END:STEP (numbers), not '" << text << "'\n";
      return false;
    }
    int i = 0;
    while (i < kIndexVars && !x.VarName[i].IsEmpty() && strcasecmp(x.VarName[i].c_str(), name.c_str()) != 0) ++i;
    if (i == kIndexVars || x.VarName[i].IsEmpty()) {
      err << "error: " << Field(x.IndexName) << " has no variable '" << text.substr(0, eq) << "'\n";
      return false;
    }
    if (given[static_cast<size_t>(i)]) {
      err << "error: --var " << text.substr(0, eq) << " is given twice\n";
      return false;
    }
    given[static_cast<size_t>(i)] = true;
    x.VarStart[i] = r.text[0].c_str(), x.VarEnd[i] = r.text[1].c_str(), x.VarIncrement[i] = r.text[2].c_str();
    const ValueRange& v = r.values;
    if (StandsStill(v.start, v.end, v.step) && v.start != v.end) WarnSingleRun("--var", text, r.text[0], err);
    plan.gridRuns = SaturatingProduct(plan.gridRuns, ValueCount(v));
  }
  return true;
}

// The names of --systems (or the one SYSTEM), in their stored spelling; a
// name the index directory lacks is kept, warned about, and makes no run.
bool SetNames(const std::string& list, Plan& plan, std::ostream& err) {
  for (const std::string& word : Split(list, ',')) {
    std::string name;
    if (word.empty() || !Utf8ToCp949(word, name)) {
      err << "error: --systems takes names separated by commas, not '" << list << "'\n";
      return false;
    }
    const std::string stored = StoredName(kIndexSystem, name);
    if (stored.empty())
      err << "warning: there is no trading system '" << word << "' in " << getIndexDir().str() << "; it makes no run\n";
    plan.names.Add(stored.empty() ? name.c_str() : stored.c_str());
    plan.found.push_back(!stored.empty());
  }
  return true;
}

bool SetCompression(const std::string& text, Plan& plan, std::ostream& err) {
  const std::vector<std::string> parts = Split(text, ':');
  bool ok = parts.size() == 3;
  for (size_t i = 0; ok && i < 3; ++i)
    ok = ParseInteger(parts[i], plan.compress[i]) && std::abs(plan.compress[i]) <= INT32_MAX;
  if (!ok) {
    err << "error: --compress takes START:END:STEP (whole numbers of bars), not '" << text << "'\n";
    return false;
  }
  const FactorRange factors = CompressionFactors(static_cast<int>(plan.compress[0]), static_cast<int>(plan.compress[1]),
                                                 static_cast<int>(plan.compress[2]));
  if (factors.count == 1 && factors.start != std::max(plan.compress[1], 1LL))
    WarnSingleRun("--compress", text, std::to_string(factors.start), err);
  plan.units = factors.count;
  return true;
}

// Chooses the kind from SYSTEM, --systems and --compress and reads what it
// runs. Returns kExitOk or the exit status after a message.
int ReadGrid(const CliOptions& options, Plan& plan, std::ostream& err) {
  const auto systems = options.own.find("systems");
  const auto compress = options.own.find("compress");
  const bool hasVar = options.own.count("var") != 0;
  if ((systems == options.own.end()) == (options.args.size() != 1) || (hasVar && compress != options.own.end()) ||
      (hasVar && systems != options.own.end())) {
    err << "error: optimise takes SYSTEM --var NAME=START:END:STEP..., or --systems A,B,C [--compress "
           "START:END:STEP]\n";
    return kExitBadInput;
  }
  if (compress == options.own.end() && systems == options.own.end()) {
    CliOptions named = options;  // the ranges are not backtest's NAME=VALUE
    std::erase_if(named.ownAll, [](const auto& o) { return o.first == "var"; });
    if (int status = ReadSystem(named, plan.system, err); status != kExitOk) return status;
    if (!SetRanges(options, plan, err)) return kExitBadInput;
    plan.units = plan.gridRuns;
    return kExitOk;
  }
  plan.kind = compress == options.own.end() ? SSimulationMain::kLogic : SSimulationMain::kTime;
  if (!SetNames(systems != options.own.end() ? systems->second : options.args[0], plan, err)) return kExitBadInput;
  plan.units = static_cast<long long>(plan.names.Count());
  if (plan.kind == SSimulationMain::kTime && !SetCompression(compress->second, plan, err)) return kExitBadInput;
  plan.gridRuns = SaturatingProduct(plan.names.Count(), plan.kind == SSimulationMain::kTime ? plan.units : 1);
  return kExitOk;
}

// ---- sharding ----------------------------------------------------------------------

// A variable of the environment as a whole number; absent (false, no
// message) or malformed (false with a message).
bool EnvInteger(const char* name, long long& v, std::string& error) {
  const char* text = std::getenv(name);
  if (!text || !*text) return false;
  if (!ParseInteger(text, v)) error = std::string(name) + " is not a whole number: '" + text + "'";
  return error.empty();
}

bool ParseShardOption(const std::string& text, Shard& s, std::string& error) {
  const std::vector<std::string> parts = Split(text, '/');
  if (parts.size() == 2 && ParseInteger(parts[0], s.index) && ParseInteger(parts[1], s.count)) return true;
  return error = "--shard takes I/N (this is shard I of N, counted from 0), not '" + text + "'", false;
}

// The shard from a batch engine's array task: Slurm's task id (less the
// array's first id, in steps of the array's step) of its task count, or a
// Kubernetes indexed Job's completion index of --shard-count or
// CHARTCALC_SHARD_COUNT. An explicit --shard-count replaces Slurm's count.
bool ShardFromEnvironment(const CliOptions& options, Shard& s, std::string& error) {
  long long id = 0, min = 0, step = 1;
  const auto countOption = options.own.find("shard-count");
  const bool hasCount = countOption != options.own.end();
  if (hasCount && !ParseInteger(countOption->second, s.count))
    return error = "--shard-count takes a whole number, not '" + countOption->second + "'", false;
  if (EnvInteger("SLURM_ARRAY_TASK_ID", id, error)) {
    EnvInteger("SLURM_ARRAY_TASK_MIN", min, error);
    EnvInteger("SLURM_ARRAY_TASK_STEP", step, error);
    if (!hasCount && !EnvInteger("SLURM_ARRAY_TASK_COUNT", s.count, error) && error.empty())
      error = "SLURM_ARRAY_TASK_ID is set but SLURM_ARRAY_TASK_COUNT is not; give --shard-count N";
    if (step <= 0 || (id - min) % step != 0) error = "SLURM_ARRAY_TASK_ID does not lie on the array's step";
    s.index = step > 0 ? (id - min) / step : 0;
    s.from = "SLURM_ARRAY_TASK_ID";
    return error.empty();
  }
  if (!error.empty()) return false;
  if (EnvInteger("JOB_COMPLETION_INDEX", s.index, error)) {
    if (!hasCount && !EnvInteger(kShardCountVariable, s.count, error) && error.empty())
      error = std::string("JOB_COMPLETION_INDEX is set; give the number of shards with --shard-count N or ") +
              kShardCountVariable;
    s.from = "JOB_COMPLETION_INDEX";
    return error.empty();
  }
  if (!error.empty()) return false;
  if (hasCount)
    return error = "--shard-count needs an array task (SLURM_ARRAY_TASK_ID or JOB_COMPLETION_INDEX); use --shard I/N",
           false;
  return true;
}

bool ReadShard(const CliOptions& options, Shard& s, std::ostream& err) {
  std::string error;
  const auto option = options.own.find("shard");
  if (option != options.own.end() && options.own.count("shard-count"))
    error = "--shard I/N already gives the number of shards; leave out --shard-count";
  else if (option != options.own.end())
    ParseShardOption(option->second, s, error), s.from = "--shard";
  else
    ShardFromEnvironment(options, s, error);
  if (error.empty() && s.count > kMaxShards) error = "more than " + std::to_string(kMaxShards) + " shards";
  if (error.empty() && (s.count < 1 || s.index < 0 || s.index >= s.count))
    error = "shard " + std::to_string(s.index) + " of " + std::to_string(s.count) +
            " does not exist (shards are 0 .. N - 1)";
  if (error.empty()) return true;
  err << "error: " << error << "\n";
  return false;
}

// ---- the other options -------------------------------------------------------------

bool ReadCount(const CliOptions& options, const char* name, long long min, long long max, long long& v,
               std::ostream& err) {
  const auto it = options.own.find(name);
  if (it == options.own.end()) return true;
  if (ParseInteger(it->second, v) && v >= min && v <= max) return true;
  err << "error: --" << name << " takes a whole number from " << min << " to " << max << ", not '" << it->second
      << "'\n";
  return false;
}

std::string WithSlash(std::string dir) {
  if (!dir.empty() && dir.back() != '/') dir += '/';
  return dir;
}

// --out, or the index directory's Rpt/ (one folder per shard below it, so
// that shards on one disk never empty each other's).
std::string OutDir(const CliOptions& options, const Shard& s) {
  if (auto it = options.own.find("out"); it != options.own.end()) return WithSlash(it->second);
  std::string dir = getIndexDir().str() + kReportSubdir;
  if (s.count > 1) dir += "shard-" + std::to_string(s.index) + "-of-" + std::to_string(s.count) + "/";
  return dir;
}

int ReadPlan(const CliOptions& options, Plan& plan, std::ostream& err) {
  if (int status = ReadGrid(options, plan, err); status != kExitOk) return status;
  if (!ReadShard(options, plan.shard, err) || !ReadCount(options, "jobs", 1, kMaxJobs, plan.jobs, err) ||
      !ReadCount(options, "max-runs", 1, kMaxRuns, plan.maxRuns, err) ||
      !ReadCount(options, "top", 0, INT32_MAX, plan.top, err))
    return kExitBadInput;
  if (auto it = options.own.find("sort"); it != options.own.end()) plan.sort = it->second;
  plan.outDir = OutDir(options, plan.shard);
  if (plan.outDir.empty()) {
    err << "error: --out needs a folder\n";
    return kExitBadInput;
  }
  if (plan.gridRuns > kMaxRuns) {
    err << "error: the grid has " << plan.gridRuns << " runs, more than one optimisation can number (" << kMaxRuns
        << ")\n";
    return kExitBadInput;
  }
  if (plan.gridRuns > plan.maxRuns) {
    err << "error: the grid has " << plan.gridRuns << " runs; --max-runs " << plan.gridRuns << " to allow it\n";
    return kExitBadInput;
  }
  if (plan.shard.from.size() && plan.shard.count > 1 && plan.shard.from != "--shard")
    err << "note: shard " << plan.shard.index << "/" << plan.shard.count << " (from " << plan.shard.from << ")\n";
  // Workers split the shard's units; more workers than units would idle.
  plan.jobs = std::clamp(plan.jobs, 1LL, std::max(1LL, UnitsInSubset(plan.units, plan.shard.index, plan.shard.count)));
  return kExitOk;
}

// ---- the report folder -------------------------------------------------------------

// The outermost folder of dir that does not exist yet ("" when dir exists).
fs::path FirstMissing(const std::string& dir) {
  std::error_code ec;
  fs::path missing;
  for (fs::path p = fs::path(dir).lexically_normal(); !p.empty() && !fs::exists(p, ec); p = p.parent_path()) {
    missing = p;
    if (p == p.parent_path()) break;
  }
  return missing;
}

// The first file of dir that is not a report, or "".
std::string ForeignFile(const std::string& dir) {
  std::error_code ec;
  for (fs::directory_iterator it(dir, ec), end; !ec && it != end; it.increment(ec)) {
    const std::string name = it->path().filename().string();
    if (!it->is_directory(ec) && name.find(kReportMark) == std::string::npos) return name;
  }
  return std::string();
}

// Checks the report folder against an empty summary-info table written
// aside in it: the folder can be written, its paths fit the table's
// file-name field, and --sort names a declared field (whose spelling is
// kept). False after a message.
bool CheckAgainstDeclaration(Plan& plan, const std::string& probe, std::ostream& err) {
  std::make_unique<SSimulation>()->CreateSummaryDB(probe.c_str());
  DB table(probe.c_str(), 0);
  const DBField* path = table.FindField(kSumFileField);
  const DBField* sort = table.FindField(plan.sort.c_str());
  const std::string longest = plan.outDir + "TradeList" + std::to_string(std::max(plan.units, 1LL) - 1) + kReportMark;
  if (!path) {
    err << "error: cannot write in the report folder " << plan.outDir << "\n";
  } else if (!sort) {
    std::string fields;
    for (int i = 0; i < table.GetFieldCount(); ++i) fields += (i ? ", " : "") + table.GetField(i)->name;
    err << "error: --sort takes a field of the summary info (" << fields << "), not '" << plan.sort << "'\n";
  } else if (static_cast<int>(longest.size()) > path->width) {
    err << "error: the report folder's path " << plan.outDir << " is too long for the report's file-name field ("
        << path->width << " bytes)\n";
  } else {
    plan.sort = sort->name;
    return true;
  }
  return false;
}

// The report folder must be creatable and writable, and hold nothing but
// reports, since the optimiser empties it. A refused folder is left as it
// was (folders made for it are removed again).
bool CheckOutDir(Plan& plan, std::ostream& err) {
  const fs::path made = FirstMissing(plan.outDir);
  std::error_code ec;
  fs::create_directories(plan.outDir, ec);
  bool ok = fs::is_directory(plan.outDir, ec);
  if (!ok) err << "error: cannot create the report folder " << plan.outDir << "\n";
  if (const std::string foreign = ok ? ForeignFile(plan.outDir) : ""; !foreign.empty()) {
    err << "error: the report folder " << plan.outDir << " holds " << foreign
        << ", which is not a report; optimise empties its folder, so give an empty or a report folder\n";
    ok = false;
  }
  const std::string probe = ok ? SiblingTempPath(plan.outDir + kSumInfoName) : "";
  if (ok && probe.empty()) err << "error: cannot write in the report folder " << plan.outDir << "\n";
  ok = ok && !probe.empty() && CheckAgainstDeclaration(plan, probe, err);
  if (!probe.empty()) fs::remove(probe, ec);
  if (!ok && !made.empty()) fs::remove_all(made, ec);
  return ok;
}

// ---- Ctrl-C ------------------------------------------------------------------------

// Written by the handler, on whichever thread the signal lands, and read
// by the main thread: a lock-free atomic is safe in both places.
std::atomic<bool> g_interrupted{false};
static_assert(std::atomic<bool>::is_always_lock_free);

extern "C" void OnInterrupt(int) { g_interrupted.store(true); }

// SIGINT only raises a flag while the workers run; the previous handler is
// back when this ends, or as soon as the stop is under way (so a second
// Ctrl-C quits at once).
class InterruptGuard {
 public:
  InterruptGuard() {
    g_interrupted.store(false);
    struct sigaction action = {};
    action.sa_handler = OnInterrupt;
    sigemptyset(&action.sa_mask);
    installed_ = sigaction(SIGINT, &action, &previous_) == 0;
  }
  ~InterruptGuard() { Restore(); }
  InterruptGuard(const InterruptGuard&) = delete;
  InterruptGuard& operator=(const InterruptGuard&) = delete;

  void Restore() {
    if (installed_) sigaction(SIGINT, &previous_, nullptr);
    installed_ = false;
  }

 private:
  struct sigaction previous_ = {};
  bool installed_ = false;
};

// ---- progress ------------------------------------------------------------------------

// Runs done of the total on standard error: a bar redrawn in place on a
// terminal, otherwise a line every few seconds.
class Progress {
 public:
  static constexpr double kRedrawSeconds = 0.2;
  static constexpr double kLineSeconds = 5.0;
  static constexpr int kBarWidth = 30;

  Progress(std::ostream& err, bool terminal, long long total)
      : err_(err), terminal_(terminal), total_(total), start_(Clock::now()) {}

  void Update(long long done) {
    const double now = Seconds();
    if (now - shown_ < (terminal_ ? kRedrawSeconds : kLineSeconds)) return;
    shown_ = now;
    Show(done);
  }

  void Finish(long long done) {
    if (terminal_) Show(done), err_ << "\n";
    const double s = Seconds();
    err_ << "optimise: " << done << " runs in " << Fixed(s, 1) << " s (" << Fixed(Rate(done, s), 1) << " runs/s)\n";
    err_.flush();
  }

 private:
  using Clock = std::chrono::steady_clock;
  double Seconds() const { return std::chrono::duration<double>(Clock::now() - start_).count(); }
  static double Rate(long long done, double s) { return s > 0 ? static_cast<double>(done) / s : 0; }
  static std::string Fixed(double v, int decimals) {
    std::string text;
    AppendNumber(text, decimals == 0 ? "%.0f" : "%.1f", v);
    return text;
  }
  static std::string Clock3(double seconds) {
    const long long s = std::llround(std::max(seconds, 0.0));
    char text[32];
    std::snprintf(text, sizeof text, "%lld:%02lld:%02lld", s / 3600, s / 60 % 60, s % 60);
    return text;
  }

  void Show(long long done) {
    const double s = Seconds(), rate = Rate(done, s);
    const std::string left = rate > 0 ? Clock3(static_cast<double>(total_ - done) / rate) : "?";
    std::string line =
        std::to_string(done) + "/" + std::to_string(total_) + " runs, " + Fixed(rate, 1) + " runs/s, " + left + " left";
    if (terminal_) {
      const long long filled = total_ > 0 ? done * kBarWidth / total_ : kBarWidth;
      err_ << "\r[" << std::string(static_cast<size_t>(filled), '#')
           << std::string(static_cast<size_t>(kBarWidth - filled), '-') << "] " << line << "\033[K";
    } else {
      err_ << "optimise: " << line << "\n";
    }
    err_.flush();
  }

  std::ostream& err_;
  bool terminal_;
  long long total_;
  Clock::time_point start_;
  double shown_ = 0;
};

// Follows the workers on standard error; Ctrl-C stops them after their
// runs in progress.
class Follower : public OptimiseFollower {
 public:
  Follower(std::ostream& err, long long total)
      : err_(err), terminal_(&err == &std::cerr && isatty(STDERR_FILENO)), progress_(err, terminal_, total) {}

  bool Follow(long long done, bool) override {
    if (g_interrupted.load() && !interrupted) {
      interrupted = true;
      guard_.Restore();
      err_ << (terminal_ ? "\n" : "") << "stopping after the runs in progress (Ctrl-C again to quit at once)\n";
    }
    progress_.Update(done);
    return !interrupted;
  }
  void Finish(long long done) { progress_.Finish(done); }

  bool interrupted = false;

 private:
  std::ostream& err_;
  bool terminal_;
  Progress progress_;
  InterruptGuard guard_;
};

// Runs the workers and returns the runs done; interrupted tells whether
// Ctrl-C stopped them.
long long RunWorkers(OptimiseWorkers& workers, long long total, std::ostream& err, bool& interrupted) {
  Follower follower(err, total);
  const long long done = workers.Run(follower);
  follower.Finish(done);
  interrupted = follower.interrupted;
  return done;
}

// ---- the table of the best runs ----------------------------------------------------------

// The printed columns after the run number.
constexpr const char* kTableFields[] = {"IndicatorName", "IndicatorVariable", "TotalProfit",   "TransactionCount",
                                        "WinRatio",      "ProfitFactor",      "AverageProfit", "InMarketRatio"};
// The summary-info fields that hold numbers, sorted highest first; every
// other field is text, sorted in byte order.
constexpr const char* kNumericFields[] = {"TotalProfit",  "TransactionCount", "WinLossRatio", "WinRatio",
                                          "ProfitFactor", "AverageProfit",    "InMarketRatio"};

struct TableRow {
  long long run = 0, order = 0;  // order: record position, for ties
  bool hasNumber = false;
  double number = 0;
  std::string key;
  std::vector<std::string> cells;
};

// True when a is printed before b: numbers highest first (runs without one
// last) or texts in byte order, then by run number and record order.
struct Before {
  bool numeric;
  bool operator()(const TableRow& a, const TableRow& b) const {
    if (numeric && a.hasNumber != b.hasNumber) return a.hasNumber;
    if (numeric && a.hasNumber && a.number != b.number) return a.number > b.number;
    if (!numeric && a.key != b.key) return a.key < b.key;
    return a.run != b.run ? a.run < b.run : a.order < b.order;
  }
};

long long RunOfFile(const std::string& path) {
  const std::string name = path.substr(path.find_last_of('/') + 1);
  long long run = -1;
  const size_t prefix = std::string("Summary").size();
  if (name.size() > prefix + 4) ParseInteger(name.substr(prefix, name.size() - prefix - 4), run);
  return run;
}

// Prints the best plan.top runs of the report folder's SumInfo.rpt, keeping
// only those while reading.
void PrintBest(const Plan& plan, std::ostream& out) {
  const bool numeric =
      std::any_of(std::begin(kNumericFields), std::end(kNumericFields), [&](const char* f) { return plan.sort == f; });
  const bool extra =
      std::none_of(std::begin(kTableFields), std::end(kTableFields), [&](const char* f) { return plan.sort == f; });
  std::priority_queue<TableRow, std::vector<TableRow>, Before> best(Before{numeric});  // worst on top
  DB table((plan.outDir + kSumInfoName).c_str(), 0);
  long long order = 0;
  for (table.MoveFirst(1); plan.top > 0 && !table.Eof(); table.MoveNext(1), ++order) {
    if (table.Deleted()) continue;
    TableRow row;
    row.run = RunOfFile(table.GetStr(kSumFileField));
    row.order = order;
    row.key = table.GetStr(plan.sort.c_str());
    row.hasNumber = ParseNumber(row.key, row.number);
    for (const char* f : kTableFields) row.cells.push_back(Field(SString(table.GetStr(f))));
    if (extra) row.cells.push_back(Field(SString(row.key.c_str())));
    best.push(std::move(row));
    if (static_cast<long long>(best.size()) > plan.top) best.pop();
  }
  std::vector<TableRow> rows;
  for (; !best.empty(); best.pop()) rows.push_back(best.top());
  std::string text;
  for (auto it = rows.rbegin(); it != rows.rend(); ++it) {
    text += std::to_string(it->run);
    for (const std::string& cell : it->cells) text += "\t" + cell;
    text += "\n";
  }
  out << text;
}

// ---- the run ---------------------------------------------------------------------------

// The simulation every worker copies: settings, tick, symbol, prices (copied
// in, so that the time kind may compress them) and the system.
int MakeModel(const CliOptions& options, Plan& plan, SSimulation& sim, SPriceData& prices, SFunctionList& functions,
              std::ostream& err) {
  double tick = 0;
  if (!ApplySettings(options, sim, err) || !ReadTick(options, tick, err)) return kExitBadInput;
  if (!ReadPriceCsv(options.data, prices, err)) return kExitBadInput;
  functions.ReadFunction();
  sim.SetSymbolName(SymbolName(options).c_str());
  sim.SetTickSize(tick);
  auto s = [&prices](int slot) -> SVector& { return prices.GetSeries(slot); };
  sim.SetVariable(s(kClose), s(kOpen), s(kHigh), s(kLow), s(kVolume), s(kDateTime), s(kOpenInterest), s(kAmount),
                  s(kSpread));
  sim.CompressStart = static_cast<int>(plan.compress[0]);
  sim.CompressEnd = static_cast<int>(plan.compress[1]);
  sim.CompressStep = static_cast<int>(plan.compress[2]);
  if (plan.kind != SSimulationMain::kVariables) return kExitOk;
  // A formula error shows at the first run already: report it as backtest does.
  SIndex first = plan.system;
  BindPrices(first, prices);
  first.SetFunction(&functions);
  first.Calc();
  if (!ReportFormulaErrors(first, prices, functions, err)) return kExitFormula;
  sim.SetIndex(plan.system);
  return kExitOk;
}

}  // namespace

int RunOptimise(const CliOptions& options, std::ostream& out, std::ostream& err) {
  Plan plan;
  if (int status = ReadPlan(options, plan, err); status != kExitOk) return status;
  auto model = std::make_unique<SSimulation>();
  SPriceData prices;
  SFunctionList functions;
  if (int status = MakeModel(options, plan, *model, prices, functions, err); status != kExitOk) return status;
  if (!CheckOutDir(plan, err)) return kExitBadInput;
  OptimiseWorkers workers(*model, functions, plan.kind, plan.outDir, plan.jobs, plan.names, plan.shard.index,
                          plan.shard.count);
  long long expected = 0;
  for (const OptimiseShare& share : workers.Shares()) expected += RunsOf(plan, share.first, share.stride);
  bool interrupted = false;
  const long long done = RunWorkers(workers, expected, err, interrupted);
  if (!workers.Join(err)) return kExitBadInput;
  workers.RemoveJobDirs();
  PrintBest(plan, out);
  if (!interrupted) return kExitOk;
  err << "interrupted: " << done << " of " << expected << " runs finished; their reports in " << plan.outDir
      << " are complete\n";
  return kExitInterrupted;
}
