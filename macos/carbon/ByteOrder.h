// SPDX-License-Identifier: MIT
//
// Integers in byte strings, in either byte order, for the codecs. Readers need a range that was checked
// with holdsRange() first. Pure; any thread.
#ifndef MACOS_CARBON_BYTEORDER_H
#define MACOS_CARBON_BYTEORDER_H

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>

namespace macos {

// Whether length bytes at the offset lie inside; safe for every pair of numbers.
constexpr bool holdsRange(std::string_view bytes, std::uint64_t offset, std::uint64_t length) {
  return offset <= bytes.size() && length <= bytes.size() - offset;
}

// REQUIRES: holdsRange(bytes, offset, sizeof(T))
template <std::integral T>
constexpr T readBigEndian(std::string_view bytes, std::size_t offset) {
  std::make_unsigned_t<T> value = 0;
  for (std::size_t i = 0; i < sizeof(T); ++i) {
    value = static_cast<std::make_unsigned_t<T>>(std::uint64_t{value} << 8 |
                                                 static_cast<unsigned char>(bytes[offset + i]));
  }
  return static_cast<T>(value);
}

// REQUIRES: holdsRange(bytes, offset, sizeof(T))
template <std::integral T>
constexpr T readLittleEndian(std::string_view bytes, std::size_t offset) {
  std::make_unsigned_t<T> value = 0;
  for (std::size_t i = sizeof(T); i-- > 0;) {
    value = static_cast<std::make_unsigned_t<T>>(std::uint64_t{value} << 8 |
                                                 static_cast<unsigned char>(bytes[offset + i]));
  }
  return static_cast<T>(value);
}

template <std::integral T>
void appendBigEndian(std::string& out, T value) {
  for (std::size_t i = sizeof(T); i-- > 0;) {
    out.push_back(static_cast<char>(static_cast<std::uint64_t>(value) >> (8 * i)));
  }
}

template <std::integral T>
void appendLittleEndian(std::string& out, T value) {
  for (std::size_t i = 0; i < sizeof(T); ++i) {
    out.push_back(static_cast<char>(static_cast<std::uint64_t>(value) >> (8 * i)));
  }
}

// REQUIRES: holdsRange(bytes, offset, sizeof(T))
template <std::integral T>
void writeBigEndian(std::string& bytes, std::size_t offset, T value) {
  for (std::size_t i = 0; i < sizeof(T); ++i) {
    bytes[offset + i] = static_cast<char>(static_cast<std::uint64_t>(value) >> (8 * (sizeof(T) - 1 - i)));
  }
}

// REQUIRES: holdsRange(bytes, offset, sizeof(T))
template <std::integral T>
void writeLittleEndian(std::string& bytes, std::size_t offset, T value) {
  for (std::size_t i = 0; i < sizeof(T); ++i) {
    bytes[offset + i] = static_cast<char>(static_cast<std::uint64_t>(value) >> (8 * i));
  }
}

}  // namespace macos

#endif  // MACOS_CARBON_BYTEORDER_H
