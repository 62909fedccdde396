// SPDX-License-Identifier: MIT
//
// The Alias Manager: makes alias records of files, reads them, resolves them again, and resolves alias
// files. Results are the platform's codes. An item is looked for at its recorded path and, by its
// identifier, in its recorded folder; the disk is never searched further. Any thread.
#ifndef MACOS_CARBON_ALIASMANAGER_H
#define MACOS_CARBON_ALIASMANAGER_H

#include <cstdint>
#include <string>
#include <string_view>

#include "macos/carbon/Files.h"

namespace macos {

// An alias record's bytes. A value: a copy is the duplicate that HandToHand makes. Empty bytes stand for
// the null handle.
struct AliasHandle {
  std::string bytes;

  bool isNull() const { return bytes.empty(); }
  friend bool operator==(const AliasHandle&, const AliasHandle&) = default;
};

// Flags of the two resolving calls.
inline constexpr unsigned kResolveAliasFileNoUI = 1;
inline constexpr unsigned kResolveAliasTryFileIDFirst = 2;

using FSAliasInfoBitmap = std::uint32_t;
inline constexpr FSAliasInfoBitmap kFSAliasInfoVolumeCreateDate = 0x1;
inline constexpr FSAliasInfoBitmap kFSAliasInfoTargetCreateDate = 0x2;
inline constexpr FSAliasInfoBitmap kFSAliasInfoFinderInfo = 0x4;
inline constexpr FSAliasInfoBitmap kFSAliasInfoIsDirectory = 0x8;
inline constexpr FSAliasInfoBitmap kFSAliasInfoIDs = 0x10;
inline constexpr FSAliasInfoBitmap kFSAliasInfoFSInfo = 0x20;
inline constexpr FSAliasInfoBitmap kFSAliasInfoVolumeFlags = 0x40;

struct FSAliasInfo {
  UTCDateTime volumeCreateDate = 0;
  UTCDateTime targetCreateDate = 0;
  OSType fileType = 0;
  OSType fileCreator = 0;
  std::uint32_t parentDirID = 0;
  std::uint32_t nodeID = 0;
  std::uint16_t filesystemID = 0;
  std::uint16_t signature = 0;
  bool volumeIsBootVolume = false;
  bool volumeIsAutomounted = false;
  bool volumeIsEjectable = false;
  bool volumeHasPersistentFileIDs = false;
  bool isDirectory = false;
};

// Makes a full record of the item: version 2, or 3 when the volume's or the item's name cannot be written in
// the Mac encoding or is too long for it. No record holds a path from one item to another: the relative
// reference of this and the following calls may be null and is not used. fnfErr when the item is not there.
OSErr FSNewAlias(const FSRef* fromFile, const FSRef& target, AliasHandle* alias);
// Makes the record anew from the target; wasChanged tells whether its bytes differ from before.
OSErr FSUpdateAlias(const FSRef* fromFile, const FSRef& target, AliasHandle& alias, bool* wasChanged);

// What the record itself says; nothing is looked up on the disk. Every output may be null. The path is
// absolute, "" when the record holds none. paramErr for bytes that are no record.
OSErr FSCopyAliasInfo(const AliasHandle& alias, HFSUniStr255* targetName, HFSUniStr255* volumeName,
                      std::string* path, FSAliasInfoBitmap* whichInfo, FSAliasInfo* info);

// Finds the record's target. With kResolveAliasTryFileIDFirst an item in the recorded folder with the
// recorded identifier and creation date comes before the one at the recorded path. When path, name,
// volume, identifier or date differ from the record, the record is made anew and wasChanged is true.
// nsvErr, dirNFErr, fnfErr by the deepest part that is missing; paramErr for bytes that are no record.
OSErr FSResolveAliasWithMountFlags(const FSRef* fromFile, AliasHandle& alias, FSRef* target, bool* wasChanged,
                                   unsigned mountFlags);

// Whether the item is an alias file, or a link; folderFlag tells of a folder, which never is one.
OSErr FSIsAliasFile(const FSRef& ref, bool* aliasFileFlag, bool* folderFlag);

// Replaces a reference to an alias file by its target's; any other reference stays as it is and
// wasAliased is false. With resolveAliasChains alias files that lead to alias files are followed, at most
// 32 of them; sameFileErr for more, and for one that leads to itself. The reference is unspecified after a
// failure: fnfErr when the target is gone, resNotFound when the file holds no alias, and the codes of
// FSResolveAliasWithMountFlags. The flags say nothing here: nothing is mounted or shown.
inline constexpr OSErr resNotFound = -192;
inline constexpr OSErr sameFileErr = -1306;
OSErr FSResolveAliasFileWithMountFlags(FSRef* ref, bool resolveAliasChains, bool* targetIsFolder,
                                       bool* wasAliased, unsigned mountFlags);

}  // namespace macos

#endif  // MACOS_CARBON_ALIASMANAGER_H
