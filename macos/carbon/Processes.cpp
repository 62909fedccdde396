// SPDX-License-Identifier: MIT
#include "macos/carbon/Processes.h"

#include <limits>

#include "macos/foundation/Bundle.h"
#include "macos/host/Host.h"

namespace macos {

ProcessSerialNumber processSerialNumberOf(pid_t processID) {
  return {0, static_cast<std::uint32_t>(processID)};
}

std::optional<pid_t> processIDOf(const ProcessSerialNumber& number) {
  const bool isPossible = number.highLongOfPSN == 0 && number.lowLongOfPSN != 0 &&
                          number.lowLongOfPSN <= std::uint32_t{std::numeric_limits<pid_t>::max()};
  if (!isPossible) return std::nullopt;
  return static_cast<pid_t>(number.lowLongOfPSN);
}

bool isProcessOfThisSession(const ProcessInfo& process) {
  auto& host = Host::current();
  const auto environment = host.processes().environment(process);
  if (!environment) return false;
  const auto root = environment->find("MACOS_ROOT");
  if (root == environment->end() || root->second.empty()) return true;
  if (host.files().pathInRoot(root->second) != "/") return false;
  const auto home = environment->find("HOME");
  return home == environment->end() ||
         host.files().hostPath(home->second) == host.files().hostPath(host.home());
}

OSErr GetProcessBySignature(OSType signature, ProcessSerialNumber* number) {
  if (signature == 0) return procNotFound;
  for (const ProcessInfo& process : Host::current().processes().processes(NSBundle::isExecutableOfBundle)) {
    const auto bundle = NSBundle::bundleOfExecutable(process.executable);
    if (!bundle || bundle->signature() != signature || !isProcessOfThisSession(process)) continue;
    *number = processSerialNumberOf(process.processID);
    return noErr;
  }
  return procNotFound;
}

}  // namespace macos
