// SPDX-License-Identifier: MIT
#include "legacy/KeyConverter.h"

#include <algorithm>

#include "macos/foundation/Text.h"

namespace vennick {

namespace {

struct ModifierCombination {
  std::uint8_t modifierKeyState;
  std::string_view label;
};

// In the order in which they are tried. The labels are for diagnostics.
constexpr std::array<ModifierCombination, 4> kCombinations{
    {{0, "none"}, {2, "shift"}, {8, "option"}, {10, "shift-option"}}};

constexpr std::uint16_t kDeadKeySearch = 0xFFFF;

// Words of KeyStrokes.
constexpr std::size_t kCharacter = 0;
constexpr std::size_t kFirstModifiers = 1;
constexpr std::size_t kFirstKey = 2;
constexpr std::size_t kSecondStroke = 3;
constexpr std::size_t kSecondModifiers = 4;
constexpr std::size_t kSecondKey = 5;

}  // namespace

KeyConverter::KeyConverter() { loadResources(); }

KeyConverter::KeyConverter(std::string_view layoutData) : base_(layoutData), uchrHeader_(layoutData) {}

std::u16string KeyConverter::characterArrayOfString(std::string_view string) {
  return macos::utf16FromUTF8(string);
}

void KeyConverter::loadResources() {
  source_ = macos::TISCopyCurrentKeyboardLayoutInputSource();
  base_ = macos::TISGetInputSourceProperty(source_.get(), macos::kTISPropertyUnicodeKeyLayoutData);
  uchrHeader_ = macos::UCKeyboardLayout(base_);
  // The tables that were selected lie in the data of before, which may be gone.
  keyModifiersToTableNum_ = {};
  keyToCharTableIndex_ = {};
  keyStateTerminators_ = {};
  keyStateRecordsIndex_ = {};
  keySequenceDataIndex_ = {};
}

bool KeyConverter::setupKeyboardTables(std::uint32_t index) {
  const auto type = uchrHeader_.keyboardType(index);
  if (!type) return false;
  keyModifiersToTableNum_ = {base_, type->keyModifiersToTableNumOffset};
  keyToCharTableIndex_ = {base_, type->keyToCharTableIndexOffset};
  keyStateTerminators_ = {base_, type->keyStateTerminatorsOffset};
  keyStateRecordsIndex_ = {base_, type->keyStateRecordsIndexOffset};
  keySequenceDataIndex_ = {base_, type->keySequenceDataIndexOffset};
  return true;
}

std::optional<std::uint32_t> KeyConverter::tableForModifiers(std::uint32_t modifiers) const {
  if (keyModifiersToTableNum_.isNull()) return std::nullopt;
  // The map's default table is deliberately left out of account: past the end the count itself is the
  // table's number, and a position that equals the count still reads the byte there.
  const std::uint32_t count = keyModifiersToTableNum_.modifiersCount();
  if (count < modifiers) return count;
  return keyModifiersToTableNum_.tableNum(modifiers);
}

int KeyConverter::modifierIndexForTable(std::uint32_t table) const {
  for (std::size_t index = 0; index < kCombinations.size(); ++index) {
    if (tableForModifiers(kCombinations[index].modifierKeyState) == table) return static_cast<int>(index);
  }
  return -1;
}

std::vector<std::uint32_t> KeyConverter::reachableTables() const {
  std::vector<std::uint32_t> tables;
  for (const ModifierCombination& combination : kCombinations) {
    const auto table = tableForModifiers(combination.modifierKeyState);
    if (table && *table < keyToCharTableIndex_.keyToCharTableCount()) tables.push_back(*table);
  }
  std::sort(tables.begin(), tables.end());
  tables.erase(std::unique(tables.begin(), tables.end()), tables.end());
  return tables;
}

bool KeyConverter::getStrokes(std::uint16_t character, KeyStrokes* result) {
  *result = {};
  examined_ = 0;
  const std::uint32_t typeCount = uchrHeader_.keyboardTypeCount();
  for (std::uint32_t type = 0; type < typeCount && setupKeyboardTables(type); ++type) {
    // Tables that no combination selects cannot match, so that a layout with millions of them costs no
    // more than one with four.
    for (const std::uint32_t table : reachableTables()) {
      if (searchTable(character, static_cast<std::uint16_t>(type), kNoDeadKeyState, table, result)) {
        (*result)[kCharacter] = character;
        return true;
      }
    }
  }
  return false;
}

bool KeyConverter::loopOverCharacters(std::uint16_t character, std::uint32_t keyboardType,
                                      std::uint32_t deadKeyInitiator, std::uint32_t keyToCharTableNum,
                                      KeyStrokes* result) {
  examined_ = 0;
  return searchTable(character, static_cast<std::uint16_t>(keyboardType), deadKeyInitiator, keyToCharTableNum,
                     result);
}

bool KeyConverter::examineOneMore() {
  if (examined_ == kSearchLimit) return false;
  ++examined_;
  return true;
}

bool KeyConverter::findDeadKey(std::uint16_t keyboardType, std::uint32_t state, KeyStrokes* result) {
  for (const std::uint32_t table : reachableTables()) {
    KeyStrokes deadKey{};
    if (!searchTable(kDeadKeySearch, keyboardType, state, table, &deadKey)) continue;
    (*result)[kFirstModifiers] = deadKey[kFirstModifiers];
    (*result)[kFirstKey] = deadKey[kFirstKey];
    (*result)[kSecondStroke] = 1;
    return true;
  }
  return false;
}

KeyConverter::Match KeyConverter::matchKey(macos::UCKeyOutput output, std::uint16_t character,
                                           std::uint32_t deadKeyInitiator, std::uint32_t* neededState) {
  if (macos::isSequenceIndex(output)) return Match::No;
  const std::uint16_t recordNumber = output & macos::kUCKeyOutputGetIndexMask;
  // Deliberate: a reference to a record that the layout does not have is a character like any other.
  if (!macos::isStateRecordIndex(output) || recordNumber >= keyStateRecordsIndex_.keyStateRecordCount()) {
    return !macos::isNoOutput(output) && output == character ? Match::Direct : Match::No;
  }

  const macos::UCKeyStateRecord record = keyStateRecordsIndex_.record(recordNumber);
  if (record.isNull()) return Match::No;
  if (character == kDeadKeySearch) {
    // Deliberate: a dead key that itself combines with others has entries, and is never recognised.
    const bool enters = record.stateEntryFormat() == 0 && record.stateZeroNextState() == deadKeyInitiator;
    return enters ? Match::Direct : Match::No;
  }
  // Deliberate: a record's 0x8000 … 0xBFFF is compared as it stands, not taken for a sequence.
  if (record.stateZeroCharData() == character) return Match::Direct;
  if (record.stateEntryFormat() != macos::kUCKeyStateEntryTerminalFormat) return Match::No;
  for (std::uint32_t entry = 0; entry < record.stateEntryCount() && examineOneMore(); ++entry) {
    if (record.terminalEntry(static_cast<std::uint16_t>(entry)).charData != character) continue;
    // Deliberate: the state is the entry's place, not the number that the entry stores.
    *neededState = entry + 1;
    return Match::AfterDeadKey;
  }
  return Match::No;
}

bool KeyConverter::searchTable(std::uint16_t character, std::uint16_t keyboardType,
                               std::uint32_t deadKeyInitiator, std::uint32_t tableNum, KeyStrokes* result) {
  *result = {};
  const int combination = modifierIndexForTable(tableNum);
  if (combination < 0) return false;
  const std::uint16_t modifiers = kCombinations[static_cast<std::size_t>(combination)].modifierKeyState;
  const macos::UCKeyToCharTable table = keyToCharTableIndex_.table(tableNum);
  for (std::uint32_t key = 0; key < table.size() && examineOneMore(); ++key) {
    std::uint32_t neededState = 0;
    switch (matchKey(table.output(key), character, deadKeyInitiator, &neededState)) {
      case Match::No:
        break;
      case Match::Direct:
        (*result)[kFirstModifiers] = modifiers;
        (*result)[kFirstKey] = static_cast<std::uint16_t>(key);
        return true;
      case Match::AfterDeadKey:
        (*result)[kSecondModifiers] = modifiers;
        (*result)[kSecondKey] = static_cast<std::uint16_t>(key);
        // Deliberate: when no key enters the state, the rest of this table is not tried.
        return findDeadKey(keyboardType, neededState, result);
    }
  }
  return false;
}

std::uint16_t KeyConverter::virtualKeyForCharacter(std::uint16_t character) {
  KeyStrokes result{};
  getStrokes(character, &result);
  return result[kFirstKey];
}

}  // namespace vennick
