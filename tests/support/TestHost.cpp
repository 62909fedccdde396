// SPDX-License-Identifier: MIT
#include "tests/support/TestHost.h"

#include <signal.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

#include "macos/host/PosixClock.h"
#include "macos/host/PosixCommandRunner.h"
#include "macos/host/PosixFileSystem.h"
#include "macos/host/PosixProcessTable.h"
#include "macos/host/PosixVolumeTable.h"

namespace vennick::tests {

namespace {

std::shared_ptr<macos::FileSystem> realFiles(const std::string& root,
                                             std::optional<macos::PathResolver::Way> way) {
  if (way) return std::make_shared<macos::PosixFileSystem>(root, *way);
  return std::make_shared<macos::PosixFileSystem>(root);
}

std::map<std::string, std::string> environmentOf(const TestHostOptions& options, const std::string& root) {
  std::map<std::string, std::string> environment = options.environment;
  const char* const path = std::getenv("PATH");
  environment.emplace("PATH", path == nullptr ? "/usr/bin:/bin" : path);
  environment.emplace("HOME", options.home);
  environment.emplace("MACOS_ROOT", root);
  return environment;
}

// Whether the process may run something of the root: cheap to tell for the many that do not.
bool mayBelongTo(const std::string& root, const std::filesystem::path& process) {
  std::error_code ignored;
  if (std::filesystem::read_symlink(process / "exe", ignored).string().rfind(root, 0) == 0) return true;
  // A process may end between the opening and the reading: what is inserted then fails, while an iterator
  // over the buffer would throw.
  std::ostringstream line;
  line << std::ifstream(process / "cmdline", std::ios::binary).rdbuf();
  return line.str().find(root) != std::string::npos;
}

void endProcessesOf(const TemporaryRoot& root) {
  const std::string inside = root.path() + "/";
  macos::PosixProcessTable table(nullptr);
  std::error_code ignored;
  for (const auto& entry : std::filesystem::directory_iterator("/proc", ignored)) {
    const pid_t number = std::atoi(entry.path().filename().c_str());
    if (number <= 0 || !mayBelongTo(inside, entry.path())) continue;
    const std::optional<macos::ProcessInfo> process = table.process(number);
    if (process && process->executable.rfind(inside, 0) == 0) ::kill(number, SIGKILL);
  }
}

}  // namespace

TestHost::TestHost(const TestHostOptions& options)
    : root_(options.root ? options.root : std::make_shared<TemporaryRoot>()),
      real_(realFiles(root_->path(), options.way)),
      top_(std::make_shared<SwitchableFileSystem>(real_)),
      log_(std::make_shared<RecordingLog>()),
      clock_(std::make_shared<AdjustableClock>()),
      volumes_(std::make_shared<SubstituteVolumes>(std::make_shared<macos::PosixVolumeTable>(top_), top_)) {
  macos::Host::Parts parts;
  parts.environment = environmentOf(options, root_->path());
  parts.home = options.home;
  parts.executable = options.executable.empty() ? std::filesystem::read_symlink("/proc/self/exe").string()
                                                : options.executable;
  parts.files = top_;
  parts.volumes = volumes_;
  parts.clock = clock_;
  if (options.realClock) parts.clock = std::make_shared<macos::PosixClock>();
  parts.processes = std::make_shared<macos::PosixProcessTable>(top_);
  parts.log = log_;
  parts.commands = std::make_shared<macos::PosixCommandRunner>(parts.environment, options.toolFolders);
  if (options.adjust) options.adjust(parts);
  host_ = macos::Host::make(std::move(parts));
  scope_ = std::make_unique<macos::ScopedHost>(host_);
}

TestHost::~TestHost() {
  removeInterposed();
  // The locals end while the host is current and its files are there.
  host_.reset();
  scope_.reset();
  endProcessesOf(*root_);
}

void TestHost::removeInterposed() {
  top_->setInner(real_);
  for (const auto& wrapper : interposed_) wrapper->release();
  interposed_.clear();
}

}  // namespace vennick::tests
