// SPDX-License-Identifier: MIT
//
// The version 4 hotkey record: 8 bytes, little-endian; records of the older machines come in the other
// byte order. A value; pure.
#ifndef LEGACY_COMMANDKEY_H
#define LEGACY_COMMANDKEY_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace vennick {

struct CommandKey {
  static constexpr std::size_t kSize = 8;

  std::uint8_t keyCode = 0;  // virtual key code
  std::uint8_t keySet = 0;   // not zero: the key code means something by itself
  std::uint16_t modifiers =
      0;  // command 0x0100, shift 0x0200, caps lock 0x0400, option 0x0800, control 0x1000
  std::uint32_t furtherData = 0;

  // REQUIRES: bytes.size() == kSize
  static CommandKey decode(std::string_view bytes);
  std::string encode() const;

  // Any modifier but caps lock. The bits above control (0x2000, 0x4000, 0x8000) count too, although they
  // translate to nothing later. Deliberate.
  bool hasModifiers() const { return (modifiers & 0xFB00) != 0; }
  // A function key, said to be set: the only keys that need no modifier.
  bool isFlaggedFunctionKey() const;
  bool isPlausible() const { return hasModifiers() || isFlaggedFunctionKey(); }
  // The record read in the other byte order.
  CommandKey swapped() const;

  friend bool operator==(const CommandKey&, const CommandKey&) = default;
};

// F1 to F19. F20 is deliberately not one.
bool isFunctionKey(std::uint8_t keyCode);

}  // namespace vennick

#endif  // LEGACY_COMMANDKEY_H
