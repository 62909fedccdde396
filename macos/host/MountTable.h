// SPDX-License-Identifier: MIT
//
// What the machine has mounted, as /proc/self/mountinfo tells it. Values.
#ifndef MACOS_HOST_MOUNTTABLE_H
#define MACOS_HOST_MOUNTTABLE_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace macos {

struct Mount {
  std::string mountPoint;  // host path
  std::string type;        // "ext4", "fuse.sshfs"
  std::string source;      // "/dev/sda1", "//server/share"
  std::string options;     // of the mount and of the file system, with commas
  std::uint64_t device = 0;

  friend bool operator==(const Mount&, const Mount&) = default;
};

// In the order of mounting; of two at one point the later one hides the other. Lines that do not have the
// form are left out.
std::vector<Mount> parseMountInfo(std::string_view text);

// Whether the type is one that reaches another machine's files.
bool isNetworkFileSystem(std::string_view type);
// Whether the option is among those of the mount.
bool hasMountOption(const Mount& mount, std::string_view option);
// "smb://server/share", "nfs://server/path", "afp://server/share"; "" when it is not one of these.
std::string remountURL(const Mount& mount);

}  // namespace macos

#endif  // MACOS_HOST_MOUNTTABLE_H
