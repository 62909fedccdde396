// SPDX-License-Identifier: MIT
#include "tests/support/ChildProcess.h"

#include <grp.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <initializer_list>
#include <set>
#include <thread>

#include "gtest/gtest.h"

namespace vennick::tests {

namespace {

// A number that no system call has: marks where the counting begins and ends.
constexpr long kMark = 0x6fff;

[[noreturn]] void runAndExit(const std::function<void()>& function) {
  int code = 0;
  try {
    function();
  } catch (const std::exception& error) {
    std::fprintf(stderr, "thrown in the child: %s\n", error.what());
    code = 1;
  }
  if (testing::Test::HasFailure()) code = 1;
  std::fflush(nullptr);
  ::_exit(code);
}

pid_t forkClean() {
  // What is buffered would be printed by both.
  std::fflush(nullptr);
  return ::fork();
}

const std::set<long>& silentCalls() {
  static const std::set<long> calls = {SYS_brk,           SYS_mmap,       SYS_munmap, SYS_mremap,
                                       SYS_madvise,       SYS_mprotect,   SYS_futex,  SYS_rt_sigprocmask,
                                       SYS_clock_gettime, SYS_sched_yield};
  return calls;
}

// Follows the stopped child to its end.
std::optional<SystemCalls> follow(pid_t child) {
  SystemCalls calls;
  bool isCounting = false;
  int status = 0;
  for (int signal = 0;; signal = 0) {
    if (::waitpid(child, &status, 0) < 0) return std::nullopt;
    if (!WIFSTOPPED(status)) break;
    if (WSTOPSIG(status) == (SIGTRAP | 0x80)) {
      __ptrace_syscall_info info{};
      if (::ptrace(PTRACE_GET_SYSCALL_INFO, child, sizeof info, &info) <= 0) {
        ::kill(child, SIGKILL);
        ::waitpid(child, nullptr, 0);
        return std::nullopt;
      }
      if (info.op == PTRACE_SYSCALL_INFO_ENTRY) {
        const long number = static_cast<long>(info.entry.nr);
        if (number == kMark) {
          isCounting = !isCounting;
        } else if (isCounting && silentCalls().count(number) == 0) {
          ++calls.total;
          ++calls.byNumber[number];
          calls.inOrder.push_back(number);
        }
      }
    } else if (WSTOPSIG(status) != SIGSTOP && WSTOPSIG(status) != SIGTRAP) {
      signal = WSTOPSIG(status);
    }
    ::ptrace(PTRACE_SYSCALL, child, nullptr, signal);
  }
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "the counted function failed";
  return calls;
}

}  // namespace

ChildResult runInChild(const std::function<void()>& function, std::chrono::milliseconds limit) {
  const pid_t child = forkClean();
  if (child == 0) runAndExit(function);
  ChildResult result;
  int status = 0;
  const auto deadline = std::chrono::steady_clock::now() + limit;
  while (::waitpid(child, &status, WNOHANG) == 0) {
    if (std::chrono::steady_clock::now() >= deadline && !result.timedOut) {
      result.timedOut = true;
      ::kill(child, SIGKILL);
    }
    std::this_thread::sleep_for(std::chrono::microseconds(500));
  }
  if (WIFEXITED(status)) result.exitCode = WEXITSTATUS(status);
  if (WIFSIGNALED(status)) result.signal = WTERMSIG(status);
  return result;
}

namespace {

void expectSuccess(const ChildResult& result) {
  EXPECT_FALSE(result.timedOut) << "the child process hung";
  EXPECT_EQ(result.signal, 0) << "the child process was ended by a signal";
  EXPECT_TRUE(result.succeeded()) << "an expectation failed in the child process";
}

}  // namespace

void expectInChild(const std::function<void()>& function) { expectSuccess(runInChild(function)); }

ChildResult runAsOrdinaryUser(const std::function<void()>& function) {
  return runInChild([&] {
    if (::geteuid() == 0) {
      ASSERT_EQ(::setgroups(0, nullptr), 0);
      ASSERT_EQ(::setegid(kOrdinaryUser), 0);
      ASSERT_EQ(::seteuid(kOrdinaryUser), 0);
    }
    function();
  });
}

void expectAsOrdinaryUser(const std::function<void()>& function) {
  expectSuccess(runAsOrdinaryUser(function));
}

std::optional<SystemCalls> countSystemCalls(const std::function<void()>& function) {
  const pid_t child = forkClean();
  if (child == 0) {
    if (::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) ::_exit(0);
    ::raise(SIGSTOP);
    runAndExit([&] {
      ::syscall(kMark);
      function();
      ::syscall(kMark);
    });
  }
  int status = 0;
  if (::waitpid(child, &status, 0) < 0 || !WIFSTOPPED(status)) return std::nullopt;
  ::ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL);
  ::ptrace(PTRACE_SYSCALL, child, nullptr, 0);
  return follow(child);
}

}  // namespace vennick::tests
