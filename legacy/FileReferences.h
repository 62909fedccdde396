// SPDX-License-Identifier: MIT
//
// Questions about references to files and folders, and the ways from references to paths and back. Any
// thread, except for URLStringForRef.
#ifndef LEGACY_FILEREFERENCES_H
#define LEGACY_FILEREFERENCES_H

#include <optional>
#include <string>
#include <string_view>

#include "macos/carbon/Files.h"

namespace vennick {

// Whether the item lies directly in the parent.
bool IsParentOf(const macos::FSRef& parent, const macos::FSRef& item);
// Whether the item lies anywhere below the ancestor, on the ancestor's volume. No item is its own ancestor.
bool IsAncestorOf(const macos::FSRef& ancestor, const macos::FSRef& item);
// Whether the item is the root folder of its volume, or the folder of the network. The latter never: its
// URL is compared with one that names a host, which no URL of ours does; deliberately.
bool IsRootOrNetwork(const macos::FSRef& item);

// The item's URL for log messages, cut to 2,047 bytes; "" when it is not found. All calls store it in one
// and the same place. Main thread.
const char* URLStringForRef(const macos::FSRef& ref);

// Converts a path between the styles with colons and with slashes (PathStyles.h); nullopt for what is no
// path.
std::optional<std::string> HFSPathToPOSIX(std::string_view path);
std::optional<std::string> POSIXPathToHFS(std::string_view path);

// The item at the path; false, and no reference, when there is none. What isDirectory says need not be true.
bool RefForPath(std::string_view path, bool isDirectory, macos::FSRef* ref);
// nullopt when the item is not found any more.
std::optional<std::string> PathForRef(const macos::FSRef& ref);

}  // namespace vennick

#endif  // LEGACY_FILEREFERENCES_H
