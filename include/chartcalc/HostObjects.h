// The few host-framework objects an optimisation needs: the worker's own
// thread (which the worker can suspend and the host resume), a window that
// receives the progress message, and a lock. Each is a small class built
// on the standard library whose operations are virtual, so that a host can
// derive its own (forward a posted message to its real message queue, say)
// and hand that to the optimiser instead.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <vector>

namespace chartcalc {

// The thread an optimisation runs on, as the worker sees it. Suspend blocks
// the calling thread until Resume is called from another thread; a Resume
// while nothing is suspended does nothing (so a host that wants to resume
// a pause waits for IsSuspended first).
class SWorkerThread {
 public:
  SWorkerThread() = default;
  SWorkerThread(const SWorkerThread&) = delete;
  SWorkerThread& operator=(const SWorkerThread&) = delete;
  virtual ~SWorkerThread();

  virtual void Suspend();
  virtual void Resume();
  bool IsSuspended() const;

 private:
  mutable std::mutex mutex_;
  std::condition_variable resumed_;
  bool suspended_ = false;
};

class SWindow;
// What a message is posted to.
using WindowHandle = SWindow*;

// A window that keeps the numbers of the messages posted to it, oldest
// first. Post is called on the poster's thread; PostedMessages is written
// there, so a host reads it from its own Post override or once the poster
// has finished.
class SWindow {
 public:
  SWindow() = default;
  SWindow(const SWindow&) = delete;
  SWindow& operator=(const SWindow&) = delete;
  virtual ~SWindow();

  WindowHandle GetSafeHwnd() { return this; }
  virtual void Post(unsigned message, std::uintptr_t wparam, std::intptr_t lparam);

  std::vector<unsigned> PostedMessages;
};

// Posts message to the window; 1 when there was a window to post to.
int PostMessageA(WindowHandle window, unsigned message, std::uintptr_t wparam, std::intptr_t lparam);

// A critical section: Lock enters it, Unlock leaves it.
class SCriticalSection {
 public:
  SCriticalSection() = default;
  SCriticalSection(const SCriticalSection&) = delete;
  SCriticalSection& operator=(const SCriticalSection&) = delete;
  virtual ~SCriticalSection();

  virtual void Lock();
  virtual void Unlock();

 private:
  std::mutex mutex_;
};

}  // namespace chartcalc
