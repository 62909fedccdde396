// SPDX-License-Identifier: MIT
//
// Paths as the platform's path strings treat them, and the way from a path to the item on the disk. Paths
// are bytes; the functions over their text look at '/', '.' and '~' alone.
#ifndef MACOS_FOUNDATION_PATH_H
#define MACOS_FOUNDATION_PATH_H

#include <string>
#include <string_view>
#include <vector>

#include "macos/host/FileSystem.h"
#include "macos/host/Status.h"

namespace macos {

// Slashes at the end of a path do not count. The last component of "/" is "/".
std::string lastPathComponent(std::string_view path);
// "/" for "/" and what lies in it, "" for a single component.
std::string pathByDeletingLastPathComponent(std::string_view path);
// One slash between the two, none at the end, and none doubled.
std::string pathByAppendingComponent(std::string_view path, std::string_view component);
std::string pathExtension(std::string_view path);
std::string pathByDeletingExtension(std::string_view path);
// NSString's pathComponents: "/" first for an absolute path, and last for one that ends in a slash.
std::vector<std::string> pathComponents(std::string_view path);
// The path without slashes at its end; "/" stays.
std::string_view withoutTrailingSlashes(std::string_view path);
// Where the extension's dot stands in a file name; npos when it has none: nothing but dots before it or
// nothing behind it, or an extension that holds a blank, a slash or a mark of text direction.
std::size_t extensionDot(std::string_view name);
// An absolute path: a relative one is taken against "/", the working folder of a launched application.
std::string absolutePath(std::string_view path);

// "~" is the current host's home, "~name" the home of that user in /Users; other paths stay.
std::string pathByExpandingTilde(std::string_view path);
// stringByStandardizingPath: the tilde expanded, doubled slashes, "." and the slash at the end removed;
// ".." removed from an absolute path, along with its links; "/private" taken away where the rest names the
// same item.
std::string pathByStandardizing(std::string_view path);
// stringByResolvingSymlinksInPath: the same with every link resolved, as far as there are items.
std::string pathByResolvingSymlinks(std::string_view path);

// The path with every component spelled as the disk has it: the exact bytes where they exist, else a
// name that differs only in normalization, or, on a volume that says so, in letter case. Components that
// are not there at all stay as they were given. Links are not resolved. An existing path costs one look at
// the disk; folders are listed only for a component that could have another spelling.
std::string pathAsOnDisk(std::string_view path);

// FileSystem::info with that spelling. The exact path is tried first and costs no more than it.
Result<FileInfo> itemInfo(std::string_view path, FollowLinks follow);

}  // namespace macos

#endif  // MACOS_FOUNDATION_PATH_H
