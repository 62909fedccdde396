// SPDX-License-Identifier: MIT
#include "macos/carbon/KeyboardLayout.h"

#include <gtest/gtest.h>

#include "tests/support/KeyboardLayoutSketch.h"

using macos::UCKeyStroke;
using macos::UCKeyTranslate;
using vennick::tests::LayoutSketch;
using vennick::tests::RecordSketch;
using vennick::tests::TypeSketch;
using vennick::tests::typeWithTables;

namespace {

constexpr std::uint16_t kRecord = 0x4000;
constexpr std::uint16_t kSequence = 0x8000;
constexpr std::uint8_t kOption = 8;

// Types strokes given as {key code, modifiers} and returns the whole text.
std::u16string typed(const std::string& layout, const std::vector<std::pair<int, int>>& strokes,
                     std::uint32_t options = 0, std::uint32_t* state = nullptr) {
  std::uint32_t ownState = 0;
  std::uint32_t* deadKeyState = state != nullptr ? state : &ownState;
  std::u16string text;
  for (const auto& [key, modifiers] : strokes) {
    const UCKeyStroke stroke{static_cast<std::uint16_t>(key), macos::kUCKeyActionDown,
                             static_cast<std::uint8_t>(modifiers)};
    text += UCKeyTranslate(layout, stroke, 0, options, deadKeyState).value_or(u"<no layout>");
  }
  return text;
}

// Key 0: a, á after state 1; key 1: x; key 2 with option: the dead key of state 1, accent ´; key 3: the
// sequence "ij".
TypeSketch accentType() {
  TypeSketch type =
      typeWithTables({kRecord | 1, u'x', 0xFFFF, kSequence | 0}, {u'A'}, {0xFFFF, 0xFFFF, kRecord | 0});
  type.records = {RecordSketch{0xFFFF, 1, 0, {}}, RecordSketch{u'a', 0, 1, {{1, u'\u00E1'}}}};
  type.terminators = {u'\u00B4'};
  type.sequences = {u"ij"};
  return type;
}

std::string accentLayout() { return LayoutSketch{{accentType()}}.data(); }

}  // namespace

TEST(UCKeyTranslate, TypesCharactersByKeyAndModifiers) {
  const std::string layout = accentLayout();
  EXPECT_EQ(typed(layout, {{0, 0}}), u"a");
  EXPECT_EQ(typed(layout, {{1, 0}}), u"x");
  EXPECT_EQ(typed(layout, {{0, 2}}), u"A");
}

TEST(UCKeyTranslate, TypesNothingForAKeyWithoutOutputOrOutsideTheTable) {
  const std::string layout = accentLayout();
  EXPECT_EQ(typed(layout, {{2, 0}}), u"");
  EXPECT_EQ(typed(layout, {{4, 0}}), u"");
  EXPECT_EQ(typed(layout, {{65535, 0}}), u"");
}

TEST(UCKeyTranslate, TypesSequences) { EXPECT_EQ(typed(accentLayout(), {{3, 0}}), u"ij"); }

TEST(UCKeyTranslate, TakesASequenceNumberThatIsNotThereForACharacter) {
  TypeSketch type = typeWithTables({kSequence | 5});
  type.sequences = {u"ij"};
  EXPECT_EQ(typed(LayoutSketch{{type}}.data(), {{0, 0}}), u"\u8005");
}

TEST(UCKeyTranslate, TakesARecordNumberThatIsNotThereForACharacter) {
  EXPECT_EQ(typed(LayoutSketch{{typeWithTables({kRecord | 5})}}.data(), {{0, 0}}), u"\u4005");
}

TEST(UCKeyTranslate, TypesCharactersAboveTheIndexes) {
  EXPECT_EQ(typed(LayoutSketch{{typeWithTables({0xF8FF, 0xC000, 0xFFFD})}}.data(), {{0, 0}, {1, 0}, {2, 0}}),
            u"\uF8FF\uC000\uFFFD");
}

TEST(UCKeyTranslate, CombinesADeadKeyWithTheNextCharacter) {
  std::uint32_t state = 0;
  EXPECT_EQ(typed(accentLayout(), {{2, kOption}}, 0, &state), u"");
  EXPECT_EQ(state, 1U);
  EXPECT_EQ(typed(accentLayout(), {{0, 0}}, 0, &state), u"\u00E1");
  EXPECT_EQ(state, 0U);
}

TEST(UCKeyTranslate, TypesTheAccentBeforeACharacterThatDoesNotCombine) {
  const std::string layout = accentLayout();
  EXPECT_EQ(typed(layout, {{2, kOption}, {1, 0}}), u"\u00B4x");
  EXPECT_EQ(typed(layout, {{2, kOption}, {3, 0}}), u"\u00B4ij");
  EXPECT_EQ(typed(layout, {{2, kOption}, {0, 2}}), u"\u00B4A");
}

