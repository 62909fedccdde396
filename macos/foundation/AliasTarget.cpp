// SPDX-License-Identifier: MIT
#include "macos/foundation/AliasTarget.h"

#include <algorithm>
#include <vector>

#include "macos/foundation/Path.h"
#include "macos/foundation/Text.h"
#include "macos/host/Host.h"

namespace macos {

namespace {

constexpr std::string_view kVolumesFolder = "/Volumes";
constexpr std::int64_t kSecondsPerHour = 3600;
constexpr std::int64_t kSecondsPerDay = 24 * kSecondsPerHour;
constexpr std::int64_t kNanoseconds = 1'000'000'000;

std::int64_t floorDivide(std::int64_t a, std::int64_t b) {
  return a / b - (a % b != 0 && (a % b < 0) != (b < 0));
}

std::int64_t unixSeconds(UTCDateTime date) {
  return static_cast<std::int64_t>(date >> 16) - kMacEpochBefore1970;
}

std::string withoutLeadingSlashes(std::string_view path) {
  const std::size_t start = path.find_first_not_of('/');
  return start == std::string_view::npos ? "" : std::string(path.substr(start));
}

// "Volume:folder:file" as a path from the volume's root. Old writers put zero bytes into it.
std::string pathOfCarbonPath(std::string_view bytes) {
  std::string text(bytes);
  std::erase(text, '\0');
  text = utf8FromMacRoman(text);
  std::string path;
  for (std::size_t start = std::min(text.find(':'), text.size()); start < text.size();) {
    const std::size_t end = std::min(text.find(':', start + 1), text.size());
    std::string component = text.substr(start + 1, end - start - 1);
    std::replace(component.begin(), component.end(), '/', ':');
    if (!component.empty()) path += (path.empty() ? "" : "/") + component;
    start = end;
  }
  return path;
}

// From the volume's root, without slashes at its start; nullopt when the record has no path.
std::optional<std::string> pathOnVolume(const AliasRecord& record) {
  if (const auto path = record.field(AliasTag::PosixPath)) return withoutLeadingSlashes(*path);
  if (const auto path = record.field(AliasTag::CarbonPath)) return pathOfCarbonPath(*path);
  return std::nullopt;
}

// Where the volume was mounted; "" when the record does not even name it.
std::string mountPoint(const AliasRecord& record) {
  if (const auto place = record.field(AliasTag::MountPoint)) {
    return std::string(withoutTrailingSlashes("/" + withoutLeadingSlashes(*place)));
  }
  if ((record.volumeAttributes & kAliasVolumeIsBoot) != 0) return "/";
  const std::u16string name = aliasVolumeName(record);
  return name.empty() ? "" : pathByAppendingComponent(kVolumesFolder, posixNameFromCatalog(name));
}

std::u16string catalogNameFromMac(std::string_view name) {
  return utf16FromUTF8(decomposedForFileSystem(utf8FromMacRoman(name)));
}

std::u16string recordedName(const AliasRecord& record, AliasTag tag, const std::string& macName) {
  const auto name = record.unicodeName(tag);
  return name ? catalogName(utf8FromUTF16(*name)) : catalogNameFromMac(macName);
}

// Seconds since 1970; of a version 2 record without an exact date they are local ones.
std::optional<std::int64_t> recordedCreation(const AliasRecord& record) {
  UTCDateTime date = record.targetCreated;
  if (record.version == 2) {
    date = record.date(AliasTag::TargetCreated).value_or(UTCDateTime{record.targetCreatedLocal} << 16);
  }
  return date == 0 ? std::nullopt : std::optional(unixSeconds(date));
}

// One search for one record's target.
class AliasSearch {
 public:
  AliasSearch(const AliasRecord& record, bool identifierFirst)
      : record_(record), identifierFirst_(identifierFirst), files_(Host::current().files()) {}

  AliasSearchResult find(AliasTarget& target);

