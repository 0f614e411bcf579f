#include "chartcalc/SBaseData.h"

using namespace chartcalc::detail;

namespace {

// Storage slot of each engine slot: close, open, high, low, volume,
// date-time, open interest, amount, spread.
const int kBaseSlotOf[kPriceSlots] = {kBaseClose,    kBaseOpen,         kBaseHigh,   kBaseLow,   kBaseVolume,
                                      kBaseDateTime, kBaseOpenInterest, kBaseAmount, kBaseSpread};

}  // namespace

int chartcalc::detail::BaseSlotOf(int priceSlot) {
  return priceSlot >= 0 && priceSlot < kPriceSlots ? kBaseSlotOf[priceSlot] : -1;
}

SBaseData::SBaseData(const SBaseData& other) {
  for (int s = 0; s < kBaseSlots; ++s) Series[s] = other.Series[s];
}

SBaseData& SBaseData::operator=(const SBaseData& other) {
  if (this != &other)
    for (int s = 0; s < kBaseSlots; ++s) Series[s] = other.Series[s];
  return *this;
}
