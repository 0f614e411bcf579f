// Price CSV reader. Columns are found by name, ignoring case; the file is read
// whole before anything is computed, and the first bad row ends the reading
// with a message naming the file and the line.
#include "PriceCsv.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <fstream>
#include <vector>

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

// Where each numeric column goes among the nine price series.
const int kSlotOf[kColumns] = {-1, -1, kOpen, kHigh, kLow, kClose, kVolume, kOpenInterest, kAmount, kSpread};

std::string Trim(const std::string& s) {
  size_t b = s.find_first_not_of(" \t\r\""), e = s.find_last_not_of(" \t\r\"");
  return b == std::string::npos ? std::string() : s.substr(b, e - b + 1);
}

std::vector<std::string> SplitCells(const std::string& line) {
  std::vector<std::string> cells;
  size_t from = 0;
  for (;;) {
    size_t comma = line.find(',', from);
    cells.push_back(Trim(line.substr(from, comma == std::string::npos ? std::string::npos : comma - from)));
    if (comma == std::string::npos) return cells;
    from = comma + 1;
  }
}

// Moves collected values into a series in one allocation.
SVector ToSeries(const std::vector<double>& values) {
  SVector s(static_cast<int>(values.size()));
  std::copy(values.begin(), values.end(), s.Data());
  return s;
}

std::string Lower(std::string s) {
  std::transform(s.begin(), s.end(), s.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return s;
}

bool AllDigits(const std::string& s) {
  return !s.empty() && std::all_of(s.begin(), s.end(), [](unsigned char c) { return std::isdigit(c); });
}

int Digits(const std::string& s, size_t at, size_t n) { return std::stoi(s.substr(at, n)); }

bool ValidTime(int t) { return t / 10000 < 24 && t / 100 % 100 < 60 && t % 100 < 60; }

bool ParseNumber(const std::string& cell, double& v) {
  const char* b = cell.data();
  const char* e = b + cell.size();
  if (b != e && *b == '+') ++b;
  auto [p, ec] = std::from_chars(b, e, v);
  return ec == std::errc() && p == e && std::isfinite(v);
}

std::string LineError(const std::string& path, int line, const std::string& what) {
  return path + ":" + std::to_string(line) + ": " + what;
}

}  // namespace

bool ParseTimeCell(const std::string& cell, int& time) {
  std::string s = cell;
  if (s.size() == 5 && s[2] == ':') s = s.substr(0, 2) + s.substr(3) + "00";
  else if (s.size() == 8 && s[2] == ':' && s[5] == ':') s = s.substr(0, 2) + s.substr(3, 2) + s.substr(6);
  else if (s.size() == 4) s += "00";
  if (s.size() != 6 || !AllDigits(s)) return false;
  time = std::stoi(s);
  return ValidTime(time);
}

bool ParseDateCell(const std::string& cell, int& date, int& time, bool& hasTime) {
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
  std::string ymd = cell.substr(0, 4) + cell.substr(5, 2) + cell.substr(8, 2);
  if (!AllDigits(ymd)) return false;
  date = std::stoi(ymd);
  if (!IsValidDate(date)) return false;
  if (cell.size() == 10) return true;
  if (cell[10] != ' ' && cell[10] != 'T') return false;
  hasTime = true;
  return ParseTimeCell(cell.substr(11), time);
}

bool ReadPriceCsv(const std::string& path, PriceSeries& out, std::string& error) {
  std::ifstream in(path, std::ios::binary);
  if (!in) {
    error = path + ": cannot open the file";
    return false;
  }
  std::string line;
  int lineNo = 0;
  int col[kColumns];
  std::fill(std::begin(col), std::end(col), -1);
  // Header: the first line that is not blank.
  while (std::getline(in, line)) {
    ++lineNo;
    if (lineNo == 1 && line.rfind("\xEF\xBB\xBF", 0) == 0) line.erase(0, 3);
    if (!Trim(line).empty()) break;
  }
  std::vector<std::string> header = SplitCells(line);
  for (size_t i = 0; i < header.size(); ++i)
    for (const ColumnName& c : kColumnNames)
      if (Lower(header[i]) == c.name && col[c.column] < 0) col[c.column] = static_cast<int>(i);
  for (size_t k = 0; k < std::size(kRequired); ++k)
    if (col[kRequired[k]] < 0) {
      error = LineError(path, lineNo, std::string("no '") + kRequiredNames[k] + "' column in the header");
      return false;
    }
  std::vector<double> columns[kPriceSlots];
  while (std::getline(in, line)) {
    ++lineNo;
    if (Trim(line).empty()) continue;
    std::vector<std::string> cells = SplitCells(line);
    auto cellOf = [&](Column c) -> std::string {
      return col[c] >= 0 && col[c] < static_cast<int>(cells.size()) ? cells[col[c]] : std::string();
    };
    int date = 0, time = 0;
    bool hasTime = false;
    if (!ParseDateCell(cellOf(kColDate), date, time, hasTime)) {
      error = LineError(path, lineNo, "bad date '" + cellOf(kColDate) + "'");
      return false;
    }
    if (col[kColTime] >= 0 && !hasTime) {
      if (!ParseTimeCell(cellOf(kColTime), time)) {
        error = LineError(path, lineNo, "bad time '" + cellOf(kColTime) + "'");
        return false;
      }
      hasTime = true;
    }
    columns[kDateTime].push_back(hasTime ? MakeDateTime(date, time) : date);
    for (int c = kColOpen; c < kColumns; ++c) {
      double v = 0.0;
      std::string cell = cellOf(static_cast<Column>(c));
      bool required = std::find(std::begin(kRequired), std::end(kRequired), c) != std::end(kRequired);
      if ((required || !cell.empty()) && !ParseNumber(cell, v)) {
        error = LineError(path, lineNo, "bad number '" + cell + "' in column '" + header[col[c] >= 0 ? col[c] : 0] + "'");
        return false;
      }
      columns[kSlotOf[c]].push_back(v);
    }
  }
  for (int k = 0; k < kPriceSlots; ++k) out.series[k] = ToSeries(columns[k]);
  return true;
}
