// SPDX-License-Identifier: MIT
//
// Large pages for large memory. Memory is had a page at a time, when it is first written to, which costs
// more than writing it; a system that has large pages to give makes that hundreds of times rarer. Stateless;
// any thread.
#ifndef MACOS_HOST_LARGEPAGES_H
#define MACOS_HOST_LARGEPAGES_H

#include <cstddef>

namespace macos {

// Asks for large pages behind memory that is about to be written to, all of it. What is too small for them
// is left alone, and so is everything on a system without them: nothing but speed depends on it.
void preferLargePages(void* memory, std::size_t size);

}  // namespace macos

#endif  // MACOS_HOST_LARGEPAGES_H
