// SPDX-License-Identifier: MIT
#include "macos/carbon/AliasManager.h"

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <thread>

#include "macos/carbon/ResourceFork.h"
#include "macos/foundation/Bookmark.h"
#include "macos/foundation/FileMetadata.h"
#include "tests/support/IndependentReader.h"
#include "tests/support/References.h"
#include "tests/support/TestHost.h"

namespace macos {
namespace {

using vennick::tests::CountingFileSystem;
using vennick::tests::FileOperation;
using vennick::tests::pathOf;
using vennick::tests::refTo;
using vennick::tests::TestHost;

constexpr const char* kFile = "/Users/anna/Documents/report.txt";
constexpr const char* kFolder = "/Users/anna/Documents";
constexpr unsigned kIdentifierFirst = kResolveAliasTryFileIDFirst;

AliasHandle aliasTo(std::string_view path) {
  AliasHandle alias;
  EXPECT_EQ(FSNewAlias(nullptr, refTo(path), &alias), noErr) << path;
  return alias;
}

AliasHandle handleOf(const AliasRecord& record) { return {*record.encode()}; }
AliasRecord recordOf(const AliasHandle& alias) { return *AliasRecord::decode(alias.bytes); }

// The alias with something else in its record.
AliasHandle changed(const AliasHandle& alias, const std::function<void(AliasRecord&)>& change) {
  AliasRecord record = recordOf(alias);
  change(record);
  return handleOf(record);
}

struct Resolution {
  OSErr code = noErr;
  std::string path;
  bool wasChanged = false;
};

Resolution resolve(AliasHandle alias, unsigned flags = kIdentifierFirst) {
  Resolution resolution;
  FSRef ref;
  resolution.code = FSResolveAliasWithMountFlags(nullptr, alias, &ref, &resolution.wasChanged, flags);
  if (resolution.code == noErr) resolution.path = pathOf(ref);
  return resolution;
}

// The volumes are looked up anew as long as /Volumes changed within the last tick of the clock.
void letTheVolumesSettle(const AliasHandle& alias) {
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  resolve(alias);
}

void move(TestHost& host, std::string_view from, std::string_view to) {
  ASSERT_TRUE(host.files().rename(from, to, FileSystem::Replace::No).ok());
}

class Alias : public testing::Test {
 protected:
  Alias() { host.root().writeFile(kFile, "text"); }

  std::uint32_t identifier(std::string_view path) {
    return static_cast<std::uint32_t>(host.files().info(path, FollowLinks::No)->inode);
  }

