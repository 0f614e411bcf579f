// Statistics, equity, the profit line and "mfe.csv": the free functions of
// Summary.h and the SSimulation members that read the settings and call
// them.
//
// The summary table receives 14 rows per group, every figure already text:
//   GroupID "0" all trades, "1" long, "2" short; SubGroupID 0-4;
//   Sequence 0-13; Name1/Value1 and Name2/Value2 per row (kRows below).
//
// "mfe.csv" (current directory), one line per entry/exit pair:
//   seq, profit, mfe, mae\n
//   %d, %lf, %lf, %lf\n
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <vector>

#include "chartcalc/DateTime.h"
#include "chartcalc/SSimulation.h"
#include "chartcalc/TextHelpers.h"
#include "core/FileUtil.h"
#include "core/TextTable.h"
#include "simulation/Summary.h"

namespace chartcalc::detail {

namespace {

constexpr int kMaxFloatDigits = 18;  // FloatToStrF writes at most this many decimals
constexpr int kNumberPrecision = 15;
constexpr double kPercent = 100.0;

// A run of consecutive winners or losers.
struct Streak {
  double sum = 0.0;
  int count = 0;
  void Extend(double p, bool continues) {
    sum = continues ? sum + p : p;
    count = continues ? count + 1 : 1;
  }
};

}  // namespace

int SummaryDigits(double tick) {
  if (!(tick > 0.0) || !std::isfinite(tick)) return 0;
  const double digits = std::fabs(std::trunc(std::log10(tick)));
  return static_cast<int>(std::min(digits, static_cast<double>(kMaxFloatDigits)));
}

TradeStats CollectTradeStats(const TradeColumns& t, int side) {
  TradeStats s;
  Streak win, loss;
  int lastKind = 0;  // +1 winner, -1 loser, 0 none yet
  double entryEff = 0.0, exitEff = 0.0;
  for (int k = 0; k < t.count; ++k) {
    if (side >= 0 && t.direction.At(k) != side) continue;
    ++s.members;
    entryEff += t.entryEff.At(k);
    exitEff += t.exitEff.At(k);
    const double p = t.profit.At(k);
    if (p >= 0.0) {
      ++s.wins;
      s.grossProfit += p;
      s.largestWin = Higher(s.largestWin, p);
      s.winBars += t.bars.At(k);
      win.Extend(p, lastKind > 0);
      loss = Streak();
      s.maxWinStreakSum = Higher(s.maxWinStreakSum, win.sum);
      s.maxWinStreakCount = std::max(s.maxWinStreakCount, win.count);
      lastKind = 1;
    } else if (p < 0.0) {
      ++s.losses;
      s.grossLoss += p;
      s.largestLoss = Lower(s.largestLoss, p);
      s.lossBars += t.bars.At(k);
      loss.Extend(p, lastKind < 0);
      win = Streak();
      s.minLossStreakSum = Lower(s.minLossStreakSum, loss.sum);
      s.maxLossStreakCount = std::max(s.maxLossStreakCount, loss.count);
      lastKind = -1;
    }
  }
  if (s.wins > 0) s.winBars /= s.wins;
  if (s.losses > 0) s.lossBars /= s.losses;
  if (s.members > 0) s.entryEff = entryEff / s.members, s.exitEff = exitEff / s.members;
  return s;
}

double LastStdev(const SVector& column, int period) {
  if (period < 1) return 0.0;
  SVector out;
  out.CalcStdev(column, period);
  const int last = out.GetSize() - 1;
  return last >= 0 && last >= out.GetStartIndex() ? out[last] : 0.0;
}

std::string ExcursionCsv(const std::vector<ExcursionPair>& pairs) {
  std::string text = "seq, profit, mfe, mae\n";
  char line[1024];
  for (size_t k = 0; k < pairs.size(); ++k) {
    const ExcursionPair& p = pairs[k];
    std::snprintf(line, sizeof line, "%d, %lf, %lf, %lf\n", static_cast<int>(k), p.profit, p.favourable, p.adverse);
    text += line;
  }
  return text;
}

long long BarsInPosition(const SVector& entry, const SVector& exit, int length) {
  long long held = 0;
  int e = entry.FindFirstNonZeroIndex(entry.GetStartIndex());
  int x = e >= 0 ? exit.FindFirstNonZeroIndex(e + 1) : -1;
  while (e >= 0) {
    if (x < 0) {
      // An entry beyond the counted bars holds none of them.
      held += std::max(0, length - 1 - e);
      break;
    }
    held += x - e;
    e = entry.FindFirstNonZeroIndex(x + 1);
    x = e >= 0 ? exit.FindFirstNonZeroIndex(e + 1) : -1;
  }
  return held;
}

SString VariableText(const SString* names, const SString* values, int count) {
  if (count < 1 || names[0].IsEmpty()) return SString();
  SString text = "(";
  for (int k = 0; k < count && !names[k].IsEmpty(); ++k) {
    if (k > 0) text += ",";
    text += values[k];
  }
  return text + ")";
}

SString TermText(double first, double last) {
  char text[128];
  std::snprintf(text, sizeof text, "%04d.%02d.%02d ~ %04d.%02d.%02d", GetYear(first), GetMonth(first), GetDate(first),
                GetYear(last), GetMonth(last), GetDate(last));
  return SString(text);
}

SString CostText(double value, int mode, int digits, const char* currency) {
  constexpr int kRateDecimals = 2;
  if (mode == 0) return FloatToStrF(value * kPercent, kNumberPrecision, kRateDecimals) + "%";
  return FloatToStrF(value, kNumberPrecision, digits) + currency;
}

}  // namespace chartcalc::detail

