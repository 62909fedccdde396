// SPDX-License-Identifier: MIT
//
// The File Manager: references to files and folders, what the catalog knows of them, and the volumes
// that they are on. A reference (FSRef) is 80 opaque bytes that name an item, not a path: it still leads
// to the item after a rename within reach (FSRef's comment), and two references to one item are equal
// whatever path they were made from. Results are the platform's codes. Any thread.
#ifndef MACOS_CARBON_FILES_H
#define MACOS_CARBON_FILES_H

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "macos/carbon/AliasRecord.h"
#include "macos/carbon/FinderInfo.h"
#include "macos/carbon/FourCharCode.h"
#include "macos/foundation/URL.h"

namespace macos {

inline constexpr OSErr nsvErr = -35;  // no such volume
inline constexpr OSErr ioErr = -36;
inline constexpr OSErr bdNamErr = -37;  // bad name
inline constexpr OSErr fnfErr = -43;    // not found, or no reference of ours
inline constexpr OSErr fLckdErr = -45;  // locked
inline constexpr OSErr dupFNErr = -48;  // the name is taken
inline constexpr OSErr memFullErr = -108;
inline constexpr OSErr dirNFErr = -120;  // the containing folder is not there
inline constexpr OSErr afpAccessDenied = -5000;
inline constexpr OSErr errFSNotAFolder = -1407;
inline constexpr OSErr errFSNoMoreItems = -1417;

// A name of at most 255 UTF-16 units. A '/' in it is a ':' on the disk.
using HFSUniStr255 = std::u16string;

// The bytes hold the identity of the item and of its folder and hashes of the names that lead to it; they
// carry a signature and a check sum, and any other 80 bytes are an invalid reference. An item is found again
// under a new name in its folder, and after its folder got a new name in the folder above; at most 64
// folders are read for that. A hand-made reference leads nowhere outside the root.
struct FSRef {
  static constexpr std::size_t kSize = 80;

  std::array<std::uint8_t, kSize> hidden{};

  // Whether the signature is right; says nothing about the item. The zeroed reference is not valid.
  bool isValid() const;
};

// References and URLs, references and paths. A link at the end is not followed: it is an item of its own.
// Stores the reference and gives true when the item exists; a URL that is no file URL gives false.
bool CFURLGetFSRef(const NSURL& url, FSRef* ref);
// nullopt when the item is not found any more. A folder's URL ends in a slash.
std::optional<NSURL> CFURLCreateFromFSRef(const FSRef& ref);
// The same with plain paths. FSRefMakePath gives fnfErr for what is not there and stores nothing.
OSErr FSPathMakeRef(std::string_view path, FSRef* ref, bool* isDirectory = nullptr);
OSErr FSRefMakePath(const FSRef& ref, std::string* path);
// Where the item was when it was last looked up. No disk is asked, so that the answer comes also when a disk
// gives none; the item may be elsewhere by now. "" for an invalid reference, and when the place was
// forgotten.
std::string lastSeenPath(const FSRef& ref);
// The item of that name in a folder: fnfErr, dirNFErr, bdNamErr for an empty or too long name.
OSErr FSMakeFSRefUnicode(const FSRef& parent, const HFSUniStr255& name, FSRef* ref);
// noErr for one and the same item, errFSRefsDifferent otherwise, fnfErr for an invalid reference.
inline constexpr OSErr errFSRefsDifferent = -1420;
OSErr FSCompareFSRefs(const FSRef& a, const FSRef& b);

using FSVolumeRefNum = std::int16_t;
using FSCatalogInfoBitmap = std::uint32_t;

inline constexpr FSCatalogInfoBitmap kFSCatInfoNone = 0;
inline constexpr FSCatalogInfoBitmap kFSCatInfoNodeFlags = 0x2;
inline constexpr FSCatalogInfoBitmap kFSCatInfoVolume = 0x4;
inline constexpr FSCatalogInfoBitmap kFSCatInfoParentDirID = 0x8;
inline constexpr FSCatalogInfoBitmap kFSCatInfoNodeID = 0x10;
inline constexpr FSCatalogInfoBitmap kFSCatInfoCreateDate = 0x20;
inline constexpr FSCatalogInfoBitmap kFSCatInfoContentMod = 0x40;
inline constexpr FSCatalogInfoBitmap kFSCatInfoFinderInfo = 0x800;

inline constexpr std::uint16_t kFSNodeLockedMask = 0x1;
inline constexpr std::uint16_t kFSNodeIsDirectoryMask = 0x10;

// The identifier of the root folder of every volume, and of its parent, which does not exist.
inline constexpr std::uint32_t fsRtDirID = 2;
inline constexpr std::uint32_t fsRtParID = 1;

// Only the fields that were asked for are filled. Identifiers are the low 32 bits of inode numbers.
struct FSCatalogInfo {
  std::uint16_t nodeFlags = 0;
  FSVolumeRefNum volume = 0;
  std::uint32_t parentDirID = 0;
  std::uint32_t nodeID = 0;
  UTCDateTime createDate = 0;
  UTCDateTime contentModDate = 0;
  FinderInfo finderInfo;
};

// What the catalog knows of the item; every output may be null. The root of a volume has no parent: its
// parent output is zeroed.
OSErr FSGetCatalogInfo(const FSRef& ref, FSCatalogInfoBitmap whichInfo, FSCatalogInfo* info,
                       HFSUniStr255* name, FSRef* parent);

// The volume's name and root folder. nsvErr for a volume that is not there any more, and for the boot
// volume when nothing in /Volumes names it.
OSErr FSGetVolumeInfo(FSVolumeRefNum volume, HFSUniStr255* name, FSRef* rootDirectory);

// The first fields of the volume's parameters, 44 bytes of them on a Mac.
struct GetVolParmsInfoBuffer {
  static constexpr std::size_t kSize = 44;

  std::int16_t vMVersion = 0;
  std::uint32_t vMServerAdr = 0;  // not zero exactly for a volume on a server
};
OSErr FSGetVolumeParms(FSVolumeRefNum volume, GetVolParmsInfoBuffer* buffer);

}  // namespace macos

#endif  // MACOS_CARBON_FILES_H
