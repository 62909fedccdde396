// SPDX-License-Identifier: MIT
#include "macos/foundation/StringFormat.h"

#include <gtest/gtest.h>

namespace macos {
namespace {

TEST(StringFormat, ShowsEachArgumentWhereItsLetterStands) {
  EXPECT_EQ(stringWithFormat("%@ (%d)", {{'@', "report"}, {'d', "2"}}), "report (2)");
  EXPECT_EQ(stringWithFormat("%@ copy", {{'@', "report"}, {'d', "1"}}), "report copy");
}

TEST(StringFormat, AllowsATranslationToChangeTheOrder) {
  EXPECT_EQ(stringWithFormat("%2$d %1$@", {{'@', "report"}, {'d', "2"}}), "2 report");
  EXPECT_EQ(stringWithFormat("%d %@", {{'@', "report"}, {'d', "2"}}), "2 report");
}

TEST(StringFormat, ShowsTwoPercentSignsAsOneAndOtherTextAsItIs) {
  EXPECT_EQ(stringWithFormat("100%% %x %", {{'@', "a"}}), "100% %x %");
  EXPECT_EQ(stringWithFormat("%2$@", {{'@', "a"}}), "%2$@");
}

TEST(StringFormat, DoesNotLookIntoItsArguments) {
  EXPECT_EQ(stringWithFormat("%@%d", {{'@', "%d%%"}, {'d', "1"}}), "%d%%1");
}

}  // namespace
}  // namespace macos
