// SPDX-License-Identifier: MIT
#include "macos/appkit/RunningApplication.h"

#include <utility>

#include "macos/carbon/Processes.h"
#include "macos/foundation/Bundle.h"
#include "macos/host/Host.h"

namespace macos {

NSRunningApplication::NSRunningApplication(ProcessInfo process, std::string bundleIdentifier)
    : process_(std::move(process)), bundleIdentifier_(std::move(bundleIdentifier)) {}

std::vector<NSRunningApplication> NSRunningApplication::runningApplicationsWithBundleIdentifier(
    std::string_view identifier) {
  std::vector<NSRunningApplication> found;
  if (identifier.empty()) return found;
  for (ProcessInfo& process : Host::current().processes().processes(NSBundle::isExecutableOfBundle)) {
    const auto bundle = NSBundle::bundleOfExecutable(process.executable);
    if (!bundle || bundle->bundleIdentifier() != identifier || !isProcessOfThisSession(process)) continue;
    found.emplace_back(std::move(process), std::string(identifier));
  }
  return found;
}

bool NSRunningApplication::isTerminated() const {
  const auto now = Host::current().processes().process(process_.processID);
  return !now || now->started != process_.started;
}

bool NSRunningApplication::terminate() const {
  return Host::current().processes().sendTerminate(process_).ok();
}

}  // namespace macos
