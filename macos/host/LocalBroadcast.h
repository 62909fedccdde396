// SPDX-License-Identifier: MIT
//
// Short messages between the processes of one user on this machine. A process joins a group by its name and
// then receives what any process of the user, itself included, sends to the group. Nothing is kept on
// disk: a process that ends, however it ends, has left its groups. A message is not guaranteed to arrive: a
// receiver that does not receive has room for a few only.
#ifndef MACOS_HOST_LOCALBROADCAST_H
#define MACOS_HOST_LOCALBROADCAST_H

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "macos/host/Status.h"

namespace macos {

class LocalBroadcast {
 public:
  static constexpr std::size_t kLongestMessage = std::size_t{32} * 1024;

  // The group's name: at most 60 letters, digits and hyphens.
  static Result<std::unique_ptr<LocalBroadcast>> join(std::string_view group);
  ~LocalBroadcast();
  LocalBroadcast(const LocalBroadcast&) = delete;
  LocalBroadcast& operator=(const LocalBroadcast&) = delete;

  // Readable when there is something to receive.
  int descriptor() const { return descriptor_; }
  // Does not wait. What another user sent, or what is too long, is not among them.
  std::vector<std::string> receive();

  // InvalidArgument for a message that is too long.
  static Status send(std::string_view group, std::string_view message);

 private:
  explicit LocalBroadcast(int descriptor) : descriptor_(descriptor) {}

  const int descriptor_;
};

}  // namespace macos

#endif  // MACOS_HOST_LOCALBROADCAST_H
