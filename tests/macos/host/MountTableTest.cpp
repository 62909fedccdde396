// SPDX-License-Identifier: MIT
#include "macos/host/MountTable.h"

#include <sys/sysmacros.h>

#include <random>

#include "gtest/gtest.h"

namespace macos {
namespace {

TEST(MountTable, ReadsTheKernelsLines) {
  const std::vector<Mount> mounts = parseMountInfo(
      "36 35 98:0 /mnt1 /mnt/two\\040words rw,noatime master:1 shared:7 - ext3 /dev/root rw,errors=continue\n"
      "27 1 0:51 / /Volumes/Server ro - cifs //server/Public\\134Share rw,vers=3.0,nocase\n"
      "28 1 0:52 / / rw - overlay overlay rw");
  ASSERT_EQ(mounts.size(), 3U);
  EXPECT_EQ(mounts[0].mountPoint, "/mnt/two words");
  EXPECT_EQ(mounts[0].type, "ext3");
  EXPECT_EQ(mounts[0].source, "/dev/root");
  EXPECT_EQ(mounts[0].device, makedev(98, 0));
  EXPECT_TRUE(hasMountOption(mounts[0], "noatime"));
  EXPECT_TRUE(hasMountOption(mounts[0], "errors=continue"));
  EXPECT_FALSE(hasMountOption(mounts[0], "errors"));
  EXPECT_EQ(mounts[1].source, "//server/Public\\Share");
  EXPECT_TRUE(hasMountOption(mounts[1], "ro"));
  EXPECT_EQ(mounts[2].mountPoint, "/");
}

TEST(MountTable, UndoesTheKernelsEscapes) {
  const std::vector<Mount> mounts = parseMountInfo("1 1 0:1 / /a\\011b\\012c\\134d\\04 rw - tmpfs x\\9 rw\n");
  ASSERT_EQ(mounts.size(), 1U);
  EXPECT_EQ(mounts[0].mountPoint, "/a\tb\nc\\d\\04");
  EXPECT_EQ(mounts[0].source, "x\\9");
}

TEST(MountTable, LeavesOutLinesThatDoNotHaveTheForm) {
  for (const char* const line :
       {"", "\n\n", "1", "1 1 0:1 / /x rw", "1 1 0:1 / /x rw -", "1 1 0:1 / /x rw - tmpfs",
        "- - - - - - - - -", "1 1 zero:1 / /x rw - tmpfs none rw", "1 1 01 / /x rw - tmpfs none rw",
        "1 1 0: / /x rw - tmpfs none rw", "1 1 0:1x / /x rw - tmpfs none rw",
        "1 1 0:99999999999 / /x rw - tmpfs none rw"}) {
    EXPECT_TRUE(parseMountInfo(line).empty()) << line;
  }
}

TEST(MountTable, SurvivesAnyBytes) {
  std::mt19937 dice(7);
  const std::string alphabet = "0123456789:/ -\\\nabc,rw\0";
  for (int i = 0; i < 2000; ++i) {
    std::string text = "1 1 0:1 / /x\\040y rw - tmpfs none rw\n";
    for (int j = 0; j < 6; ++j) text[dice() % text.size()] = alphabet[dice() % alphabet.size()];
    for (const Mount& mount : parseMountInfo(text)) EXPECT_FALSE(mount.mountPoint.empty());
  }
}

TEST(MountTable, KnowsTheFileSystemsOfOtherMachines) {
  for (const char* const type : {"nfs", "nfs4", "cifs", "smb3", "9p", "fuse.sshfs", "ceph", "afs"}) {
    EXPECT_TRUE(isNetworkFileSystem(type)) << type;
  }
  for (const char* const type : {"ext4", "xfs", "btrfs", "tmpfs", "vfat", "hfsplus", "apfs", "overlay",
                                 "fuseblk", "fuse.apfs", "nfsd", "n", ""}) {
    EXPECT_FALSE(isNetworkFileSystem(type)) << type;
  }
}

std::string remountURLOf(const char* type, const char* source) {
  Mount mount;
  mount.type = type;
  mount.source = source;
  return remountURL(mount);
}

TEST(MountTable, TellsByWhichURLAVolumeIsMountedAgain) {
  EXPECT_EQ(remountURLOf("cifs", "//server/share"), "smb://server/share");
  EXPECT_EQ(remountURLOf("smb3", "//server.local/My Share/sub/"), "smb://server.local/My%20Share/sub");
  EXPECT_EQ(remountURLOf("cifs", "//10.0.0.7/caf\xC3\xA9"), "smb://10.0.0.7/caf%C3%A9");
  EXPECT_EQ(remountURLOf("nfs", "server:/export/home"), "nfs://server/export/home");
  EXPECT_EQ(remountURLOf("nfs4", "server:/"), "nfs://server");
  EXPECT_EQ(remountURLOf("nfs4", "[fe80::1]:/x"), "nfs://[fe80::1]/x");
  EXPECT_EQ(remountURLOf("fuse.afpfs", "afp://server/share"), "afp://server/share");
}

TEST(MountTable, HasNoURLForWhatCannotBeMountedByOne) {
  EXPECT_EQ(remountURLOf("ext4", "/dev/sda1"), "");
  EXPECT_EQ(remountURLOf("fuse.sshfs", "anna@server:/home"), "");
  EXPECT_EQ(remountURLOf("cifs", "server/share"), "");
  EXPECT_EQ(remountURLOf("cifs", "//"), "");
  EXPECT_EQ(remountURLOf("nfs", "server"), "");
  EXPECT_EQ(remountURLOf("nfs", ":/x"), "");
  EXPECT_EQ(remountURLOf("cifs", ""), "");
}

}  // namespace
}  // namespace macos
