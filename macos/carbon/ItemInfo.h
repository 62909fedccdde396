// SPDX-License-Identifier: MIT
//
// What Launch Services tells of an item: its kind as a user sees it (plain file, package, application,
// alias …), type, creator and extension, and its shown name. A link at the end is not followed, and has
// both the alias and the link flag; a package is a container too. Type and creator are those of a file's
// Finder information. Any thread.
#ifndef MACOS_CARBON_ITEMINFO_H
#define MACOS_CARBON_ITEMINFO_H

#include <cstdint>
#include <string>

#include "macos/carbon/Files.h"

namespace macos {

using LSItemInfoFlags = std::uint32_t;
inline constexpr LSItemInfoFlags kLSItemInfoIsPlainFile = 0x1;
inline constexpr LSItemInfoFlags kLSItemInfoIsPackage = 0x2;
inline constexpr LSItemInfoFlags kLSItemInfoIsApplication = 0x4;
inline constexpr LSItemInfoFlags kLSItemInfoIsContainer = 0x8;
inline constexpr LSItemInfoFlags kLSItemInfoIsAliasFile = 0x10;
inline constexpr LSItemInfoFlags kLSItemInfoIsSymlink = 0x20;
inline constexpr LSItemInfoFlags kLSItemInfoIsInvisible = 0x40;
inline constexpr LSItemInfoFlags kLSItemInfoIsNativeApp = 0x80;
inline constexpr LSItemInfoFlags kLSItemInfoIsVolume = 0x1000;
inline constexpr LSItemInfoFlags kLSItemInfoExtensionIsHidden = 0x100000;

using LSRequestedInfo = std::uint32_t;
inline constexpr LSRequestedInfo kLSRequestExtension = 0x1;
inline constexpr LSRequestedInfo kLSRequestTypeCreator = 0x2;
inline constexpr LSRequestedInfo kLSRequestBasicFlagsOnly = 0x4;

struct LSItemInfoRecord {
  LSItemInfoFlags flags = 0;  // always filled
  OSType filetype = 0;
  OSType creator = 0;
  std::string extension;  // without the dot; "" for none
};

// fnfErr when the item is not there.
OSStatus LSCopyItemInfoForRef(const FSRef& ref, LSRequestedInfo which, LSItemInfoRecord* info);
OSStatus LSCopyItemInfoForURL(const NSURL& url, LSRequestedInfo which, LSItemInfoRecord* info);
// The name that the Finder shows for the item.
OSStatus LSCopyDisplayNameForRef(const FSRef& ref, std::string* name);

}  // namespace macos

#endif  // MACOS_CARBON_ITEMINFO_H
