// SPDX-License-Identifier: MIT
//
// A folder that stands for the top of a Mac's disk during one test, with the folders that every Mac has:
// /Applications, /Library, /System/Library, /Users/anna/Library/Preferences, and /Volumes with the link
// "Macintosh HD" that leads to "/". Removed with all that is in it at the end. Its functions take Mac paths
// and work on the machine's files directly, not through the file system that is under test; they do not
// follow links of the root on the way, so a path given to them must have none.
#ifndef TESTS_SUPPORT_TEMPORARYROOT_H
#define TESTS_SUPPORT_TEMPORARYROOT_H

#include <sys/types.h>

#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace vennick::tests {

class TemporaryRoot {
 public:
  TemporaryRoot();
  ~TemporaryRoot();
  TemporaryRoot(const TemporaryRoot&) = delete;
  TemporaryRoot& operator=(const TemporaryRoot&) = delete;

  // The root's own path on the machine, without links in it.
  const std::string& path() const { return path_; }
  // Where a Mac path is on the machine.
  std::string hostPath(std::string_view macPath) const;

  // These make the folders that are missing on the way. A file that is there is written over.
  void makeFolder(std::string_view macPath) const;
  void writeFile(std::string_view macPath, std::string_view content) const;
  void makeExecutable(std::string_view macPath, std::string_view content) const;
  void makeLink(std::string_view macPath, std::string_view target) const;
  // A file or a whole folder of the machine.
  void copyIn(const std::filesystem::path& from, std::string_view macPath) const;
  void remove(std::string_view macPath) const;

  // The content; a file that is not there or cannot be read fails the test.
  std::string readFile(std::string_view macPath) const;
  // Whether anything is there, a dangling link too.
  bool exists(std::string_view macPath) const;
  // The names in a folder, hidden ones too, sorted.
  std::vector<std::string> names(std::string_view macPath) const;
  // Everything at and below the path: relative path to "folder", "link TARGET" or "file MODE CONTENT". To
  // be compared before and after.
  std::map<std::string, std::string> snapshot(std::string_view macPath) const;

  // Gives everything in the root to a user.
  void giveTo(uid_t user) const;

 private:
  std::string path_;
};

}  // namespace vennick::tests

#endif  // TESTS_SUPPORT_TEMPORARYROOT_H
