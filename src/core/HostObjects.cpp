#include "chartcalc/HostObjects.h"

namespace chartcalc {

SWorkerThread::~SWorkerThread() = default;
void SWorkerThread::Suspend() {}
void SWorkerThread::Resume() {}
bool SWorkerThread::IsSuspended() const { return false; }

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
