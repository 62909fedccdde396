// SPDX-License-Identifier: MIT
#include "legacy/KeyConverter.h"

#include <gtest/gtest.h>

#include "tests/support/KeyboardLayoutSketch.h"
#include "tests/support/LayoutHost.h"

using vennick::KeyConverter;
using vennick::KeyStrokes;
using vennick::tests::compiledLayout;
using vennick::tests::LayoutSketch;
using vennick::tests::RecordSketch;
using vennick::tests::TypeSketch;
using vennick::tests::typeWithTables;

namespace {

constexpr std::uint16_t kRecord = 0x4000;
constexpr std::uint16_t kSequence = 0x8000;

struct Answer {
  bool found = false;
  KeyStrokes strokes{};

  friend bool operator==(const Answer& a, const Answer& b) {
    // Words 4 and 5 mean something only when there is a second stroke.
    const std::size_t words = a.strokes[3] == 1 ? 6 : 4;
    return a.found == b.found && std::equal(a.strokes.begin(), a.strokes.begin() + words, b.strokes.begin());
  }
  friend std::ostream& operator<<(std::ostream& out, const Answer& answer) {
    out << (answer.found ? "found" : "not found");
    for (const std::uint16_t word : answer.strokes) out << ' ' << word;
    return out;
  }
};

const Answer kNotFound{};

Answer found(std::uint16_t character, std::uint16_t modifiers, std::uint16_t key) {
  return {true, {character, modifiers, key, 0, 0, 0}};
}

Answer foundAfterDeadKey(KeyStrokes strokes) { return {true, strokes}; }

Answer search(const std::string& layout, std::uint16_t character) {
  KeyConverter converter{std::string_view(layout)};
  Answer answer;
  answer.strokes.fill(0xDEAD);
  answer.found = converter.getStrokes(character, &answer.strokes);
  return answer;
}

Answer search(const TypeSketch& type, std::uint16_t character) {
  return search(LayoutSketch{{type}}.data(), character);
}

// Key 0 types e, and é after state 2; key 3 with option is the dead key of state 2.
TypeSketch denseAccent() {
  TypeSketch type = typeWithTables({kRecord | 0}, {u'E'}, {0xFFFF, 0xFFFF, 0xFFFF, kRecord | 1});
  type.records = {RecordSketch{u'e', 0, 1, {{1, u'\u00E8'}, {2, u'\u00E9'}}}, RecordSketch{0xFFFF, 2, 0, {}}};
  return type;
}

}  // namespace

TEST(KeyConverter, FindsSmallAOnThePlainTableAndCapitalAOnTheShiftTable) {
  const std::string layout = compiledLayout("US");
  EXPECT_EQ(search(layout, u'a'), found(u'a', 0, 0));
  EXPECT_EQ(search(layout, u'A'), found(u'A', 2, 0));
}

TEST(KeyConverter, NeverSearchesTheCapsLockTable) {
  // The table with the capital is selected by caps lock alone.
  TypeSketch type = typeWithTables({u'a'});
  type.tables.push_back(std::vector<std::uint16_t>{u'A'});
  type.modifiers[4] = 4;
  EXPECT_EQ(search(type, u'a'), found(u'a', 0, 0));
  EXPECT_EQ(search(type, u'A'), kNotFound);
}

TEST(KeyConverter, FindsACharacterAfterADeadKeyOnlyWithADeadKeyOfFormatZeroThatEntersItsState) {
  EXPECT_EQ(search(denseAccent(), 0x00E9), foundAfterDeadKey({0x00E9, 8, 3, 1, 0, 0}));
  EXPECT_EQ(search(denseAccent(), 0x00E8), kNotFound) << "no key enters state 1";
  TypeSketch otherState = denseAccent();
  otherState.records[1]->nextState = 3;
  EXPECT_EQ(search(otherState, 0x00E9), kNotFound);
  TypeSketch unreachable = denseAccent();
  unreachable.modifiers[8] = 9;
  EXPECT_EQ(search(unreachable, 0x00E9), kNotFound) << "the dead key is in none of the four tables";
}

TEST(KeyConverter, GivesTheDeadKeyAsTheKeyOfACharacterThatNeedsOne) {
  const std::string layout = LayoutSketch{{denseAccent()}}.data();
  EXPECT_EQ(KeyConverter{std::string_view(layout)}.virtualKeyForCharacter(0x00E9), 3);
}

