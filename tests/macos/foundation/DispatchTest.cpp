// SPDX-License-Identifier: MIT
#include "macos/foundation/Dispatch.h"

#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "macos/foundation/RunLoop.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/TestHost.h"

namespace macos {
namespace {

using namespace std::chrono_literals;
using vennick::tests::TestHost;
using Steady = std::chrono::steady_clock;

// Keeps blocks from going on until it is opened.
class Gate {
 public:
  void open() {
    const std::lock_guard lock(mutex_);
    isOpen_ = true;
    changed_.notify_all();
  }
  void pass() {
    std::unique_lock lock(mutex_);
    ++arrived_;
    changed_.notify_all();
    changed_.wait(lock, [this] { return isOpen_; });
  }
  bool waitForArrivals(int count) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, 20s, [&] { return arrived_ >= count; });
  }
  int arrived() {
    const std::lock_guard lock(mutex_);
    return arrived_;
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  bool isOpen_ = false;
  int arrived_ = 0;
};

class Dispatch : public testing::Test {
 protected:
  std::optional<TestHost> host_{std::in_place};
};

TEST_F(Dispatch, ABlockRunsOnAnotherThread) {
  DispatchGroup group;
  std::thread::id thread;
  group.async(DispatchPriority::Default, [&] { thread = std::this_thread::get_id(); });
  ASSERT_TRUE(group.wait(20s));
  EXPECT_NE(thread, std::thread::id());
  EXPECT_NE(thread, std::this_thread::get_id());
}

TEST_F(Dispatch, AnEmptyGroupHasEnded) { EXPECT_TRUE(DispatchGroup().wait(0ns)); }

TEST_F(Dispatch, AGroupWaitsForAllOfItsBlocks) {
  DispatchGroup group;
  std::atomic<int> ran{0};
  for (int i = 0; i < 200; ++i) group.async(DispatchPriority::High, [&] { ++ran; });
  ASSERT_TRUE(group.wait(20s));
  EXPECT_EQ(ran, 200);
}

TEST_F(Dispatch, AGroupGivesUpAfterItsTime) {
  const auto gate = std::make_shared<Gate>();
  DispatchGroup group;
  group.async(DispatchPriority::High, [gate] { gate->pass(); });
  const auto start = Steady::now();
  EXPECT_FALSE(group.wait(200ms));
  EXPECT_GE(Steady::now() - start, 200ms);
  EXPECT_LT(Steady::now() - start, 2s);
  gate->open();
  EXPECT_TRUE(group.wait(20s));
}

TEST_F(Dispatch, ATimeBeyondAllTimeIsWaitedForWithoutOverflow) {
  DispatchGroup group;
  group.async(DispatchPriority::Default, [] { std::this_thread::sleep_for(20ms); });
  EXPECT_TRUE(group.wait(std::chrono::nanoseconds::max()));
}

TEST_F(Dispatch, WhatABlockCapturedIsGoneWhenItsGroupHasEnded) {
  for (int round = 0; round < 50; ++round) {
    auto held = std::make_shared<int>(0);
    DispatchGroup group;
    group.async(DispatchPriority::Default, [held] { ++*held; });
    ASSERT_TRUE(group.wait(20s));
    ASSERT_EQ(held.use_count(), 1);
  }
}

TEST_F(Dispatch, AtMost64BlocksRunAtOnceAndTheOthersWait) {
  const auto gate = std::make_shared<Gate>();
  DispatchGroup hanging;
  for (int i = 0; i < 70; ++i) hanging.async(DispatchPriority::Default, [gate] { gate->pass(); });
  ASSERT_TRUE(gate->waitForArrivals(64));
  DispatchGroup waiting;
  std::atomic<bool> ran{false};
  waiting.async(DispatchPriority::High, [&] { ran = true; });
  EXPECT_FALSE(waiting.wait(100ms));
  EXPECT_EQ(gate->arrived(), 64);
  EXPECT_FALSE(ran);
  gate->open();
  EXPECT_TRUE(waiting.wait(20s));
  EXPECT_TRUE(hanging.wait(20s));
  EXPECT_EQ(gate->arrived(), 70);
}

TEST_F(Dispatch, HighPriorityBeginsBeforeDefaultPriority) {
  const auto gate = std::make_shared<Gate>();
  DispatchGroup hanging;
  for (std::size_t i = 0; i < kDispatchWorkerLimit - 1; ++i) {
    hanging.async(DispatchPriority::Default, [gate] { gate->pass(); });
  }
  const auto last = std::make_shared<Gate>();
  hanging.async(DispatchPriority::Default, [last] { last->pass(); });
  ASSERT_TRUE(gate->waitForArrivals(kDispatchWorkerLimit - 1));
  ASSERT_TRUE(last->waitForArrivals(1));

  // One worker at a time from here on.
  std::mutex mutex;
  std::vector<int> order;
  const auto note = [&](int number) {
    return [&, number] {
      const std::lock_guard lock(mutex);
      order.push_back(number);
    };
  };
  DispatchGroup group;
  group.async(DispatchPriority::Default, note(3));
  group.async(DispatchPriority::High, note(1));
  group.async(DispatchPriority::Default, note(4));
  group.async(DispatchPriority::High, note(2));
  last->open();
  ASSERT_TRUE(group.wait(20s));
  EXPECT_EQ(order, (std::vector{1, 2, 3, 4}));
  gate->open();
  EXPECT_TRUE(hanging.wait(20s));
}

TEST_F(Dispatch, WorkersReceiveNoSignals) {
  DispatchGroup group;
  sigset_t mask;
  sigemptyset(&mask);
  group.async(DispatchPriority::Default, [&] { pthread_sigmask(SIG_BLOCK, nullptr, &mask); });
  ASSERT_TRUE(group.wait(20s));
  EXPECT_EQ(sigismember(&mask, SIGTERM), 1);
  EXPECT_EQ(sigismember(&mask, SIGINT), 1);
  sigset_t own;
  pthread_sigmask(SIG_BLOCK, nullptr, &own);
  EXPECT_EQ(sigismember(&own, SIGTERM), 0);
}

TEST_F(Dispatch, MainQueueBlocksRunInTheRunLoopOfTheMainThread) {
  std::thread::id thread;
  DispatchGroup group;
  group.async(DispatchPriority::Default,
              [&] { dispatchAsyncMain([&] { thread = std::this_thread::get_id(); }); });
  ASSERT_TRUE(group.wait(20s));
  EXPECT_EQ(thread, std::thread::id());
  NSRunLoop::mainRunLoop().runUntilDate(NSDate::dateWithTimeIntervalSinceNow(0));
  EXPECT_EQ(thread, std::this_thread::get_id());
}

TEST_F(Dispatch, ABlockRunsUnderTheHostThatItWasHandedInUnder) {
  Host* seen = nullptr;
  const auto gate = std::make_shared<Gate>();
  DispatchGroup group;
  group.async(DispatchPriority::Default, [&, gate] {
    gate->pass();
    seen = &Host::current();
  });
  ASSERT_TRUE(gate->waitForArrivals(1));
  {
    const TestHost other;
    ASSERT_NE(&Host::current(), &host_->host());
    gate->open();
    ASSERT_TRUE(group.wait(20s));
  }
  EXPECT_EQ(seen, &host_->host());
}

TEST_F(Dispatch, ALateBlockKeepsTheHostThatTheOthersLetGoOf) {
  const auto gate = std::make_shared<Gate>();
  DispatchGroup group;
  std::string home;
  group.async(DispatchPriority::High, [&, gate] {
    gate->pass();
    home = Host::current().home();
    Host::current().log().writeLine("late");
    dispatchAsyncMain([] { FAIL() << "the host went, and its main queue with it"; });
  });
  ASSERT_TRUE(gate->waitForArrivals(1));
  EXPECT_FALSE(group.wait(1ms));
  host_.reset();
  gate->open();
  ASSERT_TRUE(group.wait(20s));
  EXPECT_EQ(home, "/Users/anna");
}

TEST_F(Dispatch, BlocksThatHaveNotBegunWhenTheirHostGoesAreDropped) {
  const auto gate = std::make_shared<Gate>();
  std::atomic<int> ran{0};
  DispatchGroup group;
  for (std::size_t i = 0; i < kDispatchWorkerLimit; ++i) {
    group.async(DispatchPriority::Default, [gate] { gate->pass(); });
  }
  ASSERT_TRUE(gate->waitForArrivals(kDispatchWorkerLimit));
  auto held = std::make_shared<int>(0);
  dispatchAsyncGlobal(DispatchPriority::Default, [&ran, held] { ++ran; });
  const std::weak_ptr<Host> weak = host_->shared();
  host_.reset();
  gate->open();
  ASSERT_TRUE(group.wait(20s));
  for (int i = 0; i < 1000 && !weak.expired(); ++i) std::this_thread::sleep_for(5ms);
  EXPECT_TRUE(weak.expired());
  // Either a worker came to it while others still kept the host, or it went with the host.
  EXPECT_EQ(held.use_count(), 1);
}

// What the workers of earlier tests still hold would look lost in a child, which has no such threads.
void waitUntilOtherThreadsHaveEnded() {
  const auto threads = [] {
    return std::distance(std::filesystem::directory_iterator("/proc/self/task"), {});
  };
  for (int i = 0; i < 1000 && threads() > 1; ++i) std::this_thread::sleep_for(10ms);
}

TEST_F(Dispatch, TheEndOfTheProcessWaitsForNoWorker) {
  waitUntilOtherThreadsHaveEnded();
  const auto start = Steady::now();
  const auto result = vennick::tests::runInChild([] {
    const auto gate = std::make_shared<Gate>();
    for (int i = 0; i < 3; ++i) dispatchAsyncGlobal(DispatchPriority::Default, [gate] { gate->pass(); });
    ASSERT_TRUE(gate->waitForArrivals(3));
    std::exit(42);
  });
  EXPECT_EQ(result.exitCode, 42);
  EXPECT_LT(Steady::now() - start, 10s);
}

}  // namespace
}  // namespace macos
