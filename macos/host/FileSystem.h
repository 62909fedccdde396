// SPDX-License-Identifier: MIT
//
// The files of the Mac that the process works on, reached inside the root folder. Every path is an
// absolute Mac path ("/Users/anna/x") and is looked up exactly as chroot(2) would look it up: symbolic
// links, absolute ones too, resolve inside the root, and nothing inside it leads outside. A relative path
// is taken against "/". Paths and names are bytes, compared exactly; spelling variants are the business
// of the floor above.
//
// An interface, so that a test can count operations, make the Nth one fail, or stand in for a slow or
// foreign volume. PosixFileSystem is the real one. Any thread may call it. Unless it is said otherwise an
// operation follows a link at the end of the path when it reads, and takes the link itself when it
// changes something. Every failure's message begins with the path.
#ifndef MACOS_HOST_FILESYSTEM_H
#define MACOS_HOST_FILESYSTEM_H

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "macos/host/Status.h"

namespace macos {

enum class FileKind : std::uint8_t { File, Folder, Link, Other };

// Nanoseconds since 1970-01-01 UTC.
using UnixNanoseconds = std::int64_t;

struct FileInfo {
  FileKind kind = FileKind::Other;
  std::uint64_t device = 0;
  std::uint64_t inode = 0;
  std::uint64_t size = 0;
  std::uint32_t mode = 0;  // permission bits and type, as stat(2) has them
  std::uint32_t userID = 0;
  UnixNanoseconds modified = 0;
  // The birth time where the host's file system records one, else the modification time.
  UnixNanoseconds created = 0;
  bool immutable = false;  // the host's immutable flag: the Mac's "locked"

  bool isFolder() const { return kind == FileKind::Folder; }
  bool isSameItem(const FileInfo& other) const { return device == other.device && inode == other.inode; }
};

enum class FollowLinks : std::uint8_t { No, Yes };

struct FolderEntry {
  std::string name;  // bytes as the disk has them, never "." or ".."
  FileKind kind = FileKind::Other;
  std::uint64_t inode = 0;
};

// Holds an advisory lock until it is destroyed or the process ends, however it ends.
class FileLock {
 public:
  virtual ~FileLock() = default;
};

// What is to be in a file.
struct NewContent {
  std::string path;
  std::string content;
};

class FileSystem {
 public:
  virtual ~FileSystem() = default;

  // What is at the path. NotFound when nothing is, also for a dangling link that is to be followed.
  virtual Result<FileInfo> info(std::string_view path, FollowLinks follow) = 0;
  // The text of the link at the path.
  virtual Result<std::string> readLink(std::string_view path) = 0;
  // The path with every link in it resolved, "." and ".." gone; the item must exist.
  virtual Result<std::string> realPath(std::string_view path) = 0;
  // The whole content of a regular file; links are followed. A file that is larger than the limit, or
  // no regular file, is an error: Io (EFBIG, EISDIR) or Unsupported. A pipe never blocks it.
  virtual Result<std::string> read(std::string_view path, std::uint64_t limit = std::uint64_t{1} << 30) = 0;
  // The first bytes of a regular file, at most count of them.
  virtual Result<std::string> readStart(std::string_view path, std::size_t count) = 0;
  // The entries in the order of their names' bytes.
  virtual Result<std::vector<FolderEntry>> list(std::string_view path) = 0;
  // Whether the process may read, write or search (R_OK, W_OK, X_OK of access(2)), by its effective user.
  virtual bool isAccessible(std::string_view path, int mode) = 0;

  // What is made new gets the given permission bits less the process's umask. When the superuser makes
  // it, for another user's home, it belongs to the owner of its folder; what replaces a file belongs to
  // the owner of that.

