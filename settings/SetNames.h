// SPDX-License-Identifier: MIT
//
// Names of folder sets: which ones may be used, and the two that the store knows.
#ifndef SETTINGS_SETNAMES_H
#define SETTINGS_SETNAMES_H

#include <string>
#include <string_view>

namespace vennick {

inline constexpr std::string_view kDefaultSetName = "Default Set";
// The settings folder has a folder of this name for scripts, so no set may take it.
inline constexpr std::string_view kReservedSetName = "Scripts";

// The default set's name in the language of the running program.
std::string localizedDefaultSetName();

// Whether the name leads to a folder inside the settings folder: not empty, and no component empty, "." or
// "..". A name with "/" is a folder inside a folder.
bool isUsableSetName(std::string_view name);

}  // namespace vennick

#endif  // SETTINGS_SETNAMES_H
