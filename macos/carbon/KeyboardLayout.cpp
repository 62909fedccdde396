// SPDX-License-Identifier: MIT
#include "macos/carbon/KeyboardLayout.h"

namespace macos {

namespace {

constexpr std::size_t kHeaderSize = 12;
constexpr std::size_t kTypeHeaderSize = 28;
constexpr std::size_t kModifiersHeaderSize = 8;
constexpr std::size_t kTableIndexHeaderSize = 8;
constexpr std::size_t kRecordsIndexHeaderSize = 4;
constexpr std::size_t kRecordHeaderSize = 8;
constexpr std::size_t kTerminatorsHeaderSize = 4;
constexpr std::size_t kSequencesHeaderSize = 4;
constexpr std::size_t kTerminalEntrySize = 4;
constexpr std::size_t kRangeEntrySize = 8;

std::uint8_t byteAt(std::string_view bytes, std::size_t offset) {
  return static_cast<std::uint8_t>(bytes[offset]);
}

std::uint16_t u16At(std::string_view bytes, std::size_t offset) {
  return static_cast<std::uint16_t>(byteAt(bytes, offset) | byteAt(bytes, offset + 1) << 8);
}

std::uint32_t u32At(std::string_view bytes, std::size_t offset) {
  return u16At(bytes, offset) | static_cast<std::uint32_t>(u16At(bytes, offset + 2)) << 16;
}

// Offsets and sizes stay below 2^35 here, so that 64-bit sums cannot wrap.
bool lies(std::string_view data, std::uint64_t offset, std::uint64_t size) {
  return offset + size <= data.size();
}

// The data from an offset to its end; empty when the offset is 0 or fewer than size bytes are left.
std::string_view structureAt(std::string_view data, std::uint32_t offset, std::size_t size) {
  return offset != 0 && lies(data, offset, size) ? data.substr(offset) : std::string_view();
}

}  // namespace

std::uint32_t UCKeyboardLayout::keyboardTypeCount() const {
  return lies(data_, 0, kHeaderSize) ? u32At(data_, 8) : 0;
}

std::optional<UCKeyboardTypeHeader> UCKeyboardLayout::keyboardType(std::uint32_t index) const {
  const std::uint64_t offset = kHeaderSize + std::uint64_t{index} * kTypeHeaderSize;
  if (!lies(data_, offset, kTypeHeaderSize)) return std::nullopt;
  const std::string_view bytes = data_.substr(offset);
  return UCKeyboardTypeHeader{u32At(bytes, 0),  u32At(bytes, 4),  u32At(bytes, 8), u32At(bytes, 12),
                              u32At(bytes, 16), u32At(bytes, 20), u32At(bytes, 24)};
}

UCKeyModifiersToTableNum::UCKeyModifiersToTableNum(std::string_view data, std::uint32_t offset)
    : bytes_(structureAt(data, offset, kModifiersHeaderSize)) {}

std::uint16_t UCKeyModifiersToTableNum::defaultTableNum() const { return isNull() ? 0 : u16At(bytes_, 2); }

std::uint32_t UCKeyModifiersToTableNum::modifiersCount() const { return isNull() ? 0 : u32At(bytes_, 4); }

std::optional<std::uint8_t> UCKeyModifiersToTableNum::tableNum(std::uint32_t position) const {
  const std::uint64_t offset = kModifiersHeaderSize + std::uint64_t{position};
  if (!lies(bytes_, offset, 1)) return std::nullopt;
  return byteAt(bytes_, offset);
}

UCKeyOutput UCKeyToCharTable::output(std::uint32_t key) const { return u16At(bytes_, std::size_t{key} * 2); }

UCKeyToCharTableIndex::UCKeyToCharTableIndex(std::string_view data, std::uint32_t offset) {
  const std::string_view bytes = structureAt(data, offset, kTableIndexHeaderSize);
  if (bytes.empty() || !lies(bytes, kTableIndexHeaderSize, std::uint64_t{u32At(bytes, 4)} * 4)) return;
  data_ = data;
  offset_ = offset;
}

std::uint16_t UCKeyToCharTableIndex::keyToCharTableSize() const {
  return isNull() ? 0 : u16At(data_, std::size_t{offset_} + 2);
}

std::uint32_t UCKeyToCharTableIndex::keyToCharTableCount() const {
  return isNull() ? 0 : u32At(data_, std::size_t{offset_} + 4);
}

UCKeyToCharTable UCKeyToCharTableIndex::table(std::uint32_t number) const {
  if (number >= keyToCharTableCount()) return {};
  const std::uint32_t offset =
      u32At(data_, std::size_t{offset_} + kTableIndexHeaderSize + std::size_t{number} * 4);
  const std::size_t size = std::size_t{keyToCharTableSize()} * 2;
  return UCKeyToCharTable(structureAt(data_, offset, size).substr(0, size));
}

UCKeyStateRecord::UCKeyStateRecord(std::string_view data, std::uint32_t offset)
    : bytes_(structureAt(data, offset, kRecordHeaderSize)) {
  if (isNull()) return;
  std::uint64_t entriesSize = 0;
  if (stateEntryFormat() == kUCKeyStateEntryTerminalFormat) {
    entriesSize = stateEntryCount() * kTerminalEntrySize;
  }
  if (stateEntryFormat() == kUCKeyStateEntryRangeFormat) entriesSize = stateEntryCount() * kRangeEntrySize;
  if (!lies(bytes_, kRecordHeaderSize, entriesSize)) bytes_ = {};
}

UCKeyOutput UCKeyStateRecord::stateZeroCharData() const { return u16At(bytes_, 0); }
std::uint16_t UCKeyStateRecord::stateZeroNextState() const { return u16At(bytes_, 2); }
std::uint16_t UCKeyStateRecord::stateEntryCount() const { return u16At(bytes_, 4); }
std::uint16_t UCKeyStateRecord::stateEntryFormat() const { return u16At(bytes_, 6); }

UCKeyStateEntryTerminal UCKeyStateRecord::terminalEntry(std::uint16_t index) const {
  const std::size_t offset = kRecordHeaderSize + index * kTerminalEntrySize;
  return {u16At(bytes_, offset), u16At(bytes_, offset + 2)};
}

UCKeyStateEntryRange UCKeyStateRecord::rangeEntry(std::uint16_t index) const {
  const std::size_t offset = kRecordHeaderSize + index * kRangeEntrySize;
  return {u16At(bytes_, offset), byteAt(bytes_, offset + 2), byteAt(bytes_, offset + 3),
          u16At(bytes_, offset + 4), u16At(bytes_, offset + 6)};
}

UCKeyStateRecordsIndex::UCKeyStateRecordsIndex(std::string_view data, std::uint32_t offset) {
  const std::string_view bytes = structureAt(data, offset, kRecordsIndexHeaderSize);
  if (bytes.empty() || !lies(bytes, kRecordsIndexHeaderSize, std::uint64_t{u16At(bytes, 2)} * 4)) return;
  data_ = data;
  offset_ = offset;
}

std::uint16_t UCKeyStateRecordsIndex::keyStateRecordCount() const {
  return isNull() ? 0 : u16At(data_, std::size_t{offset_} + 2);
}

UCKeyStateRecord UCKeyStateRecordsIndex::record(std::uint16_t number) const {
  if (number >= keyStateRecordCount()) return {};
  const std::size_t place = std::size_t{offset_} + kRecordsIndexHeaderSize + std::size_t{number} * 4;
  return {data_, u32At(data_, place)};
}

UCKeyStateTerminators::UCKeyStateTerminators(std::string_view data, std::uint32_t offset)
    : bytes_(structureAt(data, offset, kTerminatorsHeaderSize)) {
  if (!isNull() && !lies(bytes_, kTerminatorsHeaderSize, std::uint64_t{u16At(bytes_, 2)} * 2)) bytes_ = {};
}

std::optional<UCKeyOutput> UCKeyStateTerminators::terminator(std::uint32_t state) const {
  if (isNull() || state == 0 || state > u16At(bytes_, 2)) return std::nullopt;
  return u16At(bytes_, kTerminatorsHeaderSize + std::size_t{state - 1} * 2);
}

UCKeySequenceDataIndex::UCKeySequenceDataIndex(std::string_view data, std::uint32_t offset)
    : bytes_(structureAt(data, offset, kSequencesHeaderSize)) {
  if (!isNull() && !lies(bytes_, kSequencesHeaderSize, (std::uint64_t{u16At(bytes_, 2)} + 1) * 2)) {
    bytes_ = {};
  }
}

std::uint16_t UCKeySequenceDataIndex::charSequenceCount() const { return isNull() ? 0 : u16At(bytes_, 2); }

std::u16string UCKeySequenceDataIndex::sequence(std::uint16_t number) const {
  std::u16string text;
  if (number >= charSequenceCount()) return text;
  const std::size_t place = kSequencesHeaderSize + std::size_t{number} * 2;
  const std::size_t start = u16At(bytes_, place);
  const std::size_t end = u16At(bytes_, place + 2);
  if (start > end || !lies(bytes_, end, 0)) return text;
  for (std::size_t offset = start; offset + 1 < end; offset += 2) text.push_back(u16At(bytes_, offset));
  return text;
}

namespace {

UCKeyboardTypeHeader chooseKeyboardType(const UCKeyboardLayout& layout, UCKeyboardTypeHeader first,
                                        std::uint32_t keyboardType) {
  for (std::uint32_t index = 0; index < layout.keyboardTypeCount(); ++index) {
    const auto type = layout.keyboardType(index);
    if (!type) break;
    if (type->keyboardTypeFirst <= keyboardType && keyboardType <= type->keyboardTypeLast) return *type;
  }
  return first;
}

// Plays strokes over the tables of one keyboard type.
class Translator {
 public:
  Translator(std::string_view data, const UCKeyboardTypeHeader& type, std::uint32_t deadKeyState)
      : modifiers_(data, type.keyModifiersToTableNumOffset),
        tables_(data, type.keyToCharTableIndexOffset),
        records_(data, type.keyStateRecordsIndexOffset),
        terminators_(data, type.keyStateTerminatorsOffset),
        sequences_(data, type.keySequenceDataIndexOffset),
        state_(deadKeyState) {}

