// SPDX-License-Identifier: MIT
//
// Commands that answer, that hang, and that never stop talking.
#include "macos/host/PosixCommandRunner.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <thread>
#include <vector>

#include "gtest/gtest.h"
#include "macos/host/PosixProcessTable.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/TemporaryRoot.h"

namespace macos {
namespace {

using std::chrono::milliseconds;
using vennick::tests::expectInChild;
using vennick::tests::TemporaryRoot;

constexpr CommandLimits kPatient{milliseconds(30'000), 64 * 1024};
constexpr CommandLimits kImpatient{milliseconds(300), 64 * 1024};

class PosixCommandRunnerTest : public testing::Test {
 protected:
  std::string output(const std::string& command, const CommandLimits& limits = kPatient) {
    const Result<std::string> result = runner.run(command, limits);
    return result.ok() ? *result : result.status().message();
  }
  ErrorCode failure(const std::string& command, const CommandLimits& limits) {
    const Result<std::string> result = runner.run(command, limits);
    return result.ok() ? ErrorCode::Ok : result.status().code();
  }
  static std::vector<ProcessInfo> processesOf(const std::string& program) {
    return PosixProcessTable(nullptr).processes(
        [&](const std::string& executable) { return executable == program; });
  }
  // Whether a process of the program runs on.
  static bool runs(const std::string& program) { return !processesOf(program).empty(); }
  // A process that was killed is gone when the kernel comes to it, not at once.
  static bool endsSoon(const std::string& program) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (runs(program)) {
      if (std::chrono::steady_clock::now() > deadline) return false;
      std::this_thread::sleep_for(milliseconds(2));
    }
    return true;
  }
  // A command of its own, to be told from those of others.
  std::string commandNamed(const std::string& name, const std::string& script) {
    root.makeExecutable("/bin/" + name, "#!/bin/sh\n" + script);
    return root.hostPath("/bin/" + name);
  }

  TemporaryRoot root;
  PosixCommandRunner runner{{{"PATH", "/usr/bin:/bin"}, {"GREETING", "good day"}}, {root.hostPath("/bin")}};
};

TEST_F(PosixCommandRunnerTest, GivesTheOutputByteForByte) {
  EXPECT_EQ(output("printf 'a\\n\\n'"), "a\n\n");
  EXPECT_EQ(output("printf 'a\\000b\\377'"), std::string("a\0b\xFF", 4));
  EXPECT_EQ(output("echo one; echo two"), "one\ntwo\n");
  EXPECT_EQ(output("true"), "");
  EXPECT_EQ(output(""), "");
}

TEST_F(PosixCommandRunnerTest, UnderstandsWhatTheShellUnderstands) {
  EXPECT_EQ(output("printf '%s|' 'a b' \"c'd\" $((2 + 3))"), "a b|c'd|5|");
  EXPECT_EQ(output("echo x | tr x y"), "y\n");
}

TEST_F(PosixCommandRunnerTest, DoesNotLookAtTheExitStatus) {
  EXPECT_EQ(output("echo out; exit 3"), "out\n");
  EXPECT_EQ(output("echo out; kill -KILL $$"), "out\n");
  EXPECT_EQ(output("there-is-no-such-command 2>/dev/null"), "");
}

TEST_F(PosixCommandRunnerTest, GivesTheEnvironmentAndFindsToolsInItsFoldersFirst) {
  EXPECT_EQ(output("echo \"$GREETING\""), "good day\n");
  EXPECT_EQ(output("echo \"$HOME\""), "\n");
  commandNamed("uname", "echo ours\n");
  EXPECT_EQ(output("uname"), "ours\n");
}

TEST_F(PosixCommandRunnerTest, GivesAnEmptyInput) { EXPECT_EQ(output("cat; echo end"), "end\n"); }

TEST_F(PosixCommandRunnerTest, LeavesTheErrorOutputToOurs) {
  expectInChild([&] {
    const std::string file = root.hostPath("/errors");
    const int errors = ::open(file.c_str(), O_WRONLY | O_CREAT, 0644);
    ::dup2(errors, STDERR_FILENO);
    EXPECT_EQ(output("echo complaint >&2; echo out"), "out\n");
  });
  EXPECT_EQ(root.readFile("/errors"), "complaint\n");
}

TEST_F(PosixCommandRunnerTest, PassesNoOtherDescriptorOn) {
  const int leaked = ::open("/dev/zero", O_RDONLY);
  ASSERT_EQ(::dup2(leaked, 77), 77);
  EXPECT_EQ(output("test -e /proc/$$/fd/1 && echo output; test -e /proc/$$/fd/77 && echo leaked"),
            "output\n");
  ::close(77);
  ::close(leaked);
}

TEST_F(PosixCommandRunnerTest, RunsWhereOurOwnStandardStreamsAreClosed) {
  expectInChild([&] {
    ::close(STDIN_FILENO);
    EXPECT_EQ(output("cat; echo a"), "a\n");
    ::close(STDOUT_FILENO);
    EXPECT_EQ(output("cat; echo b"), "b\n");
  });
}

TEST_F(PosixCommandRunnerTest, EndsACommandThatTakesTooLong) {
  const std::string hangs =
      commandNamed("hangs", "echo before; exec 3<>/dev/null; while :; do sleep 1; done\n");
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(failure(hangs, kImpatient), ErrorCode::Cancelled);
  const auto taken = std::chrono::steady_clock::now() - start;
  EXPECT_GE(taken, milliseconds(300));
  EXPECT_LT(taken, milliseconds(5000));
  EXPECT_TRUE(endsSoon(hangs));
}

TEST_F(PosixCommandRunnerTest, EndsItsChildrenToo) {
  const std::string child = commandNamed("child", "while :; do sleep 1; done\n");
  EXPECT_EQ(failure(child + " & " + child + " & wait", kImpatient), ErrorCode::Cancelled);
  EXPECT_TRUE(endsSoon(child));
  // Also when the shell itself is long gone and only a child still holds the output.
  EXPECT_EQ(failure(child + " & echo out", kImpatient), ErrorCode::Cancelled);
  EXPECT_TRUE(endsSoon(child));
}

TEST_F(PosixCommandRunnerTest, EndsACommandThatClosesItsOutputAndGoesOn) {
  const std::string silent = commandNamed("silent", "exec >/dev/null; while :; do sleep 1; done\n");
  EXPECT_EQ(failure(silent, kImpatient), ErrorCode::Cancelled);
  EXPECT_TRUE(endsSoon(silent));
}

TEST_F(PosixCommandRunnerTest, EndsACommandThatIgnoresRequests) {
  const std::string stubborn = commandNamed("stubborn", "trap '' TERM HUP INT; while :; do sleep 1; done\n");
  EXPECT_EQ(failure(stubborn, kImpatient), ErrorCode::Cancelled);
  EXPECT_TRUE(endsSoon(stubborn));
}

TEST_F(PosixCommandRunnerTest, EndsACommandThatPrintsTooMuch) {
  EXPECT_EQ(failure("yes", kPatient), ErrorCode::Cancelled);
  EXPECT_EQ(failure("cat /dev/zero", kPatient), ErrorCode::Cancelled);
  CommandLimits limits = kPatient;
  limits.output = 10;
  EXPECT_EQ(output("printf 0123456789", limits), "0123456789");
  EXPECT_EQ(failure("printf 0123456789x", limits), ErrorCode::Cancelled);
}

TEST_F(PosixCommandRunnerTest, DoesNotWaitForAChildThatLeftTheOutputAlone) {
  const std::string child = commandNamed("stays", "while :; do sleep 1; done\n");
  EXPECT_EQ(output(child + " >/dev/null 2>&1 & echo out"), "out\n");
  EXPECT_TRUE(runs(child));
  for (const ProcessInfo& one : processesOf(child)) ::kill(one.processID, SIGKILL);
}

TEST_F(PosixCommandRunnerTest, LeavesNoZombie) {
  output("true");
  failure("sleep 10", kImpatient);
  EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);
  EXPECT_EQ(errno, ECHILD);
}

TEST_F(PosixCommandRunnerTest, WorksWhereChildrenAreReapedByTheSystem) {
  expectInChild([&] {
    std::signal(SIGCHLD, SIG_IGN);
    EXPECT_EQ(output("echo x"), "x\n");
  });
}

TEST_F(PosixCommandRunnerTest, RunsManyAtOnce) {
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([this, i] {
      const std::string number = std::to_string(i);
      for (int j = 0; j < 5; ++j) EXPECT_EQ(output("echo " + number), number + "\n");
    });
  }
  for (std::thread& thread : threads) thread.join();
}

TEST_F(PosixCommandRunnerTest, RefusesWhatCannotBeACommand) {
  EXPECT_FALSE(runner.run(std::string("echo a\0b", 8), kPatient).ok());
  const Result<std::string> tooLong = runner.run(std::string(8'000'000, 'x'), kPatient);
  ASSERT_FALSE(tooLong.ok());
  EXPECT_EQ(tooLong.status().code(), ErrorCode::Io);
}

}  // namespace
}  // namespace macos
