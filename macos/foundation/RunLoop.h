// SPDX-License-Identifier: MIT
//
// NSRunLoop of the main thread, its timers and descriptors, and the main dispatch queue's blocks, which
// run in it. Time is the current host's clock, so a test's clock moves it without sleeping.
#ifndef MACOS_FOUNDATION_RUNLOOP_H
#define MACOS_FOUNDATION_RUNLOOP_H

#include <functional>
#include <memory>

#include "macos/foundation/Value.h"

namespace macos {

// Removes its timer, descriptor or idle observer when it is destroyed. Move-only.
class RunLoopToken;

class NSRunLoop {
 public:
  static NSRunLoop& mainRunLoop();
  static NSRunLoop& currentRunLoop() { return mainRunLoop(); }

  // Waits out the date while delivering what arrives; the wait is never cut short.
  void runUntilDate(NSDate limit);
  // From any thread: the block runs in the loop, in order of arrival. Blocks still waiting when the
  // process ends are dropped.
  void perform(std::function<void()> block);
  [[nodiscard]] RunLoopToken addTimer(NSDate first, double interval, double leeway, std::function<void()> block);
  [[nodiscard]] RunLoopToken addDescriptor(int descriptor, std::function<void()> readable);
  // Called whenever the loop is about to wait and when it is left.
  [[nodiscard]] RunLoopToken addIdleObserver(std::function<void()> block);
};

}  // namespace macos

#endif  // MACOS_FOUNDATION_RUNLOOP_H
