// SPDX-License-Identifier: MIT
#include "macos/host/DiskMemory.h"

#include "macos/host/Host.h"

namespace macos {

namespace {

// Holders forget long before; this is for one that does not.
constexpr std::size_t kMostAnswers = 4096;

std::size_t indexOf(FollowLinks follow) { return follow == FollowLinks::Yes ? 1 : 0; }

// The answer that is remembered, else the one that asking gives.
template <typename Answer, typename Ask>
Answer remembered(DiskMemory::Content& content, DiskMemory::Answers<Answer>& answers, std::string_view key,
                  Ask ask) {
  if (const auto found = answers.find(key); found != answers.end()) return found->second;
  Answer answer = ask();
  ++content.count;
  answers.emplace(key, answer);
  return answer;
}

}  // namespace

DiskMemory::Content* DiskMemory::content() {
  if (thread_.load(std::memory_order_relaxed) != std::this_thread::get_id()) return nullptr;
  if (isStale_.exchange(false, std::memory_order_acquire) || content_.count > kMostAnswers) {
    content_ = Content();
  }
  return &content_;
}

bool DiskMemory::begin() {
  const auto self = std::this_thread::get_id();
  auto nobody = std::thread::id();
  if (!thread_.compare_exchange_strong(nobody, self) && nobody != self) return false;
  ++depth_;
  forget();
  return true;
}

void DiskMemory::end() {
  if (--depth_ > 0) return;
  content_ = Content();
  thread_.store(std::thread::id());
}

RememberedDisk::RememberedDisk() {
  const auto* files = dynamic_cast<const RememberingFileSystem*>(&Host::current().files());
  if (files != nullptr && files->memory()->begin()) memory_ = files->memory();
}

RememberedDisk::~RememberedDisk() {
  if (memory_) memory_->end();
}

void RememberedDisk::forget() {
  if (memory_) memory_->forget();
}

Result<FileInfo> RememberingFileSystem::info(std::string_view path, FollowLinks follow) {
  const auto ask = [&] { return files_->info(path, follow); };
  DiskMemory::Content* content = memory_->content();
  return content == nullptr ? ask() : remembered(*content, content->infos[indexOf(follow)], path, ask);
}

Result<std::string> RememberingFileSystem::readLink(std::string_view path) {
  const auto ask = [&] { return files_->readLink(path); };
  DiskMemory::Content* content = memory_->content();
  return content == nullptr ? ask() : remembered(*content, content->links, path, ask);
}

Result<std::string> RememberingFileSystem::realPath(std::string_view path) {
  const auto ask = [&] { return files_->realPath(path); };
  DiskMemory::Content* content = memory_->content();
  return content == nullptr ? ask() : remembered(*content, content->realPaths, path, ask);
}

Result<std::string> RememberingFileSystem::read(std::string_view path, std::uint64_t limit) {
  DiskMemory::Content* content = memory_->content();
  if (content == nullptr) return files_->read(path, limit);
  if (const auto found = content->missingFiles.find(path); found != content->missingFiles.end()) {
    return found->second;
  }
  auto answer = files_->read(path, limit);
  if (!answer.ok() && answer.status().isNotFound()) {
    ++content->count;
    content->missingFiles.emplace(path, answer.status());
  }
  return answer;
}

std::optional<std::string> RememberingFileSystem::attribute(std::string_view path, std::string_view name) {
  const auto ask = [&] { return files_->attribute(path, name); };
  DiskMemory::Content* content = memory_->content();
  if (content == nullptr) return ask();
  const std::string key = std::string(path) + '\0' + std::string(name);
  return remembered(*content, content->attributes, key, ask);
}

Status RememberingFileSystem::makeFolder(std::string_view path, std::uint32_t mode) {
  Status made = files_->makeFolder(path, mode);
  if (made.code() != ErrorCode::AlreadyExists) memory_->forget();
  return made;
}

std::vector<VolumeInfo> RememberingVolumeTable::volumes() {
  DiskMemory::Content* content = memory_->content();
  if (content == nullptr) return volumes_->volumes();
  if (!content->volumes) content->volumes = volumes_->volumes();
  return *content->volumes;
}

VolumeInfo RememberingVolumeTable::volumeForPath(std::string_view path, FollowLinks follow) {
  const auto ask = [&] { return volumes_->volumeForPath(path, follow); };
  DiskMemory::Content* content = memory_->content();
  return content == nullptr ? ask()
                            : remembered(*content, content->volumesOfPaths[indexOf(follow)], path, ask);
}

}  // namespace macos
