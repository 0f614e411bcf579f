// Storage, growth, element access helpers and the element-wise operators of
// SVector. The rolling and cumulative calculations are in SVectorRolling.cpp.
#include "chartcalc/SVector.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <utility>

using namespace chartcalc::detail;

namespace {

const char kOutOfMemory[] = "Out of memory trying to create SVector\n";

// Series buffers come from malloc, so that a growing series can be resized
// in place (see GrowTo). Large ones are recycled through a small per-thread
// pool. A formula over a long history makes and drops many temporaries of the
// same length; handing the memory back to the system and faulting it in
// again costs far more than the arithmetic itself. The pool is bounded and is skipped under
// AddressSanitizer so that use-after-free stays detectable.
#if defined(__SANITIZE_ADDRESS__)
#define CHARTCALC_NO_BUFFER_POOL 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define CHARTCALC_NO_BUFFER_POOL 1
#endif
#endif

// From 32 KiB on: below that, malloc's own bins recycle buffers cheaply;
// above it, a freed buffer at the top of the heap is given back to the
// system (and faulted in again by the next calculation), which would cost an
// incremental calculation over a few thousand bars far more than its
// arithmetic.
constexpr int kPoolMinDoubles = 4096;
constexpr int kPoolSlots = 16;
[[maybe_unused]] constexpr long long kPoolMaxDoubles = 8LL << 20;  // 64 MiB held per thread at most

struct BufferPool {  // trivially destructible: usable until the thread ends
  double* buffer[kPoolSlots];
  int capacity[kPoolSlots];
  int count;
  long long held;
  bool closed;
};
thread_local BufferPool tPool;

void DropOldest() {
  BufferPool& p = tPool;
  std::free(p.buffer[0]);
  p.held -= p.capacity[0];
  for (int i = 1; i < p.count; ++i) p.buffer[i - 1] = p.buffer[i], p.capacity[i - 1] = p.capacity[i];
  --p.count;
}

// Releases the pool's buffers when the thread ends.
struct PoolReaper {
  ~PoolReaper() {
    while (tPool.count > 0) DropOldest();
    tPool.closed = true;
  }
};
thread_local PoolReaper tReaper;

double* NewBuffer(int n) {
#ifndef CHARTCALC_NO_BUFFER_POOL
  BufferPool& p = tPool;
  if (n >= kPoolMinDoubles) {
    for (int i = p.count - 1; i >= 0; --i) {
      if (p.capacity[i] != n) continue;
      double* b = p.buffer[i];
      p.held -= n;
      for (int k = i + 1; k < p.count; ++k) p.buffer[k - 1] = p.buffer[k], p.capacity[k - 1] = p.capacity[k];
      --p.count;
      return b;
    }
  }
#endif
  return static_cast<double*>(std::malloc(sizeof(double) * static_cast<size_t>(n)));
}

void FreeBuffer(double* b, int n) {
  if (!b) return;
#ifndef CHARTCALC_NO_BUFFER_POOL
  BufferPool& p = tPool;
  if (n >= kPoolMinDoubles && n <= kPoolMaxDoubles && !p.closed) {
    (void)&tReaper;  // makes sure the pool is emptied when the thread ends
    while (p.count == kPoolSlots || (p.count > 0 && p.held + n > kPoolMaxDoubles)) DropOldest();
    p.buffer[p.count] = b;
    p.capacity[p.count++] = n;
    p.held += n;
    return;
  }
#endif
  std::free(b);
}

// n rounded up to the next multiple of the growth block (n itself when it
// already is one).
int RoundUpToBlock(int n) {
  long long blocks = (static_cast<long long>(n) + kSeriesBlock - 1) / kSeriesBlock;
  long long cap = blocks * kSeriesBlock;
  return cap > std::numeric_limits<int>::max() ? std::numeric_limits<int>::max() : static_cast<int>(cap);
}

// The room of a buffer that a growing series moves to: half as much again
// as the capacity it needs, in whole blocks.
int WithRoomAhead(int cap) {
  return RoundUpToBlock(static_cast<int>(std::min<long long>(cap + cap / 2LL, std::numeric_limits<int>::max())));
}

// The capacity of a fresh buffer for n elements. Buffers the pool recycles
// are rounded up to a step of whole blocks, so that a history that grows by
// a bar between two calculations still finds its buffers there; the step
// doubles with the length (at most 1/64 of it, under 1.6% of room to spare),
// so that a long history changes its buffers' size rarely.
int FreshCapacity(int n) {
  if (n < kPoolMinDoubles) return n;
  long long step = kSeriesBlock;
  while (step * 2 * 64 <= n) step *= 2;
  const long long cap = (static_cast<long long>(n) + step - 1) / step * step;
  return cap > std::numeric_limits<int>::max() ? RoundUpToBlock(n) : static_cast<int>(cap);
}

// The first element a copy or an element-wise operation has to carry: a true
// series' valid range starts at its start index, and the elements below it
// carry no meaning; a single number answers every index with element 0.
int FirstCarried(const SVector& v) { return v.IsSeries() ? std::clamp(v.GetStartIndex(), 0, v.GetSize()) : 0; }

// Copies the carried elements of src (see FirstCarried) into dst.
void CopyCarried(double* dst, const SVector& src) {
  const int from = FirstCarried(src);
  if (from < src.GetSize()) std::memcpy(dst + from, src.Data() + from, sizeof(double) * (src.GetSize() - from));
}

}  // namespace

