// SPDX-License-Identifier: MIT
//
// What PosixFileSystem changes on the disk. A change is made by name in an opened folder, so that nothing
// in the path is looked up a second time.
#include <linux/fs.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/xattr.h>

#include <algorithm>
#include <deque>
#include <functional>
#include <iterator>
#include <optional>
#include <set>
#include <vector>

#include "macos/host/HiddenNeighbours.h"
#include "macos/host/PosixFileSystem.h"
#include "macos/host/RenameWithoutReplacing.h"

namespace macos {

// The folder that holds an item, and the item's name in it. A slash at the path's end stays at the name's:
// the calls that make, remove and rename do not follow a link there, they refuse it.
struct PosixFileSystem::Place {
  Descriptor folder;
  std::string name;
  bool isTop = false;  // of everything: in no folder, and with no name
  int error = 0;
};

namespace {

int writeAll(int descriptor, std::string_view content) {
  while (!content.empty()) {
    const ssize_t written =
        uninterrupted([&] { return ::write(descriptor, content.data(), content.size()); });
    if (written < 0) return errno;
    if (written == 0) return ENOSPC;
    content.remove_prefix(static_cast<std::size_t>(written));
  }
  return 0;
}

int flush(int descriptor) {
  if (uninterrupted([&] { return ::fsync(descriptor); }) == 0) return 0;
  // Some volumes cannot; that is no reason not to write there.
  return errno == EINVAL || errno == ENOSYS ? 0 : errno;
}

int closeAndTell(Descriptor& descriptor) {
  return ::close(descriptor.release()) == 0 || errno == EINTR ? 0 : errno;
}

bool isSuperuser() { return ::geteuid() == 0; }

// What the superuser makes in a user's folder must be the user's.
int giveToOwner(int item, const struct stat& owner) {
  struct stat now {};
  if (::fstat(item, &now) != 0) return errno;
  if (now.st_uid == owner.st_uid && now.st_gid == owner.st_gid) return 0;
  return ::fchown(item, owner.st_uid, owner.st_gid) == 0 ? 0 : errno;
}

int giveToOwnerOfFolder(int item, int folder) {
  if (!isSuperuser()) return 0;
  struct stat owner {};
  if (::fstat(folder, &owner) != 0) return errno;
  return giveToOwner(item, owner);
}

void giveNameToOwnerOfFolder(int folder, const char* name) {
  if (!isSuperuser()) return;
  struct stat owner {};
  struct stat now {};
  if (::fstat(folder, &owner) != 0 || ::fstatat(folder, name, &now, AT_SYMLINK_NOFOLLOW) != 0) return;
  if (now.st_uid == owner.st_uid && now.st_gid == owner.st_gid) return;
  // The item is of use without it.
  if (::fchownat(folder, name, owner.st_uid, owner.st_gid, AT_SYMLINK_NOFOLLOW) != 0) return;
}

timespec timespecFrom(UnixNanoseconds time) {
  constexpr UnixNanoseconds kNanosecondsPerSecond = 1'000'000'000;
  UnixNanoseconds seconds = time / kNanosecondsPerSecond;
  if (time % kNanosecondsPerSecond < 0) --seconds;
  return {static_cast<time_t>(seconds), static_cast<long>(time - seconds * kNanosecondsPerSecond)};
}

int copyInPieces(int from, int to) {
  constexpr std::size_t kPiece = std::size_t{1} << 30;
  for (;;) {
    const ssize_t copied =
        uninterrupted([&] { return ::copy_file_range(from, nullptr, to, nullptr, kPiece, 0); });
    if (copied <= 0) break;
  }
  // What the kernel could not copy by itself, from where it stopped; mostly nothing.
  std::vector<char> buffer(std::size_t{128} << 10);
  for (;;) {
    const ssize_t got = uninterrupted([&] { return ::read(from, buffer.data(), buffer.size()); });
    if (got < 0) return errno;
    if (got == 0) return 0;
    if (const int error = writeAll(to, {buffer.data(), static_cast<std::size_t>(got)}); error != 0) {
      return error;
    }
  }
}

// Attributes that the other volume cannot hold are left out.
int copyAttributes(int from, int to) {
  std::string names(XATTR_LIST_MAX, '\0');
  const ssize_t length = ::flistxattr(from, names.data(), names.size());
  std::string value;
  for (ssize_t start = 0; start < length;) {
    const char* const name = names.c_str() + start;
    start += static_cast<ssize_t>(std::char_traits<char>::length(name)) + 1;
    if (std::string_view(name).substr(0, 5) != "user.") continue;
    value.resize(XATTR_SIZE_MAX);
    const ssize_t size = ::fgetxattr(from, name, value.data(), value.size());
    if (size < 0) continue;
    if (::fsetxattr(to, name, value.data(), static_cast<std::size_t>(size), 0) != 0 &&
        (errno == ENOSPC || errno == EDQUOT)) {
      return errno;
    }
  }
  return 0;
}

class PosixFileLock : public FileLock {
 public:
  PosixFileLock(Descriptor folder, std::string name, Descriptor file)
      : folder_(std::move(folder)), name_(std::move(name)), file_(std::move(file)) {}
  // While the lock is still held: whoever waits for it sees that its file is no longer the one of that
  // name, and begins anew.
  ~PosixFileLock() override { ::unlinkat(folder_.get(), name_.c_str(), 0); }

