// Compression and trades from signals: the free functions of
// TradeHistory.h and the SSimulation members that read the settings and
// call them.
#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

#include "chartcalc/SSimulation.h"
#include "simulation/Signals.h"
#include "simulation/TradeHistory.h"

namespace chartcalc::detail {

namespace {

constexpr double kPercent = 100.0;
constexpr double kInf = std::numeric_limits<double>::infinity();

// The same extremes folded from the last bar backwards: the earlier bar x
// wins a tie, so the result is the value the forward fold would keep.
double HigherFromBehind(double x, double have) { return x >= have ? x : have; }
double LowerFromBehind(double x, double have) { return x <= have ? x : have; }

// A freshly entered trade: exit at the entry price, no excursions yet.
TradeRow EntryRow(int side, int bar, double quantity, const SideSignals& s, const TradePrices& p,
                  const TradeCosts& costs) {
  const double price = SignalPrice(s.entry.v[bar]);
  TradeRow row;
  row.entryBar = bar;
  row.col[kColDirection] = side;
  row.col[kColEntryDateTime] = p.dateTime.At(bar);
  row.col[kColEntryPrice] = price;
  row.col[kColEntryCostPrice] = costs.entry(price, side);
  row.col[kColExitPrice] = price;
  row.col[kColExitCostPrice] = costs.exit(price, side);
  row.col[kColQuantity] = quantity;
  return row;
}

// Walks the trade entered at bar i towards its exit, widening the extremes
// from bar i + 1 on. Returns the exit bar, or -1 when the exit series ends
// without one (the row is then left for the open-trade pass).
int WalkToExit(TradeRow& row, int side, const SideSignals& s, const TradePrices& p, const TradeCosts& costs) {
  const int i = row.entryBar;
  double high = row.col[kColEntryPrice], low = high;
  for (int j = i + 1; j < s.exit.n; ++j) {
    high = Higher(high, p.high.At(j));
    low = Lower(low, p.low.At(j));
    if (s.exit.v[j] == 0.0) continue;
    const double x = SignalPrice(s.exit.v[j]);
    row.col[kColExitDateTime] = p.dateTime.At(j);
    row.col[kColExitPrice] = x;
    row.col[kColExitCostPrice] = costs.exit(x, side);
    SetExcursions(row, side, x, high, low);
    row.col[kColBarsHeld] = j - i;
    return j;
  }
  return -1;
}

// Appends the entries from bar `first` on once no exit follows them: each is
// open at the exit series' last bar. Their extremes are suffix extremes, so
// one backward pass fills them all instead of one walk per entry.
void AppendOpenTrades(int side, int first, double quantity, const SideSignals& s, const TradePrices& p,
                      const TradeCosts& costs, std::vector<TradeRow>& out) {
  const int last = s.exit.n - 1;
  const double lastClose = p.close.At(last);
  const size_t from = out.size();
  for (int i = first; i < s.entry.n; ++i) {
    if (s.entry.v[i] == 0.0) continue;
    out.push_back(EntryRow(side, i, quantity, s, p, costs));
    if (i >= last) continue;  // nothing after the entry: keeps its entry values
    out.back().col[kColExitPrice] = out.back().col[kColExitCostPrice] = lastClose;
    out.back().col[kColBarsHeld] = last - i;
  }
  double high = -kInf, low = kInf;
  int j = last;
  for (size_t r = out.size(); r-- > from;) {
    TradeRow& row = out[r];
    if (row.entryBar >= last) continue;
    for (; j > row.entryBar; --j) {
      high = HigherFromBehind(p.high.At(j), high);
      low = LowerFromBehind(p.low.At(j), low);
    }
    const double entry = row.col[kColEntryPrice];
    SetExcursions(row, side, lastClose, Higher(entry, high), Lower(entry, low));
  }
}

// A Fenwick tree counting marked positions, for "how many smaller keys came
// before" queries.
class PositionCounter {
 public:
  explicit PositionCounter(int n) : tree_(n + 1, 0) {}
  void Mark(int pos) {
    for (int k = pos + 1; k < static_cast<int>(tree_.size()); k += k & -k) ++tree_[k];
  }
  int CountBefore(int pos) const {
    int sum = 0;
    for (int k = pos; k > 0; k -= k & -k) sum += tree_[k];
    return sum;
  }

