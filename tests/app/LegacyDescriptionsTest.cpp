// SPDX-License-Identifier: MIT
//
// Version 4 items as log lines show them.
#include "app/LegacyDescriptions.h"

#include <gtest/gtest.h>

namespace vennick {
namespace {

using macos::Array;
using macos::Dictionary;
using macos::Value;

Dictionary item(std::string_view name, std::size_t aliasSize) {
  return {{"Name", Value(name)}, {"Alias", Value::fromData(std::string(aliasSize, 'x'))}};
}

TEST(LegacyDescriptions, ShowEachNameAndTheByteCountOfItsAlias) {
  const Array stored{Value(item("Projects", 298)), Value(Dictionary{{"Name", Value("Music")}}),
                     Value("text")};
  EXPECT_EQ(descriptionOfItems(itemArrayFromArray(stored)),
            "(Projects [alias, 298 bytes], Music [no alias], [no item])");
  EXPECT_EQ(descriptionOfItems(Dictionary{{"ttxt", Value(item("Letters", 310))}, {"x", Value(1)}}),
            "{ttxt = Letters [alias, 310 bytes], x = [no item]}");
}

TEST(LegacyDescriptions, ShowWhatIsEmptyAndWhatIsNotThere) {
  EXPECT_EQ(descriptionOfItems(itemArrayFromArray(Array())), "()");
  EXPECT_EQ(descriptionOfItems(LegacyItemArray()), "(null)");
  EXPECT_EQ(descriptionOfItems(Dictionary()), "{}");
}

// 100,000 favorites with aliases of a kilobyte: the line holds names and counts, never the bytes.
TEST(LegacyDescriptions, DoNotGrowWithTheBytesOfTheAliases) {
  const Value stored(item("Favorite", 1024));
  Array many;
  many.reserve(100'000);
  for (int count = 0; count < 100'000; ++count) many.append(stored);
  const std::string text = descriptionOfItems(itemArrayFromArray(many));
  EXPECT_LT(text.size(), 100'000U * 32);
  EXPECT_EQ(text.find("xx"), std::string::npos);
}

}  // namespace
}  // namespace vennick
