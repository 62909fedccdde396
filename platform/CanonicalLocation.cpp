// SPDX-License-Identifier: MIT
//
// Where the platform goes through a file reference, which names an item and not its path, the disk is asked
// for the path under which it keeps the item.
#include "platform/CanonicalLocation.h"

#include "macos/foundation/Path.h"
#include "macos/foundation/Text.h"
#include "macos/host/Host.h"

namespace vennick {

using macos::FileSystem;
using macos::FollowLinks;
using macos::Host;
using macos::NSURL;

namespace {

// The name of the item as its folder lists it. Only a disk that ignores letter case can know an item by
// another name than the listed one.
std::string storedName(FileSystem& files, const std::string& folder, const std::string& name) {
  if (Host::current().volumes().volumeForPath(folder).isCaseSensitive) return name;
  const auto entries = files.list(folder);
  if (!entries.ok()) return name;
  const std::string* other = nullptr;
  for (const macos::FolderEntry& entry : *entries) {
    if (entry.name == name) return name;
    if (other == nullptr && macos::isSameFileName(entry.name, name, false)) other = &entry.name;
  }
  return other == nullptr ? name : *other;
}

// The path of an existing item as the disk keeps it, the folders' links resolved but not the item's own;
// "" when nothing is there.
std::string pathOfReference(std::string_view path) {
  if (path.empty()) return "";
  FileSystem& files = Host::current().files();
  std::string spelled(macos::withoutTrailingSlashes(macos::pathAsOnDisk(path)));
  if (!files.info(spelled, FollowLinks::No).ok()) return "";
  const auto folder = files.realPath(macos::pathByDeletingLastPathComponent(spelled));
  if (!folder.ok()) return "";
  if (spelled == "/") return spelled;
  std::string stored = "/";
  const std::string real = macos::pathByAppendingComponent(*folder, macos::lastPathComponent(spelled));
  for (const std::string& component : macos::pathComponents(real)) {
    if (component != "/") {
      stored = macos::pathByAppendingComponent(stored, storedName(files, stored, component));
    }
  }
  return stored;
}

}  // namespace

std::string stringByStandardizingViaURLReference(std::string_view path) {
  std::string resolved = macos::pathByResolvingSymlinks(path);
  if (resolved.empty()) return std::string(path);
  std::string stored = pathOfReference(resolved);
  return stored.empty() ? resolved : stored;
}

NSURL URLByStandardizingViaURLReference(const NSURL& url) {
  if (!url.isFileURL()) return url;
  const std::string stored = pathOfReference(url.fileSystemRepresentation());
  if (stored.empty()) return url.URLByStandardizingPath();
  return NSURL::fileURLWithPath(macos::pathByResolvingSymlinks(stored));
}

}  // namespace vennick
