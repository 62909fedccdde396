// SPDX-License-Identifier: MIT
#include "tests/app/WholeRun.h"

#include <fcntl.h>
#include <grp.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <thread>
#include <utility>

#include "tests/support/Python.h"

namespace vennick {
namespace {

namespace fs = std::filesystem;

double now() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

double secondsOf(const timeval& time) {
  return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
}

std::vector<char*> pointers(std::vector<std::string>& texts) {
  std::vector<char*> list;
  for (std::string& text : texts) list.push_back(text.data());
  list.push_back(nullptr);
  return list;
}

fs::path makeTemporaryFolder() {
  std::string path = (fs::temp_directory_path() / "vennick-run-XXXXXX").string();
  if (!mkdtemp(path.data())) throw std::runtime_error("mkdtemp failed");
  // Runs for another user must get in.
  fs::permissions(path, fs::perms(0755));
  return fs::canonical(path);
}

[[noreturn]] void becomeProgram(const Start& start, int log) {
  setsid();
  dup2(open("/dev/null", O_RDONLY | O_CLOEXEC), STDIN_FILENO);
  dup2(log, STDOUT_FILENO);
  dup2(log, STDERR_FILENO);
  if (start.user && (setgroups(0, nullptr) != 0 || setresgid(*start.user, *start.user, *start.user) != 0 ||
                     setresuid(*start.user, *start.user, *start.user) != 0)) {
    _exit(126);
  }
  std::vector<std::string> arguments = {start.executable.string()};
  arguments.insert(arguments.end(), start.arguments.begin(), start.arguments.end());
  std::vector<std::string> environment;
  for (const auto& [name, value] : start.environment) environment.push_back(name + "=" + value);
  execve(start.executable.c_str(), pointers(arguments).data(), pointers(environment).data());
  _exit(127);
}

// Whether a variable, "NAME=value", is in the environment that a process was started with.
bool wasStartedWith(pid_t process, std::string_view variable) {
  const std::string environment = '\0' + readFile("/proc/" + std::to_string(process) + "/environ");
  return environment.find('\0' + std::string(variable) + '\0') != std::string::npos;
}

std::vector<pid_t> allProcesses() {
  std::vector<pid_t> processes;
  for (const auto& entry : fs::directory_iterator("/proc")) {
    const std::string name = entry.path().filename();
    if (std::all_of(name.begin(), name.end(), [](unsigned char c) { return std::isdigit(c) != 0; })) {
      processes.push_back(static_cast<pid_t>(std::stol(name)));
    }
  }
  return processes;
}

bool runsProgram(pid_t process, const fs::path& program) {
  const std::string folder = "/proc/" + std::to_string(process);
  std::error_code error;
  if (fs::read_symlink(folder + "/exe", error) == program) return true;
  const std::string commandLine = readFile(folder + "/cmdline");
  return commandLine.find('\0' + program.string() + '\0') != std::string::npos;
}

}  // namespace

TemporaryFolder::TemporaryFolder() : path_(makeTemporaryFolder()) {}

TemporaryFolder::~TemporaryFolder() {
  std::error_code ignored;
  fs::remove_all(path_, ignored);
}

std::string readFile(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  // The files of a process that has just ended cannot be read, and the stream's buffer would throw.
  std::ostringstream text;
  text << file.rdbuf();
  return std::move(text).str();
}

void writeFile(const fs::path& path, std::string_view content) {
  fs::create_directories(path.parent_path());
  std::ofstream file(path, std::ios::binary);
  file.write(content.data(), static_cast<std::streamsize>(content.size()));
  if (!file) throw std::runtime_error("cannot write " + path.string());
}

std::vector<std::string> namesIn(const fs::path& folder) {
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(folder)) names.push_back(entry.path().filename());
  std::sort(names.begin(), names.end());
  return names;
}

StartedProcess::StartedProcess(const Start& start, fs::path log) : log_(std::move(log)), started_(now()) {
  const int descriptor = open(log_.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC, 0644);
  processID_ = fork();
  if (processID_ == 0) becomeProgram(start, descriptor);
  close(descriptor);
}

StartedProcess::~StartedProcess() {
  if (isReaped_ || processID_ <= 0) return;
  kill(processID_, SIGKILL);
  waitpid(processID_, nullptr, 0);
}

bool StartedProcess::isRunning() {
  siginfo_t information{};
  return !isReaped_ &&
         waitid(P_PID, static_cast<id_t>(processID_), &information, WEXITED | WNOHANG | WNOWAIT) == 0 &&
         information.si_pid == 0;
}

