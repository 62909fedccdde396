// SPDX-License-Identifier: MIT
//
// The volumes that the machine really shows in a root, with facts changed and volumes added as a test
// wants them: network volumes, ejectable ones, ones that do not tell letter case apart. Any thread.
#ifndef TESTS_SUPPORT_SUBSTITUTEVOLUMES_H
#define TESTS_SUPPORT_SUBSTITUTEVOLUMES_H

#include <functional>
#include <memory>
#include <mutex>

#include "macos/host/Services.h"

namespace vennick::tests {

class SubstituteVolumes : public macos::VolumeTable {
 public:
  SubstituteVolumes(std::shared_ptr<macos::VolumeTable> real, std::shared_ptr<macos::FileSystem> files);

  std::vector<macos::VolumeInfo> volumes() override;
  macos::VolumeInfo volumeForPath(std::string_view path, macos::FollowLinks follow) override;

  // Changes what is told of the volume at the mount point, from now on. A folder that is no volume by
  // itself becomes one, named after its last component.
  void change(const std::string& mountPoint, std::function<void(macos::VolumeInfo&)> change);
  // As if it were not there; its files then belong to the volume around it.
  void hide(const std::string& mountPoint);

 private:
  std::shared_ptr<macos::VolumeTable> real_;
  std::shared_ptr<macos::FileSystem> files_;
  std::mutex mutex_;
  // An empty function hides.
  std::vector<std::pair<std::string, std::function<void(macos::VolumeInfo&)>>> changes_;
};

}  // namespace vennick::tests

#endif  // TESTS_SUPPORT_SUBSTITUTEVOLUMES_H