int chartcalc::detail::ShiftStart(int start, long long n) {
  if (start >= kInvalidStart) return kInvalidStart;
  long long s = static_cast<long long>(start) + n;
  if (s >= kInvalidStart) return kInvalidStart;
  if (s < std::numeric_limits<int>::min()) return std::numeric_limits<int>::min();
  return static_cast<int>(s);
}

int chartcalc::detail::TruncToInt(double v) {
  if (std::isnan(v)) return 0;
  if (v >= 2147483647.0) return std::numeric_limits<int>::max();
  if (v <= -2147483648.0) return std::numeric_limits<int>::min();
  return static_cast<int>(v);
}

void SVector::Error(const char* text) { std::fputs(text, stderr); }

unsigned SVector::NewRevision() {
  static std::atomic<unsigned> next{0};
  return next.fetch_add(1u << 16, std::memory_order_relaxed);
}

SVector::SVector() = default;

SVector::SVector(int n) {
  if (n > 0) {
    Alloc(FreshCapacity(n));
    size_ = std::min(n, capacity_);
  }
}

SVector::SVector(double v) : series_(0) {
  Alloc(1);
  if (data_) {
    data_[0] = v;
    size_ = 1;
  }
}

// A copy carries the valid elements only: on a partial calculation over the
// newest bars of a long history that is a few bars, not the whole history.
SVector::SVector(const SVector& other) : start_(other.start_), series_(other.series_) {
  if (other.size_ > 0) {
    Alloc(FreshCapacity(other.size_));
    if (!data_) return;
    CopyCarried(data_, other);
    size_ = other.size_;
  }
}

SVector::SVector(SVector&& other) noexcept
    : capacity_(other.capacity_),
      room_(other.room_),
      scratch_(other.scratch_),
      start_(other.start_),
      size_(other.size_),
      data_(other.data_),
      series_(other.series_) {
  other.capacity_ = other.room_ = 0;
  other.scratch_ = other.data_ = nullptr;
  other.size_ = 0;
}

SVector::~SVector() { Release(); }

void SVector::Release() {
  FreeBuffer(data_, room_);
  data_ = scratch_ = nullptr;
  capacity_ = room_ = 0;
}

