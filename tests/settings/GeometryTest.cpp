// SPDX-License-Identifier: MIT
#include "settings/Geometry.h"

#include <gtest/gtest.h>

namespace vennick {
namespace {

TEST(Rectangles, AreWrittenWithAsManyDigitsAsANumberNeeds) {
  EXPECT_EQ(NSStringFromRect({0, 0, 100, 20}), "{{0, 0}, {100, 20}}");
  EXPECT_EQ(NSStringFromRect({-12.5, 0.1, 1920, 1080.25}), "{{-12.5, 0.1}, {1920, 1080.25}}");
}

TEST(Rectangles, ComeBackAsTheyWere) {
  const NSRect rect{1.0 / 3, -1e-7, 123456789.125, 2e20};
  EXPECT_EQ(NSRectFromString(NSStringFromRect(rect)), rect);
}

TEST(Rectangles, AreReadInEveryFormThatThePlatformWrote) {
  const NSRect rect{0, 0, 100.5, 20};
  EXPECT_EQ(NSRectFromString("{{0, 0}, {100.5, 20}}"), rect);
  EXPECT_EQ(NSRectFromString("{{0.0, 0.0}, {100.5, 20.0}}"), rect);
  EXPECT_EQ(NSRectFromString("0 0 100.5 20"), rect);
}

TEST(Rectangles, ReadMissingNumbersAsZero) {
  EXPECT_EQ(NSRectFromString("{{7, 8}"), (NSRect{7, 8, 0, 0}));
  EXPECT_EQ(NSRectFromString(""), NSRect());
  EXPECT_EQ(NSRectFromString("rubbish"), NSRect());
  EXPECT_EQ(NSRectFromString("-"), NSRect());
}

// To begin anew at every digit of a number would take hours.
TEST(Rectangles, PassOverANumberThatIsTooLargeAtOnce) {
  const std::string digits(1'000'000, '7');
  EXPECT_EQ(NSRectFromString("{{" + digits + ", 1}, {2, 3}}"), (NSRect{0, 1, 2, 3}));
  EXPECT_EQ(NSRectFromString("{{1, 1e999}, {-1e999, 4}}"), (NSRect{1, 0, 0, 4}));
  EXPECT_EQ(NSRectFromString("{{-inf, -nan}, {1, 2}}"), (NSRect{1, 2, 0, 0}));
}

TEST(Rectangles, BeginANumberAtADigitOrAMinusOnly) {
  EXPECT_EQ(NSRectFromString("{{.5, +3}, {1, 2}}"), (NSRect{5, 3, 1, 2}));
}

}  // namespace
}  // namespace vennick
