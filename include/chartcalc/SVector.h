// SVector: the numeric series every formula value, price series and indicator
// line is made of. One double per bar, a start index (first valid bar), a size
// and a series flag (zero for a single number written in a formula).
#pragma once

#include <cstdint>

namespace chartcalc::detail {
struct SeriesRevision;
}

class SVector {
 public:
  SVector();  // same as SVector(0): empty series, capacity 0
  explicit SVector(int n);
  explicit SVector(double v);  // a single number (series flag zero)
  SVector(const SVector& other);
  SVector(SVector&& other) noexcept;
  ~SVector();

  SVector& operator=(const SVector& other);
  SVector& operator=(SVector&& other) noexcept;
  SVector& operator=(const double& v);

  // A single number answers every index with its value, so the series
  // functions may index number arguments at every bar.
  double& operator[](int i) { return data_[series_ ? i : 0]; }
  const double& operator[](int i) const { return data_[series_ ? i : 0]; }
  // x(n): x delayed by n bars (see Delay in SVector.cpp for negative n).
  SVector operator()(int n) const;

  int GetStartIndex() const { return start_; }
  void SetStartIndex(int s) { start_ = s; }
  int GetSize() const { return size_; }
  int GetCapacity() const { return capacity_; }
  int IsSeries() const { return series_; }
  void SetSeries(int flag) { series_ = flag; }
  // True when the series has at least one bar in its valid range.
  bool HasValid() const { return start_ >= 0 && start_ < size_; }
  double* Data() { return data_; }
  const double* Data() const { return data_; }
  // The value of a single number (0 when empty).
  double Number() const { return size_ > 0 ? data_[0] : 0.0; }

  void Alloc(int n);
  void ReAlloc(int n);
  void SetSize(int n);
  void Add(double v);
  void Update(double v, int back);
  void ClearData();
  void InitValue(double v);
  // Prepends the other series' elements (older history) before this one's.
  void Insert(SVector& older);

  // Rolling-window calculations: this series becomes the statistic of src
  // over the last `period` bars, one element per bar of src, valid from
  // src's start index + period - 1. A period below 1 leaves no valid bar.
  void CalcSum(const SVector& src, int period);
  void CalcAvg(const SVector& src, int period);
  void CalcEAvg(const SVector& src, int period);
  void CalcWAvg(const SVector& src, int period);
  void CalcESum(const SVector& src, int period);
  void CalcTAvg(const SVector& src, int period);
  void CalcGAvg(const SVector& src, int period);
  void CalcHAvg(const SVector& src, int period);
  void CalcStdev(const SVector& src, int period);
  void CalcHighest(const SVector& src, int period);
  void CalcLowest(const SVector& src, int period);
  // Cumulative forms: the statistic over every valid bar of src up to each
  // bar; n is the number of bars to fill (src may be a single number).
  void CalcSumCum(const SVector& src, int n);
  void CalcAvgCum(const SVector& src, int n);
  void CalcEAvgCum(const SVector& src, int n);
  void CalcWAvgCum(const SVector& src, int n);
  void CalcESumCum(const SVector& src, int n);

  // Extremes for scaling: over the valid range, and over [from, to].
  double GetMax() const;
  double GetMin() const;
  double GetMax(int from, int to, int mode) const;
  double GetMin(int from, int to, int mode) const;
  void InitTemp();
  double GetMaxTemp(int from, int to) const;
  double GetMinTemp(int from, int to) const;

  int FindFirstNonZeroIndex(int start) const;
  int FindPrevNonZeroIndex(int start) const;
  double GetFirstNonZeroValue() const;
  int FindPos(double v, int start) const;

  static void Error(const char* text);

  // Drawing state the chart keeps with each series: the first and last
  // drawn index, and a flag telling that the extremes must be looked up
  // again (the series starts with it set).
  void SetDrawRange(int from, int to) {
    drawFrom_ = from;
    drawTo_ = to;
  }
  int GetDrawFrom() const { return drawFrom_; }
  int GetDrawTo() const { return drawTo_; }
  void SetMinMaxChanged(int flag) { minMaxChanged_ = flag; }
  int GetMinMaxChanged() const { return minMaxChanged_; }

