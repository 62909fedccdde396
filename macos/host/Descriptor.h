// SPDX-License-Identifier: MIT
//
// A file descriptor with one owner, which closes it. For the host's own use; nothing above it sees
// descriptors of files.
#ifndef MACOS_HOST_DESCRIPTOR_H
#define MACOS_HOST_DESCRIPTOR_H

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <utility>

namespace macos {

// Move-only.
class Descriptor {
 public:
  Descriptor() = default;
  explicit Descriptor(int number) : number_(number) {}
  ~Descriptor() { reset(); }
  Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    if (this != &other) reset(std::exchange(other.number_, -1));
    return *this;
  }

  bool isOpen() const { return number_ >= 0; }
  int get() const { return number_; }
  int release() { return std::exchange(number_, -1); }
  void reset(int number = -1) {
    if (number_ >= 0) ::close(number_);
    number_ = number;
  }

 private:
  int number_ = -1;
};

// A path by which calls that take no descriptor reach an item that was opened with O_PATH. They follow it
// to that very item and not further, even when the item is a link.
class ItemPath {
 public:
  explicit ItemPath(int item) { std::snprintf(text_, sizeof text_, "/proc/self/fd/%d", item); }
  const char* text() const { return text_; }

 private:
  char text_[32];
};

// Repeats a system call that answers -1 while a signal interrupts it.
template <typename Call>
auto uninterrupted(Call call) {
  decltype(call()) result;
  do {
    result = call();
  } while (result == -1 && errno == EINTR);
  return result;
}

}  // namespace macos

#endif  // MACOS_HOST_DESCRIPTOR_H
