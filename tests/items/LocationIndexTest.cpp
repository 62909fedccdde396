// SPDX-License-Identifier: MIT
//
// Duplicates are found whatever happened to the list and to its entries before.
#include "items/LocationIndex.h"

#include <gtest/gtest.h>

#include <random>

#include "items/VKItemArray.h"
#include "macos/foundation/Text.h"
#include "tests/support/TestHost.h"

namespace vennick {
namespace {

using macos::Dictionary;
using macos::NSURL;
using macos::Value;

SharedDictionary entryFor(std::string_view url) {
  return std::make_shared<Dictionary>(Dictionary{{ItemKeys::URL, Value(url)}});
}

class Locations : public testing::Test {
 protected:
  // Relative locations, for which no disk is asked.
  void add(const std::string& text) { array_.addURL({.url = NSURL::URLWithString("./" + text)}); }

  std::vector<std::string> urls() const {
    std::vector<std::string> texts;
    for (const SharedDictionary& entry : array_.items()->entries) {
      texts.emplace_back(entry->string(ItemKeys::URL).value_or("-"));
    }
    return texts;
  }
  using Texts = std::vector<std::string>;

  tests::TestHost host_;
  VKItemArray array_;
};

TEST_F(Locations, ADuplicateMovesToTheEndHoweverItCameIntoTheList) {
  add("a");
  array_.addItem(VKItem(entryFor("./b")));
  array_.insertItem(VKItem(entryFor("./c")), 0);
  array_.items()->entries.push_back(entryFor("./d"));
  add("e");
  for (const std::string text : {"b", "c", "d", "a"}) add(text);
  EXPECT_EQ(urls(), (Texts{"./e", "./b", "./c", "./d", "./a"}));
}

TEST_F(Locations, EveryDuplicateGoes) {
  add("a");
  array_.addItem(VKItem(entryFor("./b")));
  array_.addItem(VKItem(entryFor("./a")));
  array_.addItem(VKItem(entryFor("./c")));
  add("a");
  EXPECT_EQ(urls(), (Texts{"./b", "./c", "./a"}));
}

TEST_F(Locations, ALocationThatChangedInsideItsEntryIsTheNewOne) {
  add("a");
  add("b");
  add("c");
  array_.objectAtIndexedSubscript(0).setUrl(NSURL::URLWithString("./new"));
  add("a");
  add("new");
  EXPECT_EQ(urls(), (Texts{"./b", "./c", "./a", "./new"}));
  array_.objectAtIndexedSubscript(1).setUrl(std::nullopt);
  add("c");
  EXPECT_EQ(urls(), (Texts{"./b", "-", "./a", "./new", "./c"}));
}

TEST_F(Locations, AnEntryThatTookThePlaceOfAnotherIsFound) {
  add("a");
  add("b");
  add("c");
  array_.setObject(VKItem(entryFor("./x")), 0);
  add("a");
  add("x");
  EXPECT_EQ(urls(), (Texts{"./b", "./c", "./a", "./x"}));
}

TEST_F(Locations, WhatWasRemovedIsNoDuplicateAnyMore) {
  for (const std::string text : {"a", "b", "c", "d"}) add(text);
  array_.removeItemAtIndex(0);
  array_.removeItem(VKItem(array_.items()->entries[0]));
  add("a");
  add("b");
  EXPECT_EQ(urls(), (Texts{"./c", "./d", "./a", "./b"}));
  array_.removeAllItems();
  add("c");
  EXPECT_EQ(urls(), (Texts{"./c"}));
}

TEST_F(Locations, AnotherListUnderTheSameArrayIsLookedThrough) {
  add("a");
  add("b");
  auto other = std::make_shared<ItemList>();
  other->entries = {entryFor("./b"), entryFor("./x")};
  array_.setItems(other);
  add("b");
  EXPECT_EQ(urls(), (Texts{"./x", "./b"}));
}

// Never fewer than there are, whatever was added, removed and changed.
TEST_F(Locations, CountsNeverFallShort) {
  std::mt19937 random(1);
  const Texts texts{"./a", "./A", "./b", "./\u212A", "./k", "./K", "./é"};
  for (int step = 0; step < 5000; ++step) {
    auto& entries = array_.items()->entries;
    const std::string& text = texts[random() % texts.size()];
    switch (entries.empty() ? 0 : random() % 5) {
      case 0:
      case 1:
        array_.addItem(VKItem(entryFor(text)));
        break;
      case 2:
        array_.removeItemAtIndex(random() % entries.size());
        break;
      case 3:
        array_.objectAtIndexedSubscript(random() % entries.size()).setUrl(NSURL::URLWithString(text));
        break;
      default:
        array_.deleteItemForURL(NSURL::URLWithString(text));
    }
    for (const std::string& sought : texts) {
      std::size_t there = 0;
      for (const SharedDictionary& entry : entries) {
        const auto url = entry->string(ItemKeys::URL);
        there += url && macos::compareCaseInsensitive(*url, sought) == 0 ? 1 : 0;
      }
      ASSERT_GE(array_.items()->locations.mostEntriesFor(sought, entries), there)
          << sought << ", step " << step;
    }
  }
}

}  // namespace
}  // namespace vennick
