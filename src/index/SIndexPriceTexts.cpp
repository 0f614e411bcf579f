// The price chart's legend and value texts: the symbol (or the chart type with
// its parameters) and a bar's prices, read from the current price record and
// its display record.
#include <string>

#include "chartcalc/SIndex.h"
#include "chartcalc/SPriceDataList.h"
#include "chartcalc/TextHelpers.h"
#include "core/TextTable.h"

using namespace chartcalc::detail;

namespace {

// The legend names of the price chart with its chart type (instead of the
// symbol text) for these kinds.
constexpr int kPriceNameFormA = 9;
constexpr int kPriceNameFormB = 10;
// With fewer records than this, the legend names the chart type.
constexpr int kRecordsForSymbolLegend = 2;
// A tick chart of one tick per bar shows only the close.
constexpr int kTickPeriod = 0;
constexpr double kSingleTickCycle = 1.0;

// How a chart type's parameter appears in its legend name.
enum class Param { kNone, kWhenFlagged, kAlways };
struct ChartLegend {
  Param first, second;
  bool pricesShown;  // the value display shows the bar's prices
};

// One row per chart type, in type order.
constexpr ChartLegend kChartLegends[] = {
    {Param::kNone, Param::kNone, true},                 // candle
    {Param::kNone, Param::kNone, true},                 // bar chart (OHLC)
    {Param::kNone, Param::kNone, true},                 // bar chart (HLC)
    {Param::kNone, Param::kNone, true},                 // closing-price line
    {Param::kWhenFlagged, Param::kWhenFlagged, true},   // sell-off
    {Param::kWhenFlagged, Param::kWhenFlagged, false},  // point and figure
    {Param::kWhenFlagged, Param::kAlways, false},       // three-line break
    {Param::kWhenFlagged, Param::kWhenFlagged, false},  // swing
    {Param::kWhenFlagged, Param::kWhenFlagged, false},  // Kagi
    {Param::kWhenFlagged, Param::kWhenFlagged, false},  // Renko
    {Param::kWhenFlagged, Param::kWhenFlagged, false},  // counter-clockwise curve
    {Param::kNone, Param::kNone, true},                 // candle volume
    {Param::kNone, Param::kNone, true},                 // equivolume
    {Param::kNone, Param::kNone, true},                 // flow
    {Param::kNone, Param::kNone, true},                 // plot
    {Param::kNone, Param::kNone, true},                 // multi moving average
    {Param::kWhenFlagged, Param::kWhenFlagged, true},   // zigzag
    {Param::kWhenFlagged, Param::kNone, false},         // market profile
};
static_assert(sizeof(kChartLegends) / sizeof(kChartLegends[0]) == kPriceChartTypes);
// The type one past the table shows the prices as well; any other type
// outside the table has no legend parameters and no price text.
constexpr int kExtraPricedType = kPriceChartTypes;

// The prices of the value display, in display order.
struct PriceLabel {
  TextId label;
  int slot;
};
constexpr PriceLabel kPriceLabels[] = {
    {TxPriceLabelOpen, kOpen}, {TxPriceLabelHigh, kHigh}, {TxPriceLabelLow, kLow}, {TxPriceLabelClose, kClose}};

const ChartLegend* LegendOf(int type) { return type >= 0 && type < kPriceChartTypes ? &kChartLegends[type] : nullptr; }

int ChartTypeOf(const SPriceData& record) {
  return record.PriceProperty ? record.PriceProperty->PriceChartType : kChartCandle;
}

// "Name(Value) " when the rule and the flag ask for the parameter.
std::string ParamText(Param rule, int flag, const SString& name, const SString& value) {
  if (rule == Param::kNone || (rule == Param::kWhenFlagged && !flag)) return std::string();
  return name.str() + "(" + value.str() + ") ";
}

// Price text of one slot at bar ("" past the series, which may be shorter
// than the close).
std::string PriceAt(SPriceData& record, int slot, int bar) {
  const SVector& s = record.GetSeries(slot);
  return bar >= 0 && bar < s.GetSize() ? GetTickFullFormat(s[bar], record.TickSize).str() : std::string();
}

}  // namespace

SString SIndex::GetPriceName() {
  SPriceData* record = GetCurPriceData();
  if (!record) return SString();
  const int t = ChartTypeOf(*record);
  std::string name = record->SymbolName.IsEmpty() ? GetPriceChartTypeName(t) : record->SymbolName.str();
  const ChartLegend* legend = LegendOf(t);
  if (!legend || legend->first == Param::kNone || !record->PriceProperty) return name;
  const SPriceProperty& p = *record->PriceProperty;
  name.push_back(' ');
  name.append(ParamText(legend->first, p.BlName1[t], p.Name1[t], p.Value1[t]));
  name.append(ParamText(legend->second, p.BlName2[t], p.Name2[t], p.Value2[t]));
  return name;
}

SString SIndex::GetPriceValue(int bar) {
  SPriceData* record = GetCurPriceData();
  if (!record) return SString();
  const int t = ChartTypeOf(*record);
  const ChartLegend* legend = LegendOf(t);
  if (!(legend ? legend->pricesShown : t == kExtraPricedType)) return SString();
  if (bar < 0 || bar >= record->GetSeries(kClose).GetSize()) return SString();  // no bar, no prices
  const bool closeOnly =
      t == kChartCloseLine || (record->ChartPeriod == kTickPeriod && record->ChartCycle == kSingleTickCycle);
  if (closeOnly) return PriceAt(*record, kClose, bar) + " ";
  std::string text;
  for (const PriceLabel& p : kPriceLabels)
    text += std::string(GetText(p.label)) + ":" + PriceAt(*record, p.slot, bar) + " ";
  return text;
}

SString SIndex::GetPriceTitle(int showName, int showValue, int bar) {
  std::string title;
  if (showName) {
    const bool typeForm = IndexType == kPriceNameFormA || IndexType == kPriceNameFormB || !PriceList ||
                          PriceList->GetSize() < kRecordsForSymbolLegend;
    SPriceData* record = GetCurPriceData();
    title = " " + (typeForm ? GetPriceName() : record->GetSymbolInfo()).str();
  }
  if (showValue) title += (showName ? " " : "") + GetPriceValue(bar).str();
  return title.empty() ? IndexName + " " : SString(title + " ");
}
