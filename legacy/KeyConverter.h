// SPDX-License-Identifier: MIT
//
// KeyConverter: which key, with which plain modifiers, types a given UTF-16 character on the user's
// current keyboard layout, allowing for one dead key before it. The earlier version stored some hotkeys
// as characters; this is the way back to key codes. It walks the tables of the layout's 'uchr' data
// itself. Shift, option and both are tried; control and command combinations never are.
//
// The layout data is borrowed, never copied: that of the current input source, which the converter keeps
// alive, or a caller's, which must outlive the converter. One converter belongs to one thread.
#ifndef LEGACY_KEYCONVERTER_H
#define LEGACY_KEYCONVERTER_H

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "macos/carbon/KeyboardLayout.h"
#include "macos/carbon/TextInputSources.h"

namespace vennick {

// Six words: the character; modifier byte and key code of the first stroke; 1 when a second stroke
// follows (the first is then a dead key), else 0; modifier byte and key code of the second stroke. When
// nothing is found the first four are 0 and the last two are undefined.
using KeyStrokes = std::array<std::uint16_t, 6>;

class KeyConverter {
 public:
  // Not a dead-key state: what a search for a character passes.
  static constexpr std::uint32_t kNoDeadKeyState = 0xFFFFFFFF;
  // One search looks at no more keys and entries than this, then it has found nothing.
  static constexpr std::uint32_t kSearchLimit = 1U << 24;

  // On the current keyboard layout.
  KeyConverter();
  // On a caller's layout data.
  explicit KeyConverter(std::string_view layoutData);

  // The string's UTF-16 units; its c_str() ends with a 16-bit zero.
  static std::u16string characterArrayOfString(std::string_view string);
  // Takes the current layout anew; no tables are selected then. Without Unicode layout data nothing is
  // found from then on.
  void loadResources();
  // Selects the tables of keyboard type number index (not a type code). False, and nothing changes, when
  // the layout data holds no such entry.
  bool setupKeyboardTables(std::uint32_t index);
  void dumpTable() const {}
  // Position in none, shift, option, shift-option of the first combination that selects the table; -1
  // when none does.
  int modifierIndexForTable(std::uint32_t table) const;
  // Searches one key-to-character table of the selected tables. With a dead-key state the character is
  // 0xFFFF and the key looked for is a dead key that enters the state; keyboardType selects nothing.
  bool loopOverCharacters(std::uint16_t character, std::uint32_t keyboardType, std::uint32_t deadKeyInitiator,
                          std::uint32_t keyToCharTableNum, KeyStrokes* result);
  // Whether a key types the character, and if so how: keyboard types in list order, then tables in index
  // order, then keys ascending; the first one wins.
  bool getStrokes(std::uint16_t character, KeyStrokes* result);
  // The key code of the first stroke. 0 when no key types the character, which is a real key code too;
  // getStrokes tells the two apart.
  std::uint16_t virtualKeyForCharacter(std::uint16_t character);
  static std::uint32_t itlkRemap(std::uint32_t value) { return value; }

 private:
  // The tables that the four combinations select, in index order, each once.
  std::vector<std::uint32_t> reachableTables() const;
  std::optional<std::uint32_t> tableForModifiers(std::uint32_t modifiers) const;
  bool searchTable(std::uint16_t character, std::uint16_t keyboardType, std::uint32_t deadKeyInitiator,
                   std::uint32_t tableNum, KeyStrokes* result);
  enum class Match { No, Direct, AfterDeadKey };
  // What a key with this output is to the search; AfterDeadKey stores the dead-key state it takes.
  Match matchKey(macos::UCKeyOutput output, std::uint16_t character, std::uint32_t deadKeyInitiator,
                 std::uint32_t* neededState);
  bool findDeadKey(std::uint16_t keyboardType, std::uint32_t state, KeyStrokes* result);
  // Accounts for one more key or entry; false when the search has had its share.
  bool examineOneMore();

  std::shared_ptr<const macos::TISInputSource> source_;
  std::string_view base_;
  macos::UCKeyboardLayout uchrHeader_;
  macos::UCKeyModifiersToTableNum keyModifiersToTableNum_;
  macos::UCKeyToCharTableIndex keyToCharTableIndex_;
  macos::UCKeyStateTerminators keyStateTerminators_;
  macos::UCKeyStateRecordsIndex keyStateRecordsIndex_;
  macos::UCKeySequenceDataIndex keySequenceDataIndex_;
  std::uint32_t examined_ = 0;
};

}  // namespace vennick

#endif  // LEGACY_KEYCONVERTER_H
