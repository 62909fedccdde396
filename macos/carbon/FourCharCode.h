// SPDX-License-Identifier: MIT
//
// Four-character codes (OSType) and the result-code types of the classic interfaces. A code's characters
// are Mac Roman bytes, the first one in the most significant byte. Pure; any thread.
#ifndef MACOS_CARBON_FOURCHARCODE_H
#define MACOS_CARBON_FOURCHARCODE_H

#include <cstdint>
#include <string>

namespace macos {

using OSType = std::uint32_t;
using OSErr = std::int16_t;
using OSStatus = std::int32_t;

inline constexpr OSErr noErr = 0;
inline constexpr OSErr paramErr = -50;

// fourCharCode("MACS") is 0x4D414353.
constexpr OSType fourCharCode(const char (&text)[5]) {
  OSType code = 0;
  for (int i = 0; i < 4; ++i) code = code << 8 | static_cast<unsigned char>(text[i]);
  return code;
}

// The four bytes of a code, in Mac Roman.
inline std::string bytesOfFourCharCode(OSType code) {
  std::string bytes(4, '\0');
  for (int i = 3; i >= 0; --i) {
    bytes[static_cast<std::size_t>(i)] = static_cast<char>(code & 0xFF);
    code >>= 8;
  }
  return bytes;
}

}  // namespace macos

#endif  // MACOS_CARBON_FOURCHARCODE_H
