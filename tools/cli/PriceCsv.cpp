// Price CSV reader. Columns are found by name, ignoring case; the file is read
// whole before anything is computed, and the first bad row ends the reading
// with a message naming the file and the line.
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
#include <cstring>
#include <cmath>
#include <fstream>
#include <iterator>
#include <vector>

using namespace chartcalc::detail;

namespace {

enum Column { kColDate, kColTime, kColOpen, kColHigh, kColLow, kColClose, kColVolume, kColOi, kColAmount, kColSpread, kColumns };

struct ColumnName {
  const char* name;
  Column column;
};

// Header names, lower case.
const ColumnName kColumnNames[] = {
    {"date", kColDate},     {"datetime", kColDate}, {"time", kColTime},         {"open", kColOpen},
    {"high", kColHigh},     {"low", kColLow},       {"close", kColClose},       {"volume", kColVolume},
    {"openinterest", kColOi}, {"oi", kColOi},       {"amount", kColAmount},     {"spread", kColSpread},
};

// Columns a file must have; the others read as zeros when absent.
const Column kRequired[] = {kColDate, kColOpen, kColHigh, kColLow, kColClose, kColVolume};
const char* const kRequiredNames[] = {"date", "open", "high", "low", "close", "volume"};
// The shortest row that can hold a bar: a date of eight digits and the other
// required cells of one digit each, every one behind a comma.
constexpr size_t kShortestDate = 8;
constexpr size_t kShortestBarRow = kShortestDate + (std::size(kRequired) - 1) * 2;
bool IsRequired(int c) { return std::find(std::begin(kRequired), std::end(kRequired), c) != std::end(kRequired); }

// The price record's field code of each numeric column.
const int kFieldOf[kColumns] = {-1,         -1,          kFieldOpen,         kFieldHigh,   kFieldLow,
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
  std::transform(out.begin(), out.end(), out.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
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

std::string LineError(const std::string& path, int line, const std::string& what) {
  return path + ":" + std::to_string(line) + ": " + what;
}

// Reads the lines of a file through a fixed buffer, counting them from 1.
// A line is valid until the next call. The file is read in pieces, so a
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
        ++number_;
        return true;
      }
      if (eof_) {
        if (begin_ == end_) return false;
        line = std::string_view(from, end_ - begin_);  // the last line has no line feed
        begin_ = end_;
        ++number_;
        return true;
      }
      Refill();
    }
  }
  int Number() const { return number_; }

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
  int number_ = 0;
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

struct Header {
  int col[kColumns];
  std::vector<std::string> names;
  const std::string& NameOf(int c) const { return names[static_cast<size_t>(col[c] >= 0 ? col[c] : 0)]; }
};

bool ReadHeader(std::string_view line, Header& h, std::string& missing) {
  std::fill(std::begin(h.col), std::end(h.col), -1);
  std::vector<std::string_view> cells;
  SplitCells(line, cells);
  for (size_t i = 0; i < cells.size(); ++i) {
    h.names.emplace_back(cells[i]);
    std::string lower = Lower(cells[i]);
    for (const ColumnName& c : kColumnNames)
      if (lower == c.name && h.col[c.column] < 0) h.col[c.column] = static_cast<int>(i);
  }
  for (size_t k = 0; k < std::size(kRequired); ++k)
    if (h.col[kRequired[k]] < 0) {
      missing = kRequiredNames[k];
      return false;
    }
  return true;
}

// Adds one row as a bar; false with a message (without the location) when a
// cell is bad.
bool AddRow(const Header& h, const std::vector<std::string_view>& cells, SPriceData& out, std::string& what) {
  auto cellOf = [&](int c) -> std::string_view {
    return h.col[c] >= 0 && h.col[c] < static_cast<int>(cells.size()) ? cells[static_cast<size_t>(h.col[c])]
                                                                       : std::string_view();
  };
  int date = 0, time = 0;
  bool hasTime = false;
  if (!ParseDateCell(cellOf(kColDate), date, time, hasTime)) {
    what = "bad date '" + std::string(cellOf(kColDate)) + "'";
    return false;
  }
  if (h.col[kColTime] >= 0 && !hasTime) {
    if (!ParseTimeCell(cellOf(kColTime), time)) {
      what = "bad time '" + std::string(cellOf(kColTime)) + "'";
      return false;
    }
    hasTime = true;
  }
  double values[kColumns] = {};
  for (int c = kColOpen; c < kColumns; ++c) {
    std::string_view cell = cellOf(c);
    if ((IsRequired(c) || !cell.empty()) && !ParseNumber(cell, values[c])) {
      what = "bad number '" + std::string(cell) + "' in column '" + h.NameOf(c) + "'";
      return false;
    }
  }
  out.AddData(kFieldDateTime, hasTime ? MakeDateTime(date, time) : date);
  for (int c = kColOpen; c < kColumns; ++c) out.AddData(kFieldOf[c], values[c]);
  return true;
}

}  // namespace

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
  LineReader reader(in);
  std::string_view line;
  // Header: the first line that is not blank.
  while (reader.Next(line)) {
    if (reader.Number() == 1 && line.substr(0, 3) == "\xEF\xBB\xBF") line.remove_prefix(3);
    if (!Trim(line).empty()) break;
  }
  Header header;
  std::string missing;
  if (!ReadHeader(line, header, missing)) {
    error = LineError(path, reader.Number(), "no '" + missing + "' column in the header");
    return false;
  }
  ReserveBars(out, static_cast<int>(count.barRows));
  std::vector<std::string_view> cells;
  std::string what;
  while (reader.Next(line)) {
    if (Trim(line).empty()) continue;
    SplitCells(line, cells);
    if (!AddRow(header, cells, out, what)) {
      error = LineError(path, reader.Number(), what);
      out.ClearData();
      return false;
    }
  }
  if (in.bad()) {
    error = path + ": cannot read the file";
    out.ClearData();
    return false;
  }
  return true;
}

bool ReadPriceCsv(const std::string& path, SPriceData& out, std::ostream& err) {
  std::string error;
  if (ReadPriceCsv(path, out, error)) return true;
  err << "error: " << error << "\n";
  return false;
}
