// Feeds report folders built from fuzz bytes to every reader of report
// files: the four HTML page writers, the merge of report folders, and the
// tool's `report RUN --html DIR` (whose equity page reads the trade list).
//
// Input: a control byte, then three parts separated by zero bytes that
// become SumInfo.rpt, Summary0.rpt and TradeList0.rpt of a report folder.
// A part's first byte chooses how its file is made (the low two bits):
//   0  the rest of the part is the file: mostly not a table at all
//   1  a table with the kind's own fields, records from the rest; the
//      higher bits narrow the widths, drop or reverse fields, add one
//   2  the first line declares the fields ("name:width|name|..."), the
//      other lines are records: a foreign or damaged declaration
//   3  a valid table of the kind with the rest applied as byte patches
// Records are lines of values separated by '|', in field order; a line
// starting with '!' is marked deleted; '@' in a value stands for the
// report folder's path, so that the summary-info record can name the
// run's files.
//
// Nothing may crash, hang or leak, and each reader keeps its promises: a
// page has as many closing table and row tags as opening ones (values
// cannot open markup), a failed merge leaves no SumInfo.rpt and the run's
// files where they were, and the tool either writes all five pages or none.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Cli.h"
#include "FuzzFiles.h"
#include "chartcalc.h"
#include "core/TableFile.h"
#include "core/TextTable.h"

using namespace chartcalc::detail;
namespace fs = std::filesystem;