  void press(const UCKeyStroke& stroke, bool withDeadKeys) {
    const UCKeyOutput output = outputOf(stroke);
    const std::uint16_t recordNumber = output & kUCKeyOutputGetIndexMask;
    if (isStateRecordIndex(output) && recordNumber < records_.keyStateRecordCount()) {
      if (const UCKeyStateRecord record = records_.record(recordNumber); !record.isNull()) {
        playRecord(record, withDeadKeys);
        return;
      }
      endState();
      return;
    }
    endState();
    type(output);
  }

  std::uint32_t state() const { return state_; }
  std::u16string takeText() { return std::move(text_); }

 private:
  UCKeyOutput outputOf(const UCKeyStroke& stroke) const {
    if (modifiers_.isNull()) return 0xFFFF;
    std::uint32_t number = modifiers_.defaultTableNum();
    if (stroke.modifierKeyState < modifiers_.modifiersCount()) {
      const auto chosen = modifiers_.tableNum(stroke.modifierKeyState);
      if (!chosen) return 0xFFFF;
      number = *chosen;
    }
    const UCKeyToCharTable table = tables_.table(number);
    return stroke.virtualKeyCode < table.size() ? table.output(stroke.virtualKeyCode) : UCKeyOutput{0xFFFF};
  }

  void playRecord(const UCKeyStateRecord& record, bool withDeadKeys) {
    if (state_ != 0 && playEntry(record)) return;
    endState();
    type(record.stateZeroCharData());
    const std::uint16_t next = record.stateZeroNextState();
    if (withDeadKeys) {
      state_ = next;
    } else if (next != 0 && isNoOutput(record.stateZeroCharData())) {
      typeTerminator(next);
    }
  }

