// Placeholder: this chart-type transform is being written.
#include "chartcalc/SIndex.h"

void SIndex::CalcMarketProfile(int) {}
void SIndex::CalcVolumeAtPrice(int, int, int) {}
