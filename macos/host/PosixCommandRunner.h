// SPDX-License-Identifier: MIT
//
// Runs shell commands (popen's way) with bounds. Each command has a process group of its own, which is
// ended as a whole; a child that leaves its group on purpose is not found. Immutable; any thread.
#ifndef MACOS_HOST_POSIXCOMMANDRUNNER_H
#define MACOS_HOST_POSIXCOMMANDRUNNER_H

#include "macos/host/Services.h"

namespace macos {

class PosixCommandRunner : public CommandRunner {
 public:
  // The commands' environment; toolFolders come before what its PATH names.
  PosixCommandRunner(std::map<std::string, std::string> environment,
                     const std::vector<std::string>& toolFolders);

  Result<std::string> run(const std::string& command, const CommandLimits& limits) override;

 private:
  std::vector<std::string> environment_;
};

}  // namespace macos

#endif  // MACOS_HOST_POSIXCOMMANDRUNNER_H