  bool playEntry(const UCKeyStateRecord& record) {
    const std::uint16_t format = record.stateEntryFormat();
    if (format != kUCKeyStateEntryTerminalFormat && format != kUCKeyStateEntryRangeFormat) return false;
    for (std::uint16_t index = 0; index < record.stateEntryCount(); ++index) {
      if (format == kUCKeyStateEntryTerminalFormat) {
        const UCKeyStateEntryTerminal entry = record.terminalEntry(index);
        if (entry.curState != state_) continue;
        type(entry.charData);
        state_ = 0;
        return true;
      }
      const UCKeyStateEntryRange entry = record.rangeEntry(index);
      if (state_ < entry.curStateStart || state_ - entry.curStateStart > entry.curStateRange) continue;
      const std::uint32_t delta = (state_ - entry.curStateStart) * entry.deltaMultiplier;
      if (!isNoOutput(entry.charData)) type(static_cast<UCKeyOutput>(entry.charData + delta));
      state_ = entry.nextState == 0 ? 0 : static_cast<std::uint16_t>(entry.nextState + delta);
      return true;
    }
    return false;
  }

  // A state that nothing combined with types its accent and is over.
  void endState() {
    typeTerminator(state_);
    state_ = 0;
  }

  void typeTerminator(std::uint32_t state) {
    if (const auto terminator = terminators_.terminator(state)) type(*terminator);
  }

  void type(UCKeyOutput output) {
    if (isNoOutput(output)) return;
    const std::uint16_t number = output & kUCKeyOutputGetIndexMask;
    if (isSequenceIndex(output) && number < sequences_.charSequenceCount()) {
      text_ += sequences_.sequence(number);
    } else {
      text_.push_back(output);
    }
  }

  UCKeyModifiersToTableNum modifiers_;
  UCKeyToCharTableIndex tables_;
  UCKeyStateRecordsIndex records_;
  UCKeyStateTerminators terminators_;
  UCKeySequenceDataIndex sequences_;
  std::uint32_t state_;
  std::u16string text_;
};

}  // namespace

std::optional<std::u16string> UCKeyTranslate(std::string_view layout, const UCKeyStroke& stroke,
                                             std::uint32_t keyboardType, std::uint32_t options,
                                             std::uint32_t* deadKeyState) {
  const UCKeyboardLayout header(layout);
  const auto first = header.keyboardType(0);
  if (header.keyboardTypeCount() == 0 || !first) return std::nullopt;
  if (stroke.keyAction == kUCKeyActionUp) return std::u16string();

  Translator translator(layout, chooseKeyboardType(header, *first, keyboardType), *deadKeyState);
  translator.press(stroke, (options & kUCKeyTranslateNoDeadKeysMask) == 0);
  if (stroke.keyAction != kUCKeyActionDisplay) *deadKeyState = translator.state();
  return translator.takeText();
}

}  // namespace macos
