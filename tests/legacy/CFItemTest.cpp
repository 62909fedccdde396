// SPDX-License-Identifier: MIT
#include "legacy/CFItem.h"

#include <gtest/gtest.h>

#include "legacy/AliasChecksum.h"
#include "tests/support/AliasFiles.h"
#include "tests/support/IndependentReader.h"

namespace vennick {
namespace {

using macos::AliasHandle;
using macos::Dictionary;
using macos::FSRef;
using macos::NSData;
using macos::NSURL;
using macos::Value;
using macos::VolumeInfo;
using tests::aliasTo;
using tests::CountingFileSystem;
using tests::pathOf;
using tests::refTo;
using tests::TestHost;

constexpr const char* kItem = "/Users/anna/report.txt";
constexpr const char* kOtherItem = "/Users/anna/other.txt";

Value bytesValue(std::string bytes) { return Value(NSData{std::move(bytes)}); }

std::string littleEndian(int code) {
  return {static_cast<char>(code & 0xFF), static_cast<char>(code >> 8 & 0xFF)};
}

std::string checksumOf(const std::string& bytes) {
  return littleEndian(ComputeAliasChecksum(bytes.size(), bytes));
}

class Item : public testing::Test {
 protected:
  Item() {
    host.root().writeFile(kItem, "text");
    host.root().writeFile(kOtherItem, "text");
  }

  void setAlias(const std::string& bytes) { dictionary->set("Alias", bytesValue(bytes)); }
  std::string stored(std::string_view key) const {
    return std::string(std::as_const(*dictionary).data(key).value_or(""));
  }
  bool has(std::string_view key) const { return dictionary->contains(key); }
  std::string urlPath() {
    const auto url = item.url();
    return url ? url->path() : "";
  }

