// SPDX-License-Identifier: MIT
#include "tests/support/KeyboardLayoutSketch.h"

#include <fstream>
#include <iterator>

namespace vennick::tests {

namespace {

void u16(std::string* bytes, unsigned value) {
  bytes->push_back(static_cast<char>(value & 0xFF));
  bytes->push_back(static_cast<char>(value >> 8 & 0xFF));
}

void u32(std::string* bytes, std::size_t value) {
  u16(bytes, static_cast<unsigned>(value & 0xFFFF));
  u16(bytes, static_cast<unsigned>(value >> 16 & 0xFFFF));
}

std::uint16_t loadU16(const std::string& bytes, std::size_t place) {
  return static_cast<std::uint16_t>(loadU32(bytes, place - 2) >> 16);
}

// Aligns, and stores where the structure begins.
void begin(std::string* bytes, std::size_t place) {
  while (bytes->size() % 4 != 0) bytes->push_back('\0');
  storeU32(bytes, place, static_cast<std::uint32_t>(bytes->size()));
}

void addModifiers(const TypeSketch& type, std::string* bytes, std::size_t place) {
  begin(bytes, place);
  u16(bytes, 0x3001);
  u16(bytes, type.defaultTable);
  u32(bytes, type.modifierCount.value_or(static_cast<std::uint32_t>(type.modifiers.size())));
  bytes->append(type.modifiers.begin(), type.modifiers.end());
}

void addTables(const TypeSketch& type, std::string* bytes, std::size_t place) {
  begin(bytes, place);
  u16(bytes, 0x4001);
  u16(bytes, type.tableSize);
  u32(bytes, type.tables.size());
  std::size_t offset = bytes->size();
  bytes->resize(bytes->size() + 4 * type.tables.size());
  for (const auto& table : type.tables) {
    if (table) {
      begin(bytes, offset);
      for (std::size_t key = 0; key < type.tableSize; ++key) {
        u16(bytes, key < table->size() ? (*table)[key] : 0xFFFF);
      }
    }
    offset += 4;
  }
}

void addRecords(const TypeSketch& type, std::string* bytes, std::size_t place) {
  begin(bytes, place);
  u16(bytes, 0x5001);
  u16(bytes, static_cast<unsigned>(type.records.size()));
  std::size_t offset = bytes->size();
  bytes->resize(bytes->size() + 4 * type.records.size());
  for (const auto& record : type.records) {
    if (record) {
      begin(bytes, offset);
      u16(bytes, record->character);
      u16(bytes, record->nextState);
      u16(bytes, static_cast<unsigned>(record->entries.size()));
      u16(bytes, record->format);
      for (const auto& entry : record->entries) {
        for (const std::uint16_t word : entry) u16(bytes, word);
      }
    }
    offset += 4;
  }
}

void addTerminators(const TypeSketch& type, std::string* bytes, std::size_t place) {
  begin(bytes, place);
  u16(bytes, 0x6001);
  u16(bytes, static_cast<unsigned>(type.terminators.size()));
  for (const std::uint16_t terminator : type.terminators) u16(bytes, terminator);
}

void addSequences(const TypeSketch& type, std::string* bytes, std::size_t place) {
  begin(bytes, place);
  u16(bytes, 0x7001);
  u16(bytes, static_cast<unsigned>(type.sequences.size()));
  std::size_t offset = 4 + 2 * (type.sequences.size() + 1);
  u16(bytes, static_cast<unsigned>(offset));
  for (const std::u16string& text : type.sequences) {
    u16(bytes, static_cast<unsigned>(offset += 2 * text.size()));
  }
  for (const std::u16string& text : type.sequences) {
    for (const char16_t unit : text) u16(bytes, unit);
  }
}

}  // namespace

std::string LayoutSketch::data() const {
  std::string bytes;
  u16(&bytes, 0x1002);
  u16(&bytes, 0);
  u32(&bytes, 0);
  u32(&bytes, types.size());
  for (const TypeSketch& type : types) {
    u32(&bytes, type.first);
    u32(&bytes, type.last);
    bytes.resize(bytes.size() + 20);
  }
  std::size_t place = 12 + 8;
  for (const TypeSketch& type : types) {
    if (!type.modifiers.empty()) addModifiers(type, &bytes, place);
    addTables(type, &bytes, place + 4);
    if (!type.records.empty()) addRecords(type, &bytes, place + 8);
    if (!type.terminators.empty()) addTerminators(type, &bytes, place + 12);
    if (!type.sequences.empty()) addSequences(type, &bytes, place + 16);
    place += 28;
  }
  return bytes;
}

TypeSketch typeWithTables(std::vector<std::uint16_t> plain, std::vector<std::uint16_t> shift,
                          std::vector<std::uint16_t> option, std::vector<std::uint16_t> shiftOption) {
  TypeSketch type;
  type.modifiers = {0, 9, 1, 9, 9, 9, 9, 9, 2, 9, 3, 9};
  type.tables = {std::move(plain), std::move(shift), std::move(option), std::move(shiftOption)};
  return type;
}

std::vector<std::size_t> offsetPlaces(const std::string& layout) {
  std::vector<std::size_t> places{4};
  for (std::size_t type = 0; type < loadU32(layout, 8); ++type) {
    const std::size_t header = 12 + 28 * type;
    for (std::size_t field = 8; field < 28; field += 4) places.push_back(header + field);
    const std::size_t tables = loadU32(layout, header + 12);
    for (std::size_t table = 0; table < loadU32(layout, tables + 4); ++table) {
      places.push_back(tables + 8 + 4 * table);
    }
    const std::size_t records = loadU32(layout, header + 16);
    if (records == 0) continue;
    for (std::size_t record = 0; record < loadU16(layout, records + 2); ++record) {
      places.push_back(records + 4 + 4 * record);
    }
  }
  return places;
}

void storeU32(std::string* bytes, std::size_t place, std::uint32_t value) {
  for (std::size_t index = 0; index < 4; ++index) {
    (*bytes)[place + index] = static_cast<char>(value >> 8 * index & 0xFF);
  }
}

std::uint32_t loadU32(const std::string& bytes, std::size_t place) {
  std::uint32_t value = 0;
  for (std::size_t index = 4; index-- > 0;) {
    value = value << 8 | static_cast<std::uint8_t>(bytes.at(place + index));
  }
  return value;
}

std::string compiledLayout(const std::string& name) {
  std::ifstream file(VENNICK_BUILD "/Keyboard Layouts/" + name + ".uchr", std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

}  // namespace vennick::tests
