// SPDX-License-Identifier: MIT
//
// Making, reading and writing bookmarks. BookmarkResolution.cpp finds their items again.
#include "macos/foundation/Bookmark.h"

#include <algorithm>

#include "macos/carbon/AliasRecord.h"
#include "macos/carbon/ResourceFork.h"
#include "macos/foundation/AliasTarget.h"
#include "macos/foundation/BookmarkData.h"
#include "macos/foundation/BookmarkResolution.h"
#include "macos/foundation/FileMetadata.h"
#include "macos/foundation/ItemOnDisk.h"
#include "macos/foundation/Package.h"
#include "macos/foundation/Path.h"
#include "macos/foundation/ResourceKeys.h"
#include "macos/foundation/Text.h"
#include "macos/host/Host.h"

namespace macos {

namespace {

constexpr std::uint64_t kLargestAliasFile = std::uint64_t{16} * 1024 * 1024;
constexpr std::uint32_t kNewFileMode = 0644;
constexpr std::size_t kMagicSize = 16;
constexpr OSType kFinderCreator = fourCharCode("MACS");
constexpr OSType kDocumentAliasType = fourCharCode("alis");

// Stores the error where one is asked for.
std::nullopt_t failure(NSError value, NSError* error) {
  if (error != nullptr) *error = std::move(value);
  return std::nullopt;
}

Array componentsOf(std::string_view path) {
  Array components;
  for (const std::string& component : pathComponents(path)) {
    if (component == "/") continue;
    components.append(isValidUTF8(component) ? Value(component) : Value(NSData{component}));
  }
  return components;
}

// The inode of every folder on the way and of the item itself.
Array fileIdentifiersOf(const ItemOnDisk& item) {
  std::vector<Value> upwards;
  std::string path = item.path;
  for (std::uint64_t inode = item.info.inode; path != "/";) {
    upwards.emplace_back(inode);
    path = pathByDeletingLastPathComponent(path);
    const auto folder =
        path == "/" ? Result<FileInfo>(FileInfo()) : Host::current().files().info(path, FollowLinks::No);
    inode = folder ? folder->inode : 0;
  }
  Array identifiers;
  for (auto inode = upwards.rbegin(); inode != upwards.rend(); ++inode) identifiers.append(std::move(*inode));
  return identifiers;
}

NSDate dateOf(UnixNanoseconds time) { return {static_cast<double>(time) / 1e9 - kReferenceDateSince1970}; }

bool isVolumeRoot(const ItemOnDisk& item, const VolumeInfo& volume) { return item.path == volume.mountPoint; }

bool isApplication(std::string_view path) { return pathExtension(path) == "app"; }

void addResourceFlags(BookmarkData& bookmark, const ItemOnDisk& item, const VolumeInfo& volume,
                      bool isForFile) {
  BookmarkFlags flags{
      .values = 0,
      .valid = kBookmarkIsRegularFile | kBookmarkIsDirectory | kBookmarkIsSymbolicLink | kBookmarkIsVolume};
  if (item.info.kind == FileKind::File) flags.values |= kBookmarkIsRegularFile;
  if (item.info.isFolder()) flags.values |= kBookmarkIsDirectory;
  if (item.info.kind == FileKind::Link) flags.values |= kBookmarkIsSymbolicLink;
  if (isVolumeRoot(item, volume)) flags.values |= kBookmarkIsVolume;
  if (isForFile) {
    flags.valid |= kBookmarkIsPackage | kBookmarkIsApplication;
    if (isPackage(item.path, item.info)) {
      flags.values |= kBookmarkIsPackage | (isApplication(item.path) ? kBookmarkIsApplication : 0);
    }
  }
  bookmark.setFlags(BookmarkKey::ResourceFlags, flags, isForFile ? flags.valid : 0);
}

void addVolume(BookmarkData& bookmark, const VolumeInfo& volume) {
  BookmarkFlags flags{.values = kBookmarkVolumeHasPersistentIDs,
                      .valid = kBookmarkVolumeIsLocal | kBookmarkVolumeIsReadOnly |
                               kBookmarkVolumeIsEjectable | kBookmarkVolumeIsInternal |
                               kBookmarkVolumeHasPersistentIDs};
  if (volume.isLocal) flags.values |= kBookmarkVolumeIsLocal;
  if (volume.isReadOnly) flags.values |= kBookmarkVolumeIsReadOnly;
  if (volume.isEjectable) flags.values |= kBookmarkVolumeIsEjectable;
  if (volume.isLocal && !volume.isEjectable) flags.values |= kBookmarkVolumeIsInternal;
  bookmark.setFlags(BookmarkKey::VolumeFlags, flags, 0);

  bookmark.set(BookmarkKey::VolumePath, Value(volume.mountPoint));
  bookmark.set(BookmarkKey::VolumeURL, Value(NSURL::fileURLWithPathIsDirectory(volume.mountPoint, true)));
  bookmark.set(BookmarkKey::VolumeName, Value(volume.name.empty() ? kUnnamedBootVolume : volume.name));
  bookmark.set(BookmarkKey::VolumeCapacity, Value(volume.capacity));
  bookmark.set(BookmarkKey::VolumeCreationDate, Value(dateOf(volume.created)));
  bookmark.set(BookmarkKey::VolumeIsBoot, Value(volume.isBoot));
  if (const auto url = volume.remountURL.empty() ? std::nullopt : NSURL::URLWithString(volume.remountURL)) {
    bookmark.set(BookmarkKey::VolumeMountURL, Value(*url));
  }
}

BookmarkData bookmarkOfItem(const ItemOnDisk& item, unsigned options) {
  const bool isForFile = (options & NSURLBookmarkCreationSuitableForBookmarkFile) != 0;
  const VolumeInfo volume = Host::current().volumes().volumeForPath(item.path, FollowLinks::No);
  BookmarkData bookmark;
  Array components = componentsOf(item.path);
  if (components.size() > 1) bookmark.set(BookmarkKey::ContainingFolderIndex, Value(components.size() - 2));
  bookmark.set(BookmarkKey::PathComponents, Value(std::move(components)));
  bookmark.set(BookmarkKey::FileIDs, Value(fileIdentifiersOf(item)));
  bookmark.set(BookmarkKey::CreationDate, Value(dateOf(item.info.created)));
  bookmark.set(BookmarkKey::CreationOptions, Value(options));
  addResourceFlags(bookmark, item, volume, isForFile);
  addVolume(bookmark, volume);
  if (isForFile) bookmark.set(BookmarkKey::DisplayName, Value(validUTF8(lastPathComponent(item.path))));
  return bookmark;
}

// What a bookmark of the record's target would say, as far as the record says it, and the record itself.
BookmarkData bookmarkOfAliasRecord(const AliasRecord& record, std::string_view bytes) {
  BookmarkData bookmark;
  if (const std::string path = aliasPath(record); !path.empty()) {
    bookmark.set(BookmarkKey::PathComponents, Value(componentsOf(path)));
  }
  bookmark.set(BookmarkKey::VolumeName, Value(utf8FromUTF16(aliasVolumeName(record))));
  bookmark.set(BookmarkKey::AliasRecord, Value::fromData(bytes));
  return bookmark;
}

std::optional<NSData> bookmarkFromResourceFork(const std::string& path) {
  const auto fork = ResourceFork::decode(resourceForkAtPath(path));
  if (!fork) return std::nullopt;
  // Whoever makes an alias file gives it this identifier; of any others the first counts.
  const Resource* alias = fork->find(rAliasType, 0);
  if (alias == nullptr) alias = fork->findFirst(rAliasType);
  if (alias == nullptr) return std::nullopt;
  const auto record = AliasRecord::decode(alias->data);
  if (!record) return std::nullopt;
  return NSData{bookmarkOfAliasRecord(*record, alias->data).encode()};
}

OSType finderTypeOfAliasTo(const BookmarkData& bookmark) {
  const BookmarkFlags flags = bookmark.flags(BookmarkKey::ResourceFlags).value_or(BookmarkFlags());
  const auto is = [&](std::uint64_t bit) { return flags.flag(bit).value_or(false); };
  if (is(kBookmarkIsVolume)) return kContainerHardDiskAliasType;
  if (is(kBookmarkIsApplication)) return kApplicationPackageAliasType;
  if (is(kBookmarkIsPackage)) return kPackageAliasType;
  return is(kBookmarkIsDirectory) ? kContainerFolderAliasType : kDocumentAliasType;
}

}  // namespace

NSError corruptBookmarkError(std::string_view path) {
  NSError error;
  error.code = NSFileReadCorruptFileError;
  error.localizedDescription = "The file couldn’t be opened because it isn’t in the correct format.";
  error.filePath = path;
  return error;
}

std::optional<NSData> bookmarkDataWithOptions(const NSURL& url, unsigned options,
                                              const std::vector<std::string>&, NSError* error) {
  if (!url.isFileURL()) {
    NSError unsupported;
    unsupported.code = NSFileReadUnsupportedSchemeError;
    unsupported.localizedDescription =
        "The file couldn’t be opened because the specified URL type isn’t supported.";
    return failure(std::move(unsupported), error);
  }
  const std::string path = url.fileSystemRepresentation();
  const auto item = itemOnDisk(path);
  if (!item) return failure(cocoaErrorForReading(item.status(), path), error);
  return NSData{bookmarkOfItem(*item, options).encode()};
}

Dictionary resourceValuesForKeys(const std::vector<std::string>& keys, const NSData& fromBookmarkData) {
  Dictionary values;
  const auto bookmark = BookmarkData::decode(fromBookmarkData.bytes);
  if (!bookmark) return values;
  const auto flags = bookmark->flags(BookmarkKey::VolumeFlags).value_or(BookmarkFlags());
  for (const std::string& key : keys) {
    std::optional<bool> flag;
    const Value* value = bookmark->namedValues.find(key);
    if (key == NSURLVolumeIsLocalKey) flag = flags.flag(kBookmarkVolumeIsLocal);
    if (key == NSURLVolumeIsEjectableKey) flag = flags.flag(kBookmarkVolumeIsEjectable);
    if (key == NSURLVolumeURLForRemountingKey) value = bookmark->find(BookmarkKey::VolumeMountURL);
    if (flag) {
      values.set(key, Value(*flag));
    } else if (value != nullptr) {
      values.set(key, *value);
    }
  }
  return values;
}

std::optional<NSError> writeBookmarkData(const NSData& bookmark, const NSURL& toURL, unsigned) {
  if (!toURL.isFileURL()) {
    NSError unsupported;
    unsupported.code = NSFileWriteUnsupportedSchemeError;
    unsupported.localizedDescription =
        "The file couldn’t be saved because the specified URL type isn’t supported.";
    return unsupported;
  }
  const std::string given = toURL.fileSystemRepresentation();
  const std::string path = given.empty() ? given : pathAsOnDisk(given);
  const auto content = BookmarkData::decode(bookmark.bytes);
  const Integer options =
      content ? content->integer(BookmarkKey::CreationOptions).value_or(Integer(0)) : Integer(0);
  if ((options.bits() & NSURLBookmarkCreationSuitableForBookmarkFile) == 0) return corruptBookmarkError(path);
  const auto file = bookmarkFileFromBlob(bookmark.bytes, NSDate::date());
  if (!file) return corruptBookmarkError(path);

  if (Status status = Host::current().files().replace(path, *file, kNewFileMode); !status.ok()) {
    return cocoaErrorForWriting(status, path);
  }
  FinderInfo info = finderInfoAtPath(path);
  info.setType(finderTypeOfAliasTo(*content));
  info.setCreator(kFinderCreator);
  info.setFlags(info.flags() | kIsAlias);
  // On a disk that takes no flag the file is still known for an alias by its first bytes.
  (void)setFinderInfo(path, info);
  return std::nullopt;
}

std::optional<NSData> bookmarkDataWithContentsOfURL(const NSURL& aliasFile, NSError* error) {
  const std::string path = pathAsOnDisk(aliasFile.fileSystemRepresentation());
  const auto start = Host::current().files().readStart(path, kMagicSize);
  if (!start) {
    const bool isMissing = start.status().isNotFound();
    return failure(isMissing ? cocoaErrorForReading(start.status(), path) : corruptBookmarkError(path),
                   error);
  }
  if (isBookmarkFileStart(*start)) {
    const auto file = Host::current().files().read(path, kLargestAliasFile);
    auto blob = file ? blobFromBookmarkFile(*file) : Result<std::string>(file.status());
    if (blob && BookmarkData::decode(*blob)) return NSData{std::move(*blob)};
  }
  auto bookmark = bookmarkFromResourceFork(path);
  return bookmark ? std::move(bookmark) : failure(corruptBookmarkError(path), error);
}

std::optional<NSData> CFURLCreateBookmarkDataFromFile(const NSURL& url, NSError* error) {
  const std::string path = url.fileSystemRepresentation();
  const auto item = itemOnDisk(path);
  if (!item) return failure(cocoaErrorForReading(item.status(), path), error);
  if (item->info.kind != FileKind::Link) return bookmarkDataWithContentsOfURL(url, error);
  const auto target = Host::current().files().realPath(item->path);
  if (!target) return failure(cocoaErrorForReading(target.status(), path), error);
  return bookmarkDataWithOptions(NSURL::fileURLWithPath(*target), 0, {}, error);
}

}  // namespace macos
