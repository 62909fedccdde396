// SPDX-License-Identifier: MIT
#include "macos/host/PosixProcessTable.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>

#include <algorithm>
#include <charconv>
#include <climits>
#include <csignal>
#include <cstdlib>

#include "macos/host/Descriptor.h"
#include "macos/host/DetachedLaunch.h"

namespace macos {

namespace {

std::string procPath(pid_t process, const char* name) {
  return "/proc/" + std::to_string(process) + "/" + name;
}

// The beginning of a file of /proc or of a script; "" when it cannot be read. Both fill what they are given
// as far as they go, so that less is the end.
std::string readSome(const std::string& path, std::size_t most) {
  constexpr std::size_t kUsuallyEnough = 4096;
  const Descriptor file(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  if (!file.isOpen()) return "";
  std::string text;
  std::size_t length = 0;
  while (length == text.size() && length < most) {
    text.resize(std::min(most, length * 2 + kUsuallyEnough));
    const ssize_t got =
        uninterrupted([&] { return ::read(file.get(), text.data() + length, text.size() - length); });
    if (got <= 0) break;
    length += static_cast<std::size_t>(got);
  }
  text.resize(length);
  return text;
}

std::string readLinkText(const std::string& path) {
  char text[PATH_MAX];
  const ssize_t length = ::readlink(path.c_str(), text, sizeof text);
  return length <= 0 ? "" : std::string(text, static_cast<std::size_t>(length));
}

bool isRegularFile(const std::string& path) {
  struct stat found {};
  return ::stat(path.c_str(), &found) == 0 && S_ISREG(found.st_mode);
}

bool isSameFile(const std::string& a, const std::string& b) {
  struct stat foundA {};
  struct stat foundB {};
  return ::stat(a.c_str(), &foundA) == 0 && ::stat(b.c_str(), &foundB) == 0 &&
         foundA.st_dev == foundB.st_dev && foundA.st_ino == foundB.st_ino;
}

std::string lastComponent(const std::string& path) { return path.substr(path.rfind('/') + 1); }

std::vector<std::string> splitAt(std::string_view text, std::string_view separators, std::size_t most) {
  std::vector<std::string> parts;
  std::size_t start = 0;
  while (start < text.size() && parts.size() < most) {
    const std::size_t end = std::min(text.find_first_of(separators, start), text.size());
    parts.emplace_back(text.substr(start, end - start));
    start = end + 1;
  }
  return parts;
}

// The words of a script's first line after "#!"; none when the file is no script.
std::vector<std::string> interpreterWords(const std::string& script) {
  const std::string start = readSome(script, 256);
  if (start.compare(0, 2, "#!") != 0) return {};
  const std::string line = start.substr(2, start.find('\n', 2) - 2);
  std::vector<std::string> words;
  for (std::string& word : splitAt(line, " \t\r", 16)) {
    if (!word.empty()) words.push_back(std::move(word));
  }
  return words;
}

// Whether the program is the one that the script asks for. "env" puts another one in its own place, which
// is known by the name under which it was called.
bool runsAsInterpreterOf(const std::string& script, const std::string& program, const std::string& calledAs) {
  const std::vector<std::string> words = interpreterWords(script);
  if (words.empty()) return false;
  if (isSameFile(words[0], program)) return true;
  return lastComponent(words[0]) == "env" &&
         std::find(words.begin() + 1, words.end(), lastComponent(calledAs)) != words.end();
}

// The script that an interpreter executes: the kernel puts its path behind the interpreter's own and the
// one argument of the script's first line, "env" may take several.
std::string scriptOf(pid_t process, const std::string& program) {
  constexpr std::size_t kMostArguments = 6;
  const std::string line = readSome(procPath(process, "cmdline"), std::size_t{16} * 1024);
  const std::vector<std::string> arguments = splitAt(line, std::string_view("\0", 1), kMostArguments);
  for (std::size_t i = 1; i < arguments.size(); ++i) {
    if (arguments[i].find('/') == std::string::npos) continue;
    std::string path = arguments[i];
    if (path.front() != '/') path = readLinkText(procPath(process, "cwd")) + "/" + path;
    if (!isRegularFile(path) || !runsAsInterpreterOf(path, program, arguments[0])) continue;
    char* const canonical = ::realpath(path.c_str(), nullptr);
    if (canonical == nullptr) continue;
    path = canonical;
    std::free(canonical);
    return path;
  }
  return "";
}

// The program file that the process executes; "" when that cannot be seen.
std::string programOf(pid_t process) { return readLinkText(procPath(process, "exe")); }

std::string executableOf(pid_t process, std::string program) {
  if (program.empty()) return program;
  // A program that was replaced while it runs is still known by its place.
  constexpr std::string_view kDeleted = " (deleted)";
  if (program.size() > kDeleted.size() &&
      program.compare(program.size() - kDeleted.size(), kDeleted.size(), kDeleted) == 0 &&
      !isRegularFile(program)) {
    program.resize(program.size() - kDeleted.size());
  }
  std::string script = scriptOf(process, program);
  return script.empty() ? program : script;
}

// The fields of /proc/<id>/stat from the third one, the state, on; none when there is no such process.
std::vector<std::string> stateFields(pid_t process, std::size_t most) {
  const std::string text = readSome(procPath(process, "stat"), 4096);
  // The name in brackets may hold anything, so the last bracket counts.
  const std::size_t nameEnd = text.rfind(") ");
  if (nameEnd == std::string::npos) return {};
  return splitAt(std::string_view(text).substr(nameEnd + 2), " ", most);
}

struct ProcessState {
  ProcessInfo info;  // without the executable
  // Split off by its parent, and has loaded no program since: the kernel's PF_FORKNOEXEC.
  bool isForkedCopy = false;
};

// nullopt when the process has ended.
std::optional<ProcessState> readState(pid_t process) {
  constexpr unsigned long kForkedWithoutExec = 0x40;
  const std::vector<std::string> fields = stateFields(process, 20);
  if (fields.size() < 20 || fields[0] == "Z" || fields[0] == "X" || fields[0] == "x") return std::nullopt;
  ProcessState state;
  state.info.processID = process;
  state.info.parentID = static_cast<pid_t>(std::strtol(fields[1].c_str(), nullptr, 10));
  state.isForkedCopy = (std::strtoul(fields[6].c_str(), nullptr, 10) & kForkedWithoutExec) != 0;
  const UnixNanoseconds ticks = std::strtoll(fields[19].c_str(), nullptr, 10);
  state.info.started = ticks * (1'000'000'000 / ::sysconf(_SC_CLK_TCK));
  return state;
}

// Whether the process has an environment, be it an empty one. The kernel tells where in memory it ends: at 0
// while a program is being loaded, and when the process ends.
bool hasEnvironment(pid_t process) {
  constexpr std::size_t kEnvironmentEnd = 48;
  const std::vector<std::string> fields = stateFields(process, kEnvironmentEnd + 1);
  return fields.size() > kEnvironmentEnd && fields[kEnvironmentEnd] != "0";
}

// Whether it is still the process that was meant. The kernel keeps the number while we hold on to it.
Status signalHeldProcess(int held, const ProcessInfo& process, const std::string& name) {
  const std::optional<ProcessState> now = readState(process.processID);
  if (!now || now->info.started != process.started) return Status::fromErrno(name, ESRCH);
  const long sent = held >= 0 ? ::syscall(SYS_pidfd_send_signal, held, SIGTERM, nullptr, 0)
                              : ::kill(process.processID, SIGTERM);
  return sent == 0 ? Status() : Status::fromErrno(name, errno);
}

// A process of its own that runs the program: not the copy that a process makes of itself to work beside
// it, or to start another program, which is there for a moment only.
std::optional<ProcessInfo> processRunning(const ProcessTable::ExecutableTest& isMeant, pid_t number) {
  // The state before the program: a copy that loads its program in between is not taken for its parent.
  std::optional<ProcessState> state = readState(number);
  if (!state) return std::nullopt;
  ProcessInfo& info = state->info;
  info.executable = executableOf(number, programOf(number));
  if (!isMeant(info.executable)) return std::nullopt;
  if (state->isForkedCopy && executableOf(info.parentID, programOf(info.parentID)) == info.executable) {
    return std::nullopt;
  }
  return std::move(info);
}

bool isVariableName(const std::string& name) {
  return !name.empty() && name.find('=') == std::string::npos && name.find('\0') == std::string::npos;
}

}  // namespace

std::optional<ProcessInfo> PosixProcessTable::process(pid_t processID) {
  if (processID <= 0) return std::nullopt;
  std::optional<ProcessState> state = readState(processID);
  if (!state) return std::nullopt;
  state->info.executable = executableOf(processID, programOf(processID));
  return std::move(state->info);
}

std::vector<ProcessInfo> PosixProcessTable::processes(const ExecutableTest& isMeant) {
  std::vector<ProcessInfo> result;
  const std::unique_ptr<DIR, int (*)(DIR*)> folder(::opendir("/proc"), ::closedir);
  if (!folder) return result;
  while (const dirent* entry = ::readdir(folder.get())) {
    const std::string_view name = entry->d_name;
    pid_t number = 0;
    const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), number);
    if (error != std::errc() || end != name.data() + name.size()) continue;
    // Most of a machine's processes are the kernel's or somebody else's: one call tells.
    const std::string program = programOf(number);
    if (program.empty() || !isMeant(executableOf(number, program))) continue;
    // All of it now, its start first: meanwhile the number may have become another process's.
    std::optional<ProcessInfo> info = processRunning(isMeant, number);
    if (info) result.push_back(std::move(*info));
  }
  std::sort(result.begin(), result.end(),
            [](const ProcessInfo& a, const ProcessInfo& b) { return a.processID < b.processID; });
  return result;
}

std::optional<std::map<std::string, std::string>> PosixProcessTable::environment(const ProcessInfo& process) {
  constexpr std::size_t kLargestEnvironment = std::size_t{2} << 20;
  // Asked before and after: in between the program may have begun, or the process ended.
  if (!hasEnvironment(process.processID)) return std::nullopt;
  const std::string text = readSome(procPath(process.processID, "environ"), kLargestEnvironment);
  if (text.empty() && !hasEnvironment(process.processID)) return std::nullopt;
  std::map<std::string, std::string> variables;
  std::string_view rest = text;
  while (!rest.empty()) {
    const std::string_view entry = rest.substr(0, rest.find('\0'));
    rest.remove_prefix(std::min(entry.size() + 1, rest.size()));
    const std::size_t equals = entry.find('=');
    if (equals == 0 || equals == std::string_view::npos) continue;
    variables.emplace(entry.substr(0, equals), entry.substr(equals + 1));
  }
  return variables;
}

Status PosixProcessTable::sendTerminate(const ProcessInfo& process) {
  const std::string name = "process " + std::to_string(process.processID);
  // Numbers from 0 down stand for groups and for everybody.
  if (process.processID <= 0) return Status::fromErrno(name, EINVAL);
  const Descriptor held(static_cast<int>(::syscall(SYS_pidfd_open, process.processID, 0)));
  if (!held.isOpen() && errno == ESRCH) return Status::fromErrno(name, ESRCH);
  return signalHeldProcess(held.get(), process, name);
}

Result<pid_t> PosixProcessTable::launch(const LaunchRequest& request) {
  std::string program = request.executable;
  if (!request.outsideRoot) {
    std::optional<std::string> found = files_->hostPath(request.executable);
    if (!found) return Status::fromErrno(request.executable, ENOENT);
    program = std::move(*found);
  }
  std::vector<std::string> arguments = {program};
  arguments.insert(arguments.end(), request.arguments.begin(), request.arguments.end());
  std::vector<std::string> environment;
  for (const auto& [name, value] : request.environment) {
    if (!isVariableName(name)) return Status::fromErrno(request.executable, EINVAL);
    environment.push_back(name + "=" + value);
  }
  const auto holdsNul = [](const std::string& text) { return text.find('\0') != std::string::npos; };
  if (std::any_of(arguments.begin(), arguments.end(), holdsNul) ||
      std::any_of(environment.begin(), environment.end(), holdsNul)) {
    return Status::fromErrno(request.executable, EINVAL);
  }
  return launchDetached(program, arguments, environment);
}

}  // namespace macos
