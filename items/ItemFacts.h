// SPDX-License-Identifier: MIT
//
// What an item keeps of a location beside its URL: the name shown for it and the bookmark that finds it
// again after a move.
#ifndef ITEMS_ITEMFACTS_H
#define ITEMS_ITEMFACTS_H

#include <optional>
#include <string>

#include "macos/foundation/URL.h"
#include "macos/foundation/Value.h"

namespace vennick {

// The display name, or the last path component when there is none; nullopt when that is empty too.
std::optional<std::string> shownName(const macos::NSURL& url);

// Made with options 0, relative to nothing, holding the volume's local, ejectable and remount facts;
// nullopt when it cannot be made, as for a location that does not exist.
std::optional<macos::NSData> bookmarkForItem(const macos::NSURL& url);

}  // namespace vennick

#endif  // ITEMS_ITEMFACTS_H
