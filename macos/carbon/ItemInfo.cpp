// SPDX-License-Identifier: MIT
#include "macos/carbon/ItemInfo.h"

#include "macos/carbon/FileReference.h"
#include "macos/foundation/FileManager.h"
#include "macos/foundation/FileMetadata.h"
#include "macos/foundation/Package.h"
#include "macos/foundation/Path.h"
#include "macos/foundation/Text.h"

namespace macos {

namespace {

constexpr OSType kApplicationType = fourCharCode("APPL");

LSItemInfoFlags flagsOfFile(const ItemOnDisk& item, const FinderInfo& finderInfo) {
  LSItemInfoFlags flags = kLSItemInfoIsPlainFile;
  if (isAliasFile(item.path, item.info)) {
    flags |= kLSItemInfoIsAliasFile;
  } else if (finderInfo.type() == kApplicationType) {
    flags |= kLSItemInfoIsApplication;
  }
  return flags;
}

LSItemInfoFlags flagsOfFolder(const ItemOnDisk& item, const FinderInfo& finderInfo) {
  LSItemInfoFlags flags = kLSItemInfoIsContainer;
  if (isPackage(item.path, item.info, finderInfo)) {
    flags |= kLSItemInfoIsPackage;
    if (lowercaseASCII(pathExtension(item.path)) == "app") {
      flags |= kLSItemInfoIsApplication | kLSItemInfoIsNativeApp;
    }
  }
  if (volumeOfItem(item).mountPoint == item.path) flags |= kLSItemInfoIsVolume;
  return flags;
}

LSItemInfoFlags flagsOf(const ItemOnDisk& item, const FinderInfo& finderInfo) {
  LSItemInfoFlags flags = 0;
  if (item.info.isFolder()) {
    flags = flagsOfFolder(item, finderInfo);
  } else if (item.info.kind == FileKind::Link) {
    flags = kLSItemInfoIsSymlink | kLSItemInfoIsAliasFile;
  } else {
    flags = flagsOfFile(item, finderInfo);
  }
  if (finderInfo.isInvisible() || lastPathComponent(item.path).starts_with('.')) {
    flags |= kLSItemInfoIsInvisible;
  }
  if (finderInfo.hidesExtension()) flags |= kLSItemInfoExtensionIsHidden;
  return flags;
}

void fillInfo(const ItemOnDisk& item, LSRequestedInfo which, LSItemInfoRecord& info) {
  const FinderInfo finderInfo = finderInfoAtPath(item.path);
  info = LSItemInfoRecord();
  info.flags = flagsOf(item, finderInfo);
  if ((which & kLSRequestExtension) != 0) info.extension = pathExtension(item.path);
  if ((which & kLSRequestTypeCreator) != 0 && item.info.kind == FileKind::File) {
    info.filetype = finderInfo.type();
    info.creator = finderInfo.creator();
  }
}

}  // namespace

OSStatus LSCopyItemInfoForRef(const FSRef& ref, LSRequestedInfo which, LSItemInfoRecord* info) {
  const auto item = itemOfReference(ref);
  if (!item) return fnfErr;
  fillInfo(*item, which, *info);
  return noErr;
}

OSStatus LSCopyItemInfoForURL(const NSURL& url, LSRequestedInfo which, LSItemInfoRecord* info) {
  const auto item = itemOnDisk(url.fileSystemRepresentation());
  if (!item) return resultCode(item.status());
  fillInfo(*item, which, *info);
  return noErr;
}

OSStatus LSCopyDisplayNameForRef(const FSRef& ref, std::string* name) {
  const auto item = itemOfReference(ref);
  if (!item) return fnfErr;
  *name = NSFileManager::defaultManager().displayNameAtPath(item->path);
  return noErr;
}

}  // namespace macos
