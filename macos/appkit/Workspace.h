// SPDX-License-Identifier: MIT
//
// NSWorkspace: launching applications. A launched application is a detached process that outlives this
// one. Any thread.
#ifndef MACOS_APPKIT_WORKSPACE_H
#define MACOS_APPKIT_WORKSPACE_H

#include <string_view>

#include "macos/appkit/RunningApplication.h"
#include "macos/foundation/URL.h"
#include "macos/foundation/Value.h"
#include "macos/host/Status.h"

namespace macos {

// Without activation the application starts behind the others; there is no front here, so the option
// changes nothing.
inline constexpr unsigned NSWorkspaceLaunchWithoutActivation = 512;

// In a launch configuration: a dictionary of strings by name.
inline constexpr std::string_view NSWorkspaceLaunchConfigurationEnvironment =
    "NSWorkspaceLaunchConfigurationEnvironment";

class NSWorkspace {
 public:
  // The shared instance of the current host.
  static NSWorkspace& sharedWorkspace();

  // Starts the executable of the application bundle at the URL, always as a new process, whether or not
  // an instance runs. Its environment is this process's with the configuration's entries over it. NotFound
  // without a bundle or an executable; else the host's reason. The bundle may be the one around a main
  // bundle that lies outside the root.
  Result<NSRunningApplication> launchApplicationAtURL(const NSURL& url, unsigned options,
                                                      const Dictionary& configuration);
};

}  // namespace macos

#endif  // MACOS_APPKIT_WORKSPACE_H
