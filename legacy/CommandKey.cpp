// SPDX-License-Identifier: MIT
#include "legacy/CommandKey.h"

namespace vennick {
namespace {

constexpr std::uint8_t kFirstFunctionKey = 0x40;
constexpr std::uint8_t kLastFunctionKey = 0x7A;
// One bit for each key code from the first on.
constexpr std::uint64_t kFunctionKeys = 0x0542AEBF00018001;

std::uint8_t byteAt(std::string_view bytes, std::size_t index) {
  return static_cast<std::uint8_t>(bytes[index]);
}

}  // namespace

CommandKey CommandKey::decode(std::string_view bytes) {
  CommandKey key;
  key.keyCode = byteAt(bytes, 0);
  key.keySet = byteAt(bytes, 1);
  key.modifiers = static_cast<std::uint16_t>(byteAt(bytes, 2) | byteAt(bytes, 3) << 8);
  for (std::size_t index = kSize; index-- > 4;) {
    key.furtherData = key.furtherData << 8 | byteAt(bytes, index);
  }
  return key;
}

std::string CommandKey::encode() const {
  std::string bytes(kSize, '\0');
  bytes[0] = static_cast<char>(keyCode);
  bytes[1] = static_cast<char>(keySet);
  bytes[2] = static_cast<char>(modifiers & 0xFF);
  bytes[3] = static_cast<char>(modifiers >> 8);
  for (std::size_t index = 0; index < 4; ++index) {
    bytes[4 + index] = static_cast<char>(furtherData >> (8 * index) & 0xFF);
  }
  return bytes;
}

bool CommandKey::isFlaggedFunctionKey() const { return keySet != 0 && isFunctionKey(keyCode); }

CommandKey CommandKey::swapped() const {
  CommandKey key = *this;
  key.modifiers = __builtin_bswap16(modifiers);
  key.furtherData = __builtin_bswap32(furtherData);
  return key;
}

bool isFunctionKey(std::uint8_t keyCode) {
  return keyCode >= kFirstFunctionKey && keyCode <= kLastFunctionKey &&
         (kFunctionKeys >> (keyCode - kFirstFunctionKey) & 1) != 0;
}

}  // namespace vennick
