// SPDX-License-Identifier: MIT
//
// From an alias record or an alias file to the item that it leads to, without user interface, with the
// checks that version 4 makes, and for alias files within two seconds each. Results are the platform's
// codes, 0 for success. Outputs may be null unless said otherwise. Main thread.
#ifndef LEGACY_ALIASRESOLUTION_H
#define LEGACY_ALIASRESOLUTION_H

#include <cstdint>
#include <string>

#include "macos/carbon/AliasManager.h"
#include "macos/carbon/Files.h"

namespace vennick {

inline constexpr macos::OSErr kVolumeGoneErr = -124;  // the recorded path cannot be reached
inline constexpr macos::OSErr kAliasLeadsToItselfErr = -1306;
inline constexpr macos::OSErr kResolutionTimedOutErr = -1401;

// What an item's target may be.
enum class ResolveMode : std::uint8_t {
  AnyTarget = 0,
  FolderList = 1,  // a target that is no folder is replaced by the folder that it is in
};
enum class AllowUI : bool { No, Yes };
enum class UseDisplayName : bool { No, Yes };

struct ItemAliasTarget {
  std::string name;
  macos::FSRef ref;
  bool isFolder = false;
};

// Which outputs of ResolveItemAlias are asked for; what is not asked for is not looked up.
struct WantedTarget {
  bool name = true;
  bool isFolder = false;
};

// Resolves a record to its target. The record may come back refreshed. An alias file or link that leads
// to a folder is followed; one that leads to anything else is, deliberately, the target itself. The
// reference is stored in every case, the zeroed one when there is no target.
macos::OSErr ResolveItemAlias(macos::AliasHandle& alias, ItemAliasTarget* target, WantedTarget wanted,
                              ResolveMode mode, AllowUI allowUI, UseDisplayName useDisplayName,
                              bool* aliasChanged);

// One step: the record's own target, if it is on a volume of the recorded name. -124 when the mount flags
// rule out user interface and nothing is at the recorded path.
macos::OSErr ResolveAliasChecked(macos::AliasHandle& alias, macos::FSRef* ref, unsigned mountFlags,
                                 bool* aliasChanged);

// The final target of an alias file. To read each alias file on the way and to find what it leads to has two
// seconds: -1401 when it takes longer, whose late answer is thrown away. -1306 for one that leads to itself,
// into a ring, or through more than 32 alias files, itself among them; -43 for what is no alias file or leads
// nowhere.
macos::OSErr ResolveAliasFileWithTimeout(const macos::FSRef& ref, macos::FSRef* target, bool* isFolder,
                                         bool* wasAliased, unsigned mountFlags);

// Replaces a reference to an alias file by its final target's. After a failure it is as it was given.
macos::OSErr ResolveAliasChainInPlace(macos::FSRef& ref);

// Whether a user can look into the item. A reference to an alias file is first replaced, in place, by its
// final target's. Deliberate.
bool IsBrowsableFolder(macos::FSRef& ref, bool allowPackages);

// The running system's version as binary-coded decimal, 10.9.0 being 0x100900. Computed once per host.
std::uint32_t SystemVersionBCD();

// The same from what `gestalt` answers, at each call. A system that does not tell its major, minor and
// bug-fix numbers, all three, is asked for the older selector that holds them together; 0 when it does not
// tell that either.
using GestaltFunction = macos::OSErr(macos::OSType selector, std::int32_t* response);
std::uint32_t systemVersionBCDFrom(GestaltFunction& gestalt);

}  // namespace vennick

#endif  // LEGACY_ALIASRESOLUTION_H
