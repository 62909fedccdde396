// SPDX-License-Identifier: MIT
//
// The volumes of a root: folders and links in /Volumes, and real mounts.
#include "macos/host/PosixVolumeTable.h"

#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/sysmacros.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <memory>
#include <thread>

#include "gtest/gtest.h"
#include "macos/host/PosixFileSystem.h"
#include "macos/host/VolumeFacts.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/FileSystems.h"
#include "tests/support/TemporaryMount.h"
#include "tests/support/TemporaryRoot.h"

namespace macos {
namespace {

using vennick::tests::CountingFileSystem;
using vennick::tests::countSystemCalls;
using vennick::tests::FileOperation;
using vennick::tests::TemporaryMount;
using vennick::tests::TemporaryRoot;

class PosixVolumeTableTest : public testing::Test {
 protected:
  std::vector<std::string> mountPoints() {
    std::vector<std::string> result;
    for (const VolumeInfo& volume : table.volumes()) result.push_back(volume.mountPoint);
    return result;
  }
  VolumeInfo at(const std::string& mountPoint) {
    for (const VolumeInfo& volume : table.volumes()) {
      if (volume.mountPoint == mountPoint) return volume;
    }
    ADD_FAILURE() << mountPoint << " is no volume";
    return {};
  }
  std::string volumeOf(const std::string& path, FollowLinks follow = FollowLinks::Yes) {
    return table.volumeForPath(path, follow).mountPoint;
  }

