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
  if (value >= 0.0 && value < kSignalKindUnit) return value;
  // A stop's exit: taking the whole kinds off is exact whenever the
  // quotient's rounding did not pick the wrong kind, and that shows as a
  // remainder outside [0, unit), which goes the slow, exact way.
  const double rest = value - std::trunc(value / kSignalKindUnit) * kSignalKindUnit;
  return rest >= 0.0 && rest < kSignalKindUnit ? rest : std::fmod(value, kSignalKindUnit);
}

}  // namespace chartcalc::detail
