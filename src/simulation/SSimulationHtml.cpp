// The HTML pages of a finished run, read from its report files (see
// SSimulationReportDb.cpp), never from the simulation's memory, so that any
// run of an optimisation can be shown.
//
// Page layout (code page 949 bytes, declared "euc-kr" in both languages):
//   head          title, charset, a 640-wide frame: a #8CA9FF rule and the
//                 centred bold heading (variant 2 frames it in &lt;/&gt;)
//   run header    500-wide table, three rows of label/value | label/value
//                 from the run's summary-info record
//   summary body  per group a 634-wide box (#3D72D3) with a #D1E2F8 header
//                 cell; per sub-group a 600-wide table: spacer, title, rule,
//                 rows of Name1 Value1 (gap) Name2 Value2
//   trade body    a #8CA9FF rule, then the frame's last cell is the #333399
//                 box: the two-row header table and one table per trade
//   closing       fixed text; the summary page's closes the last group box
//
// A page is built in a sibling temporary file and renamed over the output
// only when complete, so it is whole or absent. Trade pages stream trade
// by trade: time and memory stay linear in the number of trades.
//
// Values come from the report files and are written as stored, except that
// '<' becomes "&lt;": a foreign or damaged file then cannot open markup and
// break the page's tables. '&' cannot change the structure in cell text and
// stays as it is, so the library's own texts ("profit&loss") are unchanged.
// Code page 949 trail bytes never take the value of '<', so the replacement
// cannot split a double-byte character.
#include <cstdio>
#include <initializer_list>
#include <string>
#include <string_view>

#include "chartcalc/SSimulation.h"
#include "chartcalc/TableDb.h"
#include "core/FileUtil.h"
#include "core/TextTable.h"

