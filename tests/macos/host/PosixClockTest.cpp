// SPDX-License-Identifier: MIT
#include "macos/host/PosixClock.h"

#include <fcntl.h>
#include <sys/time.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <limits>
#include <thread>

#include "gtest/gtest.h"
#include "tests/support/ChildProcess.h"

namespace macos {
namespace {

constexpr UnixNanoseconds kMillisecond = 1'000'000;

class PosixClockTest : public testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(::pipe2(ends, O_CLOEXEC), 0); }
  void TearDown() override {
    ::close(ends[0]);
    if (ends[1] >= 0) ::close(ends[1]);
  }

  PosixClock clock;
  int ends[2] = {-1, -1};
};

TEST_F(PosixClockTest, TellsTheTimeOfDay) {
  const auto before = std::chrono::system_clock::now().time_since_epoch();
  const UnixNanoseconds now = clock.now();
  const auto after = std::chrono::system_clock::now().time_since_epoch();
  EXPECT_GE(now, std::chrono::nanoseconds(before).count());
  EXPECT_LE(now, std::chrono::nanoseconds(after).count());
}

TEST_F(PosixClockTest, WaitsUntilTheDeadline) {
  const UnixNanoseconds deadline = clock.monotonic() + 30 * kMillisecond;
  EXPECT_TRUE(clock.waitUntil(deadline, {ends[0]}).empty());
  EXPECT_GE(clock.monotonic(), deadline);
}

TEST_F(PosixClockTest, OnlyLooksWhenTheTimeHasPassed) {
  EXPECT_TRUE(clock.waitUntil(0, {ends[0]}).empty());
  EXPECT_TRUE(clock.waitUntil(std::numeric_limits<UnixNanoseconds>::min(), {}).empty());
  ASSERT_EQ(::write(ends[1], "x", 1), 1);
  EXPECT_EQ(clock.waitUntil(0, {ends[0]}), std::vector<int>{ends[0]});
}

TEST_F(PosixClockTest, EndsAWaitForEverWhenADescriptorBecomesReadable) {
  std::thread writer([this] {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_EQ(::write(ends[1], "x", 1), 1);
  });
  EXPECT_EQ(clock.waitUntil(std::numeric_limits<UnixNanoseconds>::max(), {ends[0]}),
            std::vector<int>{ends[0]});
  writer.join();
}

TEST_F(PosixClockTest, TellsOfDescriptorsThatHaveEndedOrAreBroken) {
  ::close(ends[1]);
  const int closed = ends[1];
  ends[1] = -1;
  const UnixNanoseconds never = std::numeric_limits<UnixNanoseconds>::max();
  EXPECT_EQ(clock.waitUntil(never, {ends[0]}), std::vector<int>{ends[0]});
  EXPECT_EQ(clock.waitUntil(never, {closed}), std::vector<int>{closed});
}

TEST_F(PosixClockTest, IsNotCutShortByASignal) {
  vennick::tests::expectInChild([this] {
    struct sigaction noted {};
    noted.sa_handler = [](int) {};
    ::sigaction(SIGALRM, &noted, nullptr);
    const itimerval often{{0, 2000}, {0, 2000}};
    ::setitimer(ITIMER_REAL, &often, nullptr);
    const UnixNanoseconds deadline = clock.monotonic() + 50 * kMillisecond;
    EXPECT_TRUE(clock.waitUntil(deadline, {ends[0]}).empty());
    EXPECT_GE(clock.monotonic(), deadline);
  });
}

}  // namespace
}  // namespace macos