 private:
  std::vector<int> tree_;
};

// The rows of one key in arrival order, with rotations[j] = the number of
// smaller keys that arrive after member j and before member j + 1 (or the
// end). Each such arrival rotates the group left by one; the ring below
// replays appends and rotations and returns the group's final order.
class GroupRing {
 public:
  void Replay(const int* members, const int* rotations, int count, std::vector<int>& out) {
    next_.resize(count);
    prev_.resize(count);
    int head = -1;
    for (int j = 0; j < count; ++j) {
      Append(j, head);
      head = Advance(head, rotations[j] % (j + 1), j + 1);
    }
    for (int k = 0, node = head; k < count; ++k, node = next_[node]) out.push_back(members[node]);
  }

 private:
  // The new member goes to the logical end: just before the head.
  void Append(int node, int& head) {
    if (head < 0) {
      next_[node] = prev_[node] = head = node;
      return;
    }
    const int tail = prev_[head];
    next_[tail] = node;
    prev_[node] = tail;
    next_[node] = head;
    prev_[head] = node;
  }
  // Moves the head `steps` forward in a ring of `size`, walking the shorter way.
  int Advance(int head, int steps, int size) const {
    if (steps * 2 <= size) {
      for (; steps > 0; --steps) head = next_[head];
    } else {
      for (steps = size - steps; steps > 0; --steps) head = prev_[head];
    }
    return head;
  }
  std::vector<int> next_, prev_;
};

// For one key's group, whose members arrived at the given ranks in this
// order: how many smaller keys arrive after each member and before the next
// one (or the end). `counter` has the ranks of every smaller key marked.
void CountRotations(const PositionCounter& counter, const int* ranks, int count, int smallerTotal,
                    std::vector<int>& rotations) {
  rotations.resize(count);
  int before = counter.CountBefore(ranks[0]);
  for (int j = 0; j < count; ++j) {
    const int upto = j + 1 < count ? counter.CountBefore(ranks[j + 1]) : smallerTotal;
    rotations[j] = upto - before;
    before = upto;
  }
}

// The exchange sort's compare-exchanges taken as "for b, for a < b" instead
// of "for a, for b > a": any two of them that share a row keep their
// relative order, so the result is the same. In that order rows 0..b-1 are
// sorted when row b arrives; it lands after every key <= its own, and every
// group of a strictly greater key passes its first row to its end. Sorts
// rows whose keys are all numbers, given in arrival order.
std::vector<int> SortNumberKeys(const double* keys, const std::vector<int>& rows) {
  const int m = static_cast<int>(rows.size());
  std::vector<int> byKey(m);  // arrival ranks by key, arrival order within a key
  std::iota(byKey.begin(), byKey.end(), 0);
  std::stable_sort(byKey.begin(), byKey.end(), [&](int x, int y) { return keys[rows[x]] < keys[rows[y]]; });
  std::vector<int> members, rotations, order;
  order.reserve(m);
  PositionCounter counter(m);
  GroupRing ring;
  for (int g = 0, end = 0; g < m; g = end) {
    while (end < m && keys[rows[byKey[end]]] == keys[rows[byKey[g]]]) ++end;
    members.clear();
    for (int k = g; k < end; ++k) members.push_back(rows[byKey[k]]);
    CountRotations(counter, &byKey[g], end - g, g, rotations);
    ring.Replay(members.data(), rotations.data(), end - g, order);
    for (int k = g; k < end; ++k) counter.Mark(byKey[k]);
  }
  return order;
}

}  // namespace

void AppendSideTrades(int side, double quantity, const SideSignals& s, const TradePrices& p, const TradeCosts& costs,
                      std::vector<TradeRow>& out) {
  const int last = s.exit.n - 1;
  for (int i = std::max(s.entryStart, 0); i < s.entry.n;) {
    if (s.entry.v[i] == 0.0) {
      ++i;
      continue;
    }
    TradeRow row = EntryRow(side, i, quantity, s, p, costs);
    if (i >= last) {  // no exit bar after the entry
      out.push_back(row);
      ++i;
      continue;
    }
    const int exitBar = WalkToExit(row, side, s, p, costs);
    if (exitBar < 0) return AppendOpenTrades(side, i, quantity, s, p, costs, out);
    out.push_back(row);
    i = exitBar + 1;
  }
}

void SetExcursions(TradeRow& row, int side, double x, double high, double low) {
  const double e = row.col[kColEntryPrice];
  const bool isLong = side == 0;
  row.col[kColRunup] = isLong ? high - e : e - low;
  row.col[kColDrawdown] = isLong ? low - e : e - high;
  if (high == low) return;
  const double range = high - low;
  row.col[kColEntryEff] = (isLong ? high - e : e - low) / range * kPercent;
  row.col[kColExitEff] = (isLong ? x - low : high - x) / range * kPercent;
  row.col[kColTotalEff] = (isLong ? x - e : e - x) / range * kPercent;
}

bool IsNonDecreasing(const double* keys, int n) {
  for (int k = 1; k < n; ++k)
    if (!(keys[k - 1] <= keys[k])) return false;
  return true;
}

// A NaN key never compares greater or smaller, so its row never moves; the
// other rows sort among the remaining places as if the NaN rows were absent.
std::vector<int> ExchangeSortOrder(const double* keys, int n) {
  std::vector<int> order(std::max(n, 0));
  std::iota(order.begin(), order.end(), 0);
  std::vector<int> numberRows;
  numberRows.reserve(order.size());
  for (int k = 0; k < n; ++k)
    if (!std::isnan(keys[k])) numberRows.push_back(k);
  const std::vector<int> sorted = SortNumberKeys(keys, numberRows);
  for (size_t k = 0; k < numberRows.size(); ++k) order[numberRows[k]] = sorted[k];
  return order;
}

void ChainProfits(const std::array<double*, kTradeColumnCount>& c, int n, const ProfitRule& rule) {
  for (int k = 0; k < n; ++k) {
    double p = (c[kColExitCostPrice][k] - c[kColEntryCostPrice][k]) * c[kColQuantity][k];
    if (c[kColDirection][k] != 0.0) p = -p;
    const double capital = rule.blMargin ? rule.margin : c[kColQuantity][k] * c[kColEntryCostPrice][k];
    const double g = p / capital + 1.0;
    const double cumProfit = k == 0 ? p : c[kColCumProfitLoss][k - 1] + p;
    double cumReturn = g;
    if (k > 0)
      cumReturn = rule.blMargin ? (g - 1.0) + c[kColCumReturnFactor][k - 1] : g * c[kColCumReturnFactor][k - 1];
    c[kColProfitLoss][k] = p;
    c[kColReturnFactor][k] = g;
    c[kColCumReturnFactor][k] = cumReturn;
    c[kColCumProfitLoss][k] = rule.percentColumn ? cumReturn * kPercent : cumProfit;
  }
}

int CompressedLength(int length, int factor) {
  if (factor < 1 || length <= 0) return 0;
  return static_cast<int>((static_cast<long long>(length) + factor - 1) / factor);
}

void CompressBars(const std::array<Bars, kCompressedSlots>& src, int factor,
                  const std::array<double*, kCompressedSlots>& out) {
  const long long length = src[kClose].n;
  const int groups = CompressedLength(src[kClose].n, factor);
  for (int g = 0; g < groups; ++g) {
    const long long first = static_cast<long long>(g) * factor;
    const long long last = std::min(first + factor, length) - 1;
    double high = src[kHigh].At(first), low = src[kLow].At(first), volume = 0.0;
    for (long long b = first; b <= last; ++b) {
      high = Higher(high, src[kHigh].At(b));
      low = Lower(low, src[kLow].At(b));
      volume += src[kVolume].At(b);
    }
    out[kClose][g] = src[kClose].At(last);
    out[kOpen][g] = src[kOpen].At(first);
    out[kHigh][g] = high;
    out[kLow][g] = low;
    out[kVolume][g] = volume;
    out[kDateTime][g] = src[kDateTime].At(first);
  }
}

}  // namespace chartcalc::detail

