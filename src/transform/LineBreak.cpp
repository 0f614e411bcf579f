// Line-break charts. Line k of the chart is entry k of a column list (entry 0
// is the starting close); every line also records its bottom and top, and the
// turn levels are the lowest bottom and the highest top of the last N lines,
// never looking below the close series' start index among the line entries.
#include "transform/LineBreak.h"

#include <algorithm>
#include <functional>
#include <vector>

namespace chartcalc::detail {

double ChangeValue(int mode, std::span<const double> values, int end, int count, int lowerBound) {
  const long long size = static_cast<long long>(values.size());
  // 64-bit so that end - count cannot overflow; a negative bound reads from 0.
  const long long s = std::max<long long>(static_cast<long long>(end) - count, std::max(lowerBound, 0));
  if (s >= size) return 0.0;
  const long long stop = std::min<long long>(end, size);
  if (stop - 1 < s) return values[s];
  const auto from = values.begin() + s;
  const auto to = values.begin() + stop;
  return mode == 0 ? *std::max_element(from, to) : *std::min_element(from, to);
}

namespace {

// The extreme of the line entries [lo, end) as lines are appended: both ends
// of the window only move forward, so each entry enters and leaves the queue
// once and a turn level costs O(1) however large N is (rescanning N entries
// per line would make a large N quadratic in the bars). Better(a, b): a wins.
template <class Better>
class WindowExtreme {
 public:
  void Push(int entry, double v) {
    while (items_.size() > head_ && !Better{}(items_.back().value, v)) items_.pop_back();
    items_.push_back({entry, v});
  }
  // An empty window reads entry lo, which no line has written yet: 0.
  double Get(long long lo, int end) {
    while (head_ < items_.size() && items_[head_].entry < lo) ++head_;
    // The entries that left the window are dropped in blocks, so the queue
    // stays one flat buffer that is reused rather than reallocated.
    if (head_ >= kCompactAt && 2 * head_ >= items_.size()) {
      items_.erase(items_.begin(), items_.begin() + static_cast<std::ptrdiff_t>(head_));
      head_ = 0;
    }
    return lo > end - 1 || head_ == items_.size() ? 0.0 : items_[head_].value;
  }

 private:
  static constexpr size_t kCompactAt = 1024;
  struct Item {
    int entry;
    double value;
  };
  std::vector<Item> items_;
  size_t head_ = 0;  // the first entry still in the window
};

// The initial direction: that of the first pair of unequal closes from the
// start index on; falling when there is none.
bool StartsRising(const TransformBars& in) {
  for (int i = in.start + 1; i < in.Size(); ++i) {
    if (in.close[i] > in.close[i - 1]) return true;
    if (in.close[i - 1] > in.close[i]) return false;
  }
  return false;
}

class LineBreakBuilder {
 public:
  LineBreakBuilder(const TransformBars& in, int count, double first, SegmentWriter& out)
      : in_(in),
        out_(out),
        count_(count),
        rising_(StartsRising(in)),
        topLevel_(first),
        bottomLevel_(first),
        thrUp_(first),
        thrDown_(first),
        stack_(in.close[in.start]),
        top_(in.close[in.start]),
        bottom_(in.close[in.start]) {
    tops_.Push(0, top_);
    bottoms_.Push(0, bottom_);
  }

  // Comparisons are strict: a close equal to the last extreme or to a turn
  // level draws nothing.
  void Bar(int i) {
    const double c = in_.close[i];
    if (rising_) {
      if (c > topLevel_) DrawRising(i, c);
      if (thrDown_ > c) {
        rising_ = false;
        DrawFalling(i, c);
      }
    } else {
      if (bottomLevel_ > c) DrawFalling(i, c);
      if (c > thrUp_) {
        rising_ = true;
        DrawRising(i, c);
      }
    }
  }

  LineBreakChart Result() const { return {lastThreshold_, true}; }

 private:
  // A rising line runs from the previous line's top up to c.
  void DrawRising(int i, double c) {
    topLevel_ = c;
    AddLine(i, c, top_, c);
    thrDown_ = lastThreshold_ = bottoms_.Get(WindowStart(), n_);
  }

  // A falling line runs from the previous line's bottom down to c.
  void DrawFalling(int i, double c) {
    bottomLevel_ = c;
    AddLine(i, c, c, bottom_);
    thrUp_ = lastThreshold_ = tops_.Get(WindowStart(), n_);
  }

  void AddLine(int i, double c, double bottom, double top) {
    bottom_ = bottom;
    top_ = top;
    bottoms_.Push(n_, bottom);
    tops_.Push(n_, top);
    ++n_;
    Append(i, c);
  }

  // The last N line entries, but none below the close series' start index.
  long long WindowStart() const { return std::max<long long>(static_cast<long long>(n_) - count_, in_.start); }

  void Append(int i, double c) { out_.Add(stack_.Next(in_.DateTime(i), static_cast<double>(i), c)); }

  const TransformBars& in_;
  SegmentWriter& out_;
  const int count_;
  bool rising_;
  double topLevel_, bottomLevel_, thrUp_, thrDown_;
  double lastThreshold_ = 0.0;
  StackedSegments stack_;  // the lines drawn, from the starting close
  double top_, bottom_;    // of the last line
  int n_ = 1;              // line entries in use, the starting point included
  WindowExtreme<std::greater<>> tops_;
  WindowExtreme<std::less<>> bottoms_;
};

}  // namespace

LineBreakChart LineBreakLines(const TransformBars& in, int count, SegmentWriter& out) {
  const double first = FirstNonZeroClose(in);
  if (first == 0.0) return {};
  LineBreakBuilder builder(in, count, first, out);
  for (int i = in.start + 1; i < in.Size(); ++i) builder.Bar(i);
  return builder.Result();
}

}  // namespace chartcalc::detail
