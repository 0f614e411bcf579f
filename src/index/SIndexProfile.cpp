// The market profile and volume at price of the bound prices (the
// computations are in transform/Profile.cpp).
#include <algorithm>

#include "chartcalc/SIndex.h"
#include "chartcalc/TextHelpers.h"
#include "transform/Profile.h"
#include "transform/TransformCommon.h"

using namespace chartcalc::detail;

namespace {

// Bars [first, last] of a series, as much of them as it holds.
std::span<const double> Bars(const SVector* v, int first, int last) {
  const std::span<const double> all = SeriesSpan(v);
  if (first > last || static_cast<size_t>(first) >= all.size()) return {};
  return all.subspan(first, std::min(all.size() - first, static_cast<size_t>(last - first) + 1));
}

}  // namespace

void SIndex::CalcMarketProfile(int) {
  const int minutes = ProfileMinutes(AnsiStringToInt(VarValue[0], kProfileMinMinutes));
  for (SVector& line : LineData) line.ClearData();
  if (PriceSeries[kDateTime]) LineData[0] = *PriceSeries[kDateTime];
  const SVector* close = PriceSeries[kClose];
  if (!close) return;
  const ProfileBars bars{SeriesSpan(close), SeriesSpan(PriceSeries[kVolume]), SeriesSpan(PriceSeries[kDateTime]),
                         close->GetStartIndex()};
  MarketProfile(bars, minutes, {LineData[1], LineData[2], LineData[3], LineData[4]});
}

void SIndex::CalcVolumeAtPrice(int reset, int from, int to) {
  if (reset) VarValue[0] = kDefaultPriceBands;
  const long bands = AnsiStringToInt(VarValue[0], kDefaultPriceBands);
  if (bands < kMinPriceBands) return;
  // The range is taken over the valid closes only, for the extremes and the
  // volume alike: a bar below the start index holds no price.
  const SVector* close = PriceSeries[kClose];
  const int first = std::max({from, close ? close->GetStartIndex() : 0, 0});
  const int last = std::min(to, close ? close->GetSize() - 1 : -1);
  VolumeAtPrice(Bars(close, first, last), Bars(PriceSeries[kVolume], first, last),
                static_cast<int>(std::min(bands, kMaxPriceBands)),
                {LineData[0], LineData[1], LineData[2], LineData[3], LineData[4]});
}
