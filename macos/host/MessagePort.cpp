// SPDX-License-Identifier: MIT
#include "macos/host/MessagePort.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <optional>

#include "macos/host/Host.h"

namespace macos {

namespace {

constexpr std::string_view kContext = "message port";
constexpr UnixNanoseconds kMillisecond = 1'000'000;

struct PortAddress {
  sockaddr_un name{};
  socklen_t length = 0;
};

// A name without a file: it goes with the process, however that ends, and needs no folder that somebody
// else could have put in its place.
PortAddress addressOf(pid_t processID) {
  const std::string text = "macos-message-port/" + std::to_string(processID);
  PortAddress address;
  address.name.sun_family = AF_UNIX;
  std::memcpy(address.name.sun_path + 1, text.data(), text.size());
  address.length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + text.size());
  return address;
}

Result<Descriptor> makeSocket() {
  Descriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  if (!socket.isOpen()) return Status::fromErrno(kContext, errno);
  return socket;
}

// The process at the other end; empty when it is another user's.
std::optional<pid_t> ownProcessBehind(const Descriptor& socket) {
  ucred peer{};
  socklen_t length = sizeof peer;
  if (::getsockopt(socket.get(), SOL_SOCKET, SO_PEERCRED, &peer, &length) != 0) return std::nullopt;
  if (peer.uid != ::geteuid()) return std::nullopt;
  return peer.pid;
}

bool waitUntilReadable(const Descriptor& socket, UnixNanoseconds deadline) {
  return !Host::current().clock().waitUntil(deadline, {socket.get()}).empty();
}

bool waitUntilWritable(const Descriptor& socket, UnixNanoseconds deadline) {
  for (;;) {
    const UnixNanoseconds now = Host::current().clock().monotonic();
    if (now >= deadline) return false;
    const UnixNanoseconds left = std::min<UnixNanoseconds>(deadline - now, 60'000 * kMillisecond);
    pollfd asked{socket.get(), POLLOUT, 0};
    const int found = ::poll(&asked, 1, static_cast<int>((left + kMillisecond - 1) / kMillisecond));
    if (found > 0) return true;
    if (found < 0 && errno != EINTR) return false;
  }
}

Status timedOut() { return {ErrorCode::Cancelled, kContext, "timed out"}; }

std::array<char, 4> lengthPrefix(std::uint32_t length) {
  return {static_cast<char>(length >> 24), static_cast<char>(length >> 16), static_cast<char>(length >> 8),
          static_cast<char>(length)};
}

std::uint32_t lengthOf(std::string_view prefix) {
  std::uint32_t length = 0;
  for (const char byte : prefix) length = length << 8 | static_cast<std::uint8_t>(byte);
  return length;
}

}  // namespace

Result<MessageConnection> MessageConnection::connect(pid_t processID, UnixNanoseconds deadline) {
  auto socket = makeSocket();
  if (!socket) return socket.status();
  const PortAddress address = addressOf(processID);
  const auto* name = reinterpret_cast<const sockaddr*>(&address.name);
  while (::connect(socket->get(), name, address.length) != 0) {
    if (errno == EINTR) continue;
    if (errno == ECONNREFUSED || errno == ENOENT) {
      return Status(ErrorCode::NotFound, kContext, "nobody listens");
    }
    // EAGAIN: too many wait for the port already. There is nothing to wait on but time.
    if (errno != EAGAIN) return Status::fromErrno(kContext, errno);
    const UnixNanoseconds now = Host::current().clock().monotonic();
    if (now >= deadline) return timedOut();
    Host::current().clock().waitUntil(std::min(deadline, now + 10 * kMillisecond), {});
  }
  const auto peer = ownProcessBehind(*socket);
  if (peer != processID) return Status(ErrorCode::NotFound, kContext, "another process has taken the name");
  return MessageConnection(std::move(*socket), processID);
}

Status MessageConnection::send(std::string_view message, UnixNanoseconds deadline) {
  if (message.size() > kLongestMessage) {
    return {ErrorCode::InvalidArgument, kContext, "the message is too long"};
  }
  const std::array<char, 4> prefix = lengthPrefix(static_cast<std::uint32_t>(message.size()));
  for (std::string_view part : {std::string_view(prefix.data(), prefix.size()), message}) {
    while (!part.empty()) {
      const ssize_t sent =
          uninterrupted([&] { return ::send(socket_.get(), part.data(), part.size(), MSG_NOSIGNAL); });
      if (sent >= 0) {
        part.remove_prefix(static_cast<std::size_t>(sent));
      } else if (errno != EAGAIN) {
        return {ErrorCode::Io, kContext, std::strerror(errno), errno};
      } else if (!waitUntilWritable(socket_, deadline)) {
        return timedOut();
      }
    }
  }
  return {};
}

Status MessageConnection::receiveInto(std::string* bytes, std::size_t count, UnixNanoseconds deadline) {
  std::array<char, 16384> buffer;
  while (bytes->size() < count) {
    const std::size_t wanted = std::min(buffer.size(), count - bytes->size());
    const ssize_t received = uninterrupted([&] { return ::recv(socket_.get(), buffer.data(), wanted, 0); });
    if (received > 0) {
      bytes->append(buffer.data(), static_cast<std::size_t>(received));
    } else if (received == 0 || errno == ECONNRESET) {
      return {ErrorCode::NotFound, kContext, "the other end is gone"};
    } else if (errno != EAGAIN) {
      return Status::fromErrno(kContext, errno);
    } else if (!waitUntilReadable(socket_, deadline)) {
      return timedOut();
    }
  }
  return {};
}

Result<std::string> MessageConnection::receive(UnixNanoseconds deadline) {
  std::string prefix;
  if (Status status = receiveInto(&prefix, 4, deadline); !status.ok()) return status;
  const std::uint32_t length = lengthOf(prefix);
  if (length > kLongestMessage) return Status(ErrorCode::Corrupt, kContext, "the message is too long");
  std::string message;
  if (Status status = receiveInto(&message, length, deadline); !status.ok()) return status;
  return message;
}

Result<MessagePort> MessagePort::open() {
  auto socket = makeSocket();
  if (!socket) return socket.status();
  const PortAddress address = addressOf(::getpid());
  if (::bind(socket->get(), reinterpret_cast<const sockaddr*>(&address.name), address.length) != 0) {
    if (errno == EADDRINUSE) return Status(ErrorCode::AlreadyExists, kContext, "the port is open");
    return Status::fromErrno(kContext, errno);
  }
  if (::listen(socket->get(), SOMAXCONN) != 0) return Status::fromErrno(kContext, errno);
  return MessagePort(std::move(*socket));
}

Result<MessageConnection> MessagePort::accept(UnixNanoseconds deadline) {
  for (;;) {
    Descriptor socket(uninterrupted(
        [&] { return ::accept4(socket_.get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK); }));
    if (socket.isOpen()) {
      if (const auto peer = ownProcessBehind(socket)) return MessageConnection(std::move(socket), *peer);
      continue;
    }
    if (errno == ECONNABORTED) continue;
    if (errno != EAGAIN) return Status::fromErrno(kContext, errno);
    if (!waitUntilReadable(socket_, deadline)) return timedOut();
  }
}

}  // namespace macos
