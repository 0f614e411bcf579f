// Joining the report folders that workers or shards of one optimisation
// wrote. A shard folder holds SumInfo.rpt (one record per finished run, in
// run order) and each run's SummaryK.rpt and TradeListK.rpt, K being the run
// number (the factor number for the time kind, whose runs of one factor share
// K). The joined folder holds every shard's run files under their own names
// and one SumInfo.rpt with every record, ordered by K (records of equal K keep
// their shard's order), both file paths pointing into the joined folder.
//
// Every shard's SumInfo.rpt is already in run order, so the records are
// joined by a streaming k-way merge and nothing is held per run. The order
// of work lets a failure leave the joined SumInfo.rpt as it was and a retry
// find everything: the new SumInfo.rpt is built aside (reading and checking
// every shard's on the way), then the run files are moved (a file already
// moved by an earlier attempt is simply no longer in its shard), then the
// aside file is renamed over SumInfo.rpt.
#include <cctype>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "chartcalc/SSimulationMain.h"
#include "chartcalc/TableDb.h"
#include "core/FileUtil.h"

namespace {

namespace fs = std::filesystem;
using chartcalc::detail::DBField;

constexpr char kSumInfoName[] = "SumInfo.rpt";
constexpr char kSumFileField[] = "SumFileName";
constexpr char kTradeFileField[] = "TradeListFileName";
constexpr char kRunFileExtension[] = ".rpt";
// The run files a shard holds, by the prefix before their run number.
constexpr const char* kRunFilePrefixes[] = {"Summary", "TradeList"};
// Run numbers are ints in the optimiser; more digits than this is damage.
constexpr size_t kMaxRunDigits = 10;

std::string WithSlash(std::string dir) {
  if (!dir.empty() && dir.back() != '/') dir += '/';
  return dir;
}

std::string BaseName(const std::string& path) {
  const size_t slash = path.find_last_of("/\\");
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

// K of a file named prefix + K + ".rpt", or -1.
long long RunNumber(const std::string& name, const char* prefix) {
  const std::string p = prefix;
  const size_t ext = sizeof kRunFileExtension - 1;
  if (name.size() <= p.size() + ext || name.compare(0, p.size(), p) != 0 ||
      name.compare(name.size() - ext, ext, kRunFileExtension) != 0)
    return -1;
  const std::string digits = name.substr(p.size(), name.size() - p.size() - ext);
  if (digits.size() > kMaxRunDigits) return -1;
  for (char c : digits)
    if (!std::isdigit(static_cast<unsigned char>(c))) return -1;
  return std::stoll(digits);
}

bool IsRunFile(const std::string& name) {
  for (const char* prefix : kRunFilePrefixes)
    if (RunNumber(name, prefix) >= 0) return true;
  return false;
}

// True when the table declares the same fields, in the same order and with
// the same widths, as the reference.
bool SameDeclaration(DB& table, DB& reference) {
  if (table.GetFieldCount() != reference.GetFieldCount()) return false;
  for (int i = 0; i < reference.GetFieldCount(); ++i) {
    const DBField* a = table.GetField(i);
    const DBField* b = reference.GetField(i);
    if (!a || !b || a->name != b->name || a->width != b->width) return false;
  }
  return true;
}

// One shard's SumInfo.rpt, read record by record in file order.
class ShardReader {
 public:
  ShardReader(std::string dir, size_t order) : dir_(WithSlash(std::move(dir))), order_(order) {}

  const std::string& Dir() const { return dir_; }
  size_t Order() const { return order_; }
  long long Run() const { return run_; }
  bool AtEnd() const { return atEnd_; }
  DB& Table() { return db_; }

  // Opens the file and checks it against the reference declaration, then
  // moves to the first record. False with a message.
  bool Open(DB& reference, std::string& error) {
    const std::string path = dir_ + kSumInfoName;
    if (!FileExist(path.c_str())) return error = dir_ + " holds no " + kSumInfoName, false;
    db_ = DB(path.c_str(), 0);
    if (!db_.IsOpen() || !SameDeclaration(db_, reference))
      return error = path + " is not a summary-info file of an optimisation (damaged or foreign)", false;
    db_.MoveFirst(1);
    return Settle(error);
  }

  bool Next(std::string& error) {
    db_.MoveNext(1);
    return Settle(error);
  }

 private:
  // Skips deleted records and reads the run number of the current one.
  bool Settle(std::string& error) {
    while (!db_.Eof() && db_.Deleted()) db_.MoveNext(1);
    atEnd_ = db_.Eof() != 0;
    if (atEnd_) return true;
    const std::string file = db_.GetStr(kSumFileField);
    const long long run = RunNumber(BaseName(file), kRunFilePrefixes[0]);
    if (run < 0)
      return error = dir_ + kSumInfoName + ": the record's " + kSumFileField + " '" + file +
                     "' does not name a Summary<run>.rpt file",
             false;
    if (run < run_)
      return error = dir_ + kSumInfoName + ": run " + std::to_string(run) + " follows run " + std::to_string(run_) +
                     "; the records are out of run order",
             false;
    run_ = run;
    return true;
  }

  std::string dir_;
  size_t order_;
  DB db_;
  long long run_ = -1;
  bool atEnd_ = true;
};

// The shard whose current record comes next: the smallest run number, the
// first shard among equals; null when every shard is at its end.
ShardReader* NextShard(std::vector<std::unique_ptr<ShardReader>>& shards) {
  ShardReader* best = nullptr;
  for (auto& s : shards)
    if (!s->AtEnd() && (!best || s->Run() < best->Run())) best = s.get();
  return best;
}

// Appends the shard's current record to out with its two paths rewritten
// into outDir. A path too long for its field would be cut and name no
// file, so it is refused. False with a message.
bool CopyRecord(ShardReader& from, DB& out, const std::string& outDir, std::string& error) {
  DB& in = from.Table();
  if (!out.Append("")) return error = "cannot write the summary-info file in " + outDir, false;
  for (int i = 0; i < out.GetFieldCount(); ++i) {
    const DBField& field = *out.GetField(i);
    std::string value = in.GetStr(field.name.c_str());
    if (field.name == kSumFileField || field.name == kTradeFileField) value = outDir + BaseName(value);
    if (static_cast<int>(value.size()) > field.width)
      return error = "the path " + value + " is too long for the report's " + field.name + " field (" +
                     std::to_string(field.width) + " bytes)",
             false;
    out.InsField(field.name.c_str(), value.c_str());
  }
  if (!out.WriteRecord()) return error = "cannot write the summary-info file in " + outDir, false;
  return true;
}

// Writes every shard's records, in run order, into the open table out. A run
// number that two shards hold is refused: the shards overlap.
bool JoinRecords(std::vector<std::unique_ptr<ShardReader>>& shards, DB& out, const std::string& outDir,
                 std::string& error) {
  const ShardReader* previous = nullptr;
  long long previousRun = -1;
  while (ShardReader* s = NextShard(shards)) {
    if (previous && previous != s && previousRun == s->Run())
      return error = "run " + std::to_string(s->Run()) + " is in both " + previous->Dir() + " and " + s->Dir() +
                     " (the same run twice: overlapping shards?)",
             false;
    if (!CopyRecord(*s, out, outDir, error)) return false;
    previous = s;
    previousRun = s->Run();
    if (!s->Next(error)) return false;
  }
  return true;
}

// Moves (or, across file systems, copies) the shard's run files into outDir,
// replacing files of the same name there.
bool MoveRunFiles(const std::string& shardDir, const std::string& outDir, std::string& error) {
  std::error_code ec;
  for (fs::directory_iterator it(shardDir, ec), end; !ec && it != end; it.increment(ec)) {
    const std::string name = it->path().filename().string();
    if (!IsRunFile(name) || !it->is_regular_file(ec)) continue;
    const fs::path target = fs::path(outDir) / name;
    std::error_code moved;
    fs::rename(it->path(), target, moved);
    if (!moved) continue;
    if (!fs::copy_file(it->path(), target, fs::copy_options::overwrite_existing, ec))
      return error = "cannot move " + it->path().string() + " to " + outDir + ": " + ec.message(), false;
    fs::remove(it->path(), ec);
  }
  if (ec) return error = "cannot list " + shardDir + ": " + ec.message(), false;
  return true;
}

// Paths name the same existing directory.
bool SameDir(const std::string& a, const std::string& b) {
  std::error_code ec;
  return fs::equivalent(a, b, ec);
}

// Creates outDir when missing; made tells whether it did.
bool CheckDirs(const std::string& outDir, const std::vector<SString>& shardDirs, bool& made, std::string& error) {
  if (outDir.empty()) return error = "no folder to merge into", false;
  if (shardDirs.empty()) return error = "no shard folders to merge", false;
  for (const SString& d : shardDirs) {
    std::error_code ec;
    if (!fs::is_directory(d.str(), ec)) return error = d.str() + " is not a folder", false;
    if (SameDir(d.str(), outDir))
      return error = "the merged folder " + outDir + " cannot be one of the shard folders", false;
  }
  std::error_code ec;
  made = !fs::exists(outDir, ec);
  fs::create_directories(outDir, ec);
  if (!fs::is_directory(outDir, ec)) return error = "cannot create the folder " + outDir, false;
  return true;
}

// Builds the joined SumInfo.rpt at aside, from the shards. False with a message.
bool BuildSumInfo(const std::string& aside, const std::string& outDir, const std::vector<SString>& shardDirs,
                  std::string& error) {
  // The declaration comes from the simulation itself, so the joined file
  // is one the library would have written, and shards are checked against it.
  std::make_unique<SSimulation>()->CreateSummaryDB(aside.c_str());
  DB out(aside.c_str(), 0);
  if (!out.IsOpen()) return error = "cannot write the summary-info file in " + outDir, false;
  std::vector<std::unique_ptr<ShardReader>> shards;
  for (const SString& d : shardDirs) {
    shards.push_back(std::make_unique<ShardReader>(d.str(), shards.size()));
    if (!shards.back()->Open(out, error)) return false;
  }
  const bool joined = JoinRecords(shards, out, outDir, error);
  out.Close();
  return joined;
}

// The joining itself; a folder made for a merge that fails before moving
// anything is removed again.
int Merge(const std::string& outDir, const std::vector<SString>& shardDirs, std::string& error) {
  bool made = false;
  if (!CheckDirs(outDir, shardDirs, made, error)) return 0;
  const std::string target = outDir + kSumInfoName;
  const std::string aside = chartcalc::detail::SiblingTempPath(target);
  const bool built = !aside.empty() && BuildSumInfo(aside, outDir, shardDirs, error);
  if (aside.empty()) error = "cannot write in the folder " + outDir;
  if (!built) {
    std::error_code ec;
    if (!aside.empty()) fs::remove(aside, ec);
    if (made) fs::remove(outDir, ec);
    return 0;
  }
  for (const SString& d : shardDirs) {
    if (MoveRunFiles(d.str(), outDir, error)) continue;
    std::remove(aside.c_str());
    return 0;
  }
  if (!chartcalc::detail::ReplaceWith(aside, target)) return error = "cannot replace " + target, 0;
  return 1;
}

}  // namespace

namespace chartcalc {

int MergeReportDirs(const SString& outDir, const std::vector<SString>& shardDirs, SString& error) {
  std::string message;
  const int done = Merge(WithSlash(outDir.str()), shardDirs, message);
  if (!done) error = message.c_str();
  return done;
}

}  // namespace chartcalc
