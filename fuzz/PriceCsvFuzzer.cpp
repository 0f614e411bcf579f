// Feeds files built from fuzz bytes to the tool's price CSV reader: raw
// bytes, or a valid file with bytes flipped. A read either succeeds with
// nine series of one length and finite values, or fails with a message and
// an empty record; either way the series are never sized beyond what a file
// of that length could hold.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "FuzzFiles.h"
#include "PriceCsv.h"

using namespace chartcalc::detail;

namespace {

// A file with every column, each date form and a quoted cell, so that
// flipped bytes land in every part of the reader.
const char kTemplate[] =
    "\xEF\xBB\xBF"
    "Date,Time,Open,High,Low,Close,Volume,OI,Amount,Spread\r\n"
    "20240102,0930,10,11,9,10.5,100,1,2,3\r\n"
    "\r\n"
    "2024-01-03,09:31:05,10.5,12,10,\"11\",200,,,\r\n"
    "20240104093200,,+11,12,1e1,11.5,300,4,5,6\n"
    "2024-01-05 10:00,x,11.5,12,11,12,400,7,8,9";

// The shortest row that can be a bar is a date of eight digits and five
// numbers of one digit with their commas; the check allows a little less.
constexpr size_t kFewestBytesPerBar = 16;

[[noreturn]] void Fail(const char* what) {
  std::fprintf(stderr, "price_csv_fuzzer: %s\n", what);
  std::abort();
}

void CheckSizing(const SPriceData& d, size_t fileSize) {
  const long long most = static_cast<long long>(fileSize / kFewestBytesPerBar) + 1;
  for (const SVector& s : d.Series)
    if (s.GetCapacity() > most) Fail("series sized beyond what the file can hold");
}

void CheckRead(const SPriceData& d, const std::string& bytes) {
  const int bars = Bars(d);
  for (const SVector& s : d.Series) {
    if (s.GetSize() != bars) Fail("series of different lengths");
    for (int i = 0; i < bars; ++i)
      if (!std::isfinite(s[i])) Fail("a value that is not finite");
  }
  if (bars > 0 && d.HasData != 1) Fail("bars without HasData");
  // The header takes a line, every bar another.
  long long lines = 1;
  for (char c : bytes) lines += c == '\n';
  if (bars >= lines) Fail("more bars than rows");
}

void CheckFailure(const SPriceData& d, const std::string& error, const std::string& path) {
  if (error.empty()) Fail("failure without a message");
  if (error.compare(0, path.size(), path) != 0) Fail("message does not name the file");
  for (const SVector& s : d.Series)
    if (s.GetSize() != 0) Fail("bars left behind by a failed read");
  if (d.HasData != 0) Fail("HasData left behind by a failed read");
}

// The cell parsers on their own, over the first bytes of the input: what
// they accept is a real date and time of day.
void CheckCells(const std::string& bytes) {
  std::string_view cell(bytes.data(), std::min<size_t>(bytes.size(), 24));
  int date = -1, time = -1;
  bool hasTime = true;
  if (ParseDateCell(cell, date, time, hasTime)) {
    if (!IsValidDate(date)) Fail("date cell accepted an invalid date");
    if (time < 0 || time > 235959 || (!hasTime && time != 0)) Fail("date cell gave a bad time");
  }
  time = -1;
  if (ParseTimeCell(cell, time) && (time < 0 || time > 235959 || time % 100 > 59 || time / 100 % 100 > 59))
    Fail("time cell accepted an invalid time");
}

}  // namespace

// The seeds of fuzz/corpus-price are price files behind a line feed: an even
// first byte, which makes the rest of the seed the file itself.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const std::string templ(kTemplate, sizeof kTemplate - 1);
  const std::string path = fuzzfiles::ScratchDir() + "prices.csv";
  const std::string bytes = fuzzfiles::FileBytes(data, size, templ);
  fuzzfiles::WriteFile(path, bytes);
  SPriceData d;
  std::string error;
  if (ReadPriceCsv(path, d, error))
    CheckRead(d, bytes);
  else
    CheckFailure(d, error, path);
  CheckSizing(d, bytes.size());
  CheckCells(bytes);
  std::remove(path.c_str());
  return 0;
}