SVector& SVector::operator=(const SVector& other) {
  if (this == &other) return *this;
  ++revision_;
  if (capacity_ < other.size_ || (capacity_ == 0 && other.size_ > 0)) {
    Release();
    Alloc(FreshCapacity(other.size_));
    if (!data_) {
      size_ = 0;
      return *this;
    }
  }
  if (other.size_ > 0) CopyCarried(data_, other);
  size_ = other.size_;
  start_ = other.start_;
  series_ = other.series_;
  return *this;
}

SVector& SVector::operator=(SVector&& other) noexcept {
  if (this == &other) return *this;
  ++revision_;
  Release();
  capacity_ = other.capacity_;
  room_ = other.room_;
  scratch_ = other.scratch_;
  start_ = other.start_;
  size_ = other.size_;
  data_ = other.data_;
  series_ = other.series_;
  other.capacity_ = other.room_ = 0;
  other.scratch_ = other.data_ = nullptr;
  other.size_ = 0;
  return *this;
}

// Stores the number as the series' value: an empty series becomes a single
// element; a longer one is filled, so that it reads as the number at every
// bar whatever its flag.
SVector& SVector::operator=(const double& v) {
  ++revision_;
  if (size_ == 0) SetSize(1);
  if (size_ == 0) return *this;
  std::fill(data_, data_ + size_, v);
  return *this;
}

void SVector::Alloc(int n) {
  ++revision_;
  int cap = std::max(n, 1);
  double* buf = NewBuffer(cap);
  if (!buf) {
    Error(kOutOfMemory);
    return;
  }
  FreeBuffer(data_, room_);
  data_ = scratch_ = buf;
  capacity_ = room_ = cap;
}

// A buffer the series already holds serves any capacity up to its room
// without moving; a smaller capacity than the present one gets a buffer of
// its own size, so that the memory is given back.
void SVector::ReAlloc(int n) {
  const int cap = std::max(n, 1);
  if (cap >= capacity_ && cap <= room_) {
    capacity_ = cap;
    return;
  }
  MoveTo(cap, cap);
}

// Moves the elements to a new buffer of `room` elements (of `cap` when that
// much cannot be had) and makes the capacity cap.
void SVector::MoveTo(int cap, int room) {
  scratch_ = NewBuffer(room);
  if (!scratch_ && room > cap) scratch_ = NewBuffer(room = cap);
  if (!scratch_) {
    scratch_ = data_;
    Error(kOutOfMemory);
    return;
  }
  // Only the valid elements move; those below the start index are left
  // undefined in the new buffer.
  int from = std::max(start_, 0);
  int to = std::min(size_, cap);
  if (data_ && from < to) std::memcpy(scratch_ + from, data_ + from, sizeof(double) * (to - from));
  FreeBuffer(data_, room_);
  data_ = scratch_;
  capacity_ = cap;
  room_ = room;
  if (size_ > cap) {
    size_ = cap;
    ++revision_;
  }
}

// Growth of a series that is being extended (Add, SetSize): the capacity
// still steps up to the block-rounded length, but a history that has to move
// gets half its length again as room, so that appending bar by bar moves
// each bar a bounded number of times instead of once per block. The buffer
// is resized by the allocator, which can often extend it where it lies or
// remap its pages instead of copying them.
void SVector::GrowTo(int cap) {
  if (cap <= room_) {
    capacity_ = cap;
    return;
  }
  if (size_ == 0) return MoveTo(cap, cap);
  const int room = WithRoomAhead(cap);
  double* grown = static_cast<double*>(std::realloc(data_, sizeof(double) * static_cast<size_t>(room)));
  if (!grown) return MoveTo(cap, room);  // the old buffer is still ours
  data_ = scratch_ = grown;
  capacity_ = cap;
  room_ = room;
}

void SVector::SetSize(int n) {
  if (n < 0) n = 0;
  if (n < size_) ++revision_;
  if (n > capacity_) GrowTo(RoundUpToBlock(n));
  size_ = std::min(n, capacity_);
}

