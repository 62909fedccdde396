// SPDX-License-Identifier: MIT
#include "macos/host/LargePages.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <memory>

namespace macos {

void preferLargePages(void* memory, std::size_t size) {
#ifdef MADV_HUGEPAGE
  // Less holds no large page for certain, and asking costs time too.
  constexpr std::size_t kWorthwhile = std::size_t{4} << 20;
  if (size < kWorthwhile) return;
  const auto page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
  // Refused where the system has none.
  if (std::align(page, size - page, memory, size) == nullptr) return;
  const int error = errno;
  ::madvise(memory, size / page * page, MADV_HUGEPAGE);
  errno = error;
#else
  static_cast<void>(memory);
  static_cast<void>(size);
#endif
}

}  // namespace macos