using namespace chartcalc::detail;

namespace {

// Rows present in every column; a column a host shortened caps the table.
int CompleteRows(const STradeTable& t) {
  int n = t.Column(0).GetSize();
  for (int k = 1; k < STradeTable::kColumns; ++k) n = std::min(n, t.Column(k).GetSize());
  return n;
}

std::array<double*, kTradeColumnCount> ColumnData(STradeTable& t) {
  std::array<double*, kTradeColumnCount> data{};
  for (int k = 0; k < kTradeColumnCount; ++k) data[k] = t.Column(k).Data();
  return data;
}

// Appends the rows to every column at once, growing each column the way
// one append per row would (to the next block of 1000).
void AppendRows(STradeTable& t, const std::vector<TradeRow>& rows) {
  if (rows.empty()) return;
  for (int k = 0; k < kTradeColumnCount; ++k) {
    SVector& column = t.Column(k);
    const int base = column.GetSize();
    const long long wanted = std::min<long long>(static_cast<long long>(base) + rows.size(), kInvalidStart);
    column.SetSize(static_cast<int>(wanted));
    const int stored = std::min<int>(column.GetSize() - base, static_cast<int>(rows.size()));
    for (int r = 0; r < stored; ++r) column.Data()[base + r] = rows[r].col[k];
  }
}

// The first valid bar after compression: the group holding the source's.
int CompressedStart(const SVector& source, int factor) {
  const int start = source.GetStartIndex();
  if (start <= 0) return 0;
  return start >= source.GetSize() ? kInvalidStart : start / factor;
}

}  // namespace

