// SPDX-License-Identifier: MIT
//
// Real processes: found, told apart, asked to quit, started.
#include "macos/host/PosixProcessTable.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <set>
#include <sstream>
#include <thread>

#include "gtest/gtest.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/Instance.h"
#include "tests/support/TestHost.h"

namespace macos {
namespace {

namespace fs = std::filesystem;
using vennick::tests::expectInChild;
using vennick::tests::Instance;
using vennick::tests::Quits;
using vennick::tests::TestHost;

constexpr const char* kProgram = "/Applications/V.app/Contents/MacOS/V";

bool comesTrue(const std::function<bool()>& condition) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  return true;
}

std::string procFile(pid_t process, const std::string& name) {
  std::ifstream file("/proc/" + std::to_string(process) + "/" + name, std::ios::binary);
  // Of a process that has just ended the file cannot be read, and the stream's buffer would throw.
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

std::string procLink(pid_t process, const std::string& name) {
  std::error_code ignored;
  return fs::read_symlink("/proc/" + std::to_string(process) + "/" + name, ignored).string();
}

// What the process has open, by number.
std::map<std::string, std::string> openFiles(pid_t process) {
  std::map<std::string, std::string> open;
  std::error_code ignored;
  for (const auto& entry : fs::directory_iterator("/proc/" + std::to_string(process) + "/fd", ignored)) {
    const std::string number = entry.path().filename().string();
    open[number] = procLink(process, "fd/" + number);
  }
  return open;
}

// The line of /proc/<id>/status with the name, as a number.
unsigned long statusNumber(pid_t process, const std::string& name, int base) {
  const std::string text = procFile(process, "status");
  const std::size_t found = text.find("\n" + name + ":");
  return found == std::string::npos ? ~0UL
                                    : std::strtoul(text.c_str() + found + name.size() + 2, nullptr, base);
}

class PosixProcessTableTest : public testing::Test {
 protected:
  // A program in a bundle that waits for its end.
  void installProgram() { install(VENNICK_TEST_INSTANCE, kProgram); }
  void install(const char* original, const std::string& macPath) {
    host.root().remove(macPath);
    host.root().copyIn(original, macPath);
  }
  LaunchRequest request(const std::string& executable) const {
    LaunchRequest made;
    made.executable = executable;
    made.environment = {{"PATH", "/usr/bin:/bin"}};
    return made;
  }
  pid_t launch(const LaunchRequest& wanted) {
    const Result<pid_t> started = table.launch(wanted);
    EXPECT_TRUE(started.ok()) << (started.ok() ? "" : started.status().message());
    return started.ok() ? *started : -1;
  }
  bool runs(pid_t process, const std::string& macPath) {
    return comesTrue([&] {
      const auto found = table.process(process);
      return found && found->executable == host.root().hostPath(macPath);
    });
  }
  // The body of a script that waits for its end without an interpreter's child: nobody ever writes to the
  // pipe.
  std::string waitingForNothing() {
    const std::string pipe = host.root().hostPath("/pipe");
    EXPECT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    return "read -r line < '" + pipe + "'\n";
  }
  static bool isAny(const std::string& /*executable*/) { return true; }
  bool isListed(pid_t process) {
    const auto all = table.processes(isAny);
    return std::any_of(all.begin(), all.end(),
                       [&](const ProcessInfo& one) { return one.processID == process; });
  }
  ErrorCode refusal(const LaunchRequest& wanted) {
    const Result<pid_t> started = table.launch(wanted);
    return started.ok() ? ErrorCode::Ok : started.status().code();
  }

  TestHost host;
  ProcessTable& table = host.host().processes();
};

TEST_F(PosixProcessTableTest, FindsThisProcess) {
  const auto all = table.processes(isAny);
  const auto found = std::find_if(all.begin(), all.end(),
                                  [](const ProcessInfo& one) { return one.processID == ::getpid(); });
  ASSERT_NE(found, all.end());
  EXPECT_EQ(found->executable, fs::read_symlink("/proc/self/exe"));
  EXPECT_EQ(found->parentID, ::getppid());
  EXPECT_GT(found->started, 0);
  EXPECT_TRUE(std::is_sorted(all.begin(), all.end(), [](const ProcessInfo& a, const ProcessInfo& b) {
    return a.processID < b.processID;
  }));
}

TEST_F(PosixProcessTableTest, CountsAProcessThatWasNotReapedAsEnded) {
  const pid_t child = ::fork();
  if (child == 0) ::_exit(0);
  ASSERT_TRUE(comesTrue([&] { return procFile(child, "stat").find(") Z ") != std::string::npos; }));
  EXPECT_FALSE(isListed(child));
  EXPECT_EQ(table.process(child), std::nullopt);
  ProcessInfo info;
  info.processID = child;
  EXPECT_TRUE(table.sendTerminate(info).isNotFound());
  ASSERT_EQ(::waitpid(child, nullptr, 0), child);
}

// A script that makes a copy of itself, and waits for its end. Gives both processes.
class PosixProcessTableCopyTest : public PosixProcessTableTest {
 protected:
  void SetUp() override {
    const std::string number = host.root().hostPath("/copy");
    host.root().makeExecutable(kScript, "#!/bin/sh\n{ " + waitingForNothing() + "} &\necho $! > '" + number +
                                            ".new'\nmv '" + number + ".new' '" + number + "'\nwait\n");
    original = launch(request(kScript));
    ASSERT_TRUE(comesTrue([&] { return fs::exists(number); }));
    std::ifstream(number) >> copy;
    ASSERT_TRUE(runs(original, kScript));
    ASSERT_TRUE(runs(copy, kScript));
  }
  void TearDown() override {
    if (original > 0) ::kill(-original, SIGKILL);
  }

  static constexpr const char* kScript = "/Applications/script";
  pid_t original = -1;
  pid_t copy = -1;
};

// An application that is just starting another program must not count twice, and be asked to quit twice.
TEST_F(PosixProcessTableCopyTest, ListsNoCopyThatAProcessMadeOfItself) {
  EXPECT_TRUE(isListed(original));
  EXPECT_FALSE(isListed(copy));
}

TEST_F(PosixProcessTableCopyTest, ListsACopyWhoseOriginalHasEnded) {
  ASSERT_TRUE(table.sendTerminate(*table.process(original)).ok());
  EXPECT_TRUE(comesTrue([&] { return isListed(copy); })) << "it went on by itself, as a daemon does";
}

TEST_F(PosixProcessTableTest, ListsOnlyThoseWhoseExecutableIsMeant) {
  installProgram();
  host.root().makeExecutable("/Applications/script", "#!/bin/sh\n" + waitingForNothing());
  const Instance instance(host.root().hostPath(kProgram), Quits::AtOnce);
  const pid_t script = launch(request("/Applications/script"));
  ASSERT_TRUE(runs(script, "/Applications/script"));
  std::set<std::string> asked;
  const auto isProgram = [&](const std::string& executable) {
    asked.insert(executable);
    return executable == host.root().hostPath(kProgram);
  };
  EXPECT_EQ(table.processes(isProgram), std::vector<ProcessInfo>{*table.process(instance.processID())});
  EXPECT_EQ(asked.count(host.root().hostPath("/Applications/script")), 1U) << "a script, not its interpreter";
  EXPECT_EQ(asked.count(""), 0U);
  EXPECT_TRUE(table.processes([](const std::string&) { return false; }).empty());
  ::kill(-script, SIGKILL);
}

TEST_F(PosixProcessTableTest, TellsAChangedNameFromTheState) {
  // The name in /proc may hold brackets, blanks and what looks like a state.
  install(VENNICK_TEST_INSTANCE, "/Applications/a) Z 1");
  const pid_t process = launch(request("/Applications/a) Z 1"));
  EXPECT_TRUE(runs(process, "/Applications/a) Z 1"));
  EXPECT_TRUE(isListed(process));
}

TEST_F(PosixProcessTableTest, AsksToQuit) {
  installProgram();
  const pid_t process = launch(request(kProgram));
  ASSERT_TRUE(runs(process, kProgram));
  EXPECT_TRUE(table.sendTerminate(*table.process(process)).ok());
  EXPECT_TRUE(comesTrue([&] { return !table.process(process); }));
}

TEST_F(PosixProcessTableTest, SendsNothingToAnotherProcessOfTheSameNumber) {
  installProgram();
  const Instance instance(host.root().hostPath(kProgram), Quits::AtOnce);
  ProcessInfo other = *table.process(instance.processID());
  other.started -= 10'000'000;
  EXPECT_TRUE(table.sendTerminate(other).isNotFound());
  EXPECT_FALSE(instance.endsWithin(std::chrono::milliseconds(100)));
  other.processID = 0;
  EXPECT_EQ(table.sendTerminate(other).code(), ErrorCode::InvalidArgument);
  other.processID = -1;
  EXPECT_EQ(table.sendTerminate(other).code(), ErrorCode::InvalidArgument);
}

TEST_F(PosixProcessTableTest, StartsADetachedProcess) {
  installProgram();
  // None of these may reach it.
  const int leaked = ::open("/dev/zero", O_RDONLY);
  sigset_t blocked;
  sigset_t before;
  ::sigemptyset(&blocked);
  ::sigaddset(&blocked, SIGUSR1);
  ::pthread_sigmask(SIG_BLOCK, &blocked, &before);
  const auto handler = std::signal(SIGUSR2, SIG_IGN);
  LaunchRequest wanted = request(kProgram);
  wanted.arguments = {"at-once", "", "a b\n"};
  wanted.environment = {{"VK_PREFS_IMPORT_COMPLETED", "YES"}, {"EMPTY", ""}, {"HOME", "/Users/anna"}};
  const pid_t process = launch(wanted);
  ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
  std::signal(SIGUSR2, handler);
  ::close(leaked);
  ASSERT_TRUE(runs(process, kProgram));

  EXPECT_EQ(::getsid(process), process);
  EXPECT_EQ(::getpgid(process), process);
  EXPECT_NE(table.process(process)->parentID, ::getpid());
  EXPECT_EQ(procLink(process, "cwd"), "/");
  const std::map<std::string, std::string> nothing = {
      {"0", "/dev/null"}, {"1", "/dev/null"}, {"2", "/dev/null"}};
  // Its own loader may still have a library open.
  EXPECT_TRUE(comesTrue([&] { return openFiles(process) == nothing; })) << openFiles(process).size();
  EXPECT_EQ(procFile(process, "cmdline"),
            host.root().hostPath(kProgram) + std::string("\0at-once\0\0a b\n\0", 15));
  EXPECT_EQ(procFile(process, "environ"),
            std::string("EMPTY=\0HOME=/Users/anna\0VK_PREFS_IMPORT_COMPLETED=YES\0", 54));
  EXPECT_EQ(statusNumber(process, "SigBlk", 16), 0U);
  EXPECT_EQ(statusNumber(process, "SigIgn", 16), 0U);
}

TEST_F(PosixProcessTableTest, LeavesNoChildAndNoZombieOfOurs) {
  installProgram();
  const pid_t process = launch(request(kProgram));
  ASSERT_TRUE(runs(process, kProgram));
  ASSERT_TRUE(table.sendTerminate(*table.process(process)).ok());
  ASSERT_TRUE(comesTrue([&] { return !table.process(process); }));
  EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);
  EXPECT_EQ(errno, ECHILD);
}

TEST_F(PosixProcessTableTest, StartsAProcessWithoutStandardStreamsOfItsOwn) {
  installProgram();
  expectInChild([&] {
    ::close(STDIN_FILENO);
    ::close(STDOUT_FILENO);
    const pid_t process = launch(request(kProgram));
    EXPECT_TRUE(runs(process, kProgram));
    EXPECT_EQ(procLink(process, "fd/0"), "/dev/null");
    EXPECT_EQ(procLink(process, "fd/1"), "/dev/null");
  });
}

TEST_F(PosixProcessTableTest, StartsManyAtOnce) {
  installProgram();
  std::vector<pid_t> started(8, -1);
  std::vector<std::thread> threads;
  for (pid_t& one : started) {
    threads.emplace_back([&] { one = launch(request(kProgram)); });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(std::set<pid_t>(started.begin(), started.end()).size(), started.size());
  for (const pid_t one : started) EXPECT_TRUE(runs(one, kProgram));
}

TEST_F(PosixProcessTableTest, StartsWhatALinkInsideTheRootLeadsTo) {
  installProgram();
  host.root().makeLink("/Users/anna/tool", kProgram);
  EXPECT_TRUE(runs(launch(request("/Users/anna/tool")), kProgram));
}

TEST_F(PosixProcessTableTest, StartsAProgramOutsideTheRootOnRequestOnly) {
  LaunchRequest wanted = request(VENNICK_TEST_INSTANCE);
  EXPECT_EQ(refusal(wanted), ErrorCode::NotFound);
  wanted.outsideRoot = true;
  const pid_t process = launch(wanted);
  ASSERT_TRUE(comesTrue([&] { return table.process(process)->executable == VENNICK_TEST_INSTANCE; }));
  EXPECT_TRUE(table.sendTerminate(*table.process(process)).ok());
}

TEST_F(PosixProcessTableTest, SaysWhyAProgramCannotBeStarted) {
  host.root().makeExecutable("/Applications/words", "no script at all\n");
  host.root().makeExecutable("/Applications/foreign", std::string("\xCF\xFA\xED\xFE\x07\x00\x00\x01", 8));
  host.root().makeExecutable("/Applications/lost", "#!/there/is/no/interpreter\n");
  host.root().makeExecutable("/Applications/empty", "");
  host.root().writeFile("/Applications/plain", "#!/bin/sh\n");
  EXPECT_EQ(refusal(request("/Applications/none")), ErrorCode::NotFound);
  EXPECT_EQ(refusal(request("/Applications/words")), ErrorCode::Unsupported);
  EXPECT_EQ(refusal(request("/Applications/foreign")), ErrorCode::Unsupported);
  EXPECT_EQ(refusal(request("/Applications/empty")), ErrorCode::Unsupported);
  EXPECT_EQ(refusal(request("/Applications/lost")), ErrorCode::NotFound);
  EXPECT_EQ(refusal(request("/Applications/plain")), ErrorCode::PermissionDenied);
  EXPECT_EQ(refusal(request("/Applications")), ErrorCode::PermissionDenied);
  EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);
}

TEST_F(PosixProcessTableTest, RefusesArgumentsAndVariablesThatCannotBe) {
  installProgram();
  LaunchRequest wanted = request(kProgram);
  wanted.arguments = {std::string("a\0b", 3)};
  EXPECT_EQ(refusal(wanted), ErrorCode::InvalidArgument);
  for (const std::string& name : {std::string(), std::string("A=B"), std::string("A\0B", 3)}) {
    wanted = request(kProgram);
    wanted.environment = {{name, "x"}};
    EXPECT_EQ(refusal(wanted), ErrorCode::InvalidArgument);
  }
  wanted = request(kProgram);
  wanted.environment = {{"A", std::string("a\0b", 3)}};
  EXPECT_EQ(refusal(wanted), ErrorCode::InvalidArgument);
}

TEST_F(PosixProcessTableTest, KnowsAScriptByItsOwnPath) {
  const std::string body = waitingForNothing();
  const std::map<std::string, std::string> firstLines = {{"/Applications/a b/sh", "#!/bin/sh\n"},
                                                         {"/Applications/arg", "#!/bin/sh -u\n"},
                                                         {"/Applications/blank", "#! /bin/sh\n"},
                                                         {"/Applications/env", "#!/usr/bin/env sh\n"},
                                                         {"/Applications/S", "#!/usr/bin/env -S sh -u\n"}};
  for (const auto& [path, line] : firstLines) {
    host.root().makeExecutable(path, line + body);
    const pid_t process = launch(request(path));
    EXPECT_TRUE(runs(process, path)) << line;
    ::kill(-process, SIGKILL);
  }
}

TEST_F(PosixProcessTableTest, DoesNotTakeAProgramThatLooksAtAScriptForTheScript) {
  host.root().makeExecutable("/Applications/script", "#!/bin/sh\nsleep 100\n");
  const std::string tail = fs::canonical("/usr/bin/tail").string();
  LaunchRequest wanted = request(tail);
  wanted.outsideRoot = true;
  wanted.arguments = {"-f", host.root().hostPath("/Applications/script")};
  const pid_t process = launch(wanted);
  EXPECT_TRUE(comesTrue([&] { return table.process(process)->executable == tail; }));
  EXPECT_TRUE(table.sendTerminate(*table.process(process)).ok());
}

TEST_F(PosixProcessTableTest, KnowsAProgramThatWasReplacedWhileItRuns) {
  installProgram();
  const pid_t process = launch(request(kProgram));
  ASSERT_TRUE(runs(process, kProgram));
  installProgram();
  EXPECT_TRUE(runs(process, kProgram));
  host.root().remove(kProgram);
  EXPECT_TRUE(runs(process, kProgram));
}

TEST_F(PosixProcessTableTest, LooksExecutablesUpThroughTheFilesOfTheHost) {
  installProgram();
  const auto failing = host.interpose<vennick::tests::FailingFileSystem>(1, EIO);
  EXPECT_EQ(refusal(request(kProgram)), ErrorCode::NotFound);
  EXPECT_TRUE(failing->hasFailed());
}

}  // namespace
}  // namespace macos
