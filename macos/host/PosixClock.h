// SPDX-License-Identifier: MIT
//
// The machine's clock. Stateless; any thread.
#ifndef MACOS_HOST_POSIXCLOCK_H
#define MACOS_HOST_POSIXCLOCK_H

#include "macos/host/Services.h"

namespace macos {

class PosixClock : public Clock {
 public:
  UnixNanoseconds now() override;
  UnixNanoseconds monotonic() override;
  std::vector<int> waitUntil(UnixNanoseconds monotonicDeadline, const std::vector<int>& descriptors) override;
};

}  // namespace macos

#endif  // MACOS_HOST_POSIXCLOCK_H