TEST(KeyConverter, GivesZeroForTheKeyOfACharacterThatNoKeyTypes) {
  const std::string layout = compiledLayout("US");
  KeyConverter converter{std::string_view(layout)};
  EXPECT_EQ(converter.virtualKeyForCharacter(0x4E2D), 0);
  EXPECT_EQ(converter.virtualKeyForCharacter(u'a'), 0) << "a real key code";
  EXPECT_EQ(converter.virtualKeyForCharacter(u's'), 1);
}

TEST(KeyConverter, NeverFindsACharacterTypedOnlyWithControlOrCommand) {
  TypeSketch type = typeWithTables({u'a'});
  type.modifiers.resize(0x12, 9);
  type.tables.push_back(std::vector<std::uint16_t>{0x0002});
  type.tables.push_back(std::vector<std::uint16_t>{u'c'});
  type.modifiers[0x10] = 4;
  type.modifiers[0x01] = 5;
  EXPECT_EQ(search(type, 0x0002), kNotFound);
  EXPECT_EQ(search(type, u'c'), kNotFound);
  EXPECT_EQ(search(compiledLayout("US"), 0x0002), kNotFound);
}

TEST(KeyConverter, FindsReturnWhereThePlainTableTypesIt) {
  EXPECT_EQ(search(compiledLayout("US"), 0x000D), found(0x000D, 0, 36));
  EXPECT_EQ(search(compiledLayout("German"), 0x0009), found(0x0009, 0, 48));
}

TEST(KeyConverter, FindsNWithTildeAndEWithAcuteOnTheUSLayout) {
  const std::string layout = compiledLayout("US");
  EXPECT_EQ(search(layout, 0x00F1), foundAfterDeadKey({0x00F1, 8, 45, 1, 0, 45}));
  EXPECT_EQ(search(layout, 0x00E9), foundAfterDeadKey({0x00E9, 8, 14, 1, 0, 14}));
}

// The needed state is the entry's place, not what the entry says; on a layout with gaps the answer is
// wrong, and that is how it is to be.
TEST(KeyConverter, GivesTheWrongDeadKeyOnASparseLayout) {
  TypeSketch type = typeWithTables({kRecord | 0}, {}, {0xFFFF, kRecord | 1, kRecord | 2});
  // The only entry is for state 2, but it is the first one.
  type.records = {RecordSketch{u'e', 0, 1, {{2, u'\u00E9'}}}, RecordSketch{0xFFFF, 1, 0, {}},
                  RecordSketch{0xFFFF, 2, 0, {}}};
  EXPECT_EQ(search(type, 0x00E9), foundAfterDeadKey({0x00E9, 8, 1, 1, 0, 0}));
}

TEST(KeyConverter, SearchesTablesInIndexOrder) {
  // The character is on key 3 of table 0, which shift selects, and on key 0 of table 1, the plain one.
  TypeSketch type = typeWithTables({u'-', u'-', u'-', u'x'}, {u'x'});
  type.modifiers[0] = 1;
  type.modifiers[2] = 0;
  EXPECT_EQ(search(type, u'x'), found(u'x', 2, 3));
}

TEST(KeyConverter, SearchesKeyboardTypesInListOrder) {
  const LayoutSketch layout{{typeWithTables({u'a', u'y'}), typeWithTables({u'x', u'a'})}};
  EXPECT_EQ(search(layout.data(), u'a'), found(u'a', 0, 0));
  EXPECT_EQ(search(layout.data(), u'x'), found(u'x', 0, 0));
}

TEST(KeyConverter, NamesATableByItsFirstCombination) {
  TypeSketch type = typeWithTables({u'a'});
  type.modifiers = {1, 9, 0, 9, 9, 9, 9, 9, 0, 9, 1};
  EXPECT_EQ(search(type, u'a'), found(u'a', 2, 0));
  const std::string layout = LayoutSketch{{type}}.data();
  KeyConverter converter{std::string_view(layout)};
  ASSERT_TRUE(converter.setupKeyboardTables(0));
  EXPECT_EQ(converter.modifierIndexForTable(0), 1);
  EXPECT_EQ(converter.modifierIndexForTable(1), 0);
  EXPECT_EQ(converter.modifierIndexForTable(2), -1);
}

