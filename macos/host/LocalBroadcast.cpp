// SPDX-License-Identifier: MIT
#include "macos/host/LocalBroadcast.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <fstream>

namespace macos {

namespace {

// A member is a datagram socket with an abstract name, which vanishes with its process:
// "macos-broadcast/<user>/<group>/<process>.<number>". The kernel's table of sockets is the list of members.
constexpr std::string_view kMemberTable = "/proc/net/unix";
constexpr int kMostAttempts = 1000;
constexpr int kMostAtOnce = 256;

std::string groupPrefix(std::string_view group) {
  return "macos-broadcast/" + std::to_string(geteuid()) + "/" + std::string(group) + "/";
}

struct Address {
  sockaddr_un address{};
  socklen_t length = 0;

  explicit Address(std::string_view name) {
    address.sun_family = AF_UNIX;
    // The leading zero makes the name abstract.
    const std::size_t count = std::min(name.size(), sizeof address.sun_path - 1);
    std::memcpy(address.sun_path + 1, name.data(), count);
    length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + count);
  }
  const sockaddr* get() const { return reinterpret_cast<const sockaddr*>(&address); }
};

int openSocket() { return socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0); }

std::vector<std::string> members(std::string_view group) {
  const std::string marked = "@" + groupPrefix(group);
  std::vector<std::string> names;
  std::ifstream table{std::string(kMemberTable)};
  for (std::string line; std::getline(table, line);) {
    const std::size_t start = line.find(marked);
    if (start != std::string::npos) names.push_back(line.substr(start + 1));
  }
  return names;
}

bool isOurs(msghdr& header) {
  for (cmsghdr* control = CMSG_FIRSTHDR(&header); control != nullptr;
       control = CMSG_NXTHDR(&header, control)) {
    if (control->cmsg_level != SOL_SOCKET || control->cmsg_type != SCM_CREDENTIALS) continue;
    ucred sender{};
    std::memcpy(&sender, CMSG_DATA(control), sizeof sender);
    return sender.uid == geteuid() || sender.uid == 0;
  }
  return false;
}

}  // namespace

Result<std::unique_ptr<LocalBroadcast>> LocalBroadcast::join(std::string_view group) {
  const int descriptor = openSocket();
  if (descriptor < 0) return Status::fromErrno(group, errno);
  std::unique_ptr<LocalBroadcast> joined(new LocalBroadcast(descriptor));
  const int on = 1;
  // Before the socket can be found, so that no message comes without its sender's credentials.
  if (setsockopt(descriptor, SOL_SOCKET, SO_PASSCRED, &on, sizeof on) != 0) {
    return Status::fromErrno(group, errno);
  }
  const std::string prefix = groupPrefix(group) + std::to_string(getpid()) + ".";
  for (int number = 0; number < kMostAttempts; ++number) {
    const Address address(prefix + std::to_string(number));
    if (bind(descriptor, address.get(), address.length) == 0) return joined;
    if (errno != EADDRINUSE) break;
  }
  return Status::fromErrno(group, errno);
}

LocalBroadcast::~LocalBroadcast() { close(descriptor_); }

std::vector<std::string> LocalBroadcast::receive() {
  std::vector<std::string> messages;
  std::string buffer(kLongestMessage, '\0');
  for (int count = 0; count < kMostAtOnce; ++count) {
    iovec vector{buffer.data(), buffer.size()};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(ucred))];
    msghdr header{};
    header.msg_iov = &vector;
    header.msg_iovlen = 1;
    header.msg_control = control;
    header.msg_controllen = sizeof control;
    const ssize_t length = recvmsg(descriptor_, &header, MSG_DONTWAIT | MSG_CMSG_CLOEXEC);
    if (length < 0 && errno == EINTR) continue;
    if (length < 0) break;
    if ((header.msg_flags & MSG_TRUNC) != 0 || !isOurs(header)) continue;
    messages.emplace_back(buffer.data(), static_cast<std::size_t>(length));
  }
  return messages;
}

Status LocalBroadcast::send(std::string_view group, std::string_view message) {
  if (message.size() > kLongestMessage) return Status(ErrorCode::InvalidArgument, group, "message too long");
  const int descriptor = openSocket();
  if (descriptor < 0) return Status::fromErrno(group, errno);
  // Errors are those of single members: gone since they were listed, or without room.
  for (const std::string& name : members(group)) {
    const Address address(name);
    sendto(descriptor, message.data(), message.size(), MSG_DONTWAIT | MSG_NOSIGNAL, address.get(),
           address.length);
  }
  close(descriptor);
  return {};
}

}  // namespace macos
