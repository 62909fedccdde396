// SPDX-License-Identifier: MIT
//
// The names that the File Manager takes, and how the disk has them. Pure; any thread.
#ifndef MACOS_CARBON_CATALOGNAMES_H
#define MACOS_CARBON_CATALOGNAMES_H

#include <optional>
#include <string>

#include "macos/carbon/Files.h"

namespace macos {

// The name as the disk has it: UTF-8, decomposed, ':' for a '/'. nullopt for what is no name: 0 or more than
// 255 units, a ':', a NUL, half a character, and the two names that are no item's own ("." and "..").
// Whether the host has room for the bytes is not asked.
std::optional<std::string> nameOnDisk(const HFSUniStr255& name);

}  // namespace macos

#endif  // MACOS_CARBON_CATALOGNAMES_H
