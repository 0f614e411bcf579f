// The HTML pages of a run, written from hand-made report files.
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "SimTestUtil.h"
#include "chartcalc.h"
#include "core/Cp949.h"
#include "core/TextTable.h"

namespace fs = std::filesystem;

namespace {

const std::string kTradeClosing = "      </td>\n    </tr>\n  </table>\n</div>\n</body>\n</html>\n";
const std::string kSummaryClosing = "            </td>\n          </tr>\n        </table>\n" + kTradeClosing;
// The trade fields in page order: the entry line, then the exit line.
constexpr const char* kTradeFields[] = {"EntryType", "EntryDate",          "EntryTime",       "EntryPrice", "Runup",
                                        "EntryEff",  "TotalEff",           "ProfitLossRatio", "ProfitLoss", "ExitType",
                                        "ExitDate",  "ExitTime",           "ExitPrice",       "Drawdown",   "ExitEff",
                                        "Quantity",  "CumProfitLossRatio", "CumProfitLoss"};
using Row = std::vector<const char*>;  // GroupID, GroupName, SubGroupID, SubGroupName, Sequence, Name1 ... Value2

struct PageCase {
  void (SSimulation::*write)(SString, SString, SString);
  bool summary, framed;
} const kPages[] = {{&SSimulation::SaveSummaryToHTML, true, false},
                    {&SSimulation::SaveSummaryToHTML2, true, true},
                    {&SSimulation::SaveTradeHistoryToHTML, false, false},
                    {&SSimulation::SaveTradeHistoryToHTML2, false, true}};

// One run's report files in a fresh folder; field F of trade k reads F + k.
struct ReportRun {
  std::string dir = std::string(CHARTCALC_TEST_TMP) + "/html." +
                    testing::UnitTest::GetInstance()->current_test_info()->name(),
              info = dir + "/SumInfo.rpt", summary = dir + "/Summary0.rpt", trades = dir + "/TradeList0.rpt";
  explicit ReportRun(const std::vector<Row>& rows, int tradeCount = 1) {
    fs::remove_all(dir);
    SSimulation sim;
    SSummaryInfo record;
    record.SumFileName = summary, record.TradeListFileName = trades, record.SymbolName = "Sym<1>";
    record.Term = "2024.01.02 ~ 2024.03.04", record.Slippage = "1 Won";
    sim.CreateSummaryDB(info), sim.InsertSummaryDB(info, record);
    sim.CreateIndividualSummaryDB(summary), sim.CreateTradingHistoryDB(trades);
    DB rowDb(summary.c_str(), 0), tradeDb(trades.c_str(), 0);
    rowDb.MoveFirst(1), tradeDb.MoveFirst(1);
    for (const Row& r : rows) {
      rowDb.Append("");
      for (size_t i = 0; i < r.size(); ++i) rowDb.InsField(rowDb.GetField(int(i))->name, r[i]);
      rowDb.WriteRecord();
    }
    for (int k = 0; k < tradeCount; ++k) {
      tradeDb.Append("");
      for (const char* f : kTradeFields) tradeDb.InsField(f, f + std::to_string(k));
      tradeDb.WriteRecord();
    }
  }
  // The page ("absent" when none was written).
  std::string Page(const PageCase& c, int lang = 1, std::string runFile = "", std::string out = "") const {
    SetLangType(lang);
    out = out.empty() ? dir + "/page.html" : out;
    SSimulation sim;
    (sim.*c.write)(info, runFile.empty() ? (c.summary ? summary : trades) : runFile, out);
    SetLangType(1);
    return fs::is_regular_file(out) ? simtest::ReadBytes(out) : "absent";
  }
};

int Count(const std::string& s, const std::string& what) { return static_cast<int>(simtest::Occurrences(s, what)); }

// The page without the text between its tags.
std::string Skeleton(const std::string& page) {
  std::string out;
  for (size_t open = page.find('<'); open != std::string::npos; open = page.find('<', open + 1))
    out += page.substr(open, page.find('>', open) + 1 - open);
  return out;
}

// Opening tag and text of every cell that holds no table, in page order.
std::vector<std::pair<std::string, std::string>> Cells(const std::string& page) {
  std::vector<std::pair<std::string, std::string>> cells;
  for (size_t p = page.find("<td"); p != std::string::npos; p = page.find("<td", p + 1)) {
    size_t open = page.find('>', p), close = page.find("</td>", open);
    std::string text = page.substr(open + 1, close - open - 1);
    if (text.find("<table") == std::string::npos) cells.emplace_back(page.substr(p, open + 1 - p), text);
  }
  return cells;
}

const std::vector<Row> kTwoGroups = {{"0", "All", "0", "PL", "0", "Total  profit&loss", "5", "Profit Factor", "2"},
                                     {"0", "All", "0", "PL", "1", "Total profit", "9", "Total loss", "-4"},
                                     {"0", "All", "4", "Eff", "2", "n<1", "v&1", "", ""},
                                     {"1", "Long", "4", "Eff", "3", "a", "1", "b", "2"}};

TEST(HtmlPages, UnknownRunMissingInfoOrBadTargetWritesNothing) {
  ReportRun run(kTwoGroups);
  for (const PageCase& c : kPages) {
    std::ofstream(run.dir + "/old.html") << "keep";
    EXPECT_EQ(run.Page(c, 1, run.dir + "/Other.rpt", run.dir + "/old.html"), "keep");
    EXPECT_EQ(run.Page(c, 1, run.dir + "/Other.rpt", run.dir + "/new/p.html"), "absent");
    run.Page(c, 1, "", run.dir);                                                 // a folder is never replaced
    fs::copy_file(run.summary, run.info, fs::copy_options::overwrite_existing);  // a foreign table
    EXPECT_EQ(run.Page(c), "absent");
    EXPECT_FALSE(fs::exists(run.dir + "/new"));
    EXPECT_EQ(std::distance(fs::directory_iterator(run.dir), {}), 4) << "no temporary file left";
    run = ReportRun(kTwoGroups);
  }
}

// Both languages of every page, with and without summary rows.
TEST(HtmlPages, PagesBalanceTheirTablesEndWithTheirClosingAndDifferByLanguageOnlyInLabels) {
  const std::string framedHeading =
      "<b>&lt;&lt;&lt;&lt;&lt;&lt;&lt; System Trade Strategy Report&gt;&gt;&gt;&gt;&gt;&gt;&gt;<";
  for (int rows : {4, 0}) {
    ReportRun run(std::vector<Row>(kTwoGroups.begin(), kTwoGroups.begin() + rows), 2);
    for (const PageCase& c : kPages) {
      const std::string page = run.Page(c), korean = run.Page(c, 0), end = c.summary ? kSummaryClosing : kTradeClosing;
      ASSERT_GT(page.size(), end.size());
      EXPECT_EQ(page.substr(page.size() - end.size()), end);
      for (std::string tag : {"table", "tr", "td"})
        EXPECT_EQ(Count(page, "<" + tag + " ") + Count(page, "<" + tag + ">"), Count(page, "</" + tag + ">")) << tag;
      EXPECT_EQ(Count(page, framedHeading) * 2 + Count(page, "<b>System Trade Strategy Report</b>"), c.framed ? 2 : 1);
      for (const char* mark : {"width=640", "#8CA9FF", "width=500", "#CCCCCC", c.summary ? "#3D72D3" : "#333399"})
        EXPECT_GT(Count(page, mark), 0) << mark;
      EXPECT_EQ(Skeleton(korean), Skeleton(page));
      const auto en = Cells(page), ko = Cells(korean);
      int differing = 0;
      for (size_t i = 0; i < en.size(); ++i) differing += en[i].second != ko[i].second;
      // The heading, the run header's labels, the trade labels but Runup and Drawdown (the same in both).
      EXPECT_EQ(differing, 1 + 6 + (c.summary ? 0 : 16));
      std::string utf8;
      ASSERT_TRUE(chartcalc::detail::Cp949ToUtf8(korean, utf8));
      const std::string meta = "</title>\n<meta http-equiv=Content-Type content=text/html; charset=euc-kr>";
      // The title is the three labels run together, in the page's language.
      using chartcalc::detail::GetText;
      const std::string title = std::string("<title>SystemTrade") + GetText(chartcalc::detail::TxSimDetails, 1);
      EXPECT_EQ(Count(page, title + meta) + Count(utf8, "<title>시스템거래내역" + meta), 2);
    }
  }
}

TEST(HtmlPages, SummaryStartsBoxesAndSubGroupsOnEveryIdChange) {
  ReportRun run(kTwoGroups);
  const std::string page = run.Page(kPages[0]), framed = run.Page(kPages[1]);
  EXPECT_EQ(Count(page, "width=634"), 2);
  EXPECT_EQ(Count(page, "width=600"), 3) << "the same sub-group id in a new box starts a new table";
  EXPECT_EQ(Count(page, "<td height=30 bgcolor=#D1E2F8>&nbsp;&nbsp;&nbsp;\xA2\xCB" + std::string("All \xA2\xCB<")), 1);
  EXPECT_EQ(Count(page, ">\xA2\xC6 Eff</td>"), 2);
  EXPECT_EQ(Count(page, ">Total  profit&loss</td>"), 1) << "'&' kept as stored";
  EXPECT_EQ(Count(page, ">n&lt;1</td>\n                  <td width=100>v&1</td>"), 1);
  EXPECT_EQ(Count(framed, ">Total profit:</td>") + Count(framed, ">Total loss :</td>"), 2);
  const std::string dash = ReportRun({{"-1", "X", "-1", "Y", "0", "a", "1", "b", "2"}}).Page(kPages[0]);
  EXPECT_LT(dash.find("width=634"), dash.find("width=600")) << "ids equal to the first comparison's still get a box";
}

TEST(HtmlPages, RunHeaderAndTradeRowsPlaceEachFieldUnderItsLabel) {
  std::string expected =  // the run header's cells, then the trade tables'
      "Symbol|Sym&lt;1>||EnteranceCommission||Index|||CloseCommission||Period|2024.01.02 ~ 2024.03.04||"
      "Order variation|1 Won|Enterance Type|Enterance date|Enterance time|EnterancePrice|Runup|"
      "EnteranceEffi]ciency|TotalEffi]ciency|Earning Rate|ProfitAmount|Close division|Close date|CloseTime|"
      "ClosePrice|Drawdown|CloseEffi]ciency|Quantity|Accumulated Profit Ratio|Accumulated Profit And Loss Amount|";
  for (int k = 0; k < 2; ++k)
    for (const char* f : kTradeFields) expected += f + std::to_string(k) + "|";
  const int widths[] = {60, 60, 60, 68, 68, 68, 68, 80, 80};
  std::string texts;
  int i = 0;
  for (const auto& [tag, text] : Cells(ReportRun({}, 2).Page(kPages[2]))) {
    if (tag.rfind("<td width=", 0) != 0) continue;  // the frame's cells
    texts += text + "|";
    if (i++ < 15) continue;  // the run header's
    const int col = (i - 16) % 9;
    const bool right = i > 15 + 18 && col > 0;  // trade cells after the first of a line
    EXPECT_EQ(tag, "<td width=" + std::to_string(widths[col]) + (right ? " align=right>" : ">")) << i;
  }
  EXPECT_EQ(texts, expected);
  EXPECT_EQ(Count(ReportRun({}, 0).Page(kPages[3]), "<tr"), 5 + 3 + 2) << "frame, run header and label rows only";
}

TEST(HtmlPages, TenThousandTradesStreamInLinearTime) {
  ReportRun run({}, 10000);
  const auto start = std::chrono::steady_clock::now();
  const std::string page = run.Page(kPages[2]);
  EXPECT_LT(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count(), 2.0);
  EXPECT_EQ(Count(page, "<tr bgcolor=#FFFFFF>"), 20000);
  EXPECT_EQ(page.substr(page.size() - kTradeClosing.size()), kTradeClosing);
}

}  // namespace
