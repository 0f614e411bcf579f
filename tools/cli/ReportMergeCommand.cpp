// chartcalc report merge OUT SHARD_DIR...: joins the report folders of the
// shards of one optimisation into OUT, as if one process had run them all
// (see chartcalc::MergeReportDirs).
#include "Cli.h"
#include "chartcalc.h"

int RunReportMerge(const CliOptions& options, std::ostream&, std::ostream& err) {
  const std::vector<std::string>& args = options.args;
  if (args.size() < 2) {
    err << "error: report merge takes OUT and one or more SHARD_DIR\n";
    return kExitBadInput;
  }
  std::vector<SString> shards;
  for (size_t i = 1; i < args.size(); ++i) shards.emplace_back(args[i].c_str());
  SString error;
  if (!chartcalc::MergeReportDirs(SString(args[0].c_str()), shards, error)) {
    err << "error: " << chartcalc::detail::Cp949ToUtf8Lossy(error.c_str()) << "\n";
    return kExitBadInput;
  }
  err << "merged " << shards.size() << " folders into " << args[0] << "\n";
  return kExitOk;
}