TEST(KeyConverter, TakesTheModifierCountForTheTablePastTheMap) {
  TypeSketch type = typeWithTables({u'a'}, {u'b'}, {u'c'}, {u'd'});
  type.defaultTable = 3;
  type.modifierCount = 1;  // shift, option and both are past it and select table 1
  const std::string layout = LayoutSketch{{type}}.data();
  KeyConverter converter{std::string_view(layout)};
  ASSERT_TRUE(converter.setupKeyboardTables(0));
  EXPECT_EQ(converter.modifierIndexForTable(1), 1);
  EXPECT_EQ(converter.modifierIndexForTable(3), -1) << "the default table does not count";
  EXPECT_EQ(search(layout, u'b'), found(u'b', 2, 0));
  EXPECT_EQ(search(layout, u'd'), kNotFound);
}

TEST(KeyConverter, ReadsThePositionThatEqualsTheModifierCount) {
  TypeSketch type = typeWithTables({u'a'}, {u'b'}, {u'c'}, {u'd'});
  type.modifierCount = 8;
  EXPECT_EQ(search(type, u'c'), found(u'c', 8, 0));
  EXPECT_EQ(search(type, u'd'), kNotFound) << "position 10 is past the count, and there is no table 8";
}

TEST(KeyConverter, ReadsTheMapAsFarAsTheDataGoes) {
  // The map ends the data, its count claims more, and position 10 lies outside.
  TypeSketch type = typeWithTables({u'a'}, {u'b'}, {u'c'}, {u'd'});
  std::string layout = LayoutSketch{{type}}.data();
  const std::size_t map = layout.size();
  layout += std::string("\x01\x30\x00\x00\xFF\xFF\xFF\xFF", 8) +
            std::string("\x00\x09\x01\x09\x09\x09\x09\x09\x02", 9);
  vennick::tests::storeU32(&layout, 20, static_cast<std::uint32_t>(map));
  EXPECT_EQ(search(layout, u'a'), found(u'a', 0, 0));
  EXPECT_EQ(search(layout, u'b'), found(u'b', 2, 0));
  EXPECT_EQ(search(layout, u'c'), found(u'c', 8, 0));
  EXPECT_EQ(search(layout, u'd'), kNotFound);
}

TEST(KeyConverter, ComparesTableNumbersAs32Bits) {
  // The count, 0x100, is the table's number for nobody here; a byte of 0 must not match table 0x100.
  TypeSketch type = typeWithTables({u'a'});
  type.tables.resize(0x101);
  type.tables[0x100] = std::vector<std::uint16_t>{u'z'};
  EXPECT_EQ(search(type, u'z'), kNotFound);
  EXPECT_EQ(search(type, u'a'), found(u'a', 0, 0));
}

TEST(KeyConverter, FindsNothingOnANullMap) {
  TypeSketch type = typeWithTables({u'a'});
  type.modifiers.clear();
  EXPECT_EQ(search(type, u'a'), kNotFound);
}

TEST(KeyConverter, TakesATableAtOffsetZeroForEmpty) {
  TypeSketch type = typeWithTables({u'a'}, {u'b'});
  type.tables[0].reset();
  EXPECT_EQ(search(type, u'a'), kNotFound);
  EXPECT_EQ(search(type, u'b'), found(u'b', 2, 0));
}

TEST(KeyConverter, TakesATableThatLeavesTheDataForEmpty) {
  std::string layout = LayoutSketch{{typeWithTables({u'a'}, {u'b'})}}.data();
  const std::uint32_t tables = vennick::tests::loadU32(layout, 24);
  vennick::tests::storeU32(&layout, tables + 8, static_cast<std::uint32_t>(layout.size() - 2));
  EXPECT_EQ(search(layout, u'a'), kNotFound);
  EXPECT_EQ(search(layout, u'b'), found(u'b', 2, 0));
}

TEST(KeyConverter, FindsNothingInTablesOfNoKeys) {
  TypeSketch type = typeWithTables({u'a'});
  type.tableSize = 0;
  EXPECT_EQ(search(type, u'a'), kNotFound);
}

