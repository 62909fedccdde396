// SPDX-License-Identifier: MIT
//
// What NSFileManager is asked; FileManagerChanges.cpp has what it is told to do.
#include "macos/foundation/FileManager.h"

#include <unistd.h>

#include "macos/foundation/Bundle.h"
#include "macos/foundation/DisplayName.h"
#include "macos/foundation/Path.h"
#include "macos/foundation/ResourceValues.h"
#include "macos/host/Host.h"

namespace macos {

namespace {

bool isAccessible(std::string_view path, int mode) {
  FileSystem& files = Host::current().files();
  if (files.isAccessible(path, mode)) return true;
  const std::string spelled = pathAsOnDisk(path);
  return spelled != path && files.isAccessible(spelled, mode);
}

struct FolderNames {
  std::string_view ofUser;
  std::string_view ofComputer;  // "" when there is only a user's
};

FolderNames folderNames(NSSearchPathDirectory directory) {
  switch (directory) {
    case NSSearchPathDirectory::Library:
      return {"Library", "Library"};
    case NSSearchPathDirectory::ApplicationSupport:
      return {"Library/Application Support", "Library/Application Support"};
    case NSSearchPathDirectory::Documents:
      return {"Documents", ""};
    case NSSearchPathDirectory::Desktop:
      return {"Desktop", ""};
    case NSSearchPathDirectory::Downloads:
      return {"Downloads", ""};
    case NSSearchPathDirectory::Trash:
      return {".Trash", ""};
  }
  return {};
}

}  // namespace

NSFileManager& NSFileManager::defaultManager() {
  static NSFileManager manager;
  return manager;
}

bool NSFileManager::fileExistsAtPath(std::string_view path, bool* isDirectory) {
  if (path.empty()) return false;
  const auto info = itemInfo(path, FollowLinks::Yes);
  if (info.ok() && isDirectory != nullptr) *isDirectory = info->isFolder();
  return info.ok();
}

bool NSFileManager::isWritableFileAtPath(std::string_view path) {
  return !path.empty() && isAccessible(path, W_OK);
}

bool NSFileManager::isReadableFileAtPath(std::string_view path) {
  return !path.empty() && isAccessible(path, R_OK);
}

std::vector<NSURL> NSFileManager::URLsForDirectory(NSSearchPathDirectory directory, unsigned domainMask) {
  const FolderNames names = folderNames(directory);
  std::vector<NSURL> urls;
  const auto add = [&urls](std::string_view top, std::string_view name) {
    if (!name.empty()) {
      urls.push_back(NSURL::fileURLWithPathIsDirectory(pathByAppendingComponent(top, name), true));
    }
  };
  if ((domainMask & NSUserDomainMask) != 0) add(Host::current().home(), names.ofUser);
  if ((domainMask & NSLocalDomainMask) != 0) add("/", names.ofComputer);
  if ((domainMask & NSNetworkDomainMask) != 0) add("/Network", names.ofComputer);
  if ((domainMask & NSSystemDomainMask) != 0) add("/System", names.ofComputer);
  return urls;
}

std::optional<std::vector<NSURL>> NSFileManager::contentsOfDirectoryAtURL(const NSURL& url,
                                                                          unsigned options) {
  const std::string folder = url.isFileURL() ? pathAsOnDisk(url.fileSystemRepresentation()) : "";
  if (folder.empty()) return std::nullopt;
  const auto entries = Host::current().files().list(folder);
  if (!entries.ok()) return std::nullopt;
  const bool skipsHidden = (options & NSDirectoryEnumerationSkipsHiddenFiles) != 0;
  std::vector<NSURL> urls;
  for (const FolderEntry& entry : *entries) {
    const std::string path = pathByAppendingComponent(folder, entry.name);
    if (skipsHidden && isHiddenItem(path)) continue;
    urls.push_back(NSURL::fileURLWithPathIsDirectory(path, entry.kind == FileKind::Folder));
  }
  return urls;
}

void NSFileManager::enumerateItemsBelowPath(
    std::string_view path, const std::function<void(const std::string& path, FileKind kind)>& block) {
  FileSystem& files = Host::current().files();
  struct Item {
    std::string path;
    FileKind kind;
  };
  std::vector<Item> waiting(1, Item{pathAsOnDisk(path), FileKind::Folder});
  for (bool isTop = true; !waiting.empty(); isTop = false) {
    const Item item = std::move(waiting.back());
    waiting.pop_back();
    if (!isTop) block(item.path, item.kind);
    if (item.kind != FileKind::Folder) continue;
    const auto entries = files.list(item.path);
    if (!entries.ok()) continue;
    for (auto entry = entries->rbegin(); entry != entries->rend(); ++entry) {
      waiting.push_back({pathByAppendingComponent(item.path, entry->name), entry->kind});
    }
  }
}

std::string NSFileManager::displayNameAtPath(std::string_view path) {
  return displayNameInLanguages(path, NSBundle::mainBundle()->preferredLocalizations());
}

bool NSFileManager::isUbiquitousItemAtURL(const NSURL& url) {
  const std::string path = url.isFileURL() ? pathAsOnDisk(url.fileSystemRepresentation()) : "";
  FileSystem& files = Host::current().files();
  if (path.empty() || !files.info(path, FollowLinks::No).ok()) return false;
  const auto folder = files.realPath(pathByDeletingLastPathComponent(path));
  if (!folder.ok()) return false;
  const std::string inside = *folder == "/" ? *folder : *folder + "/";
  for (const std::string_view name : {"Library/Mobile Documents", "Library/CloudStorage/iCloud Drive"}) {
    const auto top = files.realPath(pathAsOnDisk(pathByAppendingComponent(Host::current().home(), name)));
    if (top.ok() && inside.starts_with(*top + "/")) return true;
  }
  return false;
}

}  // namespace macos
