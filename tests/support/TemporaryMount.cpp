// SPDX-License-Identifier: MIT
#include "tests/support/TemporaryMount.h"

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <unistd.h>

#include <utility>

namespace vennick::tests {

std::unique_ptr<TemporaryMount> TemporaryMount::volume(const TemporaryRoot& root, std::string_view macPath,
                                                       std::uint64_t bytes) {
  root.makeFolder(macPath);
  const std::string path = root.hostPath(macPath);
  const std::string options = "size=" + std::to_string(bytes) + ",mode=0777";
  if (::mount("tmpfs", path.c_str(), "tmpfs", 0, options.c_str()) != 0) return nullptr;
  return std::unique_ptr<TemporaryMount>(new TemporaryMount(path));
}

std::unique_ptr<TemporaryMount> TemporaryMount::caseFoldingVolume(const TemporaryRoot& root,
                                                                  std::string_view macPath) {
  root.makeFolder(macPath);
  const std::string path = root.hostPath(macPath);
  if (::mount("tmpfs", path.c_str(), "tmpfs", 0, "size=1m,mode=0777,casefold") != 0) return nullptr;
  std::unique_ptr<TemporaryMount> mounted(new TemporaryMount(path));
  const int top = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  int flags = 0;
  bool folds = ::ioctl(top, FS_IOC_GETFLAGS, &flags) == 0;
  flags |= FS_CASEFOLD_FL;
  folds = folds && ::ioctl(top, FS_IOC_SETFLAGS, &flags) == 0;
  ::close(top);
  return folds ? std::move(mounted) : nullptr;
}

TemporaryMount::~TemporaryMount() { ::umount2(path_.c_str(), MNT_DETACH); }

bool TemporaryMount::makeReadOnly() {
  return ::mount(nullptr, path_.c_str(), nullptr, MS_REMOUNT | MS_BIND | MS_RDONLY, nullptr) == 0;
}

}  // namespace vennick::tests