using namespace chartcalc::detail;

namespace {

constexpr int kMaxSummaryRows = SSimulation::kSummaryRows - 1;  // the last slot is never filled
constexpr int kRatioDecimals = 2;
constexpr int kBarDecimals = 1;
constexpr int kEffDecimals = 2;

// The figures a row can show, each already text.
enum SummaryValue : int {
  kVEmpty,
  kVTotalProfitLoss,
  kVProfitFactor,
  kVGrossProfit,
  kVGrossLoss,
  kVTradeCount,
  kVWinRate,
  kVWins,
  kVLosses,
  kVWinBars,
  kVLossBars,
  kVLargestWin,
  kVLargestLoss,
  kVWinStreakSum,
  kVLossStreakSum,
  kVWinStreakCount,
  kVLossStreakCount,
  kVMaxLossRange,
  kVAverageProfit,
  kVAverageLoss,
  kVAverageTrade,
  kVStandardDeviation,
  kVWinLossRatio,
  kVEntryEff,
  kVExitEff,
  kVTotalEff,
  kValueCount
};

// A row label: one word, or words joined by a format; no words is "".
struct Label {
  const char* format = nullptr;
  TextId words[4] = {};
  int count = 0;
};
constexpr Label Word(TextId a) { return {nullptr, {a}, 1}; }
constexpr Label Join(const char* format, TextId a, TextId b) { return {format, {a, b}, 2}; }
constexpr Label Join(const char* format, TextId a, TextId b, TextId c, TextId d) { return {format, {a, b, c, d}, 4}; }
constexpr Label kNoLabel{};

SString Compose(const Label& label) {
  if (label.count == 0) return SString();
  if (!label.format) return SString(GetText(label.words[0]));
  const char* w[4] = {"", "", "", ""};
  for (int k = 0; k < label.count; ++k) w[k] = GetText(label.words[k]);
  char text[512];
  std::snprintf(text, sizeof text, label.format, w[0], w[1], w[2], w[3]);
  return SString(text);
}

struct RowLayout {
  int subGroup;
  Label subGroupName;
  Label name1;
  SummaryValue value1;
  Label name2;
  SummaryValue value2;
};

// The 14 rows of one group, in Sequence order.
const RowLayout kRows[] = {
    {0, Word(TxSimProfitLossSummary), Word(TxSimTotalProfitLoss), kVTotalProfitLoss, Word(TxSimProfitFactor),
     kVProfitFactor},
    {0, Word(TxSimProfitLossSummary), Word(TxSimTotalProfit), kVGrossProfit, Word(TxSimTotalLoss), kVGrossLoss},
    {1, Join("%s %s", TxSimTrade, TxSimCount), Word(TxSimTotalTradeCount), kVTradeCount, Word(TxSimEarningRate),
     kVWinRate},
    {1, Join("%s%s", TxSimTrade, TxSimCount), Word(TxSimProfitTradeCount), kVWins, Word(TxSimLossTradeCount), kVLosses},
    {1, Join("%s%s", TxSimTrade, TxSimCount), Word(TxSimProfitAverageBars), kVWinBars, Word(TxSimLossAverageBars),
     kVLossBars},
    {2, Word(TxSimMaxProfitLoss), Word(TxSimMaxProfit), kVLargestWin, Word(TxSimMaxLoss), kVLargestLoss},
    {2, Word(TxSimMaxProfitLoss), Join("%s %s", TxSimMaxContinuousProfit, TxSimAmount), kVWinStreakSum,
     Join("%s %s", TxSimMaxContinuousLoss, TxSimAmount), kVLossStreakSum},
    {2, Word(TxSimMaxProfitLoss), Word(TxSimMaxContinuousProfitTrade), kVWinStreakCount,
     Word(TxSimMaxContinuousLossTrade), kVLossStreakCount},
    {2, Word(TxSimMaxProfitLoss), Word(TxSimMaxLossRange), kVMaxLossRange, kNoLabel, kVEmpty},
    {3, Join("%s %s", TxSimAverage, TxSimProfitSlashLoss), Join("%s %s", TxSimAverage, TxSimProfit), kVAverageProfit,
     Join("%s %s", TxSimAverage, TxSimLoss), kVAverageLoss},
    {3, Join("%s %s", TxSimAverage, TxSimProfitSlashLoss), Word(TxSimAverageTradeProfitLoss), kVAverageTrade,
     Word(TxSimStandardDeviation), kVStandardDeviation},
    {3, Join("%s %s", TxSimAverage, TxSimProfitSlashLoss),
     Join("%s %s/%s %s", TxSimAverage, TxSimProfit, TxSimAverage, TxSimLoss), kVWinLossRatio, kNoLabel, kVEmpty},
    {4, Word(TxSimEfficiency), Join("%s%s", TxSimEnterance, TxSimEfficiency), kVEntryEff,
     Join("%s%s", TxSimClose, TxSimEfficiency), kVExitEff},
    {4, Word(TxSimEfficiency), Join("%s%s", TxSimTotal, TxSimEfficiency), kVTotalEff, kNoLabel, kVEmpty},
};

SString Money(double v, int digits) { return FloatToStrF(v, kNumberPrecision, digits); }
SString Count(double n) { return FloatToStrF(n, kNumberPrecision, 0); }
// A quotient shown only when its divisor is not 0.
SString Quotient(double a, double b, int decimals) {
  return b != 0.0 ? FloatToStrF(a / b, kNumberPrecision, decimals) : SString();
}

// The ratio of the average win to the average loss, as a positive number.
bool WinLossRatio(const TradeStats& s, double& ratio) {
  if (s.wins == 0 || s.losses == 0 || s.grossLoss == 0.0) return false;
  ratio = -(s.grossProfit / s.wins) / (s.grossLoss / s.losses);
  return true;
}

using ValueTexts = std::array<SString, kValueCount>;

ValueTexts FormatValues(const TradeStats& s, double drawdown, double stdev, int digits) {
  ValueTexts v;
  const double net = s.grossProfit + s.grossLoss;
  v[kVTotalProfitLoss] = Money(net, digits);
  v[kVProfitFactor] = Quotient(-s.grossProfit, s.grossLoss, digits);
  v[kVGrossProfit] = Money(s.grossProfit, digits);
  v[kVGrossLoss] = Money(s.grossLoss, digits);
  v[kVTradeCount] = Count(s.Count());
  v[kVWinRate] = Quotient(s.wins, s.Count(), kRatioDecimals);
  v[kVWins] = Count(s.wins);
  v[kVLosses] = Count(s.losses);
  v[kVWinBars] = FloatToStrF(s.winBars, kNumberPrecision, kBarDecimals);
  v[kVLossBars] = FloatToStrF(s.lossBars, kNumberPrecision, kBarDecimals);
  v[kVLargestWin] = Money(s.largestWin, digits);
  v[kVLargestLoss] = Money(s.largestLoss, digits);
  v[kVWinStreakSum] = Money(s.maxWinStreakSum, digits);
  v[kVLossStreakSum] = Money(s.minLossStreakSum, digits);
  v[kVWinStreakCount] = Count(s.maxWinStreakCount);
  v[kVLossStreakCount] = Count(s.maxLossStreakCount);
  v[kVMaxLossRange] = Money(-drawdown, digits);
  v[kVAverageProfit] = Quotient(s.grossProfit, s.wins, digits);
  v[kVAverageLoss] = Quotient(s.grossLoss, s.losses, digits);
  v[kVAverageTrade] = Quotient(net, s.Count(), digits);
  v[kVStandardDeviation] = Money(stdev, digits);
  double ratio = 0.0;
  if (WinLossRatio(s, ratio)) v[kVWinLossRatio] = Money(ratio, digits);
  v[kVEntryEff] = FloatToStrF(s.entryEff, kNumberPrecision, kEffDecimals);
  v[kVExitEff] = FloatToStrF(s.exitEff, kNumberPrecision, kEffDecimals);
  // Without trades all three efficiencies stay 0 rather than showing -100.
  const double total = s.members > 0 ? s.entryEff + s.exitEff - kPercent : 0.0;
  v[kVTotalEff] = FloatToStrF(total, kNumberPrecision, kEffDecimals);
  return v;
}

SString GroupName(int side) {
  if (side == 0) return Compose(Join("%s %s", TxSimBuy, TxSimTrade));
  if (side == 1) return Compose(Join("%s %s", TxSimSell, TxSimTrade));
  return Compose(Word(TxSimTotalTrade));
}

TradeColumns TradeView(const STradeTable& t) {
  return {View(t.Direction), View(t.ProfitLoss), View(t.BarsHeld), View(t.EntryEff), View(t.ExitEff), t.GetCount()};
}

SignalPair Signals(const SIndex& index, int side) {
  const SVector& entry = index.LineData[side == 1 ? 2 : 0];
  const SVector& exit = index.LineData[side == 1 ? 3 : 1];
  return {View(entry), View(exit), entry.GetStartIndex(), exit.GetStartIndex()};
}

// The equity curve of one side (-1 both) over the working closes, value by
// value into sink.
template <class Cost, class Sink>
void WalkEquity(const SIndex& index, const SVector& close, int side, Cost cost, Sink&& sink) {
  const SignalPair longSide = Signals(index, 0), shortSide = Signals(index, 1);
  ComputeEquity(side != 1 ? &longSide : nullptr, side != 0 ? &shortSide : nullptr, View(close), cost, sink);
}

// The summary-info status: what the last trade of the table left behind.
SString StatusText(const STradeTable& t) {
  const int last = t.GetCount() - 1;
  if (last < 0) return Compose(Join("%s %s", TxSimTrade, TxSimNothing));
  const bool isLong = t.Direction[last] == 0.0;
  const bool open = last >= t.ExitDateTime.GetSize() || t.ExitDateTime[last] == 0.0;
  if (open) return GetText(isLong ? TxSimBuy : TxSimSell);
  return GetText(isLong ? TxSimBuyClear : TxSimSellClear);
}

// Bars in a position over the source bars, as a percentage of them.
SString InMarketText(const SSimulation& sim, int sourceLength) {
  if (sourceLength <= 0) return SString();
  const int position = sim.Setting.Position;
  long long held = 0;
  if (position == 0 || position == 2)
    held += BarsInPosition(sim.Index.LineData[0], sim.Index.LineData[1], sourceLength);
  if (position == 1 || position == 2)
    held += BarsInPosition(sim.Index.LineData[2], sim.Index.LineData[3], sourceLength);
  return FloatToStrF(static_cast<double>(held) / sourceLength * kPercent, kNumberPrecision, kRatioDecimals);
}

SString NumberText(double v) {
  SString text;
  text = v;
  return text;
}

// The summary-info record of a run, from the all-trades figures.
SSummaryInfo BuildSummaryInfo(const SSimulation& sim, const TradeStats& s, int digits, const SVector& dateTime,
                              int sourceLength) {
  const SSimulationSetting& set = sim.Setting;
  const char* won = GetText(TxSimWon);
  const int n = s.Count();
  SSummaryInfo info;
  info.SumFileName = sim.SummaryFile;
  info.TradeListFileName = sim.TradeListFile;
  info.SymbolName = set.SymbolName;
  info.IndicatorName = sim.Index.IndexName;
  info.IndicatorVariable = VariableText(sim.Index.VarName, sim.Index.VarValue, kIndexVars);
  const int bars = dateTime.GetSize();
  info.Term = TermText(bars > 0 ? dateTime[0] : 0.0, bars > 0 ? dateTime[bars - 1] : 0.0);
  info.Status = StatusText(sim.Trades);
  info.EntryCommission = CostText(set.EntryCommission, set.ModeEntryCommission, digits, won);
  info.ExitCommission = CostText(set.ExitCommission, set.ModeExitCommission, digits, won);
  info.Slippage = CostText(set.Slippage, set.ModeSlippage, digits, won);
  info.TotalProfit = Money(s.grossProfit + s.grossLoss, digits);
  info.TransactionCount = static_cast<long>(sim.Trades.GetCount());
  double ratio = 0.0;
  if (WinLossRatio(s, ratio)) info.WinLossRatio = NumberText(ratio);
  if (n != 0) info.WinRatio = NumberText(static_cast<double>(s.wins) / n);
  if (s.grossLoss != 0.0) info.ProfitFactor = NumberText(-s.grossProfit / s.grossLoss);
  info.AverageProfit = Quotient(s.grossProfit + s.grossLoss, n, kRatioDecimals);
  info.InMarketRatio = InMarketText(sim, sourceLength);
  return info;
}

}  // namespace

