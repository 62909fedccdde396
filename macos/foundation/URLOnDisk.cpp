// SPDX-License-Identifier: MIT
//
// What a URL's text cannot say by itself.
#include "macos/foundation/Path.h"
#include "macos/foundation/URL.h"

namespace macos {

namespace {

bool isFolder(std::string_view path) {
  const auto info = itemInfo(path, FollowLinks::Yes);
  return info.ok() && info->isFolder();
}

}  // namespace

NSURL NSURL::fileURLWithPath(std::string_view path) {
  const bool isDirectory = path.empty() || path.back() == '/' || isFolder(path);
  return fileURLWithPathIsDirectory(path, isDirectory);
}

NSURL NSURL::URLByAppendingPathComponent(std::string_view component) const {
  NSURL appended = URLByAppendingPathComponentIsDirectory(component, false);
  const std::string path = appended.isFileURL() ? appended.fileSystemRepresentation() : "";
  if (path.empty() || !isFolder(path)) return appended;
  return URLByAppendingPathComponentIsDirectory(component, true);
}

NSURL NSURL::URLByStandardizingPath() const {
  const std::string path = isFileURL() ? fileSystemRepresentation() : "";
  if (path.empty()) return *this;
  return fileURLWithPathIsDirectory(pathByStandardizing(path), hasDirectoryPath());
}

NSURL NSURL::URLByResolvingSymlinksInPath() const {
  const std::string path = isFileURL() ? fileSystemRepresentation() : "";
  if (path.empty()) return *this;
  return fileURLWithPath(pathByResolvingSymlinks(path));
}

}  // namespace macos
