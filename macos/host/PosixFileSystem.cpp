// SPDX-License-Identifier: MIT
#include "macos/host/PosixFileSystem.h"

#include <dirent.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/xattr.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <exception>

namespace macos {

namespace {

FileKind kindOfMode(unsigned mode) {
  if (S_ISREG(mode)) return FileKind::File;
  if (S_ISDIR(mode)) return FileKind::Folder;
  if (S_ISLNK(mode)) return FileKind::Link;
  return FileKind::Other;
}

FileKind kindOfEntry(unsigned char type) {
  switch (type) {
    case DT_REG:
      return FileKind::File;
    case DT_DIR:
      return FileKind::Folder;
    case DT_LNK:
      return FileKind::Link;
    default:
      return FileKind::Other;
  }
}

UnixNanoseconds nanoseconds(const struct statx_timestamp& time) {
  return time.tv_sec * 1'000'000'000 + time.tv_nsec;
}

FileInfo infoFromStatx(const struct statx& found) {
  FileInfo info;
  info.kind = kindOfMode(found.stx_mode);
  info.device = makedev(found.stx_dev_major, found.stx_dev_minor);
  info.inode = found.stx_ino;
  info.size = found.stx_size;
  info.mode = found.stx_mode;
  info.userID = found.stx_uid;
  info.modified = nanoseconds(found.stx_mtime);
  info.created = (found.stx_mask & STATX_BTIME) != 0 ? nanoseconds(found.stx_btime) : info.modified;
  info.immutable = (found.stx_attributes & STATX_ATTR_IMMUTABLE) != 0;
  return info;
}

std::string canonicalHostPath(const std::string& path) {
  char* const found = ::realpath(path.c_str(), nullptr);
  if (found == nullptr) return "";
  std::string result = found;
  std::free(found);
  return result;
}

// Reads to the end of the file but at most count bytes. expected is how many there probably are. Throws
// std::bad_alloc.
int readUpToOrThrow(int descriptor, std::uint64_t expected, std::uint64_t count, std::string& content) {
  std::uint64_t length = 0;
  // One more byte than expected, so that the end is usually seen without growing.
  content.resize(std::min(expected + 1, count));
  while (length < count) {
    if (length == content.size()) content.resize(std::min<std::uint64_t>(count, length * 2 + 4096));
    const ssize_t got =
        uninterrupted([&] { return ::read(descriptor, content.data() + length, content.size() - length); });
    if (got < 0) return errno;
    if (got == 0) break;
    length += static_cast<std::uint64_t>(got);
  }
  content.resize(length);
  return 0;
}

// A file of holes can claim more than there is memory.
int readUpTo(int descriptor, std::uint64_t expected, std::uint64_t count, std::string& content) {
  try {
    return readUpToOrThrow(descriptor, expected, count, content);
  } catch (const std::exception&) {
    return ENOMEM;
  }
}

// Most attributes are short.
template <typename Get>
std::optional<std::string> valueOfAttribute(Get get) {
  char some[256];
  ssize_t length = get(some, sizeof some);
  if (length >= 0) return std::string(some, static_cast<std::size_t>(length));
  if (errno != ERANGE) return std::nullopt;
  std::string value(XATTR_SIZE_MAX, '\0');
  length = get(value.data(), value.size());
  if (length < 0) return std::nullopt;
  value.resize(static_cast<std::size_t>(length));
  return value;
}

// From the kernel: std::random_device asks the processor first, which in a virtual machine takes long.
std::uint64_t randomNumber() {
  std::uint64_t number = 0;
  if (::getentropy(&number, sizeof number) != 0) number = static_cast<std::uint64_t>(::getpid()) << 32;
  return number;
}

constexpr unsigned kStatxMask = STATX_BASIC_STATS | STATX_BTIME;

}  // namespace

PosixFileSystem::PosixFileSystem(const std::string& hostRoot)
    : hostRoot_(canonicalHostPath(hostRoot)),
      root_(::open(hostRoot_.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC)),
      resolver_(PathResolver::make(hostRoot_, Descriptor(::fcntl(root_.get(), F_DUPFD_CLOEXEC, 0)))),
      nextNeighbour_(randomNumber()) {}

PosixFileSystem::PosixFileSystem(const std::string& hostRoot, PathResolver::Way way)
    : PosixFileSystem(hostRoot) {
  auto resolver = PathResolver::make(way, Descriptor(::fcntl(root_.get(), F_DUPFD_CLOEXEC, 0)));
  if (resolver) resolver_ = std::move(resolver);
}

PosixFileSystem::~PosixFileSystem() = default;

Result<FileInfo> PosixFileSystem::info(std::string_view path, FollowLinks follow) {
  struct statx found {};
  if (way() == PathResolver::Way::Plain) {
    const PathBuffer buffer(path);
    if (buffer.error() != 0) return Status::fromErrno(path, buffer.error());
    const int flags = follow == FollowLinks::Yes ? 0 : AT_SYMLINK_NOFOLLOW;
    if (::statx(AT_FDCWD, buffer.text(), flags, kStatxMask, &found) != 0) {
      return Status::fromErrno(path, errno);
    }
    return infoFromStatx(found);
  }
  const OpenResult item = resolver_->open(path, O_PATH | (follow == FollowLinks::Yes ? 0 : O_NOFOLLOW));
  if (!item.ok()) return Status::fromErrno(path, item.error);
  if (::statx(item.descriptor.get(), "", AT_EMPTY_PATH, kStatxMask, &found) != 0) {
    return Status::fromErrno(path, errno);
  }
  return infoFromStatx(found);
}

Result<std::string> PosixFileSystem::readLink(std::string_view path) {
  const OpenResult link = resolver_->open(path, O_PATH | O_NOFOLLOW);
  if (!link.ok()) return Status::fromErrno(path, link.error);
  char text[PATH_MAX];
  const ssize_t length = ::readlinkat(link.descriptor.get(), "", text, sizeof text);
  // ENOENT is what the call says of an item that is no link.
  if (length < 0) return Status::fromErrno(path, errno == ENOENT ? EINVAL : errno);
  return std::string(text, static_cast<std::size_t>(length));
}

// What the kernel says the item's path is; "" when that cannot be relied upon.
std::string PosixFileSystem::realPathByDescriptor(int descriptor) const {
  char text[PATH_MAX];
  const ssize_t length = ::readlink(ItemPath(descriptor).text(), text, sizeof text);
  if (length <= 0 || length == static_cast<ssize_t>(sizeof text)) return "";
  const std::string_view found(text, static_cast<std::size_t>(length));
  constexpr std::string_view kDeleted = " (deleted)";
  const bool mayBeDeleted =
      found.size() >= kDeleted.size() && found.substr(found.size() - kDeleted.size()) == kDeleted;
  if (mayBeDeleted || found.front() != '/') return "";
  if (hostRoot_ == "/") return std::string(found);
  if (found == hostRoot_) return "/";
  const bool inside = found.size() > hostRoot_.size() && found.substr(0, hostRoot_.size()) == hostRoot_ &&
                      found[hostRoot_.size()] == '/';
  return inside ? std::string(found.substr(hostRoot_.size())) : "";
}

Result<std::string> PosixFileSystem::realPath(std::string_view path) {
  const OpenResult item = resolver_->open(path, O_PATH);
  if (!item.ok()) return Status::fromErrno(path, item.error);
  std::string result = realPathByDescriptor(item.descriptor.get());
  if (!result.empty()) return result;
  const int error = PathResolver::realPath(root_.get(), path, result);
  if (error != 0) return Status::fromErrno(path, error);
  return result;
}

// Gives a regular file only. Opening must not wait for the other end of a pipe.
OpenResult PosixFileSystem::openToRead(std::string_view path, std::uint64_t& size) const {
  OpenResult file = resolver_->open(path, O_RDONLY | O_NONBLOCK | O_NOCTTY);
  if (!file.ok()) return file;
  struct stat found {};
  if (::fstat(file.descriptor.get(), &found) != 0) return OpenResult(errno);
  if (S_ISDIR(found.st_mode)) return OpenResult(EISDIR);
  if (!S_ISREG(found.st_mode)) return OpenResult(EOPNOTSUPP);
  size = static_cast<std::uint64_t>(found.st_size);
  return file;
}

Result<std::string> PosixFileSystem::read(std::string_view path, std::uint64_t limit) {
  std::uint64_t size = 0;
  const OpenResult file = openToRead(path, size);
  if (!file.ok()) return Status::fromErrno(path, file.error);
  if (size > limit) return Status::fromErrno(path, EFBIG);
  std::string content;
  const std::uint64_t most = limit == UINT64_MAX ? limit : limit + 1;
  if (const int error = readUpTo(file.descriptor.get(), size, most, content); error != 0) {
    return Status::fromErrno(path, error);
  }
  if (content.size() > limit) return Status::fromErrno(path, EFBIG);
  return content;
}

Result<std::string> PosixFileSystem::readStart(std::string_view path, std::size_t count) {
  std::uint64_t size = 0;
  const OpenResult file = openToRead(path, size);
  if (!file.ok()) return Status::fromErrno(path, file.error);
  std::string content;
  if (const int error = readUpTo(file.descriptor.get(), size, count, content); error != 0) {
    return Status::fromErrno(path, error);
  }
  return content;
}

Result<std::vector<FolderEntry>> PosixFileSystem::list(std::string_view path) {
  OpenResult folder = resolver_->open(path, O_RDONLY | O_DIRECTORY | O_NONBLOCK);
  if (!folder.ok()) return Status::fromErrno(path, folder.error);
  const std::unique_ptr<DIR, int (*)(DIR*)> stream(::fdopendir(folder.descriptor.get()), ::closedir);
  if (!stream) return Status::fromErrno(path, errno);
  const int descriptor = folder.descriptor.release();

  std::vector<FolderEntry> entries;
  for (;;) {
    errno = 0;
    const dirent* const found = ::readdir(stream.get());
    if (found == nullptr) {
      if (errno != 0) return Status::fromErrno(path, errno);
      break;
    }
    FolderEntry entry{found->d_name, kindOfEntry(found->d_type), found->d_ino};
    if (entry.name == "." || entry.name == "..") continue;
    if (found->d_type == DT_UNKNOWN) {
      struct stat item {};
      if (::fstatat(descriptor, found->d_name, &item, AT_SYMLINK_NOFOLLOW) != 0) continue;
      entry.kind = kindOfMode(item.st_mode);
    }
    entries.push_back(std::move(entry));
  }
  std::sort(entries.begin(), entries.end(),
            [](const FolderEntry& a, const FolderEntry& b) { return a.name < b.name; });
  return entries;
}

bool PosixFileSystem::isAccessible(std::string_view path, int mode) {
  if (way() == PathResolver::Way::Plain) {
    const PathBuffer buffer(path);
    return buffer.error() == 0 && ::faccessat(AT_FDCWD, buffer.text(), mode, AT_EACCESS) == 0;
  }
  const OpenResult item = resolver_->open(path, O_PATH);
  return item.ok() && ::faccessat(AT_FDCWD, ItemPath(item.descriptor.get()).text(), mode, AT_EACCESS) == 0;
}

std::optional<std::string> PosixFileSystem::attribute(std::string_view path, std::string_view name) {
  if (name.find('\0') != std::string_view::npos) return std::nullopt;
  const std::string nameText(name);
  if (way() == PathResolver::Way::Plain) {
    const PathBuffer buffer(path);
    if (buffer.error() != 0) return std::nullopt;
    return valueOfAttribute([&](char* value, std::size_t size) {
      return ::lgetxattr(buffer.text(), nameText.c_str(), value, size);
    });
  }
  const OpenResult item = resolver_->open(path, O_PATH | O_NOFOLLOW);
  if (!item.ok()) return std::nullopt;
  const ItemPath itemPath(item.descriptor.get());
  return valueOfAttribute([&](char* value, std::size_t size) {
    return ::getxattr(itemPath.text(), nameText.c_str(), value, size);
  });
}

std::vector<std::string> PosixFileSystem::attributeNames(std::string_view path) {
  std::vector<std::string> names;
  const OpenResult item = resolver_->open(path, O_PATH | O_NOFOLLOW);
  if (!item.ok()) return names;
  std::string list(XATTR_LIST_MAX, '\0');
  const ssize_t length = ::listxattr(ItemPath(item.descriptor.get()).text(), list.data(), list.size());
  for (std::size_t start = 0; length > 0 && start < static_cast<std::size_t>(length);) {
    names.emplace_back(list.c_str() + start);
    start += names.back().size() + 1;
  }
  std::sort(names.begin(), names.end());
  return names;
}

std::optional<std::string> PosixFileSystem::hostPath(std::string_view path) {
  const Result<std::string> inside = realPath(path);
  if (!inside.ok()) return std::nullopt;
  if (hostRoot_ == "/") return *inside;
  return *inside == "/" ? hostRoot_ : hostRoot_ + *inside;
}

std::optional<std::string> PosixFileSystem::pathInRoot(std::string_view hostPath) {
  const std::string found = canonicalHostPath(std::string(hostPath));
  if (found.empty() || hostRoot_.empty()) return std::nullopt;
  if (hostRoot_ == "/") return found;
  if (found == hostRoot_) return "/";
  const bool isInside = found.compare(0, hostRoot_.size(), hostRoot_) == 0 && found[hostRoot_.size()] == '/';
  return isInside ? std::optional(found.substr(hostRoot_.size())) : std::nullopt;
}

}  // namespace macos
