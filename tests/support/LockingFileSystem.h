// SPDX-License-Identifier: MIT
//
// Locks items where the machine cannot: what is locked is immutable, and so cannot be changed, moved or
// removed, and nothing in it can be made or removed, until it is unlocked. One thread.
#ifndef TESTS_SUPPORT_LOCKINGFILESYSTEM_H
#define TESTS_SUPPORT_LOCKINGFILESYSTEM_H

#include <cerrno>
#include <memory>
#include <set>
#include <string>
#include <utility>

#include "tests/support/FileSystems.h"

namespace vennick::tests {

class LockingFileSystem : public ForwardingFileSystem {
 public:
  enum class Unlocking { Allowed, Refused };

  LockingFileSystem(std::shared_ptr<macos::FileSystem> inner, std::set<std::string> locked,
                    Unlocking unlocking = Unlocking::Allowed)
      : ForwardingFileSystem(std::move(inner)), locked_(std::move(locked)), unlocking_(unlocking) {}

  macos::Result<macos::FileInfo> info(std::string_view path, macos::FollowLinks follow) override {
    auto info = ForwardingFileSystem::info(path, follow);
    if (info) info->immutable = isLocked(path);
    return info;
  }
  macos::Status setImmutable(std::string_view path, bool immutable) override {
    if (!immutable && unlocking_ == Unlocking::Refused) return macos::Status::fromErrno(path, EPERM);
    if (immutable) {
      locked_.emplace(path);
    } else {
      locked_.erase(std::string(path));
    }
    return {};
  }

  bool isLocked(std::string_view path) const { return locked_.count(std::string(path)) != 0; }

 protected:
  macos::Status before(const FileEvent& event) override {
    const std::string folder(event.path.substr(0, event.path.rfind('/')));
    const bool isFree = !isChange(event.operation) || (!isLocked(event.path) && !isLocked(folder));
    return isFree ? macos::Status() : macos::Status::fromErrno(event.path, EPERM);
  }

 private:
  std::set<std::string> locked_;
  const Unlocking unlocking_;
};

}  // namespace vennick::tests

#endif  // TESTS_SUPPORT_LOCKINGFILESYSTEM_H
