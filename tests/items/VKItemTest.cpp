// SPDX-License-Identifier: MIT
#include "items/VKItem.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>

#include "macos/foundation/Bookmark.h"
#include "macos/foundation/Log.h"
#include "macos/foundation/Text.h"
#include "platform/FileQueries.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/IndependentReader.h"
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

TEST_F(Item, WithAnyOtherTypeUnderAKeyReadsThatKeyAsMissing) {
  using Kind = Value::Kind;
  const std::pair<const char*, std::vector<Kind>> fitting[] = {
      {"url", {Kind::String}},
      {"bookmark", {Kind::Data}},
      {"name", {Kind::String}},
      {"itemType", {Kind::Boolean, Kind::Integer, Kind::Real}},
      {"date", {Kind::Date}},
      {"hotkey", {Kind::Dictionary}},
      {"fileTypes", {Kind::Array}},
      {"applications", {Kind::Array}},
      {"flags", {Kind::Boolean, Kind::Integer, Kind::Real}}};
  const Value values[] = {Value(),
                          Value(true),
                          Value(7),
                          Value(7.5),
                          Value(NSDate{7}),
                          Value(NSData{"book"}),
                          Value("seven"),
                          Value(*NSURL::URLWithString("file:///seven")),
                          Value(Array{Value("seven")}),
                          Value(Dictionary{{"keyCode", Value(7)}})};
  // All that can be read, as one dictionary.
  const auto readings = [](VKItem item) {
    Dictionary all;
    if (const auto url = item.url()) all.set("url", Value(*url));
    if (const auto name = item.name()) all.set("name", Value(*name));
    if (const auto date = item.date()) all.set("date", Value(*date));
    if (const auto hotkey = item.hotkey()) all.set("hotkey", Value(*hotkey));
    all.set("type", Value(item.type()));
    all.set("flags", Value(item.flags()));
    all.set("canBeRemounted", Value(item.canBeRemounted()));
    const auto resolved = item.resolvedURL(768, folderURL("/Users"));
    if (resolved) all.set("resolved", Value(*resolved));
    all.set("fileTypes", Value(*item.fileTypes()));
    all.set("applications", Value(*item.applications()));
    return all;
  };
  const Dictionary missing = readings(VKItem(shared()));
  for (const auto& [key, kinds] : fitting) {
    for (const Value& value : values) {
      const Dictionary read = readings(VKItem(shared({{key, value}})));
      const bool fits = std::find(kinds.begin(), kinds.end(), value.kind()) != kinds.end();
      EXPECT_EQ(read != missing, fits) << key << " = " << macos::description(value);
    }
  }
}

TEST_F(Item, ReadsFlagsOfAnyKindOfNumberCutTo32Bits) {
  const auto flagsOf = [](Value value) { return VKItem(shared({{"flags", std::move(value)}})).flags(); };
  EXPECT_EQ(flagsOf(Value(0)), 0U);
  EXPECT_EQ(flagsOf(Value(false)), 0U);
  EXPECT_EQ(flagsOf(Value(3.99)), 3U);
  EXPECT_EQ(flagsOf(Value(std::int64_t{0x7'0000'0005})), 5U);
  VKItem item(shared());
  item.setFlags(0xFFFFFFFF);
  EXPECT_EQ(item.dict()->integer("flags"), macos::Integer(0xFFFFFFFFU)) << "stored without a sign";
  item.setType(0xFFFFFFFF);
  EXPECT_EQ(item.dict()->integer("itemType"), macos::Integer(0xFFFFFFFFU));
}

TEST_F(Item, KeepsLocationsWithNamesOfEveryKind) {
  std::string everyByte;
  for (int byte = 1; byte < 256; ++byte) {
    if (byte != '/') everyByte.push_back(static_cast<char>(byte));
  }
  for (const std::string& name :
       {std::string("line\nbreak"), std::string("caf\xE9"), std::string("a:b"), std::string(".dot"),
        std::string("%41?#;"), everyByte, std::string(255, 'n'), std::string("caf\u00E9"),
        std::string("cafe\u0301")}) {
    const std::string path = "/Users/anna/" + name;
    host.root().writeFile(path, "x");
    VKItem item(shared());
    item.setUrl(NSURL::fileURLWithPath(path));
    EXPECT_EQ(item.type(), kItemTypeFile) << name;
    EXPECT_TRUE(item.dict()->contains("bookmark")) << name;
    EXPECT_TRUE(macos::isValidUTF8(item.name().value_or("\xFF"))) << name;
    const auto resolved = item.resolvedURL(768, std::nullopt);
    ASSERT_TRUE(resolved) << name;
    EXPECT_TRUE(pathExistsAndIsFile(*resolved)) << name;
    const std::string moved = "/Users/anna/moved";
    ASSERT_TRUE(host.files().rename(path, moved, macos::FileSystem::Replace::No).ok()) << name;
    const auto healed = item.resolvedURL(768, std::nullopt);
    ASSERT_TRUE(healed) << name;
    EXPECT_EQ(healed->absoluteString(), "file:///Users/anna/moved") << name;
    host.root().remove(moved);
  }
}

