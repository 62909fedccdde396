// SPDX-License-Identifier: MIT
//
// The machine's processes, read from /proc, and the start of new ones. Immutable; any thread.
#ifndef MACOS_HOST_POSIXPROCESSTABLE_H
#define MACOS_HOST_POSIXPROCESSTABLE_H

#include <memory>

#include "macos/host/FileSystem.h"
#include "macos/host/Services.h"

namespace macos {

class PosixProcessTable : public ProcessTable {
 public:
  // The files that Mac paths of executables are looked up in.
  explicit PosixProcessTable(std::shared_ptr<FileSystem> files) : files_(std::move(files)) {}

  std::vector<ProcessInfo> processes(const ExecutableTest& isMeant) override;
  std::optional<ProcessInfo> process(pid_t processID) override;
  std::optional<std::map<std::string, std::string>> environment(const ProcessInfo& process) override;
  Status sendTerminate(const ProcessInfo& process) override;
  Result<pid_t> launch(const LaunchRequest& request) override;

 private:
  std::shared_ptr<FileSystem> files_;
};

}  // namespace macos

#endif  // MACOS_HOST_POSIXPROCESSTABLE_H
