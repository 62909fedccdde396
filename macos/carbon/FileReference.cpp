// SPDX-License-Identifier: MIT
//
// A reference is made of a signature, the item's device, inode and creation date, the inode of its folder,
// hashes of the names on its path, and a check sum over all that. Where an item was last seen is remembered
// in the process; the hashes lead to it when that was forgotten.
#include "macos/carbon/FileReference.h"

#include <algorithm>
#include <mutex>
#include <vector>

#include "macos/carbon/ByteOrder.h"
#include "macos/foundation/Path.h"
#include "macos/host/Host.h"
#include "macos/host/PosixVolumeTable.h"

namespace macos {

namespace {

constexpr std::string_view kSignature = "macFSRef";
constexpr std::size_t kDevice = 8;
constexpr std::size_t kInode = 16;
constexpr std::size_t kFolderInode = 24;
constexpr std::size_t kCreated = 32;
constexpr std::size_t kDepth = 36;
constexpr std::size_t kHashes = 37;
constexpr std::size_t kCheckSum = 76;
constexpr std::size_t kHashesSize = kCheckSum - kHashes;
constexpr std::size_t kLongestHash = 4;

constexpr int kMostFoldersRead = 64;
constexpr std::size_t kRemembered = 1024;

std::uint32_t fnv1a(std::string_view bytes) {
  std::uint32_t hash = 2166136261U;
  for (const char byte : bytes) hash = (hash ^ static_cast<unsigned char>(byte)) * 16777619U;
  return hash;
}

std::string_view bytesOf(const FSRef& ref) {
  return {reinterpret_cast<const char*>(ref.hidden.data()), ref.hidden.size()};
}

// Enough of the creation date to tell it from that of a later item with the same inode.
std::uint32_t dateMark(const FileInfo& info) { return static_cast<std::uint32_t>(info.created); }

// How many bytes of hash each of so many names has; 0 when there is not even room for one.
std::size_t hashSize(std::size_t depth) {
  return depth == 0 ? 0 : std::min(kLongestHash, kHashesSize / depth);
}

// The first bytes of a name's hash.
std::string hashOf(std::string_view name, std::size_t size) {
  std::string hash;
  appendLittleEndian(hash, fnv1a(name));
  return hash.substr(0, size);
}

std::vector<std::string> namesOn(std::string_view path) {
  std::vector<std::string> names = pathComponents(path);
  std::erase(names, "/");
  return names;
}

struct Content {
  std::uint64_t device = 0;
  std::uint64_t inode = 0;
  std::uint64_t folderInode = 0;
  std::uint32_t created = 0;
  std::size_t depth = 0;
  std::string_view hashes;

  std::string_view hash(std::size_t level) const {
    return hashes.substr(level * hashSize(depth), hashSize(depth));
  }
  bool isItem(const FileInfo& info) const { return info.device == device && info.inode == inode; }
};

Content contentOf(const FSRef& ref) {
  const std::string_view bytes = bytesOf(ref);
  return {.device = readLittleEndian<std::uint64_t>(bytes, kDevice),
          .inode = readLittleEndian<std::uint64_t>(bytes, kInode),
          .folderInode = readLittleEndian<std::uint64_t>(bytes, kFolderInode),
          .created = readLittleEndian<std::uint32_t>(bytes, kCreated),
          .depth = readLittleEndian<std::uint8_t>(bytes, kDepth),
          .hashes = bytes.substr(kHashes, kHashesSize)};
}

// Where items were last seen. Of two that fall on one place the later one is kept, so that it never grows.
class LastPlaces {
 public:
  std::string find(std::uint64_t device, std::uint64_t inode) {
    const std::lock_guard lock(mutex_);
    const Place& place = placeFor(device, inode);
    return place.device == device && place.inode == inode ? place.path : "";
  }
  void remember(const ItemOnDisk& item) {
    const std::lock_guard lock(mutex_);
    placeFor(item.info.device, item.info.inode) = {item.info.device, item.info.inode, item.path};
  }

 private:
  struct Place {
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    std::string path;
  };
  Place& placeFor(std::uint64_t device, std::uint64_t inode) {
    return places_[(inode ^ device * 31) % kRemembered];
  }

  std::mutex mutex_;
  std::vector<Place> places_ = std::vector<Place>(kRemembered);
};

// One search for one reference's item.
class Search {
 public:
  explicit Search(const Content& content) : content_(content), files_(Host::current().files()) {}

  // Near the place where it was last seen.
  std::optional<ItemOnDisk> around(const std::string& path);
  // Along the names of its path.
  std::optional<ItemOnDisk> alongNames();

 private:
  std::optional<ItemOnDisk> below(const std::string& folder, std::size_t level);
  std::optional<ItemOnDisk> in(const std::string& folder, const std::vector<FolderEntry>& entries,
                               std::string_view name);
  std::vector<FolderEntry> entriesOf(const std::string& folder);
  std::optional<ItemOnDisk> itemAt(const std::string& path);

