// SPDX-License-Identifier: MIT
//
// The Alias Manager's record, versions 2 and 3: what it remembers of a file or folder so that it can be
// found again. A regular value with a pure codec; it knows nothing of disks (AliasManager.h resolves).
// Everything is kept as it is stored: the fixed part with its reserved bytes, and the tagged fields in
// their order with those that are not understood, so that a well-formed record which is read and written
// is the same bytes.
#ifndef MACOS_CARBON_ALIASRECORD_H
#define MACOS_CARBON_ALIASRECORD_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "macos/carbon/FourCharCode.h"
#include "macos/host/Status.h"

namespace macos {

// Seconds since 1904-01-01 00:00:00 in units of 1/65536, UTC: the 8-byte UTCDateTime read as a number.
using UTCDateTime = std::uint64_t;

// Seconds from 1904-01-01 to 1970-01-01.
inline constexpr std::int64_t kMacEpochBefore1970 = 2082844800;

enum class AliasTag : std::uint16_t {
  ParentName = 0,    // Mac encoding
  DirectoryIDs = 1,  // the parent's first, then upwards, without the volume's root
  CarbonPath = 2,    // "Volume:folder:file", Mac encoding
  UnicodeName = 14,
  UnicodeVolumeName = 15,
  VolumeCreated = 16,
  TargetCreated = 17,
  PosixPath = 18,  // from the volume's root
  MountPoint = 19,
  DiskImageAlias = 20,
  HomePrefixLength = 21,
  None = 0xFFFE,
  End = 0xFFFF,
};

struct AliasRecord {
  static constexpr std::uint32_t kNoIdentifier = 0xFFFFFFFF;

  struct Field {
    std::uint16_t tag = 0;
    std::string bytes = {};

    friend bool operator==(const Field&, const Field&) = default;
  };

  OSType userType = 0;
  std::uint16_t version = 2;
  bool isFolder = false;
  // Version 2: "H+", "HX", "BD" … in the upper half. Version 3 fills all four bytes.
  OSType fileSystem = 0;
  std::uint16_t diskType = 0;  // 0 fixed, 1 network, 5 ejectable
  std::uint32_t parentID = 0;
  std::uint32_t targetID = kNoIdentifier;
  std::uint32_t volumeAttributes = 0;

  // Version 2 only: what version 3 keeps in tagged fields, or not at all. Names are in the Mac encoding;
  // a length byte that is too large reads as no name. Dates are whole seconds since 1904, local time.
  std::string volumeName;  // at most 27 bytes
  std::string targetName;  // at most 63 bytes
  std::uint32_t volumeCreatedLocal = 0;
  std::uint32_t targetCreatedLocal = 0;
  OSType fileType = 0;
  OSType fileCreator = 0;
  std::int16_t levelsFrom = -1;
  std::int16_t levelsTo = -1;
  std::uint16_t fileSystemID = 0;

  // Version 3 only.
  UTCDateTime volumeCreated = 0;
  UTCDateTime targetCreated = 0;

  std::vector<Field> fields;  // without the one that ends them

  // Corrupt when there are fewer than 8 bytes, when the record's own length is smaller than its fixed
  // part or larger than the bytes, or when a field runs past the end; Unsupported for another version.
  // Bytes behind the record's own length are not part of it.
  static Result<AliasRecord> decode(std::string_view bytes);
  // InvalidArgument when the record would not fit into 65,535 bytes or a name is too long for its place.
  Result<std::string> encode() const;

  // The bytes of the first field of that tag.
  std::optional<std::string_view> field(AliasTag tag) const;
  // Replaces the field, or adds it behind the others.
  void setField(AliasTag tag, std::string bytes);
  void removeField(AliasTag tag);

  // Fields read by their meaning; nullopt when absent or not of that form.
  std::optional<std::u16string> unicodeName(AliasTag tag) const;
  std::optional<UTCDateTime> date(AliasTag tag) const;
  std::vector<std::uint32_t> directoryIDs() const;

  void setUnicodeName(AliasTag tag, std::u16string_view name);
  void setDate(AliasTag tag, UTCDateTime date);
  void setDirectoryIDs(const std::vector<std::uint32_t>& identifiers);

  friend bool operator==(const AliasRecord&, const AliasRecord&) = default;

 private:
  // The fixed part as it was read, for its reserved bytes and what lies behind its names; empty in a
  // record that was made here.
  std::string fixedPart_;
};

// Bits of volumeAttributes.
inline constexpr std::uint32_t kAliasVolumeIsEjectable = 0x2;
inline constexpr std::uint32_t kAliasVolumeIsBoot = 0x20;
inline constexpr std::uint32_t kAliasVolumeIsAutomounted = 0x80;
inline constexpr std::uint32_t kAliasVolumeHasPersistentIDs = 0x100;

}  // namespace macos

#endif  // MACOS_CARBON_ALIASRECORD_H