TEST(KeyConverter, SkipsARecordAtOffsetZeroOrOutside) {
  TypeSketch type = typeWithTables({kRecord | 0, kRecord | 1, u'x'});
  type.records = {std::nullopt, RecordSketch{u'x', 0, 0, {}}};
  EXPECT_EQ(search(type, u'x'), found(u'x', 0, 1));
  std::string layout = LayoutSketch{{type}}.data();
  const std::uint32_t records = vennick::tests::loadU32(layout, 28);
  vennick::tests::storeU32(&layout, records + 8, 0xFFFFFFF0);
  EXPECT_EQ(search(layout, u'x'), found(u'x', 0, 2));
}

TEST(KeyConverter, StopsAtAKeyboardTypeOutsideTheData) {
  std::string layout = LayoutSketch{{typeWithTables({u'a'})}}.data();
  vennick::tests::storeU32(&layout, 8, 0xFFFFFFFF);
  EXPECT_EQ(search(layout, u'a'), found(u'a', 0, 0));
  EXPECT_EQ(search(layout, u'x'), kNotFound);
}

TEST(KeyConverter, SkipsSequences) {
  TypeSketch type = typeWithTables({kSequence | 1, u'x'});
  type.sequences = {u"ab", u"x"};
  EXPECT_EQ(search(type, u'x'), found(u'x', 0, 1));
  EXPECT_EQ(search(type, kSequence | 1), kNotFound);
}

TEST(KeyConverter, SkipsKeysWithoutOutput) {
  EXPECT_EQ(search(typeWithTables({0xFFFE, 0xFFFF}), 0xFFFE), kNotFound);
}

// An output of 0x4000 + r without such a record is that character; kept.
TEST(KeyConverter, TakesAReferenceToARecordThatIsNotThereForACharacter) {
  EXPECT_EQ(search(typeWithTables({u'-', kRecord | 7}), 0x4007), found(0x4007, 0, 1));
  TypeSketch type = typeWithTables({kRecord | 0, kRecord | 1});
  type.records = {RecordSketch{u'a', 0, 0, {}}};
  EXPECT_EQ(search(type, 0x4000), kNotFound) << "record 0 is there";
  EXPECT_EQ(search(type, 0x4001), found(0x4001, 0, 1));
}

// A record's character from 0x8000 to 0xBFFF is compared as it stands, not taken for a sequence; kept.
TEST(KeyConverter, ComparesARecordsSequenceNumberAsACharacter) {
  TypeSketch type = typeWithTables({kRecord | 0, kRecord | 1}, {}, {kRecord | 2});
  type.records = {RecordSketch{kSequence | 0, 0, 0, {}}, RecordSketch{u'n', 0, 1, {{1, kSequence | 1}}},
                  RecordSketch{0xFFFF, 1, 0, {}}};
  type.sequences = {u"q", u"~n"};
  EXPECT_EQ(search(type, 0x8000), found(0x8000, 0, 0));
  EXPECT_EQ(search(type, 0x8001), foundAfterDeadKey({0x8001, 8, 0, 1, 0, 1}));
  EXPECT_EQ(search(type, u'q'), kNotFound);
}

// A dead key that combines with others has entries, and is never recognised; kept.
TEST(KeyConverter, NeverRecognisesADeadKeyWithEntries) {
  TypeSketch type = denseAccent();
  type.records[1] = RecordSketch{0xFFFF, 2, 1, {{1, u'^'}}};
  EXPECT_EQ(search(type, 0x00E9), kNotFound);
}

// When no key enters the state, the rest of the table is not tried, though a later key types the
// character outright; kept.
TEST(KeyConverter, GivesUpTheTableAfterADeadKeyThatCannotBeTyped) {
  TypeSketch type = denseAccent();
  type.records[1]->nextState = 9;
  type.tables[0] = std::vector<std::uint16_t>{kRecord | 0, 0x00E9};
  EXPECT_EQ(search(type, 0x00E9), kNotFound);
  type.tables[1] = std::vector<std::uint16_t>{u'E', u'-', 0x00E9};
  EXPECT_EQ(search(type, 0x00E9), found(0x00E9, 2, 2)) << "only that table is given up";
}

TEST(KeyConverter, PrefersWhatItMeetsFirst) {
  TypeSketch type = denseAccent();
  type.tables[0] = std::vector<std::uint16_t>{0x00E9, kRecord | 0};
  EXPECT_EQ(search(type, 0x00E9), found(0x00E9, 0, 0));
  type.tables[0] = std::vector<std::uint16_t>{kRecord | 0, 0x00E9};
  EXPECT_EQ(search(type, 0x00E9), foundAfterDeadKey({0x00E9, 8, 3, 1, 0, 0}));
}

