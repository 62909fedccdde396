// SPDX-License-Identifier: MIT
//
// The functions over paths that look at the disk.
#include <algorithm>
#include <deque>
#include <optional>

#include "macos/foundation/Path.h"
#include "macos/foundation/Text.h"
#include "macos/host/Host.h"

namespace macos {

namespace {

// As many links as the platform follows in one path.
constexpr int kMaximumLinks = 32;

// In place, since a path that a file names may have any number of components.
void appendComponent(std::string& path, std::string_view name) {
  if (path != "/") path.push_back('/');
  path.append(name);
}

std::string joined(std::string folder, std::string_view name) {
  appendComponent(folder, name);
  return folder;
}

std::vector<std::string> partsOf(std::string_view path) {
  std::vector<std::string> components = pathComponents(path);
  std::erase(components, "/");
  return components;
}

// The name in the folder that differs from the given one only in its spelling.
std::optional<std::string> otherSpelling(FileSystem& files, const std::string& folder,
                                         const std::string& name) {
  if (!isValidUTF8(name)) return std::nullopt;
  const bool isPlain = isASCII(name);
  const bool caseSensitive = Host::current().volumes().volumeForPath(folder).isCaseSensitive;
  if (isPlain && caseSensitive) return std::nullopt;
  if (!isPlain) {
    // The two usual forms are found without reading the folder.
    for (std::string form : {composed(name), decomposedForFileSystem(name)}) {
      if (form != name && files.info(joined(folder, form), FollowLinks::No).ok()) return form;
    }
  }
  auto entries = files.list(folder);
  if (!entries.ok()) return std::nullopt;
  std::optional<std::string> inOtherCase;
  for (FolderEntry& entry : *entries) {
    if (!isSameFileName(entry.name, name, caseSensitive)) continue;
    if (caseSensitive || isSameFileName(entry.name, name, true)) return std::move(entry.name);
    if (!inOtherCase) inOtherCase = std::move(entry.name);
  }
  return inOtherCase;
}

// The path's other spelling, when the exact one is known not to be there.
std::string spelledOnDisk(FileSystem& files, const std::string& path) {
  const std::vector<std::string> components = partsOf(path);
  std::vector<std::string> folders(1, "/");
  for (const std::string& component : components) folders.push_back(joined(folders.back(), component));

  // From the end, since mostly it is the last component alone that is missing.
  std::size_t existing = components.empty() ? 0 : components.size() - 1;
  while (existing > 0 && !files.info(folders[existing], FollowLinks::No).ok()) --existing;

  std::string spelled = folders[existing];
  bool changed = false;
  bool isLost = false;
  for (std::size_t i = existing; i < components.size(); ++i) {
    std::string next = joined(spelled, components[i]);
    // Below a changed name the rest may well be there as it was given.
    const bool isThere = isLost || (changed && files.info(next, FollowLinks::No).ok());
    if (!isThere) {
      const auto name = otherSpelling(files, spelled, components[i]);
      if (name) {
        next = joined(spelled, *name);
        changed = true;
      } else {
        isLost = true;
      }
    }
    spelled = std::move(next);
  }
  return changed ? spelled : path;
}

std::optional<std::string> homeOfUser(std::string_view name) {
  const std::string& home = Host::current().home();
  if (lastPathComponent(home) == name) return home;
  std::string usual = pathByAppendingComponent("/Users", name);
  const auto info = itemInfo(usual, FollowLinks::Yes);
  return info.ok() && info->isFolder() ? std::optional(std::move(usual)) : std::nullopt;
}

bool isSameItem(std::string_view a, std::string_view b) {
  const auto first = itemInfo(a, FollowLinks::Yes);
  if (!first.ok()) return false;
  const auto second = itemInfo(b, FollowLinks::Yes);
  return second.ok() && first->isSameItem(*second);
}

// "/private/tmp/x" is shown as "/tmp/x" wherever that names the same item. The top folders of the system
// are never reached that way.
std::string withoutPrivatePrefix(std::string path) {
  static constexpr std::string_view kPrefixes[] = {"/private/var/automount", "/var/automount", "/private"};
  static constexpr std::string_view kExcluded[] = {"Applications", "Library", "System", "Users",
                                                   "Volumes",      "bin",     "cores",  "dev",
                                                   "opt",          "private", "sbin",   "usr"};
  for (const std::string_view prefix : kPrefixes) {
    if (!path.starts_with(prefix) || path.size() == prefix.size() || path[prefix.size()] != '/') continue;
    std::string rest = path.substr(prefix.size());
    const std::string_view top = std::string_view(rest).substr(1, rest.find('/', 1) - 1);
    if (std::find(std::begin(kExcluded), std::end(kExcluded), top) != std::end(kExcluded)) continue;
    if (isSameItem(rest, path)) return rest;
  }
  return path;
}

// Every component after the other, links replaced by what they lead to. What follows a component that is
// not there, or that is a link too many, stands as it is; ".." in it leaves what stands before it.
std::string resolvedByComponents(FileSystem& files, std::string_view path) {
  std::deque<std::string> rest;
  for (std::string& component : partsOf(path)) rest.push_back(std::move(component));
  std::string resolved = "/";
  int links = 0;
  bool isThere = true;
  while (!rest.empty()) {
    const std::string component = std::move(rest.front());
    rest.pop_front();
    if (component == ".") continue;
    if (component == "..") {
      resolved.resize(std::max<std::size_t>(resolved.rfind('/'), 1));
      continue;
    }
    if (!isThere) {
      appendComponent(resolved, component);
      continue;
    }
    std::string next = pathAsOnDisk(joined(resolved, component));
    const auto info = files.info(next, FollowLinks::No);
    isThere = info.ok();
    if (info.ok() && info->kind == FileKind::Link) {
      const auto target = files.readLink(next);
      if (target.ok() && ++links <= kMaximumLinks) {
        const std::vector<std::string> components = partsOf(*target);
        rest.insert(rest.begin(), components.begin(), components.end());
        if (target->starts_with('/')) resolved = "/";
        continue;
      }
      isThere = false;
    }
    resolved = std::move(next);
  }
  return resolved;
}

std::string resolvedLinks(std::string_view path) {
  FileSystem& files = Host::current().files();
  auto real = files.realPath(path);
  return real.ok() ? std::move(*real) : resolvedByComponents(files, path);
}

// Doubled slashes, "." and the slash at the end removed.
std::string tidied(std::string_view path) {
  std::string result = path.starts_with('/') ? "/" : "";
  for (const std::string& component : partsOf(path)) {
    if (component == ".") continue;
    if (result.empty()) {
      result = component;
    } else {
      appendComponent(result, component);
    }
  }
  return result;
}

bool hasParentReference(std::string_view path) {
  const std::vector<std::string> components = partsOf(path);
  return std::find(components.begin(), components.end(), "..") != components.end();
}

}  // namespace

std::string pathByExpandingTilde(std::string_view path) {
  if (!path.starts_with('~')) return std::string(path);
  const std::size_t end = std::min(path.find('/'), path.size());
  const std::string_view user = path.substr(1, end - 1);
  const auto home = user.empty() ? std::optional(Host::current().home()) : homeOfUser(user);
  if (!home) return std::string(path);
  const std::string_view rest = path.substr(end);
  return *home == "/" && !rest.empty() ? std::string(rest) : *home + std::string(rest);
}

std::string pathByStandardizing(std::string_view path) {
  std::string standard = tidied(pathByExpandingTilde(path));
  if (!standard.starts_with('/')) return standard;
  if (hasParentReference(standard)) standard = resolvedLinks(standard);
  return withoutPrivatePrefix(std::move(standard));
}

std::string pathByResolvingSymlinks(std::string_view path) {
  std::string standard = tidied(pathByExpandingTilde(path));
  if (!standard.starts_with('/')) return standard;
  return withoutPrivatePrefix(resolvedLinks(standard));
}

std::string pathAsOnDisk(std::string_view path) {
  FileSystem& files = Host::current().files();
  std::string exact = absolutePath(path);
  const auto info = files.info(exact, FollowLinks::No);
  if (info.ok() || !info.status().isNotFound()) return exact;
  return spelledOnDisk(files, exact);
}

Result<FileInfo> itemInfo(std::string_view path, FollowLinks follow) {
  FileSystem& files = Host::current().files();
  auto info = files.info(path, follow);
  if (info.ok() || !info.status().isNotFound()) return info;
  const std::string exact = absolutePath(path);
  const std::string spelled = follow == FollowLinks::No ? spelledOnDisk(files, exact) : pathAsOnDisk(exact);
  return spelled == exact ? std::move(info) : files.info(spelled, follow);
}

}  // namespace macos
