// SPDX-License-Identifier: MIT
//
// The Folder Manager, as far as it is asked for: where a volume keeps its Trash. Any thread.
#ifndef MACOS_CARBON_FOLDERS_H
#define MACOS_CARBON_FOLDERS_H

#include "macos/carbon/Files.h"

namespace macos {

inline constexpr OSType kTrashFolderType = fourCharCode("trsh");

// In the place of a volume: the folders of the user.
inline constexpr FSVolumeRefNum kUserDomain = -32763;

// The Trash of a volume: ".Trash" in the user's home for kUserDomain and for the volume that holds the home,
// else the folder of the user's number in the volume's ".Trashes"; the user is the owner of the home. With
// createFolder it is made when it is missing. fnfErr when it is not there, and for every other type; nsvErr
// for a volume that is not there; errFSNotAFolder when something else, a link too, is in its place;
// otherwise the code why it cannot be made.
OSErr FSFindFolder(FSVolumeRefNum volume, OSType folderType, bool createFolder, FSRef* folder);

}  // namespace macos

#endif  // MACOS_CARBON_FOLDERS_H
