// SPDX-License-Identifier: MIT
#include "macos/foundation/BookmarkResolution.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include "macos/foundation/AliasTarget.h"
#include "macos/foundation/Bookmark.h"
#include "macos/foundation/FileMetadata.h"
#include "macos/foundation/Path.h"
#include "macos/host/Host.h"

namespace macos {

namespace {

constexpr int kMostFoldersRead = 64;
constexpr std::size_t kMostAliasFilesInAChain = 32;
// What a date loses on its way through a floating-point number, and a little more.
constexpr double kDateTolerance = 1e-6;

// Appended in place: a bookmark may name any number of components.
std::string joined(const std::string& base, const std::vector<std::string>& components) {
  std::string path = base;
  for (const std::string& component : components) {
    if (path.back() != '/') path.push_back('/');
    path.append(component);
  }
  return path;
}

std::vector<std::uint64_t> identifiersOf(const BookmarkData& bookmark) {
  std::vector<std::uint64_t> identifiers;
  const Value* value = bookmark.find(BookmarkKey::FileIDs);
  const Array* array = value != nullptr ? value->ifArray() : nullptr;
  for (std::size_t i = 0; array != nullptr && i < array->size(); ++i) {
    identifiers.push_back((*array)[i].ifInteger().value_or(Integer(0)).bits());
  }
  return identifiers;
}

// One search for one bookmark's item by everything that the bookmark itself records.
class BookmarkSearch {
 public:
  BookmarkSearch(const BookmarkData& bookmark, const std::vector<std::string>& components);

  const std::string& recordedPath() const { return recordedPath_; }
  std::optional<std::string> find();
  bool isOnAnotherVolume(const std::string& path) const;

 private:
  bool exists(const std::string& path) const { return files_.info(path, FollowLinks::No).ok(); }
  void findVolume();
  std::optional<std::string> findByIdentifiers();
  std::optional<std::string> findNearby(const std::string& deepest, bool isOwnFolder);
  std::optional<std::string> findInSubfolders(const std::string& folder);
  std::optional<std::string> itemIn(const std::string& folder);
  std::optional<std::string> folderIn(const std::string& folder, std::uint64_t inode);
  bool isTheItem(const FileInfo& info) const;
  std::vector<FolderEntry> entriesOf(const std::string& folder);