void SSimulation::SetSummary() {
  CalcSummary(-1);
  for (int side = GetStartMode(); side <= GetEndMode(); ++side) CalcSummary(side);
}

void SSimulation::CalcSummary(int side) {
  if (side != 0 && side != 1) side = -1;  // anything but long or short is every trade
  const int digits = SummaryDigits(TickSize);
  const TradeStats stats = CollectTradeStats(TradeView(Trades), side);
  // The curve itself is not kept: only its deepest fall is reported.
  DrawdownTracker drawdown;
  WalkEquity(
      Index, *working_[kClose], side, [this](double price) { return GetCommission(price); }, drawdown);
  // Over the whole column whatever the side, so every group shows the same.
  const double stdev = LastStdev(Trades.ProfitLoss, Trades.GetCount());
  const ValueTexts values = FormatValues(stats, drawdown.fall, stdev, digits);
  const SString groupId = SString(side + 1), groupName = GroupName(side);
  int sequence = 0;
  for (const RowLayout& row : kRows) {
    SummaryRow = {groupId,
                  groupName,
                  SString(row.subGroup),
                  Compose(row.subGroupName),
                  SString(sequence++),
                  Compose(row.name1),
                  values[row.value1],
                  Compose(row.name2),
                  values[row.value2]};
    InsertSummary(SummaryRow);
  }
  if (side != -1) return;
  SumInfo = BuildSummaryInfo(*this, stats, digits, *working_[kDateTime], source_[kClose]->GetSize());
  InsertSummaryDB(SumInfoFile, SumInfo);
}

