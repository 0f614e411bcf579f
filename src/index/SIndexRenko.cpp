// Placeholder: this chart-type transform is being written.
#include "chartcalc/SIndex.h"

void SIndex::CalcRenko(int) {}
