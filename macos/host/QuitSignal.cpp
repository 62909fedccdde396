// SPDX-License-Identifier: MIT
#include "macos/host/QuitSignal.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>

namespace macos {

namespace {

// A signal handler is given nothing to work on, so this cannot hang on the host.
std::atomic<int> requested{-1};

void noteRequest(int) {
  const int before = errno;
  eventfd_write(requested.load(), 1);
  errno = before;
}

}  // namespace

QuitSignal::QuitSignal() : descriptor_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  if (descriptor_ < 0) return;
  requested.store(descriptor_);
  struct sigaction action {};
  action.sa_handler = noteRequest;
  // Nothing that is under way is cut short by the request.
  action.sa_flags = SA_RESTART;
  sigaction(SIGTERM, &action, &previous_);
}

QuitSignal::~QuitSignal() {
  if (descriptor_ < 0) return;
  sigaction(SIGTERM, &previous_, nullptr);
  requested.store(-1);
  close(descriptor_);
}

}  // namespace macos
