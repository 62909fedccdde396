// SPDX-License-Identifier: MIT
#include "legacy/ItemArray.h"

#include <gtest/gtest.h>

using macos::Array;
using macos::Dictionary;
using macos::Value;

namespace vennick {
namespace {

TEST(LegacyItemArray, HoldsWhatTheStoredArrayHolds) {
  const Array stored = {Value(Dictionary{{"Name", Value("One")}}), Value("no dictionary"),
                        Value(Dictionary{{"Name", Value("Two")}})};
  EXPECT_EQ(arrayFromItemArray(itemArrayFromArray(stored)), stored);
}

TEST(LegacyItemArray, NoArrayIsAnEmptyOne) {
  EXPECT_TRUE(arrayFromItemArray(nullptr).empty());
  EXPECT_NE(itemArrayFromArray(Array()), nullptr);
}

TEST(LegacyItemArray, EntriesThatAreEqualAreDictionariesOfTheirOwn) {
  const Value item(Dictionary{{"Name", Value("One")}});
  const LegacyItemArray items = itemArrayFromArray({item, item});
  std::get<LegacyItem>((*items)[0])->set("Name", Value("Changed"));
  EXPECT_EQ(arrayFromItemArray(items), (Array{Value(Dictionary{{"Name", Value("Changed")}}), item}));
}

TEST(LegacyItemArray, ACopyOfTheHandleIsTheSameArray) {
  const LegacyItemArray items = itemArrayFromArray({Value(Dictionary{{"Name", Value("One")}})});
  const LegacyItemArray other = items;
  other->clear();
  EXPECT_TRUE(arrayFromItemArray(items).empty());
}

}  // namespace
}  // namespace vennick
