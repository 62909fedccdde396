// SPDX-License-Identifier: MIT
#include "macos/appkit/RunningApplication.h"

#include <utility>

#include "macos/foundation/Bundle.h"
#include "macos/host/Host.h"

namespace macos {

namespace {

// Whether the process was started, by its environment, for this Mac and this user. One that names no root
// folder was started without regard to one and counts.
bool isOfThisSession(const ProcessInfo& process) {
  auto& host = Host::current();
  const auto root = host.processes().environmentValue(process, "MACOS_ROOT");
  if (!root || root->empty()) return true;
  if (host.files().pathInRoot(*root) != "/") return false;
  const auto home = host.processes().environmentValue(process, "HOME");
  return !home || host.files().hostPath(*home) == host.files().hostPath(host.home());
}

}  // namespace

NSRunningApplication::NSRunningApplication(ProcessInfo process, std::string bundleIdentifier)
    : process_(std::move(process)), bundleIdentifier_(std::move(bundleIdentifier)) {}

std::vector<NSRunningApplication> NSRunningApplication::runningApplicationsWithBundleIdentifier(
    std::string_view identifier) {
  std::vector<NSRunningApplication> found;
  if (identifier.empty()) return found;
  for (ProcessInfo& process : Host::current().processes().processes()) {
    const auto bundle = NSBundle::bundleOfExecutable(process.executable);
    if (!bundle || bundle->bundleIdentifier() != identifier || !isOfThisSession(process)) continue;
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