namespace {

enum Kind { kSumInfo, kSummary, kTradeList, kKinds };
constexpr const char* kFileNames[kKinds] = {"SumInfo.rpt", "Summary0.rpt", "TradeList0.rpt"};

// The control byte.
constexpr uint8_t kKorean = 1 << 0;
constexpr uint8_t kSecondShard = 1 << 1;      // the merge joins a second folder
constexpr uint8_t kSecondShardCopy = 1 << 2;  // ... holding a copy of SumInfo.rpt (else an empty one)

// A part's mode byte.
enum Mode { kModeRaw = 0, kModeRecords = 1, kModeDeclared = 2, kModePatched = 3 };
constexpr uint8_t kModeMask = 3;
constexpr uint8_t kNarrowWidths = 1 << 2;
constexpr uint8_t kDropLast = 1 << 3;
constexpr uint8_t kReversed = 1 << 4;
constexpr uint8_t kExtraField = 1 << 5;
constexpr int kNarrowWidth = 3;  // cuts paths and double-byte characters
constexpr int kDefaultWidth = 50;
constexpr size_t kMaxWidthDigits = 6;
constexpr size_t kMaxRecords = 64;

constexpr char kRecordSep = '\n';
constexpr char kValueSep = '|';
constexpr char kWidthSep = ':';
constexpr char kDeletedMark = '!';
constexpr char kFolderMark = '@';

const char* const kToolPages[] = {"summary.html", "trades.html", "summary2.html", "trades2.html", "equity.html"};

[[noreturn]] void Fail(const std::string& what) {
  std::fprintf(stderr, "report_fuzzer: %s\n", what.c_str());
  std::abort();
}

using Columns = std::vector<std::pair<std::string, int>>;

struct Folders {
  std::string shard, shard2, html, merged, pages;
};

const Folders& Dirs() {
  static const Folders d = [] {
    const std::string& s = fuzzfiles::ScratchDir();
    return Folders{s + "rpt/", s + "rpt2/", s + "html/", s + "merged/", s + "pages/"};
  }();
  return d;
}

void RemoveFolders() {
  std::error_code ec;
  for (const std::string* dir : {&Dirs().shard, &Dirs().shard2, &Dirs().html, &Dirs().merged, &Dirs().pages})
    fs::remove_all(*dir, ec);
}

std::vector<std::string_view> Split(std::string_view s, char sep) {
  std::vector<std::string_view> parts;
  for (size_t at; (at = s.find(sep)) != std::string_view::npos; s.remove_prefix(at + 1))
    parts.push_back(s.substr(0, at));
  parts.push_back(s);
  return parts;
}

std::string WithFolder(std::string_view value) {
  std::string out;
  for (char c : value) {
    if (c == kFolderMark)
      out += Dirs().shard;
    else
      out += c;
  }
  return out;
}

// The fields of each kind as the simulation declares them.
const Columns& KindColumns(Kind kind) {
  static const std::vector<Columns> all = [] {
    std::vector<Columns> columns(kKinds);
    const std::string path = fuzzfiles::ScratchDir() + "declaration.rpt";
    auto sim = std::make_unique<SSimulation>();
    int (SSimulation::*create[kKinds])(SString) = {
        &SSimulation::CreateSummaryDB, &SSimulation::CreateIndividualSummaryDB, &SSimulation::CreateTradingHistoryDB};
    for (int k = 0; k < kKinds; ++k) {
      ((*sim).*create[k])(path.c_str());
      DB db(path.c_str(), 0);
      for (int i = 0; i < db.GetFieldCount(); ++i) columns[k].emplace_back(db.GetField(i)->name, db.GetField(i)->width);
      db.Close();
      fuzzfiles::RemoveWithSidecars(path);
      if (columns[k].empty()) Fail("the simulation declares no fields");
    }
    return columns;
  }();
  return all[kind];
}

// The kind's fields, altered by the mode byte's higher bits.
Columns AlteredColumns(Kind kind, uint8_t mode) {
  Columns columns = KindColumns(kind);
  if (mode & kNarrowWidths)
    for (auto& c : columns) c.second = kNarrowWidth;
  if (mode & kDropLast) columns.pop_back();
  if (mode & kReversed) std::reverse(columns.begin(), columns.end());
  if (mode & kExtraField) columns.emplace_back("Extra", kDefaultWidth);
  return columns;
}

// "name:width|name|...": a missing or overlong width is the default.
Columns DeclaredColumns(std::string_view line) {
  Columns columns;
  for (std::string_view item : Split(line, kValueSep)) {
    const size_t colon = item.rfind(kWidthSep);
    int width = kDefaultWidth;
    if (colon != std::string_view::npos) {
      std::string_view digits = item.substr(colon + 1);
      if (!digits.empty() && digits.size() <= kMaxWidthDigits &&
          digits.find_first_not_of("0123456789") == std::string_view::npos) {
        width = std::atoi(std::string(digits).c_str());
        item = item.substr(0, colon);
      }
    }
    columns.emplace_back(std::string(item), width);
  }
  return columns;
}

// Writes the table of the columns holding the record lines; a table the
// library refuses to write (a bad declaration) leaves no file.
void WriteTable(const std::string& path, const Columns& columns, const std::vector<std::string_view>& lines) {
  std::vector<TableColumn> declared;
  for (const auto& [name, width] : columns) declared.push_back({name.c_str(), width});
  std::vector<std::string> values;
  std::vector<size_t> deleted;
  for (size_t r = 0; r < lines.size() && r < kMaxRecords; ++r) {
    std::string_view line = lines[r];
    if (!line.empty() && line[0] == kDeletedMark) {
      deleted.push_back(r);
      line.remove_prefix(1);
    }
    const std::vector<std::string_view> cells = Split(line, kValueSep);
    for (size_t c = 0; c < columns.size(); ++c) values.push_back(c < cells.size() ? WithFolder(cells[c]) : "");
  }
  if (!WriteTableFile(path, declared, values, FileSync::kSkip) || deleted.empty()) return;
  DB db(path.c_str(), 0);
  size_t r = 0;
  for (db.MoveFirst(1); !db.Eof(); db.MoveNext(1), ++r)
    for (size_t d : deleted)
      if (d == r) db.Delete();
}

// A valid table of each kind for the patched mode.
const std::string& Template(Kind kind) {
  static const char* const kContent[kKinds] = {
      "@Summary0.rpt|@TradeList0.rpt|KOSPI200|MACD|12,26,9|2024.01.02 ~ 2024.03.29|done|0.1|0.1|0.05|1234.5|12|1.5|"
      "58.33|1.8|102.9|40.5",
      "1|\xC0\xFC\xC3\xBC|1|Profit|1|Net<b>|100|Gross|200\n!1|x|2|Loss|2|Gross loss|-50|Count|3\n"
      "2|Trades|1|Count|1|All|12|Won|7",
      "1|Buy Enterance|Sell Close|20240102|20240105|09:30|15:00|100.05|101.1|1|2|3|0.5|0.6|0.4|1.05|1.05|105|105\n"
      "2|Sell Enterance|Buy Hold|20240106|00000000|10:00|00:00|101|0|1|0|0|0|0|0|0.98|1.03|-20|85",
  };
  static const std::vector<std::string> templates = [] {
    std::vector<std::string> t;
    const std::string path = fuzzfiles::ScratchDir() + "template.rpt";
    for (int k = 0; k < kKinds; ++k) {
      WriteTable(path, KindColumns(static_cast<Kind>(k)), Split(kContent[k], kRecordSep));
      t.push_back(fuzzfiles::ReadFile(path));
      fuzzfiles::RemoveWithSidecars(path);
      if (t.back().empty()) Fail("no template table");
    }
    return t;
  }();
  return templates[kind];
}

// Makes the kind's file in the report folder from one part of the input.
void MakeFile(Kind kind, const uint8_t* part, size_t size) {
  const std::string path = Dirs().shard + kFileNames[kind];
  if (size == 0) return;  // no file at all
  const uint8_t mode = part[0];
  const std::string_view rest(reinterpret_cast<const char*>(part + 1), size - 1);
  switch (mode & kModeMask) {
    case kModeRaw:
    case kModePatched:
      fuzzfiles::WriteFile(path, fuzzfiles::FileBytes(part, size, Template(kind)));
      break;
    case kModeRecords:
      WriteTable(path, AlteredColumns(kind, mode), Split(rest, kRecordSep));
      break;
    case kModeDeclared: {
      std::vector<std::string_view> lines = Split(rest, kRecordSep);
      const Columns columns = DeclaredColumns(lines.front());
      lines.erase(lines.begin());
      WriteTable(path, columns, lines);
      break;
    }
  }
}

size_t Count(const std::string& text, std::string_view what) {
  size_t n = 0;
  for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + what.size())) ++n;
  return n;
}