  const Content& content_;
  FileSystem& files_;
  int foldersRead_ = 0;
};

std::optional<ItemOnDisk> Search::itemAt(const std::string& path) {
  const auto info = files_.info(path, FollowLinks::No);
  if (!info || !content_.isItem(*info)) return std::nullopt;
  return ItemOnDisk{.path = path, .info = *info};
}

std::optional<ItemOnDisk> Search::around(const std::string& path) {
  if (auto item = itemAt(path)) return item;
  const std::string name = lastPathComponent(path);
  const std::string folder = pathByDeletingLastPathComponent(path);
  if (path == "/") return std::nullopt;
  const auto info = files_.info(folder, FollowLinks::No);
  if (info && info->isFolder() && info->inode == content_.folderInode) {
    return in(folder, entriesOf(folder), name);
  }

  const std::string above = pathByDeletingLastPathComponent(folder);
  for (const FolderEntry& entry : entriesOf(above)) {
    if (entry.kind != FileKind::Folder || entry.inode != content_.folderInode) continue;
    const std::string renamed = pathByAppendingComponent(above, entry.name);
    return in(renamed, entriesOf(renamed), name);
  }
  return std::nullopt;
}

// The item under the name, or under any other. Under another one the date must be the same too, since the
// number of an inode is used again.
std::optional<ItemOnDisk> Search::in(const std::string& folder, const std::vector<FolderEntry>& entries,
                                     std::string_view name) {
  for (const FolderEntry& entry : entries) {
    if (entry.inode != content_.inode) continue;
    auto item = itemAt(pathByAppendingComponent(folder, entry.name));
    if (item && (entry.name == name || dateMark(item->info) == content_.created)) return item;
  }
  return std::nullopt;
}

std::optional<ItemOnDisk> Search::alongNames() {
  if (content_.depth == 0) return itemAt("/");
  return hashSize(content_.depth) == 0 ? std::nullopt : below("/", 0);
}

std::optional<ItemOnDisk> Search::below(const std::string& folder, std::size_t level) {
  const std::vector<FolderEntry> entries = entriesOf(folder);
  const auto hasHash = [&](const FolderEntry& entry) {
    return hashOf(entry.name, hashSize(content_.depth)) == content_.hash(level);
  };
  if (level + 1 == content_.depth) {
    // The root of a volume has another inode in its folder's list than it has itself.
    for (const FolderEntry& entry : entries) {
      if (auto item = hasHash(entry) ? itemAt(pathByAppendingComponent(folder, entry.name)) : std::nullopt) {
        return item;
      }
    }
    return in(folder, entries, "");
  }
  const bool isFolderNext = level + 2 == content_.depth;
  for (const FolderEntry& entry : entries) {
    if (entry.kind != FileKind::Folder) continue;
    if (!hasHash(entry) && !(isFolderNext && entry.inode == content_.folderInode)) continue;
    if (auto item = below(pathByAppendingComponent(folder, entry.name), level + 1)) return item;
  }
  return std::nullopt;
}

std::vector<FolderEntry> Search::entriesOf(const std::string& folder) {
  if (foldersRead_ == kMostFoldersRead) return {};
  ++foldersRead_;
  return files_.list(folder).valueOr({});
}

}  // namespace

bool FSRef::isValid() const {
  const std::string_view bytes = bytesOf(*this);
  return bytes.substr(0, kSignature.size()) == kSignature &&
         readLittleEndian<std::uint32_t>(bytes, kCheckSum) == fnv1a(bytes.substr(0, kCheckSum));
}

FSRef referenceToItem(const ItemOnDisk& item) {
  const std::vector<std::string> names = namesOn(item.path);
  // A deeper path is found as long as it is remembered.
  const std::size_t depth = std::min<std::size_t>(names.size(), 0xFF);
  std::uint64_t folderInode = 0;
  if (!names.empty()) {
    const auto folder =
        Host::current().files().info(pathByDeletingLastPathComponent(item.path), FollowLinks::No);
    if (folder) folderInode = folder->inode;
  }
  std::string bytes(kSignature);
  appendLittleEndian(bytes, item.info.device);
  appendLittleEndian(bytes, item.info.inode);
  appendLittleEndian(bytes, folderInode);
  appendLittleEndian(bytes, dateMark(item.info));
  appendLittleEndian(bytes, static_cast<std::uint8_t>(depth));
  for (std::size_t i = 0; i < depth; ++i) bytes += hashOf(names[i], hashSize(depth));
  bytes.resize(kCheckSum, '\0');
  appendLittleEndian(bytes, fnv1a(bytes));

  hostLocal<LastPlaces>().remember(item);
  FSRef ref;
  std::copy(bytes.begin(), bytes.end(), ref.hidden.begin());
  return ref;
}

std::optional<ItemOnDisk> itemOfReference(const FSRef& ref) {
  if (!ref.isValid()) return std::nullopt;
  const Content content = contentOf(ref);
  LastPlaces& places = hostLocal<LastPlaces>();
  const std::string lastPlace = places.find(content.device, content.inode);
  Search search(content);
  auto item = lastPlace.empty() ? search.alongNames() : search.around(lastPlace);
  if (item) places.remember(*item);
  return item;
}

std::string lastSeenPath(const FSRef& ref) {
  if (!ref.isValid()) return "";
  const Content content = contentOf(ref);
  return hostLocal<LastPlaces>().find(content.device, content.inode);
}

OSErr FSCompareFSRefs(const FSRef& a, const FSRef& b) {
  if (!a.isValid() || !b.isValid()) return fnfErr;
  const Content first = contentOf(a), second = contentOf(b);
  return first.device == second.device && first.inode == second.inode ? noErr : errFSRefsDifferent;
}

VolumeInfo volumeOfItem(const ItemOnDisk& item) {
  return volumeHolding(Host::current().volumes().volumes(), item.path);
}

OSErr resultCode(const Status& status) {
  switch (status.code()) {
    case ErrorCode::Ok:
      return noErr;
    case ErrorCode::NotFound:
      return fnfErr;
    case ErrorCode::AlreadyExists:
      return dupFNErr;
    case ErrorCode::PermissionDenied:
      return afpAccessDenied;
    case ErrorCode::InvalidArgument:
      return bdNamErr;
    default:
      return ioErr;
  }
}

}  // namespace macos
