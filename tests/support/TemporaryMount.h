// SPDX-License-Identifier: MIT
//
// A volume that is mounted for a test, where the machine lets us.
#ifndef TESTS_SUPPORT_TEMPORARYMOUNT_H
#define TESTS_SUPPORT_TEMPORARYMOUNT_H

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "tests/support/TemporaryRoot.h"

namespace vennick::tests {

class TemporaryMount {
 public:
  // An empty volume of that many bytes in memory, at the Mac path, which becomes a folder. Null where
  // nothing may be mounted: the test then says so with GTEST_SKIP.
  static std::unique_ptr<TemporaryMount> volume(const TemporaryRoot& root, std::string_view macPath,
                                                std::uint64_t bytes);
  // One on which names that differ in letter case only are the same. Null where the kernel has none.
  static std::unique_ptr<TemporaryMount> caseFoldingVolume(const TemporaryRoot& root,
                                                           std::string_view macPath);
  ~TemporaryMount();
  TemporaryMount(const TemporaryMount&) = delete;
  TemporaryMount& operator=(const TemporaryMount&) = delete;

  // Whether it could be done.
  bool makeReadOnly();

 private:
  explicit TemporaryMount(std::string path) : path_(std::move(path)) {}
  std::string path_;
};

}  // namespace vennick::tests

#endif  // TESTS_SUPPORT_TEMPORARYMOUNT_H
