// SPDX-License-Identifier: MIT
#include "macos/host/DetachedLaunch.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>

#include <csignal>
#include <cstddef>

#include "macos/host/Descriptor.h"

namespace macos {

namespace {

// What the new process writes to us before it executes the program: its number, then, when it fails, why.
struct Report {
  pid_t process;
  int error;
};

// Everything that the new process needs. It is made beforehand: between fork and exec only calls that
// are safe in a signal handler are allowed, since another thread may have held any lock.
struct Prepared {
  const char* program;
  std::vector<char*> arguments;
  std::vector<char*> environment;
  int report;
};

std::vector<char*> pointers(const std::vector<std::string>& texts) {
  std::vector<char*> result;
  result.reserve(texts.size() + 1);
  for (const std::string& text : texts) result.push_back(const_cast<char*>(text.c_str()));
  result.push_back(nullptr);
  return result;
}

void restoreSignals() {
  struct sigaction standard {};
  standard.sa_handler = SIG_DFL;
  for (int signal = 1; signal < NSIG; ++signal) ::sigaction(signal, &standard, nullptr);
  sigset_t none;
  ::sigemptyset(&none);
  ::sigprocmask(SIG_SETMASK, &none, nullptr);
}

void closeOnExecFrom(int first) {
#ifdef SYS_close_range
  constexpr unsigned kCloseOnExec = 1U << 2;
  if (::syscall(SYS_close_range, static_cast<unsigned>(first), ~0U, kCloseOnExec) == 0) return;
#endif
  rlimit limit{};
  ::getrlimit(RLIMIT_NOFILE, &limit);
  const int end = limit.rlim_cur > 65'536 ? 65'536 : static_cast<int>(limit.rlim_cur);
  for (int descriptor = first; descriptor < end; ++descriptor) ::fcntl(descriptor, F_SETFD, FD_CLOEXEC);
}

[[noreturn]] void executeProgram(const Prepared& prepared) {
  Report report{::getpid(), 0};
  ::setsid();
  const int nothing = ::open("/dev/null", O_RDWR);
  const bool isReady = nothing >= 0 && ::dup2(nothing, STDIN_FILENO) >= 0 &&
                       ::dup2(nothing, STDOUT_FILENO) >= 0 && ::dup2(nothing, STDERR_FILENO) >= 0 &&
                       ::chdir("/") == 0;
  if (isReady) {
    restoreSignals();
    closeOnExecFrom(STDERR_FILENO + 1);
    const ssize_t ignored = ::write(prepared.report, &report, sizeof report);
    static_cast<void>(ignored);
    ::execve(prepared.program, prepared.arguments.data(), prepared.environment.data());
  }
  report.error = errno;
  const ssize_t ignored = ::write(prepared.report, &report, sizeof report);
  static_cast<void>(ignored);
  ::_exit(127);
}

// A pipe whose ends are none of the three standard numbers, which the new process gives away.
int makeReportPipe(Descriptor& readEnd, Descriptor& writeEnd) {
  int ends[2];
  if (::pipe2(ends, O_CLOEXEC) != 0) return errno;
  readEnd.reset(ends[0]);
  writeEnd.reset(ends[1]);
  if (writeEnd.get() <= STDERR_FILENO) {
    writeEnd.reset(::fcntl(writeEnd.get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
  }
  return writeEnd.isOpen() ? 0 : errno;
}

}  // namespace

Result<pid_t> launchDetached(const std::string& program, const std::vector<std::string>& arguments,
                             const std::vector<std::string>& environment) {
  Descriptor readEnd;
  Descriptor writeEnd;
  if (const int error = makeReportPipe(readEnd, writeEnd); error != 0) {
    return Status::fromErrno(program, error);
  }
  const Prepared prepared{program.c_str(), pointers(arguments), pointers(environment), writeEnd.get()};

  // The child only makes the grandchild, which so belongs to nobody and leaves no zombie here.
  const pid_t child = ::fork();
  if (child < 0) return Status::fromErrno(program, errno);
  if (child == 0) {
    const pid_t grandchild = ::fork();
    if (grandchild == 0) executeProgram(prepared);
    const Report failed{0, grandchild < 0 ? errno : 0};
    if (grandchild < 0) {
      const ssize_t ignored = ::write(prepared.report, &failed, sizeof failed);
      static_cast<void>(ignored);
    }
    ::_exit(0);
  }
  writeEnd.reset();
  uninterrupted([&] { return ::waitpid(child, nullptr, 0); });

  // The end of the pipe means that the program is being executed, or that its process is gone.
  Report report{0, 0};
  Report next{};
  while (uninterrupted([&] { return ::read(readEnd.get(), &next, sizeof next); }) ==
         static_cast<ssize_t>(sizeof next)) {
    report = next;
  }
  if (report.error != 0) return Status::fromErrno(program, report.error);
  if (report.process == 0) return Status(ErrorCode::Io, program, "the new process ended before it began");
  return report.process;
}

}  // namespace macos
