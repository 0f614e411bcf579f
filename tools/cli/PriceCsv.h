// Reading price bars from a CSV file with a header row into a price record,
// through the library's own AddData, as a host fills one.
#pragma once

#include <ostream>
#include <string>
#include <string_view>

#include "chartcalc.h"

// Reads the whole file into out (emptied first), one AddData per field and
// bar. On failure returns false with a message that names the file and the
// line; out is left empty then.
bool ReadPriceCsv(const std::string& path, SPriceData& out, std::string& error);
// ReadPriceCsv for a subcommand: on failure writes "error: " and the message
// to err and returns false.
bool ReadPriceCsv(const std::string& path, SPriceData& out, std::ostream& err);

// Number of bars of a record read by ReadPriceCsv.
inline int Bars(const SPriceData& data) { return data.GetSeries(chartcalc::detail::kClose).GetSize(); }

// Parses one date cell (YYYYMMDD, YYYYMMDDhhmmss, YYYY-MM-DD or
// "YYYY-MM-DD hh:mm[:ss]") into a date and a time of day; hasTime tells
// whether a time was written.
bool ParseDateCell(std::string_view cell, int& date, int& time, bool& hasTime);
// Parses a time cell: hh:mm[:ss], hhmm or hhmmss.
bool ParseTimeCell(std::string_view cell, int& time);