namespace {

using namespace chartcalc::detail;

enum class Variant { kPlain, kFramed };

constexpr std::string_view kCharset = "euc-kr";
// Code page 949 bytes of the box-drawing marks: U+25A6 and U+2592.
constexpr std::string_view kGroupMark = "\xA2\xCB";
constexpr std::string_view kSubGroupMark = "\xA2\xC6";
// The value a GroupID or SubGroupID is compared with before the first row.
constexpr std::string_view kNoId = "-1";

// ---- Templates: every "{}" is filled, in order, with a text made safe. ----

constexpr std::string_view kHead =
    "<html>\n<head>\n<title>{}</title>\n<meta http-equiv=Content-Type content=text/html; charset={}>\n"
    "<style>td { box-sizing: border-box; font-size: 9pt }</style>\n</head>\n<body>\n<div align=center>\n"
    "  <table width=640 border=0 cellspacing=0 cellpadding=0>\n"
    "    <tr>\n      <td height=1 bgcolor=#8CA9FF></td>\n    </tr>\n";
// Indexed by Variant.
constexpr std::string_view kHeading[] = {
    "    <tr>\n      <td height=40 align=center style=\"font-size:12pt\"><b>{}</b></td>\n    </tr>\n",
    "    <tr>\n      <td height=40 align=center style=\"font-size:12pt\"><b>&lt;&lt;&lt;&lt;&lt;&lt;&lt; {}"
    "&gt;&gt;&gt;&gt;&gt;&gt;&gt;</b></td>\n    </tr>\n",
};

constexpr std::string_view kRunHeaderOpen =
    "    <tr>\n      <td align=center>\n"
    "        <table width=500 border=0 cellspacing=0 cellpadding=3>\n";
constexpr std::string_view kRunHeaderRow =
    "          <tr>\n"
    "            <td width=80>{}</td>\n"
    "            <td width=170>{}</td>\n"
    "            <td width=1 bgcolor=#CCCCCC style=\"padding:0\"></td>\n"
    "            <td width=120>{}</td>\n"
    "            <td width=129>{}</td>\n"
    "          </tr>\n";
constexpr std::string_view kRunHeaderClose = "        </table>\n      </td>\n    </tr>\n";

// The summary body lives in the frame's last cell.
constexpr std::string_view kSummaryBodyOpen =
    "    <tr>\n      <td height=10></td>\n    </tr>\n"
    "    <tr>\n      <td align=center>\n";
constexpr std::string_view kGroupOpen =
    "        <table width=634 border=1 bordercolor=#3D72D3 cellspacing=0 cellpadding=0>\n"
    "          <tr>\n            <td height=30 bgcolor=#D1E2F8>&nbsp;&nbsp;&nbsp;{}{}{}</td>\n          </tr>\n"
    "          <tr>\n            <td align=center>\n";
// Stands in for the groups of a summary file without rows, so that the
// closing text, which ends the last group box, still balances the page.
constexpr std::string_view kEmptyGroupOpen =
    "        <table width=634 border=1 bordercolor=#3D72D3 cellspacing=0 cellpadding=0>\n"
    "          <tr>\n            <td align=center>\n";
constexpr std::string_view kGroupClose = "            </td>\n          </tr>\n        </table>\n";
constexpr std::string_view kSubGroupOpen =
    "              <table width=600 border=0 cellspacing=0 cellpadding=2>\n"
    "                <tr>\n                  <td colspan=5 height=10></td>\n                </tr>\n"
    "                <tr>\n                  <td colspan=5>{} {}</td>\n                </tr>\n"
    "                <tr>\n                  <td colspan=5 height=1 bgcolor=#8CA9FF></td>\n                </tr>\n";
constexpr std::string_view kSubGroupClose = "              </table>\n";
// Indexed by Variant: variant 2 follows the names with separators.
constexpr std::string_view kSummaryRow[] = {
    "                <tr align=right>\n"
    "                  <td width=150>{}</td>\n                  <td width=100>{}</td>\n"
    "                  <td width=100>&nbsp;</td>\n"
    "                  <td width=150>{}</td>\n                  <td width=100>{}</td>\n"
    "                </tr>\n",
    "                <tr align=right>\n"
    "                  <td width=150>{}:</td>\n                  <td width=100>{}</td>\n"
    "                  <td width=100>&nbsp;</td>\n"
    "                  <td width=150>{} :</td>\n                  <td width=100>{}</td>\n"
    "                </tr>\n",
};

// The trade body: the frame's last cell is the box.
constexpr std::string_view kTradeBodyOpen =
    "    <tr>\n      <td height=1 bgcolor=#8CA9FF></td>\n    </tr>\n"
    "    <tr>\n      <td align=center style=\"border:1px solid #333399\">\n";
constexpr std::string_view kTradeTableOpen =
    "        <table width=100% border=0 cellspacing=1 cellpadding=3 bgcolor=#CCCCCC "
    "style=\"table-layout:fixed; overflow-wrap:anywhere\">\n";
constexpr std::string_view kTradeTableClose = "        </table>\n";
constexpr std::string_view kHeaderRowOpen = "          <tr align=center bgcolor=#EDF5FA>\n";
constexpr std::string_view kTradeRowOpen = "          <tr bgcolor=#FFFFFF>\n";
constexpr std::string_view kRowClose = "          </tr>\n";
constexpr std::string_view kCell = "            <td width={}>{}</td>\n";
constexpr std::string_view kRightCell = "            <td width={} align=right>{}</td>\n";

constexpr std::string_view kFrameClose = "      </td>\n    </tr>\n  </table>\n</div>\n</body>\n</html>\n";

// ---- Labels and fields ----

// A label: up to three texts joined without spaces (TxCount: no text).
struct Label {
  constexpr Label(TextId a, TextId b = TxCount, TextId c = TxCount) : parts{a, b, c} {}
  TextId parts[3];
};

std::string LabelText(const Label& label) {
  std::string out;
  for (TextId id : label.parts) out += GetText(id);  // TxCount gives ""
  return out;
}

constexpr Label kTitle{TxSimSystem, TxSimTrade, TxSimDetails};
constexpr Label kHeadingText{TxSimReportHeading};

// One row of the run header: label and summary-info field, twice.
struct RunHeaderRow {
  Label leftLabel;
  const char* leftField;
  Label rightLabel;
  const char* rightField;
};

constexpr RunHeaderRow kRunHeader[] = {
    {{TxSimSymbol}, "SymbolName", {TxSimEnterance, TxSimCommission}, "EntryCommission"},
    {{TxSimIndex}, "IndicatorName", {TxSimClose, TxSimCommission}, "ExitCommission"},
    {{TxSimPeriod}, "Term", {TxSimOrderVariation}, "Slippage"},
};

// One column of the trade tables: its width, and the label and trade-list
// field of the entry line and of the exit line.
struct TradeColumn {
  int width;
  Label entryLabel;
  const char* entryField;
  Label exitLabel;
  const char* exitField;
};

constexpr TradeColumn kTradeColumns[] = {
    {60, {TxSimEnteranceType}, "EntryType", {TxSimCloseDivision}, "ExitType"},
    {60, {TxSimEnteranceDate}, "EntryDate", {TxSimCloseDate}, "ExitDate"},
    {60, {TxSimEnteranceTime}, "EntryTime", {TxSimClose, TxSimTime}, "ExitTime"},
    {68, {TxSimEnterance, TxSimPrice}, "EntryPrice", {TxSimClose, TxSimPrice}, "ExitPrice"},
    {68, {TxSimRunup}, "Runup", {TxSimDrawdown}, "Drawdown"},
    {68, {TxSimEnterance, TxSimEfficiency}, "EntryEff", {TxSimClose, TxSimEfficiency}, "ExitEff"},
    {68, {TxSimTotal, TxSimEfficiency}, "TotalEff", {TxSimQuantity}, "Quantity"},
    {80, {TxSimEarningRateLabel}, "ProfitLossRatio", {TxSimAccumulatedProfitRatio}, "CumProfitLossRatio"},
    {80, {TxSimProfit, TxSimAmount}, "ProfitLoss", {TxSimAccumulatedProfitLoss}, "CumProfitLoss"},
};

// Which of a column's two lines a row shows.
enum class Line { kEntry, kExit };

// ---- Output ----

// A page under construction in a sibling of its target; Commit renames it
// into place, and a page not committed is removed with its temporary file.
class PageFile {
 public:
  explicit PageFile(const std::string& target) : target_(target) {
    if (target.empty() || !MakeParentDirs(target)) return;
    temp_ = SiblingTempPath(target);
    if (!temp_.empty()) file_ = std::fopen(temp_.c_str(), "wb");
  }
  PageFile(const PageFile&) = delete;
  PageFile& operator=(const PageFile&) = delete;
  ~PageFile() {
    if (file_) std::fclose(file_);
    if (!temp_.empty()) std::remove(temp_.c_str());
  }

