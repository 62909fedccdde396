// SPDX-License-Identifier: MIT
//
// Bookmark data in both containers: what decodes is written and reads again as the same table.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "macos/foundation/BookmarkData.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  const auto bookmark = macos::BookmarkData::decode(bytes);
  (void)macos::blobFromBookmarkFile(bytes);
  if (!bookmark) return 0;
  (void)bookmark->pathComponents();
  (void)bookmark->flags(macos::BookmarkKey::VolumeFlags);

  const std::string written = bookmark->encode();
  const auto again = macos::BookmarkData::decode(written);
  if (!again || again->values.size() != bookmark->values.size() || again->encode() != written) abort();
  return 0;
}
