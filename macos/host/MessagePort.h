// SPDX-License-Identifier: MIT
//
// Messages between processes of one user on this machine: a process opens its port, others reach it by its
// process number. A connection carries whole messages, in order, both ways. Nobody else's process can be
// reached or can reach a port, and a number that another process got since is not mistaken for it: the
// host tells who is at the other end. Move-only; one connection belongs to one thread.
//
// Deadlines are those of the current host's monotonic clock; kNoDeadline waits for as long as it takes.
#ifndef MACOS_HOST_MESSAGEPORT_H
#define MACOS_HOST_MESSAGEPORT_H

#include <sys/types.h>

#include <cstdint>
#include <limits>
#include <string>
#include <string_view>

#include "macos/host/Descriptor.h"
#include "macos/host/Services.h"
#include "macos/host/Status.h"

namespace macos {

inline constexpr UnixNanoseconds kNoDeadline = std::numeric_limits<UnixNanoseconds>::max();

class MessageConnection {
 public:
  // Messages are no longer than this.
  static constexpr std::uint32_t kLongestMessage = 64U << 20;

  // Connects to the port of a process. NotFound when there is no such process, or it has no port.
  static Result<MessageConnection> connect(pid_t processID, UnixNanoseconds deadline);

  // Hands a message over to the host, in full. Cancelled when the deadline passes, Io when the other end
  // is gone; after either the connection is of no further use.
  Status send(std::string_view message, UnixNanoseconds deadline);
  // The next message. Cancelled when the deadline passes, NotFound when the other end is gone, Corrupt
  // when it sends something that is no message. Memory grows with what has arrived, not with what is
  // announced.
  Result<std::string> receive(UnixNanoseconds deadline);

  // Who is at the other end.
  pid_t peerProcessID() const { return peer_; }

 private:
  friend class MessagePort;
  MessageConnection(Descriptor socket, pid_t peer) : socket_(std::move(socket)), peer_(peer) {}
  Status receiveInto(std::string* bytes, std::size_t count, UnixNanoseconds deadline);

  Descriptor socket_;
  pid_t peer_;
};

class MessagePort {
 public:
  // The port of this process. AlreadyExists when it is open.
  static Result<MessagePort> open();

  // Readable when somebody connects; for a run loop.
  int descriptor() const { return socket_.get(); }
  // The next connection of a process of this user. Cancelled when the deadline passes.
  Result<MessageConnection> accept(UnixNanoseconds deadline);

 private:
  explicit MessagePort(Descriptor socket) : socket_(std::move(socket)) {}

  Descriptor socket_;
};

}  // namespace macos

#endif  // MACOS_HOST_MESSAGEPORT_H
