// SPDX-License-Identifier: MIT
#include "macos/carbon/Folders.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/support/References.h"
#include "tests/support/TestHost.h"

namespace macos {
namespace {

using vennick::tests::FailingFileSystem;
using vennick::tests::Operations;
using vennick::tests::pathOf;
using vennick::tests::refTo;
using vennick::tests::TestHost;

class Folders : public testing::Test {
 protected:
  Folders() {
    host.root().makeFolder("/Volumes/Disk");
    host.volumes().change("/Volumes/Disk", [](VolumeInfo&) {});
  }

  static FSVolumeRefNum volumeOf(std::string_view path) {
    FSCatalogInfo info;
    EXPECT_EQ(FSGetCatalogInfo(refTo(path), kFSCatInfoVolume, &info, nullptr, nullptr), noErr);
    return info.volume;
  }
  unsigned modeOf(const std::string& path) { return host.files().info(path, FollowLinks::No)->mode & 07777; }

  TestHost host;
  const std::string trashOnDisk = "/Volumes/Disk/.Trashes/" + std::to_string(::getuid());
};

TEST_F(Folders, TrashOfTheUsersVolumeIsInTheHome) {
  FSRef trash;
  EXPECT_EQ(FSFindFolder(volumeOf("/"), kTrashFolderType, false, &trash), fnfErr);
  ASSERT_EQ(FSFindFolder(volumeOf("/"), kTrashFolderType, true, &trash), noErr);
  EXPECT_EQ(pathOf(trash), "/Users/anna/.Trash");
  EXPECT_EQ(modeOf("/Users/anna/.Trash"), 0700U);
  ASSERT_EQ(FSFindFolder(kUserDomain, kTrashFolderType, false, &trash), noErr);
  EXPECT_EQ(pathOf(trash), "/Users/anna/.Trash");
}

TEST_F(Folders, TrashOfAnotherVolumeIsTheUsersOwnOnIt) {
  FSRef trash;
  EXPECT_EQ(FSFindFolder(volumeOf("/Volumes/Disk"), kTrashFolderType, false, &trash), fnfErr);
  const mode_t umask = ::umask(077);
  EXPECT_EQ(FSFindFolder(volumeOf("/Volumes/Disk"), kTrashFolderType, true, &trash), noErr);
  ::umask(umask);
  EXPECT_EQ(pathOf(trash), trashOnDisk);
  EXPECT_EQ(modeOf("/Volumes/Disk/.Trashes"), 01333U);
  EXPECT_EQ(modeOf(trashOnDisk), 0700U);
}

TEST_F(Folders, TrashThatIsThereIsLeftAsItIs) {
  host.root().makeFolder("/Users/anna/.Trash");
  ASSERT_TRUE(host.files().setMode("/Users/anna/.Trash", 0755).ok());
  FSRef trash;
  EXPECT_EQ(FSFindFolder(kUserDomain, kTrashFolderType, true, &trash), noErr);
  EXPECT_EQ(modeOf("/Users/anna/.Trash"), 0755U);
}

TEST_F(Folders, TrashIsNeverALinkOrAFile) {
  FSRef trash;
  host.root().makeFolder("/Users/anna/elsewhere");
  host.root().makeLink("/Users/anna/.Trash", "elsewhere");
  EXPECT_EQ(FSFindFolder(kUserDomain, kTrashFolderType, true, &trash), errFSNotAFolder);
  host.root().makeLink("/Volumes/Disk/.Trashes", "/Users/anna/elsewhere");
  EXPECT_EQ(FSFindFolder(volumeOf("/Volumes/Disk"), kTrashFolderType, true, &trash), errFSNotAFolder);
  host.root().remove("/Volumes/Disk/.Trashes");
  host.root().writeFile(trashOnDisk, "");
  EXPECT_EQ(FSFindFolder(volumeOf("/Volumes/Disk"), kTrashFolderType, true, &trash), errFSNotAFolder);
  EXPECT_TRUE(host.root().names("/Users/anna/elsewhere").empty());
}

TEST_F(Folders, TrashThatCannotBeMadeHasTheHostsReason) {
  FSRef trash;
  const FSVolumeRefNum disk = volumeOf("/Volumes/Disk");
  host.interpose<FailingFileSystem>(1, EROFS, Operations::Changes);
  EXPECT_EQ(FSFindFolder(disk, kTrashFolderType, true, &trash), afpAccessDenied);
}

TEST_F(Folders, KnowsNoOtherTypeAndNoOtherVolume) {
  FSRef folder;
  EXPECT_EQ(FSFindFolder(kUserDomain, fourCharCode("desk"), true, &folder), fnfErr);
  EXPECT_EQ(FSFindFolder(7, kTrashFolderType, true, &folder), nsvErr);
}

}  // namespace
}  // namespace macos
