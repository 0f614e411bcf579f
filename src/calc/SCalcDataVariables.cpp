// Price-data words and averaging-method words of the formula language.
#include "calc/SCalc.h"

int SCalc::IsDataVariable(const char*) { return 0; }

SVector SCalc::ProcessDataVariable(const char*) { return SVector(); }

int SCalc::IsMethodVariable(const char*) { return 0; }

SVector SCalc::ProcessMethodVariable(const char*) { return SVector(); }
