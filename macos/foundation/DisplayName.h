// SPDX-License-Identifier: MIT
//
// The names under which a user sees items: standard folders, ".localized" folders and applications in the
// user's language, without a hidden extension, ':' as '/'. String tables are read once per host. Any
// thread.
#ifndef MACOS_FOUNDATION_DISPLAYNAME_H
#define MACOS_FOUNDATION_DISPLAYNAME_H

#include <string>
#include <string_view>
#include <vector>

namespace macos {

// The item's name in the first of the languages that has one, else its own; the last component, unchanged,
// when nothing is there. A link is not followed. The system's table of standard folders counts when the
// root holds one, else the main bundle's table of the same name (SystemFolderLocalizations).
std::string displayNameInLanguages(std::string_view path, const std::vector<std::string>& languages);

}  // namespace macos

#endif  // MACOS_FOUNDATION_DISPLAYNAME_H
