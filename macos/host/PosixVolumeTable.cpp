// SPDX-License-Identifier: MIT
#include "macos/host/PosixVolumeTable.h"

#include <fcntl.h>
#include <poll.h>

#include <algorithm>
#include <ctime>
#include <map>

#include "macos/host/VolumeFacts.h"

namespace macos {

namespace {

constexpr std::string_view kVolumesFolder = "/Volumes";

std::string readMountInfo() {
  const Descriptor file(::open("/proc/self/mountinfo", O_RDONLY | O_CLOEXEC));
  std::string text;
  char piece[16 * 1024];
  for (;;) {
    const ssize_t got = uninterrupted([&] { return ::read(file.get(), piece, sizeof piece); });
    if (got <= 0) return text;
    text.append(piece, static_cast<std::size_t>(got));
  }
}

bool isAtOrBelow(std::string_view path, std::string_view folder) {
  if (folder == "/") return true;
  return path.substr(0, folder.size()) == folder &&
         (path.size() == folder.size() || path[folder.size()] == '/');
}

// The mount that a host path lies on.
const Mount* mountHolding(const std::vector<Mount>& mounts, std::string_view hostPath) {
  const Mount* best = nullptr;
  for (const Mount& mount : mounts) {
    if (!isAtOrBelow(hostPath, mount.mountPoint)) continue;
    if (best == nullptr || mount.mountPoint.size() >= best->mountPoint.size()) best = &mount;
  }
  return best;
}

UnixNanoseconds wallClock() {
  timespec time{};
  // The clock that file systems take their times from.
  ::clock_gettime(CLOCK_REALTIME_COARSE, &time);
  return time.tv_sec * 1'000'000'000 + time.tv_nsec;
}

// One look at the machine.
class Survey {
 public:
  Survey(FileSystem& files, const std::vector<Mount>& mounts) : files_(files), mounts_(mounts) {}

  std::vector<VolumeInfo> volumes() {
    add("/", "", files_.info("/", FollowLinks::Yes));
    addVolumesFolder();
    addMountsInside();
    std::vector<VolumeInfo> result;
    for (auto& [mountPoint, volume] : found_) result.push_back(std::move(volume));
    return result;
  }

 private:
  void add(const std::string& mountPoint, const std::string& name, const Result<FileInfo>& info) {
    VolumeInfo volume;
    volume.mountPoint = mountPoint;
    volume.name = name;
    volume.isBoot = mountPoint == "/";
    if (info.ok()) {
      volume.device = info->device;
      volume.created = info->created;
    }
    if (const std::optional<std::string> path = files_.hostPath(mountPoint)) {
      addVolumeFacts(*path, mountHolding(mounts_, *path), volume);
    }
    found_.emplace(mountPoint, std::move(volume));
  }

  void addVolumesFolder() {
    const Result<std::vector<FolderEntry>> entries = files_.list(kVolumesFolder);
    if (!entries.ok()) return;
    std::string folder(kVolumesFolder);
    if (Result<std::string> real = files_.realPath(folder); real.ok()) folder = *real;
    VolumeInfo& boot = found_.at("/");
    for (const FolderEntry& entry : *entries) {
      const std::string path = folder + "/" + entry.name;
      if (entry.kind == FileKind::Link) {
        const Result<std::string> target = files_.realPath(path);
        if (boot.name.empty() && target.ok() && *target == "/") boot.name = entry.name;
      } else if (entry.kind == FileKind::Folder) {
        add(path, entry.name, files_.info(path, FollowLinks::No));
      }
    }
  }

  void addMountsInside() {
    for (const Mount& mount : mounts_) {
      const std::optional<std::string> path = files_.pathInRoot(mount.mountPoint);
      if (!path || found_.count(*path) != 0) continue;
      const Result<FileInfo> info = files_.info(*path, FollowLinks::No);
      if (info.ok() && info->isFolder()) add(*path, path->substr(path->rfind('/') + 1), info);
    }
  }