 private:
  Descriptor folder_;
  std::string name_;
  Descriptor file_;
};

}  // namespace

// A file that is being made. It is removed again unless it is kept.
class PosixFileSystem::NewFile {
 public:
  NewFile(int folder, const std::string& name, mode_t mode)
      : folder_(folder), name_(name), file_(uninterrupted([&] {
          return ::openat(folder, name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode);
        })) {
    if (!file_.isOpen()) error_ = errno;
    isThere_ = file_.isOpen();
  }
  ~NewFile() {
    if (isThere_) ::unlinkat(folder_, name_.c_str(), 0);
  }
  NewFile(const NewFile&) = delete;
  NewFile& operator=(const NewFile&) = delete;

  // Does the next step when all before it succeeded.
  template <typename Step>
  NewFile& then(Step step) {
    if (error_ == 0) error_ = step(file_.get());
    return *this;
  }
  NewFile& finish() {
    then(flush);
    return then([this](int) { return closeAndTell(file_); });
  }
  int keep() {
    if (error_ == 0) isThere_ = false;
    return error_;
  }
  int error() const { return error_; }

 private:
  int folder_;
  const std::string& name_;
  Descriptor file_;
  bool isThere_ = false;
  int error_ = 0;
};

PosixFileSystem::Place PosixFileSystem::place(std::string_view path) const {
  Place result;
  if (const PathBuffer whole(path); whole.error() != 0) {
    result.error = whole.error();
    return result;
  }
  const std::size_t nameEnd = path.find_last_not_of('/');
  if (nameEnd == std::string_view::npos) {
    result.name = ".";
    result.isTop = true;
  } else {
    const std::size_t slash = path.rfind('/', nameEnd);
    const std::size_t start = slash == std::string_view::npos ? 0 : slash + 1;
    result.name = path.substr(start, nameEnd + 1 - start);
    if (nameEnd + 1 < path.size()) result.name += '/';
    path = path.substr(0, start);
  }
  OpenResult folder = resolver_->open(path.empty() ? "/" : path, O_PATH | O_DIRECTORY);
  result.folder = std::move(folder.descriptor);
  result.error = folder.error;
  return result;
}

PosixFileSystem::Place PosixFileSystem::placeOfFile(std::string_view path) {
  Place result = place(path);
  if (result.error != 0) return result;
  const bool isFolder = result.name == "." || result.name == ".." || result.name.back() == '/';
  if (isFolder) result.error = info(path, FollowLinks::No).ok() ? EEXIST : EISDIR;
  return result;
}

// New content on its way into the place of a file: written beside it, flushed, renamed over it. What failed
// is told by the last step, and nothing is left of it.
class PosixFileSystem::Replacement {
 public:
  Replacement(PosixFileSystem& files, std::string_view path, std::string_view content, mode_t mode)
      : path_(path), there_(files.placeOfFile(path_)) {
    if (there_.error != 0) {
      error_ = there_.error == EEXIST ? EISDIR : there_.error;
      return;
    }
    struct stat old {};
    const bool isThere = ::fstatat(there_.folder.get(), there_.name.c_str(), &old, AT_SYMLINK_NOFOLLOW) == 0;
    if (isThere && S_ISDIR(old.st_mode)) {
      error_ = EISDIR;
      return;
    }
    write(files, content, mode, isThere && S_ISREG(old.st_mode) ? &old : nullptr);
  }

