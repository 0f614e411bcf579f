#include "Module.h"

#include <cmath>
#include <filesystem>
#include <limits>
#include <map>

#include "DefinitionText.h"

using namespace chartcalc::detail;

namespace {

std::mutex g_library;

constexpr char kErrorPrefix[] = "error: ";

// Definitions read at most this many ways are kept; more start the cache afresh.
constexpr size_t kMaxCachedDefinitions = 64;

// What identifies the content of the kinds' definition files in the index
// directory: their paths, sizes and modification times (a missing file
// counts as such).
std::string FilesStamp(const std::vector<int>& kinds) {
  std::string stamp;
  for (int kind : kinds)
    for (const SString& path : {getIndexDBFileName(kind), getUserDBFileName(kind)}) {
      std::error_code ec;
      const auto size = std::filesystem::file_size(path.c_str(), ec);
      const auto time = std::filesystem::last_write_time(path.c_str(), ec);
      stamp += std::string(path.c_str()) + "|" + std::to_string(ec ? -1 : static_cast<long long>(size)) + "|" +
               std::to_string(ec ? 0 : time.time_since_epoch().count()) + "\n";
    }
  return stamp;
}

}  // namespace

LibraryCall::LibraryCall(int lang, const std::string& indexDir) : lock_(g_library) {
  SetLangType(lang);
  SetIndexDir(indexDir.c_str());
}

SFunctionList& UserFunctions() {
  static std::string stamp;
  static SFunctionList functions;
  if (std::string now = FilesStamp({kIndexUserFunction}); now != stamp) {
    functions = SFunctionList();
    functions.ReadFunction();
    stamp = std::move(now);
  }
  return functions;
}

std::vector<int> AllKinds() {
  std::vector<int> kinds;
  for (const DefinitionKind& k : kDefinitionKinds) kinds.push_back(k.type);
  return kinds;
}

int CachedDefinition(const std::string& key, const std::vector<int>& kinds, SIndex& x, std::ostream& err,
                     const std::function<int(SIndex&, std::ostream&)>& read) {
  struct Read {
    std::string stamp;
    SIndex definition;
  };
  static std::map<std::string, Read> cache;
  const std::string where = key + '\0' + std::to_string(GetLangType()) + '\0' + getIndexDir().str();
  std::string stamp = FilesStamp(kinds);
  if (auto it = cache.find(where); it != cache.end() && it->second.stamp == stamp) {
    x = it->second.definition;
    return kExitOk;
  }
  const int status = read(x, err);
  if (status != kExitOk) return status;  // a missing definition may be added: asked again next time
  if (cache.size() >= kMaxCachedDefinitions) cache.clear();
  cache[where] = Read{std::move(stamp), x};
  return kExitOk;
}

int LangOf(const std::string& lang) {
  if (lang == "en") return kLangEnglish;
  if (lang == "ko") return kLangKorean;
  throw py::value_error("lang must be \"en\" or \"ko\", not \"" + lang + "\"");
}

void Messages::Check(int status, bool filesAtFault) const {
  if (status == kExitOk) return;
  std::string message, line;
  std::istringstream lines(text_.str());
  while (std::getline(lines, line)) {
    if (line.rfind(kErrorPrefix, 0) == 0) line.erase(0, sizeof kErrorPrefix - 1);
    message += (message.empty() ? "" : "\n") + line;
  }
  if (message.empty()) message = "the library gave up without a message";
  if (filesAtFault && status == kExitBadInput) {
    PyErr_SetString(PyExc_OSError, message.c_str());
    throw py::error_already_set();
  }
  throw py::value_error(message);
}

py::array_t<double> TakeValues(std::vector<double>&& values) {
  auto* owner = new std::vector<double>(std::move(values));
  py::capsule free(owner, [](void* p) { delete static_cast<std::vector<double>*>(p); });
  return py::array_t<double>(static_cast<py::ssize_t>(owner->size()), owner->data(), free);
}

py::array_t<double> TakeSeries(SVector&& series, int size) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  // A single number stands for itself at every bar.
  if (!series.IsSeries() && series.GetSize() > 0) return TakeValues(std::vector<double>(size, series.Number()));
  const int end = std::max(series.GetSize(), 0), start = std::min(std::max(series.GetStartIndex(), 0), end);
  series.SetSize(size);  // grows a shorter result, cuts a longer one
  if (series.GetSize() < size) throw std::bad_alloc();
  for (int i = 0; i < std::min(start, size); ++i) series[i] = nan;
  for (int i = end; i < size; ++i) series[i] = nan;
  auto* owner = new SVector(std::move(series));
  py::capsule free(owner, [](void* p) { delete static_cast<SVector*>(p); });
  return py::array_t<double>(size, owner->Data(), free);
}

CliOptions ToolOptions(std::vector<std::string> args, const std::vector<std::pair<std::string, std::string>>& own) {
  CliOptions options;
  options.args = std::move(args);
  for (const auto& [name, value] : own) {
    options.own[name] = value;
    options.ownAll.emplace_back(name, value);
  }
  return options;
}

std::string ToCp949(const std::string& utf8, const char* what) {
  std::string out;
  if (!Utf8ToCp949(utf8, out)) throw py::value_error(std::string(what) + " is not text that code page 949 can hold");
  return out;
}

PYBIND11_MODULE(_chartcalc, m) {
  m.doc() = "The chartcalc library over NumPy arrays (see the chartcalc package).";
  m.attr("BUILD_INDEX_DIR") = CHARTCALC_BUILD_INDEX_DIR;
  AddPrices(m);
  AddFormulas(m);
  AddTransforms(m);
  AddSimulations(m);
}
