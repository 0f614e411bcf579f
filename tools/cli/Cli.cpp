#include "Cli.h"

#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "chartcalc.h"

using namespace chartcalc::detail;

namespace {

struct Command {
  const char* name;
  int (*run)(const CliOptions&, std::ostream&, std::ostream&);
  const char* usage;
  const char* summary;
  const char* ownOptions = "";         // the subcommand's own --NAME VALUE options, blank-separated
  const char* ownFlags = "";           // the subcommand's own --NAME options without a value
  std::string (*details)() = nullptr;  // more help, printed after the summary by --help
};

const Command kCommands[] = {
    {"eval", RunEval, "chartcalc eval [--data FILE] [--lang en|ko] [--index-dir DIR] FORMULA",
     "Evaluates a formula over the price data and prints CSV: bar,datetime,value.\n"
     "      The user functions of the index directory may be called in it."},
    {"function", RunFunction, "chartcalc function list | add NAME FORMULA [PARAM...] | remove NAME [--index-dir DIR]",
     "Lists, adds or removes the user functions of the index directory.\n"
     "      list prints one function per line: NAME, FORMULA, then each PARAM, tab-separated."},
    {"indicator", RunIndicator,
     "chartcalc indicator list | show NAME | calc NAME [--var NAME=VALUE]... [--stream] [--legend] [--follow]\n"
     "      | check NAME | lookback NAME [--kind indicator|expression|pattern|system|function] [--index-dir DIR] "
     "[--data FILE]",
     "Lists the definitions of the index directory (of one kind with --kind), one per line:\n"
     "      NAME, KIND, DESCRIPTION, tab-separated; show prints one definition's variables,\n"
     "      formulas and line names. calc calculates a definition over the price data and prints\n"
     "      CSV: bar,datetime, then one column per line named by the line names; --var sets a\n"
     "      variable's value, --stream feeds the bars one at a time as live ticks do, --legend\n"
     "      prints each line's legend for the last bar as a # comment first, --follow reads the\n"
     "      price CSV from standard input as its lines arrive and prints each bar's row as soon as\n"
     "      the bar is added, or updated by a row with the same date-time (bad rows are reported\n"
     "      and skipped). check checks the variables and parentheses; lookback prints the bars\n"
     "      needed before the first value.",
     "kind var", "stream legend follow"},
    {"backtest", RunBacktest,
     "chartcalc backtest SYSTEM [--var NAME=VALUE]... [--settings FILE.ini] [--set KEY=VALUE]...\n"
     "      [--tick SIZE] [--csv] [--trades FILE] [--equity FILE]",
     "Back-tests a trading system of the index directory over the price data and prints its\n"
     "      summary (profit, trade counts, streaks, drawdown, averages, efficiency) for all trades\n"
     "      and per side. --settings reads the section SimulationConfigure of an INI file; --set\n"
     "      sets one setting by its INI key (or archive key for the archive-only ones), after\n"
     "      --settings: --set BlMoneyManagementStop=1 --set MoneyManagementStop=0.03. --tick is\n"
     "      the price step (default 0.01). --csv prints the summary as CSV; --trades and --equity\n"
     "      write the trade table and the equity curve (per side) as CSV files.",
     "var settings set tick trades equity", "csv"},
    {"optimise", RunOptimise,
     "chartcalc optimise SYSTEM --var NAME=START:END:STEP... | --systems A,B,C [--compress START:END:STEP]\n"
     "      [--settings FILE.ini] [--set KEY=VALUE]... [--tick SIZE] [--out DIR] [--jobs N] [--shard I/N]\n"
     "      [--shard-count N] [--max-runs N] [--top N] [--sort COLUMN]",
     "Optimises a trading system: back-tests every combination of variable values (or every\n"
     "      system of a list, at every compression factor) on a worker thread, writes each run's\n"
     "      report files and SumInfo.rpt to the report folder, and prints the best runs: run number,\n"
     "      IndicatorName, IndicatorVariable, TotalProfit, TransactionCount, WinRatio, ProfitFactor,\n"
     "      AverageProfit, InMarketRatio, tab-separated (--top N, default 10; --sort FIELD, default\n"
     "      TotalProfit). --out DIR (default: Rpt/ of the index directory) is emptied first. --jobs N\n"
     "      runs N workers; --shard I/N runs shard I of N (without it: SLURM_ARRAY_TASK_ID of\n"
     "      SLURM_ARRAY_TASK_COUNT, or JOB_COMPLETION_INDEX of --shard-count or CHARTCALC_SHARD_COUNT),\n"
     "      by default into Rpt/shard-I-of-N/; join shards with report merge. --max-runs N (default\n"
     "      1000000) bounds the grid. Ctrl-C stops after the runs in progress (exit status 130).",
     "var systems compress settings set tick out jobs shard shard-count max-runs top sort", ""},
    {"report", RunReport, "chartcalc report RUN --html DIR [--report-dir DIR] | report merge OUT SHARD_DIR...",
     "Writes the HTML pages of run RUN (the run of SummaryRUN.rpt and TradeListRUN.rpt) of the\n"
     "      report folder (default: the index directory's Rpt/) into DIR: summary.html and\n"
     "      trades.html with the plain heading, summary2.html and trades2.html with the framed one\n"
     "      (code page 949, as they declare), and equity.html (UTF-8): the equity curve with its\n"
     "      drawdown and one marker per trade. --lang sets the labels. report merge joins the\n"
     "      report folders of shards into one.",
     "html report-dir", ""},
    {"transform", RunTransform,
     "chartcalc transform TYPE [--p1 VALUE] [--p2 VALUE] [--reset] [--from BAR --to BAR] [--svg FILE]",
     "Computes a chart type from the closes (and volumes) and prints one CSV row per element:\n"
     "      n, then datetime and bar where the element has them, then its values (pnf, kagi,\n"
     "      swing, renko, linebreak: n,datetime,bar,start,end). The parameters as the calculation\n"
     "      leaves them go to standard error as one line. --reset lets the calculation choose them\n"
     "      from the data; --from and --to (vap only) limit the bars; --svg FILE draws the chart.",
     "p1 p2 from to svg", "reset", TransformTypesHelp},
};

const char kCommonHelp[] =
    "Options of every subcommand:\n"
    "  --data FILE    price CSV (default: the bundled sample daily data)\n"
    "  --lang en|ko   language of messages and localised formula words (default en)\n"
    "  --index-dir DIR  directory of the definition databases and user functions\n"
    "                 (default: the shipped definitions, in the build's or the installed\n"
    "                 share/chartcalc index directory)\n"
    "  --help         this text\n"
    "Exit status: 0 success, 1 unusable input (files, arguments), 2 formula or definition error.\n";

void PrintOverview(std::ostream& out) {
  out << "chartcalc: formulas, indicators and chart calculations on a CSV of prices.\n\nSubcommands:\n";
  for (const Command& c : kCommands) out << "  " << c.usage << "\n      " << c.summary << "\n";
  out << "\n" << kCommonHelp;
}

// True when name is one of the blank-separated names of ownOptions.
bool IsOwnOption(const char* ownOptions, const std::string& name) {
  std::string list = std::string(" ") + ownOptions + " ";
  return !name.empty() && list.find(" " + name + " ") != std::string::npos;
}

// Splits the common options and the subcommand's own options from its
// words. Returns false with a message for an unknown option or a missing value.
bool ParseOptions(const std::vector<std::string>& args, size_t from, const Command& c, CliOptions& o,
                  std::string& error) {
  for (size_t i = from; i < args.size(); ++i) {
    const std::string& a = args[i];
    auto value = [&](const char* name, std::string& into) {
      std::string flag = std::string("--") + name;
      if (a == flag) {
        if (i + 1 >= args.size()) return error = flag + " needs a value", false;
        into = args[++i];
        return true;
      }
      into = a.substr(flag.size() + 1);
      return true;
    };
    auto is = [&](const char* name) {
      std::string flag = std::string("--") + name;
      return a == flag || a.rfind(flag + "=", 0) == 0;
    };
    if (a == "--help" || a == "-h")
      o.help = true;
    else if (is("data")) {
      if (!value("data", o.data)) return false;
    } else if (is("lang")) {
      if (!value("lang", o.lang)) return false;
    } else if (is("index-dir")) {
      if (!value("index-dir", o.indexDir)) return false;
    } else if (a.size() > 2 && a[0] == '-' && a[1] == '-' && IsOwnOption(c.ownFlags, a.substr(2))) {
      o.flags.insert(a.substr(2));
    } else if (a.size() > 2 && a[0] == '-' && a[1] == '-' && IsOwnOption(c.ownOptions, a.substr(2, a.find('=') - 2))) {
      std::string name = a.substr(2, a.find('=') - 2);
      if (!value(name.c_str(), o.own[name])) return false;
      o.ownAll.emplace_back(name, o.own[name]);
    } else if (a == "--") {
      o.args.insert(o.args.end(), args.begin() + static_cast<long>(i) + 1, args.end());
      break;
    } else if (a.size() > 1 && a[0] == '-' && a[1] == '-')
      return error = "unknown option " + a, false;
    else
      o.args.push_back(a);
  }
  if (o.lang != "en" && o.lang != "ko") return error = "--lang must be en or ko", false;
  if (o.data.empty()) o.data = DefaultDataFile();
  if (o.indexDir.empty()) o.indexDir = DefaultIndexDir();
  return true;
}

}  // namespace

