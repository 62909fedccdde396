// SPDX-License-Identifier: MIT
#include "macos/foundation/RunLoop.h"

#include <sys/eventfd.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdint>
#include <deque>
#include <limits>
#include <mutex>
#include <vector>

#include "macos/host/Host.h"

namespace macos {

namespace {

constexpr UnixNanoseconds kSecond = 1'000'000'000;
// Far enough for any wait, near enough that sums of two stay in range.
constexpr UnixNanoseconds kDistant = std::numeric_limits<UnixNanoseconds>::max() / 4;
// How long the loop waits at most when it has no descriptor through which it could be woken.
constexpr UnixNanoseconds kUnwakeableWait = kSecond / 50;

UnixNanoseconds nanoseconds(double seconds) {
  const double value = seconds * static_cast<double>(kSecond);
  if (std::isnan(value) || value >= static_cast<double>(kDistant)) return kDistant;
  if (value <= -static_cast<double>(kDistant)) return -kDistant;
  return static_cast<UnixNanoseconds>(std::llround(value));
}

// A date is a double, which today tells times apart that lie about 0.1 µs apart: what it stands for is the
// nearest whole microsecond.
UnixNanoseconds unixTime(NSDate date) {
  constexpr UnixNanoseconds kMicrosecond = 1000;
  const UnixNanoseconds time = nanoseconds(date.secondsSinceReferenceDate + kReferenceDateSince1970);
  return (time + (time < 0 ? -kMicrosecond : kMicrosecond) / 2) / kMicrosecond * kMicrosecond;
}

// When the date comes, as seen now, in monotonic time.
UnixNanoseconds monotonicTime(NSDate date) {
  auto& clock = Host::current().clock();
  return clock.monotonic() + std::clamp<UnixNanoseconds>(unixTime(date) - clock.now(), 0, kDistant);
}

class EventDescriptor {
 public:
  explicit EventDescriptor(int number) : number_(number) {}
  ~EventDescriptor() {
    if (number_ >= 0) close(number_);
  }
  EventDescriptor(const EventDescriptor&) = delete;
  EventDescriptor& operator=(const EventDescriptor&) = delete;

  int number() const { return number_; }
  bool isOpen() const { return number_ >= 0; }
  // Takes what makes it readable.
  void drain() const {
    std::uint64_t count = 0;
    [[maybe_unused]] const auto taken = read(number_, &count, sizeof count);
  }

 private:
  const int number_;
};

// A descriptor that becomes readable when the wall clock is set or the machine wakes up: then the
// deadlines of timers must be worked out afresh.
int openClockChangeDescriptor() {
  const int descriptor = timerfd_create(CLOCK_REALTIME, TFD_CLOEXEC | TFD_NONBLOCK);
  itimerspec never{};
  never.it_value.tv_sec = kDistant / kSecond;
  if (descriptor >= 0) {
    timerfd_settime(descriptor, TFD_TIMER_ABSTIME | TFD_TIMER_CANCEL_ON_SET, &never, nullptr);
  }
  return descriptor;
}

struct Entry {
  std::function<void()> block;
  std::atomic<bool> ended{false};
};

struct Timer : Entry {
  UnixNanoseconds first = 0;
  UnixNanoseconds next = 0;
  UnixNanoseconds interval = 0;
  UnixNanoseconds leeway = 0;
  bool firing = false;

  void moveOn(UnixNanoseconds now) {
    const UnixNanoseconds passed = (now - first) / interval;
    next = passed >= (kDistant - first) / interval ? kDistant : first + (passed + 1) * interval;
  }
};

struct Source : Entry {
  int descriptor = -1;
};

using IdleObserver = Entry;

}  // namespace

struct NSRunLoop::State {
  const EventDescriptor wake{eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)};
  const EventDescriptor clockChange{openClockChangeDescriptor()};
  std::mutex mutex;
  std::deque<std::function<void()>> blocks;
  std::vector<std::shared_ptr<Timer>> timers;
  std::vector<std::shared_ptr<Source>> sources;
  std::vector<std::shared_ptr<IdleObserver>> idleObservers;

