// Reading price bars from a CSV file with a header row into a price record,
// through the library's own AddData, as a host fills one; the same row
// reading serves a feed that arrives line by line.
#pragma once

#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "chartcalc.h"

// Reads the whole file into out (emptied first), one AddData per field and
// bar. On failure returns false with a message that names the file and the
// line; out is left empty then.
bool ReadPriceCsv(const std::string& path, SPriceData& out, std::string& error);
// ReadPriceCsv for a subcommand: on failure writes "error: " and the message
// to err and returns false.
bool ReadPriceCsv(const std::string& path, SPriceData& out, std::ostream& err);

// One data row: the bar's date-time and its price fields indexed by field
// code; the fields the file has no column for are zeros.
struct PriceRow {
  double dateTime = 0;
  double field[chartcalc::detail::kFieldCodes] = {};
};

// Reads the lines of a price CSV in order, whether from a file or as they
// arrive. Blank lines are skipped; the first other line is the header (a
// UTF-8 byte order mark on the first line is dropped), whose columns are
// found by name, ignoring case; every later line is a bar.
class PriceCsvLines {
 public:
  enum Kind { kBlank, kHeader, kRow, kBadHeader, kBadRow };
  static constexpr int kColumns = 10;

  // The kind of the next line. A kRow fills row; a kBad... sets what to the
  // reason, without the location (Number() gives the line).
  Kind Next(std::string_view line, PriceRow& row, std::string& what);
  // The number of the line last given, counted from 1.
  int Number() const { return number_; }

 private:
  bool ReadHeader(std::string& what);
  bool ParseRow(PriceRow& row, std::string& what) const;
  std::string_view Cell(int column) const;

  int number_ = 0;
  bool hasHeader_ = false;
  int col_[kColumns] = {};  // the cell of each column, -1 when absent
  std::vector<std::string> names_;
  std::vector<std::string_view> cells_;  // of the line being read
};

// The reason given for a file or feed that ends before its header.
inline constexpr const char* kNoHeader = "no header row";

// Appends the row as a new bar, one AddData per field.
void AddBar(SPriceData& data, const PriceRow& row);
// Overwrites the last bar with the row, one UpdateData per field.
void UpdateLastBar(SPriceData& data, const PriceRow& row);

// What a price column's name means, found as the reader finds a header
// cell (ignoring case): the date (or date-time), the time of day, a price
// field (with its field code), or nothing the reader uses.
struct PriceColumn {
  enum Kind { kNone, kDate, kTime, kField } kind = kNone;
  int field = -1;
};
PriceColumn PriceColumnOf(std::string_view name);
// The name of the first column a price table must have that the found
// columns lack, or nullptr when none is missing.
const char* MissingPriceColumn(const std::vector<PriceColumn>& found);

// Number of bars of a record read by ReadPriceCsv.
inline int Bars(const SPriceData& data) { return data.GetSeries(chartcalc::detail::kClose).GetSize(); }

// Parses one date cell (YYYYMMDD, YYYYMMDDhhmmss, YYYY-MM-DD or
// "YYYY-MM-DD hh:mm[:ss]") into a date and a time of day; hasTime tells
// whether a time was written.
bool ParseDateCell(std::string_view cell, int& date, int& time, bool& hasTime);
// Parses a time cell: hh:mm[:ss], hhmm or hhmmss.
bool ParseTimeCell(std::string_view cell, int& time);
