// SPDX-License-Identifier: MIT
//
// The polite request to quit that another process sends (SIGTERM), as a descriptor that becomes readable.
// While an object lives the request does not end the process; afterwards what held before holds again.
// Main thread; one object at a time.
#ifndef MACOS_HOST_QUITSIGNAL_H
#define MACOS_HOST_QUITSIGNAL_H

#include <csignal>

namespace macos {

class QuitSignal {
 public:
  QuitSignal();
  ~QuitSignal();
  QuitSignal(const QuitSignal&) = delete;
  QuitSignal& operator=(const QuitSignal&) = delete;

  // Readable from the first request on. -1 when the machine gave none: then the request ends the process,
  // as it would without this object.
  int descriptor() const { return descriptor_; }

 private:
  int descriptor_ = -1;
  struct sigaction previous_ {};
};

}  // namespace macos

#endif  // MACOS_HOST_QUITSIGNAL_H
