// SBaseData: the nine price series of one symbol, one element per bar.
//
// They are stored in the order close, open, low, high, volume, date-time,
// open interest, amount, spread (the storage slots below), which is not the
// order in which the series travel to the formula engine and the indicators
// (close, open, high, low, ...; PriceSlot in calc/SCalc.h). GetSeries answers
// in the engine's order.
#pragma once

#include "chartcalc/SCalc.h"
#include "chartcalc/SVector.h"

namespace chartcalc::detail {

// Storage slots of the nine price series.
enum BaseSlot {
  kBaseClose,
  kBaseOpen,
  kBaseLow,
  kBaseHigh,
  kBaseVolume,
  kBaseDateTime,
  kBaseOpenInterest,
  kBaseAmount,
  kBaseSpread,
  kBaseSlots
};

// The storage slot of a series given in the engine's order (PriceSlot), or -1.
int BaseSlotOf(int priceSlot);

}  // namespace chartcalc::detail

class SBaseData {
 public:
  SBaseData() = default;
  SBaseData(const SBaseData& other);
  SBaseData& operator=(const SBaseData& other);
  virtual ~SBaseData() = default;

  // The series of an engine slot (kClose ... kSpread); close for any other.
  SVector& GetSeries(int priceSlot) { return Series[SlotOrClose(priceSlot)]; }
  const SVector& GetSeries(int priceSlot) const { return Series[SlotOrClose(priceSlot)]; }

  SVector Series[chartcalc::detail::kBaseSlots];  // by storage slot

 private:
  static int SlotOrClose(int priceSlot) {
    int s = chartcalc::detail::BaseSlotOf(priceSlot);
    return s < 0 ? chartcalc::detail::kBaseClose : s;
  }
};