TEST(UCKeyTranslate, TypesTheAccentBeforeACharacterWhoseRecordHasNoEntryForTheState) {
  TypeSketch type = accentType();
  type.records[1] = RecordSketch{u'a', 0, 1, {{7, u'z'}}};
  EXPECT_EQ(typed(LayoutSketch{{type}}.data(), {{2, kOption}, {0, 0}}), u"\u00B4a");
}

TEST(UCKeyTranslate, TypesTheAccentWhenADeadKeyFollowsADeadKey) {
  std::uint32_t state = 0;
  EXPECT_EQ(typed(accentLayout(), {{2, kOption}, {2, kOption}}, 0, &state), u"\u00B4");
  EXPECT_EQ(state, 1U);
}

TEST(UCKeyTranslate, TypesTheAccentAtOnceWithoutDeadKeys) {
  std::uint32_t state = 0;
  EXPECT_EQ(typed(accentLayout(), {{2, kOption}, {0, 0}}, macos::kUCKeyTranslateNoDeadKeysMask, &state),
            u"\u00B4a");
  EXPECT_EQ(state, 0U);
}

TEST(UCKeyTranslate, StepsThroughRangeEntries) {
  TypeSketch type = typeWithTables({kRecord | 0});
  // States 3 to 5 type b, d, f and lead to 10, 12, 14; state 14 to nothing more.
  type.records = {RecordSketch{u'a', 0, 2, {{3, 2 | 2 << 8, u'b', 10}, {14, 0, u'!', 0}}}};
  const std::string layout = LayoutSketch{{type}}.data();
  for (const auto& [before, text, after] :
       std::vector<std::tuple<std::uint32_t, std::u16string, std::uint32_t>>{
           {2, u"a", 0}, {3, u"b", 10}, {4, u"d", 12}, {5, u"f", 14}, {6, u"a", 0}, {14, u"!", 0}}) {
    std::uint32_t state = before;
    EXPECT_EQ(typed(layout, {{0, 0}}, 0, &state), text) << before;
    EXPECT_EQ(state, after) << before;
  }
}

TEST(UCKeyTranslate, TypesNothingFromARangeEntryWithoutACharacter) {
  TypeSketch type = typeWithTables({kRecord | 0});
  type.records = {RecordSketch{u'a', 0, 2, {{1, 1 << 8, 0xFFFF, 4}}}};
  std::uint32_t state = 1;
  EXPECT_EQ(typed(LayoutSketch{{type}}.data(), {{0, 0}}, 0, &state), u"");
  EXPECT_EQ(state, 4U);
}

TEST(UCKeyTranslate, TypesNothingWhenAKeyIsReleased) {
  std::uint32_t state = 1;
  EXPECT_EQ(UCKeyTranslate(accentLayout(), {0, macos::kUCKeyActionUp, 0}, 0, 0, &state), u"");
  EXPECT_EQ(state, 1U);
}

TEST(UCKeyTranslate, KeepsTheStateWhenOnlyDisplaying) {
  std::uint32_t state = 1;
  EXPECT_EQ(UCKeyTranslate(accentLayout(), {0, macos::kUCKeyActionDisplay, 0}, 0, 0, &state), u"\u00E1");
  EXPECT_EQ(state, 1U);
  state = 0;
  EXPECT_EQ(UCKeyTranslate(accentLayout(), {2, macos::kUCKeyActionDisplay, kOption}, 0, 0, &state), u"");
  EXPECT_EQ(state, 0U);
}

TEST(UCKeyTranslate, UsesTheDefaultTableForModifiersPastTheMap) {
  TypeSketch type = typeWithTables({u'a'}, {u'b'}, {u'c'}, {u'd'});
  type.defaultTable = 1;
  EXPECT_EQ(typed(LayoutSketch{{type}}.data(), {{0, 12}}), u"b");
  EXPECT_EQ(typed(LayoutSketch{{type}}.data(), {{0, 255}}), u"b");
}

TEST(UCKeyTranslate, ChoosesTheKeyboardTypeByItsRangeElseTheFirst) {
  TypeSketch first = typeWithTables({u'a'});
  first.first = 10;
  first.last = 19;
  TypeSketch second = typeWithTables({u'b'});
  second.first = 40;
  second.last = 42;
  const std::string layout = LayoutSketch{{first, second}}.data();
  for (const auto& [type, text] : std::vector<std::pair<std::uint32_t, std::u16string>>{
           {10, u"a"}, {40, u"b"}, {42, u"b"}, {43, u"a"}, {0, u"a"}}) {
    std::uint32_t state = 0;
    EXPECT_EQ(UCKeyTranslate(layout, {0, macos::kUCKeyActionDown, 0}, type, 0, &state), text) << type;
  }
}

TEST(UCKeyTranslate, HasNoAnswerWithoutAKeyboardType) {
  std::uint32_t state = 0;
  EXPECT_EQ(UCKeyTranslate("", {}, 0, 0, &state), std::nullopt);
  EXPECT_EQ(UCKeyTranslate(LayoutSketch{}.data(), {}, 0, 0, &state), std::nullopt);
  EXPECT_EQ(UCKeyTranslate(accentLayout().substr(0, 39), {}, 0, 0, &state), std::nullopt);
}

