// SPDX-License-Identifier: MIT
//
// Copying and removing whole items on the disk: a folder with all that is in it, a link as a link, and an
// item together with its AppleDouble partner ("._name"). Paths are spelled as the disk has them. What the
// file managers do is made of this. Any thread.
#ifndef MACOS_FOUNDATION_ITEMCOPYING_H
#define MACOS_FOUNDATION_ITEMCOPYING_H

#include <string>

#include "macos/host/FileSystem.h"
#include "macos/host/Status.h"

namespace macos {

// The path of the item's partner when there is one, a regular file; "" otherwise.
std::string existingPartner(FileSystem& files, const std::string& path);

// With permissions, times and attributes. Nothing is replaced; a failure leaves what was copied so far. A
// folder that would be copied into itself is InvalidArgument.
Status copyWithPartner(FileSystem& files, const std::string& from, const std::string& to);

// Links are removed, never followed. Stops at the first item that cannot be removed.
Status removeWithPartner(FileSystem& files, const std::string& path);

}  // namespace macos

#endif  // MACOS_FOUNDATION_ITEMCOPYING_H
