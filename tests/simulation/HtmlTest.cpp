// The HTML pages of a run, written from hand-made report files.
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "chartcalc.h"
#include "core/Cp949.h"

namespace fs = std::filesystem;

namespace {

constexpr const char* kSummaryClosing =
    "            </td>\n          </tr>\n        </table>\n      </td>\n    </tr>\n  "
    "</table>\n</div>\n</body>\n</html>\n";
constexpr const char* kTradeClosing = "      </td>\n    </tr>\n  </table>\n</div>\n</body>\n</html>\n";
constexpr const char* kTradeFields[] = {"EntryType", "EntryDate",          "EntryTime",       "EntryPrice", "Runup",
                                        "EntryEff",  "TotalEff",           "ProfitLossRatio", "ProfitLoss", "ExitType",
                                        "ExitDate",  "ExitTime",           "ExitPrice",       "Drawdown",   "ExitEff",
                                        "Quantity",  "CumProfitLossRatio", "CumProfitLoss"};
using Row = std::vector<const char*>;  // GroupID ... Value2, the file's order
constexpr const char* kRowFields[] = {"GroupID", "GroupName", "SubGroupID", "SubGroupName", "Sequence",
                                      "Name1",   "Value1",    "Name2",      "Value2"};

using Writer = void (SSimulation::*)(SString, SString, SString);
struct PageCase {
  Writer write;
  bool summary, framed;
};
const PageCase kPages[] = {{&SSimulation::SaveSummaryToHTML, true, false},
                           {&SSimulation::SaveSummaryToHTML2, true, true},
                           {&SSimulation::SaveTradeHistoryToHTML, false, false},
                           {&SSimulation::SaveTradeHistoryToHTML2, false, true}};

// One run's report files in a fresh folder of the test's own.
struct ReportRun {
  std::string dir, info, summary, trades;
  explicit ReportRun(const std::vector<Row>& rows, int tradeCount = 1) {
    dir = std::string(CHARTCALC_TEST_TMP) + "/html." + testing::UnitTest::GetInstance()->current_test_info()->name();
    fs::remove_all(dir);
    info = dir + "/SumInfo.rpt", summary = dir + "/Summary0.rpt", trades = dir + "/TradeList0.rpt";
    SSimulation sim;
    SSummaryInfo record;
    record.SumFileName = summary, record.TradeListFileName = trades, record.SymbolName = "Sym<1>";
    record.IndicatorName = "Ind", record.Term = "2024.01.02 ~ 2024.03.04";
    record.EntryCommission = "0.10%", record.ExitCommission = "0.20%", record.Slippage = "1 Won";
    sim.CreateSummaryDB(info), sim.InsertSummaryDB(info, record);
    sim.CreateIndividualSummaryDB(summary), sim.CreateTradingHistoryDB(trades);
    Append(summary, kRowFields, rows);
    std::vector<std::string> values(std::size(kTradeFields));
    DB db(trades.c_str(), 0);
    db.MoveFirst(1);
    for (int k = 0; k < tradeCount; ++k) {  // field F of trade k reads "F" + k
      db.Append("");
      for (const char* f : kTradeFields) db.InsField(f, std::string(f) + std::to_string(k));
      db.WriteRecord();
    }
  }
  static void Append(const std::string& path, const char* const* fields, const std::vector<Row>& rows) {
    DB db(path.c_str(), 0);
    db.MoveFirst(1);
    for (const Row& r : rows) {
      db.Append("");
      for (size_t i = 0; i < r.size(); ++i) db.InsField(fields[i], r[i]);
      db.WriteRecord();
    }
  }
  // The page, or "absent" when none was written.
  std::string Page(const PageCase& c, int lang = 1, std::string runFile = "", std::string out = "") const {
    SetLangType(lang);
    out = out.empty() ? dir + "/page.html" : out;
    SSimulation sim;
    (sim.*c.write)(info, runFile.empty() ? (c.summary ? summary : trades) : runFile, out);
    SetLangType(1);
    std::ifstream in(out, std::ios::binary);
    std::stringstream s;
    s << in.rdbuf();
    return in ? s.str() : "absent";
  }
};

int Count(const std::string& s, const std::string& what) {
  int n = 0;
  for (size_t p = s.find(what); p != std::string::npos; p = s.find(what, p + 1)) ++n;
  return n;
}

// The page without the text between its tags.
std::string Skeleton(const std::string& page) {
  std::string out;
  bool inTag = false;
  for (char c : page) {
    inTag = c == '<' || (inTag && c != '>');
    if (inTag || c == '>') out += c;
  }
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

TEST(HtmlPages, UnknownRunOrMissingInfoWritesNothingAndKeepsTheOldPage) {
  ReportRun run(kTwoGroups);
  const std::string old = run.dir + "/old.html";
  for (const PageCase& c : kPages) {
    std::ofstream(old) << "keep";
    EXPECT_EQ(run.Page(c, 1, run.dir + "/Other.rpt", old), "keep");
    EXPECT_EQ(run.Page(c, 1, run.dir + "/Other.rpt", run.dir + "/nothing/new.html"), "absent");
    fs::remove(run.info);
    EXPECT_EQ(run.Page(c), "absent");
    fs::copy_file(run.summary, run.info);  // a foreign table
    EXPECT_EQ(run.Page(c), "absent");
    run = ReportRun(kTwoGroups);
  }
  EXPECT_EQ(fs::remove_all(run.dir + "/nothing"), 0u) << "no folder made for a page not written";
}

TEST(HtmlPages, EveryPageBalancesItsTablesAndEndsWithItsClosingText) {
  for (int groups : {4, 0}) {
    ReportRun run(std::vector<Row>(kTwoGroups.begin(), kTwoGroups.begin() + groups), 3);
    for (const PageCase& c : kPages) {
      const std::string page = run.Page(c);
      const std::string closing = c.summary ? kSummaryClosing : kTradeClosing;
      ASSERT_GT(page.size(), closing.size());
      EXPECT_EQ(page.substr(page.size() - closing.size()), closing);
      for (const char* tag : {"table", "tr", "td"})
        EXPECT_EQ(Count(page, std::string("<") + tag + " ") + Count(page, std::string("<") + tag + ">"),
                  Count(page, std::string("</") + tag + ">"))
            << tag;
      EXPECT_EQ(Count(page, "charset=euc-kr>"), 1);
      EXPECT_EQ(
          Count(page, "<b>&lt;&lt;&lt;&lt;&lt;&lt;&lt; System Trade Strategy Report&gt;&gt;&gt;&gt;&gt;&gt;&gt;</b>"),
          c.framed ? 1 : 0);
      EXPECT_EQ(Count(page, "<b>System Trade Strategy Report</b>"), c.framed ? 0 : 1);
      for (const char* mark : {"width=640", "#8CA9FF", "width=500", "#CCCCCC"}) EXPECT_GT(Count(page, mark), 0);
      EXPECT_EQ(Count(page, "#3D72D3") > 0, c.summary);
      EXPECT_EQ(Count(page, "#333399") > 0, !c.summary);
    }
  }
  for (const auto& dirEntry : fs::directory_iterator(std::string(CHARTCALC_TEST_TMP) +
                                                     "/html.EveryPageBalancesItsTablesAndEndsWithItsClosingText"))
    EXPECT_EQ(dirEntry.path().string().find(".tmp"), std::string::npos) << "temporary file left behind";
}

TEST(HtmlPages, SummaryStartsBoxesAndSubGroupsOnEveryIdChange) {
  ReportRun run(kTwoGroups);
  const std::string page = run.Page(kPages[0]), framed = run.Page(kPages[1]);
  EXPECT_EQ(Count(page, "width=634"), 2);
  EXPECT_EQ(Count(page, "width=600"), 3) << "the same sub-group id in a new box starts a new table";
  EXPECT_EQ(Count(page,
                  "<td height=30 bgcolor=#D1E2F8>&nbsp;&nbsp;&nbsp;\xA2\xCB"
                  "All \xA2\xCB</td>"),
            1);
  EXPECT_EQ(Count(page, "\xA2\xC6 Eff</td>"), 2);
  EXPECT_NE(page.find("<td width=150>Total  profit&loss</td>\n"), std::string::npos) << "'&' kept";
  EXPECT_NE(page.find("<td width=150>n&lt;1</td>\n                  <td width=100>v&1</td>"), std::string::npos);
  EXPECT_NE(framed.find("<td width=150>Total profit:</td>"), std::string::npos);
  EXPECT_NE(framed.find("<td width=150>Total loss :</td>"), std::string::npos);
  ReportRun dashFirst({{"-1", "X", "-1", "Y", "0", "a", "1", "b", "2"}});
  EXPECT_EQ(Count(dashFirst.Page(kPages[0]), "width=634"), 1) << "a row outside any box";
}

TEST(HtmlPages, RunHeaderAndTradeRowsPlaceEachFieldUnderItsLabel) {
  ReportRun run({}, 2);
  std::vector<std::string> expected = {"Symbol",
                                       "Sym&lt;1>",
                                       "",
                                       "EnteranceCommission",
                                       "0.10%",
                                       "Index",
                                       "Ind",
                                       "",
                                       "CloseCommission",
                                       "0.20%",
                                       "Period",
                                       "2024.01.02 ~ 2024.03.04",
                                       "",
                                       "Order variation",
                                       "1 Won",
                                       "Enterance Type",
                                       "Enterance date",
                                       "Enterance time",
                                       "EnterancePrice",
                                       "Runup",
                                       "EnteranceEffi]ciency",
                                       "TotalEffi]ciency",
                                       "Earning Rate",
                                       "ProfitAmount",
                                       "Close division",
                                       "Close date",
                                       "CloseTime",
                                       "ClosePrice",
                                       "Drawdown",
                                       "CloseEffi]ciency",
                                       "Quantity",
                                       "Accumulated Profit Ratio",
                                       "Accumulated Profit And Loss Amount"};
  for (int k = 0; k < 2; ++k)
    for (const char* f : kTradeFields) expected.push_back(f + std::to_string(k));
  std::vector<std::pair<std::string, std::string>> cells;  // the run header's and the trade tables'
  for (const auto& cell : Cells(run.Page(kPages[2])))
    if (cell.first.rfind("<td width=", 0) == 0) cells.push_back(cell);
  ASSERT_EQ(cells.size(), expected.size());
  const int widths[] = {60, 60, 60, 68, 68, 68, 68, 80, 80};
  for (size_t i = 0; i < cells.size(); ++i) {
    EXPECT_EQ(cells[i].second, expected[i]) << i;
    const size_t col = (i - 15) % 9;
    const bool right = i >= 15 + 18 && col > 0;
    if (i < 15) continue;
    EXPECT_EQ(cells[i].first, "<td width=" + std::to_string(widths[col]) + (right ? " align=right>" : ">"));
  }
  ReportRun none({}, 0);
  EXPECT_EQ(Count(none.Page(kPages[3]), "<tr"), 5 + 3 + 2) << "frame, run header and the two label rows only";
}

TEST(HtmlPages, KoreanPageDiffersOnlyInLabelTexts) {
  ReportRun run(kTwoGroups, 2);
  for (const PageCase& c : kPages) {
    const std::string english = run.Page(c, 1), korean = run.Page(c, 0);
    EXPECT_EQ(Skeleton(korean), Skeleton(english));
    const auto en = Cells(english), ko = Cells(korean);
    ASSERT_EQ(en.size(), ko.size());
    int differing = 0;
    for (size_t i = 0; i < en.size(); ++i) differing += en[i].second != ko[i].second;
    // The heading, the run header's labels, the trade labels but Runup and Drawdown (the same in both).
    EXPECT_EQ(differing, 1 + 6 + (c.summary ? 0 : 16));
    std::string utf8;
    ASSERT_TRUE(chartcalc::detail::Cp949ToUtf8(korean, utf8));
    EXPECT_NE(utf8.find("<title>시스템거래내역</title>"), std::string::npos);
    EXPECT_NE(utf8.find(c.summary ? "&nbsp;▦All ▦" : "누적손익금액"), std::string::npos);
    EXPECT_TRUE(chartcalc::detail::Cp949ToUtf8(english, utf8));
    EXPECT_NE(utf8.find("<title>SystemTradeSpecification</title>"), std::string::npos);
    EXPECT_NE(utf8.find(c.summary ? "▒ PL" : "Accumulated"), std::string::npos);
  }
}

TEST(HtmlPages, TenThousandTradesStreamInLinearTime) {
  ReportRun run({}, 10000);
  const auto start = std::chrono::steady_clock::now();
  const std::string page = run.Page(kPages[2]);
  const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  EXPECT_EQ(Count(page, "<tr bgcolor=#FFFFFF>"), 20000);
  EXPECT_EQ(page.substr(page.size() - std::string(kTradeClosing).size()), kTradeClosing);
  EXPECT_LT(seconds, 2.0);
}

}  // namespace