void SVector::Add(double v) {
  if (size_ >= capacity_) GrowTo(RoundUpToBlock(size_ + 1));
  if (size_ >= capacity_) return;  // could not grow
  size_ = std::min(size_ + 1, capacity_);
  data_[size_ - 1] = v;
}

void SVector::Update(double v, int back) {
  if (back > 0) ++revision_;
  if (back >= 0 && size_ - back > 0) data_[size_ - back - 1] = v;
}

void SVector::ClearData() {
  ++revision_;
  size_ = 0;
  start_ = 0;
}

void SVector::InitValue(double v) {
  ++revision_;
  if (size_ > 0) std::fill(data_, data_ + size_, v);
}

void SVector::Insert(SVector& older) {
  int n = older.size_;
  if (n <= 0) return;
  ++revision_;
  int total = size_ + n;
  double* buf = NewBuffer(RoundUpToBlock(total));
  if (!buf) {
    Error(kOutOfMemory);
    return;
  }
  std::memcpy(buf, older.data_, sizeof(double) * n);
  if (size_ > 0) std::memcpy(buf + n, data_, sizeof(double) * size_);
  FreeBuffer(data_, room_);
  data_ = scratch_ = buf;
  capacity_ = room_ = RoundUpToBlock(total);
  start_ = size_ > 0 ? std::min(older.start_, ShiftStart(start_, n)) : older.start_;
  size_ = total;
  series_ = 1;
}

// Makes this series the result frame of a calculation on src: n elements,
// the given start index, a true series.
void SVector::PrepareResult(const SVector&, int n, int start) {
  if (n < 0) n = 0;
  if (n > capacity_ || data_ == nullptr) {
    Release();
    Alloc(n);
  }
  size_ = data_ ? n : 0;
  start_ = start;
  series_ = 1;
}

// Delay by n bars: element i of the result is element i - n of x. A negative
// n looks ahead, so the series is shortened by -n bars rather than reading
// past its end.
SVector SVector::operator()(int n) const {
  SVector r;
  VecRef(r, *this, n);
  return r;
}

void VecRef(SVector& r, const SVector& a, int n) {
  if (!a.IsSeries()) {
    r = a;
    r.SetStartIndex(ShiftStart(a.GetStartIndex(), n));
    return;
  }
  long long size = a.GetSize();
  if (n < 0) size = std::max(0LL, size + n);
  SVector out(static_cast<int>(size));
  const double* src = a.Data();
  double* dst = out.Data();
  long long start = std::max(static_cast<long long>(ShiftStart(a.GetStartIndex(), n)), 0LL);
  // Only the delayed valid range is written; it reads a's valid range.
  for (long long i = std::min(start, size); i < size; ++i) {
    long long j = i - n;
    dst[i] = (j >= 0 && j < a.GetSize()) ? src[j] : 0.0;
  }
  out.SetStartIndex(static_cast<int>(start));
  r = std::move(out);
}

void VecCopy(SVector& r, const SVector& a) { r = a; }

// ---- element-wise operations ------------------------------------------------

