// SPDX-License-Identifier: MIT
//
// Keyboard-layout data in the published 'uchr' format (UCKeyboardLayout), and UCKeyTranslate, which
// plays the layout's state machine. The readers below are views: they borrow the data, read
// little-endian numbers, and never read outside it. A structure whose offset is 0, or that leaves the
// data, or whose declared array leaves it, is null, and a null structure answers as an empty one. The
// format words are not looked at. Pure; any thread.
#ifndef MACOS_CARBON_KEYBOARDLAYOUT_H
#define MACOS_CARBON_KEYBOARDLAYOUT_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace macos {

// One key's output, or the character data of a state record.
using UCKeyOutput = std::uint16_t;

inline constexpr UCKeyOutput kUCKeyOutputStateIndexMask = 0x4000;
inline constexpr UCKeyOutput kUCKeyOutputSequenceIndexMask = 0x8000;
inline constexpr UCKeyOutput kUCKeyOutputTestForIndexMask = 0xC000;
inline constexpr UCKeyOutput kUCKeyOutputGetIndexMask = 0x3FFF;

constexpr bool isStateRecordIndex(UCKeyOutput output) {
  return (output & kUCKeyOutputTestForIndexMask) == kUCKeyOutputStateIndexMask;
}
constexpr bool isSequenceIndex(UCKeyOutput output) {
  return (output & kUCKeyOutputTestForIndexMask) == kUCKeyOutputSequenceIndexMask;
}
// 0xFFFE and 0xFFFF: the key types nothing.
constexpr bool isNoOutput(UCKeyOutput output) { return output >= 0xFFFE; }

inline constexpr std::uint16_t kUCKeyStateEntryTerminalFormat = 1;
inline constexpr std::uint16_t kUCKeyStateEntryRangeFormat = 2;

struct UCKeyboardTypeHeader {
  std::uint32_t keyboardTypeFirst = 0;
  std::uint32_t keyboardTypeLast = 0;
  std::uint32_t keyModifiersToTableNumOffset = 0;
  std::uint32_t keyToCharTableIndexOffset = 0;
  std::uint32_t keyStateRecordsIndexOffset = 0;
  std::uint32_t keyStateTerminatorsOffset = 0;
  std::uint32_t keySequenceDataIndexOffset = 0;
};

// The header and its list of keyboard types.
class UCKeyboardLayout {
 public:
  UCKeyboardLayout() = default;
  explicit UCKeyboardLayout(std::string_view data) : data_(data) {}

  bool isNull() const { return data_.empty(); }
  std::string_view data() const { return data_; }
  // As declared; 0 when the header leaves the data.
  std::uint32_t keyboardTypeCount() const;
  // Empty when entry number index leaves the data, whatever the count says.
  std::optional<UCKeyboardTypeHeader> keyboardType(std::uint32_t index) const;

 private:
  std::string_view data_;
};

// Which key-to-character table a combination of modifiers selects.
class UCKeyModifiersToTableNum {
 public:
  UCKeyModifiersToTableNum() = default;
  UCKeyModifiersToTableNum(std::string_view data, std::uint32_t offset);

  bool isNull() const { return bytes_.empty(); }
  std::uint16_t defaultTableNum() const;
  std::uint32_t modifiersCount() const;
  // The byte at a position, wherever it lies in the data: the count does not bound it.
  std::optional<std::uint8_t> tableNum(std::uint32_t position) const;

 private:
  std::string_view bytes_;  // from the structure to the end of the data
};

// The outputs of one table, by key code.
class UCKeyToCharTable {
 public:
  UCKeyToCharTable() = default;
  explicit UCKeyToCharTable(std::string_view bytes) : bytes_(bytes) {}

  std::uint32_t size() const { return static_cast<std::uint32_t>(bytes_.size() / 2); }
  // REQUIRES: key < size()
  UCKeyOutput output(std::uint32_t key) const;

 private:
  std::string_view bytes_;
};

class UCKeyToCharTableIndex {
 public:
  UCKeyToCharTableIndex() = default;
  UCKeyToCharTableIndex(std::string_view data, std::uint32_t offset);

