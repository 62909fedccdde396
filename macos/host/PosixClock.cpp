// SPDX-License-Identifier: MIT
#include "macos/host/PosixClock.h"

#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <ctime>

namespace macos {

namespace {

constexpr UnixNanoseconds kSecond = 1'000'000'000;

UnixNanoseconds read(clockid_t clock) {
  timespec time{};
  ::clock_gettime(clock, &time);
  return time.tv_sec * kSecond + time.tv_nsec;
}

}  // namespace

UnixNanoseconds PosixClock::now() { return read(CLOCK_REALTIME); }

UnixNanoseconds PosixClock::monotonic() { return read(CLOCK_MONOTONIC); }

std::vector<int> PosixClock::waitUntil(UnixNanoseconds monotonicDeadline,
                                       const std::vector<int>& descriptors) {
  std::vector<pollfd> asked;
  asked.reserve(descriptors.size());
  for (const int descriptor : descriptors) asked.push_back({descriptor, POLLIN, 0});

  std::vector<int> readable;
  for (;;) {
    // A wait of more than a day is made of several: the difference stays in range and no jump of the
    // machine's own counting can make it much longer.
    const UnixNanoseconds start = monotonic();
    const UnixNanoseconds left =
        monotonicDeadline <= start
            ? 0
            : std::min(monotonicDeadline - std::max<UnixNanoseconds>(start, 0), 86'400 * kSecond);
    const timespec time{static_cast<time_t>(left / kSecond), static_cast<long>(left % kSecond)};
    const int found = ::ppoll(asked.data(), asked.size(), &time, nullptr);
    if (found < 0 && errno != EINTR) return readable;
    if (found <= 0) {
      if (monotonic() >= monotonicDeadline) return readable;
      continue;
    }
    for (const pollfd& one : asked) {
      if (one.revents != 0) readable.push_back(one.fd);
    }
    return readable;
  }
}

}  // namespace macos
