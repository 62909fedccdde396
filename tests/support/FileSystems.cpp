// SPDX-License-Identifier: MIT
#include "tests/support/FileSystems.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <type_traits>

namespace vennick::tests {

using macos::FileInfo;
using macos::FileLock;
using macos::FileSystem;
using macos::FolderEntry;
using macos::FollowLinks;
using macos::NewContent;
using macos::Result;
using macos::Status;
using macos::UnixNanoseconds;

bool isChange(FileOperation operation) {
  switch (operation) {
    case FileOperation::Replace:
    case FileOperation::Create:
    case FileOperation::Append:
    case FileOperation::CopyFile:
    case FileOperation::MakeFolder:
    case FileOperation::MakeLink:
    case FileOperation::Rename:
    case FileOperation::RemoveFile:
    case FileOperation::RemoveFolder:
    case FileOperation::SetModified:
    case FileOperation::SetMode:
    case FileOperation::SetImmutable:
    case FileOperation::SetAttribute:
      return true;
    default:
      return false;
  }
}

template <typename Call>
auto ForwardingFileSystem::pass(const FileEvent& event, Call call) {
  using Answer = decltype(call(*inner_));
  if (Status status = before(event); !status.ok()) {
    if constexpr (std::is_constructible_v<Answer, Status>) {
      return Answer(std::move(status));
    } else {
      return Answer();
    }
  }
  const std::shared_ptr<FileSystem> target = inner();
  Answer answer = call(*target);
  after(event);
  return answer;
}

Result<FileInfo> ForwardingFileSystem::info(std::string_view path, FollowLinks follow) {
  return pass({FileOperation::Info, path, {}}, [&](FileSystem& files) { return files.info(path, follow); });
}
Result<std::string> ForwardingFileSystem::readLink(std::string_view path) {
  return pass({FileOperation::ReadLink, path, {}}, [&](FileSystem& files) { return files.readLink(path); });
}
Result<std::string> ForwardingFileSystem::realPath(std::string_view path) {
  return pass({FileOperation::RealPath, path, {}}, [&](FileSystem& files) { return files.realPath(path); });
}
Result<std::string> ForwardingFileSystem::read(std::string_view path, std::uint64_t limit) {
  return pass({FileOperation::Read, path, {}}, [&](FileSystem& files) { return files.read(path, limit); });
}
Result<std::string> ForwardingFileSystem::readStart(std::string_view path, std::size_t count) {
  return pass({FileOperation::ReadStart, path, {}},
              [&](FileSystem& files) { return files.readStart(path, count); });
}
Result<std::vector<FolderEntry>> ForwardingFileSystem::list(std::string_view path) {
  return pass({FileOperation::List, path, {}}, [&](FileSystem& files) { return files.list(path); });
}
bool ForwardingFileSystem::isAccessible(std::string_view path, int mode) {
  return pass({FileOperation::IsAccessible, path, {}},
              [&](FileSystem& files) { return files.isAccessible(path, mode); });
}
Status ForwardingFileSystem::replace(std::string_view path, std::string_view content, std::uint32_t mode) {
  return pass({FileOperation::Replace, path, content},
              [&](FileSystem& files) { return files.replace(path, content, mode); });
}
std::vector<Status> ForwardingFileSystem::replaceAll(const std::vector<NewContent>& files,
                                                     std::uint32_t mode) {
  std::vector<Status> results;
  for (const NewContent& file : files) results.push_back(replace(file.path, file.content, mode));
  return results;
}
Status ForwardingFileSystem::create(std::string_view path, std::string_view content, std::uint32_t mode) {
  return pass({FileOperation::Create, path, content},
              [&](FileSystem& files) { return files.create(path, content, mode); });
}
Status ForwardingFileSystem::append(std::string_view path, std::string_view content, std::uint32_t mode) {
  return pass({FileOperation::Append, path, content},
              [&](FileSystem& files) { return files.append(path, content, mode); });
}
Status ForwardingFileSystem::copyFile(std::string_view from, std::string_view to) {
  return pass({FileOperation::CopyFile, to, {}}, [&](FileSystem& files) { return files.copyFile(from, to); });
}
Status ForwardingFileSystem::makeFolder(std::string_view path, std::uint32_t mode) {
  return pass({FileOperation::MakeFolder, path, {}},
              [&](FileSystem& files) { return files.makeFolder(path, mode); });
}
Status ForwardingFileSystem::makeLink(std::string_view path, std::string_view target) {
  return pass({FileOperation::MakeLink, path, {}},
              [&](FileSystem& files) { return files.makeLink(path, target); });
}
Status ForwardingFileSystem::rename(std::string_view from, std::string_view to, Replace replace) {
  return pass({FileOperation::Rename, from, {}},
              [&](FileSystem& files) { return files.rename(from, to, replace); });
}
Status ForwardingFileSystem::removeFile(std::string_view path) {
  return pass({FileOperation::RemoveFile, path, {}},
              [&](FileSystem& files) { return files.removeFile(path); });
}
Status ForwardingFileSystem::removeFolder(std::string_view path) {
  return pass({FileOperation::RemoveFolder, path, {}},
              [&](FileSystem& files) { return files.removeFolder(path); });
}
Status ForwardingFileSystem::setModified(std::string_view path, UnixNanoseconds time) {
  return pass({FileOperation::SetModified, path, {}},
              [&](FileSystem& files) { return files.setModified(path, time); });
}
Status ForwardingFileSystem::setMode(std::string_view path, std::uint32_t mode) {
  return pass({FileOperation::SetMode, path, {}},
              [&](FileSystem& files) { return files.setMode(path, mode); });
}
Status ForwardingFileSystem::setImmutable(std::string_view path, bool immutable) {
  return pass({FileOperation::SetImmutable, path, {}},
              [&](FileSystem& files) { return files.setImmutable(path, immutable); });
}
std::optional<std::string> ForwardingFileSystem::attribute(std::string_view path, std::string_view name) {
  return pass({FileOperation::Attribute, path, {}},
              [&](FileSystem& files) { return files.attribute(path, name); });
}
std::vector<std::string> ForwardingFileSystem::attributeNames(std::string_view path) {
  return pass({FileOperation::AttributeNames, path, {}},
              [&](FileSystem& files) { return files.attributeNames(path); });
}
Status ForwardingFileSystem::setAttribute(std::string_view path, std::string_view name,
                                          std::string_view value) {
  return pass({FileOperation::SetAttribute, path, value},
              [&](FileSystem& files) { return files.setAttribute(path, name, value); });
}
Result<std::unique_ptr<FileLock>> ForwardingFileSystem::lock(std::string_view path) {
  return pass({FileOperation::Lock, path, {}}, [&](FileSystem& files) { return files.lock(path); });
}
std::optional<std::string> ForwardingFileSystem::hostPath(std::string_view path) {
  return pass({FileOperation::HostPath, path, {}}, [&](FileSystem& files) { return files.hostPath(path); });
}
std::optional<std::string> ForwardingFileSystem::pathInRoot(std::string_view hostPath) {
  return pass({FileOperation::PathInRoot, hostPath, {}},
              [&](FileSystem& files) { return files.pathInRoot(hostPath); });
}

void SwitchableFileSystem::setInner(std::shared_ptr<FileSystem> inner) {
  const std::lock_guard lock(mutex_);
  inner_ = std::move(inner);
}

std::shared_ptr<FileSystem> SwitchableFileSystem::inner() {
  const std::lock_guard lock(mutex_);
  return inner_;
}

Status CountingFileSystem::before(const FileEvent& event) {
  const std::lock_guard lock(mutex_);
  events_.emplace_back(event.operation, event.path);
  return {};
}

long CountingFileSystem::total() {
  const std::lock_guard lock(mutex_);
  return static_cast<long>(events_.size());
}

long CountingFileSystem::changes() {
  const std::lock_guard lock(mutex_);
  return std::count_if(events_.begin(), events_.end(),
                       [](const auto& event) { return isChange(event.first); });
}

long CountingFileSystem::count(FileOperation operation) {
  const std::lock_guard lock(mutex_);
  return std::count_if(events_.begin(), events_.end(),
                       [&](const auto& event) { return event.first == operation; });
}

std::vector<std::string> CountingFileSystem::paths(FileOperation operation) {
  const std::lock_guard lock(mutex_);
  std::vector<std::string> result;
  for (const auto& event : events_) {
    if (event.first == operation) result.push_back(event.second);
  }
  return result;
}

void CountingFileSystem::reset() {
  const std::lock_guard lock(mutex_);
  events_.clear();
}

FailingFileSystem::FailingFileSystem(std::shared_ptr<FileSystem> inner, long nth, int errnoValue,
                                     Operations which, Lasting lasting)
    : ForwardingFileSystem(std::move(inner)),
      nth_(nth),
      errno_(errnoValue),
      which_(which),
      lasting_(lasting) {}

Status FailingFileSystem::before(const FileEvent& event) {
  if (which_ == Operations::Changes && !isChange(event.operation)) return {};
  const long number = ++count_;
  if (number != nth_ && (lasting_ == Lasting::No || number < nth_)) return {};
  hasFailed_ = true;
  return Status::fromErrno(event.path, errno_);
}

KillingFileSystem::KillingFileSystem(std::shared_ptr<FileSystem> inner, long nth, Moment moment,
                                     Operations which)
    : ForwardingFileSystem(std::move(inner)), nth_(nth), moment_(moment), which_(which) {}

void KillingFileSystem::leaveHalf(const FileEvent& event) {
  const std::string_view half = event.content.substr(0, event.content.size() / 2);
  std::string path(event.path);
  if (event.operation == FileOperation::Replace) {
    const std::size_t name = path.rfind('/') + 1;
    path = path.substr(0, name) + "." + path.substr(name).substr(0, 100) + ".0123456789abcdef";
    static_cast<void>(inner()->create(path, half, 0600));
  } else if (event.operation == FileOperation::Create) {
    static_cast<void>(inner()->create(path, half, 0600));
  } else if (event.operation == FileOperation::Append) {
    static_cast<void>(inner()->append(path, half, 0600));
  }
}

Status KillingFileSystem::before(const FileEvent& event) {
  if (which_ == Operations::Changes && !isChange(event.operation)) return {};
  if (++count_ != nth_ || moment_ == Moment::After) return {};
  if (moment_ == Moment::Midway) leaveHalf(event);
  ::_exit(kExitCode);
}

void KillingFileSystem::after(const FileEvent& event) {
  if (which_ == Operations::Changes && !isChange(event.operation)) return;
  if (moment_ == Moment::After && count_ >= nth_) ::_exit(kExitCode);
}

BlockingFileSystem::BlockingFileSystem(std::shared_ptr<FileSystem> inner, std::string path)
    : ForwardingFileSystem(std::move(inner)), path_(std::move(path)) {}

Status BlockingFileSystem::before(const FileEvent& event) {
  const std::string_view path = event.path;
  const bool isBelow =
      path.substr(0, path_.size()) == path_ && (path.size() == path_.size() || path[path_.size()] == '/');
  if (!isBelow) return {};
  std::unique_lock lock(mutex_);
  ++held_;
  changed_.notify_all();
  changed_.wait(lock, [this] { return isReleased_; });
  --held_;
  return {};
}

void BlockingFileSystem::release() {
  const std::lock_guard lock(mutex_);
  isReleased_ = true;
  changed_.notify_all();
}

void BlockingFileSystem::waitForHeld(int count) {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [&] { return held_ >= count; });
}

}  // namespace vennick::tests
