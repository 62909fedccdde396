// SPDX-License-Identifier: MIT
#include "macos/host/PathWalk.h"

#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/vfs.h>

#include <string_view>
#include <vector>

namespace macos {

namespace {

// As many as the kernel follows in one look-up.
constexpr int kMostLinks = 40;
// How often a look-up is begun anew when folders are moved under it.
constexpr int kAttempts = 64;

class Walk {
 public:
  explicit Walk(int root) : root_(root) {}

  // Walks as far as the folder that holds the last component and opens that. EAGAIN: begin anew.
  OpenResult open(const char* path, int flags, mode_t mode);
  // Where open() arrived. Exact only after success.
  std::string arrivedPath() const;

 private:
  struct Folder {
    dev_t device;
    ino_t inode;
    std::string name;
  };
  struct Component {
    std::string name;
    bool isLast;
    bool mustBeFolder;  // a slash follows
  };

  int begin();
  bool next(Component& component);
  int enter(const std::string& name);
  int enterParent();
  int expandLink(int link, bool slashFollows);
  int refuseKernelLink() const;
  OpenResult openLast(const Component& last, int flags, mode_t mode, bool& expanded);
  OpenResult openCurrent(int flags) const;

  static bool isDots(const std::string& name) { return name == "." || name == ".."; }

