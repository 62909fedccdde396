// SPDX-License-Identifier: MIT
#include "platform/CanonicalLocation.h"

#include <gtest/gtest.h>

#include "tests/support/TestHost.h"

namespace vennick {
namespace {

using macos::NSURL;
using tests::TestHost;

std::string canonical(std::string_view text) {
  return URLByStandardizingViaURLReference(*NSURL::URLWithString(text)).absoluteString();
}

void ignoreCase(TestHost& host) {
  host.volumes().change("/", [](macos::VolumeInfo& volume) { volume.isCaseSensitive = false; });
}

TEST(CanonicalLocation, AMissingLocationIsItsStandardizedPath) {
  TestHost host;
  EXPECT_EQ(canonical("file:///Users/./anna//missing"), "file:///Users/anna/missing");
  EXPECT_EQ(canonical("file:///Users/anna/missing/"), "file:///Users/anna/missing/");
  EXPECT_EQ(stringByStandardizingViaURLReference("/Users/anna/./missing/"), "/Users/anna/missing");
}

TEST(CanonicalLocation, TheWrongLetterCaseBecomesThatOnDisk) {
  TestHost host;
  ignoreCase(host);
  host.root().makeFolder("/Users/anna/Read Me");
  EXPECT_EQ(canonical("file:///users/ANNA/read%20me"), "file:///Users/anna/Read%20Me/");
  EXPECT_EQ(stringByStandardizingViaURLReference("/users/ANNA/read me"), "/Users/anna/Read Me");
}

TEST(CanonicalLocation, LetterCaseStaysOnAVolumeThatTellsItApart) {
  TestHost host;
  EXPECT_EQ(canonical("file:///users/ANNA"), "file:///users/ANNA");
  EXPECT_EQ(stringByStandardizingViaURLReference("/users/ANNA"), "/users/ANNA");
}

TEST(CanonicalLocation, LinksAreResolvedAndFoldersGetASlash) {
  TestHost host;
  host.root().writeFile("/Volumes/Disk/folder/file", "");
  host.root().makeLink("/Users/anna/link", "/Volumes/Disk/folder");
  host.root().makeLink("/Users/anna/toFile", "link/file");
  EXPECT_EQ(canonical("file:///Users/anna/link"), "file:///Volumes/Disk/folder/");
  EXPECT_EQ(canonical("file:///Users/anna/link/file"), "file:///Volumes/Disk/folder/file");
  EXPECT_EQ(canonical("file:///Users/anna/toFile"), "file:///Volumes/Disk/folder/file");
  EXPECT_EQ(canonical("file:///Volumes/Disk/folder/file/"), "file:///Volumes/Disk/folder/file");
  EXPECT_EQ(stringByStandardizingViaURLReference("/Users/anna/link/file"), "/Volumes/Disk/folder/file");
}

TEST(CanonicalLocation, TheOtherNormalizationIsTheSameLocation) {
  TestHost host;
  host.root().makeFolder("/\u00DCbung");
  EXPECT_EQ(canonical("file:///%C3%9Cbung"), "file:///U%CC%88bung/");
  EXPECT_EQ(canonical("file:///U%CC%88bung"), "file:///U%CC%88bung/");
}

TEST(CanonicalLocation, WhatIsNoFileURLComesBackUnchanged) {
  TestHost host;
  EXPECT_EQ(canonical("VKMenuSeparator"), "VKMenuSeparator");
  EXPECT_EQ(canonical("http://h/a/../b"), "http://h/a/../b");
  EXPECT_EQ(URLByStandardizingViaURLReference(NSURL()), NSURL());
  EXPECT_EQ(stringByStandardizingViaURLReference(""), "");
}

TEST(CanonicalLocation, TheTopAndTheTemporaryFolderKeepTheirUsualNames) {
  TestHost host;
  host.root().makeFolder("/private/tmp/x");
  host.root().makeLink("/tmp", "private/tmp");
  EXPECT_EQ(canonical("file:///"), "file:///");
  EXPECT_EQ(canonical("file:///private/tmp/x"), "file:///tmp/x/");
  EXPECT_EQ(canonical("file:///tmp/x"), "file:///tmp/x/");
}

}  // namespace
}  // namespace vennick
