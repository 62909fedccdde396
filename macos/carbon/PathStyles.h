// SPDX-License-Identifier: MIT
//
// File URLs made of paths of either style, and their paths in either style: POSIX ("/Users/anna") and the
// older one with colons ("Macintosh HD:Users:anna"), which begins with the volume's name, or with a colon
// when it is relative, and in which an empty component leads one folder up. A ':' in a name of the one is a
// '/' in the other. Volumes are those that are mounted; nothing else on the disk is asked. Any thread.
#ifndef MACOS_CARBON_PATHSTYLES_H
#define MACOS_CARBON_PATHSTYLES_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "macos/foundation/URL.h"

namespace macos {

enum class CFURLPathStyle : std::uint8_t { POSIX = 0, HFS = 1 };

// nullopt for an empty path and for one that holds a NUL. A volume that is not mounted is taken to be one in
// /Volumes.
std::optional<NSURL> CFURLCreateWithFileSystemPath(std::string_view path, CFURLPathStyle style,
                                                   bool isDirectory);
// Decomposed as URLs have it, and without a slash or colon at its end. A URL that is relative gives a
// relative path. nullopt for a URL without a path.
std::optional<std::string> CFURLCopyFileSystemPath(const NSURL& url, CFURLPathStyle style);

}  // namespace macos

#endif  // MACOS_CARBON_PATHSTYLES_H