// The installed tool (PREFIX/bin/chartcalc) finds the sample data and the
// shipped definitions under PREFIX/share/chartcalc; the tool of a build tree
// uses the source's data and the build's index directory.
std::string InstalledShareDir() {
  std::error_code ec;
  const std::filesystem::path exe = std::filesystem::read_symlink("/proc/self/exe", ec);
  if (ec) return std::string();
  const std::filesystem::path share = exe.parent_path().parent_path() / CHARTCALC_INSTALL_SHARE_DIR;
  return std::filesystem::is_directory(share / "index", ec) ? share.string() : std::string();
}

std::string DefaultDataFile() {
  const std::string share = InstalledShareDir();
  return (share.empty() ? std::string(CHARTCALC_DATA_DIR) : share + "/data") + "/sample_daily.csv";
}

std::string DefaultIndexDir() {
  const std::string share = InstalledShareDir();
  return share.empty() ? std::string(CHARTCALC_INDEX_DIR) : share + "/index";
}

int RunChartcalc(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  if (args.empty() || args[0] == "--help" || args[0] == "-h" || args[0] == "help") {
    PrintOverview(args.empty() ? err : out);
    return args.empty() ? kExitBadInput : kExitOk;
  }
  for (const Command& c : kCommands) {
    if (args[0] != c.name) continue;
    CliOptions options;
    std::string error;
    if (!ParseOptions(args, 1, c, options, error)) {
      err << "error: " << error << "\nusage: " << c.usage << "\n";
      return kExitBadInput;
    }
    if (options.help) {
      out << "usage: " << c.usage << "\n" << c.summary << "\n" << (c.details ? c.details() : "") << "\n" << kCommonHelp;
      return kExitOk;
    }
    SetLangType(options.lang == "ko" ? kLangKorean : kLangEnglish);
    SetIndexDir(options.indexDir.c_str());
    return c.run(options, out, err);
  }
  err << "error: unknown subcommand '" << args[0] << "' (see chartcalc --help)\n";
  return kExitBadInput;
}

bool ParseNumber(const std::string& text, double& v) {
  char* end = nullptr;
  v = std::strtod(text.c_str(), &end);
  return !text.empty() && end != text.c_str() && *end == '\0' && std::isfinite(v);
}

bool ParseInteger(const std::string& text, long long& v) {
  char* end = nullptr;
  errno = 0;
  v = std::strtoll(text.c_str(), &end, 10);
  return !text.empty() && end != text.c_str() && *end == '\0' && errno == 0;
}

std::vector<std::string> Split(const std::string& text, char sep) {
  std::vector<std::string> parts(1);
  for (char c : text) {
    if (c == sep)
      parts.emplace_back();
    else
      parts.back().push_back(c);
  }
  return parts;
}
