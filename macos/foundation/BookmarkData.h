// SPDX-License-Identifier: MIT
//
// Bookmark data in the Mac's own layout, as a bare blob and as the content of an alias file: a pure codec
// over a table of property-list values. Bookmark.h makes and resolves it. Any thread.
#ifndef MACOS_FOUNDATION_BOOKMARKDATA_H
#define MACOS_FOUNDATION_BOOKMARKDATA_H

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "macos/foundation/Value.h"
#include "macos/host/Status.h"

namespace macos {

enum class BookmarkKey : std::uint32_t {
  PathComponents = 0x1004,  // array of strings
  FileIDs = 0x1005,         // array of integers, one for each component
  ResourceFlags = 0x1010,   // data: values, valid ones, asked ones; three 64-bit numbers
  CreationDate = 0x1040,
  VolumePath = 0x2002,
  VolumeURL = 0x2005,
  VolumeName = 0x2010,
  VolumeUUID = 0x2011,
  VolumeCapacity = 0x2012,
  VolumeCreationDate = 0x2013,
  VolumeFlags = 0x2020,  // data, as ResourceFlags
  VolumeIsBoot = 0x2030,
  VolumeMountURL = 0x2050,
  ContainingFolderIndex = 0xC001,
  UserName = 0xC011,
  UserID = 0xC012,
  CreationOptions = 0xD010,
  DisplayName = 0xF017,
  AliasRecord = 0xFE00,  // data: a classic alias record
};

// Bits of ResourceFlags.
inline constexpr std::uint64_t kBookmarkIsRegularFile = 0x1;
inline constexpr std::uint64_t kBookmarkIsDirectory = 0x2;
inline constexpr std::uint64_t kBookmarkIsSymbolicLink = 0x4;
inline constexpr std::uint64_t kBookmarkIsVolume = 0x8;
inline constexpr std::uint64_t kBookmarkIsPackage = 0x10;
inline constexpr std::uint64_t kBookmarkIsApplication = 0x200;

// Bits of VolumeFlags.
inline constexpr std::uint64_t kBookmarkVolumeIsLocal = 0x1;
inline constexpr std::uint64_t kBookmarkVolumeIsReadOnly = 0x8;
inline constexpr std::uint64_t kBookmarkVolumeIsEjectable = 0x20;
inline constexpr std::uint64_t kBookmarkVolumeIsInternal = 0x80;
inline constexpr std::uint64_t kBookmarkVolumeHasPersistentIDs = std::uint64_t{1} << 32;

struct BookmarkFlags {
  std::uint64_t values = 0;
  std::uint64_t valid = 0;  // which of the values mean something

  // nullopt when the flag was not recorded.
  std::optional<bool> flag(std::uint64_t bit) const;
};

struct BookmarkData {
  // By key, of the first table of contents; tables of outer volumes are left aside. A string whose bytes
  // are no UTF-8 is data, and data in PathComponents is written as such a string. A UUID is its 16 bytes.
  std::map<std::uint32_t, Value> values;
  // Entries whose key is a text.
  Dictionary namedValues;

  // Null when the key is absent.
  const Value* find(BookmarkKey key) const;
  std::optional<std::string_view> string(BookmarkKey key) const;
  std::optional<Integer> integer(BookmarkKey key) const;
  std::optional<BookmarkFlags> flags(BookmarkKey key) const;
  void set(BookmarkKey key, Value value);
  void setFlags(BookmarkKey key, const BookmarkFlags& flags, std::uint64_t asked);

  // The components' bytes, without a first one for the root; nullopt when they are not recorded, or one is
  // empty, is ".", ".." or holds a slash or a NUL.
  std::optional<std::vector<std::string>> pathComponents() const;

  // From either container. Corrupt when an offset or a length leads outside, or when items nest deeper than
  // 8 or hold together more than four times what there are bytes.
  static Result<BookmarkData> decode(std::string_view bytes);
  // As a bare blob.
  std::string encode() const;
};

// The same bookmark in the other container.
Result<std::string> bookmarkFileFromBlob(std::string_view blob, NSDate created);
Result<std::string> blobFromBookmarkFile(std::string_view file);
// Whether a file that begins so is a bookmark file. REQUIRES: the first 16 bytes, or the whole of the file
bool isBookmarkFileStart(std::string_view bytes);

}  // namespace macos

#endif  // MACOS_FOUNDATION_BOOKMARKDATA_H
