// The chartcalc command-line tool: subcommands over the library.
#pragma once

#include <map>
#include <ostream>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "core/Cp949.h"
#include "core/TextTable.h"

// Exit statuses of every subcommand.
inline constexpr int kExitOk = 0;
inline constexpr int kExitBadInput = 1;  // files, arguments
inline constexpr int kExitFormula = 2;   // formula or definition error

// Options every subcommand takes, and the words left after them.
struct CliOptions {
  std::string data;      // price CSV
  std::string indexDir;  // definitions and user functions
  std::string lang = "en";
  bool help = false;
  std::map<std::string, std::string> own;  // the subcommand's own --NAME VALUE options (the last of each)
  std::vector<std::pair<std::string, std::string>> ownAll;  // every one of them, in order
  std::set<std::string> flags;                              // the subcommand's own --NAME options without a value
  std::vector<std::string> args;
};

// Option and field texts: a whole finite decimal, a whole integer (no
// overflow), the parts between separators (an empty text is one empty part).
bool ParseNumber(const std::string& text, double& v);
bool ParseInteger(const std::string& text, long long& v);
std::vector<std::string> Split(const std::string& text, char sep);

// Runs the tool on its arguments (without the program name).
int RunChartcalc(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);

// The bundled sample daily data.
std::string DefaultDataFile();
// The build's index directory, holding the shipped definitions (user
// databases are created there when first written).
std::string DefaultIndexDir();

// Subcommands.
int RunEval(const CliOptions& options, std::ostream& out, std::ostream& err);
int RunFunction(const CliOptions& options, std::ostream& out, std::ostream& err);
int RunIndicator(const CliOptions& options, std::ostream& out, std::ostream& err);
int RunBacktest(const CliOptions& options, std::ostream& out, std::ostream& err);
int RunOptimise(const CliOptions& options, std::ostream& out, std::ostream& err);
int RunReport(const CliOptions& options, std::ostream& out, std::ostream& err);
// `report merge OUT SHARD_DIR...` (options.args without the word merge).
int RunReportMerge(const CliOptions& options, std::ostream& out, std::ostream& err);
int RunTransform(const CliOptions& options, std::ostream& out, std::ostream& err);
// The chart types of transform with their parameters, for --help.
std::string TransformTypesHelp();
