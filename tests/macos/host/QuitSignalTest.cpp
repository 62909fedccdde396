// SPDX-License-Identifier: MIT
#include "macos/host/QuitSignal.h"

#include <gtest/gtest.h>
#include <poll.h>

#include "tests/support/ChildProcess.h"

namespace macos {
namespace {

using vennick::tests::runInChild;

bool isReadable(int descriptor) {
  pollfd entry{descriptor, POLLIN, 0};
  return poll(&entry, 1, 0) == 1;
}

TEST(QuitSignal, TheRequestMakesTheDescriptorReadableAndDoesNotEndTheProcess) {
  EXPECT_TRUE(runInChild([] {
                const QuitSignal signal;
                ASSERT_GE(signal.descriptor(), 0);
                EXPECT_FALSE(isReadable(signal.descriptor()));
                raise(SIGTERM);
                raise(SIGTERM);
                EXPECT_TRUE(isReadable(signal.descriptor()));
              }).succeeded());
}

TEST(QuitSignal, AfterwardsTheRequestEndsTheProcessAgain) {
  const auto result = runInChild([] {
    { const QuitSignal signal; }
    raise(SIGTERM);
  });
  EXPECT_EQ(result.signal, SIGTERM);
}

}  // namespace
}  // namespace macos
