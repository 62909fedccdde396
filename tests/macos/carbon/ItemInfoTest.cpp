// SPDX-License-Identifier: MIT
#include "macos/carbon/ItemInfo.h"

#include <gtest/gtest.h>

#include "macos/foundation/FileMetadata.h"
#include "tests/support/IndependentReader.h"
#include "tests/support/TestHost.h"

namespace macos {
namespace {

using vennick::tests::TestHost;

constexpr LSRequestedInfo kEverything =
    kLSRequestExtension | kLSRequestTypeCreator | kLSRequestBasicFlagsOnly;

LSItemInfoRecord infoAt(std::string_view path) {
  FSRef ref;
  LSItemInfoRecord info;
  EXPECT_EQ(FSPathMakeRef(path, &ref), noErr) << path;
  EXPECT_EQ(LSCopyItemInfoForRef(ref, kEverything, &info), noErr) << path;
  return info;
}

void setFinderFlags(std::string_view path, std::uint16_t flags) {
  FinderInfo info;
  info.setFlags(flags);
  ASSERT_TRUE(setFinderInfo(path, info).ok());
}

class ItemInfo : public testing::Test {
 protected:
  ItemInfo() {
    host.root().writeFile("/Users/anna/plain.txt", "text");
    host.root().makeFolder("/Users/anna/folder");
  }
  TestHost host;
};

TEST_F(ItemInfo, TellsPlainFilesAndFolders) {
  EXPECT_EQ(infoAt("/Users/anna/plain.txt").flags, kLSItemInfoIsPlainFile);
  EXPECT_EQ(infoAt("/Users/anna/folder").flags, kLSItemInfoIsContainer);
}

TEST_F(ItemInfo, TellsPackagesAndApplications) {
  host.root().makeFolder("/Users/anna/Letter.rtfd");
  host.root().makeFolder("/Users/anna/Tool.app");
  setFinderFlags("/Users/anna/folder", kHasBundle);
  EXPECT_EQ(infoAt("/Users/anna/Letter.rtfd").flags, kLSItemInfoIsContainer | kLSItemInfoIsPackage);
  EXPECT_EQ(infoAt("/Users/anna/folder").flags, kLSItemInfoIsContainer | kLSItemInfoIsPackage);
  EXPECT_EQ(infoAt("/Users/anna/Tool.app").flags, kLSItemInfoIsContainer | kLSItemInfoIsPackage |
                                                      kLSItemInfoIsApplication | kLSItemInfoIsNativeApp);
}

TEST_F(ItemInfo, TellsVolumes) {
  host.root().makeFolder("/Volumes/Backup");
  EXPECT_EQ(infoAt("/").flags, kLSItemInfoIsContainer | kLSItemInfoIsVolume);
  EXPECT_EQ(infoAt("/Volumes/Backup").flags, kLSItemInfoIsContainer | kLSItemInfoIsVolume);
}

TEST_F(ItemInfo, TellsAliasFilesAndLinks) {
  host.root().makeLink("/Users/anna/link", "folder");
  host.root().makeLink("/Users/anna/dangling", "none");
  host.root().writeFile("/Users/anna/modern", testData("alias-files/folder.alias"));
  EXPECT_EQ(infoAt("/Users/anna/link").flags, kLSItemInfoIsAliasFile | kLSItemInfoIsSymlink);
  EXPECT_EQ(infoAt("/Users/anna/dangling").flags, kLSItemInfoIsAliasFile | kLSItemInfoIsSymlink);
  EXPECT_EQ(infoAt("/Users/anna/modern").flags, kLSItemInfoIsPlainFile | kLSItemInfoIsAliasFile);
  setFinderFlags("/Users/anna/plain.txt", kIsAlias);
  EXPECT_EQ(infoAt("/Users/anna/plain.txt").flags, kLSItemInfoIsPlainFile | kLSItemInfoIsAliasFile);
}

TEST_F(ItemInfo, TellsWhatIsInvisible) {
  host.root().makeFolder("/Users/anna/.hidden");
  setFinderFlags("/Users/anna/plain.txt", kIsInvisible);
  EXPECT_EQ(infoAt("/Users/anna/.hidden").flags, kLSItemInfoIsContainer | kLSItemInfoIsInvisible);
  EXPECT_EQ(infoAt("/Users/anna/plain.txt").flags, kLSItemInfoIsPlainFile | kLSItemInfoIsInvisible);
}

TEST_F(ItemInfo, TellsTypeCreatorAndExtensionWhenAsked) {
  FinderInfo finderInfo;
  finderInfo.setType(fourCharCode("TEXT"));
  finderInfo.setCreator(fourCharCode("ttxt"));
  finderInfo.setFlags(kExtensionIsHidden);
  ASSERT_TRUE(setFinderInfo("/Users/anna/plain.txt", finderInfo).ok());
  const LSItemInfoRecord info = infoAt("/Users/anna/plain.txt");
  EXPECT_EQ(info.filetype, fourCharCode("TEXT"));
  EXPECT_EQ(info.creator, fourCharCode("ttxt"));
  EXPECT_EQ(info.extension, "txt");
  EXPECT_EQ(info.flags, kLSItemInfoIsPlainFile | kLSItemInfoExtensionIsHidden);

  LSItemInfoRecord basic;
  const NSURL url = NSURL::fileURLWithPath("/Users/anna/plain.txt");
  ASSERT_EQ(LSCopyItemInfoForURL(url, kLSRequestBasicFlagsOnly, &basic), noErr);
  EXPECT_EQ(basic.filetype, 0U);
  EXPECT_EQ(basic.extension, "");
  EXPECT_EQ(basic.flags, info.flags);
}

// Its window's frame lies where a file has type and creator.
TEST_F(ItemInfo, FolderHasNoTypeAndCreator) {
  FinderInfo finderInfo;
  finderInfo.setType(fourCharCode("TEXT"));
  ASSERT_TRUE(setFinderInfo("/Users/anna/folder", finderInfo).ok());
  EXPECT_EQ(infoAt("/Users/anna/folder").filetype, 0U);
}

TEST_F(ItemInfo, OfAMissingItemIsNotFound) {
  FSRef ref;
  LSItemInfoRecord info;
  std::string name;
  ASSERT_EQ(FSPathMakeRef("/Users/anna/plain.txt", &ref), noErr);
  host.root().remove("/Users/anna/plain.txt");
  EXPECT_EQ(LSCopyItemInfoForRef(ref, kEverything, &info), fnfErr);
  EXPECT_EQ(LSCopyDisplayNameForRef(ref, &name), fnfErr);
  EXPECT_EQ(LSCopyItemInfoForURL(NSURL::fileURLWithPath("/none"), kEverything, &info), fnfErr);
}

TEST_F(ItemInfo, DisplayNameShowsAColonAsASlash) {
  host.root().makeFolder("/Users/anna/a:b");
  FSRef ref;
  std::string name;
  ASSERT_EQ(FSPathMakeRef("/Users/anna/a:b", &ref), noErr);
  EXPECT_EQ(LSCopyDisplayNameForRef(ref, &name), noErr);
  EXPECT_EQ(name, "a/b");
}

}  // namespace
}  // namespace macos
