// SPDX-License-Identifier: MIT
//
// The search for the item of a bookmark; Bookmark.h is the interface over it. Any thread.
#ifndef MACOS_FOUNDATION_BOOKMARKRESOLUTION_H
#define MACOS_FOUNDATION_BOOKMARKRESOLUTION_H

#include <optional>
#include <string>
#include <string_view>

#include "macos/foundation/BookmarkData.h"
#include "macos/foundation/Error.h"

namespace macos {

// The item's path, found as Bookmark.h describes it. isStale, which may be null, tells whether the path or
// the volume is another than the recorded one.
std::optional<std::string> findBookmarkTarget(const BookmarkData& bookmark, bool* isStale);

// NSFileReadCorruptFileError.
NSError corruptBookmarkError(std::string_view path);

}  // namespace macos

#endif  // MACOS_FOUNDATION_BOOKMARKRESOLUTION_H
