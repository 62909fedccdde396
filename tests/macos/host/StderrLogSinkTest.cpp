// SPDX-License-Identifier: MIT
#include "macos/host/StderrLogSink.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <functional>
#include <map>
#include <sstream>
#include <thread>
#include <vector>

#include "gtest/gtest.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/TemporaryRoot.h"

namespace macos {
namespace {

using vennick::tests::countSystemCalls;
using vennick::tests::expectInChild;
using vennick::tests::TemporaryRoot;

class StderrLogSinkTest : public testing::Test {
 protected:
  // What the function writes to standard error, in a process of its own.
  std::string written(const std::function<void()>& function) const {
    expectInChild([&] {
      const int file = ::open(root.hostPath("/errors").c_str(), O_WRONLY | O_CREAT | O_APPEND, 0644);
      ASSERT_GE(file, 0);
      ::dup2(file, STDERR_FILENO);
      function();
    });
    return root.readFile("/errors");
  }

  TemporaryRoot root;
};

TEST_F(StderrLogSinkTest, WritesWholeLinesToStandardError) {
  EXPECT_EQ(written([] {
              StderrLogSink sink;
              sink.writeLine("one");
              sink.writeLine("");
              sink.writeLine(std::string_view("t\0w\xFFo", 5));
            }),
            std::string("one\n\nt\0w\xFFo\n", 11));
}

TEST_F(StderrLogSinkTest, WritesALineWithOneSystemCall) {
  StderrLogSink sink;
  // Standard error is the test's own: an empty line there does no harm. The first one pays for what a
  // sanitizer does once.
  sink.writeLine("");
  const auto calls = countSystemCalls([&] { sink.writeLine(""); });
  if (!calls) GTEST_SKIP() << "processes may not be traced here";
  EXPECT_EQ(calls->byNumber.at(SYS_write), 1);
}

TEST_F(StderrLogSinkTest, NeverMixesTheLinesOfThreads) {
  constexpr int kThreads = 6;
  constexpr int kLines = 60;
  const std::string text = written([] {
    StderrLogSink sink;
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
      threads.emplace_back([&sink, i] {
        const std::string line(static_cast<std::size_t>(i * 3000 + 10), static_cast<char>('a' + i));
        for (int j = 0; j < kLines; ++j) sink.writeLine(line);
      });
    }
    for (std::thread& thread : threads) thread.join();
  });
  std::istringstream lines(text);
  std::map<std::string, int> counts;
  for (std::string line; std::getline(lines, line);) ++counts[line];
  EXPECT_EQ(counts.size(), static_cast<std::size_t>(kThreads));
  for (const auto& [line, count] : counts) EXPECT_EQ(count, kLines) << line.size();
}

TEST_F(StderrLogSinkTest, EchoesSystemMessagesAndNeverTakesThemForAFormat) {
  EXPECT_EQ(written([] { StderrLogSink().writeSystemLog(LOG_ALERT, "100%s %n done"); }), "100%s %n done\n");
}

TEST_F(StderrLogSinkTest, DropsWhatNobodyTakes) {
  expectInChild([] {
    ::signal(SIGPIPE, SIG_IGN);
    int ends[2];
    ASSERT_EQ(::pipe2(ends, O_NONBLOCK), 0);
    ::dup2(ends[1], STDERR_FILENO);
    StderrLogSink sink;
    const auto start = std::chrono::steady_clock::now();
    // More than the pipe holds, and nobody reads.
    sink.writeLine(std::string(200'000, 'x'));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(30));
    ::close(ends[0]);
    sink.writeLine("nobody is there");
    ::close(STDERR_FILENO);
    sink.writeLine("there is not even an output");
  });
}

TEST_F(StderrLogSinkTest, SendsSystemMessagesToTheSystemLog) {
  if (::geteuid() != 0) GTEST_SKIP() << "only the superuser can put a log daemon of its own in place";
  expectInChild([] {
    // In a mount table of our own, so that nobody else sees it.
    if (::unshare(CLONE_NEWNS) != 0 || ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
        ::mount("tmpfs", "/dev", "tmpfs", 0, nullptr) != 0) {
      std::puts("[  SKIPPED ] nothing may be mounted here");
      return;
    }
    const int daemon = ::socket(AF_UNIX, SOCK_DGRAM, 0);
    sockaddr_un address{AF_UNIX, "/dev/log"};
    ASSERT_EQ(::bind(daemon, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    StderrLogSink().writeSystemLog(LOG_ALERT, "a message with 100% of its text");
    char text[1024] = {};
    ASSERT_GT(::recv(daemon, text, sizeof text - 1, MSG_DONTWAIT), 0);
    const std::string received = text;
    EXPECT_EQ(received.rfind("<" + std::to_string(LOG_USER | LOG_ALERT) + ">", 0), 0U) << received;
    EXPECT_NE(received.find(": a message with 100% of its text"), std::string::npos) << received;
  });
}

}  // namespace
}  // namespace macos
