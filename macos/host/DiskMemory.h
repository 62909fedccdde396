// SPDX-License-Identifier: MIT
//
// What was just learned of the disk, so that the many small questions about one place are asked once. It
// remembers only between the beginning and the end of a RememberedDisk, and only what the thread that began
// it asks; every change that is made through the host makes it forget. A change that another process makes
// meanwhile is seen when its holder next forgets, which is why the holder does so before each thing that
// should see the disk as it is now.
//
// RememberingFileSystem and RememberingVolumeTable stand before the real ones and share one memory. They may
// be called from any thread.
#ifndef MACOS_HOST_DISKMEMORY_H
#define MACOS_HOST_DISKMEMORY_H

#include <array>
#include <atomic>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <type_traits>
#include <unordered_map>
#include <vector>

#include "macos/host/FileSystem.h"
#include "macos/host/Services.h"

namespace macos {

class DiskMemory {
 public:
  struct Hash {
    using is_transparent = void;
    std::size_t operator()(std::string_view text) const { return std::hash<std::string_view>()(text); }
  };
  template <typename Answer>
  using Answers = std::unordered_map<std::string, Answer, Hash, std::equal_to<>>;

  // By path; attributes by path, a NUL and their name. Those by FollowLinks have No first.
  struct Content {
    std::array<Answers<Result<FileInfo>>, 2> infos;
    Answers<Result<std::string>> links;
    Answers<Result<std::string>> realPaths;
    Answers<Status> missingFiles;
    Answers<std::optional<std::string>> attributes;
    std::array<Answers<VolumeInfo>, 2> volumesOfPaths;
    std::optional<std::vector<VolumeInfo>> volumes;
    std::size_t count = 0;
  };

  // Null unless the calling thread remembers.
  Content* content();
  // From any thread.
  void forget() { isStale_.store(true, std::memory_order_release); }

  // Remembers from here on for the calling thread, unless another one does; gives whether it does.
  bool begin();
  void end();

 private:
  std::atomic<std::thread::id> thread_{};
  std::atomic<bool> isStale_{false};
  int depth_ = 0;
  Content content_;
};

// The current host remembers until the end of the scope. Scopes nest, and share what they learn. Nothing
// happens on a host whose files do not remember.
class RememberedDisk {
 public:
  RememberedDisk();
  ~RememberedDisk();
  RememberedDisk(const RememberedDisk&) = delete;
  RememberedDisk& operator=(const RememberedDisk&) = delete;

  void forget();

 private:
  std::shared_ptr<DiskMemory> memory_;
};

class RememberingFileSystem : public FileSystem {
 public:
  RememberingFileSystem(std::shared_ptr<FileSystem> files, std::shared_ptr<DiskMemory> memory)
      : files_(std::move(files)), memory_(std::move(memory)) {}

  const std::shared_ptr<DiskMemory>& memory() const { return memory_; }

  // These are remembered; of reading only that there is no file.
  Result<FileInfo> info(std::string_view path, FollowLinks follow) override;
  Result<std::string> readLink(std::string_view path) override;
  Result<std::string> realPath(std::string_view path) override;
  Result<std::string> read(std::string_view path, std::uint64_t limit) override;
  std::optional<std::string> attribute(std::string_view path, std::string_view name) override;

  Result<std::string> readStart(std::string_view path, std::size_t count) override {
    return files_->readStart(path, count);
  }
  Result<std::vector<FolderEntry>> list(std::string_view path) override { return files_->list(path); }
  bool isAccessible(std::string_view path, int mode) override { return files_->isAccessible(path, mode); }
  std::vector<std::string> attributeNames(std::string_view path) override {
    return files_->attributeNames(path);
  }
  std::optional<std::string> hostPath(std::string_view path) override { return files_->hostPath(path); }
  std::optional<std::string> pathInRoot(std::string_view hostPath) override {
    return files_->pathInRoot(hostPath);
  }

  // These make it forget; a folder that is there already does not.
  Status makeFolder(std::string_view path, std::uint32_t mode) override;
  Status replace(std::string_view path, std::string_view content, std::uint32_t mode) override {
    return change([&] { return files_->replace(path, content, mode); });
  }
  std::vector<Status> replaceAll(const std::vector<NewContent>& files, std::uint32_t mode) override {
    return change([&] { return files_->replaceAll(files, mode); });
  }
  Status create(std::string_view path, std::string_view content, std::uint32_t mode) override {
    return change([&] { return files_->create(path, content, mode); });
  }
  Status append(std::string_view path, std::string_view content, std::uint32_t mode) override {
    return change([&] { return files_->append(path, content, mode); });
  }
  Status copyFile(std::string_view from, std::string_view to) override {
    return change([&] { return files_->copyFile(from, to); });
  }
  Status makeLink(std::string_view path, std::string_view target) override {
    return change([&] { return files_->makeLink(path, target); });
  }
  Status rename(std::string_view from, std::string_view to, Replace replace) override {
    return change([&] { return files_->rename(from, to, replace); });
  }
  Status removeFile(std::string_view path) override {
    return change([&] { return files_->removeFile(path); });
  }
  Status removeFolder(std::string_view path) override {
    return change([&] { return files_->removeFolder(path); });
  }
  Status setModified(std::string_view path, UnixNanoseconds time) override {
    return change([&] { return files_->setModified(path, time); });
  }
  Status setMode(std::string_view path, std::uint32_t mode) override {
    return change([&] { return files_->setMode(path, mode); });
  }
  Status setImmutable(std::string_view path, bool immutable) override {
    return change([&] { return files_->setImmutable(path, immutable); });
  }
  Status setAttribute(std::string_view path, std::string_view name, std::string_view value) override {
    return change([&] { return files_->setAttribute(path, name, value); });
  }
  // Who waited for a lock wants to see what its holder did.
  Result<std::unique_ptr<FileLock>> lock(std::string_view path) override {
    return change([&] { return files_->lock(path); });
  }

 private:
  template <typename Change>
  std::invoke_result_t<Change> change(Change change) {
    auto result = change();
    memory_->forget();
    return result;
  }

  std::shared_ptr<FileSystem> files_;
  std::shared_ptr<DiskMemory> memory_;
};

class RememberingVolumeTable : public VolumeTable {
 public:
  RememberingVolumeTable(std::shared_ptr<VolumeTable> volumes, std::shared_ptr<DiskMemory> memory)
      : volumes_(std::move(volumes)), memory_(std::move(memory)) {}

  std::vector<VolumeInfo> volumes() override;
  VolumeInfo volumeForPath(std::string_view path, FollowLinks follow) override;

 private:
  std::shared_ptr<VolumeTable> volumes_;
  std::shared_ptr<DiskMemory> memory_;
};

}  // namespace macos

#endif  // MACOS_HOST_DISKMEMORY_H