  bool IsOpen() const { return file_ != nullptr; }

  void Put(std::string_view s) {
    if (file_ && !s.empty() && std::fwrite(s.data(), 1, s.size(), file_) != s.size()) failed_ = true;
  }

  // Writes a text from a report file: '<' becomes "&lt;" (see the top).
  void PutText(std::string_view s) {
    for (size_t lt; (lt = s.find('<')) != std::string_view::npos; s.remove_prefix(lt + 1)) {
      Put(s.substr(0, lt));
      Put("&lt;");
    }
    Put(s);
  }

  // Writes tmpl with each "{}" replaced by the next argument.
  void Fill(std::string_view tmpl, std::initializer_list<std::string_view> args) {
    auto arg = args.begin();
    for (size_t hole; (hole = tmpl.find("{}")) != std::string_view::npos; tmpl.remove_prefix(hole + 2)) {
      Put(tmpl.substr(0, hole));
      if (arg != args.end()) PutText(*arg++);
    }
    Put(tmpl);
  }

  // Closes the file and renames it over the target; false leaves the old
  // target (or none) in place.
  bool Commit() {
    if (!file_) return false;
    bool ok = !failed_ && std::fclose(file_) == 0;
    file_ = nullptr;
    ok = ok && ReplaceWith(temp_, target_);
    temp_.clear();  // ReplaceWith removed it on failure
    return ok;
  }

