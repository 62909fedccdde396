// SPDX-License-Identifier: MIT
//
// NSURL's bookmarks: a record of a location (path, file identifiers, volume facts) by which it is found
// again, kept as data or as an alias file.
//
// A bookmark is resolved by its path and, when nothing is there any more, by file identifiers: folders on
// the way and the item itself are found under a new name in the folder where they were, and the item when
// it was moved from its folder into the folder above it, into a folder inside it, or into one beside it. A
// volume that is mounted at another place is found by its name. At most 64 folders are read for one
// resolution. Nothing is written, mounted or shown, with or without options that rule it out. Any thread.
#ifndef MACOS_FOUNDATION_BOOKMARK_H
#define MACOS_FOUNDATION_BOOKMARK_H

#include <optional>
#include <string>
#include <vector>

#include "macos/foundation/FileManager.h"
#include "macos/foundation/URL.h"
#include "macos/foundation/Value.h"

namespace macos {

// Creation options.
inline constexpr unsigned NSURLBookmarkCreationSuitableForBookmarkFile = 1u << 10;
// Resolution options.
inline constexpr unsigned NSURLBookmarkResolutionWithoutUI = 1u << 8;
inline constexpr unsigned NSURLBookmarkResolutionWithoutMounting = 1u << 9;

inline constexpr int NSFileReadCorruptFileError = 259;

// Each call is named after its selector and stores an error where one is asked for.

// A bookmark of the item at the URL, a link being an item of its own. Error 260 when nothing is there, 262
// for a URL that is no file URL. The volume's facts are always part of it, whichever resource values are
// asked for; no others are.
// bookmarkDataWithOptions:includingResourceValuesForKeys:relativeToURL:error:, relative to no URL.
std::optional<NSData> bookmarkDataWithOptions(
    const NSURL& url, unsigned options, const std::vector<std::string>& includingResourceValuesForKeys = {},
    NSError* error = nullptr);
// isStale is set when path or volume are not those of the record any more. Error 4 when the item is not
// found, 259 for data that is no bookmark.
// URLByResolvingBookmarkData:options:relativeToURL:bookmarkDataIsStale:error:, relative to no URL.
std::optional<NSURL> URLByResolvingBookmarkData(const NSData& bookmark, unsigned options,
                                                bool* isStale = nullptr, NSError* error = nullptr);
// Those of the values that the data records, by key (ResourceKeys.h). No disk is touched.
Dictionary resourceValuesForKeys(const std::vector<std::string>& keys, const NSData& fromBookmarkData);
// Makes an alias file, over one that is there. nullopt on success; error 259 for data that is no bookmark
// or was not made suitable for a file, 518 for a URL that is no file URL. Both forms of options mean the
// same.
std::optional<NSError> writeBookmarkData(const NSData& bookmark, const NSURL& toURL, unsigned options);
// The bookmark of an alias file: from its data fork, or made of the alias record in its resource fork.
// Error 260 when there is no file, 259 when it holds neither.
std::optional<NSData> bookmarkDataWithContentsOfURL(const NSURL& aliasFile, NSError* error = nullptr);
// The target of an alias file or of a link; the URL itself when it is neither. Alias files that lead to
// alias files are followed, at most 32 of them. nullopt with error 4 when one leads nowhere or to itself.
std::optional<NSURL> URLByResolvingAliasFileAtURL(const NSURL& url, unsigned options,
                                                  NSError* error = nullptr);

// CoreFoundation's forms. The first takes a link too: its whole chain is followed, to an item that exists.
std::optional<NSData> CFURLCreateBookmarkDataFromFile(const NSURL& url, NSError* error = nullptr);
std::optional<NSURL> CFURLCreateByResolvingBookmarkData(const NSData& bookmark, unsigned options,
                                                        bool* isStale = nullptr, NSError* error = nullptr);

}  // namespace macos

#endif  // MACOS_FOUNDATION_BOOKMARK_H
