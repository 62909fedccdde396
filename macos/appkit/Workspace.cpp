// SPDX-License-Identifier: MIT
#include "macos/appkit/Workspace.h"

#include <string>
#include <utility>

#include "macos/foundation/Bundle.h"
#include "macos/host/Host.h"

namespace macos {

NSWorkspace& NSWorkspace::sharedWorkspace() { return hostLocal<NSWorkspace>(); }

Result<NSRunningApplication> NSWorkspace::launchApplicationAtURL(const NSURL& url, unsigned /*options*/,
                                                                 const Dictionary& configuration) {
  const auto bundle = NSBundle::bundleWithURL(url);
  const auto executable = bundle ? bundle->executablePath() : std::nullopt;
  if (!executable) return Status(ErrorCode::NotFound, url.path(), "no application that could be launched");

  auto& host = Host::current();
  LaunchRequest request;
  request.executable = *executable;
  request.outsideRoot = bundle->isOutsideRoot();
  request.environment = host.environment();
  if (const Dictionary* entries = configuration.dictionary(NSWorkspaceLaunchConfigurationEnvironment)) {
    for (const auto& entry : *entries) {
      if (const auto text = entry.value().ifString()) request.environment[std::string(entry.key())] = *text;
    }
  }
  auto processID = host.processes().launch(request);
  if (!processID.ok()) return processID.status();
  ProcessInfo process = host.processes().process(*processID).value_or(ProcessInfo{*processID, 0, {}, 0});
  return NSRunningApplication(std::move(process), bundle->bundleIdentifier());
}

}  // namespace macos
