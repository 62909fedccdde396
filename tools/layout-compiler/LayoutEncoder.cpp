// SPDX-License-Identifier: MIT
#include "tools/layout-compiler/LayoutEncoder.h"

#include <set>

#include "macos/carbon/KeyboardLayout.h"

namespace layout_compiler {

namespace {

// Key-to-character tables in the order of the data. The four that a plain stroke reaches come first.
enum TableNumber : std::uint8_t {
  kPlain,
  kShift,
  kOption,
  kShiftOption,
  kCapsLock,
  kControl,
  kCommand,
  kTableCount
};

constexpr std::uint8_t kCommandBit = 0x01;
constexpr std::uint8_t kShiftBits = 0x02 | 0x20;
constexpr std::uint8_t kCapsLockBit = 0x04;
constexpr std::uint8_t kOptionBits = 0x08 | 0x40;
constexpr std::uint8_t kControlBits = 0x10 | 0x80;

constexpr macos::UCKeyOutput kNothing = 0xFFFF;

TableNumber tableFor(unsigned modifiers) {
  const bool shift = (modifiers & kShiftBits) != 0;
  if ((modifiers & kControlBits) != 0) return kControl;
  if ((modifiers & kOptionBits) != 0) return shift ? kShiftOption : kOption;
  if ((modifiers & kCommandBit) != 0) return kCommand;
  if (shift) return kShift;
  return (modifiers & kCapsLockBit) != 0 ? kCapsLock : kPlain;
}

bool isCapitalOf(char16_t capital, char16_t small) {
  const bool hasCapital =
      (small >= u'a' && small <= u'z') || (small >= 0xE0 && small <= 0xFE && small != 0xF7);
  return hasCapital && capital + 0x20 == small;
}

class Bytes {
 public:
  void u8(unsigned value) { bytes_.push_back(static_cast<char>(value)); }
  void u16(unsigned value) {
    u8(value & 0xFF);
    u8(value >> 8 & 0xFF);
  }
  void u32(std::size_t value) {
    u16(static_cast<unsigned>(value & 0xFFFF));
    u16(static_cast<unsigned>(value >> 16 & 0xFFFF));
  }
  // Fills in a number that was written as 0 before its value was known.
  void setU32(std::size_t place, std::size_t value) {
    for (std::size_t index = 0; index < 4; ++index) {
      bytes_[place + index] = static_cast<char>(value >> 8 * index & 0xFF);
    }
  }
  void align() { bytes_.resize((bytes_.size() + 3) & ~std::size_t{3}); }
  std::size_t size() const { return bytes_.size(); }
  std::string take() { return std::move(bytes_); }

 private:
  std::string bytes_;
};

class Encoder {
 public:
  explicit Encoder(const LayoutTable& table) : table_(table) {
    // Records of the dead keys first, by state, then those of the characters that combine.
    std::set<char16_t> combining;
    for (const DeadKey& key : table.deadKeys) {
      for (const auto& [typed, result] : key.combinations) combining.insert(typed);
    }
    auto number = static_cast<std::uint16_t>(table.deadKeys.size());
    for (const char16_t typed : combining) recordNumbers_[typed] = number++;
  }

  std::string encode() {
    writeHeader();
    writeModifiers();
    writeTables();
    writeRecords();
    writeTerminators();
    writeSequences();
    return bytes_.take();
  }

 private:
  static constexpr std::size_t kFeatureInfoOffset = 4;
  static constexpr std::size_t kModifiersOffset = 20;
  static constexpr std::size_t kTablesOffset = 24;
  static constexpr std::size_t kRecordsOffset = 28;
  static constexpr std::size_t kTerminatorsOffset = 32;
  static constexpr std::size_t kSequencesOffset = 36;

  void writeHeader() {
    bytes_.u16(0x1002);
    bytes_.u16(0);  // data version
    bytes_.u32(0);  // feature info
    bytes_.u32(1);  // one keyboard type, for every keyboard
    bytes_.u32(0);
    bytes_.u32(0);
    for (int offset = 0; offset < 5; ++offset) bytes_.u32(0);
    beginStructure(kFeatureInfoOffset);
    bytes_.u16(0x2001);
    bytes_.u16(0);
    bytes_.u32(2);  // no stroke types more than an accent and a character
  }

  void beginStructure(std::size_t offsetPlace) {
    bytes_.align();
    bytes_.setU32(offsetPlace, bytes_.size());
  }

  void writeModifiers() {
    beginStructure(kModifiersOffset);
    bytes_.u16(0x3001);
    bytes_.u16(kPlain);
    bytes_.u32(256);
    for (unsigned modifiers = 0; modifiers < 256; ++modifiers) bytes_.u8(tableFor(modifiers));
  }

  void writeTables() {
    beginStructure(kTablesOffset);
    bytes_.u16(0x4001);
    bytes_.u16(kKeyCount);
    bytes_.u32(kTableCount);
    const std::size_t offsets = bytes_.size();
    for (int table = 0; table < kTableCount; ++table) bytes_.u32(0);
    for (std::uint8_t table = 0; table < kTableCount; ++table) {
      bytes_.setU32(offsets + 4 * std::size_t{table}, bytes_.size());
      for (const auto& row : table_.keys) {
        bytes_.u16(row ? output(*row, static_cast<TableNumber>(table)) : kNothing);
      }
    }
  }

