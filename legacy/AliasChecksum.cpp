// SPDX-License-Identifier: MIT
#include "legacy/AliasChecksum.h"

#include <array>

namespace vennick {
namespace {

constexpr std::uint16_t kPolynomial = 0x1021;
constexpr std::uint16_t kInitial = 0xFFFF;

constexpr std::array<std::uint16_t, 256> makeTable() {
  std::array<std::uint16_t, 256> table{};
  for (std::size_t byte = 0; byte < table.size(); ++byte) {
    auto remainder = static_cast<std::uint16_t>(byte << 8);
    for (int bit = 0; bit < 8; ++bit) {
      const bool carries = (remainder & 0x8000) != 0;
      remainder = static_cast<std::uint16_t>((remainder << 1) ^ (carries ? kPolynomial : 0));
    }
    table[byte] = remainder;
  }
  return table;
}

constexpr auto kTable = makeTable();

}  // namespace

std::uint16_t ComputeAliasChecksum(std::size_t length, std::string_view bytes) {
  std::uint16_t sum = kInitial;
  for (const char c : bytes.substr(0, static_cast<std::uint16_t>(length))) {
    const auto index = static_cast<std::uint8_t>((sum >> 8) ^ static_cast<std::uint8_t>(c));
    sum = static_cast<std::uint16_t>((sum << 8) ^ kTable[index]);
  }
  return sum;
}

}  // namespace vennick
