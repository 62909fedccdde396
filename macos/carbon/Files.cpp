// SPDX-License-Identifier: MIT
#include "macos/carbon/Files.h"

#include <algorithm>
#include <mutex>
#include <vector>

#include "macos/carbon/CatalogNames.h"
#include "macos/carbon/FileReference.h"
#include "macos/foundation/AliasTarget.h"
#include "macos/foundation/FileMetadata.h"
#include "macos/foundation/Path.h"
#include "macos/host/Host.h"

namespace macos {

namespace {

constexpr FSVolumeRefNum kFirstVolume = -100;  // downwards from there
constexpr std::int16_t kVolumeParametersVersion = 4;

// The number under which a volume goes in this process, by the place where it is mounted.
class VolumeNumbers {
 public:
  FSVolumeRefNum numberOf(const std::string& mountPoint) {
    const std::lock_guard lock(mutex_);
    const auto found = std::find(mountPoints_.begin(), mountPoints_.end(), mountPoint);
    const auto index = found - mountPoints_.begin();
    if (found == mountPoints_.end()) mountPoints_.push_back(mountPoint);
    return static_cast<FSVolumeRefNum>(kFirstVolume - index);
  }
  // "" for a number that was never given.
  std::string mountPointOf(FSVolumeRefNum number) {
    const std::lock_guard lock(mutex_);
    const int index = kFirstVolume - number;
    return index >= 0 && static_cast<std::size_t>(index) < mountPoints_.size()
               ? mountPoints_[static_cast<std::size_t>(index)]
               : "";
  }

