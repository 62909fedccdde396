// SPDX-License-Identifier: MIT
#include "macos/foundation/Dispatch.h"

#include <algorithm>
#include <condition_variable>
#include <csignal>
#include <deque>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

#include "macos/foundation/RunLoop.h"
#include "macos/host/Host.h"

namespace macos {

namespace {

using Block = std::function<void()>;

// How long a worker without work stays for the next block.
constexpr std::chrono::seconds kIdleTime{5};
// Added to any time of the clock without overflow.
constexpr std::chrono::hours kLongestWait{24 * 365};

// What the workers hold on to: it outlives the host, and at the process's end everything else.
struct Queues {
  explicit Queues(std::weak_ptr<Host> theHost) : host(std::move(theHost)) {}

  const std::weak_ptr<Host> host;
  std::mutex mutex;
  std::condition_variable workArrived;
  std::deque<Block> high;
  std::deque<Block> standard;
  std::size_t workers = 0;
  std::size_t busy = 0;
  bool ended = false;

  std::size_t waiting() const { return high.size() + standard.size(); }

  Block takeNext() {
    auto& queue = high.empty() ? standard : high;
    Block next = std::move(queue.front());
    queue.pop_front();
    return next;
  }
};

// The host stays as long as the block runs, whoever else lets go of it.
void run(Block block, const std::weak_ptr<Host>& weakHost) {
  auto host = weakHost.lock();
  if (!host) return;
  const ThreadHost current(std::move(host));
  block();
  block = nullptr;
}

void work(const std::shared_ptr<Queues>& queues) {
  std::unique_lock lock(queues->mutex);
  while (
      queues->workArrived.wait_for(lock, kIdleTime, [&] { return queues->ended || queues->waiting() > 0; })) {
    if (queues->ended) break;
    Block block = queues->takeNext();
    ++queues->busy;
    lock.unlock();
    run(std::move(block), queues->host);
    lock.lock();
    --queues->busy;
  }
  --queues->workers;
}

// Signals are the main thread's; a new thread inherits the mask of its maker.
class SignalsBlocked {
 public:
  SignalsBlocked() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &previous_);
  }
  ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &previous_, nullptr); }
  SignalsBlocked(const SignalsBlocked&) = delete;
  SignalsBlocked& operator=(const SignalsBlocked&) = delete;

 private:
  sigset_t previous_{};
};

class GlobalQueues {
 public:
  GlobalQueues() = default;

  ~GlobalQueues() {
    std::deque<Block> droppedHigh;
    std::deque<Block> droppedStandard;
    const std::lock_guard lock(queues_->mutex);
    queues_->ended = true;
    droppedHigh.swap(queues_->high);
    droppedStandard.swap(queues_->standard);
    queues_->workArrived.notify_all();
  }

  GlobalQueues(const GlobalQueues&) = delete;
  GlobalQueues& operator=(const GlobalQueues&) = delete;

  void add(DispatchPriority priority, Block block) {
    const std::lock_guard lock(queues_->mutex);
    (priority == DispatchPriority::High ? queues_->high : queues_->standard).push_back(std::move(block));
    const std::size_t idle = queues_->workers - queues_->busy;
    if (idle < queues_->waiting() && queues_->workers < kDispatchWorkerLimit) startWorker();
    queues_->workArrived.notify_one();
  }

 private:
  void startWorker() {
    const SignalsBlocked signals;
    try {
      std::thread(work, queues_).detach();
      ++queues_->workers;
    } catch (const std::system_error&) {
      // The block waits for a worker that becomes free, or for the next attempt.
    }
  }

  const std::shared_ptr<Queues> queues_ = std::make_shared<Queues>(Host::shared());
};

}  // namespace

void dispatchAsyncGlobal(DispatchPriority priority, Block block) {
  hostLocal<GlobalQueues>().add(priority, std::move(block));
}

void dispatchAsyncMain(Block block) { NSRunLoop::mainRunLoop().perform(std::move(block)); }

struct DispatchGroup::State {
  std::mutex mutex;
  std::condition_variable allEnded;
  std::size_t running = 0;
};

DispatchGroup::DispatchGroup() : state_(std::make_shared<State>()) {}

void DispatchGroup::async(DispatchPriority priority, Block block) {
  {
    const std::lock_guard lock(state_->mutex);
    ++state_->running;
  }
  dispatchAsyncGlobal(priority, [state = state_, job = std::move(block)]() mutable {
    job();
    job = nullptr;
    const std::lock_guard lock(state->mutex);
    if (--state->running == 0) state->allEnded.notify_all();
  });
}

bool DispatchGroup::wait(std::chrono::nanoseconds timeout) {
  const auto bounded = std::min<std::chrono::nanoseconds>(timeout, kLongestWait);
  std::unique_lock lock(state_->mutex);
  return state_->allEnded.wait_for(lock, bounded, [this] { return state_->running == 0; });
}

}  // namespace macos