TEST(KeyConverter, TakesTheFirstDeadKeyInTableThenKeyOrder) {
  TypeSketch type = denseAccent();
  type.tables[1] = std::vector<std::uint16_t>{u'E', u'-', kRecord | 1};
  type.tables[2] = std::vector<std::uint16_t>{u'-', kRecord | 1, kRecord | 1};
  EXPECT_EQ(search(type, 0x00E9), foundAfterDeadKey({0x00E9, 2, 2, 1, 0, 0}));
  type.tables[1] = std::vector<std::uint16_t>{u'E'};
  EXPECT_EQ(search(type, 0x00E9), foundAfterDeadKey({0x00E9, 8, 1, 1, 0, 0}));
}

TEST(KeyConverter, TakesTheFirstEntryWithTheCharacter) {
  TypeSketch type = denseAccent();
  type.records[0]->entries = {{7, u'\u00E9'}, {2, u'\u00E9'}};
  type.records[1]->nextState = 1;
  EXPECT_EQ(search(type, 0x00E9), foundAfterDeadKey({0x00E9, 8, 3, 1, 0, 0}));
}

TEST(KeyConverter, LooksAtNoEntriesOfOtherFormats) {
  TypeSketch type = denseAccent();
  type.records[0] = RecordSketch{u'e', 0, 2, {{2, 0, u'\u00E9', 0}, {2, 0, u'\u00E9', 0}}};
  EXPECT_EQ(search(type, 0x00E9), kNotFound);
  EXPECT_EQ(search(type, u'e'), found(u'e', 0, 0));
}

TEST(KeyConverter, FindsNothingFor0xFFFF) {
  TypeSketch type = typeWithTables({0xFFFF, kRecord | 0, kRecord | 1});
  type.records = {RecordSketch{0xFFFF, 0xFFFF, 0, {}}, RecordSketch{0xFFFF, 1, 0, {}}};
  EXPECT_EQ(search(type, 0xFFFF), kNotFound);
}

TEST(KeyConverter, SearchesForADeadKeyByItsState) {
  const std::string layout = LayoutSketch{{denseAccent()}}.data();
  KeyConverter converter{std::string_view(layout)};
  ASSERT_TRUE(converter.setupKeyboardTables(0));
  KeyStrokes result{};
  EXPECT_TRUE(converter.loopOverCharacters(0xFFFF, 0, 2, 2, &result));
  EXPECT_EQ(result[1], 8);
  EXPECT_EQ(result[2], 3);
  EXPECT_FALSE(converter.loopOverCharacters(0xFFFF, 0, 2, 0, &result)) << "another table";
  EXPECT_FALSE(converter.loopOverCharacters(0xFFFF, 0, 0x10002, 2, &result)) << "states are 32 bits";
  EXPECT_FALSE(converter.loopOverCharacters(0xFFFF, 0, 2, 77, &result)) << "a table that nothing selects";
}

TEST(KeyConverter, IgnoresTheKeyboardTypeOfATableSearch) {
  const std::string layout = LayoutSketch{{typeWithTables({u'a'})}}.data();
  KeyConverter converter{std::string_view(layout)};
  ASSERT_TRUE(converter.setupKeyboardTables(0));
  KeyStrokes result{};
  EXPECT_TRUE(converter.loopOverCharacters(u'a', 0x12345, KeyConverter::kNoDeadKeyState, 0, &result));
  EXPECT_FALSE(converter.setupKeyboardTables(0x7FFFFFFF));
}

TEST(KeyConverter, DoesNotCheckTheFormatWords) {
  std::string layout = LayoutSketch{{denseAccent()}}.data();
  std::vector<std::size_t> formats{0};
  for (std::size_t field = 20; field <= 28; field += 4) {
    formats.push_back(vennick::tests::loadU32(layout, field));
  }
  for (const std::size_t place : formats) layout[place] = layout[place + 1] = '\x55';
  EXPECT_EQ(search(layout, 0x00E9), foundAfterDeadKey({0x00E9, 8, 3, 1, 0, 0}));
}

