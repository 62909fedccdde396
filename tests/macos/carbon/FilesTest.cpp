// SPDX-License-Identifier: MIT
#include "macos/carbon/Files.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <thread>

#include "macos/foundation/FileMetadata.h"
#include "tests/support/References.h"
#include "tests/support/TestHost.h"

namespace macos {
namespace {

using vennick::tests::CountingFileSystem;
using vennick::tests::FileOperation;
using vennick::tests::ForwardingFileSystem;
using vennick::tests::pathOf;
using vennick::tests::refTo;
using vennick::tests::TestHost;
using vennick::tests::TestHostOptions;

constexpr const char* kReport = "/Users/anna/Documents/report.txt";

void move(TestHost& host, std::string_view from, std::string_view to) {
  ASSERT_TRUE(host.files().rename(from, to, FileSystem::Replace::No).ok()) << from;
}

FSVolumeRefNum volumeOf(std::string_view path) {
  FSCatalogInfo info;
  EXPECT_EQ(FSGetCatalogInfo(refTo(path), kFSCatInfoVolume, &info, nullptr, nullptr), noErr);
  return info.volume;
}

// One folder of it seems to hold so many folders that some hundred of them share any hash of one byte, as
// names on a path of 30 have it.
class CrowdedFileSystem : public ForwardingFileSystem {
 public:
  CrowdedFileSystem(std::shared_ptr<FileSystem> inner, std::string folder)
      : ForwardingFileSystem(std::move(inner)), folder_(std::move(folder)) {}

  Result<std::vector<FolderEntry>> list(std::string_view path) override {
    if (path != folder_) return ForwardingFileSystem::list(path);
    std::vector<FolderEntry> entries;
    for (std::uint64_t i = 0; i < 25'000; ++i) {
      entries.push_back({std::to_string(i), FileKind::Folder, i + 1});
    }
    return entries;
  }

 private:
  std::string folder_;
};

class Reference : public testing::Test {
 protected:
  Reference() { host.root().writeFile(kReport, "text"); }

  // The same machine seen by another process, which remembers nothing.
  TestHostOptions anotherProcess() {
    TestHostOptions options;
    options.root = host.sharedRoot();
    return options;
  }

