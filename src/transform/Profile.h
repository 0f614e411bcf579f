// The market profile (bars grouped into periods of a fixed number of
// minutes, each period lettered from "A" again every day, bars of a period
// with the same close merged) and volume at price (the volume traded in
// equal price bands of a bar range).
#pragma once

#include <span>

#include "chartcalc/SVector.h"

namespace chartcalc::detail {

// Periods shorter than this many minutes are read as this long.
inline constexpr int kProfileMinMinutes = 15;
// The character code of the first letter of a day.
inline constexpr double kProfileFirstLetter = 65.0;
// The band count a reset writes, and the one an unreadable text gives.
inline constexpr long kDefaultPriceBands = 15;
// Fewer bands than this leave the lines as they were.
inline constexpr long kMinPriceBands = 2;
// More bands than this are read as this many: a count from a variable text
// may be as large as an int, and five lines of that many doubles would not
// fit in memory; no price axis shows more bands than this.
inline constexpr long kMaxPriceBands = 100000;

// The bars of a market profile. Bars are numbered from 0; those below start
// take no part.
struct ProfileBars {
  std::span<const double> close;
  std::span<const double> volume;  // a bar past its end traded nothing
  std::span<const double> dateTime;
  int start = 0;
};

// The lines of a market profile, each one element per bar (0 below start):
// the letter's character code (0 for a bar merged into an earlier bar of its
// period), 1 at the first letter bar of each day, and the volume and number
// of bars of the period that closed at the letter bar's close.
struct ProfileLines {
  SVector& letter;
  SVector& dayStart;
  SVector& volume;
  SVector& count;
};

// The period length a variable's minutes stand for.
int ProfileMinutes(long minutes);

// Fills the four lines; bars covers close.size() bars, and none when start
// lies outside them.
void MarketProfile(const ProfileBars& bars, int minutes, ProfileLines out);

// The lines of volume at price, one element per band, lowest band first.
struct PriceBandLines {
  SVector& lower;
  SVector& upper;
  SVector& volume;
  SVector& ofLargest;  // the band's volume over the largest band's
  SVector& ofTotal;    // the band's volume over all bands'
};

// Spreads the volume of the closes over `bands` equal bands between their
// lowest and highest close (NaN closes are not counted). The lines are
// emptied and hold `bands` zeros when the closes do not spread.
void VolumeAtPrice(std::span<const double> close, std::span<const double> volume, int bands, PriceBandLines out);

}  // namespace chartcalc::detail
