// SPDX-License-Identifier: MIT
//
// File systems that stand before another one: they count its operations, let one of them fail, kill the
// process at one, or do not answer. TestHost::interpose puts them in the way. Any thread.
#ifndef TESTS_SUPPORT_FILESYSTEMS_H
#define TESTS_SUPPORT_FILESYSTEMS_H

#include <atomic>
#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "macos/host/FileSystem.h"

namespace vennick::tests {

enum class FileOperation {
  Info,
  ReadLink,
  RealPath,
  Read,
  ReadStart,
  List,
  IsAccessible,
  Replace,
  Create,
  Append,
  CopyFile,
  MakeFolder,
  MakeLink,
  Rename,
  RemoveFile,
  RemoveFolder,
  SetModified,
  SetMode,
  SetImmutable,
  Attribute,
  AttributeNames,
  SetAttribute,
  Lock,
  HostPath,
  PathInRoot,
};

// Whether the operation may change something on the disk. A lock does not count.
bool isChange(FileOperation operation);

struct FileEvent {
  FileOperation operation;
  std::string_view path;
  std::string_view content;  // what is to be written, where something is
};

// Passes everything on. Derived classes look in before each operation and may make it fail, and after it.
// The three operations that cannot tell an error answer as they do when there is nothing.
class ForwardingFileSystem : public macos::FileSystem {
 public:
  explicit ForwardingFileSystem(std::shared_ptr<macos::FileSystem> inner) : inner_(std::move(inner)) {}

  // Lets everybody go who waits in it. Called when the test ends.
  virtual void release() {}

  macos::Result<macos::FileInfo> info(std::string_view path, macos::FollowLinks follow) override;
  macos::Result<std::string> readLink(std::string_view path) override;
  macos::Result<std::string> realPath(std::string_view path) override;
  macos::Result<std::string> read(std::string_view path, std::uint64_t limit) override;
  macos::Result<std::string> readStart(std::string_view path, std::size_t count) override;
  macos::Result<std::vector<macos::FolderEntry>> list(std::string_view path) override;
  bool isAccessible(std::string_view path, int mode) override;
  macos::Status replace(std::string_view path, std::string_view content, std::uint32_t mode) override;
  // One after the other, so that each can be looked into.
  std::vector<macos::Status> replaceAll(const std::vector<macos::NewContent>& files,
                                        std::uint32_t mode) override;
  macos::Status create(std::string_view path, std::string_view content, std::uint32_t mode) override;
  macos::Status append(std::string_view path, std::string_view content, std::uint32_t mode) override;
  macos::Status copyFile(std::string_view from, std::string_view to) override;
  macos::Status makeFolder(std::string_view path, std::uint32_t mode) override;
  macos::Status makeLink(std::string_view path, std::string_view target) override;
  macos::Status rename(std::string_view from, std::string_view to, Replace replace) override;
  macos::Status removeFile(std::string_view path) override;
  macos::Status removeFolder(std::string_view path) override;
  macos::Status setModified(std::string_view path, macos::UnixNanoseconds time) override;
  macos::Status setMode(std::string_view path, std::uint32_t mode) override;
  macos::Status setImmutable(std::string_view path, bool immutable) override;
  std::optional<std::string> attribute(std::string_view path, std::string_view name) override;
  std::vector<std::string> attributeNames(std::string_view path) override;
  macos::Status setAttribute(std::string_view path, std::string_view name, std::string_view value) override;
  macos::Result<std::unique_ptr<macos::FileLock>> lock(std::string_view path) override;
  std::optional<std::string> hostPath(std::string_view path) override;
  std::optional<std::string> pathInRoot(std::string_view hostPath) override;

 protected:
  // Not ok: the operation is not carried out and answers this.
  virtual macos::Status before(const FileEvent&) { return {}; }
  virtual void after(const FileEvent&) {}
  virtual std::shared_ptr<macos::FileSystem> inner() { return inner_; }

  std::shared_ptr<macos::FileSystem> inner_;

 private:
  template <typename Call>
  auto pass(const FileEvent& event, Call call);
};

// Passes everything on to a file system that can be exchanged.
class SwitchableFileSystem : public ForwardingFileSystem {
 public:
  using ForwardingFileSystem::ForwardingFileSystem;
  void setInner(std::shared_ptr<macos::FileSystem> inner);
  std::shared_ptr<macos::FileSystem> inner() override;

 private:
  std::mutex mutex_;
};

class CountingFileSystem : public ForwardingFileSystem {
 public:
  using ForwardingFileSystem::ForwardingFileSystem;

  long total();
  long changes();
  long count(FileOperation operation);
  // The paths of all operations of the kind, in order.
  std::vector<std::string> paths(FileOperation operation);
  void reset();

 protected:
  macos::Status before(const FileEvent& event) override;

 private:
  std::mutex mutex_;
  std::vector<std::pair<FileOperation, std::string>> events_;
};

enum class Operations { All, Changes };

// The Nth operation, counted from 1, fails with the errno and is not carried out; with Lasting::Yes so do
// all after it.
class FailingFileSystem : public ForwardingFileSystem {
 public:
  enum class Lasting { No, Yes };
  FailingFileSystem(std::shared_ptr<macos::FileSystem> inner, long nth, int errnoValue,
                    Operations which = Operations::All, Lasting lasting = Lasting::No);

  bool hasFailed() const { return hasFailed_; }

 protected:
  macos::Status before(const FileEvent& event) override;

 private:
  const long nth_;
  const int errno_;
  const Operations which_;
  const Lasting lasting_;
  std::atomic<long> count_{0};
  std::atomic<bool> hasFailed_{false};
};

// At the Nth operation, counted from 1, the process ends as by a kill: without a destructor, with exit
// code kKilledExitCode. For a child process (runInChild).
class KillingFileSystem : public ForwardingFileSystem {
 public:
  static constexpr int kExitCode = 137;
  // Midway: half of what is to be written has reached the disk, in the place where a real crash leaves it.
  enum class Moment { Before, Midway, After };
  KillingFileSystem(std::shared_ptr<macos::FileSystem> inner, long nth, Moment moment = Moment::Before,
                    Operations which = Operations::All);

 protected:
  macos::Status before(const FileEvent& event) override;
  void after(const FileEvent& event) override;

 private:
  void leaveHalf(const FileEvent& event);

  const long nth_;
  const Moment moment_;
  const Operations which_;
  std::atomic<long> count_{0};
};

// Operations at or below a path do not answer until they are released, then they are carried out.
class BlockingFileSystem : public ForwardingFileSystem {
 public:
  BlockingFileSystem(std::shared_ptr<macos::FileSystem> inner, std::string path);

  void release() override;
  // Waits until so many operations are held up.
  void waitForHeld(int count);

 protected:
  macos::Status before(const FileEvent& event) override;

 private:
  const std::string path_;
  std::mutex mutex_;
  std::condition_variable changed_;
  int held_ = 0;
  bool isReleased_ = false;
};

}  // namespace vennick::tests

#endif  // TESTS_SUPPORT_FILESYSTEMS_H
