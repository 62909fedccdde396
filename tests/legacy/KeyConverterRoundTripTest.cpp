// SPDX-License-Identifier: MIT
//
// Over every layout that we ship: what its tables type is found, and typing the strokes gives the
// character again. The expectations come from playing the layouts, stroke by stroke.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>

#include "legacy/KeyConverter.h"
#include "macos/carbon/KeyboardLayout.h"
#include "tests/support/KeyboardLayoutSketch.h"

using vennick::KeyConverter;
using vennick::KeyStrokes;

namespace {

constexpr std::array<std::uint8_t, 4> kModifiers{0, 2, 8, 10};
constexpr std::uint16_t kKeys = 128;

class ShippedLayout : public testing::TestWithParam<const char*> {
 protected:
  void SetUp() override {
    layout_ = vennick::tests::compiledLayout(GetParam());
    ASSERT_FALSE(layout_.empty());
  }

  std::u16string type(std::uint16_t key, std::uint8_t modifiers, std::uint32_t* state) const {
    return macos::UCKeyTranslate(layout_, {key, macos::kUCKeyActionDown, modifiers}, 0, 0, state)
        .value_or(u"");
  }

  // Every character that one stroke, or a dead key and a stroke, types alone.
  std::set<char16_t> typedCharacters() const {
    std::set<char16_t> characters;
    std::set<std::uint32_t> states{0};
    forEachStroke([&](std::uint16_t key, std::uint8_t modifiers) {
      std::uint32_t state = 0;
      type(key, modifiers, &state);
      states.insert(state);
    });
    for (const std::uint32_t before : states) {
      forEachStroke([&](std::uint16_t key, std::uint8_t modifiers) {
        std::uint32_t state = before;
        const std::u16string text = type(key, modifiers, &state);
        if (text.size() == 1 && state == 0) characters.insert(text[0]);
      });
    }
    return characters;
  }

  template <typename Action>
  static void forEachStroke(Action action) {
    for (std::uint16_t key = 0; key < kKeys; ++key) {
      for (const std::uint8_t modifiers : kModifiers) action(key, modifiers);
    }
  }

  std::string layout_;
};

}  // namespace

TEST_P(ShippedLayout, FindsEveryCharacterThatItTypesAndTypesItBack) {
  KeyConverter converter{std::string_view(layout_)};
  const std::set<char16_t> characters = typedCharacters();
  EXPECT_GT(characters.size(), 200U);
  for (const char16_t character : characters) {
    KeyStrokes strokes{};
    ASSERT_TRUE(converter.getStrokes(character, &strokes)) << std::hex << static_cast<int>(character);
    EXPECT_EQ(strokes[0], character);
    std::uint32_t state = 0;
    std::u16string text = type(strokes[2], static_cast<std::uint8_t>(strokes[1]), &state);
    if (strokes[3] == 1) {
      EXPECT_EQ(text, u"");
      text = type(strokes[5], static_cast<std::uint8_t>(strokes[4]), &state);
    }
    EXPECT_EQ(text, std::u16string(1, character)) << std::hex << static_cast<int>(character);
    EXPECT_EQ(state, 0U);
  }
}

TEST_P(ShippedLayout, FindsNoOtherCharacter) {
  KeyConverter converter{std::string_view(layout_)};
  const std::set<char16_t> characters = typedCharacters();
  const auto header = macos::UCKeyboardLayout(layout_).keyboardType(0);
  ASSERT_TRUE(header.has_value());
  const macos::UCKeySequenceDataIndex sequences(layout_, header->keySequenceDataIndexOffset);
  for (std::uint32_t character = 0; character <= 0xFFFF; ++character) {
    if (characters.contains(static_cast<char16_t>(character))) continue;
    KeyStrokes strokes{};
    const bool isFound = converter.getStrokes(static_cast<std::uint16_t>(character), &strokes);
    // A missing combination is stored as 0x8000 + n, and that is compared as it stands: such an ideograph
    // is taken for the combination. Kept.
    const bool isSequence = macos::isSequenceIndex(static_cast<std::uint16_t>(character)) &&
                            (character & 0x3FFF) < sequences.charSequenceCount();
    const bool hasStrokes =
        std::any_of(strokes.begin(), strokes.begin() + 4, [](auto word) { return word != 0; });
    // So many expectations would take longer than the searches.
    if (isFound != isSequence || (!isFound && hasStrokes)) {
      ADD_FAILURE() << std::hex << character << (isFound ? " is found" : " is not found, or leaves strokes");
    }
  }
}

TEST_P(ShippedLayout, HasARecordForEveryDeadKeyWithoutEntries) {
  std::set<std::uint32_t> states;
  forEachStroke([&](std::uint16_t key, std::uint8_t modifiers) {
    std::uint32_t state = 0;
    type(key, modifiers, &state);
    if (state != 0) states.insert(state);
  });
  EXPECT_GE(states.size(), 5U);
  KeyConverter converter{std::string_view(layout_)};
  ASSERT_TRUE(converter.setupKeyboardTables(0));
  for (const std::uint32_t state : states) {
    bool isRecognised = false;
    for (std::uint32_t table = 0; table < 7; ++table) {
      KeyStrokes strokes{};
      isRecognised = isRecognised || converter.loopOverCharacters(0xFFFF, 0, state, table, &strokes);
    }
    EXPECT_TRUE(isRecognised) << state;
  }
}

INSTANTIATE_TEST_SUITE_P(Layouts, ShippedLayout,
                         testing::Values("US", "German", "French", "SwissGerman", "Spanish",
                                         "USInternational-PC"),
                         [](const auto& instance) {
                           std::string name = instance.param;
                           std::erase(name, '-');
                           return name;
                         });
