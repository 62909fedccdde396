// SPDX-License-Identifier: MIT
#include "settings/EntryTable.h"

#include <gtest/gtest.h>

namespace vennick {
namespace {

using macos::Array;
using macos::Dictionary;
using macos::Value;

const Dictionary kStored{
    {"a", Value(Array{Value(Dictionary{{"name", Value("open")}})})},
    {"b", Value("no list")},
};

TEST(EntryTable, GivesBackWhatItWasMadeOf) { EXPECT_EQ(EntryTable(kStored, "test").dictionary(), kStored); }

TEST(EntryTable, HandsOutLiveEntries) {
  EntryTable table(kStored, "test");
  const SharedDictionary entry = table.find("a")->front();
  entry->set("name", Value("close"));
  const Dictionary changed = table.dictionary();
  EXPECT_EQ(*changed.array("a"), Array{Value(Dictionary{{"name", Value("close")}})});
}

TEST(EntryTable, MakesTwoDictionariesOfTwoReferencesToOne) {
  const Value shared(Dictionary{{"name", Value("open")}});
  const SharedEntries entries = entriesFromArray(Array{shared, shared}, "test");
  entries[0]->set("name", Value("close"));
  EXPECT_EQ(entries[1]->string("name"), "open");
}

TEST(EntryTable, KeepsAValueThatIsNoListUntilAListIsAskedFor) {
  EntryTable table(kStored, "test");
  EXPECT_EQ(table.find("b"), nullptr);
  EXPECT_TRUE(table.findOrMake("b").empty());
  const Dictionary changed = table.dictionary();
  EXPECT_EQ(changed.find("b")->kind(), Value::Kind::Array);
}

}  // namespace
}  // namespace vennick