void SSimulation::CompressData(int n) {
  if (n < 1) return;
  // Bound with SetVariablePointer, the working series are the source:
  // rebuilding one from the other in place would read what it overwrites.
  for (int w = 0; w < kCompressedSlots; ++w)
    for (int s = 0; s < kCompressedSlots; ++s)
      if (working_[w] == source_[s]) return;
  std::array<Bars, kCompressedSlots> source;
  for (int k = 0; k < kCompressedSlots; ++k) source[k] = View(*source_[k]);
  const int length = CompressedLength(source[kClose].n, n);
  std::array<double*, kCompressedSlots> out{};
  for (int k = 0; k < kCompressedSlots; ++k) {
    SVector& series = *working_[k];
    series.SetSeries(1);
    series.SetSize(length);
    if (series.GetSize() != length) return;  // could not grow
    series.SetStartIndex(CompressedStart(*source_[k], n));
    out[k] = series.Data();
  }
  CompressBars(source, n, out);
}

void SSimulation::SetHistory() {
  const double quantity = Setting.ModeVolume == 0 ? Setting.TradeVolume : 1.0;
  const TradePrices prices{View(*working_[kClose]), View(*working_[kHigh]), View(*working_[kLow]),
                           View(*working_[kDateTime])};
  const TradeCosts costs{[this](double price, int side) { return EntryPrice(price, side); },
                         [this](double price, int side) { return ExitPrice(price, side); }};
  std::vector<TradeRow> rows;
  for (int side = GetStartMode(); side <= GetEndMode(); ++side) {
    const SVector& entry = Index.LineData[2 * side];
    const SideSignals signals{View(entry), entry.GetStartIndex(), View(Index.LineData[2 * side + 1])};
    AppendSideTrades(side, quantity, signals, prices, costs, rows);
  }
  AppendRows(Trades, rows);
  SortHistory();
  ChainProfits(ColumnData(Trades), CompleteRows(Trades), ProfitRule{BlMargin, Margin, Setting.ModeVolume == 1});
}

void SSimulation::SortHistory() {
  const int n = CompleteRows(Trades);
  const double* keys = Trades.EntryDateTime.Data();
  if (n < 2 || IsNonDecreasing(keys, n)) return;  // no exchange would happen
  const std::vector<int> order = ExchangeSortOrder(keys, n);
  std::vector<double> sorted(n);
  for (int k = 0; k < STradeTable::kColumns; ++k) {
    double* column = Trades.Column(k).Data();
    for (int pos = 0; pos < n; ++pos) sorted[pos] = column[order[pos]];
    std::copy(sorted.begin(), sorted.end(), column);
  }
}

void SSimulation::Interchange(int a, int b) {
  const int n = CompleteRows(Trades);
  if (a < 0 || b < 0 || a >= n || b >= n) return;
  for (int k = 0; k < STradeTable::kColumns; ++k) {
    double* column = Trades.Column(k).Data();
    std::swap(column[a], column[b]);
  }
}

void SSimulation::SetHistoryToZero() {
  for (int k = 0; k < STradeTable::kColumns; ++k) Trades.Column(k).SetSize(0);
}
