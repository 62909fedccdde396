// SPDX-License-Identifier: MIT
//
// Bookmark data: NSURL's record of a location (path, file identifiers, volume facts) in the Mac's own
// layout, as a bare blob and as the content of an alias file. Codec and NSURL's calls over it.
//
// A bookmark is resolved by its path and, when nothing is there any more, by file identifiers: a folder
// or the item itself that got a new name in the folder where it was, and an item that was moved from its
// folder into the folder above, a folder inside it or one beside it. At most 64 folders are listed for
// one resolution. Nothing is written, mounted or shown. Any thread.
#ifndef MACOS_FOUNDATION_BOOKMARK_H
#define MACOS_FOUNDATION_BOOKMARK_H

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "macos/foundation/FileManager.h"
#include "macos/foundation/URL.h"
#include "macos/foundation/Value.h"
#include "macos/host/Status.h"

namespace macos {

// Creation options.
inline constexpr unsigned NSURLBookmarkCreationMinimalBookmark = 1u << 9;
inline constexpr unsigned NSURLBookmarkCreationSuitableForBookmarkFile = 1u << 10;
// Resolution options. Nothing is ever shown or mounted here, with or without them.
inline constexpr unsigned NSURLBookmarkResolutionWithoutUI = 1u << 8;
inline constexpr unsigned NSURLBookmarkResolutionWithoutMounting = 1u << 9;

inline constexpr int NSFileReadCorruptFileError = 259;

// The calls, each named after its selector. An error is stored where one is asked for.

// 260 (no such file) when nothing is at the URL. The facts of the item and of its volume are always part
// of it; a resource value that is asked for and is none of them adds a value of its own.
std::optional<NSData> bookmarkDataWithOptions(
    const NSURL& url, unsigned options, const std::vector<std::string>& includingResourceValuesForKeys = {},
    const NSURL* relativeToURL = nullptr, NSError* error = nullptr);
// isStale is set when path, name or volume are not those of the record. Error 4 when the item is not
// found, 259 for data that is no bookmark.
std::optional<NSURL> URLByResolvingBookmarkData(const NSData& bookmark, unsigned options,
                                                const NSURL* relativeToURL = nullptr, bool* isStale = nullptr,
                                                NSError* error = nullptr);
// The values that the data records, by key; a key that it does not record is absent. No disk is touched.
Dictionary resourceValuesForKeys(const std::vector<std::string>& keys, const NSData& fromBookmarkData);
// Makes an alias file. The data must have been made suitable for one. nullopt on success.
std::optional<NSError> writeBookmarkData(const NSData& bookmark, const NSURL& toURL, unsigned options);
// The bookmark data of an alias file: of its data fork, or made of the alias record in its resource fork.
// Error 260 when there is no file, 259 when it holds neither.
std::optional<NSData> bookmarkDataWithContentsOfURL(const NSURL& aliasFile, NSError* error = nullptr);
// The target of an alias file or link; the URL itself when it is neither. Alias files that lead to alias
// files are followed, at most 32 of them.
std::optional<NSURL> URLByResolvingAliasFileAtURL(const NSURL& url, unsigned options,
                                                  NSError* error = nullptr);

// Like bookmarkDataWithContentsOfURL, and for a link, whose whole chain is followed to an existing item.
std::optional<NSData> CFURLCreateBookmarkDataFromFile(const NSURL& url, NSError* error = nullptr);
std::optional<NSURL> CFURLCreateByResolvingBookmarkData(const NSData& bookmark, unsigned options,
                                                        const NSURL* relativeToURL = nullptr,
                                                        bool* isStale = nullptr, NSError* error = nullptr);

// The codec.

enum class BookmarkKey : std::uint32_t {
  PathComponents = 0x1004,
  FileIDs = 0x1005,
  ResourceFlags = 0x1010,
  FileName = 0x1020,
  FileID = 0x1030,
  CreationDate = 0x1040,
  VolumePath = 0x2002,
  VolumeURL = 0x2005,
  VolumeName = 0x2010,
  VolumeUUID = 0x2011,
  VolumeCapacity = 0x2012,
  VolumeCreationDate = 0x2013,
  VolumeFlags = 0x2020,
  VolumeIsBoot = 0x2030,
  VolumeMountURL = 0x2050,
  ContainingFolderIndex = 0xC001,
  UserName = 0xC011,
  UserID = 0xC012,
  WasFileIDFormat = 0xD001,
  CreationOptions = 0xD010,
  DisplayName = 0xF017,
  BookmarkDate = 0xF030,
  AliasRecord = 0xFE00,
};

// The items of a bookmark, decoded. Values are property-list values; a UUID is its 16 bytes as data.
struct BookmarkContents {
  // By key, of the first table of contents; tables of outer volumes are left aside.
  std::map<std::uint32_t, Value> values;
  // Entries whose key is a text: resource values.
  Dictionary namedValues;
  // Of an alias file's header; nullopt for a bare blob.
  std::optional<NSDate> fileCreated;

  const Value* find(BookmarkKey key) const;

  // Either container. Corrupt when an offset or a length leads outside, or items nest deeper than 16 or
  // hold more than the data could.
  static Result<BookmarkContents> decode(std::string_view bytes);
  // The bare blob.
  std::string encode() const;
};

// The same bookmark in the other container.
Result<std::string> bookmarkFileFromData(std::string_view blob, NSDate created);
Result<std::string> bookmarkDataFromFile(std::string_view file);
// Whether the first bytes of a file are those of a bookmark file.
bool isBookmarkFileStart(std::string_view bytes);

}  // namespace macos

#endif  // MACOS_FOUNDATION_BOOKMARK_H
