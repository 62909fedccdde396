// SPDX-License-Identifier: MIT
#include "macos/host/RenameWithoutReplacing.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

namespace macos {

namespace {

int lookAndRename(int fromFolder, const char* from, int toFolder, const char* to) {
  struct stat found {};
  if (::fstatat(toFolder, to, &found, AT_SYMLINK_NOFOLLOW) == 0) return EEXIST;
  if (errno != ENOENT) return errno;
  return ::renameat(fromFolder, from, toFolder, to) == 0 ? 0 : errno;
}

}  // namespace

int renameByLinking(int fromFolder, const char* from, int toFolder, const char* to) {
  struct stat found {};
  if (::fstatat(fromFolder, from, &found, AT_SYMLINK_NOFOLLOW) != 0) return errno;
  if (S_ISDIR(found.st_mode)) return lookAndRename(fromFolder, from, toFolder, to);
  if (::linkat(fromFolder, from, toFolder, to, 0) != 0) {
    const bool hasNoLinks = errno == EPERM || errno == EOPNOTSUPP || errno == EMLINK || errno == ENOSYS;
    return hasNoLinks ? lookAndRename(fromFolder, from, toFolder, to) : errno;
  }
  if (::unlinkat(fromFolder, from, 0) == 0) return 0;
  const int error = errno;
  ::unlinkat(toFolder, to, 0);
  return error;
}

int renameWithoutReplacing(int fromFolder, const char* from, int toFolder, const char* to) {
  if (::renameat2(fromFolder, from, toFolder, to, RENAME_NOREPLACE) == 0) return 0;
  // EINVAL is also what a folder gets that is to be moved into itself; it gets it again.
  if (errno != EINVAL && errno != ENOSYS) return errno;
  return renameByLinking(fromFolder, from, toFolder, to);
}

}  // namespace macos
