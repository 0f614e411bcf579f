// chartcalc optimise and report merge: the runs of a grid and their order,
// several workers and several shards writing exactly what one process
// writes, the printed best runs, Ctrl-C, the array-task variables of batch
// engines, and bad input refused before anything is emptied or written.
#include <signal.h>
#include <stdlib.h>

#include <chrono>
#include <thread>

#include "CliTestUtil.h"

namespace {

namespace fs = std::filesystem;

// A fresh, empty scratch folder.
std::string Dir(const std::string& name) {
  const std::string dir = std::string(CHARTCALC_TEST_TMP) + "/optimise/" + name;
  fs::remove_all(dir);
  fs::create_directories(fs::path(dir).parent_path());
  return dir;
}

std::vector<std::string> Grid(const std::string& out, std::vector<std::string> more = {}) {
  std::vector<std::string> args = {"optimise", "MACross",
                                   "--var",    "short=3:5:1",
                                   "--var",    "long=20:25:5",
                                   "--set",    "BlMoneyManagementStop=1",
                                   "--set",    "BlProfitTargetStop=1",
                                   "--out",    out};
  args.insert(args.end(), more.begin(), more.end());
  return args;
}

// Every record of a table file, fields in declared order; paths (of a
// summary-info record) as their file names, so folders compare.
std::vector<std::vector<std::string>> Records(const std::string& path) {
  auto rows = simtest::TableRecords(path);
  for (auto& row : rows)
    for (std::string& cell : row)
      if (cell.find('/') != std::string::npos) cell = fs::path(cell).filename().string();
  return rows;
}

std::set<std::string> FileNames(const std::string& dir) {
  std::set<std::string> names;
  for (const auto& e : fs::directory_iterator(dir)) names.insert(e.path().filename().string());
  return names;
}

// Same files, the same summary-info records (paths compared by file name)
// and the same rows in every run file.
void ExpectSameReports(const std::string& a, const std::string& b) {
  ASSERT_EQ(FileNames(a), FileNames(b));
  EXPECT_EQ(Records(a + "/SumInfo.rpt"), Records(b + "/SumInfo.rpt"));
  for (const std::string& name : FileNames(a)) {
    if (name == "SumInfo.rpt") continue;
    const auto rows = Records(a + "/" + name);
    EXPECT_EQ(rows, Records(b + "/" + name)) << name;
    EXPECT_FALSE(rows.empty()) << name;  // a summary always has rows; these runs all trade
  }
}

// Column c of every printed line.
std::vector<std::string> Column(const std::string& out, size_t c) {
  std::vector<std::string> cells;
  for (const auto& row : Rows(out, '\t')) cells.push_back(c < row.size() ? row[c] : "?");
  return cells;
}

ToolRun Merge(const std::vector<std::string>& dirs) {
  CliOptions options;
  options.args = dirs;
  std::ostringstream out, err;
  const int status = RunReportMerge(options, out, err);
  return {status, out.str(), err.str()};
}

TEST(OptimiseCommand, GridRunsEveryCombinationWithTheFirstVariableFastest) {
  const std::string out = Dir("grid");
  ToolRun r = RunTool(Grid(out));
  ASSERT_EQ(r.status, 0) << r.err;
  const auto rows = Records(out + "/SumInfo.rpt");
  std::vector<std::string> variables, files;
  for (const auto& row : rows) variables.push_back(row[4]), files.push_back(row[0]);
  EXPECT_EQ(variables, (std::vector<std::string>{"(3,20)", "(4,20)", "(5,20)", "(3,25)", "(4,25)", "(5,25)"}));
  EXPECT_EQ(files[4], "Summary4.rpt");
  EXPECT_EQ(FileNames(out).size(), 1u + 2 * 6);
  EXPECT_NE(r.err.find("6 runs"), std::string::npos) << r.err;
  // The printed runs are these six, best first.
  EXPECT_EQ(Column(r.out, 0).size(), 6u);

  // A step that leads away from the end: one run at the start, and a warning.
  ToolRun away = RunTool({"optimise", "MACross", "--var", "short=8:3:1", "--out", Dir("away")});
  ASSERT_EQ(away.status, 0) << away.err;
  EXPECT_NE(away.err.find("a single run at 8"), std::string::npos) << away.err;
  EXPECT_EQ(Column(away.out, 2), (std::vector<std::string>{"(8,20)"}));
}

TEST(OptimiseCommand, TwoJobsAndMergedShardsWriteWhatOneJobWrites) {
  const std::string one = Dir("jobs1"), two = Dir("jobs2"), merged = Dir("merged");
  ToolRun a = RunTool(Grid(one)), b = RunTool(Grid(two, {"--jobs", "2"}));
  ASSERT_EQ(a.status, 0) << a.err;
  ASSERT_EQ(b.status, 0) << b.err;
  EXPECT_EQ(a.out, b.out);
  ExpectSameReports(one, two);  // the workers' folders are gone, too
  // The paths point into the report folder itself, as one job's do.
  EXPECT_EQ(simtest::TableRecords(two + "/SumInfo.rpt").at(0).at(1), two + "/TradeList0.rpt");

  std::vector<std::string> dirs = {merged};
  for (int i = 0; i < 3; ++i) {
    dirs.push_back(Dir("shard" + std::to_string(i)));
    ToolRun r = RunTool(Grid(dirs.back(), {"--shard", std::to_string(i) + "/3"}));
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(Records(dirs.back() + "/SumInfo.rpt").size(), 2u);
  }
  ToolRun m = Merge({dirs[0], dirs[3], dirs[1], dirs[2]});  // shard order does not matter
  ASSERT_EQ(m.status, 0) << m.err;
  ExpectSameReports(one, merged);
  EXPECT_EQ(FileNames(dirs[1]), (std::set<std::string>{"SumInfo.rpt"}));  // its run files moved
}

TEST(OptimiseCommand, MergeRefusesOverlapsAndForeignFilesAndLeavesTheOutputAsItWas) {
  const std::string a = Dir("mergeA"), b = Dir("mergeB"), out = Dir("mergeOut");
  ASSERT_EQ(RunTool(Grid(a, {"--shard", "0/2"})).status, 0);
  ASSERT_EQ(RunTool(Grid(b, {"--shard", "0/2"})).status, 0);
  ASSERT_EQ(Merge({out, a}).status, 0);
  const std::string before = simtest::ReadBytes(out + "/SumInfo.rpt");
  const std::string garbage = Dir("garbage"), truncated = Dir("truncated"), other = Dir("otherTable");
  const std::string deep = Dir("deep") + "/" + std::string(190, 'd');  // paths would not fit their field
  for (const std::string& d : {garbage, truncated, other}) fs::create_directories(d);
  WriteFile("optimise/garbage/SumInfo.rpt", "not a table at all");
  fs::copy_file(a + "/SumInfo.rpt", truncated + "/SumInfo.rpt");
  fs::resize_file(truncated + "/SumInfo.rpt", 100);
  fs::copy_file(out + "/TradeList0.rpt", other + "/SumInfo.rpt");  // a table, but of trades
  // clang-format off
  const std::vector<std::pair<std::vector<std::string>, std::string>> cases = {
      {{out, b, a}, "run 0 is in both"},                 // a's records are still there
      {{out, garbage}, "not a summary-info file"},
      {{out, truncated}, "not a summary-info file"},
      {{out, other}, "not a summary-info file"},
      {{out, Dir("missing")}, "is not a folder"},
      {{out, out}, "cannot be one of the shard folders"},
      {{out}, "OUT and one or more SHARD_DIR"},
      {{deep, a}, "too long for the report's SumFileName field"},
  };
  // clang-format on
  for (const auto& [args, message] : cases) {
    ToolRun r = Merge(args);
    EXPECT_EQ(r.status, 1) << message;
    EXPECT_NE(r.err.find(message), std::string::npos) << r.err;
    EXPECT_EQ(simtest::ReadBytes(out + "/SumInfo.rpt"), before) << message;
  }
  EXPECT_TRUE(fs::exists(b + "/Summary0.rpt"));  // a refused merge moves nothing
  EXPECT_FALSE(fs::exists(deep));                // nor leaves a folder it made
}

TEST(OptimiseCommand, TopAndSortChooseThePrintedRuns) {
  const std::string out = Dir("sort");
  ToolRun top = RunTool(Grid(out, {"--top", "2"}));
  ASSERT_EQ(top.status, 0) << top.err;
  double best = -1e300;
  for (const auto& row : Records(out + "/SumInfo.rpt")) best = std::max(best, std::stod(row[10]));
  const auto profits = Column(top.out, 3);
  ASSERT_EQ(profits.size(), 2u);
  EXPECT_EQ(std::stod(profits[0]), best);
  EXPECT_GE(std::stod(profits[0]), std::stod(profits[1]));
  EXPECT_EQ(Rows(top.out, '\t')[0].size(), 9u);  // run number and eight fields

  // Numbers highest first, not in text order ("99" > "185" as text).
  ToolRun count = RunTool(Grid(out, {"--sort", "TransactionCount"}));
  std::vector<double> counts;
  for (const std::string& c : Column(count.out, 4)) counts.push_back(std::stod(c));
  EXPECT_TRUE(std::is_sorted(counts.rbegin(), counts.rend())) << count.out;
  // A text field sorts as text, ascending, and a field not printed is added.
  ToolRun status = RunTool(Grid(out, {"--sort", "status", "--lang", "ko"}));
  ASSERT_EQ(status.status, 0) << status.err;
  const auto statuses = Column(status.out, 9);
  EXPECT_TRUE(std::is_sorted(statuses.begin(), statuses.end())) << status.out;
  EXPECT_NE(statuses[0].find("매"), std::string::npos) << status.out;  // Korean, in UTF-8
}

TEST(OptimiseCommand, UnknownSystemsInTheListMakeNoRunAndKeepTheirNumbers) {
  const std::string out = Dir("logic");
  ToolRun r = RunTool({"optimise", "--systems", "NoSuchOne,macross", "--out", out});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_NE(r.err.find("no trading system 'NoSuchOne'"), std::string::npos) << r.err;
  const auto rows = Records(out + "/SumInfo.rpt");
  ASSERT_EQ(rows.size(), 1u);
  EXPECT_EQ(rows[0][0], "Summary1.rpt");
  EXPECT_EQ(rows[0][3], "MACross");  // found without regard to case

  // Two systems at compressions 1 and 2: each factor's runs share its files.
  const std::string time = Dir("time");
  ToolRun t = RunTool({"optimise", "--systems", "MACross,RSIReversal", "--compress", "1:2:1", "--out", time});
  ASSERT_EQ(t.status, 0) << t.err;
  std::vector<std::string> files;
  for (const auto& row : Records(time + "/SumInfo.rpt")) files.push_back(row[0] + " " + row[3]);
  EXPECT_EQ(files, (std::vector<std::string>{"Summary0.rpt MACross", "Summary0.rpt RSIReversal", "Summary1.rpt MACross",
                                             "Summary1.rpt RSIReversal"}));
}

TEST(OptimiseCommand, BadInputIsRefusedBeforeAnythingIsWritten) {
  const std::string out = Dir("bad");
  fs::create_directories(out);
  const std::string keep = WriteFile("optimise/bad/notes.txt", "mine");
  const std::string file = WriteFile("optimise/plain-file", "x");
  const std::vector<std::string> var = {"--var", "short=3:4:1"};
  auto args = [&](std::vector<std::string> head, std::vector<std::string> tail = {}) {
    head.insert(head.begin(), "optimise");
    head.insert(head.end(), tail.begin(), tail.end());
    return head;
  };
  // clang-format off
  const std::vector<ToolCase> cases = {
      {args({"NoSuchSystem"}, var), 1, "", "no definition"},
      {args({"MACD"}, var), 1, "", "not a trading system"},
      {args({}, var), 1, "", "optimise takes SYSTEM"},
      {args({"MACross", "--systems", "RSIReversal"}, var), 1, "", "optimise takes SYSTEM"},
      {args({"MACross", "--var", "short=3:4"}), 1, "", "NAME=START:END:STEP"},
      {args({"MACross", "--var", "short=3:x:1"}), 1, "", "NAME=START:END:STEP"},
      {args({"MACross", "--var", "3:4:1"}), 1, "", "NAME=START:END:STEP"},
      {args({"MACross", "--var", "width=3:4:1"}), 1, "", "no variable 'width'"},
      {args({"MACross", "--var", "short=3:4:1", "--var", "SHORT=5:6:1"}), 1, "", "given twice"},
      {args({"--systems", "MACross,", "--compress", "1:2:1"}), 1, "", "--systems takes names"},
      {args({"--systems", "MACross", "--compress", "1:2"}), 1, "", "--compress takes START:END:STEP"},
      {args({"--systems", "MACross", "--compress", "1:2.5:1"}), 1, "", "--compress takes"},
      {args({"MACross", "--var", "short=1:2000:1", "--var", "long=1:1000:1"}), 1, "",
       "the grid has 2000000 runs; --max-runs 2000000 to allow it"},
      {args({"MACross", "--max-runs", "1"}, var), 1, "", "the grid has 2 runs; --max-runs 2 to allow it"},
      {args({"MACross", "--jobs", "0"}, var), 1, "", "--jobs takes"},
      {args({"MACross", "--top", "-1"}, var), 1, "", "--top takes"},
      {args({"MACross", "--shard", "3/3"}, var), 1, "", "does not exist"},
      {args({"MACross", "--shard", "1"}, var), 1, "", "--shard takes I/N"},
      {args({"MACross", "--shard", "0/2", "--shard-count", "2"}, var), 1, "", "leave out --shard-count"},
      {args({"MACross", "--shard-count", "2"}, var), 1, "", "needs an array task"},
      {args({"MACross", "--sort", "Profit"}, var), 1, "", "--sort takes a field"},
      {args({"MACross", "--tick", "-1"}, var), 1, "", "--tick"},
      {args({"MACross", "--set", "NoSuchKey=1"}, var), 1, "", "NoSuchKey"},
      {args({"MACross", "--var", "short=3:4:1", "--out", out}), 1, "", "which is not a report"},
      {args({"MACross", "--var", "short=3:4:1", "--out", file + "/sub"}), 1, "", "cannot create the report folder"},
      {args({"MACross", "--var", "short=3:4:1", "--out", out + "/" + std::string(200, 'd')}), 1, "", "too long"},
  };
  // clang-format on
  ExpectRuns(cases);
  EXPECT_EQ(FileNames(out), (std::set<std::string>{"notes.txt"}));
  // Warned about, but run: a zero step is one value.
  ToolRun zero = RunTool({"optimise", "MACross", "--var", "short=5:9:0", "--out", Dir("zero")});
  EXPECT_EQ(zero.status, 0) << zero.err;
  EXPECT_NE(zero.err.find("a single run at 5"), std::string::npos) << zero.err;
}

// The batch engines' variables, each set alone and cleared afterwards.
class ArrayTask : public ::testing::Test {
 protected:
  static constexpr const char* kVariables[] = {"SLURM_ARRAY_TASK_ID",    "SLURM_ARRAY_TASK_MIN",
                                               "SLURM_ARRAY_TASK_COUNT", "SLURM_ARRAY_TASK_STEP",
                                               "JOB_COMPLETION_INDEX",   "CHARTCALC_SHARD_COUNT"};
  void SetUp() override { Clear(); }
  void TearDown() override { Clear(); }
  static void Clear() {
    for (const char* v : kVariables) unsetenv(v);
  }
};

// The files a shard of the 6-run grid writes, or the refusal.
TEST_F(ArrayTask, EngineVariablesPickTheShardOrAreRefused) {
  struct Case {
    std::vector<std::pair<const char*, const char*>> env;
    std::vector<std::string> more;
    std::vector<std::string> files;  // of the 6-run grid
    std::string refusal = {};
  };
  // clang-format off
  const std::vector<Case> cases = {
      {{{"SLURM_ARRAY_TASK_ID", "1"}, {"SLURM_ARRAY_TASK_COUNT", "3"}}, {}, {"Summary1.rpt", "Summary4.rpt"}},
      {{{"SLURM_ARRAY_TASK_ID", "6"}, {"SLURM_ARRAY_TASK_MIN", "4"}, {"SLURM_ARRAY_TASK_COUNT", "3"}}, {},
       {"Summary2.rpt", "Summary5.rpt"}},
      {{{"SLURM_ARRAY_TASK_ID", "14"}, {"SLURM_ARRAY_TASK_MIN", "10"}, {"SLURM_ARRAY_TASK_STEP", "2"},
        {"SLURM_ARRAY_TASK_COUNT", "3"}}, {}, {"Summary2.rpt", "Summary5.rpt"}},
      {{{"JOB_COMPLETION_INDEX", "2"}, {"CHARTCALC_SHARD_COUNT", "4"}}, {}, {"Summary2.rpt"}},
      {{{"JOB_COMPLETION_INDEX", "1"}}, {"--shard-count", "2"}, {"Summary1.rpt", "Summary3.rpt", "Summary5.rpt"}},
      {{{"JOB_COMPLETION_INDEX", "1"}, {"CHARTCALC_SHARD_COUNT", "2"}}, {"--shard", "0/1"},
       {"Summary0.rpt", "Summary1.rpt", "Summary2.rpt", "Summary3.rpt", "Summary4.rpt", "Summary5.rpt"}},
      {{{"JOB_COMPLETION_INDEX", "0"}}, {}, {}, "CHARTCALC_SHARD_COUNT"},
      {{{"JOB_COMPLETION_INDEX", "x"}, {"CHARTCALC_SHARD_COUNT", "2"}}, {}, {}, "not a whole number"},
      {{{"JOB_COMPLETION_INDEX", "2"}, {"CHARTCALC_SHARD_COUNT", "2"}}, {}, {}, "does not exist"},
      {{{"SLURM_ARRAY_TASK_ID", "3"}}, {}, {}, "SLURM_ARRAY_TASK_COUNT"},
      {{{"SLURM_ARRAY_TASK_ID", "3"}, {"SLURM_ARRAY_TASK_MIN", "1"}, {"SLURM_ARRAY_TASK_STEP", "4"},
        {"SLURM_ARRAY_TASK_COUNT", "2"}}, {}, {}, "step"},
  };
  // clang-format on
  for (const Case& c : cases) {
    Clear();
    for (const auto& [name, value] : c.env) setenv(name, value, 1);
    const std::string out = Dir("task");
    ToolRun r = RunTool(Grid(out, c.more));
    EXPECT_EQ(r.status, c.refusal.empty() ? 0 : 1) << c.env[0].second << ": " << r.err;
    EXPECT_NE(r.err.find(c.refusal), std::string::npos) << r.err;
    std::vector<std::string> files;
    if (fs::exists(out))
      for (const auto& row : Records(out + "/SumInfo.rpt")) files.push_back(row[0]);
    EXPECT_EQ(files, c.files) << c.env[0].first << "=" << c.env[0].second;
    EXPECT_EQ(fs::exists(out), c.refusal.empty()) << c.refusal;
  }
}

// Without --out, each shard has its own folder below the index directory's
// Rpt/, so that shards sharing a disk never empty each other's.
TEST_F(ArrayTask, ShardsWithoutOutGetAFolderEach) {
  const std::string index = Dir("index");
  fs::copy(CHARTCALC_SHIPPED_INDEX_DIR, index, fs::copy_options::recursive);
  setenv("JOB_COMPLETION_INDEX", "1", 1);
  setenv("CHARTCALC_SHARD_COUNT", "3", 1);
  std::vector<std::string> args = Grid("", {"--index-dir", index});
  args.erase(args.end() - 4, args.end() - 2);  // no --out
  ToolRun r = RunTool(args);
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_NE(r.err.find("shard 1/3 (from JOB_COMPLETION_INDEX)"), std::string::npos) << r.err;
  EXPECT_EQ(Records(index + "/Rpt/shard-1-of-3/SumInfo.rpt").size(), 2u);
}

TEST(OptimiseCommand, CtrlCStopsAfterTheRunInProgressAndKeepsWhatIsWritten) {
  const std::string out = Dir("interrupt");
  ToolRun r;
  std::thread tool([&] {
    r = RunTool({"optimise", "MACross", "--var", "short=2:41:1", "--var", "long=50:60:1", "--out", out});
  });
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  while (!fs::exists(out + "/TradeList1.rpt") && std::chrono::steady_clock::now() < deadline)
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  kill(getpid(), SIGINT);
  tool.join();
  EXPECT_EQ(r.status, 130) << r.err;
  const size_t runs = Records(out + "/SumInfo.rpt").size();
  EXPECT_GE(runs, 2u);
  EXPECT_LT(runs, 440u);
  EXPECT_NE(r.err.find("interrupted: " + std::to_string(runs) + " of 440 runs finished"), std::string::npos) << r.err;
  EXPECT_EQ(FileNames(out).size(), 1 + 2 * runs);  // every finished run has both files
  for (size_t k = 0; k < runs; ++k) EXPECT_FALSE(Records(out + "/Summary" + std::to_string(k) + ".rpt").empty());
  struct sigaction now = {};
  sigaction(SIGINT, nullptr, &now);
  EXPECT_EQ(now.sa_handler, SIG_DFL);  // the test's own handling is back
}

}  // namespace
