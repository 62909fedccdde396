// SPDX-License-Identifier: MIT
#include "legacy/CommandKey.h"

#include <gtest/gtest.h>

#include <set>

#include "legacy/CFItem.h"

namespace vennick {
namespace {

using macos::Dictionary;
using macos::NSData;
using macos::Value;

CFItem itemWithRecord(std::string bytes) {
  return CFItem(std::make_shared<Dictionary>(Dictionary{{"CommandKey", Value(NSData{std::move(bytes)})}}),
                ResolveMode::AnyTarget);
}

std::string bytes(std::initializer_list<int> values) {
  std::string result;
  for (const int value : values) {
    result += static_cast<char>(value);
  }
  return result;
}

TEST(FunctionKeys, AreF1ToF19AndNothingElse) {
  const std::set<int> expected{0x7A, 0x78, 0x63, 0x76, 0x60, 0x61, 0x62, 0x64, 0x65, 0x6D,
                               0x67, 0x6F, 0x69, 0x6B, 0x71, 0x6A, 0x40, 0x4F, 0x50};
  for (int code = 0; code < 256; ++code) {
    EXPECT_EQ(isFunctionKey(static_cast<std::uint8_t>(code)), expected.contains(code)) << code;
  }
}

TEST(CommandKeys, AreLittleEndianOnDisk) {
  const CommandKey key{0x12, 1, 0x0900, 0x44332211};
  EXPECT_EQ(key.encode(), bytes({0x12, 0x01, 0x00, 0x09, 0x11, 0x22, 0x33, 0x44}));
  EXPECT_EQ(CommandKey::decode(key.encode()), key);
}

TEST(CommandKeys, OfTheOtherByteOrderAreSwapped) {
  CommandKey key;
  EXPECT_TRUE(itemWithRecord(bytes({0x00, 0x00, 0x01, 0x00, 0x11, 0x22, 0x33, 0x44})).getCommandKey(&key));
  EXPECT_EQ(key, (CommandKey{0, 0, 0x0100, 0x11223344}));
  EXPECT_EQ(key.encode().substr(4), bytes({0x44, 0x33, 0x22, 0x11}));
}

TEST(CommandKeys, ThatAreHotkeysAsTheyStandAreNotSwapped) {
  CommandKey key;
  EXPECT_TRUE(itemWithRecord(bytes({0x0B, 0x00, 0x00, 0x1F, 0, 0, 0, 0})).getCommandKey(&key));
  EXPECT_EQ(key.modifiers, 0x1F00);
}

TEST(CommandKeys, OfCapsLockAloneAreNoHotkeyInEitherByteOrder) {
  CommandKey key;
  EXPECT_FALSE(itemWithRecord(bytes({0x0B, 0x00, 0x04, 0x00, 1, 0, 0, 0})).getCommandKey(&key));
  EXPECT_EQ(key, (CommandKey{0x0B, 0, 0x0400, 0x01000000}));
}

TEST(CommandKeys, WithoutModifiersNeedAFlaggedFunctionKey) {
  CommandKey key;
  EXPECT_TRUE(itemWithRecord(bytes({0x7A, 0x01, 0, 0, 1, 2, 3, 4})).getCommandKey(&key));
  EXPECT_EQ(key.furtherData, 0x04030201U) << "a flagged function key is never swapped";
  // The same key without the flag is swapped and then judged by the swapped modifiers.
  EXPECT_FALSE(itemWithRecord(bytes({0x7A, 0x00, 0, 0, 1, 2, 3, 4})).getCommandKey(&key));
  EXPECT_EQ(key.furtherData, 0x01020304U);
  EXPECT_TRUE(itemWithRecord(bytes({0x7A, 0x00, 0x02, 0x00, 0, 0, 0, 0})).getCommandKey(&key));
  EXPECT_EQ(key.modifiers, 0x0200);
}

TEST(CommandKeys, AFunctionKeyInTheOtherByteOrderKeepsItsSwappedModifiers) {
  CommandKey key;
  EXPECT_TRUE(itemWithRecord(bytes({0x7A, 0x01, 0x02, 0x00, 1, 0, 0, 0})).getCommandKey(&key));
  EXPECT_EQ(key.modifiers, 0x0002);
  EXPECT_EQ(key.furtherData, 1U);
}

TEST(CommandKeys, OfSevenOrNineBytesReadAsNoHotkey) {
  for (const std::size_t length : {0U, 7U, 9U}) {
    CommandKey key{1, 2, 3, 4};
    EXPECT_FALSE(itemWithRecord(std::string(length, '\x1F')).getCommandKey(&key)) << length;
    EXPECT_EQ(key, CommandKey()) << length;
  }
  CommandKey key{1, 2, 3, 4};
  EXPECT_FALSE(CFItem(ResolveMode::AnyTarget).getCommandKey(&key));
  EXPECT_EQ(key, CommandKey());
}

TEST(CommandKeys, CountTheBitsAboveControlAsModifiers) {
  for (const int modifiers : {0x2000, 0x4000, 0x8000}) {
    EXPECT_TRUE((CommandKey{0, 0, static_cast<std::uint16_t>(modifiers), 0}.isPlausible())) << modifiers;
  }
}

TEST(CommandKeys, ThatAreNoHotkeyAreNotStored) {
  auto dictionary = std::make_shared<Dictionary>();
  CFItem item(dictionary, ResolveMode::AnyTarget);
  item.setCommandKey({0x00, 0, 0x0100, 0});
  EXPECT_EQ(dictionary->data("CommandKey"), bytes({0, 0, 0, 1, 0, 0, 0, 0}));
  item.setCommandKey({0x00, 1, 0x0400, 0});
  EXPECT_FALSE(dictionary->contains("CommandKey"));
  item.setCommandKey({0x7A, 1, 0, 0});
  EXPECT_TRUE(dictionary->contains("CommandKey"));
  item.setCommandKey({0x5A, 1, 0, 0});  // F20
  EXPECT_FALSE(dictionary->contains("CommandKey"));
}

}  // namespace
}  // namespace vennick
