// SPDX-License-Identifier: MIT
#include "platform/Icons.h"

#include <string>

#include "macos/appkit/WorkspaceIcons.h"
#include "macos/carbon/LaunchServices.h"
#include "platform/FileQueries.h"
#include "platform/ICloud.h"

namespace vennick {

using macos::Bitmap;
using macos::NSImage;
using macos::NSURL;

namespace {

constexpr std::string_view kVolumesFolder = "/Volumes";
constexpr std::string_view kICloudImage = "iCloud";
constexpr std::uint32_t kBadgedSide = 128;
constexpr std::uint32_t kBadgeSide = 64;

}  // namespace

std::optional<NSImage> icon(const NSURL& url) {
  if (url.path() == kVolumesFolder) return macos::iconForHFSType(macos::kComputerIcon);
  if (url == iCloudRootURL() || url == iCloudDriveURL()) {
    if (auto image = NSImage::imageNamed(kICloudImage)) return image;
  }
  if (pathIsiCloudAppFolder(url) || pathIsiCloudAppDocumentsFolder(url)) {
    return badgedIconForApplication(displayName(url));
  }
  if (pathExists(url)) return macos::iconForFile(url.fileSystemRepresentation());
  const bool isFolder = url.absoluteString().ends_with('/');
  return macos::iconForHFSType(isFolder ? macos::kGenericFolderIcon : macos::kGenericDocumentIcon);
}

std::optional<NSImage> thumbnail(const NSURL& url) {
  if (url.path() == kVolumesFolder) return macos::iconForHFSType(macos::kComputerIcon);
  return macos::iconForFile(url.fileSystemRepresentation());
}

std::optional<NSImage> badgedIconForApplication(std::string_view name) {
  auto folder = macos::iconForHFSType(macos::kGenericFolderIcon);
  NSURL application;
  const std::string fileName = std::string(name) + ".app";
  if (macos::LSFindApplicationForInfo(macos::kLSUnknownCreator, std::nullopt, fileName, &application) !=
      macos::noErr) {
    return folder;
  }
  const auto badge = macos::iconForFile(application.fileSystemRepresentation());
  const auto ground = folder ? folder->bitmap(kBadgedSide) : std::nullopt;
  const auto picture = badge ? badge->bitmap(kBadgeSide) : std::nullopt;
  if (!ground || !picture) return folder;
  Bitmap canvas = macos::scaled(*ground, kBadgedSide, kBadgedSide);
  macos::drawOver(canvas, macos::scaled(*picture, kBadgeSide, kBadgeSide), kBadgedSide - kBadgeSide,
                  kBadgedSide - kBadgeSide);
  return NSImage::imageWithBitmap(canvas);
}

}  // namespace vennick
