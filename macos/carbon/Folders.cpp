// SPDX-License-Identifier: MIT
#include "macos/carbon/Folders.h"

#include "macos/carbon/FileReference.h"
#include "macos/foundation/Path.h"
#include "macos/host/Host.h"

namespace macos {

namespace {

constexpr std::uint32_t kPrivateMode = 0700;
// Everybody may add a folder, nobody may list them or remove another's.
constexpr std::uint32_t kTrashesMode = 01333;

// The folder at the path, which is made when it is missing and may be.
OSErr findFolder(const std::string& path, bool createFolder, std::uint32_t mode) {
  auto info = Host::current().files().info(path, FollowLinks::No);
  if (!info && info.status().isNotFound() && createFolder) {
    if (const Status made = Host::current().files().makeFolder(path, mode);
        !made.ok() && made.code() != ErrorCode::AlreadyExists) {
      return resultCode(made);
    }
    // Whatever the umask took away.
    (void)Host::current().files().setMode(path, mode);
    info = Host::current().files().info(path, FollowLinks::No);
  }
  if (!info) return resultCode(info.status());
  return info->isFolder() ? noErr : errFSNotAFolder;
}

OSErr findTrashOfUser(bool createFolder, FSRef* folder) {
  const std::string path = pathByAppendingComponent(pathAsOnDisk(Host::current().home()), ".Trash");
  const OSErr code = findFolder(path, createFolder, kPrivateMode);
  return code == noErr ? FSPathMakeRef(path, folder) : code;
}

OSErr findTrashOfVolume(const std::string& mountPoint, std::uint32_t userID, bool createFolder,
                        FSRef* folder) {
  const std::string trashes = pathByAppendingComponent(mountPoint, ".Trashes");
  OSErr code = findFolder(trashes, createFolder, kTrashesMode);
  if (code != noErr) return code;
  const std::string path = pathByAppendingComponent(trashes, std::to_string(userID));
  code = findFolder(path, createFolder, kPrivateMode);
  return code == noErr ? FSPathMakeRef(path, folder) : code;
}

}  // namespace

OSErr FSFindFolder(FSVolumeRefNum volume, OSType folderType, bool createFolder, FSRef* folder) {
  if (folderType != kTrashFolderType) return fnfErr;
  if (volume == kUserDomain) return findTrashOfUser(createFolder, folder);
  FSRef root;
  std::string mountPoint;
  if (FSGetVolumeInfo(volume, nullptr, &root) != noErr || FSRefMakePath(root, &mountPoint) != noErr) {
    return nsvErr;
  }
  const std::string home = pathAsOnDisk(Host::current().home());
  const auto owner = Host::current().files().info(home, FollowLinks::Yes);
  if (!owner) return resultCode(owner.status());
  if (Host::current().volumes().volumeForPath(home).mountPoint == mountPoint) {
    return findTrashOfUser(createFolder, folder);
  }
  return findTrashOfVolume(mountPoint, owner->userID, createFolder, folder);
}

}  // namespace macos
