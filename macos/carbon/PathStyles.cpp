// SPDX-License-Identifier: MIT
#include "macos/carbon/PathStyles.h"

#include <algorithm>
#include <vector>

#include "macos/foundation/AliasTarget.h"
#include "macos/foundation/Path.h"
#include "macos/foundation/Text.h"
#include "macos/host/Host.h"

namespace macos {

namespace {

constexpr std::string_view kVolumesFolder = "/Volumes";

std::string withColonsAndSlashesSwapped(std::string_view text) {
  std::string result(text);
  for (char& character : result) {
    if (character == ':') {
      character = '/';
    } else if (character == '/') {
      character = ':';
    }
  }
  return result;
}

// A volume's name, as POSIX paths spell it, and its root.
struct NamedRoot {
  std::string name;
  std::string path;
};

std::vector<NamedRoot> namedRoots() {
  std::vector<NamedRoot> roots;
  for (const VolumeInfo& volume : Host::current().volumes().volumes()) {
    if (volume.isBoot) {
      const std::string name(volume.name.empty() ? kUnnamedBootVolume : std::string_view(volume.name));
      roots.push_back({.name = name, .path = volume.mountPoint});
      // What names the boot volume there leads to its root.
      roots.push_back({.name = name, .path = pathByAppendingComponent(kVolumesFolder, name)});
    } else {
      const std::string name = volume.name.empty() ? lastPathComponent(volume.mountPoint) : volume.name;
      roots.push_back({.name = name, .path = volume.mountPoint});
    }
  }
  return roots;
}

std::string rootOfVolume(const std::string& name) {
  for (const NamedRoot& root : namedRoots()) {
    if (isSameFileName(root.name, name, false)) return root.path;
  }
  return pathByAppendingComponent(kVolumesFolder, name);
}

bool liesIn(std::string_view path, std::string_view folder) {
  return folder == "/" || path == folder || path.starts_with(std::string(folder) + "/");
}

std::vector<std::string_view> splitAtColons(std::string_view path) {
  std::vector<std::string_view> parts;
  for (std::size_t start = 0; start <= path.size();) {
    const std::size_t end = std::min(path.find(':', start), path.size());
    parts.push_back(path.substr(start, end - start));
    start = end + 1;
  }
  return parts;
}

std::string posixPath(std::string_view hfsPath) {
  std::vector<std::string_view> parts = splitAtColons(hfsPath);
  const std::string first = withColonsAndSlashesSwapped(parts.front());
  std::string path = first.empty() ? "" : rootOfVolume(first);
  parts.erase(parts.begin());
  // The colon at the end of a folder's path is no step upwards.
  if (!parts.empty() && parts.back().empty()) parts.pop_back();
  for (const std::string_view part : parts) {
    const std::string name = part.empty() ? ".." : withColonsAndSlashesSwapped(part);
    path = path.empty() ? name : pathByAppendingComponent(path, name);
  }
  return path;
}

std::string hfsPath(const std::string& posixPath) {
  std::string result;
  std::string_view rest = posixPath;
  if (rest.starts_with('/')) {
    std::string rootPath;
    for (const NamedRoot& root : namedRoots()) {
      const std::string path = decomposedForFileSystem(root.path);
      if (!liesIn(posixPath, path) || path.size() < rootPath.size()) continue;
      rootPath = path;
      result = withColonsAndSlashesSwapped(decomposedForFileSystem(root.name));
    }
    rest.remove_prefix(rootPath.size());
  }
  for (const std::string& component : pathComponents(rest)) {
    if (component == "/" || component == ".") continue;
    result += ":";
    if (component != "..") result += withColonsAndSlashesSwapped(component);
  }
  return result;
}

}  // namespace

std::optional<NSURL> CFURLCreateWithFileSystemPath(std::string_view path, CFURLPathStyle style,
                                                   bool isDirectory) {
  if (path.empty() || path.find('\0') != path.npos) return std::nullopt;
  const std::string posix = style == CFURLPathStyle::HFS ? posixPath(path) : std::string(path);
  if (posix.empty()) return std::nullopt;
  return NSURL::fileURLWithPathIsDirectory(posix, isDirectory);
}

std::optional<std::string> CFURLCopyFileSystemPath(const NSURL& url, CFURLPathStyle style) {
  std::string path = url.relativePath();
  if (path.empty()) return std::nullopt;
  return style == CFURLPathStyle::HFS ? hfsPath(path) : std::move(path);
}

}  // namespace macos
