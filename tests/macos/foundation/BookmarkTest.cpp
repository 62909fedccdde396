// SPDX-License-Identifier: MIT
#include "macos/foundation/Bookmark.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <map>
#include <thread>

#include "macos/carbon/AliasRecord.h"
#include "macos/carbon/ResourceFork.h"
#include "macos/foundation/BookmarkData.h"
#include "macos/foundation/FileMetadata.h"
#include "macos/foundation/ResourceKeys.h"
#include "tests/support/IndependentReader.h"
#include "tests/support/ProcessorTime.h"
#include "tests/support/TestHost.h"

namespace macos {
namespace {

using vennick::tests::CountingFileSystem;
using vennick::tests::FileOperation;
using vennick::tests::TestHost;

constexpr const char* kFile = "/Users/anna/Documents/report.txt";

NSURL urlOf(std::string_view path) { return NSURL::fileURLWithPath(path); }

NSData bookmarkOf(std::string_view path, unsigned options = 0) {
  NSError error;
  auto data = bookmarkDataWithOptions(urlOf(path), options, {}, &error);
  EXPECT_TRUE(data) << path << " " << error.code;
  return data.value_or(NSData());
}

// The path that the bookmark leads to; "" when it leads nowhere.
std::string resolved(const NSData& bookmark, bool* isStale = nullptr) {
  const auto url = URLByResolvingBookmarkData(bookmark, NSURLBookmarkResolutionWithoutUI, isStale);
  return url ? url->path() : "";
}

void move(TestHost& host, std::string_view from, std::string_view to) {
  ASSERT_TRUE(host.files().rename(from, to, FileSystem::Replace::No).ok());
}

class Bookmark : public testing::Test {
 protected:
  Bookmark() { host.root().writeFile(kFile, "text"); }