  bool hasNoBlocks();
  void runBlocks();
  void fireTimers();
  void announceIdle();
  void wait(UnixNanoseconds deadline);
  void deliver(const std::vector<int>& readable);
  UnixNanoseconds nextWakeUp(UnixNanoseconds deadline);

  template <typename T>
  std::vector<std::shared_ptr<T>> snapshot(const std::vector<std::shared_ptr<T>>& entries) {
    const std::lock_guard lock(mutex);
    return entries;
  }
  template <typename T>
  static RunLoopToken add(const std::shared_ptr<State>& state,
                          std::vector<std::shared_ptr<T>> State::*entries, std::shared_ptr<T> entry);
};

template <typename T>
RunLoopToken NSRunLoop::State::add(const std::shared_ptr<State>& state,
                                   std::vector<std::shared_ptr<T>> State::*entries,
                                   std::shared_ptr<T> entry) {
  {
    const std::lock_guard lock(state->mutex);
    ((*state).*entries).push_back(entry);
  }
  return RunLoopToken([weak = std::weak_ptr(state), entries, entry] {
    entry->ended = true;
    if (const auto alive = weak.lock()) {
      const std::lock_guard lock(alive->mutex);
      std::erase((*alive).*entries, entry);
    }
  });
}

bool NSRunLoop::State::hasNoBlocks() {
  const std::lock_guard lock(mutex);
  return blocks.empty();
}

// Only the blocks that were there when it began: a block that hands in another one must not keep the loop
// from its date.
void NSRunLoop::State::runBlocks() {
  std::unique_lock lock(mutex);
  for (std::size_t count = blocks.size(); count > 0 && !blocks.empty(); --count) {
    auto block = std::move(blocks.front());
    blocks.pop_front();
    lock.unlock();
    block();
    block = nullptr;
    lock.lock();
  }
}

void NSRunLoop::State::fireTimers() {
  const UnixNanoseconds now = Host::current().clock().now();
  auto due = snapshot(timers);
  std::erase_if(due, [now](const auto& timer) { return timer->firing || timer->next > now; });
  std::stable_sort(due.begin(), due.end(), [](const auto& a, const auto& b) { return a->next < b->next; });
  for (const auto& timer : due) {
    if (timer->ended || timer->firing || timer->next > now) continue;
    if (timer->interval > 0) {
      timer->moveOn(now);
    } else {
      const std::lock_guard lock(mutex);
      std::erase(timers, timer);
    }
    // A timer does not interrupt itself when its block turns the loop.
    timer->firing = true;
    timer->block();
    timer->firing = false;
  }
}

void NSRunLoop::State::announceIdle() {
  for (const auto& observer : snapshot(idleObservers)) {
    if (!observer->ended) observer->block();
  }
}

// The latest timer's date that keeps every timer within its leeway, in monotonic time; the deadline when
// that comes earlier.
UnixNanoseconds NSRunLoop::State::nextWakeUp(UnixNanoseconds deadline) {
  auto waiting = snapshot(timers);
  std::erase_if(waiting, [](const auto& timer) { return timer->firing; });
  UnixNanoseconds latest = kDistant;
  for (const auto& timer : waiting) latest = std::min(latest, timer->next + timer->leeway);
  UnixNanoseconds date = std::numeric_limits<UnixNanoseconds>::min();
  for (const auto& timer : waiting) {
    if (timer->next <= latest) date = std::max(date, timer->next);
  }
  if (waiting.empty()) return deadline;
  auto& clock = Host::current().clock();
  return std::min(deadline, clock.monotonic() + std::max<UnixNanoseconds>(0, date - clock.now()));
}

