// SPDX-License-Identifier: MIT
#include "macos/host/LargePages.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstddef>
#include <string>

namespace macos {
namespace {

TEST(LargePages, LeavesContentAndErrnoAlone) {
  for (const std::size_t size : {0, 1, 4096, 4 << 20, (4 << 20) + 1, 9000000}) {
    std::string memory(size, 'a');
    errno = ERANGE;
    preferLargePages(memory.data(), size);
    EXPECT_EQ(errno, ERANGE) << size;
    EXPECT_TRUE(memory == std::string(size, 'a')) << size;
  }
}

TEST(LargePages, TakesMemoryThatBeginsAndEndsWithinAPage) {
  std::string memory(12000000, 'a');
  for (const std::size_t from : {1, 100, 4095, 4097}) {
    preferLargePages(memory.data() + from, 11000000 - from);
    EXPECT_TRUE(memory == std::string(memory.size(), 'a')) << from;
    memory.assign(memory.size(), 'b');
    EXPECT_TRUE(memory == std::string(memory.size(), 'b')) << from;
    memory.assign(memory.size(), 'a');
  }
}

}  // namespace
}  // namespace macos
