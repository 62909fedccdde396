// SPDX-License-Identifier: MIT
//
// The small services of the machine underneath, each an interface so that a test can stand in for what
// a machine cannot be made to do on demand. The real ones are in PosixHost.
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
  // first; gives the readable ones. A substitute clock moves its own time instead of sleeping.
  virtual std::vector<int> waitUntil(UnixNanoseconds monotonicDeadline, const std::vector<int>& descriptors) = 0;
};

struct ProcessInfo {
  pid_t processID = 0;
  pid_t parentID = 0;
  // The program that runs, as a path outside the root: the executable, or for an interpreted script the
  // script.
  std::string executable;
  UnixNanoseconds started = 0;  // since boot; tells a reused number apart
};

struct LaunchRequest {
  std::string executable;              // Mac path, or a path outside when outsideRoot is set
  bool outsideRoot = false;
  std::vector<std::string> arguments;  // argv[1] and on
  // The whole environment of the child.
  std::map<std::string, std::string> environment;
};

class ProcessTable {
 public:
  virtual ~ProcessTable() = default;
  // Every process that runs now; one that has ended but was not yet reaped is not among them.
  virtual std::vector<ProcessInfo> processes() = 0;
  virtual Status sendTerminate(pid_t processID) = 0;  // SIGTERM
  // Starts a detached process: a session of its own, working directory "/", standard input from
  // nothing, no descriptor of ours, and never a zombie of ours.
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
  std::size_t output = 64 * 1024;
};

class CommandRunner {
 public:
  virtual ~CommandRunner() = default;
  // Runs a command text through the shell and gives its standard output, byte for byte. A command that
  // outlives the time limit or prints more than the limit is ended, with its children, and gives
  // Cancelled; one that cannot be started gives Io. The exit status is not looked at.
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
  bool isCaseSensitive = true;
  std::uint64_t capacity = 0;
  std::string remountURL;  // "smb://…" for a network volume whose address is known, else ""
};

class VolumeTable {
 public:
  virtual ~VolumeTable() = default;
  // The boot volume first, then by mount point.
  virtual std::vector<VolumeInfo> volumes() = 0;
  // The volume that holds the item at the path, or would hold it.
  virtual VolumeInfo volumeForPath(std::string_view path) = 0;
};

}  // namespace macos

#endif  // MACOS_HOST_SERVICES_H