// A page has its tables and rows closed, however odd the values were.
void CheckPage(const std::string& path) {
  std::error_code ec;
  if (!fs::exists(path, ec)) return;  // no record names the run's file
  const std::string page = fuzzfiles::ReadFile(path);
  if (Count(page, "<table") != Count(page, "</table>")) Fail(path + ": unbalanced <table> tags");
  if (Count(page, "<tr") != Count(page, "</tr>")) Fail(path + ": unbalanced <tr> tags");
  if (page.size() < 8 || page.compare(page.size() - 8, 8, "</html>\n") != 0) Fail(path + ": page not closed");
}

void WriteLibraryPages(bool korean) {
  SetLangType(korean ? kLangKorean : kLangEnglish);
  const Folders& d = Dirs();
  const std::string sumInfo = d.shard + kFileNames[kSumInfo];
  const std::string summary = d.shard + kFileNames[kSummary];
  const std::string tradeList = d.shard + kFileNames[kTradeList];
  auto sim = std::make_unique<SSimulation>();
  struct Page {
    void (SSimulation::*write)(SString, SString, SString);
    const std::string& runFile;
    const char* name;
  };
  const Page pages[] = {{&SSimulation::SaveSummaryToHTML, summary, "summary.html"},
                        {&SSimulation::SaveSummaryToHTML2, summary, "summary2.html"},
                        {&SSimulation::SaveTradeHistoryToHTML, tradeList, "trades.html"},
                        {&SSimulation::SaveTradeHistoryToHTML2, tradeList, "trades2.html"}};
  for (const Page& p : pages) {
    const std::string out = d.html + p.name;
    ((*sim).*p.write)(sumInfo.c_str(), p.runFile.c_str(), out.c_str());
    CheckPage(out);
  }
}

