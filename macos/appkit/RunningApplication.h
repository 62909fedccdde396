// SPDX-License-Identifier: MIT
//
// NSRunningApplication: a process that runs an application. A process belongs to the innermost bundle, and
// only when its executable (or, for a script, the script) lies directly in that bundle's Contents/MacOS;
// the bundle may lie inside the root folder or outside. A process that was started for another root
// folder, or with a root folder for another home, runs on another Mac, or in another user's session, and
// is not an application here. A value: it tells what was true when it was made. Any thread.
#ifndef MACOS_APPKIT_RUNNINGAPPLICATION_H
#define MACOS_APPKIT_RUNNINGAPPLICATION_H

#include <sys/types.h>

#include <string>
#include <string_view>
#include <vector>

#include "macos/host/Services.h"

namespace macos {

class NSRunningApplication {
 public:
  NSRunningApplication(ProcessInfo process, std::string bundleIdentifier);

  // Every running instance, by process identifier. An instance that has ended counts as ended, also when
  // its parent has not reaped it yet.
  static std::vector<NSRunningApplication> runningApplicationsWithBundleIdentifier(
      std::string_view identifier);

  pid_t processIdentifier() const { return process_.processID; }
  const std::string& bundleIdentifier() const { return bundleIdentifier_; }
  // Asks the host again.
  bool isTerminated() const;
  // Sends the polite request to quit (SIGTERM). False when the instance has ended or the host refuses.
  // Never sent to another process that got the same number since.
  bool terminate() const;

 private:
  ProcessInfo process_;
  std::string bundleIdentifier_;
};

}  // namespace macos

#endif  // MACOS_APPKIT_RUNNINGAPPLICATION_H
