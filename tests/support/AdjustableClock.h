// SPDX-License-Identifier: MIT
//
// A clock that stands still until it is told to move. Whoever waits for a time moves it there at once, so
// nothing in a test sleeps. What a test wants to happen during a wait it schedules. Any thread; scheduled
// actions run on the thread that waits or advances.
#ifndef TESTS_SUPPORT_ADJUSTABLECLOCK_H
#define TESTS_SUPPORT_ADJUSTABLECLOCK_H

#include <chrono>
#include <functional>
#include <map>
#include <mutex>

#include "macos/host/Services.h"

namespace vennick::tests {

class AdjustableClock : public macos::Clock {
 public:
  // Begins at 2026-11-21 02:30:31.123 UTC.
  AdjustableClock() = default;

  macos::UnixNanoseconds now() override;
  macos::UnixNanoseconds monotonic() override;
  std::vector<int> waitUntil(macos::UnixNanoseconds monotonicDeadline,
                             const std::vector<int>& descriptors) override;

  // Moves both times on, running what is scheduled until then.
  void advance(std::chrono::nanoseconds time);
  // Sets the wall clock alone, as a user or a time server does.
  void setNow(macos::UnixNanoseconds time);
  // Runs the action when the clock has moved on by so much.
  void schedule(std::chrono::nanoseconds fromNow, std::function<void()> action);
  // How much time was waited for in waitUntil, all together.
  std::chrono::nanoseconds waited();

 private:
  // Moves on to the time or to the next scheduled action before it, runs that one, and answers whether the
  // time has come.
  bool moveTowards(macos::UnixNanoseconds monotonicTime);

  std::mutex mutex_;
  macos::UnixNanoseconds now_ = 1'795'228'231'123'000'000;
  macos::UnixNanoseconds monotonic_ = 1'000'000'000;
  macos::UnixNanoseconds waited_ = 0;
  std::multimap<macos::UnixNanoseconds, std::function<void()>> scheduled_;
};

}  // namespace vennick::tests

#endif  // TESTS_SUPPORT_ADJUSTABLECLOCK_H
