// SPDX-License-Identifier: MIT
#include "tests/support/TemporaryRoot.h"

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "gtest/gtest.h"

namespace vennick::tests {

namespace fs = std::filesystem;

namespace {

std::string makeTemporaryFolder() {
  std::string pattern = (fs::canonical(fs::temp_directory_path()) / "vennick-XXXXXX").string();
  if (::mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no temporary folder can be made");
  return pattern;
}

void clearImmutable(const fs::path& path) {
  const int file = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC);
  if (file < 0) return;
  int flags = 0;
  if (::ioctl(file, FS_IOC_GETFLAGS, &flags) == 0 && (flags & FS_IMMUTABLE_FL) != 0) {
    flags &= ~FS_IMMUTABLE_FL;
    ::ioctl(file, FS_IOC_SETFLAGS, &flags);
  }
  ::close(file);
}

// Makes removable what a test has locked.
void unlock(const fs::path& folder) {
  std::error_code ignored;
  ::chmod(folder.c_str(), 0700);
  clearImmutable(folder);
  for (const fs::directory_entry& entry : fs::directory_iterator(folder, ignored)) {
    const fs::file_status status = entry.symlink_status(ignored);
    if (fs::is_directory(status)) unlock(entry.path());
    if (fs::is_regular_file(status)) clearImmutable(entry.path());
  }
}

std::string readWhole(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::string describe(const fs::path& path) {
  struct stat found {};
  if (::lstat(path.c_str(), &found) != 0) return "missing";
  if (S_ISDIR(found.st_mode)) return "folder";
  if (S_ISLNK(found.st_mode)) return "link " + fs::read_symlink(path).string();
  if (!S_ISREG(found.st_mode)) return "other";
  return "file " + std::to_string(found.st_mode & 07777) + " " + readWhole(path);
}

}  // namespace

TemporaryRoot::TemporaryRoot() : path_(makeTemporaryFolder()) {
  // mkdtemp makes it private; another user of a test must reach it.
  ::chmod(path_.c_str(), 0755);
  for (const char* const folder :
       {"/Applications", "/Library", "/System/Library", "/Users/anna/Library/Preferences", "/Volumes"}) {
    makeFolder(folder);
  }
  makeLink("/Volumes/Macintosh HD", "/");
}

TemporaryRoot::~TemporaryRoot() {
  std::error_code error;
  fs::remove_all(path_, error);
  if (!error) return;
  unlock(path_);
  fs::remove_all(path_, error);
}

std::string TemporaryRoot::hostPath(std::string_view macPath) const {
  std::string result = path_;
  if (macPath.empty() || macPath.front() != '/') result += '/';
  result += macPath;
  while (result.size() > path_.size() && result.back() == '/') result.pop_back();
  return result;
}

void TemporaryRoot::makeFolder(std::string_view macPath) const { fs::create_directories(hostPath(macPath)); }

void TemporaryRoot::writeFile(std::string_view macPath, std::string_view content) const {
  const fs::path path = hostPath(macPath);
  fs::create_directories(path.parent_path());
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file.write(content.data(), static_cast<std::streamsize>(content.size()));
  file.close();
  EXPECT_TRUE(file) << path << " cannot be written";
}

void TemporaryRoot::makeExecutable(std::string_view macPath, std::string_view content) const {
  writeFile(macPath, content);
  EXPECT_EQ(::chmod(hostPath(macPath).c_str(), 0755), 0);
}

void TemporaryRoot::makeLink(std::string_view macPath, std::string_view target) const {
  const fs::path path = hostPath(macPath);
  fs::create_directories(path.parent_path());
  fs::create_symlink(fs::path(std::string(target)), path);
}

void TemporaryRoot::copyIn(const fs::path& from, std::string_view macPath) const {
  const fs::path to = hostPath(macPath);
  fs::create_directories(to.parent_path());
  fs::copy(from, to, fs::copy_options::recursive | fs::copy_options::copy_symlinks);
}

void TemporaryRoot::remove(std::string_view macPath) const { fs::remove_all(hostPath(macPath)); }

std::string TemporaryRoot::readFile(std::string_view macPath) const {
  const std::string path = hostPath(macPath);
  std::ifstream file(path, std::ios::binary);
  EXPECT_TRUE(file.is_open()) << path << " cannot be read";
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

bool TemporaryRoot::exists(std::string_view macPath) const {
  struct stat found {};
  return ::lstat(hostPath(macPath).c_str(), &found) == 0;
}

std::vector<std::string> TemporaryRoot::names(std::string_view macPath) const {
  std::vector<std::string> result;
  for (const fs::directory_entry& entry : fs::directory_iterator(hostPath(macPath))) {
    result.push_back(entry.path().filename().string());
  }
  std::sort(result.begin(), result.end());
  return result;
}

std::map<std::string, std::string> TemporaryRoot::snapshot(std::string_view macPath) const {
  const fs::path top = hostPath(macPath);
  std::map<std::string, std::string> result;
  result[""] = describe(top);
  if (!fs::is_directory(fs::symlink_status(top))) return result;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(top)) {
    result[entry.path().lexically_relative(top).string()] = describe(entry.path());
  }
  return result;
}

void TemporaryRoot::giveTo(uid_t user) const {
  EXPECT_EQ(::lchown(path_.c_str(), user, user), 0);
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(path_)) {
    EXPECT_EQ(::lchown(entry.path().c_str(), user, user), 0) << entry.path();
  }
}

}  // namespace vennick::tests
