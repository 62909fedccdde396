// SPDX-License-Identifier: MIT
//
// NSRunLoop of the main thread, its timers and descriptors, and the main dispatch queue's blocks, which
// run in it. Time is the current host's clock, so a test's clock moves it without sleeping. The loop is
// turned, and timers and descriptors are added, on the main thread; any thread may hand it a block. A
// block may turn the loop again.
#ifndef MACOS_FOUNDATION_RUNLOOP_H
#define MACOS_FOUNDATION_RUNLOOP_H

#include <functional>
#include <memory>

#include "macos/foundation/Token.h"
#include "macos/foundation/Value.h"

namespace macos {

// Removes its timer, descriptor or idle observer when it is destroyed. Move-only.
class [[nodiscard]] RunLoopToken : public Token {
 public:
  using Token::Token;
};

class NSRunLoop {
 public:
  NSRunLoop();
  ~NSRunLoop();
  NSRunLoop(const NSRunLoop&) = delete;
  NSRunLoop& operator=(const NSRunLoop&) = delete;

  // The current host's.
  static NSRunLoop& mainRunLoop();
  static NSRunLoop& currentRunLoop() { return mainRunLoop(); }

  // Waits out the date while delivering what arrives; the wait is never cut short. The time to wait is
  // taken once, at the call: a wall clock that is set meanwhile makes it neither shorter nor longer. A date
  // in the past delivers what is there and returns.
  void runUntilDate(NSDate limit);

  // Waits until something arrives or the date comes, delivers what is there, and returns (runMode:beforeDate:
  // in the default mode).
  void runOnceBeforeDate(NSDate limit);

  // From any thread: the block runs in the loop, in order of arrival. Blocks still waiting when the
  // process ends are dropped.
  void perform(std::function<void()> block);

  // Calls the block at the first date and then at each multiple of the interval (seconds) after it, by the
  // wall clock. Multiples that went by while the machine slept or the loop was busy make one late call; an
  // interval of 0 makes one call. A call may come up to the leeway (seconds) late so that timers can share
  // a wake-up.
  [[nodiscard]] RunLoopToken addTimer(NSDate first, double interval, double leeway,
                                      std::function<void()> block);

  // Calls the block whenever the descriptor is readable. The descriptor stays the caller's, who ends the
  // token before closing it.
  [[nodiscard]] RunLoopToken addDescriptor(int descriptor, std::function<void()> readable);

  // Called whenever the loop is about to wait and when it is left.
  [[nodiscard]] RunLoopToken addIdleObserver(std::function<void()> block);

 private:
  struct State;
  const std::shared_ptr<State> state_;
};

}  // namespace macos

#endif  // MACOS_FOUNDATION_RUNLOOP_H
