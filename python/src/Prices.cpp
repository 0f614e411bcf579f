// Price columns from Python into the library's series: found by name as the
// tool's CSV reader finds them, each copied once (converted to double on
// the way, whatever its numeric dtype), absent optional ones zeros.
#include <climits>
#include <cmath>
#include <optional>

#include "Module.h"
#include "PriceCsv.h"

using namespace chartcalc::detail;

namespace {

// One column's values, read in place whatever their numeric type.
class NumberColumn {
 public:
  NumberColumn(const py::array& values, const std::string& name) : values_(values) {
    if (values.ndim() != 1) throw py::value_error("column '" + name + "' is not one-dimensional");
    const char kind = values.dtype().kind();
    if (kind != 'f' && kind != 'i' && kind != 'u' && kind != 'b')
      throw py::value_error("column '" + name + "' does not hold numbers");
  }
  py::ssize_t size() const { return values_.shape(0); }
  // Calls take(i, v) for every element.
  template <typename Take>
  void Each(Take take) const {
    const char kind = values_.dtype().kind();
    const py::ssize_t width = values_.itemsize();
    if (kind == 'f' && width == 8) return Typed<double>(take);
    if (kind == 'f' && width == 4) return Typed<float>(take);
    if (kind == 'i' && width == 8) return Typed<std::int64_t>(take);
    if (kind == 'i' && width == 4) return Typed<std::int32_t>(take);
    if (kind == 'i' && width == 2) return Typed<std::int16_t>(take);
    if (kind == 'u' && width == 8) return Typed<std::uint64_t>(take);
    if (kind == 'u' && width == 4) return Typed<std::uint32_t>(take);
    if (kind == 'u' && width == 2) return Typed<std::uint16_t>(take);
    if (width == 1 && kind == 'i') return Typed<std::int8_t>(take);
    if (width == 1) return Typed<std::uint8_t>(take);
    throw py::value_error("a price column's number type is not supported");
  }

 private:
  template <typename T, typename Take>
  void Typed(Take take) const {
    const auto* base = static_cast<const char*>(values_.data());
    const py::ssize_t stride = values_.strides(0);
    for (py::ssize_t i = 0; i < size(); ++i)
      take(i, static_cast<double>(*reinterpret_cast<const T*>(base + i * stride)));
  }
  py::array values_;
};

// The columns of the caller, by what they mean to the reader.
struct Found {
  std::optional<py::array> date, time;
  std::optional<py::array> field[kFieldCodes];
  std::string fieldName[kFieldCodes];
  std::vector<PriceColumn> kinds;
};

Found FindColumns(const py::dict& columns) {
  Found f;
  for (const auto& [key, value] : columns) {
    if (!py::isinstance<py::str>(key)) continue;
    const PriceColumn c = PriceColumnOf(key.cast<std::string>());
    std::optional<py::array>* slot = c.kind == PriceColumn::kDate    ? &f.date
                                     : c.kind == PriceColumn::kTime  ? &f.time
                                     : c.kind == PriceColumn::kField ? &f.field[c.field]
                                                                     : nullptr;
    if (!slot || *slot) continue;  // the first column of a name counts, as in a file
    *slot = py::array::ensure(value);
    if (c.kind == PriceColumn::kField) f.fieldName[c.field] = key.cast<std::string>();
    if (!slot->value()) throw py::value_error("column '" + key.cast<std::string>() + "' is not an array");
    f.kinds.push_back(c);
  }
  return f;
}

// Text cells as the reader takes them; numbers as written.
std::vector<double> Dates(const py::array& column) {
  std::vector<double> dates;
  if (column.dtype().kind() != 'O' && column.dtype().kind() != 'U') {
    NumberColumn numbers(column, "date");
    dates.resize(static_cast<size_t>(numbers.size()));
    numbers.Each([&](py::ssize_t i, double v) { dates[i] = v; });
    return dates;
  }
  for (const py::handle cell : column) {
    const std::string text = py::str(cell);
    int date = 0, time = 0;
    bool hasTime = false;
    if (!ParseDateCell(text, date, time, hasTime)) throw py::value_error("bad date '" + text + "'");
    dates.push_back(hasTime ? MakeDateTime(date, time) : date);
  }
  return dates;
}

// A separate time column joined to plain dates, as the reader joins one.
void JoinTimes(const py::array& column, std::vector<double>& dates) {
  size_t i = 0;
  for (const py::handle cell : column) {
    if (i >= dates.size()) break;
    int time = 0;
    const std::string text = py::isinstance<py::str>(cell) ? cell.cast<std::string>() : std::string(py::str(cell));
    if (!ParseTimeCell(text, time)) throw py::value_error("bad time '" + text + "'");
    if (dates[i] < kIntradayThreshold) dates[i] = MakeDateTime(static_cast<int>(dates[i]), time);
    ++i;
  }
}

// The engine's series of each price field: the columns are written into
// the series directly, a whole column at a time.
constexpr std::pair<int, int> kSlotOfField[] = {{kFieldOpen, kOpen},     {kFieldHigh, kHigh},
                                                {kFieldLow, kLow},       {kFieldClose, kClose},
                                                {kFieldVolume, kVolume}, {kFieldOpenInterest, kOpenInterest},
                                                {kFieldAmount, kAmount}, {kFieldSpread, kSpread}};

// Sizes the series for bars elements and lets write fill them.
template <typename Write>
void Fill(SVector& series, int bars, Write write) {
  series.ReAlloc(bars);
  series.SetSize(bars);
  if (series.GetSize() < bars) throw std::bad_alloc();
  write(series.Data());
}

void CheckLength(py::ssize_t size, int bars, const std::string& name) {
  if (size != bars) throw py::value_error("column '" + name + "' is not as long as the dates");
}

Prices MakePrices(const py::dict& columns, const std::optional<py::array>& indexDates) {
  Found f = FindColumns(columns);
  if (!f.date && indexDates) f.date = indexDates, f.kinds.push_back({PriceColumn::kDate});
  if (const char* missing = MissingPriceColumn(f.kinds))
    throw py::value_error(std::string("the prices have no '") + missing + "' column" +
                          (std::string(missing) == "date" ? " (nor a DatetimeIndex)" : ""));
  std::vector<double> dates = Dates(*f.date);
  if (f.time) JoinTimes(*f.time, dates);
  if (dates.size() > static_cast<size_t>(INT_MAX)) throw py::value_error("too many bars");
  Prices p;
  p.bars = static_cast<int>(dates.size());
  Fill(p.data.GetSeries(kDateTime), p.bars, [&](double* to) { std::copy(dates.begin(), dates.end(), to); });
  for (const auto& [code, slot] : kSlotOfField) {
    SVector& series = p.data.GetSeries(slot);
    if (!f.field[code]) {
      Fill(series, p.bars, [&](double* to) { std::fill(to, to + p.bars, 0.0); });
      continue;
    }
    NumberColumn numbers(*f.field[code], f.fieldName[code]);
    CheckLength(numbers.size(), p.bars, f.fieldName[code]);
    Fill(series, p.bars, [&](double* to) { numbers.Each([&](py::ssize_t i, double v) { to[i] = v; }); });
  }
  p.data.HasData = p.bars > 0;
  return p;
}

}  // namespace

void AddPrices(py::module_& m) {
  py::class_<Prices>(m, "Prices", "Price bars copied into the library's series.")
      .def(py::init(&MakePrices), py::arg("columns"), py::arg("index_dates") = py::none())
      .def_readonly("bars", &Prices::bars);
}
