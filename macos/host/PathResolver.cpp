// SPDX-License-Identifier: MIT
#include "macos/host/PathResolver.h"

#include <linux/openat2.h>
#include <sys/syscall.h>

#include <cstring>

#include "macos/host/PathWalk.h"

namespace macos {

namespace {

class PlainResolver : public PathResolver {
 public:
  Way way() const override { return Way::Plain; }

 protected:
  OpenResult openChecked(const char* path, int flags, mode_t mode) const override {
    const int opened = uninterrupted([&] { return ::open(path, flags, mode); });
    return opened < 0 ? OpenResult(errno) : OpenResult(Descriptor(opened));
  }
};

class WalkingResolver : public PathResolver {
 public:
  explicit WalkingResolver(Descriptor root) : root_(std::move(root)) {}
  Way way() const override { return Way::Walk; }

 protected:
  OpenResult openChecked(const char* path, int flags, mode_t mode) const override {
    return openByWalking(root_.get(), path, flags, mode);
  }

 private:
  Descriptor root_;
};

class KernelResolver : public PathResolver {
 public:
  explicit KernelResolver(Descriptor root) : root_(std::move(root)) {}
  Way way() const override { return Way::Kernel; }

  static bool isAvailable(int root) { return openRestricted(root, "/", O_PATH | O_CLOEXEC, 0).ok(); }

 protected:
  OpenResult openChecked(const char* path, int flags, mode_t mode) const override {
    // The kernel gives up with EAGAIN when anything on the machine is renamed or mounted while it passes
    // a "..". The walk notices by itself whether the folders it passes are concerned.
    constexpr int kAttempts = 16;
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
      OpenResult result = openRestricted(root_.get(), path, flags, mode);
      if (result.error != EAGAIN) return result;
    }
    return openByWalking(root_.get(), path, flags, mode);
  }

 private:
  static OpenResult openRestricted(int root, const char* path, int flags, mode_t mode) {
    open_how how{};
    how.flags = static_cast<unsigned>(flags);
    how.mode = (flags & O_CREAT) != 0 ? mode : 0;
    how.resolve = RESOLVE_IN_ROOT;
    const long opened = uninterrupted([&] { return ::syscall(SYS_openat2, root, path, &how, sizeof how); });
    return opened < 0 ? OpenResult(errno) : OpenResult(Descriptor(static_cast<int>(opened)));
  }

  Descriptor root_;
};

}  // namespace

PathBuffer::PathBuffer(std::string_view path) {
  text_[0] = '\0';
  if (path.empty()) {
    error_ = ENOENT;
    return;
  }
  if (path.find('\0') != std::string_view::npos) {
    error_ = EINVAL;
    return;
  }
  const std::size_t before = path.front() == '/' ? 0 : 1;
  if (before + path.size() >= kCapacity) {
    error_ = ENAMETOOLONG;
    return;
  }
  text_[0] = '/';
  std::memcpy(text_ + before, path.data(), path.size());
  text_[before + path.size()] = '\0';
}

std::unique_ptr<PathResolver> PathResolver::make(const std::string& hostRoot, Descriptor root) {
  if (hostRoot == "/") return std::make_unique<PlainResolver>();
  const Way best = KernelResolver::isAvailable(root.get()) ? Way::Kernel : Way::Walk;
  return make(best, std::move(root));
}

std::unique_ptr<PathResolver> PathResolver::make(Way way, Descriptor root) {
  switch (way) {
    case Way::Plain:
      return std::make_unique<PlainResolver>();
    case Way::Kernel:
      if (!KernelResolver::isAvailable(root.get())) return nullptr;
      return std::make_unique<KernelResolver>(std::move(root));
    case Way::Walk:
      return std::make_unique<WalkingResolver>(std::move(root));
  }
  return nullptr;
}

OpenResult PathResolver::open(std::string_view path, int flags, mode_t mode) const {
  const PathBuffer buffer(path);
  if (buffer.error() != 0) return OpenResult(buffer.error());
  return openChecked(buffer.text(), flags | O_CLOEXEC, mode);
}

int PathResolver::realPath(int rootDescriptor, std::string_view path, std::string& result) {
  const PathBuffer buffer(path);
  if (buffer.error() != 0) return buffer.error();
  return realPathByWalking(rootDescriptor, buffer.text(), result);
}

}  // namespace macos
