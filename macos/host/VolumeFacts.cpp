// SPDX-License-Identifier: MIT
#include "macos/host/VolumeFacts.h"

#include <dirent.h>
#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/sysmacros.h>

#include <algorithm>
#include <array>
#include <memory>
#include <optional>
#include <string_view>

#include "macos/host/Descriptor.h"

namespace macos {

namespace {

template <std::size_t N>
bool isOneOf(std::string_view text, const std::array<std::string_view, N>& list) {
  return std::find(list.begin(), list.end(), text) != list.end();
}

// The disk below a mount: its own number, or that of its source where the file system has numbers of its
// own making.
std::optional<dev_t> diskOf(const Mount& mount) {
  if (major(mount.device) != 0) return mount.device;
  struct stat found {};
  if (mount.source.compare(0, 5, "/dev/") != 0) return std::nullopt;
  if (::stat(mount.source.c_str(), &found) != 0 || !S_ISBLK(found.st_mode)) return std::nullopt;
  return found.st_rdev;
}

std::optional<bool> readFlag(const std::string& path) {
  const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
  char digit = 0;
  if (!file.isOpen() || ::read(file.get(), &digit, 1) != 1) return std::nullopt;
  return digit == '1';
}

bool foldsCase(int folder) {
  int flags = 0;
  return ::ioctl(folder, FS_IOC_GETFLAGS, &flags) == 0 && (flags & FS_CASEFOLD_FL) != 0;
}

// The name with its first letter in the other case; "" when it has no letter of the ASCII range.
std::string withOtherCase(std::string name) {
  for (char& c : name) {
    const char lower = static_cast<char>(c | 0x20);
    if (lower < 'a' || lower > 'z') continue;
    c = static_cast<char>(c ^ 0x20);
    return name;
  }
  return "";
}

// Asks the volume itself: does a name in its top folder also lead to its item in another case? nullopt
// when there is no name to try it with.
std::optional<bool> findsOtherCase(int folder) {
  constexpr int kMostNames = 64;
  const int again = ::openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  const std::unique_ptr<DIR, int (*)(DIR*)> stream(again < 0 ? nullptr : ::fdopendir(again), ::closedir);
  if (!stream) return std::nullopt;
  for (int count = 0; count < kMostNames; ++count) {
    const dirent* const entry = ::readdir(stream.get());
    if (entry == nullptr) break;
    const std::string other = withOtherCase(entry->d_name);
    struct stat item {};
    struct stat found {};
    if (other.empty() || ::fstatat(folder, entry->d_name, &item, AT_SYMLINK_NOFOLLOW) != 0) continue;
    if (::fstatat(folder, other.c_str(), &found, AT_SYMLINK_NOFOLLOW) != 0) return false;
    return item.st_ino == found.st_ino && item.st_dev == found.st_dev;
  }
  return std::nullopt;
}

}  // namespace

bool isCaseSensitive(const std::string& hostPath, const Mount* mount) {
  constexpr std::array<std::string_view, 8> kNever = {"vfat",  "msdos", "exfat",  "ntfs",
                                                      "ntfs3", "hfs",   "umsdos", "fuse.exfat"};
  // These have it either way; where they have no name to try it with, this is the usual one.
  constexpr std::array<std::string_view, 9> kUsuallyNot = {"hfsplus", "apfs",  "fuse.apfs", "fuseblk", "cifs",
                                                           "smb3",    "smbfs", "vboxsf",    "prl_fs"};
  if (mount == nullptr) return true;
  if (isOneOf(mount->type, kNever)) return false;
  const Descriptor folder(::open(hostPath.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!folder.isOpen()) return !isOneOf(mount->type, kUsuallyNot);
  if (foldsCase(folder.get())) return false;
  const bool mayBeEither = isOneOf(mount->type, kUsuallyNot) || isNetworkFileSystem(mount->type) ||
                           mount->type.rfind("fuse.", 0) == 0;
  if (!mayBeEither) return true;
  const std::optional<bool> finds = findsOtherCase(folder.get());
  return finds ? !*finds : !isOneOf(mount->type, kUsuallyNot);
}

bool isRemovableDisk(const std::string& blockFolder, dev_t disk) {
  const std::string folder =
      blockFolder + "/" + std::to_string(major(disk)) + ":" + std::to_string(minor(disk));
  // A partition does not say it, the disk that it is a part of does.
  if (const std::optional<bool> own = readFlag(folder + "/removable")) return *own;
  return readFlag(folder + "/../removable").value_or(false);
}

void addVolumeFacts(const std::string& hostPath, const Mount* mount, VolumeInfo& volume) {
  struct statvfs system {};
  if (::statvfs(hostPath.c_str(), &system) == 0) {
    volume.isReadOnly = (system.f_flag & ST_RDONLY) != 0;
    volume.capacity = std::uint64_t{system.f_blocks} * system.f_frsize;
  }
  volume.isCaseSensitive = isCaseSensitive(hostPath, mount);
  if (mount == nullptr) return;
  volume.isLocal = !isNetworkFileSystem(mount->type);
  const std::optional<dev_t> disk = diskOf(*mount);
  volume.isEjectable = volume.isLocal && disk && isRemovableDisk("/sys/dev/block", *disk);
  volume.remountURL = remountURL(*mount);
}

}  // namespace macos
