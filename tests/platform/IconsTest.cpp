// SPDX-License-Identifier: MIT
#include "platform/Icons.h"

#include <gtest/gtest.h>

#include "macos/carbon/ResourceFork.h"
#include "macos/foundation/FileMetadata.h"
#include "tests/support/BundleSketch.h"
#include "tests/support/IndependentReader.h"
#include "tests/support/TestHost.h"

namespace vennick {
namespace {

using macos::Bitmap;
using macos::NSImage;
using macos::NSURL;
using tests::makeBundle;
using tests::TemporaryRoot;
using tests::TestHost;

const std::string kSystemIcons = "/System/Library/CoreServices/CoreTypes.bundle/Contents/Resources/";

NSURL itemURL(std::string_view path) { return NSURL::fileURLWithPathIsDirectory(path, false); }

// A picture of one colour.
std::string plainPNG(std::uint8_t grey, std::uint32_t side = 128) {
  Bitmap bitmap(side, side);
  for (std::size_t i = 0; i < bitmap.pixels.size(); ++i) bitmap.pixels[i] = i % 4 == 3 ? 255 : grey;
  return macos::pngWithBitmap(bitmap);
}

// The grey at the middle of the picture; -1 when there is none.
int greyOf(const std::optional<NSImage>& image) {
  const auto bitmap = image ? image->bitmap(128) : std::nullopt;
  if (!bitmap) return -1;
  return bitmap->pixels[(std::size_t{bitmap->height / 2} * bitmap->width + bitmap->width / 2) * 4];
}

// A host whose main bundle has the pictures that we ship, each of a colour of its own.
struct IconMachine {
  IconMachine() {
    root = std::make_shared<TemporaryRoot>();
    const std::string executable = makeBundle(*root, "/Test.app", "Test");
    const std::string resources = "/Test.app/Contents/Resources/";
    root->writeFile(resources + "GenericFolder.png", plainPNG(10));
    root->writeFile(resources + "GenericDocument.png", plainPNG(20));
    root->writeFile(resources + "GenericApplication.png", plainPNG(30));
    root->writeFile(resources + "Computer.png", plainPNG(40));
    root->writeFile(resources + "iCloud.png", plainPNG(50));
    root->makeExecutable("/bin/defaults", "#!/bin/sh\n");
    host.emplace(tests::TestHostOptions{
        .root = root, .executable = executable, .toolFolders = {root->hostPath("/bin")}});
  }

