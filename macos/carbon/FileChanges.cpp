// SPDX-License-Identifier: MIT
#include "macos/carbon/FileChanges.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <limits>
#include <vector>

#include "macos/carbon/AppleDouble.h"
#include "macos/carbon/CatalogNames.h"
#include "macos/carbon/FileReference.h"
#include "macos/carbon/ResourceFork.h"
#include "macos/foundation/FileMetadata.h"
#include "macos/foundation/ItemCopying.h"
#include "macos/foundation/Path.h"
#include "macos/foundation/Value.h"
#include "macos/host/Host.h"

namespace macos {

namespace {

constexpr std::uint32_t kNewFileMode = 0666;
constexpr std::int64_t kNanosecondsPerSecond = 1'000'000'000;
constexpr int kFractionBits = 16;

// The code for a change to the item that the host did not carry out.
OSErr codeOfChange(const Status& status, const FileInfo& item) {
  if (status.code() == ErrorCode::PermissionDenied && item.immutable) return fLckdErr;
  switch (status.errnoValue()) {
    case EXDEV:
      return diffVolErr;
    case ENOTEMPTY:
    case EBUSY:
      return fBsyErr;
    case ENOSPC:
    case EDQUOT:
      return dskFulErr;
    default:
      return resultCode(status);
  }
}

OSErr folderOfReference(const FSRef& ref, ItemOnDisk* folder) {
  auto item = itemOfReference(ref);
  if (!item) return dirNFErr;
  if (!item->info.isFolder()) return errFSNotAFolder;
  *folder = std::move(*item);
  return noErr;
}

bool liesIn(const std::string& path, const std::string& folder) {
  return path == folder || folder == "/" || path.starts_with(folder + "/");
}

bool isVolumeRoot(const ItemOnDisk& item) { return volumeOfItem(item).mountPoint == item.path; }

// What stands at a path where something is to appear.
struct Place {
  std::string occupant;  // the item's path as the disk spells it; "" for none
  std::string partner;   // the occupant's, or one without an item; "" for none

  bool isFree() const { return occupant.empty() && partner.empty(); }
};

OSErr look(const std::string& path, Place* place) {
  const std::string there = pathAsOnDisk(path);
  const auto info = Host::current().files().info(there, FollowLinks::No);
  if (!info && !info.status().isNotFound()) return resultCode(info.status());
  *place = {.occupant = info ? there : "", .partner = existingPartner(Host::current().files(), there)};
  return noErr;
}

// Renames the item and its partner, or neither of them.
OSErr renameWithPartner(const ItemOnDisk& item, const std::string& to, FileSystem::Replace replace) {
  const std::string partner = existingPartner(Host::current().files(), item.path);
  const std::string newPartner = partnerPath(to);
  if (!partner.empty() && newPartner.empty()) return bdNamErr;
  if (const Status moved = Host::current().files().rename(item.path, to, replace); !moved.ok()) {
    return codeOfChange(moved, item.info);
  }
  if (partner.empty()) return noErr;
  const Status followed = Host::current().files().rename(partner, newPartner, replace);
  if (followed.ok()) return noErr;
  (void)Host::current().files().rename(to, item.path, replace);
  return codeOfChange(followed, item.info);
}

// Renames the item to a path where there is nothing but, at most, the item itself or its own partner.
OSErr renameToPlace(const ItemOnDisk& item, const std::string& to, FSRef* newRef) {
  Place place;
  if (const OSErr code = look(to, &place); code != noErr) return code;
  const bool isRespelling = place.occupant == item.path;
  const bool isOwnPartner = place.occupant.empty() && place.partner == item.path;
  if (!place.isFree() && !isRespelling && !isOwnPartner) return dupFNErr;
  const auto replace = isRespelling ? FileSystem::Replace::Yes : FileSystem::Replace::No;
  if (to != item.path) {
    if (const OSErr code = renameWithPartner(item, to, replace); code != noErr) return code;
  }
  if (newRef != nullptr) *newRef = referenceToItem({.path = to, .info = item.info});
  return noErr;
}

// A name beside a path that is nobody else's: the process and the time are in it.
std::string hiddenNeighbour(const std::string& path, std::string_view purpose) {
  const std::string name = "." + std::string(purpose) + "-" + std::to_string(::getpid()) + "-" +
                           std::to_string(Host::current().clock().monotonic());
  return pathByAppendingComponent(pathByDeletingLastPathComponent(path), name);
}

// What has a name, kept under another one until its successor is in place.
class Predecessor {
 public:
  Predecessor(const Place& place, const std::string& aside) {
    if (!place.occupant.empty()) moves_.push_back({place.occupant, aside});
    if (!place.partner.empty()) moves_.push_back({place.partner, partnerPath(aside)});
  }

