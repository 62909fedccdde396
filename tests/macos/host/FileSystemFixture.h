// SPDX-License-Identifier: MIT
//
// The real file system in each of its three ways of looking paths up. The tests name files by Mac paths;
// in the machine's own root these are put below the temporary one.
#ifndef TESTS_MACOS_HOST_FILESYSTEMFIXTURE_H
#define TESTS_MACOS_HOST_FILESYSTEMFIXTURE_H

#include <string>

#include "gtest/gtest.h"
#include "macos/host/PosixFileSystem.h"
#include "tests/support/TemporaryRoot.h"

namespace macos {

class FileSystemTest : public testing::TestWithParam<PathResolver::Way> {
 protected:
  FileSystemTest() : posix_(isPlain() ? "/" : root.path(), GetParam()) {}
  void SetUp() override {
    if (posix_.way() != GetParam()) GTEST_SKIP() << "this kernel has no restricted look-up";
  }

  static bool isPlain() { return GetParam() == PathResolver::Way::Plain; }
  // The path that the file system under test knows an item by.
  std::string at(const std::string& macPath) const { return isPlain() ? root.hostPath(macPath) : macPath; }
  std::string anna(const std::string& name) const {
    return at("/Users/anna") + (name.empty() ? "" : "/" + name);
  }

  vennick::tests::TemporaryRoot root;

 private:
  PosixFileSystem posix_;

 protected:
  FileSystem& files = posix_;
};

inline auto everyWay() {
  return testing::Values(PathResolver::Way::Plain, PathResolver::Way::Kernel, PathResolver::Way::Walk);
}

inline std::string nameOfWay(const testing::TestParamInfo<PathResolver::Way>& way) {
  if (way.param == PathResolver::Way::Plain) return "Plain";
  return way.param == PathResolver::Way::Kernel ? "Kernel" : "Walk";
}

}  // namespace macos

#endif  // TESTS_MACOS_HOST_FILESYSTEMFIXTURE_H
