// SPDX-License-Identifier: MIT
//
// Starts a program as a process that has nothing to do with ours any more: no child of ours, no open
// file of ours. Stateless; any thread.
#ifndef MACOS_HOST_DETACHEDLAUNCH_H
#define MACOS_HOST_DETACHEDLAUNCH_H

#include <sys/types.h>

#include <string>
#include <vector>

#include "macos/host/Status.h"

namespace macos {

// arguments begin with argv[0]; environment holds "NAME=value". Gives the new process's number once its
// execution has begun.
Result<pid_t> launchDetached(const std::string& program, const std::vector<std::string>& arguments,
                             const std::vector<std::string>& environment);

}  // namespace macos

#endif  // MACOS_HOST_DETACHEDLAUNCH_H
