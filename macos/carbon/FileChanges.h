// SPDX-License-Identifier: MIT
//
// What the File Manager does to the disk: makes, renames, moves, copies and deletes items, and changes what
// the catalog knows of them. An item takes its AppleDouble partner ("._name") along. Nothing is ever
// replaced unless that is asked for: a name is taken, dupFNErr, when an item has it, in any spelling that
// the volume takes for the same, and when a partner that lost its item waits for one of that name. A name is
// bad, bdNamErr, when it has 0 or more than 255 units, holds a ':', or is too long for the host, for its
// partner too. Results are the platform's codes, fnfErr for an item that is not there; a failure changes
// nothing unless it is said otherwise. Outputs may be null. Any thread.
#ifndef MACOS_CARBON_FILECHANGES_H
#define MACOS_CARBON_FILECHANGES_H

#include <cstdint>
#include <string>

#include "macos/carbon/Files.h"

namespace macos {

inline constexpr OSErr dskFulErr = -34;     // no room on the disk
inline constexpr OSErr fBsyErr = -47;       // a folder that is not empty, an item in use
inline constexpr OSErr badMovErr = -122;    // a folder into itself, the root of a volume anywhere
inline constexpr OSErr diffVolErr = -1303;  // to another volume

// Moves the item into a folder of its volume under its own name; into the one that holds it already is
// noErr, and nothing to do. fLckdErr for a locked item.
OSErr FSMoveObject(const FSRef& ref, const FSRef& destination, FSRef* newRef);
// A new spelling of the item's own name is no other name.
OSErr FSRenameUnicode(const FSRef& ref, const HFSUniStr255& name, FSRef* newRef);
// Deletes a file, a link, or an empty folder: fBsyErr for another folder, fLckdErr for a locked item.
OSErr FSDeleteObject(const FSRef& ref);

using OptionBits = std::uint32_t;
inline constexpr OptionBits kFSFileOperationDefaultOptions = 0;
inline constexpr OptionBits kFSFileOperationOverwrite = 0x1;

// Copies the item with all that is in it into a folder of any volume, under its own name when name is null.
// The copy appears whole or not at all, and is not locked. With kFSFileOperationOverwrite it takes the
// place of an item of the name, which is deleted then. badMovErr for a folder into itself.
OSErr FSCopyObjectSync(const FSRef& source, const FSRef& destination, const HFSUniStr255* name, FSRef* target,
                       OptionBits options);

// Makes an empty file with a resource fork that holds no resource, in the partner or, where the host has no
// room for the partner's name, in attributes; bdNamErr when it has none of these either. Of the catalog
// information the Finder's is used, when whichInfo has its bit. The code is that of ResError.
OSErr FSCreateResFile(const FSRef& parent, const HFSUniStr255& name, FSCatalogInfoBitmap whichInfo,
                      const FSCatalogInfo* info, FSRef* newRef);

// Sets the locked flag (of the node flags no other can be set), the modification date and the Finder
// information, those of the three that whichInfo asks for, in this order and up to the first failure.
OSErr FSSetCatalogInfo(const FSRef& ref, FSCatalogInfoBitmap whichInfo, const FSCatalogInfo& info);

// Seconds since 2001-01-01 00:00:00 UTC. A time before 1904 is the first one, one beyond the format's last
// is that one.
UTCDateTime UCConvertCFAbsoluteTimeToUTCDateTime(double absoluteTime);

}  // namespace macos

#endif  // MACOS_CARBON_FILECHANGES_H
