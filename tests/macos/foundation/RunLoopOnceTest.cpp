// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <vector>

#include "macos/foundation/RunLoop.h"
#include "tests/support/TestHost.h"

namespace macos {
namespace {

using vennick::tests::TestHost;

// A date is a number of seconds in floating point; what it cannot tell does not count.
std::chrono::milliseconds waited(TestHost& host) {
  return std::chrono::round<std::chrono::milliseconds>(host.clock().waited());
}

NSDate in(double time) { return NSDate::dateWithTimeIntervalSinceNow(time); }

TEST(RunLoopOnce, ReturnsAtTheDateWhenNothingArrives) {
  TestHost host;
  NSRunLoop::mainRunLoop().runOnceBeforeDate(in(3));
  EXPECT_EQ(waited(host), std::chrono::seconds(3));
}

TEST(RunLoopOnce, ReturnsAsSoonAsABlockRan) {
  TestHost host;
  auto& loop = NSRunLoop::mainRunLoop();
  int runs = 0;
  loop.perform([&] {
    ++runs;
    loop.perform([&] { runs += 10; });
  });
  loop.runOnceBeforeDate(in(3));
  EXPECT_EQ(runs, 1);
  EXPECT_EQ(waited(host), std::chrono::seconds(0));
  loop.runOnceBeforeDate(in(3));
  EXPECT_EQ(runs, 11);
}

TEST(RunLoopOnce, ReturnsAfterATimerThatComesBeforeTheDate) {
  TestHost host;
  auto& loop = NSRunLoop::mainRunLoop();
  std::vector<int> calls;
  const auto first = loop.addTimer(in(1), 0, 0, [&] { calls.push_back(1); });
  const auto second = loop.addTimer(in(2), 0, 0, [&] { calls.push_back(2); });
  loop.runOnceBeforeDate(in(5));
  EXPECT_EQ(calls, (std::vector{1}));
  EXPECT_EQ(waited(host), std::chrono::seconds(1));
}

TEST(RunLoopOnce, ReturnsAfterADescriptorBecameReadable) {
  TestHost host;
  auto& loop = NSRunLoop::mainRunLoop();
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  int calls = 0;
  const auto token = loop.addDescriptor(ends[0], [&] { ++calls; });
  host.clock().schedule(std::chrono::seconds(2), [&] { ASSERT_EQ(::write(ends[1], "x", 1), 1); });
  // The scheduled write may wake the loop in one turn or be found in the next.
  while (calls == 0 && waited(host) < std::chrono::seconds(5)) loop.runOnceBeforeDate(in(5));
  EXPECT_EQ(calls, 1);
  EXPECT_LT(waited(host), std::chrono::seconds(5));
  close(ends[0]);
  close(ends[1]);
}

TEST(RunLoopOnce, ADateInThePastDeliversWhatIsThere) {
  TestHost host;
  bool ran = false;
  NSRunLoop::mainRunLoop().perform([&] { ran = true; });
  NSRunLoop::mainRunLoop().runOnceBeforeDate(NSDate::distantPast());
  EXPECT_TRUE(ran);
  EXPECT_EQ(waited(host), std::chrono::seconds(0));
}

}  // namespace
}  // namespace macos