Outcome StartedProcess::wait() {
  Outcome outcome;
  int status = 0;
  rusage usage{};
  wait4(processID_, &status, 0, &usage);
  isReaped_ = true;
  outcome.seconds = now() - started_;
  outcome.exitStatus = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  outcome.processorSeconds = secondsOf(usage.ru_utime) + secondsOf(usage.ru_stime);
  outcome.peakKilobytes = usage.ru_maxrss;
  outcome.log = readFile(log_);
  return outcome;
}

WholeRunTest::WholeRunTest() = default;

WholeRunTest::~WholeRunTest() {
  // Nobody else starts processes for this root.
  for (const pid_t process : allProcesses()) {
    if (wasStartedWith(process, "MACOS_ROOT=" + root().string())) kill(process, SIGKILL);
  }
}

fs::path WholeRunTest::domainFile(std::string_view domain) const {
  return preferences() / (std::string(domain) + ".plist");
}

void WholeRunTest::writeDomain(std::string_view domain, std::string_view xmlContent) {
  writeFile(domainFile(domain), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">" +
                                    std::string(xmlContent) + "</plist>\n");
}

void WholeRunTest::writeSettings(std::string_view xmlEntries) {
  writeDomain(kMainDomain, "<dict><key>Settings</key><dict>" + std::string(xmlEntries) + "</dict></dict>");
}

void WholeRunTest::copySampleDomains() {
  for (const std::string_view domain : {kMainDomain, kSettingsDomain, kFavoritesDomain}) {
    fs::copy_file(
        fs::path(VENNICK_SOURCE) / "samples/home/Library/Preferences" / (std::string(domain) + ".plist"),
        domainFile(domain), fs::copy_options::overwrite_existing);
  }
}

fs::path WholeRunTest::stagedBundle() { return fs::path(VENNICK_BUILD) / "Vennick 5.app"; }

fs::path WholeRunTest::quietBundle() {
  static const TemporaryFolder folder;
  static const fs::path bundle = [] {
    const fs::path copy = folder.path() / "Vennick 5.app";
    fs::copy(stagedBundle(), copy, fs::copy_options::recursive);
    fs::remove_all(copy / "Contents/MacOS");
    return copy;
  }();
  return bundle;
}

fs::path WholeRunTest::migratorIn(const fs::path& bundle) {
  return bundle / "Contents/Helpers/VennickMigrator.app/Contents/MacOS/VennickMigrator";
}

Start WholeRunTest::start(const fs::path& bundle) const {
  return {
      .executable = migratorIn(bundle),
      .arguments = {},
      .environment = {{"MACOS_ROOT", root().string()}, {"HOME", "/Users/anna"}, {"PATH", "/usr/bin:/bin"}},
      .user = std::nullopt};
}

Outcome WholeRunTest::run(const Start& start) {
  StartedProcess process(start, root() / ("log-" + std::to_string(++logs_)));
  return process.wait();
}

std::vector<std::string> WholeRunTest::shownBySettingsReader(std::string_view keys,
                                                             const std::vector<fs::path>& files) {
  Start reader = {.executable = tests::kPython,
                  .arguments = {"-S", VENNICK_SOURCE "/tests/app/show_settings.py", std::string(keys)},
                  .environment = {{"PATH", getenv("PATH")}, {"PYTHONUTF8", "1"}},
                  .user = std::nullopt};
  for (const fs::path& file : files) reader.arguments.push_back(file.string());
  const TemporaryFolder folder;
  StartedProcess process(reader, folder.path() / "output");
  std::istringstream output(process.wait().log);
  std::vector<std::string> lines;
  for (std::string line; std::getline(output, line);) lines.push_back(line);
  lines.resize(files.size(), "(no answer)");
  return lines;
}

std::string WholeRunTest::settings(std::string_view keys) const {
  return shownBySettingsReader(keys, {domainFile(kNewDomain)}).front();
}

std::vector<pid_t> WholeRunTest::processesRunning(const fs::path& program) const {
  std::vector<pid_t> running;
  for (const pid_t process : allProcesses()) {
    if (runsProgram(process, program) && wasStartedWith(process, "MACOS_ROOT=" + root().string())) {
      running.push_back(process);
    }
  }
  return running;
}

bool WholeRunTest::waitForProcesses(const fs::path& program, std::size_t count) const {
  for (const double deadline = now() + 10; now() < deadline;) {
    if (processesRunning(program).size() == count) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  return false;
}

}  // namespace vennick
