// SPDX-License-Identifier: MIT
//
// A keyboard layout as a person writes it down: what each key types with which modifiers, and what the
// dead keys combine to. The format is described in resources/keyboards/README.md. Plain values.
#ifndef TOOLS_LAYOUT_COMPILER_LAYOUTTABLE_H
#define TOOLS_LAYOUT_COMPILER_LAYOUTTABLE_H

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "macos/host/Status.h"

namespace layout_compiler {

inline constexpr std::size_t kKeyCount = 128;

struct DeadKey {
  std::string name;
  char16_t accent = 0;
  std::map<char16_t, char16_t> combinations;  // what is typed after it, and the result
};

// What a key types in one table: nothing, a character, or a dead key's state (1 for the first one).
struct Cell {
  char16_t character = 0;
  std::uint16_t deadKeyState = 0;

  bool isDeadKey() const { return deadKeyState != 0; }
  bool isNothing() const { return character == 0 && deadKeyState == 0; }
};

struct KeyRow {
  Cell plain;
  Cell shift;
  Cell option;
  Cell shiftOption;
  std::optional<Cell> caps;
  std::optional<Cell> control;
};

struct LayoutTable {
  std::string name;
  std::string identifier;
  std::vector<DeadKey> deadKeys;
  std::array<std::optional<KeyRow>, kKeyCount> keys;
};

// Reads a layout's text, on top of what specialKeys says of the keys that all layouts share. The message
// of a failure names the line.
macos::Result<LayoutTable> parseLayoutTable(std::string_view specialKeys, std::string_view text);

}  // namespace layout_compiler

#endif  // TOOLS_LAYOUT_COMPILER_LAYOUTTABLE_H
