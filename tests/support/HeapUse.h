// SPDX-License-Identifier: MIT
//
// How much memory the process has allocated, for tests that see to it that something does not grow.
#ifndef TESTS_SUPPORT_HEAPUSE_H
#define TESTS_SUPPORT_HEAPUSE_H

#include <malloc.h>

#include <cstddef>

// Of the sanitizers' own allocators; absent without them.
extern "C" std::size_t __sanitizer_get_current_allocated_bytes() __attribute__((weak));

namespace vennick::tests {

inline std::size_t allocatedBytes() {
  if (__sanitizer_get_current_allocated_bytes != nullptr) return __sanitizer_get_current_allocated_bytes();
  const struct mallinfo2 info = mallinfo2();
  return info.uordblks + info.hblkhd;
}

}  // namespace vennick::tests

#endif  // TESTS_SUPPORT_HEAPUSE_H
