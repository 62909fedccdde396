// SPDX-License-Identifier: MIT
#include "macos/foundation/ResourceValues.h"

#include "macos/foundation/FileMetadata.h"
#include "macos/foundation/Package.h"
#include "macos/foundation/Path.h"
#include "macos/foundation/Text.h"
#include "macos/host/Host.h"

namespace macos {

std::optional<ResourceValues> ResourceValues::ofURL(const NSURL& url) {
  if (!url.isFileURL()) return std::nullopt;
  const std::string path(withoutTrailingSlashes(url.fileSystemRepresentation()));
  if (path.empty()) return std::nullopt;
  FileSystem& files = Host::current().files();
  if (const auto item = files.info(path, FollowLinks::No); item.ok()) return ResourceValues(path, *item);
  std::string spelled = pathAsOnDisk(path);
  const auto item = files.info(spelled, FollowLinks::No);
  return item.ok() ? std::optional(ResourceValues(std::move(spelled), *item)) : std::nullopt;
}

bool ResourceValues::isPackage() const { return macos::isPackage(path_, item_); }

bool ResourceValues::isApplication() const {
  return isPackage() && lowercaseASCII(pathExtension(path_)) == "app";
}

bool ResourceValues::isAliasFile() const { return isSymbolicLink() || macos::isAliasFile(path_, item_); }

bool ResourceValues::isHidden() const { return isHiddenItem(path_); }

std::optional<std::uint64_t> ResourceValues::fileSize() const {
  return isDirectory() ? std::nullopt : std::optional(item_.size);
}

NSDate ResourceValues::contentModificationDate() const {
  return {static_cast<double>(item_.modified) / 1e9 - kReferenceDateSince1970};
}

VolumeInfo ResourceValues::volume() const {
  return Host::current().volumes().volumeForPath(path_, FollowLinks::No);
}

bool isHiddenItem(std::string_view path) {
  return lastPathComponent(path).starts_with('.') || finderInfoAtPath(path).isInvisible();
}

}  // namespace macos
