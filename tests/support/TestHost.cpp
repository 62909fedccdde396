// SPDX-License-Identifier: MIT
#include "tests/support/TestHost.h"

#include <signal.h>

#include <cstdlib>
#include <filesystem>

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

void endProcessesOf(const TemporaryRoot& root) {
  for (const macos::ProcessInfo& process : macos::PosixProcessTable(nullptr).processes()) {
    if (process.executable.rfind(root.path() + "/", 0) == 0) ::kill(process.processID, SIGKILL);
  }
}

}  // namespace

TestHost::TestHost(TestHostOptions options)
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
