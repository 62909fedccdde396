// SPDX-License-Identifier: MIT
//
// Somebody else who changes the disk at the wrong moment: once, just before an operation on a path.
#ifndef TESTS_SUPPORT_MEDDLINGFILESYSTEM_H
#define TESTS_SUPPORT_MEDDLINGFILESYSTEM_H

#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "tests/support/FileSystems.h"

namespace vennick::tests {

class MeddlingFileSystem : public ForwardingFileSystem {
 public:
  MeddlingFileSystem(std::shared_ptr<macos::FileSystem> inner, FileOperation operation, std::string path,
                     std::function<void()> change)
      : ForwardingFileSystem(std::move(inner)),
        operation_(operation),
        path_(std::move(path)),
        change_(std::move(change)) {}

 protected:
  macos::Status before(const FileEvent& event) override {
    if (event.operation == operation_ && event.path == path_ && change_) std::exchange(change_, nullptr)();
    return {};
  }

 private:
  const FileOperation operation_;
  const std::string path_;
  std::function<void()> change_;
};

}  // namespace vennick::tests

#endif  // TESTS_SUPPORT_MEDDLINGFILESYSTEM_H
