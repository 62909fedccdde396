// SPDX-License-Identifier: MIT
//
// The volumes inside the root: the root itself, every folder in /Volumes, and every mount of the machine
// that lies inside. What is known of them is kept, and looked up anew when a mount inside or around the root
// comes, goes or changes or when an entry of /Volumes does; to ask again costs a poll and one query of
// /Volumes. Any thread.
#ifndef MACOS_HOST_POSIXVOLUMETABLE_H
#define MACOS_HOST_POSIXVOLUMETABLE_H

#include <memory>
#include <mutex>

#include "macos/host/Descriptor.h"
#include "macos/host/MountTable.h"
#include "macos/host/Services.h"

namespace macos {

class PosixVolumeTable : public VolumeTable {
 public:
  explicit PosixVolumeTable(std::shared_ptr<FileSystem> files);

  std::vector<VolumeInfo> volumes() override;
  VolumeInfo volumeForPath(std::string_view path, FollowLinks follow) override;

 private:
  // What the state of the machine was when the volumes were looked up.
  struct Seen {
    bool isTrustworthy = false;
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    UnixNanoseconds modified = 0;
  };
  using Volumes = std::shared_ptr<const std::vector<VolumeInfo>>;

  Volumes current();
  bool mountsChanged();
  std::vector<Mount> mountsOfRoot();
  Seen look();

  std::shared_ptr<FileSystem> files_;
  std::mutex mutex_;
  Descriptor mountInfo_;
  std::vector<Mount> mounts_;
  Seen seen_;
  Volumes volumes_;
};

// The path of the item, or of what is there of the path, without links: where the item is or would be.
std::string realPathOfNearestItem(FileSystem& files, std::string_view path, FollowLinks follow);

// The volume with the longest mount point that leads to the path, which has no links.
// REQUIRES: a volume at "/" is among them
const VolumeInfo& volumeHolding(const std::vector<VolumeInfo>& volumes, std::string_view realPath);

}  // namespace macos

#endif  // MACOS_HOST_POSIXVOLUMETABLE_H
