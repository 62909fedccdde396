// SPDX-License-Identifier: MIT
//
// What the machine knows of one volume. Stateless; any thread.
#ifndef MACOS_HOST_VOLUMEFACTS_H
#define MACOS_HOST_VOLUMEFACTS_H

#include <sys/types.h>

#include <string>

#include "macos/host/MountTable.h"
#include "macos/host/Services.h"

namespace macos {

// Fills in everything but the mount point, the name, the creation date and whether it is the boot volume.
// hostPath is the volume's top folder outside the root. Without a mount (null) a volume is taken for a
// fixed local one.
void addVolumeFacts(const std::string& hostPath, const Mount* mount, VolumeInfo& volume);

// Whether names on the volume that differ in letter case only are different ones: by the file system's
// kind, by the flag of the top folder, or, where a kind can have it either way, by trying.
bool isCaseSensitive(const std::string& hostPath, const Mount* mount);

// Whether the disk is one whose medium can be taken out. A partition's is that of its disk. blockFolder is
// where the machine shows its disks ("/sys/dev/block").
bool isRemovableDisk(const std::string& blockFolder, dev_t disk);

}  // namespace macos

#endif  // MACOS_HOST_VOLUMEFACTS_H
