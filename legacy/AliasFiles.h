// SPDX-License-Identifier: MIT
//
// Making alias files: files that carry an alias record in their resource fork and, by their Finder
// information, the kind of what they lead to. Results are the platform's codes, noErr for success. All run
// on the calling thread.
#ifndef LEGACY_ALIASFILES_H
#define LEGACY_ALIASFILES_H

#include <optional>
#include <string_view>

#include "macos/carbon/AliasManager.h"
#include "macos/carbon/Files.h"
#include "macos/carbon/ItemInfo.h"

namespace vennick {

// Type and creator that an alias file to the item shows: the item's own, or where it has neither those of a
// package, a volume or a folder; 0 for anything else. info gets the item's extension, type, creator and
// flags as Launch Services has them. The code is Launch Services'; no output is changed by a failure.
macos::OSErr AliasTypeAndCreator(const macos::FSRef& ref, macos::OSType* type, macos::OSType* creator,
                                 macos::LSItemInfoRecord* info);

// Makes an alias file of the name, of at most 255 UTF-16 units, in the parent folder. Where the name is
// taken:
//
// - An alias file that leads where the new one does is enough: noErr, and nothing is made. So it is when
//   neither of the two leads anywhere; deliberately.
// - Otherwise the next free name with a number is taken: "X (1)", or "X (1).ext" for a name "X.ext" when
//   the extension is given, exactly as it stands in the name.
// - When 999 of them are taken, or no such name can be made, an alias file of the original name gets the
//   alias in the place of its own; anything else is left alone, and the result is dupFNErr.
//
// Other failures make no file, except for one to write the alias: it leaves a new file without one. The
// record may come back refreshed.
macos::OSErr CreateAliasFile(const macos::FSRef& parent, const macos::HFSUniStr255& name,
                             macos::AliasHandle& alias, macos::OSType fileType, macos::OSType creator,
                             std::optional<std::string_view> extension);
// The same with the name as text; bdNamErr when it is not UTF-8.
macos::OSErr CreateAliasFileNamed(const macos::FSRef& parent, std::string_view name,
                                  macos::AliasHandle& alias, macos::OSType fileType, macos::OSType creator,
                                  std::optional<std::string_view> extension);

}  // namespace vennick

#endif  // LEGACY_ALIASFILES_H
