// SPDX-License-Identifier: MIT
#include "settings/SetNames.h"

#include <gtest/gtest.h>

namespace vennick {
namespace {

TEST(SetNames, MayNotBeEmptyOrLeadOutOfTheSettingsFolder) {
  for (const std::string_view name :
       {"", ".", "..", "/", "/a", "a/", "a//b", "a/../b", "../b", "a/.", "./a"}) {
    EXPECT_FALSE(isUsableSetName(name)) << name;
  }
  EXPECT_FALSE(isUsableSetName(std::string_view("a\0b", 3)));
}

TEST(SetNames, MayHoldAnythingElse) {
  for (const std::string_view name :
       {"a", "Default Set", "...", ".hidden", "a/b", "日本語", " ", "a:b", "Scripts"}) {
    EXPECT_TRUE(isUsableSetName(name)) << name;
  }
}

}  // namespace
}  // namespace vennick
