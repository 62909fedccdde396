// SPDX-License-Identifier: MIT
#include "items/VKItemArray.h"

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <future>
#include <stdexcept>
#include <thread>

#include "macos/foundation/PropertyList.h"
#include "macos/foundation/Text.h"
#include "tests/items/RecordingOwner.h"
#include "tests/support/ProcessorTime.h"
#include "tests/support/TestHost.h"

namespace vennick {
namespace {

using macos::Array;
using macos::Dictionary;
using macos::NSDate;
using macos::NSURL;
using macos::Value;
using tests::RecordingOwner;
using tests::TestHost;

class ItemArrayTest : public testing::Test {
 protected:
  ItemArrayTest() {
    for (const char* path : {"/a", "/b", "/c", "/d"}) {
      host.root().makeFolder(path);
    }
    array.setKvoOwner(owner);
    array.setKvoKey("favorites");
    owner->array = &array;
  }

  static NSURL url(std::string_view path) { return NSURL::fileURLWithPathIsDirectory(path, true); }

  bool add(std::string_view path, std::int64_t limit = 0, double date = 0) {
    return array.addURL({.url = url(path), .date = NSDate{date}, .type = kItemTypeFolder, .limit = limit});
  }

  static SharedDictionary record(std::vector<const char*> applications, std::vector<const char*> fileTypes) {
    const auto list = [](const std::vector<const char*>& strings) {
      Array result;
      for (const char* string : strings) {
        result.append(Value(string));
      }
      return Value(result);
    };
    return std::make_shared<Dictionary>(
        Dictionary{{"applications", list(applications)}, {"fileTypes", list(fileTypes)}});
  }

  // The last components of the locations, in order.
  std::string shown() const {
    std::string text;
    for (const SharedDictionary& entry : array.items()->entries) {
      text += VKItem(entry).url()->lastPathComponent();
    }
    return text;
  }