  TemporaryRoot root;
  std::shared_ptr<CountingFileSystem> files =
      std::make_shared<CountingFileSystem>(std::make_shared<PosixFileSystem>(root.path()));
  PosixVolumeTable table{files};
};

TEST_F(PosixVolumeTableTest, TheTopIsTheBootVolumeNamedByTheLinkThatLeadsToIt) {
  const VolumeInfo boot = table.volumes().front();
  EXPECT_EQ(boot.mountPoint, "/");
  EXPECT_EQ(boot.name, "Macintosh HD");
  EXPECT_TRUE(boot.isBoot);
  EXPECT_TRUE(boot.isLocal);
  struct stat found {};
  ASSERT_EQ(::stat(root.path().c_str(), &found), 0);
  EXPECT_EQ(boot.device, found.st_dev);
  EXPECT_EQ(boot.created, files->info("/", FollowLinks::Yes)->created);
  struct statvfs system {};
  ASSERT_EQ(::statvfs(root.path().c_str(), &system), 0);
  EXPECT_EQ(boot.capacity, std::uint64_t{system.f_blocks} * system.f_frsize);
}

TEST_F(PosixVolumeTableTest, ARelativeLinkNamesTheBootVolumeToo) {
  root.remove("/Volumes/Macintosh HD");
  root.makeLink("/Volumes/Server HD", "../..");
  EXPECT_EQ(at("/").name, "Server HD");
}

TEST_F(PosixVolumeTableTest, WithoutALinkThatLeadsToTheTopTheBootVolumeHasNoName) {
  root.remove("/Volumes/Macintosh HD");
  root.makeLink("/Volumes/Home", "/Users");
  root.makeLink("/Volumes/Gone", "/nowhere");
  root.makeLink("/Volumes/Loop", "Loop");
  EXPECT_EQ(at("/").name, "");
  EXPECT_EQ(mountPoints(), std::vector<std::string>{"/"});
}

TEST_F(PosixVolumeTableTest, ARootWithoutVolumesFolderHasItsBootVolume) {
  root.remove("/Volumes");
  EXPECT_EQ(mountPoints(), std::vector<std::string>{"/"});
  EXPECT_EQ(volumeOf("/Users/anna"), "/");
}

TEST_F(PosixVolumeTableTest, EveryFolderInVolumesIsAVolume) {
  root.makeFolder("/Volumes/Backup");
  root.makeFolder("/Volumes/Data/inside");
  root.writeFile("/Volumes/file", "");
  EXPECT_EQ(mountPoints(), (std::vector<std::string>{"/", "/Volumes/Backup", "/Volumes/Data"}));
  EXPECT_EQ(at("/Volumes/Data").name, "Data");
  EXPECT_FALSE(at("/Volumes/Data").isBoot);
}

TEST_F(PosixVolumeTableTest, VolumesMayBeReachedThroughALink) {
  root.remove("/Volumes");
  root.makeFolder("/private/Volumes/Data");
  root.makeLink("/private/Volumes/Top", "/");
  root.makeLink("/Volumes", "private/Volumes");
  EXPECT_EQ(mountPoints(), (std::vector<std::string>{"/", "/private/Volumes/Data"}));
  EXPECT_EQ(at("/").name, "Top");
  EXPECT_EQ(volumeOf("/Volumes/Data/x"), "/private/Volumes/Data");
}

TEST_F(PosixVolumeTableTest, FindsTheVolumeOfAPath) {
  root.makeFolder("/Volumes/Data/folder");
  root.makeFolder("/Volumes/Data 2");
  root.makeLink("/Users/anna/away", "/Volumes/Data/folder");
  root.makeLink("/Users/anna/dangling", "/Volumes/Data/none");
  EXPECT_EQ(volumeOf("/"), "/");
  EXPECT_EQ(volumeOf("/Users/anna"), "/");
  EXPECT_EQ(volumeOf("/Volumes"), "/");
  EXPECT_EQ(volumeOf("/Volumes/Data"), "/Volumes/Data");
  EXPECT_EQ(volumeOf("/Volumes/Data/folder/none/x/y"), "/Volumes/Data");
  EXPECT_EQ(volumeOf("/Volumes/Data 2/x"), "/Volumes/Data 2");
  EXPECT_EQ(volumeOf("/Volumes/Missing/x"), "/");
  EXPECT_EQ(volumeOf("/Volumes/Macintosh HD/Volumes/Data/folder"), "/Volumes/Data");
  EXPECT_EQ(volumeOf("/Users/anna/away"), "/Volumes/Data");
  EXPECT_EQ(volumeOf("/Users/anna/away/none"), "/Volumes/Data");
  EXPECT_EQ(volumeOf("/Users/anna/away", FollowLinks::No), "/");
  EXPECT_EQ(volumeOf("/Users/anna/away/x", FollowLinks::No), "/Volumes/Data");
  EXPECT_EQ(volumeOf("/Users/anna/dangling", FollowLinks::No), "/");
  EXPECT_EQ(volumeOf(""), "/");
  EXPECT_EQ(volumeOf("Volumes/Data"), "/Volumes/Data");
}

TEST_F(PosixVolumeTableTest, SeesEveryChangeAtOnce) {
  // Faster than the clock that files take their times from.
  for (int i = 0; i < 50; ++i) {
    const std::string path = "/Volumes/V" + std::to_string(i);
    root.makeFolder(path);
    ASSERT_EQ(volumeOf(path + "/x"), path);
    ASSERT_EQ(table.volumes().size(), 2U);
    root.remove(path);
    ASSERT_EQ(table.volumes().size(), 1U);
  }
}

TEST_F(PosixVolumeTableTest, AsksFewQuestionsWhenNothingChanged) {
  root.makeFolder("/Volumes/Data");
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  table.volumes();
  files->reset();
  for (int i = 0; i < 100; ++i) EXPECT_EQ(volumeOf("/Users/anna"), "/");
  // One for /Volumes and one for the path.
  EXPECT_EQ(files->total(), 200);
  const auto calls = countSystemCalls([&] { volumeOf("/Users/anna"); });
  if (!calls) GTEST_SKIP() << "processes may not be traced here";
  EXPECT_LE(calls->total, 8);
}

TEST_F(PosixVolumeTableTest, EveryMountInsideTheRootIsAVolume) {
  auto inVolumes = TemporaryMount::volume(root, "/Volumes/Stick", 256 * 1024);
  auto elsewhere = TemporaryMount::volume(root, "/Users/anna/two words\n", 512 * 1024);
  if (!inVolumes || !elsewhere) GTEST_SKIP() << "nothing may be mounted here";
  EXPECT_EQ(mountPoints(), (std::vector<std::string>{"/", "/Users/anna/two words\n", "/Volumes/Stick"}));
  const VolumeInfo stick = at("/Volumes/Stick");
  EXPECT_EQ(stick.name, "Stick");
  EXPECT_EQ(stick.capacity, 256U * 1024);
  EXPECT_NE(stick.device, at("/").device);
  EXPECT_FALSE(stick.isReadOnly);
  EXPECT_FALSE(stick.isEjectable);
  EXPECT_TRUE(stick.isLocal);
  EXPECT_EQ(at("/Users/anna/two words\n").name, "two words\n");
  EXPECT_EQ(volumeOf("/Users/anna/two words\n/x"), "/Users/anna/two words\n");

  ASSERT_TRUE(inVolumes->makeReadOnly());
  EXPECT_TRUE(at("/Volumes/Stick").isReadOnly);
  elsewhere = nullptr;
  EXPECT_EQ(volumeOf("/Users/anna/two words\n/x"), "/");
  inVolumes = nullptr;
  // What is left is a folder in /Volumes, which is a volume still.
  EXPECT_EQ(at("/Volumes/Stick").device, at("/").device);
}

TEST_F(PosixVolumeTableTest, AMountOutsideTheRootIsNone) {
  const TemporaryRoot other;
  const auto outside = TemporaryMount::volume(other, "/Volumes/Stick", 64 * 1024);
  if (!outside) GTEST_SKIP() << "nothing may be mounted here";
  EXPECT_EQ(mountPoints(), std::vector<std::string>{"/"});
}

// A disk that does not answer must not be asked because of what happens elsewhere on the machine.
TEST_F(PosixVolumeTableTest, AMountOutsideTheRootIsNoReasonToAskTheVolumes) {
  root.makeFolder("/Volumes/Slow");
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  table.volumes();
  files->reset();
  const TemporaryRoot other;
  auto outside = TemporaryMount::volume(other, "/Volumes/Stick", 64 * 1024);
  if (!outside) GTEST_SKIP() << "nothing may be mounted here";
  EXPECT_EQ(table.volumes().size(), 2U);
  outside.reset();
  EXPECT_EQ(table.volumes().size(), 2U);
  EXPECT_EQ(files->paths(FileOperation::Info), (std::vector<std::string>{"/Volumes", "/Volumes"}));
}

TEST_F(PosixVolumeTableTest, AnswersManyThreadsWhileVolumesComeAndGo) {
  std::atomic<bool> isOver{false};
  std::vector<std::thread> readers;
  for (int i = 0; i < 3; ++i) {
    readers.emplace_back([&] {
      while (!isOver) {
        EXPECT_EQ(volumeOf("/Users/anna/x"), "/");
        EXPECT_EQ(table.volumes().front().mountPoint, "/");
      }
    });
  }
  for (int i = 0; i < 50; ++i) {
    root.makeFolder("/Volumes/Data");
    root.remove("/Volumes/Data");
  }
  isOver = true;
  for (std::thread& reader : readers) reader.join();
}

TEST(PosixVolumeTable, OfTheMachinesOwnRootHoldsItsMounts) {
  PosixVolumeTable table(std::make_shared<PosixFileSystem>("/"));
  const std::vector<VolumeInfo> volumes = table.volumes();
  EXPECT_EQ(volumes.front().mountPoint, "/");
  EXPECT_TRUE(std::any_of(volumes.begin(), volumes.end(),
                          [](const VolumeInfo& volume) { return volume.mountPoint == "/proc"; }));
  EXPECT_EQ(table.volumeForPath("/proc/self/status", FollowLinks::Yes).mountPoint, "/proc");
}

Mount mountOfType(const char* type) {
  Mount mount;
  mount.type = type;
  return mount;
}

TEST(VolumeFacts, TellLetterCaseByTheKindOfFileSystem) {
  const TemporaryRoot root;
  for (const char* const type : {"vfat", "msdos", "exfat", "ntfs", "ntfs3", "hfs"}) {
    const Mount mount = mountOfType(type);
    EXPECT_FALSE(isCaseSensitive(root.path(), &mount)) << type;
  }
  for (const char* const type : {"ext4", "xfs", "btrfs", "tmpfs", "overlay"}) {
    const Mount mount = mountOfType(type);
    EXPECT_TRUE(isCaseSensitive(root.path(), &mount)) << type;
  }
  EXPECT_TRUE(isCaseSensitive(root.path(), nullptr));
}

TEST(VolumeFacts, TryLetterCaseOutWhereAKindHasItEitherWay) {
  const TemporaryRoot root;
  root.makeFolder("/empty");
  for (const char* const type : {"hfsplus", "apfs", "cifs", "smb3", "fuseblk", "fuse.apfs"}) {
    const Mount mount = mountOfType(type);
    // The folder that stands for the volume does tell "Users" from "users".
    EXPECT_TRUE(isCaseSensitive(root.path(), &mount)) << type;
    // Where nothing can be tried, the usual answer of the kind.
    EXPECT_FALSE(isCaseSensitive(root.hostPath("/empty"), &mount)) << type;
    EXPECT_FALSE(isCaseSensitive(root.hostPath("/none"), &mount)) << type;
  }
  const Mount nfs = mountOfType("nfs");
  EXPECT_TRUE(isCaseSensitive(root.hostPath("/empty"), &nfs));
}

TEST(VolumeFacts, SeeThatATopFolderFoldsLetterCase) {
  const TemporaryRoot root;
  const auto volume = TemporaryMount::caseFoldingVolume(root, "/Volumes/Folded");
  if (!volume) GTEST_SKIP() << "this kernel has no volume that folds letter case, or nothing may be mounted";
  root.writeFile("/Volumes/Folded/Name", "x");
  ASSERT_EQ(root.readFile("/Volumes/Folded/nAME"), "x");
  const Mount tmpfs = mountOfType("tmpfs");
  EXPECT_FALSE(isCaseSensitive(root.hostPath("/Volumes/Folded"), &tmpfs));
  const Mount hfsplus = mountOfType("hfsplus");
  EXPECT_FALSE(isCaseSensitive(root.hostPath("/Volumes/Folded"), &hfsplus));
  PosixVolumeTable table(std::make_shared<PosixFileSystem>(root.path()));
  EXPECT_FALSE(table.volumeForPath("/Volumes/Folded/x", FollowLinks::Yes).isCaseSensitive);
  EXPECT_TRUE(table.volumeForPath("/Users", FollowLinks::Yes).isCaseSensitive);
}

TEST(VolumeFacts, TellADiskThatCanBeTakenOut) {
  const TemporaryRoot root;
  // As the kernel shows them: links to the devices, a partition inside its disk.
  root.writeFile("/devices/stick/removable", "1\n");
  root.writeFile("/devices/stick/stick1/partition", "1\n");
  root.writeFile("/devices/fixed/removable", "0\n");
  root.writeFile("/devices/fixed/fixed1/partition", "1\n");
  root.makeLink("/block/8:16", "../devices/stick");
  root.makeLink("/block/8:17", "../devices/stick/stick1");
  root.makeLink("/block/8:0", "../devices/fixed");
  root.makeLink("/block/8:1", "../devices/fixed/fixed1");
  const std::string block = root.hostPath("/block");
  EXPECT_TRUE(isRemovableDisk(block, makedev(8, 16)));
  EXPECT_TRUE(isRemovableDisk(block, makedev(8, 17)));
  EXPECT_FALSE(isRemovableDisk(block, makedev(8, 0)));
  EXPECT_FALSE(isRemovableDisk(block, makedev(8, 1)));
  EXPECT_FALSE(isRemovableDisk(block, makedev(9, 9)));
}

TEST(VolumeFacts, OfANetworkVolumeNameItsServer) {
  const TemporaryRoot root;
  Mount mount = mountOfType("cifs");
  mount.source = "//server/share";
  VolumeInfo volume;
  addVolumeFacts(root.path(), &mount, volume);
  EXPECT_FALSE(volume.isLocal);
  EXPECT_FALSE(volume.isEjectable);
  EXPECT_EQ(volume.remountURL, "smb://server/share");
}

}  // namespace
}  // namespace macos
