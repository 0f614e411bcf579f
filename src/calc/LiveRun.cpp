// The nodes of a line's history functions and what a function does with its
// node while a run records or resumes (see LiveRun.h).
#include "calc/LiveRun.h"

#include <cstring>

namespace chartcalc::detail {

void LiveRun::BeginRecord() {
  nodes_.clear();
  BeginResume(0, 0);
  mode_ = kRecord;
}

void LiveRun::BeginResume(int from, int start) {
  next_ = 0;
  mode_ = kResume;
  from_ = from;
  start_ = start;
  earlier_ = 0;
  failed_ = false;
}

LiveNode* LiveRun::Enter(KeptFunction function, double key0, double key1) {
  if (mode_ == kRecord) {
    LiveNode& node = nodes_.emplace_back();
    node.function = function;
    node.key[0] = key0;
    node.key[1] = key1;
    return &node;
  }
  if (mode_ != kResume) return nullptr;
  LiveNode* node = next_ < nodes_.size() ? &nodes_[next_++] : nullptr;
  if (!node || node->function != function || node->key[0] != key0 || node->key[1] != key1) {
    Fail();
    return nullptr;
  }
  return node;
}

bool CanResume(LiveRun& run, const LiveNode& node, int inputStart, int n) {
  // Once the run is to be done again, the arguments are not worth a look.
  if (run.Earlier() > 0) return false;
  const int from = run.From();
  const SVector& kept = node.result;
  if (kept.GetStartIndex() >= from || kept.GetSize() < from || n <= from || inputStart >= kInvalidStart) {
    run.Fail();
    return false;
  }
  if (inputStart > from) {
    run.NeedEarlier(inputStart - from);
    return false;
  }
  return true;
}

SVector ResumedFrame(const LiveRun& run, const LiveNode& node, int n, int inputStart) {
  SVector r(n);
  const int from = std::min(run.From(), r.GetSize());
  const int start = std::max({node.result.GetStartIndex(), inputStart, run.Start(), 0});
  r.SetStartIndex(start);
  if (start < from) std::memcpy(r.Data() + start, node.result.Data() + start, sizeof(double) * (from - start));
  return r;
}

void KeepResult(const LiveRun& run, LiveNode& node, const SVector& r) {
  if (run.Recording()) {
    node.result = r;
    return;
  }
  const int from = run.From(), n = r.GetSize();
  node.result.SetSize(n);
  if (from < n && node.result.GetSize() == n)
    std::memcpy(node.result.Data() + from, r.Data() + from, sizeof(double) * (n - from));
}

}  // namespace chartcalc::detail