  TestHost host;
};

// --- Making records

TEST_F(Alias, IsReadByAnIndependentReader) {
  const std::string text = readIndependently("alias_record.py", aliasTo(kFile).bytes);
  const auto has = [&](const std::string& line) {
    EXPECT_NE(text.find(line + "\n"), std::string::npos) << line << text;
  };
  has("version 2");
  has("kind 0");
  has("volume Macintosh HD");
  has("file system H+");
  has("disk type 0");
  has("parent id " + std::to_string(identifier(kFolder)));
  has("target report.txt");
  has("target id " + std::to_string(identifier(kFile)));
  has("levels -1 -1");
  has("attributes 0x120");
  has("parent name Documents");
  has("directory ids " + std::to_string(identifier(kFolder)) + " " +
      std::to_string(identifier("/Users/anna")) + " " + std::to_string(identifier("/Users")));
  has("carbon path Macintosh HD:Users:anna:Documents:report.txt");
  has("unicode name report.txt");
  has("unicode volume Macintosh HD");
  has("path Users/anna/Documents/report.txt");
  has("mount point /");
  const auto created = host.files().info(kFile, FollowLinks::No)->created / 1'000'000'000;
  EXPECT_NE(text.find("exact target date " + std::to_string(created) + "+"), std::string::npos) << text;
}

TEST_F(Alias, OfAnotherVolumeKeepsThePathFromThatVolume) {
  host.root().writeFile("/Volumes/Stick/a/b.txt", "");
  host.volumes().change("/Volumes/Stick", [](VolumeInfo& volume) { volume.isEjectable = true; });
  const AliasRecord record = recordOf(aliasTo("/Volumes/Stick/a/b.txt"));
  EXPECT_EQ(record.field(AliasTag::PosixPath), "/a/b.txt");
  EXPECT_EQ(record.field(AliasTag::MountPoint), "/Volumes/Stick");
  EXPECT_EQ(record.volumeName, "Stick");
  EXPECT_EQ(record.diskType, 5);
  EXPECT_EQ(record.volumeAttributes, kAliasVolumeHasPersistentIDs | kAliasVolumeIsEjectable);
  const AliasRecord root = recordOf(aliasTo("/Volumes/Stick"));
  EXPECT_EQ(root.field(AliasTag::PosixPath), "");
  EXPECT_EQ(root.targetID, 2U);
  EXPECT_TRUE(root.directoryIDs().empty());
  EXPECT_EQ(resolve(aliasTo("/Volumes/Stick")).path, "/Volumes/Stick");
  EXPECT_EQ(resolve(aliasTo("/")).path, "/");
}

TEST_F(Alias, IsOfVersion3WhenANameHasNoPlaceInVersion2) {
  for (const std::string& name : {std::string(64, 'n'), std::string("日本語")}) {
    const std::string path = "/Users/anna/" + name;
    host.root().writeFile(path, "");
    EXPECT_EQ(recordOf(aliasTo(path)).version, 3) << name;
    EXPECT_EQ(resolve(aliasTo(path)).path, path);
    EXPECT_EQ(readIndependently("alias_record.py", aliasTo(path).bytes).substr(0, 9), "version 3");
  }
  host.root().writeFile("/Users/anna/" + std::string(63, 'n'), "");
  EXPECT_EQ(recordOf(aliasTo("/Users/anna/" + std::string(63, 'n'))).version, 2);
  host.root().writeFile("/Users/anna/é", "");
  EXPECT_EQ(recordOf(aliasTo("/Users/anna/é")).targetName, "\x8E");
}

TEST_F(Alias, OnABootVolumeWithoutANameIsWrittenForMacintoshHD) {
  host.root().remove("/Volumes/Macintosh HD");
  EXPECT_EQ(recordOf(aliasTo(kFile)).volumeName, "Macintosh HD");
  EXPECT_FALSE(resolve(aliasTo(kFile)).wasChanged);
}

TEST_F(Alias, IsNotMadeOfAMissingItem) {
  const FSRef ref = refTo(kFile);
  host.root().remove(kFile);
  AliasHandle alias;
  EXPECT_EQ(FSNewAlias(nullptr, ref, &alias), fnfErr);
  EXPECT_EQ(FSNewAlias(nullptr, FSRef(), &alias), fnfErr);
  EXPECT_TRUE(alias.isNull());
}

TEST_F(Alias, UpdateTellsWhetherTheBytesDiffer) {
  AliasHandle alias = aliasTo(kFile);
  bool wasChanged = true;
  EXPECT_EQ(FSUpdateAlias(nullptr, refTo(kFile), alias, &wasChanged), noErr);
  EXPECT_FALSE(wasChanged);
  EXPECT_EQ(FSUpdateAlias(nullptr, refTo(kFolder), alias, &wasChanged), noErr);
  EXPECT_TRUE(wasChanged);
  EXPECT_EQ(alias, aliasTo(kFolder));
}

TEST_F(Alias, UpdateKeepsTheApplicationsMark) {
  AliasHandle alias = changed(aliasTo(kFile), [](AliasRecord& record) { record.userType = 0x41424344; });
  ASSERT_EQ(FSUpdateAlias(nullptr, refTo(kFolder), alias, nullptr), noErr);
  EXPECT_EQ(recordOf(alias).userType, 0x41424344U);
}

// --- Reading records

TEST_F(Alias, InfoOfARealMacsRecordIsReadWithoutADisk) {
  const AliasHandle alias{testData("alias-records/macos-alias_rawData_v2.alias")};
  const auto counter = host.interpose<CountingFileSystem>();
  HFSUniStr255 name, volume;
  std::string path;
  FSAliasInfoBitmap which = 0;
  FSAliasInfo info;
  ASSERT_EQ(FSCopyAliasInfo(alias, &name, &volume, &path, &which, &info), noErr);
  EXPECT_EQ(name, u"TestBkg.tiff");
  EXPECT_EQ(volume, u"Test Title");
  EXPECT_EQ(path, "/Volumes/Test Title/.background/TestBkg.tiff");
  EXPECT_EQ(which, 0x7FU);
  EXPECT_EQ(info.parentDirID, 19U);
  EXPECT_EQ(info.nodeID, 20U);
  EXPECT_EQ(info.signature, 0x482B);
  EXPECT_FALSE(info.isDirectory);
  EXPECT_FALSE(info.volumeIsBootVolume);
  EXPECT_EQ(static_cast<std::int64_t>(info.targetCreateDate >> 16) - kMacEpochBefore1970, 1388686808);
  EXPECT_EQ(counter->total(), 0);
}

TEST_F(Alias, InfoOfAVersion3RecordHasNoFinderInformation) {
  const AliasHandle alias{testData("alias-records/dtformats_loginitems_v3.alias")};
  std::string path;
  FSAliasInfoBitmap which = 0;
  FSAliasInfo info;
  ASSERT_EQ(FSCopyAliasInfo(alias, nullptr, nullptr, &path, &which, &info), noErr);
  EXPECT_EQ(path, "/Applications/iTunes.app/Contents/MacOS/iTunesHelper.app");
  EXPECT_EQ(which, 0x7BU);
  EXPECT_TRUE(info.volumeIsBootVolume);
  EXPECT_TRUE(info.isDirectory);
}

TEST_F(Alias, PathIsPutTogetherFromWhateverIsRecorded) {
  const auto path = [](const std::function<void(AliasRecord&)>& fill) {
    AliasRecord record;
    fill(record);
    std::string result;
    EXPECT_EQ(FSCopyAliasInfo(handleOf(record), nullptr, nullptr, &result, nullptr, nullptr), noErr);
    return result;
  };
  const auto with = [](std::string posixPath, std::optional<std::string> mountPoint) {
    return [=](AliasRecord& record) {
      record.setField(AliasTag::PosixPath, posixPath);
      if (mountPoint) record.setField(AliasTag::MountPoint, *mountPoint);
    };
  };
  EXPECT_EQ(path(with("a/b", "/")), "/a/b");
  EXPECT_EQ(path(with("/a/b", "/")), "/a/b");
  EXPECT_EQ(path(with("/a/b", "/Volumes/X/")), "/Volumes/X/a/b");
  EXPECT_EQ(path(with("", "/Volumes/X")), "/Volumes/X");
  EXPECT_EQ(path(with("", "/")), "/");
  EXPECT_EQ(path(with("a", std::nullopt)), "");
  EXPECT_EQ(path([&](AliasRecord& record) {
              with("a", std::nullopt)(record);
              record.volumeName = "Disk/1";
            }),
            "/Volumes/Disk:1/a");
  EXPECT_EQ(path([&](AliasRecord& record) {
              with("a", std::nullopt)(record);
              record.volumeAttributes = kAliasVolumeIsBoot;
            }),
            "/a");
  EXPECT_EQ(path([](AliasRecord& record) {
              record.volumeName = "Disk";
              record.setField(AliasTag::CarbonPath, std::string("Disk:f\x8E:\0a/b", 12));
            }),
            "/Volumes/Disk/f\xC3\xA9/a:b");
  EXPECT_EQ(path([](AliasRecord& record) {
              record.volumeAttributes = kAliasVolumeIsBoot;
              record.setField(AliasTag::CarbonPath, "Macintosh HD:Users:anna:");
            }),
            "/Users/anna");
  EXPECT_EQ(path([](AliasRecord& record) { record.volumeName = "Disk"; }), "");
}

TEST_F(Alias, NamesInTheMacEncodingAreConverted) {
  AliasRecord record;
  record.volumeName = "Gr\x9A\xA7\x65";  // "Größe" but for the last letter
  record.targetName = "\x80.txt";
  HFSUniStr255 name, volume;
  ASSERT_EQ(FSCopyAliasInfo(handleOf(record), &name, &volume, nullptr, nullptr, nullptr), noErr);
  EXPECT_EQ(volume, u"Gro\u0308\u00DFe");
  EXPECT_EQ(name, u"A\u0308.txt");
  record.setUnicodeName(AliasTag::UnicodeVolumeName, u"\u00C4:x");
  ASSERT_EQ(FSCopyAliasInfo(handleOf(record), nullptr, &volume, nullptr, nullptr, nullptr), noErr);
  EXPECT_EQ(volume, u"A\u0308/x");
}

TEST_F(Alias, ThatIsNoRecordIsAParameterError) {
  const std::string whole = aliasTo(kFile).bytes;
  FSRef ref;
  for (std::size_t length = 0; length < whole.size(); ++length) {
    AliasHandle alias{whole.substr(0, length)};
    EXPECT_EQ(FSCopyAliasInfo(alias, nullptr, nullptr, nullptr, nullptr, nullptr), paramErr) << length;
    EXPECT_EQ(FSResolveAliasWithMountFlags(nullptr, alias, &ref, nullptr, 0), paramErr) << length;
  }
}

// --- Resolving by path

TEST_F(Alias, ResolvesByPathUnchanged) {
  for (const unsigned flags : {0U, kIdentifierFirst}) {
    const Resolution resolution = resolve(aliasTo(kFile), flags);
    EXPECT_EQ(resolution.code, noErr);
    EXPECT_EQ(resolution.path, kFile);
    EXPECT_FALSE(resolution.wasChanged);
  }
}

TEST_F(Alias, OfARealMacResolvesWhenItsTargetIsHere) {
  const AliasHandle version2{testData("alias-records/macos-alias_rawData_v2.alias")};
  const AliasHandle version3{testData("alias-records/dtformats_loginitems_v3.alias")};
  EXPECT_EQ(resolve(version2).code, nsvErr);
  EXPECT_EQ(resolve(version3).code, dirNFErr);
  host.root().writeFile("/Volumes/Test Title/.background/TestBkg.tiff", "");
  host.root().makeFolder("/Applications/iTunes.app/Contents/MacOS/iTunesHelper.app");
  EXPECT_EQ(resolve(version2).path, "/Volumes/Test Title/.background/TestBkg.tiff");
  EXPECT_EQ(resolve(version3).path, "/Applications/iTunes.app/Contents/MacOS/iTunesHelper.app");
  EXPECT_TRUE(resolve(version3).wasChanged);
}

TEST_F(Alias, TellsTheDeepestPartThatIsMissing) {
  host.root().writeFile("/Volumes/Stick/a/b.txt", "");
  const AliasHandle alias = aliasTo("/Volumes/Stick/a/b.txt");
  host.root().remove("/Volumes/Stick/a/b.txt");
  EXPECT_EQ(resolve(alias).code, fnfErr);
  host.root().remove("/Volumes/Stick/a");
  EXPECT_EQ(resolve(alias).code, dirNFErr);
  host.root().remove("/Volumes/Stick");
  EXPECT_EQ(resolve(alias).code, nsvErr);
}

TEST_F(Alias, FindsItsVolumeElsewhereByName) {
  host.root().writeFile("/Volumes/Stick/a/b.txt", "");
  const AliasHandle alias = aliasTo("/Volumes/Stick/a/b.txt");
  host.root().makeFolder("/mnt");
  move(host, "/Volumes/Stick", "/mnt/Stick");
  EXPECT_EQ(resolve(alias).code, nsvErr);
  host.volumes().change("/mnt/Stick", [](VolumeInfo&) {});
  const Resolution resolution = resolve(alias);
  EXPECT_EQ(resolution.path, "/mnt/Stick/a/b.txt");
  EXPECT_TRUE(resolution.wasChanged);
}

TEST_F(Alias, ThroughTheLinkThatNamesTheBootVolumeResolves) {
  const AliasHandle alias = changed(aliasTo(kFile), [](AliasRecord& record) {
    record.setField(AliasTag::MountPoint, "/Volumes/Macintosh HD");
    record.volumeAttributes = 0;
  });
  EXPECT_EQ(resolve(alias).path, kFile);
}

TEST_F(Alias, FindsANameInAnotherNormalization) {
  host.root().writeFile("/Users/anna/\xC3\xA9t\xC3\xA9/x.txt", "");
  const AliasHandle alias = changed(aliasTo("/Users/anna/\xC3\xA9t\xC3\xA9/x.txt"), [](AliasRecord& record) {
    record.setField(AliasTag::PosixPath, "Users/anna/e\xCC\x81te\xCC\x81/x.txt");
  });
  EXPECT_EQ(resolve(alias).path, "/Users/anna/\xC3\xA9t\xC3\xA9/x.txt");
  EXPECT_FALSE(resolve(alias).wasChanged);
}

TEST_F(Alias, WithAPathOf5000BytesIsNotFound) {
  const AliasHandle alias = changed(aliasTo(kFile), [](AliasRecord& record) {
    record.setField(AliasTag::PosixPath, "Users/" + std::string(5000, 'x'));
  });
  EXPECT_EQ(resolve(alias).code, fnfErr);
}

// --- Resolving by identifier

TEST_F(Alias, FindsATargetThatWasRenamedInItsFolderAndReportsIt) {
  const AliasHandle alias = aliasTo(kFile);
  move(host, kFile, "/Users/anna/Documents/renamed.txt");
  for (const unsigned flags : {0U, kIdentifierFirst}) {
    const Resolution resolution = resolve(alias, flags);
    EXPECT_EQ(resolution.path, "/Users/anna/Documents/renamed.txt");
    EXPECT_TRUE(resolution.wasChanged);
  }
}

TEST_F(Alias, IsMadeAnewWhenItsTargetChanged) {
  AliasHandle alias = aliasTo(kFile);
  move(host, kFile, "/Users/anna/Documents/renamed.txt");
  FSRef ref;
  bool wasChanged = false;
  ASSERT_EQ(FSResolveAliasWithMountFlags(nullptr, alias, &ref, &wasChanged, kIdentifierFirst), noErr);
  EXPECT_EQ(alias, aliasTo("/Users/anna/Documents/renamed.txt"));
}

TEST_F(Alias, DoesNotFindATargetThatWasMovedToAnotherFolder) {
  const AliasHandle alias = aliasTo(kFile);
  move(host, kFile, "/Users/anna/report.txt");
  EXPECT_EQ(resolve(alias).code, fnfErr);
}

TEST_F(Alias, IdentifierOutranksAnExistingPathOnlyWhenItIsAskedFirst) {
  const AliasHandle alias = aliasTo(kFile);
  move(host, kFile, "/Users/anna/Documents/renamed.txt");
  host.root().writeFile(kFile, "another");
  EXPECT_EQ(resolve(alias, kIdentifierFirst).path, "/Users/anna/Documents/renamed.txt");
  EXPECT_EQ(resolve(alias, 0).path, kFile);
}

TEST_F(Alias, IdentifierOutranksAnExistingPathOnlyWithItsDateAndItsParent) {
  const AliasHandle alias = aliasTo(kFile);
  move(host, kFile, "/Users/anna/Documents/renamed.txt");
  host.root().writeFile(kFile, "another");
  const auto withDate = [&](std::int64_t seconds) {
    return changed(alias, [=](AliasRecord& record) {
      const UTCDateTime date = *record.date(AliasTag::TargetCreated);
      record.setDate(AliasTag::TargetCreated, date + (static_cast<UTCDateTime>(seconds) << 16));
    });
  };
  for (const std::int64_t hours : {-24, -2, -1, 1, 2, 24}) {
    EXPECT_EQ(resolve(withDate(hours * 3600)).path, "/Users/anna/Documents/renamed.txt") << hours;
  }
  for (const std::int64_t seconds : {-1800, -1, 1, 3599, 3601, 25 * 3600}) {
    EXPECT_EQ(resolve(withDate(seconds)).path, kFile) << seconds;
  }
  EXPECT_EQ(resolve(changed(alias, [](AliasRecord& record) { ++record.parentID; })).path, kFile);
  EXPECT_EQ(resolve(changed(alias, [](AliasRecord& record) { ++record.targetID; })).path, kFile);
}

TEST_F(Alias, WhoseParentDiffersIsResolvedWithoutReadingAFolder) {
  const AliasHandle alias = changed(aliasTo(kFile), [](AliasRecord& record) {
    ++record.parentID;
    ++record.targetID;
  });
  letTheVolumesSettle(alias);
  const auto counter = host.interpose<CountingFileSystem>();
  EXPECT_EQ(resolve(alias).path, kFile);
  EXPECT_EQ(counter->count(FileOperation::List), 0);
  host.root().remove(kFile);
  EXPECT_EQ(resolve(alias).code, fnfErr);
  EXPECT_EQ(counter->count(FileOperation::List), 0);
}

TEST_F(Alias, DatesOfVersion2WithoutAnExactOneAreLocal) {
  const AliasHandle alias = changed(aliasTo(kFile), [](AliasRecord& record) {
    record.removeField(AliasTag::TargetCreated);
    record.targetCreatedLocal += 7200;
  });
  move(host, kFile, "/Users/anna/Documents/renamed.txt");
  EXPECT_EQ(resolve(alias).path, "/Users/anna/Documents/renamed.txt");
}

TEST_F(Alias, WithoutAPathLeadsThroughTheIdentifiersOfItsFolders) {
  const AliasHandle alias = changed(aliasTo(kFile), [](AliasRecord& record) {
    record.removeField(AliasTag::PosixPath);
    record.removeField(AliasTag::CarbonPath);
  });
  std::string path = "x";
  ASSERT_EQ(FSCopyAliasInfo(alias, nullptr, nullptr, &path, nullptr, nullptr), noErr);
  EXPECT_EQ(path, "");
  EXPECT_EQ(resolve(alias).path, kFile);
  move(host, kFolder, "/Users/anna/Papers");
  EXPECT_EQ(resolve(alias).path, "/Users/anna/Papers/report.txt");
  move(host, "/Users/anna/Papers/report.txt", "/Users/anna/Papers/renamed.txt");
  EXPECT_EQ(resolve(alias).path, "/Users/anna/Papers/renamed.txt");
  host.root().remove("/Users/anna/Papers/renamed.txt");
  EXPECT_EQ(resolve(alias).code, fnfErr);
  host.root().remove("/Users/anna/Papers");
  EXPECT_EQ(resolve(alias).code, dirNFErr);
}

TEST_F(Alias, WithoutAPathFindsAnItemInItsVolumesRoot) {
  host.root().writeFile("/top.txt", "");
  const AliasHandle alias = changed(aliasTo("/top.txt"), [](AliasRecord& record) {
    record.removeField(AliasTag::PosixPath);
    record.removeField(AliasTag::CarbonPath);
  });
  EXPECT_EQ(recordOf(alias).parentID, 2U);
  EXPECT_EQ(resolve(alias).path, "/top.txt");
}

// --- What counts as changed

TEST_F(Alias, IsChangedExactlyWhenPathNameVolumeIdentifierOrDateDiffer) {
  const AliasHandle alias = aliasTo(kFile);
  const auto isChanged = [&](const std::function<void(AliasRecord&)>& change) {
    const Resolution resolution = resolve(changed(alias, change));
    EXPECT_EQ(resolution.path, kFile);
    return resolution.wasChanged;
  };
  EXPECT_FALSE(isChanged([](AliasRecord&) {}));
  EXPECT_TRUE(isChanged([](AliasRecord& record) { ++record.targetID; }));
  EXPECT_TRUE(
      isChanged([](AliasRecord& record) { record.setDate(AliasTag::TargetCreated, UTCDateTime{1} << 16); }));
  EXPECT_TRUE(
      isChanged([](AliasRecord& record) { record.setUnicodeName(AliasTag::UnicodeName, u"other.txt"); }));
  EXPECT_TRUE(
      isChanged([](AliasRecord& record) { record.setUnicodeName(AliasTag::UnicodeVolumeName, u"Other"); }));
  EXPECT_TRUE(isChanged([](AliasRecord& record) {
    record.setField(AliasTag::PosixPath, "Users/anna/../anna/Documents/report.txt");
  }));
  EXPECT_FALSE(isChanged([](AliasRecord& record) { record.fileType = 1; }));
  EXPECT_FALSE(isChanged([](AliasRecord& record) { record.userType = 1; }));
  EXPECT_FALSE(isChanged([](AliasRecord& record) { record.setField(AliasTag::ParentName, "Other"); }));
  EXPECT_FALSE(isChanged([](AliasRecord& record) { record.volumeCreatedLocal = 0; }));
  EXPECT_FALSE(isChanged([](AliasRecord& record) { record.targetID = AliasRecord::kNoIdentifier; }));
}

TEST_F(Alias, CostsFewLooksToResolve) {
  const AliasHandle alias = aliasTo(kFile);
  letTheVolumesSettle(alias);
  const auto counter = host.interpose<CountingFileSystem>();
  AliasHandle copy = alias;
  FSRef ref;
  ASSERT_EQ(FSResolveAliasWithMountFlags(nullptr, copy, &ref, nullptr, kIdentifierFirst), noErr);
  // Folder and item, the item under its own path (two), its folder for the reference, and twice a look at
  // /Volumes, whose volumes are known.
  EXPECT_EQ(counter->total(), 7);
}

// --- Alias files

class AliasFile : public Alias {
 protected:
  void write(const std::string& path, std::string_view target) {
    const auto bookmark = bookmarkDataWithOptions(NSURL::fileURLWithPath(target), 1024);
    ASSERT_TRUE(bookmark);
    ASSERT_FALSE(writeBookmarkData(*bookmark, NSURL::fileURLWithPath(path), 1024));
  }
  void writeClassic(const std::string& path, const AliasHandle& alias) {
    host.root().writeFile(path, "");
    ResourceFork fork;
    fork.set({.type = rAliasType, .identifier = 0, .data = alias.bytes});
    ASSERT_TRUE(setResourceFork(path, *fork.encode()).ok());
    FinderInfo info;
    info.setFlags(kIsAlias);
    ASSERT_TRUE(setFinderInfo(path, info).ok());
  }
  struct Answer {
    OSErr code;
    std::string path;
    bool isFolder = false, wasAliased = false;
  };
  Answer follow(std::string_view path, bool chains = true) {
    FSRef ref = refTo(path);
    Answer answer;
    answer.code = FSResolveAliasFileWithMountFlags(&ref, chains, &answer.isFolder, &answer.wasAliased, 1);
    if (answer.code == noErr) answer.path = pathOf(ref);
    return answer;
  }
};

TEST_F(AliasFile, IsToldApartFromOtherItems) {
  write("/Users/anna/modern", kFile);
  writeClassic("/Users/anna/classic", aliasTo(kFile));
  host.root().makeLink("/Users/anna/link", "Documents");
  const auto isAlias = [](std::string_view path) {
    bool isAliasFile = false, isFolder = true;
    EXPECT_EQ(FSIsAliasFile(refTo(path), &isAliasFile, &isFolder), noErr);
    EXPECT_FALSE(isAliasFile && isFolder);
    return isAliasFile;
  };
  EXPECT_TRUE(isAlias("/Users/anna/modern"));
  EXPECT_TRUE(isAlias("/Users/anna/classic"));
  EXPECT_TRUE(isAlias("/Users/anna/link"));
  EXPECT_FALSE(isAlias(kFile));
  EXPECT_FALSE(isAlias(kFolder));
  host.root().remove("/Users/anna/._modern");
  EXPECT_TRUE(isAlias("/Users/anna/modern"));
  host.root().remove("/Users/anna/._classic");
  EXPECT_FALSE(isAlias("/Users/anna/classic"));
  EXPECT_EQ(FSIsAliasFile(FSRef(), nullptr, nullptr), fnfErr);
}

TEST_F(AliasFile, OfBothKindsAndLinksAreFollowed) {
  write("/Users/anna/modern", kFolder);
  writeClassic("/Users/anna/classic", aliasTo(kFolder));
  host.root().makeLink("/Users/anna/link", "Documents");
  for (const char* path : {"/Users/anna/modern", "/Users/anna/classic", "/Users/anna/link"}) {
    const Answer answer = follow(path);
    EXPECT_EQ(answer.code, noErr) << path;
    EXPECT_EQ(answer.path, kFolder) << path;
    EXPECT_TRUE(answer.isFolder && answer.wasAliased) << path;
  }
  const Answer answer = follow(kFile);
  EXPECT_EQ(answer.path, kFile);
  EXPECT_FALSE(answer.wasAliased || answer.isFolder);
}

TEST_F(AliasFile, ChainsAreFollowedWhenAskedFor) {
  write("/Users/anna/one", kFile);
  writeClassic("/Users/anna/two", aliasTo("/Users/anna/one"));
  EXPECT_EQ(follow("/Users/anna/two", true).path, kFile);
  EXPECT_EQ(follow("/Users/anna/two", false).path, "/Users/anna/one");
}

TEST_F(AliasFile, RingOfThreeLeadsToItself) {
  for (const char* name : {"a", "b", "c"}) host.root().writeFile(std::string("/Users/anna/") + name, "");
  for (const auto& [from, to] : {std::pair{"a", "b"}, {"b", "c"}, {"c", "a"}}) {
    write(std::string("/Users/anna/") + from, std::string("/Users/anna/") + to);
  }
  // Writing gives a file a new inode; the path still leads to it.
  EXPECT_EQ(follow("/Users/anna/a").code, sameFileErr);
}

TEST_F(AliasFile, WithoutATargetIsNotFound) {
  write("/Users/anna/modern", kFile);
  writeClassic("/Users/anna/classic", aliasTo(kFile));
  host.root().makeLink("/Users/anna/link", "none");
  host.root().makeLink("/Users/anna/loop", "loop");
  host.root().remove(kFolder);
  EXPECT_EQ(follow("/Users/anna/modern").code, fnfErr);
  EXPECT_EQ(follow("/Users/anna/classic").code, dirNFErr);
  EXPECT_EQ(follow("/Users/anna/link").code, fnfErr);
  EXPECT_EQ(follow("/Users/anna/loop").code, fnfErr);
}

TEST_F(AliasFile, WithoutAnAliasInItHasNoResource) {
  host.root().writeFile("/Users/anna/broken", "");
  FinderInfo info;
  info.setFlags(kIsAlias);
  ASSERT_TRUE(setFinderInfo("/Users/anna/broken", info).ok());
  EXPECT_EQ(follow("/Users/anna/broken").code, resNotFound);
}

}  // namespace
}  // namespace macos
