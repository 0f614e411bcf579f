// Placeholder: this chart-type transform is being written.
#include "chartcalc/SIndex.h"

void SIndex::CalcThreeLineBreak(int) {}
double SIndex::MakeChangeValue(int, SVector&, int, int) { return 0.0; }