void SSimulation::InsertSummary(SSummary row) {
  if (SummaryCount < 0 || SummaryCount >= kMaxSummaryRows) return;
  Summary[SummaryCount++] = row;
}

void SSimulation::CalcEquity(SVector* out, int side) {
  if (!out) return;
  const SVector& close = *working_[kClose];
  out->SetSize(std::max(close.GetSize(), 0));
  out->SetStartIndex(0);
  double* curve = out->Data();
  WalkEquity(
      Index, close, side, [this](double price) { return GetCommission(price); }, [&curve](double v) { *curve++ = v; });
}

void SSimulation::CalcProfitLoss() {
  const SignalPair longSide = Signals(Index, 0), shortSide = Signals(Index, 1);
  const int n = std::max(longSide.entry.n, shortSide.entry.n);
  SVector& line = Index.LineData[4];
  line.SetSize(n);
  const int first = ComputeProfitLine(
      longSide, shortSide, View(*working_[kClose]), n, [this](double p, int d) { return EntryPrice(p, d); },
      [this](double p, int d) { return ExitPrice(p, d); }, line.Data());
  line.SetStartIndex(n == 0 ? 0 : first);
}

void SSimulation::CalcStatics() {
  std::vector<ExcursionPair> pairs;
  const Bars close = View(*working_[kClose]), high = View(*working_[kHigh]), low = View(*working_[kLow]);
  for (int side = GetStartMode(); side <= GetEndMode(); ++side)
    CollectExcursions(
        side, Signals(Index, side), close, high, low, [this](double p, int d) { return EntryPrice(p, d); },
        [this](double p, int d) { return ExitPrice(p, d); }, pairs);
  WriteWholeFile("mfe.csv", ExcursionCsv(pairs));
}