// `report 0 --html DIR --report-dir folder`: all five pages, or none and a message.
void RunReportTool(const std::string& folder, bool korean) {
  const Folders& d = Dirs();
  std::ostringstream out, err;
  const int status = RunChartcalc({"report", "0", "--html", d.pages, "--report-dir", folder, "--lang",
                                   korean ? "ko" : "en", "--index-dir", fuzzfiles::ScratchDir()},
                                  out, err);
  std::error_code ec;
  if (status == kExitOk) {
    for (const char* name : kToolPages)
      if (!fs::is_regular_file(d.pages + name, ec)) Fail(std::string("report succeeded without ") + name);
    for (const char* name : kToolPages)
      if (std::string_view(name) != "equity.html") CheckPage(d.pages + name);
  } else {
    if (err.str().empty()) Fail("report failed without a message");
    if (fs::exists(d.pages, ec) && !fs::is_empty(d.pages, ec)) Fail("a failed report left files in " + d.pages);
  }
  fs::remove_all(d.pages, ec);
}

// The run files of the report folder that exist now.
std::vector<std::string> RunFiles() {
  std::vector<std::string> present;
  std::error_code ec;
  for (int k = kSummary; k < kKinds; ++k)
    if (fs::exists(Dirs().shard + kFileNames[k], ec)) present.push_back(Dirs().shard + kFileNames[k]);
  return present;
}

void Merge(uint8_t control, bool korean) {
  const Folders& d = Dirs();
  std::vector<SString> shards{SString(d.shard.c_str())};
  if (control & kSecondShard) {
    std::error_code ec;
    fs::create_directories(d.shard2, ec);
    const std::string second = d.shard2 + kFileNames[kSumInfo];
    if (control & kSecondShardCopy)
      fs::copy_file(d.shard + kFileNames[kSumInfo], second, ec);
    else
      std::make_unique<SSimulation>()->CreateSummaryDB(second.c_str());
    shards.push_back(SString(d.shard2.c_str()));
  }
  const std::vector<std::string> before = RunFiles();
  SString error;
  if (!chartcalc::MergeReportDirs(d.merged.c_str(), shards, error)) {
    std::error_code ec;
    if (error.str().empty()) Fail("merge failed without a message");
    if (fs::exists(d.merged + kFileNames[kSumInfo], ec)) Fail("a failed merge left a SumInfo.rpt");
    if (RunFiles() != before) Fail("a failed merge moved run files");
    return;
  }
  if (!fuzzfiles::ReadFile(d.merged + kFileNames[kSumInfo]).size()) Fail("a merge succeeded without SumInfo.rpt");
  RunReportTool(d.merged, korean);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  const uint8_t control = data[0];
  const bool korean = control & kKorean;
  const uint8_t* p = data + 1;
  const uint8_t* end = data + size;
  std::error_code ec;
  fs::create_directories(Dirs().shard, ec);
  for (int k = 0; k < kKinds; ++k) {
    const uint8_t* stop = static_cast<const uint8_t*>(std::memchr(p, 0, static_cast<size_t>(end - p)));
    if (!stop) stop = end;
    MakeFile(static_cast<Kind>(k), p, static_cast<size_t>(stop - p));
    p = stop < end ? stop + 1 : end;
  }
  WriteLibraryPages(korean);
  RunReportTool(Dirs().shard, korean);
  Merge(control, korean);
  RemoveFolders();
  return 0;
}
