// An optimisation on worker threads, run the way a host runs it and shared
// by the tool's optimise and the Python module's: each worker has its own
// copy of one model simulation, its own optimiser on its own report folder
// and its own share of the grid, and the calling thread follows them.
#pragma once

#include <chrono>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "chartcalc.h"

// Told how an optimisation goes, on the thread that runs it.
class OptimiseFollower {
 public:
  // Called after each progress message, each worker's end, and at the
  // latest every OptimiseWorkers::kFollowEvery, with the runs finished so
  // far; running is false on the last call, once every worker has ended.
  // Returning false stops every worker after its run in progress.
  virtual bool Follow(long long done, bool running) = 0;

 protected:
  ~OptimiseFollower() = default;
};

// The units first, first + stride, ... of the grid.
struct OptimiseShare {
  int first = 0, stride = 1;
};

class OptimiseWorkers {
 public:
  static constexpr std::chrono::milliseconds kFollowEvery{100};

  // jobs workers of the kind on copies of model and functions. Of shard
  // shardIndex of shardCount, worker j takes units shardIndex + j
  // shardCount of every shardCount jobs. One worker writes into outDir
  // (ending with '/'); several write into outDir.job-j/, and outDir is
  // emptied first with an empty summary-info table, as one worker leaves it.
  OptimiseWorkers(const SSimulation& model, const SFunctionList& functions, int kind, const std::string& outDir,
                  long long jobs, const SAnsiStringList& names = {}, long long shardIndex = 0,
                  long long shardCount = 1);
  // Stops the workers and waits for them.
  ~OptimiseWorkers();
  OptimiseWorkers(const OptimiseWorkers&) = delete;
  OptimiseWorkers& operator=(const OptimiseWorkers&) = delete;

  const std::vector<OptimiseShare>& Shares() const { return shares_; }
  // The runs of the whole grid, every share together.
  long long GridRuns() const;
  // Runs every worker on its own thread and follows them until all have
  // ended. Returns the runs finished.
  long long Run(OptimiseFollower& follower);
  // Joins the workers' report folders into outDir. False after a message.
  bool Join(std::ostream& err) const;
  // Removes the workers' own folders below outDir (none with one worker).
  void RemoveJobDirs() const;

 private:
  struct Worker;
  class Mailbox;

  void Stop();

  std::string outDir_;
  std::vector<OptimiseShare> shares_;
  std::unique_ptr<Mailbox> box_;
  std::vector<std::unique_ptr<Worker>> workers_;
};
