// SPDX-License-Identifier: MIT
#include "macos/appkit/WorkspaceIcons.h"

#include <string>

#include "macos/carbon/ResourceFork.h"
#include "macos/foundation/Bundle.h"
#include "macos/foundation/FileMetadata.h"
#include "macos/foundation/Package.h"
#include "macos/foundation/Path.h"
#include "macos/foundation/Text.h"
#include "macos/host/Host.h"

namespace macos {

namespace {

constexpr std::string_view kSystemIcons = "/System/Library/CoreServices/CoreTypes.bundle/Contents/Resources";
constexpr std::uint64_t kLargestIconFile = 16U << 20U;
// Where the Finder keeps the picture that a user gave an item: in the item's resource fork, or in that of
// a file of this name in a folder.
constexpr std::int16_t kCustomIconIdentifier = -16455;
constexpr std::string_view kFolderIconFile = "Icon\r";

struct KindOfIcon {
  OSType type;
  std::string_view inSystem;
  std::string_view inMainBundle;
};
constexpr KindOfIcon kKinds[] = {
    {kGenericDocumentIcon, "GenericDocumentIcon.icns", "GenericDocument"},
    {kGenericFolderIcon, "GenericFolderIcon.icns", "GenericFolder"},
    {kGenericApplicationIcon, "GenericApplicationIcon.icns", "GenericApplication"},
    {kComputerIcon, "com.apple.imac-unibody-21.icns", "Computer"},
};

std::optional<NSImage> imageInFile(const std::string& path) {
  const auto data = Host::current().files().read(path, kLargestIconFile);
  return data.ok() ? NSImage::imageWithData(*data) : std::nullopt;
}

std::optional<NSImage> imageInResourceFork(const std::string& path) {
  const auto fork = ResourceFork::decode(resourceForkAtPath(path));
  if (!fork.ok()) return std::nullopt;
  const Resource* resource = fork->find(fourCharCode("icns"), kCustomIconIdentifier);
  return resource == nullptr ? std::nullopt : NSImage::imageWithData(resource->data);
}

std::optional<NSImage> customIcon(const std::string& path, const FileInfo& item) {
  if ((finderInfoAtPath(path).flags() & kHasCustomIcon) == 0) return std::nullopt;
  return imageInResourceFork(item.isFolder() ? pathByAppendingComponent(path, kFolderIconFile) : path);
}

std::optional<NSImage> bundleIcon(const std::string& path) {
  const auto bundle = NSBundle::bundleWithPath(path);
  if (!bundle) return std::nullopt;
  const auto name = bundle->infoDictionary().string("CFBundleIconFile");
  if (!name || name->empty()) return std::nullopt;
  const bool hasExtension = !pathExtension(*name).empty();
  const auto data = hasExtension
                        ? bundle->contentsOfResource(pathByDeletingExtension(*name), pathExtension(*name))
                        : bundle->contentsOfResource(*name, "icns");
  return data ? NSImage::imageWithData(*data) : std::nullopt;
}

}  // namespace

std::optional<NSImage> iconForHFSType(OSType type) {
  const KindOfIcon* kind = &kKinds[0];
  for (const KindOfIcon& each : kKinds) {
    if (each.type == type) kind = &each;
  }
  if (auto image = imageInFile(pathByAppendingComponent(kSystemIcons, kind->inSystem))) return image;
  return NSImage::imageNamed(kind->inMainBundle);
}

std::optional<NSImage> iconForFile(std::string_view path) {
  FileSystem& files = Host::current().files();
  const auto real = path.empty() ? Status(ErrorCode::NotFound, path, "") : files.realPath(pathAsOnDisk(path));
  const auto item = real.ok() ? files.info(*real, FollowLinks::No) : real.status();
  if (!item.ok()) return iconForHFSType(kGenericDocumentIcon);
  if (auto image = customIcon(*real, *item)) return image;
  if (!item->isFolder()) return iconForHFSType(kGenericDocumentIcon);
  if (!isPackage(*real, *item)) return iconForHFSType(kGenericFolderIcon);
  if (auto image = bundleIcon(*real)) return image;
  const bool isApplication = lowercaseASCII(pathExtension(*real)) == "app";
  return iconForHFSType(isApplication ? kGenericApplicationIcon : kGenericDocumentIcon);
}

}  // namespace macos