  const BookmarkData& bookmark_;
  FileSystem& files_;
  std::string recordedPath_;
  std::string volume_ = "/";                // where it is mounted now
  std::vector<std::string> components_;     // from there
  std::vector<std::uint64_t> identifiers_;  // one for each component, or none
  int foldersRead_ = 0;
};

BookmarkSearch::BookmarkSearch(const BookmarkData& bookmark, const std::vector<std::string>& components)
    : bookmark_(bookmark),
      files_(Host::current().files()),
      recordedPath_(joined("/", components)),
      components_(components),
      identifiers_(identifiersOf(bookmark)) {
  if (identifiers_.size() != components_.size()) identifiers_.clear();
}

std::optional<std::string> BookmarkSearch::find() {
  if (exists(recordedPath_)) return recordedPath_;
  if (std::string spelled = pathAsOnDisk(recordedPath_); spelled != recordedPath_ && exists(spelled)) {
    return spelled;
  }
  findVolume();
  if (std::string path = joined(volume_, components_); path != recordedPath_ && exists(path)) return path;
  return identifiers_.empty() ? std::nullopt : findByIdentifiers();
}

bool BookmarkSearch::isOnAnotherVolume(const std::string& path) const {
  const auto recorded = bookmark_.string(BookmarkKey::VolumeName);
  const std::string name = Host::current().volumes().volumeForPath(path, FollowLinks::No).name;
  return recorded && !name.empty() && catalogName(name) != catalogName(*recorded);
}

// Takes the volume's own part away from the components, and its place now for it.
void BookmarkSearch::findVolume() {
  const std::string recordedPlace(bookmark_.string(BookmarkKey::VolumePath).value_or("/"));
  if (!recordedPlace.starts_with('/')) return;
  const std::size_t depth = pathComponents(recordedPlace).size() - 1;  // without "/"
  const bool isInside =
      depth <= components_.size() &&
      joined("/", {components_.begin(), components_.begin() + static_cast<std::ptrdiff_t>(depth)}) ==
          recordedPlace;
  if (!isInside) return;

  const std::u16string name = catalogName(bookmark_.string(BookmarkKey::VolumeName).value_or(""));
  const VolumeInfo* there = nullptr;
  const VolumeInfo* ofThatName = nullptr;
  const std::vector<VolumeInfo> volumes = Host::current().volumes().volumes();
  for (const VolumeInfo& volume : volumes) {
    if (volume.mountPoint == recordedPlace) there = &volume;
    if (ofThatName == nullptr && !volume.name.empty() && catalogName(volume.name) == name) {
      ofThatName = &volume;
    }
  }
  const VolumeInfo* volume = ofThatName != nullptr ? ofThatName : there;
  if (volume == nullptr) return;
  volume_ = volume->mountPoint;
  components_.erase(components_.begin(), components_.begin() + static_cast<std::ptrdiff_t>(depth));
  if (!identifiers_.empty()) {
    identifiers_.erase(identifiers_.begin(), identifiers_.begin() + static_cast<std::ptrdiff_t>(depth));
  }
}

// Goes down by the names and, where a name is missing, by the identifier.
std::optional<std::string> BookmarkSearch::findByIdentifiers() {
  std::string place = volume_;
  bool wasRenamed = false;
  for (std::size_t i = 0; i < components_.size(); ++i) {
    const bool isLast = i + 1 == components_.size();
    const std::string next = pathByAppendingComponent(place, components_[i]);
    const auto info = files_.info(next, isLast ? FollowLinks::No : FollowLinks::Yes);
    // Below a folder that was told by its identifier alone a name is no proof.
    const bool isThere = info && (isLast ? !wasRenamed || isTheItem(*info) : info->isFolder());
    auto found = isThere ? std::optional(next) : isLast ? itemIn(place) : folderIn(place, identifiers_[i]);
    if (!found) return i + 2 >= components_.size() ? findNearby(place, isLast) : std::nullopt;
    wasRenamed = wasRenamed || !isThere;
    place = std::move(*found);
  }
  return place == volume_ ? std::nullopt : std::optional(place);
}

// Around the folder where the item was, or around the place of that folder when it is gone too.
std::optional<std::string> BookmarkSearch::findNearby(const std::string& deepest, bool isOwnFolder) {
  if (!isOwnFolder) {
    auto found = itemIn(deepest);
    return found ? found : findInSubfolders(deepest);
  }
  auto found = findInSubfolders(deepest);
  if (found || deepest == volume_) return found;
  const std::string above = pathByDeletingLastPathComponent(deepest);
  found = itemIn(above);
  return found ? found : findInSubfolders(above);
}

std::optional<std::string> BookmarkSearch::findInSubfolders(const std::string& folder) {
  for (const FolderEntry& entry : entriesOf(folder)) {
    if (entry.kind != FileKind::Folder) continue;
    if (auto found = itemIn(pathByAppendingComponent(folder, entry.name))) return found;
  }
  return std::nullopt;
}

std::optional<std::string> BookmarkSearch::itemIn(const std::string& folder) {
  for (const FolderEntry& entry : entriesOf(folder)) {
    if (entry.inode != identifiers_.back()) continue;
    std::string path = pathByAppendingComponent(folder, entry.name);
    const auto info = files_.info(path, FollowLinks::No);
    if (info && isTheItem(*info)) return path;
  }
  return std::nullopt;
}

std::optional<std::string> BookmarkSearch::folderIn(const std::string& folder, std::uint64_t inode) {
  for (const FolderEntry& entry : entriesOf(folder)) {
    if (entry.kind == FileKind::Folder && entry.inode == inode) {
      return pathByAppendingComponent(folder, entry.name);
    }
  }
  return std::nullopt;
}

// An inode number alone is used again soon after its file is gone.
bool BookmarkSearch::isTheItem(const FileInfo& info) const {
  const Value* created = bookmark_.find(BookmarkKey::CreationDate);
  const auto date = created != nullptr ? created->ifDate() : std::nullopt;
  const double seconds = static_cast<double>(info.created) / 1e9 - kReferenceDateSince1970;
  return info.inode == identifiers_.back() && date &&
         std::abs(date->secondsSinceReferenceDate - seconds) < kDateTolerance;
}

std::vector<FolderEntry> BookmarkSearch::entriesOf(const std::string& folder) {
  if (foldersRead_ == kMostFoldersRead) return {};
  ++foldersRead_;
  return files_.list(folder).valueOr({});
}

NSError missingItemError() {
  return cocoaErrorForWriting(Status(ErrorCode::NotFound, "bookmark", "its item is not found"));
}

}  // namespace

std::optional<std::string> findBookmarkTarget(const BookmarkData& bookmark, bool* isStale) {
  const auto components = bookmark.pathComponents();
  std::string recordedPath;
  if (components) {
    BookmarkSearch search(bookmark, *components);
    recordedPath = search.recordedPath();
    if (auto path = search.find()) {
      if (isStale != nullptr) *isStale = *path != recordedPath || search.isOnAnotherVolume(*path);
      return path;
    }
  }
  const Value* alias = bookmark.find(BookmarkKey::AliasRecord);
  const auto bytes = alias != nullptr ? alias->ifData() : std::nullopt;
  const auto record =
      bytes ? AliasRecord::decode(*bytes) : Result<AliasRecord>(Status(ErrorCode::NotFound, "", ""));
  AliasTarget target;
  if (!record || findAliasTarget(*record, false, &target) != AliasSearchResult::Found) return std::nullopt;
  if (isStale != nullptr) *isStale = target.path != recordedPath;
  return std::move(target.path);
}

std::optional<NSURL> URLByResolvingBookmarkData(const NSData& bookmark, unsigned, bool* isStale,
                                                NSError* error) {
  if (isStale != nullptr) *isStale = false;
  const auto content = BookmarkData::decode(bookmark.bytes);
  const auto path = content ? findBookmarkTarget(*content, isStale) : std::nullopt;
  if (path) return NSURL::fileURLWithPath(*path);
  if (error != nullptr) *error = content ? missingItemError() : corruptBookmarkError("");
  return std::nullopt;
}

std::optional<NSURL> CFURLCreateByResolvingBookmarkData(const NSData& bookmark, unsigned options,
                                                        bool* isStale, NSError* error) {
  return URLByResolvingBookmarkData(bookmark, options, isStale, error);
}

std::optional<NSURL> URLByResolvingAliasFileAtURL(const NSURL& url, unsigned options, NSError* error) {
  FileSystem& files = Host::current().files();
  std::vector<FileInfo> met;
  NSURL place = url;
  for (;;) {
    const std::string path = pathAsOnDisk(place.fileSystemRepresentation());
    const auto info = files.info(path, FollowLinks::No);
    const bool isLink = info && info->kind == FileKind::Link;
    if (info && !isLink && !isAliasFile(path, *info)) return place;

    const bool isRing = info && std::any_of(met.begin(), met.end(),
                                            [&](const FileInfo& item) { return item.isSameItem(*info); });
    if (!info || isRing || met.size() == kMostAliasFilesInAChain) {
      if (error != nullptr) *error = missingItemError();
      return std::nullopt;
    }
    met.push_back(*info);
    const auto bookmark = CFURLCreateBookmarkDataFromFile(place, error);
    auto target = bookmark ? URLByResolvingBookmarkData(*bookmark, options, nullptr, error) : std::nullopt;
    if (!target) return std::nullopt;
    place = std::move(*target);
  }
}

}  // namespace macos
