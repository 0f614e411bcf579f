// The signal values of a trading system's lines: 0 for none, otherwise
// kind x 100,000,000 + price, where kind 0 is the system's own signal and
// 1-8 are the stops' exits.
#pragma once

#include <cmath>

namespace chartcalc::detail {

inline constexpr double kSignalKindUnit = 100000000.0;

// The price of a signal value. Entries and the system's own exits are their
// own price, which spares the division on nearly every signal.
inline double SignalPrice(double value) {
  return value >= 0.0 && value < kSignalKindUnit ? value : std::fmod(value, kSignalKindUnit);
}

}  // namespace chartcalc::detail