  // Puts content into the file at the path in one step: it is written beside it under a hidden name
  // that no other process uses, flushed to the disk, and renamed over it. A link at the path is replaced,
  // not followed. An existing file's permission bits are kept, a new one gets mode. On failure the old
  // file stands as it was and nothing is left beside it. A crash may leave the neighbour (".NAME.", cut
  // when long, and 16 hexadecimal digits) until the file is replaced a day later or more, never half a file.
  virtual Status replace(std::string_view path, std::string_view content, std::uint32_t mode) = 0;
  // The same for several files, which the disk takes much better at once: all are written before the first
  // is flushed, and all flushed before the first is renamed. Each is replaced or stands as it was by
  // itself, whatever becomes of the others: one for which there was no room beside them is tried again
  // after them. What became of each, in their order. As long as it lasts, two descriptors are open for each.
  virtual std::vector<Status> replaceAll(const std::vector<NewContent>& files, std::uint32_t mode) = 0;
  // Makes a new file and flushes it; AlreadyExists when anything is at the path. On failure nothing is
  // left; a crash may leave a part of it.
  virtual Status create(std::string_view path, std::string_view content, std::uint32_t mode) = 0;
  // Adds to the end of a regular file, making it when it is missing; a link is followed. A failure may
  // leave a part of the content.
  virtual Status append(std::string_view path, std::string_view content, std::uint32_t mode) = 0;
  // Makes a new file with the content, permission bits, modification time and "user." attributes of a
  // regular file (a link to one is Unsupported), in pieces, however large it is. AlreadyExists and failure
  // as for create. The copy is not immutable when the original is.
  virtual Status copyFile(std::string_view from, std::string_view to) = 0;
  virtual Status makeFolder(std::string_view path, std::uint32_t mode) = 0;
  virtual Status makeLink(std::string_view path, std::string_view target) = 0;
  // Moves within one volume; between two it is Io (EXDEV). With Replace::No an existing destination, of
  // any kind, is AlreadyExists; with Yes a file replaces a file and a folder an empty folder.
  enum class Replace : std::uint8_t { No, Yes };
  virtual Status rename(std::string_view from, std::string_view to, Replace replace) = 0;
  virtual Status removeFile(std::string_view path) = 0;    // files and links
  virtual Status removeFolder(std::string_view path) = 0;  // empty ones
  virtual Status setModified(std::string_view path, UnixNanoseconds time) = 0;
  virtual Status setMode(std::string_view path, std::uint32_t mode) = 0;  // a link has none: Unsupported
  // Files and folders only; Unsupported on a volume without the flag.
  virtual Status setImmutable(std::string_view path, bool immutable) = 0;

  // Extended attributes by their full host name ("user.com.apple.FinderInfo"), links not followed. An
  // attribute that is not there or cannot be read, or a volume without attributes, is an empty optional.
  virtual std::optional<std::string> attribute(std::string_view path, std::string_view name) = 0;
  // The names of all that can be seen, sorted.
  virtual std::vector<std::string> attributeNames(std::string_view path) = 0;
  virtual Status setAttribute(std::string_view path, std::string_view name, std::string_view value) = 0;

  // Waits, however long it takes, for the exclusive lock of what is at the path, and takes it. The item
  // itself need not exist and is not touched, its folder must. The lock is a file beside it
  // (".NAME.lock"), made for it and removed when the lock is given back; a process that crashes may leave
  // the file, never the lock. It holds against other processes and other threads, and against the thread
  // that has it: it is not recursive.
  virtual Result<std::unique_ptr<FileLock>> lock(std::string_view path) = 0;

  // The same item's path outside the root, every link resolved, for programs that are to be started or
  // handed over; nullopt when nothing is there.
  virtual std::optional<std::string> hostPath(std::string_view path) = 0;
  // The Mac path of an existing item given by its path outside, every link resolved as the machine sees
  // it; nullopt when it lies outside the root.
  virtual std::optional<std::string> pathInRoot(std::string_view hostPath) = 0;
};

}  // namespace macos

#endif  // MACOS_HOST_FILESYSTEM_H
