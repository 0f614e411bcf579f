// chartcalc-build-definitions: turns the shipped definition texts into the
// index databases of an index directory.
//
//   chartcalc-build-definitions --index-dir DIR FILE...
//
// Each FILE is a definitions text (definitions/*.txt in the repository; the
// format is described at the top of tools/cli/DefinitionText.cpp): a
// "kind:" line, then one [NAME] block per definition with its description,
// variables, formulas and line names. For example
//
//   kind: indicator
//   [RSI]
//   description: Relative strength index with Wilder smoothing.
//   var: period = 14
//   line: RSI(%period%) = rsi(period)
//   base: 30, 70
//
// Every file is read and checked first; on any error the tool prints
// "file:line: message", exits with status 1 and leaves DIR untouched.
// Otherwise every definition is stored with SIndex::WriteExpression (a new
// record, the index file alone) into fresh index files built beside DIR,
// which then replace DIR's index files of all five kinds whole. The user
// files are never overwritten: a missing one is created empty, so that
// definitions can be read (reading needs both files) and the user's own
// definitions survive every rebuild.
#include <strings.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include "DefinitionText.h"
#include "chartcalc.h"
#include "core/Cp949.h"

using namespace chartcalc::detail;

namespace fs = std::filesystem;

namespace {

constexpr int kStatusOk = 0;
constexpr int kStatusFailed = 1;

struct Arguments {
  std::string indexDir;
  std::vector<std::string> files;
};

bool ParseArguments(int argc, char** argv, Arguments& a) {
  for (int i = 1; i < argc; ++i) {
    std::string arg = argv[i];
    if (arg == "--index-dir" && i + 1 < argc) a.indexDir = argv[++i];
    else if (arg.rfind("--index-dir=", 0) == 0) a.indexDir = arg.substr(12);
    else if (!arg.empty() && arg[0] == '-') return false;
    else a.files.push_back(arg);
  }
  return !a.indexDir.empty() && !a.files.empty();
}

bool ReadAll(const std::vector<std::string>& files, std::vector<DefinitionText>& out) {
  for (const std::string& file : files) {
    std::ifstream in(file, std::ios::binary);
    if (!in) {
      std::cerr << file << ": cannot be read\n";
      return false;
    }
    std::stringstream text;
    text << in.rdbuf();
    std::string error;
    std::vector<DefinitionText> read;
    if (!ParseDefinitions(text.str(), file, read, error)) {
      std::cerr << error << "\n";
      return false;
    }
    for (DefinitionText& d : read) out.push_back(std::move(d));
  }
  return true;
}

// Names are keys within a kind, whichever file a definition comes from.
bool CheckUniqueNames(const std::vector<DefinitionText>& defs) {
  for (size_t i = 0; i < defs.size(); ++i)
    for (size_t j = 0; j < i; ++j)
      if (defs[i].index.IndexType == defs[j].index.IndexType &&
          strcasecmp(defs[i].index.IndexName.c_str(), defs[j].index.IndexName.c_str()) == 0) {
        std::cerr << "'" << Cp949ToUtf8Lossy(defs[i].index.IndexName.str()) << "' ("
                  << DefinitionKindWord(defs[i].index.IndexType) << ") is defined twice\n";
        return false;
      }
  return true;
}

// Builds the five index files in stage (an empty directory of its own).
bool WriteStage(const std::string& stage, std::vector<DefinitionText>& defs) {
  SetIndexDir(stage.c_str());
  for (const DefinitionKind& k : kDefinitionKinds)
    if (!CreateIndexDB(k.type, getIndexDBFileName(k.type).c_str())) {
      std::cerr << getIndexDBFileName(k.type).str() << ": cannot be created\n";
      return false;
    }
  for (DefinitionText& d : defs)
    if (!d.index.WriteExpression(d.index.IndexName.c_str(), 1, 1)) {
      std::cerr << "cannot store '" << Cp949ToUtf8Lossy(d.index.IndexName.str()) << "'\n";
      return false;
    }
  return true;
}

// Moves the staged index files over the directory's, and gives every kind an
// empty user file when it has none.
bool Install(const std::string& stage, const std::string& dir) {
  std::error_code ec;
  for (const DefinitionKind& k : kDefinitionKinds) {
    SetIndexDir(stage.c_str());
    fs::path from = getIndexDBFileName(k.type).str();
    SetIndexDir(dir.c_str());
    fs::path to = getIndexDBFileName(k.type).str();
    fs::rename(from, to, ec);
    std::string user = getUserDBFileName(k.type).str();
    if (ec || (!FileExist(user.c_str()) && !CreateIndexDB(k.type, user.c_str()))) {
      std::cerr << (ec ? to.string() : user) << ": cannot be written\n";
      return false;
    }
  }
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  Arguments args;
  if (!ParseArguments(argc, argv, args)) {
    std::cerr << "usage: chartcalc-build-definitions --index-dir DIR FILE...\n";
    return kStatusFailed;
  }
  std::vector<DefinitionText> defs;
  if (!ReadAll(args.files, defs) || !CheckUniqueNames(defs)) return kStatusFailed;
  std::error_code ec;
  fs::create_directories(args.indexDir, ec);
  std::string stage = (fs::path(args.indexDir) / (".build-" + std::to_string(getpid()))).string();
  fs::remove_all(stage, ec);
  fs::create_directories(stage, ec);
  bool ok = !ec && WriteStage(stage, defs) && Install(stage, args.indexDir);
  fs::remove_all(stage, ec);
  if (!ok) return kStatusFailed;
  std::cout << defs.size() << " definitions written to " << args.indexDir << "\n";
  return kStatusOk;
}
