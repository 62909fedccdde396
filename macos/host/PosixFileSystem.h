// SPDX-License-Identifier: MIT
//
// The real FileSystem, on POSIX calls and a few of Linux's (openat2, statx, renameat2), which it can do
// without. Attributes, access and changes of an item's facts need /proc. In the machine's own root a
// query is one system call or two; in another root it is an open, the query, and a close.
#ifndef MACOS_HOST_POSIXFILESYSTEM_H
#define MACOS_HOST_POSIXFILESYSTEM_H

#include <atomic>

#include "macos/host/FileSystem.h"
#include "macos/host/PathResolver.h"

namespace macos {

class PosixFileSystem : public FileSystem {
 public:
  // The root is a folder of the machine. One that cannot be opened is a root without any item.
  explicit PosixFileSystem(const std::string& hostRoot);
  // With a way of looking paths up that is not chosen by what the machine can do. Way::Plain is for "/".
  // Where the kernel has no restricted look-up, Way::Kernel is Way::Walk.
  PosixFileSystem(const std::string& hostRoot, PathResolver::Way way);
  ~PosixFileSystem() override;

  PathResolver::Way way() const { return resolver_->way(); }

  Result<FileInfo> info(std::string_view path, FollowLinks follow) override;
  Result<std::string> readLink(std::string_view path) override;
  Result<std::string> realPath(std::string_view path) override;
  Result<std::string> read(std::string_view path, std::uint64_t limit) override;
  Result<std::string> readStart(std::string_view path, std::size_t count) override;
  Result<std::vector<FolderEntry>> list(std::string_view path) override;
  bool isAccessible(std::string_view path, int mode) override;

  Status replace(std::string_view path, std::string_view content, std::uint32_t mode) override;
  std::vector<Status> replaceAll(const std::vector<NewContent>& files, std::uint32_t mode) override;
  Status create(std::string_view path, std::string_view content, std::uint32_t mode) override;
  Status append(std::string_view path, std::string_view content, std::uint32_t mode) override;
  Status copyFile(std::string_view from, std::string_view to) override;
  Status makeFolder(std::string_view path, std::uint32_t mode) override;
  Status makeLink(std::string_view path, std::string_view target) override;
  Status rename(std::string_view from, std::string_view to, Replace replace) override;
  Status removeFile(std::string_view path) override;
  Status removeFolder(std::string_view path) override;
  Status setModified(std::string_view path, UnixNanoseconds time) override;
  Status setMode(std::string_view path, std::uint32_t mode) override;
  Status setImmutable(std::string_view path, bool immutable) override;

  std::optional<std::string> attribute(std::string_view path, std::string_view name) override;
  std::vector<std::string> attributeNames(std::string_view path) override;
  Status setAttribute(std::string_view path, std::string_view name, std::string_view value) override;

  Result<std::unique_ptr<FileLock>> lock(std::string_view path) override;

  std::optional<std::string> hostPath(std::string_view path) override;
  std::optional<std::string> pathInRoot(std::string_view hostPath) override;

 private:
  struct Place;
  class NewFile;
  class Replacement;

  Place place(std::string_view path) const;
  // The same for an operation that needs the name of a file.
  Place placeOfFile(std::string_view path);
  OpenResult openToRead(std::string_view path, std::uint64_t& size) const;
  std::string realPathByDescriptor(int descriptor) const;

  std::string hostRoot_;  // canonical
  Descriptor root_;
  std::unique_ptr<PathResolver> resolver_;
  std::atomic<std::uint64_t> nextNeighbour_;
};

}  // namespace macos

#endif  // MACOS_HOST_POSIXFILESYSTEM_H