TEST(KeyConverter, FindsNothingWithoutLayoutData) {
  EXPECT_EQ(search(std::string(), u'a'), kNotFound);
  EXPECT_EQ(search(LayoutSketch{}.data(), u'a'), kNotFound);
  EXPECT_EQ(KeyConverter{std::string_view()}.virtualKeyForCharacter(u's'), 0);
}

TEST(KeyConverter, WorksOnTheCurrentLayout) {
  const auto root = vennick::tests::rootWithLayouts();
  vennick::tests::chooseLayout(*root, "com.apple.keylayout.German");
  const vennick::tests::TestHost host(vennick::tests::optionsWithLayouts(root));
  KeyConverter converter;
  EXPECT_EQ(converter.virtualKeyForCharacter(u'z'), 16);
  EXPECT_EQ(converter.virtualKeyForCharacter(0x00DF), 27);
  // The umlaut has a key of its own, 41, but o and the dead key that makes it come first; kept.
  KeyStrokes strokes{};
  EXPECT_TRUE(converter.getStrokes(0x00F6, &strokes));
  EXPECT_EQ(strokes, (KeyStrokes{0x00F6, 8, 32, 1, 0, 31}));
  converter.loadResources();
  EXPECT_EQ(converter.virtualKeyForCharacter(u'z'), 16);
}

TEST(KeyConverter, FindsNothingWhenTheCurrentLayoutHasNoData) {
  const vennick::tests::TestHost host;
  KeyConverter converter;
  KeyStrokes strokes{};
  EXPECT_FALSE(converter.getStrokes(u's', &strokes));
  EXPECT_EQ(converter.virtualKeyForCharacter(u's'), 0);
}

TEST(KeyConverter, SelectsNoTablesOfTheLayoutThatItHadBefore) {
  const vennick::tests::TestHost host;
  auto layout = std::make_unique<std::string>(LayoutSketch{{typeWithTables({u'a'})}}.data());
  KeyConverter converter{std::string_view(*layout)};
  ASSERT_TRUE(converter.setupKeyboardTables(0));
  KeyStrokes strokes{};
  ASSERT_TRUE(converter.loopOverCharacters(u'a', 0, KeyConverter::kNoDeadKeyState, 0, &strokes));
  converter.loadResources();
  layout.reset();
  EXPECT_EQ(converter.modifierIndexForTable(0), -1);
  EXPECT_FALSE(converter.loopOverCharacters(u'a', 0, KeyConverter::kNoDeadKeyState, 0, &strokes));
}

TEST(KeyConverter, GivesUpAfterSixteenMillionKeysAndEntries) {
  // Every keyboard type shares one table of 65,535 keys that type a, but the last one, which types b.
  TypeSketch type = typeWithTables(std::vector<std::uint16_t>(0xFFFF, u'a'));
  type.tableSize = 0xFFFF;
  type.tables.resize(1);
  const std::string one = LayoutSketch{{type}}.data();
  const auto withTypes = [&](std::uint32_t count) {
    LayoutSketch many;
    many.types.resize(count);
    std::string layout = many.data().substr(0, 12 + std::size_t{28} * count);
    const auto shift = static_cast<std::uint32_t>(layout.size() - 40);
    layout += one.substr(40);
    for (std::uint32_t index = 0; index < count; ++index) {
      vennick::tests::storeU32(&layout, 12 + 28 * index + 8, vennick::tests::loadU32(one, 20) + shift);
      vennick::tests::storeU32(&layout, 12 + 28 * index + 12, vennick::tests::loadU32(one, 24) + shift);
    }
    const std::uint32_t tables = vennick::tests::loadU32(one, 24) + shift;
    vennick::tests::storeU32(&layout, tables + 8, vennick::tests::loadU32(layout, tables + 8) + shift);
    // The last type gets a map and a table of its own, which begins with b.
    const std::size_t lastHeader = 12 + std::size_t{28} * (count - 1);
    while (layout.size() % 4 != 0) layout.push_back('\0');
    const auto own = static_cast<std::uint32_t>(layout.size());
    layout +=
        std::string("\x01\x40\x01\x00\x01\x00\x00\x00", 8) + std::string(4, '\0') + std::string("b\0", 2);
    vennick::tests::storeU32(&layout, own + 8, own + 12);
    vennick::tests::storeU32(&layout, lastHeader + 12, own);
    return layout;
  };
  // 2^24 / 65535 is 256.003…: after 256 whole tables 256 keys are left to look at, after 257 none.
  EXPECT_EQ(search(withTypes(257), u'b'), found(u'b', 0, 0));
  EXPECT_EQ(search(withTypes(258), u'b'), kNotFound);
}

