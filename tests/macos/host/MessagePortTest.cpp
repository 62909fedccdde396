// SPDX-License-Identifier: MIT
#include "macos/host/MessagePort.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <thread>

#include "tests/support/ChildProcess.h"
#include "tests/support/TestHost.h"

using macos::ErrorCode;
using macos::kNoDeadline;
using macos::MessageConnection;
using macos::MessagePort;
using vennick::tests::TestHost;
using vennick::tests::TestHostOptions;

namespace {

constexpr macos::UnixNanoseconds kSecond = 1'000'000'000;

TestHostOptions onTheMachinesClock() {
  TestHostOptions options;
  options.realClock = true;
  return options;
}

class MessagePortTest : public testing::Test {
 protected:
  static macos::UnixNanoseconds in(macos::UnixNanoseconds nanoseconds) {
    return macos::Host::current().clock().monotonic() + nanoseconds;
  }

  TestHost host_{onTheMachinesClock()};
};

// A process of its own that opens its port and does something with it, until the end of the scope.
class Peer {
 public:
  explicit Peer(const std::function<void(MessagePort&)>& serve) {
    int ready[2];
    EXPECT_EQ(::pipe(ready), 0);
    processID_ = ::fork();
    EXPECT_GE(processID_, 0);
    if (processID_ == 0) {
      auto port = MessagePort::open();
      if (!port) ::_exit(1);
      EXPECT_EQ(::write(ready[1], "r", 1), 1);
      serve(*port);
      ::_exit(0);
    }
    ::close(ready[1]);
    char byte = 0;
    EXPECT_EQ(::read(ready[0], &byte, 1), 1);
    ::close(ready[0]);
  }
  ~Peer() {
    // Never a number that is not that of a child: -1 would be everybody.
    if (processID_ > 0) ::kill(processID_, SIGKILL);
    wait();
  }
  void wait() {
    if (processID_ > 0) ::waitpid(processID_, nullptr, 0);
    processID_ = -1;
  }
  pid_t processID() const { return processID_; }

 private:
  pid_t processID_ = -1;
};

}  // namespace

TEST_F(MessagePortTest, CarriesMessagesBothWaysInOrder) {
  const std::string large(3'000'000, 'x');
  const Peer peer([&](MessagePort& port) {
    auto connection = port.accept(in(20 * kSecond));
    for (int count = 0; count < 3; ++count) {
      const auto message = connection->receive(in(20 * kSecond));
      if (!message || !connection->send("<" + *message + ">", in(20 * kSecond)).ok()) ::_exit(2);
    }
  });
  auto connection = MessageConnection::connect(peer.processID(), in(20 * kSecond));
  ASSERT_TRUE(connection.ok());
  EXPECT_EQ(connection->peerProcessID(), peer.processID());
  for (const std::string& message : {std::string("one"), std::string(), large}) {
    ASSERT_TRUE(connection->send(message, in(20 * kSecond)).ok());
    const auto answer = connection->receive(in(20 * kSecond));
    ASSERT_TRUE(answer.ok()) << answer.status().message();
    EXPECT_EQ(*answer, "<" + message + ">");
  }
}

TEST_F(MessagePortTest, TellsWhoConnects) {
  auto port = MessagePort::open();
  ASSERT_TRUE(port.ok());
  const pid_t receiver = ::getpid();
  const pid_t child = ::fork();
  if (child == 0) {
    auto connection = MessageConnection::connect(receiver, in(20 * kSecond));
    ::_exit(connection.ok() && connection->send("hello", in(20 * kSecond)).ok() ? 0 : 1);
  }
  auto connection = port->accept(in(20 * kSecond));
  ASSERT_TRUE(connection.ok());
  EXPECT_EQ(connection->peerProcessID(), child);
  const auto message = connection->receive(in(20 * kSecond));
  ASSERT_TRUE(message.ok());
  EXPECT_EQ(*message, "hello");
  ::waitpid(child, nullptr, 0);
}

TEST_F(MessagePortTest, FindsNobodyWhereNoPortIsOpen) {
  const auto connection = MessageConnection::connect(::getppid(), in(kSecond));
  ASSERT_FALSE(connection.ok());
  EXPECT_TRUE(connection.status().isNotFound());
}

TEST_F(MessagePortTest, FindsNobodyWhenTheProcessHasEnded) {
  Peer peer([](MessagePort&) {});
  const pid_t processID = peer.processID();
  peer.wait();
  const auto connection = MessageConnection::connect(processID, in(kSecond));
  ASSERT_FALSE(connection.ok());
  EXPECT_TRUE(connection.status().isNotFound());
}

