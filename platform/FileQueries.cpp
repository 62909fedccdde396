// SPDX-License-Identifier: MIT
#include "platform/FileQueries.h"

#include <algorithm>

#include "macos/foundation/Bookmark.h"
#include "macos/foundation/Bundle.h"
#include "macos/foundation/Dispatch.h"
#include "macos/foundation/Package.h"
#include "macos/foundation/Path.h"
#include "macos/foundation/ResourceValues.h"
#include "macos/host/Host.h"
#include "platform/LanguageMonitor.h"
#include "platform/LocalizedNames.h"

namespace vennick {

using macos::FileKind;
using macos::FollowLinks;
using macos::Host;
using macos::NSDate;
using macos::NSError;
using macos::NSFileManager;
using macos::NSURL;
using macos::ResourceValues;

namespace {

// Bit 1: not into subfolders, 4: no hidden items.
constexpr unsigned kVisibleEntries =
    macos::NSDirectoryEnumerationSkipsSubdirectoryDescendants | macos::NSDirectoryEnumerationSkipsHiddenFiles;

std::int64_t sizeOfPackage(const NSURL& url) {
  std::uint64_t total = 0;
  macos::FileSystem& files = Host::current().files();
  NSFileManager::defaultManager().enumerateItemsBelowPath(
      url.fileSystemRepresentation(), [&](const std::string& path, FileKind kind) {
        if (kind == FileKind::Folder) return;
        if (const auto item = files.info(path, FollowLinks::No); item.ok()) total += item->size;
      });
  return static_cast<std::int64_t>(std::min<std::uint64_t>(total, INT64_MAX));
}

bool isScriptApplet(const NSURL& application) {
  const auto bundle = macos::NSBundle::bundleWithURL(application);
  const auto executable = bundle ? bundle->executableURL() : std::nullopt;
  if (!executable) return false;
  const std::string name = executable->lastPathComponent();
  return name == "applet" || name == "droplet";
}

}  // namespace

bool pathExists(std::string_view path) { return NSFileManager::defaultManager().fileExistsAtPath(path); }

bool pathExistsAndIsFile(std::string_view path) {
  bool isDirectory = false;
  return NSFileManager::defaultManager().fileExistsAtPath(path, &isDirectory) && !isDirectory;
}

bool pathExistsAndIsFolder(std::string_view path) {
  bool isDirectory = false;
  return NSFileManager::defaultManager().fileExistsAtPath(path, &isDirectory) && isDirectory;
}

bool pathExistsAndIsFileOrPackage(std::string_view path) {
  bool isDirectory = false;
  if (!NSFileManager::defaultManager().fileExistsAtPath(path, &isDirectory)) return false;
  return !isDirectory || pathIsPackage(path);
}

bool pathIsPackage(std::string_view path) {
  if (path.empty()) return false;
  std::string spelled(macos::withoutTrailingSlashes(macos::pathAsOnDisk(path)));
  macos::FileSystem& files = Host::current().files();
  auto item = files.info(spelled, FollowLinks::No);
  if (item.ok() && item->kind == FileKind::Link) {
    auto target = files.realPath(spelled);
    if (!target.ok()) return false;
    spelled = std::move(*target);
    item = files.info(spelled, FollowLinks::No);
  }
  return item.ok() && macos::isPackage(spelled, *item);
}

bool pathIsWritable(std::string_view path) {
  return NSFileManager::defaultManager().isWritableFileAtPath(path);
}

bool pathIsOnNetworkVolume(std::string_view path) {
  return pathIsOnNetworkVolume(NSURL::fileURLWithPath(path));
}

bool pathExists(const NSURL& url) { return pathExists(url.fileSystemRepresentation()); }

bool pathIsWritable(const NSURL& url) { return pathIsWritable(url.fileSystemRepresentation()); }

bool pathExistsAndIsFile(const NSURL& url) {
  const auto values = ResourceValues::ofURL(url);
  return values && values->isRegularFile();
}

bool pathExistsAndIsFolder(const NSURL& url) {
  const auto values = ResourceValues::ofURL(url);
  return values && values->isDirectory();
}

bool pathExistsAndIsFileOrPackage(const NSURL& url) {
  const auto values = ResourceValues::ofURL(url);
  return values && (values->isRegularFile() || values->isPackage());
}

bool pathExistsAndIsApplication(const NSURL& url) {
  return pathIsPackage(url) && url.pathExtension() == "app" && !isScriptApplet(url);
}

bool pathIsAlias(const NSURL& url) {
  const auto values = ResourceValues::ofURL(url);
  return values && values->isAliasFile();
}

bool pathIsHidden(const NSURL& url) {
  if (url.isFileURL() && url.lastPathComponent().starts_with('.')) return true;
  const auto values = ResourceValues::ofURL(url);
  return values && values->isHidden();
}

bool pathIsPackage(const NSURL& url) {
  const auto values = ResourceValues::ofURL(url);
  return values && values->isPackage();
}

bool pathIsEjectable(const NSURL& url) {
  const auto values = ResourceValues::ofURL(url);
  return values && !values->volume().isEjectable;
}

bool pathIsOnNetworkVolume(const NSURL& url) {
  const auto values = ResourceValues::ofURL(url);
  return values && !values->volume().isLocal;
}

bool isCaseSensitive(const NSURL& url) {
  const auto values = ResourceValues::ofURL(url);
  return !values || values->volume().isCaseSensitive;
}

std::string displayName(std::string_view path) {
  const std::string ours = activeLanguage();
  const std::string systems = activeSystemLanguage();
  const auto& names = localizedNames();
  const bool isLocalizable =
      std::find(names.begin(), names.end(), macos::lastPathComponent(path)) != names.end();
  if (!ours.empty() && !systems.empty() && ours != systems && isLocalizable) {
    return displayNameAtPathInLocale(path, std::nullopt);
  }
  return NSFileManager::defaultManager().displayNameAtPath(path);
}

std::string displayName(const NSURL& url) { return displayName(url.fileSystemRepresentation()); }

NSDate modificationDate(const NSURL& url) {
  const auto values = ResourceValues::ofURL(url);
  return values ? values->contentModificationDate() : NSDate::distantPast();
}

std::int64_t size(const NSURL& url) {
  const auto values = ResourceValues::ofURL(url);
  if (!values) return 0;
  if (values->isPackage()) return sizeOfPackage(url);
  if (values->isDirectory()) {
    // Deliberate: a folder's size is how many entries it shows, not how many bytes it holds.
    const auto entries = NSFileManager::defaultManager().contentsOfDirectoryAtURL(url, kVisibleEntries);
    return entries ? static_cast<std::int64_t>(entries->size()) : 0;
  }
  return static_cast<std::int64_t>(std::min<std::uint64_t>(values->fileSize().value_or(0), INT64_MAX));
}

void sizeDeliveredToBlock(const NSURL& url, std::function<void(std::int64_t)> block) {
  macos::dispatchAsyncGlobal(macos::DispatchPriority::Default, [url, block = std::move(block)] {
    macos::dispatchAsyncMain([block, bytes = size(url)] { block(bytes); });
  });
}

NSURL URLByResolvingAliasFile(const NSURL& url) {
  if (!url.isFileURL()) return url;
  constexpr unsigned kOptions =
      macos::NSURLBookmarkResolutionWithoutUI | macos::NSURLBookmarkResolutionWithoutMounting;
  return macos::URLByResolvingAliasFileAtURL(url, kOptions).value_or(url);
}

NSURL URLByResolvingLinksAndAliasFile(const NSURL& url) {
  const NSURL resolved = url.URLByResolvingSymlinksInPath();
  return pathIsAlias(resolved) ? URLByResolvingAliasFile(resolved) : resolved;
}

std::optional<NSError> createAliasFileAtURL(const NSURL& url, const NSURL& aliasFile) {
  constexpr unsigned kOptions = macos::NSURLBookmarkCreationSuitableForBookmarkFile;
  NSError error;
  const auto bookmark = macos::bookmarkDataWithOptions(url, kOptions, {}, &error);
  if (!bookmark) return error;
  return macos::writeBookmarkData(*bookmark, aliasFile, kOptions);
}

}  // namespace vennick