  TestHost host;
  LegacyItem dictionary = std::make_shared<Dictionary>();
  CFItem item = CFItem(dictionary, ResolveMode::AnyTarget);
};

TEST_F(Item, WithoutADictionaryDoesNothing) {
  CFItem empty(ResolveMode::AnyTarget);
  FSRef ref;
  std::size_t length = 7;
  std::string buffer = "xy";
  EXPECT_EQ(empty.name(), "");
  empty.setName("x");
  empty.setAlias(aliasTo(kItem));
  EXPECT_TRUE(empty.aliasHandle().isNull());
  EXPECT_FALSE(empty.aliasData());
  EXPECT_FALSE(empty.resolve());
  EXPECT_FALSE(empty.url());
  EXPECT_FALSE(empty.getFSRef(&ref));
  empty.setURL(NSURL::fileURLWithPath(kItem));
  empty.setFSRef(refTo(kItem));
  EXPECT_FALSE(empty.getData("Alias", buffer, &length));
  EXPECT_EQ(length, 0U);
  empty.setData("Alias", "x");
  empty.setCommandKey({0, 0, 0x100, 0});
  EXPECT_FALSE(empty.isOnServer());
  EXPECT_FALSE(empty.dictionary());
}

TEST_F(Item, NameThatIsNoStringIsNone) {
  EXPECT_EQ(item.name(), "");
  dictionary->set("Name", Value(3));
  EXPECT_EQ(item.name(), "");
}

TEST_F(Item, SettingTheNameClearsTheLocationAndNothingElse) {
  item.setAlias(aliasTo(kItem));
  dictionary->set("CommandKey", bytesValue("12345678"));
  item.setName("New");
  EXPECT_EQ(item.name(), "New");
  EXPECT_FALSE(has("URL") || has("FSRef") || has("ResolveError"));
  EXPECT_TRUE(has("Alias") && has("AliasChecksum") && has("CommandKey"));
}

// --- setAlias

TEST_F(Item, AliasIsStoredWithChecksumNameAndLocation) {
  const AliasHandle alias = aliasTo(kItem);
  dictionary->set("Name", Value("Old"));
  item.setAlias(alias);
  EXPECT_EQ(stored("Alias"), alias.bytes);
  EXPECT_EQ(stored("AliasChecksum"), checksumOf(alias.bytes));
  EXPECT_EQ(item.name(), "report.txt") << "always replaces the name";
  EXPECT_EQ(stored("FSRef").size(), 80U);
  EXPECT_EQ(dictionary->find("URL")->ifURL()->path(), kItem);
  EXPECT_EQ(stored("ResolveError"), littleEndian(0));
}

TEST_F(Item, NewAliasThatCannotBeResolvedIsNotKept) {
  item.setAlias(aliasTo(kItem));
  const AliasHandle gone = aliasTo(kOtherItem);
  host.root().remove(kOtherItem);
  item.setAlias(gone);
  EXPECT_FALSE(has("Alias") || has("AliasChecksum") || has("URL") || has("FSRef"));
}

// It looks like a mistake and is kept: resolve() stores every code but this one.
TEST_F(Item, SettingAnAliasStoresVolumeGoneAlthoughResolvingDoesNot) {
  const AliasHandle gone = aliasTo(kOtherItem);
  host.root().remove(kOtherItem);
  item.setAlias(gone);
  EXPECT_EQ(stored("ResolveError"), littleEndian(-124));
}

TEST_F(Item, SettingNoAliasStoresAParameterError) {
  item.setAlias(aliasTo(kItem));
  item.setAlias(AliasHandle());
  EXPECT_FALSE(has("Alias") || has("AliasChecksum") || has("URL") || has("FSRef"));
  EXPECT_EQ(stored("ResolveError"), littleEndian(-50));
  EXPECT_EQ(item.name(), "report.txt");
}

TEST_F(Item, IsSetFromAURLOrAReference) {
  item.setURL(NSURL::fileURLWithPath(kItem));
  EXPECT_EQ(urlPath(), kItem);
  item.setFSRef(refTo(kOtherItem));
  EXPECT_EQ(urlPath(), kOtherItem);
  item.setURL(NSURL::fileURLWithPath("/none"));
  item.setFSRef(FSRef());
  EXPECT_EQ(urlPath(), kOtherItem) << "nothing happens for what is not there";
}

// --- aliasHandle

TEST_F(Item, AliasWithoutAChecksumIsNotChecked) {
  setAlias("anything");
  EXPECT_EQ(item.aliasHandle().bytes, "anything");
}

TEST_F(Item, AliasThatIsAbsentEmptyOrNoDataIsNone) {
  EXPECT_TRUE(item.aliasHandle().isNull());
  setAlias("");
  EXPECT_TRUE(item.aliasHandle().isNull());
  dictionary->set("Alias", Value("text"));
  EXPECT_TRUE(item.aliasHandle().isNull());
  EXPECT_FALSE(item.aliasData());
}

TEST_F(Item, ChecksumStoredByteSwappedIsAccepted) {
  setAlias("alis");
  dictionary->set("AliasChecksum", bytesValue("\xEA\xBA"));
  EXPECT_EQ(item.aliasHandle().bytes, "alis");
  dictionary->set("AliasChecksum", bytesValue("\xBA\xEA"));
  EXPECT_EQ(item.aliasHandle().bytes, "alis");
}

TEST_F(Item, ChecksumThatIsNotTwoBytesCountsAsAbsent) {
  setAlias("alis");
  for (const Value& checksum : {bytesValue(""), bytesValue("x"), bytesValue("xyz"), Value(3), Value("xy")}) {
    dictionary->set("AliasChecksum", checksum);
    EXPECT_EQ(item.aliasHandle().bytes, "alis");
  }
}

TEST_F(Item, CorruptedAliasIsLoggedAndRemoved) {
  setAlias("alis");
  dictionary->set("AliasChecksum", bytesValue("xy"));
  dictionary->set("Name", Value("Größe"));
  EXPECT_TRUE(item.aliasHandle().isNull());
  EXPECT_EQ(host.log().systemMessages(),
            (std::vector<std::pair<int, std::string>>{
                {1, "** Corrupted alias data for Größe - ignoring the alias **"}}));
  EXPECT_FALSE(has("Alias") || has("AliasChecksum"));
  EXPECT_EQ(item.name(), "Größe");
  host.log().clear();
  dictionary->remove("Name");
  setAlias("alis");
  dictionary->set("AliasChecksum", bytesValue("xy"));
  item.aliasHandle();
  EXPECT_EQ(host.log().systemMessages().front().second,
            "** Corrupted alias data for  - ignoring the alias **");
}

TEST_F(Item, ChecksumCountsTheLengthIn16Bits) {
  for (const std::size_t length : {65'535U, 65'536U, 65'545U, 70'000U}) {
    std::string bytes(length, '\0');
    for (std::size_t i = 0; i < length; ++i) bytes[i] = static_cast<char>(i % 256);
    setAlias(bytes);
    dictionary->set("AliasChecksum", bytesValue(checksumOf(bytes.substr(0, length % 65'536))));
    EXPECT_EQ(item.aliasHandle().bytes.size(), length);
  }
}

TEST_F(Item, RawAliasDataIsUnchecked) {
  setAlias("alis");
  dictionary->set("AliasChecksum", bytesValue("xy"));
  EXPECT_EQ(item.aliasData(), NSData{"alis"});
}

// --- resolve

TEST_F(Item, ResolvesAndKeepsTheNameThatItHas) {
  setAlias(aliasTo(kItem).bytes);
  dictionary->set("Name", Value("Mine"));
  EXPECT_TRUE(item.resolve());
  EXPECT_EQ(item.name(), "Mine");
  EXPECT_EQ(urlPath(), kItem);
  EXPECT_EQ(stored("AliasChecksum"), checksumOf(stored("Alias")));
  EXPECT_EQ(stored("ResolveError"), littleEndian(0));
  dictionary->remove("Name");
  item.clearLocation();
  EXPECT_TRUE(item.resolve());
  EXPECT_EQ(item.name(), "report.txt");
}

TEST_F(Item, ThatIsResolvedIsNotResolvedAgain) {
  setAlias(aliasTo(kItem).bytes);
  ASSERT_TRUE(item.resolve());
  const auto counter = host.interpose<CountingFileSystem>();
  EXPECT_TRUE(item.resolve());
  EXPECT_EQ(urlPath(), kItem);
  EXPECT_EQ(counter->total(), 0);
}

TEST_F(Item, WithoutAnAliasIsNotResolvedAndNothingIsStored) {
  EXPECT_FALSE(item.resolve());
  EXPECT_TRUE(dictionary->empty());
}

// "After a failed resolution with code -43, url returns null at once without resolving again until
// clearLocations; after -124 it tries again every time."
TEST_F(Item, AfterNotFoundIsNotTriedAgainUntilTheLocationIsCleared) {
  setAlias(tests::changedAlias(aliasTo(kItem), [](macos::AliasRecord& record) {
             record.removeField(macos::AliasTag::PosixPath);
             record.removeField(macos::AliasTag::CarbonPath);
           }).bytes);
  host.root().remove(kItem);
  EXPECT_EQ(urlPath(), "");
  EXPECT_EQ(stored("ResolveError"), littleEndian(-43));
  host.root().writeFile(kItem, "back");
  const auto counter = host.interpose<CountingFileSystem>();
  EXPECT_EQ(urlPath(), "");
  EXPECT_EQ(counter->total(), 0);
  item.clearLocation();
  EXPECT_EQ(urlPath(), kItem);
}

TEST_F(Item, AfterVolumeGoneIsTriedAgainEveryTime) {
  setAlias(aliasTo(kItem).bytes);
  host.root().remove(kItem);
  EXPECT_EQ(urlPath(), "");
  EXPECT_FALSE(has("ResolveError"));
  host.root().writeFile(kItem, "back");
  EXPECT_EQ(urlPath(), kItem);
}

TEST_F(Item, WhoseRecordIsNoneKeepsTheParameterError) {
  setAlias("1234567");
  EXPECT_FALSE(item.resolve());
  EXPECT_EQ(stored("ResolveError"), littleEndian(-50));
  EXPECT_TRUE(has("Alias"));
}

TEST_F(Item, ResolveErrorCountsByItsPresenceAlone) {
  setAlias(aliasTo(kItem).bytes);
  for (const Value& value : {bytesValue(""), bytesValue("too long"), Value(0), Value("text"), Value(false)}) {
    dictionary->set("ResolveError", value);
    EXPECT_EQ(urlPath(), "");
    FSRef ref;
    EXPECT_FALSE(item.getFSRef(&ref));
  }
}

// It looks like a mistake and is kept.
TEST_F(Item, SuccessIsStoredSoThatAMissingURLIsNotTriedAgain) {
  setAlias(aliasTo(kItem).bytes);
  ASSERT_TRUE(item.resolve());
  dictionary->remove("URL");
  EXPECT_FALSE(item.resolve());
  EXPECT_EQ(urlPath(), "");
}

TEST_F(Item, CachedLocationOfAnotherTypeOrAnothersCountsAsAbsent) {
  setAlias(aliasTo(kItem).bytes);
  for (const Value& ref : {bytesValue(std::string(79, 'x')), bytesValue(std::string(80, 'x')),
                           bytesValue(std::string(81, 'x')), Value(1)}) {
    dictionary->set("FSRef", ref);
    dictionary->set("URL", Value("file:///elsewhere"));
    dictionary->remove("ResolveError");
    FSRef found;
    ASSERT_TRUE(item.getFSRef(&found));
    EXPECT_EQ(pathOf(found), kItem);
    EXPECT_EQ(urlPath(), kItem);
  }
}

TEST_F(Item, KnowsItsTargetsServer) {
  host.root().writeFile("/Volumes/Share/a", "");
  host.volumes().change("/Volumes/Share", [](VolumeInfo& volume) { volume.isLocal = false; });
  setAlias(aliasTo("/Volumes/Share/a").bytes);
  ASSERT_TRUE(item.resolve());
  EXPECT_EQ(stored("IsOnServer"), "\1");
  EXPECT_TRUE(item.isOnServer());
  setAlias(aliasTo(kItem).bytes);
  dictionary->remove("AliasChecksum");
  item.clearLocation();
  ASSERT_TRUE(item.resolve());
  EXPECT_FALSE(item.isOnServer());
  dictionary->set("IsOnServer", Value("of any type"));
  EXPECT_TRUE(item.isOnServer());
}

TEST_F(Item, InAFolderListLeadsToTheFolder) {
  CFItem inFolderList(dictionary, ResolveMode::FolderList);
  inFolderList.setAlias(aliasTo(kItem));
  EXPECT_EQ(inFolderList.url()->path(), "/Users/anna");
  EXPECT_EQ(stored("Alias"), aliasTo("/Users/anna").bytes) << "the refreshed record is stored";
}

TEST_F(Item, WhoseAliasLeadsToAnAliasFileOfADocumentStaysThere) {
  tests::writeAliasFile("/Users/anna/alias", kItem);
  item.setAlias(aliasTo("/Users/anna/alias"));
  EXPECT_EQ(urlPath(), "/Users/anna/alias");
}

// --- Data

TEST_F(Item, DataIsCopiedOnlyWhenItFits) {
  dictionary->set("Key", bytesValue("abc"));
  std::size_t length = 0;
  std::string buffer = "....";
  EXPECT_TRUE(item.getData("Key", buffer, &length));
  EXPECT_EQ(buffer, "abc.");
  EXPECT_EQ(length, 3U);
  std::string small = "..";
  EXPECT_TRUE(item.getData("Key", small, &length)) << "also when it was not copied";
  EXPECT_EQ(small, "..");
  EXPECT_EQ(length, 3U);
  EXPECT_TRUE(item.getData("Key", {}, &length));
  EXPECT_FALSE(item.getData("None", buffer, &length));
  EXPECT_EQ(buffer, std::string(4, '\0'));
  EXPECT_EQ(length, 0U);
  dictionary->set("Key", Value("no data"));
  EXPECT_FALSE(item.getData("Key", buffer, nullptr));
}

TEST_F(Item, NoBytesRemoveTheKey) {
  item.setData("Key", "abc");
  EXPECT_EQ(stored("Key"), "abc");
  item.setData("Key", "");
  EXPECT_FALSE(has("Key"));
}

}  // namespace
}  // namespace vennick
