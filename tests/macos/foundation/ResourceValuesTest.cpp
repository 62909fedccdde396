// SPDX-License-Identifier: MIT
#include "macos/foundation/ResourceValues.h"

#include <gtest/gtest.h>

#include "macos/foundation/FileMetadata.h"
#include "macos/foundation/Package.h"
#include "macos/foundation/Path.h"
#include "tests/support/BundleSketch.h"
#include "tests/support/TestHost.h"

namespace macos {
namespace {

using vennick::tests::CountingFileSystem;
using vennick::tests::FileOperation;
using vennick::tests::makeBundle;
using vennick::tests::TestHost;

std::optional<ResourceValues> valuesOf(std::string_view path) {
  return ResourceValues::ofURL(NSURL::fileURLWithPathIsDirectory(path, false));
}

void setFlags(const std::string& path, std::uint16_t flags) {
  FinderInfo info;
  info.setFlags(flags);
  ASSERT_TRUE(setFinderInfo(path, info).ok());
}

bool isPackageAt(std::string_view path) { return isPackage(path, *itemInfo(path, FollowLinks::No)); }

TEST(ResourceValues, ALinkIsALinkAndNotWhatItLeadsTo) {
  TestHost host;
  host.root().writeFile("/file", "12345");
  host.root().makeLink("/toFile", "/file");
  host.root().makeLink("/toFolder", "/Users");
  EXPECT_TRUE(valuesOf("/file")->isRegularFile());
  EXPECT_TRUE(valuesOf("/Users")->isDirectory());
  for (const auto* path : {"/toFile", "/toFolder"}) {
    const auto values = valuesOf(path);
    EXPECT_TRUE(values->isSymbolicLink());
    EXPECT_FALSE(values->isRegularFile());
    EXPECT_FALSE(values->isDirectory());
    EXPECT_TRUE(values->isAliasFile()) << "a link counts as an alias";
  }
}

TEST(ResourceValues, NoFileURLOrNothingThereHasNone) {
  TestHost host;
  EXPECT_FALSE(valuesOf("/none").has_value());
  EXPECT_FALSE(ResourceValues::ofURL(*NSURL::URLWithString("http://h/Users")).has_value());
  EXPECT_FALSE(ResourceValues::ofURL(*NSURL::URLWithString("VKMenuSeparator")).has_value());
  EXPECT_FALSE(ResourceValues::ofURL(NSURL()).has_value());
}

TEST(ResourceValues, SizeAndDateAreTheItemsOwn) {
  TestHost host;
  host.root().writeFile("/file", "12345");
  ASSERT_TRUE(host.files().setModified("/file", 978'307'260'500'000'000).ok());
  EXPECT_EQ(valuesOf("/file")->fileSize(), 5U);
  EXPECT_EQ(valuesOf("/file")->contentModificationDate().secondsSinceReferenceDate, 60.5);
  EXPECT_FALSE(valuesOf("/Users")->fileSize().has_value());
}

TEST(ResourceValues, HiddenIsADotOrTheFindersFlag) {
  TestHost host;
  host.root().writeFile("/.dot", "");
  host.root().writeFile("/plain", "");
  host.root().writeFile("/flagged", "");
  host.root().makeFolder("/folder");
  setFlags("/flagged", kIsInvisible);
  setFlags("/folder", kIsInvisible);
  EXPECT_TRUE(valuesOf("/.dot")->isHidden());
  EXPECT_TRUE(valuesOf("/flagged")->isHidden());
  EXPECT_TRUE(valuesOf("/folder")->isHidden());
  EXPECT_FALSE(valuesOf("/plain")->isHidden());
}

TEST(ResourceValues, AnAliasFileHasTheFindersFlagOrBeginsAsOneDoes) {
  TestHost host;
  host.root().writeFile("/flagged", "");
  setFlags("/flagged", kIsAlias);
  host.root().writeFile("/bare", std::string("book\0\0\0\0mark\0\0\0\0\x38\0\0\0", 20));
  host.root().writeFile("/almost", std::string("book\0\0\0\0mark\0\0\0", 15));
  host.root().makeFolder("/folder");
  setFlags("/folder", kIsAlias);
  EXPECT_TRUE(valuesOf("/flagged")->isAliasFile());
  EXPECT_TRUE(valuesOf("/bare")->isAliasFile());
  EXPECT_FALSE(valuesOf("/almost")->isAliasFile());
  EXPECT_FALSE(valuesOf("/folder")->isAliasFile());
}

TEST(ResourceValues, APackageIsKnownByItsExtensionInAnyLetterCase) {
  TestHost host;
  for (const auto* name :
       {"a.app", "b.BUNDLE", "c.rtfd", "d.plugin", "e.kext", "f.prefPane", "g.saver", "h.workflow", "i.scptd",
        "j.mpkg", "k.pages", "l.numbers", "m.key", "n.photoslibrary"}) {
    host.root().makeFolder(std::string("/d/") + name);
    EXPECT_TRUE(isPackageAt(std::string("/d/") + name)) << name;
  }
  for (const auto* name : {"a.framework", "plain", "b.txt", ".app", "app", "a.app.old", "a.ap"}) {
    host.root().makeFolder(std::string("/d/") + name);
    EXPECT_FALSE(isPackageAt(std::string("/d/") + name)) << name;
  }
  host.root().writeFile("/d/file.app", "");
  EXPECT_FALSE(isPackageAt("/d/file.app")) << "only a folder is one";
}

TEST(ResourceValues, APackageIsKnownByTheFindersBundleBit) {
  TestHost host;
  host.root().makeFolder("/plain");
  setFlags("/plain", kHasBundle);
  EXPECT_TRUE(isPackageAt("/plain"));
}

TEST(ResourceValues, InstalledApplicationsDeclarePackages) {
  TestHost host;
  makeBundle(host.root(), "/Applications/Sketch.app", "Sketch",
             "<key>CFBundleDocumentTypes</key><array><dict><key>LSTypeIsPackage</key><true/>"
             "<key>CFBundleTypeExtensions</key><array><string>Drawing</string></array></dict>"
             "<dict><key>CFBundleTypeExtensions</key><array><string>flat</string></array></dict>"
             "<string>no dictionary</string></array>");
  makeBundle(host.root(), "/Users/anna/Applications/Score.app", "Score",
             "<key>UTExportedTypeDeclarations</key><array><dict><key>UTTypeConformsTo</key><array>"
             "<string>public.data</string><string>com.apple.package</string></"
             "array><key>UTTypeTagSpecification</key>"
             "<dict><key>public.filename-extension</key><string>score</string></dict></dict></array>");
  for (const auto* name : {"/a.drawing", "/a.flat", "/a.score", "/a.other"}) host.root().makeFolder(name);
  EXPECT_TRUE(isPackageAt("/a.drawing"));
  EXPECT_FALSE(isPackageAt("/a.flat"));
  EXPECT_TRUE(isPackageAt("/a.score"));
  EXPECT_FALSE(isPackageAt("/a.other"));
}

TEST(ResourceValues, WhatApplicationsDeclareIsReadOnce) {
  TestHost host;
  makeBundle(host.root(), "/Applications/Sketch.app", "Sketch");
  host.root().makeFolder("/a.other");
  EXPECT_FALSE(isPackageAt("/a.other"));
  const auto counter = host.interpose<CountingFileSystem>();
  EXPECT_FALSE(isPackageAt("/a.other"));
  EXPECT_EQ(counter->count(FileOperation::List), 0);
  for (const std::string& path : counter->paths(FileOperation::Read)) EXPECT_EQ(path, "/._a.other");
}

TEST(ResourceValues, AnApplicationIsAPackageNamedApp) {
  TestHost host;
  host.root().makeFolder("/Empty.app");
  host.root().makeFolder("/Loud.APP");
  host.root().makeFolder("/a.bundle");
  host.root().writeFile("/file.app", "");
  EXPECT_TRUE(valuesOf("/Empty.app")->isApplication());
  EXPECT_TRUE(valuesOf("/Loud.APP")->isApplication());
  EXPECT_FALSE(valuesOf("/a.bundle")->isApplication());
  EXPECT_FALSE(valuesOf("/file.app")->isApplication());
}

TEST(ResourceValues, VolumeFactsAreThoseOfTheItemsVolume) {
  TestHost host;
  host.root().writeFile("/Volumes/Server/x", "");
  host.root().makeLink("/link", "/Volumes/Server/x");
  host.volumes().change("/Volumes/Server", [](VolumeInfo& volume) {
    volume.isLocal = false;
    volume.remountURL = "smb://server/share";
  });
  EXPECT_FALSE(valuesOf("/Volumes/Server/x")->volume().isLocal);
  EXPECT_EQ(valuesOf("/Volumes/Server/x")->volume().remountURL, "smb://server/share");
  EXPECT_TRUE(valuesOf("/Users")->volume().isLocal);
  EXPECT_TRUE(valuesOf("/link")->volume().isLocal) << "a link lies on its own volume";
}

TEST(ResourceValues, AnItemIsFoundUnderItsOtherSpelling) {
  TestHost host;
  host.root().makeFolder("/\u00DCbung.app");
  EXPECT_TRUE(valuesOf("/\u00DCbung.app")->isApplication());
}

}  // namespace
}  // namespace macos
