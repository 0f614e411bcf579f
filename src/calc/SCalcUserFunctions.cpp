// User-defined functions called from formulas.
#include "calc/SCalc.h"

bool SCalc::IsUserFunction(const char*) { return false; }

int SCalc::FindFunction(const char*) { return -1; }

SVector SCalc::ProcessUserFunction(const char*) { return SVector(); }

void SCalc::ConvertExpression(int, char*) {}