  macos::UCKeyOutput output(const KeyRow& row, TableNumber table) const {
    switch (table) {
      case kPlain:
        return composing(row.plain);
      case kShift:
        return composing(row.shift);
      case kOption:
        return composing(row.option);
      case kShiftOption:
        return composing(row.shiftOption);
      case kCapsLock:
        return composing(capsLock(row));
      case kControl:
        return alone(control(row));
      default:
        return alone(row.plain);
    }
  }

  static Cell capsLock(const KeyRow& row) {
    if (row.caps) return *row.caps;
    return isCapitalOf(row.shift.character, row.plain.character) ? row.shift : row.plain;
  }

  static Cell control(const KeyRow& row) {
    if (row.control) return *row.control;
    const char16_t plain = row.plain.character;
    if (plain >= u'a' && plain <= u'z') return {static_cast<char16_t>(plain - u'a' + 1), 0};
    return row.plain;
  }

  // In a table where dead keys work.
  macos::UCKeyOutput composing(const Cell& cell) const {
    if (cell.isNothing()) return kNothing;
    if (cell.isDeadKey()) return macos::kUCKeyOutputStateIndexMask | (cell.deadKeyState - 1U);
    const auto record = recordNumbers_.find(cell.character);
    if (record == recordNumbers_.end()) return cell.character;
    return macos::kUCKeyOutputStateIndexMask | record->second;
  }

  // In a table where they do not.
  macos::UCKeyOutput alone(const Cell& cell) const {
    if (cell.isNothing()) return kNothing;
    return cell.isDeadKey() ? table_.deadKeys[cell.deadKeyState - 1U].accent : cell.character;
  }

  void writeRecords() {
    beginStructure(kRecordsOffset);
    const std::size_t count = table_.deadKeys.size() + recordNumbers_.size();
    bytes_.u16(0x5001);
    bytes_.u16(static_cast<unsigned>(count));
    std::size_t place = bytes_.size();
    for (std::size_t record = 0; record < count; ++record) bytes_.u32(0);
    for (std::size_t state = 1; state <= table_.deadKeys.size(); ++state, place += 4) {
      beginStructure(place);
      writeRecordHeader(kNothing, state, 0, 0);
    }
    for (const auto& [typed, number] : recordNumbers_) {
      beginStructure(place);
      place += 4;
      writeRecordHeader(typed, 0, table_.deadKeys.size(), macos::kUCKeyStateEntryTerminalFormat);
      for (std::size_t state = 1; state <= table_.deadKeys.size(); ++state) {
        bytes_.u16(static_cast<unsigned>(state));
        bytes_.u16(combination(table_.deadKeys[state - 1], typed));
      }
    }
  }

  void writeRecordHeader(char16_t character, std::size_t nextState, std::size_t entryCount,
                         std::uint16_t format) {
    bytes_.u16(character);
    bytes_.u16(static_cast<unsigned>(nextState));
    bytes_.u16(static_cast<unsigned>(entryCount));
    bytes_.u16(format);
  }

  macos::UCKeyOutput combination(const DeadKey& key, char16_t typed) {
    if (const auto found = key.combinations.find(typed); found != key.combinations.end()) {
      return found->second;
    }
    const std::u16string text{key.accent, typed};
    const auto next = static_cast<std::uint16_t>(sequenceOrder_.size());
    const auto [place, isNew] = sequenceNumbers_.emplace(text, next);
    if (isNew) sequenceOrder_.push_back(text);
    return macos::kUCKeyOutputSequenceIndexMask | place->second;
  }

  void writeTerminators() {
    beginStructure(kTerminatorsOffset);
    bytes_.u16(0x6001);
    bytes_.u16(static_cast<unsigned>(table_.deadKeys.size()));
    for (const DeadKey& key : table_.deadKeys) bytes_.u16(key.accent);
  }

  void writeSequences() {
    beginStructure(kSequencesOffset);
    bytes_.u16(0x7001);
    bytes_.u16(static_cast<unsigned>(sequenceOrder_.size()));
    std::size_t offset = 4 + 2 * (sequenceOrder_.size() + 1);
    bytes_.u16(static_cast<unsigned>(offset));
    for (const std::u16string& text : sequenceOrder_) {
      bytes_.u16(static_cast<unsigned>(offset += 2 * text.size()));
    }
    for (const std::u16string& text : sequenceOrder_) {
      for (const char16_t unit : text) bytes_.u16(unit);
    }
    bytes_.align();
  }

  const LayoutTable& table_;
  Bytes bytes_;
  std::map<char16_t, std::uint16_t> recordNumbers_;
  std::map<std::u16string, std::uint16_t> sequenceNumbers_;
  std::vector<std::u16string> sequenceOrder_;
};

}  // namespace

std::string encodeLayout(const LayoutTable& table) { return Encoder(table).encode(); }

}  // namespace layout_compiler