  std::shared_ptr<TemporaryRoot> root;
  std::optional<TestHost> host;
};

TEST(Icons, AnItemHasTheIconOfItsKind) {
  const IconMachine machine;
  machine.root->writeFile("/file.txt", "");
  machine.root->makeFolder("/Plain.app");
  machine.root->makeLink("/toFolder", "/Users");
  EXPECT_EQ(greyOf(icon(itemURL("/Users"))), 10);
  EXPECT_EQ(greyOf(icon(itemURL("/file.txt"))), 20);
  EXPECT_EQ(greyOf(icon(itemURL("/Plain.app"))), 30);
  EXPECT_EQ(greyOf(icon(itemURL("/toFolder"))), 10);
}

TEST(Icons, AMissingLocationIsAFolderOrADocumentByTheSlashAtItsEnd) {
  const IconMachine machine;
  EXPECT_EQ(greyOf(icon(NSURL::fileURLWithPathIsDirectory("/none", true))), 10);
  EXPECT_EQ(greyOf(icon(itemURL("/none.app"))), 20);
  EXPECT_EQ(greyOf(icon(*NSURL::URLWithString("http://h/"))), 10);
}

TEST(Icons, TheVolumesFolderIsTheComputer) {
  const IconMachine machine;
  EXPECT_EQ(greyOf(icon(NSURL::fileURLWithPath("/Volumes"))), 40);
  EXPECT_EQ(greyOf(thumbnail(itemURL("/Volumes"))), 40);
  EXPECT_EQ(greyOf(icon(itemURL("/Volumes/x"))), 20);
}

TEST(Icons, WhatTheSystemHasComesBeforeOurs) {
  const IconMachine machine;
  machine.root->writeFile(kSystemIcons + "GenericFolderIcon.icns", plainPNG(11));
  EXPECT_EQ(greyOf(icon(itemURL("/Users"))), 11);
  machine.root->writeFile(kSystemIcons + "GenericFolderIcon.icns", "broken");
  EXPECT_EQ(greyOf(icon(itemURL("/Users"))), 10);
}

TEST(Icons, ABundleBringsItsOwn) {
  const IconMachine machine;
  makeBundle(*machine.root, "/A.app", "A", "<key>CFBundleIconFile</key><string>A</string>");
  makeBundle(*machine.root, "/B.app", "B", "<key>CFBundleIconFile</key><string>B.icns</string>");
  makeBundle(*machine.root, "/C.app", "C", "<key>CFBundleIconFile</key><string>Missing</string>");
  machine.root->writeFile("/A.app/Contents/Resources/A.icns", plainPNG(61));
  machine.root->writeFile("/B.app/Contents/Resources/B.icns", plainPNG(62));
  EXPECT_EQ(greyOf(icon(itemURL("/A.app"))), 61);
  EXPECT_EQ(greyOf(icon(itemURL("/B.app"))), 62);
  EXPECT_EQ(greyOf(icon(itemURL("/C.app"))), 30);
  EXPECT_EQ(greyOf(thumbnail(itemURL("/A.app"))), 61);
}

TEST(Icons, APictureThatTheUserGaveAnItemComesFirst) {
  const IconMachine machine;
  macos::ResourceFork fork;
  fork.set({.type = macos::fourCharCode("icns"), .identifier = -16455, .data = plainPNG(71)});
  const auto bytes = fork.encode();
  ASSERT_TRUE(bytes.ok());
  macos::FinderInfo info;
  info.setFlags(macos::kHasCustomIcon);
  machine.root->writeFile("/file.txt", "");
  machine.root->writeFile("/folder/Icon\r", "");
  ASSERT_TRUE(macos::setResourceFork("/file.txt", *bytes).ok());
  ASSERT_TRUE(macos::setResourceFork("/folder/Icon\r", *bytes).ok());
  EXPECT_EQ(greyOf(icon(itemURL("/file.txt"))), 20) << "without the Finder's flag the fork does not count";
  ASSERT_TRUE(macos::setFinderInfo("/file.txt", info).ok());
  ASSERT_TRUE(macos::setFinderInfo("/folder", info).ok());
  EXPECT_EQ(greyOf(icon(itemURL("/file.txt"))), 71);
  EXPECT_EQ(greyOf(icon(itemURL("/folder"))), 71);
}

TEST(Icons, ICloudHasItsOwnPicture) {
  const IconMachine machine;
  machine.root->makeFolder("/Users/anna/Library/Mobile Documents/com~apple~CloudDocs");
  EXPECT_EQ(greyOf(icon(NSURL::fileURLWithPath("/Users/anna/Library/Mobile Documents"))), 50);
  EXPECT_EQ(greyOf(icon(NSURL::fileURLWithPath("/Users/anna/Library/Mobile Documents/com~apple~CloudDocs"))),
            50);
}

TEST(Icons, AnApplicationsFolderInICloudIsBadgedWithItsIcon) {
  const IconMachine machine;
  makeBundle(*machine.root, "/Applications/Sketch.app", "Sketch",
             "<key>CFBundleIconFile</key><string>S</string>");
  machine.root->writeFile("/Applications/Sketch.app/Contents/Resources/S.icns", plainPNG(200, 256));
  machine.root->makeFolder("/Users/anna/Library/Mobile Documents/Sketch/Documents");
  const auto image = icon(NSURL::fileURLWithPath("/Users/anna/Library/Mobile Documents/Sketch"));
  const auto bitmap = image ? image->bitmap(128) : std::nullopt;
  ASSERT_TRUE(bitmap.has_value());
  ASSERT_EQ(bitmap->width, 128U);
  const auto greyAt = [&](std::size_t x, std::size_t y) { return bitmap->pixels[(y * 128 + x) * 4]; };
  EXPECT_EQ(greyAt(0, 0), 10);
  EXPECT_EQ(greyAt(63, 127), 10);
  EXPECT_EQ(greyAt(64, 64), 200);
  EXPECT_EQ(greyAt(127, 127), 200);
  EXPECT_EQ(greyOf(icon(NSURL::fileURLWithPath("/Users/anna/Library/Mobile Documents/com~apple~None"))), 10)
      << "without the application it is the plain folder";
}

TEST(Icons, ThePicturesThatWeShipAreShownByAnotherReader) {
  const auto root = std::make_shared<TemporaryRoot>();
  const std::string executable = makeBundle(*root, "/Test.app", "Test");
  for (const auto* name : {"GenericFolder", "GenericDocument", "GenericApplication", "Computer", "iCloud"}) {
    const std::string file = std::string(name) + ".png";
    root->copyIn(VENNICK_SOURCE "/resources/" + file, "/Test.app/Contents/Resources/" + file);
  }
  root->makeExecutable("/bin/defaults", "#!/bin/sh\n");
  root->writeFile("/file.txt", "");
  makeBundle(*root, "/Applications/Sketch.app", "Sketch");
  root->makeFolder("/Users/anna/Library/Mobile Documents/Sketch");
  TestHost host({.root = root, .executable = executable, .toolFolders = {root->hostPath("/bin")}});
  const NSURL container = NSURL::fileURLWithPath("/Users/anna/Library/Mobile Documents/Sketch");
  const std::pair<const char*, std::optional<NSImage>> images[] = {
      {"folder", icon(itemURL("/Users"))},
      {"document", icon(itemURL("/file.txt"))},
      {"application", thumbnail(itemURL("/Applications/Sketch.app"))},
      {"computer", icon(NSURL::fileURLWithPath("/Volumes"))},
      {"cloud", icon(NSURL::fileURLWithPath("/Users/anna/Library/Mobile Documents"))},
      {"badged", icon(container)},
      {"badged by name", badgedIconForApplication("Sketch")}};
  for (const auto& [what, image] : images) {
    ASSERT_TRUE(image.has_value()) << what;
    EXPECT_EQ(image->format(), NSImage::Format::PNG) << what;
    const std::string pixels = readIndependently("png.py", image->data());
    EXPECT_TRUE(pixels.starts_with("128 128\n")) << what << ": " << pixels.substr(0, 80);
  }
  // The badge covers the lower right quarter alone.
  const auto plain = images[0].second->bitmap(128);
  const auto badged = images[5].second->bitmap(128);
  ASSERT_TRUE(plain && badged);
  const auto quarter = [](const Bitmap& bitmap, std::size_t x, std::size_t y) {
    std::vector<std::uint8_t> pixels;
    for (std::size_t row = y; row < y + 64; ++row) {
      const auto first = bitmap.pixels.begin() + static_cast<std::ptrdiff_t>((row * 128 + x) * 4);
      pixels.insert(pixels.end(), first, first + 64 * 4);
    }
    return pixels;
  };
  EXPECT_EQ(quarter(*badged, 0, 0), quarter(*plain, 0, 0));
  EXPECT_EQ(quarter(*badged, 64, 0), quarter(*plain, 64, 0));
  EXPECT_EQ(quarter(*badged, 0, 64), quarter(*plain, 0, 64));
  EXPECT_NE(quarter(*badged, 64, 64), quarter(*plain, 64, 64));
}

TEST(Icons, WithoutAnyPictureThereIsNone) {
  TestHost host;
  EXPECT_FALSE(icon(itemURL("/Users")).has_value());
}

}  // namespace
}  // namespace vennick
