// SPDX-License-Identifier: MIT
//
// Paths as the platform's path strings treat them, and the way from a path to the item on the disk.
#ifndef MACOS_FOUNDATION_PATH_H
#define MACOS_FOUNDATION_PATH_H

#include <string>
#include <string_view>
#include <vector>

#include "macos/host/FileSystem.h"
#include "macos/host/Status.h"

namespace macos {

std::string lastPathComponent(std::string_view path);
std::string pathByDeletingLastPathComponent(std::string_view path);
std::string pathByAppendingComponent(std::string_view path, std::string_view component);
std::string pathExtension(std::string_view path);
std::string pathByDeletingExtension(std::string_view path);
std::string pathByExpandingTilde(std::string_view path);        // against the current host's home
std::string pathByStandardizing(std::string_view path);         // stringByStandardizingPath
std::string pathByResolvingSymlinks(std::string_view path);     // stringByResolvingSymlinksInPath
// An absolute path: a relative one is taken against "/", the working folder of a launched application.
std::string absolutePath(std::string_view path);

// The path with every component spelled as the disk has it: the exact bytes where they exist, else a
// name that differs only in normalization, or, on a volume that says so, in letter case. Components that
// are not there at all stay as they were given. Links are not resolved.
std::string pathAsOnDisk(std::string_view path);

// FileSystem::info with that spelling. The exact path is tried first and costs no more than it.
Result<FileInfo> itemInfo(std::string_view path, FollowLinks follow);

}  // namespace macos

#endif  // MACOS_FOUNDATION_PATH_H