namespace {

// Two operands of different lengths: the result has the longer length and the
// bars the shorter operand lacks take 0, a finite value the host can show.
// Only the result's valid range is computed (bars below its start index carry
// no meaning), so an operation on the newest bars of a long history costs
// those bars only.
template <class Op>
SVector Binary(const SVector& a, const SVector& b, Op op) {
  const int start = std::max(a.GetStartIndex(), b.GetStartIndex());
  if (!a.IsSeries() && !b.IsSeries()) {
    SVector r(op(a.Number(), b.Number()));
    r.SetStartIndex(start);
    return r;
  }
  int na = a.IsSeries() ? a.GetSize() : -1;
  int nb = b.IsSeries() ? b.GetSize() : -1;
  int n = std::max(na, nb);
  SVector r(n);
  double* d = r.Data();
  if (n > 0 && d) {
    const int first = std::clamp(start, 0, n);
    const double* pa = a.Data();
    const double* pb = b.Data();
    if (na < 0) {
      double x = a.Number();
      for (int i = first; i < n; ++i) d[i] = op(x, pb[i]);
    } else if (nb < 0) {
      double y = b.Number();
      for (int i = first; i < n; ++i) d[i] = op(pa[i], y);
    } else {
      int common = std::max(std::min(na, nb), first);
      for (int i = first; i < common; ++i) d[i] = op(pa[i], pb[i]);
      std::fill(d + common, d + n, 0.0);
    }
  }
  r.SetStartIndex(start);
  return r;
}

template <class Op>
SVector Unary(const SVector& a, Op op) {
  SVector r = a;
  double* d = r.Data();
  for (int i = FirstCarried(r), n = r.GetSize(); i < n; ++i) d[i] = op(d[i]);
  return r;
}

// Division by zero gives 0: a chart cannot show an infinity, and a ratio
// against a zero denominator (a flat range, no volume) reads best as none.
inline double SafeDiv(double x, double y) { return y == 0.0 ? 0.0 : x / y; }
// The remainder keeps the dividend's sign (fmod), works on fractions, and is
// 0 for a zero divisor like the division.
inline double SafeMod(double x, double y) { return y == 0.0 ? 0.0 : std::fmod(x, y); }
inline double Truth(bool t) { return t ? 1.0 : 0.0; }

}  // namespace

SVector operator+(const SVector& a, const SVector& b) {
  return Binary(a, b, [](double x, double y) { return x + y; });
}
SVector operator-(const SVector& a, const SVector& b) {
  return Binary(a, b, [](double x, double y) { return x - y; });
}
SVector operator*(const SVector& a, const SVector& b) {
  return Binary(a, b, [](double x, double y) { return x * y; });
}
SVector operator/(const SVector& a, const SVector& b) { return Binary(a, b, SafeDiv); }
SVector operator%(const SVector& a, const SVector& b) { return Binary(a, b, SafeMod); }
SVector operator*(const SVector& a, double b) { return a * SVector(b); }
SVector operator<(const SVector& a, const SVector& b) {
  return Binary(a, b, [](double x, double y) { return Truth(x < y); });
}
SVector operator<=(const SVector& a, const SVector& b) {
  return Binary(a, b, [](double x, double y) { return Truth(x <= y); });
}
SVector operator>(const SVector& a, const SVector& b) {
  return Binary(a, b, [](double x, double y) { return Truth(x > y); });
}
SVector operator>=(const SVector& a, const SVector& b) {
  return Binary(a, b, [](double x, double y) { return Truth(x >= y); });
}
SVector operator==(const SVector& a, const SVector& b) {
  return Binary(a, b, [](double x, double y) { return Truth(x == y); });
}
SVector operator!=(const SVector& a, const SVector& b) {
  return Binary(a, b, [](double x, double y) { return Truth(x != y); });
}
// Non-zero counts as true; a NaN is non-zero.
SVector operator&&(const SVector& a, const SVector& b) {
  return Binary(a, b, [](double x, double y) { return Truth(x != 0.0 && y != 0.0); });
}
SVector operator||(const SVector& a, const SVector& b) {
  return Binary(a, b, [](double x, double y) { return Truth(x != 0.0 || y != 0.0); });
}
SVector operator-(const SVector& a) {
  return Unary(a, [](double x) { return -x; });
}
SVector operator!(const SVector& a) {
  return Unary(a, [](double x) { return Truth(x == 0.0); });
}

