// chartcalc: the calculation library of a charting application. This umbrella
// header declares every exported class and free function.
#pragma once

#include "core/CArray.h"
#include "core/CFBArchive.h"
#include "core/CIniFile.h"
#include "core/CIniMemFile.h"
#include "core/CMemFile.h"
#include "core/Cp949.h"
#include "core/DateTime.h"
#include "core/SString.h"
#include "core/SVector.h"
#include "core/TableDb.h"
#include "core/TextHelpers.h"
#include "core/Texts.h"

#include "calc/SCalc.h"
#include "calc/SFunction.h"

#include "property/SIndexProp.h"
#include "property/SPriceProperty.h"
#include "property/SSRLines.h"

#include "index/SIndex.h"
#include "index/SIndexList.h"
#include "index/SUserIndexList.h"

#include "price/SBaseData.h"
#include "price/SPriceData.h"
#include "price/SPriceDataList.h"