TEST_F(MessagePortTest, OpensOnePortForAProcess) {
  auto first = MessagePort::open();
  ASSERT_TRUE(first.ok());
  const auto second = MessagePort::open();
  ASSERT_FALSE(second.ok());
  EXPECT_EQ(second.status().code(), ErrorCode::AlreadyExists);
}

TEST_F(MessagePortTest, CanBeOpenedAgainAfterItWasClosed) {
  { ASSERT_TRUE(MessagePort::open().ok()); }
  EXPECT_TRUE(MessagePort::open().ok());
}

TEST_F(MessagePortTest, StopsWaitingAtTheDeadline) {
  auto port = MessagePort::open();
  ASSERT_TRUE(port.ok());
  const auto nobody = port->accept(in(20'000'000));
  ASSERT_FALSE(nobody.ok());
  EXPECT_EQ(nobody.status().code(), ErrorCode::Cancelled);

  auto connection = MessageConnection::connect(::getpid(), in(kSecond));
  ASSERT_TRUE(connection.ok());
  const macos::UnixNanoseconds start = in(0);
  const auto nothing = connection->receive(start + 50'000'000);
  ASSERT_FALSE(nothing.ok());
  EXPECT_EQ(nothing.status().code(), ErrorCode::Cancelled);
  EXPECT_GE(in(0) - start, 50'000'000);
}

TEST_F(MessagePortTest, StopsSendingAtTheDeadlineWhenNobodyReads) {
  auto port = MessagePort::open();
  ASSERT_TRUE(port.ok());
  auto connection = MessageConnection::connect(::getpid(), in(kSecond));
  ASSERT_TRUE(connection.ok());
  const macos::Status sent = connection->send(std::string(20'000'000, 'x'), in(50'000'000));
  EXPECT_EQ(sent.code(), ErrorCode::Cancelled);
}

TEST_F(MessagePortTest, NoticesThatTheOtherEndIsGone) {
  const Peer peer([&](MessagePort& port) {
    auto connection = port.accept(in(20 * kSecond));
    connection->receive(in(20 * kSecond)).ok();
  });
  auto connection = MessageConnection::connect(peer.processID(), in(kSecond));
  ASSERT_TRUE(connection.ok());
  ASSERT_TRUE(connection->send("bye", in(kSecond)).ok());
  const auto answer = connection->receive(kNoDeadline);
  ASSERT_FALSE(answer.ok());
  EXPECT_TRUE(answer.status().isNotFound());
}

TEST_F(MessagePortTest, RefusesAMessageThatIsTooLong) {
  auto port = MessagePort::open();
  ASSERT_TRUE(port.ok());
  auto connection = MessageConnection::connect(::getpid(), in(kSecond));
  ASSERT_TRUE(connection.ok());
  const std::string tooLong(std::size_t{MessageConnection::kLongestMessage} + 1, 'x');
  EXPECT_EQ(connection->send(tooLong, in(kSecond)).code(), ErrorCode::InvalidArgument);
}

TEST_F(MessagePortTest, DoesNotBelieveALengthWithoutBytes) {
  // A peer that announces four gigabytes, and one that announces what is allowed and sends nothing.
  for (const auto& [prefix, code] : {std::pair(std::string("\xFF\xFF\xFF\xFF"), ErrorCode::Corrupt),
                                     std::pair(std::string("\x03\xFF\xFF\xFF"), ErrorCode::NotFound)}) {
    const Peer peer([&, bytes = prefix](MessagePort& port) {
      sockaddr_storage ignored{};
      socklen_t length = sizeof ignored;
      int socket = -1;
      while (socket < 0) socket = ::accept(port.descriptor(), reinterpret_cast<sockaddr*>(&ignored), &length);
      EXPECT_EQ(::send(socket, bytes.data(), bytes.size(), 0), 4);
    });
    auto connection = MessageConnection::connect(peer.processID(), in(kSecond));
    ASSERT_TRUE(connection.ok());
    const auto answer = connection->receive(in(20 * kSecond));
    ASSERT_FALSE(answer.ok());
    EXPECT_EQ(answer.status().code(), code);
  }
}

TEST_F(MessagePortTest, DoesNotTakeAnotherUsersProcessForAPeer) {
  if (::geteuid() != 0) GTEST_SKIP() << "needs a second user";
  auto port = MessagePort::open();
  ASSERT_TRUE(port.ok());
  const pid_t receiver = ::getpid();
  const auto result = vennick::tests::runAsOrdinaryUser([&] {
    const auto connection = MessageConnection::connect(receiver, in(kSecond));
    EXPECT_FALSE(connection.ok());
  });
  EXPECT_TRUE(result.succeeded());
  // The stranger's attempt is not handed out either.
  EXPECT_FALSE(port->accept(in(100'000'000)).ok());
}