 private:
  bool findVolume();
  AliasSearchResult findVolumeRoot(AliasTarget& target);
  AliasSearchResult findInFolder(std::string_view folder, std::string_view name, AliasTarget& target);
  std::optional<std::string> folderByIdentifiers();
  std::optional<AliasTarget> itemByName(std::string_view folder, std::string_view name);
  std::optional<AliasTarget> itemByIdentifier(std::string_view folder, std::uint64_t device);

  const AliasRecord& record_;
  bool identifierFirst_;
  FileSystem& files_;
  std::string volume_;  // where it is mounted now
};

AliasSearchResult AliasSearch::find(AliasTarget& target) {
  if (!findVolume()) return AliasSearchResult::NoVolume;
  if (const auto path = pathOnVolume(record_)) {
    if (path->empty()) return findVolumeRoot(target);
    const std::string whole = pathByAppendingComponent(volume_, *path);
    return findInFolder(pathByDeletingLastPathComponent(whole), lastPathComponent(whole), target);
  }
  const auto folder = folderByIdentifiers();
  if (!folder) return AliasSearchResult::NoFolder;
  return findInFolder(*folder, posixNameFromCatalog(aliasTargetName(record_)), target);
}

bool AliasSearch::findVolume() {
  const std::string recorded = mountPoint(record_);
  const std::vector<VolumeInfo> volumes = Host::current().volumes().volumes();
  for (const VolumeInfo& volume : volumes) {
    if (volume.mountPoint != recorded) continue;
    volume_ = recorded;
    return true;
  }
  const std::u16string name = aliasVolumeName(record_);
  for (const VolumeInfo& volume : volumes) {
    if (name.empty() || volume.name.empty() || catalogName(volume.name) != name) continue;
    volume_ = volume.mountPoint;
    return true;
  }
  // Another way to a volume, such as a second link in /Volumes.
  const auto folder = recorded.empty() ? std::nullopt : std::optional(itemInfo(recorded, FollowLinks::Yes));
  if (!folder || !folder->ok() || !(*folder)->isFolder()) return false;
  volume_ = recorded;
  return true;
}

AliasSearchResult AliasSearch::findVolumeRoot(AliasTarget& target) {
  const auto item = files_.info(volume_, FollowLinks::Yes);
  if (!item) return AliasSearchResult::NoVolume;
  target = {.path = volume_, .item = *item};
  return AliasSearchResult::Found;
}

AliasSearchResult AliasSearch::findInFolder(std::string_view recordedFolder, std::string_view name,
                                            AliasTarget& target) {
  std::string folder(recordedFolder);
  auto folderInfo = files_.info(folder, FollowLinks::Yes);
  if (!folderInfo) {
    folder = pathAsOnDisk(folder);
    folderInfo = files_.info(folder, FollowLinks::Yes);
  }
  if (!folderInfo || !folderInfo->isFolder()) return AliasSearchResult::NoFolder;
  std::optional<AliasTarget> found = itemByName(folder, name);

  const bool canHaveAnotherName =
      hasAliasIdentifier(record_) && catalogIdentifier(*folderInfo, folder == volume_) == record_.parentID;
  const bool isTheRecordedItem = found && catalogIdentifier(found->item, false) == record_.targetID;
  if (canHaveAnotherName && !isTheRecordedItem && (identifierFirst_ || !found)) {
    auto other = itemByIdentifier(folder, folderInfo->device);
    if (other) found = std::move(other);
  }
  if (!found) return AliasSearchResult::NoItem;
  target = std::move(*found);
  return AliasSearchResult::Found;
}

std::optional<std::string> AliasSearch::folderByIdentifiers() {
  if (record_.parentID == kVolumeRootIdentifier) return volume_;
  const std::vector<std::uint32_t> identifiers = record_.directoryIDs();
  if (identifiers.empty() || identifiers.front() != record_.parentID) return std::nullopt;
  std::string folder = volume_;
  // The nearest folder is the first.
  for (auto identifier = identifiers.rbegin(); identifier != identifiers.rend(); ++identifier) {
    const auto entries = files_.list(folder);
    if (!entries) return std::nullopt;
    const auto next = std::find_if(entries->begin(), entries->end(), [&](const FolderEntry& entry) {
      return entry.kind == FileKind::Folder && static_cast<std::uint32_t>(entry.inode) == *identifier;
    });
    if (next == entries->end()) return std::nullopt;
    folder = pathByAppendingComponent(folder, next->name);
  }
  return folder;
}

std::optional<AliasTarget> AliasSearch::itemByName(std::string_view folder, std::string_view name) {
  if (name.empty()) return std::nullopt;
  std::string path = pathByAppendingComponent(folder, name);
  auto item = files_.info(path, FollowLinks::No);
  if (!item && item.status().isNotFound()) {
    path = pathAsOnDisk(path);
    item = files_.info(path, FollowLinks::No);
  }
  if (!item) return std::nullopt;
  return AliasTarget{.path = std::move(path), .item = *item};
}

std::optional<AliasTarget> AliasSearch::itemByIdentifier(std::string_view folder, std::uint64_t device) {
  const auto entries = files_.list(folder);
  if (!entries) return std::nullopt;
  for (const FolderEntry& entry : *entries) {
    if (static_cast<std::uint32_t>(entry.inode) != record_.targetID) continue;
    std::string path = pathByAppendingComponent(folder, entry.name);
    const auto item = files_.info(path, FollowLinks::No);
    if (item && item->inode == entry.inode && item->device == device &&
        hasAliasCreationDate(record_, item->created).value_or(false)) {
      return AliasTarget{.path = std::move(path), .item = *item};
    }
  }
  return std::nullopt;
}

}  // namespace

std::u16string catalogName(std::string_view posixName) {
  std::u16string name = utf16FromUTF8(decomposedForFileSystem(posixName));
  std::replace(name.begin(), name.end(), u':', u'/');
  return name;
}

std::string posixNameFromCatalog(std::u16string_view name) {
  std::string posix = utf8FromUTF16(name);
  std::replace(posix.begin(), posix.end(), '/', ':');
  return posix;
}

std::uint32_t catalogIdentifier(const FileInfo& item, bool isVolumeRoot) {
  return isVolumeRoot ? kVolumeRootIdentifier : static_cast<std::uint32_t>(item.inode);
}

UTCDateTime utcDateTime(UnixNanoseconds time) {
  const std::int64_t seconds = floorDivide(time, kNanoseconds);
  const std::int64_t fraction = (time - seconds * kNanoseconds) * 65536 / kNanoseconds;
  return static_cast<UTCDateTime>(seconds + kMacEpochBefore1970) << 16 | static_cast<UTCDateTime>(fraction);
}

std::u16string aliasTargetName(const AliasRecord& record) {
  return recordedName(record, AliasTag::UnicodeName, record.targetName);
}

std::u16string aliasVolumeName(const AliasRecord& record) {
  return recordedName(record, AliasTag::UnicodeVolumeName, record.volumeName);
}

std::string aliasPath(const AliasRecord& record) {
  const auto path = pathOnVolume(record);
  const std::string volume = mountPoint(record);
  if (!path || volume.empty()) return "";
  return path->empty() ? volume : pathByAppendingComponent(volume, *path);
}

std::optional<bool> hasAliasCreationDate(const AliasRecord& record, UnixNanoseconds created) {
  const auto recorded = recordedCreation(record);
  if (!recorded) return std::nullopt;
  const std::int64_t difference = floorDivide(created, kNanoseconds) - *recorded;
  return difference % kSecondsPerHour == 0 && std::abs(difference) <= kSecondsPerDay;
}

bool hasAliasIdentifier(const AliasRecord& record) {
  return record.targetID != AliasRecord::kNoIdentifier && record.targetID != 0;
}

AliasSearchResult findAliasTarget(const AliasRecord& record, bool identifierFirst, AliasTarget* target) {
  return AliasSearch(record, identifierFirst).find(*target);
}

}  // namespace macos
