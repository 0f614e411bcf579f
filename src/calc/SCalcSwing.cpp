// Swing points and the zigzag line built from them.
#include "calc/SCalc.h"

SVector SCalc::CalcSwingHighLow(int, int, SVector&, int, int) { return SVector(); }

SVector SCalc::CalcZigZag(double, SVector&, SVector&, SVector&, SVector&) { return SVector(); }