 private:
  std::mutex mutex_;
  std::vector<std::string> mountPoints_;
};

std::optional<VolumeInfo> mountedVolume(FSVolumeRefNum number) {
  const std::string mountPoint = hostLocal<VolumeNumbers>().mountPointOf(number);
  for (VolumeInfo& volume : Host::current().volumes().volumes()) {
    if (volume.mountPoint == mountPoint) return std::move(volume);
  }
  return std::nullopt;
}

std::uint32_t parentIdentifier(const ItemOnDisk& item, const VolumeInfo& volume) {
  if (item.path == volume.mountPoint) return fsRtParID;
  const std::string folder = pathByDeletingLastPathComponent(item.path);
  if (folder == volume.mountPoint) return fsRtDirID;
  const auto info = Host::current().files().info(folder, FollowLinks::No);
  return info ? catalogIdentifier(*info, false) : 0;
}

void fillCatalogInfo(const ItemOnDisk& item, FSCatalogInfoBitmap whichInfo, const VolumeInfo& volume,
                     FSCatalogInfo& info) {
  const auto wants = [&](FSCatalogInfoBitmap bit) { return (whichInfo & bit) != 0; };
  if (wants(kFSCatInfoNodeFlags)) {
    info.nodeFlags = static_cast<std::uint16_t>((item.info.isFolder() ? kFSNodeIsDirectoryMask : 0) |
                                                (item.info.immutable ? kFSNodeLockedMask : 0));
  }
  if (wants(kFSCatInfoVolume)) info.volume = hostLocal<VolumeNumbers>().numberOf(volume.mountPoint);
  if (wants(kFSCatInfoParentDirID)) info.parentDirID = parentIdentifier(item, volume);
  if (wants(kFSCatInfoNodeID)) info.nodeID = catalogIdentifier(item.info, item.path == volume.mountPoint);
  if (wants(kFSCatInfoCreateDate)) info.createDate = utcDateTime(item.info.created);
  if (wants(kFSCatInfoContentMod)) info.contentModDate = utcDateTime(item.info.modified);
  if (wants(kFSCatInfoFinderInfo)) info.finderInfo = finderInfoAtPath(item.path);
}

HFSUniStr255 nameOf(const ItemOnDisk& item, const VolumeInfo& volume) {
  if (item.path != volume.mountPoint) return catalogName(lastPathComponent(item.path));
  return catalogName(volume.name.empty() ? kUnnamedBootVolume : volume.name);
}

// Zeroed for the root of a volume.
OSErr parentOf(const ItemOnDisk& item, const VolumeInfo& volume, FSRef& parent) {
  parent = FSRef();
  if (item.path == volume.mountPoint) return noErr;
  const std::string folder = pathByDeletingLastPathComponent(item.path);
  const auto info = Host::current().files().info(folder, FollowLinks::No);
  if (!info) return dirNFErr;
  parent = referenceToItem({.path = folder, .info = *info});
  return noErr;
}

}  // namespace

bool CFURLGetFSRef(const NSURL& url, FSRef* ref) {
  return url.isFileURL() && FSPathMakeRef(url.fileSystemRepresentation(), ref) == noErr;
}

std::optional<NSURL> CFURLCreateFromFSRef(const FSRef& ref) {
  const auto item = itemOfReference(ref);
  if (!item) return std::nullopt;
  return NSURL::fileURLWithPathIsDirectory(item->path, item->info.isFolder());
}

OSErr FSPathMakeRef(std::string_view path, FSRef* ref, bool* isDirectory) {
  if (path.empty()) return fnfErr;
  const auto item = itemOnDisk(path);
  if (!item) return resultCode(item.status());
  *ref = referenceToItem(*item);
  if (isDirectory != nullptr) *isDirectory = item->info.isFolder();
  return noErr;
}

OSErr FSRefMakePath(const FSRef& ref, std::string* path) {
  const auto item = itemOfReference(ref);
  if (!item) return fnfErr;
  *path = item->path;
  return noErr;
}

OSErr FSMakeFSRefUnicode(const FSRef& parent, const HFSUniStr255& name, FSRef* ref) {
  const auto diskName = nameOnDisk(name);
  if (!diskName) return bdNamErr;
  const auto folder = itemOfReference(parent);
  if (!folder) return dirNFErr;
  if (!folder->info.isFolder()) return errFSNotAFolder;
  return FSPathMakeRef(pathByAppendingComponent(folder->path, *diskName), ref);
}

OSErr FSGetCatalogInfo(const FSRef& ref, FSCatalogInfoBitmap whichInfo, FSCatalogInfo* info,
                       HFSUniStr255* name, FSRef* parent) {
  const auto item = itemOfReference(ref);
  if (!item) return fnfErr;
  constexpr FSCatalogInfoBitmap kOfTheVolume = kFSCatInfoVolume | kFSCatInfoParentDirID | kFSCatInfoNodeID;
  const bool needsVolume =
      (info != nullptr && (whichInfo & kOfTheVolume) != 0) || name != nullptr || parent != nullptr;
  const VolumeInfo volume = needsVolume ? volumeOfItem(*item) : VolumeInfo();
  if (info != nullptr) fillCatalogInfo(*item, whichInfo, volume, *info);
  if (name != nullptr) *name = nameOf(*item, volume);
  return parent != nullptr ? parentOf(*item, volume, *parent) : noErr;
}

OSErr FSGetVolumeInfo(FSVolumeRefNum volume, HFSUniStr255* name, FSRef* rootDirectory) {
  const auto mounted = mountedVolume(volume);
  if (!mounted || (name != nullptr && mounted->name.empty())) return nsvErr;
  if (name != nullptr) *name = catalogName(mounted->name);
  return rootDirectory != nullptr ? FSPathMakeRef(mounted->mountPoint, rootDirectory) : noErr;
}

OSErr FSGetVolumeParms(FSVolumeRefNum volume, GetVolParmsInfoBuffer* buffer) {
  const auto mounted = mountedVolume(volume);
  if (!mounted) return nsvErr;
  // Only whether there is an address means anything here.
  *buffer = {.vMVersion = kVolumeParametersVersion, .vMServerAdr = mounted->isLocal ? 0U : 1U};
  return noErr;
}

}  // namespace macos