 private:
  std::string target_, temp_;
  std::FILE* file_ = nullptr;
  bool failed_ = false;
};

std::string_view Field(DB& db, const char* name) { return db.GetStr(name); }

// ---- Page parts ----

void WriteHead(PageFile& page, Variant variant) {
  page.Fill(kHead, {LabelText(kTitle), kCharset});
  page.Fill(kHeading[static_cast<int>(variant)], {LabelText(kHeadingText)});
}

void WriteRunHeader(PageFile& page, DB& run) {
  page.Put(kRunHeaderOpen);
  for (const RunHeaderRow& row : kRunHeader)
    page.Fill(kRunHeaderRow, {LabelText(row.leftLabel), Field(run, row.leftField), LabelText(row.rightLabel),
                              Field(run, row.rightField)});
  page.Put(kRunHeaderClose);
}

// Where the summary body stands: the ids of the open group and sub-group.
struct SummaryState {
  std::string group{kNoId}, subGroup{kNoId};
  bool groupOpen = false, subGroupOpen = false;
};

void CloseSubGroup(PageFile& page, SummaryState& state) {
  if (state.subGroupOpen) page.Put(kSubGroupClose);
  state.subGroupOpen = false;
}

// A row always lands in an open box and sub-group table, even one whose id
// is the "-1" the first row is compared with.
void WriteSummaryRecord(PageFile& page, DB& db, Variant variant, SummaryState& state) {
  if (!state.groupOpen || Field(db, "GroupID") != state.group) {
    CloseSubGroup(page, state);
    if (state.groupOpen) page.Put(kGroupClose);
    page.Fill(kGroupOpen, {kGroupMark, Field(db, "GroupName"), std::string(" ").append(kGroupMark)});
    state.group = Field(db, "GroupID");
    state.groupOpen = true;
  }
  if (!state.subGroupOpen || Field(db, "SubGroupID") != state.subGroup) {
    CloseSubGroup(page, state);
    page.Fill(kSubGroupOpen, {kSubGroupMark, Field(db, "SubGroupName")});
    state.subGroup = Field(db, "SubGroupID");
    state.subGroupOpen = true;
  }
  page.Fill(kSummaryRow[static_cast<int>(variant)],
            {Field(db, "Name1"), Field(db, "Value1"), Field(db, "Name2"), Field(db, "Value2")});
}

// The groups of the individual summary file, in file order.
void WriteSummaryBody(PageFile& page, const SString& summaryPath, Variant variant) {
  page.Put(kSummaryBodyOpen);
  SummaryState state;
  DB db(summaryPath.c_str(), 0);
  for (db.MoveFirst(1); !db.Eof(); db.MoveNext(1))
    if (!db.Deleted()) WriteSummaryRecord(page, db, variant, state);
  CloseSubGroup(page, state);
  if (!state.groupOpen) page.Put(kEmptyGroupOpen);
  page.Put(kGroupClose);  // the last box; the frame follows
}

// One line of the trade tables: header labels, or a trade's fields with
// every cell after the first right-aligned.
void WriteTradeLine(PageFile& page, Line line, DB* trade) {
  page.Put(trade ? kTradeRowOpen : kHeaderRowOpen);
  bool first = true;
  for (const TradeColumn& col : kTradeColumns) {
    const bool entry = line == Line::kEntry;
    std::string width = std::to_string(col.width);
    std::string text = trade ? std::string(Field(*trade, entry ? col.entryField : col.exitField))
                             : LabelText(entry ? col.entryLabel : col.exitLabel);
    page.Fill(trade && !first ? kRightCell : kCell, {width, text});
    first = false;
  }
  page.Put(kRowClose);
}

void WriteTradeTable(PageFile& page, DB* trade) {
  page.Put(kTradeTableOpen);
  WriteTradeLine(page, Line::kEntry, trade);
  WriteTradeLine(page, Line::kExit, trade);
  page.Put(kTradeTableClose);
}

// The header table, then one table per trade of the trade-list file.
void WriteTradeBody(PageFile& page, const SString& tradeListPath) {
  page.Put(kTradeBodyOpen);
  WriteTradeTable(page, nullptr);
  DB db(tradeListPath.c_str(), 0);
  for (db.MoveFirst(1); !db.Eof(); db.MoveNext(1))
    if (!db.Deleted()) WriteTradeTable(page, &db);
}

// The kinds of page: the summary-info field naming the run's file, and the
// body read from that file.
struct PageKind {
  const char* runField;
  void (*writeBody)(PageFile&, const SString&, Variant);
};

constexpr PageKind kSummaryPage{"SumFileName", WriteSummaryBody};
constexpr PageKind kTradePage{"TradeListFileName",
                              [](PageFile& page, const SString& path, Variant) { WriteTradeBody(page, path); }};

// Writes the page of the run whose record in the summary-info file names
// runFile; writes nothing when there is no such record.
void SavePage(const PageKind& kind, Variant variant, const SString& sumInfoPath, const SString& runFile,
              const SString& htmlPath) {
  DB run(sumInfoPath.c_str(), 0);
  run.MoveFirst(1);
  if (!run.FindFirst(kind.runField, runFile.c_str())) return;
  PageFile page(htmlPath.c_str());
  if (!page.IsOpen()) return;
  WriteHead(page, variant);
  WriteRunHeader(page, run);
  kind.writeBody(page, runFile, variant);
  page.Put(kFrameClose);
  page.Commit();
}

}  // namespace

void SSimulation::SaveSummaryToHTML(SString sumInfoPath, SString summaryPath, SString htmlPath) {
  SavePage(kSummaryPage, Variant::kPlain, sumInfoPath, summaryPath, htmlPath);
}

void SSimulation::SaveSummaryToHTML2(SString sumInfoPath, SString summaryPath, SString htmlPath) {
  SavePage(kSummaryPage, Variant::kFramed, sumInfoPath, summaryPath, htmlPath);
}

void SSimulation::SaveTradeHistoryToHTML(SString sumInfoPath, SString tradeListPath, SString htmlPath) {
  SavePage(kTradePage, Variant::kPlain, sumInfoPath, tradeListPath, htmlPath);
}

void SSimulation::SaveTradeHistoryToHTML2(SString sumInfoPath, SString tradeListPath, SString htmlPath) {
  SavePage(kTradePage, Variant::kFramed, sumInfoPath, tradeListPath, htmlPath);
}
