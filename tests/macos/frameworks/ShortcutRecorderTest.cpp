// SPDX-License-Identifier: MIT
#include "macos/frameworks/ShortcutRecorder.h"

#include <gtest/gtest.h>

#include <set>

#include "tests/support/KeyboardLayoutSketch.h"
#include "tests/support/LayoutHost.h"

using vennick::tests::chooseLayout;
using vennick::tests::TemporaryRoot;
using vennick::tests::TestHost;

namespace {

constexpr std::uint32_t kShift = 1U << 17;
constexpr std::uint32_t kControl = 1U << 18;
constexpr std::uint32_t kOption = 1U << 19;
constexpr std::uint32_t kCommand = 1U << 20;

// Every key that the platform has a code for.
std::set<std::uint16_t> allKeys() {
  std::set<std::uint16_t> keys{65,  67,  69, 71, 72, 73, 74,  75,  76,  78,  81,  91,  92,  93,  94,  95,
                               102, 104, 96, 97, 98, 99, 100, 101, 103, 105, 106, 107, 109, 111, 113, 118,
                               120, 122, 64, 79, 80, 90, 114, 115, 116, 117, 119, 121, 123, 124, 125, 126};
  for (std::uint16_t key = 0; key <= 63; ++key) keys.insert(key);
  for (std::uint16_t key = 82; key <= 89; ++key) keys.insert(key);
  return keys;
}

class KeyCodeTransformer : public testing::Test {
 protected:
  void useLayout(const char* identifier) {
    chooseLayout(*root_, identifier);
    useRoot();
  }
  void useRoot() {
    host_.reset();
    host_ = std::make_unique<TestHost>(vennick::tests::optionsWithLayouts(root_));
  }

  static std::optional<std::string> text(std::uint16_t key, std::uint32_t implicitFlags = 0,
                                         std::uint32_t explicitFlags = kCommand) {
    return macos::SRKeyCodeTransformer::sharedASCIITransformer().transformedValue(key, implicitFlags,
                                                                                  explicitFlags);
  }

  std::shared_ptr<TemporaryRoot> root_ = vennick::tests::rootWithLayouts();
  std::unique_ptr<TestHost> host_;
};

}  // namespace

TEST_F(KeyCodeTransformer, GivesTheUnmodifiedCharacterOnTheCurrentLayout) {
  useLayout("com.apple.keylayout.US");
  EXPECT_EQ(text(0), "a");
  EXPECT_EQ(text(6), "z");
  EXPECT_EQ(text(16), "y");
  EXPECT_EQ(text(41), ";");
  EXPECT_EQ(text(49), " ");
  useLayout("com.apple.keylayout.German");
  EXPECT_EQ(text(6), "y");
  EXPECT_EQ(text(16), "z");
  EXPECT_EQ(text(41), "\u00F6");
  useLayout("com.apple.keylayout.French");
  EXPECT_EQ(text(0), "q");
  EXPECT_EQ(text(18), "&");
}

TEST_F(KeyCodeTransformer, LeavesTheExplicitModifiersOut) {
  useLayout("com.apple.keylayout.US");
  for (const std::uint32_t flags :
       {0U, kCommand, kShift, kOption, kControl, kCommand | kShift | kOption | kControl}) {
    EXPECT_EQ(text(0, 0, flags), "a");
  }
}

TEST_F(KeyCodeTransformer, AppliesTheImplicitModifiers) {
  useLayout("com.apple.keylayout.US");
  EXPECT_EQ(text(0, kShift), "A");
  EXPECT_EQ(text(0, kOption), "\u00E5");
  EXPECT_EQ(text(0, kShift | kOption), "\u00C5");
  EXPECT_EQ(text(0, kCommand), "a");
}

TEST_F(KeyCodeTransformer, GivesADeadKeysAccent) {
  useLayout("com.apple.keylayout.German");
  EXPECT_EQ(text(10), "^");
  EXPECT_EQ(text(24), "\u00B4");
}

TEST_F(KeyCodeTransformer, GivesFunctionKeysTheirEventCharacters) {
  useLayout("com.apple.keylayout.US");
  const std::vector<std::uint16_t> keys{122, 120, 99,  118, 96,  97,  98, 100, 101, 109,
                                        103, 111, 105, 107, 113, 106, 64, 79,  80,  90};
  for (std::size_t index = 0; index < keys.size(); ++index) {
    // F1 is U+F704, F20 is U+F717.
    const std::string expected = {'\xEF', '\x9C', static_cast<char>(0x84 + index)};
    EXPECT_EQ(text(keys[index]), expected) << "F" << index + 1;
  }
}

