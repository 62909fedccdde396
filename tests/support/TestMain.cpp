// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "tests/support/Sanitizers.h"

#if defined(VENNICK_SANITIZED) && !defined(VENNICK_THREAD_SANITIZED)
// What was freed is kept for a while, to find who still uses it: this much of it, which is more than most
// tests ever allocate. With the usual 256 MB a test program becomes so large that every fork takes
// milliseconds.
extern "C" const char* __asan_default_options() { return "quarantine_size_mb=32"; }
#endif

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
