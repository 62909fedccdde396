// SPDX-License-Identifier: MIT
#include "macos/carbon/FourCharCode.h"

#include <gtest/gtest.h>

namespace macos {
namespace {

TEST(FourCharCode, TheFirstCharacterIsTheMostSignificantByte) {
  static_assert(fourCharCode("MACS") == 0x4D414353);
  EXPECT_EQ(fourCharCode("\xC4  a"), 0xC4202061U);
}

TEST(FourCharCode, BytesComeBack) {
  EXPECT_EQ(bytesOfFourCharCode(0x4D414353), "MACS");
  EXPECT_EQ(bytesOfFourCharCode(0), std::string(4, '\0'));
  EXPECT_EQ(bytesOfFourCharCode(0xFF000001), std::string("\xFF\0\0\x01", 4));
}

}  // namespace
}  // namespace macos
