#include "transform/CounterClock.h"

#include <algorithm>
#include <climits>
#include <cstring>

#include "chartcalc/TextHelpers.h"

namespace chartcalc::detail {

long CounterClockPeriod(SString& text) {
  long period = AnsiStringToInt(text, kCounterClockUnreadablePeriod);
  if (period == 0) {
    period = kCounterClockResetPeriod;
    text = period;
  }
  return period;
}

SString AverageFormula(char series, long period) {
  return SString("avg(") + SString(&series, 1) + "," + ltos(period) + ")";
}

void FillBarAxes(std::span<const double> dateTime, long period, SVector& dates, SVector& bars) {
  const int n = static_cast<int>(dateTime.size());
  // A period below 1 would give a negative first bar, which a reader of the
  // line would take as an index; the axes are then valid from bar 0.
  const int start = static_cast<int>(std::clamp(period - 1, 0L, static_cast<long>(INT_MAX)));
  dates.ClearData();
  bars.ClearData();
  dates.SetSize(n);
  bars.SetSize(n);
  if (n > 0) std::memcpy(dates.Data(), dateTime.data(), sizeof(double) * n);
  double* b = bars.Data();
  for (int i = 0; i < n; ++i) b[i] = i;
  dates.SetStartIndex(start);
  bars.SetStartIndex(start);
}

void CandleVolumeWeights(std::span<const double> volume, int bars, SVector& out) {
  out.ClearData();
  if (bars <= 0) return;
  // Volume may end before the close series does; the missing bars traded
  // nothing rather than being read past the series' end.
  const int known = std::min(bars, static_cast<int>(volume.size()));
  double sum = 0.0;
  for (int i = 0; i < known; ++i) sum += volume[i];
  const double average = sum / bars;
  out.SetSize(bars);
  double* w = out.Data();
  for (int i = 0; i < bars; ++i) w[i] = (i < known ? volume[i] : 0.0) * average;
}

}  // namespace chartcalc::detail
