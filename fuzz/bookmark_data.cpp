// SPDX-License-Identifier: MIT
//
// Bookmark data in both containers: what decodes is written and reads again as the same table. All of it is
// resolved, as data and as an alias file.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "fuzz/ResolutionRoot.h"
#include "macos/foundation/Bookmark.h"
#include "macos/foundation/BookmarkData.h"

namespace {

using vennick::fuzz::ResolutionRoot;

void resolve(std::string_view bytes) {
  bool isStale = false;
  const auto url = macos::URLByResolvingBookmarkData(
      {std::string(bytes)},
      macos::NSURLBookmarkResolutionWithoutUI | macos::NSURLBookmarkResolutionWithoutMounting, &isStale);
  macos::FSRef ref;
  if (url && !macos::CFURLGetFSRef(*url, &ref)) abort();
  ResolutionRoot::shared().write("/Users/anna/alias", bytes);
  ResolutionRoot::checkAliasFile("/Users/anna/alias");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  const auto bookmark = macos::BookmarkData::decode(bytes);
  ResolutionRoot::shared();
  if (bookmark || macos::blobFromBookmarkFile(bytes)) resolve(bytes);
  if (!bookmark) return 0;
  (void)bookmark->pathComponents();
  (void)bookmark->flags(macos::BookmarkKey::VolumeFlags);

  const std::string written = bookmark->encode();
  const auto again = macos::BookmarkData::decode(written);
  if (!again || again->values.size() != bookmark->values.size() || again->encode() != written) abort();
  return 0;
}
