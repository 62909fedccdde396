// SPDX-License-Identifier: MIT
//
// One item of the disk under its own path: the names as the disk spells them, and no link on the way. Any
// thread.
#ifndef MACOS_FOUNDATION_ITEMONDISK_H
#define MACOS_FOUNDATION_ITEMONDISK_H

#include <string>
#include <string_view>

#include "macos/host/FileSystem.h"
#include "macos/host/Status.h"

namespace macos {

struct ItemOnDisk {
  std::string path;
  FileInfo info;
};

// The item at the path; a link at its end is the item itself. Costs two looks at the disk when the path is
// spelled as it is there.
Result<ItemOnDisk> itemOnDisk(std::string_view path);

}  // namespace macos

#endif  // MACOS_FOUNDATION_ITEMONDISK_H