  OSErr setAside() {
    for (; done_ < moves_.size(); ++done_) {
      const auto& [from, to] = moves_[done_];
      const auto info = Host::current().files().info(from, FollowLinks::No);
      const Status moved = Host::current().files().rename(from, to, FileSystem::Replace::No);
      if (!moved.ok()) return codeOfChange(moved, info ? *info : FileInfo());
    }
    return noErr;
  }
  void putBack() {
    for (; done_ > 0; --done_) {
      (void)Host::current().files().rename(moves_[done_ - 1].to, moves_[done_ - 1].from,
                                           FileSystem::Replace::No);
    }
  }
  void remove() {
    for (const Move& move : moves_) (void)removeWithPartner(Host::current().files(), move.to);
  }

 private:
  struct Move {
    std::string from;
    std::string to;
  };
  std::vector<Move> moves_;
  std::size_t done_ = 0;
};

// Puts the finished copy into its place, over what is there.
OSErr putInPlace(const std::string& copy, const std::string& path, const Place& place) {
  const auto info = Host::current().files().info(copy, FollowLinks::No);
  if (!info) return resultCode(info.status());
  Predecessor predecessor(place, hiddenNeighbour(path, "old"));
  OSErr code = predecessor.setAside();
  if (code == noErr) code = renameWithPartner({.path = copy, .info = *info}, path, FileSystem::Replace::No);
  if (code != noErr) {
    predecessor.putBack();
    return code;
  }
  predecessor.remove();
  return noErr;
}

OSErr copyToPlace(const ItemOnDisk& item, const std::string& path, const Place& place) {
  const std::string copy = hiddenNeighbour(path, "copy");
  OSErr code = noErr;
  if (const Status copied = copyWithPartner(Host::current().files(), item.path, copy); !copied.ok()) {
    code = codeOfChange(copied, item.info);
  } else {
    code = putInPlace(copy, path, place);
  }
  if (code != noErr) (void)removeWithPartner(Host::current().files(), copy);
  return code;
}

// The partner first: no file of the name is ever seen without what belongs to it.
Status createWithPartner(const std::string& path, const std::string& partner, std::string_view content) {
  if (Status made = Host::current().files().create(partner, content, kNewFileMode); !made.ok()) return made;
  Status made = Host::current().files().create(path, "", kNewFileMode);
  if (!made.ok()) (void)Host::current().files().removeFile(partner);
  return made;
}

// Where the host has no room for the partner's name. What belongs to the file must then find a place in its
// attributes.
Status createWithoutPartner(const std::string& path, const AppleDouble& content) {
  Status made = Host::current().files().create(path, "", kNewFileMode);
  if (!made.ok()) return made;
  made = setFinderInfo(path, content.finderInfo);
  if (made.ok()) made = setResourceFork(path, content.resourceFork);
  if (made.ok()) return made;
  (void)Host::current().files().removeFile(path);
  return {ErrorCode::InvalidArgument, path, "the name is too long for what belongs to the file"};
}

// The date as the host has it; the format has more room before 1970 than behind 2262.
UnixNanoseconds unixTime(UTCDateTime date) {
  const auto seconds = static_cast<std::int64_t>(date >> kFractionBits) - kMacEpochBefore1970;
  const auto fraction = static_cast<std::int64_t>(date & ((1U << kFractionBits) - 1));
  constexpr std::int64_t kLastSecond =
      std::numeric_limits<UnixNanoseconds>::max() / kNanosecondsPerSecond - 1;
  return std::min(seconds, kLastSecond) * kNanosecondsPerSecond +
         (fraction * kNanosecondsPerSecond >> kFractionBits);
}

OSErr setLocked(const ItemOnDisk& item, bool locked) {
  if (item.info.immutable == locked) return noErr;
  const Status status = Host::current().files().setImmutable(item.path, locked);
  return status.ok() ? noErr : codeOfChange(status, item.info);
}

}  // namespace

OSErr FSMoveObject(const FSRef& ref, const FSRef& destination, FSRef* newRef) {
  const auto item = itemOfReference(ref);
  if (!item) return fnfErr;
  ItemOnDisk folder;
  if (const OSErr code = folderOfReference(destination, &folder); code != noErr) return code;
  if (isVolumeRoot(*item) || liesIn(folder.path, item->path)) return badMovErr;
  if (volumeOfItem(*item).mountPoint != volumeOfItem(folder).mountPoint) return diffVolErr;
  return renameToPlace(*item, pathByAppendingComponent(folder.path, lastPathComponent(item->path)), newRef);
}

OSErr FSRenameUnicode(const FSRef& ref, const HFSUniStr255& name, FSRef* newRef) {
  const auto item = itemOfReference(ref);
  if (!item) return fnfErr;
  const auto newName = nameOnDisk(name);
  if (!newName) return bdNamErr;
  if (isVolumeRoot(*item)) return badMovErr;
  const std::string folder = pathByDeletingLastPathComponent(item->path);
  return renameToPlace(*item, pathByAppendingComponent(folder, *newName), newRef);
}

OSErr FSDeleteObject(const FSRef& ref) {
  const auto item = itemOfReference(ref);
  if (!item) return fnfErr;
  if (item->info.immutable) return fLckdErr;
  const std::string partner = existingPartner(Host::current().files(), item->path);
  Status status = item->info.isFolder() ? Host::current().files().removeFolder(item->path)
                                        : Host::current().files().removeFile(item->path);
  if (!status.ok()) return codeOfChange(status, item->info);
  if (!partner.empty()) status = Host::current().files().removeFile(partner);
  return status.ok() || status.isNotFound() ? noErr : codeOfChange(status, item->info);
}

OSErr FSCopyObjectSync(const FSRef& source, const FSRef& destination, const HFSUniStr255* name, FSRef* target,
                       OptionBits options) {
  const auto item = itemOfReference(source);
  if (!item) return fnfErr;
  ItemOnDisk folder;
  if (const OSErr code = folderOfReference(destination, &folder); code != noErr) return code;
  const auto newName = name != nullptr ? nameOnDisk(*name) : std::optional(lastPathComponent(item->path));
  if (!newName) return bdNamErr;
  if (item->info.isFolder() && liesIn(folder.path, item->path)) return badMovErr;

  const std::string path = pathByAppendingComponent(folder.path, *newName);
  Place place;
  if (const OSErr code = look(path, &place); code != noErr) return code;
  const bool mayReplace = (options & kFSFileOperationOverwrite) != 0 && place.occupant != item->path &&
                          place.partner != item->path;
  if (!place.isFree() && !mayReplace) return dupFNErr;
  if (const OSErr code = copyToPlace(*item, path, place); code != noErr) return code;
  return target != nullptr ? FSPathMakeRef(path, target) : noErr;
}

OSErr FSCreateResFile(const FSRef& parent, const HFSUniStr255& name, FSCatalogInfoBitmap whichInfo,
                      const FSCatalogInfo* info, FSRef* newRef) {
  const auto newName = nameOnDisk(name);
  if (!newName) return bdNamErr;
  ItemOnDisk folder;
  if (const OSErr code = folderOfReference(parent, &folder); code != noErr) return code;
  const std::string path = pathByAppendingComponent(folder.path, *newName);
  const std::string partner = partnerPath(path);
  if (partner.empty()) return bdNamErr;
  Place place;
  if (const OSErr code = look(path, &place); code != noErr) return code;
  if (!place.isFree()) return dupFNErr;

  AppleDouble content;
  if (info != nullptr && (whichInfo & kFSCatInfoFinderInfo) != 0) content.finderInfo = info->finderInfo;
  content.resourceFork = ResourceFork().encode().valueOr({});
  Status made = createWithPartner(path, partner, content.encode().valueOr({}));
  if (made.errnoValue() == ENAMETOOLONG) made = createWithoutPartner(path, content);
  if (!made.ok()) return codeOfChange(made, folder.info);
  return newRef != nullptr ? FSPathMakeRef(path, newRef) : noErr;
}

OSErr FSSetCatalogInfo(const FSRef& ref, FSCatalogInfoBitmap whichInfo, const FSCatalogInfo& info) {
  const auto item = itemOfReference(ref);
  if (!item) return fnfErr;
  if ((whichInfo & kFSCatInfoNodeFlags) != 0) {
    const OSErr code = setLocked(*item, (info.nodeFlags & kFSNodeLockedMask) != 0);
    if (code != noErr) return code;
  }
  Status status;
  if ((whichInfo & kFSCatInfoContentMod) != 0) {
    status = Host::current().files().setModified(item->path, unixTime(info.contentModDate));
  }
  if (status.ok() && (whichInfo & kFSCatInfoFinderInfo) != 0) {
    status = setFinderInfo(item->path, info.finderInfo);
  }
  return status.ok() ? noErr : codeOfChange(status, item->info);
}

UTCDateTime UCConvertCFAbsoluteTimeToUTCDateTime(double absoluteTime) {
  const double seconds = absoluteTime + kReferenceDateSince1970 + static_cast<double>(kMacEpochBefore1970);
  const double units = std::floor(std::ldexp(seconds, kFractionBits));
  // Written so that no number is none either.
  if (!(units > 0)) return 0;
  constexpr double kBeyondTheLast = 18446744073709551616.0;
  return units < kBeyondTheLast ? static_cast<UTCDateTime>(units) : ~UTCDateTime{0};
}

}  // namespace macos