TEST(KeyConverter, IsNotHeldUpByMillionsOfUnreachableTables) {
  std::string layout = LayoutSketch{{typeWithTables({u'a'})}}.data();
  const std::uint32_t tables = 24 + vennick::tests::loadU32(layout, 24) - 24;
  constexpr std::uint32_t kTables = 4'000'000;
  vennick::tests::storeU32(&layout, tables + 4, kTables);
  layout.resize(tables + 8 + std::size_t{4} * kTables, '\0');
  constexpr std::uint32_t kTypes = 1000;
  LayoutSketch many;
  many.types.resize(kTypes);
  const std::string headers = many.data().substr(0, 12 + 28 * kTypes);
  const auto shift = static_cast<std::uint32_t>(headers.size() - 40);
  std::string whole = headers + layout.substr(40);
  for (std::uint32_t index = 0; index < kTypes; ++index) {
    vennick::tests::storeU32(&whole, 12 + 28 * index + 8, vennick::tests::loadU32(layout, 20) + shift);
    vennick::tests::storeU32(&whole, 12 + 28 * index + 12, tables + shift);
  }
  EXPECT_EQ(search(whole, u'x'), kNotFound);
}

TEST(KeyConverter, SurvivesALayoutCutAtEveryByte) {
  const std::string layout = compiledLayout("US");
  ASSERT_GT(layout.size(), 2000U);
  for (std::size_t length = 0; length < layout.size(); ++length) {
    const std::string cut(layout.data(), length);
    for (const std::uint16_t character : {u'a', u'\u00F1', u'\u4E2D'}) {
      const Answer answer = search(cut, character);
      // What is found must be right: nothing but the whole answer or none.
      if (answer.found) {
        EXPECT_EQ(answer, search(layout, character)) << length;
      } else {
        EXPECT_EQ(answer, kNotFound) << length;
      }
    }
  }
}

TEST(KeyConverter, SurvivesEveryOffsetReplacedByExtremes) {
  const std::string layout = compiledLayout("US");
  const auto size = static_cast<std::uint32_t>(layout.size());
  for (const std::size_t place : vennick::tests::offsetPlaces(layout)) {
    for (const std::uint32_t value :
         {0U, 1U, size - 1, size, size + 1, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
      std::string broken = layout;
      vennick::tests::storeU32(&broken, place, value);
      for (const std::uint16_t character : {u'a', u'\u00F1', u'\u4E2D'}) search(broken, character);
    }
  }
}

TEST(KeyConverter, LosesNothingElseWhenOneTableLeavesTheData) {
  const std::string layout = compiledLayout("US");
  const std::uint32_t tables = vennick::tests::loadU32(layout, 24);
  std::string broken = layout;
  vennick::tests::storeU32(&broken, tables + 8, 0xFFFFFFFF);  // the plain table
  EXPECT_EQ(search(broken, u'a'), kNotFound);
  EXPECT_EQ(search(broken, u'A'), found(u'A', 2, 0));
  EXPECT_EQ(search(broken, 0x00E5), found(0x00E5, 8, 0));
}

TEST(KeyConverter, GivesTheUnitsOfAStringWithAZeroAtTheirEnd) {
  const std::u16string units = KeyConverter::characterArrayOfString("a\xC3\xA9\xF0\x9F\x98\x80");
  EXPECT_EQ(units, u"a\u00E9\U0001F600");
  EXPECT_EQ(units.c_str()[units.size()], 0);
}

TEST(KeyConverter, RemapsNothing) {
  EXPECT_EQ(KeyConverter::itlkRemap(0), 0U);
  EXPECT_EQ(KeyConverter::itlkRemap(0xFFFFFFFF), 0xFFFFFFFF);
}

TEST(KeyConverter, DumpsNothing) {
  const std::string layout = compiledLayout("US");
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  KeyConverter{std::string_view(layout)}.dumpTable();
  EXPECT_EQ(testing::internal::GetCapturedStdout() + testing::internal::GetCapturedStderr(), "");
}
