// SPDX-License-Identifier: MIT
//
// Which applications are installed: the bundles named "….app" in the folders where a Mac looks for them.
// The folders are read once per host. Any thread.
#ifndef MACOS_FOUNDATION_INSTALLEDAPPLICATIONS_H
#define MACOS_FOUNDATION_INSTALLEDAPPLICATIONS_H

#include <string>
#include <vector>

namespace macos {

// Paths of the bundles in /Applications and /Applications/Utilities, the direct subfolders of both,
// ~/Applications, /System/Applications and /System/Library/CoreServices; in that order, and within a
// folder in the order of the names' bytes.
const std::vector<std::string>& installedApplications();

}  // namespace macos

#endif  // MACOS_FOUNDATION_INSTALLEDAPPLICATIONS_H
