// SPDX-License-Identifier: MIT
#include "tests/support/TemporaryMount.h"

#include <sys/mount.h>

namespace vennick::tests {

std::unique_ptr<TemporaryMount> TemporaryMount::volume(const TemporaryRoot& root, std::string_view macPath,
                                                       std::uint64_t bytes) {
  root.makeFolder(macPath);
  const std::string path = root.hostPath(macPath);
  const std::string options = "size=" + std::to_string(bytes) + ",mode=0777";
  if (::mount("tmpfs", path.c_str(), "tmpfs", 0, options.c_str()) != 0) return nullptr;
  return std::unique_ptr<TemporaryMount>(new TemporaryMount(path));
}

TemporaryMount::~TemporaryMount() { ::umount2(path_.c_str(), MNT_DETACH); }

bool TemporaryMount::makeReadOnly() {
  return ::mount(nullptr, path_.c_str(), nullptr, MS_REMOUNT | MS_BIND | MS_RDONLY, nullptr) == 0;
}

}  // namespace vennick::tests
