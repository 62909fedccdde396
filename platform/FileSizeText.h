// SPDX-License-Identifier: MIT
//
// A byte count as a user reads it. Any thread.
#ifndef PLATFORM_FILESIZETEXT_H
#define PLATFORM_FILESIZETEXT_H

#include <cstdint>
#include <optional>
#include <string>

namespace vennick {

// In decimal units: 1000 bytes stay bytes, 1001 are 1 KB. The number is cut, not rounded, to two decimals;
// format and unit words come from the main bundle's string table. nullopt when the table has an empty text
// for one of them.
std::optional<std::string> stringForFileSize(std::uint64_t byteCount);

}  // namespace vennick

#endif  // PLATFORM_FILESIZETEXT_H
