#include "OptimiseWorkers.h"

#include <atomic>
#include <condition_variable>
#include <filesystem>
#include <mutex>
#include <thread>

#include "core/Cp949.h"

using namespace chartcalc::detail;

namespace {

constexpr char kJobDirPrefix[] = ".job-";
// The state field's value that stops a worker between runs.
constexpr int kStateStop = 3;

}  // namespace

// The host's window, which every worker posts to: a progress message wakes
// the following thread (nothing is kept per message, so a long
// optimisation holds no memory for its runs), as does a worker's end.
class OptimiseWorkers::Mailbox : public chartcalc::SWindow {
 public:
  explicit Mailbox(long long workers) : workers_(workers) {}

  void Post(unsigned message, std::uintptr_t, std::intptr_t) override {
    if (message == SSimulationMain::kProgressMessage) Count(posted_);
  }
  void Finished() { Count(finished_); }
  // Waits until a message or an end arrives after seen runs, or the
  // timeout; updates seen. True while a worker runs.
  bool Wait(long long& seen, std::chrono::milliseconds timeout) {
    std::unique_lock lock(mutex_);
    arrived_.wait_for(lock, timeout, [&] { return posted_ != seen || finished_ == workers_; });
    seen = posted_;
    return finished_ < workers_;
  }

 private:
  void Count(long long& n) {
    std::lock_guard lock(mutex_);
    ++n;
    arrived_.notify_one();
  }

  std::mutex mutex_;
  std::condition_variable arrived_;
  const long long workers_;
  long long posted_ = 0, finished_ = 0;
};

// One worker: its own simulation (prices, indicator and function list
// copied, since an indicator and its formula engine serve one thread), its
// optimiser on its own report folder, and the record it shares with the host.
struct OptimiseWorkers::Worker {
  Worker(const SSimulation& model, const SFunctionList& functionList, const SAnsiStringList& nameList, Mailbox& box)
      : sim(model), functions(functionList), names(nameList) {
    sim.SetFunction(&functions);
    info.thread = &thread;
    info.window = &box;
    info.lock = &lock;
    info.names = &names;
  }

  SSimulation sim;
  SFunctionList functions;
  SAnsiStringList names;
  std::unique_ptr<SSimulationMain> optimiser;
  chartcalc::SWorkerThread thread;
  chartcalc::SCriticalSection lock;
  tagOPVARTHREADINFO info;
  std::thread runner;
  std::string dir;
};

OptimiseWorkers::OptimiseWorkers(const SSimulation& model, const SFunctionList& functions, int kind,
                                 const std::string& outDir, long long jobs, const SAnsiStringList& names,
                                 long long shardIndex, long long shardCount)
    : outDir_(outDir), box_(std::make_unique<Mailbox>(jobs)) {
  // Several workers write below the report folder, which starts empty with
  // an empty summary-info table, as a single worker leaves it.
  if (jobs > 1) SSimulationMain(std::make_unique<SSimulation>().get(), kind, SString(outDir.c_str()));
  for (long long j = 0; j < jobs; ++j) {
    auto w = std::make_unique<Worker>(model, functions, names, *box_);
    w->dir = jobs == 1 ? outDir : outDir + kJobDirPrefix + std::to_string(j) + "/";
    w->optimiser = std::make_unique<SSimulationMain>(&w->sim, kind, SString(w->dir.c_str()));
    const OptimiseShare share{static_cast<int>(shardIndex + j * shardCount), static_cast<int>(shardCount * jobs)};
    w->optimiser->SetRunSubset(share.first, share.stride);
    shares_.push_back(share);
    workers_.push_back(std::move(w));
  }
}

OptimiseWorkers::~OptimiseWorkers() {
  Stop();
  for (auto& w : workers_)
    if (w->runner.joinable()) w->runner.join();
}

long long OptimiseWorkers::GridRuns() const {
  return workers_.empty() ? 0 : workers_[0]->optimiser->CountRuns(&workers_[0]->names);
}

long long OptimiseWorkers::Run(OptimiseFollower& follower) {
  for (auto& w : workers_)
    w->runner = std::thread([this, worker = w.get()] {
      worker->optimiser->Calc(&worker->info);
      box_->Finished();
    });
  long long done = 0;
  for (bool running = true; running;) {
    running = box_->Wait(done, kFollowEvery);
    if (!follower.Follow(done, running)) Stop();
  }
  for (auto& w : workers_) w->runner.join();
  return done;
}

// Every worker stops after its run in progress.
void OptimiseWorkers::Stop() {
  for (auto& w : workers_) std::atomic_ref<int>(w->info.state).store(kStateStop);
}

bool OptimiseWorkers::Join(std::ostream& err) const {
  if (workers_.size() < 2) return true;
  std::vector<SString> dirs;
  for (const auto& w : workers_) dirs.emplace_back(w->dir.c_str());
  SString error;
  if (chartcalc::MergeReportDirs(SString(outDir_.c_str()), dirs, error)) return true;
  err << "error: joining the workers' reports: " << Cp949ToUtf8Lossy(error.c_str()) << "\n";
  return false;
}

void OptimiseWorkers::RemoveJobDirs() const {
  if (workers_.size() < 2) return;
  std::error_code ec;
  for (const auto& w : workers_) std::filesystem::remove_all(w->dir, ec);
}
