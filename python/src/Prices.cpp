// Price columns from Python into the library's series: found by name as the
// tool's CSV reader finds them, each copied once (converted to double on
// the way, whatever its numeric dtype), absent optional ones zeros.
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <memory>
#include <optional>
#include <type_traits>

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
  // Writes every element, as a double, to to[0..size).
  void CopyTo(double* to) const {
    const char kind = values_.dtype().kind();
    const py::ssize_t width = values_.itemsize();
    if (kind == 'f' && width == 8) return Typed<double>(to);
    if (kind == 'f' && width == 4) return Typed<float>(to);
    if (kind == 'i' && width == 8) return Typed<std::int64_t>(to);
    if (kind == 'i' && width == 4) return Typed<std::int32_t>(to);
    if (kind == 'i' && width == 2) return Typed<std::int16_t>(to);
    if (kind == 'u' && width == 8) return Typed<std::uint64_t>(to);
    if (kind == 'u' && width == 4) return Typed<std::uint32_t>(to);
    if (kind == 'u' && width == 2) return Typed<std::uint16_t>(to);
    if (width == 1 && kind == 'i') return Typed<std::int8_t>(to);
    if (width == 1) return Typed<std::uint8_t>(to);
    throw py::value_error("a price column's number type is not supported");
  }

 private:
  template <typename T>
  void Typed(double* to) const {
    const auto* base = static_cast<const char*>(values_.data());
    const py::ssize_t n = size(), stride = values_.strides(0);
    if (stride == static_cast<py::ssize_t>(sizeof(T)) && reinterpret_cast<std::uintptr_t>(base) % alignof(T) == 0) {
      // The usual contiguous column: a plain loop the compiler vectorises,
      // a memory copy for doubles.
      const T* from = reinterpret_cast<const T*>(base);
      if constexpr (std::is_same_v<T, double>) {
        if (n > 0) std::memcpy(to, from, sizeof(double) * static_cast<size_t>(n));
      } else {
        for (py::ssize_t i = 0; i < n; ++i) to[i] = static_cast<double>(from[i]);
      }
      return;
    }
    for (py::ssize_t i = 0; i < n; ++i) {
      T v;
      std::memcpy(&v, base + i * stride, sizeof(T));  // a strided view may be unaligned
      to[i] = static_cast<double>(v);
    }
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

// The number of bars of a date column.
py::ssize_t DateCount(const py::array& column) {
  if (column.ndim() != 1) throw py::value_error("column 'date' is not one-dimensional");
  return column.shape(0);
}

bool HoldsTexts(const py::array& column) { return column.dtype().kind() == 'O' || column.dtype().kind() == 'U'; }

// Text cells as the reader takes them; numbers as written.
void CopyDates(const py::array& column, double* to) {
  if (!HoldsTexts(column)) return NumberColumn(column, "date").CopyTo(to);
  for (const py::handle cell : column) {
    const std::string text = py::str(cell);
    int date = 0, time = 0;
    bool hasTime = false;
    if (!ParseDateCell(text, date, time, hasTime)) throw py::value_error("bad date '" + text + "'");
    *to++ = hasTime ? MakeDateTime(date, time) : date;
  }
}

// A separate time column joined to plain dates, as the reader joins one.
void JoinTimes(const py::array& column, double* dates, int bars) {
  int i = 0;
  for (const py::handle cell : column) {
    if (i >= bars) break;
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

// Made in place and handed over whole: the price data has no move, and a
// copy would write every series a second time.
std::unique_ptr<Prices> MakePrices(const py::dict& columns, const std::optional<py::array>& indexDates) {
  Found f = FindColumns(columns);
  if (!f.date && indexDates) f.date = indexDates, f.kinds.push_back({PriceColumn::kDate});
  if (const char* missing = MissingPriceColumn(f.kinds))
    throw py::value_error(std::string("the prices have no '") + missing + "' column" +
                          (std::string(missing) == "date" ? " (nor a DatetimeIndex)" : ""));
  const py::ssize_t bars = DateCount(*f.date);
  if (bars > INT_MAX) throw py::value_error("too many bars");
  auto made = std::make_unique<Prices>();
  Prices& p = *made;
  p.bars = static_cast<int>(bars);
  Fill(p.data.GetSeries(kDateTime), p.bars, [&](double* to) {
    CopyDates(*f.date, to);
    if (f.time) JoinTimes(*f.time, to, p.bars);
  });
  for (const auto& [code, slot] : kSlotOfField) {
    SVector& series = p.data.GetSeries(slot);
    if (!f.field[code]) {
      Fill(series, p.bars, [&](double* to) { std::fill(to, to + p.bars, 0.0); });
      continue;
    }
    NumberColumn numbers(*f.field[code], f.fieldName[code]);
    CheckLength(numbers.size(), p.bars, f.fieldName[code]);
    Fill(series, p.bars, [&](double* to) { numbers.CopyTo(to); });
  }
  p.data.HasData = p.bars > 0;
  return made;
}

}  // namespace

void AddPrices(py::module_& m) {
  py::class_<Prices>(m, "Prices", "Price bars copied into the library's series.")
      .def(py::init(&MakePrices), py::arg("columns"), py::arg("index_dates") = py::none())
      .def_readonly("bars", &Prices::bars);
}
