// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "app/SettingsMapping.h"
#include "legacy/CommandKey.h"

namespace vennick {
namespace {

// It looks like a mistake and is kept: these bits make a record a hotkey, which then has no modifiers.
TEST(HotkeyModifiers, BitsAboveControlCountAndTranslateToNothing) {
  for (const int modifiers : {0x2000, 0x4000, 0x8000, 0xE000}) {
    const CommandKey key{0x00, 0, static_cast<std::uint16_t>(modifiers), 0};
    EXPECT_TRUE(key.isPlausible()) << modifiers;
    EXPECT_EQ(modifierFlagsFromLegacyMask(key.modifiers), 0) << modifiers;
  }
}

}  // namespace
}  // namespace vennick
