// SPDX-License-Identifier: MIT
//
// Where the store's files lie.
#include <cstdlib>

#include "macos/foundation/FileManager.h"
#include "macos/foundation/Log.h"
#include "macos/host/Host.h"
#include "platform/FileQueries.h"
#include "settings/SetNames.h"
#include "settings/VKSettings.h"

namespace vennick {

using macos::NSFileManager;
using macos::NSURL;

namespace {

// A home that is not there is not made.
void makeFolder(const NSURL& folder) {
  if (pathExists(folder) || !pathExists(macos::Host::current().home())) {
    return;
  }
  // A folder that cannot be made shows when a file is written into it.
  (void)NSFileManager::defaultManager().createDirectoryAtURL(folder, true);
}

}  // namespace

// Named like the defaults' domain, so that both editions share it.
NSURL VKSettings::urlForSettingsFolderInDomain(unsigned domainMask, bool create) {
  const auto dirs = NSFileManager::defaultManager().URLsForDirectory(
      macos::NSSearchPathDirectory::ApplicationSupport, domainMask);
  if (dirs.empty()) {
    macos::NSLog("dirs.count > 0");
    std::abort();
  }
  NSURL folder = URLByResolvingLinksAndAliasFile(
      dirs.front().URLByAppendingPathComponentIsDirectory(defaults()->suiteName(), true));
  if (create) {
    makeFolder(folder);
  }
  return folder;
}

NSURL VKSettings::urlForFolderSet(const std::optional<std::string>& name, bool create) {
  NSURL folder = urlForSettingsFolderInDomain(macos::NSUserDomainMask, true);
  if (!name) {
    return folder;
  }
  NSURL setFolder = folder.URLByAppendingPathComponentIsDirectory(*name, true);
  if (!pathExists(setFolder) && *name == localizedDefaultSetName()) {
    setFolder = folder.URLByAppendingPathComponentIsDirectory(kDefaultSetName, true);
  }
  setFolder = URLByResolvingLinksAndAliasFile(setFolder);
  if (create) {
    makeFolder(setFolder);
  }
  return setFolder;
}

}  // namespace vennick
