// SPDX-License-Identifier: MIT
#include "macos/foundation/ItemOnDisk.h"

#include "macos/foundation/Path.h"
#include "macos/host/Host.h"

namespace macos {

Result<ItemOnDisk> itemOnDisk(std::string_view path) {
  FileSystem& files = Host::current().files();
  std::string place(withoutTrailingSlashes(absolutePath(path)));
  auto info = files.info(place, FollowLinks::No);
  if (!info && info.status().isNotFound()) {
    place = pathAsOnDisk(place);
    info = files.info(place, FollowLinks::No);
  }
  if (!info) return info.status();
  const std::string name = lastPathComponent(place);
  if (name == "/") return ItemOnDisk{.path = place, .info = *info};

  const bool isDots = name == "." || name == "..";
  auto folder = files.realPath(isDots ? place : pathByDeletingLastPathComponent(place));
  if (!folder) return folder.status();
  return ItemOnDisk{.path = isDots ? std::move(*folder) : pathByAppendingComponent(*folder, name),
                    .info = *info};
}

}  // namespace macos
