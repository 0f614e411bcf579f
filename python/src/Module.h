// The compiled part of the Python package: a thin adapter that copies
// price columns into the library's series once, calls the library with the
// interpreter's lock released, and hands the result series to NumPy without
// copying them.
#pragma once

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <functional>
#include <mutex>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "Cli.h"
#include "chartcalc.h"

namespace py = pybind11;

// The price data of one call: the nine series, filled once from the
// caller's columns.
struct Prices {
  SPriceData data;
  int bars = 0;
};

// Language and index directory are process-wide settings of the library,
// so a call sets them and holds them for its whole duration. The
// interpreter's lock is released first, so Python threads run meanwhile and
// a caller waiting for the library never holds it.
class LibraryCall {
 public:
  LibraryCall(int lang, const std::string& indexDir);

 private:
  py::gil_scoped_release release_;
  std::unique_lock<std::mutex> lock_;
};

// The user functions of the index directory set by the current
// LibraryCall. Reading them costs far more than a small calculation, so
// they are read again only when the directory or its function files change.
SFunctionList& UserFunctions();

// Every kind of definition, in the order the tool's indicator calc looks.
std::vector<int> AllKinds();

// The definition read(x, err) reads, from a cache of earlier reads under
// the same key, language and index directory while the definition files of
// the kinds stay as they were: a look-up in the definition databases costs
// far more than a small calculation. Returns read's status.
int CachedDefinition(const std::string& key, const std::vector<int>& kinds, SIndex& x, std::ostream& err,
                     const std::function<int(SIndex&, std::ostream&)>& read);

// The library's language number of "en" or "ko"; ValueError otherwise.
int LangOf(const std::string& lang);

// Collects the tool's messages and turns a failed status into the Python
// error: OSError when files were at fault, ValueError otherwise.
class Messages {
 public:
  std::ostream& err() { return text_; }
  // Raises when status is not success; the "error: " prefixes are dropped.
  void Check(int status, bool filesAtFault = false) const;

 private:
  std::ostringstream text_;
};

// The series as a NumPy array that owns its buffer (no copy): exactly size
// elements, NaN before the start index and past the series' end.
py::array_t<double> TakeSeries(SVector&& series, int size);
// The elements as an array that owns them (no copy).
py::array_t<double> TakeValues(std::vector<double>&& values);

// A tool option list as the tool's parser leaves it, for the tool's helpers.
CliOptions ToolOptions(std::vector<std::string> args, const std::vector<std::pair<std::string, std::string>>& own);

// UTF-8 text from a caller to code page 949; ValueError when it cannot be.
std::string ToCp949(const std::string& utf8, const char* what);

void AddPrices(py::module_& m);
void AddFormulas(py::module_& m);
void AddTransforms(py::module_& m);
void AddSimulations(py::module_& m);
