// SPDX-License-Identifier: MIT
#include "macos/carbon/PathStyles.h"

#include <gtest/gtest.h>

#include "tests/support/TestHost.h"

namespace macos {
namespace {

using vennick::tests::TestHost;

class PathStyles : public testing::Test {
 protected:
  PathStyles() {
    host.root().makeFolder("/Volumes/Disk");
    host.volumes().change("/Volumes/Disk", [](VolumeInfo&) {});
  }

  static std::string posix(std::string_view path) {
    const auto url = CFURLCreateWithFileSystemPath(path, CFURLPathStyle::HFS, false);
    return url ? CFURLCopyFileSystemPath(*url, CFURLPathStyle::POSIX).value_or("none") : "no URL";
  }
  static std::string hfs(std::string_view path) {
    const auto url = CFURLCreateWithFileSystemPath(path, CFURLPathStyle::POSIX, false);
    return url ? CFURLCopyFileSystemPath(*url, CFURLPathStyle::HFS).value_or("none") : "no URL";
  }

  TestHost host;
};

TEST_F(PathStyles, LeaveTheBootVolumesNameOutOfPOSIXPaths) {
  EXPECT_EQ(posix("Macintosh HD:Users:anna"), "/Users/anna");
  EXPECT_EQ(posix("Macintosh HD:Users:anna:"), "/Users/anna");
  EXPECT_EQ(posix("Macintosh HD:"), "/");
  EXPECT_EQ(posix("Macintosh HD"), "/");
  EXPECT_EQ(posix("MACINTOSH hd:Users"), "/Users");
  EXPECT_EQ(hfs("/Users/anna"), "Macintosh HD:Users:anna");
  EXPECT_EQ(hfs("/Users/anna/"), "Macintosh HD:Users:anna");
  EXPECT_EQ(hfs("/"), "Macintosh HD");
  EXPECT_EQ(hfs("/Volumes/Macintosh HD/Users"), "Macintosh HD:Users");
}

TEST_F(PathStyles, LeadToOtherVolumesWhereTheyAreMounted) {
  EXPECT_EQ(posix("Disk:folder:file"), "/Volumes/Disk/folder/file");
  EXPECT_EQ(hfs("/Volumes/Disk/folder/file"), "Disk:folder:file");
  EXPECT_EQ(hfs("/Volumes/Disk"), "Disk");
  EXPECT_EQ(hfs("/Volumes/Disk2/x"), "Macintosh HD:Volumes:Disk2:x");
  EXPECT_EQ(posix("Gone:x"), "/Volumes/Gone/x");
}

TEST_F(PathStyles, NameABootVolumeThatNothingNames) {
  host.root().remove("/Volumes/Macintosh HD");
  EXPECT_EQ(hfs("/Users"), "Macintosh HD:Users");
  EXPECT_EQ(posix("Macintosh HD:Users"), "/Users");
}

TEST_F(PathStyles, SwapColonsAndSlashesInNames) {
  EXPECT_EQ(posix("Macintosh HD:1/2:x"), "/1:2/x");
  EXPECT_EQ(hfs("/1:2/x"), "Macintosh HD:1/2:x");
}

TEST_F(PathStyles, TakeEmptyComponentsForTheFolderAbove) {
  EXPECT_EQ(posix("Macintosh HD:Users:anna::bert"), "/Users/anna/../bert");
  EXPECT_EQ(hfs("/Users/anna/../bert"), "Macintosh HD:Users:anna::bert");
  EXPECT_EQ(hfs("/Users/./anna"), "Macintosh HD:Users:anna");
}

TEST_F(PathStyles, KeepRelativePathsRelative) {
  EXPECT_EQ(posix(":folder:file"), "folder/file");
  EXPECT_EQ(hfs("folder/file"), ":folder:file");
}

TEST_F(PathStyles, DecomposePathsAsURLsDo) {
  EXPECT_EQ(posix("Macintosh HD:caf\xC3\xA9"), "/cafe\xCC\x81");
  EXPECT_EQ(hfs("/caf\xC3\xA9"), "Macintosh HD:cafe\xCC\x81");
}

TEST_F(PathStyles, MakeNothingOfWhatIsNoPath) {
  for (const std::string_view path : {std::string_view(""), std::string_view("/a\0b", 4)}) {
    EXPECT_EQ(hfs(path), "no URL");
    EXPECT_EQ(posix(path), "no URL");
  }
  EXPECT_EQ(posix(":"), "no URL");
  EXPECT_EQ(CFURLCopyFileSystemPath(NSURL(), CFURLPathStyle::HFS), std::nullopt);
}

}  // namespace
}  // namespace macos
