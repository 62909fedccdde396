// SPDX-License-Identifier: MIT
//
// What an alias record says, in terms of this disk, and the search for its target. The Alias Manager's
// interface over it is macos/carbon/AliasManager.h. Any thread.
#ifndef MACOS_FOUNDATION_ALIASTARGET_H
#define MACOS_FOUNDATION_ALIASTARGET_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "macos/carbon/AliasRecord.h"
#include "macos/host/FileSystem.h"
#include "macos/host/Services.h"

namespace macos {

// A file's or volume's name as the Mac's catalog has it (decomposed, '/' for the ':' of a POSIX name), and
// back.
std::u16string catalogName(std::string_view posixName);
std::string posixNameFromCatalog(std::u16string_view name);

// The name by which a volume goes that has none (the boot volume, when nothing in /Volumes names it).
inline constexpr std::string_view kUnnamedBootVolume = "Macintosh HD";

// The root folder of every volume has this identifier; other items have the low 32 bits of their inode.
inline constexpr std::uint32_t kVolumeRootIdentifier = 2;
std::uint32_t catalogIdentifier(const FileInfo& item, bool isVolumeRoot);

UTCDateTime utcDateTime(UnixNanoseconds time);

// In catalog form; from the Unicode field, else from the Mac-encoded name; "" when there is none.
std::u16string aliasTargetName(const AliasRecord& record);
std::u16string aliasVolumeName(const AliasRecord& record);
// The target's absolute path when the record was made; "" when it records none.
std::string aliasPath(const AliasRecord& record);
// Whether the recorded creation date is this one, give or take whole hours up to a day: records of version
// 2 have local times, and clocks were set to the wrong zone. nullopt when no date is recorded.
std::optional<bool> hasAliasCreationDate(const AliasRecord& record, UnixNanoseconds created);
// Whether the record holds the target's identifier.
bool hasAliasIdentifier(const AliasRecord& record);

enum class AliasSearchResult {
  Found,
  NoVolume,
  NoFolder,  // the volume is there, the folder that holds the target is not
  NoItem,
};

struct AliasTarget {
  std::string path;  // as the disk spells it; folders on the way may be links
  FileInfo item;     // a link is not followed
};

// The volume is found where it was mounted, else by its name. The item is found at its path, or by its
// identifier: in the recorded folder, if that still has the recorded identifier, an item with the recorded
// identifier and creation date. The identifier is asked first when the flag is set, and otherwise when
// nothing is at the path. A record without a path leads through the identifiers of its folders. No folder
// but the recorded one, and those on that way, is ever read.
AliasSearchResult findAliasTarget(const AliasRecord& record, bool identifierFirst, AliasTarget* target);

}  // namespace macos

#endif  // MACOS_FOUNDATION_ALIASTARGET_H
