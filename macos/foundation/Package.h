// SPDX-License-Identifier: MIT
//
// Which folders are packages: shown as one file. Any thread.
#ifndef MACOS_FOUNDATION_PACKAGE_H
#define MACOS_FOUNDATION_PACKAGE_H

#include <string_view>

#include "macos/carbon/FinderInfo.h"
#include "macos/host/FileSystem.h"

namespace macos {

// A folder with the Finder's bundle bit, with an extension, in any letter case, that the system knows as a
// package's, or with one that an installed application declares as such. A framework is none. The path is
// spelled as the disk has it.
bool isPackage(std::string_view path, const FileInfo& item);
// The same for whoever has the item's Finder information already.
bool isPackage(std::string_view path, const FileInfo& item, const FinderInfo& finderInfo);

}  // namespace macos

#endif  // MACOS_FOUNDATION_PACKAGE_H
