// SPDX-License-Identifier: MIT
//
// The pictures of locations. Any thread.
#ifndef PLATFORM_ICONS_H
#define PLATFORM_ICONS_H

#include <optional>
#include <string_view>

#include "macos/appkit/Image.h"
#include "macos/foundation/URL.h"

namespace vennick {

// The computer's for /Volumes, iCloud's for its folders, that of an application for its folder in iCloud,
// else the item's own; for a location that does not exist a folder's or a document's, by the slash at its
// end. nullopt only when no picture for the kind is to be found.
std::optional<macos::NSImage> icon(const macos::NSURL& url);
// The computer's for /Volumes, else the item's icon: no disk here keeps thumbnails.
std::optional<macos::NSImage> thumbnail(const macos::NSURL& url);

// The folder icon with that of the application of this name in its lower right corner; the plain folder
// icon when there is no such application, or its icon cannot be drawn.
std::optional<macos::NSImage> badgedIconForApplication(std::string_view name);

}  // namespace vennick

#endif  // PLATFORM_ICONS_H
