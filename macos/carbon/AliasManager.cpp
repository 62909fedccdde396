// SPDX-License-Identifier: MIT
#include "macos/carbon/AliasManager.h"

#include <algorithm>
#include <ctime>
#include <vector>

#include "macos/carbon/FileReference.h"
#include "macos/foundation/AliasTarget.h"
#include "macos/foundation/Bookmark.h"
#include "macos/foundation/BookmarkData.h"
#include "macos/foundation/FileMetadata.h"
#include "macos/foundation/Path.h"
#include "macos/foundation/Text.h"
#include "macos/host/Host.h"

namespace macos {

namespace {

constexpr std::size_t kLongestMacVolumeName = 27;
constexpr std::size_t kLongestMacName = 63;
constexpr std::size_t kMostAliasFilesInAChain = 32;
constexpr std::int64_t kNanoseconds = 1'000'000'000;

constexpr std::uint16_t kFixedDisk = 0;
constexpr std::uint16_t kNetworkDisk = 1;
constexpr std::uint16_t kEjectableDisk = 5;

// The Mac's own form of a record's dates in version 2: whole seconds by the wall clock.
std::uint32_t localMacSeconds(UnixNanoseconds time) {
  const std::time_t seconds = static_cast<std::time_t>(time / kNanoseconds);
  std::tm local{};
  localtime_r(&seconds, &local);
  return static_cast<std::uint32_t>(seconds + local.tm_gmtoff + kMacEpochBefore1970);
}

// In the Mac encoding, with the Mac's letters for accented ones; nullopt when it cannot be written so.
std::optional<std::string> macName(std::string_view posixName) {
  std::string text = composed(posixName);
  std::replace(text.begin(), text.end(), ':', '/');
  return macRomanFromUTF8(text);
}

// From the volume's root; "" for the root itself.
std::string pathOnVolume(const ItemOnDisk& item, const VolumeInfo& volume) {
  if (volume.mountPoint == "/") return item.path.substr(1);
  return item.path.substr(volume.mountPoint.size());
}

std::optional<std::string> carbonPath(std::string_view volumeName, std::string_view pathOnVolume) {
  std::string path(volumeName);
  for (const std::string& component : pathComponents(pathOnVolume)) {
    if (component == "/") continue;
    const auto name = macName(component);
    if (!name) return std::nullopt;
    path += ":" + *name;
  }
  return path;
}

// Makes the record of one item.
class RecordMaker {
 public:
  explicit RecordMaker(const ItemOnDisk& item)
      : item_(item),
        volume_(volumeOfItem(item)),
        isVolumeRoot_(item.path == volume_.mountPoint),
        volumeName_(volume_.name.empty() ? kUnnamedBootVolume : std::string_view(volume_.name)),
        name_(isVolumeRoot_ ? volumeName_ : lastPathComponent(item.path)) {}

  AliasRecord make() const;

 private:
  void addIdentifiers(AliasRecord& record) const;
  void addNames(AliasRecord& record) const;
  bool addMacNames(AliasRecord& record) const;

