// Stand-ins for the host framework's thread, window and lock, built on the
// standard library. A host derives from them to reach its real objects.
#include "chartcalc/HostObjects.h"

namespace chartcalc {

SWorkerThread::~SWorkerThread() = default;

// Blocks until Resume. The flag, not the wake-up, decides: a spurious wake-up
// keeps waiting, and a Resume that came first is not remembered.
void SWorkerThread::Suspend() {
  std::unique_lock<std::mutex> hold(mutex_);
  suspended_ = true;
  resumed_.wait(hold, [this] { return !suspended_; });
}

void SWorkerThread::Resume() {
  {
    std::lock_guard<std::mutex> hold(mutex_);
    if (!suspended_) return;
    suspended_ = false;
  }
  resumed_.notify_all();
}

bool SWorkerThread::IsSuspended() const {
  std::lock_guard<std::mutex> hold(mutex_);
  return suspended_;
}

SWindow::~SWindow() = default;
void SWindow::Post(unsigned message, std::uintptr_t, std::intptr_t) { PostedMessages.push_back(message); }

int PostMessageA(WindowHandle window, unsigned message, std::uintptr_t wparam, std::intptr_t lparam) {
  if (window == nullptr) return 0;
  window->Post(message, wparam, lparam);
  return 1;
}

SCriticalSection::~SCriticalSection() = default;
void SCriticalSection::Lock() { mutex_.lock(); }
void SCriticalSection::Unlock() { mutex_.unlock(); }

}  // namespace chartcalc
