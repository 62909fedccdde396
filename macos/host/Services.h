// SPDX-License-Identifier: MIT
//
// The small services of the machine underneath, each an interface so that a test can stand in for what
// a machine cannot be made to do on demand. The real ones are the Posix… classes of this folder. Any
// thread may call them.
#ifndef MACOS_HOST_SERVICES_H
#define MACOS_HOST_SERVICES_H

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "macos/host/FileSystem.h"
#include "macos/host/Status.h"

namespace macos {

class Clock {
 public:
  virtual ~Clock() = default;
  // Wall-clock time; may jump.
  virtual UnixNanoseconds now() = 0;
  // Time that never runs backwards, from an arbitrary start.
  virtual UnixNanoseconds monotonic() = 0;
  // Waits until a file descriptor of the set is readable or the time (monotonic) has come, whichever is
  // first; gives the readable ones, among them those that have ended or are broken. A time that has
  // passed only looks. A substitute clock moves its own time instead of sleeping.
  virtual std::vector<int> waitUntil(UnixNanoseconds monotonicDeadline,
                                     const std::vector<int>& descriptors) = 0;
};

struct ProcessInfo {
  pid_t processID = 0;
  pid_t parentID = 0;
  // The program that runs, as a path outside the root: the executable, or for an interpreted script the
  // script. "" when it cannot be told, as for another user's process.
  std::string executable;
  UnixNanoseconds started = 0;  // since boot; tells a reused number apart

  bool operator==(const ProcessInfo&) const = default;
};

struct LaunchRequest {
  std::string executable;  // Mac path, or a path outside when outsideRoot is set
  bool outsideRoot = false;
  std::vector<std::string> arguments;  // argv[1] and on
  // The whole environment of the child.
  std::map<std::string, std::string> environment;
};

class ProcessTable {
 public:
  virtual ~ProcessTable() = default;
  // The processes that run now and whose executable, as ProcessInfo has it, passes the test, in the order
  // of their numbers. Those whose program cannot be told are not among them: the kernel's own, other
  // users', and one that has ended but was not yet reaped. Nor is a copy that a process has made of itself
  // (a fork that has loaded no program) while that process runs: it is a part of it, and no other instance
  // of its program. The test comes first, and only of those that pass it is more looked up: most of a
  // machine's processes are nobody's business.
  using ExecutableTest = std::function<bool(const std::string& executable)>;
  virtual std::vector<ProcessInfo> processes(const ExecutableTest& isMeant) = 0;
  // The process as it is now; nullopt when it has ended.
  virtual std::optional<ProcessInfo> process(pid_t processID) = 0;
  // The environment that the process was started with, by variable; of two of one name the first counts.
  // nullopt when it cannot be seen: another user's, or that of a process that has ended or whose program has
  // not begun.
  virtual std::optional<std::map<std::string, std::string>> environment(const ProcessInfo& process) = 0;
  // SIGTERM. NotFound when the process has ended, also when another one has its number by now.
  virtual Status sendTerminate(const ProcessInfo& process) = 0;
  // Starts a detached process: a session of its own, working directory "/", standard input, output and
  // error to nothing, no descriptor of ours, default signal handling, and never a zombie of ours. A
  // program that cannot be executed is an error: NotFound, PermissionDenied, or Unsupported for one of
  // another kind of machine and for a script that names no interpreter. The parent does not wait for
  // more than the beginning of its execution.
  virtual Result<pid_t> launch(const LaunchRequest& request) = 0;
};

// Where log lines go.
class LogSink {
 public:
  virtual ~LogSink() = default;
  // One line, without a newline at its end, to standard error.
  virtual void writeLine(std::string_view line) = 0;
  // One message to the system log (priority as syslog(3) has it) and, echoed, to standard error.
  virtual void writeSystemLog(int priority, std::string_view message) = 0;
};

struct CommandLimits {
  std::chrono::milliseconds time{2000};
  std::size_t output = std::size_t{64} * 1024;
};

class CommandRunner {
 public:
  virtual ~CommandRunner() = default;
  // Runs a command text through the shell and gives its standard output, byte for byte. A command that
  // outlives the time limit or prints more than the limit is ended, with its children, and gives
  // Cancelled; one that cannot be started gives Io. The exit status is not looked at. Standard input is
  // empty, standard error is ours.
  virtual Result<std::string> run(const std::string& command, const CommandLimits& limits) = 0;
};

struct VolumeInfo {
  std::string mountPoint;  // Mac path
  std::string name;        // "" when it has none that could be asked for
  std::uint64_t device = 0;
  UnixNanoseconds created = 0;
  bool isLocal = true;
  bool isEjectable = false;
  bool isReadOnly = false;
  bool isBoot = false;
  // Whether the volume tells names apart that differ in letter case only.
  bool isCaseSensitive = true;
  std::uint64_t capacity = 0;  // bytes
  std::string remountURL;      // "smb://…" for a network volume whose address is known, else ""
};

class VolumeTable {
 public:
  virtual ~VolumeTable() = default;
  // The boot volume first, then by mount point.
  virtual std::vector<VolumeInfo> volumes() = 0;
  // The volume that holds the item at the path, or would hold it. Of a link at the end the volume of what
  // it leads to; with FollowLinks::No its own.
  virtual VolumeInfo volumeForPath(std::string_view path, FollowLinks follow = FollowLinks::Yes) = 0;
};

}  // namespace macos

#endif  // MACOS_HOST_SERVICES_H
