// SPDX-License-Identifier: MIT
#include "items/VKItem.h"

#include <gtest/gtest.h>

#include "macos/foundation/Bookmark.h"
#include "tests/support/TestHost.h"

namespace vennick {
namespace {

using macos::Array;
using macos::Dictionary;
using macos::NSData;
using macos::NSDate;
using macos::NSURL;
using macos::Value;
using tests::TestHost;

SharedDictionary shared(Dictionary dictionary = {}) {
  return std::make_shared<Dictionary>(std::move(dictionary));
}

NSURL folderURL(std::string_view path) { return NSURL::fileURLWithPathIsDirectory(path, true); }

class ItemTest : public testing::Test {
 protected:
  TestHost host;
};

using Item = ItemTest;

TEST_F(Item, OverAnEmptyDictionaryReadsAsItsDefaults) {
  VKItem item(shared());
  EXPECT_EQ(item.url(), std::nullopt);
  EXPECT_EQ(item.name(), std::nullopt);
  EXPECT_EQ(item.date(), std::nullopt);
  EXPECT_EQ(item.type(), 0U);
  EXPECT_EQ(item.flags(), 2U);
  EXPECT_EQ(item.hotkey(), std::nullopt);
  EXPECT_TRUE(host.log().lines().empty());
  EXPECT_EQ(*item.fileTypes(), Array{Value("*")});
  EXPECT_EQ(*item.applications(), Array{Value("*")});
  const std::vector<std::string> expected{
      item.description() + " : (null) : fileTypes is null or empty. Fixing it.",
      item.description() + " : (null) : applications is null or empty. Fixing it."};
  EXPECT_EQ(host.log().messages(), expected);
}

TEST_F(Item, LogsARepairOnce) {
  VKItem item(shared());
  item.fileTypes();
  item.applications();
  host.log().clear();
  item.fileTypes();
  item.applications();
  EXPECT_TRUE(host.log().lines().empty());
}

TEST_F(Item, RepairsAnEmptyListLikeAMissingOneAndOneOfAnotherKind) {
  for (const Value& stored : {Value(Array()), Value("txt"), Value(7)}) {
    const auto entry = shared({{"fileTypes", stored}, {"url", Value("file:///a")}});
    VKItem item(entry);
    host.log().clear();
    EXPECT_EQ(*item.fileTypes(), Array{Value("*")});
    EXPECT_EQ(*entry->array("fileTypes"), Array{Value("*")}) << "the getter writes into the entry";
    EXPECT_EQ(host.log().messages(),
              std::vector<std::string>{item.description() +
                                       " : file:///a : fileTypes is null or empty. Fixing it."});
  }
}

TEST_F(Item, NamesItselfInTheLogByItsAddress) {
  EXPECT_TRUE(VKItem(shared()).description().starts_with("<VKItem: 0x"));
  EXPECT_TRUE(VKItem(shared()).description().ends_with(">"));
}

TEST_F(Item, HandsOutItsListsLive) {
  const auto entry = shared({{"fileTypes", Value(Array{Value("txt")})}});
  VKItem(entry).fileTypes()->append(Value("rtf"));
  EXPECT_EQ(*entry->array("fileTypes"), (Array{Value("txt"), Value("rtf")}));
}

TEST_F(Item, CopiesAreIndependent) {
  VKItem item(shared({{"fileTypes", Value(Array{Value("txt")})}}));
  VKItem copy = item.copy();
  copy.fileTypes()->append(Value("rtf"));
  copy.setName("copy");
  EXPECT_EQ(*item.fileTypes(), Array{Value("txt")});
  EXPECT_EQ(item.name(), std::nullopt);
}

TEST_F(Item, ViewsShareTheDictionaryTheyWereMadeOver) {
  const auto entry = shared();
  VKItem::itemWithDictionary(entry).setName("one");
  EXPECT_EQ(VKItem(entry).name(), "one");
}

TEST_F(Item, ReturnsExactlyTheStoredHotkey) {
  const Dictionary hotkey{
      {"keyCode", Value(8)}, {"modifierFlags", Value(0x100000)}, {"other", Value("kept")}};
  VKItem item(shared());
  item.setHotkey(hotkey);
  EXPECT_EQ(item.hotkey(), hotkey);
  item.setHotkey(std::nullopt);
  EXPECT_FALSE(item.dict()->contains("hotkey"));
}

TEST_F(Item, SettingNothingRemovesTheKey) {
  VKItem item(shared());
  item.setName("a");
  item.setDate(NSDate{7});
  item.setFileTypes(Array{Value("a")});
  item.setApplications(Array{Value("a")});
  EXPECT_EQ(item.dict()->size(), 4U);
  item.setName(std::nullopt);
  item.setDate(std::nullopt);
  item.setFileTypes(std::nullopt);
  item.setApplications(std::nullopt);
  EXPECT_TRUE(item.dict()->empty());
}

TEST_F(Item, ReadsNumbersOfAnyKindAndNothingElse) {
  const auto typeOf = [](Value value) { return VKItem(shared({{"itemType", std::move(value)}})).type(); };
  EXPECT_EQ(typeOf(Value(4)), 4U);
  EXPECT_EQ(typeOf(Value(2.9)), 2U);
  EXPECT_EQ(typeOf(Value(true)), 1U);
  EXPECT_EQ(typeOf(Value(std::int64_t{0x1'0000'0003})), 3U) << "cut to 32 bits";
  EXPECT_EQ(typeOf(Value(-1)), 0xFFFFFFFFU);
  EXPECT_EQ(typeOf(Value(1e300)), 0U);
  EXPECT_EQ(typeOf(Value("4")), 0U);
  EXPECT_EQ(VKItem(shared({{"flags", Value("1")}})).flags(), 2U);
}

TEST_F(Item, WithWrongTypesUnderEveryKeyReadsAsEmpty) {
  for (const Value& wrong : {Value(), Value(Array{Value(1)}), Value(Dictionary{{"a", Value(1)}})}) {
    const auto entry = shared();
    for (const char* key : {"url", "bookmark", "name", "itemType", "date", "flags"}) {
      entry->set(key, wrong);
    }
    VKItem item(entry);
    EXPECT_EQ(item.url(), std::nullopt);
    EXPECT_EQ(item.name(), std::nullopt);
    EXPECT_EQ(item.date(), std::nullopt);
    EXPECT_EQ(item.type(), 0U);
    EXPECT_EQ(item.flags(), 2U);
    EXPECT_FALSE(item.canBeRemounted());
    EXPECT_EQ(item.resolvedURL(0, std::nullopt), std::nullopt);
  }
}

TEST_F(Item, WithoutADictionaryReadsAsEmptyAndChangesNothing) {
  VKItem item;
  item.setName("a");
  item.setUrl(folderURL("/Users/anna"));
  item.setType(1);
  EXPECT_EQ(item.url(), std::nullopt);
  EXPECT_EQ(item.type(), 0U);
  EXPECT_EQ(item.flags(), 2U);
  EXPECT_EQ(item.fileTypes(), nullptr);
  EXPECT_EQ(item.dict(), nullptr);
}

TEST_F(Item, OfASeparatorHasARelativeURL) {
  const auto url = VKItem(shared({{"url", Value("VKMenuSeparator")}})).url();
  ASSERT_TRUE(url);
  EXPECT_EQ(url->absoluteString(), "VKMenuSeparator");
  EXPECT_FALSE(url->isFileURL());
}

TEST_F(Item, SettingTheLocationSetsNameTypeAndBookmarkToo) {
  host.root().makeFolder("/Users/anna/Projects");
  host.root().writeFile("/Users/anna/letter.txt", "x");
  VKItem item(shared({{"name", Value("old")}}));
  item.setUrl(folderURL("/Users/anna/Projects"));
  EXPECT_EQ(item.dict()->string("url"), "file:///Users/anna/Projects/");
  EXPECT_EQ(item.name(), "Projects");
  EXPECT_EQ(item.type(), kItemTypeFolder);
  EXPECT_TRUE(item.dict()->data("bookmark"));
  item.setUrl(NSURL::fileURLWithPath("/Users/anna/letter.txt"));
  EXPECT_EQ(item.name(), "letter.txt");
  EXPECT_EQ(item.type(), kItemTypeFile);
}

TEST_F(Item, SettingALocationThatDoesNotExistStoresAFolderWithoutABookmark) {
  host.root().makeFolder("/Users/anna/Projects");
  VKItem item(shared());
  item.setUrl(folderURL("/Users/anna/Projects"));
  ASSERT_TRUE(item.dict()->contains("bookmark"));
  item.setUrl(NSURL::fileURLWithPath("/Users/anna/gone.txt"));
  EXPECT_EQ(item.type(), kItemTypeFolder);
  EXPECT_EQ(item.name(), "gone.txt");
  EXPECT_FALSE(item.dict()->contains("bookmark"));
}

TEST_F(Item, SettingNoLocationRemovesNameAndBookmark) {
  host.root().makeFolder("/Users/anna/Projects");
  VKItem item(shared());
  item.setUrl(folderURL("/Users/anna/Projects"));
  item.setUrl(std::nullopt);
  EXPECT_EQ(*item.dict(), (Dictionary{{"itemType", Value(2)}}));
}

TEST_F(Item, ResolvesARelativeLocationAgainstTheBase) {
  host.root().makeFolder("/Users/a/Projects");
  VKItem item(shared({{"url", Value("./Projects")}}));
  const auto url = item.resolvedURL(0, folderURL("/Users/a"));
  ASSERT_TRUE(url);
  EXPECT_EQ(url->absoluteString(), "file:///Users/a/Projects/");
  EXPECT_EQ(item.dict()->string("url"), "./Projects") << "the stored location stays relative";
}

TEST_F(Item, KeepsARelativeLocationThatIsNotInTheBase) {
  VKItem item(shared({{"url", Value("./Nowhere")}}));
  const auto url = item.resolvedURL(0, folderURL("/Users/a"));
  ASSERT_TRUE(url);
  EXPECT_EQ(url->absoluteString(), "./Nowhere");
}

TEST_F(Item, FollowsAMovedFileAndStoresTheNewPlace) {
  host.root().writeFile("/Users/anna/old.txt", "x");
  VKItem item(shared());
  item.setUrl(NSURL::fileURLWithPath("/Users/anna/old.txt"));
  const std::string bookmark(*item.dict()->data("bookmark"));
  std::filesystem::rename(host.root().hostPath("/Users/anna/old.txt"),
                          host.root().hostPath("/Users/anna/new.txt"));
  const auto url = item.resolvedURL(0, std::nullopt);
  ASSERT_TRUE(url);
  EXPECT_EQ(url->absoluteString(), "file:///Users/anna/new.txt");
  EXPECT_EQ(item.dict()->string("url"), "file:///Users/anna/new.txt");
  EXPECT_EQ(item.dict()->data("bookmark"), bookmark) << "only the location is rewritten";
  EXPECT_EQ(item.name(), "old.txt");
}

TEST_F(Item, WhoseBookmarkLeadsNowhereResolvesToNothing) {
  host.root().writeFile("/Users/anna/a.txt", "x");
  VKItem item(shared());
  item.setUrl(NSURL::fileURLWithPath("/Users/anna/a.txt"));
  host.root().remove("/Users/anna/a.txt");
  EXPECT_EQ(item.resolvedURL(0, std::nullopt), std::nullopt);
  EXPECT_EQ(item.dict()->string("url"), "file:///Users/anna/a.txt");
}

TEST_F(Item, WithoutABookmarkResolvesToItsMissingLocation) {
  VKItem item(shared({{"url", Value("file:///nowhere")}}));
  EXPECT_EQ(item.resolvedURL(0, std::nullopt), NSURL::URLWithString("file:///nowhere"));
}

TEST_F(Item, CanBeRemountedOnlyOnAnEjectableOrForeignVolume) {
  host.root().makeFolder("/Volumes/Stick/a");
  host.root().makeFolder("/Volumes/Server/a");
  host.root().makeFolder("/Users/anna/a");
  host.volumes().change("/Volumes/Stick", [](macos::VolumeInfo& info) { info.isEjectable = true; });
  host.volumes().change("/Volumes/Server", [](macos::VolumeInfo& info) { info.isLocal = false; });
  const auto canBeRemounted = [](std::string_view path) {
    VKItem item(shared());
    item.setUrl(folderURL(path));
    EXPECT_TRUE(item.dict()->contains("bookmark")) << path;
    return item.canBeRemounted();
  };
  EXPECT_TRUE(canBeRemounted("/Volumes/Stick/a"));
  EXPECT_TRUE(canBeRemounted("/Volumes/Server/a"));
  EXPECT_FALSE(canBeRemounted("/Users/anna/a"));
}

TEST_F(Item, CanBeRemountedByABookmarkThatCannotBeRead) {
  EXPECT_FALSE(VKItem(shared()).canBeRemounted());
  EXPECT_TRUE(VKItem(shared({{"bookmark", Value(NSData{"no bookmark"})}})).canBeRemounted());
}

}  // namespace
}  // namespace vennick
