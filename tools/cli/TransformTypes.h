// The chart types of transform: their parameters, which elements of the
// calculated lines are rows and what each column of a row holds. Shared by
// the tool's CSV and the Python module's frames.
#pragma once

#include <ostream>
#include <span>
#include <string>

#include "Cli.h"
#include "TransformSvg.h"
#include "chartcalc.h"

// What a parameter holds. A result is written by the calculation and cannot
// be given.
enum class ParamKind { kNone, kCount, kSize, kResult };

struct Param {
  ParamKind kind = ParamKind::kNone;
  const char* word = "";      // in the parameter line and the picture's title
  const char* meaning = "";   // in --help
  const char* fallback = "";  // used when the option is not given
  long least = 1;             // the smallest count accepted
  long most = 1000000;        // the largest: no chart shows more periods, lines or bands
};

// Which elements of the lines are rows, and which bar a row stands for.
enum class RowSpan {
  kElements,       // every element; the lines carry the datetime and bar
  kAverages,       // the bars where the averages of lines 2 and 3 exist
  kBarsFromStart,  // element k is bar (close start index + k)
  kBarsByIndex,    // element i is bar i, from the close start index on
};

enum class Cell { kNone, kWhole, kNumber, kLetter, kRowBar, kRowDateTime };

struct Column {
  const char* header;
  Cell cell = Cell::kNone;
  int line = 0;
};

struct TransformType {
  const char* name;
  const char* title;
  void (*calc)(SIndex& x, int reset, int from, int to);
  Param p1, p2;
  RowSpan rows;
  std::span<const Column> columns;  // after n
  TransformDrawing drawing;
};

struct RowRange {
  int first = 0, end = 0;  // element indices [first, end)
  int barOffset = 0;       // bar = element + barOffset
};

// Every type, in the order --help lists them.
std::span<const TransformType> TransformTypes();
// The type of that name, or nullptr.
const TransformType* FindType(const std::string& name);
// Sets VarValue[0] and [1] from --p1 and --p2, or their fallbacks. False
// after a message.
bool SetParams(const TransformType& t, const CliOptions& options, SIndex& x, std::ostream& err);
// "reversal 3, box 2.5": the parameters as the indicator holds them.
std::string ParamText(const TransformType& t, const SIndex& x);
// --from and --to (a band chart only): bars of the data, whole series by
// default. False after a message.
bool BarRange(const TransformType& t, const CliOptions& options, int bars, int& from, int& to, std::ostream& err);
// The rows of a calculated chart.
RowRange RowsOf(const TransformType& t, const SIndex& x);
// A cell as a number: a letter as its code, NaN for an empty cell.
double CellValue(const Column& c, const SIndex& x, int row, int bar);
