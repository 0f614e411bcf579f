// chartcalc report: the pages of a run of a report folder made the way an
// optimiser run makes it, the equity page's curve and drawdown on a
// hand-worked run, and every way a folder or an output directory can be
// unusable.
#include <memory>

#include "CliTestUtil.h"
#include "EquityPage.h"
#include "NamedDefinition.h"

namespace fs = std::filesystem;

namespace {

std::string Tmp(const std::string& name) { return std::string(CHARTCALC_TEST_TMP) + "/report/" + name; }

std::string ReadText(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream s;
  s << in.rdbuf();
  return s.str();
}

const std::vector<std::string> kPages = {"summary.html", "trades.html", "summary2.html", "trades2.html", "equity.html"};

// A report folder holding run `run` of MACross over the sample, written as
// the optimiser writes a run (labels in English).
std::string BuildReportFolder(const std::string& name, int run) {
  const std::string dir = Tmp(name) + "/";
  fs::remove_all(dir);
  SetIndexDir(DefaultIndexDir().c_str());
  SetLangType(kLangEnglish);
  CliOptions named;
  named.args = {"report", "MACross"};
  std::ostringstream err;
  SIndex system;
  EXPECT_EQ(PrepareNamed(named, {kIndexSystem}, system, err), kExitOk) << err.str();
  SPriceData prices;
  std::string error;
  EXPECT_TRUE(ReadPriceCsv(DefaultDataFile(), prices, error)) << error;
  SFunctionList functions;
  functions.ReadFunction();
  auto sim = std::make_unique<SSimulation>();
  sim->SetSymbolName("sample");
  sim->SetTickSize(0.01);
  sim->SetIndex(system);
  sim->SumInfoFile = (dir + "SumInfo.rpt").c_str();
  sim->SummaryFile = (dir + "Summary" + std::to_string(run) + ".rpt").c_str();
  sim->TradeListFile = (dir + "TradeList" + std::to_string(run) + ".rpt").c_str();
  sim->CreateSummaryDB(sim->SumInfoFile);
  auto s = [&prices](int slot) { return &prices.GetSeries(slot); };
  sim->SetVariablePointer(s(kClose), s(kOpen), s(kHigh), s(kLow), s(kVolume), s(kDateTime), s(kOpenInterest),
                          s(kAmount), s(kSpread));
  sim->SetFunction(&functions);
  sim->SetVariableToIndex();
  sim->Index.Calc();
  sim->ProcessStop();
  sim->Index.PreProcess();
  sim->SetHistoryToZero();
  sim->SetHistory();
  sim->SummaryCount = 0;
  sim->SetSummary();
  sim->CreateIndividualSummaryDB(sim->SummaryFile);
  sim->InsertIndividualSummaryDB(sim->SummaryFile);
  sim->CreateTradingHistoryDB(sim->TradeListFile);
  sim->InsertTradingHistoryDB(sim->TradeListFile);
  EXPECT_GT(sim->Trades.GetCount(), 5);
  return dir;
}

// A copy of a run 3 folder made once: a run costs a back-test. Its
// summary-info record names the files of the first folder.
std::string MakeReportFolder(const std::string& name) {
  static const std::string pristine = BuildReportFolder("pristine", 3);
  const std::string dir = Tmp(name) + "/";
  fs::remove_all(dir);
  fs::copy(pristine, dir);
  return dir;
}

int Records(const std::string& path) {
  DB db(path.c_str(), 0);
  int n = 0;
  for (db.MoveFirst(1); !db.Eof(); db.MoveNext(1)) n += !db.Deleted();
  return n;
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

size_t Count(const std::string& text, const std::string& what) {
  size_t n = 0;
  for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) ++n;
  return n;
}

ToolRun Report(const std::string& folder, const std::string& out, const std::string& lang = "en",
               const std::string& run = "3") {
  return RunTool({"report", run, "--html", out, "--report-dir", folder, "--lang", lang});
}

TEST(ReportCommand, RunFoundWritesFiveBalancedPagesAndOneMarkerPerTrade) {
  const std::string folder = MakeReportFolder("found"), out = Tmp("found-pages");
  ToolRun r = Report(folder, out);
  ASSERT_EQ(r.status, 0) << r.err;
  for (const std::string& page : kPages) {
    const std::string html = ReadText(out + "/" + page);
    ASSERT_FALSE(html.empty()) << page;
    EXPECT_EQ(Unbalanced(html), "") << page;
    EXPECT_NE(r.out.find(page), std::string::npos) << r.out;
  }
  // Nothing else is left in the output directory (the staging is gone).
  EXPECT_EQ(std::distance(fs::directory_iterator(out), fs::directory_iterator()), 5);
  const std::string equity = ReadText(out + "/equity.html");
  EXPECT_EQ(Count(equity, "<svg"), 1u);
  EXPECT_EQ(Count(equity, "<circle class=\"trade"), static_cast<size_t>(Records(folder + "TradeList3.rpt")));
  EXPECT_NE(equity.find("MACross"), std::string::npos);
  EXPECT_NE(equity.find("sample"), std::string::npos);
  EXPECT_NE(ReadText(out + "/trades.html").find("charset=euc-kr"), std::string::npos);
}

// The summary-info record names the files where the run wrote them; a
// folder copied elsewhere must still be found by the files' own names.
TEST(ReportCommand, FolderMovedSinceTheRunStillReports) {
  const std::string moved = MakeReportFolder("moved");
  DB info((moved + "SumInfo.rpt").c_str(), 0);
  info.MoveFirst(1);
  ASSERT_EQ(std::string(info.GetStr("SumFileName")).rfind(moved, 0), std::string::npos);
  ToolRun r = Report(moved, Tmp("moved-pages"));
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_GT(Count(ReadText(Tmp("moved-pages/trades.html")), "<table"), 2u);
}

TEST(ReportCommand, KoreanPagesDifferFromEnglishOnlyInLabels) {
  const std::string folder = MakeReportFolder("lang");
  ASSERT_EQ(Report(folder, Tmp("lang-en"), "en").status, 0);
  ASSERT_EQ(Report(folder, Tmp("lang-ko"), "ko").status, 0);
  for (const std::string& page : kPages) {
    const std::string en = ReadText(Tmp("lang-en/") + page), ko = ReadText(Tmp("lang-ko/") + page);
    EXPECT_NE(en, ko) << page;
    auto tags = [](const std::string& html) {
      std::vector<std::string> t = Tags(html);
      t.erase(std::remove_if(t.begin(), t.end(), [](const std::string& s) { return TagName(s) == "html"; }), t.end());
      return t;
    };
    EXPECT_EQ(tags(en), tags(ko)) << page;
  }
  EXPECT_NE(ReadText(Tmp("lang-ko/equity.html")).find("자산 곡선"), std::string::npos);
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
  EXPECT_EQ(Count(html, "class=\"trade win\""), 2u);
  EXPECT_EQ(Count(html, "class=\"trade loss\""), 1u);
  EXPECT_EQ(Count(html, "class=\"trade open\""), 1u);
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
