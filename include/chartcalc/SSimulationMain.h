// SSimulationMain: an optimisation, that is many back-tests of one
// SSimulation run on a worker thread of the host. Three kinds:
//   0 variables   every combination of the indicator's variable ranges
//                 (VarStart, VarEnd, VarIncrement); variable 0 changes
//                 fastest; run k writes SummaryK.rpt and TradeListK.rpt
//   1 logic       each trading system named in the names list; run k is
//                 the name at list position k (a name the index database
//                 does not hold makes no run, and keeps its number)
//   2 time        every name of the list at each compression factor of the
//                 simulation's CompressStart..CompressEnd by CompressStep;
//                 all names of factor number f write SummaryF.rpt and
//                 TradeListF.rpt, so the last one's files remain
// Every run appends its record to SumInfo.rpt in the report directory,
// hands the 13-string result row to the host under the lock and posts
// kProgressMessage to the host's window. Between runs the worker reads the
// state field: 2 suspends the worker's thread until the host resumes it, 3
// stops (state is set back to 0 and Calc returns 0).
//
// Beyond one worker: SetRunSubset makes an instance run every stride-th
// unit starting at first (a unit is run k for variables and logic, factor
// f for time), keeping the run numbers, so that workers or machines each
// run their share into their own report directory; MergeReportDirs then
// joins those directories into one that equals a single worker's.
#pragma once

#include <vector>

#include "chartcalc/HostObjects.h"
#include "chartcalc/SSimulation.h"
#include "chartcalc/SString.h"

// What the host shares with the worker for one Calc.
struct tagOPVARTHREADINFO {
  chartcalc::SWorkerThread* thread = nullptr;  // the worker's own thread, suspended on a pause
  chartcalc::SWindow* window = nullptr;        // receives kProgressMessage after every run
  chartcalc::SCriticalSection* lock = nullptr; // held while result and progress are written
  int state = 0;                               // host: 2 pause, 3 stop; the worker resets it to 0 on a stop
  SAnsiStringList result;                      // the last finished run's 13 strings
  int progress = 0;                            // the last finished run's number
  int unused = 0;
  SAnsiStringList* names = nullptr;            // systems of the logic and time kinds
};

class SSimulationMain {
 public:
  enum Kind { kVariables = 0, kLogic = 1, kTime = 2 };
  static constexpr unsigned kProgressMessage = 0x7DD4;
  // The strings of a result row.
  static constexpr int kResultStrings = 13;

  // Empties the report directory (the index directory's Rpt/) and creates
  // an empty SumInfo.rpt there, which the simulation will append to.
  SSimulationMain(SSimulation* simulation, int kind);
  // The same with another report directory (created when missing).
  SSimulationMain(SSimulation* simulation, int kind, SString reportDir);
  SSimulationMain(const SSimulationMain& other) = default;
  SSimulationMain& operator=(const SSimulationMain& other) = default;
  ~SSimulationMain() = default;

  void SetSimulation(SSimulation* simulation) { simulation_ = simulation; }
  void SetSimType(int kind) { kind_ = kind; }
  void SetBigPointValue(double value) { bigPointValue_ = value; }
  void SetMargin(double value) {
    margin_ = value;
    marginFlag_ = 1;
  }
  void SetGroupDB(SString path) { groupDb_ = path; }
  void SetGroup(SString) {}

  // Creates the report directory, deletes every file in it, points the
  // simulation's summary-info path at SumInfo.rpt there and creates that
  // file empty. Failures are not reported.
  void PrepareDB();
  // Runs the optimisation on the calling thread: 1 when every run is done,
  // 0 when stopped through the state field; an unknown kind returns 1 at
  // once. The state field is not reset at the start.
  unsigned int Calc(tagOPVARTHREADINFO* info);

  // Runs only the units u with u % stride == first (stride >= 1, 0 <= first
  // < stride); the default 0, 1 runs them all.
  void SetRunSubset(int first, int stride);
  // The number of runs of the whole grid (logic and time count every name
  // of names, found or not; null names count as none).
  long long CountRuns(const SAnsiStringList* names) const;

  int GetSimType() const { return kind_; }
  const SString& GetReportDir() const { return reportDir_; }
  SSimulation* GetSimulation() const { return simulation_; }

 private:
  int kind_ = kVariables;
  double bigPointValue_ = 1.0;
  int marginFlag_ = 0;
  double margin_ = 1.0;
  SString reportDir_;
  SSimulation* simulation_ = nullptr;
  SString groupDb_;
  int subsetFirst_ = 0;
  int subsetStride_ = 1;
};

namespace chartcalc {

// Joins report directories written by workers or shards of one
// optimisation into outDir: their Summary and TradeList files are moved
// there (run numbers kept) and outDir's SumInfo.rpt receives every record
// in run order with its two file paths rewritten to outDir. outDir is
// created when missing and may be one of the shard directories' parent.
// Returns 1, or 0 with a message in error (an unreadable or foreign
// SumInfo.rpt, two shards holding the same run, an unwritable outDir); on
// failure outDir's SumInfo.rpt is left as it was.
int MergeReportDirs(const SString& outDir, const std::vector<SString>& shardDirs, SString& error);

}  // namespace chartcalc
