// chartcalc report: the pages of one run of a report folder.
//   RUN --html DIR [--report-dir DIR]
// Run RUN is the one whose files are SummaryRUN.rpt and TradeListRUN.rpt in
// the report folder (default: the index directory's Rpt/) and whose record
// in SumInfo.rpt names them. DIR receives summary.html, trades.html (plain
// frame), summary2.html, trades2.html (the framed variant) and equity.html.
// Every page is made in a private staging directory inside DIR first and
// moved into place only when all of them exist, so a failed run leaves DIR
// as it was.
//   merge OUT SHARD_DIR...   handed to RunReportMerge.
#include <stdlib.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Cli.h"
#include "EquityPage.h"
#include "chartcalc.h"
#include "core/FileUtil.h"

using namespace chartcalc::detail;
namespace fs = std::filesystem;

namespace {

constexpr char kReportSubdir[] = "Rpt/";
constexpr char kSumInfoName[] = "SumInfo.rpt";
constexpr char kEquityPage[] = "equity.html";
constexpr size_t kMaxRunDigits = 9;

// The pages the library writes: the run's file each reads and its writer.
struct LibraryPage {
  const char* file;
  bool fromTradeList;
  void (SSimulation::*write)(SString, SString, SString);
};

constexpr LibraryPage kLibraryPages[] = {
    {"summary.html", false, &SSimulation::SaveSummaryToHTML},
    {"trades.html", true, &SSimulation::SaveTradeHistoryToHTML},
    {"summary2.html", false, &SSimulation::SaveSummaryToHTML2},
    {"trades2.html", true, &SSimulation::SaveTradeHistoryToHTML2},
};

// The summary-info fields that name a run's files; the record is found by
// their last path component, since the folder may have moved since the run
// (shards merged, a copy elsewhere).
constexpr char kSumFileField[] = "SumFileName";
constexpr char kTradeListField[] = "TradeListFileName";

struct RunFiles {
  long run = 0;
  std::string dir, sumInfo, summary, tradeList;
  std::string summaryName, tradeListName;  // without the folder
};

bool ParseRun(const std::string& word, long& run) {
  if (word.empty() || word.size() > kMaxRunDigits || word.find_first_not_of("0123456789") != std::string::npos)
    return false;
  run = std::strtol(word.c_str(), nullptr, 10);
  return true;
}

RunFiles Locate(const CliOptions& options, long run) {
  RunFiles f;
  f.run = run;
  auto it = options.own.find("report-dir");
  f.dir = it != options.own.end() ? it->second : std::string(getIndexDir().c_str()) + kReportSubdir;
  if (!f.dir.empty() && f.dir.back() != '/') f.dir += '/';
  f.summaryName = "Summary" + std::to_string(run) + ".rpt";
  f.tradeListName = "TradeList" + std::to_string(run) + ".rpt";
  f.sumInfo = f.dir + kSumInfoName;
  f.summary = f.dir + f.summaryName;
  f.tradeList = f.dir + f.tradeListName;
  return f;
}

std::string LastComponent(const std::string& path) {
  const size_t slash = path.find_last_of("/\\");
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

// Whether a report table is there and is the kind that declares field.
bool CheckTable(const std::string& path, const char* field, const std::string& missing, std::string& error) {
  std::error_code ec;
  if (!fs::is_regular_file(path, ec)) return error = missing, false;
  DB db(path.c_str(), 0);
  if (db.IsOpen() && db.FindField(field)) return true;
  error = path + " is damaged or not a report file of this kind (no field " + field + ")";
  return false;
}

bool CheckFolder(const RunFiles& f, std::string& error) {
  std::error_code ec;
  const std::string run = std::to_string(f.run);
  if (!fs::is_directory(f.dir, ec)) return error = "no report folder " + f.dir, false;
  return CheckTable(f.sumInfo, kSumFileField, f.dir + " has no " + kSumInfoName + " (not a report folder?)", error) &&
         CheckTable(f.summary, "GroupID", "run " + run + " not found: no " + f.summaryName + " in " + f.dir, error) &&
         CheckTable(f.tradeList, "CumProfitLoss", "run " + run + " not found: no " + f.tradeListName + " in " + f.dir,
                    error);
}

// A summary-info record: every declared field's name and value (code page 949).
using Record = std::vector<std::pair<std::string, std::string>>;

std::string ValueOf(const Record& record, const char* field) {
  for (const auto& [name, value] : record)
    if (name == field) return value;
  return std::string();
}

// The run's record: the last one naming both its files (a compression
// optimisation reuses a run's files, and the last run's remain).
bool FindRecord(const RunFiles& f, Record& record, std::string& error) {
  DB db(f.sumInfo.c_str(), 0);
  bool found = false;
  for (db.MoveFirst(1); !db.Eof(); db.MoveNext(1)) {
    if (db.Deleted() || LastComponent(db.GetStr(kSumFileField)) != f.summaryName ||
        LastComponent(db.GetStr(kTradeListField)) != f.tradeListName)
      continue;
    record.clear();
    for (int i = 0; i < db.GetFieldCount(); ++i) {
      const std::string name = db.GetField(i)->name;
      record.emplace_back(name, db.GetStr(name.c_str()));
    }
    found = true;
  }
  if (!found)
    error = "run " + std::to_string(f.run) + " not found: " + kSumInfoName + " has no record for " + f.summaryName;
  return found;
}

// A summary-info file holding only the run's record, its file names
// pointing where the files are now, for the library's page writers.
bool WriteRunSumInfo(SSimulation& sim, const std::string& path, const RunFiles& f, const Record& record) {
  sim.CreateSummaryDB(path.c_str());
  DB db(path.c_str(), 0);
  db.MoveFirst(1);
  if (!db.Append("")) return false;
  for (const auto& [name, value] : record) {
    const std::string& v = name == kSumFileField ? f.summary : name == kTradeListField ? f.tradeList : value;
    db.InsField(name.c_str(), v.c_str());
  }
  return db.WriteRecord() == 1;
}

// A private directory inside the output directory, removed with its
// content when it goes out of scope.
class Staging {
 public:
  explicit Staging(const std::string& outDir) {
    std::string name = outDir + "/.chartcalc-report-XXXXXX";
    if (mkdtemp(name.data())) path_ = name;
  }
  ~Staging() {
    std::error_code ec;
    if (!path_.empty()) fs::remove_all(path_, ec);
  }
  Staging(const Staging&) = delete;
  Staging& operator=(const Staging&) = delete;
  const std::string& Path() const { return path_; }

 private:
  std::string path_;
};

bool NonEmptyFile(const std::string& path) {
  std::error_code ec;
  return fs::is_regular_file(path, ec) && fs::file_size(path, ec) > 0 && !ec;
}

EquityRun EquityRunOf(const RunFiles& f, const Record& record) {
  EquityRun run;
  run.run = f.run;
  run.system = Cp949ToUtf8Lossy(ValueOf(record, "IndicatorName") + ValueOf(record, "IndicatorVariable"));
  run.symbol = Cp949ToUtf8Lossy(ValueOf(record, "SymbolName"));
  run.term = Cp949ToUtf8Lossy(ValueOf(record, "Term"));
  return run;
}

// Makes every page in staging. False with a message.
bool MakePages(const RunFiles& f, const Record& record, const std::string& staging, std::string& error) {
  EquityRun equity = EquityRunOf(f, record);
  double lastDay = 0;
  TermEndDay(equity.term, lastDay);
  if (!ReadEquityTrades(f.tradeList, lastDay, equity.trades, error)) return false;
  auto sim = std::make_unique<SSimulation>();
  const std::string sumInfo = staging + "/" + kSumInfoName;
  if (!WriteRunSumInfo(*sim, sumInfo, f, record)) return error = "cannot write in " + staging, false;
  for (const LibraryPage& page : kLibraryPages) {
    const std::string out = staging + "/" + page.file;
    ((*sim).*page.write)(sumInfo.c_str(), (page.fromTradeList ? f.tradeList : f.summary).c_str(), out.c_str());
    if (!NonEmptyFile(out)) return error = std::string("the page ") + page.file + " could not be made", false;
  }
  if (!WriteWholeFile(staging + "/" + kEquityPage, EquityPageHtml(equity)))
    return error = std::string("the page ") + kEquityPage + " could not be made", false;
  return true;
}

// Moves the staged pages into outDir, printing each page's path.
bool Publish(const std::string& staging, const std::string& outDir, std::ostream& out, std::string& error) {
  std::vector<std::string> names;
  for (const LibraryPage& page : kLibraryPages) names.push_back(page.file);
  names.push_back(kEquityPage);
  for (const std::string& name : names) {
    const std::string target = (fs::path(outDir) / name).string();
    if (!ReplaceWith(staging + "/" + name, target)) return error = "cannot write " + target, false;
    out << target << "\n";
  }
  return true;
}

int WritePages(const CliOptions& options, long run, std::ostream& out, std::ostream& err) {
  const std::string& outDir = options.own.at("html");
  const RunFiles files = Locate(options, run);
  std::string error;
  Record record;
  if (!CheckFolder(files, error) || !FindRecord(files, record, error)) {
    err << "error: " << error << "\n";
    return kExitBadInput;
  }
  std::error_code ec;
  fs::create_directories(outDir, ec);
  Staging staging(outDir);
  if (staging.Path().empty()) {
    err << "error: --html: cannot write pages in " << outDir << "\n";
    return kExitBadInput;
  }
  if (!MakePages(files, record, staging.Path(), error) || !Publish(staging.Path(), outDir, out, error)) {
    err << "error: " << error << "\n";
    return kExitBadInput;
  }
  return kExitOk;
}

}  // namespace

int RunReport(const CliOptions& options, std::ostream& out, std::ostream& err) {
  if (!options.args.empty() && options.args[0] == "merge") {
    CliOptions merge = options;
    merge.args.erase(merge.args.begin());
    return RunReportMerge(merge, out, err);
  }
  long run = 0;
  if (options.args.size() != 1 || !ParseRun(options.args[0], run)) {
    err << "error: report takes one RUN number (the N of SummaryN.rpt), or merge OUT SHARD_DIR...\n";
    return kExitBadInput;
  }
  if (!options.own.count("html") || options.own.at("html").empty()) {
    err << "error: report needs --html DIR, the directory for the pages\n";
    return kExitBadInput;
  }
  return WritePages(options, run, out, err);
}