TEST_F(KeyCodeTransformer, GivesArrowsAndEditingKeysTheirEventCharacters) {
  useLayout("com.apple.keylayout.US");
  EXPECT_EQ(text(126), "\uF700");  // up
  EXPECT_EQ(text(125), "\uF701");  // down
  EXPECT_EQ(text(123), "\uF702");  // left
  EXPECT_EQ(text(124), "\uF703");  // right
  EXPECT_EQ(text(117), "\uF728");  // forward delete
  EXPECT_EQ(text(115), "\uF729");  // home
  EXPECT_EQ(text(119), "\uF72B");  // end
  EXPECT_EQ(text(116), "\uF72C");  // page up
  EXPECT_EQ(text(121), "\uF72D");  // page down
  EXPECT_EQ(text(71), "\uF739");   // clear
  EXPECT_EQ(text(114), "\uF746");  // help
}

TEST_F(KeyCodeTransformer, GivesReturnTabAndDeleteTheirControlCharacters) {
  useLayout("com.apple.keylayout.US");
  EXPECT_EQ(text(36), "\r");
  EXPECT_EQ(text(48), "\t");
  EXPECT_EQ(text(51), "\x7F");
}

TEST_F(KeyCodeTransformer, LeavesOutTheTextThatAPropertyListCannotHold) {
  useLayout("com.apple.keylayout.US");
  EXPECT_EQ(text(53), std::nullopt) << "Escape is U+001B";
  EXPECT_EQ(text(76), std::nullopt) << "Enter is U+0003";
  EXPECT_EQ(text(52), std::nullopt);
  EXPECT_EQ(text(0, kControl), std::nullopt) << "control-A is U+0001";
}

TEST_F(KeyCodeTransformer, LeavesOutOnlyThePartThatAPropertyListCannotHold) {
  // Keys that type a text with a control character in it, half a surrogate pair, and a whole one.
  vennick::tests::TypeSketch type = vennick::tests::typeWithTables({0x8000, 0x8001, 0x8002, 0xDC00});
  type.sequences = {u"a\u001Bb", std::u16string{u'x', char16_t{0xD83D}, u'y'}, u"\U0001F600"};
  root_->writeFile("/Library/Keyboard Layouts/Odd.uchr", vennick::tests::LayoutSketch{{type}}.data());
  useLayout("org.example.keylayout.Odd");
  EXPECT_EQ(text(0), "ab");
  EXPECT_EQ(text(1), "xy");
  EXPECT_EQ(text(2), "\U0001F600");
  EXPECT_EQ(text(3), std::nullopt);
}

TEST_F(KeyCodeTransformer, NeverGivesAnEmptyTextForAKeyThatExists) {
  root_->writeFile("/Library/Keyboard Layouts/Empty.uchr",
                   vennick::tests::LayoutSketch{{vennick::tests::typeWithTables({0xFFFF})}}.data());
  for (const char* layout :
       {"com.apple.keylayout.US", "com.apple.keylayout.German", "com.apple.keylayout.French",
        "com.apple.keylayout.SwissGerman", "com.apple.keylayout.Spanish",
        "com.apple.keylayout.USInternational-PC", "org.example.keylayout.Empty"}) {
    useLayout(layout);
    for (const std::uint16_t key : allKeys()) {
      const auto value = text(key);
      const bool isUnwritable = key == 53 || key == 76 || key == 52;
      // 66, 68 and 70 and their like are no keys; of those that are, all have a text.
      EXPECT_EQ(value.has_value(), !isUnwritable) << layout << " " << key;
      EXPECT_NE(value, "") << layout << " " << key;
    }
  }
}

TEST_F(KeyCodeTransformer, HasNoTextForANumberThatIsNoKeys) {
  useLayout("com.apple.keylayout.US");
  for (const std::uint16_t key : {66, 68, 70, 77, 127, 128, 255, 65535}) {
    EXPECT_EQ(text(key), std::nullopt) << key;
  }
}

TEST_F(KeyCodeTransformer, KnowsTheKeysWithoutAnyLayout) {
  TestHost host;
  EXPECT_EQ(text(0), "a");
  EXPECT_EQ(text(122), "\uF704");
}

TEST(ShortcutRecorder, NamesTheKeysOfAShortcut) {
  EXPECT_EQ(macos::SRShortcutKeyCode, "keyCode");
  EXPECT_EQ(macos::SRShortcutModifierFlagsKey, "modifierFlags");
  EXPECT_EQ(macos::SRShortcutCharactersIgnoringModifiers, "charactersIgnoringModifiers");
}