void VecPlus(SVector& r, const SVector& a, const SVector& b) { r = a + b; }
void VecMinus(SVector& r, const SVector& a, const SVector& b) { r = a - b; }
void VecMultiply(SVector& r, const SVector& a, const SVector& b) { r = a * b; }
void VecDivide(SVector& r, const SVector& a, const SVector& b) { r = a / b; }
void VecMod(SVector& r, const SVector& a, const SVector& b) { r = a % b; }
void VecLT(SVector& r, const SVector& a, const SVector& b) { r = a < b; }
void VecLE(SVector& r, const SVector& a, const SVector& b) { r = a <= b; }
void VecGT(SVector& r, const SVector& a, const SVector& b) { r = a > b; }
void VecGE(SVector& r, const SVector& a, const SVector& b) { r = a >= b; }
void VecEQ(SVector& r, const SVector& a, const SVector& b) { r = a == b; }
void VecNEQ(SVector& r, const SVector& a, const SVector& b) { r = a != b; }
void VecAND(SVector& r, const SVector& a, const SVector& b) { r = a && b; }
void VecOR(SVector& r, const SVector& a, const SVector& b) { r = a || b; }
void VecUMinus(SVector& r, const SVector& a) { r = -a; }
void VecNot(SVector& r, const SVector& a) { r = !a; }

// ---- searches and extremes --------------------------------------------------

namespace {

// Clamps [from, to] to the elements in use; returns false when empty.
bool ClampRange(int size, int& from, int& to) {
  from = std::max(from, 0);
  to = std::min(to, size - 1);
  return from <= to;
}

template <class Better>
double Extreme(const double* d, int from, int to, bool skipZero, Better better) {
  bool found = false;
  double best = 0.0;
  for (int i = from; i <= to; ++i) {
    double v = d[i];
    if (std::isnan(v) || (skipZero && v == 0.0)) continue;
    if (!found || better(v, best)) best = v, found = true;
  }
  return best;
}

const auto kGreater = [](double a, double b) { return a > b; };
const auto kLess = [](double a, double b) { return a < b; };

}  // namespace

// GetMax()/GetMin() cover the valid range; an empty series gives 0. NaNs are
// skipped so one bad bar cannot blank a chart's scale.
double SVector::GetMax() const {
  int from = start_, to = size_ - 1;
  return ClampRange(size_, from, to) ? Extreme(data_, from, to, false, kGreater) : 0.0;
}
double SVector::GetMin() const {
  int from = start_, to = size_ - 1;
  return ClampRange(size_, from, to) ? Extreme(data_, from, to, false, kLess) : 0.0;
}
// The range is clamped to the valid elements. A non-zero mode skips zeros,
// which mark "no value" in sparse lines such as a zigzag.
double SVector::GetMax(int from, int to, int mode) const {
  from = std::max(from, start_);
  return ClampRange(size_, from, to) ? Extreme(data_, from, to, mode != 0, kGreater) : 0.0;
}
double SVector::GetMin(int from, int to, int mode) const {
  from = std::max(from, start_);
  return ClampRange(size_, from, to) ? Extreme(data_, from, to, mode != 0, kLess) : 0.0;
}

// The working copy for repeated range searches is the series itself: a range
// search is a tight scan, so there is no separate state to drop or rebuild.
void SVector::InitTemp() {}
double SVector::GetMaxTemp(int from, int to) const { return GetMax(from, to, 0); }
double SVector::GetMinTemp(int from, int to) const { return GetMin(from, to, 0); }

int SVector::FindFirstNonZeroIndex(int start) const {
  for (int i = std::max(start, 0); i < size_; ++i)
    if (data_[i] != 0.0) return i;
  return -1;
}

int SVector::FindPrevNonZeroIndex(int start) const {
  for (int i = std::min(start, size_ - 1); i >= 0; --i)
    if (data_[i] != 0.0) return i;
  return -1;
}

double SVector::GetFirstNonZeroValue() const {
  int i = FindFirstNonZeroIndex(start_);
  return i >= 0 ? data_[i] : 0.0;
}

int SVector::FindPos(double v, int start) const {
  for (int i = std::max(start, 0); i < size_; ++i)
    if (data_[i] == v) return i;
  return -1;
}
