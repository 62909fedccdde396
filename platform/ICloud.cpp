// SPDX-License-Identifier: MIT
#include "platform/ICloud.h"

#include "macos/carbon/Gestalt.h"
#include "macos/foundation/FileManager.h"
#include "macos/foundation/Path.h"
#include "macos/foundation/Text.h"
#include "macos/host/Host.h"

namespace vennick {

using macos::NSFileManager;
using macos::NSSearchPathDirectory;
using macos::NSURL;

namespace {

constexpr std::string_view kStorageFolder = "~/Library/CloudStorage/iCloud Drive";
constexpr std::string_view kStorageFolderName = "iCloud Drive";
constexpr std::string_view kMobileDocuments = "~/Library/Mobile Documents";
constexpr std::string_view kDriveContainer = "com~apple~CloudDocs";

bool isVersionWithStorageFolder() {
  std::int32_t major = 0;
  std::int32_t minor = 0;
  (void)macos::Gestalt(macos::gestaltSystemVersionMajor, &major);
  (void)macos::Gestalt(macos::gestaltSystemVersionMinor, &minor);
  return major >= 11 || minor >= 15;
}

struct UsesStorageFolder {
  bool value = isVersionWithStorageFolder() && NSFileManager::defaultManager().fileExistsAtPath(
                                                   macos::pathByResolvingSymlinks(kStorageFolder));
};

struct MobileDocumentsPath {
  std::string value = macos::pathByResolvingSymlinks(kMobileDocuments);
};

struct ICloudPath {
  std::string value =
      iCloudUsesCloudStorageFolder() ? macos::pathByResolvingSymlinks(kStorageFolder) : mobileDocumentsPath();
};

// The iCloud path in the spelling that URLs give to paths.
std::string iCloudPathOfURLs() { return macos::decomposedForFileSystem(iCloudPath()); }

NSURL parentOf(const NSURL& url) { return url.URLByDeletingLastPathComponent(); }

bool isStandardFolder(const NSURL& url, std::string_view name, NSSearchPathDirectory directory) {
  if (!pathIsOniCloud(url) || url.lastPathComponent() != name) return false;
  if (pathIsiCloudDriveFolder(parentOf(url))) return true;
  const auto folders = NSFileManager::defaultManager().URLsForDirectory(directory, macos::NSUserDomainMask);
  return !folders.empty() && url == folders.front();
}

}  // namespace

bool iCloudUsesCloudStorageFolder() { return macos::hostLocal<UsesStorageFolder>().value; }

const std::string& mobileDocumentsPath() { return macos::hostLocal<MobileDocumentsPath>().value; }

const std::string& iCloudPath() { return macos::hostLocal<ICloudPath>().value; }

NSURL mobileDocumentsRootURL() { return NSURL::fileURLWithPath(mobileDocumentsPath()); }

NSURL iCloudRootURL() { return NSURL::fileURLWithPath(iCloudPath()); }

NSURL iCloudDriveURL() {
  return iCloudUsesCloudStorageFolder() ? iCloudRootURL()
                                        : iCloudRootURL().URLByAppendingPathComponent(kDriveContainer);
}

bool pathIsOniCloud(const NSURL& url) {
  const std::string path = url.path();
  if (url.isFileURL() && !path.empty() && NSFileManager::defaultManager().isUbiquitousItemAtURL(url)) {
    return true;
  }
  return path.starts_with(iCloudPathOfURLs());
}

bool pathIsiCloudRootFolder(const NSURL& url) { return url.path() == iCloudPathOfURLs(); }

bool pathIsiCloudDriveFolder(const NSURL& url) {
  if (!pathIsOniCloud(url)) return false;
  if (iCloudUsesCloudStorageFolder()) {
    return pathIsiCloudRootFolder(url) && url.lastPathComponent() == kStorageFolderName;
  }
  return pathIsiCloudRootFolder(parentOf(url)) && url.lastPathComponent() == kDriveContainer;
}

bool pathIsiCloudDesktopFolder(const NSURL& url) {
  return isStandardFolder(url, "Desktop", NSSearchPathDirectory::Desktop);
}

bool pathIsiCloudDocumentsFolder(const NSURL& url) {
  return isStandardFolder(url, "Documents", NSSearchPathDirectory::Documents);
}

bool pathIsiCloudAppFolder(const NSURL& url) {
  return pathIsOniCloud(url) && pathIsiCloudRootFolder(parentOf(url)) &&
         url.lastPathComponent() != kDriveContainer;
}

bool pathIsiCloudAppDocumentsFolder(const NSURL& url) {
  if (!pathIsOniCloud(url) || url.lastPathComponent() != "Documents") return false;
  const NSURL parent = parentOf(url);
  return !pathIsiCloudDriveFolder(parent) && pathIsiCloudRootFolder(parentOf(parent));
}

}  // namespace vennick
