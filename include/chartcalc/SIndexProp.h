// SIndexProp: the display and placement record of one indicator — the symbol
// and pane it belongs to, its variables, how each of its five lines and its
// base lines are drawn and scaled — persisted in the keyed archive under the
// category "Index" (or "Index<n>"). SIndex derives from it and adds the
// formula engine and the calculation state.
#pragma once

#include "chartcalc/SString.h"
#include "chartcalc/SVector.h"

class CFBArchive;
class SPriceDataList;

namespace chartcalc::detail {

inline constexpr int kIndexLines = 5;      // formula lines, line series and base lines
inline constexpr int kIndexVars = 10;      // named variables
inline constexpr int kIndexBaseLines = 5;  // horizontal base lines (YValue)

}  // namespace chartcalc::detail

class SIndexProp {
 public:
  // IndexName = name, IndexType = indexType, then SetToDefault. The default
  // record (the archive's defaults) has the empty name and IndexType -1.
  explicit SIndexProp(const char* name = "", int indexType = -1);
  SIndexProp(const SIndexProp& other) = default;
  SIndexProp& operator=(const SIndexProp& other) = default;
  virtual ~SIndexProp();

  // Resets every field to its default except IndexName, IndexType, UserID,
  // ShareIndex, BlMovable, BlDeleble and BlPopupDlg (which only the
  // constructor sets). Line colours follow IndexType.
  void SetToDefault();

  // Position, within the bound price-data list, of the first record whose ID
  // equals SymbolID; 0 without a list, for an empty list or when none matches.
  // Defined with the price data (src/index/SIndexPriceBinding.cpp).
  int GetCurIndex();

  // Position of the first entry of RealKeys equal to key ignoring case, or -1.
  int FindRealKey(const char* key);

  // The archive category is "Index" for index -1, else "Index<index>"; every
  // key's default is the default record's value.
  void Load(CFBArchive& ar, int index);
  void Store(CFBArchive& ar, int index);

  // Identity and placement.
  SString IndexName;
  int IndexType = 0;
  int UserID = -1;
  int SymbolID = 0;
  int ShareIndex = -1;
  int BlMovable = 1;
  int BlDeleble = 1;
  int BlPopupDlg = 1;
  int ChartPeriod = 2;
  double ChartCycle = 1.0;
  int ChartNo = -1;
  int ExtID = -1;

  // Variables (text substituted into the expressions) and their
  // optimisation ranges.
  SString VarName[chartcalc::detail::kIndexVars];
  SString VarValue[chartcalc::detail::kIndexVars];
  SString VarStart[chartcalc::detail::kIndexVars];
  SString VarEnd[chartcalc::detail::kIndexVars];
  SString VarIncrement[chartcalc::detail::kIndexVars];

  // Lines. Colours are red + 256 * green + 65536 * blue.
  SString ExpName[chartcalc::detail::kIndexLines];
  SString Expression[chartcalc::detail::kIndexLines];
  SString ConvertedExpression[chartcalc::detail::kIndexLines];
  int ShowLine[chartcalc::detail::kIndexLines] = {};
  int Shape[chartcalc::detail::kIndexLines] = {};
  int LineType[chartcalc::detail::kIndexLines] = {};
  int LineColor[chartcalc::detail::kIndexLines] = {};
  int LineStyle[chartcalc::detail::kIndexLines] = {};
  int LineWidth[chartcalc::detail::kIndexLines] = {};
  int LineUpColor[chartcalc::detail::kIndexLines] = {};
  int LineDnColor[chartcalc::detail::kIndexLines] = {};
  SString LineUpValue[chartcalc::detail::kIndexLines];
  SString LineDnValue[chartcalc::detail::kIndexLines];
  int LineCompMethod[chartcalc::detail::kIndexLines] = {};

  // Base lines and the vertical scale.
  SString YValue[chartcalc::detail::kIndexBaseLines];
  int YValueColor = 0;
  int YValueStyle = 0;
  int YValueWidth = 1;
  int MinMaxY = 0;  // scale mode 0-3 (4 is "keep the stored mode" when writing)
  double UserMin = 0.0;
  double UserMax = 0.0;
  int InvertY = 0;
  int LogY = 0;
  int YScaleType = 0;
  int YAxisCount = 0;
  int YAxisUnitSize = 1;
  SString YAxisUnitText;
  int YAxisPrecision = 0;
  int YAxisUseComma = 1;

  // Free texts of the definition.
  SString Description;
  SString Password;

  // Host-owned state.
  int BlShow = 1;
  int BlShowLegend = 1;
  SAnsiStringList RealKeys;   // searched by FindRealKey
  SAnsiStringList RealTexts;  // texts the host keeps beside RealKeys
  int RealUpdateType = 0;
  int ExtInt = 0;
  double ExtDbl = 0.0;
  SString ExtData;
  int DRAWLV = 0;

  // Computed series and the bound price data (not owned).
  SVector LineData[chartcalc::detail::kIndexLines];
  SVector OwnDate;  // bars of the indicator's own, when they are not the price bars
  SPriceDataList* PriceList = nullptr;
};
