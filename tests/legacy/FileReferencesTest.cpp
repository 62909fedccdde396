// SPDX-License-Identifier: MIT
#include "legacy/FileReferences.h"

#include <gtest/gtest.h>

#include "tests/support/References.h"
#include "tests/support/TestHost.h"

using macos::FSRef;
using vennick::tests::pathOf;
using vennick::tests::refTo;

namespace vennick {
namespace {

class FileReferences : public testing::Test {
 protected:
  FileReferences() {
    host_.root().writeFile("/Users/anna/folder/file", "");
    host_.root().makeFolder("/Volumes/Disk/inner");
    host_.volumes().change("/Volumes/Disk", [](macos::VolumeInfo&) {});
  }

  tests::TestHost host_;
};

TEST_F(FileReferences, IsParentOfKnowsTheFolderThatHoldsTheItem) {
  EXPECT_TRUE(IsParentOf(refTo("/Users/anna/folder"), refTo("/Users/anna/folder/file")));
  EXPECT_TRUE(IsParentOf(refTo("/"), refTo("/Users")));
  EXPECT_FALSE(IsParentOf(refTo("/Users/anna"), refTo("/Users/anna/folder/file")));
  EXPECT_FALSE(IsParentOf(refTo("/Users/anna/folder/file"), refTo("/Users/anna/folder/file")));
  EXPECT_FALSE(IsParentOf(refTo("/Users/anna/folder/file"), refTo("/Users/anna/folder")));
}

TEST_F(FileReferences, IsParentOfIsFalseWhenTheParentCannotBeRead) {
  const FSRef gone = refTo("/Users/anna/folder/file");
  host_.root().remove("/Users/anna/folder/file");
  EXPECT_FALSE(IsParentOf(refTo("/Users/anna/folder"), gone));
  EXPECT_FALSE(IsParentOf(refTo("/"), FSRef()));
  EXPECT_FALSE(IsParentOf(FSRef(), refTo("/")));
}

TEST_F(FileReferences, RootOfAVolumeHasNoParent) {
  EXPECT_FALSE(IsParentOf(refTo("/"), refTo("/")));
  EXPECT_FALSE(IsParentOf(refTo("/Volumes"), refTo("/Volumes/Disk")));
  EXPECT_TRUE(IsParentOf(refTo("/Volumes/Disk"), refTo("/Volumes/Disk/inner")));
}

TEST_F(FileReferences, IsAncestorOfWalksUpToTheRoot) {
  for (const char* ancestor : {"/", "/Users", "/Users/anna", "/Users/anna/folder"}) {
    EXPECT_TRUE(IsAncestorOf(refTo(ancestor), refTo("/Users/anna/folder/file"))) << ancestor;
  }
  EXPECT_FALSE(IsAncestorOf(refTo("/Applications"), refTo("/Users/anna/folder/file")));
  EXPECT_FALSE(IsAncestorOf(refTo("/Users/anna/folder/file"), refTo("/Users/anna")));
}

TEST_F(FileReferences, IsAncestorOfIsFalseForTheItemItself) {
  EXPECT_FALSE(IsAncestorOf(refTo("/Users/anna"), refTo("/Users/anna")));
  EXPECT_FALSE(IsAncestorOf(refTo("/"), refTo("/")));
}

TEST_F(FileReferences, IsAncestorOfNeverCrossesVolumes) {
  EXPECT_TRUE(IsAncestorOf(refTo("/Volumes/Disk"), refTo("/Volumes/Disk/inner")));
  EXPECT_FALSE(IsAncestorOf(refTo("/Volumes"), refTo("/Volumes/Disk/inner")));
  EXPECT_FALSE(IsAncestorOf(refTo("/"), refTo("/Volumes/Disk/inner")));
}

TEST_F(FileReferences, IsAncestorOfIsFalseWhenAParentCannotBeRead) {
  const FSRef gone = refTo("/Users/anna/folder/file");
  host_.root().remove("/Users/anna/folder");
  EXPECT_FALSE(IsAncestorOf(refTo("/Users"), gone));
  EXPECT_FALSE(IsAncestorOf(FSRef(), refTo("/Users/anna")));
}

TEST_F(FileReferences, IsRootOrNetworkKnowsTheRootOfEachVolume) {
  EXPECT_TRUE(IsRootOrNetwork(refTo("/")));
  EXPECT_TRUE(IsRootOrNetwork(refTo("/Volumes/Disk")));
  EXPECT_FALSE(IsRootOrNetwork(refTo("/Volumes/Disk/inner")));
  EXPECT_FALSE(IsRootOrNetwork(refTo("/Users")));
  EXPECT_FALSE(IsRootOrNetwork(FSRef()));
}

// The folder of the network is asked for by a URL that names a host, and our URLs never do.
TEST_F(FileReferences, IsRootOrNetworkNeverKnowsTheNetwork) {
  host_.root().makeFolder("/Network");
  EXPECT_FALSE(IsRootOrNetwork(refTo("/Network")));
  EXPECT_STREQ(URLStringForRef(refTo("/Network")), "file:///Network/");
}

TEST_F(FileReferences, URLStringForRefIsTheItemsURLInOneBufferForAllCalls) {
  host_.root().writeFile("/Users/anna/a b\xC3\xA9", "");
  const char* const first = URLStringForRef(refTo("/Users/anna/a b\xC3\xA9"));
  EXPECT_STREQ(first, "file:///Users/anna/a%20be%CC%81");
  const char* const second = URLStringForRef(refTo("/Users/anna/folder"));
  EXPECT_EQ(first, second);
  EXPECT_STREQ(first, "file:///Users/anna/folder/");
}

TEST_F(FileReferences, URLStringForRefIsEmptyWhenTheItemIsNotFound) {
  (void)URLStringForRef(refTo("/Users"));
  EXPECT_STREQ(URLStringForRef(FSRef()), "");
}

TEST_F(FileReferences, URLStringForRefIsCutTo2047Bytes) {
  // Each of these names is 3 bytes in the path for one blank, so 8 of 100 are 2,400 bytes of text.
  std::string path = "/Users/anna", url = "file:///Users/anna";
  for (int i = 0; i < 8; ++i) {
    path += "/" + std::string(100, ' ');
    url += "/";
    for (int blank = 0; blank < 100; ++blank) url += "%20";
  }
  host_.root().makeFolder(path);
  EXPECT_EQ(URLStringForRef(refTo(path)), url.substr(0, 2047));
}

TEST_F(FileReferences, HFSPathToPOSIXGoesThroughAURL) {
  EXPECT_EQ(HFSPathToPOSIX("Macintosh HD:Users:anna:a/b"), "/Users/anna/a:b");
  EXPECT_EQ(HFSPathToPOSIX("Disk:inner:"), "/Volumes/Disk/inner");
  EXPECT_EQ(HFSPathToPOSIX(""), std::nullopt);
  EXPECT_EQ(HFSPathToPOSIX(std::string_view("a\0b", 3)), std::nullopt);
}

TEST_F(FileReferences, POSIXPathToHFSGoesThroughAURL) {
  EXPECT_EQ(POSIXPathToHFS("/Users/anna/a:b"), "Macintosh HD:Users:anna:a/b");
  EXPECT_EQ(POSIXPathToHFS("/Volumes/Disk/inner/"), "Disk:inner");
  EXPECT_EQ(POSIXPathToHFS(""), std::nullopt);
  EXPECT_EQ(POSIXPathToHFS(std::string_view("/a\0b", 4)), std::nullopt);
}

TEST_F(FileReferences, PathsOfBothStylesLeadBack) {
  for (const char* path : {"/", "/Users/anna/folder/file", "/Volumes/Disk/inner", "/a:b/c d", "/Volumes"}) {
    EXPECT_EQ(HFSPathToPOSIX(POSIXPathToHFS(path).value()), path);
  }
}

TEST_F(FileReferences, RefForPathFindsTheItemWhateverTheFlagSays) {
  for (const bool isDirectory : {false, true}) {
    FSRef ref;
    ASSERT_TRUE(RefForPath("/Users/anna/folder", isDirectory, &ref));
    EXPECT_EQ(pathOf(ref), "/Users/anna/folder");
  }
}

TEST_F(FileReferences, RefForPathIsFalseWhenThereIsNoItem) {
  FSRef ref;
  EXPECT_FALSE(RefForPath("/Users/anna/none", false, &ref));
  EXPECT_FALSE(RefForPath("", false, &ref));
  EXPECT_FALSE(ref.isValid());
}

TEST_F(FileReferences, PathForRefIsWhereTheItemIsNow) {
  const FSRef file = refTo("/Users/anna/folder/file");
  EXPECT_EQ(PathForRef(file), "/Users/anna/folder/file");
  ASSERT_TRUE(
      host_.files()
          .rename("/Users/anna/folder/file", "/Users/anna/folder/other", macos::FileSystem::Replace::No)
          .ok());
  EXPECT_EQ(PathForRef(file), "/Users/anna/folder/other");
  host_.root().remove("/Users/anna/folder/other");
  EXPECT_EQ(PathForRef(file), std::nullopt);
}

}  // namespace
}  // namespace vennick