TEST_F(Item, WithABookmarkCutAtAnyByteNeverComesToHarm) {
  host.root().writeFile("/Users/anna/a.txt", "x");
  VKItem item(shared());
  item.setUrl(NSURL::fileURLWithPath("/Users/anna/a.txt"));
  const std::string whole(*item.dict()->data("bookmark"));
  item.dict()->set("url", Value("file:///Users/anna/gone.txt"));
  for (std::size_t length = 0; length < whole.size(); ++length) {
    item.dict()->set("bookmark", Value(NSData{whole.substr(0, length)}));
    EXPECT_EQ(item.resolvedURL(768, std::nullopt), std::nullopt) << length;
    EXPECT_TRUE(item.canBeRemounted()) << length;
    EXPECT_EQ(item.dict()->string("url"), "file:///Users/anna/gone.txt") << length;
  }
}

TEST_F(Item, InAFolderThatMayNotBeReadHasNoBookmark) {
  host.root().writeFile("/Users/anna/closed/a.txt", "x");
  host.root().giveTo(tests::kOrdinaryUser);
  ASSERT_TRUE(host.files().setMode("/Users/anna/closed", 0).ok());
  tests::expectAsOrdinaryUser([] {
    VKItem item(shared());
    item.setUrl(NSURL::fileURLWithPathIsDirectory("/Users/anna/closed/a.txt", false));
    EXPECT_EQ(item.name(), "a.txt");
    EXPECT_EQ(item.type(), kItemTypeFolder);
    EXPECT_FALSE(item.dict()->contains("bookmark"));
  });
  ASSERT_TRUE(host.files().setMode("/Users/anna/closed", 0755).ok());
}

TEST_F(Item, WhoseLocationVanishesWhileItIsSetIsStillWhole) {
  for (long nth = 1; nth < 60; ++nth) {
    host.root().writeFile("/Users/anna/a.txt", "x");
    VKItem item(shared());
    const NSURL url = NSURL::fileURLWithPathIsDirectory("/Users/anna/a.txt", false);
    host.interpose<tests::FailingFileSystem>(nth, ENOENT);
    item.setUrl(url);
    (void)item.resolvedURL(768, std::nullopt);
    host.removeInterposed();
    EXPECT_EQ(item.name(), "a.txt") << nth;
    EXPECT_TRUE(item.type() == kItemTypeFile || item.type() == kItemTypeFolder) << nth;
    EXPECT_EQ(item.resolvedURL(768, std::nullopt), url) << nth;
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

TEST_F(Item, ResolvesARelativeLocationBesideABaseWithoutASlashAsURLsDo) {
  host.root().makeFolder("/Users/a/Projects");
  VKItem item(shared({{"url", Value("./Projects")}}));
  const auto url = item.resolvedURL(0, NSURL::URLWithString("file:///Users/a/Library"));
  ASSERT_TRUE(url);
  EXPECT_EQ(url->absoluteString(), "file:///Users/a/Projects/");
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

TEST_F(Item, HasABookmarkWithItsVolumesFactsForAnIndependentReader) {
  host.root().makeFolder("/Volumes/Stick/a");
  host.root().makeFolder("/Volumes/Server/a");
  host.volumes().change("/Volumes/Stick", [](macos::VolumeInfo& info) { info.isEjectable = true; });
  host.volumes().change("/Volumes/Server", [](macos::VolumeInfo& info) {
    info.isLocal = false;
    info.remountURL = "smb://server/Share";
  });
  const auto reading = [](std::string_view path) {
    VKItem item(shared());
    item.setUrl(folderURL(path));
    return readIndependently("bookmark.py", item.dict()->data("bookmark").value_or(""));
  };
  // Of the volume's facts bit 0x1 says local and 0x20 ejectable.
  const auto facts = [](const std::string& text) {
    const std::size_t start = text.find("\n2020 flags ");
    return start == std::string::npos ? 0 : std::stoull(text.substr(start + 12), nullptr, 16) & 0x21;
  };
  const std::string home = reading("/Users/anna");
  const std::string stick = reading("/Volumes/Stick/a");
  const std::string server = reading("/Volumes/Server/a");
  EXPECT_EQ(facts(home), 0x1U) << home;
  EXPECT_EQ(facts(stick), 0x21U) << stick;
  EXPECT_EQ(facts(server), 0x0U) << server;
  EXPECT_NE(server.find("\n2050 <smb://server/Share>\n"), std::string::npos) << server;
  EXPECT_EQ(stick.find("\n2050 "), std::string::npos) << stick;
  EXPECT_NE(stick.find("\nD010 s32 0\n"), std::string::npos) << "made with no options\n" << stick;
}

TEST_F(Item, CanBeRemountedByABookmarkThatCannotBeRead) {
  EXPECT_FALSE(VKItem(shared()).canBeRemounted());
  EXPECT_TRUE(VKItem(shared({{"bookmark", Value(NSData{"no bookmark"})}})).canBeRemounted());
}

}  // namespace
}  // namespace vennick
