// SPDX-License-Identifier: MIT
//
// Grand Central Dispatch as far as it is called: global queues, the main queue, groups with a bounded
// wait. At most 64 workers run at once; the end of the process never waits for one.
#ifndef MACOS_FOUNDATION_DISPATCH_H
#define MACOS_FOUNDATION_DISPATCH_H

#include <chrono>
#include <functional>
#include <memory>

namespace macos {

enum class DispatchPriority { Default, High };

void dispatchAsyncGlobal(DispatchPriority priority, std::function<void()> block);
void dispatchAsyncMain(std::function<void()> block);

class DispatchGroup {
 public:
  DispatchGroup();
  void async(DispatchPriority priority, std::function<void()> block);
  // Whether every block of the group ended within the time.
  bool wait(std::chrono::nanoseconds timeout);

 private:
  struct State;
  std::shared_ptr<State> state_;
};

}  // namespace macos

#endif  // MACOS_FOUNDATION_DISPATCH_H
