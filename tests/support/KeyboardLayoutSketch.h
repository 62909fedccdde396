// SPDX-License-Identifier: MIT
//
// Makes small 'uchr' data for tests, by hand and on purpose also wrong. Shares no code with the reader
// or with the layout compiler.
#ifndef TESTS_SUPPORT_KEYBOARDLAYOUTSKETCH_H
#define TESTS_SUPPORT_KEYBOARDLAYOUTSKETCH_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vennick::tests {

struct RecordSketch {
  std::uint16_t character = 0xFFFF;
  std::uint16_t nextState = 0;
  std::uint16_t format = 0;
  // Terminal entries {state, character}; range entries {start, range | multiplier << 8, character, next}.
  std::vector<std::vector<std::uint16_t>> entries;
};

// One keyboard type with its structures. What is left empty has offset 0, the tables excepted.
struct TypeSketch {
  std::uint32_t first = 0;
  std::uint32_t last = 0;
  std::vector<std::uint8_t> modifiers;         // by modifier byte
  std::optional<std::uint32_t> modifierCount;  // when it is to differ from the length
  std::uint16_t defaultTable = 0;
  std::uint16_t tableSize = 4;
  // Tables shorter than the size are filled up with 0xFFFF; an absent one has offset 0.
  std::vector<std::optional<std::vector<std::uint16_t>>> tables;
  std::vector<std::optional<RecordSketch>> records;  // an absent one has offset 0
  std::vector<std::uint16_t> terminators;
  std::vector<std::u16string> sequences;
};

struct LayoutSketch {
  std::vector<TypeSketch> types;

  std::string data() const;
};

// Four one-combination tables for plain, shift, option and shift-option, in this order.
TypeSketch typeWithTables(std::vector<std::uint16_t> plain, std::vector<std::uint16_t> shift = {},
                          std::vector<std::uint16_t> option = {},
                          std::vector<std::uint16_t> shiftOption = {});

// Every 32-bit offset field of well-formed data: the places where they are stored.
std::vector<std::size_t> offsetPlaces(const std::string& layout);
void storeU32(std::string* bytes, std::size_t place, std::uint32_t value);
std::uint32_t loadU32(const std::string& bytes, std::size_t place);

// A layout that the build has compiled, "US" for example; empty when it is not there.
std::string compiledLayout(const std::string& name);

}  // namespace vennick::tests

#endif  // TESTS_SUPPORT_KEYBOARDLAYOUTSKETCH_H
