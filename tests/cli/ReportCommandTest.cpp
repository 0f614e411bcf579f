// chartcalc report: the pages of a run of a report folder made the way an
// optimiser run makes it, the equity page's curve and drawdown on a
// hand-worked run, and every way a folder or an output directory can be
// unusable.
#include <unistd.h>

#include "CliTestUtil.h"
#include "EquityPage.h"

namespace fs = std::filesystem;

namespace {

std::string Tmp(const std::string& name) { return std::string(CHARTCALC_TEST_TMP) + "/report/" + name; }

const std::vector<std::string> kPages = {"summary.html", "trades.html", "summary2.html", "trades2.html", "equity.html"};

// A copy of run 3 of a MACross optimisation over the sample, run once per
// test process (tests run in parallel processes). Its summary-info record
// names the files of the folder the optimiser wrote.
std::string MakeReportFolder(const std::string& name) {
  struct Pristine {
    std::string dir = Tmp("pristine-" + std::to_string(getpid())) + "/";
    Pristine() {
      fs::remove_all(dir);
      ToolRun r = RunTool({"optimise", "MACross", "--var", "short=3:6:1", "--top", "0", "--out", dir});
      EXPECT_EQ(r.status, 0) << r.err;
      EXPECT_GT(simtest::TableRecords(dir + "TradeList3.rpt").size(), 5u);
    }
    ~Pristine() { fs::remove_all(dir); }
  };
  static const Pristine pristine;
  const std::string dir = Tmp(name) + "/";
  fs::remove_all(dir);
  fs::copy(pristine.dir, dir);
  return dir;
}

// The tags of a page in order, without comments and the doctype.
std::vector<std::string> Tags(const std::string& html) {
  std::vector<std::string> tags;
  for (size_t at = html.find('<'); at != std::string::npos; at = html.find('<', at + 1)) {
    const size_t end = html.find('>', at);
    if (end == std::string::npos) break;
    if (html[at + 1] != '!') tags.push_back(html.substr(at, end - at + 1));
  }
  return tags;
}

std::string TagName(const std::string& tag) {
  std::string name;
  for (size_t i = tag[1] == '/' ? 2 : 1; i < tag.size() && std::isalnum(static_cast<unsigned char>(tag[i])); ++i)
    name += static_cast<char>(std::tolower(static_cast<unsigned char>(tag[i])));
  return name;
}

// "" when every element is closed in order, else the first misfit.
std::string Unbalanced(const std::string& html) {
  static const std::set<std::string> kVoid = {"meta", "br", "hr", "img", "input", "link", "col"};
  std::vector<std::string> open;
  for (const std::string& tag : Tags(html)) {
    const std::string name = TagName(tag);
    if (kVoid.count(name) || tag.rfind("/>") == tag.size() - 2) continue;
    if (tag[1] != '/')
      open.push_back(name);
    else if (open.empty() || open.back() != name)
      return tag + " closes " + (open.empty() ? "nothing" : open.back());
    else
      open.pop_back();
  }
  return open.empty() ? "" : "<" + open.back() + "> left open";
}

using simtest::Occurrences;

ToolRun Report(const std::string& folder, const std::string& out, const std::string& lang = "en",
               const std::string& run = "3") {
  return RunTool({"report", run, "--html", out, "--report-dir", folder, "--lang", lang});
}

// The folder is a copy: its summary-info record names the files where the
// run wrote them, and the run must be found by the files' own names. Korean
// pages differ from English ones in their labels only.
TEST(ReportCommand, RunOfAMovedFolderWritesFiveBalancedPagesInEitherLanguage) {
  const std::string folder = MakeReportFolder("found"), out = Tmp("found-pages"), ko = Tmp("found-ko");
  DB info((folder + "SumInfo.rpt").c_str(), 0);
  info.MoveFirst(1);
  ASSERT_EQ(std::string(info.GetStr("SumFileName")).rfind(folder, 0), std::string::npos);
  ToolRun r = Report(folder, out);
  ASSERT_EQ(r.status, 0) << r.err;
  ASSERT_EQ(Report(folder, ko, "ko").status, 0);
  auto tags = [](const std::string& html) {
    std::vector<std::string> t = Tags(html);
    t.erase(std::remove_if(t.begin(), t.end(), [](const std::string& s) { return TagName(s) == "html"; }), t.end());
    return t;
  };
  for (const std::string& page : kPages) {
    const std::string html = simtest::ReadBytes(out + "/" + page), korean = simtest::ReadBytes(ko + "/" + page);
    ASSERT_FALSE(html.empty()) << page;
    EXPECT_EQ(Unbalanced(html), "") << page;
    EXPECT_NE(r.out.find(page), std::string::npos) << r.out;
    EXPECT_NE(html, korean) << page;
    EXPECT_EQ(tags(html), tags(korean)) << page;
  }
  // Nothing else is left in the output directory (the staging is gone).
  EXPECT_EQ(std::distance(fs::directory_iterator(out), fs::directory_iterator()), 5);
  const std::string equity = simtest::ReadBytes(out + "/equity.html");
  EXPECT_EQ(Occurrences(equity, "<svg"), 1u);
  EXPECT_EQ(Occurrences(equity, "<circle class=\"trade"), simtest::TableRecords(folder + "TradeList3.rpt").size());
  EXPECT_NE(equity.find("MACross"), std::string::npos);
  EXPECT_NE(equity.find("sample"), std::string::npos);
  EXPECT_NE(simtest::ReadBytes(out + "/trades.html").find("charset=euc-kr"), std::string::npos);
  EXPECT_NE(simtest::ReadBytes(ko + "/equity.html").find("자산 곡선"), std::string::npos);
}

TEST(ReportCommand, MissingRunOrBadArgumentsExitOneAndWriteNothing) {
  const std::string folder = MakeReportFolder("missing"), out = Tmp("missing-pages");
  const std::string noRecord = MakeReportFolder("no-record");
  SSimulation().CreateSummaryDB((noRecord + "SumInfo.rpt").c_str());
  fs::remove_all(out);
  // clang-format off
  const std::vector<ToolCase> cases = {
      {{"report", "4", "--html", out, "--report-dir", folder}, 1, "", "run 4 not found: no Summary4.rpt"},
      {{"report", "3", "--html", out, "--report-dir", noRecord}, 1, "", "no record for Summary3.rpt"},
      {{"report", "3", "--html", out, "--report-dir", Tmp("nowhere")}, 1, "", "no report folder"},
      {{"report", "3", "--html", out, "--report-dir", Tmp("")}, 1, "", "no SumInfo.rpt"},
      {{"report", "x3", "--html", out, "--report-dir", folder}, 1, "", "one RUN number"},
      {{"report", "3", "4", "--html", out, "--report-dir", folder}, 1, "", "one RUN number"},
      {{"report", "3", "--report-dir", folder}, 1, "", "needs --html"},
  };
  // clang-format on
  ExpectRuns(cases);
  EXPECT_FALSE(fs::exists(out));
}

// Writes bytes over a file of the folder.
void Spoil(const std::string& path, const std::string& bytes) { std::ofstream(path, std::ios::binary) << bytes; }

TEST(ReportCommand, DamagedFolderOrUnwritableOutputIsAClearError) {
  struct Case {
    const char* name;
    std::function<void(const std::string& folder)> damage;
    const char* message;
  };
  const std::vector<Case> cases = {
      {"suminfo-garbage", [](const std::string& f) { Spoil(f + "SumInfo.rpt", "\x01\x02garbage"); }, "damaged"},
      {"suminfo-truncated",
       [](const std::string& f) { fs::resize_file(f + "SumInfo.rpt", fs::file_size(f + "SumInfo.rpt") / 2); },
       "damaged"},
      {"tradelist-garbage", [](const std::string& f) { Spoil(f + "TradeList3.rpt", "SQLite format 3"); }, "damaged"},
      {"summary-foreign",
       [](const std::string& f) {
         fs::copy_file(f + "TradeList3.rpt", f + "Summary3.rpt", fs::copy_options::overwrite_existing);
       },
       "no field GroupID"},
      {"trade-without-date",
       [](const std::string& f) {
         DB db((f + "TradeList3.rpt").c_str(), 0);
         db.MoveFirst(1);
         db.InsField("EntryDate", "2019-13-45");
         db.WriteRecord();
       },
       "trade 1 of"},
  };
  for (const Case& c : cases) {
    const std::string folder = MakeReportFolder(c.name), out = Tmp(std::string(c.name) + "-pages");
    fs::remove_all(out);
    c.damage(folder);
    ToolRun r = Report(folder, out);
    EXPECT_EQ(r.status, 1) << c.name;
    EXPECT_NE(r.err.find(c.message), std::string::npos) << c.name << ": " << r.err;
    EXPECT_TRUE(!fs::exists(out) || fs::is_empty(out)) << c.name;
  }
  const std::string folder = MakeReportFolder("unwritable");
  for (const std::string& out : {std::string("/proc/no/such/dir"), folder + "SumInfo.rpt"}) {
    ToolRun r = Report(folder, out);
    EXPECT_EQ(r.status, 1) << out;
    EXPECT_NE(r.err.find("cannot write"), std::string::npos) << r.err;
  }
}

// ---- the equity page on a hand-worked run ------------------------------------------

EquityTrade Trade(const char* entry, const char* exit, double pl, double cum) {
  EquityTrade t;
  EXPECT_TRUE(ParseTradeDay(entry, "", t.entry));
  t.open = !ParseTradeDay(exit, "", t.exit);
  t.profitLoss = pl;
  t.cumProfitLoss = cum;
  return t;
}

// The drawdown is measured from the running peak, which starts at the
// zero of no trades: after +100, -60, +120, -30 the deepest fall is 60
// (from 100 to 40), not 30 and not the 130 of the last trade.
TEST(EquityPage, DrawdownFromTheRunningPeakNotFromTheEnd) {
  EquityRun run;
  run.run = 7;
  run.system = "Sys<1>";
  run.symbol = "ABC";
  run.term = "2020.01.01 ~ 2020.12.31";
  run.trades = {Trade("20200105", "20200201", 100, 100), Trade("20200210", "20200301", -60, 40),
                Trade("20200310", "20200601", 120, 160), Trade("20200610", "00000000", -30, 130)};
  run.trades.back().exit = 18627;  // 2020-12-31, where an open trade ends
  SetLangType(kLangEnglish);
  const std::string html = EquityPageHtml(run);
  EXPECT_NE(html.find("<td>-60</td>"), std::string::npos) << html;
  EXPECT_NE(html.find("<td>130</td>"), std::string::npos);
  EXPECT_NE(html.find("Sys&lt;1&gt; \xC2\xB7 ABC \xC2\xB7 run 7"), std::string::npos);
  EXPECT_EQ(Occurrences(html, "class=\"trade win\""), 2u);
  EXPECT_EQ(Occurrences(html, "class=\"trade loss\""), 1u);
  EXPECT_EQ(Occurrences(html, "class=\"trade open\""), 1u);
  EXPECT_EQ(Unbalanced(html), "");
  run.trades.clear();
  EXPECT_NE(EquityPageHtml(run).find("No trades"), std::string::npos);
}

TEST(EquityPage, TradeDaysRejectWhatIsNoCalendarDate) {
  // clang-format off
  const std::vector<std::tuple<std::string, std::string, bool, double>> cases = {
      {"19700101", "", true, 0},         {"19700102", "12:00", true, 1.5}, {"20000229", "", true, 11016},
      {"19000229", "", false, 0},        {"00000000", "", false, 0},       {"2020011", "", false, 0},
      {"20200101", "24:00", false, 0},   {"20200101", "9:30", false, 0},   {"2020-1-1", "", false, 0},
  };
  // clang-format on
  for (const auto& [date, time, ok, day] : cases) {
    double d = -1;
    EXPECT_EQ(ParseTradeDay(date, time, d), ok) << date << " " << time;
    if (ok) {
      EXPECT_DOUBLE_EQ(d, day) << date;
    }
  }
  double end = 0;
  EXPECT_TRUE(TermEndDay("2019.01.02 ~ 2020.12.31", end));
  EXPECT_EQ(end, 18627);
  EXPECT_FALSE(TermEndDay("2019.01.02", end));
}

}  // namespace
