// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "macos/host/PosixProcessTable.h"
#include "tests/support/Instance.h"

namespace macos {
namespace {

using vennick::tests::Instance;
using vennick::tests::Quits;

TEST(ProcessEnvironment, TellsAVariableThatTheProcessWasStartedWith) {
  PosixProcessTable table(nullptr);
  const Instance instance(VENNICK_TEST_INSTANCE, Quits::AtOnce, {{"FRUIT", "a=b"}, {"FRUITS", ""}});
  const auto process = table.process(instance.processID());
  ASSERT_TRUE(process);
  EXPECT_EQ(table.environmentValue(*process, "FRUIT"), "a=b");
  EXPECT_EQ(table.environmentValue(*process, "FRUITS"), "");
  EXPECT_EQ(table.environmentValue(*process, "FRUI"), std::nullopt);
  EXPECT_EQ(table.environmentValue(*process, "FRUIT=a"), std::nullopt);
  EXPECT_EQ(table.environmentValue(*process, ""), std::nullopt);
}

TEST(ProcessEnvironment, AProcessThatHasEndedHasNone) {
  PosixProcessTable table(nullptr);
  EXPECT_EQ(table.environmentValue(ProcessInfo{0x7FFFFFFE, 1, "", 0}, "PATH"), std::nullopt);
}

}  // namespace
}  // namespace macos
