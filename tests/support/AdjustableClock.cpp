// SPDX-License-Identifier: MIT
#include "tests/support/AdjustableClock.h"

#include <algorithm>
#include <utility>

#include "macos/host/PosixClock.h"

namespace vennick::tests {

using macos::UnixNanoseconds;

UnixNanoseconds AdjustableClock::now() {
  const std::lock_guard lock(mutex_);
  return now_;
}

UnixNanoseconds AdjustableClock::monotonic() {
  const std::lock_guard lock(mutex_);
  return monotonic_;
}

bool AdjustableClock::moveTowards(UnixNanoseconds monotonicTime) {
  std::function<void()> action;
  {
    const std::lock_guard lock(mutex_);
    UnixNanoseconds next = std::max(monotonicTime, monotonic_);
    const auto first = scheduled_.begin();
    if (first != scheduled_.end() && first->first <= next) {
      next = std::max(first->first, monotonic_);
      action = std::move(first->second);
      scheduled_.erase(first);
    }
    now_ += next - monotonic_;
    monotonic_ = next;
  }
  if (!action) return true;
  action();
  return false;
}

std::vector<int> AdjustableClock::waitUntil(UnixNanoseconds monotonicDeadline,
                                            const std::vector<int>& descriptors) {
  const UnixNanoseconds start = monotonic();
  std::vector<int> readable;
  for (bool isThere = false;; isThere = moveTowards(monotonicDeadline)) {
    readable = macos::PosixClock().waitUntil(0, descriptors);
    if (!readable.empty() || isThere) break;
  }
  const std::lock_guard lock(mutex_);
  waited_ += monotonic_ - start;
  return readable;
}

void AdjustableClock::advance(std::chrono::nanoseconds time) {
  const UnixNanoseconds end = monotonic() + time.count();
  while (!moveTowards(end)) {
  }
}

void AdjustableClock::setNow(UnixNanoseconds time) {
  const std::lock_guard lock(mutex_);
  now_ = time;
}

void AdjustableClock::schedule(std::chrono::nanoseconds fromNow, std::function<void()> action) {
  const std::lock_guard lock(mutex_);
  scheduled_.emplace(monotonic_ + fromNow.count(), std::move(action));
}

std::chrono::nanoseconds AdjustableClock::waited() {
  const std::lock_guard lock(mutex_);
  return std::chrono::nanoseconds(waited_);
}

}  // namespace vennick::tests