  // Lets the disk begin, for one that is flushed later.
  void beginFlushing() {
    if (!neighbour_) return;
    neighbour_->then([](int file) {
      // Flushing does it all when this does not.
      (void)::sync_file_range(file, 0, 0, SYNC_FILE_RANGE_WRITE);
      return 0;
    });
  }
  void flush() {
    if (neighbour_) neighbour_->finish();
  }
  Status rename() {
    if (neighbour_) {
      const int folder = there_.folder.get();
      neighbour_->then([&](int) {
        return ::renameat(folder, name_.c_str(), folder, there_.name.c_str()) == 0 ? 0 : errno;
      });
      error_ = neighbour_->keep();
    }
    return error_ == 0 ? Status() : Status::fromErrno(path_, error_);
  }

  // The rest is for after the renaming.
  bool isDone() const { return error_ == 0; }
  std::string_view folderPath() const { return path_.substr(0, path_.size() - there_.name.size()); }
  int folder() const { return there_.folder.get(); }
  const std::string& name() const { return there_.name; }

 private:
  void write(PosixFileSystem& files, std::string_view content, mode_t mode, const struct stat* old) {
    constexpr int kNeighbourNames = 8;
    const int folder = there_.folder.get();
    const mode_t permissions = (old != nullptr ? old->st_mode : mode) & 07777;
    for (int attempt = 0; attempt < kNeighbourNames; ++attempt) {
      name_ = neighbourName(there_.name, files.nextNeighbour_.fetch_add(1));
      neighbour_.emplace(folder, name_, permissions);
      if (neighbour_->error() != EEXIST) break;
    }
    neighbour_->then([&](int file) { return writeAll(file, content); });
    neighbour_->then([&](int file) {
      if (old != nullptr) return isSuperuser() ? giveToOwner(file, *old) : 0;
      return giveToOwnerOfFolder(file, folder);
    });
    if (old == nullptr) return;
    neighbour_->then([&](int file) { return ::fchmod(file, permissions) == 0 ? 0 : errno; });
  }