  TestHost host;
};

TEST_F(Reference, LeadsToItsItem) {
  EXPECT_EQ(pathOf(refTo(kReport)), kReport);
  EXPECT_EQ(pathOf(refTo("/")), "/");
  EXPECT_EQ(pathOf(refTo("/Users/anna/")), "/Users/anna");
  EXPECT_EQ(pathOf(refTo("/Users/anna/Documents/../Documents/./report.txt")), kReport);
  EXPECT_EQ(pathOf(refTo("/Users/anna/..")), "/Users");
  EXPECT_EQ(FSRef::kSize, 80U);
}

TEST_F(Reference, IsNotMadeOfWhatIsMissing) {
  FSRef ref;
  EXPECT_EQ(FSPathMakeRef("/Users/none", &ref), fnfErr);
  EXPECT_EQ(FSPathMakeRef("", &ref), fnfErr);
  EXPECT_EQ(FSPathMakeRef(std::string(kReport) + "/x", &ref), fnfErr);
  EXPECT_FALSE(ref.isValid());
}

TEST_F(Reference, IsNotMadeOfAPathThatIsTooLong) {
  FSRef ref;
  EXPECT_EQ(FSPathMakeRef("/" + std::string(5000, 'x'), &ref), bdNamErr);
  std::string deep;
  for (int i = 0; i < 1000; ++i) deep += "/abcd";
  EXPECT_NE(FSPathMakeRef(deep, &ref), noErr);
}

TEST_F(Reference, ToAFileSaysThatItIsNoFolder) {
  FSRef ref;
  bool isFolder = true;
  EXPECT_EQ(FSPathMakeRef(kReport, &ref, &isFolder), noErr);
  EXPECT_FALSE(isFolder);
  EXPECT_EQ(FSPathMakeRef("/Users", &ref, &isFolder), noErr);
  EXPECT_TRUE(isFolder);
}

TEST_F(Reference, WhoseSignatureIsNotOursIsInvalid) {
  EXPECT_FALSE(FSRef().isValid());
  FSRef foreign;
  for (const int byte : {0x00, 0x01, 0x7F, 0xFF}) {
    foreign.hidden.fill(static_cast<std::uint8_t>(byte));
    EXPECT_FALSE(foreign.isValid());
    EXPECT_EQ(pathOf(foreign), "");
    EXPECT_EQ(FSGetCatalogInfo(foreign, kFSCatInfoNodeFlags, nullptr, nullptr, nullptr), fnfErr);
    EXPECT_EQ(FSCompareFSRefs(foreign, refTo(kReport)), fnfErr);
    EXPECT_FALSE(CFURLCreateFromFSRef(foreign));
  }
}

TEST_F(Reference, WithAnyByteChangedIsInvalid) {
  const FSRef ref = refTo(kReport);
  for (std::size_t i = 0; i < FSRef::kSize; ++i) {
    FSRef damaged = ref;
    damaged.hidden[i] ^= 0x10;
    EXPECT_FALSE(damaged.isValid()) << i;
    EXPECT_EQ(pathOf(damaged), "") << i;
  }
}

TEST_F(Reference, ToOneItemIsEqualByWhateverPath) {
  host.root().makeLink("/Users/anna/Docs", "/Users/anna/Documents");
  host.root().makeLink("/Users/bert", "anna");
  EXPECT_EQ(FSCompareFSRefs(refTo(kReport), refTo("/Users/anna/Docs/report.txt")), noErr);
  EXPECT_EQ(FSCompareFSRefs(refTo(kReport), refTo("/Users/bert/Docs/report.txt")), noErr);
  EXPECT_EQ(FSCompareFSRefs(refTo(kReport), refTo("/Users/anna")), errFSRefsDifferent);
  EXPECT_EQ(pathOf(refTo("/Users/bert/Docs/report.txt")), kReport);
}

TEST_F(Reference, ToALinkIsOneToTheLinkItself) {
  host.root().makeLink("/Users/anna/link", "Documents");
  EXPECT_EQ(pathOf(refTo("/Users/anna/link")), "/Users/anna/link");
  EXPECT_EQ(FSCompareFSRefs(refTo("/Users/anna/link"), refTo("/Users/anna/Documents")), errFSRefsDifferent);
}

TEST_F(Reference, IsFoundUnderAnotherSpelling) {
  host.root().writeFile("/Users/anna/e\xCC\x81.txt", "");
  EXPECT_EQ(pathOf(refTo("/Users/anna/é.txt")), "/Users/anna/e\xCC\x81.txt");
}

TEST_F(Reference, FindsItsItemAfterARename) {
  const FSRef ref = refTo(kReport);
  move(host, kReport, "/Users/anna/Documents/renamed.txt");
  EXPECT_EQ(pathOf(ref), "/Users/anna/Documents/renamed.txt");
  move(host, "/Users/anna/Documents/renamed.txt", "/Users/anna/Documents/again.txt");
  EXPECT_EQ(pathOf(ref), "/Users/anna/Documents/again.txt");
  EXPECT_EQ(FSCompareFSRefs(ref, refTo("/Users/anna/Documents/again.txt")), noErr);
}

TEST_F(Reference, FindsItsItemAfterItsFolderWasRenamed) {
  const FSRef ref = refTo(kReport);
  move(host, "/Users/anna/Documents", "/Users/anna/Papers");
  EXPECT_EQ(pathOf(ref), "/Users/anna/Papers/report.txt");
}

TEST_F(Reference, LosesAnItemThatWasMovedAway) {
  const FSRef ref = refTo(kReport);
  move(host, kReport, "/Users/report.txt");
  EXPECT_EQ(pathOf(ref), "");
}

TEST_F(Reference, LosesARemovedItem) {
  const FSRef ref = refTo(kReport);
  host.root().remove(kReport);
  EXPECT_EQ(pathOf(ref), "");
  // Longer than a tick of the clock from which files get their dates.
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  host.root().writeFile("/Users/anna/Documents/new.txt", "perhaps with the same inode");
  EXPECT_EQ(pathOf(ref), "");
}

TEST_F(Reference, OfAnotherProcessFindsItsItem) {
  const FSRef file = refTo(kReport), root = refTo("/"), folder = refTo("/Users/anna");
  const TestHost other(anotherProcess());
  EXPECT_EQ(pathOf(file), kReport);
  EXPECT_EQ(pathOf(root), "/");
  EXPECT_EQ(pathOf(folder), "/Users/anna");
}

TEST_F(Reference, OfAnotherProcessFindsItsItemAfterARename) {
  const FSRef ref = refTo(kReport);
  move(host, kReport, "/Users/anna/Documents/renamed.txt");
  {
    const TestHost other(anotherProcess());
    EXPECT_EQ(pathOf(ref), "/Users/anna/Documents/renamed.txt");
  }
  move(host, "/Users/anna/Documents", "/Users/anna/Papers");
  const TestHost other(anotherProcess());
  EXPECT_EQ(pathOf(ref), "/Users/anna/Papers/renamed.txt");
}

TEST_F(Reference, OfAnotherProcessFindsItemsAtEveryDepthThatItHasRoomFor) {
  std::string path;
  std::vector<std::pair<FSRef, std::string>> refs;
  for (int depth = 1; depth <= 38; ++depth) {
    path += "/level" + std::to_string(depth);
    host.root().makeFolder(path);
    refs.emplace_back(refTo(path), path);
  }
  const TestHost other(anotherProcess());
  for (const auto& [ref, expected] : refs) EXPECT_EQ(pathOf(ref), expected);
}

TEST_F(Reference, DeeperThanItHasRoomForIsFoundByTheProcessThatMadeIt) {
  std::string path;
  for (int depth = 1; depth <= 60; ++depth) path += "/d" + std::to_string(depth);
  host.root().makeFolder(path);
  const FSRef ref = refTo(path);
  EXPECT_EQ(pathOf(ref), path);
  const TestHost other(anotherProcess());
  EXPECT_EQ(pathOf(ref), "");
}

TEST_F(Reference, ReadsAtMost64FoldersOnItsSearch) {
  std::string path = "/a/target";
  for (int depth = 3; depth <= 30; ++depth) path += "/b";
  host.root().makeFolder(path);
  const FSRef ref = refTo(path);
  host.root().remove("/a/target");
  TestHost other(anotherProcess());
  other.interpose<CrowdedFileSystem>("/a");
  const auto counter = other.interpose<CountingFileSystem>();
  EXPECT_EQ(pathOf(ref), "");
  const auto read = counter->paths(FileOperation::List);
  EXPECT_EQ(
      std::count_if(read.begin(), read.end(), [](const auto& each) { return !each.starts_with("/Volumes"); }),
      64);
}

TEST_F(Reference, ManyOfThemAreFoundAlthoughFewPlacesAreRemembered) {
  std::vector<FSRef> refs;
  for (int i = 0; i < 1500; ++i) {
    const std::string path = "/Users/anna/file" + std::to_string(i);
    host.root().writeFile(path, "");
    refs.push_back(refTo(path));
  }
  for (int i = 0; i < 1500; i += 50) {
    EXPECT_EQ(pathOf(refs[static_cast<std::size_t>(i)]), "/Users/anna/file" + std::to_string(i));
  }
}

TEST_F(Reference, TellsWithoutALookWhereItsItemWasSeenLast) {
  const FSRef ref = refTo(kReport);
  const auto counter = host.interpose<CountingFileSystem>();
  EXPECT_EQ(lastSeenPath(ref), kReport);
  EXPECT_EQ(lastSeenPath(FSRef()), "");
  EXPECT_EQ(counter->total(), 0);
  move(host, kReport, "/Users/anna/Documents/renamed.txt");
  EXPECT_EQ(lastSeenPath(ref), kReport) << "nobody has looked since";
  pathOf(ref);
  EXPECT_EQ(lastSeenPath(ref), "/Users/anna/Documents/renamed.txt");
  const TestHost other(anotherProcess());
  EXPECT_EQ(lastSeenPath(ref), "");
}

TEST_F(Reference, CostsThreeLooksToMakeAndOneToFollow) {
  const auto counter = host.interpose<CountingFileSystem>();
  const FSRef ref = refTo(kReport);
  EXPECT_EQ(counter->total(), 3);
  counter->reset();
  EXPECT_EQ(pathOf(ref), kReport);
  EXPECT_EQ(counter->total(), 1);
}

// --- URLs

TEST_F(Reference, AndURLsLeadToOneAnother) {
  FSRef ref;
  EXPECT_TRUE(CFURLGetFSRef(NSURL::fileURLWithPath(kReport), &ref));
  EXPECT_EQ(CFURLCreateFromFSRef(ref)->absoluteString(), "file:///Users/anna/Documents/report.txt");
  EXPECT_TRUE(CFURLGetFSRef(*NSURL::URLWithString("file:///Users/anna/"), &ref));
  EXPECT_EQ(CFURLCreateFromFSRef(ref)->absoluteString(), "file:///Users/anna/");
  EXPECT_EQ(CFURLCreateFromFSRef(refTo("/"))->absoluteString(), "file:///");
  EXPECT_FALSE(CFURLGetFSRef(NSURL::fileURLWithPath("/none"), &ref));
  EXPECT_FALSE(CFURLGetFSRef(*NSURL::URLWithString("http://localhost/Users"), &ref));
  EXPECT_FALSE(CFURLGetFSRef(NSURL(), &ref));
}

TEST_F(Reference, IsMadeOfAnItemByNameInItsFolder) {
  FSRef ref;
  EXPECT_EQ(FSMakeFSRefUnicode(refTo("/Users/anna/Documents"), u"report.txt", &ref), noErr);
  EXPECT_EQ(pathOf(ref), kReport);
  host.root().writeFile("/Users/anna/a:b", "");
  EXPECT_EQ(FSMakeFSRefUnicode(refTo("/Users/anna"), u"a/b", &ref), noErr);
  EXPECT_EQ(pathOf(ref), "/Users/anna/a:b");
  EXPECT_EQ(FSMakeFSRefUnicode(refTo("/Users/anna"), u"none", &ref), fnfErr);
  EXPECT_EQ(FSMakeFSRefUnicode(refTo(kReport), u"x", &ref), errFSNotAFolder);
  EXPECT_EQ(FSMakeFSRefUnicode(FSRef(), u"x", &ref), dirNFErr);
  EXPECT_EQ(FSMakeFSRefUnicode(refTo("/Users"), u"", &ref), bdNamErr);
  EXPECT_EQ(FSMakeFSRefUnicode(refTo("/Users"), u"a:b", &ref), bdNamErr);
  EXPECT_EQ(FSMakeFSRefUnicode(refTo("/Users"), std::u16string(256, u'x'), &ref), bdNamErr);
  EXPECT_EQ(FSMakeFSRefUnicode(refTo("/Users"), std::u16string(255, u'x'), &ref), fnfErr);
}

// --- The catalog

using Catalog = Reference;

TEST_F(Catalog, TellsKindNameIdentifiersAndParent) {
  FSCatalogInfo info;
  HFSUniStr255 name;
  FSRef parent;
  const auto inode = [&](std::string_view path) {
    return static_cast<std::uint32_t>(host.files().info(path, FollowLinks::No)->inode);
  };
  ASSERT_EQ(FSGetCatalogInfo(refTo(kReport), kFSCatInfoNodeFlags | kFSCatInfoNodeID | kFSCatInfoParentDirID,
                             &info, &name, &parent),
            noErr);
  EXPECT_EQ(info.nodeFlags, 0);
  EXPECT_EQ(name, u"report.txt");
  EXPECT_EQ(info.nodeID, inode(kReport));
  EXPECT_EQ(info.parentDirID, inode("/Users/anna/Documents"));
  EXPECT_EQ(pathOf(parent), "/Users/anna/Documents");
  ASSERT_EQ(FSGetCatalogInfo(parent, kFSCatInfoNodeFlags, &info, nullptr, nullptr), noErr);
  EXPECT_EQ(info.nodeFlags, kFSNodeIsDirectoryMask);
}

TEST_F(Catalog, NamesAreDecomposedWithASlashForAColon) {
  host.root().writeFile("/Users/anna/\xC3\xA9:x", "");
  HFSUniStr255 name;
  ASSERT_EQ(FSGetCatalogInfo(refTo("/Users/anna/\xC3\xA9:x"), 0, nullptr, &name, nullptr), noErr);
  EXPECT_EQ(name, u"e\u0301/x");
}

TEST_F(Catalog, RootOfEachVolumeHasIdentifier2AndNoParent) {
  host.root().writeFile("/Volumes/Backup/a", "");
  for (const char* root : {"/", "/Volumes/Backup"}) {
    FSCatalogInfo info;
    FSRef parent = refTo(kReport);
    ASSERT_EQ(
        FSGetCatalogInfo(refTo(root), kFSCatInfoNodeID | kFSCatInfoParentDirID, &info, nullptr, &parent),
        noErr);
    EXPECT_EQ(info.nodeID, 2U);
    EXPECT_EQ(info.parentDirID, 1U);
    EXPECT_FALSE(parent.isValid());
  }
  FSCatalogInfo info;
  ASSERT_EQ(FSGetCatalogInfo(refTo("/Volumes/Backup/a"), kFSCatInfoParentDirID, &info, nullptr, nullptr),
            noErr);
  EXPECT_EQ(info.parentDirID, 2U);
}

TEST_F(Catalog, TellsDatesAndFinderInformation) {
  ASSERT_TRUE(host.files().setModified(kReport, 1'000'000'000'500'000'000).ok());
  FinderInfo finderInfo;
  finderInfo.setFlags(kIsInvisible);
  ASSERT_TRUE(setFinderInfo(kReport, finderInfo).ok());
  FSCatalogInfo info;
  ASSERT_EQ(
      FSGetCatalogInfo(refTo(kReport), kFSCatInfoContentMod | kFSCatInfoFinderInfo | kFSCatInfoCreateDate,
                       &info, nullptr, nullptr),
      noErr);
  EXPECT_EQ(info.contentModDate, (UTCDateTime{3082844800} << 16) + 0x8000);
  EXPECT_EQ(info.finderInfo, finderInfo);
  const auto created = host.files().info(kReport, FollowLinks::No)->created / 1'000'000'000;
  EXPECT_EQ(static_cast<std::int64_t>(info.createDate >> 16) - kMacEpochBefore1970, created);
}

TEST_F(Catalog, OfAMissingItemIsNotFound) {
  const FSRef ref = refTo(kReport);
  host.root().remove(kReport);
  EXPECT_EQ(FSGetCatalogInfo(ref, kFSCatInfoNodeFlags, nullptr, nullptr, nullptr), fnfErr);
}

// --- Volumes

using Volumes = Reference;

TEST_F(Volumes, AreToldApartByTheirPlace) {
  host.root().writeFile("/Volumes/Backup/a", "");
  EXPECT_EQ(volumeOf("/"), volumeOf(kReport));
  EXPECT_EQ(volumeOf("/Volumes/Backup"), volumeOf("/Volumes/Backup/a"));
  EXPECT_NE(volumeOf("/"), volumeOf("/Volumes/Backup"));
}

TEST_F(Volumes, HaveNamesAndRoots) {
  host.root().writeFile("/Volumes/B\xC3\xA4:ckup/a", "");
  HFSUniStr255 name;
  FSRef root;
  ASSERT_EQ(FSGetVolumeInfo(volumeOf("/Volumes/B\xC3\xA4:ckup/a"), &name, &root), noErr);
  EXPECT_EQ(name, u"Ba\u0308/ckup");
  EXPECT_EQ(pathOf(root), "/Volumes/B\xC3\xA4:ckup");
  ASSERT_EQ(FSGetVolumeInfo(volumeOf(kReport), &name, &root), noErr);
  EXPECT_EQ(name, u"Macintosh HD");
  EXPECT_EQ(pathOf(root), "/");
}

TEST_F(Volumes, BootVolumeWithoutALinkThatNamesItHasNoNameToAskFor) {
  host.root().remove("/Volumes/Macintosh HD");
  HFSUniStr255 name;
  FSRef root;
  EXPECT_EQ(FSGetVolumeInfo(volumeOf(kReport), &name, nullptr), nsvErr);
  EXPECT_EQ(FSGetVolumeInfo(volumeOf(kReport), nullptr, &root), noErr);
  EXPECT_EQ(FSGetCatalogInfo(refTo("/"), 0, nullptr, &name, nullptr), noErr);
  EXPECT_EQ(name, u"Macintosh HD");
}

TEST_F(Volumes, ThatAreGoneAreNoVolumes) {
  host.root().makeFolder("/Volumes/Backup");
  const FSVolumeRefNum volume = volumeOf("/Volumes/Backup");
  host.root().remove("/Volumes/Backup");
  GetVolParmsInfoBuffer buffer;
  EXPECT_EQ(FSGetVolumeInfo(volume, nullptr, nullptr), nsvErr);
  EXPECT_EQ(FSGetVolumeParms(volume, &buffer), nsvErr);
  EXPECT_EQ(FSGetVolumeInfo(0, nullptr, nullptr), nsvErr);
  EXPECT_EQ(FSGetVolumeInfo(-32768, nullptr, nullptr), nsvErr);
}

TEST_F(Volumes, OnAServerHaveAServerAddress) {
  host.root().writeFile("/Volumes/Share/a", "");
  host.volumes().change("/Volumes/Share", [](VolumeInfo& volume) { volume.isLocal = false; });
  GetVolParmsInfoBuffer buffer;
  ASSERT_EQ(FSGetVolumeParms(volumeOf("/Volumes/Share/a"), &buffer), noErr);
  EXPECT_NE(buffer.vMServerAdr, 0U);
  ASSERT_EQ(FSGetVolumeParms(volumeOf(kReport), &buffer), noErr);
  EXPECT_EQ(buffer.vMServerAdr, 0U);
  EXPECT_EQ(GetVolParmsInfoBuffer::kSize, 44U);
}

}  // namespace
}  // namespace macos