  FileSystem& files_;
  const std::vector<Mount>& mounts_;
  std::map<std::string, VolumeInfo> found_;
};

std::string parentOf(std::string_view path) {
  while (!path.empty() && path.back() == '/') path.remove_suffix(1);
  const std::size_t slash = path.rfind('/');
  return slash == std::string_view::npos || slash == 0 ? "/" : std::string(path.substr(0, slash));
}

}  // namespace

std::string realPathOfNearestItem(FileSystem& files, std::string_view path, FollowLinks follow) {
  std::string nearest(path);
  if (follow == FollowLinks::No) {
    const Result<FileInfo> info = files.info(path, FollowLinks::No);
    if (!info.ok() || info->kind == FileKind::Link) nearest = parentOf(path);
  }
  for (;;) {
    const Result<std::string> real = files.realPath(nearest);
    if (real.ok()) return *real;
    if (nearest == "/") return "/";
    nearest = parentOf(nearest);
  }
}

const VolumeInfo& volumeHolding(const std::vector<VolumeInfo>& volumes, std::string_view realPath) {
  const VolumeInfo* best = nullptr;
  for (const VolumeInfo& volume : volumes) {
    if (!isAtOrBelow(realPath, volume.mountPoint)) continue;
    if (best == nullptr || volume.mountPoint.size() > best->mountPoint.size()) best = &volume;
  }
  return *best;
}

PosixVolumeTable::PosixVolumeTable(std::shared_ptr<FileSystem> files)
    : files_(std::move(files)), mountInfo_(::open("/proc/self/mountinfo", O_RDONLY | O_CLOEXEC)) {}

// Those inside the root and those that it lies on. The kernel names mount points without links.
std::vector<Mount> PosixVolumeTable::mountsOfRoot() {
  std::vector<Mount> mounts = parseMountInfo(readMountInfo());
  const std::optional<std::string> root = files_->hostPath("/");
  const auto isElsewhere = [&](const Mount& mount) {
    return root && !isAtOrBelow(mount.mountPoint, *root) && !isAtOrBelow(*root, mount.mountPoint);
  };
  mounts.erase(std::remove_if(mounts.begin(), mounts.end(), isElsewhere), mounts.end());
  return mounts;
}

// The kernel marks the file once for every change since it was asked last. What changes elsewhere on the
// machine is no reason to ask disks that may not answer.
bool PosixVolumeTable::mountsChanged() {
  pollfd asked{mountInfo_.get(), POLLPRI, 0};
  if (volumes_ && (!mountInfo_.isOpen() || ::poll(&asked, 1, 0) <= 0)) return false;
  std::vector<Mount> mounts = mountsOfRoot();
  const bool changed = mounts != mounts_;
  mounts_ = std::move(mounts);
  return changed;
}

PosixVolumeTable::Seen PosixVolumeTable::look() {
  // A change in the same tick of the clock as the last one would not show.
  constexpr UnixNanoseconds kTick = 20'000'000;
  Seen seen;
  const Result<FileInfo> folder = files_->info(kVolumesFolder, FollowLinks::Yes);
  seen.isTrustworthy = true;
  if (folder.ok()) {
    seen.device = folder->device;
    seen.inode = folder->inode;
    seen.modified = folder->modified;
    const UnixNanoseconds age = wallClock() - folder->modified;
    seen.isTrustworthy = age > kTick || age < -kTick;
  }
  return seen;
}

PosixVolumeTable::Volumes PosixVolumeTable::current() {
  const std::lock_guard lock(mutex_);
  const bool mountsAreOther = mountsChanged();
  const Seen now = look();
  const bool isSame = volumes_ && !mountsAreOther && seen_.isTrustworthy && seen_.device == now.device &&
                      seen_.inode == now.inode && seen_.modified == now.modified;
  if (!isSame) {
    volumes_ = std::make_shared<const std::vector<VolumeInfo>>(Survey(*files_, mounts_).volumes());
    seen_ = now;
  }
  return volumes_;
}

std::vector<VolumeInfo> PosixVolumeTable::volumes() { return *current(); }

VolumeInfo PosixVolumeTable::volumeForPath(std::string_view path, FollowLinks follow) {
  const Volumes volumes = current();
  return volumeHolding(*volumes, realPathOfNearestItem(*files_, path, follow));
}

}  // namespace macos