  TestHost host;
};

// --- Making

TEST_F(Bookmark, HoldsPathIdentifiersVolumeFactsAndOptions) {
  const NSData data = bookmarkOf(kFile, NSURLBookmarkCreationSuitableForBookmarkFile);
  const auto inode = [&](std::string_view path) { return host.files().info(path, FollowLinks::No)->inode; };
  const auto volume = host.host().volumes().volumeForPath(kFile, FollowLinks::Yes);
  const std::string text = readIndependently("bookmark.py", data.bytes);
  EXPECT_NE(text.find("1004 ['Users', 'anna', 'Documents', 'report.txt']\n"), std::string::npos) << text;
  EXPECT_NE(text.find("1005 [s64 " + std::to_string(inode("/Users")) + ", s64 " +
                      std::to_string(inode("/Users/anna")) + ", s64 " +
                      std::to_string(inode("/Users/anna/Documents")) + ", s64 " +
                      std::to_string(inode(kFile)) + "]\n"),
            std::string::npos)
      << text;
  EXPECT_NE(text.find("1010 flags 0x1 0x21f 0x21f\n"), std::string::npos) << text;
  EXPECT_NE(text.find("2002 '/'\n2005 <file:///>\n2010 'Macintosh HD'\n2012 s64 " +
                      std::to_string(volume.capacity) + "\n"),
            std::string::npos)
      << text;
  EXPECT_NE(text.find("2030 True\nC001 s64 2\nD010 s32 1024\nF017 'report.txt'\n"), std::string::npos)
      << text;
}

TEST_F(Bookmark, TellsFoldersVolumesPackagesAndLinksApart) {
  host.root().makeFolder("/Users/anna/Tool.app/Contents");
  host.root().makeFolder("/Volumes/Backup");
  host.root().makeLink("/Users/anna/link", "Documents");
  const auto flags = [](std::string_view path, unsigned options) {
    return BookmarkData::decode(bookmarkOf(path, options).bytes)->flags(BookmarkKey::ResourceFlags)->values;
  };
  constexpr unsigned kForFile = NSURLBookmarkCreationSuitableForBookmarkFile;
  EXPECT_EQ(flags("/Users/anna", kForFile), kBookmarkIsDirectory);
  EXPECT_EQ(flags("/", kForFile), kBookmarkIsDirectory | kBookmarkIsVolume);
  EXPECT_EQ(flags("/Volumes/Backup", 0), kBookmarkIsDirectory | kBookmarkIsVolume);
  EXPECT_EQ(flags("/Users/anna/link", 0), kBookmarkIsSymbolicLink);
  EXPECT_EQ(flags("/Users/anna/Tool.app", kForFile),
            kBookmarkIsDirectory | kBookmarkIsPackage | kBookmarkIsApplication);
  EXPECT_EQ(flags("/Users/anna/Tool.app", 0), kBookmarkIsDirectory);
}

TEST_F(Bookmark, RecordsThePathWithoutLinks) {
  host.root().makeLink("/Users/anna/Docs", "Documents");
  EXPECT_EQ(resolved(bookmarkOf("/Users/anna/Docs/report.txt")), kFile);
}

TEST_F(Bookmark, IsNotMadeOfWhatIsMissing) {
  NSError error;
  EXPECT_FALSE(bookmarkDataWithOptions(urlOf("/Users/anna/none"), 0, {}, &error));
  EXPECT_EQ(error.code, 260);
  EXPECT_FALSE(bookmarkDataWithOptions(*NSURL::URLWithString("http://localhost/"), 0, {}, &error));
  EXPECT_EQ(error.code, 262);
  EXPECT_FALSE(bookmarkDataWithOptions(urlOf("/" + std::string(5000, 'x')), 0));
}

TEST_F(Bookmark, AnswersForItsVolumeWithoutTouchingADisk) {
  host.volumes().change("/Volumes/Stick", [](VolumeInfo& volume) { volume.isEjectable = true; });
  host.volumes().change("/Volumes/Share", [](VolumeInfo& volume) {
    volume.isLocal = false;
    volume.remountURL = "smb://server/Share";
  });
  host.root().writeFile("/Volumes/Stick/a", "");
  host.root().writeFile("/Volumes/Share/b", "");
  const std::vector<std::string> keys = {NSURLVolumeIsLocalKey, NSURLVolumeIsEjectableKey,
                                         NSURLVolumeURLForRemountingKey, "NSURLUnknownKey"};
  const NSData home = bookmarkOf(kFile), stick = bookmarkOf("/Volumes/Stick/a"),
               share = bookmarkOf("/Volumes/Share/b");
  const auto counter = host.interpose<CountingFileSystem>();
  EXPECT_EQ(resourceValuesForKeys(keys, home),
            (Dictionary{{NSURLVolumeIsLocalKey, Value(true)}, {NSURLVolumeIsEjectableKey, Value(false)}}));
  EXPECT_EQ(resourceValuesForKeys(keys, stick),
            (Dictionary{{NSURLVolumeIsLocalKey, Value(true)}, {NSURLVolumeIsEjectableKey, Value(true)}}));
  EXPECT_EQ(
      resourceValuesForKeys(keys, share),
      (Dictionary{{NSURLVolumeIsLocalKey, Value(false)},
                  {NSURLVolumeIsEjectableKey, Value(false)},
                  {NSURLVolumeURLForRemountingKey, Value(*NSURL::URLWithString("smb://server/Share"))}}));
  EXPECT_EQ(resourceValuesForKeys({NSURLVolumeIsLocalKey}, share),
            (Dictionary{{NSURLVolumeIsLocalKey, Value(false)}}));
  EXPECT_EQ(counter->total(), 0);
}

TEST_F(Bookmark, OfARealMacTellsItsVolumesFacts) {
  const NSData data{testData("bookmarks/plaso_Downloads_plist_00.bookmark")};
  EXPECT_EQ(resourceValuesForKeys({NSURLVolumeIsLocalKey, NSURLVolumeIsEjectableKey}, data),
            (Dictionary{{NSURLVolumeIsLocalKey, Value(true)}, {NSURLVolumeIsEjectableKey, Value(false)}}));
  EXPECT_TRUE(resourceValuesForKeys({NSURLVolumeIsLocalKey}, NSData{"book"}).empty());
}

// --- Resolving

TEST_F(Bookmark, ResolvesByPath) {
  bool isStale = true;
  EXPECT_EQ(resolved(bookmarkOf(kFile), &isStale), kFile);
  EXPECT_FALSE(isStale);
  EXPECT_EQ(resolved(bookmarkOf("/")), "/");
  const auto folder = URLByResolvingBookmarkData(bookmarkOf("/Users/anna/Documents"), 0);
  EXPECT_EQ(folder->absoluteString(), "file:///Users/anna/Documents/");
}

TEST_F(Bookmark, ResolvingByPathReadsNoFolder) {
  const NSData data = bookmarkOf(kFile);
  const auto counter = host.interpose<CountingFileSystem>();
  resolved(data);
  EXPECT_EQ(counter->count(FileOperation::List), 0);
  EXPECT_LE(counter->total(), 3);
}

TEST_F(Bookmark, OfARealMacResolvesWhenItsItemIsHere) {
  host.root().writeFile("/System/Library/Perl/5.30/x", "");
  host.root().writeFile("/Users/me/Downloads/CyberChef_v9.55.0.zip.download/CyberChef_v9.55.0.zip", "");
  const NSData folder{*blobFromBookmarkFile(testData("alias-files/folder.alias"))};
  EXPECT_EQ(resolved(folder), "/System/Library/Perl");
  EXPECT_EQ(resolved(NSData{*blobFromBookmarkFile(testData("alias-files/root.alias"))}), "/");
  EXPECT_EQ(resolved(NSData{testData("bookmarks/plaso_Downloads_plist_02.bookmark")}),
            "/Users/me/Downloads/CyberChef_v9.55.0.zip.download/CyberChef_v9.55.0.zip");
  EXPECT_EQ(resolved(NSData{testData("bookmarks/plaso_Downloads_plist_00.bookmark")}), "");
}

TEST_F(Bookmark, FindsAnItemThatWasRenamedInItsFolder) {
  const NSData data = bookmarkOf(kFile);
  move(host, kFile, "/Users/anna/Documents/final.txt");
  bool isStale = false;
  EXPECT_EQ(resolved(data, &isStale), "/Users/anna/Documents/final.txt");
  EXPECT_TRUE(isStale);
}

TEST_F(Bookmark, FindsAnItemWhoseFoldersWereRenamed) {
  const NSData data = bookmarkOf(kFile);
  move(host, "/Users/anna/Documents", "/Users/anna/Papers");
  move(host, "/Users/anna", "/Users/anne");
  EXPECT_EQ(resolved(data), "/Users/anne/Papers/report.txt");
  move(host, "/Users/anne/Papers/report.txt", "/Users/anne/Papers/other.txt");
  EXPECT_EQ(resolved(data), "/Users/anne/Papers/other.txt");
}

TEST_F(Bookmark, FindsAnItemThatWasMovedWithinReach) {
  host.root().makeFolder("/Users/anna/Documents/old");
  host.root().makeFolder("/Users/anna/Archive");
  const NSData data = bookmarkOf(kFile);
  for (const char* place : {"/Users/anna/Documents/old/report.txt", "/Users/anna/report.txt",
                            "/Users/anna/Archive/report.txt", "/Users/anna/Archive/renamed.txt"}) {
    const std::string before = resolved(data);
    move(host, before, place);
    EXPECT_EQ(resolved(data), place);
  }
}

TEST_F(Bookmark, FindsAnItemThatWasMovedBeforeItsFolderWasRemoved) {
  host.root().makeFolder("/Users/anna/Archive");
  const NSData data = bookmarkOf(kFile);
  move(host, kFile, "/Users/anna/Archive/report.txt");
  host.root().remove("/Users/anna/Documents");
  EXPECT_EQ(resolved(data), "/Users/anna/Archive/report.txt");
}

TEST_F(Bookmark, DoesNotFindAnItemThatWasMovedOutOfReach) {
  host.root().makeFolder("/Users/bert/deep/deeper");
  const NSData data = bookmarkOf(kFile);
  move(host, kFile, "/Users/bert/deep/deeper/report.txt");
  NSError error;
  EXPECT_FALSE(URLByResolvingBookmarkData(data, 0, nullptr, &error));
  EXPECT_EQ(error.code, 4);
}

TEST_F(Bookmark, DoesNotTakeAnotherFileForTheItem) {
  const NSData data = bookmarkOf(kFile);
  host.root().remove(kFile);
  // Longer than a tick of the clock from which files get their dates.
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  host.root().writeFile("/Users/anna/Documents/other.txt", "perhaps with the same inode");
  EXPECT_EQ(resolved(data), "");
}

TEST_F(Bookmark, TakesWhateverIsAtThePath) {
  const NSData data = bookmarkOf(kFile);
  move(host, kFile, "/Users/anna/Documents/moved.txt");
  host.root().writeFile(kFile, "another");
  EXPECT_EQ(resolved(data), kFile);
}

TEST_F(Bookmark, ReadsAtMost64Folders) {
  const NSData data = bookmarkOf(kFile);
  for (int i = 0; i < 200; ++i) host.root().makeFolder("/Users/anna/folder" + std::to_string(i));
  host.root().remove(kFile);
  const auto counter = host.interpose<CountingFileSystem>();
  EXPECT_EQ(resolved(data), "");
  const auto read = counter->paths(FileOperation::List);
  EXPECT_EQ(
      std::count_if(read.begin(), read.end(), [](const auto& path) { return path.starts_with("/Users"); }),
      64);
}

TEST_F(Bookmark, FindsItsVolumeAtAnotherPlaceByName) {
  host.root().writeFile("/Volumes/Stick/folder/a.txt", "");
  const NSData data = bookmarkOf("/Volumes/Stick/folder/a.txt");
  host.root().makeFolder("/mnt");
  move(host, "/Volumes/Stick", "/mnt/Stick");
  EXPECT_EQ(resolved(data), "");
  host.volumes().change("/mnt/Stick", [](VolumeInfo&) {});
  EXPECT_EQ(resolved(data), "/mnt/Stick/folder/a.txt");
  move(host, "/mnt/Stick/folder/a.txt", "/mnt/Stick/folder/b.txt");
  bool isStale = false;
  EXPECT_EQ(resolved(data, &isStale), "/mnt/Stick/folder/b.txt");
  EXPECT_TRUE(isStale);
}

TEST_F(Bookmark, IsStaleWhenItsVolumeHasAnotherName) {
  host.root().writeFile("/Volumes/Stick/a.txt", "");
  const NSData data = bookmarkOf("/Volumes/Stick/a.txt");
  host.volumes().change("/Volumes/Stick", [](VolumeInfo& volume) { volume.name = "Other"; });
  bool isStale = false;
  EXPECT_EQ(resolved(data, &isStale), "/Volumes/Stick/a.txt");
  EXPECT_TRUE(isStale);
}

TEST_F(Bookmark, FindsNamesInAnotherNormalization) {
  host.root().writeFile("/Users/anna/e\xCC\x81.txt", "");
  BookmarkData bookmark;
  bookmark.set(BookmarkKey::PathComponents, Value(Array{Value("Users"), Value("anna"), Value("é.txt")}));
  EXPECT_EQ(resolved(NSData{bookmark.encode()}), "/Users/anna/e\xCC\x81.txt");
}

TEST_F(Bookmark, KeepsNamesWithEveryByteThatAFileNameCanHold) {
  std::string name;
  for (int byte = 1; byte < 256; ++byte) {
    if (byte != '/') name.push_back(static_cast<char>(byte));
  }
  name.resize(200);
  for (const std::string& each :
       {name, std::string("invalid \xFF\xFE"), std::string(255, 'n'), std::string("a:b\n.c")}) {
    const std::string path = "/Users/anna/" + each;
    ASSERT_TRUE(host.files().create(path, "", 0644).ok());
    const auto url = URLByResolvingBookmarkData(bookmarkOf(path), 0);
    ASSERT_TRUE(url);
    EXPECT_EQ(url->fileSystemRepresentation(), path);
  }
}

TEST_F(Bookmark, CutAtAnyByteIsCorrupt) {
  const std::string bytes = bookmarkOf(kFile).bytes;
  for (std::size_t length = 0; length < bytes.size(); ++length) {
    NSError error;
    EXPECT_FALSE(URLByResolvingBookmarkData(NSData{bytes.substr(0, length)}, 0, nullptr, &error));
    EXPECT_EQ(error.code, 259);
  }
}

TEST_F(Bookmark, OfAPathOfManyComponentsLeadsNowhereInTimeByItsLength) {
  Array components;
  for (int i = 0; i < 200'000; ++i) components.append(Value("n"));
  BookmarkData bookmark;
  bookmark.set(BookmarkKey::PathComponents, Value(std::move(components)));
  const NSData data{bookmark.encode()};
  const auto start = vennick::tests::processorTime();
  EXPECT_EQ(resolved(data), "");
  EXPECT_LT(vennick::tests::processorTime() - start, std::chrono::seconds(10));
}

TEST_F(Bookmark, LeadsNowhereOutsideTheRoot) {
  BookmarkData bookmark;
  bookmark.set(BookmarkKey::PathComponents, Value(Array{Value(".."), Value("..")}));
  EXPECT_EQ(resolved(NSData{bookmark.encode()}), "");
}

// --- Alias files

TEST_F(Bookmark, AliasFileIsWrittenForFindersAndIndependentReaders) {
  const NSData data = bookmarkOf(kFile, NSURLBookmarkCreationSuitableForBookmarkFile);
  ASSERT_FALSE(writeBookmarkData(data, urlOf("/Users/anna/alias"), 1024));
  const std::string file = host.root().readFile("/Users/anna/alias");
  const std::string text = readIndependently("bookmark.py", file);
  EXPECT_EQ(text.substr(text.find('\n') + 1), readIndependently("bookmark.py", data.bytes));
  // 2026-11-21 02:30:31.123
  EXPECT_EQ(text.substr(0, 26), "file created 816921031.123");
  EXPECT_EQ(readIndependently("appledouble.py", host.root().readFile("/Users/anna/._alias")),
            "finder alis MACS flags 0x8000\n");
  EXPECT_EQ(bookmarkDataWithContentsOfURL(urlOf("/Users/anna/alias"))->bytes, data.bytes);
  EXPECT_EQ(URLByResolvingAliasFileAtURL(urlOf("/Users/anna/alias"), 768)->path(), kFile);
}

TEST_F(Bookmark, AliasFileHasTheFinderTypeOfWhatItLeadsTo) {
  host.root().makeFolder("/Users/anna/Tool.app");
  host.root().makeFolder("/Users/anna/Text.rtfd");
  for (const auto& [path, type] : std::map<std::string, std::string>{{"/Users/anna", "fdrp"},
                                                                     {"/", "hdsk"},
                                                                     {"/Users/anna/Tool.app", "fapa"},
                                                                     {"/Users/anna/Text.rtfd", "fpka"},
                                                                     {kFile, "alis"}}) {
    ASSERT_FALSE(writeBookmarkData(bookmarkOf(path, 1024), urlOf("/Users/anna/alias"), 1024));
    EXPECT_EQ(finderInfoAtPath("/Users/anna/alias").encode().substr(0, 8), type + "MACS") << path;
  }
}

TEST_F(Bookmark, IsWrittenOnlyWhenMadeForAFile) {
  EXPECT_EQ(writeBookmarkData(bookmarkOf(kFile), urlOf("/Users/anna/alias"), 1024)->code, 259);
  EXPECT_EQ(writeBookmarkData(NSData{"book"}, urlOf("/Users/anna/alias"), 1024)->code, 259);
  EXPECT_EQ(writeBookmarkData(bookmarkOf(kFile, 1024), urlOf("/Users/none/alias"), 1024)->code, 4);
  EXPECT_FALSE(host.root().exists("/Users/anna/alias"));
}

TEST_F(Bookmark, AliasFilesOfARealMacAreResolved) {
  host.root().makeFolder("/System/Library/Perl");
  host.root().writeFile("/Users/anna/folder.alias", testData("alias-files/folder.alias"));
  host.root().writeFile("/Users/anna/root.alias", testData("alias-files/root.alias"));
  EXPECT_EQ(URLByResolvingAliasFileAtURL(urlOf("/Users/anna/folder.alias"), 768)->absoluteString(),
            "file:///System/Library/Perl/");
  EXPECT_EQ(URLByResolvingAliasFileAtURL(urlOf("/Users/anna/root.alias"), 768)->absoluteString(), "file:///");
}

// An alias file as Finders before 10.6 made it: nothing in the data fork, a record in the resource fork.
void writeClassicAlias(TestHost& host, const std::string& path, const AliasRecord& record,
                       std::int16_t identifier = 0) {
  host.root().writeFile(path, "");
  ResourceFork fork;
  fork.set({.type = rAliasType, .identifier = identifier, .data = *record.encode()});
  ASSERT_TRUE(setResourceFork(path, *fork.encode()).ok());
  FinderInfo info;
  info.setFlags(kIsAlias);
  ASSERT_TRUE(setFinderInfo(path, info).ok());
}

TEST_F(Bookmark, AliasRecordInAResourceForkIsResolved) {
  AliasRecord record;
  record.version = 3;
  record.setField(AliasTag::PosixPath, "Users/anna/Documents/report.txt");
  record.setField(AliasTag::MountPoint, "/");
  writeClassicAlias(host, "/Users/anna/classic", record, -7);
  EXPECT_EQ(URLByResolvingAliasFileAtURL(urlOf("/Users/anna/classic"), 768)->path(), kFile);
  host.root().remove(kFile);
  NSError error;
  EXPECT_FALSE(URLByResolvingAliasFileAtURL(urlOf("/Users/anna/classic"), 768, &error));
  EXPECT_EQ(error.code, 4);
}

TEST_F(Bookmark, AliasRecordInAResourceForkFindsARenamedTarget) {
  const auto file = *host.files().info(kFile, FollowLinks::No);
  const auto folder = *host.files().info("/Users/anna/Documents", FollowLinks::No);
  AliasRecord record;
  record.version = 3;
  record.parentID = static_cast<std::uint32_t>(folder.inode);
  record.targetID = static_cast<std::uint32_t>(file.inode);
  record.targetCreated = static_cast<UTCDateTime>(file.created / 1'000'000'000 + kMacEpochBefore1970) << 16;
  record.setField(AliasTag::PosixPath, "Users/anna/Documents/report.txt");
  record.setField(AliasTag::MountPoint, "/");
  writeClassicAlias(host, "/Users/anna/classic", record);
  move(host, kFile, "/Users/anna/Documents/renamed.txt");
  EXPECT_EQ(URLByResolvingAliasFileAtURL(urlOf("/Users/anna/classic"), 768)->path(),
            "/Users/anna/Documents/renamed.txt");
}

TEST_F(Bookmark, AliasFileWithNeitherIsCorrupt) {
  NSError error;
  host.root().writeFile("/Users/anna/broken", "");
  FinderInfo info;
  info.setFlags(kIsAlias);
  ASSERT_TRUE(setFinderInfo("/Users/anna/broken", info).ok());
  EXPECT_FALSE(bookmarkDataWithContentsOfURL(urlOf("/Users/anna/broken"), &error));
  EXPECT_EQ(error.code, 259);
  EXPECT_FALSE(bookmarkDataWithContentsOfURL(urlOf("/Users/anna/Documents"), &error));
  EXPECT_EQ(error.code, 259);
  EXPECT_FALSE(bookmarkDataWithContentsOfURL(urlOf("/Users/anna/none"), &error));
  EXPECT_EQ(error.code, 260);
}

TEST_F(Bookmark, AliasFileCutAtAnyByteLeadsNowhere) {
  ASSERT_FALSE(writeBookmarkData(bookmarkOf(kFile, 1024), urlOf("/Users/anna/alias"), 1024));
  const std::string bytes = host.root().readFile("/Users/anna/alias");
  for (std::size_t length = 0; length < bytes.size(); length += 7) {
    host.root().writeFile("/Users/anna/alias", bytes.substr(0, length));
    EXPECT_FALSE(URLByResolvingAliasFileAtURL(urlOf("/Users/anna/alias"), 768)) << length;
  }
}

TEST_F(Bookmark, WhatIsNoAliasFileIsItsOwnTarget) {
  const NSURL plain = urlOf(kFile);
  EXPECT_EQ(*URLByResolvingAliasFileAtURL(plain, 768), plain);
  EXPECT_EQ(*URLByResolvingAliasFileAtURL(urlOf("/Users/anna"), 768), urlOf("/Users/anna"));
}

TEST_F(Bookmark, LinksAreFollowedToTheirEnd) {
  host.root().makeLink("/Users/anna/one", "two");
  host.root().makeLink("/Users/anna/two", "Documents/report.txt");
  host.root().makeLink("/Users/anna/dangling", "none");
  host.root().makeLink("/Users/anna/loop", "loop");
  EXPECT_EQ(URLByResolvingAliasFileAtURL(urlOf("/Users/anna/one"), 768)->path(), kFile);
  EXPECT_EQ(resolved(*CFURLCreateBookmarkDataFromFile(urlOf("/Users/anna/one"))), kFile);
  for (const char* link : {"/Users/anna/dangling", "/Users/anna/loop"}) {
    EXPECT_FALSE(CFURLCreateBookmarkDataFromFile(urlOf(link))) << link;
    EXPECT_FALSE(URLByResolvingAliasFileAtURL(urlOf(link), 768)) << link;
  }
  EXPECT_FALSE(CFURLCreateBookmarkDataFromFile(urlOf(kFile)));
}

TEST_F(Bookmark, AliasFilesThatLeadToAliasFilesAreFollowed) {
  ASSERT_FALSE(writeBookmarkData(bookmarkOf(kFile, 1024), urlOf("/Users/anna/a"), 1024));
  ASSERT_FALSE(writeBookmarkData(bookmarkOf("/Users/anna/a", 1024), urlOf("/Users/anna/b"), 1024));
  EXPECT_EQ(URLByResolvingAliasFileAtURL(urlOf("/Users/anna/b"), 768)->path(), kFile);
}

TEST_F(Bookmark, RingOfThreeAliasFilesLeadsNowhere) {
  for (const char* name : {"a", "b", "c"}) host.root().writeFile(std::string("/Users/anna/") + name, "");
  for (const auto& [from, to] : {std::pair{"a", "b"}, {"b", "c"}, {"c", "a"}}) {
    const std::string folder = "/Users/anna/";
    ASSERT_FALSE(writeBookmarkData(bookmarkOf(folder + to, 1024), urlOf(folder + from), 1024));
  }
  NSError error;
  EXPECT_FALSE(URLByResolvingAliasFileAtURL(urlOf("/Users/anna/a"), 768, &error));
  EXPECT_EQ(error.code, 4);
}

TEST_F(Bookmark, ChainOf32AliasFilesIsFollowedAndALongerOneIsNot) {
  std::string last = kFile;
  for (int i = 1; i <= 33; ++i) {
    const std::string next = "/Users/anna/alias" + std::to_string(i);
    ASSERT_FALSE(writeBookmarkData(bookmarkOf(last, 1024), urlOf(next), 1024));
    last = next;
  }
  EXPECT_EQ(URLByResolvingAliasFileAtURL(urlOf("/Users/anna/alias32"), 768)->path(), kFile);
  EXPECT_FALSE(URLByResolvingAliasFileAtURL(urlOf("/Users/anna/alias33"), 768));
}

}  // namespace
}  // namespace macos
