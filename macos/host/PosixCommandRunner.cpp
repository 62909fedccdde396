// SPDX-License-Identifier: MIT
#include "macos/host/PosixCommandRunner.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>

#include <algorithm>
#include <csignal>
#include <ctime>

#include "macos/host/Descriptor.h"

namespace macos {

namespace {

using Time = std::chrono::steady_clock;

int millisecondsUntil(Time::time_point deadline) {
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Time::now()).count();
  return static_cast<int>(std::clamp<std::int64_t>(left, 0, 60'000));
}

// The attributes and file actions of one start.
class Spawn {
 public:
  Spawn() {
    ::posix_spawn_file_actions_init(&actions_);
    ::posix_spawnattr_init(&attributes_);
    sigset_t signals;
    ::sigfillset(&signals);
    ::posix_spawnattr_setsigdefault(&attributes_, &signals);
    ::sigemptyset(&signals);
    ::posix_spawnattr_setsigmask(&attributes_, &signals);
    ::posix_spawnattr_setpgroup(&attributes_, 0);
    ::posix_spawnattr_setflags(
        &attributes_,
        static_cast<short>(POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK));
  }
  ~Spawn() {
    ::posix_spawnattr_destroy(&attributes_);
    ::posix_spawn_file_actions_destroy(&actions_);
  }
  Spawn(const Spawn&) = delete;
  Spawn& operator=(const Spawn&) = delete;

  int start(const std::string& command, int output, const std::vector<std::string>& environment,
            pid_t& shell) {
    // In this order: the pipe may have got number 0 where we were started without standard input.
    ::posix_spawn_file_actions_adddup2(&actions_, output, STDOUT_FILENO);
    ::posix_spawn_file_actions_addopen(&actions_, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    ::posix_spawn_file_actions_addclosefrom_np(&actions_, STDERR_FILENO + 1);
    std::vector<char*> variables;
    variables.reserve(environment.size() + 1);
    for (const std::string& variable : environment) variables.push_back(const_cast<char*>(variable.c_str()));
    variables.push_back(nullptr);
    const char* const arguments[] = {"sh", "-c", command.c_str(), nullptr};
    return ::posix_spawn(&shell, "/bin/sh", &actions_, &attributes_, const_cast<char* const*>(arguments),
                         variables.data());
  }

 private:
  posix_spawn_file_actions_t actions_;
  posix_spawnattr_t attributes_;
};

enum class Outcome { Ended, TooLate, TooMuch, Failed };

Outcome readOutput(int pipe, std::size_t most, Time::time_point deadline, std::string& output) {
  char piece[16 * 1024];
  for (;;) {
    pollfd waiting{pipe, POLLIN, 0};
    const int ready = uninterrupted([&] { return ::poll(&waiting, 1, millisecondsUntil(deadline)); });
    if (ready < 0) return Outcome::Failed;
    if (ready == 0) {
      if (Time::now() >= deadline) return Outcome::TooLate;
      continue;
    }
    const ssize_t got = uninterrupted([&] { return ::read(pipe, piece, sizeof piece); });
    if (got < 0) return Outcome::Failed;
    if (got == 0) return Outcome::Ended;
    if (output.size() + static_cast<std::size_t>(got) > most) return Outcome::TooMuch;
    output.append(piece, static_cast<std::size_t>(got));
    if (Time::now() >= deadline) return Outcome::TooLate;
  }
}

// Whether the shell has ended, and is reaped, in time.
bool waitForEnd(pid_t shell, Time::time_point deadline) {
  long nap = 50'000;
  for (;;) {
    const pid_t ended = uninterrupted([&] { return ::waitpid(shell, nullptr, WNOHANG); });
    // Somebody who ignores SIGCHLD has no children to wait for.
    if (ended == shell || ended < 0) return true;
    if (Time::now() >= deadline) return false;
    const timespec pause{0, nap};
    ::nanosleep(&pause, nullptr);
    nap = std::min(nap * 2, 5'000'000L);
  }
}

}  // namespace

PosixCommandRunner::PosixCommandRunner(std::map<std::string, std::string> environment,
                                       const std::vector<std::string>& toolFolders) {
  std::string path;
  for (const std::string& folder : toolFolders) path.append(folder).append(":");
  const auto found = environment.find("PATH");
  path.append(found == environment.end() ? "/usr/local/bin:/usr/bin:/bin" : found->second);
  environment["PATH"] = path;
  for (const auto& [name, value] : environment) environment_.push_back(name + "=" + value);
}

Result<std::string> PosixCommandRunner::run(const std::string& command, const CommandLimits& limits) {
  if (command.find('\0') != std::string::npos) return Status::fromErrno(command.c_str(), EINVAL);
  const Time::time_point deadline = Time::now() + limits.time;
  int ends[2];
  if (::pipe2(ends, O_CLOEXEC) != 0) return Status(ErrorCode::Io, command, "cannot be started", errno);
  const Descriptor readEnd(ends[0]);
  Descriptor writeEnd(ends[1]);
  pid_t shell = 0;
  if (const int error = Spawn().start(command, writeEnd.get(), environment_, shell); error != 0) {
    return Status(ErrorCode::Io, command, "cannot be started", error);
  }
  writeEnd.reset();

  std::string output;
  Outcome outcome = readOutput(readEnd.get(), limits.output, deadline, output);
  if (outcome == Outcome::Ended && !waitForEnd(shell, deadline)) outcome = Outcome::TooLate;
  if (outcome == Outcome::Ended) return output;

  ::kill(-shell, SIGKILL);
  // A process that the kernel holds on to does not hold us.
  waitForEnd(shell, Time::now() + std::chrono::seconds(1));
  if (outcome == Outcome::Failed) return Status(ErrorCode::Io, command, "its output cannot be read");
  return Status(
      ErrorCode::Cancelled, command,
      outcome == Outcome::TooMuch ? "printed too much and was ended" : "took too long and was ended");
}

}  // namespace macos
