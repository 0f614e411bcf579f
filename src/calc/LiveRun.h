// The running state of a formula's history functions, kept from one
// calculation of an indicator line to the next so that new bars cost what
// they add, not the whole history again.
//
// A recording run is a whole calculation: every history function that can
// go on from where it stopped leaves a node, in evaluation order, holding its
// whole result and its running state. A resuming run is a partial
// calculation over the newest bars: the bound prices restart at `Start()`
// and each history function, finding its node again by order, computes the
// bars from `From()` on from the state its node kept for the bar before,
// takes the bars before that from its kept result, and brings the node up to
// date. Anything a resuming run cannot do as the whole calculation would
// fails the run, and the caller calculates in full.
#pragma once

#include <algorithm>
#include <cstring>
#include <deque>
#include <type_traits>

#include "chartcalc/SVector.h"

namespace chartcalc::detail {

// The history functions that keep their running state.
enum class KeptFunction { kEAvg, kESum, kRunningSum, kRsi, kSar, kCSar };

// A running state as of one bar: after that bar was taken in.
struct KeptState {
  static constexpr int kDoubles = 4;
  int bar = -1;
  double values[kDoubles] = {};
};

struct LiveNode {
  KeptFunction function = KeptFunction::kEAvg;
  double key[2] = {};  // the call's parameters: a node is only taken up by the same call
  SVector result;      // the whole result as of the last calculation
  KeptState kept[2];   // the two latest states kept
};

class LiveRun {
 public:
  // Starts a whole calculation that leaves a node per history function.
  void BeginRecord();
  // Starts a partial calculation over the bars from `from` on, the bound
  // prices restarted at `start` (at most from).
  void BeginResume(int from, int start);
  // Stops taking part in calculations; the nodes stay for the next run.
  void End() { mode_ = kIdle; }

  bool Recording() const { return mode_ == kRecord; }
  bool Resuming() const { return mode_ == kResume; }
  int From() const { return from_; }
  int Start() const { return start_; }

  // The node of the next history function in evaluation order: a new one
  // when recording; when resuming the one the same call left, or null (and
  // the run fails) when the formula took another course.
  LiveNode* Enter(KeptFunction function, double key0, double key1 = 0.0);
  // A history function that keeps no state ran: a resuming run fails, and a
  // recording leaves nothing a later run can go on from.
  void Fail() { failed_ = true; }
  // An argument reaches the first bar to compute only `bars` bars too late:
  // the run must restart the prices that much earlier.
  void NeedEarlier(int bars) { earlier_ = std::max(earlier_, bars); }

  bool Failed() const { return failed_; }
  int Earlier() const { return earlier_; }
  // True when the resuming run met every node the recording left.
  bool MetEveryNode() const { return next_ == nodes_.size(); }

 private:
  enum Mode { kIdle, kRecord, kResume };
  std::deque<LiveNode> nodes_;  // a node stays where it is while later ones are added
  size_t next_ = 0;
  Mode mode_ = kIdle;
  int from_ = 0, start_ = 0, earlier_ = 0;
  bool failed_ = false;
};

// ---- what a history function does with its node ------------------------------

// Keeps `state` as the node's state as of `bar`, beside the other latest one.
template <class State>
void KeepState(LiveNode& node, int bar, const State& state) {
  static_assert(std::is_trivially_copyable_v<State> && sizeof(State) <= sizeof(KeptState::values));
  KeptState* slot = node.kept[0].bar == bar ? &node.kept[0] : node.kept[1].bar == bar ? &node.kept[1] : nullptr;
  if (!slot) slot = node.kept[0].bar < node.kept[1].bar ? &node.kept[0] : &node.kept[1];
  slot->bar = bar;
  std::memcpy(slot->values, &state, sizeof(State));
}

// The state the node kept as of `bar`; false when it kept none.
template <class State>
bool KeptStateAt(const LiveNode& node, int bar, State& state) {
  for (const KeptState& k : node.kept)
    if (k.bar == bar && bar >= 0) {
      std::memcpy(&state, k.values, sizeof(State));
      return true;
    }
  return false;
}

// Runs advance(from, end, state) over the bars [from, n), keeping in the node
// (when there is one) the state as of bar n - 2: the next run starts at the
// last bar, which ticks may still change, and goes on from the bar before.
template <class State, class Advance>
void AdvanceKeeping(LiveNode* node, int from, int n, State& state, Advance advance) {
  const int split = std::clamp(n - 1, from, std::max(n, from));
  advance(from, split, state);
  if (node && split == n - 1) KeepState(*node, n - 2, state);
  advance(split, n, state);
}

// True when the node can go on from the run's first bar to a result of n
// bars: it has a value for the bar before, and the input (valid from
// inputStart) reaches that first bar. Otherwise the run is failed, or told to
// restart the prices earlier.
bool CanResume(LiveRun& run, const LiveNode& node, int inputStart, int n);
// The frame of a resumed result of n bars: valid from the latest of the
// node's own start, the input's start and the run's start, the bars before
// the run's first holding the node's kept values.
SVector ResumedFrame(const LiveRun& run, const LiveNode& node, int n, int inputStart);
// Brings the node's kept result up to date with a result whose bars from the
// run's first on are new (recording: the whole result).
void KeepResult(const LiveRun& run, LiveNode& node, const SVector& r);

// A resumed history function with a kept state: n bars framed as
// ResumedFrame does, then advance(from, end, state, out) over the bars from
// the run's first on, starting from the state kept as of the bar before.
template <class State, class Advance>
SVector ResumeKept(LiveRun& live, LiveNode& node, int n, int inputStart, Advance advance) {
  State state;
  if (!CanResume(live, node, inputStart, n)) return SVector();
  if (!KeptStateAt(node, live.From() - 1, state)) {
    live.Fail();
    return SVector();
  }
  SVector r = ResumedFrame(live, node, n, inputStart);
  double* out = r.Data();
  AdvanceKeeping(&node, live.From(), r.GetSize(), state,
                 [&](int from, int end, State& s) { advance(from, end, s, out); });
  KeepResult(live, node, r);
  return r;
}

}  // namespace chartcalc::detail
