// SPDX-License-Identifier: MIT
//
// NSWorkspace's icons: of items, and of kinds of items. What the root holds comes first (an item's own
// icon, a bundle's, the system's), then the pictures among the main bundle's resources that stand in for
// the system's. Any thread.
#ifndef MACOS_APPKIT_WORKSPACEICONS_H
#define MACOS_APPKIT_WORKSPACEICONS_H

#include <optional>
#include <string_view>

#include "macos/appkit/Image.h"
#include "macos/carbon/FourCharCode.h"

namespace macos {

inline constexpr OSType kGenericFolderIcon = fourCharCode("fldr");
inline constexpr OSType kGenericDocumentIcon = fourCharCode("docu");
inline constexpr OSType kGenericApplicationIcon = fourCharCode("APPL");
inline constexpr OSType kComputerIcon = fourCharCode("root");

// iconForFile: of the item at the path, links followed; the document icon when nothing is there. nullopt
// only when neither the root nor the main bundle has a picture for the kind.
std::optional<NSImage> iconForFile(std::string_view path);
// iconForFileType: of an HFS type code; the document icon for a code that is not one of the above.
std::optional<NSImage> iconForHFSType(OSType type);

}  // namespace macos

#endif  // MACOS_APPKIT_WORKSPACEICONS_H
