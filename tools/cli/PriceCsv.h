// Reading price bars from a CSV file with a header row.
#pragma once

#include <string>

#include "chartcalc.h"

// The nine price series in the order they are bound everywhere: close, open,
// high, low, volume, date-time, open interest, amount, spread.
struct PriceSeries {
  SVector series[kPriceSlots];
  int Bars() const { return series[kClose].GetSize(); }
};

// Reads the whole file into out. On failure returns false with a message that
// names the file and the line; out is left empty then.
bool ReadPriceCsv(const std::string& path, PriceSeries& out, std::string& error);

// Parses one date cell (YYYYMMDD, YYYYMMDDhhmmss, YYYY-MM-DD or
// "YYYY-MM-DD hh:mm[:ss]") into a date and a time of day; hasTime tells
// whether a time was written.
bool ParseDateCell(const std::string& cell, int& date, int& time, bool& hasTime);
// Parses a time cell: hh:mm[:ss], hhmm or hhmmss.
bool ParseTimeCell(const std::string& cell, int& time);
