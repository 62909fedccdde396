// SPDX-License-Identifier: MIT
#include "tests/support/SubstituteVolumes.h"

#include <algorithm>
#include <utility>

#include "macos/host/PosixVolumeTable.h"

namespace vennick::tests {

using macos::FollowLinks;
using macos::VolumeInfo;

SubstituteVolumes::SubstituteVolumes(std::shared_ptr<macos::VolumeTable> real,
                                     std::shared_ptr<macos::FileSystem> files)
    : real_(std::move(real)), files_(std::move(files)) {}

std::vector<VolumeInfo> SubstituteVolumes::volumes() {
  std::vector<VolumeInfo> result = real_->volumes();
  const std::lock_guard lock(mutex_);
  for (const auto& [mountPoint, change] : changes_) {
    // A copy: a binding cannot be captured.
    const std::string at = mountPoint;
    auto found = std::find_if(result.begin(), result.end(),
                              [&](const VolumeInfo& volume) { return volume.mountPoint == at; });
    if (!change) {
      if (found != result.end()) result.erase(found);
      continue;
    }
    if (found == result.end()) {
      VolumeInfo added;
      added.mountPoint = at;
      added.name = at.substr(at.rfind('/') + 1);
      if (const auto info = files_->info(at, FollowLinks::No); info.ok()) {
        added.device = info->device;
        added.created = info->created;
      }
      found = result.insert(result.end(), std::move(added));
    }
    change(*found);
  }
  std::sort(result.begin(), result.end(),
            [](const VolumeInfo& a, const VolumeInfo& b) { return a.mountPoint < b.mountPoint; });
  return result;
}

VolumeInfo SubstituteVolumes::volumeForPath(std::string_view path, FollowLinks follow) {
  return macos::volumeHolding(volumes(), macos::realPathOfNearestItem(*files_, path, follow));
}

void SubstituteVolumes::change(const std::string& mountPoint, std::function<void(VolumeInfo&)> change) {
  const std::lock_guard lock(mutex_);
  changes_.emplace_back(mountPoint, std::move(change));
}

void SubstituteVolumes::hide(const std::string& mountPoint) {
  const std::lock_guard lock(mutex_);
  changes_.emplace_back(mountPoint, nullptr);
}

}  // namespace vennick::tests
