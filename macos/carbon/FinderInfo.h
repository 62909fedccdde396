// SPDX-License-Identifier: MIT
//
// Finder information: the 32 bytes that the Mac keeps beside every file and folder (type, creator, flags,
// place in the window). A regular value with a pure codec; any thread.
#ifndef MACOS_CARBON_FINDERINFO_H
#define MACOS_CARBON_FINDERINFO_H

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "macos/carbon/FourCharCode.h"

namespace macos {

// Finder flags, the same for files and folders.
inline constexpr std::uint16_t kIsOnDesk = 0x0001;
inline constexpr std::uint16_t kExtensionIsHidden = 0x0010;
inline constexpr std::uint16_t kHasCustomIcon = 0x0400;
inline constexpr std::uint16_t kNameLocked = 0x1000;
inline constexpr std::uint16_t kHasBundle = 0x2000;
inline constexpr std::uint16_t kIsInvisible = 0x4000;
inline constexpr std::uint16_t kIsAlias = 0x8000;

// Finder types of alias files, by what they lead to.
inline constexpr OSType kContainerFolderAliasType = fourCharCode("fdrp");
inline constexpr OSType kContainerHardDiskAliasType = fourCharCode("hdsk");
inline constexpr OSType kApplicationAliasType = fourCharCode("adrp");
inline constexpr OSType kPackageAliasType = fourCharCode("fpka");
inline constexpr OSType kApplicationPackageAliasType = fourCharCode("fapa");

struct FinderInfo {
  static constexpr std::size_t kSize = 32;

  // All 32 bytes as they are stored. Type and creator mean something for files only: a folder has its
  // window's frame in their place.
  std::array<std::uint8_t, kSize> bytes{};

  // nullopt for anything that is not 32 bytes.
  static std::optional<FinderInfo> decode(std::string_view bytes);
  std::string encode() const;

  OSType type() const;
  OSType creator() const;
  std::uint16_t flags() const;
  void setType(OSType type);
  void setCreator(OSType creator);
  void setFlags(std::uint16_t flags);

  bool isAlias() const { return (flags() & kIsAlias) != 0; }
  bool isInvisible() const { return (flags() & kIsInvisible) != 0; }
  bool hasBundle() const { return (flags() & kHasBundle) != 0; }
  bool hidesExtension() const { return (flags() & kExtensionIsHidden) != 0; }
  // What is all zero is stored nowhere.
  bool isZero() const { return *this == FinderInfo{}; }

  friend bool operator==(const FinderInfo&, const FinderInfo&) = default;
};

}  // namespace macos

#endif  // MACOS_CARBON_FINDERINFO_H
