// SPDX-License-Identifier: MIT
//
// References and paths in short, for tests. A program that uses it links macos_carbon.
#ifndef TESTS_SUPPORT_REFERENCES_H
#define TESTS_SUPPORT_REFERENCES_H

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "macos/carbon/Files.h"

namespace vennick::tests {

// A path without an item fails the test.
inline macos::FSRef refTo(std::string_view path) {
  macos::FSRef ref;
  EXPECT_EQ(macos::FSPathMakeRef(path, &ref), macos::noErr) << path;
  return ref;
}

// "" when the item is not found.
inline std::string pathOf(const macos::FSRef& ref) {
  std::string path;
  return macos::FSRefMakePath(ref, &path) == macos::noErr ? path : "";
}

}  // namespace vennick::tests

#endif  // TESTS_SUPPORT_REFERENCES_H
