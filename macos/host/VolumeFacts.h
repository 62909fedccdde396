// SPDX-License-Identifier: MIT
//
// What the machine knows of one volume. Stateless; any thread.
#ifndef MACOS_HOST_VOLUMEFACTS_H
#define MACOS_HOST_VOLUMEFACTS_H

#include <string>

#include "macos/host/MountTable.h"
#include "macos/host/Services.h"

namespace macos {

// Fills in everything but the mount point, the name, the creation date and whether it is the boot volume.
// hostPath is the volume's top folder outside the root. Without a mount (null) a volume is taken for a
// fixed local one.
void addVolumeFacts(const std::string& hostPath, const Mount* mount, VolumeInfo& volume);

}  // namespace macos

#endif  // MACOS_HOST_VOLUMEFACTS_H