  const ItemOnDisk& item_;
  VolumeInfo volume_;
  bool isVolumeRoot_;
  std::string volumeName_;
  std::string name_;
};

AliasRecord RecordMaker::make() const {
  AliasRecord record;
  record.isFolder = item_.info.isFolder();
  record.fileSystem = fourCharCode("H+\0\0");
  record.diskType = !volume_.isLocal ? kNetworkDisk : volume_.isEjectable ? kEjectableDisk : kFixedDisk;
  record.volumeAttributes = kAliasVolumeHasPersistentIDs | (volume_.isBoot ? kAliasVolumeIsBoot : 0) |
                            (volume_.isEjectable ? kAliasVolumeIsEjectable : 0);
  // Version 2 is understood by all; version 3 has room for every name.
  record.version = addMacNames(record) ? 2 : 3;
  addIdentifiers(record);
  addNames(record);
  return record;
}

bool RecordMaker::addMacNames(AliasRecord& record) const {
  const auto volumeName = macName(volumeName_);
  const auto name = macName(name_);
  if (!volumeName || volumeName->size() > kLongestMacVolumeName || !name || name->size() > kLongestMacName) {
    return false;
  }
  const std::string folder = pathByDeletingLastPathComponent(item_.path);
  const auto folderName =
      isVolumeRoot_ || folder == volume_.mountPoint ? volumeName : macName(lastPathComponent(folder));
  record.volumeName = *volumeName;
  record.targetName = *name;
  if (folderName) record.setField(AliasTag::ParentName, *folderName);
  return true;
}

void RecordMaker::addIdentifiers(AliasRecord& record) const {
  record.targetID = catalogIdentifier(item_.info, isVolumeRoot_);
  if (record.version == 2) {
    record.volumeCreatedLocal = localMacSeconds(volume_.created);
    record.targetCreatedLocal = localMacSeconds(item_.info.created);
    record.setDate(AliasTag::VolumeCreated, utcDateTime(volume_.created));
    record.setDate(AliasTag::TargetCreated, utcDateTime(item_.info.created));
  } else {
    record.volumeCreated = utcDateTime(volume_.created);
    record.targetCreated = utcDateTime(item_.info.created);
  }

  std::vector<std::uint32_t> identifiers;
  std::string folder = isVolumeRoot_ ? volume_.mountPoint : pathByDeletingLastPathComponent(item_.path);
  for (; folder != volume_.mountPoint && folder != "/"; folder = pathByDeletingLastPathComponent(folder)) {
    const auto info = Host::current().files().info(folder, FollowLinks::No);
    identifiers.push_back(info ? catalogIdentifier(*info, false) : 0);
  }
  record.parentID = isVolumeRoot_ ? fsRtParID : identifiers.empty() ? fsRtDirID : identifiers.front();
  record.setDirectoryIDs(identifiers);
}

void RecordMaker::addNames(AliasRecord& record) const {
  const std::string path = pathOnVolume(item_, volume_);
  if (record.version == 2) {
    if (auto carbon = carbonPath(record.volumeName, path)) {
      record.setField(AliasTag::CarbonPath, std::move(*carbon));
    }
  }
  record.setUnicodeName(AliasTag::UnicodeName, catalogName(name_));
  record.setUnicodeName(AliasTag::UnicodeVolumeName, catalogName(volumeName_));
  record.setField(AliasTag::PosixPath, path);
  record.setField(AliasTag::MountPoint, volume_.mountPoint);
}

// Whether path, name, volume, identifier or date differ from the record. What it does not record does not.
bool differs(const AliasRecord& record, const ItemOnDisk& item) {
  const VolumeInfo volume = volumeOfItem(item);
  const bool isVolumeRoot = item.path == volume.mountPoint;
  const std::u16string recordedVolume = aliasVolumeName(record);
  const std::u16string recordedName = aliasTargetName(record);
  const std::string recordedPath = aliasPath(record);
  const bool isOtherVolume =
      !recordedVolume.empty() && !volume.name.empty() && catalogName(volume.name) != recordedVolume;
  const bool hasOtherName =
      !recordedName.empty() && !isVolumeRoot && catalogName(lastPathComponent(item.path)) != recordedName;
  const bool hasOtherPath = !recordedPath.empty() && !isSameFileName(recordedPath, item.path, true);
  return isOtherVolume || hasOtherName || hasOtherPath ||
         (hasAliasIdentifier(record) && record.targetID != catalogIdentifier(item.info, isVolumeRoot)) ||
         !hasAliasCreationDate(record, item.info.created).value_or(true);
}

OSErr codeOf(AliasSearchResult result) {
  switch (result) {
    case AliasSearchResult::Found:
      return noErr;
    case AliasSearchResult::NoVolume:
      return nsvErr;
    case AliasSearchResult::NoFolder:
      return dirNFErr;
    case AliasSearchResult::NoItem:
      return fnfErr;
  }
  return fnfErr;
}

FSAliasInfo infoOf(const AliasRecord& record) {
  const bool isOld = record.version == 2;
  const auto has = [&](std::uint32_t bit) { return (record.volumeAttributes & bit) != 0; };
  FSAliasInfo info;
  info.volumeCreateDate =
      isOld ? record.date(AliasTag::VolumeCreated).value_or(UTCDateTime{record.volumeCreatedLocal} << 16)
            : record.volumeCreated;
  info.targetCreateDate =
      isOld ? record.date(AliasTag::TargetCreated).value_or(UTCDateTime{record.targetCreatedLocal} << 16)
            : record.targetCreated;
  info.fileType = record.fileType;
  info.fileCreator = record.fileCreator;
  info.parentDirID = record.parentID;
  info.nodeID = record.targetID;
  info.filesystemID = record.fileSystemID;
  info.signature = static_cast<std::uint16_t>(record.fileSystem >> 16);
  info.volumeIsBootVolume = has(kAliasVolumeIsBoot);
  info.volumeIsAutomounted = has(kAliasVolumeIsAutomounted);
  info.volumeIsEjectable = has(kAliasVolumeIsEjectable);
  info.volumeHasPersistentFileIDs = has(kAliasVolumeHasPersistentIDs);
  info.isDirectory = record.isFolder;
  return info;
}

constexpr FSAliasInfoBitmap kAllAliasInfo = kFSAliasInfoVolumeCreateDate | kFSAliasInfoTargetCreateDate |
                                            kFSAliasInfoFinderInfo | kFSAliasInfoIsDirectory |
                                            kFSAliasInfoIDs | kFSAliasInfoFSInfo | kFSAliasInfoVolumeFlags;
// Version 3 has no room for type and creator.
constexpr FSAliasInfoBitmap kVersion3AliasInfo = kAllAliasInfo & ~kFSAliasInfoFinderInfo;

// One step from an alias file or a link to what it leads to.
OSErr followAliasFile(const ItemOnDisk& aliasFile, FSRef* ref) {
  const NSURL url = NSURL::fileURLWithPathIsDirectory(aliasFile.path, false);
  NSError error;
  const auto bookmark = CFURLCreateBookmarkDataFromFile(url, &error);
  if (!bookmark) return error.code == NSFileReadCorruptFileError ? resNotFound : fnfErr;

  // A classic record is the Alias Manager's own to resolve, for its codes.
  const auto content = BookmarkData::decode(bookmark->bytes);
  const Value* alias = content ? content->find(BookmarkKey::AliasRecord) : nullptr;
  if (const auto bytes = alias != nullptr ? alias->ifData() : std::nullopt) {
    AliasHandle handle{std::string(*bytes)};
    return FSResolveAliasWithMountFlags(nullptr, handle, ref, nullptr, 0);
  }
  const auto target = URLByResolvingBookmarkData(*bookmark, 0);
  return target && CFURLGetFSRef(*target, ref) ? noErr : fnfErr;
}

bool isAliasOrLink(const ItemOnDisk& item) {
  return item.info.kind == FileKind::Link || isAliasFile(item.path, item.info);
}

}  // namespace

OSErr FSNewAlias(const FSRef*, const FSRef& target, AliasHandle* alias) {
  const auto item = itemOfReference(target);
  if (!item) return fnfErr;
  auto bytes = RecordMaker(*item).make().encode();
  if (!bytes) return memFullErr;
  alias->bytes = std::move(*bytes);
  return noErr;
}

OSErr FSUpdateAlias(const FSRef* fromFile, const FSRef& target, AliasHandle& alias, bool* wasChanged) {
  AliasHandle made;
  const OSErr code = FSNewAlias(fromFile, target, &made);
  if (code != noErr) return code;
  // The application's own mark stays.
  if (alias.bytes.size() >= sizeof(OSType)) {
    made.bytes.replace(0, sizeof(OSType), alias.bytes, 0, sizeof(OSType));
  }
  if (wasChanged != nullptr) *wasChanged = !(made == alias);
  alias = std::move(made);
  return noErr;
}

OSErr FSCopyAliasInfo(const AliasHandle& alias, HFSUniStr255* targetName, HFSUniStr255* volumeName,
                      std::string* path, FSAliasInfoBitmap* whichInfo, FSAliasInfo* info) {
  const auto record = AliasRecord::decode(alias.bytes);
  if (!record) return paramErr;
  if (targetName != nullptr) *targetName = aliasTargetName(*record);
  if (volumeName != nullptr) *volumeName = aliasVolumeName(*record);
  if (path != nullptr) *path = aliasPath(*record);
  if (whichInfo != nullptr) *whichInfo = record->version == 2 ? kAllAliasInfo : kVersion3AliasInfo;
  if (info != nullptr) *info = infoOf(*record);
  return noErr;
}

OSErr FSResolveAliasWithMountFlags(const FSRef* fromFile, AliasHandle& alias, FSRef* target, bool* wasChanged,
                                   unsigned mountFlags) {
  if (wasChanged != nullptr) *wasChanged = false;
  const auto record = AliasRecord::decode(alias.bytes);
  if (!record) return paramErr;
  AliasTarget found;
  const OSErr code =
      codeOf(findAliasTarget(*record, (mountFlags & kResolveAliasTryFileIDFirst) != 0, &found));
  if (code != noErr) return code;
  const auto item = itemOnDisk(found.path);
  if (!item) return resultCode(item.status());
  *target = referenceToItem(*item);
  if (!differs(*record, *item)) return noErr;
  if (wasChanged != nullptr) *wasChanged = true;
  return FSUpdateAlias(fromFile, *target, alias, nullptr);
}

OSErr FSIsAliasFile(const FSRef& ref, bool* aliasFileFlag, bool* folderFlag) {
  const auto item = itemOfReference(ref);
  if (!item) return fnfErr;
  if (aliasFileFlag != nullptr) *aliasFileFlag = isAliasOrLink(*item);
  if (folderFlag != nullptr) *folderFlag = item->info.isFolder();
  return noErr;
}

OSErr FSResolveAliasFileWithMountFlags(FSRef* ref, bool resolveAliasChains, bool* targetIsFolder,
                                       bool* wasAliased, unsigned) {
  if (wasAliased != nullptr) *wasAliased = false;
  std::vector<FileInfo> met;
  for (;;) {
    const auto item = itemOfReference(*ref);
    if (!item) return fnfErr;
    if (targetIsFolder != nullptr) *targetIsFolder = item->info.isFolder();
    if (!isAliasOrLink(*item) || (!met.empty() && !resolveAliasChains)) return noErr;

    const auto isItem = [&](const FileInfo& each) { return each.isSameItem(item->info); };
    if (std::any_of(met.begin(), met.end(), isItem) || met.size() == kMostAliasFilesInAChain) {
      return sameFileErr;
    }
    met.push_back(item->info);
    if (const OSErr code = followAliasFile(*item, ref); code != noErr) return code;
    if (wasAliased != nullptr) *wasAliased = true;
  }
}

}  // namespace macos