  TestHost host;
  std::shared_ptr<RecordingOwner> owner = std::make_shared<RecordingOwner>();
  VKItemArray array;
};

using ItemArray = ItemArrayTest;

// --- Adding locations

TEST_F(ItemArray, MovesALocationThatIsAddedAgainToTheEnd) {
  add("/a", 10, 1);
  add("/b", 10, 2);
  add("/a", 10, 3);
  EXPECT_EQ(shown(), "ba");
  EXPECT_EQ(array.lastItem()->date(), NSDate{3});
}

TEST_F(ItemArray, RefreshesTheNewestEntryInPlaceWithoutANotice) {
  add("/a", 1, 1);
  array.lastItem()->setType(7);
  owner->notices.clear();
  const Dictionary hotkey{{"keyCode", Value(1)}};
  EXPECT_TRUE(array.addURL({.url = url("/a"),
                            .name = "again",
                            .date = NSDate{2},
                            .type = kItemTypeFile,
                            .hotkey = hotkey,
                            .limit = 1}));
  EXPECT_TRUE(owner->notices.empty());
  EXPECT_EQ(array.count(), 1U);
  EXPECT_EQ(array.lastItem()->name(), "again");
  EXPECT_EQ(array.lastItem()->date(), NSDate{2});
  EXPECT_EQ(array.lastItem()->hotkey(), hotkey);
  EXPECT_EQ(array.lastItem()->type(), 7U) << "the entry keeps its type";
}

TEST_F(ItemArray, RefreshingWithoutAHotkeyKeepsTheHotkey) {
  const Dictionary hotkey{{"keyCode", Value(1)}};
  array.addURL({.url = url("/a"), .type = kItemTypeFolder, .hotkey = hotkey});
  add("/a");
  EXPECT_EQ(array.lastItem()->hotkey(), hotkey);
}

TEST_F(ItemArray, OnACaseInsensitiveVolumeRefreshesANameInOtherLetterCase) {
  host.volumes().change("/", [](macos::VolumeInfo& info) { info.isCaseSensitive = false; });
  add("/a");
  const std::string text(*array.lastItem()->dict()->string("url"));
  add("/A", 0, 5);
  EXPECT_EQ(array.count(), 1U);
  EXPECT_EQ(array.lastItem()->dict()->string("url"), text);
  EXPECT_EQ(array.lastItem()->date(), NSDate{5});
}

TEST_F(ItemArray, LetterCaseOfOtherScriptsIsNoDifferenceOnACaseInsensitiveVolume) {
  host.volumes().change("/", [](macos::VolumeInfo& info) { info.isCaseSensitive = false; });
  host.root().makeFolder("/kk");
  // U+212A KELVIN SIGN, of three bytes, is a capital of "k".
  const auto entry = std::make_shared<Dictionary>(Dictionary{{"url", Value("FILE:///\u212AK/")}});
  array.addItem(VKItem(std::make_shared<Dictionary>(Dictionary{{"url", Value("file:///kkk/")}})));
  array.addItem(VKItem(entry));
  ASSERT_TRUE(array.itemForURL(url("/kk")));
  EXPECT_EQ(array.itemForURL(url("/kk"))->dict(), entry);
}

TEST_F(ItemArray, ComparesAMissingLocationExactlyEvenOnACaseInsensitiveVolume) {
  host.volumes().change("/", [](macos::VolumeInfo& info) { info.isCaseSensitive = false; });
  add("/a");
  EXPECT_TRUE(array.itemForURL(url("/A")));
  host.root().remove("/a");
  EXPECT_FALSE(array.itemForURL(url("/A")));
  EXPECT_TRUE(array.itemForURL(url("/a")));
}

TEST_F(ItemArray, RemovesTheOldestBeyondTheLimit) {
  for (const char* path : {"/a", "/b", "/c", "/d"}) {
    add(path, 3);
  }
  EXPECT_EQ(shown(), "bcd");
}

TEST_F(ItemArray, KeepsEverythingWithALimitBelowOne) {
  for (const char* path : {"/a", "/b", "/c", "/d"}) {
    add(path, path[1] % 2 == 0 ? 0 : -1);
  }
  EXPECT_EQ(shown(), "abcd");
}

TEST_F(ItemArray, RefusesNoLocationAndOneThatDoesNotExist) {
  EXPECT_FALSE(array.addURL({.type = kItemTypeFolder}));
  EXPECT_FALSE(add("/nowhere"));
  EXPECT_EQ(array.count(), 0U);
  EXPECT_TRUE(owner->notices.empty());
}

TEST_F(ItemArray, TakesARelativeLocationUnseen) {
  EXPECT_TRUE(array.addURL({.url = NSURL::URLWithString("./Projects"), .type = kItemTypeFolder}));
  EXPECT_EQ(array.lastItem()->dict()->string("url"), "./Projects");
  EXPECT_FALSE(array.lastItem()->dict()->contains("bookmark"));
}

TEST_F(ItemArray, TakesAMissingLocationWhenToldToAndKeepsItOnce) {
  const auto addMissing = [&] {
    return array.addURL(
        {.url = url("/nowhere"), .type = kItemTypeFolder, .missingLocation = MissingLocation::Accept});
  };
  EXPECT_TRUE(addMissing());
  EXPECT_FALSE(array.lastItem()->dict()->contains("bookmark"));
  add("/a");
  EXPECT_TRUE(addMissing());
  EXPECT_EQ(array.count(), 2U) << "without duplicates all the same";
}

TEST_F(ItemArray, NamesAnEntryAfterItsLocationUnlessToldOtherwise) {
  add("/a");
  EXPECT_EQ(array.lastItem()->name(), "a");
  array.addURL({.url = url("/b"), .name = "Bee", .type = kItemTypeFolder});
  EXPECT_EQ(array.lastItem()->name(), "Bee");
  EXPECT_EQ(array.lastItem()->type(), kItemTypeFolder);
  EXPECT_TRUE(array.lastItem()->dict()->contains("bookmark"));
  EXPECT_EQ(array.lastItem()->date(), NSDate::date()) << "now, when no date is given";
}

TEST_F(ItemArray, KeepsSeparatorsApart) {
  const auto addSeparator = [&] {
    return array.addURL({.url = url("/a"), .name = "ignored", .date = NSDate{1}, .type = kItemTypeSeparator});
  };
  EXPECT_TRUE(addSeparator());
  EXPECT_TRUE(addSeparator());
  add("/a");
  EXPECT_TRUE(array.deleteItemForURL(url("/a")));
  ASSERT_EQ(array.count(), 2U);
  std::string line;
  for (int i = 0; i < 15; ++i) line += "\u23AF";
  for (int i = 0; i < 5; ++i) line += "\u2013";
  EXPECT_EQ(*array.lastItem()->dict(), (Dictionary{{"name", Value(line)},
                                                   {"url", Value("VKMenuSeparator")},
                                                   {"date", Value(NSDate{1})},
                                                   {"itemType", Value(4)}}));
}

TEST_F(ItemArray, DeletingByASeparatorsOwnURLRemovesAllSeparators) {
  array.addURL({.type = kItemTypeSeparator});
  add("/a");
  array.addURL({.type = kItemTypeSeparator});
  EXPECT_TRUE(array.deleteItemForURL(NSURL::URLWithString("VKMenuSeparator")));
  EXPECT_EQ(shown(), "a");
}

TEST_F(ItemArray, AnnouncesEachPhaseOfAnAdd) {
  add("/a");
  add("/b");
  owner->notices.clear();
  add("/a", 1);
  const std::vector<std::string> expected{"will remove [0] of 2", "did remove [0] of 1",
                                          "will insert [1] of 1", "did insert [1] of 2",
                                          "will remove [0] of 2", "did remove [0] of 1"};
  EXPECT_EQ(owner->notices, expected);
}

// --- Records for applications and file types

TEST_F(ItemArray, AppendsARecordForAnApplication) {
  EXPECT_TRUE(array.addURLForApp(url("/a"), "com.x", std::nullopt));
  const Dictionary& entry = *array.lastItem()->dict();
  EXPECT_EQ(entry.string("url"), "file:///a/");
  EXPECT_EQ(*entry.array("applications"), Array{Value("com.x")});
  EXPECT_EQ(*entry.array("fileTypes"), Array{Value("*")});
  EXPECT_EQ(entry.integer("itemType"), macos::Integer(2));
  EXPECT_EQ(entry.integer("flags"), macos::Integer(2));
  EXPECT_TRUE(entry.contains("bookmark"));
  EXPECT_EQ(entry.size(), 8U);
}

TEST_F(ItemArray, TruncatesARecordWithoutABookmark) {
  EXPECT_TRUE(array.addURLForApp(url("/nowhere"), "com.x", "txt"));
  EXPECT_EQ(*array.lastItem()->dict(), (Dictionary{{"name", Value("nowhere")},
                                                   {"url", Value("file:///nowhere/")},
                                                   {"date", Value(NSDate::date())}}));
  EXPECT_EQ(array.lastItem()->type(), 0U);
  EXPECT_EQ(*array.lastItem()->applications(), Array{Value("*")});
}

TEST_F(ItemArray, AppendsAnEmptyEntryForNoLocation) {
  EXPECT_TRUE(array.addURLForApp(std::nullopt, "com.x", "txt"));
  ASSERT_EQ(array.count(), 1U);
  EXPECT_TRUE(array.lastItem()->dict()->empty());
}

TEST_F(ItemArray, FindsByApplicationAndFileTypeAsPlainMembers) {
  array.addItem(VKItem(record({"com.x", "com.y"}, {"txt"})));
  array.addItem(VKItem(record({"*"}, {"*"})));
  array.addItem(VKItem(std::make_shared<Dictionary>()));
  EXPECT_EQ(array.itemForApplication("com.y", "txt")->dict(), array.items()->entries[0]);
  EXPECT_FALSE(array.itemForApplication("com.z", "txt")) << "\"*\" in an entry matches only \"*\"";
  EXPECT_EQ(array.itemForApplication("*", "*")->dict(), array.items()->entries[1]);
  EXPECT_FALSE(array.itemForApplication("com.x", std::nullopt));
  EXPECT_EQ(array.itemForApplication(std::nullopt, std::nullopt)->dict(), array.items()->entries[2]);
}

TEST_F(ItemArray, FindsNothingAsNothingAndNotAsAnEmptyList) {
  array.addItem(VKItem(record({"com.x"}, {"txt"})));
  EXPECT_EQ(array.itemsForApplication("com.y"), std::nullopt);
  EXPECT_EQ(array.itemsForFileType("rtf"), std::nullopt);
  EXPECT_EQ(array.itemsForApplication("com.x")->size(), 1U);
  EXPECT_EQ(array.itemsForFileType("txt")->size(), 1U);
}

TEST_F(ItemArray, DeletingAnApplicationKeepsAnEntryThatListsAnother) {
  array.addItem(VKItem(record({"a", "b"}, {"t"})));
  EXPECT_TRUE(array.deleteItemForApplication("a", "t"));
  ASSERT_EQ(array.count(), 1U);
  EXPECT_EQ(*array.items()->entries[0], *record({"b"}, {}));
  EXPECT_EQ(*array.lastItem()->fileTypes(), Array{Value("*")}) << "the emptied list widens at the next read";
}

TEST_F(ItemArray, DeletingTheOnlyApplicationOfAnEntryWithoutFileTypesRemovesIt) {
  array.addItem(VKItem(record({"a"}, {})));
  array.addItem(VKItem(record({"b"}, {})));
  owner->notices.clear();
  EXPECT_TRUE(array.deleteItemForApplication("a", std::nullopt));
  EXPECT_EQ(array.count(), 1U);
  const std::vector<std::string> expected{"will replace [0] of 2", "did replace [0] of 2",
                                          "will remove [0] of 2", "did remove [0] of 1"};
  EXPECT_EQ(owner->notices, expected);
}

TEST_F(ItemArray, DeletingForNothingRemovesEveryEntryWithoutLists) {
  array.addItem(VKItem(record({}, {})));
  array.addItem(VKItem(record({"a"}, {})));
  array.addItem(VKItem(std::make_shared<Dictionary>()));
  owner->notices.clear();
  EXPECT_TRUE(array.deleteItemForApplication(std::nullopt, std::nullopt));
  EXPECT_EQ(array.count(), 1U);
  EXPECT_EQ(owner->notices, (std::vector<std::string>{"will remove [0 2] of 3", "did remove [0 2] of 1"}));
  EXPECT_FALSE(array.deleteItemForApplication("z", std::nullopt));
}

// --- Plain changes

TEST_F(ItemArray, AnnouncesPlainChanges) {
  array.addItem(VKItem(record({"a"}, {})));
  array.insertItem(VKItem(record({"b"}, {})), 0);
  array.removeItemAtIndex(1);
  array.setObject(VKItem(record({"c"}, {})), 0);
  array.setObject(VKItem(record({"d"}, {})), 1);
  array.removeAllItems();
  const std::vector<std::string> expected{
      "will insert [0] of 0",   "did insert [0] of 1",  "will insert [0] of 1", "did insert [0] of 2",
      "will remove [1] of 2",   "did remove [1] of 1",  // replacing and appending by subscript are silent
      "will remove [0 1] of 2", "did remove [0 1] of 0"};
  EXPECT_EQ(owner->notices, expected);
}

TEST_F(ItemArray, RemovesEveryEqualEntryAndAnnouncesTheFirst) {
  array.addItem(VKItem(record({"a"}, {})));
  array.addItem(VKItem(std::make_shared<Dictionary>(Dictionary{{"flags", Value(1)}})));
  array.addItem(VKItem(std::make_shared<Dictionary>(Dictionary{{"flags", Value(1.0)}})));
  array.addItem(VKItem(std::make_shared<Dictionary>(Dictionary{{"flags", Value(true)}})));
  owner->notices.clear();
  array.removeItem(array.objectAtIndexedSubscript(2));
  EXPECT_EQ(array.count(), 1U) << "1, 1.0 and true are equal";
  EXPECT_EQ(owner->notices, (std::vector<std::string>{"will remove [1] of 4", "did remove [1] of 1"}));
}

TEST_F(ItemArray, AfterARoundTripThroughAFileMoreEntriesAreEqual) {
  // Deliberate: dates in a file have whole seconds, and equal entries go together.
  for (const double date : {5.25, 5.75, 6.5}) {
    array.addItem(VKItem(std::make_shared<Dictionary>(Dictionary{{"date", Value(NSDate{date})}})));
  }
  array.removeItem(array.objectAtIndexedSubscript(0));
  ASSERT_EQ(array.count(), 2U) << "before it they differ";
  array.insertItem(VKItem(std::make_shared<Dictionary>(Dictionary{{"date", Value(NSDate{5.25})}})), 0);
  for (SharedDictionary& entry : array.items()->entries) {
    using macos::NSPropertyListSerialization;
    const auto file =
        NSPropertyListSerialization::dataWithPropertyList(Value(*entry), macos::NSPropertyListFormat::XML);
    ASSERT_TRUE(file.ok());
    *entry = *NSPropertyListSerialization::propertyListWithData(*file)->value.ifDictionary();
  }
  owner->notices.clear();
  array.removeItem(array.objectAtIndexedSubscript(0));
  EXPECT_EQ(array.count(), 1U);
  EXPECT_EQ(owner->notices, (std::vector<std::string>{"will remove [0] of 3", "did remove [0] of 1"}));
}

TEST_F(ItemArray, RemovingAnItemThatIsNotThereChangesAndAnnouncesNothing) {
  array.addItem(VKItem(record({"a"}, {})));
  owner->notices.clear();
  array.removeItem(VKItem(record({"b"}, {})));
  EXPECT_EQ(array.count(), 1U);
  EXPECT_TRUE(owner->notices.empty());
}

TEST_F(ItemArray, RefusesAnIndexOutOfRangeBeforeAnyNotice) {
  add("/a");
  owner->notices.clear();
  EXPECT_THROW(array.removeItemAtIndex(1), std::out_of_range);
  EXPECT_THROW(array.insertItem(VKItem(record({}, {})), 2), std::out_of_range);
  EXPECT_THROW(array.objectAtIndexedSubscript(1), std::out_of_range);
  EXPECT_THROW(array.objectsAtIndexes({0, 1}), std::out_of_range);
  EXPECT_THROW(array.setObject(VKItem(record({}, {})), 2), std::out_of_range);
  EXPECT_TRUE(owner->notices.empty());
}

TEST_F(ItemArray, AnItemWithoutADictionaryChangesNothing) {
  add("/a");
  owner->notices.clear();
  array.addItem(VKItem());
  array.insertItem(VKItem(), 0);
  array.setObject(VKItem(), 0);
  array.setObject(VKItem(), 1);
  array.removeItem(VKItem());
  EXPECT_EQ(shown(), "a");
  EXPECT_TRUE(owner->notices.empty());
}

TEST_F(ItemArray, NoLocationFindsAndDeletesNothing) {
  array.addItem(VKItem(std::make_shared<Dictionary>()));
  array.addItem(VKItem(std::make_shared<Dictionary>(Dictionary{{"url", Value("")}})));
  owner->notices.clear();
  EXPECT_FALSE(array.itemForURL(std::nullopt));
  EXPECT_FALSE(array.deleteItemForURL(std::nullopt));
  EXPECT_EQ(array.count(), 2U);
  EXPECT_TRUE(owner->notices.empty());
}

TEST_F(ItemArray, AnEntryWhoseLocationIsNoStringNeverMatches) {
  for (const Value& value : {Value(), Value(7), Value(macos::NSData{"file:///a/"}), Value(url("/a")),
                             Value(Array{Value("file:///a/")})}) {
    array.addItem(VKItem(std::make_shared<Dictionary>(Dictionary{{"url", value}})));
  }
  EXPECT_FALSE(array.itemForURL(url("/a")));
  EXPECT_FALSE(array.deleteItemForURL(url("/a")));
  EXPECT_TRUE(add("/a"));
  EXPECT_EQ(array.count(), 6U) << "nor is the newest one refreshed";
}

TEST_F(ItemArray, LocationsAreComparedByTheirEscapedText) {
  host.root().makeFolder("/a b");
  // Deliberate: another spelling of the same location is another text.
  for (const char* text : {"file:///a b/", "file:///%61%20b/", "file:///a%20b", "file://localhost/a%20b/"}) {
    array.addItem(VKItem(std::make_shared<Dictionary>(Dictionary{{"url", Value(text)}})));
  }
  EXPECT_FALSE(array.itemForURL(url("/a b")));
  add("/a b");
  EXPECT_EQ(array.itemForURL(url("/a b"))->dict(), array.items()->entries[4]);
}

TEST_F(ItemArray, GettersThatRepairAnnounceNothing) {
  // Deliberate.
  array.addItem(VKItem(std::make_shared<Dictionary>(Dictionary{{"url", Value("file:///a/")}})));
  owner->notices.clear();
  EXPECT_EQ(*array.lastItem()->fileTypes(), Array{Value("*")});
  EXPECT_EQ(*array.lastItem()->applications(), Array{Value("*")});
  EXPECT_EQ(array.items()->entries[0]->size(), 3U);
  EXPECT_TRUE(owner->notices.empty());
}

TEST_F(ItemArray, FindsTheFirstEntryFromTheFront) {
  for (int i = 0; i < 2; ++i) {
    array.addURLForApp(url("/a"), "com.x", "txt");
  }
  EXPECT_EQ(array.itemForURL(url("/a"))->dict(), array.items()->entries[0]);
  EXPECT_EQ(array.itemForApplication("com.x", "txt")->dict(), array.items()->entries[0]);
  EXPECT_EQ((*array.itemsForApplication("com.x"))[1].dict(), array.items()->entries[1]);
  EXPECT_EQ(array.count(), 2U) << "records are not looked at for duplicates";
  EXPECT_TRUE(array.deleteItemForURL(url("/a")));
  EXPECT_EQ(array.count(), 0U) << "all that match go";
}

TEST_F(ItemArray, DeletingAnnouncesExactlyTheMatchingIndexes) {
  for (const char* path : {"/a", "/b", "/a", "/c", "/a"}) {
    array.addURLForApp(url(path), std::nullopt, std::nullopt);
  }
  owner->notices.clear();
  EXPECT_TRUE(array.deleteItemForURL(url("/a")));
  EXPECT_EQ(shown(), "bc");
  EXPECT_EQ(owner->notices,
            (std::vector<std::string>{"will remove [0 2 4] of 5", "did remove [0 2 4] of 2"}));
  EXPECT_FALSE(array.deleteItemForURL(url("/a")));
}

TEST_F(ItemArray, TrimsOneAnnouncedEntryAtATime) {
  for (const char* path : {"/a", "/b", "/c", "/d"}) {
    add(path);
  }
  owner->notices.clear();
  array.removeItemsBeyondCapacity(2);
  EXPECT_EQ(shown(), "cd");
  EXPECT_EQ(owner->notices, (std::vector<std::string>{"will remove [0] of 4", "did remove [0] of 3",
                                                      "will remove [0] of 3", "did remove [0] of 2"}));
  array.removeItemsBeyondCapacity(0);
  array.removeItemsBeyondCapacity(-5);
  EXPECT_EQ(array.count(), 2U);
}

TEST_F(ItemArray, TrimsALongListInTimeByItsLength) {
  array.items()->entries.assign(100'000, record({"a"}, {}));
  array.setKvoOwner(nullptr);
  const auto start = tests::processorTime();
  array.removeItemsBeyondCapacity(20);
  EXPECT_EQ(array.count(), 20U);
  EXPECT_LT(tests::processorTime() - start, std::chrono::seconds(5));
}

TEST_F(ItemArray, ASeparatorCountsAgainstTheLimit) {
  add("/a");
  EXPECT_TRUE(array.addURL({.type = kItemTypeSeparator, .limit = 1}));
  EXPECT_EQ(array.count(), 1U);
  EXPECT_EQ(array.lastItem()->type(), kItemTypeSeparator);
}

TEST_F(ItemArray, RemovesEqualStringsFromARecordsListsAndKeepsTheOthers) {
  array.addItem(VKItem(record({"a", "b", "a"}, {"t", "u", "t"})));
  owner->notices.clear();
  EXPECT_TRUE(array.deleteItemForApplication("a", "t"));
  EXPECT_EQ(*array.items()->entries[0], *record({"b"}, {"u"}));
  EXPECT_EQ(owner->notices, (std::vector<std::string>{"will replace [0] of 1", "did replace [0] of 1"}));
}

TEST_F(ItemArray, RemovesStringsFromALongListInTimeByItsLength) {
  Array applications;
  for (int i = 0; i < 200'000; ++i) applications.append(Value(i % 2 == 0 ? "a" : "b"));
  const auto entry = std::make_shared<Dictionary>(Dictionary{{"applications", Value(applications)}});
  array.addItem(VKItem(entry));
  const auto start = tests::processorTime();
  EXPECT_TRUE(array.deleteItemForApplication("a", std::nullopt));
  EXPECT_LT(tests::processorTime() - start, std::chrono::seconds(5));
  EXPECT_EQ(entry->array("applications")->size(), 100'000U);
}

TEST_F(ItemArray, KeepsLocationsWithNamesOfEveryKindOnce) {
  const std::vector<std::string> names{"line\nbreak",         "caf\xE9",   "a:b", ".dot", "%41?#;",
                                       std::string(255, 'n'), "\u00DCbung"};
  for (int round = 0; round < 2; ++round) {
    for (const std::string& name : names) {
      host.root().makeFolder("/names/" + name);
      EXPECT_TRUE(add("/names/" + name)) << name;
      EXPECT_TRUE(array.itemForURL(url("/names/" + name))) << name;
    }
  }
  EXPECT_EQ(array.count(), names.size());
  add("/names/U\u0308bung");
  EXPECT_EQ(array.count(), names.size()) << "the other normalization is the same folder";
}

TEST_F(ItemArray, GivesViewsInAscendingOrder) {
  add("/a");
  add("/b");
  add("/c");
  const auto items = array.objectsAtIndexes({0, 2});
  ASSERT_EQ(items.size(), 2U);
  EXPECT_EQ(items[0].dict(), array.items()->entries[0]);
  EXPECT_EQ(items[1].dict(), array.items()->entries[2]);
}

TEST_F(ItemArray, HasNoLastItemWhenEmpty) { EXPECT_EQ(VKItemArray().lastItem(), std::nullopt); }

TEST_F(ItemArray, CopiesTheListAndNotItsEntriesOrItsOwner) {
  add("/a");
  const auto copy = array.copy();
  EXPECT_EQ(copy->kvoOwner(), nullptr);
  EXPECT_EQ(copy->kvoKey(), std::nullopt);
  EXPECT_NE(copy->items(), array.items());
  EXPECT_EQ(copy->items()->entries, array.items()->entries);
}

TEST_F(ItemArray, SortsStablyByTheEightValuesAndAnnouncesTheWholeRange) {
  const auto named = [](const char* name, int type) {
    return VKItem(std::make_shared<Dictionary>(Dictionary{{"name", Value(name)}, {"itemType", Value(type)}}));
  };
  array.addItem(named("b", 1));
  array.addItem(named("a", 2));
  array.addItem(named("b", 3));
  array.addItem(VKItem(record({"app"}, {"txt"})));
  owner->notices.clear();
  bool sawRawLists = false;
  array.sort([&](const SortValues& values) {
    sawRawLists |= values.xApplications != nullptr && values.xFileTypes != nullptr && values.xName == nullptr;
    const auto x = values.xName != nullptr ? values.xName->ifString() : std::nullopt;
    const auto y = values.yName != nullptr ? values.yName->ifString() : std::nullopt;
    return x.value_or("z").compare(y.value_or("z"));
  });
  EXPECT_TRUE(sawRawLists);
  std::string order;
  for (const SharedDictionary& entry : array.items()->entries) {
    order += std::to_string(VKItem(entry).type());
  }
  EXPECT_EQ(order, "2130");
  EXPECT_EQ(owner->notices,
            (std::vector<std::string>{"will replace [0 1 2 3] of 4", "did replace [0 1 2 3] of 4"}));
}

TEST_F(ItemArray, SortingTakesANameThatIsNoStringForNone) {
  for (const Value& name : {Value(7), Value("a"), Value(macos::NSData{"a"})}) {
    array.addItem(VKItem(std::make_shared<Dictionary>(Dictionary{{"name", name}})));
  }
  int named = 0;
  int nameless = 0;
  array.sort([&](const SortValues& values) {
    for (const Value* name : {values.xName, values.yName}) {
      ++(name == nullptr ? nameless : named);
      if (name != nullptr) {
        EXPECT_EQ(name->ifString(), "a");
      }
    }
    return (values.yName != nullptr ? 1 : 0) - (values.xName != nullptr ? 1 : 0);
  });
  EXPECT_GT(named, 0);
  EXPECT_GT(nameless, 0);
  EXPECT_EQ(VKItem(array.items()->entries[0]).name(), "a");
}

// --- What observers are told

TEST_F(ItemArray, TellsObserversTheValuesThatCameAndWent) {
  std::vector<macos::NSKeyValueChangeDictionary> changes;
  const auto token = owner->addObserver(
      "favorites", macos::NSKeyValueObservingOptionNew | macos::NSKeyValueObservingOptionOld,
      [&](std::string_view, const macos::NSKeyValueChangeDictionary& change) { changes.push_back(change); });
  array.addItem(VKItem(record({"a"}, {})));
  array.removeItemAtIndex(0);
  ASSERT_EQ(changes.size(), 2U);
  const Value entry(Array{Value(*record({"a"}, {}))});
  EXPECT_EQ(changes[0].kind, macos::NSKeyValueChange::Insertion);
  EXPECT_EQ(changes[0].newValue, entry);
  EXPECT_FALSE(changes[0].oldValue);
  EXPECT_EQ(changes[1].kind, macos::NSKeyValueChange::Removal);
  EXPECT_EQ(changes[1].oldValue, entry) << "taken before the removal";
  EXPECT_FALSE(changes[1].newValue);
}

TEST_F(ItemArray, TellsObserversBothValuesOfAReplacement) {
  array.addItem(VKItem(record({"a", "b"}, {})));
  std::vector<macos::NSKeyValueChangeDictionary> changes;
  const auto token = owner->addObserver(
      "favorites", macos::NSKeyValueObservingOptionNew | macos::NSKeyValueObservingOptionOld,
      [&](std::string_view, const macos::NSKeyValueChangeDictionary& change) { changes.push_back(change); });
  array.deleteItemForApplication("a", std::nullopt);
  ASSERT_EQ(changes.size(), 1U);
  EXPECT_EQ(changes[0].kind, macos::NSKeyValueChange::Replacement);
  EXPECT_EQ(changes[0].oldValue, Value(Array{Value(*record({"a", "b"}, {}))})) << "taken at the will-change";
  EXPECT_EQ(changes[0].newValue, Value(Array{Value(*record({"b"}, {}))})) << "taken at the did-change";
}

TEST_F(ItemArray, WorksSilentlyWithoutAnOwner) {
  VKItemArray silent;
  EXPECT_TRUE(silent.addURL({.url = url("/a"), .type = kItemTypeFolder}));
  EXPECT_EQ(silent.count(), 1U);
}

// --- Fed by a signal

class FedItemArrayTest : public ItemArrayTest {
 protected:
  FedItemArrayTest() : fed(VKItemArray::initWithContentSignal(subject.signal(), owner, "favorites")) {
    owner->array = fed.get();
  }
  macos::RACSubject<SharedItemList> subject;
  std::shared_ptr<VKItemArray> fed;
};

TEST_F(FedItemArrayTest, BeforeTheFirstValueAnnouncesAddsAndKeepsNothing) {
  EXPECT_EQ(fed->items(), nullptr);
  EXPECT_EQ(fed->count(), 0U);
  EXPECT_FALSE(fed->itemForURL(url("/a")));
  EXPECT_FALSE(fed->itemForApplication("a", "b"));
  EXPECT_FALSE(fed->itemsForApplication("a"));
  EXPECT_FALSE(fed->lastItem());
  EXPECT_TRUE(fed->addURL({.url = url("/a"), .type = kItemTypeFolder, .limit = 1}));
  EXPECT_TRUE(fed->addURLForApp(url("/a"), std::nullopt, std::nullopt));
  fed->sort([](const SortValues&) { return 0; });
  fed->removeAllItems();
  EXPECT_FALSE(fed->deleteItemForURL(url("/a")));
  EXPECT_EQ(fed->count(), 0U);
  const std::vector<std::string> expected{
      "will insert [0] of 0", "did insert [0] of 0", "will insert [0] of 0", "did insert [0] of 0",
      "will replace [] of 0", "did replace [] of 0", "will remove [] of 0",  "did remove [] of 0"};
  EXPECT_EQ(owner->notices, expected);
}

TEST_F(FedItemArrayTest, ShowsTheVeryListThatTheSignalDelivers) {
  auto list = std::make_shared<ItemList>();
  subject.sendNext(list);
  EXPECT_EQ(fed->items(), list);
  EXPECT_EQ(owner->notices, (std::vector<std::string>{"will set", "did set"}));
  fed->addURL({.url = url("/a"), .type = kItemTypeFolder});
  EXPECT_EQ(list->entries.size(), 1U);
}

TEST_F(FedItemArrayTest, TakesItsListWithoutAKeyToo) {
  fed->setKvoKey(std::nullopt);
  const auto list = std::make_shared<ItemList>();
  subject.sendNext(list);
  EXPECT_EQ(fed->items(), list);
  EXPECT_TRUE(owner->notices.empty());
}

TEST_F(FedItemArrayTest, IsNotKeptAliveByTheSignal) {
  const std::weak_ptr<VKItemArray> weak = fed;
  fed.reset();
  EXPECT_TRUE(weak.expired());
  subject.sendNext(std::make_shared<ItemList>());
}

TEST_F(FedItemArrayTest, HoldsItsOwnerWeakly) {
  array.setKvoOwner(nullptr);
  const std::weak_ptr<RecordingOwner> weak = owner;
  owner.reset();
  EXPECT_TRUE(weak.expired());
  subject.sendNext(std::make_shared<ItemList>());
  EXPECT_TRUE(fed->addURL({.url = url("/a"), .type = kItemTypeFolder}));
}

// --- The lock

TEST_F(ItemArray, HoldsTheListsLockThroughAChangeAndItsNotices) {
  bool heldByOther = true;
  owner->onNotice = [&] {
    // From another thread, since the lock is recursive.
    std::thread([&] {
      if (array.items()->mutex.try_lock()) {
        heldByOther = false;
        array.items()->mutex.unlock();
      }
    }).join();
  };
  add("/a");
  EXPECT_TRUE(heldByOther);
  owner->onNotice = nullptr;
  EXPECT_TRUE(array.items()->mutex.try_lock()) << "and lets it go afterwards";
  array.items()->mutex.unlock();
}

// Runs the operation on another thread while this one holds the list's lock; whether it ended before the
// lock was let go.
bool endsWhileLocked(const SharedItemList& list, const std::function<void()>& operation,
                     std::chrono::milliseconds patience) {
  list->mutex.lock();
  std::promise<void> ended;
  std::future<void> end = ended.get_future();
  std::thread thread([&] {
    operation();
    ended.set_value();
  });
  const bool isEnded = end.wait_for(patience) == std::future_status::ready;
  list->mutex.unlock();
  thread.join();
  return isEnded;
}

TEST_F(ItemArray, ReadsSortingSubscriptsAndNewContentTakeNoLock) {
  array.setKvoOwner(nullptr);
  array.addURLForApp(url("/a"), "com.x", "txt");
  const auto held = array.items();
  const auto reads = [&] {
    (void)array.count();
    (void)array.itemForURL(url("/a"));
    (void)array.itemForApplication("com.x", "txt");
    (void)array.itemsForApplication("com.x");
    (void)array.itemsForFileType("txt");
    (void)array.objectsAtIndexes({0});
    (void)array.objectAtIndexedSubscript(0);
    (void)array.lastItem();
    (void)array.copy();
    array.sort([](const SortValues&) { return 0; });
    array.setObject(VKItem(record({"com.y"}, {})), 0);
    array.setItems(std::make_shared<ItemList>());
  };
  EXPECT_TRUE(endsWhileLocked(held, reads, std::chrono::seconds(30)));
  array.setItems(held);
}

TEST_F(ItemArray, EveryChangeThatAddsOrRemovesWaitsForTheLock) {
  array.setKvoOwner(nullptr);
  for (const char* path : {"/a", "/b", "/c"}) {
    for (int i = 0; i < 4; ++i) array.addURLForApp(url(path), "com.x", "txt");
  }
  const std::pair<const char*, std::function<void()>> changes[] = {
      {"addURL", [&] { add("/d"); }},
      {"addURL of the newest", [&] { add("/d"); }},
      {"addURLForApp", [&] { array.addURLForApp(url("/d"), std::nullopt, std::nullopt); }},
      {"deleteItemForURL", [&] { array.deleteItemForURL(url("/a")); }},
      {"deleteItemForApplication", [&] { array.deleteItemForApplication("com.x", "txt"); }},
      {"addItem", [&] { array.addItem(VKItem(record({}, {}))); }},
      {"insertItem", [&] { array.insertItem(VKItem(record({}, {})), 0); }},
      {"removeItem", [&] { array.removeItem(array.objectAtIndexedSubscript(0)); }},
      {"removeItemAtIndex", [&] { array.removeItemAtIndex(0); }},
      {"removeItemsBeyondCapacity", [&] { array.removeItemsBeyondCapacity(1); }},
      {"removeAllItems", [&] { array.removeAllItems(); }}};
  for (const auto& [name, change] : changes) {
    EXPECT_FALSE(endsWhileLocked(array.items(), change, std::chrono::milliseconds(60))) << name;
  }
  EXPECT_EQ(array.count(), 0U) << "and all were made after it";
}

TEST_F(ItemArray, LetsAnObserverChangeTheListFromANotice) {
  bool isFirst = true;
  owner->onNotice = [&] {
    if (std::exchange(isFirst, false)) {
      add("/b");
    }
  };
  add("/a");
  EXPECT_EQ(array.count(), 2U);
}

TEST_F(ItemArray, AnObserverThatTakesAwayWhatIsToBeRemovedDoesNoHarm) {
  for (const char* path : {"/a", "/b", "/a", "/a"}) {
    array.addURLForApp(url(path), std::nullopt, std::nullopt);
  }
  bool isFirst = true;
  owner->onNotice = [&] {
    if (std::exchange(isFirst, false)) array.removeItemAtIndex(1);
  };
  array.insertItem(VKItem(record({}, {})), 4);
  EXPECT_EQ(array.lastItem()->dict()->size(), 2U) << "inserted at the end of what is left";
  array.removeItemAtIndex(3);
  array.insertItem(VKItem(record({}, {})), 1);
  isFirst = true;
  EXPECT_TRUE(array.deleteItemForURL(url("/a"))) << "of the indexes 0, 2 and 3 the last is no more";
  EXPECT_EQ(array.count(), 1U);
  array.setKvoOwner(nullptr);
  array.addURLForApp(url("/b"), std::nullopt, std::nullopt);
  array.setKvoOwner(owner);
  owner->onNotice = [&] { array.setItems(nullptr); };
  EXPECT_TRUE(array.deleteItemForURL(url("/b")));
  EXPECT_EQ(array.count(), 0U);
}

TEST_F(ItemArray, RemovingAnItemFromAListThatAnObserverTakesAwayDoesNoHarm) {
  add("/a");
  add("/b");
  const auto list = array.items();
  owner->onNotice = [&] { array.setItems(nullptr); };
  array.removeItem(VKItem(list->entries[0]));
  EXPECT_EQ(array.count(), 0U);
  EXPECT_EQ(list->entries.size(), 2U) << "it is not this array's list any more";
}

TEST_F(ItemArray, LooksAtTheNewestEntryUnderTheLockUnderWhichItRefreshesIt) {
  add("/b");
  add("/a");
  array.setKvoOwner(nullptr);
  const auto list = array.items();
  list->mutex.lock();
  std::thread adding([&] { array.addURL({.url = url("/a"), .name = "again", .type = kItemTypeFolder}); });
  // Whatever it was looking at when it came to the lock: the newest entry is another one now.
  std::this_thread::sleep_for(std::chrono::milliseconds(100));
  list->entries.pop_back();
  list->mutex.unlock();
  adding.join();
  ASSERT_EQ(array.count(), 2U);
  EXPECT_EQ(VKItem(list->entries[0]).name(), "b") << "which keeps its name";
  EXPECT_EQ(VKItem(list->entries[1]).name(), "again");
}

TEST_F(ItemArray, TakesAddsFromManyThreads) {
  array.setKvoOwner(nullptr);
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&, i] {
      for (int k = 0; k < 500; ++k) {
        array.addItem(VKItem(record({std::to_string(i).c_str()}, {})));
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(array.count(), 2000U);
}

}  // namespace
}  // namespace vennick
