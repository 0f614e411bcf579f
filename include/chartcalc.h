// chartcalc: the calculation library of a charting application. This umbrella
// header declares every exported class and free function.
#pragma once

#include "core/Cp949.h"
#include "core/DateTime.h"
#include "core/SString.h"
#include "core/SVector.h"
#include "core/Texts.h"

#include "calc/SCalc.h"
