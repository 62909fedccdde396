// SPDX-License-Identifier: MIT
#include "legacy/AliasChecksum.h"

#include <gtest/gtest.h>

#include <string>

namespace vennick {
namespace {

std::uint16_t sumOf(std::string_view bytes) { return ComputeAliasChecksum(bytes.size(), bytes); }

// Byte i is i modulo 256.
std::string countingBytes(std::size_t length) {
  std::string bytes(length, '\0');
  for (std::size_t i = 0; i < length; ++i) {
    bytes[i] = static_cast<char>(i & 0xFF);
  }
  return bytes;
}

TEST(AliasChecksum, AgreesWithThePublishedCheckValue) { EXPECT_EQ(sumOf("123456789"), 0x29B1); }

TEST(AliasChecksum, OfKnownTexts) {
  EXPECT_EQ(sumOf("A"), 0xB915);
  EXPECT_EQ(sumOf(std::string_view("\0\0", 2)), 0x1D0F);
  EXPECT_EQ(sumOf("alis"), 0xBAEA);
}

TEST(AliasChecksum, OfAnEmptyAliasIsFFFF) { EXPECT_EQ(sumOf(""), 0xFFFF); }

TEST(AliasChecksum, CountsTheLengthIn16BitsOnly) {
  EXPECT_EQ(sumOf(countingBytes(65536)), 0xFFFF);
  EXPECT_EQ(sumOf(countingBytes(65545)), 0x6EDE);
  EXPECT_EQ(sumOf(countingBytes(65545)), sumOf(countingBytes(9)));
  EXPECT_EQ(sumOf(countingBytes(70000)), 0xF446);
  EXPECT_EQ(sumOf(countingBytes(70000)), sumOf(countingBytes(4464)));
}

}  // namespace
}  // namespace vennick