 private:
  friend struct chartcalc::detail::SeriesRevision;
  void Release();
  void PrepareResult(const SVector& src, int n, int start);
  void GrowTo(int cap);
  void MoveTo(int cap, int room);

  int capacity_ = 0;
  // Elements the buffer really holds, at least the capacity: a series that
  // grows bar by bar keeps room ahead, so that its capacity can step up a
  // block at a time without moving the history.
  int room_ = 0;
  double* scratch_ = nullptr;
  int start_ = 0;
  int size_ = 0;
  double* data_ = nullptr;
  int series_ = 1;
  int drawFrom_ = 0;
  int drawTo_ = 0;
  int minMaxChanged_ = 1;
  // Moves with every change to the series other than appending a bar or
  // revising the last one (see SeriesRevision). A new series takes a number
  // no other series has had, so one made where another was is not taken
  // for it.
  static unsigned NewRevision();
  unsigned revision_ = NewRevision();
};

// Element-wise operators. The result has one element per bar of the longer
// operand, a single number stands for its value at every bar, and the first
// valid bar is the later of the operands' first valid bars.
SVector operator+(const SVector& a, const SVector& b);
SVector operator-(const SVector& a, const SVector& b);
SVector operator*(const SVector& a, const SVector& b);
SVector operator/(const SVector& a, const SVector& b);
SVector operator%(const SVector& a, const SVector& b);
SVector operator*(const SVector& a, double b);
SVector operator<(const SVector& a, const SVector& b);
SVector operator<=(const SVector& a, const SVector& b);
SVector operator>(const SVector& a, const SVector& b);
SVector operator>=(const SVector& a, const SVector& b);
SVector operator==(const SVector& a, const SVector& b);
SVector operator!=(const SVector& a, const SVector& b);
SVector operator&&(const SVector& a, const SVector& b);
SVector operator||(const SVector& a, const SVector& b);
SVector operator-(const SVector& a);
SVector operator!(const SVector& a);

void VecPlus(SVector& r, const SVector& a, const SVector& b);
void VecMinus(SVector& r, const SVector& a, const SVector& b);
void VecMultiply(SVector& r, const SVector& a, const SVector& b);
void VecDivide(SVector& r, const SVector& a, const SVector& b);
void VecMod(SVector& r, const SVector& a, const SVector& b);
void VecLT(SVector& r, const SVector& a, const SVector& b);
void VecLE(SVector& r, const SVector& a, const SVector& b);
void VecGT(SVector& r, const SVector& a, const SVector& b);
void VecGE(SVector& r, const SVector& a, const SVector& b);
void VecEQ(SVector& r, const SVector& a, const SVector& b);
void VecNEQ(SVector& r, const SVector& a, const SVector& b);
void VecAND(SVector& r, const SVector& a, const SVector& b);
void VecOR(SVector& r, const SVector& a, const SVector& b);
void VecUMinus(SVector& r, const SVector& a);
void VecNot(SVector& r, const SVector& a);
void VecCopy(SVector& r, const SVector& a);
void VecRef(SVector& r, const SVector& a, int n);

namespace chartcalc::detail {

// Start index of a failed calculation: a series without any valid bar.
inline constexpr int kInvalidStart = 2147483647;
// Capacity grows in blocks of this many elements.
inline constexpr int kSeriesBlock = 1000;

// Adds n to a start index without overflowing; an invalid start stays invalid.
int ShiftStart(int start, long long n);
// A double truncated toward zero into an int; NaN gives 0 and values beyond
// the int range are clamped, so any formula number is a safe count.
int TruncToInt(double v);

// A series' revision moves whenever a bar it already had may hold another
// value: an older bar updated, history inserted in front, bars dropped, the
// series replaced. Appending bars and revising the last one leave it alone,
// so whatever was computed from the older bars stays good while it does not
// move. Writes through Data() or operator[] are not seen.
struct SeriesRevision {
  static unsigned Of(const SVector& v) { return v.revision_; }
  static void Move(SVector& v) { ++v.revision_; }
};

}  // namespace chartcalc::detail