  const int root_;
  Descriptor current_;
  std::vector<Folder> trail_;  // the root first, current_ last
  std::string lastName_;       // of an item in current_, when the walk ended at no folder
  std::string rest_;           // what is still to be walked
  std::size_t position_ = 0;
  int links_ = 0;
};

int Walk::begin() {
  if (root_ < 0) return ENOENT;
  current_.reset(::openat(root_, ".", O_PATH | O_DIRECTORY | O_CLOEXEC));
  struct stat found {};
  if (!current_.isOpen() || ::fstat(current_.get(), &found) != 0) return errno;
  trail_.assign(1, Folder{found.st_dev, found.st_ino, ""});
  return 0;
}

bool Walk::next(Component& component) {
  const std::size_t start = rest_.find_first_not_of('/', position_);
  if (start == std::string::npos) return false;
  const std::size_t end = rest_.find('/', start);
  component.name = rest_.substr(start, end == std::string::npos ? end : end - start);
  position_ = end == std::string::npos ? rest_.size() : end;
  component.mustBeFolder = end != std::string::npos;
  component.isLast = rest_.find_first_not_of('/', position_) == std::string::npos;
  return true;
}

int Walk::enterParent() {
  if (trail_.size() == 1) return enter(".");
  Descriptor parent(::openat(current_.get(), "..", O_PATH | O_DIRECTORY | O_CLOEXEC));
  struct stat found {};
  if (!parent.isOpen() || ::fstat(parent.get(), &found) != 0) return errno;
  // Only a folder that was passed on the way is a parent inside the root. Another one means that the
  // folder was moved meanwhile, perhaps to the outside.
  const Folder& expected = trail_[trail_.size() - 2];
  if (found.st_dev != expected.device || found.st_ino != expected.inode) return EAGAIN;
  trail_.pop_back();
  current_ = std::move(parent);
  return 0;
}

// Goes into a folder or, at a link, puts the link's text in its place.
int Walk::enter(const std::string& name) {
  if (name == ".." && trail_.size() > 1) return enterParent();
  const bool stays = isDots(name);
  Descriptor item(::openat(current_.get(), stays ? "." : name.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
  struct stat found {};
  if (!item.isOpen() || ::fstat(item.get(), &found) != 0) return errno;
  if (S_ISLNK(found.st_mode)) return expandLink(item.get(), true);
  if (!S_ISDIR(found.st_mode)) return ENOTDIR;
  if (!stays) trail_.push_back(Folder{found.st_dev, found.st_ino, name});
  current_ = std::move(item);
  return 0;
}

// The kernel's links to open files show a text that is no path; only those directly in the top folder of
// /proc are ordinary ones.
int Walk::refuseKernelLink() const {
  constexpr ino_t kTopOfProc = 1;
  struct statfs system {};
  if (::fstatfs(current_.get(), &system) != 0) return errno;
  if (system.f_type != PROC_SUPER_MAGIC || trail_.back().inode == kTopOfProc) return 0;
  return EXDEV;
}

int Walk::expandLink(int link, bool slashFollows) {
  if (++links_ > kMostLinks) return ELOOP;
  if (const int refused = refuseKernelLink(); refused != 0) return refused;
  char text[4096];
  const ssize_t length = ::readlinkat(link, "", text, sizeof text);
  if (length < 0) return errno;
  if (length == 0) return ENOENT;
  if (length == static_cast<ssize_t>(sizeof text)) return ENAMETOOLONG;
  std::string expanded(text, static_cast<std::size_t>(length));
  if (slashFollows) expanded += rest_.substr(position_);
  rest_ = std::move(expanded);
  position_ = 0;
  return rest_.front() == '/' ? begin() : 0;
}

OpenResult Walk::openCurrent(int flags) const {
  if ((flags & O_CREAT) != 0) return OpenResult((flags & O_EXCL) != 0 ? EEXIST : EISDIR);
  const int opened = uninterrupted([&] { return ::openat(current_.get(), ".", flags & ~O_NOFOLLOW); });
  return opened < 0 ? OpenResult(errno) : OpenResult(Descriptor(opened));
}

OpenResult Walk::openLast(const Component& last, int flags, mode_t mode, bool& expanded) {
  const bool makesNew = (flags & O_CREAT) != 0 && (flags & O_EXCL) != 0;
  const bool follows = (flags & O_NOFOLLOW) == 0 && !makesNew;
  if (follows) {
    Descriptor item(::openat(current_.get(), last.name.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
    if (!item.isOpen() && (errno != ENOENT || (flags & O_CREAT) == 0)) return OpenResult(errno);
    struct stat found {};
    if (item.isOpen() && ::fstat(item.get(), &found) != 0) return OpenResult(errno);
    if (S_ISLNK(found.st_mode)) {
      expanded = true;
      return OpenResult(expandLink(item.get(), false));
    }
    if (item.isOpen() && (flags & O_PATH) != 0) {
      lastName_ = last.name;
      if ((flags & O_DIRECTORY) != 0 && !S_ISDIR(found.st_mode)) return OpenResult(ENOTDIR);
      return item;
    }
  }
  lastName_ = last.name;
  const int opened =
      uninterrupted([&] { return ::openat(current_.get(), last.name.c_str(), flags | O_NOFOLLOW, mode); });
  if (opened >= 0) return OpenResult(Descriptor(opened));
  // It was no link a moment ago.
  return OpenResult(errno == ELOOP && follows ? EAGAIN : errno);
}

OpenResult Walk::open(const char* path, int flags, mode_t mode) {
  rest_ = path;
  if (const int error = begin(); error != 0) return OpenResult(error);
  Component component;
  while (next(component)) {
    if (component.isLast && !component.mustBeFolder && !isDots(component.name)) {
      bool expanded = false;
      OpenResult result = openLast(component, flags, mode, expanded);
      if (!expanded || !result.ok()) return result;
      continue;
    }
    if (component.isLast && component.mustBeFolder && (flags & O_CREAT) != 0) return OpenResult(EISDIR);
    if (const int error = enter(component.name); error != 0) return OpenResult(error);
  }
  return openCurrent(flags);
}

std::string Walk::arrivedPath() const {
  std::string path;
  for (std::size_t i = 1; i < trail_.size(); ++i) path.append("/").append(trail_[i].name);
  if (!lastName_.empty()) path.append("/").append(lastName_);
  return path.empty() ? "/" : path;
}

}  // namespace

OpenResult openByWalking(int root, const char* path, int flags, mode_t mode) {
  OpenResult result(EAGAIN);
  for (int attempt = 0; attempt < kAttempts && result.error == EAGAIN; ++attempt) {
    result = Walk(root).open(path, flags, mode);
  }
  return result;
}

int realPathByWalking(int root, const char* path, std::string& result) {
  int error = EAGAIN;
  for (int attempt = 0; attempt < kAttempts && error == EAGAIN; ++attempt) {
    Walk walk(root);
    error = walk.open(path, O_PATH | O_CLOEXEC, 0).error;
    if (error == 0) result = walk.arrivedPath();
  }
  return error;
}

}  // namespace macos