TEST(KeyboardLayoutData, ReadsTheFieldsOfAKeyboardType) {
  TypeSketch type = accentType();
  type.first = 0x01020304;
  type.last = 0xFFFFFFFE;
  const std::string layout = LayoutSketch{{type}}.data();
  const auto header = macos::UCKeyboardLayout(layout).keyboardType(0);
  ASSERT_TRUE(header.has_value());
  EXPECT_EQ(header->keyboardTypeFirst, 0x01020304U);
  EXPECT_EQ(header->keyboardTypeLast, 0xFFFFFFFEU);
  EXPECT_EQ(header->keyModifiersToTableNumOffset, 40U);
  EXPECT_FALSE(macos::UCKeyboardLayout(layout).keyboardType(0xFFFFFFFF).has_value());
}

TEST(KeyboardLayoutData, TakesAnArrayThatLeavesTheDataForNull) {
  TypeSketch type = accentType();
  const std::string layout = LayoutSketch{{type}}.data();
  const auto header = macos::UCKeyboardLayout(layout).keyboardType(0);
  ASSERT_TRUE(header.has_value());
  const std::uint32_t tables = header->keyToCharTableIndexOffset;
  EXPECT_EQ(macos::UCKeyToCharTableIndex(layout, tables).keyToCharTableCount(), 4U);

  std::string manyTables = layout;
  vennick::tests::storeU32(&manyTables, tables + 4, 0xFFFFFFFF);
  EXPECT_TRUE(macos::UCKeyToCharTableIndex(manyTables, tables).isNull());

  std::string manyEntries = layout;
  const std::uint32_t record = vennick::tests::loadU32(layout, header->keyStateRecordsIndexOffset + 8);
  EXPECT_FALSE(macos::UCKeyStateRecord(layout, record).isNull());
  manyEntries[record + 5] = '\x7F';
  EXPECT_TRUE(macos::UCKeyStateRecord(manyEntries, record).isNull());
}

TEST(KeyboardLayoutData, TakesAnOffsetOfZeroForNull) {
  const std::string layout = accentLayout();
  EXPECT_TRUE(macos::UCKeyModifiersToTableNum(layout, 0).isNull());
  EXPECT_TRUE(macos::UCKeyToCharTableIndex(layout, 0).isNull());
  EXPECT_TRUE(macos::UCKeyStateRecord(layout, 0).isNull());
  EXPECT_TRUE(macos::UCKeyStateRecordsIndex(layout, 0).isNull());
  EXPECT_TRUE(macos::UCKeyStateTerminators(layout, 0).isNull());
  EXPECT_TRUE(macos::UCKeySequenceDataIndex(layout, 0).isNull());
}

TEST(KeyboardLayoutData, GivesNoSequenceWhoseEndsAreWrong) {
  TypeSketch type = accentType();
  const std::string layout = LayoutSketch{{type}}.data();
  const std::uint32_t offset = macos::UCKeyboardLayout(layout).keyboardType(0)->keySequenceDataIndexOffset;
  EXPECT_EQ(macos::UCKeySequenceDataIndex(layout, offset).sequence(0), u"ij");
  std::string reversed = layout;
  std::swap(reversed[offset + 4], reversed[offset + 6]);
  EXPECT_EQ(macos::UCKeySequenceDataIndex(reversed, offset).sequence(0), u"");
  std::string outside = layout;
  outside[offset + 7] = '\x7F';
  EXPECT_EQ(macos::UCKeySequenceDataIndex(outside, offset).sequence(0), u"");
}

TEST(KeyboardLayoutData, CanBeCutAtEveryByte) {
  const std::string layout = accentLayout();
  const std::u16string whole = typed(layout, {{2, kOption}, {0, 0}, {1, 0}, {3, 0}});
  EXPECT_EQ(whole, u"\u00E1xij");
  std::size_t same = 0;
  for (std::size_t length = 0; length < layout.size(); ++length) {
    const std::string cut(layout.data(), length);
    if (typed(cut, {{2, kOption}, {0, 0}, {1, 0}, {3, 0}}) == whole) ++same;
  }
  EXPECT_EQ(same, 0U);
}

TEST(KeyboardLayoutData, CanHoldAnyNumberForAnOffset) {
  const std::string layout = accentLayout();
  const auto size = static_cast<std::uint32_t>(layout.size());
  for (const std::size_t place : vennick::tests::offsetPlaces(layout)) {
    for (const std::uint32_t value :
         {0U, 1U, size - 1, size, size + 1, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
      std::string broken = layout;
      vennick::tests::storeU32(&broken, place, value);
      for (int key = 0; key < 4; ++key) typed(broken, {{2, kOption}, {key, 0}, {key, 2}, {key, kOption}});
    }
  }
}
