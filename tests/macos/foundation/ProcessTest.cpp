// SPDX-License-Identifier: MIT
#include "macos/foundation/Process.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/TestHost.h"

namespace macos {
namespace {

using vennick::tests::TestHost;

TEST(Popen, GivesAllOutputAndTrimsNothing) {
  const TestHost host;
  EXPECT_EQ(popenAndRead("printf 'two\\nlines\\n'"), "two\nlines\n");
  EXPECT_EQ(popenAndRead("true"), "");
}

TEST(Popen, DoesNotLookAtTheExitStatus) {
  const TestHost host;
  EXPECT_EQ(popenAndRead("printf x; exit 3"), "x");
}

TEST(Popen, ReadsMalformedTextWithReplacementCharacters) {
  const TestHost host;
  EXPECT_EQ(popenAndRead("printf 'a\\377b'"), "a\uFFFDb");
}

TEST(Popen, ACommandThatFloodsCountsAsNoOutputAndIsLogged) {
  TestHost host;
  EXPECT_EQ(popenAndRead("yes"), std::nullopt);
  EXPECT_EQ(host.log().lines().size(), 1U);
}

}  // namespace
}  // namespace macos