void NSRunLoop::State::wait(UnixNanoseconds deadline) {
  std::vector<int> descriptors;
  if (wake.isOpen()) {
    descriptors.push_back(wake.number());
  } else {
    deadline = std::min(deadline, Host::current().clock().monotonic() + kUnwakeableWait);
  }
  const auto current = snapshot(sources);
  for (const auto& source : current) descriptors.push_back(source->descriptor);
  if (clockChange.isOpen() && !snapshot(timers).empty()) descriptors.push_back(clockChange.number());
  deliver(Host::current().clock().waitUntil(deadline, descriptors));
}

void NSRunLoop::State::deliver(const std::vector<int>& readable) {
  const auto isReadable = [&readable](int descriptor) {
    return std::find(readable.begin(), readable.end(), descriptor) != readable.end();
  };
  if (wake.isOpen() && isReadable(wake.number())) wake.drain();
  if (clockChange.isOpen() && isReadable(clockChange.number())) clockChange.drain();
  for (const auto& source : snapshot(sources)) {
    if (!source->ended && isReadable(source->descriptor)) source->block();
  }
}

NSRunLoop::NSRunLoop() : state_(std::make_shared<State>()) {}

NSRunLoop::~NSRunLoop() {
  // Blocks may hold what hands in further blocks when it goes.
  std::deque<std::function<void()>> dropped;
  const std::lock_guard lock(state_->mutex);
  dropped.swap(state_->blocks);
}

NSRunLoop& NSRunLoop::mainRunLoop() { return hostLocal<NSRunLoop>(); }

void NSRunLoop::runUntilDate(NSDate limit) {
  const auto state = state_;
  auto& clock = Host::current().clock();
  const UnixNanoseconds deadline = monotonicTime(limit);
  for (;;) {
    state->fireTimers();
    state->runBlocks();
    const bool isOver = clock.monotonic() >= deadline;
    UnixNanoseconds until = clock.monotonic();
    if (!isOver && state->hasNoBlocks()) {
      state->announceIdle();
      if (state->hasNoBlocks()) until = state->nextWakeUp(deadline);
    }
    state->wait(until);
    if (isOver) break;
  }
  state->announceIdle();
}

void NSRunLoop::runOnceBeforeDate(NSDate limit) {
  const auto state = state_;
  UnixNanoseconds until = Host::current().clock().monotonic();
  if (state->hasNoBlocks()) {
    state->announceIdle();
    if (state->hasNoBlocks()) until = state->nextWakeUp(monotonicTime(limit));
  }
  state->wait(until);
  state->fireTimers();
  state->runBlocks();
}

void NSRunLoop::perform(std::function<void()> block) {
  const std::lock_guard lock(state_->mutex);
  state_->blocks.push_back(std::move(block));
  if (state_->blocks.size() == 1 && state_->wake.isOpen()) eventfd_write(state_->wake.number(), 1);
}

RunLoopToken NSRunLoop::addTimer(NSDate first, double interval, double leeway, std::function<void()> block) {
  auto timer = std::make_shared<Timer>();
  timer->block = std::move(block);
  timer->first = timer->next = unixTime(first);
  timer->interval = std::max<UnixNanoseconds>(0, nanoseconds(interval));
  timer->leeway = std::max<UnixNanoseconds>(0, nanoseconds(leeway));
  return State::add(state_, &State::timers, std::move(timer));
}

RunLoopToken NSRunLoop::addDescriptor(int descriptor, std::function<void()> readable) {
  auto source = std::make_shared<Source>();
  source->block = std::move(readable);
  source->descriptor = descriptor;
  return State::add(state_, &State::sources, std::move(source));
}

RunLoopToken NSRunLoop::addIdleObserver(std::function<void()> block) {
  auto observer = std::make_shared<IdleObserver>();
  observer->block = std::move(block);
  return State::add(state_, &State::idleObservers, std::move(observer));
}

}  // namespace macos