  bool isNull() const { return data_.empty(); }
  std::uint16_t keyToCharTableSize() const;
  std::uint32_t keyToCharTableCount() const;
  // Empty for a number that is not below the count.
  UCKeyToCharTable table(std::uint32_t number) const;

 private:
  std::string_view data_;
  std::uint32_t offset_ = 0;
};

struct UCKeyStateEntryTerminal {
  std::uint16_t curState = 0;
  UCKeyOutput charData = 0;
};

struct UCKeyStateEntryRange {
  std::uint16_t curStateStart = 0;
  std::uint8_t curStateRange = 0;
  std::uint8_t deltaMultiplier = 0;
  UCKeyOutput charData = 0;
  std::uint16_t nextState = 0;
};

class UCKeyStateRecord {
 public:
  UCKeyStateRecord() = default;
  UCKeyStateRecord(std::string_view data, std::uint32_t offset);

  bool isNull() const { return bytes_.empty(); }
  // REQUIRES of all below: !isNull(), and for the entries index < stateEntryCount() and their format.
  UCKeyOutput stateZeroCharData() const;
  std::uint16_t stateZeroNextState() const;
  std::uint16_t stateEntryCount() const;
  std::uint16_t stateEntryFormat() const;
  UCKeyStateEntryTerminal terminalEntry(std::uint16_t index) const;
  UCKeyStateEntryRange rangeEntry(std::uint16_t index) const;

 private:
  std::string_view bytes_;
};

class UCKeyStateRecordsIndex {
 public:
  UCKeyStateRecordsIndex() = default;
  UCKeyStateRecordsIndex(std::string_view data, std::uint32_t offset);

  bool isNull() const { return data_.empty(); }
  std::uint16_t keyStateRecordCount() const;
  // Null for a number that is not below the count.
  UCKeyStateRecord record(std::uint16_t number) const;

 private:
  std::string_view data_;
  std::uint32_t offset_ = 0;
};

class UCKeyStateTerminators {
 public:
  UCKeyStateTerminators() = default;
  UCKeyStateTerminators(std::string_view data, std::uint32_t offset);

  bool isNull() const { return bytes_.empty(); }
  // What a dead-key state types when nothing combines with it; item 0 belongs to state 1. Empty for a
  // state without one.
  std::optional<UCKeyOutput> terminator(std::uint32_t state) const;

 private:
  std::string_view bytes_;
};

class UCKeySequenceDataIndex {
 public:
  UCKeySequenceDataIndex() = default;
  UCKeySequenceDataIndex(std::string_view data, std::uint32_t offset);

  bool isNull() const { return bytes_.empty(); }
  std::uint16_t charSequenceCount() const;
  // Empty, too, when the sequence leaves the data or its ends are in the wrong order.
  std::u16string sequence(std::uint16_t number) const;

 private:
  std::string_view bytes_;
};

inline constexpr std::uint16_t kUCKeyActionDown = 0;
inline constexpr std::uint16_t kUCKeyActionUp = 1;
inline constexpr std::uint16_t kUCKeyActionAutoKey = 2;
inline constexpr std::uint16_t kUCKeyActionDisplay = 3;

inline constexpr std::uint32_t kUCKeyTranslateNoDeadKeysMask = 1;

struct UCKeyStroke {
  std::uint16_t virtualKeyCode = 0;
  std::uint16_t keyAction = kUCKeyActionDown;
  // An event's modifiers shifted right by 8: command 1, shift 2, caps lock 4, option 8, control 0x10.
  std::uint8_t modifierKeyState = 0;
};

// What a stroke types on the layout. The tables are those of the first keyboard type whose range holds
// keyboardType, else of the first one; *deadKeyState is 0 at the beginning of a text and is carried from
// stroke to stroke. A dead key leaves its state there and types nothing, or, with the no-dead-keys
// option, types its accent at once and leaves no state. Releasing a key types nothing, and display
// translates without changing the state. Empty when the data has no keyboard type to translate with.
std::optional<std::u16string> UCKeyTranslate(std::string_view layout, const UCKeyStroke& stroke,
                                             std::uint32_t keyboardType, std::uint32_t options,
                                             std::uint32_t* deadKeyState);

}  // namespace macos

#endif  // MACOS_CARBON_KEYBOARDLAYOUT_H
