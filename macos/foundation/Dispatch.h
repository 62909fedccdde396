// SPDX-License-Identifier: MIT
//
// Grand Central Dispatch as far as it is called: global queues, the main queue, groups with a bounded
// wait. At most 64 workers run at once; what cannot start waits its turn. Workers receive no signals.
//
// The queues belong to the current host, and a block runs under the host that was current when it was
// handed in: a running block keeps it, so that one that ends late touches nothing that has ended. Blocks
// that have not begun when their host goes are dropped. The end of the process waits for no worker.
#ifndef MACOS_FOUNDATION_DISPATCH_H
#define MACOS_FOUNDATION_DISPATCH_H

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>

namespace macos {

enum class DispatchPriority { Default, High };

inline constexpr std::size_t kDispatchWorkerLimit = 64;

// The block runs once, on a worker, sometime; blocks of high priority begin before those of default
// priority. Any thread may call it.
void dispatchAsyncGlobal(DispatchPriority priority, std::function<void()> block);
// The block runs on the main thread, in the run loop, in order of arrival. Any thread may call it.
void dispatchAsyncMain(std::function<void()> block);

// Blocks that are waited for together. A reference: copies are the same group. What a block captured is
// released before the group counts it as ended.
class DispatchGroup {
 public:
  DispatchGroup();
  void async(DispatchPriority priority, std::function<void()> block);
  // Whether every block of the group ended within the time (real time, whatever the host's clock says).
  // Blocks that did not go on, and have nothing to do with the waiter any more.
  bool wait(std::chrono::nanoseconds timeout);

 private:
  struct State;
  std::shared_ptr<State> state_;
};

}  // namespace macos

#endif  // MACOS_FOUNDATION_DISPATCH_H
