// SPDX-License-Identifier: MIT
#include "macos/foundation/RunLoop.h"

#include <gtest/gtest.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <optional>
#include <thread>
#include <vector>

#include "tests/support/TestHost.h"

namespace macos {
namespace {

using vennick::tests::TestHost;
using vennick::tests::TestHostOptions;
using namespace std::chrono_literals;

class RunLoop : public testing::Test {
 protected:
  ~RunLoop() override { close(descriptor_); }

  static NSRunLoop& loop() { return NSRunLoop::mainRunLoop(); }
  static NSDate in(double seconds) { return NSDate::dateWithTimeIntervalSinceNow(seconds); }
  double elapsed() { return static_cast<double>(host_->clock().monotonic() - start_) / 1e9; }
  auto& clock() { return host_->clock(); }

  std::optional<TestHost> host_{std::in_place};
  const int descriptor_ = eventfd(1, EFD_NONBLOCK);
  // Seconds after the start at which the timer's block ran.
  std::vector<double> ticks_;
  std::function<void()> tick() {
    return [this] { ticks_.push_back(elapsed()); };
  }

 private:
  const UnixNanoseconds start_ = host_->clock().monotonic();
};

TEST_F(RunLoop, WaitsOutItsDate) {
  loop().runUntilDate(in(1));
  EXPECT_NEAR(elapsed(), 1.0, 1e-6);
}

TEST_F(RunLoop, WaitsOutItsDateWhileDeliveringWhatArrives) {
  const auto token = loop().addTimer(in(0.25), 0.25, 0, tick());
  int blocks = 0;
  loop().perform([&] { ++blocks; });
  loop().runUntilDate(in(1));
  EXPECT_NEAR(elapsed(), 1.0, 1e-6);
  EXPECT_EQ(blocks, 1);
  EXPECT_EQ(ticks_.size(), 4U);
}

TEST_F(RunLoop, ADateInThePastDeliversWhatIsThereAndReturns) {
  int blocks = 0;
  int reads = 0;
  const auto source = loop().addDescriptor(descriptor_, [&] {
    ++reads;
    eventfd_t count = 0;
    eventfd_read(descriptor_, &count);
  });
  const auto timer = loop().addTimer(in(0), 0, 0, tick());
  loop().perform([&] { ++blocks; });
  loop().runUntilDate(in(-5));
  EXPECT_EQ(elapsed(), 0);
  EXPECT_EQ(blocks, 1);
  EXPECT_EQ(reads, 1);
  EXPECT_EQ(ticks_.size(), 1U);
}

TEST_F(RunLoop, AWallClockThatIsSetMakesTheWaitNeitherShorterNorLonger) {
  const auto timer =
      loop().addTimer(in(0.5), 0, 0, [&] { clock().setNow(clock().now() - 3'600'000'000'000); });
  loop().runUntilDate(in(1));
  EXPECT_NEAR(elapsed(), 1.0, 1e-6);
}

TEST_F(RunLoop, BlocksRunInOrderOfArrival) {
  std::vector<int> order;
  for (int i = 0; i < 5; ++i) loop().perform([&order, i] { order.push_back(i); });
  loop().runUntilDate(in(0.1));
  EXPECT_EQ(order, (std::vector{0, 1, 2, 3, 4}));
}

TEST_F(RunLoop, ABlockThatHandsInAnotherOneForeverDoesNotKeepTheLoopFromItsDate) {
  int runs = 0;
  std::function<void()> again = [&] {
    ++runs;
    clock().advance(100ms);
    loop().perform(again);
  };
  loop().perform(again);
  loop().runUntilDate(in(1));
  EXPECT_EQ(runs, 10);
}

TEST_F(RunLoop, ABlockMayTurnTheLoopAgain) {
  std::vector<std::string> order;
  loop().perform([&] {
    order.emplace_back("outer begins");
    loop().runUntilDate(in(0.5));
    order.emplace_back("outer ends");
  });
  loop().perform([&] { order.emplace_back("inner"); });
  loop().runUntilDate(in(1));
  EXPECT_EQ(order, (std::vector<std::string>{"outer begins", "inner", "outer ends"}));
  EXPECT_NEAR(elapsed(), 1.0, 1e-6);
}

TEST_F(RunLoop, ARepeatingTimerTicksAtEachMultipleOfItsInterval) {
  const auto token = loop().addTimer(in(300), 300, 10, tick());
  loop().runUntilDate(in(1000));
  ASSERT_EQ(ticks_.size(), 3U);
  EXPECT_NEAR(ticks_[0], 300, 1e-6);
  EXPECT_NEAR(ticks_[1], 600, 1e-6);
  EXPECT_NEAR(ticks_[2], 900, 1e-6);
}

TEST_F(RunLoop, TicksMissedInAStallBecomeOneLateTickAndTheNextComesAtTheNextMultiple) {
  const auto token = loop().addTimer(in(300), 300, 10, tick());
  loop().perform([&] { clock().advance(1000s); });
  loop().runUntilDate(in(1300));
  ASSERT_EQ(ticks_.size(), 2U);
  EXPECT_NEAR(ticks_[0], 1000, 1e-3);
  EXPECT_NEAR(ticks_[1], 1200, 1e-6);
}

TEST_F(RunLoop, TicksMissedInSleepBecomeOneLateTick) {
  const auto token = loop().addTimer(in(300), 300, 10, tick());
  // The machine sleeps for 950 s: the wall clock goes on, the other one stands still.
  const auto sleep = loop().addTimer(in(100), 0, 0, [&] { clock().setNow(clock().now() + 950'000'000'000); });
  loop().runUntilDate(in(260));
  ASSERT_EQ(ticks_.size(), 2U);
  EXPECT_NEAR(ticks_[0], 100, 1e-6);
  // 100 s + 950 s have passed by the wall; the next multiple, 1200 s, is 150 s away.
  EXPECT_NEAR(ticks_[1], 250, 1e-6);
}

TEST_F(RunLoop, ATimerWithoutAnIntervalTicksOnce) {
  const auto token = loop().addTimer(in(1), 0, 0, tick());
  loop().runUntilDate(in(10));
  EXPECT_EQ(ticks_.size(), 1U);
}

TEST_F(RunLoop, ATimerWhoseDateIsTheLimitTicks) {
  const auto token = loop().addTimer(in(1), 0, 0, tick());
  loop().runUntilDate(in(1));
  EXPECT_EQ(ticks_.size(), 1U);
}

TEST_F(RunLoop, TimersShareAWakeUpWithinTheirLeeway) {
  const auto patient = loop().addTimer(in(300), 0, 10, tick());
  const auto punctual = loop().addTimer(in(305), 0, 0, tick());
  loop().runUntilDate(in(400));
  ASSERT_EQ(ticks_.size(), 2U);
  EXPECT_NEAR(ticks_[0], 305, 1e-6);
  EXPECT_NEAR(ticks_[1], 305, 1e-6);
}

TEST_F(RunLoop, ATimerIsNotLateForOneThatComesAfterItsLeeway) {
  const auto patient = loop().addTimer(in(300), 0, 10, tick());
  const auto late = loop().addTimer(in(311), 0, 0, tick());
  loop().runUntilDate(in(400));
  EXPECT_NEAR(ticks_.at(0), 300, 1e-6);
}

TEST_F(RunLoop, ATimerDoesNotInterruptItselfWhenItsBlockTurnsTheLoop) {
  int depth = 0;
  int deepest = 0;
  int runs = 0;
  const auto token = loop().addTimer(in(1), 1, 0, [&] {
    deepest = std::max(deepest, ++depth);
    ++runs;
    if (runs == 1) loop().runUntilDate(in(5.5));
    --depth;
  });
  loop().runUntilDate(in(7.8));
  EXPECT_EQ(deepest, 1);
  // At 1 s, at 6.5 s the one late for 2 to 6 s, at 7 s.
  EXPECT_EQ(runs, 3);
}

TEST_F(RunLoop, ATokenEndsItsTimerFromWithinItsBlockToo) {
  RunLoopToken token;
  int runs = 0;
  token = loop().addTimer(in(1), 1, 0, [&] {
    ++runs;
    token.end();
  });
  loop().runUntilDate(in(5));
  EXPECT_EQ(runs, 1);
}

TEST_F(RunLoop, ADetachedTimerGoesOn) {
  loop().addTimer(in(1), 1, 0, tick()).detach();
  loop().runUntilDate(in(3));
  EXPECT_EQ(ticks_.size(), 3U);
}

TEST_F(RunLoop, CallsTheBlockOfAReadableDescriptorUntilItsTokenEnds) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  std::string received;
  auto token = loop().addDescriptor(ends[0], [&] {
    char c = 0;
    if (::read(ends[0], &c, 1) == 1) received += c;
  });
  ASSERT_EQ(::write(ends[1], "ab", 2), 2);
  loop().runUntilDate(in(0.1));
  EXPECT_EQ(received, "ab");
  token.end();
  ASSERT_EQ(::write(ends[1], "c", 1), 1);
  loop().runUntilDate(in(0.1));
  EXPECT_EQ(received, "ab");
  close(ends[0]);
  close(ends[1]);
}

TEST_F(RunLoop, IdleObserversAreCalledBeforeEachWaitAndWhenTheLoopIsLeft) {
  std::vector<std::string> order;
  const auto token = loop().addIdleObserver([&] { order.emplace_back("idle"); });
  loop().perform([&] { order.emplace_back("block"); });
  loop().perform([&] { order.emplace_back("block"); });
  loop().runUntilDate(in(1));
  ASSERT_GE(order.size(), 4U);
  EXPECT_EQ(order[0] + order[1], "blockblock");
  EXPECT_EQ(std::count(order.begin() + 2, order.end(), "idle"), static_cast<long>(order.size()) - 2);
}

TEST_F(RunLoop, WhatAnIdleObserverHandsInIsRunBeforeTheWait) {
  double ranAt = -1;
  bool handedIn = false;
  const auto token = loop().addIdleObserver([&] {
    if (!std::exchange(handedIn, true)) loop().perform([&] { ranAt = elapsed(); });
  });
  loop().runUntilDate(in(1));
  EXPECT_EQ(ranAt, 0);
}

TEST_F(RunLoop, BlocksStillWaitingWhenTheHostGoesAreDropped) {
  auto held = std::make_shared<int>(0);
  loop().perform([held] { ++*held; });
  host_.reset();
  EXPECT_EQ(held.use_count(), 1);
  EXPECT_EQ(*held, 0);
}

TEST_F(RunLoop, DatesBeyondAllTimeAreWaitedForWithoutOverflow) {
  const auto never = loop().addTimer(NSDate{1e300}, 1e300, 1e300, tick());
  const auto unknown = loop().addTimer(NSDate{std::nan("")}, 1, 0, tick());
  const auto always = loop().addTimer(NSDate{-1e300}, 1e-9, 0, tick());
  loop().perform([&] { clock().advance(1s); });
  loop().runUntilDate(in(0.5));
  EXPECT_GE(ticks_.size(), 1U);
}

class RealRunLoop : public testing::Test {
 protected:
  static TestHostOptions options() {
    TestHostOptions options;
    options.realClock = true;
    return options;
  }
  TestHost host_{options()};
};

TEST_F(RealRunLoop, ABlockFromAnotherThreadWakesTheLoopUp) {
  using Clock = std::chrono::steady_clock;
  const auto start = Clock::now();
  Clock::duration ranAfter{};
  NSRunLoop& loop = NSRunLoop::mainRunLoop();
  std::thread other([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    loop.perform([&] { ranAfter = Clock::now() - start; });
  });
  loop.runUntilDate(NSDate::dateWithTimeIntervalSinceNow(1.5));
  other.join();
  EXPECT_GE(ranAfter, std::chrono::milliseconds(50));
  EXPECT_LT(ranAfter, std::chrono::milliseconds(1400)) << "not only when the wait was over";
  EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(1500));
}

TEST_F(RealRunLoop, BlocksOfManyThreadsAllRun) {
  NSRunLoop& loop = NSRunLoop::mainRunLoop();
  constexpr int kThreads = 4;
  constexpr int kBlocks = 250;
  int ran = 0;
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&] {
      for (int block = 0; block < kBlocks; ++block) loop.perform([&ran] { ++ran; });
    });
  }
  for (int turns = 0; ran < kThreads * kBlocks && turns < 100; ++turns) {
    loop.runUntilDate(NSDate::dateWithTimeIntervalSinceNow(0.05));
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(ran, kThreads * kBlocks);
}

}  // namespace
}  // namespace macos
