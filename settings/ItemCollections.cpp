// SPDX-License-Identifier: MIT
//
// Adding to, finding in and deleting from the item lists of the current set: which list a location goes
// to, its type, and the list's limit.
#include "macos/foundation/Text.h"
#include "platform/FileQueries.h"
#include "settings/SettingsKeys.h"
#include "settings/VKSettings.h"

namespace vennick {

using macos::Dictionary;
using macos::NSDate;
using macos::NSURL;

namespace {

// Files and applications are remembered this many times as long as folders.
constexpr std::int64_t kFileHistoryFactor = 5;

bool isFileOrPackage(const NSURL& url) { return pathExistsAndIsFile(url) || pathIsPackage(url); }

// By name without regard to letter case; an entry without a name goes last.
int compareNames(const SortValues& values) {
  const auto x = values.xName != nullptr ? values.xName->ifString() : std::nullopt;
  const auto y = values.yName != nullptr ? values.yName->ifString() : std::nullopt;
  if (!x || !y) {
    return (y ? 1 : 0) - (x ? 1 : 0);
  }
  const auto order = macos::compareCaseInsensitive(*x, *y);
  return (order > 0 ? 1 : 0) - (order < 0 ? 1 : 0);
}

std::optional<std::string> noneIfEmpty(const std::optional<std::string>& text) {
  return text && !text->empty() ? text : std::nullopt;
}

}  // namespace

std::int64_t VKSettings::limit(std::string_view defaultsKey, std::int64_t factor) const {
  std::int64_t product = 0;
  // A size so large that the factor overflows it limits nothing.
  return __builtin_mul_overflow(defaults()->integerForKey(defaultsKey), factor, &product) ? 0 : product;
}

bool VKSettings::addRecent(const NSURL& url, const std::optional<NSDate>& date) {
  setDirty(true);
  // Applications come first: their bundles are packages too, and must not land among the files.
  if (pathExistsAndIsApplication(url)) {
    return recentApplications()->addURL({.url = url,
                                         .date = date,
                                         .type = kItemTypeFile,
                                         .limit = limit(SettingsKeys::MaxHistorySize, kFileHistoryFactor)});
  }
  if (isFileOrPackage(url)) {
    return recentFiles()->addURL({.url = url,
                                  .date = date,
                                  .type = kItemTypeFile,
                                  .limit = limit(SettingsKeys::MaxHistorySize, kFileHistoryFactor)});
  }
  if (pathExistsAndIsFolder(url)) {
    return recentFolders()->addURL(
        {.url = url, .date = date, .type = kItemTypeFolder, .limit = limit(SettingsKeys::MaxHistorySize)});
  }
  return false;
}

// Recent applications are neither found nor deleted by their location. Deliberate.
std::optional<VKItem> VKSettings::recentForURL(const NSURL& url) {
  auto folder = recentFolders()->itemForURL(url);
  return folder ? folder : recentFiles()->itemForURL(url);
}

bool VKSettings::deleteRecent(const NSURL& url) {
  setDirty(true);
  return recentFolders()->deleteItemForURL(url) || recentFiles()->deleteItemForURL(url);
}

bool VKSettings::addFinderRecent(const NSURL& url, const std::optional<NSDate>& date) {
  setDirty(true);
  return pathExistsAndIsFolder(url) &&
         recentFinderFolders()->addURL({.url = url,
                                        .date = date,
                                        .type = kItemTypeFolder,
                                        .limit = limit(SettingsKeys::MaxHistorySize)});
}

std::optional<VKItem> VKSettings::finderRecentForURL(const NSURL& url) {
  return recentFinderFolders()->itemForURL(url);
}

bool VKSettings::deleteFinderRecent(const NSURL& url) {
  setDirty(true);
  return recentFinderFolders()->deleteItemForURL(url);
}

bool VKSettings::addFavorite(const std::optional<NSURL>& url, const std::optional<NSDate>& date,
                             const std::optional<Dictionary>& hotkey) {
  std::uint32_t type = kItemTypeSeparator;
  if (url) {
    type = isFileOrPackage(*url) ? kItemTypeFile : kItemTypeFolder;
  }
  const bool added = favorites()->addURL(
      {.url = url, .date = date, .type = type, .hotkey = hotkey, .missingLocation = MissingLocation::Accept});
  // Sorted also when nothing was added.
  if (defaults()->boolForKey(SettingsKeys::FavoritesStaySorted)) {
    favorites()->sort(compareNames);
  }
  setDirty(true);
  return added;
}

std::optional<VKItem> VKSettings::favoriteForURL(const NSURL& url) { return favorites()->itemForURL(url); }

bool VKSettings::deleteFavorite(const NSURL& url) {
  setDirty(true);
  return favorites()->deleteItemForURL(url);
}

bool VKSettings::addDroppedItem(const NSURL& url) {
  setDirty(true);
  const bool isFile = isFileOrPackage(url);
  if (!isFile && !pathExistsAndIsFolder(url)) {
    return false;
  }
  return droppedItems()->addURL({.url = url,
                                 .date = NSDate::date(),
                                 .type = isFile ? kItemTypeFile : kItemTypeFolder,
                                 .limit = limit(SettingsKeys::DropHistorySize)});
}

std::optional<VKItem> VKSettings::droppedItemForURL(const NSURL& url) {
  return droppedItems()->itemForURL(url);
}

bool VKSettings::deleteDroppedItem(const NSURL& url) {
  setDirty(true);
  return droppedItems()->deleteItemForURL(url);
}

bool VKSettings::addDefaultFolder(const NSURL& url, const std::optional<std::string>& forApp,
                                  const std::optional<std::string>& fileType) {
  setDirty(true);
  return defaultFolders()->addURLForApp(url, forApp, fileType);
}

std::optional<VKItem> VKSettings::defaultFolderForApp(const std::optional<std::string>& application,
                                                      const std::optional<std::string>& fileType) {
  const auto app = noneIfEmpty(application);
  const auto type = noneIfEmpty(fileType);
  const std::string any(kAnyType);
  // With neither, this first look-up finds entries that have neither list. Deliberate.
  if (auto item = defaultFolders()->itemForApplication(app, type)) {
    return item;
  }
  if (app) {
    if (auto item = defaultFolders()->itemForApplication(app, any)) {
      return item;
    }
  }
  if (type) {
    if (auto item = defaultFolders()->itemForApplication(any, type)) {
      return item;
    }
  }
  return defaultFolders()->itemForApplication(any, any);
}

bool VKSettings::deleteDefaultFolderForApp(const std::optional<std::string>& application,
                                           const std::optional<std::string>& fileType) {
  setDirty(true);
  return defaultFolders()->deleteItemForApplication(application, fileType);
}

}  // namespace vennick
