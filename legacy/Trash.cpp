// SPDX-License-Identifier: MIT
#include "legacy/Trash.h"

#include <vector>

#include "legacy/CopyNames.h"
#include "legacy/FinderRequests.h"
#include "macos/carbon/FileChanges.h"
#include "macos/carbon/FileIterator.h"
#include "macos/carbon/Folders.h"

namespace vennick {

namespace {

using macos::FSRef;
using macos::OSErr;

constexpr int kMostMoves = 999;

OSErr deleteContents(const FSRef& folder) {
  macos::FSIterator iterator;
  OSErr code = macos::FSOpenIterator(folder, &iterator);
  std::vector<macos::CatalogItem> items;
  while (code == macos::noErr) {
    // One at a time: what somebody else takes away meanwhile is passed over.
    code = macos::FSGetCatalogInfoBulk(iterator, 1, macos::kFSCatInfoNone, &items);
    if (code == macos::noErr) {
      code = DeleteObjectRecursively(&items.front().ref);
    }
  }
  return code == macos::errFSNoMoreItems ? macos::noErr : code;
}

OSErr findTrash(macos::FSVolumeRefNum volume, FSRef* trash) {
  const OSErr code = macos::FSFindFolder(volume, macos::kTrashFolderType, true, trash);
  if (code == macos::noErr) {
    return code;
  }
  return macos::FSFindFolder(macos::kUserDomain, macos::kTrashFolderType, true, trash);
}

OSErr copyToTrash(FSRef& ref, const FSRef& trash) {
  FSRef copy;
  OSErr code = macos::FSCopyObjectSync(ref, trash, nullptr, &copy, macos::kFSFileOperationOverwrite);
  if (code != macos::noErr) {
    return code;
  }
  code = DeleteObjectRecursively(&ref);
  if (code == macos::noErr) {
    ref = copy;
  }
  return code;
}

// Every failure is taken for a name that is taken, and a rename that fails for none; deliberately.
OSErr moveToTrashOfVolume(FSRef& ref, const FSRef& trash, const macos::HFSUniStr255& name) {
  OSErr code = macos::FSMoveObject(ref, trash, &ref);
  for (int number = 1; code != macos::noErr && number < kMostMoves; ++number) {
    if (const auto newName = nameOfCopy(name, number)) {
      (void)macos::FSRenameUnicode(ref, *newName, &ref);
    }
    code = macos::FSMoveObject(ref, trash, &ref);
  }
  return code;
}

}  // namespace

OSErr DeleteObjectRecursively(const FSRef* ref) {
  if (ref == nullptr) {
    return macos::paramErr;
  }
  macos::FSCatalogInfo info;
  OSErr code = macos::FSGetCatalogInfo(*ref, macos::kFSCatInfoNodeFlags, &info, nullptr, nullptr);
  if (code == macos::noErr && (info.nodeFlags & macos::kFSNodeIsDirectoryMask) != 0) {
    code = deleteContents(*ref);
  }
  if (code != macos::noErr) {
    return code;
  }
  if ((info.nodeFlags & macos::kFSNodeLockedMask) != 0) {
    info.nodeFlags = static_cast<std::uint16_t>(info.nodeFlags & ~macos::kFSNodeLockedMask);
    // What stays locked is not deleted.
    (void)macos::FSSetCatalogInfo(*ref, macos::kFSCatInfoNodeFlags, info);
  }
  return macos::FSDeleteObject(*ref);
}

OSErr MoveToTrash(FSRef& ref, bool useFinder) {
  if (useFinder && isFinderRunning() && AskFinderToMoveToTrash(ref) == macos::noErr) {
    return macos::noErr;
  }
  macos::FSCatalogInfo info;
  macos::HFSUniStr255 name;
  OSErr code = macos::FSGetCatalogInfo(ref, macos::kFSCatInfoVolume, &info, &name, nullptr);
  if (code != macos::noErr) {
    return code;
  }
  FSRef trash;
  macos::FSCatalogInfo trashInfo;
  code = findTrash(info.volume, &trash);
  if (code == macos::noErr) {
    code = macos::FSGetCatalogInfo(trash, macos::kFSCatInfoVolume, &trashInfo, nullptr, nullptr);
  }
  if (code != macos::noErr) {
    return code;
  }
  return trashInfo.volume == info.volume ? moveToTrashOfVolume(ref, trash, name) : copyToTrash(ref, trash);
}

}  // namespace vennick
