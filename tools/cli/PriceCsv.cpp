// Price CSV reader. Columns are found by name, ignoring case. A file is read
// whole before anything is computed, and the first bad row ends the reading
// with a message naming the file and the line; a feed read line by line
// (PriceCsvLines) decides for itself what a bad row does.
//
// Bars go into the record with AddData, one call per field, so the tool fills
// a record exactly as a host does. The series are sized before the first bar
// (SVector::ReAlloc) for every line long enough to hold one, so appending
// never moves them: loading takes time proportional to the file's size, and
// a file of blank or short lines cannot make the reader reserve more than a
// few times its own size.
#include "PriceCsv.h"

#include <algorithm>
#include <charconv>
#include <climits>
#include <cmath>
#include <cstring>
#include <fstream>
#include <iterator>
#include <vector>

using namespace chartcalc::detail;

namespace {

enum Column {
  kColDate,
  kColTime,
  kColOpen,
  kColHigh,
  kColLow,
  kColClose,
  kColVolume,
  kColOi,
  kColAmount,
  kColSpread,
  kColumns
};

struct ColumnName {
  const char* name;
  Column column;
};

// Header names, lower case.
const ColumnName kColumnNames[] = {
    {"date", kColDate},       {"datetime", kColDate}, {"time", kColTime},     {"open", kColOpen},
    {"high", kColHigh},       {"low", kColLow},       {"close", kColClose},   {"volume", kColVolume},
    {"openinterest", kColOi}, {"oi", kColOi},         {"amount", kColAmount}, {"spread", kColSpread},
};

// Columns a file must have; the others read as zeros when absent.
const Column kRequired[] = {kColDate, kColOpen, kColHigh, kColLow, kColClose, kColVolume};
const char* const kRequiredNames[] = {"date", "open", "high", "low", "close", "volume"};
// The shortest row that can hold a bar: a date of eight digits and the other
// required cells of one digit each, every one behind a comma.
constexpr size_t kShortestDate = 8;
constexpr size_t kShortestBarRow = kShortestDate + (std::size(kRequired) - 1) * 2;
bool IsRequired(int c) { return std::find(std::begin(kRequired), std::end(kRequired), c) != std::end(kRequired); }

static_assert(kColumns == PriceCsvLines::kColumns);

// The price record's field code of each numeric column.
const int kFieldOf[kColumns] = {-1,          -1,           kFieldOpen,         kFieldHigh,   kFieldLow,
                                kFieldClose, kFieldVolume, kFieldOpenInterest, kFieldAmount, kFieldSpread};

std::string_view Trim(std::string_view s) {
  size_t b = s.find_first_not_of(" \t\r\""), e = s.find_last_not_of(" \t\r\"");
  return b == std::string_view::npos ? std::string_view() : s.substr(b, e - b + 1);
}

// Splits a line at commas into cells (reusing the vector's storage).
void SplitCells(std::string_view line, std::vector<std::string_view>& cells) {
  cells.clear();
  for (;;) {
    size_t comma = line.find(',');
    cells.push_back(Trim(line.substr(0, comma)));
    if (comma == std::string_view::npos) return;
    line.remove_prefix(comma + 1);
  }
}

std::string Lower(std::string_view s) {
  std::string out(s);
  std::transform(out.begin(), out.end(), out.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return out;
}

bool AllDigits(std::string_view s) {
  return !s.empty() && std::all_of(s.begin(), s.end(), [](unsigned char c) { return c >= '0' && c <= '9'; });
}

// The number written by n digits at `at` (the caller has checked them).
int Digits(std::string_view s, size_t at, size_t n) {
  int v = 0;
  for (size_t i = at; i < at + n; ++i) v = v * 10 + (s[i] - '0');
  return v;
}

bool ValidTime(int t) { return t / 10000 < 24 && t / 100 % 100 < 60 && t % 100 < 60; }

bool ParseNumber(std::string_view cell, double& v) {
  const char* b = cell.data();
  const char* e = b + cell.size();
  if (b != e && *b == '+') ++b;
  auto [p, ec] = std::from_chars(b, e, v);
  return ec == std::errc() && p == e && std::isfinite(v);
}

// "path:line: what", or "path: what" for line 0.
std::string LineError(const std::string& path, int line, const std::string& what) {
  return path + (line > 0 ? ":" + std::to_string(line) : "") + ": " + what;
}

// Reads the lines of a file through a fixed buffer. A line is valid until
// the next call. The file is read in pieces, so a
// large file never sits in memory whole.
class LineReader {
 public:
  explicit LineReader(std::istream& in) : in_(in), buffer_(kChunk) {}
  bool Next(std::string_view& line) {
    for (;;) {
      const char* from = buffer_.data() + begin_;
      const void* nl = std::memchr(from, '\n', end_ - begin_);
      if (nl) {
        size_t at = static_cast<const char*>(nl) - buffer_.data();
        line = std::string_view(from, at - begin_);
        begin_ = at + 1;
        return true;
      }
      if (eof_) {
        if (begin_ == end_) return false;
        line = std::string_view(from, end_ - begin_);  // the last line has no line feed
        begin_ = end_;
        return true;
      }
      Refill();
    }
  }

 private:
  static constexpr size_t kChunk = 1 << 20;

  // Moves the unread part to the front and reads more behind it; a line
  // longer than the buffer doubles it.
  void Refill() {
    std::memmove(buffer_.data(), buffer_.data() + begin_, end_ - begin_);
    end_ -= begin_;
    begin_ = 0;
    if (end_ == buffer_.size()) buffer_.resize(buffer_.size() * 2);
    in_.read(buffer_.data() + end_, static_cast<std::streamsize>(buffer_.size() - end_));
    std::streamsize got = in_.gcount();
    end_ += static_cast<size_t>(got);
    if (got == 0) eof_ = true;
  }

  std::istream& in_;
  std::vector<char> buffer_;
  size_t begin_ = 0, end_ = 0;
  bool eof_ = false;
};

struct LineCount {
  long long lines = 0;    // the last one counts even when empty
  long long barRows = 0;  // lines of at least kShortestBarRow bytes
};

// Counts the lines of the stream, read in pieces; the stream is left at its
// start again.
LineCount CountLines(std::istream& in) {
  std::vector<char> chunk(1 << 20);
  LineCount n;
  size_t length = 0;  // of the line being counted, so far
  auto endLine = [&] {
    ++n.lines;
    if (length >= kShortestBarRow) ++n.barRows;
    length = 0;
  };
  while (in.read(chunk.data(), static_cast<std::streamsize>(chunk.size())) || in.gcount() > 0) {
    const char* p = chunk.data();
    const char* end = p + in.gcount();
    while (const void* nl = std::memchr(p, '\n', static_cast<size_t>(end - p))) {
      length += static_cast<size_t>(static_cast<const char*>(nl) - p);
      endLine();
      p = static_cast<const char*>(nl) + 1;
    }
    length += static_cast<size_t>(end - p);
  }
  endLine();
  in.clear();
  in.seekg(0);
  return n;
}

// Sizes the nine series for `bars` bars, so that AddData never reallocates
// on the way there.
void ReserveBars(SPriceData& data, int bars) {
  for (SVector& s : data.Series)
    if (s.GetCapacity() < bars) s.ReAlloc(bars);
}

}  // namespace

// The price fields of a bar in the order they are added.
constexpr int kBarFields[] = {kFieldOpen,   kFieldHigh,         kFieldLow,    kFieldClose,
                              kFieldVolume, kFieldOpenInterest, kFieldAmount, kFieldSpread};

PriceCsvLines::Kind PriceCsvLines::Next(std::string_view line, PriceRow& row, std::string& what) {
  if (++number_ == 1 && line.substr(0, 3) == "\xEF\xBB\xBF") line.remove_prefix(3);
  if (Trim(line).empty()) return kBlank;
  SplitCells(line, cells_);
  if (hasHeader_) return ParseRow(row, what) ? kRow : kBadRow;
  hasHeader_ = ReadHeader(what);
  return hasHeader_ ? kHeader : kBadHeader;
}

bool PriceCsvLines::ReadHeader(std::string& what) {
  std::fill(std::begin(col_), std::end(col_), -1);
  names_.assign(cells_.begin(), cells_.end());
  for (size_t i = 0; i < cells_.size(); ++i) {
    const std::string lower = Lower(cells_[i]);
    for (const ColumnName& c : kColumnNames)
      if (lower == c.name && col_[c.column] < 0) col_[c.column] = static_cast<int>(i);
  }
  for (size_t k = 0; k < std::size(kRequired); ++k)
    if (col_[kRequired[k]] < 0) {
      what = std::string("no '") + kRequiredNames[k] + "' column in the header";
      return false;
    }
  return true;
}

// The cell of a column in the line being read; empty when the file or the
// line has none.
std::string_view PriceCsvLines::Cell(int column) const {
  const int at = col_[column];
  return at >= 0 && at < static_cast<int>(cells_.size()) ? cells_[static_cast<size_t>(at)] : std::string_view();
}

bool PriceCsvLines::ParseRow(PriceRow& row, std::string& what) const {
  int date = 0, time = 0;
  bool hasTime = false;
  if (!ParseDateCell(Cell(kColDate), date, time, hasTime)) {
    what = "bad date '" + std::string(Cell(kColDate)) + "'";
    return false;
  }
  if (col_[kColTime] >= 0 && !hasTime) {
    if (!ParseTimeCell(Cell(kColTime), time)) {
      what = "bad time '" + std::string(Cell(kColTime)) + "'";
      return false;
    }
    hasTime = true;
  }
  row = PriceRow();
  row.dateTime = hasTime ? MakeDateTime(date, time) : date;
  for (int c = kColOpen; c < kColumns; ++c) {
    const std::string_view cell = Cell(c);
    if ((IsRequired(c) || !cell.empty()) && !ParseNumber(cell, row.field[kFieldOf[c]])) {
      what = "bad number '" + std::string(cell) + "' in column '" + names_[static_cast<size_t>(std::max(col_[c], 0))] +
             "'";
      return false;
    }
  }
  return true;
}

void AddBar(SPriceData& data, const PriceRow& row) {
  data.AddData(kFieldDateTime, row.dateTime);
  for (int code : kBarFields) data.AddData(code, row.field[code]);
}

void UpdateLastBar(SPriceData& data, const PriceRow& row) {
  data.UpdateData(kFieldDateTime, row.dateTime, 0);
  for (int code : kBarFields) data.UpdateData(code, row.field[code], 0);
}

bool ParseTimeCell(std::string_view cell, int& time) {
  char digits[6];
  size_t n = 0;
  if (cell.size() == 5 && cell[2] == ':') {
    for (size_t i : {0, 1, 3, 4}) digits[n++] = cell[i];
    digits[n++] = '0', digits[n++] = '0';
  } else if (cell.size() == 8 && cell[2] == ':' && cell[5] == ':') {
    for (size_t i : {0, 1, 3, 4, 6, 7}) digits[n++] = cell[i];
  } else if (cell.size() == 4 || cell.size() == 6) {
    for (char c : cell) digits[n++] = c;
    while (n < 6) digits[n++] = '0';
  } else {
    return false;
  }
  std::string_view s(digits, 6);
  if (!AllDigits(s)) return false;
  time = Digits(s, 0, 6);
  return ValidTime(time);
}

bool ParseDateCell(std::string_view cell, int& date, int& time, bool& hasTime) {
  hasTime = false;
  time = 0;
  if (AllDigits(cell) && (cell.size() == 8 || cell.size() == 14)) {
    date = Digits(cell, 0, 8);
    if (cell.size() == 14) {
      hasTime = true;
      time = Digits(cell, 8, 6);
      if (!ValidTime(time)) return false;
    }
    return IsValidDate(date);
  }
  if (cell.size() < 10 || cell[4] != '-' || cell[7] != '-') return false;
  if (!AllDigits(cell.substr(0, 4)) || !AllDigits(cell.substr(5, 2)) || !AllDigits(cell.substr(8, 2))) return false;
  date = Digits(cell, 0, 4) * 10000 + Digits(cell, 5, 2) * 100 + Digits(cell, 8, 2);
  if (!IsValidDate(date)) return false;
  if (cell.size() == 10) return true;
  if (cell[10] != ' ' && cell[10] != 'T') return false;
  hasTime = true;
  return ParseTimeCell(cell.substr(11), time);
}

PriceColumn PriceColumnOf(std::string_view name) {
  const std::string lower = Lower(Trim(name));
  for (const ColumnName& c : kColumnNames) {
    if (lower != c.name) continue;
    if (c.column == kColDate) return {PriceColumn::kDate};
    if (c.column == kColTime) return {PriceColumn::kTime};
    return {PriceColumn::kField, kFieldOf[c.column]};
  }
  return {};
}

const char* MissingPriceColumn(const std::vector<PriceColumn>& found) {
  for (size_t k = 0; k < std::size(kRequired); ++k) {
    const PriceColumn wanted = PriceColumnOf(kRequiredNames[k]);
    auto same = [&](const PriceColumn& c) { return c.kind == wanted.kind && c.field == wanted.field; };
    if (std::none_of(found.begin(), found.end(), same)) return kRequiredNames[k];
  }
  return nullptr;
}

namespace {

// Reads the lines of in as bars into out, sized for barRows bars once the
// header is read. False with the reason and its line (0 for none).
bool ReadBars(std::istream& in, int barRows, SPriceData& out, int& lineNumber, std::string& what) {
  LineReader reader(in);
  PriceCsvLines lines;
  PriceRow row;
  std::string_view line;
  bool header = false;
  while (reader.Next(line)) {
    const PriceCsvLines::Kind kind = lines.Next(line, row, what);
    if (kind == PriceCsvLines::kBadHeader || kind == PriceCsvLines::kBadRow) {
      lineNumber = lines.Number();
      return false;
    }
    if (kind == PriceCsvLines::kHeader) ReserveBars(out, barRows), header = true;
    if (kind == PriceCsvLines::kRow) AddBar(out, row);
  }
  if (!header) what = kNoHeader;
  return header;
}

}  // namespace

bool ReadPriceCsv(const std::string& path, SPriceData& out, std::string& error) {
  out.ClearData();
  std::ifstream in(path, std::ios::binary);
  if (!in) {
    error = path + ": cannot open the file";
    return false;
  }
  // Every bar is one line at least kShortestBarRow long, so the count of
  // those bounds the bars; the count of all lines bounds the line numbers.
  const LineCount count = CountLines(in);
  if (count.lines > INT_MAX) {
    error = path + ": too many lines";
    return false;
  }
  int lineNumber = 0;
  std::string what;
  const bool read = ReadBars(in, static_cast<int>(count.barRows), out, lineNumber, what);
  if (in.bad()) lineNumber = 0, what = "cannot read the file";
  if (read && !in.bad()) return true;
  error = LineError(path, lineNumber, what);
  out.ClearData();
  return false;
}

bool ReadPriceCsv(const std::string& path, SPriceData& out, std::ostream& err) {
  std::string error;
  if (ReadPriceCsv(path, out, error)) return true;
  err << "error: " << error << "\n";
  return false;
}