  const std::string_view path_;
  const Place there_;
  std::string name_;
  std::optional<NewFile> neighbour_;
  int error_ = 0;
};

namespace {

// What killed processes left beside the files that are replaced now. Mostly all are in one folder, which is
// read once.
template <typename Replacements>
void removeAbandonedBeside(const Replacements& replacements) {
  std::set<std::string, std::less<>> names;
  for (auto each = replacements.begin(); each != replacements.end(); ++each) {
    if (!each->isDone()) continue;
    names.insert(each->name());
    const auto next =
        std::find_if(std::next(each), replacements.end(), [](const auto& r) { return r.isDone(); });
    if (next != replacements.end() && next->folderPath() == each->folderPath()) continue;
    removeAbandonedNeighbours(each->folder(), names, each->name());
    names.clear();
  }
}

// Whether it failed for what others had taken at the time.
bool isShortage(int error) {
  return error == ENOSPC || error == EDQUOT || error == EMFILE || error == ENFILE;
}

}  // namespace

Status PosixFileSystem::replace(std::string_view path, std::string_view content, std::uint32_t mode) {
  Replacement replacement(*this, path, content, mode);
  replacement.flush();
  Status status = replacement.rename();
  if (status.ok()) removeAbandonedNeighbours(replacement.folder(), {replacement.name()}, replacement.name());
  return status;
}

std::vector<Status> PosixFileSystem::replaceAll(const std::vector<NewContent>& files, std::uint32_t mode) {
  // Not moved once they are there.
  std::deque<Replacement> replacements;
  for (const NewContent& file : files) {
    replacements.emplace_back(*this, file.path, file.content, mode);
    replacements.back().beginFlushing();
  }
  for (Replacement& replacement : replacements) replacement.flush();
  std::vector<Status> results;
  results.reserve(files.size());
  for (Replacement& replacement : replacements) results.push_back(replacement.rename());
  removeAbandonedBeside(replacements);
  replacements.clear();
  // What found no room beside the others may find it now that they have given back what they replaced.
  for (std::size_t i = 0; i < files.size(); ++i) {
    if (isShortage(results[i].errnoValue())) results[i] = replace(files[i].path, files[i].content, mode);
  }
  return results;
}

Status PosixFileSystem::create(std::string_view path, std::string_view content, std::uint32_t mode) {
  const Place there = placeOfFile(path);
  if (there.error != 0) return Status::fromErrno(path, there.error);
  NewFile file(there.folder.get(), there.name, mode & 07777);
  file.then([&](int made) { return writeAll(made, content); });
  file.then([&](int made) { return giveToOwnerOfFolder(made, there.folder.get()); });
  const int error = file.finish().keep();
  return error == 0 ? Status() : Status::fromErrno(path, error);
}

Status PosixFileSystem::append(std::string_view path, std::string_view content, std::uint32_t mode) {
  const OpenResult file =
      resolver_->open(path, O_WRONLY | O_APPEND | O_CREAT | O_NONBLOCK | O_NOCTTY, mode & 07777);
  if (!file.ok()) return Status::fromErrno(path, file.error);
  const int descriptor = file.descriptor.get();
  struct stat found {};
  if (::fstat(descriptor, &found) != 0) return Status::fromErrno(path, errno);
  if (!S_ISREG(found.st_mode)) return Status::fromErrno(path, EOPNOTSUPP);
  if (found.st_size == 0 && isSuperuser()) {
    const Place there = place(path);
    if (there.error == 0) giveToOwnerOfFolder(descriptor, there.folder.get());
  }
  const int error = writeAll(descriptor, content);
  return error == 0 ? Status() : Status::fromErrno(path, error);
}

Status PosixFileSystem::copyFile(std::string_view from, std::string_view to) {
  const OpenResult original = resolver_->open(from, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY);
  // ELOOP is what a link gives, but also a loop on the way to it.
  if (original.error == ELOOP && resolver_->open(from, O_PATH | O_NOFOLLOW).ok()) {
    return Status::fromErrno(from, EOPNOTSUPP);
  }
  if (!original.ok()) return Status::fromErrno(from, original.error);
  const int source = original.descriptor.get();
  struct stat found {};
  if (::fstat(source, &found) != 0) return Status::fromErrno(from, errno);
  if (!S_ISREG(found.st_mode)) return Status::fromErrno(from, S_ISDIR(found.st_mode) ? EISDIR : EOPNOTSUPP);

  const Place there = placeOfFile(to);
  if (there.error != 0) return Status::fromErrno(to, there.error);
  NewFile file(there.folder.get(), there.name, found.st_mode & 0600);
  file.then([&](int made) { return copyInPieces(source, made); });
  file.then([&](int made) { return copyAttributes(source, made); });
  file.then([&](int made) { return giveToOwnerOfFolder(made, there.folder.get()); });
  file.then([&](int made) { return ::fchmod(made, found.st_mode & 07777) == 0 ? 0 : errno; });
  file.then([&](int made) {
    const timespec times[] = {found.st_atim, found.st_mtim};
    return ::futimens(made, times) == 0 ? 0 : errno;
  });
  const int error = file.finish().keep();
  return error == 0 ? Status() : Status::fromErrno(to, error);
}

Status PosixFileSystem::makeFolder(std::string_view path, std::uint32_t mode) {
  const Place there = place(path);
  if (there.error != 0) return Status::fromErrno(path, there.error);
  if (::mkdirat(there.folder.get(), there.name.c_str(), mode & 07777) != 0) {
    return Status::fromErrno(path, errno);
  }
  giveNameToOwnerOfFolder(there.folder.get(), there.name.c_str());
  return {};
}

Status PosixFileSystem::makeLink(std::string_view path, std::string_view target) {
  if (target.find('\0') != std::string_view::npos) return Status::fromErrno(path, EINVAL);
  const Place there = place(path);
  if (there.error != 0) return Status::fromErrno(path, there.error);
  if (::symlinkat(std::string(target).c_str(), there.folder.get(), there.name.c_str()) != 0) {
    return Status::fromErrno(path, errno);
  }
  giveNameToOwnerOfFolder(there.folder.get(), there.name.c_str());
  return {};
}

Status PosixFileSystem::rename(std::string_view from, std::string_view to, Replace replace) {
  const Place source = place(from);
  if (source.error != 0) return Status::fromErrno(from, source.error);
  const Place destination = place(to);
  if (destination.error != 0) return Status::fromErrno(to, destination.error);
  int error = 0;
  if (replace == Replace::No) {
    error = renameWithoutReplacing(source.folder.get(), source.name.c_str(), destination.folder.get(),
                                   destination.name.c_str());
  } else if (::renameat(source.folder.get(), source.name.c_str(), destination.folder.get(),
                        destination.name.c_str()) != 0) {
    error = errno;
  }
  if (error == 0) return {};
  return Status::fromErrno(error == EEXIST || error == ENOTEMPTY ? to : from, error);
}

Status PosixFileSystem::removeFile(std::string_view path) {
  const Place there = place(path);
  if (there.error != 0) return Status::fromErrno(path, there.error);
  if (::unlinkat(there.folder.get(), there.name.c_str(), 0) != 0) return Status::fromErrno(path, errno);
  return {};
}

Status PosixFileSystem::removeFolder(std::string_view path) {
  const Place there = place(path);
  if (there.error != 0) return Status::fromErrno(path, there.error);
  if (there.isTop) return Status::fromErrno(path, EBUSY);
  if (::unlinkat(there.folder.get(), there.name.c_str(), AT_REMOVEDIR) != 0) {
    return Status::fromErrno(path, errno);
  }
  return {};
}

Status PosixFileSystem::setModified(std::string_view path, UnixNanoseconds time) {
  const OpenResult item = resolver_->open(path, O_PATH | O_NOFOLLOW);
  if (!item.ok()) return Status::fromErrno(path, item.error);
  const timespec times[] = {{0, UTIME_OMIT}, timespecFrom(time)};
  if (::utimensat(AT_FDCWD, ItemPath(item.descriptor.get()).text(), times, 0) != 0) {
    return Status::fromErrno(path, errno);
  }
  return {};
}

Status PosixFileSystem::setMode(std::string_view path, std::uint32_t mode) {
  const OpenResult item = resolver_->open(path, O_PATH | O_NOFOLLOW);
  if (!item.ok()) return Status::fromErrno(path, item.error);
  struct stat found {};
  if (::fstat(item.descriptor.get(), &found) != 0) return Status::fromErrno(path, errno);
  if (S_ISLNK(found.st_mode)) return Status::fromErrno(path, EOPNOTSUPP);
  if (::chmod(ItemPath(item.descriptor.get()).text(), mode & 07777) != 0) {
    return Status::fromErrno(path, errno);
  }
  return {};
}

Status PosixFileSystem::setImmutable(std::string_view path, bool immutable) {
  const OpenResult item = resolver_->open(path, O_PATH | O_NOFOLLOW);
  if (!item.ok()) return Status::fromErrno(path, item.error);
  struct stat found {};
  if (::fstat(item.descriptor.get(), &found) != 0) return Status::fromErrno(path, errno);
  // To open anything else may have effects.
  if (!S_ISREG(found.st_mode) && !S_ISDIR(found.st_mode)) return Status::fromErrno(path, EOPNOTSUPP);
  const Descriptor opened(
      ::open(ItemPath(item.descriptor.get()).text(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  if (!opened.isOpen()) return Status::fromErrno(path, errno);
  int flags = 0;
  if (::ioctl(opened.get(), FS_IOC_GETFLAGS, &flags) != 0) return Status::fromErrno(path, errno);
  const int wanted = immutable ? flags | FS_IMMUTABLE_FL : flags & ~FS_IMMUTABLE_FL;
  if (wanted != flags && ::ioctl(opened.get(), FS_IOC_SETFLAGS, &wanted) != 0) {
    return Status::fromErrno(path, errno);
  }
  return {};
}

Status PosixFileSystem::setAttribute(std::string_view path, std::string_view name, std::string_view value) {
  if (name.find('\0') != std::string_view::npos) return Status::fromErrno(path, EINVAL);
  const OpenResult item = resolver_->open(path, O_PATH | O_NOFOLLOW);
  if (!item.ok()) return Status::fromErrno(path, item.error);
  if (::setxattr(ItemPath(item.descriptor.get()).text(), std::string(name).c_str(), value.data(),
                 value.size(), 0) != 0) {
    return Status::fromErrno(path, errno);
  }
  return {};
}

Result<std::unique_ptr<FileLock>> PosixFileSystem::lock(std::string_view path) {
  Place there = place(path);
  if (there.error != 0) return Status::fromErrno(path, there.error);
  if (there.name.back() == '/') there.name.pop_back();
  if (there.name == "." || there.name == "..") return Status::fromErrno(path, EINVAL);
  const std::string name = lockName(there.name);
  const int folder = there.folder.get();
  for (;;) {
    Descriptor file(uninterrupted([&] {
      return ::openat(folder, name.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0600);
    }));
    if (!file.isOpen()) return Status::fromErrno(path, errno);
    if (uninterrupted([&] { return ::flock(file.get(), LOCK_EX); }) != 0) {
      return Status::fromErrno(path, errno);
    }
    struct stat held {};
    struct stat named {};
    if (::fstat(file.get(), &held) != 0) return Status::fromErrno(path, errno);
    if (!S_ISREG(held.st_mode)) return Status::fromErrno(path, EOPNOTSUPP);
    if (::fstatat(folder, name.c_str(), &named, AT_SYMLINK_NOFOLLOW) == 0 && held.st_dev == named.st_dev &&
        held.st_ino == named.st_ino) {
      giveToOwnerOfFolder(file.get(), folder);
      return std::unique_ptr<FileLock>(
          std::make_unique<PosixFileLock>(std::move(there.folder), name, std::move(file)));
    }
  }
}

}  // namespace macos
