// SPDX-License-Identifier: MIT
//
// The look-up of a path inside a root folder, component by component, with nothing but open, fstat and
// readlink: for kernels without a restricted look-up of their own. No folder outside the root is ever
// opened, whatever links say and whatever is moved meanwhile. Stateless; any thread.
#ifndef MACOS_HOST_PATHWALK_H
#define MACOS_HOST_PATHWALK_H

#include <string>

#include "macos/host/PathResolver.h"

namespace macos {

// open(2) as a process whose root is the folder would do it. REQUIRES: path begins with "/".
OpenResult openByWalking(int root, const char* path, int flags, mode_t mode);

// The item's path without links, "." and "..". Answers 0 or an errno. REQUIRES: path begins with "/".
int realPathByWalking(int root, const char* path, std::string& result);

}  // namespace macos

#endif  // MACOS_HOST_PATHWALK_H
