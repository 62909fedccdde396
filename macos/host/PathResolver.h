// SPDX-License-Identifier: MIT
//
// Opens Mac paths inside the root folder, so that every component and every symbolic link is looked up
// as chroot(2) would: "/" and an absolute link start at the root, ".." stops there. Three ways with one
// behaviour: plain system calls when the root is the machine's own, the kernel's restricted look-up
// where it has one, and a walk through the components in this process. Immutable after construction;
// any thread may call it.
//
// The ways differ in nothing that a path can show, with one exception: the kernel's links to open files
// (/proc/<id>/fd and the like) are followed in the machine's own root only; elsewhere they answer EXDEV.
#ifndef MACOS_HOST_PATHRESOLVER_H
#define MACOS_HOST_PATHRESOLVER_H

#include <fcntl.h>
#include <sys/types.h>

#include <memory>
#include <string>
#include <string_view>

#include "macos/host/Descriptor.h"

namespace macos {

// An open descriptor or the errno that says why there is none.
struct OpenResult {
  OpenResult(Descriptor opened) : descriptor(std::move(opened)) {}
  explicit OpenResult(int errnoValue) : error(errnoValue) {}
  bool ok() const { return error == 0; }

  Descriptor descriptor;
  int error = 0;
};

class PathResolver {
 public:
  enum class Way { Plain, Kernel, Walk };
  // The best way there is. hostRoot is canonical; root is a descriptor of it, taken over.
  static std::unique_ptr<PathResolver> make(const std::string& hostRoot, Descriptor root);
  // The given way, for comparisons; null when the kernel has no restricted look-up.
  static std::unique_ptr<PathResolver> make(Way way, Descriptor root);

  virtual ~PathResolver() = default;

  virtual Way way() const = 0;
  // open(2) with O_CLOEXEC added. A relative path is taken against "/".
  OpenResult open(std::string_view path, int flags, mode_t mode = 0) const;
  // The item's path with no link, "." or ".." in it, or the errno. Needs nothing but the folders themselves.
  static int realPath(int rootDescriptor, std::string_view path, std::string& result);

 protected:
  virtual OpenResult openChecked(const char* path, int flags, mode_t mode) const = 0;
};

// An absolute path as system calls want it, on the stack: the given one with a NUL behind it and, when it
// is relative, a slash before it.
class PathBuffer {
 public:
  explicit PathBuffer(std::string_view path);
  // 0, or the errno of a path that no item can have.
  int error() const { return error_; }
  const char* text() const { return text_; }

 private:
  static constexpr std::size_t kCapacity = 4096;
  int error_ = 0;
  char text_[kCapacity];
};

}  // namespace macos

#endif  // MACOS_HOST_PATHRESOLVER_H
